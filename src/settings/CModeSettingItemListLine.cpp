#include "settings/CModeSettingItemListLine.h"

// windows.h comes with the header above, before commctrl.h, which needs it.
#include <commctrl.h>

#include <algorithm>
#include <iterator>

#include "config/CModeChangeConfig.h"
#include "config/CModeChangeResource.h"
#include "config/CModeChangeSettings.h"
#include "devices/CDeviceEngineHelper.h"
#include "resources/ControlIds.h"
#include "settings/LockSettingItemRequest.h"
#include "settings/ModeSettingsMessages.h"

namespace {

constexpr std::uint32_t kDoNothing = UsableSettingItemValue::kDoNothing;

struct ControlFont {
  int control;
  CUIDesigner::ModeSettingsDialogFont font;
};
constexpr ControlFont kControlFonts[] = {
    {IDC_SETTING_ITEM, CUIDesigner::kSettingItemNameFont},
    {IDC_LOCKED_ITEM_NAME, CUIDesigner::kSettingItemNameFont},
    {IDC_FIRST_VALUE, CUIDesigner::kSettingItemValueFont},
    {IDC_SECOND_VALUE, CUIDesigner::kSettingItemValueFont},
    {IDC_VALUE_COMBO, CUIDesigner::kSettingItemValueFont},
    {IDC_GREYED_VALUE, CUIDesigner::kSettingItemValueFont},
    {IDC_LOCKED_VALUE_MEMO, CUIDesigner::kSettingItemValueFont},
    {IDC_SLIDER_DOWN_LABEL, CUIDesigner::kSliderLabelFont},
    {IDC_SLIDER_UP_LABEL, CUIDesigner::kSliderLabelFont},
};

/// A control of a line that is not locked, and the kinds that use it.
struct EditingControl {
  int control;
  bool inRadioPair;
  bool inComboBox;
  bool inSlider;

  /// A line without a kind hides nothing.
  [[nodiscard]] constexpr bool IsUsedBy(SettingItemListLineKind kind) const noexcept {
    switch (kind) {
      case SettingItemListLineKind::kRadioPair:
        return inRadioPair;
      case SettingItemListLineKind::kComboBox:
        return inComboBox;
      case SettingItemListLineKind::kSlider:
        return inSlider;
      default:
        return true;
    }
  }
};
constexpr EditingControl kEditingControls[] = {
    {IDC_SETTING_ITEM, true, true, true},
    {IDC_FIRST_VALUE, true, false, false},
    {IDC_SECOND_VALUE, true, false, false},
    {IDC_VALUE_SLIDER, false, false, true},
    {IDC_VALUE_COMBO, false, true, false},
    // The check box rule shows it in place of the combo box.
    {IDC_GREYED_VALUE, false, false, false},
    {IDC_SLIDER_DOWN_LABEL, false, false, true},
    {IDC_SLIDER_UP_LABEL, false, false, true},
};

/// A stride through a long scale that still lets each value of a short one be reached.
constexpr LPARAM PageSize(std::size_t valueCount) noexcept {
  constexpr std::size_t kFewestForPages = 101;
  constexpr LPARAM kPage = 10;
  return valueCount < kFewestForPages ? 1 : kPage;
}

}  // namespace

CModeSettingItemListLine::CModeSettingItemListLine()
    : CDialogBase(ICC_USEREX_CLASSES | ICC_BAR_CLASSES) {}

bool CModeSettingItemListLine::CreateLine(HWND list, const SettingItemListLineInitParam& param) {
  lineNumber = param.lineNumber;
  settingItemName = param.settingItemName;
  engine = param.engine;
  return Create(IDD_SETTING_ITEM_LIST_LINE, list);
}

// --- Messages ------------------------------------------------------------------------------------

INT_PTR CModeSettingItemListLine::OnMessage(UINT message, WPARAM wParam, LPARAM lParam) {
  switch (message) {
    case WM_INITDIALOG:
      return OnInitDialog();
    case WM_CLOSE:
      return OnClose();
    case WM_COMMAND:
      return OnCommand(LOWORD(wParam), HIWORD(wParam));
    case WM_HSCROLL:
      return OnHScroll(reinterpret_cast<HWND>(lParam));
    case WM_CTLCOLORLISTBOX:
    case WM_CTLCOLORBTN:
    case WM_CTLCOLORDLG:
    case WM_CTLCOLORSTATIC:
      return OnControlColor(reinterpret_cast<HDC>(wParam));
    default:
      return FALSE;
  }
}

void CModeSettingItemListLine::OnHandlerFailed(UINT /*message*/) noexcept {
  trace.Write(L"CModeSettingItemListLine::OnHandlerFailed", 152);
  PostToList(WM_MODESETTINGS_ERROR, kModeSettingsFailed);
}

