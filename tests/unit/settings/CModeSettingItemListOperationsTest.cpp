#include <commctrl.h>

#include "resources/ControlIds.h"
#include "unit/settings/SettingItemListFixture.h"

namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

/// What the area asks of the whole list.
class CModeSettingItemListOperationsTest : public SettingItemListTest {
 protected:
  CModeSettingItemListOperationsTest() { groups = {{L"Screen", {L"A", L"B"}}, {L"Power", {L"C"}}}; }
  [[nodiscard]] std::vector<std::string> AllShown() const {
    return {Shown(L"A"), Shown(L"B"), Shown(L"C")};
  }
  void OpenOn(const wchar_t* mode) {
    OpenMachine();
    ASSERT_TRUE(list->SelectMode(mode));
    static_cast<void>(Posted());
    interposition.ClearCalls();
  }
  /// Logs for each line when it reads its value, when it asks for locks and when it is erased.
  void LogPasses() {
    log.clear();
    interposition.Observe("GetPrivateProfileIntW", [this](const Call& call) {
      const std::wstring key = call.Text(1);
      if (key == L"A" || key == L"B" || key == L"C") log.push_back("read " + Text::ToUtf8(key));
    });
    interposition.Observe("InvalidateRect", [this](const Call& call) {
      if (static_cast<BOOL>(call.arguments[2]) == FALSE) return;
      EXPECT_EQ(call.arguments[1], 0U) << "All of it.";
      log.push_back("erase " + NameOf(reinterpret_cast<HWND>(call.arguments[0])));
    });
    interposition.Observe("SendMessageW", [this](const Call& call) {
      if (call.arguments[1] != WM_COPYDATA) return;
      log.push_back("locks of " + NameOf(reinterpret_cast<HWND>(call.arguments[2])));
    });
  }
  [[nodiscard]] static std::string NameOf(HWND line) {
    return Text::ToUtf8(TextOf(::GetDlgItem(line, IDC_SETTING_ITEM))).substr(4);
  }
  [[nodiscard]] bool IsChanged() {
    bool changed = false;
    EXPECT_TRUE(list->IsSettingItemValueChanged(&changed));
    return changed;
  }
  [[nodiscard]] std::vector<CWideString> NotSetCorrectly() {
    std::vector<CWideString> names;
    EXPECT_TRUE(list->GetSettingDisplayNameListOfNotSetCorrectly(&names));
    return names;
  }
  /// The item is to be set, but no value is chosen.
  void LeaveUnchosen(const std::wstring& item) const {
    ::SendMessageW(Control(item, IDC_SETTING_ITEM), BM_SETCHECK, BST_CHECKED, 0);
    for (const int id : {IDC_FIRST_VALUE, IDC_SECOND_VALUE}) {
      ::SendMessageW(Control(item, id), BM_SETCHECK, BST_UNCHECKED, 0);
    }
  }
  void RemoveDefaults() { sandbox.Remove(L"ModeChange.DefaultSettings.ini"); }
};

// --- SelectMode ----------------------------------------------------------------------------------

TEST_F(CModeSettingItemListOperationsTest, ShowsTheValuesOfAMode) {
  SetDefault(L"Eco", L"A", 0);
  SetDefault(L"Eco", L"B", 1);
  SetDefault(L"Quiet", L"A", 1);
  SetLockedByMode(L"Quiet", {L"A"});
  SetSaved(L"Own", L"C", 1);
  OpenMachine();
  EXPECT_TRUE(list->SelectMode(L"Eco"));
  EXPECT_THAT(AllShown(), ElementsAre("zero", "one", "left alone"));
  EXPECT_TRUE(list->SelectMode(L"Quiet"));
  EXPECT_THAT(AllShown(), ElementsAre("locked: one(fixed)", "left alone", "left alone"));
  EXPECT_TRUE(list->SelectMode(L"Own"));
  EXPECT_THAT(AllShown(), ElementsAre("left alone", "left alone", "one"));
  EXPECT_THAT(Posted(), IsEmpty());
}

