#include "ProcessObjects.h"

#include <windows.h>
// windows.h first: the other needs its types.
#include <tlhelp32.h>

#include "common/CUniqueHandle.h"

namespace EngineCheck {

namespace {

/// One by one: not every system that runs Windows programs counts a process' handles. They are
/// multiples of four, and the lowest that is free is given out first.
std::size_t CountHandles() {
  constexpr ULONG_PTR kStep = 4;
  constexpr ULONG_PTR kHighest = 0x8000;
  std::size_t count = 0;
  for (ULONG_PTR number = kStep; number < kHighest; number += kStep) {
    DWORD flags = 0;
    // NOLINTNEXTLINE(performance-no-int-to-ptr): whether this number is a handle is the question
    if (::GetHandleInformation(reinterpret_cast<HANDLE>(number), &flags) != FALSE) ++count;
  }
  return count;
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

std::size_t ProcessObjects::CountThreads() {
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

ProcessObjects ProcessObjects::Count() {
  return {.threads = CountThreads(),
          .handles = CountHandles(),
          .windows = CountWindows(),
          .gdiObjects = CountGdiObjects()};
}

}  // namespace EngineCheck
