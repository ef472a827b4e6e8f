#include "settings/CModeSettingsArea.h"

// windows.h comes with the header above, before commctrl.h, which needs it.
#include <commctrl.h>

#include <cwctype>
#include <utility>

#include "changemode/CUpdatePcEnvironmentDialog.h"
#include "config/CModeChangeConfig.h"
#include "config/CModeChangeResource.h"
#include "config/CModeChangeSettings.h"
#include "config/CModeChangeStatus.h"
#include "resources/ControlIds.h"
#include "settings/ModeSettingsMessages.h"

namespace {

constexpr UINT kOff = 0;
constexpr UINT kOn = 1;

struct ControlFont {
  int control;
  CUIDesigner::ModeSettingsDialogFont font;
};

constexpr ControlFont kControlFonts[] = {
    {IDC_MODE_SELECTION, CUIDesigner::kModeSelectionFont},
    {IDC_RESTORE_DEFAULTS_BUTTON, CUIDesigner::kRestoreDefaultSettingsFont},
    {IDC_AUTO_ON_OFF, CUIDesigner::kAutoONOFFFont},
    {IDC_SHOW_ANNOUNCEMENT, CUIDesigner::kShowAnnouncementFont},
};

/// A name for a trace: one may be missing.
const wchar_t* OrEmpty(const wchar_t* name) noexcept {
  return name != nullptr ? name : L"";
}

/// One name on each line.
CWideString JoinLines(const std::vector<CWideString>& names) {
  CWideString joined;
  for (const CWideString& name : names) {
    joined += name;
    joined += L"\r\n";
  }
  std::size_t length = joined.length();
  while (length > 0 && std::iswspace(static_cast<std::wint_t>(joined.c_str()[length - 1])) != 0) {
    --length;
  }
  return {joined.c_str(), length};
}

}  // namespace

CModeSettingsArea::CModeSettingsArea(CWideString startModeName)
    : CDialogBase(ICC_USEREX_CLASSES), startModeName(std::move(startModeName)) {}

// --- Messages ------------------------------------------------------------------------------------

INT_PTR CModeSettingsArea::OnMessage(UINT message, WPARAM wParam, LPARAM lParam) {
  switch (message) {
    case WM_INITDIALOG:
      return OnInitDialog();
    case WM_COMMAND:
      return OnCommand(LOWORD(wParam), HIWORD(wParam));
    case WM_MODESETTINGS_CHANGED:
      PostToFrame(WM_MODESETTINGS_CHANGED);
      return Handled();
    case WM_MODESETTINGS_ERROR:
      PostToFrame(WM_MODESETTINGS_ERROR, wParam, lParam);
      return Handled();
    case WM_MOUSEWHEEL:
      return OnMouseWheel(wParam, lParam);
    case WM_CTLCOLORBTN:
    case WM_CTLCOLORDLG:
    case WM_CTLCOLORSTATIC:
      return OnControlColor(reinterpret_cast<HDC>(wParam));
    case WM_CLOSE:
      return OnClose();
    default:
      return FALSE;
  }
}

void CModeSettingsArea::OnHandlerFailed(UINT /*message*/) noexcept {
  trace.Write(L"CModeSettingsArea::OnHandlerFailed", 84);
  ReportError();
}

INT_PTR CModeSettingsArea::OnInitDialog() {
  if (!LoadModeInformation()) {
    trace.Write(L"CModeSettingsArea::OnInitDialog", 182);
    return ReportError();
  }
  SetControlFonts();
  if (!SetControlText()) {
    trace.Write(L"CModeSettingsArea::OnInitDialog", 193);
    return ReportError();
  }
  if (!GetModeIndex(startModeName.c_str(), &selectedIndex)) {
    trace.Write(L"CModeSettingsArea::OnInitDialog", 205, startModeName.c_str());
    return ReportError();
  }
  if (!CreateModeSettingItemList()) {
    trace.Write(L"CModeSettingsArea::OnInitDialog", 216);
    return ReportError();
  }
  PutAnnouncementAfterList();
  if (!SelectMode(selectedIndex)) {
    trace.Write(L"CModeSettingsArea::OnInitDialog", 235);
    return ReportError();
  }
  if (!ShowAnnouncementSetting()) {
    trace.Write(L"CModeSettingsArea::OnInitDialog", 248);
    return ReportError();
  }
  return TRUE;
}

