#pragma once

#include <windows.h>

#include "devices/CDllHandle.h"

namespace Qtx05a9 {

/// The application switches of the notebook (its wireless switch is one), through the platform
/// hotkey driver's library. The driver library has more functions; these are the ones that a mode
/// change needs.
class CQtx05a9DllApplicationSwitchControl : public Common::CDllHandle {
 public:
  /// Loads the driver's library from where the registry says; false, with the last error set.
  [[nodiscard]] bool LoadDriver();

  // Both return the driver's status, 0 for success. A function that the driver lacks gives 1, with
  // the last error ERROR_NOT_SUPPORTED.
  [[nodiscard]] DWORD GetSwitchInfo(DWORD* info) const noexcept;
  [[nodiscard]] DWORD SetApplicationSwitch(DWORD mask, DWORD value) const noexcept;

 protected:
  [[nodiscard]] bool OnLoad(HMODULE loaded) override;
  void OnUnload() noexcept override;

 private:
  DWORD(WINAPI* getSwitchInfo)(DWORD* info) = nullptr;
  DWORD(WINAPI* setApplicationSwitch)(DWORD mask, DWORD value) = nullptr;
};

}  // namespace Qtx05a9
