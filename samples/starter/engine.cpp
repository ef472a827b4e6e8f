// The smallest engine: one device with two values that are kept in memory.
#include <velto/device_engine.h>

namespace {

INT32 current = 0;

bool CopyKey(const WCHAR* key, UINT* length, WCHAR* buffer) {
  const UINT needed = static_cast<UINT>(lstrlenW(key)) + 1;
  if (*length < needed) return false;
  lstrcpynW(buffer, key, static_cast<int>(needed));
  *length = needed;
  return true;
}

}  // namespace

extern "C" {

BOOL WINAPI VeltoDeviceEngine_CreateHandle(VELTO_DEVICE_ENGINE_HANDLE* handle) {
  *handle = &current;
  return TRUE;
}

BOOL WINAPI VeltoDeviceEngine_DeleteHandle(VELTO_DEVICE_ENGINE_HANDLE) {
  return TRUE;
}

BOOL WINAPI VeltoDeviceEngine_GetDeviceCount(VELTO_DEVICE_ENGINE_HANDLE, UINT* count) {
  *count = 1;
  return TRUE;
}

BOOL WINAPI VeltoDeviceEngine_SelectDevice(VELTO_DEVICE_ENGINE_HANDLE, UINT index) {
  return index == 0;
}

BOOL WINAPI VeltoDeviceEngine_GetStringInformation(VELTO_DEVICE_ENGINE_HANDLE, UINT identifier,
                                                   UINT subIndex, UINT* length, WCHAR* buffer) {
  if (identifier == VELTO_ENGINE_STRING_ITEM_KEY) return CopyKey(L"Starter_Name", length, buffer);
  return CopyKey(subIndex == 0 ? L"Starter_Value0" : L"Starter_Value1", length, buffer);
}

BOOL WINAPI VeltoDeviceEngine_GetINT32Information(VELTO_DEVICE_ENGINE_HANDLE, UINT identifier,
                                                  UINT subIndex, INT32* value) {
  switch (identifier) {
    case VELTO_ENGINE_INT32_SUPPORTED:
      *value = 1;
      return TRUE;
    case VELTO_ENGINE_INT32_VALUE_COUNT:
      *value = 2;
      return TRUE;
    case VELTO_ENGINE_INT32_VALUE_AVAILABLE:
      *value = subIndex < 2 ? 1 : 0;
      return TRUE;
    case VELTO_ENGINE_INT32_CURRENT_VALUE:
      *value = current;
      return TRUE;
    case VELTO_ENGINE_INT32_BUSY:
      *value = 0;
      return TRUE;
    default:
      return FALSE;
  }
}

BOOL WINAPI VeltoDeviceEngine_RequestToSetINT32Information(VELTO_DEVICE_ENGINE_HANDLE, UINT, UINT,
                                                           INT32 value, HWND window, UINT message) {
  current = value;
  return PostMessageW(window, message, VELTO_ENGINE_RESULT_DONE, 0);
}

}  // extern "C"
