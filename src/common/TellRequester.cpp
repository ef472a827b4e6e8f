#include "common/TellRequester.h"

namespace Common {

bool TellRequester(HWND window, UINT message, WPARAM result) noexcept {
  if (::PostMessageW(window, message, result, 0) != FALSE) return true;
  if (::GetWindowThreadProcessId(window, nullptr) != ::GetCurrentThreadId()) {
    return ::SendNotifyMessageW(window, message, result, 0) != FALSE;
  }
  // A call of its procedure, which takes no queue.
  ::SendMessageW(window, message, result, 0);
  return true;
}

}  // namespace Common
