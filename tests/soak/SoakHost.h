#pragma once

#include <windows.h>

#include <deque>
#include <functional>
#include <initializer_list>

#include "velto/mode_change.h"

/// A host that changes modes and shows the settings dialog of its first mode. What does not go as
/// it should throws std::runtime_error.
class SoakHost {
 public:
  enum Mode : UINT { kEco, kCradle };

  explicit SoakHost(HMODULE library);
  ~SoakHost();
  SoakHost(const SoakHost&) = delete;
  SoakHost& operator=(const SoakHost&) = delete;

  /// Returns when the change is reported, and the library says that the mode has that status.
  void Change(Mode mode, INT32 status);

  /// What the user does to the dialog.
  using Step = std::function<void(HWND dialog)>;
  /// Takes each step when the dialog has nothing left to do. The last one ends it.
  void ShowSettings(std::initializer_list<Step> newSteps);

  static void ChooseMode(HWND dialog, Mode mode);
  /// The first setting item has a pair of values.
  static void ChooseFirstItem(HWND dialog, int value);
  static void Click(HWND dialog, int control);
  static void ClickInArea(HWND dialog, int control);

 private:
  static LRESULT CALLBACK WindowProc(HWND window, UINT message, WPARAM wParam, LPARAM lParam);
  void OnIdle(HWND dialog);

  decltype(&VeltoModeChange_DeleteHandle) deleteHandle = nullptr;
  decltype(&VeltoModeChange_SelectMode) selectMode = nullptr;
  decltype(&VeltoModeChange_GetINT32Information) getINT32Information = nullptr;
  decltype(&VeltoModeChange_RequestToSetINT32Information) request = nullptr;
  decltype(&VeltoModeChange_ShowSettingsDialog) showSettingsDialog = nullptr;
  VELTO_MODE_CHANGE_HANDLE handle = nullptr;
  HWND window = nullptr;
  std::deque<Step> steps;
};