INT_PTR CModeSettingsArea::OnCommand(WORD control, WORD notification) {
  switch (control) {
    case IDC_MODE_SELECTION:
      return notification == CBN_SELCHANGE ? OnComboMode() : FALSE;
    case IDC_RESTORE_DEFAULTS_BUTTON:
      return OnButtonRestoreDafaultSettings();
    case IDC_AUTO_ON_OFF:
    case IDC_SHOW_ANNOUNCEMENT:
      PostToFrame(WM_MODESETTINGS_CHANGED);
      return Handled();
    default:
      return FALSE;
  }
}

INT_PTR CModeSettingsArea::OnComboMode() {
  const LRESULT selection = SendToCombo(CB_GETCURSEL);
  if (selection == CB_ERR) {
    trace.Write(L"CModeSettingsArea::OnComboMode", 351);
    return ReportError();
  }
  const LRESULT newIndex = SendToCombo(CB_GETITEMDATA, static_cast<WPARAM>(selection));
  if (newIndex == CB_ERR) {
    trace.WriteUInt(L"CModeSettingsArea::OnComboMode", 361, static_cast<std::uint32_t>(selection));
    return ReportError();
  }
  if (newIndex == selectedIndex) return Handled();

  bool changed = false;
  if (!IsSelectedModeSettingsChanged(&changed)) {
    trace.Write(L"CModeSettingsArea::OnComboMode", 378);
    return ReportError();
  }
  if (changed) return StayWithSelectedMode();

  selectedIndex = static_cast<int>(newIndex);
  if (!AdjustControlForSelectedMode()) {
    trace.WriteInt(L"CModeSettingsArea::OnComboMode", 429, selectedIndex);
    return ReportError();
  }
  bool commonChanged = false;
  if (!IsCommonSettingsChanged(&commonChanged)) {
    trace.Write(L"CModeSettingsArea::OnComboMode", 440);
    return ReportError();
  }
  if (!commonChanged) PostToFrame(WM_MODESETTINGS_UNCHANGED);
  return Handled();
}

INT_PTR CModeSettingsArea::StayWithSelectedMode() {
  int unreadableItem = CB_ERR;
  if (!ShowSelectedMode(static_cast<int>(SendToCombo(CB_GETCOUNT)), &unreadableItem)) {
    trace.WriteInt(L"CModeSettingsArea::OnComboMode", 397, unreadableItem);
    return ReportError();
  }
  if (!ShowMessageBoxOnChangeModeThatSettingsIsChanged()) {
    trace.Write(L"CModeSettingsArea::OnComboMode", 415);
    return ReportError();
  }
  return Handled();
}

INT_PTR CModeSettingsArea::OnButtonRestoreDafaultSettings() {
  bool on = false;
  if (!CModeChangeSettings().GetDefaultAutoONOFFSetting(SelectedModeName(), &on)) {
    trace.Write(L"CModeSettingsArea::OnButtonRestoreDafaultSettings", 468,
                OrEmpty(SelectedModeName()));
    return ReportError();
  }
  Check(IDC_AUTO_ON_OFF, on);
  if (!list.RestoreDefaultSettingItemValue()) {
    trace.Write(L"CModeSettingsArea::OnButtonRestoreDafaultSettings", 481);
    return ReportError();
  }
  PostToFrame(WM_MODESETTINGS_CHANGED);
  return Handled();
}

INT_PTR CModeSettingsArea::OnMouseWheel(WPARAM wParam, LPARAM lParam) noexcept {
  // What the list leaves alone comes back from it as its parent.
  if (!forwardsWheel) {
    forwardsWheel = true;
    ::SendMessageW(list.Window(), WM_MOUSEWHEEL, wParam, lParam);
    forwardsWheel = false;
  }
  return Handled();
}

INT_PTR CModeSettingsArea::OnControlColor(HDC dc) {
  return ControlColor(dc, designer.GetDialogBackBrush());
}

