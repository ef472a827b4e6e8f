#pragma once

#include <windows.h>

// Messages between the settings dialog and its nested children. They travel upwards, posted: from a
// line or group title to the list, on to the area, on to the frame.

/// A failure; wParam is the code with which the dialog is to end.
constexpr UINT WM_MODESETTINGS_ERROR = WM_APP + 1001;
/// The user changed a value.
constexpr UINT WM_MODESETTINGS_CHANGED = WM_APP + 1002;
/// No unsaved changes remain; from the area to the frame.
constexpr UINT WM_MODESETTINGS_UNCHANGED = WM_APP + 1003;
/// Sent by the list to itself: apply the lock request at the front of its queue.
constexpr UINT WM_MODESETTINGS_LOCKSETTINGITEM = WM_APP + 1100;

/// The error code of every failure inside the dialog.
constexpr WPARAM kModeSettingsFailed = 100;
