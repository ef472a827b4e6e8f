#include "devices/CDllHandle.h"

#include <utility>

namespace Common {

CDllHandle::~CDllHandle() = default;

bool CDllHandle::Load(const wchar_t* path) {
  if (module) {
    ::SetLastError(ERROR_ALREADY_INITIALIZED);
    return false;
  }
  CUniqueModule loaded(::LoadLibraryW(path));
  if (!loaded) return false;
  // The DLL's own start-up code may have come back here.
  if (module) {
    ::SetLastError(ERROR_ALREADY_INITIALIZED);
    return false;
  }
  if (!OnLoad(loaded.Get())) {
    OnUnload();
    return false;
  }
  module = std::move(loaded);
  return true;
}

bool CDllHandle::OnLoad(HMODULE /*loaded*/) {
  return true;
}

void CDllHandle::OnUnload() noexcept {}

}  // namespace Common
