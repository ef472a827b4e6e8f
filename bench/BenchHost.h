#pragma once

#include <velto/mode_change.h>

/// A host that switches its first mode through the library's exports.
class BenchHost {
 public:
  explicit BenchHost(HMODULE library);
  ~BenchHost();
  BenchHost(const BenchHost&) = delete;
  BenchHost& operator=(const BenchHost&) = delete;

  /// Returns when the change is reported. Throws std::runtime_error when it failed.
  void Change(INT32 status) const;
  [[nodiscard]] HWND Window() const noexcept { return window; }

 private:
  template <class Function>
  static Function Find(HMODULE library, const char* name) {
    return reinterpret_cast<Function>(reinterpret_cast<void*>(::GetProcAddress(library, name)));
  }

  decltype(&VeltoModeChange_DeleteHandle) deleteHandle;
  decltype(&VeltoModeChange_RequestToSetINT32Information) request;
  HWND window;
  VELTO_MODE_CHANGE_HANDLE handle = nullptr;
};
