#include <commctrl.h>

#include <new>

#include "unit/settings/CModeSettingItemListLineFixture.h"

namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

using CModeSettingItemListLineValueTest = CModeSettingItemListLineTest;

constexpr const wchar_t* kForCheckBox =
    L"AdjustSettingItemListLineControlForCheckBoxSettingItemStatus";
constexpr const wchar_t* kForLocked = L"AdjustSettingItemListLineControlForLockedStatus";
constexpr const wchar_t* kForValue = L"AdjustSettingItemListLineControlForSettingItemValue";
constexpr const wchar_t* kOthers = L"AdjustOtherSettingItemStatusForCurrentSettingItemValue";

// --- A radio pair --------------------------------------------------------------------------------

TEST_F(CModeSettingItemListLineValueTest, ARadioPairShowsItsValues) {
  OfferValues(2);
  MakeAndSelect();
  EXPECT_EQ(Checked(), "") << "Nothing is saved.";
  EXPECT_EQ(Shown(), "1016 (1018) (1019)");
  EXPECT_EQ(Current(), kDoNothing);

  SetSaved(L"Eco", 0);
  EXPECT_TRUE(Line().SelectMode(L"Eco"));
  EXPECT_EQ(Checked(), "1016 1018");
  EXPECT_EQ(Shown(), "1016 1018 1019");
  EXPECT_EQ(Current(), 0U);

  SetSaved(L"Eco", 1);
  EXPECT_TRUE(Line().SelectMode(L"Eco"));
  EXPECT_EQ(Checked(), "1016 1019");
  EXPECT_EQ(Current(), 1U);

  SetSaved(L"Eco", -1);
  EXPECT_TRUE(Line().SelectMode(L"Eco"));
  EXPECT_EQ(Checked(), "");
  EXPECT_EQ(Shown(), "1016 (1018) (1019)");
  EXPECT_EQ(Current(), kDoNothing);
}

TEST_F(CModeSettingItemListLineValueTest, ARadioPairTakesItsValuesLiterally) {
  // 1 is the first usable value, yet it checks the second button, which stands for 5.
  OfferValues({1, 5}, 6);
  SetSaved(L"Eco", 1);
  MakeAndSelect();
  EXPECT_EQ(Checked(), "1016 1019");
  EXPECT_EQ(Current(), 5U);
  EXPECT_EQ(Changed(), true);
  Click(IDC_FIRST_VALUE);
  EXPECT_EQ(Current(), 1U);
  EXPECT_EQ(Changed(), false);
  EXPECT_THAT(list.Take(), ElementsAre("changed"));

  // 0 is the first; 3, the second, leaves the buttons as they are.
  OfferValues({0, 3}, 4);
  SetSaved(L"Eco", 0);
  MakeAndSelect();
  EXPECT_EQ(Checked(), "1016 1018");
  SetSaved(L"Eco", 3);
  EXPECT_TRUE(Line().SelectMode(L"Eco"));
  EXPECT_EQ(Checked(), "1016 1018");
  EXPECT_EQ(Current(), 0U);
  EXPECT_EQ(Changed(), true);
  Click(IDC_SECOND_VALUE);
  EXPECT_EQ(Current(), 3U);
  EXPECT_EQ(Changed(), false);
  EXPECT_THAT(list.Take(), ElementsAre("changed"));

  // Neither of these is 0 or 1.
  OfferValues({2, 7}, 8);
  SetSaved(L"Eco", 2);
  MakeAndSelect();
  EXPECT_EQ(Checked(), "");
  EXPECT_EQ(Shown(), "1016 (1018) (1019)");
  EXPECT_EQ(Current(), kDoNothing);
  EXPECT_EQ(Changed(), true);
  Click(IDC_SETTING_ITEM);
  Click(IDC_SECOND_VALUE);
  EXPECT_EQ(Current(), 7U);
  EXPECT_THAT(list.Take(), ElementsAre("changed", "changed"));
  SetSaved(L"Eco", 7);
  EXPECT_TRUE(Line().SelectMode(L"Eco"));
  EXPECT_EQ(Checked(), "1016 1019");
}

