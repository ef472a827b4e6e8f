#include "resources/ControlIds.h"
#include "unit/settings/SettingItemListFixture.h"

namespace {

using ::testing::ElementsAre;
using ::testing::Ge;
using ::testing::IsEmpty;
using ::testing::SizeIs;

constexpr WPARAM kPastThumb = MAKEWPARAM(SB_THUMBPOSITION, 0xFFFF);

/// The list's scroll bar, the wheel, and rows that the keyboard reaches.
class CModeSettingItemListScrollTest : public SettingItemListTest {
 protected:
  CModeSettingItemListScrollTest() {
    interposition.Observe("SetScrollInfo", [this](const Call& call) {
      const auto& info = *reinterpret_cast<const SCROLLINFO*>(call.arguments[2]);
      if (reinterpret_cast<HWND>(call.arguments[0]) != List()) return;
      EXPECT_EQ(static_cast<int>(call.arguments[1]), SB_VERT);
      EXPECT_EQ(info.cbSize, sizeof(info));
      EXPECT_EQ(static_cast<BOOL>(call.arguments[3]), TRUE) << "It is drawn again.";
      std::string text = "bar";
      if ((info.fMask & SIF_RANGE) != 0) {
        text += " " + std::to_string(info.nMin) + ".." + std::to_string(info.nMax);
      }
      if ((info.fMask & SIF_PAGE) != 0) text += " page " + std::to_string(info.nPage);
      if ((info.fMask & SIF_POS) != 0) text += " at " + std::to_string(info.nPos);
      EXPECT_EQ(info.fMask & ~static_cast<UINT>(SIF_RANGE | SIF_PAGE | SIF_POS), 0U);
      scrolls.push_back(text);
    });
    interposition.Observe("ScrollWindow", [this](const Call& call) {
      if (reinterpret_cast<HWND>(call.arguments[0]) != List()) return;
      EXPECT_EQ(static_cast<int>(call.arguments[1]), 0);
      EXPECT_EQ(call.arguments[3], 0U) << "The whole client area.";
      EXPECT_EQ(call.arguments[4], 0U);
      scrolls.push_back("scroll " + std::to_string(static_cast<int>(call.arguments[2])));
    });
  }

  /// One group with so many items.
  void OpenWith(int items) {
    std::vector<std::wstring> names;
    for (int i = 0; i < items; ++i) names.push_back(L"I" + std::to_wstring(i));
    AddGroup(L"Group", names);
    MakeMachineWithOneEngine();
    OpenAndMeasure();
  }
  void OpenAndMeasure() {
    Open();
    const RECT view = Place(List());
    const std::vector<HWND> rows = Rows();
    unit = Place(Lines().front()).bottom - Place(Lines().front()).top;
    end = Place(rows.back()).bottom - (view.bottom - view.top);
    opened = Scrolls();
  }
  /// As OpenWith, with a view so high that the content is just so much higher.
  void OpenHigherBy(int units, int pixels = 0) {
    std::vector<std::wstring> names;
    for (int i = 0; i < 12; ++i) names.push_back(L"I" + std::to_wstring(i));
    AddGroup(L"Group", names);
    MakeMachineWithOneEngine();
    const auto original = interposition.Original<decltype(&::GetWindowRect)>("GetWindowRect");
    interposition.Replace("GetWindowRect", [&](HWND window, RECT* rect) -> BOOL {
      const BOOL good = original(window, rect);
      if (window != List()) return good;
      const LONG line = Place(Lines().front()).bottom - Place(Lines().front()).top;
      rect->bottom = rect->top + Place(Rows().back()).bottom - units * line - pixels;
      return good;
    });
    Open();
    interposition.Replace("GetWindowRect",
                          [original](HWND window, RECT* rect) { return original(window, rect); });
    unit = Place(Lines().front()).bottom - Place(Lines().front()).top;
    end = units * unit + pixels;
    opened = Scrolls();
  }
  std::vector<std::string> Scrolls() { return std::exchange(scrolls, {}); }
  /// What the list does when it is told to scroll.
  std::vector<std::string> Scroll(int code, int position = 0) {
    static_cast<void>(Scrolls());
    EXPECT_EQ(Send(WM_VSCROLL, MAKEWPARAM(code, position), 0), 0);
    return Scrolls();
  }
  /// Where the list is: what its rows say.
  [[nodiscard]] int Position() const { return -Place(Rows().front()).top; }
  static std::vector<std::string> MovedTo(int position, int by) {
    return {"bar at " + std::to_string(position), "scroll " + std::to_string(-by)};
  }
  [[nodiscard]] int BarPosition() const { return ::GetScrollPos(List(), SB_VERT); }

