#pragma once

#include <windows.h>

#include <atomic>

/// Sets the device to a value on a thread of its own and posts the result; one value at a time.
///
/// The object is the device's, not a handle's, and lies in the DLL's own memory: the thread keeps
/// the DLL loaded, so it may outlive the handle and the host's last FreeLibrary.
class SettingThread {
 public:
  [[nodiscard]] bool IsBusy() const noexcept { return busy; }

  /// False, and nothing will be posted, when another value is being set or there is no thread to
  /// be had.
  [[nodiscard]] bool Start(INT32 value, HWND window, UINT message) noexcept;

 private:
  static DWORD WINAPI Run(void* self) noexcept;
  HMODULE SetAndReport() noexcept;

  std::atomic<bool> busy = false;
  HMODULE module = nullptr;
  INT32 newValue = 0;
  HWND notificationWindow = nullptr;
  UINT notificationMessage = 0;
};
