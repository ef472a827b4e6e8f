#include "unit/settings/CModeSettingItemListLineFixture.h"

namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

using CModeSettingItemListLineLockTest = CModeSettingItemListLineTest;

constexpr const wchar_t* kForValue = L"AdjustSettingItemListLineControlForSettingItemValue";
constexpr const wchar_t* kOthers = L"AdjustOtherSettingItemStatusForCurrentSettingItemValue";

// --- Locked by the mode's own settings -----------------------------------------------------------

TEST_F(CModeSettingItemListLineLockTest, AnItemThatItsModeLocksShowsNameAndMemo) {
  LockInMode(L"Eco");
  for (const INT32 count : {2, 3, 4, 101}) {
    SCOPED_TRACE(count);
    OfferValues(count);
    SetSaved(L"Eco", 1);
    MakeAndSelect();
    EXPECT_EQ(Shown(), "1031 1032");
    EXPECT_EQ(Text(IDC_LOCKED_ITEM_NAME), L"The lamp");
    EXPECT_EQ(Text(IDC_LOCKED_VALUE_MEMO), L"Name 1 (fixed)");
    EXPECT_EQ(Current(), 1U);
    EXPECT_EQ(Changed(), false);
    EXPECT_TRUE(Line().IsSettingItemSetCorrectly());
  }
}

TEST_F(CModeSettingItemListLineLockTest, AnItemThatItsModeLocksAsItIsSaysSo) {
  LockInMode(L"Eco");
  for (const INT32 count : {2, 3, 4}) {
    OfferValues(count);
    MakeAndSelect();
    EXPECT_EQ(Shown(), "1031 1032");
    EXPECT_EQ(Text(IDC_LOCKED_VALUE_MEMO), L"As it is (fixed)");
    EXPECT_EQ(Current(), kDoNothing);
  }
}

TEST_F(CModeSettingItemListLineLockTest, ALockIsAMatterOfTheMode) {
  LockInMode(L"Eco");
  SetSaved(L"Eco", 1);
  SetSaved(L"Quiet", 0);
  MakeAndSelect();
  EXPECT_TRUE(Line().SelectMode(L"Quiet"));
  EXPECT_EQ(Shown(), "1016 1018 1019");
  EXPECT_EQ(Checked(), "1016 1018");
  EXPECT_EQ(Current(), 0U);
  EXPECT_TRUE(Line().SelectMode(L"Eco"));
  EXPECT_EQ(Shown(), "1031 1032");
  EXPECT_EQ(Current(), 1U);
}

TEST_F(CModeSettingItemListLineLockTest, RestoresTheDefaultOfALockedItem) {
  LockInMode(L"Eco");
  SetDefault(L"Eco", 0);
  SetSaved(L"Eco", 1);
  MakeAndSelect();
  EXPECT_EQ(Current(), 1U);
  EXPECT_TRUE(Line().RestoreDefaultSettingItemValue());
  EXPECT_EQ(Shown(), "1031 1032");
  EXPECT_EQ(Text(IDC_LOCKED_VALUE_MEMO), L"Name 0 (fixed)");
  EXPECT_EQ(Current(), 0U);
  EXPECT_EQ(Changed(), true) << "The saved value differs from the locked one.";
}

// --- Being locked and released by another item ---------------------------------------------------

TEST_F(CModeSettingItemListLineLockTest, ALockHoldsTheItemAtAValue) {
  for (const INT32 count : {2, 3, 4}) {
    SCOPED_TRACE(count);
    OfferValues(count);
    SetSaved(L"Eco", 0);
    MakeAndSelect();
    EXPECT_TRUE(Line().LockThisSettingItem(true, 1, L"Fan"));
    EXPECT_EQ(Shown(), "1031 1032");
    EXPECT_EQ(Text(IDC_LOCKED_VALUE_MEMO), L"Name 1 (by the fan)");
    EXPECT_EQ(Current(), 1U);
    EXPECT_EQ(Changed(), true);
    EXPECT_TRUE(Line().IsSettingItemSetCorrectly());
    EXPECT_THAT(list.Take(), IsEmpty());
  }
}