TEST_F(CModeSettingItemListLineValueTest, TheUserChoosesWithARadioPair) {
  OfferValues(2);
  SetSaved(L"Eco", 0);
  MakeAndSelect();
  Click(IDC_SECOND_VALUE);
  EXPECT_EQ(Checked(), "1016 1019");
  EXPECT_EQ(Current(), 1U);
  EXPECT_EQ(Changed(), true);
  EXPECT_THAT(list.Take(), ElementsAre("changed"));

  Click(IDC_SETTING_ITEM);
  EXPECT_EQ(Shown(), "1016 (1018) (1019)");
  EXPECT_EQ(Checked(), "1019") << "The choice is kept, greyed.";
  EXPECT_EQ(Current(), kDoNothing);
  EXPECT_THAT(list.Take(), ElementsAre("changed"));

  Click(IDC_SETTING_ITEM);
  EXPECT_EQ(Shown(), "1016 1018 1019");
  EXPECT_EQ(Current(), 1U);
  EXPECT_THAT(list.Take(), ElementsAre("changed"));
}

TEST_F(CModeSettingItemListLineValueTest, ATickWithoutAChoiceIsNotSetCorrectly) {
  OfferValues(2);
  MakeAndSelect();
  EXPECT_TRUE(Line().IsSettingItemSetCorrectly());
  EXPECT_EQ(Changed(), false);
  Click(IDC_SETTING_ITEM);
  EXPECT_FALSE(Line().IsSettingItemSetCorrectly());
  EXPECT_EQ(Changed(), true);
  EXPECT_EQ(Current(), std::nullopt);
  EXPECT_EQ(traces.Take(), (Traces{In(L"GetCurrentSettingItemValue", 739)}));
  Click(IDC_FIRST_VALUE);
  EXPECT_TRUE(Line().IsSettingItemSetCorrectly());
  EXPECT_EQ(Current(), 0U);
  EXPECT_THAT(list.Take(), ElementsAre("changed", "changed"));
}

// --- A combo box ---------------------------------------------------------------------------------

TEST_F(CModeSettingItemListLineValueTest, AComboBoxShowsItsValues) {
  OfferValues({0, 2, 5}, 6);
  MakeAndSelect();
  EXPECT_EQ(Checked(), "");
  EXPECT_EQ(Shown(), "1016 (1025)");
  EXPECT_EQ(Text(IDC_GREYED_VALUE), L"");
  EXPECT_EQ(Selection(), -1);
  EXPECT_EQ(Current(), kDoNothing);

  LRESULT item = 0;
  for (const UINT value : {0U, 2U, 5U}) {
    SetSaved(L"Eco", static_cast<int>(value));
    EXPECT_TRUE(Line().SelectMode(L"Eco"));
    EXPECT_EQ(Checked(), "1016");
    EXPECT_EQ(Shown(), "1016 1024");
    EXPECT_EQ(Selection(), item);
    EXPECT_EQ(Text(IDC_GREYED_VALUE), L"Name " + std::to_wstring(value));
    EXPECT_EQ(Current(), value);
    EXPECT_EQ(Changed(), false);
    ++item;
  }

  SetSaved(L"Eco", -1);
  EXPECT_TRUE(Line().SelectMode(L"Eco"));
  EXPECT_EQ(Checked(), "");
  EXPECT_EQ(Shown(), "1016 (1025)");
  EXPECT_EQ(Text(IDC_GREYED_VALUE), L"");
  EXPECT_EQ(Selection(), -1);
}

TEST_F(CModeSettingItemListLineValueTest, TheUserChoosesWithAComboBox) {
  OfferValues({0, 2, 5}, 6);
  SetSaved(L"Eco", 0);
  MakeAndSelect();
  PressInCombo(VK_DOWN);
  EXPECT_EQ(Selection(), 1);
  EXPECT_EQ(Current(), 2U);
  EXPECT_EQ(Changed(), true);
  EXPECT_EQ(Text(IDC_GREYED_VALUE), L"Name 2");
  EXPECT_THAT(list.Take(), ElementsAre("changed"));
  PressInCombo(VK_DOWN);
  EXPECT_EQ(Current(), 5U);
  EXPECT_EQ(Text(IDC_GREYED_VALUE), L"Name 5");
  EXPECT_THAT(list.Take(), ElementsAre("changed"));
}

TEST_F(CModeSettingItemListLineValueTest, ClearingTheCheckBoxShowsTheChoiceGreyed) {
  OfferValues(3);
  SetSaved(L"Eco", 1);
  MakeAndSelect();
  PressInCombo(VK_DOWN);
  Click(IDC_SETTING_ITEM);
  EXPECT_EQ(Shown(), "1016 (1025)");
  EXPECT_EQ(Text(IDC_GREYED_VALUE), L"Name 2");
  EXPECT_EQ(::IsWindowEnabled(Control(IDC_VALUE_COMBO)), FALSE);
  EXPECT_EQ(Current(), kDoNothing);
  EXPECT_EQ(Changed(), true);
  EXPECT_THAT(list.Take(), ElementsAre("changed", "changed"));
  Click(IDC_SETTING_ITEM);
  EXPECT_EQ(Shown(), "1016 1024");
  EXPECT_EQ(Current(), 2U);
  EXPECT_THAT(list.Take(), ElementsAre("changed"));
}

