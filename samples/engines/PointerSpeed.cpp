#include <algorithm>

#include "EngineTable.h"
#include "SystemParameter.h"

// How fast the mouse pointer moves: value 0 is the system's speed 1, value 19 its speed 20.

namespace {

constexpr INT32 kSlowest = 1;
constexpr INT32 kFastest = 20;

// Wine 8 also keeps speeds out of range.
bool GetCurrent(INT32* value) {
  UINT speed = 0;
  if (!SystemParameter::Get(SPI_GETMOUSESPEED, &speed)) return false;
  *value = std::clamp(static_cast<INT32>(speed), kSlowest, kFastest) - kSlowest;
  return true;
}

// Windows takes it in pvParam, Wine 8 in uiParam; neither looks at the other one.
bool Set(INT32 value) {
  const auto speed = static_cast<UINT>(value + kSlowest);
  return SystemParameter::Set(SPI_SETMOUSESPEED, speed, speed);
}

}  // namespace

const EngineTable kEngine = {
    .item = L"PointerSpeed",
    .valueCount = kFastest - kSlowest + 1,
    .getCurrent = GetCurrent,
    .set = Set,
};
