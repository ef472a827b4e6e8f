#include "faults/FaultCase.h"

#include <charconv>

std::string FaultCase::Name() const {
  return operation + ":" + std::to_string(call) + (onwards ? ":onward" : ":once");
}

std::optional<FaultCase> FaultCase::Parse(const std::string& name, bool* both) {
  const std::size_t first = name.find(':');
  if (first == std::string::npos) return std::nullopt;
  const std::size_t second = name.find(':', first + 1);
  FaultCase parsed;
  parsed.operation = name.substr(0, first);
  const std::string number = name.substr(first + 1, second - first - 1);
  const auto [end, error] =
      std::from_chars(number.data(), number.data() + number.size(), parsed.call);
  if (error != std::errc() || end != number.data() + number.size()) {
    return std::nullopt;
  }
  const std::string mode = second == std::string::npos ? "" : name.substr(second + 1);
  if (!mode.empty() && mode != "once" && mode != "onward") return std::nullopt;
  parsed.onwards = mode == "onward";
  *both = mode.empty();
  return parsed;
}
