#pragma once

#include <windows.h>

#include <functional>
#include <map>
#include <set>
#include <string>
#include <vector>

#include "support/fakes/EngineBehaviour.h"

/// A device engine whose answers a test writes down, and which records what it is asked.
///
///     EngineLog log;
///     ScriptedEngine lamp(engineFolder + L"\\Lamp.dll", &log);   // copies FakeEngine.dll there
///     lamp.values = 3;
///     lamp.current = 2;
///     ... the library uses the engine ...
///     EXPECT_THAT(log, ElementsAre("Lamp.CreateHandle", "Lamp.GetDeviceCount", ...));
///
/// The engine's DLL stays loaded as long as this object lives.
using EngineLog = std::vector<std::string>;

class ScriptedEngine final : public EngineBehaviour {
 public:
  /// When the completion of an accepted request is posted.
  enum class Completion { kAtOnce, kTwice, kByTest, kNever };

  /// Copies the fake engine that lies beside the test program to `path` and loads it. The log gets
  /// lines such as "Lamp.GetINT32Information(2, 1)": the file's name, the call and its identifier
  /// and sub-index.
  ScriptedEngine(const std::wstring& path, EngineLog* log);
  ~ScriptedEngine();
  ScriptedEngine(const ScriptedEngine&) = delete;
  ScriptedEngine& operator=(const ScriptedEngine&) = delete;

  // The script.
  UINT devices = 1;
  INT32 supported = 1;
  INT32 values = 2;
  std::map<UINT, INT32> available;  // the answer for a value; 1 where nothing is said
  INT32 current = 0;
  INT32 busy = 0;
  std::wstring itemKey = L"Item";
  std::wstring valueKeyPrefix = L"Value";  // followed by the value's number
  /// Instead of the keys: writes what it likes into the buffer and its length.
  std::function<void(UINT identifier, UINT subIndex, UINT* length, WCHAR* buffer)> writeText;
  bool nullHandle = false;
  bool setsCurrent = true;  // whether an accepted request changes `current`
  Completion completion = Completion::kAtOnce;
  WPARAM result = 1;
  /// Calls that answer FALSE, written as in the log without the file's name: "SelectDevice(0)".
  std::set<std::string> failing;
  /// Called at the start of every call with its line of the log; may do anything.
  std::function<void(const std::string&)> onCall;

  // What happened.
  std::vector<INT32> requested;
  HWND window = nullptr;
  UINT message = 0;
  int openHandles = 0;

  /// Posts the completion of the last request (Completion::kByTest).
  void Complete() const;

 private:
  BOOL CreateHandle(void** handle) override;
  BOOL DeleteHandle(void* handle) override;
  BOOL GetDeviceCount(void* handle, UINT* count) override;
  BOOL SelectDevice(void* handle, UINT index) override;
  BOOL GetStringInformation(void* handle, UINT identifier, UINT subIndex, UINT* length,
                            WCHAR* buffer) override;
  BOOL GetINT32Information(void* handle, UINT identifier, UINT subIndex, INT32* value) override;
  BOOL RequestToSetINT32Information(void* handle, UINT identifier, UINT subIndex, INT32 value,
                                    HWND notificationWindow, UINT notificationMessage) override;

  bool Record(const std::string& call);

  std::string name;
  std::wstring path;
  EngineLog* log;
  HMODULE module = nullptr;
};