TEST_F(CModeSettingItemListLineLockTest, ALockedItemIsSetCorrectlyWhateverItsControlsSay) {
  OfferValues({2, 7}, 8);
  MakeAndSelect();
  Click(IDC_SETTING_ITEM);
  EXPECT_FALSE(Line().IsSettingItemSetCorrectly());
  EXPECT_TRUE(Line().LockThisSettingItem(true, 7, L"Fan"));
  EXPECT_EQ(Checked(), "1016") << "No button stands for 7.";
  EXPECT_TRUE(Line().IsSettingItemSetCorrectly());
  EXPECT_EQ(Current(), 7U);
  EXPECT_THAT(list.Take(), ElementsAre("changed"));
}

TEST_F(CModeSettingItemListLineLockTest, AReleasedItemKeepsTheLockedValue) {
  const char* const shown[] = {"1016 1018 1019", "1016 1024", "1016 1021 1040 1041"};
  for (const INT32 count : {2, 3, 4}) {
    SCOPED_TRACE(count);
    OfferValues(count);
    SetSaved(L"Eco", 0);
    MakeAndSelect();
    EXPECT_TRUE(Line().LockThisSettingItem(true, 1, L"Fan"));
    EXPECT_TRUE(Line().LockThisSettingItem(false, 1, L"Fan"));
    EXPECT_EQ(Shown(), shown[count - 2]);
    EXPECT_EQ(Current(), 1U);
    EXPECT_EQ(Changed(), true);
    EXPECT_EQ(Text(IDC_LOCKED_VALUE_MEMO), L"Name 1 (by the fan)") << "Hidden, and not written.";
  }
}

TEST_F(CModeSettingItemListLineLockTest, ALockMayLeaveTheItemAsItIs) {
  const char* const shown[] = {"1016 (1018) (1019)", "1016 (1025)", "1016 (1021) (1040) (1041)"};
  for (const INT32 count : {2, 3, 4}) {
    SCOPED_TRACE(count);
    OfferValues(count);
    SetSaved(L"Eco", 0);
    MakeAndSelect();
    EXPECT_TRUE(Line().LockThisSettingItem(true, kDoNothing, L"Fan"));
    EXPECT_EQ(Shown(), "1031 1032");
    EXPECT_EQ(Text(IDC_LOCKED_VALUE_MEMO), L"As it is (by the fan)");
    EXPECT_EQ(Current(), kDoNothing);
    EXPECT_TRUE(Line().LockThisSettingItem(false, kDoNothing, L"Fan"));
    EXPECT_EQ(Shown(), shown[count - 2]);
    EXPECT_EQ(Current(), kDoNothing);
  }
}

TEST_F(CModeSettingItemListLineLockTest, ALockWithoutAMemoOfItsOwnShowsTheValueAlone) {
  SetSaved(L"Eco", 0);
  MakeAndSelect();
  EXPECT_TRUE(Line().LockThisSettingItem(true, 1, L"Screen"));
  EXPECT_EQ(Text(IDC_LOCKED_VALUE_MEMO), L"Name 1");
}

TEST_F(CModeSettingItemListLineLockTest, AReleaseUnlocksAlsoWhatTheModeLocks) {
  LockInMode(L"Eco");
  SetSaved(L"Eco", 0);
  MakeAndSelect();
  EXPECT_TRUE(Line().LockThisSettingItem(true, 1, L"Fan"));
  EXPECT_TRUE(Line().LockThisSettingItem(false, 1, L"Fan"));
  EXPECT_EQ(Shown(), "1016 1018 1019");
  EXPECT_EQ(Current(), 1U);
  EXPECT_TRUE(Line().SelectMode(L"Eco"));
  EXPECT_EQ(Shown(), "1031 1032");
  EXPECT_EQ(Current(), 0U);
}

