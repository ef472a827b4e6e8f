#pragma once

#include <windows.h>

#include "common/CWideString.h"
#include "common/dialog/CDialogBase.h"
#include "settings/design/CUIDesigner.h"
#include "trace/TraceLog.h"

/// The title above the lines of one setting group.
class CModeSettingItemListGroupTitle final : public CDialogBase {
 public:
  /// `groupName`: the group's key name in the configuration.
  explicit CModeSettingItemListGroupTitle(CWideString groupName);

 private:
  INT_PTR OnMessage(UINT message, WPARAM wParam, LPARAM lParam) override;
  void OnHandlerFailed(UINT message) noexcept override;

  INT_PTR OnInitDialog();
  INT_PTR OnDialogColor(HDC dc);
  INT_PTR OnStaticColor(HDC dc, HWND control);

  void StretchBackground() const noexcept;
  void ReportError() const noexcept;

  CWideString groupName;
  CUIDesigner designer;
  TraceLog trace;
};