TEST_F(CModeSettingItemListLineValueTest, AComboBoxWithoutASelectionIsNotSetCorrectly) {
  OfferValues(3);
  MakeAndSelect();
  Click(IDC_SETTING_ITEM);
  EXPECT_EQ(Shown(), "1016 1024");
  EXPECT_FALSE(Line().IsSettingItemSetCorrectly());
  EXPECT_EQ(Changed(), true);
  EXPECT_EQ(Current(), std::nullopt);
  EXPECT_EQ(traces.Take(), (Traces{In(L"GetCurrentSettingItemValue", 745)}));
  PressInCombo(VK_DOWN);
  EXPECT_TRUE(Line().IsSettingItemSetCorrectly());
  EXPECT_EQ(Current(), 0U);
  EXPECT_THAT(list.Take(), ElementsAre("changed", "changed"));
}

TEST_F(CModeSettingItemListLineValueTest, LooksAtAllItemsOfTheComboBox) {
  OfferValues(3);
  MakeAndSelect();
  wchar_t text[] = L"Once more";
  COMBOBOXEXITEMW twin{};
  twin.mask = CBEIF_TEXT | CBEIF_LPARAM;
  twin.iItem = 3;
  twin.pszText = text;
  twin.lParam = 1;
  EXPECT_EQ(Ask(IDC_VALUE_COMBO, CBEM_INSERTITEMW, 0, reinterpret_cast<LPARAM>(&twin)), 3);
  SetSaved(L"Eco", 1);
  EXPECT_TRUE(Line().SelectMode(L"Eco"));
  EXPECT_EQ(Selection(), 3);
  EXPECT_EQ(Text(IDC_GREYED_VALUE), L"Once more");
}

TEST_F(CModeSettingItemListLineValueTest, AComboBoxIsAskedOnlyForAChangedSelection) {
  OfferValues(3);
  SetSaved(L"Eco", 1);
  MakeAndSelect();
  for (const int notification : {CBN_DROPDOWN, CBN_CLOSEUP, CBN_SELENDOK, CBN_SETFOCUS,
                                 CBN_KILLFOCUS, CBN_DBLCLK, CBN_EDITCHANGE}) {
    EXPECT_EQ(::SendMessageW(Window(), WM_COMMAND, MAKEWPARAM(IDC_VALUE_COMBO, notification), 0),
              0);
  }
  EXPECT_THAT(list.Take(), IsEmpty());
}

TEST_F(CModeSettingItemListLineValueTest, ReportsAComboBoxThatDoesNotAnswerTheUser) {
  OfferValues(3);
  SetSaved(L"Eco", 1);
  MakeAndSelect();
  const auto change = [this] {
    ::SendMessageW(Window(), WM_COMMAND, MAKEWPARAM(IDC_VALUE_COMBO, CBN_SELCHANGE), 0);
  };
  Answer(IDC_VALUE_COMBO, CB_GETLBTEXT, CB_ERR);
  change();
  EXPECT_EQ(traces.Take(), (Traces{In(L"OnComboSettingItemValue", 256)}));
  Answer(IDC_VALUE_COMBO, CB_GETLBTEXTLEN, CB_ERR);
  change();
  EXPECT_EQ(traces.Take(), (Traces{In(L"OnComboSettingItemValue", 255)}));
  Answer(IDC_VALUE_COMBO, CB_GETCURSEL, CB_ERR);
  change();
  EXPECT_EQ(traces.Take(), (Traces{In(L"OnComboSettingItemValue", 249)}));
  EXPECT_THAT(list.Take(), ElementsAre("error 100", "error 100", "error 100"));
  EXPECT_EQ(Text(IDC_GREYED_VALUE), L"Name 1") << "As it was.";
}