TEST_F(CModeSettingItemListLineLockTest, RefusesALockAtAValueThatIsNotUsable) {
  OfferValues({0, 2, 3, 5}, 6);
  SetSaved(L"Eco", 0);
  MakeAndSelect();
  EXPECT_FALSE(Line().LockThisSettingItem(true, 4, L"Fan"));
  EXPECT_EQ(traces.Take(), (Traces{In(kForValue, 498, L"4"), In(L"LockThisSettingItem", 815)}));
  EXPECT_EQ(Shown(), "1031 1032") << "It is locked nevertheless.";
  EXPECT_EQ(Current(), 4U);
}

TEST_F(CModeSettingItemListLineLockTest, NeedsTheLockingItemForTheMemo) {
  SetSaved(L"Eco", 0);
  MakeAndSelect();
  EXPECT_FALSE(Line().LockThisSettingItem(true, 1, nullptr));
  const Traces traced = traces.Take();
  ASSERT_EQ(traced.size(), 2U);
  EXPECT_EQ(
      traced[0].function,
      L"CModeChangeResource::GetModeSettingsDialogLockedSettingItemMemoBySpecificSettingItem");
  EXPECT_EQ(traced[1], In(L"LockThisSettingItem", 823));
  EXPECT_TRUE(Line().LockThisSettingItem(false, 1, nullptr)) << "A release has no memo.";
}

TEST_F(CModeSettingItemListLineLockTest, TheCheckBoxRuleChangesNothingWhileLocked) {
  for (const INT32 count : {2, 3, 4}) {
    SCOPED_TRACE(count);
    OfferValues(count);
    SetSaved(L"Eco", 0);
    MakeAndSelect();
    EXPECT_TRUE(Line().LockThisSettingItem(true, 1, L"Fan"));
    for (int click = 0; click < 2; ++click) {
      Click(IDC_SETTING_ITEM);
      EXPECT_EQ(Shown(), "1031 1032");
      for (const int control : {IDC_FIRST_VALUE, IDC_SECOND_VALUE, IDC_VALUE_COMBO,
                                IDC_VALUE_SLIDER, IDC_GREYED_VALUE}) {
        EXPECT_EQ(::IsWindowEnabled(Control(control)), FALSE) << control;
      }
      EXPECT_EQ(Current(), 1U);
      EXPECT_THAT(list.Take(), ElementsAre("changed"));
    }
  }
}

TEST_F(CModeSettingItemListLineLockTest, TheGreyedButtonIsNeverEnabled) {
  OfferValues(3);
  MakeAndSelect();
  const auto expectDisabled = [this] {
    EXPECT_EQ(::IsWindowEnabled(Control(IDC_GREYED_VALUE)), FALSE);
  };
  expectDisabled();
  Click(IDC_SETTING_ITEM);
  expectDisabled();
  EXPECT_TRUE(Line().LockThisSettingItem(true, 1, L"Fan"));
  expectDisabled();
  EXPECT_TRUE(Line().LockThisSettingItem(false, 1, L"Fan"));
  expectDisabled();
  OfferValues({1}, 2);
  Make();
  EXPECT_FALSE(Line().SelectMode(L"Eco")) << "With one value no kind hides it.";
  EXPECT_EQ(traces.Take().size(), 5U);
  EXPECT_EQ(Shown(), "1016 1018 1019 1021 1024 (1025) 1040 1041");
}

// --- Locking others ------------------------------------------------------------------------------

