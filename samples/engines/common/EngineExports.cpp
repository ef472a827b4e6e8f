#include <velto/device_engine.h>
// The header brings windows.h, which the other needs.
#include <strsafe.h>

#include <algorithm>
#include <array>
#include <cwchar>

#include "GetCurrentValue.h"
#include "SettingThread.h"

namespace {

// All handles are open on the same device and have no state of their own, so there is one handle,
// the address of this object, and a foreign one is told from it.
constinit SettingThread settingThread;

bool IsHandle(VELTO_DEVICE_ENGINE_HANDLE handle) {
  return handle == &settingThread;
}

bool IsValueIndex(UINT subIndex) {
  return IsValue(static_cast<INT32>(subIndex));
}

bool GetKey(UINT identifier, UINT subIndex, std::array<wchar_t, VELTO_ENGINE_STRING_LENGTH>* key) {
  if (identifier == VELTO_ENGINE_STRING_ITEM_KEY && subIndex == 0) {
    return SUCCEEDED(::StringCchPrintfW(key->data(), key->size(), L"%s_Name", kEngine.item));
  }
  if (identifier == VELTO_ENGINE_STRING_VALUE_KEY && IsValueIndex(subIndex)) {
    return SUCCEEDED(
        ::StringCchPrintfW(key->data(), key->size(), L"%s_Value%u", kEngine.item, subIndex));
  }
  return false;
}

bool GetNumber(UINT identifier, UINT subIndex, INT32* value) {
  if (identifier == VELTO_ENGINE_INT32_VALUE_AVAILABLE) {
    if (!IsValueIndex(subIndex)) return false;
    *value = kEngine.isAvailable(static_cast<INT32>(subIndex)) ? 1 : 0;
    return true;
  }
  if (subIndex != 0) return false;
  switch (identifier) {
    case VELTO_ENGINE_INT32_SUPPORTED:
      *value = kEngine.isSupported() ? 1 : 0;
      return true;
    case VELTO_ENGINE_INT32_VALUE_COUNT:
      *value = kEngine.valueCount;
      return true;
    case VELTO_ENGINE_INT32_CURRENT_VALUE:
      return GetCurrentValue(value);
    case VELTO_ENGINE_INT32_BUSY:
      *value = settingThread.IsBusy() ? 1 : 0;
      return true;
    default:
      return false;
  }
}

bool CanBeSet(INT32 value) {
  return IsValue(value) && kEngine.isSupported() && kEngine.isAvailable(value);
}

}  // namespace

BOOL WINAPI VeltoDeviceEngine_CreateHandle(VELTO_DEVICE_ENGINE_HANDLE* handle) {
  if (handle == nullptr) return FALSE;
  *handle = &settingThread;
  return TRUE;
}

BOOL WINAPI VeltoDeviceEngine_DeleteHandle(VELTO_DEVICE_ENGINE_HANDLE handle) {
  return IsHandle(handle) ? TRUE : FALSE;
}

BOOL WINAPI VeltoDeviceEngine_GetDeviceCount(VELTO_DEVICE_ENGINE_HANDLE handle, UINT* count) {
  if (!IsHandle(handle) || count == nullptr) return FALSE;
  *count = 1;
  return TRUE;
}

BOOL WINAPI VeltoDeviceEngine_SelectDevice(VELTO_DEVICE_ENGINE_HANDLE handle, UINT index) {
  return IsHandle(handle) && index == 0 ? TRUE : FALSE;
}

BOOL WINAPI VeltoDeviceEngine_GetStringInformation(VELTO_DEVICE_ENGINE_HANDLE handle,
                                                   UINT identifier, UINT subIndex, UINT* length,
                                                   WCHAR* buffer) {
  if (!IsHandle(handle) || length == nullptr || buffer == nullptr) return FALSE;
  std::array<wchar_t, VELTO_ENGINE_STRING_LENGTH> key{};
  if (!GetKey(identifier, subIndex, &key)) return FALSE;
  const auto size = static_cast<UINT>(std::wcslen(key.data()) + 1);
  if (*length < size) return FALSE;
  std::copy_n(key.data(), size, buffer);
  *length = size;
  return TRUE;
}

BOOL WINAPI VeltoDeviceEngine_GetINT32Information(VELTO_DEVICE_ENGINE_HANDLE handle,
                                                  UINT identifier, UINT subIndex, INT32* value) {
  if (!IsHandle(handle) || value == nullptr) return FALSE;
  return GetNumber(identifier, subIndex, value) ? TRUE : FALSE;
}

BOOL WINAPI VeltoDeviceEngine_RequestToSetINT32Information(VELTO_DEVICE_ENGINE_HANDLE handle,
                                                           UINT identifier, UINT subIndex,
                                                           INT32 value, HWND notificationWindow,
                                                           UINT notificationMessage) {
  if (!IsHandle(handle) || identifier != VELTO_ENGINE_REQUEST_VALUE || subIndex != 0) return FALSE;
  if (!CanBeSet(value) || ::IsWindow(notificationWindow) == FALSE) return FALSE;
  return settingThread.Start(value, notificationWindow, notificationMessage) ? TRUE : FALSE;
}