TEST_F(CModeSettingItemListLineValueTest, ReportsAComboBoxThatDoesNotAnswer) {
  OfferValues(3);
  SetSaved(L"Eco", 1);
  MakeAndSelect();
  const auto expectFailure = [this](const Trace& cause) {
    EXPECT_FALSE(Line().SelectMode(L"Eco"));
    EXPECT_EQ(traces.Take(),
              (Traces{cause, In(L"SelectMode", 631, L"Eco"), In(L"SelectMode", 632, L"Lamp")}));
  };
  Answer(IDC_VALUE_COMBO, CB_GETLBTEXT, CB_ERR);
  expectFailure(In(kForValue, 592));
  Answer(IDC_VALUE_COMBO, CB_GETLBTEXTLEN, CB_ERR);
  expectFailure(In(kForValue, 591));
  // The second item's data can't be had.
  COMBOBOXEXITEMW item{};
  item.mask = CBEIF_LPARAM;
  item.iItem = 1;
  item.lParam = -1;
  EXPECT_NE(Ask(IDC_VALUE_COMBO, CBEM_SETITEMW, 0, reinterpret_cast<LPARAM>(&item)), 0);
  expectFailure(In(kForValue, 583, L"1"));
  // It is still the one that is selected.
  EXPECT_EQ(Current(), std::nullopt);
  EXPECT_EQ(traces.Take(), (Traces{In(L"GetCurrentSettingItemValue", 749)}));
}

// --- A slider ------------------------------------------------------------------------------------

TEST_F(CModeSettingItemListLineValueTest, ASliderShowsItsValues) {
  const std::vector<UINT> values = {0, 2, 3, 5};
  OfferValues(values, 6);
  MakeAndSelect();
  EXPECT_EQ(Checked(), "");
  EXPECT_EQ(Shown(), "1016 (1021) (1040) (1041)");
  EXPECT_EQ(Position(), 0);
  EXPECT_EQ(Current(), kDoNothing);

  for (std::size_t position = 0; position < values.size(); ++position) {
    SetSaved(L"Eco", static_cast<int>(values[position]));
    EXPECT_TRUE(Line().SelectMode(L"Eco"));
    EXPECT_EQ(Checked(), "1016");
    EXPECT_EQ(Shown(), "1016 1021 1040 1041");
    EXPECT_EQ(Position(), static_cast<LRESULT>(position));
    EXPECT_EQ(Current(), values[position]);
    EXPECT_EQ(Changed(), false);
  }

  SetSaved(L"Eco", -1);
  EXPECT_TRUE(Line().SelectMode(L"Eco"));
  EXPECT_EQ(Checked(), "");
  EXPECT_EQ(Position(), 0);
  EXPECT_EQ(Shown(), "1016 (1021) (1040) (1041)");
}

TEST_F(CModeSettingItemListLineValueTest, ASliderReportsTheValueAtEachPosition) {
  OfferValues({0, 2, 3, 5}, 6);
  SetSaved(L"Eco", 0);
  MakeAndSelect();
  for (const UINT value : {2U, 3U, 5U}) {
    PressOnSlider(VK_RIGHT);
    EXPECT_EQ(Current(), value);
    EXPECT_EQ(Changed(), true);
  }
  PressOnSlider(VK_HOME);
  EXPECT_EQ(Current(), 0U);
  EXPECT_EQ(Changed(), false);
  for (const std::string& said : list.Take()) EXPECT_EQ(said, "changed");
}

TEST_F(CModeSettingItemListLineValueTest, ASliderOfManyValuesMovesByPages) {
  for (const INT32 count : {100, 101}) {
    OfferValues(count);
    SetSaved(L"Eco", 50);
    MakeAndSelect();
    PressOnSlider(VK_PRIOR);
    EXPECT_EQ(Current(), count == 100 ? 51U : 60U) << "Up is to the right.";
    PressOnSlider(VK_NEXT);
    PressOnSlider(VK_NEXT);
    EXPECT_EQ(Current(), count == 100 ? 49U : 40U);
    SetSaved(L"Eco", count - 1);
    EXPECT_TRUE(Line().SelectMode(L"Eco"));
    EXPECT_EQ(Current(), static_cast<std::uint32_t>(count - 1));
    EXPECT_FALSE(list.Take().empty());
  }
}

TEST_F(CModeSettingItemListLineValueTest, ASliderIsAlwaysSetCorrectly) {
  OfferValues(4);
  MakeAndSelect();
  Click(IDC_SETTING_ITEM);
  EXPECT_EQ(Shown(), "1016 1021 1040 1041");
  EXPECT_TRUE(Line().IsSettingItemSetCorrectly());
  EXPECT_EQ(Current(), 0U);
  EXPECT_EQ(Changed(), true);
  Click(IDC_SETTING_ITEM);
  EXPECT_EQ(Shown(), "1016 (1021) (1040) (1041)");
  EXPECT_TRUE(Line().IsSettingItemSetCorrectly());
  EXPECT_EQ(Changed(), false);
  EXPECT_THAT(list.Take(), ElementsAre("changed", "changed"));
}

