#pragma once

#include <string>
#include <vector>

#include "ModeLibrary.h"

/// What the library tells about a mode.
struct Mode {
  UINT index = 0;
  std::wstring name = {};
  INT32 type = 0;
  INT32 status = 0;
  std::wstring statusName = {};
  std::wstring statusIconKey = {};
  bool settingsChanged = false;
  bool autoOnOff = false;
};

/// All modes of this machine, in the library's order.
[[nodiscard]] std::vector<Mode> ReadModes(const ModeLibrary& library);
