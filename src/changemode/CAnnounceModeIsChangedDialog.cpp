#include "changemode/CAnnounceModeIsChangedDialog.h"

#include <cwchar>
#include <utility>
#include <vector>

#include "config/CModeChangeConfig.h"
#include "config/CModeChangeResource.h"
#include "devices/CDeviceEngineHelper.h"
#include "devices/IsSettingItemUsableInThisPC.h"
#include "resources/ControlIds.h"

namespace {

struct ControlFont {
  int control;
  CUIDesigner::AnnounceDialogFont font;
};

constexpr ControlFont kControlFonts[] = {
    {IDC_TITLE_TEXT, CUIDesigner::kAnnounceTitleFont},
    {IDC_ANNOUNCE_DESCRIPTION, CUIDesigner::kDescriptionFont},
    {IDC_ANNOUNCE_DETAIL, CUIDesigner::kDetailInformationFont},
    {IDC_ANNOUNCE_NOT_SHOW, CUIDesigner::kNotShowThisDialogFont},
    {IDC_OK_BUTTON, CUIDesigner::kAnnounceButtonFont},
    {IDC_CANCEL_BUTTON, CUIDesigner::kAnnounceButtonFont},
};

bool IsLineBreak(wchar_t character) noexcept {
  return character == L'\r' || character == L'\n';
}

CWideString StripLineBreaks(const CWideString& text) {
  const wchar_t* begin = text.c_str();
  const wchar_t* end = begin + text.length();
  while (begin != end && IsLineBreak(*begin)) ++begin;
  while (begin != end && IsLineBreak(end[-1])) --end;
  return {begin, static_cast<std::size_t>(end - begin)};
}

/// A multi-line edit control answers Esc by closing its dialog. Here only the buttons do.
LRESULT CALLBACK DetailProc(HWND edit, UINT message, WPARAM wParam, LPARAM lParam) noexcept {
  if (message == WM_KEYDOWN && wParam == VK_ESCAPE) return 0;
  const auto original = reinterpret_cast<WNDPROC>(::GetWindowLongPtrW(edit, GWLP_USERDATA));
  return ::CallWindowProcW(original, edit, message, wParam, lParam);
}

void KeepEscFromClosing(HWND edit) noexcept {
  const LONG_PTR original = ::GetWindowLongPtrW(edit, GWLP_WNDPROC);
  ::SetWindowLongPtrW(edit, GWLP_USERDATA, original);
  ::SetWindowLongPtrW(edit, GWLP_WNDPROC, reinterpret_cast<LONG_PTR>(&DetailProc));
}

}  // namespace

CAnnounceModeIsChangedDialog::CAnnounceModeIsChangedDialog(CWideString modeKeyName,
                                                           UINT requestedStatus)
    : modeKeyName(std::move(modeKeyName)), requestedStatus(requestedStatus) {}

INT_PTR CAnnounceModeIsChangedDialog::OnMessage(UINT message, WPARAM wParam, LPARAM lParam) {
  switch (message) {
    case WM_INITDIALOG:
      return OnInitDialog();
    case WM_COMMAND:
      return OnCommand(LOWORD(wParam));
    case WM_CLOSE:
      EndModal(0);
      return TRUE;
    case WM_CTLCOLORSTATIC:
    case WM_CTLCOLORDLG:
    case WM_CTLCOLORBTN:
      return OnControlColor(message, reinterpret_cast<HDC>(wParam), reinterpret_cast<HWND>(lParam));
    default:
      return FALSE;
  }
}

void CAnnounceModeIsChangedDialog::OnHandlerFailed(UINT /*message*/) noexcept {
  Close(kFailed);
}

INT_PTR CAnnounceModeIsChangedDialog::OnInitDialog() {
  SetControlFonts();
  KeepEscFromClosing(::GetDlgItem(Window(), IDC_ANNOUNCE_DETAIL));
  if (!SetControlText()) {
    trace.Write(L"CAnnounceModeIsChangedDialog::OnInitDialog", 59);
    return Close(kFailed);
  }
  ::SendDlgItemMessageW(Window(), IDC_ANNOUNCE_NOT_SHOW, BM_SETCHECK, BST_UNCHECKED, 0);
  return TRUE;
}

