#include "ConfigCheck.h"

#include <algorithm>
#include <iterator>
#include <set>

#include "Names.h"

namespace {

constexpr const wchar_t* kFixedSections[] = {L"ModeList",         L"ModeStatus0",
                                             L"ModeStatus1",      L"SettingItemList",
                                             L"SettingGroupList", L"Common"};
constexpr const wchar_t* kModeFlags[] = {L"IsCradleMode", L"IsCustomMode", L"IsEcoMode",
                                         L"IsWirelessOffMode"};
// Keys beside the items' own in the sections of a mode's values.
constexpr const wchar_t* kKeysBesideItems[] = {L"AutoONOFF", L"LockedSettingItemCount"};

constexpr const wchar_t* kIconKey = L"ModeStatusIconKeyName";
constexpr const wchar_t* kLockValue = L"SettingItemValueToLockOtherSettingItem";
constexpr const wchar_t* kLockCount = L"LockedOtherSettingItemCount";
constexpr const wchar_t* kLockedItem = L"LockedOtherSettingItem";
constexpr const wchar_t* kLockedValue = L"LockedOtherSettingItemValue";
// Stands for a value that is not there.
constexpr int kNoLockValue = -100;

const IniFileCheck::List kModeList = {L"ModeList", L"ModeCount", L"Mode"};
const IniFileCheck::List kItemList = {L"SettingItemList", L"SettingItemCount", L"SettingItem"};
const IniFileCheck::List kGroupList = {L"SettingGroupList", L"SettingGroupCount", L"SettingGroup"};

}  // namespace

Configuration ConfigCheck::Run() {
  for (const wchar_t* const section : kFixedSections) {
    kinds[Names::Fold(section)] = L"a section that the library reads";
  }
  for (const wchar_t* const key : kKeysBesideItems) {
    kinds[Names::Fold(key)] = L"a key beside the values of items";
  }
  ReadModes();
  ReadItems();
  ReadGroups();
  CheckIcons();
  CheckLamps();
  CheckGroupMembers();
  CheckLocks();
  CheckNames();
  return configuration;
}

/// A list that was checked, each name once.
std::vector<ConfigCheck::Entry> ConfigCheck::ReadDistinct(const IniFileCheck::List& list) const {
  const std::vector<Entry> all = file.ReadList(list);
  file.CheckDuplicates(list, all);
  std::vector<Entry> distinct;
  std::set<std::wstring> names;
  std::copy_if(all.begin(), all.end(), std::back_inserter(distinct), [&names](const Entry& entry) {
    return names.insert(Names::Fold(entry.name)).second;
  });
  return distinct;
}

void ConfigCheck::ReadModes() {
  const std::vector<Entry> modes = ReadDistinct(kModeList);
  if (modes.empty()) {
    file.Add(Rule::kNoModes, file.LineOf(L"ModeList", L"ModeCount"),
             L"[ModeList] has no mode, which is an error of the library. List at least one.");
  }
  for (const Entry& mode : modes) {
    CheckName(mode.name, mode.line, L"a mode");
    int types = 0;
    for (const wchar_t* const flag : kModeFlags) {
      if (file.ReadFlag(mode.name, flag) == 1 && ++types == 2) {
        file.Add(Rule::kModeTypeAmbiguous, file.LineOf(mode.name, flag),
                 mode.name +
                     L" has several types, and the first of cradle, custom, eco and "
                     L"wireless-off counts. Leave 1 at one of them.");
      }
    }
    configuration.modes.push_back({mode.name, file.ReadFlag(mode.name, L"IsCradleMode") == 1});
  }
}

void ConfigCheck::ReadItems() {
  const std::vector<Entry> items = ReadDistinct(kItemList);
  if (items.empty()) {
    file.Add(Rule::kNoItems, file.LineOf(L"SettingItemList", L"SettingItemCount"),
             L"[SettingItemList] has no item, so no mode does anything. List the items there.");
  }
  for (const Entry& item : items) ReadItem(item);
}

