#pragma once

#include <windows.h>

#include <cstddef>
#include <cstdint>
#include <vector>

#include "common/CWideString.h"

/// A line's request to the list, sent as WM_COPYDATA: hold other items at fixed values, or release
/// them. The n-th item is held at the n-th value.
///
/// It holds pointers, so it means something only within the process, and the receiver copies it
/// before it answers.
struct LockSettingItemRequest {
  /// The COPYDATASTRUCT's dwData.
  static constexpr ULONG_PTR kCopyDataId = 1;

  bool lock = false;
  CWideString lockingItemName;
  std::vector<CWideString> lockedItemNames;
  std::vector<std::uint32_t> lockedItemValues;
};

static_assert(sizeof(LockSettingItemRequest) == 64);
static_assert(offsetof(LockSettingItemRequest, lock) == 0);
static_assert(offsetof(LockSettingItemRequest, lockingItemName) == 8);
static_assert(offsetof(LockSettingItemRequest, lockedItemNames) == 16);
static_assert(offsetof(LockSettingItemRequest, lockedItemValues) == 40);