TEST_F(CModeSettingItemListOperationsTest, LooksAtLocksWhenEveryLineShowsTheMode) {
  AddLockRule(L"A", 1, {{L"B", 1}, {L"C", 1}});
  AddLockRule(L"C", 1, {{L"B", 0}});
  SetDefault(L"Eco", L"A", 1);
  SetDefault(L"Eco", L"B", 0);
  SetDefault(L"Eco", L"C", 0);
  OpenMachine();
  LogPasses();
  EXPECT_TRUE(list->SelectMode(L"Eco"));
  EXPECT_THAT(log, ElementsAre("read A", "read B", "read C", "locks of A", "erase A", "erase B",
                               "locks of C", "erase C"))
      << "C shows what A locks it to when its turn comes.";
  EXPECT_THAT(AllShown(), ElementsAre("one", "locked: zero(by C)", "locked: one(by A)"));
}

TEST_F(CModeSettingItemListOperationsTest, DoesNotChaseLocksBackwards) {
  AddLockRule(L"A", 1, {{L"B", 1}});
  AddLockRule(L"C", 1, {{L"A", 1}});
  SetDefault(L"Eco", L"A", 0);
  SetDefault(L"Eco", L"B", 0);
  SetDefault(L"Eco", L"C", 1);
  OpenOn(L"Eco");
  EXPECT_THAT(AllShown(), ElementsAre("locked: one(by C)", "zero", "one"))
      << "A had its turn before C locked it.";
}

TEST_F(CModeSettingItemListOperationsTest, AnotherModeReleasesTheLocksOfTheOneBefore) {
  AddLockRule(L"A", 1, {{L"B", 1}});
  SetDefault(L"Eco", L"A", 1);
  SetDefault(L"Eco", L"B", 0);
  SetDefault(L"Quiet", L"A", 0);
  SetDefault(L"Quiet", L"B", 0);
  OpenOn(L"Eco");
  EXPECT_THAT(AllShown(), ElementsAre("one", "locked: one(by A)", "left alone"));
  EXPECT_TRUE(list->SelectMode(L"Quiet"));
  EXPECT_THAT(AllShown(), ElementsAre("zero", "zero", "left alone"));
}

TEST_F(CModeSettingItemListOperationsTest, SelectsNoModeWithoutAName) {
  OpenMachine();
  EXPECT_FALSE(list->SelectMode(nullptr));
  EXPECT_EQ(traces.Take(), (Traces{In(L"SelectMode", 428)}));
}

TEST_F(CModeSettingItemListOperationsTest, ALineThatCannotShowTheModeEndsTheSelection) {
  SetDefault(L"Eco", L"A", 0);
  SetDefault(L"Eco", L"B", 7);  // none of its values
  SetDefault(L"Eco", L"C", 1);
  OpenMachine();
  LogPasses();
  EXPECT_FALSE(list->SelectMode(L"Eco"));
  EXPECT_THAT(log, ElementsAre("read A", "read B")) << "No other line is asked.";
  ExpectListTraces({In(L"SelectMode", 432)});
}

TEST_F(CModeSettingItemListOperationsTest, AFailedSelectionKeepsTheModeToSave) {
  SetDefault(L"Eco", L"A", 0);
  SetDefault(L"Bad", L"B", 7);
  OpenOn(L"Eco");
  EXPECT_FALSE(list->SelectMode(L"Bad"));
  ExpectListTraces({In(L"SelectMode", 432)});
  EXPECT_TRUE(list->SaveSettings());
  EXPECT_TRUE(Saved(L"Eco", L"A").has_value());
  EXPECT_FALSE(Saved(L"Bad", L"A").has_value());
}

/// A line whose value can't be told when locks are looked at: its combo box lost the item data.
class CModeSettingItemListLostValueTest : public CModeSettingItemListOperationsTest {
 protected:
  CModeSettingItemListLostValueTest() {
    SetDefault(L"Eco", L"A", 0);
    SetDefault(L"Eco", L"B", 1);
    MakeMachine();
    Engine(L"B").values = 3;
    Open();
    EXPECT_TRUE(list->SelectMode(L"Eco"));
    static_cast<void>(Posted());
  }
  /// From now on the last answer about the item data of B is none: of the calls that one pass
  /// makes.
  void LoseValueOfB(std::uint32_t after = 0) {
    const auto original =
        interposition.Original<decltype(&::SendDlgItemMessageW)>("SendDlgItemMessageW");
    interposition.Replace(
        "SendDlgItemMessageW",
        [original, after, line = LineOf(L"B"), asked = 0U](
            HWND window, int id, UINT message, WPARAM wParam, LPARAM lParam) mutable -> LRESULT {
          if (window == line && message == CB_GETITEMDATA && asked++ >= after) {
            return CB_ERR;
          }
          return original(window, id, message, wParam, lParam);
        });
  }
};

