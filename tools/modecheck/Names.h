#pragma once

#include <string>
#include <string_view>
#include <vector>

/// Names of sections, keys, modes, groups and items as the library compares them.
namespace Names {

/// The same text for names that differ in upper and lower case only.
[[nodiscard]] std::wstring Fold(std::wstring_view name);
[[nodiscard]] bool AreEqual(std::wstring_view one, std::wstring_view other);
/// Whether `name` begins with `start`, in any case.
[[nodiscard]] bool StartsWith(std::wstring_view name, std::wstring_view start);

[[nodiscard]] bool IsAscii(std::wstring_view text) noexcept;

/// The known name that was most probably meant: one that goes on after `name`, or else the one with
/// the fewest letters to change. Empty when none is near.
[[nodiscard]] std::wstring FindNearest(std::wstring_view name,
                                       const std::vector<std::wstring>& known);

/// A sentence that asks whether the nearest name was meant, with a space in front; or nothing.
[[nodiscard]] std::wstring Suggest(std::wstring_view name, const std::vector<std::wstring>& known);

}  // namespace Names
