#pragma once

#include <windows.h>

#include <optional>
#include <string>
#include <vector>

#include "Change.h"
#include "FilesWatch.h"
#include "ModeLibrary.h"
#include "ModeMenu.h"
#include "Modes.h"
#include "NotificationIcon.h"
#include "Texts.h"
#include "TrayWindow.h"

/// The program: an icon that shows which mode is ON, and a menu that switches modes.
///
/// The rules of the library that shape it:
///   - It answers on one thread. All here happens on the thread that made the object.
///   - A change runs inside the message loop and is reported by a message, one change at a time. So
///     while `change` is there, no other one is begun, and Exit waits.
///   - The confirmation and the settings run loops of their own inside the call that shows them, in
///     which this object's functions are called as ever. While `isInLibrary` they must not call the
///     library again.
class TrayApplication final : private TrayEvents {
 public:
  /// `module` is the one with the resources. Throws a CommandError.
  TrayApplication(HINSTANCE module, const Texts& ownTexts);
  ~TrayApplication() = default;
  TrayApplication(const TrayApplication&) = delete;
  TrayApplication& operator=(const TrayApplication&) = delete;

 private:
  void OnMenuWanted(POINT place) override;
  void OnStartedAgain() override;
  void OnResult(WPARAM result) override;
  void OnPatienceOver() override;
  void OnFilesChanged() override;
  void OnTaskbarCreated() override;
  void OnCloseWanted() override;
  [[nodiscard]] bool OnSessionEndAsked() override;
  void OnSessionEnd(bool ends) override;
  void OnError(const CommandError& error) override;
  void OnOutOfMemory() override;

  /// Reads the modes anew and shows them.
  void Refresh();
  void ShowStatus();
  [[nodiscard]] std::wstring DescribeStatus() const;

  void Act(const ModeMenu::Choice& choice, const std::vector<Mode>& offered);
  void Switch(const Mode& mode);
  void ShowSettings(const Mode& mode);

  /// Whether a change was handed to the library, which has not told the result.
  [[nodiscard]] bool IsChanging() const noexcept { return change.has_value() && !isInLibrary; }
  void WaitForChange() const;
  void FinishChange();
  void Report(const Change& finished);

  /// At once, or when the change that runs is over.
  void Exit();
  static void ExitNow();

  void ShowMessage(const std::wstring& text, UINT boxIcon);

  HINSTANCE instance;
  const Texts& texts;
  // In this order, so that they go in the reverse one: the library reports to the window, and so
  // does the watch.
  TrayWindow window;
  std::optional<ModeLibrary> library;
  std::optional<FilesWatch> watch;
  NotificationIcon icon;

  std::vector<Mode> modes;
  std::optional<Change> change;
  UINT changedMode = 0;  // the index of the mode that it is about
  bool isInLibrary = false;
  bool isMenuOpen = false;
  bool isBoxOpen = false;
  bool exitIsWanted = false;
  bool sessionEnds = false;
};
