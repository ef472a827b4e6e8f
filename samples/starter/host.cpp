// Prints each mode of the machine and whether it is ON.
#include <windows.h>

#include <velto/mode_change.h>

#include <cstdio>

namespace {

void Print(const WCHAR* name, bool isOn) {
  char utf8[1024] = {};
  WideCharToMultiByte(CP_UTF8, 0, name, -1, utf8, sizeof utf8 - 1, nullptr, nullptr);
  std::printf("%s: %s\n", utf8, isOn ? "ON" : "OFF");
}

bool PrintModes(VELTO_MODE_CHANGE_HANDLE handle) {
  UINT count = 0;
  if (!VeltoModeChange_GetModeCount(handle, &count)) return false;
  for (UINT index = 0; index < count; ++index) {
    WCHAR name[256] = {};
    UINT length = 256;
    INT32 status = 0;
    if (!VeltoModeChange_SelectMode(handle, index) ||
        !VeltoModeChange_GetStringInformation(handle, VELTO_MODE_STRING_NAME, 0, &length, name) ||
        !VeltoModeChange_GetINT32Information(handle, VELTO_MODE_INT32_CURRENT_STATUS, 0, &status)) {
      return false;
    }
    Print(name, status == VELTO_MODE_STATUS_ON);
  }
  return true;
}

}  // namespace

int main() {
  SetConsoleOutputCP(CP_UTF8);
  VELTO_MODE_CHANGE_HANDLE handle = nullptr;
  if (!VeltoModeChange_CreateHandle(&handle)) {
    std::fputs("The modes can't be read: is ModeChange.Config.ini beside ModeChange.dll?\n",
               stderr);
    return 1;
  }
  const bool isDone = PrintModes(handle);
  VeltoModeChange_DeleteHandle(handle);
  return isDone ? 0 : 1;
}
