#pragma once

#include <windows.h>

/// A function that a DLL exports by name, as a pointer of its type; null, with the last error set,
/// when the DLL has none.
template <class Function>
[[nodiscard]] Function GetFunction(HMODULE module, const char* name) noexcept {
  // By way of a data pointer: the type that GetProcAddress returns is never the function's own.
  return reinterpret_cast<Function>(reinterpret_cast<void*>(::GetProcAddress(module, name)));
}
