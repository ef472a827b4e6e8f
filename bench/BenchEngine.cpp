// The least that an engine can be: one device with two, three or five values, set as soon as it is
// asked for. It does without the C++ runtime, so that loading it costs little beside what the
// library does.

#include <velto/device_engine.h>

namespace {

int device;
HINSTANCE self;

/// The number in the file's name says, so that the settings dialog gets rows of all kinds.
INT32 CountValues() {
  constexpr INT32 kCounts[] = {2, 3, 5};
  WCHAR path[MAX_PATH];
  UINT digits = 0;
  for (DWORD i = ::GetModuleFileNameW(self, path, MAX_PATH); i > 0 && path[i - 1] != L'\\'; --i) {
    if (path[i - 1] >= L'0' && path[i - 1] <= L'9') digits += path[i - 1] - L'0';
  }
  return kCounts[digits % 3];
}

}  // namespace

extern "C" BOOL WINAPI DllMainCRTStartup(HINSTANCE instance, DWORD /*reason*/, void* /*reserved*/) {
  self = instance;
  return TRUE;
}

BOOL WINAPI VeltoDeviceEngine_CreateHandle(VELTO_DEVICE_ENGINE_HANDLE* handle) {
  *handle = &device;
  return TRUE;
}

BOOL WINAPI VeltoDeviceEngine_DeleteHandle(VELTO_DEVICE_ENGINE_HANDLE /*handle*/) {
  return TRUE;
}

BOOL WINAPI VeltoDeviceEngine_GetDeviceCount(VELTO_DEVICE_ENGINE_HANDLE /*handle*/, UINT* count) {
  *count = 1;
  return TRUE;
}

BOOL WINAPI VeltoDeviceEngine_SelectDevice(VELTO_DEVICE_ENGINE_HANDLE /*handle*/, UINT /*index*/) {
  return TRUE;
}

// Texts of the sample configuration.
BOOL WINAPI VeltoDeviceEngine_GetStringInformation(VELTO_DEVICE_ENGINE_HANDLE /*handle*/,
                                                   UINT identifier, UINT subIndex, UINT* length,
                                                   WCHAR* buffer) {
  const int written = identifier == VELTO_ENGINE_STRING_ITEM_KEY
                          ? ::wsprintfW(buffer, L"PointerSpeed_Name")
                          : ::wsprintfW(buffer, L"PointerSpeed_Value%u", subIndex);
  *length = static_cast<UINT>(written + 1);
  return TRUE;
}

BOOL WINAPI VeltoDeviceEngine_GetINT32Information(VELTO_DEVICE_ENGINE_HANDLE /*handle*/,
                                                  UINT identifier, UINT /*subIndex*/,
                                                  INT32* value) {
  switch (identifier) {
    case VELTO_ENGINE_INT32_SUPPORTED:
    case VELTO_ENGINE_INT32_VALUE_AVAILABLE:
      *value = 1;
      return TRUE;
    case VELTO_ENGINE_INT32_VALUE_COUNT:
      *value = CountValues();
      return TRUE;
    case VELTO_ENGINE_INT32_CURRENT_VALUE:
    case VELTO_ENGINE_INT32_BUSY:
      *value = 0;
      return TRUE;
    default:
      return FALSE;
  }
}

BOOL WINAPI VeltoDeviceEngine_RequestToSetINT32Information(VELTO_DEVICE_ENGINE_HANDLE /*handle*/,
                                                           UINT /*identifier*/, UINT /*subIndex*/,
                                                           INT32 /*value*/, HWND notificationWindow,
                                                           UINT notificationMessage) {
  return ::PostMessageW(notificationWindow, notificationMessage, VELTO_ENGINE_RESULT_DONE, 0);
}
