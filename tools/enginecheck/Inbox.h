#pragma once

#include <windows.h>

#include <functional>
#include <memory>
#include <type_traits>
#include <vector>

#include "StopSignal.h"

namespace EngineCheck {

/// A message of an engine.
struct Arrival {
  HWND window = nullptr;  // null where it went to the thread
  UINT message = 0;
  WPARAM wParam = 0;
  LPARAM lParam = 0;
  bool wasPosted = true;  // else it came in another way than the library's messages do
};

/// Windows that stand for the library's, and what engines post to them and to this thread. Each
/// request is given a window of its own, so it is clear which request a message belongs to.
class Inbox {
 public:
  explicit Inbox(const StopSignal& stop);
  ~Inbox() = default;
  Inbox(const Inbox&) = delete;
  Inbox& operator=(const Inbox&) = delete;

  [[nodiscard]] HWND OpenWindow();
  void CloseWindow(HWND window);

  /// Takes messages until that comes true, or the time is over. Throws Stopped.
  [[nodiscard]] bool WaitUntil(const std::function<bool()>& condition, UINT milliseconds);
  /// Takes messages until nothing has come for a while.
  void WaitForQuiet();

  [[nodiscard]] const std::vector<Arrival>& Arrivals() const noexcept { return arrivals; }
  [[nodiscard]] std::vector<Arrival> ArrivalsAt(HWND window) const;

 private:
  struct WindowDeleter {
    void operator()(HWND owned) const noexcept { ::DestroyWindow(owned); }
  };
  using Window = std::unique_ptr<std::remove_pointer_t<HWND>, WindowDeleter>;

  static LRESULT CALLBACK Procedure(HWND window, UINT message, WPARAM wParam, LPARAM lParam);
  void Pump();

  const StopSignal& stop;
  std::vector<Window> windows;
  std::vector<Arrival> arrivals;
};

}  // namespace EngineCheck
