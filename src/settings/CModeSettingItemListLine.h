#pragma once

#include <windows.h>

#include <cstddef>
#include <cstdint>
#include <vector>

#include "common/CWideString.h"
#include "common/dialog/CDialogBase.h"
#include "settings/SettingItemListLineInitParam.h"
#include "settings/UsableSettingItemValue.h"
#include "settings/design/CUIDesigner.h"
#include "trace/TraceLog.h"

/// One row of the setting item list: shows which value the selected mode gives to a setting item
/// and lets the user choose another.
///
/// The line reports upwards by messages that it posts to the list: WM_MODESETTINGS_CHANGED and
/// WM_MODESETTINGS_ERROR. It never writes settings; the list asks each line for its value.
///
/// Every operation returns true on success, and on failure traces and returns false. An operation
/// may throw std::bad_alloc.
class CModeSettingItemListLine : public CDialogBase {
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

 private:
  INT_PTR OnMessage(UINT message, WPARAM wParam, LPARAM lParam) override;
  void OnHandlerFailed(UINT message) noexcept override;

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
  TraceLog trace;
};