INT_PTR CModeSettingItemListLine::OnInitDialog() {
  SetControlFonts();
  if (!LoadUsableSettingItemValueInformationList()) {
    trace.Write(L"CModeSettingItemListLine::OnInitDialog", 161);
    PostToList(WM_MODESETTINGS_ERROR, kModeSettingsFailed);
    return TRUE;
  }
  if (!LoadLockRule()) {
    trace.Write(L"CModeSettingItemListLine::OnInitDialog", 168);
    PostToList(WM_MODESETTINGS_ERROR, kModeSettingsFailed);
    return TRUE;
  }
  if (!InitializeSettingItemListLineControl()) {
    trace.Write(L"CModeSettingItemListLine::OnInitDialog", 174);
    PostToList(WM_MODESETTINGS_ERROR, kModeSettingsFailed);
  }
  return TRUE;
}

INT_PTR CModeSettingItemListLine::OnClose() {
  usableValues.clear();
  lockedItemNames.clear();
  lockedItemValues.clear();
  ::DestroyWindow(Window());
  return TRUE;
}

INT_PTR CModeSettingItemListLine::OnCommand(WORD control, WORD notification) {
  switch (control) {
    case IDC_SETTING_ITEM:
      OnCheckSettingItem();
      return Handled();
    case IDC_FIRST_VALUE:
    case IDC_SECOND_VALUE:
      OnRadioSettingItemValue();
      return Handled();
    case IDC_VALUE_COMBO:
      if (notification == CBN_SELCHANGE) OnComboSettingItemValue();
      return Handled();
    default:
      return FALSE;
  }
}

INT_PTR CModeSettingItemListLine::OnHScroll(HWND slider) const noexcept {
  if (slider == Control(IDC_VALUE_SLIDER)) PostToList(WM_MODESETTINGS_CHANGED);
  return Handled();
}

INT_PTR CModeSettingItemListLine::OnControlColor(HDC dc) {
  return ControlColor(dc, designer.GetSettingItemListLineBackBrush(static_cast<UINT>(lineNumber)));
}

void CModeSettingItemListLine::OnCheckSettingItem() {
  if (!AdjustSettingItemListLineControlForCheckBoxSettingItemStatus()) {
    trace.Write(L"CModeSettingItemListLine::OnCheckSettingItem", 222);
    PostToList(WM_MODESETTINGS_ERROR, kModeSettingsFailed);
    return;
  }
  if (!AdjustOtherSettingItemStatusForCurrentSettingItemValue()) {
    trace.Write(L"CModeSettingItemListLine::OnCheckSettingItem", 228);
    PostToList(WM_MODESETTINGS_ERROR, kModeSettingsFailed);
    return;
  }
  PostToList(WM_MODESETTINGS_CHANGED);
}

void CModeSettingItemListLine::OnRadioSettingItemValue() {
  if (!AdjustOtherSettingItemStatusForCurrentSettingItemValue()) {
    trace.Write(L"CModeSettingItemListLine::OnRadioSettingItemValue", 238);
    PostToList(WM_MODESETTINGS_ERROR, kModeSettingsFailed);
    return;
  }
  PostToList(WM_MODESETTINGS_CHANGED);
}

void CModeSettingItemListLine::OnComboSettingItemValue() {
  const LRESULT selection = Ask(IDC_VALUE_COMBO, CB_GETCURSEL);
  if (selection == CB_ERR) {
    trace.Write(L"CModeSettingItemListLine::OnComboSettingItemValue", 249);
    PostToList(WM_MODESETTINGS_ERROR, kModeSettingsFailed);
    return;
  }
  CWideString text;
  if (!ReadComboItemText(selection, {L"CModeSettingItemListLine::OnComboSettingItemValue", 255},
                         {L"CModeSettingItemListLine::OnComboSettingItemValue", 256}, &text)) {
    PostToList(WM_MODESETTINGS_ERROR, kModeSettingsFailed);
    return;
  }
  ::SetDlgItemTextW(Window(), IDC_GREYED_VALUE, text.c_str());
  PostToList(WM_MODESETTINGS_CHANGED);
}

// --- Loading -------------------------------------------------------------------------------------

void CModeSettingItemListLine::SetControlFonts() const noexcept {
  for (const ControlFont& use : kControlFonts) {
    SetControlFont(use.control, designer.GetModeSettingsDialogFont(use.font));
  }
}

bool CModeSettingItemListLine::LoadUsableSettingItemValueInformationList() {
  CWideString enginePath;
  if (!CModeChangeConfig().GetSettingItemEnginePath(settingItemName.c_str(), &enginePath)) {
    return trace.Write(L"CModeSettingItemListLine::LoadUsableSettingItemValueInformationList", 279);
  }
  if (!engine->SelectDevice()) {
    return trace.Write(L"CModeSettingItemListLine::LoadUsableSettingItemValueInformationList", 282,
                       enginePath.c_str());
  }
  std::int32_t valueCount = 0;
  if (!engine->GetINT32INformation(VELTO_ENGINE_INT32_VALUE_COUNT, 0, &valueCount)) {
    return trace.Write(L"CModeSettingItemListLine::LoadUsableSettingItemValueInformationList", 287,
                       enginePath.c_str());
  }
  if (valueCount <= 0) {
    return trace.WriteInt(L"CModeSettingItemListLine::LoadUsableSettingItemValueInformationList",
                          291, valueCount);
  }
  // The count is the engine's word: nothing is reserved for it, and an engine that knows fewer
  // values than it promised ends the walk by failing.
  CModeChangeResource resource;
  for (std::int32_t value = 0; value < valueCount; ++value) {
    if (!LoadUsableSettingItemValue(static_cast<std::uint32_t>(value), &resource)) return false;
  }
  if (Kind() == SettingItemListLineKind::kNone) {
    return trace.WriteUInt(L"CModeSettingItemListLine::LoadUsableSettingItemValueInformationList",
                           300, UsableValueCount());
  }
  return true;
}

