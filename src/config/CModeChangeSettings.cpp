#include "config/CModeChangeSettings.h"

#include <array>

#include "common/CIniStringReader.h"
#include "common/CNumberedKeys.h"
#include "common/IniHelpers.h"
#include "common/IsWindows8OrLater.h"
#include "common/ModuleHelpers.h"
#include "common/PathHelpers.h"
#include "config/DataFile.h"

namespace {

constexpr const wchar_t* kCommon = L"Common";
constexpr const wchar_t* kShowAnnouncement = L"ShowAnnounceModeIsChangedDialog";
constexpr const wchar_t* kAutoONOFF = L"AutoONOFF";

// Stands for "the user did not choose"; a file that holds this number says the same.
constexpr std::int32_t kNoChoice = 1000;

CWideString GetDefaultSection(const wchar_t* mode) {
  return CWideString(mode) + (IsWindows8OrLater() ? L"_Win8OrLater" : L"_Win7");
}

}  // namespace

CModeChangeSettings::CModeChangeSettings() {
  FindDefaultSettingsPath();
  if (!DataFile::GetPath(L"ModeChange.Settings.ini", &settingsPath)) {
    const DWORD error = ::GetLastError();
    trace.WriteUInt(L"CModeChangeSettings::CModeChangeSettings", 82, error);
  }
}

void CModeChangeSettings::FindDefaultSettingsPath() {
  const HMODULE module = Common::GetMyModuleHandle();
  if (module == nullptr) {
    trace.Write(L"CModeChangeSettings::CModeChangeSettings", 55);
    return;
  }
  CWideString folder;
  if (!Common::GetModuleFolder(module, &folder)) {
    trace.Write(L"CModeChangeSettings::CModeChangeSettings", 61);
    return;
  }
  if (!Common::JoinPath(folder, L"ModeChange.DefaultSettings.ini", &defaultSettingsPath)) {
    trace.Write(L"CModeChangeSettings::CModeChangeSettings", 67);
  }
}

bool CModeChangeSettings::GetDefaultAnnounceModeIsChangedDialogDisplaySetting(bool* show) const {
  if (show == nullptr) {
    return trace.Write(L"CModeChangeSettings::GetDefaultAnnounceModeIsChangedDialogDisplaySetting",
                       104);
  }
  if (!Common::FileExists(defaultSettingsPath)) {
    return trace.Write(L"CModeChangeSettings::GetDefaultAnnounceModeIsChangedDialogDisplaySetting",
                       110, defaultSettingsPath.c_str());
  }
  *show = Common::ReadIniInt(defaultSettingsPath, kCommon, kShowAnnouncement, 1) != 0;
  return true;
}

bool CModeChangeSettings::GetAnnounceModeIsChangedDialogDisplaySetting(bool* show) const {
  if (show == nullptr) {
    return trace.Write(L"CModeChangeSettings::GetAnnounceModeIsChangedDialogDisplaySetting", 134);
  }
  const std::int32_t choice =
      Common::FileExists(settingsPath)
          ? Common::ReadIniInt(settingsPath, kCommon, kShowAnnouncement, kNoChoice)
          : kNoChoice;
  if (choice != kNoChoice) {
    *show = choice != 0;
    return true;
  }
  if (!GetDefaultAnnounceModeIsChangedDialogDisplaySetting(show)) {
    return trace.Write(L"CModeChangeSettings::GetAnnounceModeIsChangedDialogDisplaySetting", 149);
  }
  return true;
}

bool CModeChangeSettings::SaveAnnounceModeIsChangedDialogDisplaySetting(bool show) const {
  if (!Common::WriteIniInt(settingsPath, kCommon, kShowAnnouncement, show ? 1 : 0)) {
    const DWORD error = ::GetLastError();
    return trace.WriteTextUInt(
        L"CModeChangeSettings::SaveAnnounceModeIsChangedDialogDisplaySetting", 180,
        settingsPath.c_str(), error);
  }
  return true;
}

bool CModeChangeSettings::GetDefaultSettingItemValue(const wchar_t* mode, const wchar_t* item,
                                                     std::int32_t* value) const {
  if (mode == nullptr || item == nullptr || value == nullptr) {
    return trace.Write(L"CModeChangeSettings::GetDefaultSettingItemValue", 205);
  }
  if (!Common::FileExists(defaultSettingsPath)) {
    return trace.Write(L"CModeChangeSettings::GetDefaultSettingItemValue", 211,
                       defaultSettingsPath.c_str());
  }
  *value =
      Common::ReadIniInt(defaultSettingsPath, GetDefaultSection(mode).c_str(), item, kDoNothing);
  return true;
}

bool CModeChangeSettings::GetSettingItemValue(const wchar_t* mode, const wchar_t* item,
                                              std::int32_t* value) const {
  if (mode == nullptr || item == nullptr || value == nullptr) {
    return trace.Write(L"CModeChangeSettings::GetSettingItemValue", 285);
  }
  if (HasUserValues(mode)) {
    *value = Common::ReadIniInt(settingsPath, mode, item, kDoNothing);
    return true;
  }
  if (!GetDefaultSettingItemValue(mode, item, value)) {
    return trace.Write(L"CModeChangeSettings::GetSettingItemValue", 305);
  }
  return true;
}

