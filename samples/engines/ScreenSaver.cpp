#include <algorithm>
#include <iterator>

#include "EngineTable.h"
#include "SystemParameter.h"

// The screen saver: 0 off, 1 after 5 minutes, 2 after 15 minutes. Which screen saver it is, if any,
// is the user's own choice and stays as it is.

namespace {

constexpr UINT kTimeoutsInSeconds[] = {5 * 60, 15 * 60};  // of values 1 and 2
constexpr INT32 kOff = 0;

// A time in between counts as the longer one, so that a mode never covers the screen earlier than
// the user wanted when it puts things back.
INT32 GetValueOfTimeout(UINT seconds) {
  const UINT* const last = std::prev(std::end(kTimeoutsInSeconds));
  const UINT* const timeout = std::lower_bound(std::begin(kTimeoutsInSeconds), last, seconds);
  return 1 + static_cast<INT32>(timeout - std::begin(kTimeoutsInSeconds));
}

bool GetCurrent(INT32* value) {
  UINT active = 0;
  UINT seconds = 0;
  if (!SystemParameter::Get(SPI_GETSCREENSAVEACTIVE, &active) ||
      !SystemParameter::Get(SPI_GETSCREENSAVETIMEOUT, &seconds)) {
    return false;
  }
  *value = active == 0 ? kOff : GetValueOfTimeout(seconds);
  return true;
}

// Windows and Wine 8 take both in uiParam. Switching off keeps the time that was set before.
bool Set(INT32 value) {
  if (value == kOff) return SystemParameter::Set(SPI_SETSCREENSAVEACTIVE, FALSE, 0);
  return SystemParameter::Set(SPI_SETSCREENSAVETIMEOUT, kTimeoutsInSeconds[value - 1], 0) &&
         SystemParameter::Set(SPI_SETSCREENSAVEACTIVE, TRUE, 0);
}

}  // namespace

const EngineTable kEngine = {
    .item = L"ScreenSaver",
    .valueCount = 1 + static_cast<INT32>(std::size(kTimeoutsInSeconds)),
    .getCurrent = GetCurrent,
    .set = Set,
};
