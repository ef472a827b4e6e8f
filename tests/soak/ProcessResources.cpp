#include "soak/ProcessResources.h"

#include <windows.h>
// windows.h first: the others need its types.
#include <psapi.h>
#include <winternl.h>

#include <algorithm>
#include <cstdint>
#include <stdexcept>
#include <vector>

namespace {

// --- What Wine counts elsewhere ------------------------------------------------------------------

struct SystemHandle {
  void* object;
  ULONG_PTR process;
  ULONG_PTR value;
  ULONG access;
  USHORT unused[2];
  ULONG more[2];
};

struct SystemHandles {
  ULONG_PTR count;
  ULONG_PTR reserved;
  SystemHandle handles[1];
};

using QuerySystemInformation = NTSTATUS(WINAPI*)(ULONG kind, void* buffer, ULONG size,
                                                 ULONG* needed);

/// Among all handles of the system.
std::size_t CountHandlesOfSystem() {
  constexpr ULONG kExtendedHandles = 64;
  constexpr NTSTATUS kTooSmall = static_cast<NTSTATUS>(0xC0000004);
  const auto query = reinterpret_cast<QuerySystemInformation>(reinterpret_cast<void*>(
      ::GetProcAddress(::GetModuleHandleW(L"ntdll.dll"), "NtQuerySystemInformation")));
  // Kept, so that looking takes the same memory each time.
  static std::vector<std::uint64_t> buffer(1U << 17);
  NTSTATUS status = kTooSmall;
  while (status == kTooSmall) {
    status = query(kExtendedHandles, buffer.data(),
                   static_cast<ULONG>(buffer.size() * sizeof(buffer[0])), nullptr);
    if (status == kTooSmall) buffer.resize(buffer.size() * 2);
  }
  if (status != 0) throw std::runtime_error("the system does not tell its handles");
  const auto* all = reinterpret_cast<const SystemHandles*>(buffer.data());
  return static_cast<std::size_t>(std::count_if(
      all->handles, all->handles + all->count,
      [](const SystemHandle& handle) { return handle.process == ::GetCurrentProcessId(); }));
}

struct GdiObject {
  std::uint64_t object;
  std::uint32_t owner;
  std::uint16_t generation;
  std::uint16_t type;
  std::uint64_t userData;
};

/// In the process' own table, which Wine has in the place where Windows 7 has it.
std::size_t CountGdiObjectsOfTable() {
  constexpr std::size_t kTablePlace = 0xF8;
  constexpr std::size_t kTableSize = 0x4000;
  const auto* environment =
      reinterpret_cast<const char*>(::NtCurrentTeb()->ProcessEnvironmentBlock);
  const auto* table = *reinterpret_cast<const GdiObject* const*>(environment + kTablePlace);
  if (table == nullptr) throw std::runtime_error("the system does not tell its GDI objects");
  return static_cast<std::size_t>(std::count_if(
      table, table + kTableSize, [](const GdiObject& object) { return object.type != 0; }));
}

// -------------------------------------------------------------------------------------------------

std::size_t CountHandles() {
  DWORD count = 0;
  ::GetProcessHandleCount(::GetCurrentProcess(), &count);
  return count != 0 ? count : CountHandlesOfSystem();
}

std::size_t CountGdiObjects() {
  const DWORD count = ::GetGuiResources(::GetCurrentProcess(), GR_GDIOBJECTS);
  return count != 0 ? count : CountGdiObjectsOfTable();
}

BOOL CALLBACK CountWindow(HWND /*window*/, LPARAM count) {
  ++*reinterpret_cast<std::size_t*>(count);
  return TRUE;
}

/// The lists of combo boxes are windows of their own, no children.
std::size_t CountWindows() {
  std::size_t count = 0;
  ::EnumThreadWindows(
      ::GetCurrentThreadId(),
      [](HWND window, LPARAM result) -> BOOL {
        ::EnumChildWindows(window, CountWindow, result);
        return CountWindow(window, result);
      },
      reinterpret_cast<LPARAM>(&count));
  return count;
}

std::size_t CountPrivateBytes() {
  PROCESS_MEMORY_COUNTERS counters{};
  counters.cb = sizeof(counters);
  ::GetProcessMemoryInfo(::GetCurrentProcess(), &counters, sizeof(counters));
  return counters.PagefileUsage;
}

}  // namespace

ProcessResources ProcessResources::Now() {
  return {.handles = CountHandles(),
          .gdiObjects = CountGdiObjects(),
          .windows = CountWindows(),
          .privateBytes = CountPrivateBytes()};
}
