#pragma once

#include <cstddef>

#include "common/CWideString.h"

namespace Common {

/// Copies memory at an address that somebody else named and that need not be readable; false when
/// it is not.
[[nodiscard]] bool ReadForeignMemory(const void* address, void* copy, std::size_t size) noexcept;

/// Copies a text at such an address; false, with `text` untouched, when it is not readable up to a
/// terminator within `mostCharacters`.
[[nodiscard]] bool ReadForeignText(const wchar_t* address, std::size_t mostCharacters,
                                   CWideString* text);

}  // namespace Common
