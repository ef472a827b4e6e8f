#include "Inbox.h"

#include <algorithm>
#include <iterator>

#include "CommandError.h"

namespace EngineCheck {

namespace {

constexpr const wchar_t* kClassName = L"EnginecheckWindow";
constexpr UINT kFirstMessage = WM_APP;
constexpr UINT kLastMessage = 0xBFFF;

bool IsOfEngine(UINT message) {
  return message >= kFirstMessage && message <= kLastMessage;
}

}  // namespace

Inbox::Inbox(const StopSignal& stop) : stop(stop) {
  WNDCLASSEXW windowClass = {};
  windowClass.cbSize = sizeof(windowClass);
  windowClass.lpfnWndProc = Procedure;
  windowClass.hInstance = ::GetModuleHandleW(nullptr);
  windowClass.lpszClassName = kClassName;
  // Known already where this is not the first inbox; any other failure shows with the window.
  ::RegisterClassExW(&windowClass);
}

HWND Inbox::OpenWindow() {
  Window window(::CreateWindowExW(0, kClassName, L"", WS_OVERLAPPEDWINDOW, CW_USEDEFAULT, 0,
                                  CW_USEDEFAULT, 0, nullptr, nullptr, ::GetModuleHandleW(nullptr),
                                  nullptr));
  if (!window) {
    throw CommandError{L"No window can be made: " + DescribeError(::GetLastError()) + L".",
                       L"Start the program in a session that has windows."};
  }
  ::SetWindowLongPtrW(window.get(), GWLP_USERDATA, reinterpret_cast<LONG_PTR>(this));
  windows.push_back(std::move(window));
  return windows.back().get();
}

void Inbox::CloseWindow(HWND window) {
  std::erase_if(windows, [window](const Window& open) { return open.get() == window; });
}

void Inbox::Pump() {
  for (MSG message; ::PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE) != FALSE;) {
    const bool isForInbox = message.hwnd == nullptr ||
                            std::any_of(windows.begin(), windows.end(), [&](const Window& open) {
                              return open.get() == message.hwnd;
                            });
    if (isForInbox && IsOfEngine(message.message)) {
      arrivals.push_back({message.hwnd, message.message, message.wParam, message.lParam, true});
    } else {
      ::DispatchMessageW(&message);
    }
  }
}

/// Posted messages are taken from the queue above: what comes here was sent, or dispatched by a
/// message loop of the engine's.
LRESULT CALLBACK Inbox::Procedure(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
  // NOLINTNEXTLINE(performance-no-int-to-ptr): a window keeps its object's address as a number
  auto* self = reinterpret_cast<Inbox*>(::GetWindowLongPtrW(window, GWLP_USERDATA));
  if (self != nullptr && IsOfEngine(message)) {
    self->arrivals.push_back({window, message, wParam, lParam, false});
    return 0;
  }
  return ::DefWindowProcW(window, message, wParam, lParam);
}

bool Inbox::WaitUntil(const std::function<bool()>& condition, UINT milliseconds) {
  constexpr ULONGLONG kPollInMs = 10;
  const ULONGLONG deadline = ::GetTickCount64() + milliseconds;
  for (;;) {
    Pump();
    stop.Check();
    if (condition()) return true;
    const ULONGLONG now = ::GetTickCount64();
    if (now >= deadline) return false;
    HANDLE event = stop.Event();
    ::MsgWaitForMultipleObjects(event != nullptr ? 1 : 0, &event, FALSE,
                                static_cast<DWORD>(std::min(deadline - now, kPollInMs)),
                                QS_ALLINPUT);
  }
}

void Inbox::WaitForQuiet() {
  constexpr UINT kQuietInMs = 300;
  constexpr int kMostTurns = 10;
  for (int turn = 0; turn < kMostTurns; ++turn) {
    const std::size_t before = arrivals.size();
    if (!WaitUntil([&] { return arrivals.size() != before; }, kQuietInMs)) return;
  }
}

std::vector<Arrival> Inbox::ArrivalsAt(HWND window) const {
  std::vector<Arrival> found;
  std::copy_if(arrivals.begin(), arrivals.end(), std::back_inserter(found),
               [window](const Arrival& arrival) { return arrival.window == window; });
  return found;
}

}  // namespace EngineCheck
