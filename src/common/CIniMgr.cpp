#include "common/CIniMgr.h"

// windows.h first (through CIniMgr.h): shlwapi.h needs its types.
#include <shlwapi.h>

#include <algorithm>
#include <array>
#include <cwchar>

#include "common/CUniqueHandle.h"
#include "common/ModuleHelpers.h"

namespace {

/// A candidate of the search. Windows' path functions take no longer paths than MAX_PATH, so what
/// does not fit is a file that is not there.
bool GetAttributes(const CWideString& candidate, DWORD* attributes) noexcept {
  if (candidate.length() >= MAX_PATH) return false;
  *attributes = ::GetFileAttributesW(candidate.c_str());
  return *attributes != INVALID_FILE_ATTRIBUTES;
}

bool Exists(const CWideString& candidate) noexcept {
  DWORD attributes = 0;
  return GetAttributes(candidate, &attributes);
}

CWideString GetUserLocale() {
  std::array<wchar_t, LOCALE_NAME_MAX_LENGTH> locale{};
  if (::GetUserDefaultLocaleName(locale.data(), static_cast<int>(locale.size())) == 0) return {};
  return locale.data();
}

bool IsSubFolder(const WIN32_FIND_DATAW& entry) noexcept {
  return (entry.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) != 0 &&
         std::wcscmp(entry.cFileName, L".") != 0 && std::wcscmp(entry.cFileName, L"..") != 0;
}

/// The first folder, in the file system's order, that has the user's language in its name and the
/// file in it: "de-CH" will do for "de-AT".
bool FindInFolderOfSameLanguage(const CWideString& moduleFolder, const CWideString& locale,
                                const CWideString& fileName, CWideString* fullPath) {
  const wchar_t* hyphen = std::wcschr(locale.c_str(), L'-');
  if (hyphen == nullptr) return false;
  const CWideString language(locale.c_str(), static_cast<std::size_t>(hyphen + 1 - locale.c_str()));

  WIN32_FIND_DATAW entry{};
  const CUniqueFind find(
      ::FindFirstFileW((moduleFolder + L"\\" + language + L"*").c_str(), &entry));
  if (!find) return false;
  do {
    if (!IsSubFolder(entry)) continue;
    const CWideString candidate = moduleFolder + L"\\" + entry.cFileName + L"\\" + fileName;
    DWORD attributes = 0;
    // The device bit, not the directory bit: a directory of that name is accepted on purpose.
    if (GetAttributes(candidate, &attributes) && (attributes & FILE_ATTRIBUTE_DEVICE) == 0) {
      *fullPath = candidate;
      return true;
    }
  } while (::FindNextFileW(find.Get(), &entry) != FALSE);
  return false;
}

}  // namespace

CIniMgr::~CIniMgr() = default;

bool CIniMgr::Initialize(HMODULE newModule, const wchar_t* fileName) {
  module = newModule;
  return FindLocaleFilePath(fileName, &path);
}

std::int32_t CIniMgr::GetIniInt(const wchar_t* section, const wchar_t* key) {
  std::array<wchar_t, 16> text{};
  GetIniString(section, key, text.data(), static_cast<DWORD>(text.size()));
  if (text.front() == L'\0') return 0;
  int value = 0;
  if (::StrToIntExW(text.data(), STIF_SUPPORT_HEX, &value) != FALSE) return value;
  return ::_wtoi(text.data());
}

DWORD CIniMgr::GetIniString(const wchar_t* section, const wchar_t* key, wchar_t* buffer,
                            DWORD sizeInChars) {
  std::fill_n(buffer, sizeInChars, L'\0');
  // Given no path, the profile functions would look in the Windows folder.
  if (path.empty()) return 0;
  return ::GetPrivateProfileStringW(section, key, L"", buffer, sizeInChars, path.c_str());
}

bool CIniMgr::FindLocaleFilePath(const wchar_t* fileName, CWideString* fullPath) const {
  CWideString moduleFolder;
  if (!Common::GetModuleFolder(module, &moduleFolder)) return false;

  const CWideString locale = GetUserLocale();
  if (!locale.empty()) {
    const CWideString ownLocale = moduleFolder + L"\\" + locale + L"\\" + fileName;
    if (Exists(ownLocale)) {
      *fullPath = ownLocale;
      return true;
    }
    if (FindInFolderOfSameLanguage(moduleFolder, locale, fileName, fullPath)) return true;
  }

  for (const wchar_t* folder : {L"\\en-US\\", L"\\"}) {
    const CWideString candidate = moduleFolder + folder + fileName;
    if (Exists(candidate)) {
      *fullPath = candidate;
      return true;
    }
  }
  return false;
}
