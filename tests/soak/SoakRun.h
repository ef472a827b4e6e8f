#pragma once

#include <cstddef>

/// Changes and settings dialogs by the thousands, in blocks, with a look at the process after each.
namespace SoakRun {

/// Each number is divided into so many blocks of rounds of four.
constexpr std::size_t kBlocks = 5;
constexpr std::size_t kOperationsPerRound = 4;
constexpr std::size_t kMultiple = kBlocks * kOperationsPerRound;

/// Prints a table and each limit that was broken; true if none was. Throws std::exception when a
/// change or a dialog fails.
[[nodiscard]] bool Run(std::size_t changes, std::size_t dialogs);

}  // namespace SoakRun