TEST_F(CModeSettingItemListLineValueTest, HearsOnlyItsOwnSlider) {
  OfferValues(4);
  SetSaved(L"Eco", 0);
  MakeAndSelect();
  const auto scroll = [this](HWND from) {
    return ::SendMessageW(Window(), WM_HSCROLL, MAKEWPARAM(TB_THUMBTRACK, 1),
                          reinterpret_cast<LPARAM>(from));
  };
  EXPECT_EQ(scroll(nullptr), 0);
  EXPECT_EQ(scroll(Control(IDC_VALUE_COMBO)), 0);
  EXPECT_EQ(scroll(Window()), 0);
  EXPECT_THAT(list.Take(), IsEmpty());
  EXPECT_EQ(scroll(Control(IDC_VALUE_SLIDER)), 0);
  EXPECT_THAT(list.Take(), ElementsAre("changed"));
}

TEST_F(CModeSettingItemListLineValueTest, ReportsASliderPastItsValues) {
  OfferValues(4);
  SetSaved(L"Eco", 0);
  MakeAndSelect();
  Ask(IDC_VALUE_SLIDER, TBM_SETRANGE, TRUE, MAKELPARAM(0, 9));
  Ask(IDC_VALUE_SLIDER, TBM_SETPOS, TRUE, 4);
  const Trace cause = In(L"GetCurrentSettingItemValue", 758, L"4");
  EXPECT_EQ(Current(), std::nullopt);
  EXPECT_EQ(traces.Take(), (Traces{cause}));
  EXPECT_EQ(Changed(), std::nullopt);
  EXPECT_EQ(traces.Take(), (Traces{cause, In(L"IsSettingItemValueChanged", 687)}));
  EXPECT_FALSE(Line().UpdateLockedSettingItemStatus());
  EXPECT_EQ(traces.Take(),
            (Traces{cause, In(kOthers, 771), In(L"UpdateLockedSettingItemStatus", 665, L"Eco"),
                    In(L"UpdateLockedSettingItemStatus", 666, L"Lamp")}));
  ::SendMessageW(Window(), WM_COMMAND, MAKEWPARAM(IDC_SETTING_ITEM, BN_CLICKED), 0);
  EXPECT_EQ(traces.Take(), (Traces{cause, In(kOthers, 771), In(L"OnCheckSettingItem", 228)}));
  ::SendMessageW(Window(), WM_COMMAND, MAKEWPARAM(IDC_FIRST_VALUE, BN_CLICKED), 0);
  EXPECT_EQ(traces.Take(), (Traces{cause, In(kOthers, 771), In(L"OnRadioSettingItemValue", 238)}));
  EXPECT_THAT(list.Take(), ElementsAre("error 100", "error 100"));

  Ask(IDC_VALUE_SLIDER, TBM_SETRANGEMIN, FALSE, -3);
  Ask(IDC_VALUE_SLIDER, TBM_SETPOS, TRUE, -1);
  EXPECT_EQ(Current(), std::nullopt);
  EXPECT_EQ(traces.Take(), (Traces{In(L"GetCurrentSettingItemValue", 758, L"-1")}));
}

// --- Notifications -------------------------------------------------------------------------------

TEST_F(CModeSettingItemListLineValueTest, TakesAnyNotificationOfItsButtons) {
  OfferValues(2);
  SetSaved(L"Eco", 0);
  MakeAndSelect();
  for (const int button : {IDC_SETTING_ITEM, IDC_FIRST_VALUE, IDC_SECOND_VALUE}) {
    for (const int notification : {BN_CLICKED, BN_SETFOCUS, BN_DOUBLECLICKED}) {
      EXPECT_EQ(::SendMessageW(Window(), WM_COMMAND, MAKEWPARAM(button, notification), 0), 0);
      EXPECT_THAT(list.Take(), ElementsAre("changed")) << button;
    }
  }
  EXPECT_EQ(Current(), 0U);
}

TEST_F(CModeSettingItemListLineValueTest, TakesNoNotificationOfOtherControls) {
  OfferValues(3);
  SetSaved(L"Eco", 0);
  MakeAndSelect();
  for (const int control : {IDC_GREYED_VALUE, IDC_LOCKED_ITEM_NAME, IDC_LINE_BACKGROUND, IDOK, 0}) {
    ::SendMessageW(Window(), WM_COMMAND, MAKEWPARAM(control, BN_CLICKED), 0);
  }
  EXPECT_THAT(list.Take(), IsEmpty());
}

