#include "settings/CModeSettingItemList.h"

#include <algorithm>
#include <utility>

#include "config/CModeChangeResource.h"
#include "config/CModeChangeSettings.h"
#include "devices/IsSettingItemUsableInThisPC.h"
#include "resources/ControlIds.h"
#include "settings/ModeSettingsMessages.h"

namespace {

/// A list's window keeps its object here for the hook that watches the focus.
constexpr const wchar_t* kListProperty = L"CModeSettingItemList";

template <class Row>
void CloseRow(std::unique_ptr<Row>* row) noexcept {
  ::SendMessageW((*row)->Window(), WM_CLOSE, 0, 0);
  row->reset();
}

/// Whether the focus moves within a dialog, and not because the mouse was pressed: a list that
/// scrolled then would pull the control away before the button is released.
bool IsMovedByKeyboard(HWND losing, HWND gaining) noexcept {
  if (::GetAncestor(losing, GA_ROOT) != ::GetAncestor(gaining, GA_ROOT)) return false;
  constexpr int kMouseButtons[] = {VK_LBUTTON, VK_RBUTTON, VK_MBUTTON};
  return std::none_of(std::begin(kMouseButtons), std::end(kMouseButtons),
                      [](int button) { return ::GetKeyState(button) < 0; });
}

/// A sum that may wrap around: whoever posts messages decides how large it gets.
std::int32_t AddWrapping(std::int32_t left, std::int32_t right) noexcept {
  return static_cast<std::int32_t>(static_cast<std::uint32_t>(left) +
                                   static_cast<std::uint32_t>(right));
}

}  // namespace

CModeSettingItemList::CModeSettingItemList() = default;

CModeSettingItemList::~CModeSettingItemList() {
  StopWatchingFocus();
  ReleaseRows();
}

// --- Messages ------------------------------------------------------------------------------------

INT_PTR CModeSettingItemList::OnMessage(UINT message, WPARAM wParam, LPARAM lParam) {
  switch (message) {
    case WM_INITDIALOG:
      return OnInitDialog();
    case WM_CLOSE:
      return OnClose();
    case WM_DESTROY:
      StopWatchingFocus();
      return FALSE;
    case WM_MODESETTINGS_ERROR:
      PostToParent(message, wParam, lParam);
      return Handled();
    case WM_MODESETTINGS_CHANGED:
      PostToParent(message, 0, 0);
      return Handled();
    case WM_CTLCOLORDLG:
    case WM_CTLCOLORSTATIC:
      return OnControlColor(reinterpret_cast<HDC>(wParam));
    case WM_VSCROLL:
      return OnVScroll(LOWORD(wParam), HIWORD(wParam));
    case WM_MOUSEWHEEL:
      return OnMouseWheel(static_cast<std::int16_t>(HIWORD(wParam)));
    case WM_COPYDATA:
      return OnCopyData(reinterpret_cast<HWND>(wParam),
                        reinterpret_cast<const COPYDATASTRUCT*>(lParam));
    case WM_MODESETTINGS_LOCKSETTINGITEM:
      return OnLockSettingItem();
    default:
      return FALSE;
  }
}

void CModeSettingItemList::OnHandlerFailed(UINT /*message*/) noexcept {
  trace.Write(L"CModeSettingItemList::OnHandlerFailed", 84);
  ReportError();
}

INT_PTR CModeSettingItemList::OnInitDialog() {
  if (::ChangeWindowMessageFilterEx(Window(), WM_COPYDATA, MSGFLT_ALLOW, nullptr) == FALSE) {
    trace.WriteUInt(L"CModeSettingItemList::OnInitDialog", 90, ::GetLastError());
  }
  if (!LoadSettingItemInformation()) {
    trace.Write(L"CModeSettingItemList::OnInitDialog", 93);
    ReportError();
    return FALSE;
  }
  if (!CreateSettingItemList()) {
    trace.Write(L"CModeSettingItemList::OnInitDialog", 98);
    ReportError();
    return FALSE;
  }
  InitializeScrollBar();
  // Without it the list works, it only does not follow the keyboard.
  if (!WatchFocus()) {
    trace.WriteUInt(L"CModeSettingItemList::OnInitDialog", 105, ::GetLastError());
  }
  return TRUE;
}

INT_PTR CModeSettingItemList::OnClose() {
  StopWatchingFocus();
  ReleaseRows();
  ::DestroyWindow(Window());
  return Handled();
}

INT_PTR CModeSettingItemList::OnControlColor(HDC dc) {
  return ControlColor(dc, designer.GetDialogBackBrush());
}

