#pragma once

#include <windows.h>

/// What a FakeDriver.dll does: the DLL passes every call on to the behaviour that a test attached
/// to it. All functions return the driver's status, 0 for success.
class DriverBehaviour {
 public:
  virtual DWORD GetLEDInfo(DWORD* info) = 0;
  virtual DWORD SetLEDControl(DWORD id, DWORD value) = 0;
  virtual DWORD GetSwitchInfo(DWORD* info) = 0;
  virtual DWORD SetApplicationSwitch(DWORD mask, DWORD value) = 0;

 protected:
  ~DriverBehaviour() = default;
};

/// The DLL's export that attaches a behaviour; null detaches.
using AttachDriverBehaviour = void(WINAPI*)(DriverBehaviour* behaviour);
