#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include "support/Interposition.h"

/// Knows what the library took from Windows and has not given back: files, searches, registry keys,
/// modules, fonts and the like. It counts from when it is made, at the import table, because the
/// system's own counters can't be relied on everywhere.
class HandleBalance {
 public:
  /// `interposition` has to outlive this object.
  explicit HandleBalance(Interposition& interposition);
  HandleBalance(const HandleBalance&) = delete;
  HandleBalance& operator=(const HandleBalance&) = delete;

  /// What is still held, as "CreateFileW 0x44 "C:\\file.ini"".
  [[nodiscard]] std::vector<std::string> Held() const;
  /// What was given back without being held since this object was made.
  [[nodiscard]] const std::vector<std::string>& ReleasedUnheld() const noexcept {
    return releasedUnheld;
  }

 private:
  // By the function that gives back, as handles of different kinds may have the same number.
  using Key = std::pair<std::string, std::uint64_t>;

  std::map<Key, std::vector<std::string>> held;
  std::vector<std::string> releasedUnheld;
};
