#pragma once

#include <windows.h>

#include <cstddef>

/// What a requester sends to a change-mode window, in a WM_COPYDATA with kCopyDataId. The window
/// has copied all of it when the message returns.
struct ChangeModeRequest {
  static constexpr ULONG_PTR kCopyDataId = 1;

  HWND notifyWindow;        // may be null: nothing is reported then
  UINT notifyMessage;       // posted with the result in wParam and 0 in lParam
  const wchar_t* modeName;  // key name of the mode
  UINT modeStatus;          // 0 (OFF) or 1 (ON)
};

// A message between components: the layout is fixed.
static_assert(sizeof(ChangeModeRequest) == 32);
static_assert(offsetof(ChangeModeRequest, notifyWindow) == 0);
static_assert(offsetof(ChangeModeRequest, notifyMessage) == 8);
static_assert(offsetof(ChangeModeRequest, modeName) == 16);
static_assert(offsetof(ChangeModeRequest, modeStatus) == 24);
