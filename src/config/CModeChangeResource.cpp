#include "config/CModeChangeResource.h"

#include <iterator>
#include <memory>

#include "common/ModuleHelpers.h"

namespace {

constexpr const wchar_t* kCommon = L"Common";
constexpr const wchar_t* kModeSettingsDialog = L"ModeSettingsDialog";
constexpr const wchar_t* kAnnouncement = L"AnnounceModeIsChangedDialog";

constexpr const wchar_t* kModeSettingsDialogFontSizes[] = {
    L"DialogTitleSize",
    L"ModeSelectionSize",
    L"RestoreDefaultSettingsSize",
    L"AutoONOFFSize",
    L"SettingItemListGroupTitleSize",
    L"SettingItemListSettingItemNameSize",
    L"SettingItemListSettingItemValueSize",
    L"SliderUpDownSize",
    L"ShowAnnounceModeIsChangedDialogSize",
    L"ButtonsSize",
};

constexpr const wchar_t* kUpdatePcEnvironmentDialogFontSizes[] = {
    L"ProcessingSize",
};

constexpr const wchar_t* kAnnouncementFontSizes[] = {
    L"DialogTitleSize",       L"DescriptionSize", L"DetailInformationSize",
    L"NotShowThisDialogSize", L"ButtonsSize",
};

}  // namespace

CModeChangeResource::CModeChangeResource() {
  module = Common::GetMyModuleHandle();
  if (!FindLocaleFilePath(L"ModeChange.Resource.ini", &path)) {
    trace.Write(L"CModeChangeResource::CModeChangeResource", 72);
  }
}

bool CModeChangeResource::GetApplicationName(CWideString* text) {
  return GetText({L"CModeChangeResource::GetApplicationName", 102}, kCommon, L"ApplicationName",
                 Lines::kAsStored, text);
}

bool CModeChangeResource::GetModeStatusName(UINT status, CWideString* text) {
  const CWideString key = L"ModeStatus" + CWideString::FromUInt(status);
  return GetText({L"CModeChangeResource::GetModeStatusName", 114}, kCommon, key.c_str(),
                 Lines::kAsStored, text);
}

bool CModeChangeResource::GetSettingItemStatusName_DoNothing(CWideString* text) {
  return GetText({L"CModeChangeResource::GetSettingItemStatusName_DoNothing", 126}, kCommon,
                 L"SettingItemStatus_DoNothing", Lines::kAsStored, text);
}

bool CModeChangeResource::GetModeName(const wchar_t* mode, CWideString* text) {
  return GetText({L"CModeChangeResource::GetModeName", 138}, L"Mode", mode, Lines::kAsStored, text);
}

bool CModeChangeResource::GetSettingGroupName(const wchar_t* group, CWideString* text) {
  return GetText({L"CModeChangeResource::GetSettingGroupName", 150}, L"SettingGroup", group,
                 Lines::kAsStored, text);
}

bool CModeChangeResource::GetSettingItemStringResource(const wchar_t* key, CWideString* text) {
  return GetText({L"CModeChangeResource::GetSettingItemStringResource", 162}, L"SettingItem", key,
                 Lines::kAsStored, text);
}

bool CModeChangeResource::GetModeSettingsDialogTitle(CWideString* text) {
  return GetText({L"CModeChangeResource::GetModeSettingsDialogTitle", 174}, kModeSettingsDialog,
                 L"DialogTitle", Lines::kAsStored, text);
}

bool CModeChangeResource::GetModeSettingsDialogRestoreDefaultSettingsButtonName(CWideString* text) {
  return GetText(
      {L"CModeChangeResource::GetModeSettingsDialogRestoreDefaultSettingsButtonName", 186},
      kModeSettingsDialog, L"RestoreDefaultSettingsButton", Lines::kAsStored, text);
}

bool CModeChangeResource::GetModeSettingsDialogAutoONOFFSetting(CWideString* text) {
  return GetText({L"CModeChangeResource::GetModeSettingsDialogAutoONOFFSetting", 198},
                 kModeSettingsDialog, L"AutoONOFFSetting", Lines::kAsStored, text);
}

bool CModeChangeResource::GetModeSettingsDialogSliderDown(CWideString* text) {
  return GetText({L"CModeChangeResource::GetModeSettingsDialogSliderDown", 210},
                 kModeSettingsDialog, L"SliderDown", Lines::kAsStored, text);
}

bool CModeChangeResource::GetModeSettingsDialogSliderUp(CWideString* text) {
  return GetText({L"CModeChangeResource::GetModeSettingsDialogSliderUp", 222}, kModeSettingsDialog,
                 L"SliderUp", Lines::kAsStored, text);
}

