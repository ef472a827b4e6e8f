// The least that an engine can be: one device with two values, set as soon as it is asked for. It
// does without the C++ runtime, so that loading it costs little beside what the library does.

#include <velto/device_engine.h>

namespace {

constexpr INT32 kValueCount = 2;

int device;

}  // namespace

extern "C" BOOL WINAPI DllMainCRTStartup(HINSTANCE /*instance*/, DWORD /*reason*/,
                                         void* /*reserved*/) {
  return TRUE;
}

BOOL WINAPI VeltoDeviceEngine_CreateHandle(VELTO_DEVICE_ENGINE_HANDLE* handle) {
  *handle = &device;
  return TRUE;
}

BOOL WINAPI VeltoDeviceEngine_DeleteHandle(VELTO_DEVICE_ENGINE_HANDLE /*handle*/) {
  return TRUE;
}

BOOL WINAPI VeltoDeviceEngine_GetDeviceCount(VELTO_DEVICE_ENGINE_HANDLE /*handle*/, UINT* count) {
  *count = 1;
  return TRUE;
}

BOOL WINAPI VeltoDeviceEngine_SelectDevice(VELTO_DEVICE_ENGINE_HANDLE /*handle*/, UINT /*index*/) {
  return TRUE;
}

// A change asks for no texts.
BOOL WINAPI VeltoDeviceEngine_GetStringInformation(VELTO_DEVICE_ENGINE_HANDLE /*handle*/,
                                                   UINT /*identifier*/, UINT /*subIndex*/,
                                                   UINT* /*length*/, WCHAR* /*buffer*/) {
  return FALSE;
}

BOOL WINAPI VeltoDeviceEngine_GetINT32Information(VELTO_DEVICE_ENGINE_HANDLE /*handle*/,
                                                  UINT identifier, UINT /*subIndex*/,
                                                  INT32* value) {
  switch (identifier) {
    case VELTO_ENGINE_INT32_SUPPORTED:
    case VELTO_ENGINE_INT32_VALUE_AVAILABLE:
      *value = 1;
      return TRUE;
    case VELTO_ENGINE_INT32_VALUE_COUNT:
      *value = kValueCount;
      return TRUE;
    case VELTO_ENGINE_INT32_CURRENT_VALUE:
    case VELTO_ENGINE_INT32_BUSY:
      *value = 0;
      return TRUE;
    default:
      return FALSE;
  }
}

BOOL WINAPI VeltoDeviceEngine_RequestToSetINT32Information(VELTO_DEVICE_ENGINE_HANDLE /*handle*/,
                                                           UINT /*identifier*/, UINT /*subIndex*/,
                                                           INT32 /*value*/, HWND notificationWindow,
                                                           UINT notificationMessage) {
  return ::PostMessageW(notificationWindow, notificationMessage, VELTO_ENGINE_RESULT_DONE, 0);
}