INT_PTR CAnnounceModeIsChangedDialog::OnCommand(WORD control) {
  switch (control) {
    case IDC_OK_BUTTON:
      return OnOK();
    case IDC_CANCEL_BUTTON:
      return Close(kCancelled);
    default:
      return FALSE;
  }
}

INT_PTR CAnnounceModeIsChangedDialog::OnOK() {
  const bool notShowAgain =
      ::SendDlgItemMessageW(Window(), IDC_ANNOUNCE_NOT_SHOW, BM_GETCHECK, 0, 0) == BST_CHECKED;
  // A choice that can't be kept is a failure, not a confirmation: the user would be asked again.
  if (notShowAgain && !CModeChangeSettings().SaveAnnounceModeIsChangedDialogDisplaySetting(false)) {
    return Close(kFailed);
  }
  return Close(kConfirmed);
}

INT_PTR CAnnounceModeIsChangedDialog::OnControlColor(UINT message, HDC dc, HWND control) {
  const int id = ::GetDlgCtrlID(control);
  const bool isTitle =
      message == WM_CTLCOLORSTATIC && (id == IDC_TITLE_BAND || id == IDC_TITLE_TEXT);
  return ControlColor(dc, isTitle ? designer.GetTitleBackBrush() : designer.GetDialogBackBrush());
}

INT_PTR CAnnounceModeIsChangedDialog::Close(std::int32_t code) noexcept {
  endCode = code;
  CloseLater();
  return TRUE;
}

void CAnnounceModeIsChangedDialog::SetControlFonts() const noexcept {
  for (const ControlFont& use : kControlFonts) {
    SetControlFont(use.control, designer.GetAnnounceDialogFont(use.font));
  }
}

bool CAnnounceModeIsChangedDialog::SetControlText() {
  CModeChangeResource resource;
  CWideString applicationName;
  if (!resource.GetApplicationName(&applicationName)) {
    return trace.Write(L"CAnnounceModeIsChangedDialog::SetControlText", 211);
  }
  ::SetWindowTextW(Window(), applicationName.c_str());
  ::SetDlgItemTextW(Window(), IDC_TITLE_TEXT, applicationName.c_str());

  CWideString description;
  if (!resource.GetAnnounceModeIsChangedDialogDescription(&description)) {
    return trace.Write(L"CAnnounceModeIsChangedDialog::SetControlText", 221);
  }
  ::SetDlgItemTextW(Window(), IDC_ANNOUNCE_DESCRIPTION, description.c_str());

  CWideString modeName;
  if (!resource.GetModeName(modeKeyName.c_str(), &modeName)) {
    return trace.Write(L"CAnnounceModeIsChangedDialog::SetControlText", 229, modeKeyName.c_str());
  }
  CWideString detail;
  if (!resource.GetAnnounceModeIsChangedDialogDetailInformation(requestedStatus, &detail)) {
    return trace.Write(L"CAnnounceModeIsChangedDialog::SetControlText", 238);
  }
  detail.ReplaceAll(L"%MODE%", modeName);

  CWideString changedItems;
  bool anyChanged = false;
  if (!GetChangedSettingItems(&changedItems, &anyChanged)) return false;
  if (!anyChanged) {
    if (!resource.GetAnnounceModeIsChangedDialogDetailInformationNoChangedSettingItem(
            &changedItems)) {
      return trace.Write(L"CAnnounceModeIsChangedDialog::SetControlText", 376);
    }
    changedItems.ReplaceAll(L"%MODE%", modeName);
    // Once more than the other texts: a mode's name may bring line breaks of its own.
    changedItems.ReplaceAll(L"\\n", L"\r\n");
  }
  detail.ReplaceAll(L"%CHENGED_SETTINGITEM_INFORMATION%", changedItems);
  ::SetDlgItemTextW(Window(), IDC_ANNOUNCE_DETAIL, detail.c_str());

  CWideString notShowThisDialog;
  if (!resource.GetAnnounceModeIsChangedDialogNotShowThisDialog(&notShowThisDialog)) {
    return trace.Write(L"CAnnounceModeIsChangedDialog::SetControlText", 403);
  }
  ::SetDlgItemTextW(Window(), IDC_ANNOUNCE_NOT_SHOW, notShowThisDialog.c_str());

  CWideString ok;
  if (!resource.GetAnnounceModeIsChangedDialoOKButtonName(&ok)) {
    return trace.Write(L"CAnnounceModeIsChangedDialog::SetControlText", 411);
  }
  ::SetDlgItemTextW(Window(), IDC_OK_BUTTON, ok.c_str());

  CWideString cancel;
  if (!resource.GetAnnounceModeIsChangedDialoCancelButtonName(&cancel)) {
    return trace.Write(L"CAnnounceModeIsChangedDialog::SetControlText", 419);
  }
  ::SetDlgItemTextW(Window(), IDC_CANCEL_BUTTON, cancel.c_str());
  return true;
}

