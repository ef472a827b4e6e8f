#include <algorithm>

#include "EngineTable.h"
#include "SystemParameter.h"

// How long a key is held before it repeats: 0 (about 0.25 seconds) to 3 (about 1 second).

namespace {

constexpr INT32 kValueCount = 4;

// Windows keeps 0 to 3 only; Wine 8 also what is beyond.
bool GetCurrent(INT32* value) {
  UINT delay = 0;
  if (!SystemParameter::Get(SPI_GETKEYBOARDDELAY, &delay)) return false;
  *value = std::clamp(static_cast<INT32>(delay), 0, kValueCount - 1);
  return true;
}

// Windows and Wine 8 take it in uiParam.
bool Set(INT32 value) {
  return SystemParameter::Set(SPI_SETKEYBOARDDELAY, static_cast<UINT>(value), 0);
}

}  // namespace

const EngineTable kEngine = {
    .item = L"KeyboardRepeatDelay",
    .valueCount = kValueCount,
    .getCurrent = GetCurrent,
    .set = Set,
};
