#pragma once

#include <windows.h>

#include <stdexcept>
#include <string>

#include "support/PeImage.h"

/// Puts a function of the test in the place of one that an engine imports, for good: the engine
/// goes away with its test. Nothing of it is needed any more when the engine's own thread ends
/// later than the test, which is why this is not Interposition.
template <class Function>
void ReplaceImport(HMODULE module, const std::string& name, Function* replacement) {
  for (const PeImage::Import& import : PeImage(module).Imports()) {
    if (import.function != name) continue;
    auto* const slot = reinterpret_cast<Function**>(reinterpret_cast<char*>(module) + import.slot);
    DWORD protection = 0;
    ::VirtualProtect(slot, sizeof(*slot), PAGE_READWRITE, &protection);
    *slot = replacement;
    ::VirtualProtect(slot, sizeof(*slot), protection, &protection);
    return;
  }
  throw std::runtime_error("the engine does not import " + name);
}
