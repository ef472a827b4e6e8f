#pragma once

#include <velto/mode_change.h>

#include <functional>

/// A host that shows the settings dialog of its first mode.
class SettingsHost {
 public:
  explicit SettingsHost(HMODULE library);
  ~SettingsHost();
  SettingsHost(const SettingsHost&) = delete;
  SettingsHost& operator=(const SettingsHost&) = delete;

  /// Calls `onPainted` with the dialog as soon as all of it is painted, and closes it then. Throws
  /// std::runtime_error for a dialog that failed.
  void ShowSettings(std::function<void(HWND dialog)> onPainted);
  [[nodiscard]] HWND Window() const noexcept { return window; }

 private:
  template <class Function>
  static Function Find(HMODULE library, const char* name) {
    return reinterpret_cast<Function>(reinterpret_cast<void*>(::GetProcAddress(library, name)));
  }
  static LRESULT CALLBACK OnMessage(HWND window, UINT message, WPARAM wParam, LPARAM lParam);
  void OnIdle(HWND dialog);

  decltype(&VeltoModeChange_DeleteHandle) deleteHandle;
  decltype(&VeltoModeChange_ShowSettingsDialog) showSettingsDialog;
  HWND window;
  VELTO_MODE_CHANGE_HANDLE handle = nullptr;
  std::function<void(HWND dialog)> paintedAction;
};
