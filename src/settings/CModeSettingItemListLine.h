#pragma once

#include <windows.h>

#include <cstddef>
#include <cstdint>
#include <vector>

#include "common/CWideString.h"
#include "common/dialog/CDialogBase.h"
#include "settings/SettingItemListLineInitParam.h"
#include "settings/SettingItemListLineKind.h"
#include "settings/UsableSettingItemValue.h"
#include "settings/design/CUIDesigner.h"
#include "trace/TraceLog.h"

class CModeChangeResource;

/// One row of the setting item list: shows which value the selected mode gives to a setting item
/// and lets the user choose another.
///
/// The line reports upwards by messages that it posts to the list: WM_MODESETTINGS_CHANGED and
/// WM_MODESETTINGS_ERROR. It never writes settings; the list asks each line for its value.
///
/// Every operation returns true on success, and on failure traces and returns false. An operation
/// may throw std::bad_alloc.
class CModeSettingItemListLine final : public CDialogBase {
 public:
  CModeSettingItemListLine();

  /// Makes the row as a child of the list, not visible yet. False, with the last error set, when
  /// the window could not be made; a row that could not fill itself reports that to the list.
  [[nodiscard]] bool CreateLine(HWND list, const SettingItemListLineInitParam& param);

  /// Shows the value that is saved for the item in the mode.
  bool SelectMode(const wchar_t* newModeName);
  /// Shows the item's default value in the mode that was selected last.
  bool RestoreDefaultSettingItemValue();
  /// Locks or releases other items where the value shown asks for it.
  bool UpdateLockedSettingItemStatus();

  /// Whether what is shown differs from what is saved.
  bool IsSettingItemValueChanged(bool* changed);
  /// False when the check box says that the mode sets the item, but no value is chosen.
  [[nodiscard]] bool IsSettingItemSetCorrectly();
  bool GetCurrentSettingItemValue(std::uint32_t* value);

  /// Holds the item at the value, or releases it; a released item keeps the value.
  bool LockThisSettingItem(bool lock, std::uint32_t value, const wchar_t* lockingItemName);
  /// True while the list has a lock request of this line.
  [[nodiscard]] bool IsSendingLockSettingItemRequest() const noexcept { return sendingLockRequest; }

 private:
  INT_PTR OnMessage(UINT message, WPARAM wParam, LPARAM lParam) override;
  void OnHandlerFailed(UINT message) noexcept override;

  INT_PTR OnInitDialog();
  INT_PTR OnClose();
  INT_PTR OnCommand(WORD control, WORD notification);
  INT_PTR OnHScroll(HWND slider) const noexcept;
  INT_PTR OnControlColor(HDC dc);
  void OnCheckSettingItem();
  void OnRadioSettingItemValue();
  void OnComboSettingItemValue();

  void SetControlFonts() const noexcept;
  /// Asks the engine which values there are, and what they are called.
  bool LoadUsableSettingItemValueInformationList();
  bool LoadUsableSettingItemValue(std::uint32_t value, CModeChangeResource* resource);
  bool LoadLockRule();

  // What does not change while the line lives: places, names and the values to choose from.
  bool InitializeSettingItemListLineControl();
  void NameForScreenReaders(CWideString name) const;
  void ArrangeControls() const noexcept;
  void InitializeRadioPair() const noexcept;
  void InitializeComboBox() const noexcept;
  bool InitializeSlider();

  /// The check box rule: what the user may choose from follows the check box.
  bool AdjustSettingItemListLineControlForCheckBoxSettingItemStatus();
  /// Shows the controls of the item's kind, or name and memo of a locked item.
  bool AdjustSettingItemListLineControlForLockedStatus();
  /// Shows a value, which has to be a usable one or kDoNothing.
  bool AdjustSettingItemListLineControlForSettingItemValue(std::uint32_t value, bool isLocked);
  bool SetLockedValueMemo(const CWideString& valueName);
  void SetRadioPair(std::uint32_t value) const noexcept;
  bool SetComboBox(std::uint32_t value);
  void SetSlider(std::uint32_t value) const noexcept;

  // The keyboard would be lost with the control that has the focus and is hidden or disabled, so
  // the focus moves on before.
  void HandFocusToCheckBox() const noexcept;
  void HandFocusToAnotherLine() const noexcept;
  void MoveFocus(HWND control) const noexcept;

  /// Locks other items while this one has its locking value, and releases them afterwards.
  bool AdjustOtherSettingItemStatusForCurrentSettingItemValue();
  [[nodiscard]] bool IsSettingItemValueToLockOtherSettingItem() const noexcept;
  /// False when there is no list to send it to.
  bool SendLockSettingItemRequest(bool lock);

  bool GetChosenRadioValue(std::uint32_t* value) const;
  bool GetChosenComboValue(std::uint32_t* value) const;
  bool GetChosenSliderValue(std::uint32_t* value) const;
  bool ReadComboItemText(LRESULT item, const TracePoint& noLength, const TracePoint& noText,
                         CWideString* text) const;

  [[nodiscard]] SettingItemListLineKind Kind() const noexcept {
    return KindForUsableValues(usableValues.size());
  }
  [[nodiscard]] std::uint32_t UsableValueCount() const noexcept {
    return static_cast<std::uint32_t>(usableValues.size());
  }
  /// Null for a value that is not usable.
  [[nodiscard]] const UsableSettingItemValue* FindUsableValue(std::uint32_t value) const noexcept;

  [[nodiscard]] HWND Control(int control) const noexcept;
  LRESULT Ask(int control, UINT message, WPARAM wParam = 0, LPARAM lParam = 0) const noexcept;
  [[nodiscard]] bool IsChecked(int button) const noexcept;
  void SetCheck(int button, bool checked) const noexcept;
  void Show(int control, bool shown) const noexcept;
  void Enable(int control, bool enabled) const noexcept;
  void PostToList(UINT message, WPARAM wParam = 0) const noexcept;

  CUIDesigner designer;
  int lineNumber = 0;
  CWideString settingItemName;
  CDeviceEngineHelper* engine = nullptr;
  bool locked = false;
  std::uint32_t lockedValue = 0;
  CWideString modeName;
  std::vector<UsableSettingItemValue> usableValues;
  bool hasLockRule = false;
  std::int32_t lockValue = -1;
  std::vector<CWideString> lockedItemNames;
  std::vector<std::uint32_t> lockedItemValues;
  bool lockingOthers = false;
  bool sendingLockRequest = false;
  TraceLog trace;
};