bool CModeSettingItemListLine::LoadUsableSettingItemValue(std::uint32_t value,
                                                          CModeChangeResource* resource) {
  std::int32_t available = -1;
  if (!engine->GetINT32INformation(VELTO_ENGINE_INT32_VALUE_AVAILABLE, value, &available)) {
    return trace.WriteUInt(L"CModeSettingItemListLine::LoadUsableSettingItemValueInformationList",
                           309, value);
  }
  if (available != 1) return true;
  CWideString key;
  if (!engine->GetStringInformation(VELTO_ENGINE_STRING_VALUE_KEY, value, &key)) {
    return trace.WriteUInt(L"CModeSettingItemListLine::LoadUsableSettingItemValueInformationList",
                           315, value);
  }
  CWideString displayName;
  if (!resource->GetSettingItemStringResource(key.c_str(), &displayName)) {
    return trace.Write(L"CModeSettingItemListLine::LoadUsableSettingItemValueInformationList", 320);
  }
  usableValues.push_back({value, displayName});
  return true;
}

bool CModeSettingItemListLine::LoadLockRule() {
  std::vector<std::int32_t> values;
  if (!CModeChangeConfig().DoesSettingItemaHaveValueLockOtherSettingItem(
          settingItemName.c_str(), &hasLockRule, &lockValue, &lockedItemNames, &values)) {
    return false;
  }
  lockedItemValues.assign(values.begin(), values.end());
  return true;
}

// --- Initialising controls -----------------------------------------------------------------------

bool CModeSettingItemListLine::InitializeSettingItemListLineControl() {
  ArrangeControls();
  CWideString key;
  if (!engine->GetStringInformation(VELTO_ENGINE_STRING_ITEM_KEY, 0, &key)) {
    return trace.Write(L"CModeSettingItemListLine::InitializeSettingItemListLineControl", 343);
  }
  CWideString displayName;
  if (!CModeChangeResource().GetSettingItemStringResource(key.c_str(), &displayName)) {
    return trace.Write(L"CModeSettingItemListLine::InitializeSettingItemListLineControl", 347);
  }
  ::SetDlgItemTextW(Window(), IDC_SETTING_ITEM, displayName.c_str());
  ::SetDlgItemTextW(Window(), IDC_LOCKED_ITEM_NAME, displayName.c_str());
  NameForScreenReaders(displayName);

  switch (Kind()) {
    case SettingItemListLineKind::kRadioPair:
      InitializeRadioPair();
      return true;
    case SettingItemListLineKind::kComboBox:
      InitializeComboBox();
      return true;
    case SettingItemListLineKind::kSlider:
      return InitializeSlider();
    default:
      return trace.WriteUInt(L"CModeSettingItemListLine::InitializeSettingItemListLineControl", 366,
                             UsableValueCount());
  }
}

void CModeSettingItemListLine::NameForScreenReaders(CWideString name) const {
  // Neither control shows a text of its own, nor has it a label before it. The check box's mnemonic
  // is to stay the check box's.
  name.ReplaceAll(L"&", L"");
  const auto text = reinterpret_cast<LPARAM>(name.c_str());
  Ask(IDC_VALUE_SLIDER, WM_SETTEXT, 0, text);
  // A combo box takes a text for that of its selection, so this goes past it. The one with the
  // focus is the plain combo box inside.
  ::DefWindowProcW(Control(IDC_VALUE_COMBO), WM_SETTEXT, 0, text);
  ::DefWindowProcW(reinterpret_cast<HWND>(Ask(IDC_VALUE_COMBO, CBEM_GETCOMBOCONTROL)), WM_SETTEXT,
                   0, text);
}

void CModeSettingItemListLine::ArrangeControls() const noexcept {
  RECT client{};
  ::GetClientRect(Window(), &client);
  ::SetWindowPos(Control(IDC_LINE_BACKGROUND), nullptr, 0, 0, client.right, client.bottom,
                 SWP_NOZORDER | SWP_NOACTIVATE);

  const HWND combo = Control(IDC_VALUE_COMBO);
  RECT place{};
  ::GetClientRect(combo, &place);
  ::MapWindowPoints(combo, Window(), reinterpret_cast<POINT*>(&place), 2);
  const LONG width = place.right - place.left;
  const LONG height = place.bottom - place.top;
  const LONG top = (client.bottom - height) / 2;
  // Only moved: a combo box takes its size as that of its list.
  ::SetWindowPos(combo, nullptr, place.left, top, 0, 0, SWP_NOSIZE | SWP_NOZORDER | SWP_NOACTIVATE);
  ::SetWindowPos(Control(IDC_GREYED_VALUE), nullptr, place.left, top, width, height,
                 SWP_NOZORDER | SWP_NOACTIVATE);
}

