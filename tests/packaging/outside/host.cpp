// Prints the icon key of each mode's present status: of all answers the one that no user's language
// changes.
#include <windows.h>

#include <velto/mode_change.h>

#include <cstdio>

int main() {
  VELTO_MODE_CHANGE_HANDLE handle = nullptr;
  UINT count = 0;
  if (!VeltoModeChange_CreateHandle(&handle) || !VeltoModeChange_GetModeCount(handle, &count)) {
    return 1;
  }
  for (UINT mode = 0; mode < count; ++mode) {
    INT32 status = 0;
    WCHAR icon[64] = {};
    UINT length = 64;
    if (!VeltoModeChange_SelectMode(handle, mode) ||
        !VeltoModeChange_GetINT32Information(handle, VELTO_MODE_INT32_CURRENT_STATUS, 0, &status) ||
        !VeltoModeChange_GetStringInformation(handle, VELTO_MODE_STRING_STATUS_ICON_KEY,
                                              static_cast<UINT>(status), &length, icon)) {
      return 1;
    }
    std::printf("%ls\n", icon);
  }
  return VeltoModeChange_DeleteHandle(handle) ? 0 : 1;
}
