#pragma once

#include <windows.h>

#include <memory>
#include <utility>
#include <vector>

#include "changemode/ChangeModeReaders.h"
#include "changemode/ChangeModeRequest.h"
#include "common/CWideString.h"
#include "devices/CDeviceEngineHelper.h"

/// What a change-mode window knows about the change that it carries out.
struct ChangeModeWindowData {
  /// Where the change stands. A message that does not fit is a left-over: an engine reported twice
  /// or too late, or another request took the place of the one that the message belongs to.
  enum class Stage {
    kIdle,          // no accepted request is under way
    kItemDue,       // WM_CHANGEMODE_SETDEVICESTATUS was posted for the current item
    kItemUnderWay,  // the current item's completion notice is awaited
  };

  /// From here on the requester is told how the change ends.
  void TakeRequester(const ChangeModeRequest& request) noexcept {
    notifyWindow = request.notifyWindow;
    notifyMessage = request.notifyMessage;
    ++takenRequests;
  }

  /// Forgets the change and unloads its engine; the setting items stay.
  void Reset() noexcept {
    // Last: an engine that handles messages while it is closed can have this record go.
    const std::shared_ptr<CDeviceEngineHelper> closed = std::move(engine);
    busy = false;
    notifyWindow = nullptr;
    notifyMessage = 0;
    itemIndex = 0;
    currentOnModeName = {};
    newModeName = {};
    newModeStatus = 0;
    stage = Stage::kIdle;
    readers.reset();
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
  Stage stage = Stage::kIdle;
  UINT takenRequests = 0;                            // of all changes
  std::shared_ptr<const ChangeModeReaders> readers;  // while a change is under way; shared likewise
};
