#include "EngineTable.h"
#include "SystemParameter.h"

// Whether the pointer jumps to the default button of a dialog that opens: 0 no, 1 yes.

namespace {

bool GetCurrent(INT32* value) {
  UINT snaps = 0;
  if (!SystemParameter::Get(SPI_GETSNAPTODEFBUTTON, &snaps)) return false;
  *value = snaps != 0 ? 1 : 0;
  return true;
}

bool Set(INT32 value) {
  return SystemParameter::Set(SPI_SETSNAPTODEFBUTTON, static_cast<UINT>(value), 0);
}

}  // namespace

const EngineTable kEngine = {
    .item = L"SnapToDefaultButton",
    .valueCount = 2,
    .getCurrent = GetCurrent,
    .set = Set,
};
