#pragma once

#include <windows.h>

#include <cstdint>

#include "common/CIniMgr.h"
#include "common/CWideString.h"
#include "trace/TraceLog.h"

/// Reads every text and font size that a person sees, in the user's language, from
/// "ModeChange.Resource.ini".
///
/// A text getter fails, traced, only for a null argument: where there is no file, section or key
/// the text is empty. Texts that may have several lines carry "\\n" where a line ends; their
/// getters turn it into CR LF.
class CModeChangeResource : public CIniMgr {
 public:
  CModeChangeResource();

  // [Common]
  bool GetApplicationName(CWideString* text);
  bool GetModeStatusName(UINT status, CWideString* text);
  bool GetSettingItemStatusName_DoNothing(CWideString* text);

  // [Mode]
  bool GetModeName(const wchar_t* mode, CWideString* text);

  // [SettingGroup]
  bool GetSettingGroupName(const wchar_t* group, CWideString* text);

  // [SettingItem]
  bool GetSettingItemStringResource(const wchar_t* key, CWideString* text);

  // [ModeSettingsDialog]
  bool GetModeSettingsDialogTitle(CWideString* text);
  bool GetModeSettingsDialogRestoreDefaultSettingsButtonName(CWideString* text);
  bool GetModeSettingsDialogAutoONOFFSetting(CWideString* text);
  bool GetModeSettingsDialogSliderDown(CWideString* text);
  bool GetModeSettingsDialogSliderUp(CWideString* text);
  bool GetModeSettingsDialogLockedSettingItemMemo(CWideString* text);
  bool GetModeSettingsDialogLockedSettingItemMemoBySpecificSettingItem(const wchar_t* item,
                                                                       CWideString* text);
  bool GetModeSettingsDialogShowAnnounceModeIsChangedDialog(CWideString* text);
  bool GetModeSettingsDialogOKButtonName(CWideString* text);
  bool GetModeSettingsDialogCancelButtonName(CWideString* text);
  bool GetModeSettingsDialogApplyButtonName(CWideString* text);
  bool GetModeSettingsDialogMessageOnChangeModeThatSettingsIsChanged(CWideString* text);
  bool GetModeSettingsDialogMessageOnSaveSettingsThatSettingsIsNotCorrect(CWideString* text);
  bool GetModeSettingsDialogErrorUnknown(CWideString* text);
  bool GetModeSettingsDialogErrorFailedSaveSettings(CWideString* text);
  bool GetModeSettingsDialogErrorFailedUpdatePcEnvironment(CWideString* text);

  // [UpdatePcEnvironmentDialog]
  bool GetUpdatePcEnvironmentDialogProcessing(CWideString* text);

  // [AnnounceModeIsChangedDialog]
  bool GetAnnounceModeIsChangedDialogDescription(CWideString* text);
  bool GetAnnounceModeIsChangedDialogDetailInformation(UINT status, CWideString* text);
  bool GetAnnounceModeIsChangedDialogDetailInformationChangedSettingItem(CWideString* text);
  bool GetAnnounceModeIsChangedDialogDetailInformationNoChangedSettingItem(CWideString* text);
  bool GetAnnounceModeIsChangedDialogNotShowThisDialog(CWideString* text);
  bool GetAnnounceModeIsChangedDialoOKButtonName(CWideString* text);
  bool GetAnnounceModeIsChangedDialoCancelButtonName(CWideString* text);

  // Font sizes in points, by the index of the font within its dialog; 0 where the file has none.
  // An index without a font fails, traced.
  bool GetFontSizeInModeSettingsDialog(UINT index, std::int32_t* size);
  bool GetFontSizeInUpdatePcEnvironmentDialog(UINT index, std::int32_t* size);
  bool GetFontSizeAnnounceModeIsChangedDialog(UINT index, std::int32_t* size);

 private:
  enum class Lines { kAsStored, kBroken };

  bool GetText(const TracePoint& nullArgument, const wchar_t* section, const wchar_t* key,
               Lines lines, CWideString* text);

  TraceLog trace;
};
