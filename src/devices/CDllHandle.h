#pragma once

#include <windows.h>

#include "common/CUniqueHandle.h"

namespace Common {

/// Owns a loaded DLL whose functions a derived class resolves when it is loaded.
class CDllHandle {
 public:
  CDllHandle() noexcept = default;
  virtual ~CDllHandle();
  CDllHandle(const CDllHandle&) = delete;
  CDllHandle& operator=(const CDllHandle&) = delete;

  /// False, with the last error set, when the DLL can't be loaded, when OnLoad refuses it (it is
  /// freed again), or when one is loaded already (ERROR_ALREADY_INITIALIZED).
  [[nodiscard]] bool Load(const wchar_t* path);

 protected:
  /// Resolves the DLL's functions; false refuses the DLL.
  [[nodiscard]] virtual bool OnLoad(HMODULE loaded);
  /// Forgets the functions.
  virtual void OnUnload() noexcept;

 private:
  CUniqueModule module;
};

}  // namespace Common
