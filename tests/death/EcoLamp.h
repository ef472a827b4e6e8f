#pragma once

#include <windows.h>

#include <filesystem>
#include <functional>
#include <string>

#include "support/Interposition.h"
#include "support/fakes/DriverBehaviour.h"

/// The eco lamp of a machine, which its hotkey driver sets. As with the devices, it outlives the
/// process: whether it is on is kept in a file beside the driver.
class EcoLamp final : public DriverBehaviour {
 public:
  /// Takes the place of the driver in this DLL, a copy of the fake driver.
  explicit EcoLamp(std::filesystem::path driverPath);
  ~EcoLamp();
  EcoLamp(const EcoLamp&) = delete;
  EcoLamp& operator=(const EcoLamp&) = delete;

  /// Has the library find that DLL in the registry, and nothing else in there.
  static void Install(Interposition& interposition, const std::filesystem::path& driverPath);

  [[nodiscard]] bool IsOn() const;
  void Set(bool on) const;

  /// As with a device.
  std::function<void(const std::string& call)> onCall;
  std::function<void(const std::string& change)> onSet;

 private:
  DWORD GetLEDInfo(DWORD* info) override;
  DWORD SetLEDControl(DWORD id, DWORD value) override;
  DWORD GetSwitchInfo(DWORD* info) override;
  DWORD SetApplicationSwitch(DWORD mask, DWORD value) override;

  void Tell(const char* call) const;
  [[nodiscard]] std::filesystem::path StateFile() const;

  std::filesystem::path driverPath;
  HMODULE module = nullptr;
};
