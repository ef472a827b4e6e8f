#include "common/IniHelpers.h"

namespace Common {

std::int32_t ReadIniInt(const CWideString& path, const wchar_t* section, const wchar_t* key,
                        std::int32_t absent) noexcept {
  if (path.empty()) return absent;
  return static_cast<std::int32_t>(::GetPrivateProfileIntW(section, key, absent, path.c_str()));
}

bool WriteIniInt(const CWideString& path, const wchar_t* section, const wchar_t* key,
                 std::int32_t value) {
  if (path.empty()) {
    ::SetLastError(ERROR_PATH_NOT_FOUND);
    return false;
  }
  return ::WritePrivateProfileStringW(section, key, CWideString::FromInt(value).c_str(),
                                      path.c_str()) != FALSE;
}

}  // namespace Common
