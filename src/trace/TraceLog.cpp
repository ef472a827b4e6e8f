#include "trace/TraceLog.h"

#include <array>
#include <cwchar>
#include <string>

namespace {

constexpr GUID kProvider = {
    0xF1AF8352, 0x32C6, 0x4439, {0x9A, 0xE9, 0x34, 0x8E, 0x23, 0x2D, 0xFA, 0x35}};

constexpr EVENT_DESCRIPTOR kEvent = {
    1,                    // Id
    0,                    // Version
    16,                   // Channel
    4,                    // Level: informational
    0,                    // Opcode
    0,                    // Task
    0x8000000000000000U,  // Keyword
};

constexpr DWORD kPathCapacity = MAX_PATH + 1;

/// Returns the file name of the module that this code is in, as a part of `path`, or "Unknown".
const wchar_t* FindModuleName(std::array<wchar_t, kPathCapacity>& path) noexcept {
  constexpr const wchar_t* kUnknown = L"Unknown";
  HMODULE module = nullptr;
  if (::GetModuleHandleExW(
          GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT,
          reinterpret_cast<const wchar_t*>(&FindModuleName), &module) == FALSE) {
    return kUnknown;
  }
  if (::GetModuleFileNameW(module, path.data(), kPathCapacity) == 0) return kUnknown;
  path.back() = L'\0';
  const wchar_t* backslash = std::wcsrchr(path.data(), L'\\');
  return backslash == nullptr || backslash[1] == L'\0' ? kUnknown : backslash + 1;
}

void Describe(EVENT_DATA_DESCRIPTOR& item, const wchar_t* text) noexcept {
  ::EventDataDescCreate(&item, text, static_cast<ULONG>((std::wcslen(text) + 1) * sizeof(wchar_t)));
}

}  // namespace

TraceLog::TraceLog() noexcept {
  if (::EventRegister(&kProvider, nullptr, nullptr, &registration) != ERROR_SUCCESS) {
    registration = 0;
  }
}

TraceLog::~TraceLog() {
  if (registration != 0) ::EventUnregister(registration);
}

bool TraceLog::Write(const wchar_t* function, std::uint32_t line,
                     const wchar_t* message) const noexcept {
  if (registration == 0 || function == nullptr || message == nullptr) return false;

  std::array<wchar_t, kPathCapacity> modulePath{};
  std::array<EVENT_DATA_DESCRIPTOR, 4> items{};
  Describe(items[0], FindModuleName(modulePath));
  Describe(items[1], function);
  ::EventDataDescCreate(&items[2], &line, sizeof(line));
  Describe(items[3], message);
  ::EventWrite(registration, &kEvent, static_cast<ULONG>(items.size()), items.data());
  return false;
}

bool TraceLog::WriteUInt(const wchar_t* function, std::uint32_t line, std::uint32_t value) const {
  return Write(function, line, std::to_wstring(value).c_str());
}

bool TraceLog::WriteInt(const wchar_t* function, std::uint32_t line, std::int32_t value) const {
  return Write(function, line, std::to_wstring(value).c_str());
}

bool TraceLog::WriteUIntPair(const wchar_t* function, std::uint32_t line, std::uint32_t first,
                             std::uint32_t second) const {
  const std::wstring message = std::to_wstring(first) + L", " + std::to_wstring(second);
  return Write(function, line, message.c_str());
}

bool TraceLog::WriteTextUInt(const wchar_t* function, std::uint32_t line, const wchar_t* text,
                             std::uint32_t value) const {
  std::wstring message = text != nullptr ? text : L"(null)";
  message += L", ";
  message += std::to_wstring(value);
  return Write(function, line, message.c_str());
}
