// An engine that keeps its contract but for one fault, which the environment variable
// ENGINECHECK_FAULT names. Its device is a file of one character beside it, so that it outlives
// the process. It has four values, of which the last is not available.

#include <velto/device_engine.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cstdlib>
#include <cwchar>
#include <exception>
#include <stdexcept>
#include <string>

namespace {

constexpr INT32 kValueCount = 4;
constexpr INT32 kManyValues = 2000;
constexpr INT32 kUnavailable = 3;
constexpr DWORD kWorkInMs = 20;

std::array<wchar_t, 64> fault{};
int handleObject = 0;
std::atomic<bool> busy = false;
HWND firstWindow = nullptr;

bool Has(const wchar_t* name) {
  return std::wcscmp(fault.data(), name) == 0;
}

HMODULE OwnModule(DWORD flags = GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT) {
  HMODULE module = nullptr;
  ::GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | flags,
                       reinterpret_cast<const wchar_t*>(&OwnModule), &module);
  return module;
}

std::wstring DevicePath() {
  std::array<wchar_t, 1024> path{};
  ::GetModuleFileNameW(OwnModule(), path.data(), static_cast<DWORD>(path.size()));
  return std::wstring(path.data()) + L".device";
}

INT32 ReadDevice() {
  HANDLE file =
      ::CreateFileW(DevicePath().c_str(), GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr,
                    OPEN_EXISTING, 0, nullptr);
  char digit = '1';
  DWORD size = 0;
  ::ReadFile(file, &digit, 1, &size, nullptr);
  ::CloseHandle(file);
  return digit - '0';
}

void WriteDevice(INT32 value) {
  HANDLE file = ::CreateFileW(DevicePath().c_str(), GENERIC_WRITE,
                              FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr, OPEN_ALWAYS, 0, nullptr);
  const char digit = static_cast<char>('0' + value);
  DWORD size = 0;
  ::WriteFile(file, &digit, 1, &size, nullptr);
  ::CloseHandle(file);
}

struct Request {
  INT32 value;
  HWND window;
  UINT message;
  HMODULE reference;
};

void Complete(const Request& request) {
  HWND window = request.window;
  UINT message = request.message;
  WPARAM result = VELTO_ENGINE_RESULT_DONE;
  LPARAM extra = 0;
  if (Has(L"reports-failed")) result = VELTO_ENGINE_RESULT_FAILED;
  if (Has(L"own-result")) result = VELTO_ENGINE_RESULT_2;
  if (Has(L"unknown-result")) result = 7;
  if (Has(L"own-message")) message = WM_CHANGEMODE_COMPLETIONNOTICE;
  if (Has(L"lparam")) extra = 5;
  if (Has(L"first-window")) window = firstWindow;
  if (Has(L"never")) return;
  if (Has(L"twice")) ::PostMessageW(window, message, result, extra);
  if (::PostMessageW(window, message, result, extra) == FALSE && Has(L"needs-window")) {
    ::Sleep(INFINITE);
  }
}

DWORD WINAPI Work(void* argument) {
  const Request request = *static_cast<Request*>(argument);
  delete static_cast<Request*>(argument);
  ::Sleep(kWorkInMs);
  if (Has(L"thread-crash")) *static_cast<volatile int*>(nullptr) = 1;
  if (!Has(L"sets-nothing")) WriteDevice(request.value);
  const bool isLate = Has(L"late-free") || Has(L"needs-window");
  if (isLate) {
    Complete(request);
    ::Sleep(5 * kWorkInMs);
  }
  busy = false;
  if (!isLate) Complete(request);
  if (request.reference == nullptr) return 0;
  ::FreeLibraryAndExitThread(request.reference, 0);
}

bool Start(INT32 value, HWND window, UINT message) {
  if (firstWindow == nullptr) firstWindow = window;
  busy = true;
  if (Has(L"sent")) {
    WriteDevice(value);
    busy = false;
    ::SendMessageW(window, message, VELTO_ENGINE_RESULT_DONE, 0);
    return true;
  }
  if (Has(L"to-thread")) ::PostThreadMessageW(::GetCurrentThreadId(), message, 1, 0);
  HMODULE reference = Has(L"no-reference") ? nullptr : OwnModule(0);
  if (Has(L"two-references")) OwnModule(0);
  auto* const request = new Request{value, window, message, reference};
  HANDLE thread = ::CreateThread(nullptr, 0, Work, request, 0, nullptr);
  ::CloseHandle(thread);
  return true;
}

bool IsAvailable(INT32 value) {
  if (Has(L"one-value")) return value == 1;
  return value >= 0 && value < kUnavailable;
}

