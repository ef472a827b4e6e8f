#pragma once

// GoogleTest's place for what a platform has otherwise. Its own class is made of a std::mutex and a
// std::condition_variable, which this toolchain lacks.
#define GTEST_HAS_NOTIFICATION_ 1

#include <atomic>

extern "C" __declspec(dllimport) int __stdcall SwitchToThread();

namespace testing::internal {

/// Lets a thread that GoogleTest starts begin its work; it waits for no more than a moment.
class Notification {
 public:
  void Notify() noexcept { isNotified = true; }
  void WaitForNotification() noexcept {
    while (!isNotified) ::SwitchToThread();
  }

 private:
  std::atomic<bool> isNotified = false;
};

}  // namespace testing::internal
