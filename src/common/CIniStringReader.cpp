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

template <class Query>
std::vector<CWideString> CIniStringReader::ReadList(Query query) const {
  // A list ends with two terminators; one that fills its buffer up to them was cut.
  constexpr DWORD kTerminators = 2;
  constexpr DWORD kMostCharacters = std::numeric_limits<DWORD>::max();
  std::unique_ptr<wchar_t[]> list;
  DWORD size = std::min(capacity, kMostCharacters - kTerminators) + kTerminators;
  DWORD length = 0;
  for (;; size = size > kMostCharacters / 2 ? kMostCharacters : 2 * size) {
    list.reset(new wchar_t[size]);
    length = query(list.get(), size);
    if (length < size - kTerminators || size == kMostCharacters) break;
  }

  std::vector<CWideString> entries;
  const wchar_t* const end = list.get() + length;
  for (const wchar_t* entry = list.get(); entry < end; entry += std::wcslen(entry) + 1) {
    if (*entry != L'\0') entries.emplace_back(entry);
  }
  return entries;
}

std::vector<CWideString> CIniStringReader::ReadKeyNames(const wchar_t* section) {
  std::vector<CWideString> names = ReadList([this, section](wchar_t* list, DWORD size) {
    return ::GetPrivateProfileStringW(section, nullptr, L"", list, size, path.c_str());
  });
  if (!names.empty()) return names;

  // The list may end at a key without a name (a line that begins with "="); whole lines don't.
  names = ReadList([this, section](wchar_t* list, DWORD size) {
    return ::GetPrivateProfileSectionW(section, list, size, path.c_str());
  });
  for (CWideString& name : names) name = {name.c_str(), std::wcscspn(name.c_str(), L"=")};
  std::erase_if(names, [](const CWideString& name) { return name.empty(); });
  return names;
}
