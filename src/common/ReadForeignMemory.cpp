#include "common/ReadForeignMemory.h"

#include <windows.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <cwchar>

namespace Common {

namespace {

// Memory is readable, or not, by pages.
constexpr std::size_t kPageSize = 4096;

std::size_t CountCharactersToPageEnd(const wchar_t* address) noexcept {
  const std::size_t bytes = kPageSize - reinterpret_cast<std::uintptr_t>(address) % kPageSize;
  // A character may straddle two pages.
  return std::max<std::size_t>(bytes / sizeof(wchar_t), 1);
}

/// Where Windows is imitated, ReadProcessMemory also reads pages that allow no access.
bool AllowsAccess(const void* address, std::size_t size) noexcept {
  const std::uintptr_t end = reinterpret_cast<std::uintptr_t>(address) + size;
  const void* current = address;
  while (reinterpret_cast<std::uintptr_t>(current) < end) {
    MEMORY_BASIC_INFORMATION pages{};
    if (::VirtualQuery(current, &pages, sizeof(pages)) == 0 || pages.State != MEM_COMMIT ||
        (pages.Protect & (PAGE_NOACCESS | PAGE_GUARD)) != 0) {
      return false;
    }
    current = static_cast<const char*>(pages.BaseAddress) + pages.RegionSize;
  }
  return true;
}

}  // namespace

bool ReadForeignMemory(const void* address, void* copy, std::size_t size) noexcept {
  // The pages may change in between, so the copy has to stand that.
  SIZE_T read = 0;
  return AllowsAccess(address, size) &&
         ::ReadProcessMemory(::GetCurrentProcess(), address, copy, size, &read) != FALSE &&
         read == size;
}

bool ReadForeignText(const wchar_t* address, std::size_t mostCharacters, CWideString* text) {
  CWideString found;
  std::array<wchar_t, kPageSize / sizeof(wchar_t)> page{};
  while (found.length() < mostCharacters) {
    const std::size_t count =
        std::min(CountCharactersToPageEnd(address), mostCharacters - found.length());
    if (!ReadForeignMemory(address, page.data(), count * sizeof(wchar_t))) return false;
    const wchar_t* end = std::wmemchr(page.data(), L'\0', count);
    if (end != nullptr) {
      found += CWideString(page.data(), static_cast<std::size_t>(end - page.data()));
      *text = found;
      return true;
    }
    found += CWideString(page.data(), count);
    address += count;
  }
  return false;
}

}  // namespace Common
