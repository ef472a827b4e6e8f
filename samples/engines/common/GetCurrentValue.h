#pragma once

#include "EngineTable.h"

/// Whether the engine has a value of this number.
[[nodiscard]] inline bool IsValue(INT32 value) noexcept {
  return value >= 0 && value < kEngine.valueCount;
}

/// The value that the device has now; on failure `value` is untouched.
[[nodiscard]] inline bool GetCurrentValue(INT32* value) noexcept {
  INT32 current = -1;
  if (!kEngine.getCurrent(&current) || !IsValue(current)) return false;
  *value = current;
  return true;
}
