#include "settings/CSettingsDialog.h"

#include <array>
#include <cwchar>
#include <utility>

#include "config/CModeChangeResource.h"
#include "resources/ControlIds.h"
#include "settings/ModeSettingsMessages.h"

namespace {

struct ControlFont {
  int control;
  CUIDesigner::ModeSettingsDialogFont font;
};

constexpr ControlFont kControlFonts[] = {
    {IDC_TITLE_TEXT, CUIDesigner::kModeSettingsTitleFont},
    {IDC_OK_BUTTON, CUIDesigner::kModeSettingsButtonFont},
    {IDC_CANCEL_BUTTON, CUIDesigner::kModeSettingsButtonFont},
    {IDC_APPLY_BUTTON, CUIDesigner::kModeSettingsButtonFont},
};

struct ControlText {
  int control;
  bool (CModeChangeResource::*get)(CWideString* text);
  TracePoint failure;
};

constexpr ControlText kControlTexts[] = {
    {IDC_TITLE_TEXT,
     &CModeChangeResource::GetModeSettingsDialogTitle,
     {L"CSettingsDialog::SetControlText", 366}},
    {IDC_OK_BUTTON,
     &CModeChangeResource::GetModeSettingsDialogOKButtonName,
     {L"CSettingsDialog::SetControlText", 374}},
    {IDC_CANCEL_BUTTON,
     &CModeChangeResource::GetModeSettingsDialogCancelButtonName,
     {L"CSettingsDialog::SetControlText", 382}},
    {IDC_APPLY_BUTTON,
     &CModeChangeResource::GetModeSettingsDialogApplyButtonName,
     {L"CSettingsDialog::SetControlText", 390}},
};

/// Controls that have a use for the wheel themselves.
constexpr const wchar_t* kClassesWithWheel[] = {L"COMBOBOX", L"ComboBoxEx32", L"msctls_trackbar32"};

bool UsesWheel(const wchar_t* className) noexcept {
  for (const wchar_t* candidate : kClassesWithWheel) {
    if (::_wcsicmp(className, candidate) == 0) return true;
  }
  return false;
}

/// Sets a flag as long as it lives, whichever way its scope is left.
class CFlagScope {
 public:
  explicit CFlagScope(bool* flag) noexcept : flag(flag) { *flag = true; }
  ~CFlagScope() { *flag = false; }
  CFlagScope(const CFlagScope&) = delete;
  CFlagScope& operator=(const CFlagScope&) = delete;

 private:
  bool* flag;
};

}  // namespace

CSettingsDialog::CSettingsDialog(CWideString startModeName) : area(std::move(startModeName)) {}

// --- Messages ------------------------------------------------------------------------------------

INT_PTR CSettingsDialog::OnMessage(UINT message, WPARAM wParam, LPARAM lParam) {
  switch (message) {
    case WM_INITDIALOG:
      return OnInitDialog();
    case WM_COMMAND:
      return OnCommand(LOWORD(wParam));
    case WM_MODESETTINGS_ERROR:
      return OnErrorOccured(wParam);
    case WM_MODESETTINGS_CHANGED:
      EnableApply(true);
      return Handled();
    case WM_MODESETTINGS_UNCHANGED:
      EnableApply(false);
      return Handled();
    case WM_MOUSEWHEEL:
      return OnMouseWheel(wParam, lParam);
    case WM_CTLCOLORSTATIC:
    case WM_CTLCOLORDLG:
    case WM_CTLCOLORBTN:
      return OnControlColor(message, reinterpret_cast<HDC>(wParam), reinterpret_cast<HWND>(lParam));
    case WM_CLOSE:
      return OnClose();
    default:
      return FALSE;
  }
}

void CSettingsDialog::OnHandlerFailed(UINT message) noexcept {
  trace.Write(L"CSettingsDialog::OnHandlerFailed", 84);
  endCode = kFailed;
  hasFailed = true;
  // Where not even the message box comes up, or there is no dialog yet to show it on, it just ends.
  if (message == WM_INITDIALOG || message == WM_MODESETTINGS_ERROR) {
    Close();
  } else if (Window() != nullptr) {
    ::PostMessageW(Window(), WM_MODESETTINGS_ERROR, kModeSettingsFailed, 0);
  }
}

INT_PTR CSettingsDialog::OnInitDialog() {
  const bool wasMade = MakeControls();
  if (!wasMade) endCode = kFailed;
  if (!wasMade || isToClose) Close();
  return TRUE;
}

bool CSettingsDialog::MakeControls() {
  const CFlagScope making(&isBeingMade);
  SetControlFonts();
  bool succeeded = SetControlText();
  if (!succeeded) {
    trace.Write(L"CSettingsDialog::OnInitDialog", 50);
  } else {
    succeeded = CreateModeSettingsArea();
    if (!succeeded) trace.Write(L"CSettingsDialog::OnInitDialog", 62);
  }
  EnableApply(false);
  return succeeded;
}

