#include "common/CIniStringReader.h"

#include <algorithm>
#include <cwchar>
#include <limits>
#include <utility>

CIniStringReader::CIniStringReader(CWideString path, DWORD capacity)
    : path(std::move(path)), capacity(capacity), buffer(new wchar_t[capacity]) {}

CWideString CIniStringReader::Read(const wchar_t* section, const wchar_t* key) {
  buffer[0] = L'\0';
  ::GetPrivateProfileStringW(section, key, L"", buffer.get(), capacity, path.c_str());
  return buffer.get();
}

std::vector<CWideString> CIniStringReader::ReadKeyNames(const wchar_t* section) {
  // A list of names ends with two terminators; a list that fills its buffer up to them was cut.
  constexpr DWORD kTerminators = 2;
  constexpr DWORD kMostCharacters = std::numeric_limits<DWORD>::max();
  std::unique_ptr<wchar_t[]> names;
  DWORD size = std::min(capacity, kMostCharacters - kTerminators) + kTerminators;
  DWORD length = 0;
  for (;; size = size > kMostCharacters / 2 ? kMostCharacters : 2 * size) {
    names.reset(new wchar_t[size]);
    length = ::GetPrivateProfileStringW(section, nullptr, L"", names.get(), size, path.c_str());
    if (length < size - kTerminators || size == kMostCharacters) break;
  }

  std::vector<CWideString> result;
  const wchar_t* const end = names.get() + length;
  for (const wchar_t* name = names.get(); name < end; name += std::wcslen(name) + 1) {
    // A line that begins with "=" has a key without a name; the list goes on behind it.
    if (*name != L'\0') result.emplace_back(name);
  }
  return result;
}
