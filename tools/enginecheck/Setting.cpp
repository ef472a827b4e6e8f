#include "Setting.h"

#include <algorithm>
#include <climits>

namespace EngineCheck {

namespace {

const std::wstring kArea = L"Setting";

constexpr DWORD kOutlivingInMs = 1000;

/// The library's own, and for every other request one that an engine has to be told.
UINT MessageOfRequest(std::size_t index) {
  return index % 2 == 0 ? WM_CHANGEMODE_COMPLETIONNOTICE : WM_APP + 0x100;
}

std::wstring Hexadecimal(UINT number) {
  constexpr const wchar_t* kDigits = L"0123456789ABCDEF";
  std::wstring text;
  for (; number != 0; number /= 16) text.insert(text.begin(), kDigits[number % 16]);
  return L"0x" + text;
}

bool IsBusy(Engine& engine) {
  INT32 busy = 0;
  return engine.GetINT32Information(VELTO_ENGINE_INT32_BUSY, 0, &busy) != FALSE && busy == 1;
}

}  // namespace

Setting::Setting(Engine& engine, const Device& device, CallLog& calls, Inbox& inbox)
    : engine(engine),
      device(device),
      calls(calls),
      inbox(inbox),
      bystander(inbox.OpenWindow()),
      refusals(calls.GetJournal(), kArea, L"refused-requests"),
      values(calls.GetJournal(), kArea, L"values"),
      completions(calls.GetJournal(), kArea, L"completions"),
      free(calls.GetJournal(), kArea, L"busy-afterwards") {}

void Setting::Run() {
  CheckRefused();
  const bool isWhole = CheckValues() && CheckSecondRequest() && CheckGoneWindow();
  if (isWhole) CheckClosing();
  inbox.WaitForQuiet();
  JudgeCompletions();
  refusals.Finish(L"Requests that make no sense are refused.");
  values.Finish(L"Each available value can be set and reads back.");
  completions.Finish(L"Each accepted request was completed once, as it should be.");
  free.Finish(L"The device is not busy once the completion is there.");
  if (!isWhole) {
    Check rest(calls.GetJournal(), kArea, L"rest");
    rest.Note(L"What else there is to check about setting was left out.",
              L"Mend what was found above and check again.");
  }
}

Setting::Request& Setting::Ask(INT32 value, UINT identifier, UINT subIndex) {
  Request& request =
      requests.emplace_back(Request{L"value " + std::to_wstring(value), value, inbox.OpenWindow(),
                                    MessageOfRequest(requests.size())});
  request.isAccepted =
      engine.RequestToSet(identifier, subIndex, value, request.window, request.message) != FALSE;
  return request;
}

bool Setting::WaitForCompletion(const Request& request) {
  HWND window = request.window;
  const bool hasCome = calls.Await(L"The completion of " + request.name, [&] {
    return inbox.WaitUntil([&] { return !inbox.ArrivalsAt(window).empty(); }, calls.TimeoutInMs());
  });
  if (!hasCome) {
    completions.Fail(L"No completion of " + request.name + L" was posted within " +
                         std::to_wstring(calls.TimeoutInMs()) + L" ms.",
                     L"Post the message to the window of the request, whether the value could be "
                     L"set or not: the change of a mode never ends without it. For a device that "
                     L"needs longer use --timeout.");
  }
  return hasCome;
}

INT32 Setting::OtherValue() {
  INT32 current = 0;
  if (engine.GetINT32Information(VELTO_ENGINE_INT32_CURRENT_VALUE, 0, &current) == FALSE) {
    current = device.currentValue;
  }
  return current == device.availableValues.front() ? device.availableValues.back()
                                                   : device.availableValues.front();
}

void Setting::CheckRefused() {
  const auto check = [this](INT32 value, UINT identifier, UINT subIndex, const std::wstring& name) {
    if (Ask(value, identifier, subIndex).isAccepted) {
      refusals.Fail(L"A request with " + name + L" was accepted.",
                    L"Refuse it: return FALSE, set nothing and post nothing.");
    }
  };
  const INT32 some = device.currentValue;
  check(some, VELTO_ENGINE_REQUEST_VALUE + 1, 0, L"identifier 1");
  check(some, VELTO_ENGINE_REQUEST_VALUE, 1, L"sub-index 1");
  for (const INT32 value : {-1, INT_MIN, INT_MAX}) {
    check(value, VELTO_ENGINE_REQUEST_VALUE, 0, L"value " + std::to_wstring(value));
  }
  // Where there are more values than were asked for, the next one is a good one.
  const auto isNone = [this](INT32 value) { return value == device.valueCount; };
  INT32 answer = 0;
  if (engine.GetINT32Information(VELTO_ENGINE_INT32_VALUE_COUNT, 0, &answer) != FALSE &&
      isNone(answer)) {
    check(answer, VELTO_ENGINE_REQUEST_VALUE, 0,
          L"value " + std::to_wstring(answer) + L", the first that there is not,");
  }
  for (const INT32 value : device.otherValues) {
    check(value, VELTO_ENGINE_REQUEST_VALUE, 0,
          L"value " + std::to_wstring(value) + L", which is not available,");
  }
}

bool Setting::CheckValues() {
  // The present value comes last: setting it first would show nothing.
  std::vector<INT32> order = device.availableValues;
  std::rotate(order.begin(), std::find(order.begin(), order.end(), device.currentValue) + 1,
              order.end());
  return std::all_of(order.begin(), order.end(), [this](INT32 value) { return CheckValue(value); });
}

bool Setting::CheckValue(INT32 value) {
  const Request request = Ask(value);
  if (!request.isAccepted) {
    values.Fail(L"The request for value " + std::to_wstring(value) + L" was refused.",
                L"Accept every value that VALUE_AVAILABLE offers while BUSY is 0.");
    return true;
  }
  if (!WaitForCompletion(request)) return false;

  const WPARAM result = inbox.ArrivalsAt(request.window).front().wParam;
  if (result == VELTO_ENGINE_RESULT_FAILED) {
    values.Fail(L"Value " + std::to_wstring(value) + L" was reported as failed.",
                L"Offer only values that this machine can set, or see why the device refused.");
  } else if (result == VELTO_ENGINE_RESULT_2 || result == VELTO_ENGINE_RESULT_3) {
    values.Warn(L"Value " + std::to_wstring(value) + L" ended with the engine's own result " +
                    std::to_wstring(result) + L".",
                L"The change of a mode ends with it. Check that this is meant.");
  } else if (result != VELTO_ENGINE_RESULT_DONE) {
    values.Fail(L"Value " + std::to_wstring(value) + L" ended with result " +
                    std::to_wstring(result) + L", which there is not.",
                L"Post 0, 1, 2 or 3 in wParam: the library takes anything else as failed.");
  }

  INT32 now = 0;
  if (engine.GetINT32Information(VELTO_ENGINE_INT32_CURRENT_VALUE, 0, &now) == FALSE) {
    values.Fail(
        L"CURRENT_VALUE gave no answer after value " + std::to_wstring(value) + L" was set.",
        L"Read the device when you are asked, whatever was set before.");
  } else if (result == VELTO_ENGINE_RESULT_DONE && now != value) {
    values.Fail(L"Value " + std::to_wstring(value) +
                    L" was reported as done, and CURRENT_VALUE is " + std::to_wstring(now) + L".",
                L"Report a value as done when the device has it, not when it was asked for it.");
  }
  if (IsBusy(engine)) {
    free.Warn(L"BUSY is 1 after value " + std::to_wstring(value) + L" was completed.",
              L"Be free before you post the completion: who receives it may ask for the next value "
              L"at once, and is refused.");
    static_cast<void>(inbox.WaitUntil([this] { return !IsBusy(engine); }, calls.TimeoutInMs()));
  }
  return true;
}

bool Setting::CheckSecondRequest() {
  const INT32 firstValue = OtherValue();
  const auto second = std::find_if(device.availableValues.begin(), device.availableValues.end(),
                                   [&](INT32 value) { return value != firstValue; });
  const Request first = Ask(firstValue);
  const Request other = Ask(*second);
  // Another program may hold the device: who refuses both now is not to blame for that.
  for (const Request& request : {first, other}) {
    if (request.isAccepted && !WaitForCompletion(request)) return false;
  }
  return inbox.WaitUntil([this] { return !IsBusy(engine); }, calls.TimeoutInMs());
}

bool Setting::CheckGoneWindow() {
  Request& request = Ask(OtherValue());
  request.isJudged = false;
  inbox.CloseWindow(request.window);
  Check check(calls.GetJournal(), kArea, L"window-gone");
  const bool isFree = calls.Await(L"Setting a value for a window that is gone", [this] {
    return inbox.WaitUntil([this] { return !IsBusy(engine); }, calls.TimeoutInMs());
  });
  if (!isFree) {
    check.Fail(L"BUSY stays 1 after the window that waits has gone.",
               L"End a request also where its completion can't be posted.");
  }
  check.Finish(L"A window that goes while a value is set does no harm.");
  return isFree;
}

void Setting::CheckClosing() {
  const Request request = Ask(OtherValue());
  engine.Close();
  Check check(calls.GetJournal(), kArea, L"closed-meanwhile");
  const std::wstring path = engine.Path();
  const bool isGone = calls.Await(L"A request whose engine was closed and freed meanwhile", [&] {
    if (!inbox.WaitUntil([&] { return !Engine::IsLoaded(path); }, calls.TimeoutInMs())) {
      return false;
    }
    // A thread that outlived the DLL crashes when it has set the value, not at once. A completion,
    // which may or may not be posted now, says that it has come through.
    HWND window = request.window;
    static_cast<void>(inbox.WaitUntil([&] { return !inbox.ArrivalsAt(window).empty(); },
                                      request.isAccepted ? kOutlivingInMs : 0));
    return true;
  });
  if (!isGone) {
    check.Fail(L"The DLL is still loaded " + std::to_wstring(calls.TimeoutInMs()) +
                   L" ms after it was closed while a value was being set.",
               L"End the thread that sets with FreeLibraryAndExitThread, once for each reference "
               L"that it took.");
  }
  check.Finish(L"The engine may be closed and freed while a value is being set.");
}

void Setting::JudgeCompletions() {
  for (const Request& request : requests) {
    if (!request.isJudged) continue;
    if (request.isAccepted) {
      JudgeAccepted(request);
    } else if (!inbox.ArrivalsAt(request.window).empty()) {
      completions.Fail(
          L"A completion came to the window of a request that was refused (" + request.name + L").",
          L"After a refusal post nothing, and post to the window of the request that "
          L"is meant: the library would take it for another item's.");
    }
  }
  JudgeStrays();
}

void Setting::JudgeAccepted(const Request& request) {
  const std::vector<Arrival> arrivals = inbox.ArrivalsAt(request.window);
  if (arrivals.size() > 1) {
    completions.Fail(L"The completion of " + request.name + L" was posted " +
                         std::to_wstring(arrivals.size()) + L" times.",
                     L"Post it exactly once: the library takes a second one for the next item's.");
  }
  for (const Arrival& arrival : arrivals) {
    if (arrival.message != request.message) {
      completions.Fail(L"The completion of " + request.name + L" was message " +
                           Hexadecimal(arrival.message) + L", and the request said " +
                           Hexadecimal(request.message) + L".",
                       L"Post the message whose number is passed with the request.");
    }
    if (arrival.lParam != 0) {
      completions.Fail(L"The completion of " + request.name + L" has lParam " +
                           std::to_wstring(arrival.lParam) + L".",
                       L"Post 0 in lParam.");
    }
    if (!arrival.wasPosted) {
      completions.Fail(L"The completion of " + request.name +
                           L" was sent, or dispatched by a message loop of the engine's.",
                       L"Use PostMessage, and run no message loop in a call: the library is not "
                       L"ready for the completion while it still makes the request.");
    }
  }
}

void Setting::JudgeStrays() {
  const std::wstring advice =
      L"Post to the window that is passed with the request, and to no other.";
  if (!inbox.ArrivalsAt(bystander).empty()) {
    completions.Fail(L"A message came to a window that no request named.", advice);
  }
  if (!inbox.ArrivalsAt(nullptr).empty()) {
    completions.Fail(L"A message came to the thread and to no window.", advice);
  }
}

bool RestoreDevice(const std::wstring& enginePath, INT32 value, CallLog& calls) {
  // Nobody stops this: the device is to have its value back.
  const StopSignal never(nullptr);
  Inbox inbox(never);
  const auto isSet = [&] {
    Engine engine(enginePath, calls);
    if (engine.Load() != ERROR_SUCCESS || !engine.FindFunctions().empty() ||
        engine.CreateHandle() == FALSE || engine.Handle() == nullptr || !IsUsable(engine)) {
      return false;
    }
    const auto hasValue = [&] {
      INT32 now = 0;
      return engine.GetINT32Information(VELTO_ENGINE_INT32_CURRENT_VALUE, 0, &now) != FALSE &&
             now == value;
    };
    const auto waitUntilFree = [&] {
      return calls.Await(L"The end of what was asked for before", [&] {
        return inbox.WaitUntil([&] { return !IsBusy(engine); }, calls.TimeoutInMs());
      });
    };
    if (!waitUntilFree()) return false;
    if (hasValue()) return true;
    HWND window = inbox.OpenWindow();
    if (engine.RequestToSet(VELTO_ENGINE_REQUEST_VALUE, 0, value, window,
                            WM_CHANGEMODE_COMPLETIONNOTICE) == FALSE) {
      return false;
    }
    // An engine that forgets its completions is not to make the user wait for one.
    calls.Await(L"The first value to come back", [&] {
      return inbox.WaitUntil(
          [&] { return !inbox.ArrivalsAt(window).empty() || (hasValue() && !IsBusy(engine)); },
          calls.TimeoutInMs());
    });
    return hasValue();
  };
  if (!isSet()) return false;
  calls.GetJournal().Write(RecordKind::kRestored);
  Check check(calls.GetJournal(), kArea, L"restored");
  check.Finish(L"The device has value " + std::to_wstring(value) + L" again, as before the check.");
  return true;
}

}  // namespace EngineCheck
