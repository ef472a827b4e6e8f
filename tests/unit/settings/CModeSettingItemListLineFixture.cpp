#include "unit/settings/CModeSettingItemListLineFixture.h"

// windows.h comes with the header above, before commctrl.h, which needs it.
#include <commctrl.h>

#include <stdexcept>

#include "settings/ModeSettingsMessages.h"

namespace {

constexpr const wchar_t* kListClass = L"CModeSettingItemListLineTestList";
constexpr const wchar_t* kAnswersProperty = L"CModeSettingItemListLineTestAnswers";

/// What a control answers instead of asking its window procedure.
struct Answers {
  WNDPROC original = nullptr;
  std::map<UINT, LRESULT> results;
};

LRESULT CALLBACK AnsweringProc(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
  auto* answers = static_cast<Answers*>(::GetPropW(window, kAnswersProperty));
  const auto answer = answers->results.find(message);
  if (answer != answers->results.end()) return answer->second;
  const WNDPROC original = answers->original;
  if (message == WM_NCDESTROY) {
    ::RemovePropW(window, kAnswersProperty);
    delete answers;
  }
  return ::CallWindowProcW(original, window, message, wParam, lParam);
}

void WriteIni(const std::filesystem::path& file, const std::wstring& section,
              const std::wstring& key, const std::wstring& value) {
  if (::WritePrivateProfileStringW(section.c_str(), key.c_str(), value.c_str(), file.c_str()) ==
      FALSE) {
    throw std::runtime_error("a setting can't be written");
  }
}

}  // namespace

// --- ListWindow ----------------------------------------------------------------------------------

ListWindow::ListWindow() {
  WNDCLASSEXW windowClass{};
  windowClass.cbSize = sizeof(windowClass);
  windowClass.lpfnWndProc = WindowProc;
  windowClass.cbWndExtra = DLGWINDOWEXTRA;
  windowClass.hInstance = ::GetModuleHandleW(nullptr);
  windowClass.lpszClassName = kListClass;
  ::RegisterClassExW(&windowClass);
  window = ::CreateWindowExW(WS_EX_CONTROLPARENT | WS_EX_TOOLWINDOW, kListClass, L"", WS_POPUP, 0,
                             0, 800, 400, nullptr, nullptr, windowClass.hInstance, nullptr);
  if (window == nullptr) throw std::runtime_error("no window for the list");
  ::SetPropW(window, kListClass, this);
}

ListWindow::~ListWindow() {
  ::RemovePropW(window, kListClass);
  ::DestroyWindow(window);
}

ListWindow::Log ListWindow::Take() {
  MSG message{};
  while (::PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE) != FALSE) ::DispatchMessageW(&message);
  return std::exchange(log, {});
}

LRESULT CALLBACK ListWindow::WindowProc(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
  auto* list = static_cast<ListWindow*>(::GetPropW(window, kListClass));
  if (list != nullptr) {
    switch (message) {
      case WM_MODESETTINGS_CHANGED:
        list->log.push_back(wParam == 0 && lParam == 0 ? "changed" : "changed with arguments");
        return 0;
      case WM_MODESETTINGS_ERROR:
        list->log.push_back("error " + std::to_string(wParam));
        EXPECT_EQ(lParam, 0);
        return 0;
      case WM_COPYDATA:
        list->OnCopyData(reinterpret_cast<HWND>(wParam),
                         *reinterpret_cast<const COPYDATASTRUCT*>(lParam));
        return 0;
      default:
        break;
    }
  }
  return ::DefDlgProcW(window, message, wParam, lParam);
}

void ListWindow::OnCopyData(HWND from, const COPYDATASTRUCT& data) {
  EXPECT_EQ(data.dwData, 1U);
  ASSERT_EQ(data.cbData, 64U);
  sender = from;
  // A copy, as the real list makes one.
  const LockSettingItemRequest request = *static_cast<const LockSettingItemRequest*>(data.lpData);
  std::string line = ::Text::ToUtf8(request.lockingItemName.c_str());
  line += request.lock ? " locks" : " releases";
  ASSERT_EQ(request.lockedItemNames.size(), request.lockedItemValues.size());
  for (std::size_t i = 0; i < request.lockedItemNames.size(); ++i) {
    line += (i == 0 ? " " : ", ") + ::Text::ToUtf8(request.lockedItemNames[i].c_str()) + "=" +
            std::to_string(request.lockedItemValues[i]);
  }
  log.push_back(line);
  if (onRequest) onRequest(request);
}

// --- The machine ---------------------------------------------------------------------------------

CModeSettingItemListLineTest::CModeSettingItemListLineTest() {
  sandbox.SetUserLocale(L"en-US");
  WriteConfig();
  WriteTexts();
  // Both files are there from the start, as Windows writes UTF-16 only into files that are.
  sandbox.Write(L"ModeChange.DefaultSettings.ini", IniFile().Section(L"Common"));
  sandbox.Write(sandbox.DataFile(L"ModeChange.Settings.ini"), IniFile().Section(L"Common"));
}

