#pragma once

#include <velto/device_engine.h>

#include <cstddef>
#include <string_view>

/// The functions of an engine that is loaded, found one by one.
struct EngineFunctions {
  decltype(&VeltoDeviceEngine_CreateHandle) createHandle = nullptr;
  decltype(&VeltoDeviceEngine_DeleteHandle) deleteHandle = nullptr;
  decltype(&VeltoDeviceEngine_GetDeviceCount) getDeviceCount = nullptr;
  decltype(&VeltoDeviceEngine_SelectDevice) selectDevice = nullptr;
  decltype(&VeltoDeviceEngine_GetINT32Information) getINT32Information = nullptr;
  decltype(&VeltoDeviceEngine_RequestToSetINT32Information) requestToSetINT32Information = nullptr;

  /// Where the function of this name belongs; null for one that a change does not call.
  [[nodiscard]] void** SlotOf(std::string_view name) noexcept {
    if (name == "VeltoDeviceEngine_CreateHandle") return Slot(&createHandle);
    if (name == "VeltoDeviceEngine_DeleteHandle") return Slot(&deleteHandle);
    if (name == "VeltoDeviceEngine_GetDeviceCount") return Slot(&getDeviceCount);
    if (name == "VeltoDeviceEngine_SelectDevice") return Slot(&selectDevice);
    if (name == "VeltoDeviceEngine_GetINT32Information") return Slot(&getINT32Information);
    if (name == "VeltoDeviceEngine_RequestToSetINT32Information") {
      return Slot(&requestToSetINT32Information);
    }
    return nullptr;
  }

 private:
  template <class Function>
  static void** Slot(Function* function) noexcept {
    return reinterpret_cast<void**>(function);
  }
};