void CModeSettingItemListLine::InitializeRadioPair() const noexcept {
  ::SetDlgItemTextW(Window(), IDC_FIRST_VALUE, usableValues[0].displayName.c_str());
  ::SetDlgItemTextW(Window(), IDC_SECOND_VALUE, usableValues[1].displayName.c_str());
}

void CModeSettingItemListLine::InitializeComboBox() const noexcept {
  INT_PTR index = 0;
  for (const UsableSettingItemValue& usable : usableValues) {
    COMBOBOXEXITEMW item{};
    item.mask = CBEIF_TEXT | CBEIF_LPARAM;
    item.iItem = index;
    item.pszText = const_cast<wchar_t*>(usable.displayName.c_str());
    item.lParam = static_cast<LPARAM>(usable.value);
    Ask(IDC_VALUE_COMBO, CBEM_INSERTITEMW, 0, reinterpret_cast<LPARAM>(&item));
    ++index;
  }
}

bool CModeSettingItemListLine::InitializeSlider() {
  CModeChangeResource resource;
  CWideString down;
  if (!resource.GetModeSettingsDialogSliderDown(&down)) {
    return trace.Write(L"CModeSettingItemListLine::InitializeSettingItemListLineControl", 416);
  }
  CWideString up;
  if (!resource.GetModeSettingsDialogSliderUp(&up)) {
    return trace.Write(L"CModeSettingItemListLine::InitializeSettingItemListLineControl", 420);
  }
  ::SetDlgItemTextW(Window(), IDC_SLIDER_DOWN_LABEL, down.c_str());
  ::SetDlgItemTextW(Window(), IDC_SLIDER_UP_LABEL, up.c_str());

  const auto last = static_cast<LPARAM>(usableValues.size() - 1);
  constexpr LPARAM kLastOfShortRange = 0x7FFF;
  if (last <= kLastOfShortRange) {
    Ask(IDC_VALUE_SLIDER, TBM_SETRANGE, TRUE, MAKELPARAM(0, last));
  } else {
    // The message for both ends has 16 bits for each.
    Ask(IDC_VALUE_SLIDER, TBM_SETRANGEMIN, FALSE, 0);
    Ask(IDC_VALUE_SLIDER, TBM_SETRANGEMAX, TRUE, last);
  }
  Ask(IDC_VALUE_SLIDER, TBM_SETLINESIZE, 0, 1);
  Ask(IDC_VALUE_SLIDER, TBM_SETPAGESIZE, 0, PageSize(usableValues.size()));
  const HWND slider = Control(IDC_VALUE_SLIDER);
  ::SetWindowLongPtrW(slider, GWL_STYLE, ::GetWindowLongPtrW(slider, GWL_STYLE) | TBS_DOWNISLEFT);
  return true;
}

// --- Showing values ------------------------------------------------------------------------------

bool CModeSettingItemListLine::AdjustSettingItemListLineControlForCheckBoxSettingItemStatus() {
  const SettingItemListLineKind kind = Kind();
  if (kind == SettingItemListLineKind::kNone) {
    return trace.WriteUInt(
        L"CModeSettingItemListLine::AdjustSettingItemListLineControlForCheckBoxSettingItemStatus",
        442, UsableValueCount());
  }
  // A locked line shows none of these controls.
  if (locked) return true;

  const bool checked = IsChecked(IDC_SETTING_ITEM);
  if (!checked) HandFocusToCheckBox();
  switch (kind) {
    case SettingItemListLineKind::kRadioPair:
      Enable(IDC_FIRST_VALUE, checked);
      Enable(IDC_SECOND_VALUE, checked);
      break;
    case SettingItemListLineKind::kComboBox:
      Show(IDC_VALUE_COMBO, checked);
      Enable(IDC_VALUE_COMBO, checked);
      Show(IDC_GREYED_VALUE, !checked);
      break;
    default:
      Enable(IDC_VALUE_SLIDER, checked);
      Enable(IDC_SLIDER_DOWN_LABEL, checked);
      Enable(IDC_SLIDER_UP_LABEL, checked);
      break;
  }
  return true;
}

bool CModeSettingItemListLine::AdjustSettingItemListLineControlForLockedStatus() {
  if (locked) HandFocusToAnotherLine();
  const SettingItemListLineKind kind = Kind();
  for (const EditingControl& editing : kEditingControls) {
    const bool shown = !locked && editing.IsUsedBy(kind);
    Show(editing.control, shown);
    // What stands in place of the combo box only looks like a control.
    if (editing.control != IDC_GREYED_VALUE) Enable(editing.control, shown);
  }
  Show(IDC_LOCKED_ITEM_NAME, locked);
  Show(IDC_LOCKED_VALUE_MEMO, locked);
  if (!locked && kind == SettingItemListLineKind::kNone) {
    return trace.WriteUInt(
        L"CModeSettingItemListLine::AdjustSettingItemListLineControlForLockedStatus", 486,
        UsableValueCount());
  }
  return true;
}

