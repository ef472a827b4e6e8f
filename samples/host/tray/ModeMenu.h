#pragma once

#include <windows.h>

#include <memory>
#include <optional>
#include <type_traits>
#include <vector>

#include "Modes.h"
#include "Texts.h"

/// The menu of the icon: every mode with a check mark where it is ON, the settings of each, Exit.
///
/// Made anew each time it opens, from what the library says at that moment.
class ModeMenu {
 public:
  enum class Action { kSwitch, kSettings, kExit };

  /// What the user chose; `mode` is an index of `modes` and means nothing for kExit.
  struct Choice {
    Action action;
    std::size_t mode;
  };

  /// What can be chosen at all: while a change runs, nothing that would disturb it.
  struct Enabled {
    bool modes;
    bool exit;
  };

  ModeMenu(const std::vector<Mode>& modes, Enabled enabled, const Texts& texts);

  /// Shows the menu at a place of the screen until the user chose, or not. `window` owns it and has
  /// to be in the foreground: else the menu would stay when the user clicks elsewhere.
  [[nodiscard]] std::optional<Choice> Ask(HWND window, POINT place) const;

 private:
  struct MenuDeleter {
    void operator()(HMENU owned) const noexcept { ::DestroyMenu(owned); }
  };
  using UniqueMenu = std::unique_ptr<std::remove_pointer_t<HMENU>, MenuDeleter>;

  static UniqueMenu MakeMenu();

  UniqueMenu menu;
  std::size_t modeCount;
};
