#include "ProcessObjects.h"

#include <windows.h>
// windows.h first: the others need its types.
#include <tlhelp32.h>
#include <winternl.h>

#include <vector>

#include "common/CUniqueHandle.h"

namespace EngineCheck {

namespace {

std::size_t CountThreads() {
  const CUniqueFile snapshot(::CreateToolhelp32Snapshot(TH32CS_SNAPTHREAD, 0));
  THREADENTRY32 entry{};
  entry.dwSize = sizeof(entry);
  std::size_t count = 0;
  for (BOOL isThere = ::Thread32First(snapshot.Get(), &entry); isThere != FALSE;
       isThere = ::Thread32Next(snapshot.Get(), &entry)) {
    if (entry.th32OwnerProcessID == ::GetCurrentProcessId()) ++count;
  }
  return count;
}

/// From the list of processes: GetProcessHandleCount does not count on every system that runs
/// Windows programs.
std::optional<std::size_t> CountHandles() {
  constexpr NTSTATUS kTooSmall = static_cast<NTSTATUS>(0xC0000004);
  std::vector<BYTE> list(0x10000);
  ULONG needed = 0;
  NTSTATUS status = kTooSmall;
  while ((status = ::NtQuerySystemInformation(SystemProcessInformation, list.data(),
                                              static_cast<ULONG>(list.size()), &needed)) ==
         kTooSmall) {
    list.resize(list.size() * 2);
  }
  if (status < 0) return std::nullopt;
  const BYTE* position = list.data();
  for (;;) {
    const auto* process = reinterpret_cast<const SYSTEM_PROCESS_INFORMATION*>(position);
    if (reinterpret_cast<ULONG_PTR>(process->UniqueProcessId) == ::GetCurrentProcessId()) {
      return process->HandleCount != 0 ? std::optional<std::size_t>(process->HandleCount)
                                       : std::nullopt;
    }
    if (process->NextEntryOffset == 0) return std::nullopt;
    position += process->NextEntryOffset;
  }
}

bool IsOfThisProcess(HWND window) {
  DWORD process = 0;
  ::GetWindowThreadProcessId(window, &process);
  return process == ::GetCurrentProcessId();
}

std::size_t CountWindows() {
  std::size_t count = 0;
  for (HWND parent : {HWND{nullptr}, HWND_MESSAGE}) {
    for (HWND window = ::FindWindowExW(parent, nullptr, nullptr, nullptr); window != nullptr;
         window = ::FindWindowExW(parent, window, nullptr, nullptr)) {
      if (IsOfThisProcess(window)) ++count;
    }
  }
  return count;
}

std::size_t ReadGdiCount() {
  return ::GetGuiResources(::GetCurrentProcess(), GR_GDIOBJECTS);
}

/// Whether the system counts is found out by an object of our own.
std::optional<std::size_t> CountGdiObjects() {
  const std::size_t before = ReadGdiCount();
  const CUniqueBrush brush(::CreateSolidBrush(RGB(1, 2, 3)));
  return ReadGdiCount() > before ? std::optional<std::size_t>(before) : std::nullopt;
}

}  // namespace

ProcessObjects ProcessObjects::Count() {
  return {.threads = CountThreads(),
          .handles = CountHandles(),
          .windows = CountWindows(),
          .gdiObjects = CountGdiObjects()};
}

}  // namespace EngineCheck
