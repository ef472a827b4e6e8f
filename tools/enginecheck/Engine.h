#pragma once

#include <velto/device_engine.h>

#include <string>
#include <vector>

#include "CallLog.h"
#include "common/CUniqueHandle.h"

namespace EngineCheck {

/// An engine's DLL and the handle that it gives, called as the library calls them.
class Engine {
 public:
  Engine(std::wstring path, CallLog& calls);
  ~Engine();
  Engine(const Engine&) = delete;
  Engine& operator=(const Engine&) = delete;

  /// 0, or the error.
  [[nodiscard]] DWORD Load();
  /// The required functions that the DLL does not export; the others can be called.
  [[nodiscard]] std::vector<std::wstring> FindFunctions();
  [[nodiscard]] bool HasOptionalFunction() const;

  [[nodiscard]] BOOL CreateHandle();
  [[nodiscard]] VELTO_DEVICE_ENGINE_HANDLE Handle() const noexcept { return handle; }
  [[nodiscard]] BOOL GetDeviceCount(UINT* count);
  [[nodiscard]] BOOL SelectDevice(UINT index);
  [[nodiscard]] BOOL GetStringInformation(UINT identifier, UINT subIndex, UINT* length,
                                          WCHAR* buffer);
  [[nodiscard]] BOOL GetINT32Information(UINT identifier, UINT subIndex, INT32* value);
  [[nodiscard]] BOOL RequestToSet(UINT identifier, UINT subIndex, INT32 value, HWND window,
                                  UINT message);

  /// Deletes the handle and frees the DLL, as far as they are there.
  void Close();

  [[nodiscard]] const std::wstring& Path() const noexcept { return path; }
  /// Whether the DLL is in this process, whoever holds it.
  [[nodiscard]] static bool IsLoaded(const std::wstring& path);

 private:
  std::wstring path;
  CallLog& calls;
  CUniqueModule module;
  VELTO_DEVICE_ENGINE_HANDLE handle = nullptr;

  decltype(&VeltoDeviceEngine_CreateHandle) createHandle = nullptr;
  decltype(&VeltoDeviceEngine_DeleteHandle) deleteHandle = nullptr;
  decltype(&VeltoDeviceEngine_GetDeviceCount) getDeviceCount = nullptr;
  decltype(&VeltoDeviceEngine_SelectDevice) selectDevice = nullptr;
  decltype(&VeltoDeviceEngine_GetStringInformation) getString = nullptr;
  decltype(&VeltoDeviceEngine_GetINT32Information) getNumber = nullptr;
  decltype(&VeltoDeviceEngine_RequestToSetINT32Information) requestToSet = nullptr;
};

/// "VALUE_COUNT" and the like, or the number of an identifier that there is not.
[[nodiscard]] std::wstring NumberName(UINT identifier);
[[nodiscard]] std::wstring StringName(UINT identifier);

}  // namespace EngineCheck
