#include "config/CModeChangeConfig.h"

#include <algorithm>
#include <utility>

#include "common/CIniStringReader.h"
#include "common/CNumberedKeys.h"
#include "common/IniHelpers.h"
#include "common/ModuleHelpers.h"
#include "common/PathHelpers.h"

namespace {

// The value that stands for an absent lock key; it is never a setting item's value.
constexpr std::int32_t kNoLockValue = -100;

struct ModeFlag {
  const wchar_t* key;
  CModeChangeConfig::ModeType type;
};

// In the order in which they are tested: a mode with several flags is of the first one's type.
constexpr ModeFlag kModeFlags[] = {
    {L"IsCradleMode", CModeChangeConfig::kCradleMode},
    {L"IsCustomMode", CModeChangeConfig::kCustomMode},
    {L"IsEcoMode", CModeChangeConfig::kEcoMode},
    {L"IsWirelessOffMode", CModeChangeConfig::kWirelessOffMode},
};

std::vector<CWideString> ReadNames(CIniStringReader& reader, const wchar_t* section,
                                   const wchar_t* keyName, std::int32_t count) {
  std::vector<CWideString> names;
  CNumberedKeys keys(reader, section, keyName, count);
  while (keys.Next()) {
    if (!keys.Value().empty()) names.push_back(keys.Value());
  }
  return names;
}

std::size_t CountIgnoringCase(const std::vector<CWideString>& names, const CWideString& name) {
  return static_cast<std::size_t>(std::count_if(
      names.begin(), names.end(),
      [&name](const CWideString& candidate) { return candidate.EqualsIgnoringCase(name); }));
}

void Append(std::vector<CWideString>* list, const std::vector<CWideString>& more) {
  list->insert(list->end(), more.begin(), more.end());
}

}  // namespace

CModeChangeConfig::CModeChangeConfig() {
  const HMODULE module = Common::GetMyModuleHandle();
  if (module == nullptr) {
    trace.Write(L"CModeChangeConfig::CModeChangeConfig", 61);
    return;
  }
  CWideString folder;
  if (!Common::GetModuleFolder(module, &folder)) {
    trace.Write(L"CModeChangeConfig::CModeChangeConfig", 66);
    return;
  }
  CWideString config;
  CWideString usableModeList;
  if (!Common::JoinPath(folder, L"ModeChange.Config.ini", &config) ||
      !Common::JoinPath(folder, L"ModeChange.UsableModeList.ini", &usableModeList)) {
    trace.Write(L"CModeChangeConfig::CModeChangeConfig", 73);
    return;
  }
  configPath = std::move(config);
  usableModeListPath = std::move(usableModeList);
}

bool CModeChangeConfig::GetModeStatusIconKeyName(UINT status, CWideString* iconKeyName) const {
  if (iconKeyName == nullptr) {
    return trace.Write(L"CModeChangeConfig::GetModeStatusIconKeyName", 83);
  }
  if (!DoesConfigFileExist()) {
    return trace.Write(L"CModeChangeConfig::GetModeStatusIconKeyName", 85);
  }
  const DWORD size = Common::GetMyFileSize(configPath.c_str());
  if (size == 0) {
    return trace.Write(L"CModeChangeConfig::GetModeStatusIconKeyName", 88, configPath.c_str());
  }
  const CWideString section = L"ModeStatus" + CWideString::FromUInt(status);
  *iconKeyName = CIniStringReader(configPath, size).Read(section.c_str(), L"ModeStatusIconKeyName");
  return true;
}

bool CModeChangeConfig::GetAllModeList(std::vector<CWideString>* modes) const {
  if (modes == nullptr) return trace.Write(L"CModeChangeConfig::GetAllModeList", 97);
  if (!DoesConfigFileExist()) return trace.Write(L"CModeChangeConfig::GetAllModeList", 98);
  const std::int32_t count = Common::ReadIniInt(configPath, L"ModeList", L"ModeCount", 0);
  if (count == 0) return trace.Write(L"CModeChangeConfig::GetAllModeList", 100);
  const DWORD size = Common::GetMyFileSize(configPath.c_str());
  if (size == 0) return trace.Write(L"CModeChangeConfig::GetAllModeList", 102);
  CIniStringReader reader(configPath, size);
  Append(modes, ReadNames(reader, L"ModeList", L"Mode", count));
  return true;
}