INT_PTR CModeSettingItemList::OnCopyData(HWND sender, const COPYDATASTRUCT* data) {
  if (data == nullptr || data->dwData != LockSettingItemRequest::kCopyDataId ||
      data->cbData != sizeof(LockSettingItemRequest) || data->lpData == nullptr ||
      !IsSentByLine(sender)) {
    return Handled();
  }
  lockRequests.push(*static_cast<const LockSettingItemRequest*>(data->lpData));
  ::SendMessageW(Window(), WM_MODESETTINGS_LOCKSETTINGITEM, 0, 0);
  return Handled();
}

INT_PTR CModeSettingItemList::OnLockSettingItem() {
  if (lockRequests.empty()) {
    trace.Write(L"CModeSettingItemList::OnLockSettingItem", 137);
    ReportError();
    return Handled();
  }
  // Off the queue before it is applied: a line may ask for the next lock while it is locked.
  const LockSettingItemRequest request = std::move(lockRequests.front());
  lockRequests.pop();
  for (std::size_t i = 0; i < request.lockedItemNames.size(); ++i) {
    CModeSettingItemListLine* line = FindLine(request.lockedItemNames[i]);
    if (line == nullptr) continue;
    if (!line->LockThisSettingItem(request.lock, request.lockedItemValues.at(i),
                                   request.lockingItemName.c_str())) {
      trace.Write(L"CModeSettingItemList::OnLockSettingItem", 149);
      ReportError();
      break;
    }
  }
  return Handled();
}

void CModeSettingItemList::PostToParent(UINT message, WPARAM wParam, LPARAM lParam) const noexcept {
  if (Window() == nullptr) return;
  ::PostMessageW(::GetParent(Window()), message, wParam, lParam);
}

void CModeSettingItemList::ReportError() const noexcept {
  PostToParent(WM_MODESETTINGS_ERROR, kModeSettingsFailed, 0);
}

// --- Rows ----------------------------------------------------------------------------------------

bool CModeSettingItemList::LoadSettingItemInformation() {
  const CModeChangeConfig config;
  std::vector<CWideString> allItems;
  if (!config.GetAllSettingItemList(&allItems)) {
    return trace.Write(L"CModeSettingItemList::LoadSettingItemInformation", 173);
  }
  std::vector<CWideString> groupNames;
  if (!config.GetSettingGroupList(&groupNames)) {
    return trace.Write(L"CModeSettingItemList::LoadSettingItemInformation", 177);
  }
  std::vector<SettingGroupInformation> loaded;
  for (const CWideString& groupName : groupNames) {
    SettingGroupInformation group;
    group.groupName = groupName;
    if (!LoadSettingGroup(config, &group)) return false;
    if (!group.itemNames.empty()) loaded.push_back(std::move(group));
  }
  settingGroups = std::move(loaded);
  return true;
}

bool CModeSettingItemList::LoadSettingGroup(const CModeChangeConfig& config,
                                            SettingGroupInformation* group) const {
  std::vector<CWideString> itemNames;
  if (!config.GetSettingItemListInSettingGroup(group->groupName.c_str(), &itemNames)) {
    return trace.Write(L"CModeSettingItemList::LoadSettingItemInformation", 194,
                       group->groupName.c_str());
  }
  for (const CWideString& itemName : itemNames) {
    CWideString enginePath;
    if (!config.GetSettingItemEnginePath(itemName.c_str(), &enginePath)) {
      return trace.Write(L"CModeSettingItemList::LoadSettingItemInformation", 200,
                         itemName.c_str());
    }
    auto engine = std::make_unique<CDeviceEngineHelper>(enginePath);
    bool usable = false;
    if (!IsSettingItemUsableInThisPC(engine.get(), &usable)) {
      return trace.Write(L"CModeSettingItemList::LoadSettingItemInformation", 206,
                         itemName.c_str());
    }
    if (!usable) continue;
    group->itemNames.push_back(itemName);
    group->engines.push_back(std::move(engine));
  }
  return true;
}

bool CModeSettingItemList::CreateSettingItemList() {
  if (!rowGroups.empty()) return true;
  std::vector<RowGroup> created;
  LONG y = 0;
  for (const SettingGroupInformation& group : settingGroups) {
    created.emplace_back();
    if (!CreateRowGroup(group, &created.back(), &y)) return false;
  }
  rowGroups = std::move(created);
  contentRectangle = {0, 0, 0, y};
  return true;
}

