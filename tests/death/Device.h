#pragma once

#include <windows.h>

#include <filesystem>
#include <functional>
#include <string>

#include "support/fakes/EngineBehaviour.h"

/// A device whose value survives the process that set it, as a true one's does: it is kept in a
/// file beside the engine. Four values; a value is set at once.
class Device final : public EngineBehaviour {
 public:
  static constexpr INT32 kValueCount = 4;

  /// Takes the place of the engine in this DLL, a copy of the fake engine.
  explicit Device(std::filesystem::path enginePath);
  ~Device();
  Device(const Device&) = delete;
  Device& operator=(const Device&) = delete;

  [[nodiscard]] INT32 Value() const;
  void Set(INT32 value) const;

  /// Told of each call when it begins, as "Screen.GetDeviceCount".
  std::function<void(const std::string& call)> onCall;
  /// Told once the value is set, before the library hears of it.
  std::function<void(const std::string& change)> onSet;

 private:
  BOOL CreateHandle(void** handle) override;
  BOOL DeleteHandle(void* handle) override;
  BOOL GetDeviceCount(void* handle, UINT* count) override;
  BOOL SelectDevice(void* handle, UINT index) override;
  BOOL GetStringInformation(void* handle, UINT identifier, UINT subIndex, UINT* length,
                            WCHAR* buffer) override;
  BOOL GetINT32Information(void* handle, UINT identifier, UINT subIndex, INT32* value) override;
  BOOL RequestToSetINT32Information(void* handle, UINT identifier, UINT subIndex, INT32 value,
                                    HWND notificationWindow, UINT notificationMessage) override;

  void Tell(const char* call) const;
  [[nodiscard]] std::filesystem::path ValueFile() const;

  std::filesystem::path enginePath;
  std::string name;
  HMODULE module = nullptr;
};