bool CModeChangeConfig::GetUsableModeList(std::vector<CWideString>* modes) const {
  if (modes == nullptr) return trace.Write(L"CModeChangeConfig::GetUsableModeList", 109);
  if (!DoesConfigFileExist()) return trace.Write(L"CModeChangeConfig::GetUsableModeList", 110);
  std::vector<CWideString> allModes;
  if (!GetAllModeList(&allModes)) {
    return trace.Write(L"CModeChangeConfig::GetUsableModeList", 113);
  }
  const std::int32_t count =
      Common::ReadIniInt(usableModeListPath, L"UsableModeList", L"ModeCount", 0);
  if (count == 0) return trace.Write(L"CModeChangeConfig::GetUsableModeList", 117);
  const DWORD size = Common::GetMyFileSize(configPath.c_str());
  if (size == 0) {
    return trace.Write(L"CModeChangeConfig::GetUsableModeList", 120, configPath.c_str());
  }
  CIniStringReader reader(usableModeListPath, size);
  std::vector<CWideString> usableModes = ReadNames(reader, L"UsableModeList", L"Mode", count);
  std::erase_if(usableModes, [&allModes](const CWideString& mode) {
    return CountIgnoringCase(allModes, mode) == 0;
  });
  Append(modes, usableModes);
  return true;
}

bool CModeChangeConfig::GetModeType(const wchar_t* mode, UINT* type) const {
  if (mode == nullptr || type == nullptr) {
    return trace.Write(L"CModeChangeConfig::GetModeType", 133);
  }
  if (!DoesConfigFileExist()) return trace.Write(L"CModeChangeConfig::GetModeType", 135);
  const auto* flag = std::find_if(
      std::begin(kModeFlags), std::end(kModeFlags), [this, mode](const ModeFlag& candidate) {
        return Common::ReadIniInt(configPath, mode, candidate.key, 0) == 1;
      });
  *type = flag != std::end(kModeFlags) ? flag->type : kNormalMode;
  return true;
}

bool CModeChangeConfig::GetAllSettingItemList(std::vector<CWideString>* items) const {
  return GetList({.section = L"SettingItemList",
                  .countKey = L"SettingItemCount",
                  .nameKey = L"SettingItem",
                  .nullOutput = {L"CModeChangeConfig::GetAllSettingItemList", 145},
                  .noConfigFile = {L"CModeChangeConfig::GetAllSettingItemList", 147},
                  .emptyConfigFile = {L"CModeChangeConfig::GetAllSettingItemList", 153}},
                 items);
}

bool CModeChangeConfig::GetSettingGroupList(std::vector<CWideString>* groups) const {
  return GetList({.section = L"SettingGroupList",
                  .countKey = L"SettingGroupCount",
                  .nameKey = L"SettingGroup",
                  .nullOutput = {L"CModeChangeConfig::GetSettingGroupList", 161},
                  .noConfigFile = {L"CModeChangeConfig::GetSettingGroupList", 163},
                  .emptyConfigFile = {L"CModeChangeConfig::GetSettingGroupList", 169}},
                 groups);
}

bool CModeChangeConfig::GetSettingItemListInSettingGroup(const wchar_t* group,
                                                         std::vector<CWideString>* items) const {
  if (group == nullptr || items == nullptr) {
    return trace.Write(L"CModeChangeConfig::GetSettingItemListInSettingGroup", 179);
  }
  if (!DoesConfigFileExist()) {
    return trace.Write(L"CModeChangeConfig::GetSettingItemListInSettingGroup", 182);
  }
  std::vector<CWideString> allItems;
  if (!GetAllSettingItemList(&allItems)) {
    return trace.Write(L"CModeChangeConfig::GetSettingItemListInSettingGroup", 186);
  }
  const std::int32_t count = Common::ReadIniInt(configPath, group, L"SettingItemCount", 0);
  if (count < 1) return true;
  const DWORD size = Common::GetMyFileSize(configPath.c_str());
  if (size == 0) {
    return trace.Write(L"CModeChangeConfig::GetSettingItemListInSettingGroup", 192,
                       configPath.c_str());
  }
  CIniStringReader reader(configPath, size);
  std::vector<CWideString> members;
  for (const CWideString& name : ReadNames(reader, group, L"SettingItem", count)) {
    members.insert(members.end(), CountIgnoringCase(allItems, name), name);
  }
  Append(items, members);
  return true;
}