// --- Selecting a mode ----------------------------------------------------------------------------

TEST_F(CModeSettingItemListLineValueTest, SelectsAModeByItsSavedValueOrElseItsDefault) {
  OfferValues(4);
  SetDefault(L"Eco", 1);
  SetDefault(L"Quiet", 2);
  SetSaved(L"Eco", 3);
  MakeAndSelect();
  EXPECT_EQ(Current(), 3U);
  EXPECT_TRUE(Line().SelectMode(L"Quiet"));
  EXPECT_EQ(Current(), 2U);
  EXPECT_EQ(Changed(), false) << "Against the mode selected last.";
  EXPECT_TRUE(Line().SelectMode(L"Eco"));
  EXPECT_EQ(Current(), 3U);
  EXPECT_TRUE(Line().SelectMode(L"Unknown"));
  EXPECT_EQ(Current(), kDoNothing);
}

TEST_F(CModeSettingItemListLineValueTest, NeedsAModeToSelect) {
  MakeAndSelect();
  EXPECT_FALSE(Line().SelectMode(nullptr));
  EXPECT_EQ(traces.Take(), (Traces{In(L"SelectMode", 613)}));
}

TEST_F(CModeSettingItemListLineValueTest, RefusesASavedValueThatIsNotUsable) {
  const struct {
    std::vector<UINT> usable;
    int saved;
    const wchar_t* message;
  } cases[] = {{{1, 5}, 0, L"0"},
               {{1, 5}, 2, L"2"},
               {{0, 2, 3}, 1, L"1"},
               {{0, 2, 3, 5}, 4, L"4"},
               {{0, 1}, 2, L"2"},
               {{0, 1, 2}, -2, L"4294967294"},
               {{0, 1, 2, 3}, -100, L"4294967196"}};
  for (const auto& each : cases) {
    SCOPED_TRACE(each.message);
    OfferValues(each.usable, 6);
    SetSaved(L"Eco", each.saved);
    Make();
    EXPECT_FALSE(Line().SelectMode(L"Eco"));
    EXPECT_EQ(traces.Take(),
              (Traces{In(kForValue, 498, each.message), In(L"SelectMode", 631, L"Eco"),
                      In(L"SelectMode", 632, L"Lamp")}));
  }
  EXPECT_THAT(list.Take(), IsEmpty()) << "That is the list's to report.";
}

TEST_F(CModeSettingItemListLineValueTest, RemembersAModeThatItCouldNotShow) {
  OfferValues(4);
  SetSaved(L"Quiet", 7);
  SetDefault(L"Quiet", 2);
  MakeAndSelect();
  EXPECT_FALSE(Line().SelectMode(L"Quiet"));
  EXPECT_EQ(traces.Take().size(), 3U);
  EXPECT_TRUE(Line().RestoreDefaultSettingItemValue());
  EXPECT_EQ(Current(), 2U);
}

TEST_F(CModeSettingItemListLineValueTest, TracesSettingsThatCannotBeRead) {
  const std::wstring defaults =
      sandbox.LibraryFolder().wstring() + L"\\ModeChange.DefaultSettings.ini";
  Make();
  // The file is looked for when the lock is read, and again when the value is.
  interposition.Fail("GetFileAttributesW", {.nth = 3});
  EXPECT_FALSE(Line().SelectMode(L"Eco"));
  EXPECT_EQ(traces.Take(),
            (Traces{{L"CModeChangeSettings::GetDefaultSettingItemValue", 211, defaults},
                    {L"CModeChangeSettings::GetSettingItemValue", 305},
                    In(L"SelectMode", 626, L"Eco"),
                    In(L"SelectMode", 627, L"Lamp")}));
  sandbox.Remove(defaults);
  EXPECT_FALSE(Line().SelectMode(L"Eco"));
  EXPECT_EQ(traces.Take(), (Traces{{L"CModeChangeSettings::IsSetingItemValueLocked", 390, defaults},
                                   In(L"SelectMode", 617, L"Eco"),
                                   In(L"SelectMode", 618, L"Lamp")}));
}

