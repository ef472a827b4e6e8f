#include "unit/settings/SettingItemListFixture.h"

#include <algorithm>

#include "resources/ControlIds.h"

namespace {

constexpr const wchar_t* kParentClass = L"SettingItemListTestParent";
constexpr const wchar_t* kSharedEngine = L"Shared";

void WriteIni(const std::filesystem::path& file, const std::wstring& section,
              const std::wstring& key, const std::wstring& value) {
  ::WritePrivateProfileStringW(section.c_str(), key.c_str(), value.c_str(), file.c_str());
}

bool IsChecked(HWND line, int id) {
  return ::SendDlgItemMessageW(line, id, BM_GETCHECK, 0, 0) == BST_CHECKED;
}

}  // namespace

std::ostream& operator<<(std::ostream& stream, const ParentMessage& message) {
  return stream << "message 0x" << std::hex << message.message << std::dec << " (" << message.wParam
                << ", " << message.lParam << ")";
}

// --- ListParent ----------------------------------------------------------------------------------

ListParent::ListParent() {
  WNDCLASSEXW windowClass{};
  windowClass.cbSize = sizeof(windowClass);
  windowClass.lpfnWndProc = WindowProc;
  windowClass.hInstance = ::GetModuleHandleW(nullptr);
  windowClass.lpszClassName = kParentClass;
  ::RegisterClassExW(&windowClass);
  // Beyond the screen: a window that the X server maps, it also has to give back, and without a
  // window manager Wine waits for that for two seconds.
  window = ::CreateWindowExW(WS_EX_CONTROLPARENT, kParentClass, L"", WS_POPUP | WS_VISIBLE, -4000,
                             -4000, 700, 600, nullptr, nullptr, windowClass.hInstance, nullptr);
  ::SetWindowLongPtrW(window, GWLP_USERDATA, reinterpret_cast<LONG_PTR>(this));
  other = ::CreateWindowExW(0, L"Button", L"Other", WS_CHILD | WS_VISIBLE | WS_TABSTOP, 0, 570, 80,
                            25, window, nullptr, windowClass.hInstance, nullptr);
}

ListParent::~ListParent() {
  ::DestroyWindow(window);
}

std::vector<ParentMessage> ListParent::Take() {
  return std::exchange(messages, {});
}

LRESULT CALLBACK ListParent::WindowProc(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
  auto* parent = reinterpret_cast<ListParent*>(::GetWindowLongPtrW(window, GWLP_USERDATA));
  if (parent != nullptr && message >= WM_APP && message < 0xC000) {
    parent->messages.push_back({message, wParam, lParam});
    return 0;
  }
  if (parent != nullptr && message == WM_MOUSEWHEEL) ++parent->wheels;
  return ::DefWindowProcW(window, message, wParam, lParam);
}

// --- The machine ---------------------------------------------------------------------------------

SettingItemListTest::SettingItemListTest() {
  sandbox.SetUserLocale(L"en-US");
  sandbox.Write(L"ModeChange.DefaultSettings.ini", IniFile().Section(L"Common"));
}

SettingItemListTest::~SettingItemListTest() {
  list.reset();
  PumpAll();
}

void SettingItemListTest::AddGroup(const std::wstring& group,
                                   const std::vector<std::wstring>& items) {
  groups.emplace_back(group, items);
}

void SettingItemListTest::AddLockRule(const std::wstring& item, int value, Locks locks) {
  lockRules[item] = {value, std::move(locks)};
}

void SettingItemListTest::MakeMachine() {
  WriteConfig();
  WriteTexts();
  sandbox.MakeFolder(L"Engines");
  for (const std::wstring& item : Items()) {
    if (engines.contains(item)) continue;
    engines.emplace(item, std::make_unique<ScriptedEngine>(EnginePath(item), &log));
    Engine(item).itemKey = item;
  }
}

void SettingItemListTest::MakeMachineWithOneEngine() {
  hasOneEngine = true;
  WriteConfig();
  WriteTexts();
  sandbox.MakeFolder(L"Engines");
  engines.emplace(kSharedEngine, std::make_unique<ScriptedEngine>(EnginePath(kSharedEngine), &log));
}

