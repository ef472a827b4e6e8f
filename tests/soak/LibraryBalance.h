#pragma once

#include <cstddef>
#include <cstdint>

#include "support/HandleBalance.h"
#include "support/Interposition.h"

/// What the library took and has not given back, counted at its import table from when this object
/// is made.
class LibraryBalance {
 public:
  /// `interposition` has to outlive this object.
  explicit LibraryBalance(Interposition& interposition);
  LibraryBalance(const LibraryBalance&) = delete;
  LibraryBalance& operator=(const LibraryBalance&) = delete;

  /// Blocks of the C runtime's heap.
  [[nodiscard]] std::int64_t HeapBlocks() const noexcept { return heapBlocks; }
  /// Files, modules, registry keys, fonts, brushes, hooks, window properties, trace registrations.
  [[nodiscard]] std::int64_t Held() const;
  /// That all this was counted at all.
  [[nodiscard]] std::uint64_t TakenEver() const;

  /// Failures that the library traced, and message boxes that it showed: they are answered at once.
  [[nodiscard]] std::uint64_t Failures() const;

 private:
  void CountHeapBlocks();
  void CountProperties();
  void AnswerMessageBoxes();

  Interposition& interposition;
  HandleBalance handles;
  std::int64_t heapBlocks = 0;
  std::int64_t properties = 0;
};
