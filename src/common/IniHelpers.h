#pragma once

#include <windows.h>

#include <cstdint>

#include "common/CWideString.h"

/// The profile functions as this library uses them. Given no path they would read and write in the
/// Windows folder, so an empty path counts as a missing file here.
namespace Common {

/// The key's value as a signed integer; `absent` when the key is not there.
[[nodiscard]] std::int32_t ReadIniInt(const CWideString& path, const wchar_t* section,
                                      const wchar_t* key, std::int32_t absent) noexcept;

/// Writes a decimal integer; false, with the last error set, when that failed.
[[nodiscard]] bool WriteIniInt(const CWideString& path, const wchar_t* section, const wchar_t* key,
                               std::int32_t value);

}  // namespace Common
