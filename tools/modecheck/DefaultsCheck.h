#pragma once

#include "Configuration.h"
#include "IniFileCheck.h"
#include "ItemEngines.h"

/// Checks ModeChange.DefaultSettings.ini.
class DefaultsCheck {
 public:
  DefaultsCheck(const IniFileCheck& file, const Configuration& configuration,
                const ItemEngines& engines)
      : file(file), configuration(configuration), engines(engines) {}

  void Run() const;

 private:
  void CheckMode(const Configuration::Mode& mode, const std::wstring& section) const;
  void CheckItem(const std::wstring& section, const std::wstring& item) const;
  void CheckLockedItems(const std::wstring& section) const;
  void CheckAgainstLocks(const std::wstring& section) const;
  void CheckNames() const;

  const IniFileCheck& file;
  const Configuration& configuration;
  const ItemEngines& engines;
};
