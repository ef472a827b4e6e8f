#pragma once

#include <memory>
#include <vector>

#include "common/CWideString.h"
#include "devices/CDeviceEngineHelper.h"

/// A setting group with those of its items that the machine can use, in their order.
struct SettingGroupInformation {
  CWideString groupName;
  std::vector<CWideString> itemNames;
  std::vector<std::unique_ptr<CDeviceEngineHelper>> engines;  // of the items at the same places
};