bool CModeSettingItemListLine::AdjustSettingItemListLineControlForSettingItemValue(
    std::uint32_t value, bool isLocked) {
  CWideString valueName;
  if (value != kDoNothing) {
    const UsableSettingItemValue* usable = FindUsableValue(value);
    if (usable == nullptr) {
      return trace.WriteUInt(
          L"CModeSettingItemListLine::AdjustSettingItemListLineControlForSettingItemValue", 498,
          value);
    }
    valueName = usable->displayName;
  } else if (isLocked && !CModeChangeResource().GetSettingItemStatusName_DoNothing(&valueName)) {
    return trace.Write(
        L"CModeSettingItemListLine::AdjustSettingItemListLineControlForSettingItemValue", 504);
  }
  if (isLocked && !SetLockedValueMemo(valueName)) return false;

  switch (Kind()) {
    case SettingItemListLineKind::kRadioPair:
      SetRadioPair(value);
      break;
    case SettingItemListLineKind::kComboBox:
      if (!SetComboBox(value)) return false;
      break;
    case SettingItemListLineKind::kSlider:
      SetSlider(value);
      break;
    default:
      return trace.WriteUInt(
          L"CModeSettingItemListLine::AdjustSettingItemListLineControlForSettingItemValue", 521,
          UsableValueCount());
  }
  if (!AdjustSettingItemListLineControlForCheckBoxSettingItemStatus()) {
    return trace.Write(
        L"CModeSettingItemListLine::AdjustSettingItemListLineControlForSettingItemValue", 526);
  }
  return true;
}

bool CModeSettingItemListLine::SetLockedValueMemo(const CWideString& valueName) {
  CWideString memo;
  if (!CModeChangeResource().GetModeSettingsDialogLockedSettingItemMemo(&memo)) {
    return trace.Write(
        L"CModeSettingItemListLine::AdjustSettingItemListLineControlForSettingItemValue", 535);
  }
  ::SetDlgItemTextW(Window(), IDC_LOCKED_VALUE_MEMO, (valueName + memo).c_str());
  return true;
}

void CModeSettingItemListLine::SetRadioPair(std::uint32_t value) const noexcept {
  // The values are meant literally, also where the item's two usable values are others: the maker's
  // configurations count on it.
  switch (value) {
    case kDoNothing:
      SetCheck(IDC_SETTING_ITEM, false);
      SetCheck(IDC_FIRST_VALUE, false);
      SetCheck(IDC_SECOND_VALUE, false);
      break;
    case 0:
      SetCheck(IDC_SETTING_ITEM, true);
      SetCheck(IDC_SECOND_VALUE, false);
      SetCheck(IDC_FIRST_VALUE, true);
      break;
    case 1:
      SetCheck(IDC_SETTING_ITEM, true);
      SetCheck(IDC_FIRST_VALUE, false);
      SetCheck(IDC_SECOND_VALUE, true);
      break;
    default:
      break;
  }
  // Windows takes the tab stop from a radio button that is cleared. With neither checked the
  // keyboard would not reach the pair.
  if (IsChecked(IDC_FIRST_VALUE) || IsChecked(IDC_SECOND_VALUE)) return;
  const HWND first = Control(IDC_FIRST_VALUE);
  ::SetWindowLongPtrW(first, GWL_STYLE, ::GetWindowLongPtrW(first, GWL_STYLE) | WS_TABSTOP);
}

bool CModeSettingItemListLine::SetComboBox(std::uint32_t value) {
  SetCheck(IDC_SETTING_ITEM, value != kDoNothing);
  if (value == kDoNothing) {
    Ask(IDC_VALUE_COMBO, CB_SETCURSEL, static_cast<WPARAM>(-1));
    ::SetDlgItemTextW(Window(), IDC_GREYED_VALUE, L"");
    return true;
  }
  const LRESULT count = Ask(IDC_VALUE_COMBO, CB_GETCOUNT);
  for (LRESULT item = 0; item < count; ++item) {
    const LRESULT data = Ask(IDC_VALUE_COMBO, CB_GETITEMDATA, static_cast<WPARAM>(item));
    if (data == CB_ERR) {
      return trace.WriteUInt(
          L"CModeSettingItemListLine::AdjustSettingItemListLineControlForSettingItemValue", 583,
          static_cast<std::uint32_t>(item));
    }
    if (data != static_cast<LRESULT>(value)) continue;
    Ask(IDC_VALUE_COMBO, CB_SETCURSEL, static_cast<WPARAM>(item));
    CWideString text;
    if (!ReadComboItemText(
            item,
            {L"CModeSettingItemListLine::AdjustSettingItemListLineControlForSettingItemValue", 591},
            {L"CModeSettingItemListLine::AdjustSettingItemListLineControlForSettingItemValue", 592},
            &text)) {
      return false;
    }
    ::SetDlgItemTextW(Window(), IDC_GREYED_VALUE, text.c_str());
  }
  return true;
}

