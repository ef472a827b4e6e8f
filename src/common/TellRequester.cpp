#include "common/TellRequester.h"

namespace Common {

bool TellRequester(HWND window, UINT message, WPARAM result) noexcept {
  return ::PostMessageW(window, message, result, 0) != FALSE ||
         ::SendNotifyMessageW(window, message, result, 0) != FALSE;
}

}  // namespace Common