TEST_F(CModeSettingItemListLineLockTest, ARadioButtonLocksAndReleasesAtOnce) {
  SetLockRule(1, {{L"Fan", 0}, {L"Screen", -1}});
  SetSaved(L"Eco", 0);
  MakeAndSelect();
  std::string shownInside;
  list.onRequest = [&](const LockSettingItemRequest&) { shownInside = Checked(); };
  Click(IDC_SECOND_VALUE);
  EXPECT_EQ(shownInside, "1016 1019");
  EXPECT_EQ(list.sender, Window());
  EXPECT_THAT(list.Take(), ElementsAre("Lamp locks Fan=0, Screen=4294967295", "changed"));
  Click(IDC_SECOND_VALUE);
  EXPECT_THAT(list.Take(), ElementsAre("changed")) << "It is locking already.";
  Click(IDC_FIRST_VALUE);
  EXPECT_THAT(list.Take(), ElementsAre("Lamp releases Fan=0, Screen=4294967295", "changed"));
  Click(IDC_FIRST_VALUE);
  EXPECT_THAT(list.Take(), ElementsAre("changed"));
}

TEST_F(CModeSettingItemListLineLockTest, MemoryThatRunsOutForALockIsReported) {
  SetLockRule(1, {{L"Fan", 0}, {L"Screen", -1}});
  SetSaved(L"Eco", 0);
  MakeAndSelect();
  // Each piece of memory that the click asks for is refused in turn.
  std::uint32_t reported = 0;
  for (std::uint32_t nth = 1;; ++nth) {
    SCOPED_TRACE(nth);
    interposition.ClearCalls();
    interposition.Fail("malloc", {.nth = nth});
    Click(IDC_SECOND_VALUE);
    interposition.StopFailing();
    const ListWindow::Log said = list.Take();
    if (interposition.Count("malloc") < nth) {
      EXPECT_THAT(said, ElementsAre("Lamp locks Fan=0, Screen=4294967295", "changed"));
      break;
    }
    ++reported;
    EXPECT_THAT(said, ElementsAre("error 100"));
    EXPECT_EQ(traces.Take(), (Traces{In(L"OnHandlerFailed", 152)}));
    Click(IDC_FIRST_VALUE);
    EXPECT_THAT(list.Take(), ElementsAre("changed"));
  }
  EXPECT_GE(reported, 2U) << "The names and the values are copied.";
}

TEST_F(CModeSettingItemListLineLockTest, TheCheckBoxLocksAndReleases) {
  SetLockRule(1, {{L"Fan", 0}});
  SetSaved(L"Eco", 1);
  for (const INT32 count : {2, 3, 4}) {
    SCOPED_TRACE(count);
    OfferValues(count);
    MakeAndSelect();
    EXPECT_TRUE(Line().UpdateLockedSettingItemStatus());
    EXPECT_THAT(list.Take(), ElementsAre("Lamp locks Fan=0"));
    Click(IDC_SETTING_ITEM);
    EXPECT_THAT(list.Take(), ElementsAre("Lamp releases Fan=0", "changed"));
    Click(IDC_SETTING_ITEM);
    EXPECT_THAT(list.Take(), ElementsAre("Lamp locks Fan=0", "changed"));
  }
}

TEST_F(CModeSettingItemListLineLockTest, AClearedCheckBoxMayBeWhatLocks) {
  SetLockRule(-1, {{L"Fan", 2}});
  SetSaved(L"Eco", 1);
  MakeAndSelect();
  Click(IDC_SETTING_ITEM);
  EXPECT_THAT(list.Take(), ElementsAre("Lamp locks Fan=2", "changed"));
  Click(IDC_SETTING_ITEM);
  EXPECT_THAT(list.Take(), ElementsAre("Lamp releases Fan=2", "changed"));
}