void SettingItemListTest::WriteConfig() {
  IniFile config;
  const std::vector<std::wstring> items = Items();
  config.Section(L"SettingItemList").Key(L"SettingItemCount", static_cast<int>(items.size()));
  for (std::size_t i = 0; i < items.size(); ++i) {
    config.Key(L"SettingItem" + std::to_wstring(i), items[i]);
  }
  config.Section(L"SettingGroupList").Key(L"SettingGroupCount", static_cast<int>(groups.size()));
  for (std::size_t i = 0; i < groups.size(); ++i) {
    config.Key(L"SettingGroup" + std::to_wstring(i), groups[i].first);
  }
  for (const auto& [group, members] : groups) {
    config.Section(group).Key(L"SettingItemCount", static_cast<int>(members.size()));
    for (std::size_t i = 0; i < members.size(); ++i) {
      config.Key(L"SettingItem" + std::to_wstring(i), members[i]);
    }
  }
  for (const std::wstring& item : items) {
    config.Section(item).Key(L"EnginePath",
                             L"Engines\\" + (hasOneEngine ? kSharedEngine : item) + L".dll");
    const auto rule = lockRules.find(item);
    if (rule == lockRules.end()) continue;
    const auto& [value, locks] = rule->second;
    config.Key(L"SettingItemValueToLockOtherSettingItem", value)
        .Key(L"LockedOtherSettingItemCount", static_cast<int>(locks.size()));
    for (std::size_t i = 0; i < locks.size(); ++i) {
      config.Key(L"LockedOtherSettingItem" + std::to_wstring(i), locks[i].first)
          .Key(L"LockedOtherSettingItemValue" + std::to_wstring(i), locks[i].second);
    }
  }
  sandbox.Write(L"ModeChange.Config.ini", config);
  sandbox.Write(L"ModeChange.UsableModeList.ini", IniFile().Section(L"UsableModeList"));
}

void SettingItemListTest::WriteTexts() {
  IniFile texts;
  texts.Section(L"Common").Key(L"SettingItemStatus_DoNothing", L"do nothing");
  texts.Section(L"SettingGroup");
  for (const auto& [group, members] : groups) texts.Key(group, L"the " + group);
  texts.Section(L"SettingItem");
  for (const std::wstring& item : Items()) texts.Key(item, L"the " + item);
  texts.Key(L"Item", L"the Item").Key(L"Value0", L"zero").Key(L"Value1", L"one");
  texts.Key(L"Value2", L"two").Key(L"Value3", L"three");
  texts.Section(L"ModeSettingsDialog")
      .Key(L"LockedSettingItemMemo", L"(fixed)")
      .Key(L"SliderDown", L"less")
      .Key(L"SliderUp", L"more");
  for (const std::wstring& item : Items()) {
    texts.Key(L"LockedSettingItemMemo_By" + item, L"(by " + item + L")");
  }
  texts.Section(L"FontSize_ModeSetingsDialog").Key(L"SettingItemListGroupTitleSize", 11);
  sandbox.Write(L"en-US\\ModeChange.Resource.ini", texts);
}

std::vector<std::wstring> SettingItemListTest::Items() const {
  std::vector<std::wstring> items;
  for (const auto& [group, members] : groups) {
    for (const std::wstring& item : members) {
      // Listed once: a group has an item as often as the list of all items.
      if (std::find(items.begin(), items.end(), item) == items.end()) items.push_back(item);
    }
  }
  return items;
}

std::wstring SettingItemListTest::EnginePath(const std::wstring& item) const {
  return sandbox.LibraryFolder().wstring() + L"\\Engines\\" + item + L".dll";
}

void SettingItemListTest::SetDefault(const std::wstring& mode, const std::wstring& item,
                                     int value) {
  const std::filesystem::path file = sandbox.LibraryFolder() / L"ModeChange.DefaultSettings.ini";
  for (const wchar_t* suffix : {L"_Win7", L"_Win8OrLater"}) {
    WriteIni(file, mode + suffix, item, std::to_wstring(value));
  }
}

void SettingItemListTest::SetLockedByMode(const std::wstring& mode,
                                          const std::vector<std::wstring>& items) {
  const std::filesystem::path file = sandbox.LibraryFolder() / L"ModeChange.DefaultSettings.ini";
  for (const wchar_t* suffix : {L"_Win7", L"_Win8OrLater"}) {
    WriteIni(file, mode + suffix, L"LockedSettingItemCount", std::to_wstring(items.size()));
    for (std::size_t i = 0; i < items.size(); ++i) {
      WriteIni(file, mode + suffix, L"LockedSettingItem" + std::to_wstring(i), items[i]);
    }
  }
}

void SettingItemListTest::SetSaved(const std::wstring& mode, const std::wstring& item, int value) {
  WriteIni(sandbox.DataFile(L"ModeChange.Settings.ini"), mode, item, std::to_wstring(value));
}