bool CModeSettingItemList::CreateRowGroup(const SettingGroupInformation& group, RowGroup* rows,
                                          LONG* y) const {
  rows->title = std::make_unique<CModeSettingItemListGroupTitle>(group.groupName);
  if (!rows->title->Create(IDD_SETTING_ITEM_LIST_GROUP_TITLE, Window())) {
    return trace.WriteUInt(L"CModeSettingItemList::CreateSettingItemList", 235, ::GetLastError());
  }
  if (!PlaceRow(rows->title->Window(), y)) return false;
  for (std::size_t i = 0; i < group.itemNames.size(); ++i) {
    const SettingItemListLineInitParam param{static_cast<int>(i), group.itemNames[i],
                                             group.engines[i].get()};
    auto line = std::make_unique<CModeSettingItemListLine>();
    if (!line->CreateLine(Window(), param)) {
      return trace.WriteUInt(L"CModeSettingItemList::CreateSettingItemList", 243, ::GetLastError());
    }
    if (!PlaceRow(line->Window(), y)) return false;
    rows->lines.push_back(std::move(line));
  }
  return true;
}

bool CModeSettingItemList::PlaceRow(HWND row, LONG* y) const {
  RECT client{};
  if (::GetClientRect(row, &client) == FALSE) {
    return trace.WriteUInt(L"CModeSettingItemList::CreateSettingItemList", 255, ::GetLastError());
  }
  if (::MoveWindow(row, 0, *y, client.right, client.bottom, TRUE) == FALSE) {
    return trace.WriteUInt(L"CModeSettingItemList::CreateSettingItemList", 258, ::GetLastError());
  }
  ::ShowWindow(row, SW_SHOW);
  *y += client.bottom;
  return true;
}

void CModeSettingItemList::ReleaseRows() noexcept {
  // Taken out first: whatever it sets off that a row or an engine closes, it finds an empty list.
  const std::vector<SettingGroupInformation> engines = std::exchange(settingGroups, {});
  std::vector<RowGroup> closing = std::exchange(rowGroups, {});
  for (RowGroup& rows : closing) {
    CloseRow(&rows.title);
    for (auto& line : rows.lines) CloseRow(&line);
  }
}

bool CModeSettingItemList::IsSentByLine(HWND sender) const noexcept {
  if (sender == nullptr) return false;
  for (const RowGroup& rows : rowGroups) {
    for (const auto& line : rows.lines) {
      if (line->Window() != sender) continue;
      // Another program can name a line's window too, but its pointers mean nothing here. A line
      // that sends while another program presses its button looks the same to Windows.
      return ::InSendMessageEx(nullptr) == ISMEX_NOSEND || line->IsSendingLockSettingItemRequest();
    }
  }
  return false;
}

CModeSettingItemListLine* CModeSettingItemList::FindLine(
    const CWideString& itemName) const noexcept {
  for (std::size_t group = 0; group < rowGroups.size(); ++group) {
    const std::vector<CWideString>& names = settingGroups[group].itemNames;
    for (std::size_t i = 0; i < names.size(); ++i) {
      if (names[i].EqualsIgnoringCase(itemName)) return rowGroups[group].lines[i].get();
    }
  }
  return nullptr;
}

template <class Visit>
bool CModeSettingItemList::VisitLines(Visit visit) {
  for (std::size_t group = 0; group < rowGroups.size(); ++group) {
    for (std::size_t i = 0; i < rowGroups[group].lines.size(); ++i) {
      const SettingGroupInformation& information = settingGroups[group];
      const ItemLine itemLine{rowGroups[group].lines[i].get(), &information.itemNames[i],
                              information.engines[i].get()};
      if (!visit(itemLine)) return false;
    }
  }
  return true;
}

// --- Scrolling -----------------------------------------------------------------------------------

void CModeSettingItemList::InitializeScrollBar() noexcept {
  RECT window{};
  ::GetWindowRect(Window(), &window);
  viewHeight = window.bottom - window.top;
  scrollPosition = 0;
  scrollUnit = 0;
  wheelAccumulator = 0;
  if (!rowGroups.empty()) {
    RECT line{};
    ::GetClientRect(rowGroups.front().lines.front()->Window(), &line);
    scrollUnit = line.bottom;
  }
  SCROLLINFO info{};
  info.cbSize = sizeof(info);
  info.fMask = SIF_RANGE | SIF_PAGE | SIF_POS;
  const std::int32_t hidden = contentRectangle.bottom - viewHeight;
  info.nMax = hidden > 0 ? hidden + scrollUnit : 0;
  info.nPage = static_cast<UINT>(scrollUnit);
  ::SetScrollInfo(Window(), SB_VERT, &info, TRUE);
}

