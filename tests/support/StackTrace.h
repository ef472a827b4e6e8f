#pragma once

#include <windows.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>

/// Where another thread of this process is.
class StackTrace {
 public:
  /// Suspends the thread for a moment.
  [[nodiscard]] static StackTrace Of(HANDLE thread);

  /// A line per function, the innermost first: "  module.dll+0x1234 (Exported+0x34)". The name is
  /// that of the nearest exported function before the address.
  [[nodiscard]] std::string Describe() const;

 private:
  // The suspended thread may hold the heap's lock, so nothing may be allocated meanwhile.
  std::array<std::uintptr_t, 64> addresses{};
  std::size_t depth = 0;
};
