#pragma once

#include <windows.h>

#include <functional>
#include <string>
#include <vector>

#include "support/fakes/DriverBehaviour.h"

/// A hotkey driver's library whose answers a test writes down, and which records what it is asked,
/// for example "SetLEDControl(0x10, 0xa0001)".
class ScriptedDriver final : public DriverBehaviour {
 public:
  /// Copies the fake driver that lies beside the test program to `path` and loads it.
  explicit ScriptedDriver(const std::wstring& path);
  ~ScriptedDriver();
  ScriptedDriver(const ScriptedDriver&) = delete;
  ScriptedDriver& operator=(const ScriptedDriver&) = delete;

  // The script.
  DWORD ledInfo = 0x4000;
  DWORD switchInfo = 0x20;
  DWORD getLEDInfoStatus = 0;
  DWORD setLEDControlStatus = 0;
  DWORD getSwitchInfoStatus = 0;
  DWORD setApplicationSwitchStatus = 0;
  /// Called at the start of every call with its line of `calls`; may do anything.
  std::function<void(const std::string&)> onCall;

  // What happened.
  std::vector<std::string> calls;

 private:
  DWORD GetLEDInfo(DWORD* info) override;
  DWORD SetLEDControl(DWORD id, DWORD value) override;
  DWORD GetSwitchInfo(DWORD* info) override;
  DWORD SetApplicationSwitch(DWORD mask, DWORD value) override;

  void Record(const std::string& call);

  std::wstring path;
  HMODULE module = nullptr;
};
