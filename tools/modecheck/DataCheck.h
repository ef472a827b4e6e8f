#pragma once

#include "Configuration.h"
#include "IniFileCheck.h"
#include "ItemEngines.h"

/// Checks the files that the library writes: ModeChange.Settings.ini and ModeChange.Status.ini.
class DataCheck {
 public:
  DataCheck(const Configuration& configuration, const ItemEngines& engines)
      : configuration(configuration), engines(engines) {}

  void CheckSettings(const IniFileCheck& file) const;
  void CheckStatus(const IniFileCheck& file) const;

 private:
  void CheckMode(const IniFileCheck& file, const IniDocument::Section& section) const;

  const Configuration& configuration;
  const ItemEngines& engines;
};
