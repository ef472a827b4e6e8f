#pragma once

#include "common/CWideString.h"

namespace Common {

/// True when the path names something that is there and is not a directory.
[[nodiscard]] bool FileExists(const CWideString& path) noexcept;
/// True when the path names a directory that is there.
[[nodiscard]] bool FolderExists(const CWideString& path) noexcept;

/// True when the path says by itself where it leads: from a drive's root ("C:\...") or a share
/// ("\\..."). Windows looks for a DLL with any other path in the current folder, among others, so
/// none is loaded by such a path.
[[nodiscard]] bool IsFullPath(const CWideString& path) noexcept;

/// Joins two parts of a path with one backslash. False, with the last error set and `joined`
/// untouched, when the result would not fit into MAX_PATH characters.
[[nodiscard]] bool JoinPath(const CWideString& folder, const wchar_t* more, CWideString* joined);

/// The path without its last part: the folder of a file. A path too long for Windows' path
/// functions, or without a folder, gives an empty text.
[[nodiscard]] CWideString RemoveFileSpec(const CWideString& path);

}  // namespace Common