void CModeSettingItemListLine::SetSlider(std::uint32_t value) const noexcept {
  SetCheck(IDC_SETTING_ITEM, value != kDoNothing);
  const auto found =
      std::find_if(usableValues.begin(), usableValues.end(),
                   [value](const UsableSettingItemValue& usable) { return usable.value == value; });
  const LPARAM position = found != usableValues.end() ? found - usableValues.begin() : 0;
  Ask(IDC_VALUE_SLIDER, TBM_SETPOS, TRUE, position);
}

void CModeSettingItemListLine::HandFocusToCheckBox() const noexcept {
  const HWND checkBox = Control(IDC_SETTING_ITEM);
  const HWND focus = ::GetFocus();
  if (::IsChild(Window(), focus) == FALSE || focus == checkBox) return;
  MoveFocus(checkBox);
}

void CModeSettingItemListLine::HandFocusToAnotherLine() const noexcept {
  HWND next = ::GetFocus();
  if (::IsChild(Window(), next) == FALSE) return;
  const HWND dialog = ::GetAncestor(Window(), GA_ROOT);
  // The line has fewer tab stops than controls: where that many steps don't leave it, there is
  // nobody else.
  for (std::size_t step = 0; step < std::size(kEditingControls); ++step) {
    next = ::GetNextDlgTabItem(dialog, next, FALSE);
    if (::IsChild(Window(), next) == FALSE) return MoveFocus(next);
  }
}

void CModeSettingItemListLine::MoveFocus(HWND control) const noexcept {
  // Not SetFocus: the dialog also has to know, for its default button.
  ::SendMessageW(::GetAncestor(Window(), GA_ROOT), WM_NEXTDLGCTL, reinterpret_cast<WPARAM>(control),
                 TRUE);
}

// --- What the list asks for ----------------------------------------------------------------------

bool CModeSettingItemListLine::SelectMode(const wchar_t* newModeName) {
  if (newModeName == nullptr) return trace.Write(L"CModeSettingItemListLine::SelectMode", 613);
  modeName = newModeName;
  const CModeChangeSettings settings;
  if (!settings.IsSetingItemValueLocked(modeName.c_str(), settingItemName.c_str(), &locked)) {
    trace.Write(L"CModeSettingItemListLine::SelectMode", 617, modeName.c_str());
    return trace.Write(L"CModeSettingItemListLine::SelectMode", 618, settingItemName.c_str());
  }
  if (!AdjustSettingItemListLineControlForLockedStatus()) {
    trace.Write(L"CModeSettingItemListLine::SelectMode", 621, modeName.c_str());
    return trace.Write(L"CModeSettingItemListLine::SelectMode", 622, settingItemName.c_str());
  }
  std::int32_t saved = CModeChangeSettings::kDoNothing;
  if (!settings.GetSettingItemValue(modeName.c_str(), settingItemName.c_str(), &saved)) {
    trace.Write(L"CModeSettingItemListLine::SelectMode", 626, modeName.c_str());
    return trace.Write(L"CModeSettingItemListLine::SelectMode", 627, settingItemName.c_str());
  }
  const auto value = static_cast<std::uint32_t>(saved);
  if (!AdjustSettingItemListLineControlForSettingItemValue(value, locked)) {
    trace.Write(L"CModeSettingItemListLine::SelectMode", 631, modeName.c_str());
    return trace.Write(L"CModeSettingItemListLine::SelectMode", 632, settingItemName.c_str());
  }
  if (locked) lockedValue = value;
  ::InvalidateRect(Window(), nullptr, FALSE);
  // Nothing is released here: the list has all lines show the mode first, then looks at all rules.
  lockingOthers = false;
  return true;
}

bool CModeSettingItemListLine::RestoreDefaultSettingItemValue() {
  const CModeChangeSettings settings;
  std::int32_t defaultValue = CModeChangeSettings::kDoNothing;
  if (!settings.GetDefaultSettingItemValue(modeName.c_str(), settingItemName.c_str(),
                                           &defaultValue)) {
    return trace.Write(L"CModeSettingItemListLine::RestoreDefaultSettingItemValue", 646);
  }
  if (!settings.IsSetingItemValueLocked(modeName.c_str(), settingItemName.c_str(), &locked)) {
    return trace.Write(L"CModeSettingItemListLine::RestoreDefaultSettingItemValue", 649);
  }
  const auto value = static_cast<std::uint32_t>(defaultValue);
  if (locked) lockedValue = value;
  if (!AdjustSettingItemListLineControlForLockedStatus()) {
    return trace.Write(L"CModeSettingItemListLine::RestoreDefaultSettingItemValue", 654);
  }
  if (!AdjustSettingItemListLineControlForSettingItemValue(value, locked)) {
    return trace.Write(L"CModeSettingItemListLine::RestoreDefaultSettingItemValue", 657);
  }
  lockingOthers = false;
  return true;
}

bool CModeSettingItemListLine::UpdateLockedSettingItemStatus() {
  if (!AdjustOtherSettingItemStatusForCurrentSettingItemValue()) {
    trace.Write(L"CModeSettingItemListLine::UpdateLockedSettingItemStatus", 665, modeName.c_str());
    return trace.Write(L"CModeSettingItemListLine::UpdateLockedSettingItemStatus", 666,
                       settingItemName.c_str());
  }
  return true;
}

