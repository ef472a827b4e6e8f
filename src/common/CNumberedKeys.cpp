#include "common/CNumberedKeys.h"

#include <algorithm>
#include <cwchar>
#include <limits>

namespace {

/// The number behind `keyName` in a key that is written as this library numbers keys: in decimal,
/// without a sign and without padding. -1 for any other key.
std::int32_t GetKeyIndex(const CWideString& key, const CWideString& keyName) noexcept {
  if (::_wcsnicmp(key.c_str(), keyName.c_str(), keyName.length()) != 0) return -1;
  const wchar_t* digit = key.c_str() + keyName.length();
  if (*digit == L'\0' || (*digit == L'0' && digit[1] != L'\0')) return -1;
  std::int64_t number = 0;
  for (; *digit != L'\0'; ++digit) {
    if (*digit < L'0' || *digit > L'9') return -1;
    number = number * 10 + (*digit - L'0');
    if (number > std::numeric_limits<std::int32_t>::max()) return -1;
  }
  return static_cast<std::int32_t>(number);
}

}  // namespace

CNumberedKeys::CNumberedKeys(CIniStringReader& reader, const wchar_t* section,
                             const wchar_t* keyName, std::int32_t count)
    : reader(reader), section(section), keyName(keyName), count(count) {
  if (count <= kMostKeysTried) return;
  for (const CWideString& key : reader.ReadKeyNames(section)) {
    const std::int32_t keyIndex = GetKeyIndex(key, keyName);
    if (keyIndex >= 0 && keyIndex < count) presentIndices.push_back(keyIndex);
  }
  std::sort(presentIndices.begin(), presentIndices.end());
  presentIndices.erase(std::unique(presentIndices.begin(), presentIndices.end()),
                       presentIndices.end());
}

bool CNumberedKeys::Next() {
  if (!MoveToNextIndex()) return false;
  value = reader.Read(section, (keyName + CWideString::FromInt(index)).c_str());
  return true;
}

bool CNumberedKeys::MoveToNextIndex() noexcept {
  if (count <= kMostKeysTried) {
    if (index + 1 >= count) return false;
    ++index;
    return true;
  }
  if (position == presentIndices.size()) return false;
  index = presentIndices[position++];
  return true;
}