CModeSettingItemListLineTest::~CModeSettingItemListLineTest() = default;

std::wstring CModeSettingItemListLineTest::MakeEngineFolder() {
  sandbox.MakeFolder(L"Engines");
  return EnginePath();
}

void CModeSettingItemListLineTest::WriteConfig() {
  IniFile config;
  config.Section(L"ModeList").Key(L"ModeCount", 2).Key(L"Mode0", L"Eco").Key(L"Mode1", L"Quiet");
  config.Section(L"Lamp").Key(L"EnginePath", L"Engines\\Lamp.dll");
  if (lockValue != -100) {
    config.Key(L"SettingItemValueToLockOtherSettingItem", lockValue);
    config.Key(L"LockedOtherSettingItemCount", static_cast<int>(locked.size()));
    for (std::size_t i = 0; i < locked.size(); ++i) {
      config.Key(L"LockedOtherSettingItem" + std::to_wstring(i), locked[i].first);
      config.Key(L"LockedOtherSettingItemValue" + std::to_wstring(i), locked[i].second);
    }
  }
  sandbox.Write(L"ModeChange.Config.ini", config);
  sandbox.Write(L"ModeChange.UsableModeList.ini",
                IniFile().Section(L"UsableModeList").Key(L"ModeCount", 1).Key(L"Mode0", L"Eco"));
}

void CModeSettingItemListLineTest::WriteTexts() {
  IniFile texts;
  texts.Section(L"Common").Key(L"SettingItemStatus_DoNothing", L"As it is");
  texts.Section(L"SettingItem").Key(L"Item", L"The lamp").Key(L"WithMnemonic", L"&The lamp");
  for (int value = 0; value < 150; ++value) {
    const std::wstring number = std::to_wstring(value);
    texts.Key(L"Value" + number, L"Name " + number);
  }
  texts.Section(L"ModeSettingsDialog")
      .Key(L"SliderDown", L"Less")
      .Key(L"SliderUp", L"More")
      .Key(L"LockedSettingItemMemo", L"\" (fixed)\"")
      .Key(L"LockedSettingItemMemo_ByFan", L"\" (by the fan)\"");
  texts.Section(L"FontSize_ModeSetingsDialog")
      .Key(L"SettingItemListSettingItemNameSize", 9)
      .Key(L"SettingItemListSettingItemValueSize", 8)
      .Key(L"SliderUpDownSize", 7);
  sandbox.Write(L"en-US\\ModeChange.Resource.ini", texts);
}

void CModeSettingItemListLineTest::SetLockRule(
    int value, const std::vector<std::pair<std::wstring, int>>& lockedItems) {
  lockValue = value;
  locked = lockedItems;
  WriteConfig();
}

void CModeSettingItemListLineTest::SetDefault(const std::wstring& mode, int value) {
  for (const wchar_t* system : {L"_Win7", L"_Win8OrLater"}) {
    WriteIni(sandbox.LibraryFolder() / L"ModeChange.DefaultSettings.ini", mode + system, L"Lamp",
             std::to_wstring(value));
  }
}

void CModeSettingItemListLineTest::SetSaved(const std::wstring& mode, int value) {
  WriteIni(sandbox.DataFile(L"ModeChange.Settings.ini"), mode, L"Lamp", std::to_wstring(value));
}

void CModeSettingItemListLineTest::LockInMode(const std::wstring& mode) {
  for (const wchar_t* system : {L"_Win7", L"_Win8OrLater"}) {
    const std::filesystem::path file = sandbox.LibraryFolder() / L"ModeChange.DefaultSettings.ini";
    WriteIni(file, mode + system, L"LockedSettingItemCount", L"1");
    WriteIni(file, mode + system, L"LockedSettingItem0", L"Lamp");
  }
}

void CModeSettingItemListLineTest::OfferValues(const std::vector<UINT>& usable, INT32 total) {
  engine.values = total;
  engine.available.clear();
  for (UINT value = 0; value < static_cast<UINT>(total); ++value) engine.available[value] = 0;
  for (const UINT value : usable) engine.available[value] = 1;
}

// --- The line ------------------------------------------------------------------------------------

void CModeSettingItemListLineTest::Make(int lineNumber) {
  line.emplace();
  const SettingItemListLineInitParam param{
      .lineNumber = lineNumber, .settingItemName = L"Lamp", .engine = &helper};
  ASSERT_TRUE(line->CreateLine(list.Window(), param));
  ASSERT_NE(Window(), nullptr);
}

void CModeSettingItemListLineTest::MakeAndSelect() {
  Make();
  EXPECT_TRUE(line->SelectMode(L"Eco"));
  EXPECT_THAT(list.Take(), ::testing::IsEmpty());
}

