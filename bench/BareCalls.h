#pragma once

#include <windows.h>
// windows.h first: evntprov.h needs its types.
#include <evntprov.h>

#include <cstddef>
#include <functional>
#include <vector>

#include "support/Interposition.h"

/// The Windows calls that a query made, without the library around them: the same functions in the
/// same order, with the same texts, numbers and buffer sizes.
class BareCalls {
 public:
  /// Throws std::invalid_argument for a function that it does not know.
  explicit BareCalls(const std::vector<Call>& recorded);
  BareCalls(const BareCalls&) = delete;
  BareCalls& operator=(const BareCalls&) = delete;

  [[nodiscard]] std::size_t Count() const noexcept { return steps.size(); }
  void Run() const {
    for (const auto& step : steps) step();
  }

 private:
  [[nodiscard]] std::function<void()> MakeStep(const Call& call);
  void GiveBufferRoomFor(std::size_t characters);

  std::vector<std::function<void()>> steps;

  // What the calls write and hand on to the next ones.
  std::vector<wchar_t> buffer;
  WIN32_FIND_DATAW entry{};
  HANDLE file = INVALID_HANDLE_VALUE;
  HANDLE find = INVALID_HANDLE_VALUE;
  HMODULE module = nullptr;
  REGHANDLE registration = 0;
  int number = 0;
};
