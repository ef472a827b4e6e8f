#pragma once

#include <windows.h>

#include <deque>
#include <functional>
#include <string>

/// Plays the user of modal dialogs. Each step waits until its window stands on the screen and acts
/// on it then, from inside whatever message loop runs; steps come one after the other.
///
///     DialogRobot robot;
///     robot.Then("settings", DialogRobot::DialogWith(IDC_APPLY_BUTTON), [](HWND dialog) { ... });
///     robot.Then("error", DialogRobot::AnyMessageBox(), DialogRobot::Dismiss);
///     showSettingsDialog(handle, window);
///
/// A window that does not come fails the test and ends all dialogs. So does a step that is left.
class DialogRobot final {
 public:
  /// Finds a window; null where it does not stand yet.
  using Find = std::function<HWND()>;
  using Act = std::function<void(HWND window)>;

  DialogRobot();
  ~DialogRobot();
  DialogRobot(const DialogRobot&) = delete;
  DialogRobot& operator=(const DialogRobot&) = delete;

  DialogRobot& Then(std::string name, Find find, Act act);
  /// A step that waits for something else than a window.
  DialogRobot& Then(std::string name, std::function<bool()> isSo, std::function<void()> act);
  /// Steps that have not begun.
  [[nodiscard]] std::size_t Left() const noexcept { return steps.size(); }

  /// A visible dialog of this thread, not a message box, with this control of its own.
  [[nodiscard]] static Find DialogWith(int control);
  [[nodiscard]] static HWND FindDialogWith(int control);
  [[nodiscard]] static Find AnyMessageBox();
  [[nodiscard]] static HWND FindMessageBox();
  /// Ends a message box, as Enter does.
  static void Dismiss(HWND messageBox);

 private:
  struct Step {
    std::string name;
    std::function<bool()> tryToRun;
  };

  static void CALLBACK OnTimer(HWND window, UINT message, UINT_PTR timer, DWORD time);
  void RunSteps();
  void GiveUp();

  std::deque<Step> steps;
  ULONGLONG deadline = 0;
  UINT_PTR timer = 0;
};