INT_PTR CModeSettingsArea::OnClose() noexcept {
  ::SendMessageW(list.Window(), WM_CLOSE, 0, 0);
  modes.clear();
  ::DestroyWindow(Window());
  return Handled();
}

void CModeSettingsArea::PostToFrame(UINT message, WPARAM wParam, LPARAM lParam) const noexcept {
  if (Window() == nullptr) return;
  ::PostMessageW(::GetParent(Window()), message, wParam, lParam);
}

INT_PTR CModeSettingsArea::ReportError() const noexcept {
  PostToFrame(WM_MODESETTINGS_ERROR, kModeSettingsFailed);
  return Handled();
}

// --- The controls --------------------------------------------------------------------------------

bool CModeSettingsArea::LoadModeInformation() {
  if (!CModeChangeConfig().GetUsableModeList(&modes)) {
    return trace.Write(L"CModeSettingsArea::LoadModeInformation", 541);
  }
  return true;
}

void CModeSettingsArea::SetControlFonts() const noexcept {
  for (const ControlFont& use : kControlFonts) {
    SetControlFont(use.control, designer.GetModeSettingsDialogFont(use.font));
  }
}

bool CModeSettingsArea::SetControlText() {
  CModeChangeResource resource;
  CWideString restore;
  if (!resource.GetModeSettingsDialogRestoreDefaultSettingsButtonName(&restore)) {
    return trace.Write(L"CModeSettingsArea::SetControlText", 651);
  }
  ::SetDlgItemTextW(Window(), IDC_RESTORE_DEFAULTS_BUTTON, restore.c_str());

  CWideString autoONOFF;
  if (!resource.GetModeSettingsDialogAutoONOFFSetting(&autoONOFF)) {
    return trace.Write(L"CModeSettingsArea::SetControlText", 659);
  }
  ::SetDlgItemTextW(Window(), IDC_AUTO_ON_OFF, autoONOFF.c_str());

  for (std::size_t index = 0; index < modes.size(); ++index) {
    CWideString name;
    if (!resource.GetModeName(modes[index].c_str(), &name)) {
      return trace.Write(L"CModeSettingsArea::SetControlText", 675, modes[index].c_str());
    }
    AddModeToCombo(index, name);
  }

  CWideString showAnnouncement;
  if (!resource.GetModeSettingsDialogShowAnnounceModeIsChangedDialog(&showAnnouncement)) {
    return trace.Write(L"CModeSettingsArea::SetControlText", 697);
  }
  ::SetDlgItemTextW(Window(), IDC_SHOW_ANNOUNCEMENT, showAnnouncement.c_str());
  return true;
}

void CModeSettingsArea::AddModeToCombo(std::size_t index, const CWideString& name) const noexcept {
  COMBOBOXEXITEMW item{};
  item.mask = CBEIF_TEXT | CBEIF_LPARAM;
  item.iItem = static_cast<INT_PTR>(index);
  item.pszText = const_cast<wchar_t*>(name.c_str());  // only read
  item.lParam = static_cast<LPARAM>(index);
  SendToCombo(CBEM_INSERTITEMW, 0, reinterpret_cast<LPARAM>(&item));
}

bool CModeSettingsArea::CreateModeSettingItemList() {
  if (SelectedModeName() == nullptr) {
    return trace.Write(L"CModeSettingsArea::CreateModeSettingItemList", 563);
  }
  if (!list.Create(IDD_SETTING_ITEM_LIST, Window())) {
    const DWORD error = ::GetLastError();
    return trace.WriteUInt(L"CModeSettingsArea::CreateModeSettingItemList", 570, error);
  }
  if (!MoveListIntoFrame()) {
    const DWORD error = ::GetLastError();
    return trace.WriteUInt(L"CModeSettingsArea::CreateModeSettingItemList", 591, error);
  }
  if (!list.SelectMode(SelectedModeName())) {
    return trace.Write(L"CModeSettingsArea::CreateModeSettingItemList", 597);
  }
  ::ShowWindow(list.Window(), SW_SHOW);
  return true;
}

