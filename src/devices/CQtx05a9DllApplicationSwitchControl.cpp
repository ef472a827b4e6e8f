#include "devices/CQtx05a9DllApplicationSwitchControl.h"

// windows.h first (through the header): shlwapi.h needs its types.
#include <shlwapi.h>

#include <array>

#include "common/CUniqueHandle.h"
#include "common/CWideString.h"
#include "common/PathHelpers.h"
#include "devices/GetFunction.h"

namespace Qtx05a9 {

namespace {

constexpr DWORD kFunctionMissing = 1;

/// Reads a text of the driver's registry key; false when it is missing, empty, of another type, too
/// long, or not a whole, terminated text.
bool ReadText(HKEY key, const wchar_t* name, CWideString* result) {
  std::array<wchar_t, MAX_PATH> text{};
  DWORD type = REG_NONE;
  DWORD size = sizeof(text);
  const LSTATUS status =
      ::RegQueryValueExW(key, name, nullptr, &type, reinterpret_cast<BYTE*>(text.data()), &size);
  if (status != ERROR_SUCCESS) {
    ::SetLastError(static_cast<DWORD>(status));
    return false;
  }
  const DWORD count = size / sizeof(wchar_t);
  const bool isText = (type == REG_SZ || type == REG_EXPAND_SZ) && size % sizeof(wchar_t) == 0 &&
                      count > 0 && text[count - 1] == L'\0' && text.front() != L'\0';
  if (!isText) {
    ::SetLastError(ERROR_INVALID_DATA);
    return false;
  }
  *result = text.data();
  return true;
}

bool FindDriver(std::array<wchar_t, MAX_PATH>* path) {
  HKEY opened = nullptr;
  const LSTATUS status =
      ::RegOpenKeyExW(HKEY_LOCAL_MACHINE, L"Software\\Brivane\\QTX05A9", 0, KEY_READ, &opened);
  if (status != ERROR_SUCCESS) {
    ::SetLastError(static_cast<DWORD>(status));
    return false;
  }
  const CUniqueRegistryKey key(opened);
  CWideString folder;
  CWideString name;
  if (!ReadText(key.Get(), L"InstPath", &folder) || !ReadText(key.Get(), L"DllName", &name)) {
    return false;
  }
  if (folder.length() + name.length() >= MAX_PATH) {
    ::SetLastError(ERROR_INSUFFICIENT_BUFFER);
    return false;
  }
  return ::PathCombineW(path->data(), folder.c_str(), name.c_str()) != nullptr;
}

}  // namespace

bool CQtx05a9DllApplicationSwitchControl::LoadDriver() {
  std::array<wchar_t, MAX_PATH> path{};
  if (!FindDriver(&path)) return false;
  if (!Common::IsFullPath(path.data())) {
    ::SetLastError(ERROR_BAD_PATHNAME);
    return false;
  }
  return Load(path.data());
}

DWORD CQtx05a9DllApplicationSwitchControl::GetSwitchInfo(DWORD* info) const noexcept {
  if (getSwitchInfo == nullptr) {
    ::SetLastError(ERROR_NOT_SUPPORTED);
    return kFunctionMissing;
  }
  return getSwitchInfo(info);
}

DWORD CQtx05a9DllApplicationSwitchControl::SetApplicationSwitch(DWORD mask,
                                                                DWORD value) const noexcept {
  if (setApplicationSwitch == nullptr) {
    ::SetLastError(ERROR_NOT_SUPPORTED);
    return kFunctionMissing;
  }
  return setApplicationSwitch(mask, value);
}

bool CQtx05a9DllApplicationSwitchControl::OnLoad(HMODULE loaded) {
  getSwitchInfo = GetFunction<decltype(getSwitchInfo)>(loaded, "GetSwitchInfo");
  setApplicationSwitch =
      GetFunction<decltype(setApplicationSwitch)>(loaded, "SetApplicationSwitch");
  return true;
}

void CQtx05a9DllApplicationSwitchControl::OnUnload() noexcept {
  getSwitchInfo = nullptr;
  setApplicationSwitch = nullptr;
}

}  // namespace Qtx05a9
