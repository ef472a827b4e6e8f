#pragma once

#include <string>
#include <vector>

#include "Modes.h"

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