INT_PTR CSettingsDialog::OnCommand(WORD control) {
  switch (control) {
    case IDC_OK_BUTTON:
      return OnOK();
    case IDC_APPLY_BUTTON:
      return OnApply();
    case IDC_CANCEL_BUTTON:
      Close();
      return Handled();
    default:
      return FALSE;
  }
}

INT_PTR CSettingsDialog::OnOK() {
  if (isBeingMade || isSaving || isClosing) return Handled();
  const std::int32_t result = SaveSettings();
  if (EndsWithError()) return Handled();
  switch (result) {
    case CModeSettingsArea::kNotSaved:
      if (isToClose) Close();
      return Handled();
    case CModeSettingsArea::kSaved:
      endCode = kClosed;
      break;
    case CModeSettingsArea::kSavingFailed:
      endCode = kSavingFailed;
      break;
    case CModeSettingsArea::kUpdatingFailed:
      endCode = kUpdatingFailed;
      break;
    default:
      endCode = kFailed;
      trace.WriteInt(L"CSettingsDialog::OnOK", 139, result);
      break;
  }
  Close();
  return Handled();
}

INT_PTR CSettingsDialog::OnApply() {
  if (isBeingMade || isSaving || isClosing) return Handled();
  const std::int32_t result = SaveSettings();
  if (EndsWithError()) return Handled();
  switch (result) {
    case CModeSettingsArea::kNotSaved:
      break;
    case CModeSettingsArea::kSaved:
      endCode = kClosed;
      EnableApply(false);
      break;
    case CModeSettingsArea::kSavingFailed:
      endCode = kSavingFailed;
      break;
    case CModeSettingsArea::kUpdatingFailed:
      endCode = kUpdatingFailed;
      break;
    default:
      endCode = kFailed;
      ::PostMessageW(Window(), WM_MODESETTINGS_ERROR, kModeSettingsFailed, 0);
      trace.WriteInt(L"CSettingsDialog::OnApply", 192, result);
      break;
  }
  if (isToClose) Close();
  return Handled();
}

INT_PTR CSettingsDialog::OnErrorOccured(WPARAM code) {
  endCode = static_cast<std::int32_t>(code);
  hasFailed = true;
  // A user who is being told of an error, or has left, is not to be told of more.
  if (isErrorShown || isClosing) return Handled();
  if (!ShowErrorMessageBoxThatUnknownErrorOccured()) {
    trace.Write(L"CSettingsDialog::OnErrorOccured", 96);
  }
  Close();
  return Handled();
}

INT_PTR CSettingsDialog::OnMouseWheel(WPARAM wParam, LPARAM lParam) {
  // What is forwarded can come back, as the children leave to their parent what they don't handle.
  if (forwardsWheel) return Handled();
  const CFlagScope forwarding(&forwardsWheel);
  const HWND focus = ::GetFocus();
  if (focus == nullptr) {
    trace.Write(L"CSettingsDialog::OnMouseWheel", 265);
    return FALSE;
  }
  std::array<wchar_t, 256> className{};
  ::GetClassNameW(focus, className.data(), static_cast<int>(className.size()));
  trace.Write(L"CSettingsDialog::OnMouseWheel", 273, className.data());
  if (UsesWheel(className.data())) return FALSE;
  ::SendMessageW(area.Window(), WM_MOUSEWHEEL, wParam, lParam);
  return Handled();
}

INT_PTR CSettingsDialog::OnControlColor(UINT message, HDC dc, HWND control) {
  const int id = ::GetDlgCtrlID(control);
  const bool isTitle =
      message == WM_CTLCOLORSTATIC && (id == IDC_TITLE_BAND || id == IDC_TITLE_TEXT);
  return ControlColor(dc, isTitle ? designer.GetTitleBackBrush() : designer.GetDialogBackBrush());
}

INT_PTR CSettingsDialog::OnClose() noexcept {
  // The area must not go while it saves, nor the owner of a message box, nor a row whose engine
  // handles messages while the row is made.
  if (isBeingMade || isSaving || isErrorShown) {
    isToClose = true;
    return Handled();
  }
  isClosing = true;
  ::SendMessageW(area.Window(), WM_CLOSE, 0, 0);
  EndModal(0);
  return Handled();
}

// --- The controls --------------------------------------------------------------------------------

void CSettingsDialog::SetControlFonts() const noexcept {
  for (const ControlFont& use : kControlFonts) {
    SetControlFont(use.control, designer.GetModeSettingsDialogFont(use.font));
  }
}

bool CSettingsDialog::SetControlText() {
  CModeChangeResource resource;
  CWideString applicationName;
  if (!resource.GetApplicationName(&applicationName)) {
    return trace.Write(L"CSettingsDialog::SetControlText", 358);
  }
  ::SetWindowTextW(Window(), applicationName.c_str());
  for (const ControlText& use : kControlTexts) {
    CWideString text;
    if (!(resource.*use.get)(&text)) return trace.Write(use.failure.function, use.failure.line);
    ::SetDlgItemTextW(Window(), use.control, text.c_str());
  }
  return true;
}