TEST_F(CModeSettingItemListLostValueTest, ALineThatCannotTellItsLocksEndsTheSelection) {
  LoseValueOfB(3);  // after the walk through the three items that selects the value
  LogPasses();
  EXPECT_FALSE(list->SelectMode(L"Eco"));
  EXPECT_THAT(log, ElementsAre("read A", "read B", "read C", "erase A"));
  ExpectListTraces({In(L"SelectMode", 433)});
}

TEST_F(CModeSettingItemListLostValueTest, ALineThatCannotTellItsLocksEndsTheRestoration) {
  LoseValueOfB(3);
  LogPasses();
  EXPECT_FALSE(list->RestoreDefaultSettingItemValue());
  EXPECT_THAT(log, ElementsAre("read A", "read B", "read C", "erase A"));
  ExpectListTraces({In(L"RestoreDefaultSettingItemValue", 443)});
}

TEST_F(CModeSettingItemListLostValueTest, FailsToTellWhetherALineChanged) {
  LoseValueOfB();
  bool changed = true;
  EXPECT_FALSE(list->IsSettingItemValueChanged(&changed));
  EXPECT_TRUE(changed) << "The output stays as it was.";
  changed = false;
  EXPECT_FALSE(list->IsSettingItemValueChanged(&changed));
  EXPECT_FALSE(changed);
  ExpectListTraces({In(L"IsSettingItemValueChanged", 466), In(L"IsSettingItemValueChanged", 466)});
}

TEST_F(CModeSettingItemListLostValueTest, SavesUpToTheLineThatFails) {
  LoseValueOfB();
  EXPECT_FALSE(list->SaveSettings());
  EXPECT_EQ(Saved(L"Eco", L"A"), L"0") << "What was written stays.";
  EXPECT_FALSE(Saved(L"Eco", L"B").has_value());
  EXPECT_FALSE(Saved(L"Eco", L"C").has_value());
  ExpectListTraces({In(L"SaveSettings", 506, L"Eco"), In(L"SaveSettings", 507, L"B")});
}

// --- RestoreDefaultSettingItemValue --------------------------------------------------------------

TEST_F(CModeSettingItemListOperationsTest, ShowsTheDefaultsOfTheMode) {
  SetDefault(L"Eco", L"A", 0);
  SetDefault(L"Eco", L"B", 1);
  SetSaved(L"Eco", L"A", 1);
  OpenOn(L"Eco");
  EXPECT_THAT(AllShown(), ElementsAre("one", "left alone", "left alone"));
  EXPECT_TRUE(list->RestoreDefaultSettingItemValue());
  EXPECT_THAT(AllShown(), ElementsAre("zero", "one", "left alone"));
  EXPECT_EQ(Saved(L"Eco", L"A"), L"1") << "Nothing is saved.";
  EXPECT_THAT(Posted(), IsEmpty());
}

TEST_F(CModeSettingItemListOperationsTest, LooksAtLocksWhenEveryLineShowsItsDefault) {
  AddLockRule(L"A", 1, {{L"B", 1}});
  SetDefault(L"Eco", L"A", 1);
  SetDefault(L"Eco", L"B", 0);
  SetSaved(L"Eco", L"A", 0);
  OpenOn(L"Eco");
  EXPECT_THAT(AllShown(), ElementsAre("zero", "left alone", "left alone"));
  LogPasses();
  EXPECT_TRUE(list->RestoreDefaultSettingItemValue());
  EXPECT_THAT(log, ElementsAre("read A", "read B", "read C", "locks of A", "erase A", "erase B",
                               "erase C"));
  EXPECT_THAT(AllShown(), ElementsAre("one", "locked: one(by A)", "left alone"));
}

TEST_F(CModeSettingItemListOperationsTest, FailsToRestoreWithoutDefaults) {
  SetDefault(L"Eco", L"A", 0);
  OpenOn(L"Eco");
  RemoveDefaults();
  LogPasses();
  EXPECT_FALSE(list->RestoreDefaultSettingItemValue());
  EXPECT_THAT(log, IsEmpty());
  ExpectListTraces({In(L"RestoreDefaultSettingItemValue", 441)});
}

