#pragma once

#include <windows.h>

namespace EngineCheck {

/// The user wants the check to end. Thrown where it is seen.
struct Stopped {};

/// Tells whether the user wants the check to end.
class StopSignal {
 public:
  /// `event` is set to stop; null where nothing is to be stopped.
  explicit StopSignal(HANDLE event) noexcept : event(event) {}

  [[nodiscard]] HANDLE Event() const noexcept { return event; }

  /// Throws Stopped.
  void Check() const {
    if (event != nullptr && ::WaitForSingleObject(event, 0) == WAIT_OBJECT_0) throw Stopped{};
  }

 private:
  HANDLE event;
};

}  // namespace EngineCheck