bool CSettingsDialog::CreateModeSettingsArea() {
  if (!area.Create(IDD_MODE_SETTINGS_AREA, Window())) {
    const DWORD error = ::GetLastError();
    return trace.WriteUInt(L"CSettingsDialog::CreateModeSettingsArea", 413, error);
  }
  const HWND placeholder = ::GetDlgItem(Window(), IDC_AREA_PLACEHOLDER);
  RECT place{};
  ::GetClientRect(placeholder, &place);
  ::MapWindowPoints(placeholder, Window(), reinterpret_cast<POINT*>(&place), 2);
  if (::MoveWindow(area.Window(), place.left, place.top, place.right - place.left,
                   place.bottom - place.top, TRUE) == FALSE) {
    const DWORD error = ::GetLastError();
    return trace.WriteUInt(L"CSettingsDialog::CreateModeSettingsArea", 428, error);
  }
  // The keyboard goes through the area before it comes to the buttons, as the eye does.
  ::SetWindowPos(area.Window(), ::GetDlgItem(Window(), IDC_TITLE_TEXT), 0, 0, 0, 0,
                 SWP_NOSIZE | SWP_NOMOVE | SWP_NOACTIVATE);
  ::ShowWindow(area.Window(), SW_SHOW);
  return true;
}

void CSettingsDialog::EnableApply(bool enabled) const noexcept {
  const HWND apply = ::GetDlgItem(Window(), IDC_APPLY_BUTTON);
  if (!enabled && ::GetFocus() == apply) {
    // A disabled button would keep the focus, and the keyboard would be stuck.
    ::SendMessageW(Window(), WM_NEXTDLGCTL,
                   reinterpret_cast<WPARAM>(::GetDlgItem(Window(), IDC_OK_BUTTON)), TRUE);
  }
  ::EnableWindow(apply, enabled ? TRUE : FALSE);
}

void CSettingsDialog::Close() noexcept {
  if (Window() == nullptr) return;
  isClosing = true;
  CloseLater();
}

// --- Saving --------------------------------------------------------------------------------------

std::int32_t CSettingsDialog::SaveSettings() {
  const CFlagScope saving(&isSaving);
  const std::int32_t result = area.SaveSettings();
  switch (result) {
    case CModeSettingsArea::kNotSaved:
    case CModeSettingsArea::kSaved:
      return result;
    case CModeSettingsArea::kSavingFailed:
      if (!ShowErrorMessageBoxThatFailedSeveSettings()) {
        trace.Write(L"CSettingsDialog::SaveSettings", 468);
      }
      return result;
    case CModeSettingsArea::kUpdatingFailed:
      if (!ShowErrorMessageBoxThatFailedUpdatePcEnvironment()) {
        trace.Write(L"CSettingsDialog::SaveSettings", 477);
      }
      return result;
    default:
      trace.WriteInt(L"CSettingsDialog::SaveSettings", 482, result);
      return CModeSettingsArea::kSavingFailed;
  }
}

bool CSettingsDialog::EndsWithError() noexcept {
  if (hasFailed) Close();
  return hasFailed;
}

// --- Message boxes -------------------------------------------------------------------------------

bool CSettingsDialog::ShowErrorMessageBoxThatUnknownErrorOccured() {
  return ShowError(&CModeChangeResource::GetModeSettingsDialogErrorUnknown,
                   {L"CSettingsDialog::ShowErrorMessageBoxThatUnknownErrorOccured", 509},
                   {L"CSettingsDialog::ShowErrorMessageBoxThatUnknownErrorOccured", 516});
}

bool CSettingsDialog::ShowErrorMessageBoxThatFailedSeveSettings() {
  return ShowError(&CModeChangeResource::GetModeSettingsDialogErrorFailedSaveSettings,
                   {L"CSettingsDialog::ShowErrorMessageBoxThatFailedSeveSettings", 550},
                   {L"CSettingsDialog::ShowErrorMessageBoxThatFailedSeveSettings", 557});
}

bool CSettingsDialog::ShowErrorMessageBoxThatFailedUpdatePcEnvironment() {
  return ShowError(&CModeChangeResource::GetModeSettingsDialogErrorFailedUpdatePcEnvironment,
                   {L"CSettingsDialog::ShowErrorMessageBoxThatFailedUpdatePcEnvironment", 591},
                   {L"CSettingsDialog::ShowErrorMessageBoxThatFailedUpdatePcEnvironment", 598});
}

bool CSettingsDialog::ShowError(bool (CModeChangeResource::*getText)(CWideString* text),
                                const TracePoint& noApplicationName, const TracePoint& noText) {
  CModeChangeResource resource;
  CWideString applicationName;
  if (!resource.GetApplicationName(&applicationName)) {
    return trace.Write(noApplicationName.function, noApplicationName.line);
  }
  CWideString text;
  if (!(resource.*getText)(&text)) return trace.Write(noText.function, noText.line);
  // The dialog may have gone with its owner, while devices changed.
  if (Window() == nullptr) return false;
  const CFlagScope shown(&isErrorShown);
  return ::MessageBoxW(Window(), text.c_str(), applicationName.c_str(), MB_OK | MB_ICONERROR) != 0;
}