bool CModeSettingItemListLine::IsSettingItemValueChanged(bool* changed) {
  if (changed == nullptr) {
    return trace.Write(L"CModeSettingItemListLine::IsSettingItemValueChanged", 674);
  }
  std::int32_t saved = CModeChangeSettings::kDoNothing;
  if (!CModeChangeSettings().GetSettingItemValue(modeName.c_str(), settingItemName.c_str(),
                                                 &saved)) {
    return trace.Write(L"CModeSettingItemListLine::IsSettingItemValueChanged", 679);
  }
  if (!IsSettingItemSetCorrectly()) {
    *changed = true;
    return true;
  }
  std::uint32_t current = kDoNothing;
  if (!GetCurrentSettingItemValue(&current)) {
    return trace.Write(L"CModeSettingItemListLine::IsSettingItemValueChanged", 687);
  }
  *changed = static_cast<std::uint32_t>(saved) != current;
  return true;
}

bool CModeSettingItemListLine::IsSettingItemSetCorrectly() {
  if (locked || !IsChecked(IDC_SETTING_ITEM)) return true;
  switch (Kind()) {
    case SettingItemListLineKind::kRadioPair:
      return IsChecked(IDC_FIRST_VALUE) || IsChecked(IDC_SECOND_VALUE);
    case SettingItemListLineKind::kComboBox:
      return Ask(IDC_VALUE_COMBO, CB_GETCURSEL) != CB_ERR;
    case SettingItemListLineKind::kSlider:
      return true;
    default:
      return trace.WriteUInt(L"CModeSettingItemListLine::IsSettingItemSetCorrectly", 703,
                             UsableValueCount());
  }
}

bool CModeSettingItemListLine::GetCurrentSettingItemValue(std::uint32_t* value) {
  if (locked) {
    *value = lockedValue;
    return true;
  }
  if (!IsChecked(IDC_SETTING_ITEM)) {
    *value = kDoNothing;
    return true;
  }
  switch (Kind()) {
    case SettingItemListLineKind::kRadioPair:
      return GetChosenRadioValue(value);
    case SettingItemListLineKind::kComboBox:
      return GetChosenComboValue(value);
    case SettingItemListLineKind::kSlider:
      return GetChosenSliderValue(value);
    default:
      return trace.WriteUInt(L"CModeSettingItemListLine::GetCurrentSettingItemValue", 725,
                             UsableValueCount());
  }
}

bool CModeSettingItemListLine::GetChosenRadioValue(std::uint32_t* value) const {
  if (IsChecked(IDC_FIRST_VALUE)) {
    *value = usableValues[0].value;
    return true;
  }
  if (IsChecked(IDC_SECOND_VALUE)) {
    *value = usableValues[1].value;
    return true;
  }
  return trace.Write(L"CModeSettingItemListLine::GetCurrentSettingItemValue", 739);
}

bool CModeSettingItemListLine::GetChosenComboValue(std::uint32_t* value) const {
  const LRESULT selection = Ask(IDC_VALUE_COMBO, CB_GETCURSEL);
  if (selection == CB_ERR) {
    return trace.Write(L"CModeSettingItemListLine::GetCurrentSettingItemValue", 745);
  }
  const LRESULT data = Ask(IDC_VALUE_COMBO, CB_GETITEMDATA, static_cast<WPARAM>(selection));
  if (data == CB_ERR) {
    return trace.Write(L"CModeSettingItemListLine::GetCurrentSettingItemValue", 749);
  }
  *value = static_cast<std::uint32_t>(data);
  return true;
}

bool CModeSettingItemListLine::GetChosenSliderValue(std::uint32_t* value) const {
  const LRESULT position = Ask(IDC_VALUE_SLIDER, TBM_GETPOS);
  if (position < 0 || static_cast<std::size_t>(position) >= usableValues.size()) {
    return trace.WriteInt(L"CModeSettingItemListLine::GetCurrentSettingItemValue", 758,
                          static_cast<std::int32_t>(position));
  }
  *value = usableValues[static_cast<std::size_t>(position)].value;
  return true;
}

// --- Locks ---------------------------------------------------------------------------------------

bool CModeSettingItemListLine::AdjustOtherSettingItemStatusForCurrentSettingItemValue() {
  if (!IsSettingItemSetCorrectly()) return true;
  std::uint32_t current = kDoNothing;
  if (!GetCurrentSettingItemValue(&current)) {
    return trace.Write(
        L"CModeSettingItemListLine::AdjustOtherSettingItemStatusForCurrentSettingItemValue", 771);
  }
  if (!IsSettingItemValueToLockOtherSettingItem()) return true;
  const bool isLocking = current == static_cast<std::uint32_t>(lockValue);
  if (isLocking && !lockingOthers && !SendLockSettingItemRequest(true)) {
    return trace.Write(
        L"CModeSettingItemListLine::AdjustOtherSettingItemStatusForCurrentSettingItemValue", 777);
  }
  if (!isLocking && lockingOthers && !SendLockSettingItemRequest(false)) {
    return trace.Write(
        L"CModeSettingItemListLine::AdjustOtherSettingItemStatusForCurrentSettingItemValue", 781);
  }
  return true;
}

