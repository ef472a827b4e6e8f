#pragma once

#include <windows.h>

#include <cstdint>

#include "common/CUniqueHandle.h"
#include "common/CWideString.h"
#include "trace/TraceLog.h"
#include "velto/device_engine.h"

/// One device engine: loads its DLL when it is first asked something, forwards the calls, and
/// closes and unloads it when destroyed.
///
/// Every operation returns true on success, and on failure traces, returns false and leaves its
/// output as it was. An engine that could not be opened is tried again by the next operation: it
/// may not have been ready. The helper belongs to whoever made it and stays on one thread.
class CDeviceEngineHelper {
 public:
  /// Nothing is loaded yet. `enginePath` is the engine's full path.
  explicit CDeviceEngineHelper(CWideString enginePath);
  ~CDeviceEngineHelper();
  CDeviceEngineHelper(const CDeviceEngineHelper&) = delete;
  CDeviceEngineHelper& operator=(const CDeviceEngineHelper&) = delete;

  bool GetDeviceCount(UINT* count);
  /// The library works with the first device only.
  bool SelectDevice();
  bool GetStringInformation(UINT identifier, UINT subIndex, CWideString* text);
  bool GetINT32INformation(UINT identifier, UINT subIndex, std::int32_t* value);
  /// The engine posts WM_CHANGEMODE_COMPLETIONNOTICE to `window` when the value is set.
  bool RequestToSetINT32Information(std::int32_t value, HWND window);

 private:
  bool Initialize();
  template <class Function>
  bool Resolve(const char* name, const TracePoint& missing, Function* function) const;

  CWideString enginePath;
  CUniqueModule module;
  VELTO_DEVICE_ENGINE_HANDLE engineHandle = nullptr;
  bool initialized = false;
  decltype(&VeltoDeviceEngine_CreateHandle) createHandle = nullptr;
  decltype(&VeltoDeviceEngine_DeleteHandle) deleteHandle = nullptr;
  decltype(&VeltoDeviceEngine_GetDeviceCount) getDeviceCount = nullptr;
  decltype(&VeltoDeviceEngine_SelectDevice) selectDevice = nullptr;
  decltype(&VeltoDeviceEngine_GetStringInformation) getStringInformation = nullptr;
  decltype(&VeltoDeviceEngine_GetINT32Information) getINT32Information = nullptr;
  decltype(&VeltoDeviceEngine_RequestToSetINT32Information) requestToSetINT32Information = nullptr;
  decltype(&VeltoDeviceEngine_RequestToNotifyChangeDeviceStatus) requestToNotifyChangeDeviceStatus =
      nullptr;
  TraceLog trace;
};
