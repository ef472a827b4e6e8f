#include "NotificationWindow.h"

#include "CommandError.h"

namespace {

constexpr const wchar_t* kClassName = L"ModectlNotificationWindow";
constexpr UINT_PTR kTimer = 1;

}  // namespace

NotificationWindow::NotificationWindow() {
  WNDCLASSEXW windowClass = {};
  windowClass.cbSize = sizeof(windowClass);
  windowClass.lpfnWndProc = Procedure;
  windowClass.hInstance = ::GetModuleHandleW(nullptr);
  windowClass.lpszClassName = kClassName;
  // Known already where this is not the first window; any other failure shows in the next call.
  ::RegisterClassExW(&windowClass);
  window.reset(::CreateWindowExW(0, kClassName, L"modectl", WS_OVERLAPPEDWINDOW, CW_USEDEFAULT, 0,
                                 CW_USEDEFAULT, 0, nullptr, nullptr, windowClass.hInstance,
                                 nullptr));
  if (!window) {
    throw CommandError{L"No window can be made: " + DescribeError(::GetLastError()) + L".",
                       L"Start the program in a session that has windows."};
  }
  ::SetWindowLongPtrW(window.get(), GWLP_USERDATA, reinterpret_cast<LONG_PTR>(this));
}

std::optional<WPARAM> NotificationWindow::WaitForResult(UINT seconds) {
  timeIsOver = ::SetTimer(window.get(), kTimer, seconds * 1000, nullptr) == 0;
  MSG message;
  while (!result && !timeIsOver && ::GetMessageW(&message, nullptr, 0, 0) > 0) {
    ::TranslateMessage(&message);
    ::DispatchMessageW(&message);
  }
  ::KillTimer(window.get(), kTimer);
  return result;
}

// The result is taken here and not in the loop above: a dialog that is open when it arrives runs a
// loop of its own, and that one delivers it here as well.
LRESULT CALLBACK NotificationWindow::Procedure(HWND window, UINT message, WPARAM wParam,
                                               LPARAM lParam) {
  // NOLINTNEXTLINE(performance-no-int-to-ptr): a window keeps its object's address as a number
  auto* self = reinterpret_cast<NotificationWindow*>(::GetWindowLongPtrW(window, GWLP_USERDATA));
  if (self != nullptr && message == kMessage) {
    self->result = wParam;
    return 0;
  }
  if (self != nullptr && message == WM_TIMER && wParam == kTimer) {
    self->timeIsOver = true;
    return 0;
  }
  return ::DefWindowProcW(window, message, wParam, lParam);
}
