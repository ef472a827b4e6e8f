#include "TrayWindow.h"

// windows.h first: these need its types.
#include <shellapi.h>
#include <windowsx.h>

#include <new>

namespace {

constexpr const wchar_t* kClassName = L"BrivaneModetray";
constexpr const wchar_t* kStartedAgain = L"BrivaneModetrayStartedAgain";
constexpr UINT_PTR kPatienceTimer = 1;

constexpr UINT kFirstResultMessage = WM_APP + 0x100;
constexpr UINT kLastResultMessage = WM_APP + 0x1FF;

}  // namespace

TrayWindow::TrayWindow(TrayEvents& listener)
    : events(listener),
      taskbarCreatedMessage(::RegisterWindowMessageW(L"TaskbarCreated")),
      startedAgainMessage(::RegisterWindowMessageW(kStartedAgain)),
      resultMessage(kLastResultMessage) {
  WNDCLASSEXW windowClass = {};
  windowClass.cbSize = sizeof(windowClass);
  windowClass.lpfnWndProc = Procedure;
  windowClass.hInstance = ::GetModuleHandleW(nullptr);
  windowClass.lpszClassName = kClassName;
  // Known already where this is not the first window; any other failure shows in the next call.
  ::RegisterClassExW(&windowClass);
  window.reset(::CreateWindowExW(0, kClassName, L"modetray", WS_OVERLAPPEDWINDOW, CW_USEDEFAULT, 0,
                                 CW_USEDEFAULT, 0, nullptr, nullptr, windowClass.hInstance,
                                 nullptr));
  if (!window) {
    throw CommandError{L"No window can be made: " + DescribeError(::GetLastError()) + L".",
                       L"Start the program in a session that has windows."};
  }
  // Started as an administrator, the program would not hear of these from others.
  for (const UINT message : {taskbarCreatedMessage, startedAgainMessage}) {
    ::ChangeWindowMessageFilterEx(window.get(), message, MSGFLT_ALLOW, nullptr);
  }
}

void TrayWindow::Listen() {
  ::SetWindowLongPtrW(window.get(), GWLP_USERDATA, reinterpret_cast<LONG_PTR>(this));
}

UINT TrayWindow::BeginChange() noexcept {
  resultMessage = resultMessage == kLastResultMessage ? kFirstResultMessage : resultMessage + 1;
  return resultMessage;
}

void TrayWindow::StartPatience(UINT seconds) const {
  ::SetTimer(window.get(), kPatienceTimer, seconds * 1000, nullptr);
}

void TrayWindow::EndPatience() const {
  ::KillTimer(window.get(), kPatienceTimer);
}

bool TrayWindow::TellFirstInstance() {
  HWND first = ::FindWindowW(kClassName, nullptr);
  if (first == nullptr) return false;
  // It was started by the user just now, so it may come to the foreground, and may pass that on.
  DWORD process = 0;
  ::GetWindowThreadProcessId(first, &process);
  ::AllowSetForegroundWindow(process);
  return ::PostMessageW(first, ::RegisterWindowMessageW(kStartedAgain), 0, 0) != FALSE;
}

// No exception may leave a window procedure: Windows stands between it and whoever would catch it.
LRESULT CALLBACK TrayWindow::Procedure(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
  // NOLINTNEXTLINE(performance-no-int-to-ptr): a window keeps its object's address as a number
  auto* self = reinterpret_cast<TrayWindow*>(::GetWindowLongPtrW(window, GWLP_USERDATA));
  if (self == nullptr) return ::DefWindowProcW(window, message, wParam, lParam);
  try {
    return self->Handle(message, wParam, lParam);
  } catch (const CommandError& error) {
    self->events.OnError(error);
  } catch (const std::bad_alloc&) {
    self->events.OnOutOfMemory();
  }
  return 0;
}

LRESULT TrayWindow::Handle(UINT message, WPARAM wParam, LPARAM lParam) {
  if (message == resultMessage) {
    events.OnResult(wParam);
    return 0;
  }
  if (message == taskbarCreatedMessage) {
    events.OnTaskbarCreated();
    return 0;
  }
  if (message == startedAgainMessage) {
    events.OnStartedAgain();
    return 0;
  }
  switch (message) {
    case kIconMessage:
      HandleIcon(LOWORD(lParam), {GET_X_LPARAM(wParam), GET_Y_LPARAM(wParam)});
      return 0;
    case kFilesChangedMessage:
      events.OnFilesChanged();
      return 0;
    case WM_TIMER:
      if (wParam == kPatienceTimer) events.OnPatienceOver();
      return 0;
    case WM_CLOSE:
      events.OnCloseWanted();
      return 0;
    case WM_QUERYENDSESSION:
      return events.OnSessionEndAsked() ? TRUE : FALSE;
    case WM_ENDSESSION:
      events.OnSessionEnd(wParam != FALSE);
      return 0;
    default:
      return ::DefWindowProcW(window.get(), message, wParam, lParam);
  }
}

void TrayWindow::HandleIcon(UINT event, POINT place) {
  switch (event) {
    case NIN_SELECT:      // a click
    case NIN_KEYSELECT:   // Enter or the space bar
    case WM_CONTEXTMENU:  // a click with the other button, or the keyboard's menu key
      events.OnMenuWanted(place);
      break;
    default:
      break;
  }
}
