#pragma once

#include "devices/CDeviceEngineHelper.h"

/// Whether a setting item makes sense on this machine: it has a device, the engine supports it, and
/// there are at least two values to choose from. False, traced, when the engine can't say.
bool IsSettingItemUsableInThisPC(CDeviceEngineHelper* helper, bool* usable);
