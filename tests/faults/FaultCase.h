#pragma once

#include <cstdint>
#include <optional>
#include <string>

/// One run of one operation: which of its calls fails, and whether all after it do.
struct FaultCase {
  /// No call fails: asks only how many there are.
  static constexpr std::uint32_t kNone = 0;

  std::string operation;
  std::uint32_t call = 1;
  bool onwards = false;

  /// "change-on:17:once", as the command line and the list of regressions have it.
  [[nodiscard]] std::string Name() const;
  /// None for another text; without a mode both are meant, and `both` is set.
  [[nodiscard]] static std::optional<FaultCase> Parse(const std::string& name, bool* both);
};
