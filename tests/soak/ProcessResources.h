#pragma once

#include <cstddef>

/// What this process has of the system's at one moment, as the system itself counts it.
struct ProcessResources {
  std::size_t handles = 0;
  std::size_t gdiObjects = 0;
  std::size_t windows = 0;  // of this thread, children included
  std::size_t privateBytes = 0;

  [[nodiscard]] static ProcessResources Now();
};
