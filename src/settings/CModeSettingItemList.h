#pragma once

#include <windows.h>

#include <cstdint>
#include <memory>
#include <queue>
#include <vector>

#include "common/CUniqueHandle.h"
#include "common/CWideString.h"
#include "common/dialog/CDialogBase.h"
#include "config/CModeChangeConfig.h"
#include "settings/CModeSettingItemListGroupTitle.h"
#include "settings/CModeSettingItemListLine.h"
#include "settings/LockSettingItemRequest.h"
#include "settings/SettingGroupInformation.h"
#include "settings/design/CUIDesigner.h"
#include "trace/TraceLog.h"

/// The scrolling list of all setting items that the machine can use: a title for each setting group
/// and below it a line for each of its items.
///
/// The list makes its rows when its dialog is initialised and takes them down at WM_CLOSE. What its
/// rows post to it, it posts on to its parent; it locks lines when another line asks for it.
///
/// The operations return true on success, and on failure trace, return false and leave their
/// outputs as they were.
class CModeSettingItemList final : public CDialogBase {
 public:
  CModeSettingItemList();
  ~CModeSettingItemList();
  CModeSettingItemList(const CModeSettingItemList&) = delete;
  CModeSettingItemList& operator=(const CModeSettingItemList&) = delete;

  /// Shows the values of a mode. Locks take effect when every line shows the mode's value.
  bool SelectMode(const wchar_t* newModeName);
  /// Shows the default values of the mode last selected; nothing is saved.
  bool RestoreDefaultSettingItemValue();
  /// Whether a line shows another value than the saved one.
  bool IsSettingItemValueChanged(bool* changed);
  /// Appends the display names of the items that are to be set but have no value chosen.
  bool GetSettingDisplayNameListOfNotSetCorrectly(std::vector<CWideString>* names);
  /// Saves every line's value for the mode last selected. The first failure ends it; what was
  /// written before stays.
  bool SaveSettings();

 private:
  /// The windows of a setting group.
  struct RowGroup {
    std::unique_ptr<CModeSettingItemListGroupTitle> title;
    std::vector<std::unique_ptr<CModeSettingItemListLine>> lines;  // of the group's items, in order
  };
  /// A line and the item that it shows.
  struct ItemLine {
    CModeSettingItemListLine* line;
    const CWideString* itemName;
    CDeviceEngineHelper* engine;
  };

  INT_PTR OnMessage(UINT message, WPARAM wParam, LPARAM lParam) override;
  void OnHandlerFailed(UINT message) noexcept override;

  INT_PTR OnInitDialog();
  INT_PTR OnClose();
  INT_PTR OnControlColor(HDC dc);
  INT_PTR OnVScroll(WORD code, WORD thumbPosition) noexcept;
  INT_PTR OnMouseWheel(std::int16_t delta) noexcept;
  INT_PTR OnCopyData(HWND sender, const COPYDATASTRUCT* data);
  INT_PTR OnLockSettingItem();

  void PostToParent(UINT message, WPARAM wParam, LPARAM lParam) const noexcept;
  void ReportError() const noexcept;

  // Rows: all are made, or none is.
  bool LoadSettingItemInformation();
  bool LoadSettingGroup(const CModeChangeConfig& config, SettingGroupInformation* group) const;
  bool CreateSettingItemList();
  bool CreateRowGroup(const SettingGroupInformation& group, RowGroup* rows, LONG* y) const;
  /// Puts a row below those that end at `y`.
  bool PlaceRow(HWND row, LONG* y) const;
  void ReleaseRows() noexcept;
  /// Whether a message that the list handles was sent by one of its lines, on this thread.
  [[nodiscard]] bool IsSentByLine(HWND sender) const noexcept;
  /// The first line of the item, whatever the case of its name; null when there is none.
  [[nodiscard]] CModeSettingItemListLine* FindLine(const CWideString& itemName) const noexcept;
  /// Visits the lines from top to bottom until `visit` returns false; so does this then.
  template <class Visit>
  bool VisitLines(Visit visit);

  // Scrolling
  void InitializeScrollBar() noexcept;
  void ScrollBy(std::int32_t move) noexcept;

  // Following the keyboard: a row that it moves the focus to scrolls into view.
  bool WatchFocus() noexcept;
  void StopWatchingFocus() noexcept;
  static LRESULT CALLBACK OnFocusMoves(int code, WPARAM wParam, LPARAM lParam) noexcept;
  void ScrollIntoView(HWND row) noexcept;

  bool UpdateLocks();
  bool GetDisplayName(const ItemLine& item, CWideString* name) const;

  CUIDesigner designer;
  std::int32_t viewHeight = 0;
  std::int32_t scrollPosition = 0;
  RECT contentRectangle{};
  std::int32_t scrollUnit = 0;
  std::int32_t wheelAccumulator = 0;
  CWideString modeName;
  // The rows use the engines, so they come after them.
  std::vector<SettingGroupInformation> settingGroups;
  std::vector<RowGroup> rowGroups;  // of the setting groups, in order
  std::queue<LockSettingItemRequest> lockRequests;
  CUniqueWindowsHook focusHook;
  TraceLog trace;
};