void ConfigCheck::ReadItem(const Entry& entry) {
  CheckName(entry.name, entry.line, L"an item");
  Configuration::Item item{.name = entry.name, .line = entry.line};
  const IniDocument::Key* const path = file.Document().Find(entry.name, L"EnginePath");
  if (path != nullptr) {
    item.enginePath = file.ReadName(*path);
    item.line = path->line;
  }
  if (item.enginePath.empty()) {
    const bool hasSection = file.Document().FindSection(entry.name) != nullptr;
    file.Add(Rule::kEnginePathMissing,
             hasSection ? file.LineOf(entry.name, L"EnginePath") : entry.line,
             entry.name + L" has no engine, so it can't be set. Add EnginePath to [" + entry.name +
                 L"]" + (hasSection ? L"." : L", which is missing too."));
  }
  ReadLock(&item);
  configuration.items.push_back(std::move(item));
}

void ConfigCheck::ReadLock(Configuration::Item* item) const {
  const std::wstring& section = item->name;
  const IniDocument::Key* const valueKey = file.Document().Find(section, kLockValue);
  const bool hasCount = file.Document().Find(section, kLockCount) != nullptr;
  const std::vector<LockEntry> entries = FindLockEntries(section);
  const bool hasRest = (hasCount && file.ReadNumber(section, kLockCount) != 0) || !entries.empty();
  if (valueKey == nullptr && !hasRest) return;

  const std::optional<int> value = file.ReadNumber(section, kLockValue);
  if (valueKey == nullptr || value == kNoLockValue) {
    file.Add(Rule::kLockValueMissing, file.LineOf(section, kLockValue),
             L"The lock rule of " + section + L" has no locking value" +
                 (value ? L": -100 stands for none" : L"") +
                 L", so it never works. Add SettingItemValueToLockOtherSettingItem, or remove the "
                 L"rule.");
  } else {
    item->lockValue = value;
    item->lockValueLine = valueKey->line;
    const std::optional<int> count = file.ReadNumber(section, kLockCount);
    if (!hasCount || (count && *count < 1)) {
      file.Add(Rule::kLockCountMissing, file.LineOf(section, kLockCount),
               L"The lock rule of " + section +
                   L" has no count of at least 1: the settings dialog closes with an error. Add "
                   L"LockedOtherSettingItemCount, or remove the rule.");
    }
  }
  CheckLockCount(section, entries);
  for (const LockEntry& entry : entries) ReadLockEntry(entry, item);
}

std::vector<ConfigCheck::LockEntry> ConfigCheck::FindLockEntries(
    const std::wstring& section) const {
  std::map<unsigned, LockEntry> entries;
  for (const auto& [number, key] : file.FindNumbered(section, kLockedItem)) {
    entries[number].name = key;
  }
  for (const auto& [number, key] : file.FindNumbered(section, kLockedValue)) {
    entries[number].value = key;
  }
  std::vector<LockEntry> list;
  for (auto& [number, entry] : entries) {
    entry.number = number;
    list.push_back(entry);
  }
  return list;
}

void ConfigCheck::CheckLockCount(const std::wstring& section,
                                 const std::vector<LockEntry>& entries) const {
  const unsigned line = file.LineOf(section, kLockCount);
  unsigned next = 0;
  for (const LockEntry& entry : entries) {
    if (entry.number > next) {
      file.Add(Rule::kLockedNameMissing, line,
               L"The lock rule of " + section + L" has no " + kLockedItem + std::to_wstring(next) +
                   L". Number its entries from 0 without gaps.");
    }
    next = entry.number + 1;
  }
  const int signedCount = file.ReadNumber(section, kLockCount).value_or(0);
  // Reported already.
  if (signedCount < 1) return;
  const auto count = static_cast<unsigned>(signedCount);
  const std::wstring start = std::wstring(kLockCount) + L" is " + std::to_wstring(count);
  if (next > count) {
    const auto unread =
        std::find_if(entries.begin(), entries.end(),
                     [count](const LockEntry& entry) { return entry.number >= count; });
    const IniDocument::Key& key = unread->FirstKey();
    file.Add(Rule::kCountTooSmall, key.line,
             key.name + L" is not read: " + start + L". Raise it to " + std::to_wstring(next) +
                 L", or remove what is beyond it.");
  } else if (next < count) {
    file.Add(Rule::kLockedNameMissing, line,
             start + L", but " + kLockedItem + std::to_wstring(next) +
                 L" is missing. Name an item there, or lower the count to " +
                 std::to_wstring(next) + L".");
  }
}