bool GetKey(UINT identifier, UINT subIndex, std::wstring* key) {
  if (identifier == VELTO_ENGINE_STRING_ITEM_KEY &&
      (subIndex == 0 || Has(L"answers-sub-indexes"))) {
    *key = L"Faulty_Name";
    return !Has(L"text-fails");
  }
  if (identifier == VELTO_ENGINE_STRING_VALUE_KEY &&
      (subIndex < kValueCount || Has(L"answers-beyond"))) {
    *key = L"Faulty_Value" + std::to_wstring(subIndex);
    if (Has(L"same-key")) *key = L"Faulty_Value";
    if (Has(L"empty-text")) key->clear();
    if (Has(L"equals-in-key")) *key += L"=";
    if (Has(L"odd-key")) *key += L" x";
    return true;
  }
  if (Has(L"answers-unknown-text")) {
    *key = L"Faulty_Unknown";
    return true;
  }
  return false;
}

/// Comes back only from a depth that no stack has.
int Overflow(int depth) {
  volatile char frame[4096];
  frame[0] = static_cast<char>(depth);
  return depth < 0 ? 0 : Overflow(depth + 1) + frame[0];
}

void Misbehave() {
  if (Has(L"crash")) *static_cast<volatile int*>(nullptr) = 1;
  if (Has(L"hang")) ::Sleep(INFINITE);
  if (Has(L"exit")) ::ExitProcess(5);
  if (Has(L"throw")) throw std::runtime_error("left");
  if (Has(L"overflow")) busy = Overflow(0) != 0;
  if (Has(L"slow")) ::Sleep(200);
}

bool GetNumber(UINT identifier, UINT subIndex, INT32* value) {
  switch (identifier) {
    case VELTO_ENGINE_INT32_SUPPORTED:
      Misbehave();
      *value = Has(L"supported-2") ? 2 : Has(L"not-supported") ? 0 : 1;
      return !Has(L"supported-fails");
    case VELTO_ENGINE_INT32_VALUE_COUNT:
      if (Has(L"writes-nothing")) return true;
      *value = Has(L"count-negative") ? -1 : Has(L"many-values") ? kManyValues : kValueCount;
      return !Has(L"count-fails");
    case VELTO_ENGINE_INT32_VALUE_AVAILABLE:
      if (subIndex >= static_cast<UINT>(Has(L"many-values") ? kManyValues : kValueCount) &&
          !Has(L"answers-beyond")) {
        return false;
      }
      *value = IsAvailable(static_cast<INT32>(subIndex)) ? 1 : 0;
      if (Has(L"available-2")) *value = 2;
      return !Has(L"available-fails");
    case VELTO_ENGINE_INT32_CURRENT_VALUE:
      *value = Has(L"current-out")           ? kValueCount
               : Has(L"current-unavailable") ? kUnavailable
                                             : ReadDevice();
      return !Has(L"current-fails");
    case VELTO_ENGINE_INT32_BUSY:
      *value = Has(L"busy-2") ? 2 : Has(L"always-busy") || busy ? 1 : 0;
      return !Has(L"busy-fails");
    default:
      *value = 0;
      return Has(L"answers-unknown");
  }
}

/// Each load of the DLL is a new engine; this many there were before.
int CountLoads() {
  std::array<wchar_t, 16> text{};
  ::GetEnvironmentVariableW(L"ENGINECHECK_LOADS", text.data(), static_cast<DWORD>(text.size()));
  const int count = ::_wtoi(text.data());
  ::SetEnvironmentVariableW(L"ENGINECHECK_LOADS", std::to_wstring(count + 1).c_str());
  return count;
}

void LeaveSomething() {
  if (Has(L"leaves-handle")) ::CreateEventW(nullptr, FALSE, FALSE, nullptr);
  if (Has(L"leaves-window")) {
    ::CreateWindowExW(0, L"STATIC", L"", WS_OVERLAPPED, 0, 0, 0, 0, nullptr, nullptr, nullptr,
                      nullptr);
  }
  if (Has(L"leaves-thread")) {
    // In code that stays, so that it does no harm when the DLL goes.
    auto* const sleep = reinterpret_cast<LPTHREAD_START_ROUTINE>(
        reinterpret_cast<void*>(::GetProcAddress(::GetModuleHandleW(L"kernel32"), "Sleep")));
    ::CloseHandle(::CreateThread(nullptr, 0, sleep, reinterpret_cast<void*>(ULONG_PTR{INFINITE}), 0,
                                 nullptr));
  }
  if (Has(L"pins")) OwnModule(0);
}

}  // namespace

BOOL WINAPI DllMain(HINSTANCE /*instance*/, DWORD reason, void* /*reserved*/) {
  if (reason != DLL_PROCESS_ATTACH) return TRUE;
  ::GetEnvironmentVariableW(L"ENGINECHECK_FAULT", fault.data(), static_cast<DWORD>(fault.size()));
  return Has(L"does-not-load") ? FALSE : TRUE;
}

