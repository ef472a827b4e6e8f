#include <commctrl.h>

#include <array>

#include "unit/settings/CModeSettingItemListLineFixture.h"

namespace {

using ::testing::Contains;
using ::testing::Each;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

constexpr COLORREF kWindowColor = RGB(10, 20, 30);
constexpr COLORREF kWindowTextColor = RGB(40, 50, 60);
constexpr COLORREF kStripe = RGB(242, 242, 242);

// --- Colours -------------------------------------------------------------------------------------

class CModeSettingItemListLineColorTest : public CModeSettingItemListLineTest {
 protected:
  struct Look {
    COLORREF back = 0;
    COLORREF text = 0;
    int mode = 0;

    friend bool operator==(const Look&, const Look&) = default;
  };
  static constexpr std::array<UINT, 4> kMessages = {WM_CTLCOLORLISTBOX, WM_CTLCOLORBTN,
                                                    WM_CTLCOLORDLG, WM_CTLCOLORSTATIC};

  CModeSettingItemListLineColorTest() {
    const auto systemColor = interposition.Original<decltype(&::GetSysColor)>("GetSysColor");
    interposition.Replace("GetSysColor", [systemColor](int index) {
      if (index == COLOR_WINDOW) return kWindowColor;
      if (index == COLOR_WINDOWTEXT) return kWindowTextColor;
      return systemColor(index);
    });
    const auto ask =
        interposition.Original<decltype(&::SystemParametersInfoW)>("SystemParametersInfoW");
    interposition.Replace(
        "SystemParametersInfoW", [this, ask](UINT action, UINT size, void* data, UINT change) {
          if (action != SPI_GETHIGHCONTRAST) return ask(action, size, data, change);
          static_cast<HIGHCONTRASTW*>(data)->dwFlags = highContrast ? HCF_HIGHCONTRASTON : 0U;
          return TRUE;
        });
  }
  ~CModeSettingItemListLineColorTest() override { ::DeleteDC(dc); }

  /// How something is painted that asks the line by this message.
  [[nodiscard]] Look Ask(UINT message) const {
    ::SetBkMode(dc, OPAQUE);
    ::SetTextColor(dc, 0);
    const auto brush = reinterpret_cast<HBRUSH>(
        ::SendMessageW(Window(), message, reinterpret_cast<WPARAM>(dc),
                       reinterpret_cast<LPARAM>(Control(IDC_SETTING_ITEM))));
    LOGBRUSH description{};
    EXPECT_NE(::GetObjectW(brush, sizeof(description), &description), 0);
    EXPECT_EQ(description.lbStyle, static_cast<UINT>(BS_SOLID));
    return {description.lbColor, ::GetTextColor(dc), ::GetBkMode(dc)};
  }
  void ExpectBack(COLORREF back) const {
    for (const UINT message : kMessages) {
      EXPECT_EQ(Ask(message), (Look{back, kWindowTextColor, TRANSPARENT})) << message;
    }
  }