  int unit = 0;
  int end = 0;  // the lowest position that a line step reaches
  std::vector<std::string> opened;
  std::vector<std::string> scrolls;
};

// --- The bar -------------------------------------------------------------------------------------

TEST_F(CModeSettingItemListScrollTest, AShortListHasNothingToScroll) {
  OpenWith(3);
  EXPECT_THAT(opened, ElementsAre("bar 0..0 page " + std::to_string(unit) + " at 0"));
  for (const int code : {SB_LINEDOWN, SB_PAGEDOWN, SB_BOTTOM, SB_LINEUP, SB_PAGEUP, SB_TOP}) {
    EXPECT_THAT(Scroll(code), IsEmpty()) << code;
  }
  EXPECT_EQ(Position(), 0);
}

TEST_F(CModeSettingItemListScrollTest, AnEmptyListHasNothingToScroll) {
  MakeMachine();
  Open();
  EXPECT_THAT(Scrolls(), ElementsAre("bar 0..0 page 0 at 0"));
}

TEST_F(CModeSettingItemListScrollTest, AListAsHighAsItsViewHasNothingToScroll) {
  OpenHigherBy(0);
  EXPECT_THAT(opened, ElementsAre("bar 0..0 page " + std::to_string(unit) + " at 0"));
  EXPECT_THAT(Scroll(SB_LINEDOWN), IsEmpty());
}

TEST_F(CModeSettingItemListScrollTest, ALongListScrollsByWhatIsHidden) {
  OpenWith(30);
  EXPECT_GT(end, 0);
  EXPECT_THAT(opened, ElementsAre("bar 0.." + std::to_string(end + unit) + " page " +
                                  std::to_string(unit) + " at 0"));
  EXPECT_NE(::GetWindowLongW(List(), GWL_STYLE) & WS_VSCROLL, 0);
}

TEST_F(CModeSettingItemListScrollTest, OnePixelMoreScrolls) {
  OpenHigherBy(0, 1);
  EXPECT_THAT(opened, ElementsAre("bar 0.." + std::to_string(1 + unit) + " page " +
                                  std::to_string(unit) + " at 0"));
  EXPECT_EQ(Scroll(SB_LINEDOWN), MovedTo(1, 1));
  EXPECT_THAT(Scroll(SB_LINEDOWN), IsEmpty());
}

TEST_F(CModeSettingItemListScrollTest, TheUnitIsTheHeightOfTheFirstLine) {
  OpenWith(30);
  RECT client{};
  ::GetClientRect(Lines().front(), &client);
  EXPECT_EQ(Scroll(SB_LINEDOWN), MovedTo(client.bottom, client.bottom));
  EXPECT_EQ(unit, client.bottom);
}

// --- Steps ---------------------------------------------------------------------------------------

TEST_F(CModeSettingItemListScrollTest, TenStepsReachTheEndOfTenUnits) {
  OpenHigherBy(10);
  for (int step = 1; step <= 10; ++step) {
    EXPECT_EQ(Scroll(SB_LINEDOWN), MovedTo(step * unit, unit));
    EXPECT_EQ(Position(), step * unit);
    EXPECT_EQ(BarPosition(), step * unit);
  }
  EXPECT_THAT(Scroll(SB_LINEDOWN), IsEmpty()) << "The eleventh does nothing.";
  EXPECT_EQ(Position(), 10 * unit);
}

TEST_F(CModeSettingItemListScrollTest, APageIsALine) {
  OpenHigherBy(3, 5);
  EXPECT_EQ(Scroll(SB_PAGEDOWN), MovedTo(unit, unit));
  EXPECT_EQ(Scroll(SB_LINEDOWN), MovedTo(2 * unit, unit));
  EXPECT_EQ(Scroll(SB_PAGEDOWN), MovedTo(3 * unit, unit));
  EXPECT_EQ(Scroll(SB_PAGEDOWN), MovedTo(3 * unit + 5, 5)) << "As far as it goes.";
  EXPECT_THAT(Scroll(SB_PAGEDOWN), IsEmpty());
  EXPECT_EQ(Scroll(SB_PAGEUP), MovedTo(2 * unit + 5, -unit));
  EXPECT_EQ(Scroll(SB_LINEUP), MovedTo(unit + 5, -unit));
  EXPECT_EQ(Scroll(SB_PAGEUP), MovedTo(5, -unit));
  EXPECT_EQ(Scroll(SB_LINEUP), MovedTo(0, -5));
  EXPECT_THAT(Scroll(SB_LINEUP), IsEmpty());
  EXPECT_THAT(Scroll(SB_PAGEUP), IsEmpty());
  EXPECT_EQ(Position(), 0);
}

TEST_F(CModeSettingItemListScrollTest, GoesToBothEnds) {
  OpenHigherBy(3, 5);
  EXPECT_THAT(Scroll(SB_TOP), IsEmpty());
  EXPECT_EQ(Scroll(SB_BOTTOM), MovedTo(end, end));
  EXPECT_THAT(Scroll(SB_BOTTOM), IsEmpty());
  EXPECT_EQ(Position(), end);
  EXPECT_EQ(Scroll(SB_TOP), MovedTo(0, -end));
  EXPECT_EQ(Position(), 0);
}

TEST_F(CModeSettingItemListScrollTest, FollowsTheThumb) {
  OpenHigherBy(3);
  for (const int code : {SB_THUMBTRACK, SB_THUMBPOSITION}) {
    EXPECT_EQ(Scroll(code, 7), MovedTo(7, 7));
    EXPECT_EQ(Scroll(code, 7), MovedTo(7, 0));
    EXPECT_EQ(Scroll(code, 0), MovedTo(0, -7));
  }
}

TEST_F(CModeSettingItemListScrollTest, TheThumbReachesOnePixelBeyondTheSteps) {
  OpenHigherBy(3);
  EXPECT_EQ(Scroll(SB_THUMBPOSITION, end + 1), MovedTo(end + 1, end + 1));
  EXPECT_EQ(BarPosition(), end + 1) << "The bar goes so far too.";
  EXPECT_THAT(Scroll(SB_LINEDOWN), IsEmpty());
  EXPECT_THAT(Scroll(SB_BOTTOM), IsEmpty());
  EXPECT_EQ(Scroll(SB_LINEUP), MovedTo(end + 1 - unit, -unit));
}

TEST_F(CModeSettingItemListScrollTest, TheThumbsPositionHas16BitsWithoutASign) {
  OpenHigherBy(3);
  Send(WM_VSCROLL, kPastThumb, 0);
  EXPECT_EQ(Scrolls(), MovedTo(65535, 65535));
  EXPECT_EQ(Scroll(SB_TOP), MovedTo(0, -65535));
}

TEST_F(CModeSettingItemListScrollTest, TheFirstAndTheLastPixelCanBeScrolled) {
  OpenHigherBy(3);
  for (const int code : {SB_LINEUP, SB_PAGEUP, SB_TOP}) {
    Scroll(SB_THUMBPOSITION, 1);
    EXPECT_EQ(Scroll(code), MovedTo(0, -1)) << code;
  }
  for (const int code : {SB_LINEDOWN, SB_PAGEDOWN, SB_BOTTOM}) {
    Scroll(SB_THUMBPOSITION, end - 1);
    EXPECT_EQ(Scroll(code), MovedTo(end, 1)) << code;
  }
}

TEST_F(CModeSettingItemListScrollTest, StandsStillForOtherCodes) {
  OpenHigherBy(3);
  Scroll(SB_THUMBPOSITION, 7);
  EXPECT_EQ(Scroll(SB_ENDSCROLL), MovedTo(7, 0));
  EXPECT_EQ(Scroll(99, 5), MovedTo(7, 0));
}

TEST_F(CModeSettingItemListScrollTest, MovesAllRowsTogether) {
  OpenWith(30);
  std::vector<LONG> tops;
  for (HWND row : Rows()) tops.push_back(Place(row).top);
  Scroll(SB_THUMBPOSITION, 55);
  const std::vector<HWND> rows = Rows();
  for (std::size_t i = 0; i < rows.size(); ++i) EXPECT_EQ(Place(rows[i]).top, tops[i] - 55);
}

// --- The wheel -----------------------------------------------------------------------------------

class CModeSettingItemListWheelTest : public CModeSettingItemListScrollTest {
 protected:
  CModeSettingItemListWheelTest() {
    OpenHigherBy(6);
    EXPECT_TRUE(list->SelectMode(L"Eco"));
    ::SetFocus(::GetDlgItem(Lines().front(), IDC_SETTING_ITEM));
    static_cast<void>(Scrolls());
  }
  void Turn(int delta, WORD keys = 0) {
    Send(WM_MOUSEWHEEL, MAKEWPARAM(keys, static_cast<WORD>(delta)), MAKELPARAM(30, 40));
  }
  /// For windows that would give the focus on.
  void PretendFocus(HWND focus) {
    interposition.Replace("GetFocus", [focus] { return focus; });
  }
  /// Where the list is, in units, after each turn.
  std::vector<int> Turns(const std::vector<int>& deltas) {
    std::vector<int> positions;
    for (const int delta : deltas) {
      Turn(delta);
      positions.push_back(Position() / unit);
    }
    return positions;
  }
};

TEST_F(CModeSettingItemListWheelTest, ANotchIsAUnit) {
  EXPECT_THAT(Turns({-120, -120, 120, 120}), ElementsAre(1, 2, 1, 0));
  EXPECT_EQ(Position(), 0);
  EXPECT_EQ(parent.Wheels(), 0);
}

TEST_F(CModeSettingItemListWheelTest, SendsItselfAPage) {
  interposition.ClearCalls();
  Turn(-120);
  Turn(120);
  std::vector<std::vector<std::uint64_t>> sent;
  for (const Call& call : interposition.CallsOf("SendMessageW")) sent.push_back(call.arguments);
  const auto self = reinterpret_cast<std::uint64_t>(List());
  EXPECT_THAT(sent, ElementsAre(ElementsAre(self, WM_VSCROLL, SB_PAGEDOWN, 0),
                                ElementsAre(self, WM_VSCROLL, SB_PAGEUP, 0)));
}

TEST_F(CModeSettingItemListWheelTest, AFastTurnIsStillOneUnit) {
  EXPECT_THAT(Turns({-360}), ElementsAre(1)) << "The rest is kept: -240.";
  EXPECT_THAT(Turns({240}), ElementsAre(2)) << "Which makes 0, and that is below a notch.";
}

TEST_F(CModeSettingItemListWheelTest, SmallTurnsUpFirstGoDown) {
  // 30 is below a notch, so it counts as down and 150 are kept; the next makes 180, a notch.
  EXPECT_THAT(Turns({30, 30, 30, 30}), ElementsAre(1, 0, 1, 0));
}

TEST_F(CModeSettingItemListWheelTest, SmallTurnsDownGoDown) {
  EXPECT_THAT(Turns({-30, -30, -30}), ElementsAre(1, 2, 1)) << "90 are kept, then 180.";
}

TEST_F(CModeSettingItemListWheelTest, KeysMakeNoDifference) {
  Turn(-120, MK_CONTROL | MK_SHIFT);
  EXPECT_EQ(Position(), unit);
}

TEST_F(CModeSettingItemListWheelTest, WithTheFocusElsewhereTheParentGetsIt) {
  ::SetFocus(parent.Other());
  Turn(-120);
  EXPECT_EQ(Position(), 0);
  EXPECT_EQ(parent.Wheels(), 1);
  EXPECT_THAT(Scrolls(), IsEmpty());
}

TEST_F(CModeSettingItemListWheelTest, WithoutAFocusTheParentGetsIt) {
  ::SetFocus(nullptr);
  Turn(-120);
  EXPECT_EQ(Position(), 0);
  EXPECT_EQ(parent.Wheels(), 1);
}

TEST_F(CModeSettingItemListWheelTest, AFocusOnTheListItselfIsElsewhere) {
  PretendFocus(List());
  Turn(-120);
  EXPECT_EQ(Position(), 0);
  EXPECT_EQ(parent.Wheels(), 1);
}

TEST_F(CModeSettingItemListWheelTest, AFocusOnARowIsEnough) {
  PretendFocus(Lines()[1]);
  Turn(-120);
  EXPECT_EQ(Position(), unit);
  PretendFocus(Titles()[0]);
  Turn(-120);
  EXPECT_EQ(Position(), 2 * unit);
}

TEST_F(CModeSettingItemListWheelTest, AFocusDeeperInARowIsElsewhere) {
  const HWND inner =
      ::CreateWindowExW(0, L"Button", L"", WS_CHILD | WS_VISIBLE, 0, 0, 5, 5,
                        ::GetDlgItem(Lines()[0], IDC_LINE_BACKGROUND), nullptr, nullptr, nullptr);
  ::SetFocus(inner);
  ASSERT_EQ(::GetFocus(), inner);
  Turn(-120);
  EXPECT_EQ(Position(), 0);
  EXPECT_EQ(parent.Wheels(), 1);
}

TEST_F(CModeSettingItemListWheelTest, WhatIsKeptIsForgottenWithTheFocusElsewhere) {
  PretendFocus(Lines()[0]);
  Turn(30);
  EXPECT_EQ(Position(), unit) << "150 are kept.";
  PretendFocus(parent.Other());
  Turn(30);
  PretendFocus(Lines()[0]);
  Turn(30);
  EXPECT_EQ(Position(), 2 * unit) << "Kept, it would have been a notch up.";
}

TEST_F(CModeSettingItemListWheelTest, EndlessTurnsDoNoHarm) {
  watchdog.SetPatience(110);
  interposition.SetRecording(false);
  // As much as wraps around once.
  for (int turn = 0; turn < 66000; ++turn) Turn(32767);
  EXPECT_THAT(Position(), Ge(0));
  EXPECT_LE(Position(), end);
}

// --- Rows that the keyboard reaches --------------------------------------------------------------

class CModeSettingItemListFocusTest : public CModeSettingItemListScrollTest {
 protected:
  CModeSettingItemListFocusTest() {
    AddGroup(L"First", {L"A0", L"A1", L"A2", L"A3", L"A4", L"A5", L"A6", L"A7"});
    AddGroup(L"Second", {L"B0", L"B1", L"B2", L"B3", L"B4", L"B5", L"B6", L"B7"});
    MakeMachine();
    OpenAndMeasure();
    EXPECT_TRUE(list->SelectMode(L"Eco"));
    interposition.Replace("GetKeyState", [this](int key) -> SHORT {
      return key == pressedButton ? static_cast<SHORT>(0x8000) : SHORT{0};
    });
    ::SetFocus(parent.Other());
    static_cast<void>(Scrolls());
  }
  /// As the dialog manager does it.
  void Press(WORD key, bool backwards = false) {
    MSG message{};
    message.hwnd = ::GetFocus();
    message.message = WM_KEYDOWN;
    message.wParam = key;
    BYTE keys[256]{};
    keys[VK_SHIFT] = backwards ? 0x80 : 0;
    ::SetKeyboardState(keys);
    EXPECT_NE(::IsDialogMessageW(parent.Window(), &message), FALSE);
    keys[VK_SHIFT] = 0;
    ::SetKeyboardState(keys);
    PumpAll();
  }
  [[nodiscard]] bool IsInView(HWND row) const {
    RECT view{};
    ::GetClientRect(List(), &view);
    const RECT place = Place(row);
    return place.top >= 0 && place.bottom <= view.bottom;
  }
  [[nodiscard]] HWND Box(HWND line) const { return ::GetDlgItem(line, IDC_SETTING_ITEM); }

