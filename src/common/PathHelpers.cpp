#include "common/PathHelpers.h"

#include <windows.h>
// windows.h first: shlwapi.h needs its types.
#include <shlwapi.h>

#include <array>
#include <cwchar>

namespace Common {

namespace {

// The path functions work in place in a buffer of at least MAX_PATH characters.
using PathBuffer = std::array<wchar_t, MAX_PATH>;

bool CopyToPathBuffer(const CWideString& path, PathBuffer* buffer) noexcept {
  if (path.length() >= buffer->size()) return false;
  std::wmemcpy(buffer->data(), path.c_str(), path.length() + 1);
  return true;
}

}  // namespace

bool FileExists(const CWideString& path) noexcept {
  const DWORD attributes = ::GetFileAttributesW(path.c_str());
  return attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_DIRECTORY) == 0;
}

bool FolderExists(const CWideString& path) noexcept {
  const DWORD attributes = ::GetFileAttributesW(path.c_str());
  return attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
}

bool IsFullPath(const CWideString& path) noexcept {
  const wchar_t* text = path.c_str();
  const bool isOnShare = text[0] == L'\\' && text[1] == L'\\';
  return isOnShare || (text[0] != L'\0' && text[1] == L':' && text[2] == L'\\');
}

bool JoinPath(const CWideString& folder, const wchar_t* more, CWideString* joined) {
  PathBuffer buffer{};
  if (!CopyToPathBuffer(folder, &buffer) || ::PathAppendW(buffer.data(), more) == FALSE) {
    ::SetLastError(ERROR_FILENAME_EXCED_RANGE);
    return false;
  }
  *joined = buffer.data();
  return true;
}

CWideString RemoveFileSpec(const CWideString& path) {
  PathBuffer buffer{};
  if (!CopyToPathBuffer(path, &buffer) || ::PathRemoveFileSpecW(buffer.data()) == FALSE) return {};
  return buffer.data();
}

}  // namespace Common
