#include "changemode/CUpdatePcEnvironmentDialog.h"

// windows.h comes with the header above, before commctrl.h, which needs it.
#include <commctrl.h>

#include <utility>

#include "changemode/ChangeModeMessages.h"
#include "changemode/ChangeModeWindow.h"
#include "common/ModuleHelpers.h"
#include "config/CModeChangeResource.h"
#include "resources/ControlIds.h"

namespace {

// The dialog is to be seen before the first device changes. A timer may be late, but Windows never
// lets one go off before its time.
constexpr UINT_PTR kStartTimer = 1;
constexpr UINT kStartDelayInMilliseconds = 1000;

constexpr LPARAM kMarqueeStepInMilliseconds = 100;

// Windows uses the low bits of a system command for itself.
constexpr WPARAM kSystemCommandMask = 0xFFF0;

}  // namespace

CUpdatePcEnvironmentDialog::CUpdatePcEnvironmentDialog(CWideString modeName, UINT modeStatus)
    : CDialogBase(ICC_PROGRESS_CLASS), modeName(std::move(modeName)), modeStatus(modeStatus) {}

CUpdatePcEnvironmentDialog::~CUpdatePcEnvironmentDialog() {
  // A dialog that went with its owner got no WM_CLOSE.
  CloseChangeModeWindow();
}

std::int32_t CUpdatePcEnvironmentDialog::Run(HWND owner) {
  return RunModal(IDD_UPDATE_PC_ENVIRONMENT, owner) ? result : kNotShown;
}

INT_PTR CUpdatePcEnvironmentDialog::OnMessage(UINT message, WPARAM wParam, LPARAM /*lParam*/) {
  switch (message) {
    case WM_INITDIALOG:
      return OnInitDialog();
    case WM_TIMER:
      return OnTimer(wParam);
    case WM_UPDATEPCENVIRONMENT_COMPLETED:
      return OnCompletionNotice(wParam);
    case WM_SYSCOMMAND:
      // Alt+F4 works without a system menu, too, and must not cut a change short.
      return (wParam & kSystemCommandMask) == SC_CLOSE ? Handled() : FALSE;
    case WM_CLOSE:
      return OnClose();
    default:
      return FALSE;
  }
}

void CUpdatePcEnvironmentDialog::OnHandlerFailed(UINT message) noexcept {
  trace.Write(L"CUpdatePcEnvironmentDialog::OnHandlerFailed", 51);
  Close(message == WM_UPDATEPCENVIRONMENT_COMPLETED ? result : kFailed);
}

INT_PTR CUpdatePcEnvironmentDialog::OnInitDialog() {
  StartMarquee();
  ShowIcon();
  changeModeWindow = ChangeModeWindow::CreateMyWindow(Common::GetMyModuleHandle());
  if (changeModeWindow == nullptr) {
    trace.Write(L"CUpdatePcEnvironmentDialog::OnInitDialog", 59);
    return Close(kFailed);
  }
  CWideString text;
  if (!CModeChangeResource().GetUpdatePcEnvironmentDialogProcessing(&text) || text.empty()) {
    trace.Write(L"CUpdatePcEnvironmentDialog::OnInitDialog", 69);
    return Close(kFailed);
  }
  ShowText(text);
  if (::SetTimer(Window(), kStartTimer, kStartDelayInMilliseconds, nullptr) == 0) {
    const DWORD error = ::GetLastError();
    // Without the timer the change would never start and the dialog never end.
    Close(kFailed);
    trace.WriteUInt(L"CUpdatePcEnvironmentDialog::OnInitDialog", 82, error);
  }
  return TRUE;
}

INT_PTR CUpdatePcEnvironmentDialog::OnTimer(WPARAM timer) {
  if (timer != kStartTimer) return FALSE;
  ::KillTimer(Window(), kStartTimer);
  const bool isTaken = ChangeModeWindow::Request(
      changeModeWindow, {Window(), WM_UPDATEPCENVIRONMENT_COMPLETED, modeName.c_str(), modeStatus});
  // Without a window the change has ended already, and so does the dialog.
  if (!isTaken && changeModeWindow != nullptr) {
    // Nobody would ever report the change's end.
    Close(kFailed);
    trace.Write(L"CUpdatePcEnvironmentDialog::OnTimer", 112);
  }
  return Handled();
}

INT_PTR CUpdatePcEnvironmentDialog::OnCompletionNotice(WPARAM changeResult) {
  if (changeResult == kChangeCompleted) {
    Close(kCompleted);
  } else {
    Close(kChangeFailed);
    trace.WriteTextUInt(L"CUpdatePcEnvironmentDialog::OnCompletionNotice", 140, modeName.c_str(),
                        modeStatus);
  }
  return Handled();
}

INT_PTR CUpdatePcEnvironmentDialog::OnClose() noexcept {
  CloseChangeModeWindow();
  EndModal(result);
  return Handled();
}

void CUpdatePcEnvironmentDialog::StartMarquee() const noexcept {
  ::SendDlgItemMessageW(Window(), IDC_PROGRESS_BAR, PBM_SETMARQUEE, TRUE,
                        kMarqueeStepInMilliseconds);
}

void CUpdatePcEnvironmentDialog::ShowIcon() const noexcept {
  // Windows shares this icon and frees it with the module.
  const HICON icon = ::LoadIconW(Common::GetMyModuleHandle(), MAKEINTRESOURCEW(IDI_MODE_CHANGE));
  if (icon == nullptr) return;
  const auto shown = reinterpret_cast<LPARAM>(icon);
  ::SendMessageW(Window(), WM_SETICON, ICON_BIG, shown);
  ::SendMessageW(Window(), WM_SETICON, ICON_SMALL, shown);
  ::SendDlgItemMessageW(Window(), IDC_PROGRESS_ICON, STM_SETICON, reinterpret_cast<WPARAM>(icon),
                        0);
}

void CUpdatePcEnvironmentDialog::ShowText(const CWideString& text) const noexcept {
  ::SetDlgItemTextW(Window(), IDC_PROGRESS_TEXT, text.c_str());
  SetControlFont(IDC_PROGRESS_TEXT, designer.GetUpdatePcEnvironmentDialogFont());
}

void CUpdatePcEnvironmentDialog::CloseChangeModeWindow() noexcept {
  ChangeModeWindow::CloseMyWindow(std::exchange(changeModeWindow, nullptr));
}

INT_PTR CUpdatePcEnvironmentDialog::Close(std::int32_t endResult) noexcept {
  result = endResult;
  CloseLater();
  return TRUE;
}