  int pressedButton = 0;
};

TEST_F(CModeSettingItemListFocusTest, ScrollsToEachRowThatTabReaches) {
  for (HWND line : Lines()) {
    for (int stops = 0; ::GetParent(::GetFocus()) != line && stops < 5; ++stops) Press(VK_TAB);
    ASSERT_EQ(::GetParent(::GetFocus()), line);
    EXPECT_TRUE(IsInView(line));
  }
  EXPECT_GT(Position(), 0);
  const std::vector<HWND> lines = Lines();
  for (auto line = lines.rbegin(); line != lines.rend(); ++line) {
    for (int stops = 0; ::GetParent(::GetFocus()) != *line && stops < 5; ++stops) {
      Press(VK_TAB, true);
    }
    ASSERT_EQ(::GetParent(::GetFocus()), *line);
    EXPECT_TRUE(IsInView(*line));
  }
  EXPECT_EQ(Position(), 0) << "The first title comes along with its first line.";
}

TEST_F(CModeSettingItemListFocusTest, ScrollsNoFurtherThanNeeded) {
  const std::vector<HWND> lines = Lines();
  RECT view{};
  ::GetClientRect(List(), &view);
  ::SetFocus(Box(lines.back()));
  const int expected = Place(lines.back()).bottom + Position() - view.bottom;
  EXPECT_EQ(Scrolls(), MovedTo(expected, expected));
  EXPECT_EQ(Place(lines.back()).bottom, view.bottom);
  ::SetFocus(Box(lines[lines.size() - 2]));
  EXPECT_THAT(Scrolls(), IsEmpty()) << "It is in view.";
  ::SetFocus(Box(lines[1]));
  EXPECT_EQ(Place(lines[1]).top, 0);
}

TEST_F(CModeSettingItemListFocusTest, TheFirstLineOfAGroupBringsTheTitleAlong) {
  const std::vector<HWND> lines = Lines();
  ::SetFocus(Box(lines.back()));
  ASSERT_FALSE(IsInView(lines[0]));
  ::SetFocus(Box(lines[0]));
  EXPECT_EQ(Position(), 0);
  EXPECT_EQ(BarPosition(), 0);
}

TEST_F(CModeSettingItemListFocusTest, TheListHandsTheFocusOnToARow) {
  ::SetFocus(Box(Lines().back()));
  ASSERT_FALSE(IsInView(Lines().front()));
  ::SetFocus(List());
  EXPECT_EQ(::GetParent(::GetFocus()), Lines().front());
  EXPECT_TRUE(IsInView(Lines().front()));
}

TEST_F(CModeSettingItemListFocusTest, ShowsTheUpperPartOfARowThatIsHigherThanTheView) {
  ::SetWindowPos(List(), nullptr, 0, 0, 400, unit / 2, SWP_NOMOVE | SWP_NOZORDER);
  ::SetFocus(Box(Lines()[3]));
  EXPECT_EQ(Place(Lines()[3]).top, 0);
}

TEST_F(CModeSettingItemListFocusTest, StaysPutForTheMouse) {
  const std::vector<HWND> lines = Lines();
  for (const int button : {VK_LBUTTON, VK_RBUTTON, VK_MBUTTON}) {
    ::SetFocus(parent.Other());
    pressedButton = button;
    ::SetFocus(Box(lines.back()));
    EXPECT_THAT(Scrolls(), IsEmpty()) << "The row must not leave the mouse.";
  }
}

TEST_F(CModeSettingItemListFocusTest, StaysPutWhenTheWindowGetsTheFocusBack) {
  const HWND box = Box(Lines().back());
  ::SetFocus(box);
  Scroll(SB_TOP);
  ::SetFocus(nullptr);
  ::SetFocus(box);
  EXPECT_THAT(Scrolls(), IsEmpty()) << "Nobody moved the focus to another control.";
  // As after a message box.
  const HWND elsewhere = ::CreateWindowExW(0, L"Button", L"", WS_POPUP | WS_VISIBLE, 0, 0, 9, 9,
                                           nullptr, nullptr, nullptr, nullptr);
  ::SetFocus(elsewhere);
  ::SetFocus(box);
  EXPECT_THAT(Scrolls(), IsEmpty());
  ::DestroyWindow(elsewhere);
}

TEST_F(CModeSettingItemListFocusTest, StaysPutForTheFocusElsewhere) {
  ::SetFocus(Box(Lines().back()));
  static_cast<void>(Scrolls());
  Scroll(SB_TOP);
  ::SetFocus(parent.Other());
  EXPECT_THAT(Scrolls(), IsEmpty());
}

TEST_F(CModeSettingItemListFocusTest, StepsGoOnFromThere) {
  ::SetFocus(Box(Lines().back()));
  const int position = Position();
  EXPECT_EQ(Scroll(SB_LINEUP), MovedTo(position - unit, -unit));
}

TEST_F(CModeSettingItemListFocusTest, TwoListsDoNotMixUp) {
  CModeSettingItemList second;
  ASSERT_TRUE(second.Create(IDD_SETTING_ITEM_LIST, parent.Window()));
  ::ShowWindow(second.Window(), SW_SHOW);
  scrolls.clear();
  ::SetFocus(parent.Other());
  ::SetFocus(Box(Lines().back()));
  EXPECT_THAT(Scrolls(), SizeIs(2)) << "The list scrolls once.";
  ::SendMessageW(second.Window(), WM_CLOSE, 0, 0);
  ::SetFocus(Box(Lines().front()));
  EXPECT_EQ(Position(), 0);
}

TEST_F(CModeSettingItemListFocusTest, StopsWatchingWithItsWindow) {
  EXPECT_EQ(interposition.Count("UnhookWindowsHookEx"), 0U);
  ::SetFocus(Box(Lines().back()));
  static_cast<void>(Scrolls());
  Close();
  EXPECT_EQ(interposition.Count("UnhookWindowsHookEx"), 1U);
  EXPECT_THAT(Scrolls(), IsEmpty()) << "Rows that are closed don't move.";
}

class CModeSettingItemListNoFocusTest : public CModeSettingItemListScrollTest {};

TEST_F(CModeSettingItemListNoFocusTest, WorksWithoutWatchingTheFocus) {
  struct Case {
    const char* function;
    const wchar_t* error;
  };
  for (const Case& failing : {Case{"SetWindowsHookExW", L"8"}, Case{"SetPropW", L"8"}}) {
    SCOPED_TRACE(failing.function);
    interposition.Fail(failing.function, {.lastError = ERROR_NOT_ENOUGH_MEMORY});
    groups.clear();
    engines.clear();
    OpenWith(30);
    EXPECT_EQ(traces.Take(), (Traces{In(L"OnInitDialog", 105, failing.error)}));
    EXPECT_TRUE(list->SelectMode(L"Eco"));
    ::SetFocus(parent.Other());
    ::SetFocus(::GetDlgItem(Lines().back(), IDC_SETTING_ITEM));
    EXPECT_EQ(Position(), 0);
    EXPECT_EQ(Scroll(SB_LINEDOWN), MovedTo(unit, unit));
    EXPECT_THAT(Posted(), IsEmpty());
    Close();
  }
}

}  // namespace
