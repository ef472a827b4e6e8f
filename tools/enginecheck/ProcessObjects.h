#pragma once

#include <cstddef>
#include <optional>

namespace EngineCheck {

/// How much this process has of what an engine could leave behind. Where the system does not count
/// something there is no number.
struct ProcessObjects {
  std::size_t threads = 0;
  std::size_t handles = 0;
  std::size_t windows = 0;
  std::optional<std::size_t> gdiObjects;

  [[nodiscard]] static ProcessObjects Count();
  [[nodiscard]] static std::size_t CountThreads();
};

}  // namespace EngineCheck
