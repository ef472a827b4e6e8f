#include <windows.h>
// windows.h first: the other needs its types.
#include <powrprof.h>

#include <algorithm>
#include <iterator>

#include "EngineTable.h"

// The power plan: 0 power saver, 1 balanced, 2 high performance. Many machines have only some of
// them, and Wine 8 has none: its functions answer ERROR_CALL_NOT_IMPLEMENTED.

namespace {

constexpr GUID kSchemes[] = {
    {0xA1841308, 0x3541, 0x4FAB, {0xBC, 0x81, 0xF7, 0x15, 0x56, 0xF2, 0x0B, 0x4A}},
    {0x381B4222, 0xF694, 0x41F0, {0x96, 0x85, 0xFF, 0x5B, 0xB2, 0x60, 0xDF, 0x2E}},
    {0x8C5E7FDA, 0xE8BF, 0x4A96, {0x9A, 0x85, 0xA6, 0xE2, 0x3A, 0x8C, 0x63, 0x5C}},
};
constexpr INT32 kBalanced = 1;

bool GetActiveScheme(GUID* scheme) {
  GUID* active = nullptr;
  if (::PowerGetActiveScheme(nullptr, &active) != ERROR_SUCCESS) return false;
  *scheme = *active;
  ::LocalFree(active);
  return true;
}

bool IsSupported() {
  GUID scheme;
  return GetActiveScheme(&scheme);
}

bool IsAvailable(INT32 value) {
  for (ULONG index = 0;; ++index) {
    GUID scheme;
    DWORD size = sizeof(scheme);
    if (::PowerEnumerate(nullptr, nullptr, nullptr, ACCESS_SCHEME, index,
                         reinterpret_cast<UCHAR*>(&scheme), &size) != ERROR_SUCCESS) {
      return false;
    }
    if (::IsEqualGUID(scheme, kSchemes[value]) != FALSE) return true;
  }
}

// A plan of the user's or the maker's own counts as the balanced one.
bool GetCurrent(INT32* value) {
  GUID active;
  if (!GetActiveScheme(&active)) return false;
  const GUID* const scheme =
      std::find_if(std::begin(kSchemes), std::end(kSchemes),
                   [&](const GUID& known) { return ::IsEqualGUID(known, active) != FALSE; });
  *value =
      scheme == std::end(kSchemes) ? kBalanced : static_cast<INT32>(scheme - std::begin(kSchemes));
  return true;
}

bool Set(INT32 value) {
  return ::PowerSetActiveScheme(nullptr, &kSchemes[value]) == ERROR_SUCCESS;
}

}  // namespace

const EngineTable kEngine = {
    .item = L"PowerScheme",
    .valueCount = static_cast<INT32>(std::size(kSchemes)),
    .getCurrent = GetCurrent,
    .set = Set,
    .isSupported = IsSupported,
    .isAvailable = IsAvailable,
};