bool CAnnounceModeIsChangedDialog::GetChangedSettingItems(CWideString* lines, bool* any) {
  CModeChangeResource resource;
  CWideString lineTemplate;
  if (!resource.GetAnnounceModeIsChangedDialogDetailInformationChangedSettingItem(&lineTemplate)) {
    return trace.Write(L"CAnnounceModeIsChangedDialog::SetControlText", 249);
  }
  const CModeChangeConfig config;
  std::vector<CWideString> items;
  if (!config.GetAllSettingItemList(&items)) {
    return trace.Write(L"CAnnounceModeIsChangedDialog::SetControlText", 257);
  }
  const CModeChangeSettings settings;
  const CModeChangeStatus statuses;
  CWideString list;
  bool anyListed = false;
  for (const CWideString& item : items) {
    CWideString enginePath;
    if (!config.GetSettingItemEnginePath(item.c_str(), &enginePath)) {
      return trace.Write(L"CAnnounceModeIsChangedDialog::SetControlText", 276, item.c_str());
    }
    std::int32_t value = CModeChangeSettings::kDoNothing;
    if (!GetNewValue(settings, statuses, item, &value)) return false;
    if (value < 0) continue;

    CDeviceEngineHelper engine(enginePath);
    bool usable = false;
    if (!IsSettingItemUsableInThisPC(&engine, &usable)) {
      return trace.Write(L"CAnnounceModeIsChangedDialog::SetControlText", 316, item.c_str());
    }
    if (!usable) continue;

    CWideString itemKey;
    if (!engine.GetStringInformation(VELTO_ENGINE_STRING_ITEM_KEY, 0, &itemKey)) {
      return trace.Write(L"CAnnounceModeIsChangedDialog::SetControlText", 331);
    }
    CWideString itemName;
    if (!resource.GetSettingItemStringResource(itemKey.c_str(), &itemName)) {
      return trace.Write(L"CAnnounceModeIsChangedDialog::SetControlText", 340, itemKey.c_str());
    }
    CWideString valueKey;
    if (!engine.GetStringInformation(VELTO_ENGINE_STRING_VALUE_KEY, static_cast<UINT>(value),
                                     &valueKey)) {
      return trace.Write(L"CAnnounceModeIsChangedDialog::SetControlText", 349);
    }
    CWideString valueName;
    if (!resource.GetSettingItemStringResource(valueKey.c_str(), &valueName)) {
      return trace.Write(L"CAnnounceModeIsChangedDialog::SetControlText", 358, valueKey.c_str());
    }
    CWideString line = lineTemplate;
    line.ReplaceAll(L"%SETTINGITEM%", itemName);
    line.ReplaceAll(L"%SETTINGITEMVALUE%", valueName);
    list += line;
    list += L"\r\n";
    anyListed = true;
  }
  *lines = StripLineBreaks(list);
  *any = anyListed;
  return true;
}

bool CAnnounceModeIsChangedDialog::GetNewValue(const CModeChangeSettings& settings,
                                               const CModeChangeStatus& statuses,
                                               const CWideString& item, std::int32_t* value) const {
  constexpr UINT kOn = 1;
  if (requestedStatus == kOn) {
    if (!settings.GetSettingItemValue(modeKeyName.c_str(), item.c_str(), value)) {
      return trace.Write(L"CAnnounceModeIsChangedDialog::SetControlText", 289, modeKeyName.c_str());
    }
  } else if (!statuses.GetNormalEnvironmentSetting(item.c_str(), value)) {
    return trace.Write(L"CAnnounceModeIsChangedDialog::SetControlText", 301);
  }
  return true;
}
