#pragma once

#include <windows.h>

#include <cstdint>

#include "common/CWideString.h"
#include "common/dialog/CDialogBase.h"
#include "settings/design/CUIDesigner.h"
#include "trace/TraceLog.h"

/// Switches a mode for the settings dialog and stands on the screen meanwhile, so that the user
/// sees that devices change and can't touch the settings.
///
/// The change is carried out by a change-mode window of the dialog's own. The user can't end the
/// dialog; it ends when the change has ended.
class CUpdatePcEnvironmentDialog final : public CDialogBase {
 public:
  static constexpr std::int32_t kCompleted = 10;
  /// The change failed, or a device engine ended it.
  static constexpr std::int32_t kChangeFailed = 12;
  /// The change could not be started.
  static constexpr std::int32_t kFailed = 100;
  /// The dialog never came up.
  static constexpr std::int32_t kNotShown = -1;

  CUpdatePcEnvironmentDialog(CWideString modeName, UINT modeStatus);
  ~CUpdatePcEnvironmentDialog();
  CUpdatePcEnvironmentDialog(const CUpdatePcEnvironmentDialog&) = delete;
  CUpdatePcEnvironmentDialog& operator=(const CUpdatePcEnvironmentDialog&) = delete;

  /// Returns how the dialog ended.
  [[nodiscard]] std::int32_t Run(HWND owner);

 private:
  INT_PTR OnMessage(UINT message, WPARAM wParam, LPARAM lParam) override;
  void OnHandlerFailed(UINT message) noexcept override;

  INT_PTR OnInitDialog();
  INT_PTR OnTimer(WPARAM timer);
  INT_PTR OnCompletionNotice(WPARAM changeResult);
  INT_PTR OnClose() noexcept;

  void StartMarquee() const noexcept;
  void ShowIcon() const noexcept;
  void ShowText(const CWideString& text) const noexcept;
  void CloseChangeModeWindow() noexcept;

  /// The dialog ends by a posted WM_CLOSE, never inside a handler.
  INT_PTR Close(std::int32_t endResult) noexcept;

  CUIDesigner designer;
  std::int32_t result = kCompleted;
  HWND changeModeWindow = nullptr;
  CWideString modeName;
  UINT modeStatus;
  TraceLog trace;
};