bool CModeChangeResource::GetModeSettingsDialogLockedSettingItemMemo(CWideString* text) {
  return GetText({L"CModeChangeResource::GetModeSettingsDialogLockedSettingItemMemo", 234},
                 kModeSettingsDialog, L"LockedSettingItemMemo", Lines::kAsStored, text);
}

bool CModeChangeResource::GetModeSettingsDialogLockedSettingItemMemoBySpecificSettingItem(
    const wchar_t* item, CWideString* text) {
  const CWideString key = CWideString(L"LockedSettingItemMemo_By") + item;
  return GetText(
      {L"CModeChangeResource::GetModeSettingsDialogLockedSettingItemMemoBySpecificSettingItem",
       246},
      kModeSettingsDialog, item != nullptr ? key.c_str() : nullptr, Lines::kAsStored, text);
}

bool CModeChangeResource::GetModeSettingsDialogShowAnnounceModeIsChangedDialog(CWideString* text) {
  return GetText(
      {L"CModeChangeResource::GetModeSettingsDialogShowAnnounceModeIsChangedDialog", 258},
      kModeSettingsDialog, L"ShowAnnounceModeIsChangedDialog", Lines::kAsStored, text);
}

bool CModeChangeResource::GetModeSettingsDialogOKButtonName(CWideString* text) {
  return GetText({L"CModeChangeResource::GetModeSettingsDialogOKButtonName", 270},
                 kModeSettingsDialog, L"OKButton", Lines::kAsStored, text);
}

bool CModeChangeResource::GetModeSettingsDialogCancelButtonName(CWideString* text) {
  return GetText({L"CModeChangeResource::GetModeSettingsDialogCancelButtonName", 282},
                 kModeSettingsDialog, L"CancelButton", Lines::kAsStored, text);
}

bool CModeChangeResource::GetModeSettingsDialogApplyButtonName(CWideString* text) {
  return GetText({L"CModeChangeResource::GetModeSettingsDialogApplyButtonName", 294},
                 kModeSettingsDialog, L"ApplyButton", Lines::kAsStored, text);
}

bool CModeChangeResource::GetModeSettingsDialogMessageOnChangeModeThatSettingsIsChanged(
    CWideString* text) {
  return GetText(
      {L"CModeChangeResource::GetModeSettingsDialogMessageOnChangeModeThatSettingsIsChanged", 306},
      kModeSettingsDialog, L"Message_OnChangeMode_SettingsIsChanged", Lines::kBroken, text);
}

bool CModeChangeResource::GetModeSettingsDialogMessageOnSaveSettingsThatSettingsIsNotCorrect(
    CWideString* text) {
  return GetText(
      {L"CModeChangeResource::GetModeSettingsDialogMessageOnSaveSettingsThatSettingsIsNotCorrect",
       318},
      kModeSettingsDialog, L"Message_OnSaveSettings_SettingsIsNotCorrect", Lines::kBroken, text);
}

bool CModeChangeResource::GetModeSettingsDialogErrorUnknown(CWideString* text) {
  return GetText({L"CModeChangeResource::GetModeSettingsDialogErrorUnknown", 330},
                 kModeSettingsDialog, L"Error_Unknown", Lines::kBroken, text);
}

bool CModeChangeResource::GetModeSettingsDialogErrorFailedSaveSettings(CWideString* text) {
  return GetText({L"CModeChangeResource::GetModeSettingsDialogErrorFailedSaveSettings", 342},
                 kModeSettingsDialog, L"Error_FailedSaveSettings", Lines::kBroken, text);
}

bool CModeChangeResource::GetModeSettingsDialogErrorFailedUpdatePcEnvironment(CWideString* text) {
  return GetText({L"CModeChangeResource::GetModeSettingsDialogErrorFailedUpdatePcEnvironment", 354},
                 kModeSettingsDialog, L"Error_FailedUpdatePcEnvironment", Lines::kBroken, text);
}

bool CModeChangeResource::GetUpdatePcEnvironmentDialogProcessing(CWideString* text) {
  return GetText({L"CModeChangeResource::GetUpdatePcEnvironmentDialogProcessing", 366},
                 L"UpdatePcEnvironmentDialog", L"Processing", Lines::kBroken, text);
}

bool CModeChangeResource::GetAnnounceModeIsChangedDialogDescription(CWideString* text) {
  return GetText({L"CModeChangeResource::GetAnnounceModeIsChangedDialogDescription", 378},
                 kAnnouncement, L"Description", Lines::kBroken, text);
}