void ConfigCheck::ReadLockEntry(const LockEntry& entry, Configuration::Item* item) const {
  const std::wstring number = std::to_wstring(entry.number);
  const std::wstring name = entry.name == nullptr ? L"" : file.ReadName(*entry.name);
  if (name.empty()) {
    file.Add(Rule::kLockedNameMissing, entry.FirstKey().line,
             L"Entry " + number + L" of the lock rule of " + item->name + L" names no item. Add " +
                 kLockedItem + number + L".");
    return;
  }
  const std::optional<int> value = file.ReadNumber(item->name, kLockedValue + number);
  if (entry.value == nullptr || value == kNoLockValue) {
    file.Add(Rule::kLockedValueMissing, (entry.value == nullptr ? entry.name : entry.value)->line,
             name + L" is locked without a value" + (value ? L": -100 stands for none" : L"") +
                 L". The settings dialog closes with an error. Add " + kLockedValue + number +
                 L".");
  } else if (value) {
    item->lockedItems.push_back({name, *value, entry.value->line});
  }
}

void ConfigCheck::ReadGroups() {
  for (const Entry& group : ReadDistinct(kGroupList)) {
    CheckName(group.name, group.line, L"a group");
    configuration.groups.push_back(group.name);
    const IniFileCheck::List list = {group.name, L"SettingItemCount", L"SettingItem"};
    const std::vector<Entry> items = ReadDistinct(list);
    if (items.empty()) {
      file.Add(Rule::kGroupEmpty,
               file.Document().FindSection(group.name) != nullptr
                   ? file.LineOf(group.name, L"SettingItemCount")
                   : group.line,
               group.name + L" has no item, so it is never shown. List its items in [" +
                   group.name + L"], or remove it from [SettingGroupList].");
    }
    for (const Entry& item : items) members.push_back({item.name, item.line});
  }
}

void ConfigCheck::CheckName(const std::wstring& name, unsigned line, const wchar_t* kind) {
  const auto [first, isNew] = kinds.try_emplace(Names::Fold(name), kind);
  if (!isNew) {
    file.Add(Rule::kNameShared, line,
             name + L" is " + kind + L", and also " + first->second +
                 L". Rename one of them, in every file.");
  }
  if (name.find_first_of(L"=[]") != std::wstring::npos || name.starts_with(L';')) {
    file.Add(Rule::kNameCharacters, line,
             L"\"" + name + L"\" can't be a section or a key. Use ASCII letters and digits.");
  } else if (!Names::IsAscii(name)) {
    file.Add(Rule::kNameNotAscii, line,
             L"\"" + name +
                 L"\" becomes a key in files that hold the ANSI code page of the machine only. Use "
                 L"ASCII letters and digits; what users see is in ModeChange.Resource.ini.");
  }
}

void ConfigCheck::CheckIcons() const {
  for (const wchar_t* const section : {L"ModeStatus0", L"ModeStatus1"}) {
    const IniDocument::Key* const icon = file.Document().Find(section, kIconKey);
    if (icon != nullptr && !file.ReadName(*icon).empty()) continue;
    file.Add(Rule::kStatusIconMissing, file.LineOf(section, kIconKey),
             std::wstring(L"[") + section +
                 L"] names no icon for the host application. Add ModeStatusIconKeyName there.");
  }
}

void ConfigCheck::CheckLamps() const {
  static_cast<void>(file.ReadNumber(L"Common", L"EnableToChangeWirelessLEDStatusInWin7"));
}

