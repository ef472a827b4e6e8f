#include "BenchHost.h"

#include <stdexcept>

namespace {

constexpr UINT kChanged = WM_APP + 100;

void Require(bool succeeded, const char* problem) {
  if (!succeeded) throw std::runtime_error(problem);
}

}  // namespace

BenchHost::BenchHost(HMODULE library)
    : deleteHandle(Find<decltype(deleteHandle)>(library, "VeltoModeChange_DeleteHandle")),
      request(Find<decltype(request)>(library, "VeltoModeChange_RequestToSetINT32Information")),
      // Hidden, and with the system's procedure: what is posted to it is taken in the loop below.
      window(::CreateWindowExW(0, L"STATIC", L"", WS_OVERLAPPEDWINDOW, 0, 0, 0, 0, nullptr, nullptr,
                               ::GetModuleHandleW(nullptr), nullptr)) {
  const auto createHandle =
      Find<decltype(&VeltoModeChange_CreateHandle)>(library, "VeltoModeChange_CreateHandle");
  const auto selectMode =
      Find<decltype(&VeltoModeChange_SelectMode)>(library, "VeltoModeChange_SelectMode");
  Require(window != nullptr, "the host has no window");
  Require(createHandle(&handle) != FALSE, "the library gives no handle");
  Require(selectMode(handle, 0) != FALSE, "the machine has no mode");
}

BenchHost::~BenchHost() {
  deleteHandle(handle);
  ::DestroyWindow(window);
  // The library's own window goes by a message.
  MSG message{};
  while (::PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE) != FALSE) ::DispatchMessageW(&message);
}

void BenchHost::Change(INT32 status) const {
  Require(request(handle, VELTO_MODE_REQUEST_STATUS, 0, status, window, kChanged) != FALSE,
          "the library refuses to change the mode");
  MSG message{};
  do {
    ::GetMessageW(&message, nullptr, 0, 0);
    ::DispatchMessageW(&message);
  } while (message.hwnd != window || message.message != kChanged);
  Require(message.wParam == VELTO_MODE_CHANGE_COMPLETED, "the change failed");
}
