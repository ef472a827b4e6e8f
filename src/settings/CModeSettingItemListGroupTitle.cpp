#include "settings/CModeSettingItemListGroupTitle.h"

#include <utility>

#include "config/CModeChangeResource.h"
#include "resources/ControlIds.h"
#include "settings/ModeSettingsMessages.h"

CModeSettingItemListGroupTitle::CModeSettingItemListGroupTitle(CWideString groupName)
    : groupName(std::move(groupName)) {}

INT_PTR CModeSettingItemListGroupTitle::OnMessage(UINT message, WPARAM wParam, LPARAM lParam) {
  switch (message) {
    case WM_INITDIALOG:
      return OnInitDialog();
    case WM_CLOSE:
      ::DestroyWindow(Window());
      return Handled();
    case WM_CTLCOLORDLG:
      return OnDialogColor(reinterpret_cast<HDC>(wParam));
    case WM_CTLCOLORSTATIC:
      return OnStaticColor(reinterpret_cast<HDC>(wParam), reinterpret_cast<HWND>(lParam));
    default:
      return FALSE;
  }
}

void CModeSettingItemListGroupTitle::OnHandlerFailed(UINT /*message*/) noexcept {
  trace.Write(L"CModeSettingItemListGroupTitle::OnHandlerFailed", 31);
  ReportError();
}

INT_PTR CModeSettingItemListGroupTitle::OnInitDialog() {
  SetControlFont(IDC_GROUP_TITLE, designer.GetModeSettingsDialogFont(CUIDesigner::kGroupTitleFont));
  StretchBackground();
  CWideString displayName;
  if (!CModeChangeResource().GetSettingGroupName(groupName.c_str(), &displayName)) {
    trace.Write(L"CModeSettingItemListGroupTitle::OnInitDialog", 44);
    ReportError();
    return TRUE;
  }
  ::SetDlgItemTextW(Window(), IDC_GROUP_TITLE, displayName.c_str());
  return TRUE;
}

INT_PTR CModeSettingItemListGroupTitle::OnDialogColor(HDC dc) {
  return ControlColor(dc, designer.GetSettingItemListGroupTitleBackBrush());
}

INT_PTR CModeSettingItemListGroupTitle::OnStaticColor(HDC dc, HWND control) {
  ::SetBkMode(dc, TRANSPARENT);
  if (::GetDlgCtrlID(control) == IDC_GROUP_TITLE) {
    ::SetTextColor(dc, CUIDesigner::GetSettingItemListGroupTitleTextColor());
  }
  return reinterpret_cast<INT_PTR>(designer.GetSettingItemListGroupTitleBackBrush());
}

void CModeSettingItemListGroupTitle::StretchBackground() const noexcept {
  RECT client{};
  ::GetClientRect(Window(), &client);
  ::MoveWindow(::GetDlgItem(Window(), IDC_GROUP_TITLE_BACKGROUND), 0, 0, client.right,
               client.bottom, TRUE);
}

void CModeSettingItemListGroupTitle::ReportError() const noexcept {
  if (Window() == nullptr) return;
  ::PostMessageW(::GetParent(Window()), WM_MODESETTINGS_ERROR, kModeSettingsFailed, 0);
}