// --- IsSettingItemValueChanged -------------------------------------------------------------------

TEST_F(CModeSettingItemListOperationsTest, KnowsWhetherALineShowsAnotherValue) {
  for (const wchar_t* item : {L"A", L"B", L"C"}) SetDefault(L"Eco", item, 0);
  OpenOn(L"Eco");
  EXPECT_FALSE(IsChanged());
  for (const wchar_t* item : {L"A", L"B", L"C"}) {
    Click(item, IDC_SECOND_VALUE);
    EXPECT_TRUE(IsChanged()) << Text::ToUtf8(item);
    Click(item, IDC_FIRST_VALUE);
    EXPECT_FALSE(IsChanged()) << Text::ToUtf8(item);
  }
}

TEST_F(CModeSettingItemListOperationsTest, TheFirstChangeIsEnough) {
  for (const wchar_t* item : {L"A", L"B", L"C"}) SetDefault(L"Eco", item, 0);
  OpenOn(L"Eco");
  Click(L"B", IDC_SECOND_VALUE);
  LogPasses();
  EXPECT_TRUE(IsChanged());
  EXPECT_THAT(log, ElementsAre("read A", "read B")) << "C is not asked.";
}

TEST_F(CModeSettingItemListOperationsTest, ALineThatCannotReadItsValueFails) {
  SetDefault(L"Eco", L"A", 0);
  OpenOn(L"Eco");
  RemoveDefaults();
  bool changed = true;
  EXPECT_FALSE(list->IsSettingItemValueChanged(&changed));
  EXPECT_TRUE(changed);
  ExpectListTraces({In(L"IsSettingItemValueChanged", 466)});
}

TEST_F(CModeSettingItemListOperationsTest, NeedsAnOutputForWhatChanged) {
  OpenMachine();
  EXPECT_FALSE(list->IsSettingItemValueChanged(nullptr));
  EXPECT_EQ(traces.Take(), (Traces{In(L"IsSettingItemValueChanged", 458)}));
}

// --- GetSettingDisplayNameListOfNotSetCorrectly --------------------------------------------------

TEST_F(CModeSettingItemListOperationsTest, NamesTheItemsWithoutAChosenValue) {
  OpenOn(L"Eco");
  EXPECT_THAT(NotSetCorrectly(), IsEmpty());
  LeaveUnchosen(L"C");
  LeaveUnchosen(L"A");
  EXPECT_THAT(NotSetCorrectly(), ElementsAre(L"the A", L"the C"));
  Click(L"A", IDC_FIRST_VALUE);
  EXPECT_THAT(NotSetCorrectly(), ElementsAre(L"the C"));
}

TEST_F(CModeSettingItemListOperationsTest, AppendsTheNames) {
  OpenOn(L"Eco");
  LeaveUnchosen(L"B");
  std::vector<CWideString> names = {L"before"};
  EXPECT_TRUE(list->GetSettingDisplayNameListOfNotSetCorrectly(&names));
  EXPECT_THAT(names, ElementsAre(L"before", L"the B"));
}

TEST_F(CModeSettingItemListOperationsTest, AsksTheEngineForTheName) {
  OpenOn(L"Eco");
  LeaveUnchosen(L"B");
  log.clear();
  static_cast<void>(NotSetCorrectly());
  EXPECT_THAT(log, ElementsAre("B.GetStringInformation(0, 0)"));
}

TEST_F(CModeSettingItemListOperationsTest, FailsWhereAnEngineDoesNotKnowTheName) {
  OpenOn(L"Eco");
  LeaveUnchosen(L"A");
  LeaveUnchosen(L"C");
  Engine(L"C").failing = {"GetStringInformation(0, 0)"};
  std::vector<CWideString> names = {L"before"};
  EXPECT_FALSE(list->GetSettingDisplayNameListOfNotSetCorrectly(&names));
  EXPECT_THAT(names, ElementsAre(L"before")) << "The output stays as it was.";
  ExpectListTraces({In(L"GetSettingDisplayNameListOfNotSetCorrectly", 492, L"C")});
}

