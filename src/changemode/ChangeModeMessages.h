#pragma once

#include <windows.h>

// The completion notice is a part of the contract with the device engines.
#include "velto/device_engine.h"

/// Posted by a change-mode window to itself: set the current setting item.
constexpr UINT WM_CHANGEMODE_SETDEVICESTATUS = WM_APP + 1;

static_assert(WM_CHANGEMODE_COMPLETIONNOTICE == WM_APP + 2);

/// Results of a change, as the requester gets them in wParam. An engine's own 2 and 3 are passed
/// on.
constexpr WPARAM kChangeFailed = 0;
constexpr WPARAM kChangeCompleted = 1;

/// Results of one setting item, in wParam of the completion notice.
constexpr WPARAM kItemFailed = VELTO_ENGINE_RESULT_FAILED;
constexpr WPARAM kItemDone = VELTO_ENGINE_RESULT_DONE;
constexpr WPARAM kItemResult2 = VELTO_ENGINE_RESULT_2;
constexpr WPARAM kItemResult3 = VELTO_ENGINE_RESULT_3;

/// Posted by a change-mode window to the progress dialog: the change finished; wParam is its
/// result.
constexpr UINT WM_UPDATEPCENVIRONMENT_COMPLETED = WM_APP + 1200;