bool CModeSettingItemListLine::IsSettingItemValueToLockOtherSettingItem() const noexcept {
  return hasLockRule;
}

bool CModeSettingItemListLine::SendLockSettingItemRequest(bool lock) {
  const HWND list = ::GetParent(Window());
  if (list == nullptr) return false;
  LockSettingItemRequest request{.lock = lock,
                                 .lockingItemName = settingItemName,
                                 .lockedItemNames = lockedItemNames,
                                 .lockedItemValues = lockedItemValues};
  COPYDATASTRUCT copyData{
      .dwData = LockSettingItemRequest::kCopyDataId, .cbData = sizeof(request), .lpData = &request};
  sendingLockRequest = true;
  ::SendMessageW(list, WM_COPYDATA, reinterpret_cast<WPARAM>(Window()),
                 reinterpret_cast<LPARAM>(&copyData));
  sendingLockRequest = false;
  lockingOthers = lock;
  return true;
}

bool CModeSettingItemListLine::LockThisSettingItem(bool lock, std::uint32_t value,
                                                   const wchar_t* lockingItemName) {
  locked = lock;
  if (lock) lockedValue = value;
  if (!AdjustSettingItemListLineControlForLockedStatus()) {
    return trace.Write(L"CModeSettingItemListLine::LockThisSettingItem", 812);
  }
  if (!AdjustSettingItemListLineControlForSettingItemValue(value, locked)) {
    return trace.Write(L"CModeSettingItemListLine::LockThisSettingItem", 815);
  }
  if (!lock) return true;

  CModeChangeResource resource;
  CWideString memo;
  if (!resource.GetModeSettingsDialogLockedSettingItemMemoBySpecificSettingItem(lockingItemName,
                                                                                &memo)) {
    return trace.Write(L"CModeSettingItemListLine::LockThisSettingItem", 823);
  }
  CWideString valueName;
  if (const UsableSettingItemValue* usable = FindUsableValue(value)) {
    valueName = usable->displayName;
  } else if (value == kDoNothing && !resource.GetSettingItemStatusName_DoNothing(&valueName)) {
    return trace.Write(L"CModeSettingItemListLine::LockThisSettingItem", 829);
  }
  ::SetDlgItemTextW(Window(), IDC_LOCKED_VALUE_MEMO, (valueName + memo).c_str());
  return true;
}

// --- Helpers -------------------------------------------------------------------------------------

bool CModeSettingItemListLine::ReadComboItemText(LRESULT item, const TracePoint& noLength,
                                                 const TracePoint& noText,
                                                 CWideString* text) const {
  const auto index = static_cast<WPARAM>(item);
  const LRESULT length = Ask(IDC_VALUE_COMBO, CB_GETLBTEXTLEN, index);
  if (length == CB_ERR) return trace.Write(noLength.function, noLength.line);
  std::vector<wchar_t> buffer(static_cast<std::size_t>(length) + 1);
  const LRESULT read =
      Ask(IDC_VALUE_COMBO, CB_GETLBTEXT, index, reinterpret_cast<LPARAM>(buffer.data()));
  if (read == CB_ERR) return trace.Write(noText.function, noText.line);
  *text = buffer.data();
  return true;
}

const UsableSettingItemValue* CModeSettingItemListLine::FindUsableValue(
    std::uint32_t value) const noexcept {
  const auto found =
      std::find_if(usableValues.rbegin(), usableValues.rend(),
                   [value](const UsableSettingItemValue& usable) { return usable.value == value; });
  return found != usableValues.rend() ? &*found : nullptr;
}

HWND CModeSettingItemListLine::Control(int control) const noexcept {
  return ::GetDlgItem(Window(), control);
}

LRESULT CModeSettingItemListLine::Ask(int control, UINT message, WPARAM wParam,
                                      LPARAM lParam) const noexcept {
  return ::SendDlgItemMessageW(Window(), control, message, wParam, lParam);
}

bool CModeSettingItemListLine::IsChecked(int button) const noexcept {
  return Ask(button, BM_GETCHECK) == BST_CHECKED;
}

void CModeSettingItemListLine::SetCheck(int button, bool checked) const noexcept {
  Ask(button, BM_SETCHECK, checked ? BST_CHECKED : BST_UNCHECKED);
}

void CModeSettingItemListLine::Show(int control, bool shown) const noexcept {
  ::ShowWindow(Control(control), shown ? SW_SHOW : SW_HIDE);
}

void CModeSettingItemListLine::Enable(int control, bool enabled) const noexcept {
  ::EnableWindow(Control(control), enabled ? TRUE : FALSE);
}

void CModeSettingItemListLine::PostToList(UINT message, WPARAM wParam) const noexcept {
  ::PostMessageW(::GetParent(Window()), message, wParam, 0);
}