TEST_F(CModeSettingItemListLineLockTest, ComboBoxAndSliderDoNotLock) {
  SetLockRule(1, {{L"Fan", 0}});
  SetSaved(L"Eco", 0);
  OfferValues(3);
  MakeAndSelect();
  PressInCombo(VK_DOWN);
  EXPECT_EQ(Current(), 1U);
  EXPECT_THAT(list.Take(), ElementsAre("changed"));
  Click(IDC_SETTING_ITEM);
  EXPECT_THAT(list.Take(), ElementsAre("changed"));
  Click(IDC_SETTING_ITEM);
  EXPECT_THAT(list.Take(), ElementsAre("Lamp locks Fan=0", "changed")) << "The check box does.";
  PressInCombo(VK_DOWN);
  EXPECT_EQ(Current(), 2U);
  EXPECT_THAT(list.Take(), ElementsAre("changed")) << "Nor do they release.";

  OfferValues(4);
  MakeAndSelect();
  PressOnSlider(VK_RIGHT);
  EXPECT_EQ(Current(), 1U);
  for (const std::string& said : list.Take()) EXPECT_EQ(said, "changed");
}

TEST_F(CModeSettingItemListLineLockTest, AnUpdateLooksAtTheRuleOfEveryKind) {
  SetLockRule(1, {{L"Fan", 0}});
  for (const INT32 count : {2, 3, 4}) {
    SCOPED_TRACE(count);
    OfferValues(count);
    SetSaved(L"Eco", 1);
    MakeAndSelect();
    EXPECT_TRUE(Line().UpdateLockedSettingItemStatus());
    EXPECT_THAT(list.Take(), ElementsAre("Lamp locks Fan=0"));
    EXPECT_TRUE(Line().UpdateLockedSettingItemStatus());
    EXPECT_THAT(list.Take(), IsEmpty()) << "It is locking already.";
    SetSaved(L"Eco", 0);
    EXPECT_TRUE(Line().SelectMode(L"Eco"));
    EXPECT_TRUE(Line().UpdateLockedSettingItemStatus());
    EXPECT_THAT(list.Take(), IsEmpty()) << "Selecting forgot the lock without a release.";
  }
}

TEST_F(CModeSettingItemListLineLockTest, SelectingAndRestoringForgetThatOthersAreLocked) {
  SetLockRule(1, {{L"Fan", 0}});
  SetSaved(L"Eco", 1);
  SetDefault(L"Eco", 1);
  MakeAndSelect();
  EXPECT_TRUE(Line().UpdateLockedSettingItemStatus());
  EXPECT_TRUE(Line().SelectMode(L"Eco"));
  EXPECT_TRUE(Line().UpdateLockedSettingItemStatus());
  EXPECT_TRUE(Line().RestoreDefaultSettingItemValue());
  EXPECT_TRUE(Line().UpdateLockedSettingItemStatus());
  EXPECT_THAT(list.Take(), ElementsAre("Lamp locks Fan=0", "Lamp locks Fan=0", "Lamp locks Fan=0"));
}

TEST_F(CModeSettingItemListLineLockTest, AnItemThatIsNotSetCorrectlyNeitherLocksNorReleases) {
  SetLockRule(-1, {{L"Fan", 0}});
  OfferValues(2);
  MakeAndSelect();
  EXPECT_TRUE(Line().UpdateLockedSettingItemStatus());
  EXPECT_THAT(list.Take(), ElementsAre("Lamp locks Fan=0"));
  Click(IDC_SETTING_ITEM);
  EXPECT_FALSE(Line().IsSettingItemSetCorrectly());
  EXPECT_THAT(list.Take(), ElementsAre("changed"));
  Click(IDC_FIRST_VALUE);
  EXPECT_THAT(list.Take(), ElementsAre("Lamp releases Fan=0", "changed"));
}

TEST_F(CModeSettingItemListLineLockTest, ALockedItemLocksOthersByItsLockedValue) {
  SetLockRule(1, {{L"Fan", 0}});
  SetSaved(L"Eco", 0);
  MakeAndSelect();
  EXPECT_TRUE(Line().LockThisSettingItem(true, 1, L"Fan"));
  EXPECT_THAT(list.Take(), IsEmpty()) << "Being locked does not evaluate the rule.";
  EXPECT_TRUE(Line().UpdateLockedSettingItemStatus());
  EXPECT_THAT(list.Take(), ElementsAre("Lamp locks Fan=0"));
}

