#pragma once

#include <cstdint>

/// The screen's logical pixels per inch; 0 until set. Set once, when the library is loaded, and
/// used for the height of every font: the only value that the library shares between handles.
namespace ScreenDpi {

void Set(std::int32_t pixelsPerInch) noexcept;
[[nodiscard]] std::int32_t Get() noexcept;

}  // namespace ScreenDpi
