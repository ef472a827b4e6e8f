#pragma once

#include <string>
#include <vector>

#include "Check.h"
#include "Contract.h"
#include "Engine.h"
#include "Inbox.h"

namespace EngineCheck {

/// Sets a device through its engine, as a change of a mode does, and worse. The engine is closed in
/// the end, and the device is left at whatever value it has by then.
class Setting {
 public:
  Setting(Engine& engine, const Device& device, CallLog& calls, Inbox& inbox);

  void Run();

 private:
  struct Request {
    std::wstring name;  // what was asked for
    INT32 value = 0;
    HWND window = nullptr;
    UINT message = 0;
    bool isAccepted = false;
    bool isJudged = true;
  };

  Request& Ask(INT32 value, UINT identifier = VELTO_ENGINE_REQUEST_VALUE, UINT subIndex = 0);
  [[nodiscard]] bool WaitForCompletion(const Request& request);
  [[nodiscard]] INT32 OtherValue();

  void CheckRefused();
  /// False where going on makes no sense.
  [[nodiscard]] bool CheckValues();
  [[nodiscard]] bool CheckValue(INT32 value);
  [[nodiscard]] bool CheckSecondRequest();
  [[nodiscard]] bool CheckGoneWindow();
  void CheckClosing();

  void JudgeCompletions();
  void JudgeAccepted(const Request& request);
  void JudgeStrays();

  Engine& engine;
  const Device& device;
  CallLog& calls;
  Inbox& inbox;
  HWND bystander;  // a window that no request names
  std::vector<Request> requests;
  Check refusals;
  Check values;
  Check completions;
  Check free;
};

/// Sets a value through an engine that is loaded for it. True, and reported, when the device has
/// the value then; where it has it already nothing is done.
[[nodiscard]] bool RestoreDevice(const std::wstring& enginePath, INT32 value, CallLog& calls);

}  // namespace EngineCheck
