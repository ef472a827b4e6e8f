#pragma once

#include <string>
#include <vector>

#include "ModeLibrary.h"

/// What the library tells about a mode.
struct Mode {
  UINT index = 0;
  std::wstring name = {};
  INT32 type = 0;
  INT32 status = 0;
  std::wstring statusName = {};
  std::wstring statusIconKey = {};
  bool settingsChanged = false;
  bool autoOnOff = false;
};

/// All modes of this machine, in the library's order.
[[nodiscard]] std::vector<Mode> ReadModes(const ModeLibrary& library);

/// The mode of this name, in upper or lower case, or of this number. Throws a UsageError that lists
/// the modes when there is none, or more than one of the name.
[[nodiscard]] const Mode& FindMode(const std::vector<Mode>& modes,
                                   const std::wstring& nameOrNumber);

/// "ON" or "OFF".
[[nodiscard]] std::wstring GetStatusWord(INT32 status);

/// All modes, one a line.
[[nodiscard]] std::wstring FormatModes(const std::vector<Mode>& modes);
[[nodiscard]] std::wstring FormatModesAsJson(const std::vector<Mode>& modes);

/// All about one mode.
[[nodiscard]] std::wstring FormatMode(const Mode& mode);
[[nodiscard]] std::wstring FormatModeAsJson(const Mode& mode);
