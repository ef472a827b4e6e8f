#pragma once

#include <cstdint>
#include <vector>

#include "TextOutput.h"
#include "common/CWideString.h"
#include "config/CModeChangeConfig.h"
#include "config/CModeChangeResource.h"
#include "config/CModeChangeSettings.h"
#include "config/CModeChangeStatus.h"

/// What keeps the report from being made, and what to do about it.
struct ReportError {
  CWideString problem;
  CWideString remedy;
};

/// Says what the configuration beside this program makes of this machine's modes, with the names in
/// the user's language. What can't be read is thrown as a ReportError.
///
/// Engines are not loaded, so an item's and its values' names are looked up under the keys that
/// the sample engines use: "<item>_Name" and "<item>_Value<number>". Where there is no such text,
/// the key name or the bare number stands for it.
class ModeReport {
 public:
  explicit ModeReport(TextOutput& output);

  /// The key names of the modes that this machine offers.
  [[nodiscard]] const std::vector<CWideString>& Modes() const noexcept { return modes; }

  /// The application's name and where everything was read from.
  void PrintTitle();
  void PrintMode(const CWideString& mode);

 private:
  void PrintItem(const CWideString& mode, const CWideString& item);
  void PrintLockRule(const CWideString& item);
  CWideString GetItemName(const CWideString& item);
  CWideString GetValueName(const CWideString& item, std::int32_t value);

  TextOutput& output;
  CWideString folder;
  CModeChangeConfig config;
  CModeChangeResource resource;
  CModeChangeSettings settings;
  CModeChangeStatus status;
  std::vector<CWideString> modes;
};
