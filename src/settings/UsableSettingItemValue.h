#pragma once

#include <cstdint>

#include "common/CWideString.h"

/// One value of a setting item that this machine can take.
struct UsableSettingItemValue {
  /// Stands beside the values: the mode leaves the item as it is.
  static constexpr std::uint32_t kDoNothing = 0xFFFFFFFF;

  /// The engine's own index of the value.
  std::uint32_t value = 0;
  /// In the user's language.
  CWideString displayName;
};
