#include "death/Host.h"

#include <stdexcept>

#include "support/Files.h"

namespace {

constexpr UINT kNotify = WM_APP + 500;
constexpr ULONGLONG kPatienceInMs = 20'000;

template <class Function>
void Resolve(HMODULE library, const char* name, Function* function) {
  *function = reinterpret_cast<Function>(reinterpret_cast<void*>(::GetProcAddress(library, name)));
  if (*function == nullptr) throw std::runtime_error(std::string(name) + " is not exported");
}

void Pump() {
  for (MSG message; ::PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE) != FALSE;) {
    ::DispatchMessageW(&message);
  }
}

}  // namespace

Host::Host(HMODULE library) {
  Resolve(library, "VeltoModeChange_CreateHandle", &createHandle);
  Resolve(library, "VeltoModeChange_DeleteHandle", &deleteHandle);
  Resolve(library, "VeltoModeChange_SelectMode", &selectMode);
  Resolve(library, "VeltoModeChange_GetINT32Information", &getINT32Information);
  Resolve(library, "VeltoModeChange_RequestToSetINT32Information", &request);
  for (const std::string& item : Items())
    devices[item] = std::make_unique<Device>(EnginePath(item));

  WNDCLASSW windowClass{};
  windowClass.lpfnWndProc = WindowProc;
  windowClass.hInstance = ::GetModuleHandleW(nullptr);
  windowClass.lpszClassName = L"SuddenDeathHost";
  ::RegisterClassW(&windowClass);
  window = ::CreateWindowExW(0, windowClass.lpszClassName, L"", 0, 0, 0, 0, 0, HWND_MESSAGE,
                             nullptr, windowClass.hInstance, nullptr);
  ::SetWindowLongPtrW(window, GWLP_USERDATA, reinterpret_cast<LONG_PTR>(this));
  if (createHandle(&handle) == FALSE) throw std::runtime_error("the library gives no handle");
}

Host::~Host() {
  deleteHandle(handle);
  Pump();
  ::DestroyWindow(window);
}

std::optional<WPARAM> Host::Change(Mode mode, INT32 status) {
  told.reset();
  if (selectMode(handle, mode) == FALSE ||
      request(handle, VELTO_MODE_REQUEST_STATUS, 0, status, window, kNotify) == FALSE) {
    return std::nullopt;
  }
  const ULONGLONG deadline = ::GetTickCount64() + kPatienceInMs;
  for (Pump(); !told.has_value() && ::GetTickCount64() < deadline; Pump()) {
    ::MsgWaitForMultipleObjects(0, nullptr, FALSE, 100, QS_ALLINPUT);
  }
  return told;
}

INT32 Host::Status(Mode mode) {
  INT32 status = -1;
  if (selectMode(handle, mode) == FALSE ||
      getINT32Information(handle, VELTO_MODE_INT32_CURRENT_STATUS, 0, &status) == FALSE) {
    throw std::runtime_error("the library does not know a mode's status");
  }
  return status;
}

std::string Host::DescribeDevices() const {
  std::string text;
  for (const std::string& item : Items()) {
    if (!text.empty()) text += ' ';
    text += item + "=" + std::to_string(devices.at(item)->Value());
  }
  return text;
}

void Host::ForEachDevice(const std::function<void(Device&)>& act) {
  for (const auto& [item, device] : devices) act(*device);
}

const std::vector<std::string>& Host::Items() {
  static const std::vector<std::string> items = {"Screen", "Fan", "Sound"};
  return items;
}

std::filesystem::path Host::EnginePath(const std::string& item) {
  return Files::ProgramPath().parent_path() / L"Engines" / (item + ".dll");
}

std::filesystem::path Host::DriverPath() {
  return Files::ProgramPath().parent_path() / L"Driver" / L"Hotkey.dll";
}

LRESULT CALLBACK Host::WindowProc(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
  auto* host = reinterpret_cast<Host*>(::GetWindowLongPtrW(window, GWLP_USERDATA));
  if (message == kNotify && host != nullptr) {
    host->told = wParam;
    return 0;
  }
  return ::DefWindowProcW(window, message, wParam, lParam);
}
