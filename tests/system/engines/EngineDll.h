#pragma once

#include <velto/device_engine.h>

#include <optional>
#include <string>

/// One engine of the build, loaded as the library would load it.
class EngineDll {
 public:
  /// `name` is the file's name without ".dll". Throws std::runtime_error where it does not load or
  /// lacks an export.
  explicit EngineDll(const std::wstring& name);
  ~EngineDll();
  EngineDll(const EngineDll&) = delete;
  EngineDll& operator=(const EngineDll&) = delete;

  [[nodiscard]] HMODULE Module() const noexcept { return module; }
  [[nodiscard]] VELTO_DEVICE_ENGINE_HANDLE Handle() const noexcept { return handle; }

  /// What the engine answers; none when it fails.
  [[nodiscard]] std::optional<INT32> Number(UINT identifier, UINT subIndex = 0) const;
  [[nodiscard]] std::optional<std::wstring> Text(UINT identifier, UINT subIndex = 0) const;
  [[nodiscard]] bool Request(INT32 value, HWND window, UINT message) const;

  /// Deletes the handle and frees the DLL, as the library does when it is done with an item.
  void Unload();
  [[nodiscard]] static bool IsLoaded(const std::wstring& name);

  decltype(&VeltoDeviceEngine_CreateHandle) createHandle = nullptr;
  decltype(&VeltoDeviceEngine_DeleteHandle) deleteHandle = nullptr;
  decltype(&VeltoDeviceEngine_GetDeviceCount) getDeviceCount = nullptr;
  decltype(&VeltoDeviceEngine_SelectDevice) selectDevice = nullptr;
  decltype(&VeltoDeviceEngine_GetStringInformation) getString = nullptr;
  decltype(&VeltoDeviceEngine_GetINT32Information) getNumber = nullptr;
  decltype(&VeltoDeviceEngine_RequestToSetINT32Information) requestToSet = nullptr;

 private:
  template <class Function>
  void Find(const char* name, Function* function) const;

  HMODULE module = nullptr;
  VELTO_DEVICE_ENGINE_HANDLE handle = nullptr;
};
