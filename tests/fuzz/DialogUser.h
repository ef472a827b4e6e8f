#pragma once

#include <windows.h>

#include <cstdint>
#include <vector>

#include "fuzz/Random.h"
#include "support/Interposition.h"

/// A user who sits before the library's dialogs: reads and answers the confirmation, walks through
/// the settings dialog and leaves it, saved or not, closes message boxes, and waits where there is
/// nothing to do but wait.
///
/// A modal loop tells the dialog's owner whenever it has nothing to do. The user acts then, from
/// inside of the loop.
class DialogUser {
 public:
  struct Statistics {
    std::uint64_t confirmations = 0;
    std::uint64_t settingsDialogs = 0;
    std::uint64_t settingsSaved = 0;  // left by OK
    std::uint64_t settingsCancelled = 0;
    std::uint64_t progressDialogs = 0;
    std::uint64_t messageBoxes = 0;
    std::uint64_t actions = 0;
  };

  /// `interposition` and `host`, a window that owns what would have no owner, have to outlive this
  /// object.
  DialogUser(Interposition& interposition, HWND host);
  ~DialogUser();
  DialogUser(const DialogUser&) = delete;
  DialogUser& operator=(const DialogUser&) = delete;

  /// Another user, with as many actions in the next settings dialog before it is left.
  void Begin(Random& newRandom, std::size_t actions);
  /// This user opened the settings dialog, used nothing in it and left without saving.
  [[nodiscard]] bool HasOnlyLooked() const noexcept { return hasOnlyLooked; }
  [[nodiscard]] const Statistics& Counts() const noexcept { return statistics; }

 private:
  class OwnerWatch;

  void OnIdle(HWND dialog);
  void OnConfirmation(HWND dialog);
  void OnSettings(HWND dialog);
  void OnProgress(HWND dialog);
  static LRESULT CALLBACK OnActivation(int code, WPARAM wParam, LPARAM lParam);
  void OnMessageBox(HWND box);

  void ActOnSettings(HWND dialog);
  void LeaveSettings(HWND dialog);
  void UseControl(HWND dialog, HWND control);
  void UseButton(HWND button);
  void UseComboBox(HWND combo);
  void UseSlider(HWND slider);
  void Press(HWND window, WPARAM key);

  // Hooks have no argument of one's own.
  static inline DialogUser* boxUser = nullptr;

  HWND host;
  Random* random = nullptr;
  std::size_t actionsLeft = 0;
  bool isLeaving = false;
  bool hasActed = false;
  bool hasOnlyLooked = false;
  HWND lastDialog = nullptr;
  Statistics statistics;
};
