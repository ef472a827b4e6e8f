#pragma once

#include <windows.h>

#include "changemode/ChangeModeRequest.h"

/// The hidden window that carries out mode changes.
///
/// It takes one ChangeModeRequest at a time and walks through all setting items of the
/// configuration, one after the other: an engine is asked to set the item's new value and posts a
/// completion notice; then the next item follows. The thread's message loop drives it, so the
/// thread stays responsive while devices change. Requesters must not overlap changes on one window.
///
/// Items that were set before a failure keep their new values; there is no rollback.
namespace ChangeModeWindow {

/// Makes a window on the calling thread; null on failure. It lives until WM_CLOSE.
[[nodiscard]] HWND CreateMyWindow(HINSTANCE module);

/// Hands a window of this thread a request. True when the window has taken it: it will tell the
/// requester, unless there is none, how the change ended. Nobody does otherwise.
[[nodiscard]] bool Request(HWND window, ChangeModeRequest request) noexcept;

/// Has a window close as soon as its thread handles messages, or at once where Windows takes no
/// message; null is allowed.
void CloseMyWindow(HWND window) noexcept;

}  // namespace ChangeModeWindow
