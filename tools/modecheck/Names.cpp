#include "Names.h"

#include <algorithm>
#include <cwctype>
#include <numeric>

namespace Names {

namespace {

constexpr std::size_t kLongestName = 100;

/// How many letters to insert, remove or replace to make one of the other (Levenshtein).
std::size_t GetDistance(std::wstring_view one, std::wstring_view other) {
  std::vector<std::size_t> row(other.size() + 1);
  std::iota(row.begin(), row.end(), std::size_t{0});
  for (std::size_t i = 0; i < one.size(); ++i) {
    std::size_t diagonal = row[0];
    row[0] = i + 1;
    for (std::size_t j = 0; j < other.size(); ++j) {
      const std::size_t replaced = diagonal + (one[i] == other[j] ? 0 : 1);
      diagonal = row[j + 1];
      row[j + 1] = std::min({replaced, row[j] + 1, diagonal + 1});
    }
  }
  return row.back();
}

/// The only one of the known names that goes on after `name`.
const std::wstring* FindLonger(const std::wstring& name, const std::vector<std::wstring>& known) {
  constexpr std::size_t kShortestStart = 4;
  const std::wstring* found = nullptr;
  if (name.size() < kShortestStart) return nullptr;
  for (const std::wstring& candidate : known) {
    if (!StartsWith(candidate, name)) continue;
    if (found != nullptr) return nullptr;
    found = &candidate;
  }
  return found;
}

}  // namespace

std::wstring Fold(std::wstring_view name) {
  std::wstring folded(name);
  std::transform(folded.begin(), folded.end(), folded.begin(),
                 [](wchar_t letter) { return static_cast<wchar_t>(std::towlower(letter)); });
  return folded;
}

bool AreEqual(std::wstring_view one, std::wstring_view other) {
  return one.size() == other.size() && StartsWith(one, other);
}

bool StartsWith(std::wstring_view name, std::wstring_view start) {
  return name.size() >= start.size() &&
         std::equal(start.begin(), start.end(), name.begin(), [](wchar_t one, wchar_t other) {
           return one == other || std::towlower(one) == std::towlower(other);
         });
}

bool IsAscii(std::wstring_view text) noexcept {
  return std::all_of(text.begin(), text.end(), [](wchar_t letter) { return letter < 0x80; });
}

std::wstring FindNearest(std::wstring_view name, const std::vector<std::wstring>& known) {
  if (name.size() > kLongestName) return {};
  const std::wstring folded = Fold(name);
  if (const std::wstring* const longer = FindLonger(folded, known)) return *longer;
  std::wstring nearest;
  std::size_t shortest = std::max<std::size_t>(1, folded.size() / 3) + 1;
  for (const std::wstring& candidate : known) {
    if (candidate.size() > kLongestName) continue;
    const std::size_t distance = GetDistance(folded, Fold(candidate));
    if (distance >= shortest) continue;
    shortest = distance;
    nearest = candidate;
  }
  return nearest;
}

std::wstring Suggest(std::wstring_view name, const std::vector<std::wstring>& known) {
  const std::wstring nearest = FindNearest(name, known);
  return nearest.empty() ? L"" : L" Did you mean \"" + nearest + L"\"?";
}

}  // namespace Names
