#include "SettingsHost.h"

#include <stdexcept>
#include <utility>

namespace {

constexpr const wchar_t* kWindowClass = L"ModeChangeSettingsBench";

void Require(bool succeeded, const char* problem) {
  if (!succeeded) throw std::runtime_error(problem);
}

void HandleMessages() {
  for (MSG message; ::PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE) != FALSE;) {
    ::DispatchMessageW(&message);
  }
}

bool IsPaintingLeft() {
  MSG message{};
  return ::PeekMessageW(&message, nullptr, WM_PAINT, WM_PAINT, PM_NOREMOVE) != FALSE;
}

}  // namespace

SettingsHost::SettingsHost(HMODULE library)
    : deleteHandle(Find<decltype(deleteHandle)>(library, "VeltoModeChange_DeleteHandle")),
      showSettingsDialog(
          Find<decltype(showSettingsDialog)>(library, "VeltoModeChange_ShowSettingsDialog")) {
  WNDCLASSW windowClass{};
  windowClass.lpfnWndProc = OnMessage;
  windowClass.hInstance = ::GetModuleHandleW(nullptr);
  windowClass.lpszClassName = kWindowClass;
  // One of an earlier host does as well.
  ::RegisterClassW(&windowClass);
  window = ::CreateWindowExW(0, kWindowClass, L"", WS_OVERLAPPEDWINDOW, 0, 0, 0, 0, nullptr,
                             nullptr, windowClass.hInstance, nullptr);
  Require(window != nullptr, "the host has no window");
  ::SetWindowLongPtrW(window, GWLP_USERDATA, reinterpret_cast<LONG_PTR>(this));
  const auto createHandle =
      Find<decltype(&VeltoModeChange_CreateHandle)>(library, "VeltoModeChange_CreateHandle");
  const auto selectMode =
      Find<decltype(&VeltoModeChange_SelectMode)>(library, "VeltoModeChange_SelectMode");
  Require(createHandle(&handle) != FALSE, "the library gives no handle");
  Require(selectMode(handle, 0) != FALSE, "the machine has no mode");
}

SettingsHost::~SettingsHost() {
  deleteHandle(handle);
  ::DestroyWindow(window);
  // The library's own window goes by a message.
  HandleMessages();
}

void SettingsHost::ShowSettings(std::function<void(HWND dialog)> onPainted) {
  paintedAction = std::move(onPainted);
  Require(showSettingsDialog(handle, window) != FALSE, "the settings dialog failed");
  Require(!paintedAction, "the settings dialog was not painted");
  HandleMessages();
}

LRESULT CALLBACK SettingsHost::OnMessage(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
  auto* host = reinterpret_cast<SettingsHost*>(::GetWindowLongPtrW(window, GWLP_USERDATA));
  if (message == WM_ENTERIDLE && host != nullptr) host->OnIdle(reinterpret_cast<HWND>(lParam));
  return ::DefWindowProcW(window, message, wParam, lParam);
}

void SettingsHost::OnIdle(HWND dialog) {
  if (!paintedAction || ::IsWindowVisible(dialog) == FALSE || IsPaintingLeft()) return;
  std::exchange(paintedAction, nullptr)(dialog);
  ::PostMessageW(dialog, WM_CLOSE, 0, 0);
}
