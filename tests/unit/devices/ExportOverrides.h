#pragma once

#include <windows.h>

#include <map>
#include <string>

#include "support/Interposition.h"

/// Changes what the library finds in the DLLs that it loads: exports that are missing, and exports
/// that a test wrote for one case. All others are the DLL's own.
class ExportOverrides {
 public:
  /// `interposition` has to outlive this object's last use by the library.
  explicit ExportOverrides(Interposition& interposition) {
    const auto original = interposition.Original<decltype(&::GetProcAddress)>("GetProcAddress");
    interposition.Replace("GetProcAddress",
                          [this, original](HMODULE module, const char* name) -> FARPROC {
                            const auto found = overrides.find(name);
                            if (found == overrides.end()) return original(module, name);
                            if (found->second == nullptr) ::SetLastError(ERROR_PROC_NOT_FOUND);
                            return reinterpret_cast<FARPROC>(found->second);
                          });
  }
  ExportOverrides(const ExportOverrides&) = delete;
  ExportOverrides& operator=(const ExportOverrides&) = delete;

  /// GetProcAddress fails for it with ERROR_PROC_NOT_FOUND.
  void Hide(const std::string& name) { overrides[name] = nullptr; }
  template <class Function>
  void Set(const std::string& name, Function* function) {
    overrides[name] = reinterpret_cast<void*>(function);
  }
  void Restore() { overrides.clear(); }

 private:
  std::map<std::string, void*> overrides;
};
