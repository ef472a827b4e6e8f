#include "EngineTable.h"
#include "SystemParameter.h"

// Visual effects: 0 off, 1 on. The system's one switch for animations, fading and shadows; which of
// them "on" brings is the user's own choice and stays as it is.

namespace {

bool GetCurrent(INT32* value) {
  UINT on = 0;
  if (!SystemParameter::Get(SPI_GETUIEFFECTS, &on)) return false;
  *value = on != 0 ? 1 : 0;
  return true;
}

// Windows and Wine 8 take it in pvParam, and Wine ignores uiParam.
bool Set(INT32 value) {
  return SystemParameter::Set(SPI_SETUIEFFECTS, 0, static_cast<UINT>(value));
}

}  // namespace

const EngineTable kEngine = {
    .item = L"VisualEffects",
    .valueCount = 2,
    .getCurrent = GetCurrent,
    .set = Set,
};
