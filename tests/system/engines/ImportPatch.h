#pragma once

#include <windows.h>

#include <stdexcept>
#include <string>

#include "support/PeImage.h"

/// Puts a function of the test in the place of one that a module imports, for good, and returns the
/// one that was there. Nothing of it is needed any more when an engine's own thread ends later than
/// the test, which is why this is not Interposition.
template <class Function>
Function* ReplaceImport(HMODULE module, const std::string& name, Function* replacement) {
  for (const PeImage::Import& import : PeImage(module).Imports()) {
    if (import.function != name) continue;
    auto* const slot = reinterpret_cast<Function**>(reinterpret_cast<char*>(module) + import.slot);
    Function* const original = *slot;
    DWORD protection = 0;
    ::VirtualProtect(slot, sizeof(*slot), PAGE_READWRITE, &protection);
    *slot = replacement;
    ::VirtualProtect(slot, sizeof(*slot), protection, &protection);
    return original;
  }
  throw std::runtime_error("not imported: " + name);
}
