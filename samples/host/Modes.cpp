#include "Modes.h"

namespace {

Mode ReadMode(const ModeLibrary& library, UINT index) {
  library.SelectMode(index);
  Mode mode;
  mode.index = index;
  mode.name = library.GetText(VELTO_MODE_STRING_NAME);
  mode.type = library.GetNumber(VELTO_MODE_INT32_TYPE);
  mode.status = library.GetNumber(VELTO_MODE_INT32_CURRENT_STATUS);
  const auto status = static_cast<UINT>(mode.status);
  mode.statusName = library.GetText(VELTO_MODE_STRING_STATUS_NAME, status);
  mode.statusIconKey = library.GetText(VELTO_MODE_STRING_STATUS_ICON_KEY, status);
  mode.settingsChanged = library.GetNumber(VELTO_MODE_INT32_SETTINGS_CHANGED) != 0;
  mode.autoOnOff = library.GetNumber(VELTO_MODE_INT32_AUTO_ON_OFF) != 0;
  return mode;
}

}  // namespace

std::vector<Mode> ReadModes(const ModeLibrary& library) {
  std::vector<Mode> modes;
  const UINT count = library.GetModeCount();
  for (UINT index = 0; index < count; ++index) modes.push_back(ReadMode(library, index));
  return modes;
}