bool CModeSettingsArea::MoveListIntoFrame() const noexcept {
  const HWND frame = ::GetDlgItem(Window(), IDC_LIST_FRAME);
  RECT place{};
  ::GetClientRect(frame, &place);
  ::MapWindowPoints(frame, Window(), reinterpret_cast<POINT*>(&place), 2);
  ::InflateRect(&place, -1, -1);
  return ::MoveWindow(list.Window(), place.left, place.top, place.right - place.left,
                      place.bottom - place.top, TRUE) != FALSE;
}

void CModeSettingsArea::PutAnnouncementAfterList() const {
  if (::SetWindowPos(::GetDlgItem(Window(), IDC_SHOW_ANNOUNCEMENT), list.Window(), 0, 0, 0, 0,
                     SWP_NOSIZE | SWP_NOMOVE | SWP_NOACTIVATE) == FALSE) {
    const DWORD error = ::GetLastError();
    trace.WriteUInt(L"CModeSettingsArea::OnInitDialog", 229, error);
  }
}

bool CModeSettingsArea::ShowAnnouncementSetting() const {
  bool show = true;
  if (!CModeChangeSettings().GetAnnounceModeIsChangedDialogDisplaySetting(&show)) return false;
  Check(IDC_SHOW_ANNOUNCEMENT, show);
  return true;
}

void CModeSettingsArea::Check(int control, bool checked) const noexcept {
  ::SendDlgItemMessageW(Window(), control, BM_SETCHECK, checked ? BST_CHECKED : BST_UNCHECKED, 0);
}

bool CModeSettingsArea::IsChecked(int control) const noexcept {
  return ::SendDlgItemMessageW(Window(), control, BM_GETCHECK, 0, 0) == BST_CHECKED;
}

LRESULT CModeSettingsArea::SendToCombo(UINT message, WPARAM wParam, LPARAM lParam) const noexcept {
  return ::SendDlgItemMessageW(Window(), IDC_MODE_SELECTION, message, wParam, lParam);
}

// --- The mode ------------------------------------------------------------------------------------

bool CModeSettingsArea::GetModeIndex(const wchar_t* modeName, int* index) const {
  if (modeName == nullptr || index == nullptr) {
    return trace.Write(L"CModeSettingsArea::GetModeIndex", 724);
  }
  if (modes.empty()) return trace.Write(L"CModeSettingsArea::GetModeIndex", 731);
  for (std::size_t candidate = 0; candidate < modes.size(); ++candidate) {
    if (modes[candidate].EqualsIgnoringCase(modeName)) {
      *index = static_cast<int>(candidate);
      return true;
    }
  }
  return false;
}

bool CModeSettingsArea::SelectMode(int index) {
  selectedIndex = index;
  const LRESULT itemCount = SendToCombo(CB_GETCOUNT);
  if (itemCount == CB_ERR) return trace.Write(L"CModeSettingsArea::SelectMode", 771);
  int unreadableItem = CB_ERR;
  if (!ShowSelectedMode(static_cast<int>(itemCount), &unreadableItem)) {
    return trace.WriteUIntPair(L"CModeSettingsArea::SelectMode", 780,
                               static_cast<std::uint32_t>(unreadableItem),
                               static_cast<std::uint32_t>(itemCount));
  }
  if (!AdjustControlForSelectedMode()) return trace.Write(L"CModeSettingsArea::SelectMode", 794);
  return true;
}

bool CModeSettingsArea::ShowSelectedMode(int itemCount, int* unreadableItem) const noexcept {
  if (itemCount == CB_ERR) return false;
  for (int item = 0; item < itemCount; ++item) {
    const LRESULT index = SendToCombo(CB_GETITEMDATA, static_cast<WPARAM>(item));
    if (index == CB_ERR) {
      *unreadableItem = item;
      return false;
    }
    if (index == selectedIndex) {
      SendToCombo(CB_SETCURSEL, static_cast<WPARAM>(item));
      break;
    }
  }
  return true;
}