TEST_F(CModeSettingItemListLineLockTest, AnItemWithoutARuleAsksForNothing) {
  SetSaved(L"Eco", 1);
  MakeAndSelect();
  EXPECT_TRUE(Line().UpdateLockedSettingItemStatus());
  Click(IDC_SETTING_ITEM);
  Click(IDC_SETTING_ITEM);
  Click(IDC_FIRST_VALUE);
  EXPECT_THAT(list.Take(), ElementsAre("changed", "changed", "changed"));
}

TEST_F(CModeSettingItemListLineLockTest, ALineMayBeLockedWhileAnotherOnesRequestRuns) {
  SetLockRule(1, {{L"Fan", 1}});
  SetSaved(L"Eco", 0);
  MakeAndSelect();
  const auto fan = MakeOther(L"Fan");
  std::string shownInside;
  list.onRequest = [&](const LockSettingItemRequest& request) {
    EXPECT_TRUE(fan->LockThisSettingItem(request.lock, request.lockedItemValues.at(0),
                                         request.lockingItemName.c_str()));
    shownInside = ShownIn(fan->Window());
  };
  Click(IDC_SECOND_VALUE);
  EXPECT_EQ(shownInside, "1031 1032");
  EXPECT_EQ(ShownIn(fan->Window()), "1031 1032");
  EXPECT_THAT(list.Take(), ElementsAre("Lamp locks Fan=1", "changed"));
  Click(IDC_FIRST_VALUE);
  EXPECT_EQ(ShownIn(fan->Window()), "1016 1018 1019");
  EXPECT_THAT(list.Take(), ElementsAre("Lamp releases Fan=1", "changed"));
}

TEST_F(CModeSettingItemListLineLockTest, ALineMayLockItself) {
  SetLockRule(1, {{L"Lamp", 1}});
  SetSaved(L"Eco", 0);
  MakeAndSelect();
  list.onRequest = [&](const LockSettingItemRequest& request) {
    EXPECT_TRUE(Line().LockThisSettingItem(request.lock, request.lockedItemValues.at(0),
                                           request.lockingItemName.c_str()));
  };
  Click(IDC_SECOND_VALUE);
  EXPECT_EQ(Shown(), "1031 1032");
  EXPECT_EQ(Current(), 1U);
  EXPECT_THAT(list.Take(), ElementsAre("Lamp locks Lamp=1", "changed"));
}

TEST_F(CModeSettingItemListLineLockTest, TracesARequestThatNobodyCanTake) {
  SetLockRule(-1, {{L"Fan", 0}});
  SetSaved(L"Eco", 1);
  MakeAndSelect();
  ::SendMessageW(Window(), WM_CLOSE, 0, 0);
  // Without its window the line has no value and no list.
  EXPECT_FALSE(Line().UpdateLockedSettingItemStatus());
  EXPECT_EQ(traces.Take(),
            (Traces{In(kOthers, 777), In(L"UpdateLockedSettingItemStatus", 665, L"Eco"),
                    In(L"UpdateLockedSettingItemStatus", 666, L"Lamp")}));
}

TEST_F(CModeSettingItemListLineLockTest, TracesAReleaseThatNobodyCanTake) {
  SetLockRule(1, {{L"Fan", 0}});
  SetSaved(L"Eco", 1);
  MakeAndSelect();
  EXPECT_TRUE(Line().UpdateLockedSettingItemStatus());
  EXPECT_THAT(list.Take(), ElementsAre("Lamp locks Fan=0"));
  ::SendMessageW(Window(), WM_CLOSE, 0, 0);
  EXPECT_FALSE(Line().UpdateLockedSettingItemStatus());
  EXPECT_EQ(traces.Take(),
            (Traces{In(kOthers, 781), In(L"UpdateLockedSettingItemStatus", 665, L"Eco"),
                    In(L"UpdateLockedSettingItemStatus", 666, L"Lamp")}));
}

}  // namespace
