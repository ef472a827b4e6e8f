#pragma once

#include <windows.h>

#include <cstdint>

#include "common/CWideString.h"
#include "common/dialog/CDialogBase.h"
#include "config/CModeChangeSettings.h"
#include "config/CModeChangeStatus.h"
#include "settings/design/CUIDesigner.h"
#include "trace/TraceLog.h"

/// Tells the user, before a mode change, which mode is switched and which value each setting item
/// will take, and lets the user cancel. A check box turns the dialog off for the future.
class CAnnounceModeIsChangedDialog final : public CDialogBase {
 public:
  static constexpr std::int32_t kConfirmed = 10;
  static constexpr std::int32_t kCancelled = 11;
  static constexpr std::int32_t kFailed = 100;

  CAnnounceModeIsChangedDialog(CWideString modeKeyName, UINT requestedStatus);

  /// How the dialog ended; to be read after RunModal.
  [[nodiscard]] std::int32_t EndCode() const noexcept { return endCode; }

 private:
  INT_PTR OnMessage(UINT message, WPARAM wParam, LPARAM lParam) override;
  void OnHandlerFailed(UINT message) noexcept override;

  INT_PTR OnInitDialog();
  INT_PTR OnCommand(WORD control);
  INT_PTR OnOK();
  INT_PTR OnControlColor(UINT message, HDC dc, HWND control);

  /// The dialog ends by a posted WM_CLOSE, never inside a handler.
  INT_PTR Close(std::int32_t code) noexcept;

  void SetControlFonts() const noexcept;
  bool SetControlText();
  /// One line for each setting item that the change gives a value, if there is any.
  bool GetChangedSettingItems(CWideString* lines, bool* any);
  /// The value that the item will take; negative when the change leaves it alone.
  bool GetNewValue(const CModeChangeSettings& settings, const CModeChangeStatus& statuses,
                   const CWideString& item, std::int32_t* value) const;

  CUIDesigner designer;
  std::int32_t endCode = kCancelled;
  CWideString modeKeyName;
  UINT requestedStatus;
  TraceLog trace;
};
