#include "common/IsWindows8OrLater.h"

#include <windows.h>

bool IsWindows8OrLater() noexcept {
  OSVERSIONINFOEXW windows8{};
  windows8.dwOSVersionInfoSize = sizeof(windows8);
  windows8.dwMajorVersion = 6;
  windows8.dwMinorVersion = 2;
  windows8.wServicePackMajor = 0;

  constexpr DWORD kCompared = VER_MAJORVERSION | VER_MINORVERSION | VER_SERVICEPACKMAJOR;
  DWORDLONG conditions = 0;
  conditions = ::VerSetConditionMask(conditions, VER_MAJORVERSION, VER_GREATER_EQUAL);
  conditions = ::VerSetConditionMask(conditions, VER_MINORVERSION, VER_GREATER_EQUAL);
  conditions = ::VerSetConditionMask(conditions, VER_SERVICEPACKMAJOR, VER_GREATER_EQUAL);
  return ::VerifyVersionInfoW(&windows8, kCompared, conditions) != FALSE;
}
