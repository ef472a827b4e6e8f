#pragma once

#include <windows.h>

#include <cstdint>
#include <deque>
#include <functional>
#include <string>
#include <vector>

#include "support/Interposition.h"

/// The one who sits before the machine while a modal dialog of the library stands on the screen:
/// does what was planned, one step whenever the dialog has nothing to do, and then closes the
/// dialog, with some patience where a call failed that closing takes.
///
/// Where nothing helps as long as calls fail onwards, the calls work again; a dialog that can't be
/// closed even then is a problem, and is ended from outside.
class User {
 public:
  using Step = std::function<void(HWND dialog)>;

  explicit User(Interposition& interposition) : interposition(interposition) {}

  static constexpr int kNoButton = 0;

  /// What to do with the next dialogs, and the button that closes them in the end; kNoButton for a
  /// dialog that the user can't close.
  void Plan(std::vector<Step> newSteps, int closingButton);

  /// Is told by the dialog's owner (WM_ENTERIDLE).
  void OnIdle(HWND dialog);
  /// Is called from time to time, inside of modal loops too.
  void OnTick();

  /// Message boxes that were answered since the last plan.
  int messageBoxes = 0;
  /// Told of what went wrong.
  std::function<void(const std::string&)> report;

  // --- Steps
  /// Presses a button of a dialog, or of one of its children.
  [[nodiscard]] static Step Press(int control);
  [[nodiscard]] static Step PressInRow(std::size_t row, int control);
  /// Ticks a check box, unless it is ticked.
  [[nodiscard]] static Step TickInRow(std::size_t row, int control);
  [[nodiscard]] static Step ChooseInCombo(std::size_t row, int item);
  [[nodiscard]] static Step MoveSlider(std::size_t row, int position);
  [[nodiscard]] static Step SelectMode(int item);

 private:
  [[nodiscard]] bool LiftFaults();
  void EndDialogs(const std::string& problem);

  Interposition& interposition;
  std::deque<Step> steps;
  int closingControl = kNoButton;
  int closingTries = 0;
  int quietTicks = 0;
  std::uint64_t callsAtLastTick = 0;
  bool areFaultsLifted = false;
};