bool CModeSettingsArea::AdjustControlForSelectedMode() {
  const wchar_t* mode = SelectedModeName();
  UINT type = CModeChangeConfig::kNormalMode;
  if (!CModeChangeConfig().GetModeType(mode, &type)) {
    return trace.Write(L"CModeSettingsArea::AdjustControlForSelectedMode", 812, OrEmpty(mode));
  }
  // Kept, not asked of the control: a choice must not be lost because Windows does not answer.
  isAutoONOFFShown = type == CModeChangeConfig::kCradleMode;
  const HWND autoONOFF = ::GetDlgItem(Window(), IDC_AUTO_ON_OFF);
  ::EnableWindow(autoONOFF, isAutoONOFFShown ? TRUE : FALSE);
  ::ShowWindow(autoONOFF, isAutoONOFFShown ? SW_SHOW : SW_HIDE);
  if (isAutoONOFFShown) {
    bool on = false;
    if (!CModeChangeSettings().GetAutoONOFFSetting(mode, &on)) {
      return trace.Write(L"CModeSettingsArea::AdjustControlForSelectedMode", 828, mode);
    }
    Check(IDC_AUTO_ON_OFF, on);
  }
  if (!list.SelectMode(mode)) {
    return trace.Write(L"CModeSettingsArea::AdjustControlForSelectedMode", 845, mode);
  }
  return true;
}

const wchar_t* CModeSettingsArea::SelectedModeName() const noexcept {
  const auto index = static_cast<std::size_t>(selectedIndex);
  return selectedIndex >= 0 && index < modes.size() ? modes[index].c_str() : nullptr;
}

// --- Changes -------------------------------------------------------------------------------------

bool CModeSettingsArea::IsSelectedModeSettingsChanged(bool* changed) {
  if (changed == nullptr) {
    return trace.Write(L"CModeSettingsArea::IsSelectedModeSettingsChanged", 905);
  }
  if (isAutoONOFFShown) {
    bool savedOn = false;
    if (!CModeChangeSettings().GetAutoONOFFSetting(SelectedModeName(), &savedOn)) {
      return trace.Write(L"CModeSettingsArea::IsSelectedModeSettingsChanged", 916);
    }
    if (savedOn != IsChecked(IDC_AUTO_ON_OFF)) {
      *changed = true;
      return true;
    }
  }
  if (!list.IsSettingItemValueChanged(changed)) {
    return trace.Write(L"CModeSettingsArea::IsSelectedModeSettingsChanged", 930);
  }
  return true;
}

bool CModeSettingsArea::IsCommonSettingsChanged(bool* changed) const {
  if (changed == nullptr) return trace.Write(L"CModeSettingsArea::IsCommonSettingsChanged", 869);
  bool savedShow = true;
  if (!CModeChangeSettings().GetAnnounceModeIsChangedDialogDisplaySetting(&savedShow)) {
    return trace.Write(L"CModeSettingsArea::IsCommonSettingsChanged", 877);
  }
  if (savedShow != IsChecked(IDC_SHOW_ANNOUNCEMENT)) *changed = true;
  return true;
}

// --- Saving --------------------------------------------------------------------------------------

std::int32_t CModeSettingsArea::SaveSettings() {
  std::vector<CWideString> incorrect;
  if (!list.GetSettingDisplayNameListOfNotSetCorrectly(&incorrect)) {
    trace.Write(L"CModeSettingsArea::SaveSettings", 58);
    return kSavingFailed;
  }
  if (!incorrect.empty()) return RefuseToSave(incorrect);

  UINT status = kOff;
  if (!CModeChangeStatus().GetCurrentModeStatus(SelectedModeName(), &status)) {
    trace.Write(L"CModeSettingsArea::SaveSettings", 82);
    return kSavingFailed;
  }
  const CWideString modeName = SelectedModeName();
  const Choices choices{IsChecked(IDC_SHOW_ANNOUNCEMENT), isAutoONOFFShown,
                        IsChecked(IDC_AUTO_ON_OFF)};
  const bool isOn = status == kOn;
  if (isOn && !SwitchModeOff(modeName)) return kUpdatingFailed;
  // The controls may have gone with the frame, while devices changed.
  if (Window() == nullptr) return kSavingFailed;

  if (!SaveChoices(modeName, choices)) return kSavingFailed;
  if (!list.SaveSettings()) {
    trace.Write(L"CModeSettingsArea::SaveSettings", 144);
    return kSavingFailed;
  }
  if (isOn && !SwitchModeOn(modeName)) return kUpdatingFailed;
  return kSaved;
}

