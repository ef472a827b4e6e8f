#include "Configuration.h"

#include <algorithm>

#include "Names.h"

namespace {

template <class Entry>
const Entry* Find(const std::vector<Entry>& entries, std::wstring_view name) {
  const auto found = std::find_if(entries.begin(), entries.end(), [name](const Entry& entry) {
    return Names::AreEqual(entry.name, name);
  });
  return found == entries.end() ? nullptr : &*found;
}

template <class Entry>
std::vector<std::wstring> GetNames(const std::vector<Entry>& entries) {
  std::vector<std::wstring> names;
  names.reserve(entries.size());
  for (const Entry& entry : entries) names.push_back(entry.name);
  return names;
}

}  // namespace

const Configuration::Mode* Configuration::FindMode(std::wstring_view name) const {
  return Find(modes, name);
}

const Configuration::Item* Configuration::FindItem(std::wstring_view name) const {
  return Find(items, name);
}

std::vector<std::wstring> Configuration::ModeNames() const {
  return GetNames(modes);
}

std::vector<std::wstring> Configuration::ItemNames() const {
  return GetNames(items);
}
