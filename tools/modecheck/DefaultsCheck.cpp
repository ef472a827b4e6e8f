#include "DefaultsCheck.h"

#include <algorithm>

#include "Names.h"

namespace {

constexpr const wchar_t* kSuffixes[] = {L"_Win7", L"_Win8OrLater"};
constexpr const wchar_t* kShowAnnouncement = L"ShowAnnounceModeIsChangedDialog";
constexpr const wchar_t* kAutoOnOff = L"AutoONOFF";

IniFileCheck::List GetLockedItemList(const std::wstring& section) {
  return {section, L"LockedSettingItemCount", L"LockedSettingItem"};
}

}  // namespace

void DefaultsCheck::Run() const {
  static_cast<void>(file.ReadNumber(L"Common", kShowAnnouncement));
  for (const Configuration::Mode& mode : configuration.modes) {
    for (const wchar_t* const suffix : kSuffixes) CheckMode(mode, mode.name + suffix);
  }
  CheckNames();
}

void DefaultsCheck::CheckMode(const Configuration::Mode& mode, const std::wstring& section) const {
  if (file.Document().FindSection(section) == nullptr) {
    const bool isWindows7 = section.ends_with(kSuffixes[0]);
    file.Add(Rule::kDefaultsMissing, 0,
             L"[" + section + L"] is missing: " +
                 (isWindows7 ? L"before Windows 8 " : L"on Windows 8 and later ") + mode.name +
                 L" does nothing. Add the section.");
    return;
  }
  for (const Configuration::Item& item : configuration.items) CheckItem(section, item.name);
  if (file.ReadFlag(section, kAutoOnOff) == 1 && !mode.isCradle) {
    file.Add(Rule::kAutoOnOff, file.LineOf(section, kAutoOnOff),
             mode.name +
                 L" is no cradle mode, so its user can't turn Auto ON/OFF off. Set "
                 L"AutoONOFF to 0.");
  }
  CheckLockedItems(section);
  CheckAgainstLocks(section);
}

void DefaultsCheck::CheckItem(const std::wstring& section, const std::wstring& item) const {
  if (file.Document().Find(section, item) == nullptr) {
    file.Add(Rule::kDefaultMissing, file.LineOf(section, item),
             item + L" has no default in [" + section + L"], so the mode leaves it as it is. Add " +
                 item + L"=-1 if that is meant.");
    return;
  }
  if (const std::optional<int> value = file.ReadNumber(section, item)) {
    engines.CheckValue(file, file.LineOf(section, item), item, item + L" in [" + section + L"]",
                       *value);
  }
}

void DefaultsCheck::CheckLockedItems(const std::wstring& section) const {
  const IniFileCheck::List list = GetLockedItemList(section);
  const std::vector<IniFileCheck::Entry> entries = file.ReadList(list);
  file.CheckDuplicates(list, entries);
  for (const IniFileCheck::Entry& entry : entries) {
    const Configuration::Item* const item = configuration.FindItem(entry.name);
    if (item == nullptr) {
      file.Add(Rule::kLockedItemUnknown, entry.line,
               entry.name +
                   L" is not in [SettingItemList], so nothing is locked. Correct the "
                   L"name." +
                   Names::Suggest(entry.name, configuration.ItemNames()));
    } else if (item->name != entry.name) {
      file.Add(Rule::kLockedNameCase, entry.line,
               entry.name + L" does not lock " + item->name +
                   L": upper and lower case count here. Write " + item->name + L".");
    }
  }
}

void DefaultsCheck::CheckAgainstLocks(const std::wstring& section) const {
  for (const Configuration::Item& item : configuration.items) {
    if (!item.lockValue || file.ReadNumber(section, item.name) != item.lockValue) continue;
    for (const Configuration::LockedItem& locked : item.lockedItems) {
      const int value = file.ReadNumber(section, locked.name).value_or(-1);
      if (value == locked.value || configuration.FindItem(locked.name) == nullptr) continue;
      file.Add(Rule::kDefaultAgainstLock, file.LineOf(section, locked.name),
               locked.name + L" in [" + section + L"] is " + std::to_wstring(value) + L", but " +
                   item.name + L"=" + std::to_wstring(*item.lockValue) + L" holds it at " +
                   std::to_wstring(locked.value) +
                   L": the settings dialog shows the mode as changed. Write " +
                   std::to_wstring(locked.value) + L".");
    }
  }
}

void DefaultsCheck::CheckNames() const {
  std::map<std::wstring, IniFileCheck::KnownKeys> known;
  std::vector<std::wstring> names = {L"Common"};
  known[Names::Fold(L"Common")].keys = {kShowAnnouncement};
  IniFileCheck::KnownKeys keys = {configuration.ItemNames(), {L"LockedSettingItem"}};
  keys.keys.insert(keys.keys.end(), {kAutoOnOff, L"LockedSettingItemCount"});
  for (const Configuration::Mode& mode : configuration.modes) {
    for (const wchar_t* const suffix : kSuffixes) {
      names.push_back(mode.name + suffix);
      known[Names::Fold(names.back())] = keys;
    }
  }
  file.CheckNames(known, names);
}
