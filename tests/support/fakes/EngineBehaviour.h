#pragma once

#include <windows.h>

/// What a FakeEngine.dll does: the DLL passes every call on to the behaviour that a test attached
/// to it. A DLL without a behaviour fails every call.
class EngineBehaviour {
 public:
  virtual BOOL CreateHandle(void** handle) = 0;
  virtual BOOL DeleteHandle(void* handle) = 0;
  virtual BOOL GetDeviceCount(void* handle, UINT* count) = 0;
  virtual BOOL SelectDevice(void* handle, UINT index) = 0;
  virtual BOOL GetStringInformation(void* handle, UINT identifier, UINT subIndex, UINT* length,
                                    WCHAR* buffer) = 0;
  virtual BOOL GetINT32Information(void* handle, UINT identifier, UINT subIndex, INT32* value) = 0;
  virtual BOOL RequestToSetINT32Information(void* handle, UINT identifier, UINT subIndex,
                                            INT32 value, HWND window, UINT message) = 0;

 protected:
  ~EngineBehaviour() = default;
};

/// The DLL's export that attaches a behaviour; null detaches.
using AttachEngineBehaviour = void(WINAPI*)(EngineBehaviour* behaviour);