bool CModeChangeResource::GetAnnounceModeIsChangedDialogDetailInformation(UINT status,
                                                                          CWideString* text) {
  const CWideString key =
      L"DetailInformation_ModeStatus" + CWideString::FromInt(static_cast<std::int32_t>(status));
  return GetText({L"CModeChangeResource::GetAnnounceModeIsChangedDialogDetailInformation", 390},
                 kAnnouncement, key.c_str(), Lines::kBroken, text);
}

bool CModeChangeResource::GetAnnounceModeIsChangedDialogDetailInformationChangedSettingItem(
    CWideString* text) {
  return GetText(
      {L"CModeChangeResource::GetAnnounceModeIsChangedDialogDetailInformationChangedSettingItem",
       402},
      kAnnouncement, L"DetailInformation_ChangedSettingItem", Lines::kBroken, text);
}

bool CModeChangeResource::GetAnnounceModeIsChangedDialogDetailInformationNoChangedSettingItem(
    CWideString* text) {
  return GetText(
      {L"CModeChangeResource::GetAnnounceModeIsChangedDialogDetailInformationNoChangedSettingItem",
       414},
      kAnnouncement, L"DetailInformation_NoChangedSettingItem", Lines::kBroken, text);
}

bool CModeChangeResource::GetAnnounceModeIsChangedDialogNotShowThisDialog(CWideString* text) {
  return GetText({L"CModeChangeResource::GetAnnounceModeIsChangedDialogNotShowThisDialog", 426},
                 kAnnouncement, L"NotShowThisDialog", Lines::kAsStored, text);
}

bool CModeChangeResource::GetAnnounceModeIsChangedDialoOKButtonName(CWideString* text) {
  return GetText({L"CModeChangeResource::GetAnnounceModeIsChangedDialoOKButtonName", 438},
                 kAnnouncement, L"OKButton", Lines::kAsStored, text);
}

bool CModeChangeResource::GetAnnounceModeIsChangedDialoCancelButtonName(CWideString* text) {
  return GetText({L"CModeChangeResource::GetAnnounceModeIsChangedDialoCancelButtonName", 450},
                 kAnnouncement, L"CancelButton", Lines::kAsStored, text);
}

bool CModeChangeResource::GetFontSizeInModeSettingsDialog(UINT index, std::int32_t* size) {
  if (size == nullptr) {
    return trace.Write(L"CModeChangeResource::GetFontSizeInModeSettingsDialog", 480);
  }
  if (index >= std::size(kModeSettingsDialogFontSizes)) {
    return trace.WriteUInt(L"CModeChangeResource::GetFontSizeInModeSettingsDialog", 484, index);
  }
  *size = GetIniInt(L"FontSize_ModeSetingsDialog", kModeSettingsDialogFontSizes[index]);
  return true;
}

bool CModeChangeResource::GetFontSizeInUpdatePcEnvironmentDialog(UINT index, std::int32_t* size) {
  if (size == nullptr) {
    return trace.Write(L"CModeChangeResource::GetFontSizeInUpdatePcEnvironmentDialog", 495);
  }
  if (index >= std::size(kUpdatePcEnvironmentDialogFontSizes)) {
    return trace.WriteUInt(L"CModeChangeResource::GetFontSizeInUpdatePcEnvironmentDialog", 499,
                           index);
  }
  *size =
      GetIniInt(L"FontSize_UpdatePcEnvironmentDialog", kUpdatePcEnvironmentDialogFontSizes[index]);
  return true;
}

bool CModeChangeResource::GetFontSizeAnnounceModeIsChangedDialog(UINT index, std::int32_t* size) {
  if (size == nullptr) {
    return trace.Write(L"CModeChangeResource::GetFontSizeAnnounceModeIsChangedDialog", 510);
  }
  if (index >= std::size(kAnnouncementFontSizes)) {
    return trace.WriteUInt(L"CModeChangeResource::GetFontSizeAnnounceModeIsChangedDialog", 514,
                           index);
  }
  *size = GetIniInt(L"FontSize_AnnounceModeIsChangedDialog", kAnnouncementFontSizes[index]);
  return true;
}

bool CModeChangeResource::GetText(const TracePoint& nullArgument, const wchar_t* section,
                                  const wchar_t* key, Lines lines, CWideString* text) {
  if (key == nullptr || text == nullptr) {
    return trace.Write(nullArgument.function, nullArgument.line);
  }
  CWideString value;
  const DWORD size = Common::GetMyFileSize(path.c_str());
  if (size != 0) {
    const std::unique_ptr<wchar_t[]> buffer(new wchar_t[size]);
    GetIniString(section, key, buffer.get(), size);
    value = buffer.get();
  }
  if (lines == Lines::kBroken) value.ReplaceAll(L"\\n", L"\r\n");
  *text = value;
  return true;
}
