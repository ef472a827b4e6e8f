#include <set>

#include "resources/ControlIds.h"
#include "unit/settings/SettingItemListFixture.h"

namespace {

using ::testing::AllOf;
using ::testing::Each;
using ::testing::ElementsAre;
using ::testing::Gt;
using ::testing::IsEmpty;
using ::testing::SizeIs;

/// The rows of the list: which there are, where they are, and what happens where they can't be
/// made.
class CModeSettingItemListRowsTest : public SettingItemListTest {
 protected:
  /// The rows from top to bottom: a group's title in brackets, an item by its name.
  [[nodiscard]] std::vector<std::string> Described() const {
    std::vector<std::string> rows;
    for (HWND row : Rows()) {
      const HWND title = ::GetDlgItem(row, IDC_GROUP_TITLE);
      rows.push_back(title != nullptr ? "[" + Text::ToUtf8(TextOf(title)) + "]"
                                      : Text::ToUtf8(TextOf(::GetDlgItem(row, IDC_SETTING_ITEM))));
    }
    return rows;
  }
  [[nodiscard]] SIZE InPixels(LONG width, LONG height) const {
    RECT size = {0, 0, width, height};
    ::MapDialogRect(List(), &size);
    return {size.right, size.bottom};
  }
  /// Makes the list, which fails while it initialises itself: its dialog is there, without rows.
  void OpenBroken() {
    Open();
    EXPECT_THAT(Rows(), IsEmpty());
    EXPECT_THAT(Posted(), ElementsAre(kError));
  }
  [[nodiscard]] bool IsLoaded(const std::wstring& item) const {
    return ::GetModuleHandleW(EnginePath(item).c_str()) != nullptr;
  }
  [[nodiscard]] int OpenEngines() const {
    int count = 0;
    for (const auto& [item, engine] : engines) count += engine->openHandles;
    return count;
  }
  [[nodiscard]] static SCROLLINFO ScrollInfo(HWND window) {
    SCROLLINFO info{};
    info.cbSize = sizeof(info);
    info.fMask = SIF_ALL;
    ::GetScrollInfo(window, SB_VERT, &info);
    return info;
  }
};

TEST_F(CModeSettingItemListRowsTest, StacksTheLinesOfEachGroupBelowItsTitle) {
  AddGroup(L"Screen", {L"Lamp", L"Saver"});
  AddGroup(L"Power", {L"Fan"});
  OpenMachine();
  EXPECT_THAT(Described(),
              ElementsAre("[the Screen]", "the Lamp", "the Saver", "[the Power]", "the Fan"));
  LONG y = 0;
  for (HWND row : Rows()) {
    const bool isTitle = ::GetDlgItem(row, IDC_GROUP_TITLE) != nullptr;
    const SIZE size = isTitle ? InPixels(362, 19) : InPixels(362, 25);
    const RECT place = Place(row);
    EXPECT_EQ(place.left, 0);
    EXPECT_EQ(place.top, y) << "There are no gaps.";
    EXPECT_EQ(place.right, size.cx);
    EXPECT_EQ(place.bottom - place.top, size.cy);
    EXPECT_NE(::IsWindowVisible(row), FALSE);
    y = place.bottom;
  }
  EXPECT_THAT(Posted(), IsEmpty());
}

TEST_F(CModeSettingItemListRowsTest, IsMadeFromItsTemplate) {
  OpenMachine();
  const SIZE size = InPixels(353, 236);
  const RECT place = Place(List());
  EXPECT_EQ(place.right - place.left, size.cx) << "The scroll bar lies within.";
  EXPECT_EQ(place.bottom - place.top, size.cy);
  const LONG style = ::GetWindowLongW(List(), GWL_STYLE);
  EXPECT_EQ(style & (WS_CHILD | DS_CONTROL), WS_CHILD | DS_CONTROL);
  EXPECT_NE(::GetWindowLongW(List(), GWL_EXSTYLE) & WS_EX_CONTROLPARENT, 0);
}

TEST_F(CModeSettingItemListRowsTest, KeepsTheOrderOfTheConfiguration) {
  AddGroup(L"Second", {L"C", L"A"});
  AddGroup(L"First", {L"B"});
  OpenMachine();
  EXPECT_THAT(Described(), ElementsAre("[the Second]", "the C", "the A", "[the First]", "the B"));
}

TEST_F(CModeSettingItemListRowsTest, TabWalksTheRowsFromTopToBottom) {
  AddGroup(L"Screen", {L"Lamp", L"Saver"});
  AddGroup(L"Power", {L"Fan"});
  OpenMachine();
  list->SelectMode(L"Eco");
  std::vector<HWND> rows;
  HWND control = parent.Other();
  do {
    control = ::GetNextDlgTabItem(parent.Window(), control, FALSE);
    if (control != parent.Other() && (rows.empty() || rows.back() != ::GetParent(control))) {
      rows.push_back(::GetParent(control));
    }
  } while (control != parent.Other() && rows.size() < 10);
  EXPECT_EQ(rows, Lines());
}

TEST_F(CModeSettingItemListRowsTest, LeavesItemsOutThatTheMachineCannotUse) {
  AddGroup(L"Screen", {L"NoDevice", L"Lamp", L"NotSupported", L"OneValue"});
  MakeMachine();
  Engine(L"NoDevice").devices = 0;
  Engine(L"NotSupported").supported = 0;
  Engine(L"OneValue").available[0] = 0;
  Open();
  EXPECT_THAT(Described(), ElementsAre("[the Screen]", "the Lamp"));
  EXPECT_EQ(OpenEngines(), 1) << "The engines of the others are closed.";
  EXPECT_EQ(interposition.Count("FreeLibrary"), 0U) << "Nothing is left for later.";
}

TEST_F(CModeSettingItemListRowsTest, AGroupWithoutUsableItemsHasNoTitle) {
  AddGroup(L"Gone", {L"Saver", L"Fan"});
  AddGroup(L"Empty", {});
  AddGroup(L"Screen", {L"Lamp"});
  MakeMachine();
  Engine(L"Saver").devices = 0;
  Engine(L"Fan").devices = 0;
  Open();
  EXPECT_THAT(Described(), ElementsAre("[the Screen]", "the Lamp"));
}

TEST_F(CModeSettingItemListRowsTest, LinesCountFromZeroInEachGroup) {
  AddGroup(L"Screen", {L"A", L"B", L"C"});
  AddGroup(L"Power", {L"D", L"E"});
  OpenMachine();
  const HDC dc = ::GetDC(List());
  std::vector<bool> striped;
  for (HWND line : Lines()) {
    const auto brush = reinterpret_cast<HBRUSH>(::SendMessageW(
        line, WM_CTLCOLORDLG, reinterpret_cast<WPARAM>(dc), reinterpret_cast<LPARAM>(line)));
    LOGBRUSH description{};
    ::GetObjectW(brush, sizeof(description), &description);
    striped.push_back(description.lbColor == RGB(242, 242, 242));
  }
  ::ReleaseDC(List(), dc);
  EXPECT_THAT(striped, ElementsAre(false, true, false, false, true));
}

TEST_F(CModeSettingItemListRowsTest, AnItemListedTwiceHasTwoLines) {
  AddGroup(L"Screen", {L"Lamp", L"Lamp"});
  AddGroup(L"Power", {L"Lamp"});
  OpenMachine();
  EXPECT_THAT(Described(),
              ElementsAre("[the Screen]", "the Lamp", "the Lamp", "[the Power]", "the Lamp"));
  EXPECT_EQ(Engine(L"Lamp").openHandles, 3) << "Each line has an engine of its own.";
}

TEST_F(CModeSettingItemListRowsTest, AsksEachEngineOnceWhetherItIsUsable) {
  AddGroup(L"Screen", {L"Lamp"});
  MakeMachine();
  Engine(L"Lamp").devices = 0;
  Open();
  EXPECT_THAT(log, ElementsAre("Lamp.CreateHandle", "Lamp.GetDeviceCount", "Lamp.DeleteHandle"));
}

TEST_F(CModeSettingItemListRowsTest, LetsRequestsThroughTheMessageFilter) {
  MakeMachine();
  list.emplace();
  std::vector<std::uint64_t> arguments;
  interposition.Observe("ChangeWindowMessageFilterEx",
                        [&](const Call& call) { arguments = call.arguments; });
  ASSERT_TRUE(list->Create(IDD_SETTING_ITEM_LIST, parent.Window()));
  EXPECT_THAT(arguments, ElementsAre(reinterpret_cast<std::uint64_t>(List()), WM_COPYDATA, 1U, 0U));
}

TEST_F(CModeSettingItemListRowsTest, GoesOnWhereTheMessageFilterRefuses) {
  AddGroup(L"Screen", {L"Lamp"});
  MakeMachine();
  interposition.Fail("ChangeWindowMessageFilterEx", {.lastError = ERROR_ACCESS_DENIED});
  Open();
  EXPECT_EQ(traces.Take(), (Traces{In(L"OnInitDialog", 90, L"5")}));
  EXPECT_THAT(Lines(), SizeIs(1));
  EXPECT_THAT(Posted(), IsEmpty());
}

// --- A machine without setting items -------------------------------------------------------------

TEST_F(CModeSettingItemListRowsTest, ALonelyListIsEmptyAndWorks) {
  AddGroup(L"Screen", {L"Lamp"});
  MakeMachine();
  Engine(L"Lamp").devices = 0;
  Open();
  EXPECT_THAT(Rows(), IsEmpty());
  const SCROLLINFO info = ScrollInfo(List());
  EXPECT_EQ(info.nMax, 0);
  EXPECT_EQ(info.nPos, 0);
  EXPECT_TRUE(list->SelectMode(L"Eco"));
  EXPECT_TRUE(list->RestoreDefaultSettingItemValue());
  bool changed = true;
  EXPECT_TRUE(list->IsSettingItemValueChanged(&changed));
  EXPECT_FALSE(changed);
  std::vector<CWideString> names;
  EXPECT_TRUE(list->GetSettingDisplayNameListOfNotSetCorrectly(&names));
  EXPECT_THAT(names, IsEmpty());
  EXPECT_TRUE(list->SaveSettings());
  for (const int code : {SB_LINEDOWN, SB_PAGEDOWN, SB_BOTTOM, SB_LINEUP, SB_TOP, SB_ENDSCROLL}) {
    Send(WM_VSCROLL, static_cast<WPARAM>(code), 0);
  }
  EXPECT_EQ(ScrollInfo(List()).nPos, 0);
  EXPECT_THAT(Posted(), IsEmpty());
  Close();
}

TEST_F(CModeSettingItemListRowsTest, AMachineWithoutGroupsHasAnEmptyList) {
  OpenMachine();
  EXPECT_THAT(Rows(), IsEmpty());
  EXPECT_THAT(Posted(), IsEmpty());
  Close();
}

// --- Loading fails -------------------------------------------------------------------------------

TEST_F(CModeSettingItemListRowsTest, FailsWithoutAConfiguration) {
  OpenBroken();
  EXPECT_EQ(parent.Take(), (std::vector<ParentMessage>{}));
  ExpectListTraces({In(L"LoadSettingItemInformation", 173), In(L"OnInitDialog", 93)});
}

TEST_F(CModeSettingItemListRowsTest, FailsWhereTheConfigurationGoesAfterTheItemsWereRead) {
  AddGroup(L"Screen", {L"Lamp"});
  MakeMachine();
  // Each question to the configuration first looks for both files.
  const std::wstring usableModes = L"ModeChange.UsableModeList.ini";
  int asked = 0;
  interposition.Observe("GetFileAttributesW", [&](const Call& call) {
    if (std::wstring(call.Text(0)).ends_with(usableModes) && ++asked == 1) {
      sandbox.Remove(usableModes);
    }
  });
  OpenBroken();
  ExpectListTraces({In(L"LoadSettingItemInformation", 177), In(L"OnInitDialog", 93)});
  EXPECT_THAT(log, IsEmpty());
}

TEST_F(CModeSettingItemListRowsTest, FailsWhereAGroupCannotBeRead) {
  AddGroup(L"Screen", {L"Lamp"});
  AddGroup(L"Power", {L"Fan"});
  MakeMachine();
  Engine(L"Lamp").onCall = [this](const std::string&) {
    if (sandbox.Exists(L"ModeChange.UsableModeList.ini")) {
      sandbox.Remove(L"ModeChange.UsableModeList.ini");
    }
  };
  OpenBroken();
  ExpectListTraces({In(L"LoadSettingItemInformation", 194, L"Power"), In(L"OnInitDialog", 93)});
  EXPECT_EQ(OpenEngines(), 0) << "What was loaded is released.";
}

TEST_F(CModeSettingItemListRowsTest, FailsWhereAnEnginePathCannotBeRead) {
  AddGroup(L"Screen", {L"Lamp", L"Fan"});
  MakeMachine();
  Engine(L"Lamp").onCall = [this](const std::string&) {
    if (sandbox.Exists(L"ModeChange.UsableModeList.ini")) {
      sandbox.Remove(L"ModeChange.UsableModeList.ini");
    }
  };
  OpenBroken();
  ExpectListTraces({In(L"LoadSettingItemInformation", 200, L"Fan"), In(L"OnInitDialog", 93)});
  EXPECT_EQ(OpenEngines(), 0);
}

TEST_F(CModeSettingItemListRowsTest, FailsWhereAnEngineCannotSayWhetherItIsUsable) {
  for (const char* call :
       {"CreateHandle", "GetDeviceCount", "SelectDevice(0)", "GetINT32Information(0, 0)",
        "GetINT32Information(1, 0)", "GetINT32Information(2, 0)", "GetINT32Information(2, 1)"}) {
    SCOPED_TRACE(call);
    groups = {{L"Screen", {L"Lamp", L"Fan"}}};
    MakeMachine();
    Engine(L"Fan").failing = {call};
    OpenBroken();
    ExpectListTraces({In(L"LoadSettingItemInformation", 206, L"Fan"), In(L"OnInitDialog", 93)});
    EXPECT_EQ(OpenEngines(), 0);
    EXPECT_EQ(interposition.Count("LoadLibraryW"), 0U) << "Nothing is tried once more.";
    Close();
  }
}

TEST_F(CModeSettingItemListRowsTest, UnloadsEnginesWhereLoadingFails) {
  AddGroup(L"Screen", {L"Lamp", L"Fan"});
  MakeMachine();
  // The test's own hold on the engine ends while the library asks it for the last time.
  Engine(L"Fan").onCall = [this](const std::string&) { engines.erase(L"Lamp"); };
  Engine(L"Fan").failing = {"GetDeviceCount"};
  OpenBroken();
  ExpectListTraces({In(L"LoadSettingItemInformation", 206, L"Fan"), In(L"OnInitDialog", 93)});
  EXPECT_FALSE(IsLoaded(L"Lamp"));
}

// --- Making the rows fails -----------------------------------------------------------------------

TEST_F(CModeSettingItemListRowsTest, FailsWhereARowCannotBeMade) {
  struct Case {
    std::uint32_t nth;  // of the dialogs that the list makes; the list itself is the first
    std::uint32_t line;
  };
  for (const Case& failing : {Case{2, 235}, Case{3, 243}, Case{4, 243}, Case{5, 235}}) {
    SCOPED_TRACE(failing.nth);
    groups = {{L"Screen", {L"Lamp", L"Fan"}}, {L"Power", {L"Saver"}}};
    MakeMachine();
    interposition.Fail("CreateDialogParamW",
                       {.nth = failing.nth, .lastError = ERROR_NOT_ENOUGH_MEMORY});
    OpenBroken();
    EXPECT_EQ(traces.Take(),
              (Traces{In(L"CreateSettingItemList", failing.line, L"8"), In(L"OnInitDialog", 98)}));
    Close();
    EXPECT_EQ(OpenEngines(), 0);
  }
}

/// Fails the calls that mean a row of the list itself, not those of what is in a row.
class CModeSettingItemListPlacingTest : public CModeSettingItemListRowsTest {
 protected:
  [[nodiscard]] bool IsRow(HWND window) const {
    return list.has_value() && List() != nullptr && ::GetParent(window) == List();
  }
};

TEST_F(CModeSettingItemListPlacingTest, FailsWhereARowsSizeIsUnknown) {
  const auto original = interposition.Original<decltype(&::GetClientRect)>("GetClientRect");
  int placed = 0;
  std::set<HWND> initialised;
  interposition.Observe("CreateDialogParamW", [&](const Call& call) {
    initialised.insert(reinterpret_cast<HWND>(call.result));
  });
  for (const int failing : {1, 2, 3}) {
    SCOPED_TRACE(failing);
    groups = {{L"Screen", {L"Lamp", L"Fan"}}};
    MakeMachine();
    placed = 0;
    interposition.Replace("GetClientRect", [&](HWND window, RECT* rect) -> BOOL {
      // A row asks for itself until it is initialised; it is asked for once it is there.
      if (IsRow(window) && initialised.contains(window) && ++placed == failing) {
        ::SetLastError(ERROR_INVALID_WINDOW_HANDLE);
        return FALSE;
      }
      return original(window, rect);
    });
    OpenBroken();
    EXPECT_EQ(traces.Take(),
              (Traces{In(L"CreateSettingItemList", 255, L"1400"), In(L"OnInitDialog", 98)}));
    Close();
  }
}

TEST_F(CModeSettingItemListPlacingTest, FailsWhereARowCannotBePlaced) {
  const auto original = interposition.Original<decltype(&::MoveWindow)>("MoveWindow");
  AddGroup(L"Screen", {L"Lamp", L"Fan"});
  MakeMachine();
  int placed = 0;
  interposition.Replace(
      "MoveWindow", [&](HWND window, int x, int y, int width, int height, BOOL repaint) -> BOOL {
        if (IsRow(window) && ++placed == 3) {
          ::SetLastError(ERROR_INVALID_WINDOW_HANDLE);
          return FALSE;
        }
        return original(window, x, y, width, height, repaint);
      });
  OpenBroken();
  EXPECT_EQ(traces.Take(),
            (Traces{In(L"CreateSettingItemList", 258, L"1400"), In(L"OnInitDialog", 98)}));
}

TEST_F(CModeSettingItemListRowsTest, ReportsMemoryThatRunsOut) {
  watchdog.SetPatience(110);
  AddGroup(L"Screen", {L"Lamp"});
  MakeMachine();
  list.emplace();
  interposition.ClearCalls();
  ASSERT_TRUE(list->Create(IDD_SETTING_ITEM_LIST, parent.Window()));
  const auto needed = static_cast<std::uint32_t>(interposition.Count("malloc"));
  Close();

  // Each piece of memory that the list asks for is refused in turn.
  std::uint32_t reported = 0;
  for (std::uint32_t nth = 1; nth <= needed; ++nth) {
    SCOPED_TRACE(nth);
    interposition.Fail("malloc", {.nth = nth});
    const bool isMade = list->Create(IDD_SETTING_ITEM_LIST, parent.Window());
    interposition.StopFailing();
    const Traces written = traces.Take();
    const std::vector<ParentMessage> posted = Posted();
    if (list->Window() == nullptr) {
      EXPECT_FALSE(isMade);
      continue;
    }
    if (posted.empty()) {
      EXPECT_THAT(Lines(), SizeIs(1)) << "It did without.";
    } else {
      EXPECT_THAT(posted, Each(kError));
      EXPECT_THAT(written, Not(IsEmpty()));
      ++reported;
    }
    Close();
    EXPECT_EQ(OpenEngines(), 0);
  }
  EXPECT_GT(reported, needed / 2) << "of " << needed;
}

// --- Many rows -----------------------------------------------------------------------------------

TEST_F(CModeSettingItemListRowsTest, HasRoomFor128Items) {
  watchdog.SetPatience(110);
  for (int group = 0; group < 8; ++group) {
    std::vector<std::wstring> items;
    for (int i = 0; i < 16; ++i) items.push_back(L"I" + std::to_wstring(group * 16 + i));
    AddGroup(L"G" + std::to_wstring(group), items);
  }
  MakeMachineWithOneEngine();
  Open();
  ASSERT_THAT(Lines(), SizeIs(128));
  EXPECT_THAT(Titles(), SizeIs(8));
  const LONG bottom = Place(Rows().back()).bottom;
  EXPECT_EQ(bottom, 8 * InPixels(0, 19).cy + 128 * InPixels(0, 25).cy);
  Send(WM_VSCROLL, SB_BOTTOM, 0);
  const RECT view = Place(List());
  EXPECT_EQ(Place(Rows().back()).bottom, view.bottom - view.top) << "The last row is at the end.";
  EXPECT_TRUE(list->SelectMode(L"Eco"));
  EXPECT_TRUE(list->SaveSettings());
  Close();
  EXPECT_EQ(OpenEngines(), 0);
}

TEST_F(CModeSettingItemListRowsTest, PlacesEachRowOnce) {
  AddGroup(L"Screen", {L"A", L"B", L"C"});
  MakeMachine();
  std::multiset<HWND> moved;
  interposition.Observe("MoveWindow", [&](const Call& call) {
    moved.insert(reinterpret_cast<HWND>(call.arguments[0]));
  });
  Open();
  for (HWND row : Rows()) EXPECT_EQ(moved.count(row), 1U);
}

// --- Messages that pass through ------------------------------------------------------------------

TEST_F(CModeSettingItemListRowsTest, PostsErrorsOnAsTheyAre) {
  OpenMachine();
  Send(WM_MODESETTINGS_ERROR, 7, -8);
  EXPECT_THAT(Posted(), ElementsAre(ParentMessage{WM_MODESETTINGS_ERROR, 7, -8}));
  EXPECT_EQ(interposition.Count("PostMessageW"), 1U) << "It is posted, not sent.";
}

TEST_F(CModeSettingItemListRowsTest, PostsChangesOnWithoutArguments) {
  OpenMachine();
  Send(WM_MODESETTINGS_CHANGED, 7, 8);
  EXPECT_THAT(Posted(), ElementsAre(kChanged));
}

TEST_F(CModeSettingItemListRowsTest, TellsItsParentWhatTheUserChanges) {
  AddGroup(L"Screen", {L"Lamp"});
  SetDefault(L"Eco", L"Lamp", 0);
  OpenMachine();
  ASSERT_TRUE(list->SelectMode(L"Eco"));
  EXPECT_THAT(Posted(), IsEmpty()) << "Nobody but the user changes values.";
  Click(L"Lamp", IDC_SECOND_VALUE);
  EXPECT_THAT(Posted(), AllOf(SizeIs(Gt(0U)), Each(kChanged)));
  EXPECT_EQ(Shown(L"Lamp"), "one");
}

TEST_F(CModeSettingItemListRowsTest, TellsItsParentThatARowFailed) {
  AddGroup(L"Screen", {L"Lamp"});
  MakeMachine();
  Engine(L"Lamp").failing = {"GetStringInformation(0, 0)"};
  Open();
  EXPECT_THAT(Posted(), ElementsAre(kError));
  EXPECT_THAT(Lines(), SizeIs(1)) << "The row stays.";
  static_cast<void>(traces.Take());
}

TEST_F(CModeSettingItemListRowsTest, LeavesOtherMessagesAlone) {
  OpenMachine();
  ::SetWindowTextW(List(), L"Left to Windows");
  EXPECT_EQ(TextOf(List()), L"Left to Windows");
  EXPECT_EQ(Send(WM_APP + 5, 0, 0), 0);
  EXPECT_THAT(Posted(), IsEmpty());
}

// --- Colours -------------------------------------------------------------------------------------

TEST_F(CModeSettingItemListRowsTest, PaintsInTheColourOfWindows) {
  OpenMachine();
  const HDC dc = ::GetDC(List());
  for (const UINT message : std::initializer_list<UINT>{WM_CTLCOLORDLG, WM_CTLCOLORSTATIC}) {
    ::SetBkMode(dc, OPAQUE);
    ::SetTextColor(dc, RGB(1, 2, 3));
    interposition.ClearCalls();
    const auto brush = reinterpret_cast<HBRUSH>(
        Send(message, reinterpret_cast<WPARAM>(dc), reinterpret_cast<LPARAM>(List())));
    EXPECT_EQ(::GetBkMode(dc), TRANSPARENT);
    EXPECT_EQ(::GetTextColor(dc), ::GetSysColor(COLOR_WINDOWTEXT));
    LOGBRUSH description{};
    ASSERT_NE(::GetObjectW(brush, sizeof(description), &description), 0);
    EXPECT_EQ(description.lbColor, ::GetSysColor(COLOR_WINDOW));
    EXPECT_EQ(interposition.Count("CreateSolidBrush"), 1U) << "It is made anew.";
  }
  EXPECT_EQ(interposition.Count("DeleteObject"), 1U) << "The one before is deleted.";
  ::ReleaseDC(List(), dc);
}

TEST_F(CModeSettingItemListRowsTest, PaintsAsWindowsDoesWithoutABrush) {
  OpenMachine();
  const HDC dc = ::GetDC(List());
  interposition.Fail("CreateSolidBrush", {.lastError = ERROR_NOT_ENOUGH_MEMORY});
  EXPECT_EQ(reinterpret_cast<HBRUSH>(Send(WM_CTLCOLORDLG, reinterpret_cast<WPARAM>(dc),
                                          reinterpret_cast<LPARAM>(List()))),
            ::GetSysColorBrush(COLOR_3DFACE));
  EXPECT_EQ(traces.Take(), (Traces{{L"CUIDesigner::GetDialogBackBrush", 176, L"8"}}));
  ::ReleaseDC(List(), dc);
}

// --- The end -------------------------------------------------------------------------------------

TEST_F(CModeSettingItemListRowsTest, ClosesTitlesBeforeLinesAndEnginesAfterAll) {
  AddGroup(L"Screen", {L"A", L"B"});
  AddGroup(L"Power", {L"C"});
  OpenMachine();
  std::map<std::uint64_t, std::string> names;
  for (HWND title : Titles()) {
    names[reinterpret_cast<std::uint64_t>(title)] =
        "[" + Text::ToUtf8(TextOf(::GetDlgItem(title, IDC_GROUP_TITLE))) + "]";
  }
  for (const wchar_t* item : {L"A", L"B", L"C"}) {
    names[reinterpret_cast<std::uint64_t>(LineOf(item))] = Text::ToUtf8(item);
  }
  names[reinterpret_cast<std::uint64_t>(List())] = "list";
  log.clear();
  interposition.Observe("DestroyWindow", [&](const Call& call) {
    const auto found = names.find(call.arguments[0]);
    if (found != names.end()) log.push_back("destroyed " + found->second);
  });
  interposition.Observe("FreeLibrary", [&](const Call&) { log.push_back("unloaded"); });
  Close();
  EXPECT_THAT(log, ElementsAre("destroyed [the Screen]", "destroyed A", "destroyed B",
                               "destroyed [the Power]", "destroyed C", "A.DeleteHandle", "unloaded",
                               "B.DeleteHandle", "unloaded", "C.DeleteHandle", "unloaded",
                               "destroyed list"));
  EXPECT_EQ(traces.OpenRegistrations(), 2U) << "Only the list's and its designer's are left.";
}

TEST_F(CModeSettingItemListRowsTest, ClosesItsRowsByTheirOwnMessage) {
  AddGroup(L"Screen", {L"A"});
  OpenMachine();
  std::set<std::uint64_t> rows;
  for (HWND row : Rows()) rows.insert(reinterpret_cast<std::uint64_t>(row));
  std::size_t closed = 0;
  interposition.Observe("SendMessageW", [&](const Call& call) {
    if (call.arguments[1] == WM_CLOSE) closed += rows.count(call.arguments[0]);
  });
  Close();
  EXPECT_EQ(closed, 2U);
}

TEST_F(CModeSettingItemListRowsTest, UnloadsTheEngines) {
  AddGroup(L"Screen", {L"Lamp"});
  OpenMachine();
  engines.clear();  // the test's own hold on the engine
  ASSERT_TRUE(IsLoaded(L"Lamp"));
  Close();
  EXPECT_FALSE(IsLoaded(L"Lamp"));
}

TEST_F(CModeSettingItemListRowsTest, ReleasesEverythingWithItsObject) {
  AddGroup(L"Screen", {L"Lamp", L"Fan"});
  OpenMachine();
  const HWND window = List();
  list.reset();
  EXPECT_EQ(::IsWindow(window), FALSE);
  EXPECT_EQ(OpenEngines(), 0);
  EXPECT_EQ(traces.OpenRegistrations(), 0U);
}

TEST_F(CModeSettingItemListRowsTest, ReleasesEverythingAfterItsParentWasDestroyed) {
  AddGroup(L"Screen", {L"Lamp", L"Fan"});
  OpenMachine();
  ::DestroyWindow(parent.Window());
  EXPECT_EQ(list->Window(), nullptr);
  EXPECT_EQ(interposition.Count("UnhookWindowsHookEx"), 1U) << "Nothing is watched any more.";
  list.reset();
  EXPECT_EQ(OpenEngines(), 0);
}

TEST_F(CModeSettingItemListRowsTest, CanBeMadeAgain) {
  AddGroup(L"Screen", {L"Lamp"});
  OpenMachine();
  Send(WM_VSCROLL, MAKEWPARAM(SB_THUMBPOSITION, 9), 0);
  Close();
  ASSERT_TRUE(list->Create(IDD_SETTING_ITEM_LIST, parent.Window()));
  EXPECT_THAT(Described(), ElementsAre("[the Screen]", "the Lamp"));
  EXPECT_EQ(Place(Rows().front()).top, 0);
  Close();
}

TEST_F(CModeSettingItemListRowsTest, GivesEverythingBackEachTime) {
  watchdog.SetPatience(110);
  AddGroup(L"Screen", {L"Lamp", L"Fan"});
  MakeMachine();
  const auto openAndClose = [this] {
    list.emplace();
    ASSERT_TRUE(list->Create(IDD_SETTING_ITEM_LIST, parent.Window()));
    EXPECT_TRUE(list->SelectMode(L"Eco"));
    Close();
    list.reset();
    PumpAll();
  };
  openAndClose();
  for (int round = 0; round < 10; ++round) {
    interposition.ClearCalls();
    openAndClose();
    EXPECT_EQ(interposition.Count("malloc") + interposition.Count("calloc"),
              interposition.Count("free"));
    EXPECT_THAT(handles.Held(), IsEmpty());
    EXPECT_EQ(traces.OpenRegistrations(), 0U);
    EXPECT_EQ(interposition.Count("CreateDialogParamW"), interposition.Count("DestroyWindow"));
  }
}

}  // namespace
