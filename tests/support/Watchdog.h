#pragma once

#include <windows.h>

#include <atomic>
#include <cstdint>
#include <string>

#include "support/Interposition.h"

/// Ends the process when a test takes too long, after saying on the standard error which test it
/// was, what the library called last and where the test's thread is.
///
/// Made on the test's own thread. VELTO_WATCHDOG_SECONDS sets another patience than 30 seconds.
class Watchdog {
 public:
  static constexpr std::uint32_t kExitCode = 93;

  /// `interposition` has to outlive this object.
  explicit Watchdog(const Interposition& interposition);
  ~Watchdog();
  Watchdog(const Watchdog&) = delete;
  Watchdog& operator=(const Watchdog&) = delete;

  /// Counts anew from now, for a test that needs longer.
  void SetPatience(std::uint32_t seconds);

 private:
  static DWORD WINAPI Run(void* watchdog);
  void Watch();
  void Report(std::uint32_t seconds) const;

  const Interposition& interposition;
  std::string testName;
  std::atomic<std::uint32_t> patienceInSeconds;
  std::atomic<bool> isOver = false;
  HANDLE watchedThread = nullptr;
  HANDLE wakeUp = nullptr;
  HANDLE thread = nullptr;
};