BOOL WINAPI VeltoDeviceEngine_CreateHandle(VELTO_DEVICE_ENGINE_HANDLE* handle) {
  if (Has(L"create-fails") || (Has(L"works-once") && CountLoads() > 0)) return FALSE;
  *handle = Has(L"create-null") ? nullptr : &handleObject;
  LeaveSomething();
  return TRUE;
}

BOOL WINAPI VeltoDeviceEngine_DeleteHandle(VELTO_DEVICE_ENGINE_HANDLE handle) {
  return handle == &handleObject ? TRUE : FALSE;
}

BOOL WINAPI VeltoDeviceEngine_GetDeviceCount(VELTO_DEVICE_ENGINE_HANDLE handle, UINT* count) {
  if (handle != &handleObject || Has(L"device-count-fails")) return FALSE;
  *count = Has(L"no-device") ? 0 : Has(L"many-devices") ? 5000 : 1;
  return TRUE;
}

BOOL WINAPI VeltoDeviceEngine_SelectDevice(VELTO_DEVICE_ENGINE_HANDLE handle, UINT index) {
  if (handle != &handleObject || Has(L"select-fails")) return FALSE;
  return index == 0 || Has(L"any-device") ? TRUE : FALSE;
}

BOOL WINAPI VeltoDeviceEngine_GetStringInformation(VELTO_DEVICE_ENGINE_HANDLE handle,
                                                   UINT identifier, UINT subIndex, UINT* length,
                                                   WCHAR* buffer) {
  std::wstring key;
  if (handle != &handleObject || !GetKey(identifier, subIndex, &key)) {
    if (Has(L"text-on-failure")) *buffer = L'x';
    return FALSE;
  }
  if (Has(L"no-terminator")) key = std::wstring(*length, L'x');
  if (Has(L"writes-behind") && *length == VELTO_ENGINE_STRING_LENGTH) {
    key = std::wstring(*length, L'x');
    key.back() = L'\0';
    buffer[*length] = L'x';
  }
  const auto size = static_cast<UINT>(key.size() + 1);
  if (*length < size && !Has(L"ignores-length") && !Has(L"no-terminator")) return FALSE;
  std::copy_n(key.c_str(), Has(L"no-terminator") ? *length : size, buffer);
  *length = Has(L"wrong-length") ? size - 1 : size;
  return TRUE;
}

BOOL WINAPI VeltoDeviceEngine_GetINT32Information(VELTO_DEVICE_ENGINE_HANDLE handle,
                                                  UINT identifier, UINT subIndex, INT32* value) {
  if (handle != &handleObject) return FALSE;
  const bool isOutOfRange = identifier != VELTO_ENGINE_INT32_VALUE_AVAILABLE && subIndex != 0;
  INT32 answer = *value;
  if ((isOutOfRange && !Has(L"answers-sub-indexes")) || !GetNumber(identifier, subIndex, &answer)) {
    if (Has(L"writes-on-failure")) *value = 0;
    return FALSE;
  }
  *value = answer;
  return TRUE;
}

BOOL WINAPI VeltoDeviceEngine_RequestToSetINT32Information(VELTO_DEVICE_ENGINE_HANDLE handle,
                                                           UINT identifier, UINT subIndex,
                                                           INT32 value, HWND notificationWindow,
                                                           UINT notificationMessage) {
  if (handle != &handleObject) return FALSE;
  const bool isGood =
      identifier == VELTO_ENGINE_REQUEST_VALUE && subIndex == 0 && IsAvailable(value) && !busy;
  if (Has(L"accepts-identifier") && identifier == 1) {
    return Start(value, notificationWindow, notificationMessage) ? TRUE : FALSE;
  }
  if (Has(L"accepts-unavailable") && value == kUnavailable) {
    return Start(value, notificationWindow, notificationMessage) ? TRUE : FALSE;
  }
  if (!isGood || (Has(L"refuses-value") && value == 0)) {
    if (Has(L"completes-refused")) {
      ::PostMessageW(notificationWindow, notificationMessage, VELTO_ENGINE_RESULT_FAILED, 0);
    }
    return FALSE;
  }
  if (value == 2) {
    if (Has(L"crash-when-setting")) *static_cast<volatile int*>(nullptr) = 1;
    if (Has(L"hang-when-setting")) ::Sleep(INFINITE);
  }
  if (Has(L"crash-when-restoring") && value == 1) *static_cast<volatile int*>(nullptr) = 1;
  return Start(value, notificationWindow, notificationMessage) ? TRUE : FALSE;
}
