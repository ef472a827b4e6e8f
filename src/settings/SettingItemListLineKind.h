#pragma once

#include <cstddef>

/// The controls by which the user chooses a value. Only the number of usable values decides.
enum class SettingItemListLineKind {
  kNone,  // there is no choice
  kRadioPair,
  kComboBox,
  kSlider,
};

[[nodiscard]] constexpr SettingItemListLineKind KindForUsableValues(std::size_t count) noexcept {
  constexpr std::size_t kFewestForRadioPair = 2;
  constexpr std::size_t kFewestForComboBox = 3;
  constexpr std::size_t kFewestForSlider = 4;
  if (count >= kFewestForSlider) return SettingItemListLineKind::kSlider;
  if (count >= kFewestForComboBox) return SettingItemListLineKind::kComboBox;
  if (count >= kFewestForRadioPair) return SettingItemListLineKind::kRadioPair;
  return SettingItemListLineKind::kNone;
}
