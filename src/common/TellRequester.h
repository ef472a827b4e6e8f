#pragma once

#include <windows.h>

namespace Common {

/// Tells a window how what it asked for has ended: by a posted message with `result` in wParam. Who
/// is not told would wait for ever, so where Windows takes no message, as with a full queue, it is
/// sent, without waiting for an answer. False when that fails too.
///
/// A message that is sent to a window of this thread is handled before this returns.
bool TellRequester(HWND window, UINT message, WPARAM result) noexcept;

}  // namespace Common