INT_PTR CModeSettingItemList::OnVScroll(WORD code, WORD thumbPosition) noexcept {
  const std::int32_t end = contentRectangle.bottom - viewHeight;
  const bool isAtTop = scrollPosition < 1;
  const bool isAtEnd = scrollPosition >= end;
  switch (code) {
    case SB_LINEUP:
    case SB_PAGEUP:
      if (!isAtTop) ScrollBy(-std::min(scrollUnit, scrollPosition));
      break;
    case SB_LINEDOWN:
    case SB_PAGEDOWN:
      if (!isAtEnd) ScrollBy(std::min(scrollUnit, end - scrollPosition));
      break;
    case SB_THUMBPOSITION:
    case SB_THUMBTRACK:
      ScrollBy(thumbPosition - scrollPosition);
      break;
    case SB_TOP:
      if (!isAtTop) ScrollBy(-scrollPosition);
      break;
    case SB_BOTTOM:
      if (!isAtEnd) ScrollBy(end - scrollPosition);
      break;
    default:
      ScrollBy(0);
      break;
  }
  return Handled();
}

void CModeSettingItemList::ScrollBy(std::int32_t move) noexcept {
  scrollPosition += move;
  SCROLLINFO info{};
  info.cbSize = sizeof(info);
  info.fMask = SIF_POS;
  info.nPos = scrollPosition;
  ::SetScrollInfo(Window(), SB_VERT, &info, TRUE);
  ::ScrollWindow(Window(), 0, -move, nullptr, nullptr);
}

INT_PTR CModeSettingItemList::OnMouseWheel(std::int16_t delta) noexcept {
  const HWND parent = ::GetParent(::GetFocus());
  if (parent != Window() && ::GetParent(parent) != Window()) {
    wheelAccumulator = 0;
    return FALSE;
  }
  // Each message scrolls one unit, however far the wheel was turned.
  constexpr std::int32_t kNotch = WHEEL_DELTA;
  wheelAccumulator = AddWrapping(wheelAccumulator, delta);
  const bool isUp = wheelAccumulator >= kNotch;
  wheelAccumulator = AddWrapping(wheelAccumulator, isUp ? -kNotch : kNotch);
  ::SendMessageW(Window(), WM_VSCROLL, isUp ? SB_PAGEUP : SB_PAGEDOWN, 0);
  return Handled();
}

// --- Following the keyboard ----------------------------------------------------------------------

bool CModeSettingItemList::WatchFocus() noexcept {
  // Check boxes, sliders and the like do not tell their parents that they get the focus.
  if (::SetPropW(Window(), kListProperty, this) == FALSE) return false;
  focusHook = CUniqueWindowsHook(
      ::SetWindowsHookExW(WH_CBT, OnFocusMoves, nullptr, ::GetCurrentThreadId()));
  return static_cast<bool>(focusHook);
}

void CModeSettingItemList::StopWatchingFocus() noexcept {
  if (Window() != nullptr) ::RemovePropW(Window(), kListProperty);
  focusHook = CUniqueWindowsHook();
}

LRESULT CALLBACK CModeSettingItemList::OnFocusMoves(int code, WPARAM wParam,
                                                    LPARAM lParam) noexcept {
  const HWND gaining = reinterpret_cast<HWND>(wParam);
  if (code == HCBT_SETFOCUS && IsMovedByKeyboard(reinterpret_cast<HWND>(lParam), gaining)) {
    HWND row = nullptr;
    for (HWND window = gaining; window != nullptr; window = ::GetAncestor(window, GA_PARENT)) {
      auto* list = static_cast<CModeSettingItemList*>(::GetPropW(window, kListProperty));
      if (list != nullptr && row != nullptr) list->ScrollIntoView(row);
      row = window;
    }
  }
  return ::CallNextHookEx(nullptr, code, wParam, lParam);
}

void CModeSettingItemList::ScrollIntoView(HWND row) noexcept {
  RECT shown{};
  ::GetWindowRect(row, &shown);
  for (const RowGroup& rows : rowGroups) {
    // The first line brings the group's title along.
    if (rows.lines.front()->Window() != row) continue;
    RECT title{};
    ::GetWindowRect(rows.title->Window(), &title);
    shown.top = title.top;
  }
  ::MapWindowPoints(nullptr, Window(), reinterpret_cast<POINT*>(&shown), 2);
  RECT view{};
  ::GetClientRect(Window(), &view);
  if (shown.top < 0) {
    ScrollBy(shown.top);
  } else if (shown.bottom > view.bottom) {
    ScrollBy(std::min(shown.bottom - view.bottom, shown.top));
  }
}

