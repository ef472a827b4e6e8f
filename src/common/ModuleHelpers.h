#pragma once

#include <windows.h>

#include "common/CWideString.h"

namespace Common {

/// The module that this code was linked into, whatever process loaded it. Null, traced, on failure.
[[nodiscard]] HMODULE GetMyModuleHandle();

/// Size of a file in bytes; 0, traced, when it can't be opened or measured or is over 4 GiB - 1.
///
/// Every character of an INI value takes at least one byte in its file, so a buffer of as many
/// characters never cuts a value.
[[nodiscard]] DWORD GetMyFileSize(const wchar_t* path);

/// The folder that a module was loaded from, without a backslash at its end.
///
/// False, with the last error set and `folder` untouched, for a null module (whose path would be
/// that of the process) and for a path that can't be had whole (the part that fits could name
/// another folder).
[[nodiscard]] bool GetModuleFolder(HMODULE module, CWideString* folder);

}  // namespace Common
