#include "soak/SoakHost.h"

#include <stdexcept>
#include <string>

#include "resources/ControlIds.h"

namespace {

constexpr const wchar_t* kDialogClass = L"#32770";
constexpr UINT kChanged = WM_APP + 500;

void Require(bool succeeded, const char* problem) {
  if (!succeeded) throw std::runtime_error(problem);
}

template <class Function>
void Resolve(HMODULE library, const char* name, Function* function) {
  *function = reinterpret_cast<Function>(reinterpret_cast<void*>(::GetProcAddress(library, name)));
  Require(*function != nullptr, name);
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

HWND AreaOf(HWND dialog) {
  return ::FindWindowExW(dialog, nullptr, kDialogClass, nullptr);
}

HWND FirstLineOf(HWND dialog) {
  const HWND list = ::FindWindowExW(AreaOf(dialog), nullptr, kDialogClass, nullptr);
  for (HWND row = nullptr; (row = ::FindWindowExW(list, row, kDialogClass, nullptr)) != nullptr;) {
    if (::GetDlgItem(row, IDC_SETTING_ITEM) != nullptr) return row;
  }
  return nullptr;
}

}  // namespace

SoakHost::SoakHost(HMODULE library) {
  decltype(&VeltoModeChange_CreateHandle) createHandle = nullptr;
  Resolve(library, "VeltoModeChange_CreateHandle", &createHandle);
  Resolve(library, "VeltoModeChange_DeleteHandle", &deleteHandle);
  Resolve(library, "VeltoModeChange_SelectMode", &selectMode);
  Resolve(library, "VeltoModeChange_GetINT32Information", &getINT32Information);
  Resolve(library, "VeltoModeChange_RequestToSetINT32Information", &request);
  Resolve(library, "VeltoModeChange_ShowSettingsDialog", &showSettingsDialog);

  WNDCLASSW windowClass{};
  windowClass.lpfnWndProc = WindowProc;
  windowClass.hInstance = ::GetModuleHandleW(nullptr);
  windowClass.lpszClassName = L"ModeChangeSoakHost";
  ::RegisterClassW(&windowClass);
  window = ::CreateWindowExW(0, windowClass.lpszClassName, L"", WS_OVERLAPPEDWINDOW, 0, 0, 0, 0,
                             nullptr, nullptr, windowClass.hInstance, nullptr);
  Require(window != nullptr, "the host has no window");
  ::SetWindowLongPtrW(window, GWLP_USERDATA, reinterpret_cast<LONG_PTR>(this));
  Require(createHandle(&handle) != FALSE, "the library gives no handle");
}

SoakHost::~SoakHost() {
  deleteHandle(handle);
  ::DestroyWindow(window);
  // The library's own window goes by a message.
  HandleMessages();
}

void SoakHost::Change(Mode mode, INT32 status) {
  Require(selectMode(handle, mode) != FALSE, "the machine lacks a mode");
  Require(request(handle, VELTO_MODE_REQUEST_STATUS, 0, status, window, kChanged) != FALSE,
          "the library refuses to change the mode");
  MSG message{};
  do {
    Require(::GetMessageW(&message, nullptr, 0, 0) > 0, "there are no more messages");
    ::DispatchMessageW(&message);
  } while (message.hwnd != window || message.message != kChanged);
  Require(message.wParam == VELTO_MODE_CHANGE_COMPLETED, "the change failed");
  INT32 found = -1;
  Require(getINT32Information(handle, VELTO_MODE_INT32_CURRENT_STATUS, 0, &found) != FALSE &&
              found == status,
          "the mode has another status");
}

void SoakHost::ShowSettings(std::initializer_list<Step> newSteps) {
  steps = newSteps;
  Require(selectMode(handle, kEco) != FALSE, "the machine lacks a mode");
  Require(showSettingsDialog(handle, window) != FALSE, "the settings dialog failed");
  Require(steps.empty(), "the settings dialog ended by itself");
  HandleMessages();
}

void SoakHost::ChooseMode(HWND dialog, Mode mode) {
  const HWND area = AreaOf(dialog);
  const HWND combo = ::GetDlgItem(area, IDC_MODE_SELECTION);
  ::SendMessageW(combo, CB_SETCURSEL, mode, 0);
  ::PostMessageW(area, WM_COMMAND, MAKEWPARAM(IDC_MODE_SELECTION, CBN_SELCHANGE),
                 reinterpret_cast<LPARAM>(combo));
}

void SoakHost::ChooseFirstItem(HWND dialog, int value) {
  Click(FirstLineOf(dialog), value == 0 ? IDC_FIRST_VALUE : IDC_SECOND_VALUE);
}

/// Posted: a modal dialog that follows must not run inside of a step.
void SoakHost::Click(HWND dialog, int control) {
  ::PostMessageW(::GetDlgItem(dialog, control), BM_CLICK, 0, 0);
}

void SoakHost::ClickInArea(HWND dialog, int control) {
  Click(AreaOf(dialog), control);
}

LRESULT CALLBACK SoakHost::WindowProc(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
  auto* host = reinterpret_cast<SoakHost*>(::GetWindowLongPtrW(window, GWLP_USERDATA));
  if (message == WM_ENTERIDLE && host != nullptr) host->OnIdle(reinterpret_cast<HWND>(lParam));
  return ::DefWindowProcW(window, message, wParam, lParam);
}

void SoakHost::OnIdle(HWND dialog) {
  if (steps.empty() || ::IsWindowVisible(dialog) == FALSE || IsPaintingLeft()) return;
  const Step step = steps.front();
  steps.pop_front();
  step(dialog);
}
