#include "devices/IsSettingItemUsableInThisPC.h"

#include "trace/TraceLog.h"

bool IsSettingItemUsableInThisPC(CDeviceEngineHelper* helper, bool* usable) {
  if (helper == nullptr || usable == nullptr) {
    return TraceLog().Write(L"IsSettingItemUsableInThisPC", 29);
  }
  UINT deviceCount = 0;
  if (!helper->GetDeviceCount(&deviceCount)) {
    return TraceLog().Write(L"IsSettingItemUsableInThisPC", 36);
  }
  if (deviceCount == 0) {
    *usable = false;
    return true;
  }
  if (!helper->SelectDevice()) return TraceLog().Write(L"IsSettingItemUsableInThisPC", 50);

  std::int32_t supported = 1;
  if (!helper->GetINT32INformation(VELTO_ENGINE_INT32_SUPPORTED, 0, &supported)) {
    return TraceLog().Write(L"IsSettingItemUsableInThisPC", 58);
  }
  if (supported != 1) {
    *usable = false;
    return true;
  }
  std::int32_t valueCount = 0;
  if (!helper->GetINT32INformation(VELTO_ENGINE_INT32_VALUE_COUNT, 0, &valueCount)) {
    return TraceLog().Write(L"IsSettingItemUsableInThisPC", 73);
  }
  std::int32_t availableCount = 0;
  for (std::int32_t value = 0; value < valueCount; ++value) {
    std::int32_t available = 1;
    if (!helper->GetINT32INformation(VELTO_ENGINE_INT32_VALUE_AVAILABLE, static_cast<UINT>(value),
                                     &available)) {
      return TraceLog().WriteUInt(L"IsSettingItemUsableInThisPC", 84,
                                  static_cast<std::uint32_t>(value));
    }
    if (available == 1) ++availableCount;
  }
  *usable = availableCount >= 2;
  return true;
}
