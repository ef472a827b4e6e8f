#pragma once

#include <windows.h>

#include <cstdint>

#include "common/CWideString.h"
#include "trace/TraceLog.h"

/// Reads and saves what the user chose for each mode, and reads the maker's defaults.
///
/// The defaults lie beside the library in "ModeChange.DefaultSettings.ini", with a section per mode
/// for systems before Windows 8 and one for those from it on; the user's choices lie in
/// "ModeChange.Settings.ini" in the per-machine data folder. A mode with a section in the user's
/// file takes all its values from there, also those that the section lacks; other modes take the
/// defaults.
///
/// Every operation goes to the files at once, returns true on success, and on failure traces,
/// returns false and leaves its outputs as they were.
///
/// The user's file is made empty, hence in the ANSI code page: names outside that page do not
/// survive in it as keys.
class CModeChangeSettings {
 public:
  /// A setting item value: the mode leaves the item as it is.
  static constexpr std::int32_t kDoNothing = -1;

  CModeChangeSettings();

  /// Whether the user is asked before a mode changes.
  bool GetDefaultAnnounceModeIsChangedDialogDisplaySetting(bool* show) const;
  bool GetAnnounceModeIsChangedDialogDisplaySetting(bool* show) const;
  /// Makes neither file nor folder: fails where no settings were saved and nobody made the folder.
  bool SaveAnnounceModeIsChangedDialogDisplaySetting(bool show) const;

  /// kDoNothing for an item that the section does not name.
  bool GetDefaultSettingItemValue(const wchar_t* mode, const wchar_t* item,
                                  std::int32_t* value) const;
  bool GetSettingItemValue(const wchar_t* mode, const wchar_t* item, std::int32_t* value) const;
  /// Makes the file, and the last level of its folder, where they are not there.
  bool SaveSettingItemValue(const wchar_t* mode, const wchar_t* item, std::int32_t value) const;

  bool GetDefaultAutoONOFFSetting(const wchar_t* mode, bool* on) const;
  bool GetAutoONOFFSetting(const wchar_t* mode, bool* on) const;
  /// Fails where the user's file is not there: an item's value is to be saved first.
  bool SaveAutoONOFFSetting(const wchar_t* mode, bool on) const;

  /// Whether the maker forbids to edit the item in this mode. Unlike elsewhere the name counts as
  /// written: "brightness" does not lock "Brightness".
  bool IsSetingItemValueLocked(const wchar_t* mode, const wchar_t* item, bool* locked) const;

  /// Whether the user saved anything for the mode.
  bool IsModeSettingsChanged(const wchar_t* mode, bool* changed) const;

  /// Makes the folder and an empty file that every user of the machine may write; true at once
  /// where the file is there.
  bool CreateSettingFile() const;

 private:
  void FindDefaultSettingsPath();
  [[nodiscard]] bool HasUserValues(const wchar_t* mode) const noexcept;

  CWideString defaultSettingsPath;
  CWideString settingsPath;
  TraceLog trace;
};
