#include "TextRules.h"

namespace {

constexpr const wchar_t* kSettings = L"ModeSettingsDialog";
constexpr const wchar_t* kAnnouncement = L"AnnounceModeIsChangedDialog";

constexpr const wchar_t* kMode = L"%MODE%";
constexpr const wchar_t* kItem = L"%SETTINGITEM%";
constexpr const wchar_t* kItemValue = L"%SETTINGITEMVALUE%";
constexpr const wchar_t* kItems = L"%CHENGED_SETTINGITEM_INFORMATION%";

constexpr const wchar_t* kSettingsSizes[] = {
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
constexpr const wchar_t* kProgressSizes[] = {L"ProcessingSize"};
constexpr const wchar_t* kAnnouncementSizes[] = {
    L"DialogTitleSize",       L"DescriptionSize", L"DetailInformationSize",
    L"NotShowThisDialogSize", L"ButtonsSize",
};
constexpr FontSizes kFontSizes[] = {
    {L"FontSize_ModeSetingsDialog", kSettingsSizes},
    {L"FontSize_UpdatePcEnvironmentDialog", kProgressSizes},
    {L"FontSize_AnnounceModeIsChangedDialog", kAnnouncementSizes},
};

}  // namespace

std::vector<TextRule> GetTextRules(const Configuration& configuration) {
  using enum TextRule::Kind;
  std::vector<TextRule> rules = {
      {L"Common", L"ApplicationName"},
      {L"Common", L"ModeStatus0"},
      {L"Common", L"ModeStatus1"},
      {L"Common", L"SettingItemStatus_DoNothing"},
      {kSettings, L"DialogTitle"},
      {kSettings, L"RestoreDefaultSettingsButton", kControl},
      {kSettings, L"AutoONOFFSetting", kControl},
      {kSettings, L"SliderDown"},
      {kSettings, L"SliderUp"},
      {.section = kSettings, .key = L"LockedSettingItemMemo", .isLockNote = true},
      {kSettings, L"ShowAnnounceModeIsChangedDialog", kControl},
      {kSettings, L"OKButton", kControl},
      {kSettings, L"CancelButton", kControl},
      {kSettings, L"ApplyButton", kControl},
      {kSettings, L"Message_OnChangeMode_SettingsIsChanged", kLines},
      {kSettings, L"Message_OnSaveSettings_SettingsIsNotCorrect", kLines, {kItem}, 1},
      {kSettings, L"Error_Unknown", kLines},
      {kSettings, L"Error_FailedSaveSettings", kLines},
      {kSettings, L"Error_FailedUpdatePcEnvironment", kLines},
      {L"UpdatePcEnvironmentDialog", L"Processing", kLines},
      {kAnnouncement, L"Description", kLines},
      {kAnnouncement, L"DetailInformation_ModeStatus0", kLines, {kItems, kMode}, 1},
      {kAnnouncement, L"DetailInformation_ModeStatus1", kLines, {kItems, kMode}, 1},
      {kAnnouncement, L"DetailInformation_ChangedSettingItem", kLines, {kItem, kItemValue}, 2},
      {kAnnouncement, L"DetailInformation_NoChangedSettingItem", kLines, {kMode}},
      {kAnnouncement, L"NotShowThisDialog", kControl},
      {kAnnouncement, L"OKButton", kControl},
      {kAnnouncement, L"CancelButton", kControl},
  };
  for (const std::wstring& mode : configuration.ModeNames()) rules.push_back({L"Mode", mode});
  for (const std::wstring& group : configuration.groups) rules.push_back({L"SettingGroup", group});
  for (const Configuration::Item& item : configuration.items) {
    // Without a lock rule nobody asks for an item's note.
    rules.push_back({.section = kSettings,
                     .key = L"LockedSettingItemMemo_By" + item.name,
                     .isRequired = item.lockValue.has_value(),
                     .isLockNote = true});
  }
  return rules;
}

std::span<const FontSizes> GetFontSizes() noexcept {
  return kFontSizes;
}
