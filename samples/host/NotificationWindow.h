#pragma once

#include <windows.h>

#include <memory>
#include <optional>
#include <type_traits>

/// The hidden window that the library tells the result of a change, and that owns the confirmation
/// shown before it. It is a top-level window: a message-only window can't own a dialog.
class NotificationWindow {
 public:
  /// What the library posts to the window.
  static constexpr UINT kMessage = WM_APP;

  /// Throws a CommandError when there is no window to be had.
  NotificationWindow();
  ~NotificationWindow() = default;
  NotificationWindow(const NotificationWindow&) = delete;
  NotificationWindow& operator=(const NotificationWindow&) = delete;

  [[nodiscard]] HWND Get() const noexcept { return window.get(); }

  /// Runs the message loop, in which the library does its work, until the result is there; none
  /// when the time is over first.
  [[nodiscard]] std::optional<WPARAM> WaitForResult(UINT seconds);

 private:
  struct WindowDeleter {
    void operator()(HWND owned) const noexcept { ::DestroyWindow(owned); }
  };

  static LRESULT CALLBACK Procedure(HWND window, UINT message, WPARAM wParam, LPARAM lParam);

  std::optional<WPARAM> result;
  bool timeIsOver = false;
  std::unique_ptr<std::remove_pointer_t<HWND>, WindowDeleter> window;
};