bool CModeChangeSettings::SaveSettingItemValue(const wchar_t* mode, const wchar_t* item,
                                               std::int32_t value) const {
  if (mode == nullptr || item == nullptr) {
    return trace.Write(L"CModeChangeSettings::SaveSettingItemValue", 460);
  }
  if (!Common::FileExists(settingsPath) && !CreateSettingFile()) {
    return trace.Write(L"CModeChangeSettings::SaveSettingItemValue", 468);
  }
  return DataFile::WriteInt(settingsPath, mode, item, value, trace,
                            {.pathAndError = {L"CModeChangeSettings::SaveSettingItemValue", 480},
                             .value = {L"CModeChangeSettings::SaveSettingItemValue", 481}});
}

bool CModeChangeSettings::GetDefaultAutoONOFFSetting(const wchar_t* mode, bool* on) const {
  if (mode == nullptr || on == nullptr) {
    return trace.Write(L"CModeChangeSettings::GetDefaultAutoONOFFSetting", 240);
  }
  if (!Common::FileExists(defaultSettingsPath)) {
    return trace.Write(L"CModeChangeSettings::GetDefaultAutoONOFFSetting", 246,
                       defaultSettingsPath.c_str());
  }
  *on =
      Common::ReadIniInt(defaultSettingsPath, GetDefaultSection(mode).c_str(), kAutoONOFF, 0) == 1;
  return true;
}

bool CModeChangeSettings::GetAutoONOFFSetting(const wchar_t* mode, bool* on) const {
  if (mode == nullptr || on == nullptr) {
    return trace.Write(L"CModeChangeSettings::GetAutoONOFFSetting", 336);
  }
  if (HasUserValues(mode)) {
    *on = Common::ReadIniInt(settingsPath, mode, kAutoONOFF, 0) == 1;
    return true;
  }
  if (!GetDefaultAutoONOFFSetting(mode, on)) {
    return trace.Write(L"CModeChangeSettings::GetAutoONOFFSetting", 352);
  }
  return true;
}

bool CModeChangeSettings::SaveAutoONOFFSetting(const wchar_t* mode, bool on) const {
  if (mode == nullptr) return trace.Write(L"CModeChangeSettings::SaveAutoONOFFSetting", 520);
  if (!Common::FileExists(settingsPath)) {
    return trace.Write(L"CModeChangeSettings::SaveAutoONOFFSetting", 526, settingsPath.c_str());
  }
  return DataFile::WriteInt(settingsPath, mode, kAutoONOFF, on ? 1 : 0, trace,
                            {.pathAndError = {L"CModeChangeSettings::SaveAutoONOFFSetting", 538},
                             .value = {L"CModeChangeSettings::SaveAutoONOFFSetting", 539}});
}

bool CModeChangeSettings::IsSetingItemValueLocked(const wchar_t* mode, const wchar_t* item,
                                                  bool* locked) const {
  if (mode == nullptr || item == nullptr || locked == nullptr) {
    return trace.Write(L"CModeChangeSettings::IsSetingItemValueLocked", 384);
  }
  if (!Common::FileExists(defaultSettingsPath)) {
    return trace.Write(L"CModeChangeSettings::IsSetingItemValueLocked", 390,
                       defaultSettingsPath.c_str());
  }
  const CWideString section = GetDefaultSection(mode);
  const std::int32_t count =
      Common::ReadIniInt(defaultSettingsPath, section.c_str(), L"LockedSettingItemCount", 0);
  if (count < 1) {
    *locked = false;
    return true;
  }
  const DWORD size = Common::GetMyFileSize(defaultSettingsPath.c_str());
  if (size == 0) {
    return trace.Write(L"CModeChangeSettings::IsSetingItemValueLocked", 406,
                       defaultSettingsPath.c_str());
  }
  CIniStringReader reader(defaultSettingsPath, size);
  CNumberedKeys keys(reader, section.c_str(), L"LockedSettingItem", count);
  bool found = false;
  std::int32_t visited = 0;
  for (; !found && keys.Next(); ++visited) found = keys.Value() == item;
  // A key that was passed over is not there and names an item without a name.
  *locked = found || (visited < count && *item == L'\0');
  return true;
}

bool CModeChangeSettings::IsModeSettingsChanged(const wchar_t* mode, bool* changed) const {
  if (mode == nullptr || changed == nullptr) {
    return trace.Write(L"CModeChangeSettings::IsModeSettingsChanged", 645);
  }
  *changed = HasUserValues(mode);
  return true;
}

bool CModeChangeSettings::CreateSettingFile() const {
  return DataFile::Create(settingsPath, trace,
                          {.noSecurityDescriptor = {L"CModeChangeSettings::CreateSettingFile", 590},
                           .noFolder = {L"CModeChangeSettings::CreateSettingFile", 608},
                           .noFile = {L"CModeChangeSettings::CreateSettingFile", 625}});
}

bool CModeChangeSettings::HasUserValues(const wchar_t* mode) const noexcept {
  if (!Common::FileExists(settingsPath)) return false;
  // Only whether there is anything matters, so the section need not fit.
  std::array<wchar_t, 50> section{};
  return ::GetPrivateProfileSectionW(mode, section.data(), static_cast<DWORD>(section.size()),
                                     settingsPath.c_str()) != 0;
}
