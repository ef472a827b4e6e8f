#include "ModeReport.h"

#include "common/IsWindows8OrLater.h"
#include "common/ModuleHelpers.h"
#include "common/PathHelpers.h"

namespace {

// In the order of CModeChangeConfig::ModeType.
constexpr const wchar_t* kModeTypeNames[] = {L"cradle", L"custom", L"eco", L"wireless-off",
                                             L"ordinary"};

void Require(bool succeeded, const CWideString& problem, const CWideString& remedy) {
  if (!succeeded) throw ReportError{problem, remedy};
}

/// For questions that fail only when a file goes away, or becomes empty, while the report is made.
void RequireRead(bool succeeded, const wchar_t* fileName) {
  Require(succeeded, CWideString(fileName) + L" can't be read.",
          L"Check that it is still there, is not empty and may be read by this user.");
}

void RequireFile(const CWideString& folder, const wchar_t* fileName) {
  CWideString path;
  Require(Common::JoinPath(folder, fileName, &path) && Common::FileExists(path),
          CWideString(fileName) + L" is missing. Looked for it in " + folder + L".",
          L"Put it there: it belongs beside the library, as does this program.");
}

CWideString WithKey(const CWideString& displayName, const CWideString& key) {
  return displayName.empty() ? key : displayName + L" [" + key + L"]";
}

}  // namespace

ModeReport::ModeReport(TextOutput& output) : output(output) {
  Require(Common::GetModuleFolder(Common::GetMyModuleHandle(), &folder),
          L"The folder of this program can't be determined.",
          L"Run the program from a folder with a shorter path.");
  RequireFile(folder, L"ModeChange.Config.ini");
  RequireFile(folder, L"ModeChange.UsableModeList.ini");
  RequireFile(folder, L"ModeChange.DefaultSettings.ini");
  Require(!resource.Path().empty(),
          L"ModeChange.Resource.ini is missing. Looked for it in " + folder +
              L": in the folders of the user's language (such as ja-JP), in en-US and in the "
              L"folder itself.",
          L"Put at least en-US\\ModeChange.Resource.ini there.");
  Require(
      config.GetUsableModeList(&modes),
      L"There is no list of modes in ModeChange.Config.ini and ModeChange.UsableModeList.ini.",
      L"Check ModeCount in [ModeList] of the first and in [UsableModeList] of the second file.");
  Require(!modes.empty(), L"No mode of ModeChange.UsableModeList.ini is defined.",
          L"Check that [ModeList] of ModeChange.Config.ini has the same names.");
}

void ModeReport::PrintTitle() {
  CWideString applicationName;
  RequireRead(resource.GetApplicationName(&applicationName), L"ModeChange.Resource.ini");
  output.WriteLine(applicationName);
  output.WriteLine(L"  Configuration  " + folder);
  output.WriteLine(L"  Texts          " + resource.Path());
  output.WriteLine(CWideString(L"  Defaults for   ") +
                   (IsWindows8OrLater() ? L"Windows 8 and later" : L"Windows 7"));
}

