#include "velto/device_engine.h"

// An engine that does harm when it is opened; its file's name says what.

namespace {

void DoHarm() {
#if defined(ENGINE_CRASHES)
  ::RaiseException(EXCEPTION_ACCESS_VIOLATION, EXCEPTION_NONCONTINUABLE, 0, nullptr);
#elif defined(ENGINE_EXITS)
  ::ExitProcess(0);
#else
  for (;;) ::Sleep(INFINITE);
#endif
}

}  // namespace

BOOL WINAPI VeltoDeviceEngine_CreateHandle(VELTO_DEVICE_ENGINE_HANDLE*) {
  DoHarm();
  return FALSE;
}

BOOL WINAPI VeltoDeviceEngine_DeleteHandle(VELTO_DEVICE_ENGINE_HANDLE) {
  return FALSE;
}

BOOL WINAPI VeltoDeviceEngine_GetDeviceCount(VELTO_DEVICE_ENGINE_HANDLE, UINT*) {
  return FALSE;
}

BOOL WINAPI VeltoDeviceEngine_SelectDevice(VELTO_DEVICE_ENGINE_HANDLE, UINT) {
  return FALSE;
}

BOOL WINAPI VeltoDeviceEngine_GetStringInformation(VELTO_DEVICE_ENGINE_HANDLE, UINT, UINT, UINT*,
                                                   WCHAR*) {
  return FALSE;
}

BOOL WINAPI VeltoDeviceEngine_GetINT32Information(VELTO_DEVICE_ENGINE_HANDLE, UINT, UINT, INT32*) {
  return FALSE;
}

BOOL WINAPI VeltoDeviceEngine_RequestToSetINT32Information(VELTO_DEVICE_ENGINE_HANDLE, UINT, UINT,
                                                           INT32, HWND, UINT) {
  return FALSE;
}
