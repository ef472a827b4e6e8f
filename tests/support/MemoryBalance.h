#pragma once

#include <cstdint>
#include <string>
#include <unordered_map>
#include <vector>

#include "support/Interposition.h"

/// Knows what the library took from the C runtime's heap and has not given back, from when it is
/// made on. What a library gives back through another module's runtime, such as an exception that a
/// test caught, has to be named by Forget.
class MemoryBalance {
 public:
  /// `interposition` has to outlive this object.
  explicit MemoryBalance(Interposition& interposition);
  MemoryBalance(const MemoryBalance&) = delete;
  MemoryBalance& operator=(const MemoryBalance&) = delete;

  /// A point in time for HeldSince.
  [[nodiscard]] std::uint64_t Now() const noexcept { return allocations; }
  /// What was taken since then and is still held, as "48 bytes of malloc, call 17".
  [[nodiscard]] std::vector<std::string> HeldSince(std::uint64_t then) const;

  /// The block that this address is in is somebody else's from now on.
  void ForgetBlockWith(const void* address);

 private:
  struct Block {
    const char* function;
    std::uint64_t size;
    std::uint64_t number;
  };

  void Take(const char* function, std::uint64_t address, std::uint64_t size);

  std::unordered_map<std::uint64_t, Block> blocks;  // by their addresses
  std::uint64_t allocations = 0;
};