void ConfigCheck::CheckGroupMembers() const {
  std::map<std::wstring, unsigned> lines;
  for (const GroupMember& member : members) {
    if (configuration.FindItem(member.name) == nullptr) {
      file.Add(Rule::kItemNotListed, member.line,
               member.name +
                   L" is not in [SettingItemList], so it is left out. Add it there, or "
                   L"correct the name." +
                   Names::Suggest(member.name, configuration.ItemNames()));
    }
    const auto [first, isNew] = lines.try_emplace(Names::Fold(member.name), member.line);
    if (!isNew) {
      file.Add(Rule::kItemInTwoGroups, member.line,
               member.name + L" is in another group too, in line " +
                   std::to_wstring(first->second) +
                   L": the settings dialog shows it twice. Remove one of them.");
    }
  }
  for (const auto& [number, item, line] : file.ReadList(kItemList)) {
    if (lines.contains(Names::Fold(item))) continue;
    file.Add(Rule::kItemInNoGroup, line,
             item +
                 L" is in no group, so users can't edit it, and a mode that they save leaves it "
                 L"as it is. Add it to a group.");
  }
}

std::size_t ConfigCheck::PlaceInDialog(std::wstring_view item) const {
  const auto found = std::find_if(
      members.begin(), members.end(),
      [item](const GroupMember& member) { return Names::AreEqual(member.name, item); });
  return static_cast<std::size_t>(found - members.begin());
}

void ConfigCheck::CheckLocks() const {
  for (const Configuration::Item& item : configuration.items) {
    for (const auto& [number, key] : file.FindNumbered(item.name, kLockedItem)) {
      const std::wstring name = file.ReadName(*key);
      if (name.empty()) continue;
      if (Names::AreEqual(name, item.name)) {
        file.Add(Rule::kLockItself, key->line,
                 item.name +
                     L" locks itself: users can't choose another value any more. Remove it "
                     L"from its own rule.");
      } else if (configuration.FindItem(name) == nullptr) {
        file.Add(Rule::kLockedItemUnknown, key->line,
                 name + L" is not in [SettingItemList], so nothing is locked. Correct the name." +
                     Names::Suggest(name, configuration.ItemNames()));
      } else if (PlaceInDialog(item.name) < members.size() &&
                 PlaceInDialog(name) < PlaceInDialog(item.name)) {
        file.Add(Rule::kLockOrder, key->line,
                 item.name + L" locks " + name +
                     L", which stands above it in the settings dialog; rules are evaluated from "
                     L"the top. Move " +
                     item.name + L", or its group, up.");
      }
    }
  }
}

void ConfigCheck::CheckNames() const {
  std::map<std::wstring, IniFileCheck::KnownKeys> known;
  std::vector<std::wstring> names;
  const auto add = [&](const std::wstring& section, const std::vector<std::wstring>& keys,
                       const std::vector<std::wstring>& numberedKeys) {
    IniFileCheck::KnownKeys& entry = known[Names::Fold(section)];
    entry.keys.insert(entry.keys.end(), keys.begin(), keys.end());
    entry.numberedKeys.insert(entry.numberedKeys.end(), numberedKeys.begin(), numberedKeys.end());
    names.push_back(section);
  };
  for (const IniFileCheck::List& list : {kModeList, kItemList, kGroupList}) {
    add(list.section, {list.countKey}, {list.entryKey});
  }
  add(L"ModeStatus0", {kIconKey}, {});
  add(L"ModeStatus1", {kIconKey}, {});
  add(L"Common", {L"EnableToChangeWirelessLEDStatusInWin7"}, {});
  for (const Configuration::Mode& mode : configuration.modes) {
    add(mode.name, {std::begin(kModeFlags), std::end(kModeFlags)}, {});
  }
  for (const std::wstring& group : configuration.groups) {
    add(group, {L"SettingItemCount"}, {L"SettingItem"});
  }
  for (const Configuration::Item& item : configuration.items) {
    add(item.name, {L"EnginePath", kLockValue, kLockCount}, {kLockedItem, kLockedValue});
  }
  file.CheckNames(known, names);
}
