#pragma once

#include <algorithm>
#include <chrono>
#include <cstddef>
#include <iterator>
#include <vector>

/// What the benchmarks share: how long something takes, and what is usual among several times.
namespace Measure {

/// The time of one run, on average over as many as are asked for.
template <class Run>
double Microseconds(std::size_t times, const Run& run) {
  const auto begin = std::chrono::steady_clock::now();
  for (std::size_t i = 0; i < times; ++i) run();
  const std::chrono::duration<double, std::micro> duration =
      std::chrono::steady_clock::now() - begin;
  return duration.count() / static_cast<double>(times);
}

inline double Median(std::vector<double> values) {
  const auto middle = values.begin() + std::ssize(values) / 2;
  std::nth_element(values.begin(), middle, values.end());
  return *middle;
}

}  // namespace Measure
