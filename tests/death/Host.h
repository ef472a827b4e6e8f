#pragma once

#include <windows.h>

#include <filesystem>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "death/Device.h"
#include "death/EcoLamp.h"
#include "velto/mode_change.h"

/// A host of the ModeChange.dll beside this program, on a machine with the devices Screen, Fan and
/// Sound and an eco lamp.
class Host {
 public:
  enum Mode : UINT { kEco, kDock };

  explicit Host(HMODULE library);
  ~Host();
  Host(const Host&) = delete;
  Host& operator=(const Host&) = delete;

  /// What the host is told; none where the request is refused.
  [[nodiscard]] std::optional<WPARAM> Change(Mode mode, INT32 status);
  [[nodiscard]] INT32 Status(Mode mode);
  [[nodiscard]] Device& At(const std::string& item) { return *devices.at(item); }
  /// "Screen=3 Fan=3 Sound=3"
  [[nodiscard]] std::string DescribeDevices() const;
  void ForEachDevice(const std::function<void(Device&)>& act);

  [[nodiscard]] EcoLamp& Lamp() { return lamp; }

  static const std::vector<std::string>& Items();
  [[nodiscard]] static std::filesystem::path EnginePath(const std::string& item);
  [[nodiscard]] static std::filesystem::path DriverPath();

 private:
  static LRESULT CALLBACK WindowProc(HWND window, UINT message, WPARAM wParam, LPARAM lParam);

  std::map<std::string, std::unique_ptr<Device>> devices;
  EcoLamp lamp{DriverPath()};
  decltype(&VeltoModeChange_CreateHandle) createHandle = nullptr;
  decltype(&VeltoModeChange_DeleteHandle) deleteHandle = nullptr;
  decltype(&VeltoModeChange_SelectMode) selectMode = nullptr;
  decltype(&VeltoModeChange_GetINT32Information) getINT32Information = nullptr;
  decltype(&VeltoModeChange_RequestToSetINT32Information) request = nullptr;
  VELTO_MODE_CHANGE_HANDLE handle = nullptr;
  HWND window = nullptr;
  std::optional<WPARAM> told;
};
