#pragma once

#include <windows.h>

#include <memory>
#include <vector>

#include "common/CWideString.h"
#include "devices/CDeviceEngineHelper.h"

/// What a change-mode window knows about the change that it carries out.
struct ChangeModeWindowData {
  /// Forgets the change and unloads its engine; the setting items stay.
  void Reset() noexcept {
    busy = false;
    notifyWindow = nullptr;
    notifyMessage = 0;
    itemIndex = 0;
    currentOnModeName = {};
    newModeName = {};
    newModeStatus = 0;
    engine.reset();
    requestUnderWay = false;
  }

  // Refuses requests while set. Nothing sets it: a second request overwrites the first one.
  bool busy = false;
  HWND notifyWindow = nullptr;
  UINT notifyMessage = 0;
  UINT itemIndex = 0;
  CWideString currentOnModeName;  // the mode that was ON before the change; empty if none
  CWideString newModeName;
  UINT newModeStatus = 0;
  std::vector<CWideString> settingItemNames;
  std::shared_ptr<CDeviceEngineHelper> engine;  // of the item being set; shared with the call in it
  // True from an accepted request to its end: an engine that reports again later must not start
  // anything.
  bool requestUnderWay = false;
};