TEST_F(CModeSettingItemListOperationsTest, NeedsAnOutputForTheNames) {
  OpenMachine();
  EXPECT_FALSE(list->GetSettingDisplayNameListOfNotSetCorrectly(nullptr));
  EXPECT_EQ(traces.Take(), (Traces{In(L"GetSettingDisplayNameListOfNotSetCorrectly", 474)}));
}

// --- SaveSettings --------------------------------------------------------------------------------

TEST_F(CModeSettingItemListOperationsTest, SavesWhatEveryLineShows) {
  AddLockRule(L"A", 1, {{L"B", 1}});
  for (const wchar_t* item : {L"A", L"B", L"C"}) SetDefault(L"Eco", item, 0);
  OpenOn(L"Eco");
  Click(L"A", IDC_SECOND_VALUE);
  Click(L"C", IDC_SETTING_ITEM);
  EXPECT_THAT(AllShown(), ElementsAre("one", "locked: one(by A)", "left alone"));
  EXPECT_TRUE(list->SaveSettings());
  EXPECT_EQ(Saved(L"Eco", L"A"), L"1");
  EXPECT_EQ(Saved(L"Eco", L"B"), L"1") << "A locked line's value is the one it is locked to.";
  EXPECT_EQ(Saved(L"Eco", L"C"), L"-1") << "The mode leaves it alone.";
  EXPECT_FALSE(IsChanged());
}

TEST_F(CModeSettingItemListOperationsTest, SavesFromTopToBottomForTheModeSelectedLast) {
  OpenOn(L"Eco");
  ASSERT_TRUE(list->SelectMode(L"Quiet"));
  interposition.ClearCalls();
  EXPECT_TRUE(list->SaveSettings());
  std::vector<std::wstring> written;
  for (const Call& call : interposition.CallsOf("WritePrivateProfileStringW")) {
    written.push_back(std::wstring(call.Text(0)) + L" " + call.Text(1) + L"=" + call.Text(2));
  }
  EXPECT_THAT(written, ElementsAre(L"Quiet A=-1", L"Quiet B=-1", L"Quiet C=-1"));
}

TEST_F(CModeSettingItemListOperationsTest, WhatWasWrittenBeforeAFailureStays) {
  struct Case {
    std::uint32_t nth;
    const wchar_t* item;
  };
  for (const Case& failing : {Case{1, L"A"}, Case{2, L"B"}, Case{3, L"C"}}) {
    SCOPED_TRACE(failing.nth);
    const std::wstring mode = L"Mode" + std::to_wstring(failing.nth);
    for (const wchar_t* item : {L"A", L"B", L"C"}) SetDefault(mode, item, 1);
    if (!list.has_value()) OpenMachine();
    ASSERT_TRUE(list->SelectMode(mode.c_str()));
    interposition.Fail("WritePrivateProfileStringW", {.nth = failing.nth});
    EXPECT_FALSE(list->SaveSettings());
    ExpectListTraces({In(L"SaveSettings", 511, mode), In(L"SaveSettings", 512, failing.item)});
    std::uint32_t saved = 0;
    for (const wchar_t* item : {L"A", L"B", L"C"}) saved += Saved(mode, item).has_value() ? 1 : 0;
    EXPECT_EQ(saved, failing.nth - 1);
  }
}

TEST_F(CModeSettingItemListOperationsTest, FailsToSaveWithoutAValue) {
  OpenOn(L"Eco");
  LeaveUnchosen(L"A");
  EXPECT_FALSE(list->SaveSettings());
  EXPECT_FALSE(Saved(L"Eco", L"A").has_value());
  ExpectListTraces({In(L"SaveSettings", 506, L"Eco"), In(L"SaveSettings", 507, L"A")});
}

TEST_F(CModeSettingItemListOperationsTest, SavesSlidersAndComboBoxes) {
  SetDefault(L"Eco", L"A", 5);
  SetDefault(L"Eco", L"B", 2);
  MakeMachine();
  Engine(L"A").values = 6;
  Engine(L"A").available = {{1, 0}, {4, 0}};
  Engine(L"B").values = 3;
  Open();
  ASSERT_TRUE(list->SelectMode(L"Eco"));
  EXPECT_TRUE(list->SaveSettings());
  EXPECT_EQ(Saved(L"Eco", L"A"), L"5") << "The engine's own index.";
  EXPECT_EQ(Saved(L"Eco", L"B"), L"2");
}

}  // namespace
