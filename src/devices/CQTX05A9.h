#pragma once

#include <windows.h>

#include "common/CUniqueHandle.h"
#include "common/CWideString.h"

/// The lamps of the notebook, through the platform hotkey driver's library. The library is found
/// in the registry and loaded when it is first needed. Nothing here traces; false means that
/// the driver is not there or refused.
class CQTX05A9 {
 public:
  CQTX05A9() noexcept = default;
  virtual ~CQTX05A9();
  CQTX05A9(const CQTX05A9&) = delete;
  CQTX05A9& operator=(const CQTX05A9&) = delete;

  /// Unloads the library and forgets where it is.
  virtual void Release() noexcept;
  virtual void Unload() noexcept;
  /// `supported` is 1 when the machine has an eco lamp, else 0.
  [[nodiscard]] virtual bool IsEcoLEDSupported(UINT* supported);
  [[nodiscard]] virtual bool SetEcoLED(bool on);

 protected:
  [[nodiscard]] virtual bool LocateDll();
  [[nodiscard]] virtual bool Load();

 private:
  CUniqueModule module;
  CWideString path;
};