TEST_F(CModeSettingItemListLineValueTest, HasTheLinePaintedAnew) {
  MakeAndSelect();
  interposition.ClearCalls();
  EXPECT_TRUE(Line().SelectMode(L"Eco"));
  const std::vector<Call> calls = interposition.CallsOf("InvalidateRect");
  ASSERT_EQ(calls.size(), 1U);
  EXPECT_EQ(reinterpret_cast<HWND>(calls[0].arguments[0]), Window());
  EXPECT_EQ(calls[0].arguments[1], 0U) << "All of it.";
  EXPECT_EQ(calls[0].arguments[2], 0U) << "Without erasing.";
}

// --- Restoring the default -----------------------------------------------------------------------

TEST_F(CModeSettingItemListLineValueTest, RestoresTheDefaultWithoutSavingIt) {
  OfferValues(4);
  SetDefault(L"Eco", 1);
  SetSaved(L"Eco", 3);
  MakeAndSelect();
  interposition.ClearCalls();
  EXPECT_TRUE(Line().RestoreDefaultSettingItemValue());
  EXPECT_EQ(Current(), 1U);
  EXPECT_EQ(Position(), 1);
  EXPECT_EQ(Changed(), true) << "The saved value is still the one saved.";
  EXPECT_EQ(interposition.Count("WritePrivateProfileStringW"), 0U);
  EXPECT_THAT(list.Take(), IsEmpty());
}

TEST_F(CModeSettingItemListLineValueTest, RestoresADefaultOfDoingNothing) {
  SetSaved(L"Eco", 1);
  MakeAndSelect();
  EXPECT_TRUE(Line().RestoreDefaultSettingItemValue());
  EXPECT_EQ(Current(), kDoNothing);
  EXPECT_EQ(Shown(), "1016 (1018) (1019)");
}

TEST_F(CModeSettingItemListLineValueTest, TracesADefaultThatCannotBeRestored) {
  const std::wstring defaults =
      sandbox.LibraryFolder().wstring() + L"\\ModeChange.DefaultSettings.ini";
  MakeAndSelect();
  SetDefault(L"Eco", 9);
  EXPECT_FALSE(Line().RestoreDefaultSettingItemValue());
  EXPECT_EQ(traces.Take(),
            (Traces{In(kForValue, 498, L"9"), In(L"RestoreDefaultSettingItemValue", 657)}));
  interposition.Fail("GetFileAttributesW", {.nth = 2});
  EXPECT_FALSE(Line().RestoreDefaultSettingItemValue());
  EXPECT_EQ(traces.Take(), (Traces{{L"CModeChangeSettings::IsSetingItemValueLocked", 390, defaults},
                                   In(L"RestoreDefaultSettingItemValue", 649)}));
  sandbox.Remove(defaults);
  EXPECT_FALSE(Line().RestoreDefaultSettingItemValue());
  EXPECT_EQ(traces.Take(),
            (Traces{{L"CModeChangeSettings::GetDefaultSettingItemValue", 211, defaults},
                    In(L"RestoreDefaultSettingItemValue", 646)}));
}

// --- Whether the value changed -------------------------------------------------------------------

TEST_F(CModeSettingItemListLineValueTest, NeedsAnOutputForWhetherTheValueChanged) {
  MakeAndSelect();
  EXPECT_FALSE(Line().IsSettingItemValueChanged(nullptr));
  EXPECT_EQ(traces.Take(), (Traces{In(L"IsSettingItemValueChanged", 674)}));
}

TEST_F(CModeSettingItemListLineValueTest, TracesASavedValueThatCannotBeRead) {
  MakeAndSelect();
  const std::wstring defaults =
      sandbox.LibraryFolder().wstring() + L"\\ModeChange.DefaultSettings.ini";
  sandbox.Remove(defaults);
  EXPECT_EQ(Changed(), std::nullopt);
  EXPECT_EQ(traces.Take(),
            (Traces{{L"CModeChangeSettings::GetDefaultSettingItemValue", 211, defaults},
                    {L"CModeChangeSettings::GetSettingItemValue", 305},
                    In(L"IsSettingItemValueChanged", 679)}));
}

TEST_F(CModeSettingItemListLineValueTest, AChangeThatIsTakenBackIsNone) {
  OfferValues(2);
  SetSaved(L"Eco", 1);
  MakeAndSelect();
  EXPECT_EQ(Changed(), false);
  Click(IDC_FIRST_VALUE);
  EXPECT_EQ(Changed(), true);
  Click(IDC_SECOND_VALUE);
  EXPECT_EQ(Changed(), false);
  Click(IDC_SETTING_ITEM);
  EXPECT_EQ(Changed(), true);
  Click(IDC_SETTING_ITEM);
  EXPECT_EQ(Changed(), false);
  EXPECT_EQ(list.Take().size(), 4U);
}