// --- What the area asks for ----------------------------------------------------------------------

bool CModeSettingItemList::SelectMode(const wchar_t* newModeName) {
  if (newModeName == nullptr) {
    return trace.Write(L"CModeSettingItemList::SelectMode", 428);
  }
  const bool areShown =
      VisitLines([&](const ItemLine& item) { return item.line->SelectMode(newModeName); });
  if (!areShown) return trace.Write(L"CModeSettingItemList::SelectMode", 432);
  if (!UpdateLocks()) return trace.Write(L"CModeSettingItemList::SelectMode", 433);
  modeName = newModeName;
  return true;
}

bool CModeSettingItemList::RestoreDefaultSettingItemValue() {
  const bool areShown =
      VisitLines([](const ItemLine& item) { return item.line->RestoreDefaultSettingItemValue(); });
  if (!areShown) return trace.Write(L"CModeSettingItemList::RestoreDefaultSettingItemValue", 441);
  if (!UpdateLocks()) {
    return trace.Write(L"CModeSettingItemList::RestoreDefaultSettingItemValue", 443);
  }
  return true;
}

bool CModeSettingItemList::UpdateLocks() {
  return VisitLines([](const ItemLine& item) {
    if (!item.line->UpdateLockedSettingItemStatus()) return false;
    ::InvalidateRect(item.line->Window(), nullptr, TRUE);
    return true;
  });
}

bool CModeSettingItemList::IsSettingItemValueChanged(bool* changed) {
  if (changed == nullptr) {
    return trace.Write(L"CModeSettingItemList::IsSettingItemValueChanged", 458);
  }
  bool isAnyChanged = false;
  bool isAnswered = true;
  VisitLines([&](const ItemLine& item) {
    isAnswered = item.line->IsSettingItemValueChanged(&isAnyChanged);
    return isAnswered && !isAnyChanged;
  });
  if (!isAnswered) return trace.Write(L"CModeSettingItemList::IsSettingItemValueChanged", 466);
  *changed = isAnyChanged;
  return true;
}

bool CModeSettingItemList::GetSettingDisplayNameListOfNotSetCorrectly(
    std::vector<CWideString>* names) {
  if (names == nullptr) {
    return trace.Write(L"CModeSettingItemList::GetSettingDisplayNameListOfNotSetCorrectly", 474);
  }
  std::vector<CWideString> found;
  const bool areNamed = VisitLines([&](const ItemLine& item) {
    if (item.line->IsSettingItemSetCorrectly()) return true;
    CWideString name;
    if (!GetDisplayName(item, &name)) return false;
    found.push_back(name);
    return true;
  });
  if (!areNamed) return false;
  names->insert(names->end(), found.begin(), found.end());
  return true;
}

bool CModeSettingItemList::GetDisplayName(const ItemLine& item, CWideString* name) const {
  CWideString key;
  if (!item.engine->GetStringInformation(VELTO_ENGINE_STRING_ITEM_KEY, 0, &key)) {
    return trace.Write(L"CModeSettingItemList::GetSettingDisplayNameListOfNotSetCorrectly", 492,
                       item.itemName->c_str());
  }
  if (!CModeChangeResource().GetSettingItemStringResource(key.c_str(), name)) {
    return trace.Write(L"CModeSettingItemList::GetSettingDisplayNameListOfNotSetCorrectly", 496);
  }
  return true;
}

bool CModeSettingItemList::SaveSettings() {
  const CModeChangeSettings settings;
  return VisitLines([&](const ItemLine& item) {
    std::uint32_t value = 0;
    if (!item.line->GetCurrentSettingItemValue(&value)) {
      trace.Write(L"CModeSettingItemList::SaveSettings", 506, modeName.c_str());
      return trace.Write(L"CModeSettingItemList::SaveSettings", 507, item.itemName->c_str());
    }
    if (!settings.SaveSettingItemValue(modeName.c_str(), item.itemName->c_str(),
                                       static_cast<std::int32_t>(value))) {
      trace.Write(L"CModeSettingItemList::SaveSettings", 511, modeName.c_str());
      return trace.Write(L"CModeSettingItemList::SaveSettings", 512, item.itemName->c_str());
    }
    return true;
  });
}