void ModeReport::PrintMode(const CWideString& mode) {
  const wchar_t* const key = mode.c_str();
  UINT type = 0;
  std::vector<CWideString> groups;
  bool changed = false;
  bool autoOnOff = false;
  UINT currentStatus = 0;
  CWideString icon;
  RequireRead(config.GetModeType(key, &type) && config.GetSettingGroupList(&groups),
              L"ModeChange.Config.ini");
  RequireRead(settings.IsModeSettingsChanged(key, &changed), L"ModeChange.Settings.ini");
  RequireRead(settings.GetAutoONOFFSetting(key, &autoOnOff), L"ModeChange.DefaultSettings.ini");
  RequireRead(status.GetCurrentModeStatus(key, &currentStatus), L"ModeChange.Status.ini");
  RequireRead(config.GetModeStatusIconKeyName(currentStatus, &icon), L"ModeChange.Config.ini");

  CWideString name;
  CWideString statusName;
  RequireRead(
      resource.GetModeName(key, &name) && resource.GetModeStatusName(currentStatus, &statusName),
      L"ModeChange.Resource.ini");

  output.WriteLine();
  output.WriteLine(WithKey(name, mode));
  output.WriteLine(CWideString(L"  Type         ") + kModeTypeNames[type]);
  output.WriteLine(L"  Status       " + CWideString::FromUInt(currentStatus) + L" = " + statusName);
  output.WriteLine(L"  Icon         " + icon);
  output.WriteLine(CWideString(L"  Settings     ") +
                   (changed ? L"saved by the user" : L"the maker's defaults"));
  output.WriteLine(CWideString(L"  Auto ON/OFF  ") + (autoOnOff ? L"yes" : L"no"));

  for (const CWideString& group : groups) {
    CWideString groupName;
    RequireRead(resource.GetSettingGroupName(group.c_str(), &groupName),
                L"ModeChange.Resource.ini");
    output.WriteLine(L"  " + WithKey(groupName, group));
    std::vector<CWideString> items;
    RequireRead(config.GetSettingItemListInSettingGroup(group.c_str(), &items),
                L"ModeChange.Config.ini");
    for (const CWideString& item : items) PrintItem(mode, item);
  }
}

void ModeReport::PrintItem(const CWideString& mode, const CWideString& item) {
  std::int32_t value = 0;
  bool locked = false;
  CWideString enginePath;
  RequireRead(settings.GetSettingItemValue(mode.c_str(), item.c_str(), &value) &&
                  settings.IsSetingItemValueLocked(mode.c_str(), item.c_str(), &locked),
              L"ModeChange.DefaultSettings.ini");
  RequireRead(config.GetSettingItemEnginePath(item.c_str(), &enginePath), L"ModeChange.Config.ini");

  output.WriteLine(L"    " + GetItemName(item));
  output.WriteLine(L"      Value   " + GetValueName(item, value) +
                   (locked ? L", locked in this mode" : L""));
  output.WriteLine(L"      Engine  " + enginePath);
  PrintLockRule(item);
}

void ModeReport::PrintLockRule(const CWideString& item) {
  bool hasLock = false;
  std::int32_t lockValue = 0;
  std::vector<CWideString> lockedItems;
  std::vector<std::int32_t> lockedValues;
  Require(config.DoesSettingItemaHaveValueLockOtherSettingItem(item.c_str(), &hasLock, &lockValue,
                                                               &lockedItems, &lockedValues),
          L"The lock rule in [" + item + L"] of ModeChange.Config.ini is not complete.",
          L"Give LockedOtherSettingItemCount, and a LockedOtherSettingItemValue for each locked "
          L"item.");
  if (!hasLock) return;
  for (std::size_t i = 0; i < lockedItems.size(); ++i) {
    output.WriteLine(L"      Locks   while " + GetValueName(item, lockValue) + L": holds " +
                     GetItemName(lockedItems[i]) + L" at " +
                     GetValueName(lockedItems[i], lockedValues[i]));
  }
}

CWideString ModeReport::GetItemName(const CWideString& item) {
  CWideString name;
  RequireRead(resource.GetSettingItemStringResource((item + L"_Name").c_str(), &name),
              L"ModeChange.Resource.ini");
  return WithKey(name, item);
}

CWideString ModeReport::GetValueName(const CWideString& item, std::int32_t value) {
  const CWideString number = CWideString::FromInt(value);
  CWideString name;
  RequireRead(
      value == CModeChangeSettings::kDoNothing
          ? resource.GetSettingItemStatusName_DoNothing(&name)
          : resource.GetSettingItemStringResource((item + L"_Value" + number).c_str(), &name),
      L"ModeChange.Resource.ini");
  return name.empty() ? number : number + L" = " + name;
}
