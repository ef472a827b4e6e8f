#pragma once

#include "common/CWideString.h"

class CDeviceEngineHelper;

/// What a line of the setting item list is made from.
struct SettingItemListLineInitParam {
  /// Counts from 0 within the item's group; it only selects the stripe.
  int lineNumber = 0;
  /// The item's key name in the configuration.
  CWideString settingItemName;
  /// Not owned; it must outlive the line.
  CDeviceEngineHelper* engine = nullptr;
};
