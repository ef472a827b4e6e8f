#pragma once

#include <windows.h>

#include <cstdint>

#include "common/CWideString.h"
#include "common/dialog/CDialogBase.h"
#include "config/CModeChangeResource.h"
#include "settings/CModeSettingsArea.h"
#include "settings/design/CUIDesigner.h"
#include "trace/TraceLog.h"

/// The settings dialog, in which the user decides what each mode does.
///
/// It is the frame around the mode settings area, which does the real work: a title, the buttons,
/// the error messages, and the code with which the dialog ends.
class CSettingsDialog final : public CDialogBase {
 public:
  static constexpr std::int32_t kClosed = 10;
  static constexpr std::int32_t kSavingFailed = 11;
  /// The mode that is ON could not take the new settings over.
  static constexpr std::int32_t kUpdatingFailed = 12;
  static constexpr std::int32_t kFailed = 100;

  /// `startModeName`: key name of the mode to show first.
  explicit CSettingsDialog(CWideString startModeName);

  /// How the dialog ended; to be read after RunModal. kClosed where it never came up.
  [[nodiscard]] std::int32_t EndCode() const noexcept { return endCode; }

 private:
  INT_PTR OnMessage(UINT message, WPARAM wParam, LPARAM lParam) override;
  void OnHandlerFailed(UINT message) noexcept override;

  INT_PTR OnInitDialog();
  INT_PTR OnCommand(WORD control);
  INT_PTR OnOK();
  INT_PTR OnApply();
  INT_PTR OnErrorOccured(WPARAM code);
  INT_PTR OnMouseWheel(WPARAM wParam, LPARAM lParam);
  INT_PTR OnControlColor(UINT message, HDC dc, HWND control);
  INT_PTR OnClose() noexcept;

  bool MakeControls();
  void SetControlFonts() const noexcept;
  bool SetControlText();
  bool CreateModeSettingsArea();
  void EnableApply(bool enabled) const noexcept;
  /// The dialog ends by a posted WM_CLOSE, never inside a handler.
  void Close() noexcept;

  // Saving
  [[nodiscard]] std::int32_t SaveSettings();
  /// Whether a child failed meanwhile, which ends the dialog whatever the save's result.
  bool EndsWithError() noexcept;

  // Message boxes; false where the user was not told.
  bool ShowErrorMessageBoxThatUnknownErrorOccured();
  bool ShowErrorMessageBoxThatFailedSeveSettings();
  bool ShowErrorMessageBoxThatFailedUpdatePcEnvironment();
  [[nodiscard]] bool ShowError(bool (CModeChangeResource::*getText)(CWideString* text),
                               const TracePoint& noApplicationName, const TracePoint& noText);

  CUIDesigner designer;
  std::int32_t endCode = kClosed;
  bool forwardsWheel = false;
  bool isBeingMade = false;
  bool isSaving = false;
  bool isErrorShown = false;
  bool hasFailed = false;
  bool isClosing = false;
  bool isToClose = false;  // somebody closed the dialog while it could not be closed
  CModeSettingsArea area;
  TraceLog trace;
};
