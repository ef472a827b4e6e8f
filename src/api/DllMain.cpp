#include <windows.h>

#include "common/CUniqueHandle.h"
#include "settings/design/ScreenDpi.h"
#include "trace/TraceLog.h"

namespace {

struct ScreenDcTraits {
  using Type = HDC;
  static Type None() noexcept { return nullptr; }
  static void Close(Type dc) noexcept { ::ReleaseDC(nullptr, dc); }
};

}  // namespace

/// The library's loading cannot fail: without a screen only the fonts' sizes are lost.
extern "C" BOOL WINAPI DllMain(HINSTANCE module, DWORD reason, void* /*reserved*/) {
  if (reason != DLL_PROCESS_ATTACH) return TRUE;
  ::DisableThreadLibraryCalls(module);
  const CUniqueHandle<ScreenDcTraits> screen(::GetDC(nullptr));
  if (screen) {
    ScreenDpi::Set(::GetDeviceCaps(screen.Get(), LOGPIXELSY));
  } else {
    const DWORD error = ::GetLastError();
    TraceLog().WriteUInt(L"DllMain", 44, error);
  }
  return TRUE;
}