std::int32_t CModeSettingsArea::RefuseToSave(const std::vector<CWideString>& incorrect) {
  if (!ShowMessageBoxOnSaveSettingsThatSettingsIsNotCorrect(incorrect)) {
    trace.Write(L"CModeSettingsArea::SaveSettings", 69);
    return kSavingFailed;
  }
  return kNotSaved;
}

bool CModeSettingsArea::SwitchModeOff(const CWideString& modeName) const {
  const std::int32_t result = CUpdatePcEnvironmentDialog(modeName, kOff).Run(::GetParent(Window()));
  if (result == CUpdatePcEnvironmentDialog::kCompleted) return true;
  trace.Write(L"CModeSettingsArea::SaveSettings", 99, modeName.c_str());
  return trace.WriteInt(L"CModeSettingsArea::SaveSettings", 101, result);
}

bool CModeSettingsArea::SwitchModeOn(const CWideString& modeName) const {
  const std::int32_t result = CUpdatePcEnvironmentDialog(modeName, kOn).Run(::GetParent(Window()));
  if (result == CUpdatePcEnvironmentDialog::kCompleted) return true;
  trace.Write(L"CModeSettingsArea::SaveSettings", 159, modeName.c_str());
  return trace.WriteInt(L"CModeSettingsArea::SaveSettings", 161, result);
}

bool CModeSettingsArea::SaveChoices(const CWideString& modeName, const Choices& choices) const {
  const CModeChangeSettings settings;
  if (!settings.SaveAnnounceModeIsChangedDialogDisplaySetting(choices.showAnnouncement)) {
    return trace.Write(L"CModeSettingsArea::SaveSettings", 112);
  }
  if (!choices.hasAutoONOFF) {
    if (!settings.SaveAutoONOFFSetting(modeName.c_str(), false)) {
      return trace.Write(L"CModeSettingsArea::SaveSettings", 124);
    }
  } else if (!settings.SaveAutoONOFFSetting(modeName.c_str(), choices.autoONOFF)) {
    return trace.Write(L"CModeSettingsArea::SaveSettings", 135);
  }
  return true;
}

// --- Message boxes -------------------------------------------------------------------------------

bool CModeSettingsArea::ShowMessageBoxOnChangeModeThatSettingsIsChanged() const {
  CModeChangeResource resource;
  CWideString applicationName;
  if (!resource.GetApplicationName(&applicationName)) {
    return trace.Write(L"CModeSettingsArea::ShowMessageBoxOnChangeModeThatSettingsIsChanged", 956);
  }
  CWideString text;
  if (!resource.GetModeSettingsDialogMessageOnChangeModeThatSettingsIsChanged(&text)) {
    return trace.Write(L"CModeSettingsArea::ShowMessageBoxOnChangeModeThatSettingsIsChanged", 963);
  }
  return ShowWarning(text, applicationName);
}

bool CModeSettingsArea::ShowMessageBoxOnSaveSettingsThatSettingsIsNotCorrect(
    const std::vector<CWideString>& incorrect) const {
  CModeChangeResource resource;
  CWideString applicationName;
  if (!resource.GetApplicationName(&applicationName)) {
    return trace.Write(L"CModeSettingsArea::ShowMessageBoxOnSaveSettingsThatSettingsIsNotCorrect",
                       990);
  }
  CWideString text;
  if (!resource.GetModeSettingsDialogMessageOnSaveSettingsThatSettingsIsNotCorrect(&text)) {
    return trace.Write(L"CModeSettingsArea::ShowMessageBoxOnSaveSettingsThatSettingsIsNotCorrect",
                       997);
  }
  text.ReplaceAll(L"%SETTINGITEM%", JoinLines(incorrect));
  return ShowWarning(text, applicationName);
}

bool CModeSettingsArea::ShowWarning(const CWideString& text,
                                    const CWideString& applicationName) const noexcept {
  return ::MessageBoxW(::GetParent(Window()), text.c_str(), applicationName.c_str(),
                       MB_OK | MB_ICONWARNING) != 0;
}
