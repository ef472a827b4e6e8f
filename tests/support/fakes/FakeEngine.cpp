#include "support/fakes/EngineBehaviour.h"
#include "velto/device_engine.h"

namespace {

EngineBehaviour* attached = nullptr;

}  // namespace

extern "C" void WINAPI FakeEngine_Attach(EngineBehaviour* behaviour) {
  attached = behaviour;
}

BOOL WINAPI VeltoDeviceEngine_CreateHandle(VELTO_DEVICE_ENGINE_HANDLE* handle) {
  return attached != nullptr ? attached->CreateHandle(handle) : FALSE;
}

BOOL WINAPI VeltoDeviceEngine_DeleteHandle(VELTO_DEVICE_ENGINE_HANDLE handle) {
  return attached != nullptr ? attached->DeleteHandle(handle) : FALSE;
}

BOOL WINAPI VeltoDeviceEngine_GetDeviceCount(VELTO_DEVICE_ENGINE_HANDLE handle, UINT* count) {
  return attached != nullptr ? attached->GetDeviceCount(handle, count) : FALSE;
}

BOOL WINAPI VeltoDeviceEngine_SelectDevice(VELTO_DEVICE_ENGINE_HANDLE handle, UINT index) {
  return attached != nullptr ? attached->SelectDevice(handle, index) : FALSE;
}

BOOL WINAPI VeltoDeviceEngine_GetStringInformation(VELTO_DEVICE_ENGINE_HANDLE handle,
                                                   UINT identifier, UINT subIndex, UINT* length,
                                                   WCHAR* buffer) {
  return attached != nullptr
             ? attached->GetStringInformation(handle, identifier, subIndex, length, buffer)
             : FALSE;
}

BOOL WINAPI VeltoDeviceEngine_GetINT32Information(VELTO_DEVICE_ENGINE_HANDLE handle,
                                                  UINT identifier, UINT subIndex, INT32* value) {
  return attached != nullptr ? attached->GetINT32Information(handle, identifier, subIndex, value)
                             : FALSE;
}

BOOL WINAPI VeltoDeviceEngine_RequestToSetINT32Information(VELTO_DEVICE_ENGINE_HANDLE handle,
                                                           UINT identifier, UINT subIndex,
                                                           INT32 value, HWND notificationWindow,
                                                           UINT notificationMessage) {
  return attached != nullptr
             ? attached->RequestToSetINT32Information(handle, identifier, subIndex, value,
                                                      notificationWindow, notificationMessage)
             : FALSE;
}