bool CModeChangeConfig::GetSettingItemEnginePath(const wchar_t* item,
                                                 CWideString* enginePath) const {
  if (item == nullptr || enginePath == nullptr) {
    return trace.Write(L"CModeChangeConfig::GetSettingItemEnginePath", 207);
  }
  if (!DoesConfigFileExist()) {
    return trace.Write(L"CModeChangeConfig::GetSettingItemEnginePath", 210);
  }
  const DWORD size = Common::GetMyFileSize(configPath.c_str());
  if (size == 0) {
    return trace.Write(L"CModeChangeConfig::GetSettingItemEnginePath", 214, configPath.c_str());
  }
  const CWideString relativePath = CIniStringReader(configPath, size).Read(item, L"EnginePath");
  CWideString folder;
  if (!Common::GetModuleFolder(Common::GetMyModuleHandle(), &folder)) {
    const DWORD error = ::GetLastError();
    return trace.WriteUInt(L"CModeChangeConfig::GetSettingItemEnginePath", 220, error);
  }
  if (!Common::JoinPath(folder, relativePath.c_str(), enginePath)) {
    return trace.Write(L"CModeChangeConfig::GetSettingItemEnginePath", 223, relativePath.c_str());
  }
  return true;
}

bool CModeChangeConfig::DoesSettingItemaHaveValueLockOtherSettingItem(
    const wchar_t* item, bool* hasLock, std::int32_t* lockValue,
    std::vector<CWideString>* lockedItems, std::vector<std::int32_t>* lockedValues) const {
  if (item == nullptr || hasLock == nullptr || lockValue == nullptr || lockedItems == nullptr ||
      lockedValues == nullptr) {
    return trace.Write(L"CModeChangeConfig::DoesSettingItemaHaveValueLockOtherSettingItem", 233);
  }
  const std::int32_t value =
      Common::ReadIniInt(configPath, item, L"SettingItemValueToLockOtherSettingItem", kNoLockValue);
  if (value == kNoLockValue) {
    *hasLock = false;
    return true;
  }
  const std::int32_t count =
      Common::ReadIniInt(configPath, item, L"LockedOtherSettingItemCount", 0);
  if (count < 1) {
    *hasLock = false;
    return false;
  }
  const DWORD size = Common::GetMyFileSize(configPath.c_str());
  if (size == 0) {
    return trace.Write(L"CModeChangeConfig::DoesSettingItemaHaveValueLockOtherSettingItem", 249,
                       configPath.c_str());
  }
  CIniStringReader reader(configPath, size);
  std::vector<CWideString> names;
  std::vector<std::int32_t> values;
  CNumberedKeys keys(reader, item, L"LockedOtherSettingItem", count);
  while (keys.Next()) {
    if (keys.Value().empty()) continue;
    const CWideString valueKey =
        L"LockedOtherSettingItemValue" + CWideString::FromInt(keys.Index());
    const std::int32_t lockedValue =
        Common::ReadIniInt(configPath, item, valueKey.c_str(), kNoLockValue);
    if (lockedValue == kNoLockValue) {
      return trace.Write(L"CModeChangeConfig::DoesSettingItemaHaveValueLockOtherSettingItem", 263,
                         item);
    }
    names.push_back(keys.Value());
    values.push_back(lockedValue);
  }
  *hasLock = true;
  *lockValue = value;
  *lockedItems = std::move(names);
  *lockedValues = std::move(values);
  return true;
}

bool CModeChangeConfig::EnableToChangeWirelessLEDStatusInWin7() const noexcept {
  return Common::ReadIniInt(configPath, L"Common", L"EnableToChangeWirelessLEDStatusInWin7", 0) !=
         0;
}

bool CModeChangeConfig::DoesConfigFileExist() const {
  if (!Common::FileExists(configPath)) {
    return trace.Write(L"CModeChangeConfig::DoesConfigFileExist", 282, configPath.c_str());
  }
  if (!Common::FileExists(usableModeListPath)) {
    return trace.Write(L"CModeChangeConfig::DoesConfigFileExist", 285, usableModeListPath.c_str());
  }
  return true;
}

bool CModeChangeConfig::GetList(const OptionalList& list, std::vector<CWideString>* names) const {
  if (names == nullptr) return trace.Write(list.nullOutput.function, list.nullOutput.line);
  if (!DoesConfigFileExist()) {
    return trace.Write(list.noConfigFile.function, list.noConfigFile.line);
  }
  const std::int32_t count = Common::ReadIniInt(configPath, list.section, list.countKey, 0);
  if (count == 0) return true;
  const DWORD size = Common::GetMyFileSize(configPath.c_str());
  if (size == 0) {
    return trace.Write(list.emptyConfigFile.function, list.emptyConfigFile.line,
                       configPath.c_str());
  }
  CIniStringReader reader(configPath, size);
  Append(names, ReadNames(reader, list.section, list.nameKey, count));
  return true;
}