std::optional<std::wstring> SettingItemListTest::Saved(const std::wstring& mode,
                                                       const std::wstring& item) const {
  return sandbox.IniValue(sandbox.DataFile(L"ModeChange.Settings.ini"), mode.c_str(), item.c_str());
}

// --- The list ------------------------------------------------------------------------------------

void SettingItemListTest::Open() {
  list.emplace();
  ASSERT_TRUE(list->Create(IDD_SETTING_ITEM_LIST, parent.Window()));
  ASSERT_NE(List(), nullptr);
  ::ShowWindow(List(), SW_SHOW);
  PumpAll();
  interposition.ClearCalls();
}

void SettingItemListTest::OpenMachine() {
  MakeMachine();
  Open();
}

void SettingItemListTest::Close() {
  Send(WM_CLOSE, 0, 0);
  EXPECT_EQ(List(), nullptr);
}

std::vector<ParentMessage> SettingItemListTest::Posted() {
  PumpAll();
  return parent.Take();
}

// --- The rows ------------------------------------------------------------------------------------

std::vector<HWND> SettingItemListTest::Rows() const {
  std::vector<HWND> rows;
  for (HWND row = ::GetWindow(List(), GW_CHILD); row != nullptr;
       row = ::GetWindow(row, GW_HWNDNEXT)) {
    rows.push_back(row);
  }
  return rows;
}

std::vector<HWND> SettingItemListTest::Titles() const {
  std::vector<HWND> titles = Rows();
  std::erase_if(titles, [](HWND row) { return ::GetDlgItem(row, IDC_GROUP_TITLE) == nullptr; });
  return titles;
}

std::vector<HWND> SettingItemListTest::Lines() const {
  std::vector<HWND> lines = Rows();
  std::erase_if(lines, [](HWND row) { return ::GetDlgItem(row, IDC_SETTING_ITEM) == nullptr; });
  return lines;
}

HWND SettingItemListTest::LineOf(const std::wstring& item) const {
  for (HWND line : Lines()) {
    if (TextOf(::GetDlgItem(line, IDC_SETTING_ITEM)) == L"the " + item) return line;
  }
  ADD_FAILURE() << "There is no line of " << Text::ToUtf8(item);
  return nullptr;
}

HWND SettingItemListTest::Control(const std::wstring& item, int id) const {
  return ::GetDlgItem(LineOf(item), id);
}

std::string SettingItemListTest::Shown(const std::wstring& item) const {
  const HWND line = LineOf(item);
  const HWND memo = ::GetDlgItem(line, IDC_LOCKED_VALUE_MEMO);
  if (HasVisibleBit(memo)) return "locked: " + Text::ToUtf8(TextOf(memo));
  if (!IsChecked(line, IDC_SETTING_ITEM)) return "left alone";
  if (HasVisibleBit(::GetDlgItem(line, IDC_VALUE_COMBO))) {
    return Text::ToUtf8(TextOf(::GetDlgItem(line, IDC_GREYED_VALUE)));
  }
  for (const int id : {IDC_FIRST_VALUE, IDC_SECOND_VALUE}) {
    if (IsChecked(line, id)) return Text::ToUtf8(TextOf(::GetDlgItem(line, id)));
  }
  return "nothing chosen";
}

void SettingItemListTest::Click(const std::wstring& item, int id) const {
  ::SendMessageW(Control(item, id), BM_CLICK, 0, 0);
  PumpAll();
}

RECT SettingItemListTest::Place(HWND row) {
  RECT place{};
  ::GetWindowRect(row, &place);
  ::MapWindowPoints(nullptr, ::GetParent(row), reinterpret_cast<POINT*>(&place), 2);
  return place;
}

std::wstring SettingItemListTest::TextOf(HWND window) {
  std::wstring text(static_cast<std::size_t>(::GetWindowTextLengthW(window)) + 1, L'\0');
  ::GetWindowTextW(window, text.data(), static_cast<int>(text.size()));
  text.pop_back();
  return text;
}

void SettingItemListTest::PumpAll() {
  MSG message{};
  while (::PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE) != FALSE) ::DispatchMessageW(&message);
}

void SettingItemListTest::ExpectListTraces(const Traces& expected) {
  Traces own = traces.Take();
  std::erase_if(own, [](const Trace& trace) {
    return !trace.function.starts_with(L"CModeSettingItemList::");
  });
  EXPECT_EQ(own, expected);
}