  bool highContrast = false;
  HDC dc = ::CreateCompatibleDC(nullptr);
};

TEST_F(CModeSettingItemListLineColorTest, StripesTheLinesOfAGroup) {
  for (const int number : {0, 2, 100}) {
    SCOPED_TRACE(number);
    Make(number);
    ExpectBack(kWindowColor);
  }
  for (const int number : {1, 3, 127}) {
    SCOPED_TRACE(number);
    Make(number);
    ExpectBack(kStripe);
  }
}

TEST_F(CModeSettingItemListLineColorTest, HasNoStripesInHighContrast) {
  highContrast = true;
  for (const int number : {0, 1}) {
    Make(number);
    ExpectBack(kWindowColor);
  }
}

TEST_F(CModeSettingItemListLineColorTest, FollowsASwitchOfHighContrastWhileOpen) {
  Make(1);
  for (int round = 0; round < 2; ++round) {
    highContrast = false;
    ExpectBack(kStripe);
    highContrast = true;
    ExpectBack(kWindowColor);
  }
}

TEST_F(CModeSettingItemListLineColorTest, HasItsControlsPaintedByItsBrush) {
  Make(1);
  ShowOnScreen();
  interposition.ClearCalls();
  ::RedrawWindow(Window(), nullptr, nullptr,
                 RDW_INVALIDATE | RDW_ERASE | RDW_UPDATENOW | RDW_ALLCHILDREN);
  EXPECT_GT(interposition.Count("CreateSolidBrush"), 1U) << "At least the check box and a text.";
  std::vector<std::uint64_t> colors;
  for (const Call& call : interposition.CallsOf("CreateSolidBrush")) {
    colors.push_back(call.arguments[0]);
  }
  EXPECT_THAT(colors, Each(kStripe));
  EXPECT_THAT(list.Take(), IsEmpty());
}

TEST_F(CModeSettingItemListLineColorTest, LeavesPaintingToWindowsWithoutABrush) {
  const Trace failures[] = {{L"CUIDesigner::GetSettingItemListLineBackBrush", 315, L"1158"},
                            {L"CUIDesigner::GetSettingItemListLineBackBrush", 293, L"1158"}};
  for (const int number : {0, 1}) {
    Make(number);
    for (const UINT message : kMessages) {
      interposition.Fail("CreateSolidBrush", {.lastError = ERROR_NO_MORE_USER_HANDLES});
      const auto hdc = reinterpret_cast<WPARAM>(dc);
      const auto control = reinterpret_cast<LPARAM>(Control(IDC_SETTING_ITEM));
      EXPECT_EQ(::SendMessageW(Window(), message, hdc, control),
                ::DefWindowProcW(Window(), message, hdc, control));
      EXPECT_EQ(traces.Take(), (Traces{failures[number]}));
    }
  }
}

// --- The keyboard --------------------------------------------------------------------------------

class CModeSettingItemListLineKeyboardFocusTest : public CModeSettingItemListLineTest {
 protected:
  /// A line that is on the screen, in a list that has the keyboard.
  void MakeVisible(INT32 count, int saved) {
    OfferValues(count);
    SetSaved(L"Eco", saved);
    MakeAndSelect();
    ShowOnScreen();
  }
  /// The controls that Tab reaches, from the first on.
  [[nodiscard]] std::vector<int> TabStops() const {
    std::vector<int> stops;
    const HWND first = ::GetNextDlgTabItem(list.Window(), nullptr, FALSE);
    HWND stop = first;
    do {
      stops.push_back(::GetDlgCtrlID(stop));
      stop = ::GetNextDlgTabItem(list.Window(), stop, FALSE);
    } while (stop != first && stops.size() < 20);
    return stops;
  }
  /// A key as the dialog's message loop hands it on.
  void Press(WPARAM key) const {
    MSG message{};
    message.hwnd = ::GetFocus();
    message.message = WM_KEYDOWN;
    message.wParam = key;
    message.lParam = 1;
    if (::IsDialogMessageW(list.Window(), &message) == FALSE) ::DispatchMessageW(&message);
  }
  [[nodiscard]] static int Focus() { return ::GetDlgCtrlID(::GetFocus()); }
  void SetFocusTo(int control) const {
    ::SetFocus(Control(control));
    ASSERT_TRUE(::GetFocus() == Control(control) ||
                ::IsChild(Control(control), ::GetFocus()) != FALSE);
  }
};

TEST_F(CModeSettingItemListLineKeyboardFocusTest, TabReachesTheControlsInUse) {
  MakeVisible(2, 0);
  EXPECT_THAT(TabStops(), ElementsAre(IDC_SETTING_ITEM, IDC_FIRST_VALUE));
  MakeVisible(3, 0);
  EXPECT_THAT(TabStops(), ElementsAre(IDC_SETTING_ITEM, IDC_VALUE_COMBO));
  MakeVisible(4, 0);
  EXPECT_THAT(TabStops(), ElementsAre(IDC_SETTING_ITEM, IDC_VALUE_SLIDER));
  for (const INT32 count : {2, 3, 4}) {
    MakeVisible(count, -1);
    EXPECT_THAT(TabStops(), ElementsAre(IDC_SETTING_ITEM));
  }
}

TEST_F(CModeSettingItemListLineKeyboardFocusTest, TabReachesARadioPairWithoutAChoice) {
  MakeVisible(2, -1);
  Click(IDC_SETTING_ITEM);
  EXPECT_EQ(Checked(), "1016");
  EXPECT_THAT(TabStops(), ElementsAre(IDC_SETTING_ITEM, IDC_FIRST_VALUE));
  Click(IDC_SECOND_VALUE);
  EXPECT_THAT(TabStops(), ElementsAre(IDC_SETTING_ITEM, IDC_SECOND_VALUE)) << "One of the two.";
  Click(IDC_FIRST_VALUE);
  EXPECT_THAT(TabStops(), ElementsAre(IDC_SETTING_ITEM, IDC_FIRST_VALUE));
  EXPECT_THAT(list.Take(), Each("changed"));
}

TEST_F(CModeSettingItemListLineKeyboardFocusTest, TabReachesARadioPairOfOtherValuesThan0And1) {
  OfferValues({2, 7}, 8);
  SetSaved(L"Eco", 2);
  MakeAndSelect();
  ShowOnScreen();
  Click(IDC_SETTING_ITEM);
  EXPECT_THAT(TabStops(), ElementsAre(IDC_SETTING_ITEM, IDC_FIRST_VALUE));
  EXPECT_THAT(list.Take(), ElementsAre("changed"));
}

TEST_F(CModeSettingItemListLineKeyboardFocusTest, TabReachesTheRadioButtonThatIsChosen) {
  MakeVisible(2, 1);
  EXPECT_THAT(TabStops(), ElementsAre(IDC_SETTING_ITEM, IDC_SECOND_VALUE));
  SetSaved(L"Eco", 0);
  EXPECT_TRUE(Line().SelectMode(L"Eco"));
  EXPECT_THAT(TabStops(), ElementsAre(IDC_SETTING_ITEM, IDC_FIRST_VALUE));
  SetSaved(L"Eco", -1);
  EXPECT_TRUE(Line().SelectMode(L"Eco"));
  SetSaved(L"Eco", 1);
  EXPECT_TRUE(Line().SelectMode(L"Eco"));
  EXPECT_THAT(TabStops(), ElementsAre(IDC_SETTING_ITEM, IDC_SECOND_VALUE));
}

TEST_F(CModeSettingItemListLineKeyboardFocusTest, ALockedLineHasNoTabStop) {
  MakeVisible(2, 0);
  EXPECT_TRUE(Line().LockThisSettingItem(true, 1, L"Fan"));
  const auto other = MakeOther(L"Fan");
  ::ShowWindow(other->Window(), SW_SHOW);
  EXPECT_THAT(TabStops(), ElementsAre(IDC_SETTING_ITEM)) << "That of the other line.";
  EXPECT_EQ(::GetParent(::GetNextDlgTabItem(list.Window(), nullptr, FALSE)), other->Window());
}

TEST_F(CModeSettingItemListLineKeyboardFocusTest, ArrowKeysStayInTheRadioPair) {
  MakeVisible(2, 0);
  SetFocusTo(IDC_FIRST_VALUE);
  Press(VK_DOWN);
  EXPECT_EQ(Focus(), IDC_SECOND_VALUE);
  EXPECT_EQ(Checked(), "1016 1019");
  Press(VK_DOWN);
  EXPECT_EQ(Focus(), IDC_FIRST_VALUE);
  EXPECT_EQ(Checked(), "1016 1018");
  Press(VK_UP);
  EXPECT_EQ(Focus(), IDC_SECOND_VALUE);
  EXPECT_EQ(Current(), 1U);
  const ListWindow::Log said = list.Take();
  EXPECT_FALSE(said.empty());
  EXPECT_THAT(said, Each("changed"));
}

TEST_F(CModeSettingItemListLineKeyboardFocusTest, ArrowKeysMoveTheSlider) {
  MakeVisible(4, 1);
  SetFocusTo(IDC_VALUE_SLIDER);
  Press(VK_RIGHT);
  EXPECT_EQ(Focus(), IDC_VALUE_SLIDER);
  EXPECT_EQ(Current(), 2U);
  Press(VK_LEFT);
  EXPECT_EQ(Current(), 1U);
  EXPECT_THAT(list.Take(), Each("changed"));
}

TEST_F(CModeSettingItemListLineKeyboardFocusTest, SliderAndRadioPairAreGroupsOfTheirOwn) {
  for (const int control : {IDC_FIRST_VALUE, IDC_VALUE_SLIDER}) {
    Make();
    EXPECT_NE(::GetWindowLongPtrW(Control(control), GWL_STYLE) & WS_GROUP, 0) << control;
  }
  EXPECT_EQ(::GetWindowLongPtrW(Control(IDC_SECOND_VALUE), GWL_STYLE) & WS_GROUP, 0);
}

TEST_F(CModeSettingItemListLineKeyboardFocusTest, TheSpaceBarTicksAndKeepsTheFocus) {
  MakeVisible(3, 1);
  SetFocusTo(IDC_SETTING_ITEM);
  ::SendMessageW(::GetFocus(), WM_KEYDOWN, VK_SPACE, 0);
  ::SendMessageW(::GetFocus(), WM_KEYUP, VK_SPACE, 0);
  EXPECT_EQ(Shown(), "1016 (1025)");
  EXPECT_EQ(Focus(), IDC_SETTING_ITEM);
  EXPECT_THAT(list.Take(), ElementsAre("changed"));
}

// --- The focus when its control goes away --------------------------------------------------------

TEST_F(CModeSettingItemListLineKeyboardFocusTest,
       AControlThatIsDisabledHandsTheFocusToTheCheckBox) {
  const struct {
    INT32 count;
    int control;
  } cases[] = {{2, IDC_FIRST_VALUE}, {3, IDC_VALUE_COMBO}, {4, IDC_VALUE_SLIDER}};
  for (const auto& each : cases) {
    SCOPED_TRACE(each.count);
    MakeVisible(each.count, 0);
    SetFocusTo(each.control);
    static_cast<void>(list.Take());  // a radio button may count its focus as a click
    SetSaved(L"Eco", -1);
    EXPECT_TRUE(Line().SelectMode(L"Eco"));
    EXPECT_EQ(::GetFocus(), Control(IDC_SETTING_ITEM));
    EXPECT_THAT(list.Take(), IsEmpty());
  }
}

TEST_F(CModeSettingItemListLineKeyboardFocusTest, ALineThatIsLockedHandsTheFocusToTheNextLine) {
  const struct {
    INT32 count;
    int control;
  } cases[] = {{2, IDC_SETTING_ITEM}, {2, IDC_FIRST_VALUE},  {3, IDC_SETTING_ITEM},
               {3, IDC_VALUE_COMBO},  {4, IDC_SETTING_ITEM}, {4, IDC_VALUE_SLIDER}};
  for (const auto& each : cases) {
    SCOPED_TRACE(each.count);
    SCOPED_TRACE(each.control);
    MakeVisible(each.count, 0);
    const auto other = MakeOther(L"Fan");
    ::ShowWindow(other->Window(), SW_SHOW);
    SetFocusTo(each.control);
    static_cast<void>(list.Take());  // a radio button may count its focus as a click
    EXPECT_TRUE(Line().LockThisSettingItem(true, 1, L"Fan"));
    EXPECT_EQ(::GetFocus(), ::GetDlgItem(other->Window(), IDC_SETTING_ITEM));
    EXPECT_THAT(list.Take(), IsEmpty()) << "The focus visits no other control on its way.";
  }
}

TEST_F(CModeSettingItemListLineKeyboardFocusTest, LocksAlsoWhereWindowsNamesNobodyForTheFocus) {
  MakeVisible(2, 0);
  SetFocusTo(IDC_FIRST_VALUE);
  interposition.Fail("GetNextDlgTabItem", {.onwards = true});
  EXPECT_TRUE(Line().LockThisSettingItem(true, 1, L"Fan"));
  EXPECT_EQ(Shown(), "1031 1032");
}

TEST_F(CModeSettingItemListLineKeyboardFocusTest, ALineThatLocksItselfHandsTheFocusOn) {
  SetLockRule(1, {{L"Lamp", 1}});
  MakeVisible(2, 0);
  const auto other = MakeOther(L"Fan");
  ::ShowWindow(other->Window(), SW_SHOW);
  list.onRequest = [&](const LockSettingItemRequest& request) {
    EXPECT_TRUE(Line().LockThisSettingItem(request.lock, request.lockedItemValues.at(0),
                                           request.lockingItemName.c_str()));
  };
  SetFocusTo(IDC_FIRST_VALUE);
  Press(VK_DOWN);
  EXPECT_EQ(Shown(), "1031 1032");
  EXPECT_EQ(::GetFocus(), ::GetDlgItem(other->Window(), IDC_SETTING_ITEM));
  EXPECT_THAT(list.Take(), Contains("Lamp locks Lamp=1"));
}

TEST_F(CModeSettingItemListLineKeyboardFocusTest, LocksAlsoWhereNobodyElseCanTakeTheFocus) {
  MakeVisible(4, 0);
  SetFocusTo(IDC_VALUE_SLIDER);
  EXPECT_TRUE(Line().LockThisSettingItem(true, 1, L"Fan"));
  EXPECT_EQ(Shown(), "1031 1032");
  EXPECT_EQ(Current(), 1U);
}

TEST_F(CModeSettingItemListLineKeyboardFocusTest, AFocusElsewhereStaysThere) {
  MakeVisible(2, 0);
  const auto other = MakeOther(L"Fan");
  ::ShowWindow(other->Window(), SW_SHOW);
  const HWND elsewhere = ::GetDlgItem(other->Window(), IDC_SETTING_ITEM);
  ::SendMessageW(elsewhere, BM_CLICK, 0, 0);  // so that it is not the only tab stop there
  EXPECT_EQ(ShownIn(other->Window()), "1016 1018 1019");
  ::SetFocus(elsewhere);
  ASSERT_EQ(::GetFocus(), elsewhere);
  EXPECT_TRUE(Line().LockThisSettingItem(true, 1, L"Fan"));
  EXPECT_EQ(::GetFocus(), elsewhere);
  EXPECT_TRUE(Line().LockThisSettingItem(false, 1, L"Fan"));
  EXPECT_TRUE(Line().SelectMode(L"Quiet"));
  EXPECT_EQ(::GetFocus(), elsewhere);
  EXPECT_THAT(list.Take(), ElementsAre("changed"));
}

TEST_F(CModeSettingItemListLineKeyboardFocusTest, AControlThatStaysKeepsTheFocus) {
  for (const int control : {IDC_SETTING_ITEM, IDC_VALUE_COMBO}) {
    MakeVisible(3, 0);
    SetFocusTo(control);
    const HWND focus = ::GetFocus();
    SetSaved(L"Eco", 2);
    EXPECT_TRUE(Line().SelectMode(L"Eco"));
    EXPECT_EQ(::GetFocus(), focus);
  }
}

TEST_F(CModeSettingItemListLineKeyboardFocusTest, TakesNoFocusWhenItComesUp) {
  MakeVisible(2, 0);
  SetFocusTo(IDC_SETTING_ITEM);
  const auto other = MakeOther(L"Fan");
  ::ShowWindow(other->Window(), SW_SHOW);
  EXPECT_EQ(::GetFocus(), Control(IDC_SETTING_ITEM));
}

}  // namespace
