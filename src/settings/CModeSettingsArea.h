#pragma once

#include <windows.h>

#include <cstdint>
#include <vector>

#include "common/CWideString.h"
#include "common/dialog/CDialogBase.h"
#include "settings/CModeSettingItemList.h"
#include "settings/design/CUIDesigner.h"
#include "trace/TraceLog.h"

/// The body of the settings dialog: the choice of the mode, its settings, and the check box that
/// turns the announcement of mode changes on and off.
///
/// It decides when the user may go to another mode, tells the frame when changes appear and
/// disappear, and saves. Where the mode that is saved is ON, the machine leaves it before and
/// returns to it after, so that the new values reach the devices and what was normal before the
/// mode stays known.
class CModeSettingsArea final : public CDialogBase {
 public:
  // What SaveSettings answers.
  static constexpr std::int32_t kSaved = 1;
  /// The user was told why.
  static constexpr std::int32_t kNotSaved = 0;
  static constexpr std::int32_t kSavingFailed = -1;
  /// The mode that is ON could not be left, with nothing saved, or not be returned to.
  static constexpr std::int32_t kUpdatingFailed = -2;

  /// `startModeName`: key name of the mode to show first.
  explicit CModeSettingsArea(CWideString startModeName);

  [[nodiscard]] std::int32_t SaveSettings();

 private:
  /// What the user sets beside the list, as it is when saving begins.
  struct Choices {
    bool showAnnouncement;
    bool hasAutoONOFF;
    bool autoONOFF;
  };

  INT_PTR OnMessage(UINT message, WPARAM wParam, LPARAM lParam) override;
  void OnHandlerFailed(UINT message) noexcept override;

  INT_PTR OnInitDialog();
  INT_PTR OnCommand(WORD control, WORD notification);
  INT_PTR OnComboMode();
  INT_PTR StayWithSelectedMode();
  INT_PTR OnButtonRestoreDafaultSettings();
  INT_PTR OnMouseWheel(WPARAM wParam, LPARAM lParam) noexcept;
  INT_PTR OnControlColor(HDC dc);
  INT_PTR OnClose() noexcept;

  void PostToFrame(UINT message, WPARAM wParam = 0, LPARAM lParam = 0) const noexcept;
  /// Has the frame end the dialog.
  INT_PTR ReportError() const noexcept;

  // The controls
  bool LoadModeInformation();
  void SetControlFonts() const noexcept;
  bool SetControlText();
  void AddModeToCombo(std::size_t index, const CWideString& name) const noexcept;
  bool CreateModeSettingItemList();
  /// The black frame stays visible as a line around the list.
  [[nodiscard]] bool MoveListIntoFrame() const noexcept;
  /// So that the keyboard comes to it after the list, as the eye does.
  void PutAnnouncementAfterList() const;
  [[nodiscard]] bool ShowAnnouncementSetting() const;
  void Check(int control, bool checked) const noexcept;
  [[nodiscard]] bool IsChecked(int control) const noexcept;
  LRESULT SendToCombo(UINT message, WPARAM wParam = 0, LPARAM lParam = 0) const noexcept;

  // The mode
  bool GetModeIndex(const wchar_t* modeName, int* index) const;
  bool SelectMode(int index);
  /// Makes the combo box show the selected mode. False, with its position, for an item that does
  /// not say which mode it is.
  bool ShowSelectedMode(int itemCount, int* unreadableItem) const noexcept;
  bool AdjustControlForSelectedMode();
  /// Null while no mode is selected.
  [[nodiscard]] const wchar_t* SelectedModeName() const noexcept;

  // Changes
  bool IsSelectedModeSettingsChanged(bool* changed);
  /// Only ever sets the output to true.
  bool IsCommonSettingsChanged(bool* changed) const;

  // Saving
  [[nodiscard]] std::int32_t RefuseToSave(const std::vector<CWideString>& incorrect);
  bool SwitchModeOff(const CWideString& modeName) const;
  bool SwitchModeOn(const CWideString& modeName) const;
  bool SaveChoices(const CWideString& modeName, const Choices& choices) const;

  // Message boxes; false where the user was not told.
  bool ShowMessageBoxOnChangeModeThatSettingsIsChanged() const;
  bool ShowMessageBoxOnSaveSettingsThatSettingsIsNotCorrect(
      const std::vector<CWideString>& incorrect) const;
  [[nodiscard]] bool ShowWarning(const CWideString& text,
                                 const CWideString& applicationName) const noexcept;

  CUIDesigner designer;
  bool forwardsWheel = false;
  std::vector<CWideString> modes;  // key names, in the order of the configuration
  int selectedIndex = -1;
  bool isAutoONOFFShown = false;
  CModeSettingItemList list;
  CWideString startModeName;
  TraceLog trace;
};
