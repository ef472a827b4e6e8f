#pragma once

#include <cstddef>
#include <cstdint>
#include <iterator>
#include <random>

/// Random choices that are the same on each run and with each compiler; the distributions of the
/// standard library would not promise that.
class Random {
 public:
  explicit Random(std::uint64_t seed) : engine(seed) {}

  /// From 0 to `end` - 1; 0 where that range is empty.
  [[nodiscard]] std::size_t Below(std::size_t end) { return end != 0 ? engine() % end : 0; }
  [[nodiscard]] bool OneIn(std::size_t count) { return Below(count) == 0; }

  /// One element of a container that is not empty.
  template <class Container>
  [[nodiscard]] auto& Pick(Container& container) {
    return *(std::begin(container) + static_cast<std::ptrdiff_t>(Below(std::size(container))));
  }

 private:
  std::mt19937_64 engine;
};