// --- Fewer than two values -----------------------------------------------------------------------

TEST_F(CModeSettingItemListLineValueTest, EveryOperationFailsWithFewerThanTwoValues) {
  OfferValues({2}, 3);
  SetDefault(L"Eco", -1);
  Make();
  EXPECT_EQ(traces.Take().size(), 2U) << "While it was made.";
  EXPECT_THAT(list.Take(), ElementsAre("error 100"));

  EXPECT_FALSE(Line().SelectMode(L"Eco"));
  EXPECT_EQ(traces.Take(), (Traces{In(kForLocked, 486, L"1"), In(L"SelectMode", 621, L"Eco"),
                                   In(L"SelectMode", 622, L"Lamp")}));
  EXPECT_FALSE(Line().RestoreDefaultSettingItemValue());
  EXPECT_EQ(traces.Take(),
            (Traces{In(kForLocked, 486, L"1"), In(L"RestoreDefaultSettingItemValue", 654)}));
  EXPECT_FALSE(Line().LockThisSettingItem(false, 2, L"Fan"));
  EXPECT_EQ(traces.Take(), (Traces{In(kForLocked, 486, L"1"), In(L"LockThisSettingItem", 812)}));
  EXPECT_EQ(Current(), kDoNothing);
  EXPECT_TRUE(Line().IsSettingItemSetCorrectly());

  Click(IDC_SETTING_ITEM);
  EXPECT_EQ(traces.Take(), (Traces{In(kForCheckBox, 442, L"1"), In(L"OnCheckSettingItem", 222)}));
  EXPECT_THAT(list.Take(), ElementsAre("error 100"));
  EXPECT_FALSE(Line().IsSettingItemSetCorrectly());
  EXPECT_EQ(traces.Take(), (Traces{In(L"IsSettingItemSetCorrectly", 703, L"1")}));
  EXPECT_EQ(Current(), std::nullopt);
  EXPECT_EQ(traces.Take(), (Traces{In(L"GetCurrentSettingItemValue", 725, L"1")}));
  EXPECT_EQ(Changed(), true) << "As it is not set correctly.";
  EXPECT_EQ(traces.Take(), (Traces{In(L"IsSettingItemSetCorrectly", 703, L"1"),
                                   In(L"IsSettingItemSetCorrectly", 703, L"1")}));
}

TEST_F(CModeSettingItemListLineValueTest, ALockedLineFailsWithFewerThanTwoValues) {
  LockInMode(L"Eco");
  OfferValues(std::vector<UINT>{}, 3);
  Make();
  EXPECT_EQ(traces.Take().size(), 2U) << "While it was made.";
  EXPECT_FALSE(Line().SelectMode(L"Eco"));
  EXPECT_EQ(traces.Take(), (Traces{In(kForValue, 521, L"0"), In(L"SelectMode", 631, L"Eco"),
                                   In(L"SelectMode", 632, L"Lamp")}));
  EXPECT_EQ(Shown(), "1031 1032");
  Click(IDC_SETTING_ITEM);
  EXPECT_EQ(traces.Take(), (Traces{In(kForCheckBox, 442, L"0"), In(L"OnCheckSettingItem", 222)}));
  EXPECT_THAT(list.Take(), ElementsAre("error 100", "error 100"));
}

// --- Memory --------------------------------------------------------------------------------------

TEST_F(CModeSettingItemListLineValueTest, AnOperationThrowsWhereMemoryRunsOut) {
  OfferValues(3);
  SetSaved(L"Eco", 1);
  MakeAndSelect();
  interposition.Fail("malloc", {});
  EXPECT_THROW(Line().SelectMode(L"Quiet"), std::bad_alloc);
  interposition.StopFailing();
  EXPECT_TRUE(Line().SelectMode(L"Eco")) << "And goes on afterwards.";
  EXPECT_EQ(Current(), 1U);
}

TEST_F(CModeSettingItemListLineValueTest, ReportsAUserActionForWhichThereIsNoMemory) {
  OfferValues(3);
  SetSaved(L"Eco", 1);
  MakeAndSelect();
  interposition.Fail("malloc", {});
  PressInCombo(VK_DOWN);
  interposition.StopFailing();
  EXPECT_EQ(traces.Take(), (Traces{In(L"OnHandlerFailed", 152)}));
  EXPECT_THAT(list.Take(), ElementsAre("error 100"));
}

}  // namespace