void CModeSettingItemListLineTest::ShowOnScreen() const {
  ::ShowWindow(Window(), SW_SHOW);
  ::ShowWindow(list.Window(), SW_SHOWNOACTIVATE);
  ::SetActiveWindow(list.Window());
}

std::unique_ptr<CModeSettingItemListLine> CModeSettingItemListLineTest::MakeOther(
    const std::wstring& item) {
  auto other = std::make_unique<CModeSettingItemListLine>();
  const SettingItemListLineInitParam param{
      .lineNumber = 1, .settingItemName = item.c_str(), .engine = &helper};
  EXPECT_TRUE(other->CreateLine(list.Window(), param));
  EXPECT_TRUE(other->SelectMode(L"Eco"));
  return other;
}

// --- What it shows -------------------------------------------------------------------------------

std::string CModeSettingItemListLineTest::ShownIn(HWND window) {
  std::string shown;
  for (HWND control = ::GetWindow(window, GW_CHILD); control != nullptr;
       control = ::GetWindow(control, GW_HWNDNEXT)) {
    const int id = ::GetDlgCtrlID(control);
    if (id == IDC_LINE_BACKGROUND) continue;
    if ((::GetWindowLongPtrW(control, GWL_STYLE) & WS_VISIBLE) == 0) continue;
    if (!shown.empty()) shown += " ";
    const bool enabled = ::IsWindowEnabled(control) != FALSE;
    shown += enabled ? std::to_string(id) : "(" + std::to_string(id) + ")";
  }
  return shown;
}

std::string CModeSettingItemListLineTest::Checked() const {
  std::string checked;
  for (const int id : {IDC_SETTING_ITEM, IDC_FIRST_VALUE, IDC_SECOND_VALUE}) {
    if (Ask(id, BM_GETCHECK) != BST_CHECKED) continue;
    if (!checked.empty()) checked += " ";
    checked += std::to_string(id);
  }
  return checked;
}

std::wstring CModeSettingItemListLineTest::TextOf(HWND window) {
  wchar_t text[256]{};
  ::GetWindowTextW(window, text, 256);
  return text;
}

LRESULT CModeSettingItemListLineTest::Position() const {
  return Ask(IDC_VALUE_SLIDER, TBM_GETPOS);
}

std::vector<std::wstring> CModeSettingItemListLineTest::ComboItems() const {
  std::vector<std::wstring> items;
  const LRESULT count = Ask(IDC_VALUE_COMBO, CB_GETCOUNT);
  for (LRESULT i = 0; i < count; ++i) {
    wchar_t text[256]{};
    COMBOBOXEXITEMW item{};
    item.mask = CBEIF_TEXT;
    item.iItem = i;
    item.pszText = text;
    item.cchTextMax = 256;
    Ask(IDC_VALUE_COMBO, CBEM_GETITEMW, 0, reinterpret_cast<LPARAM>(&item));
    items.emplace_back(item.pszText);
  }
  return items;
}

RECT CModeSettingItemListLineTest::Place(int id) const {
  RECT place{};
  ::GetWindowRect(Control(id), &place);
  ::MapWindowPoints(nullptr, Window(), reinterpret_cast<POINT*>(&place), 2);
  return place;
}

std::optional<std::uint32_t> CModeSettingItemListLineTest::Current() {
  constexpr std::uint32_t kUntouched = 0x77777777;
  std::uint32_t value = kUntouched;
  if (line->GetCurrentSettingItemValue(&value)) return value;
  EXPECT_EQ(value, kUntouched) << "A failure leaves the output alone.";
  return std::nullopt;
}

std::optional<bool> CModeSettingItemListLineTest::Changed() {
  std::optional<bool> answer;
  for (const bool preset : {false, true}) {
    bool changed = preset;
    if (!line->IsSettingItemValueChanged(&changed)) {
      EXPECT_EQ(changed, preset) << "A failure leaves the output alone.";
      return std::nullopt;
    }
    if (answer.has_value()) {
      EXPECT_EQ(answer, changed) << "The preset does not matter.";
    }
    answer = changed;
  }
  return answer;
}

// --- What the user does --------------------------------------------------------------------------

void CModeSettingItemListLineTest::PressInCombo(WPARAM key) const {
  const auto inner = reinterpret_cast<HWND>(Ask(IDC_VALUE_COMBO, CBEM_GETCOMBOCONTROL));
  ::SendMessageW(inner, WM_KEYDOWN, key, 0);
}

void CModeSettingItemListLineTest::Answer(int id, UINT message, LRESULT result) {
  const HWND control = Control(id);
  auto* answers = static_cast<Answers*>(::GetPropW(control, kAnswersProperty));
  if (answers == nullptr) {
    answers = new Answers;
    ::SetPropW(control, kAnswersProperty, answers);
    answers->original = reinterpret_cast<WNDPROC>(
        ::SetWindowLongPtrW(control, GWLP_WNDPROC, reinterpret_cast<LONG_PTR>(&AnsweringProc)));
  }
  answers->results[message] = result;
}
