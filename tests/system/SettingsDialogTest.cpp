#include <functional>
#include <new>
#include <string>
#include <utility>
#include <vector>

#include "system/SettingsFixture.h"

namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

constexpr const wchar_t* kUpdatingError = L"Could not be\r\napplied. | Mode Change | 16";

/// A host shows the settings dialog of the product, and a user works with it.
class SettingsDialogTest : public SettingsTest {
 protected:
  void OpenOn(UINT mode) {
    Open();
    ASSERT_TRUE(selectMode(handle, mode));
    interposition.ClearCalls();
  }
  BOOL Show() { return showSettingsDialog(handle, hostWindow); }
  /// A step of the user, once the dialog stands and can be reached.
  void Then(std::function<void()> act) {
    robot.Then(
        "settings dialog",
        [] {
          const HWND frame = Frame();
          return ::IsWindowEnabled(frame) != FALSE ? frame : nullptr;
        },
        [act = std::move(act)](HWND) { act(); });
  }
  static void Press(int button) { Click(Frame(), button); }
  void ThenPress(int button) {
    Then([button] { Press(button); });
  }
  void ThenDismissBox() {
    robot.Then("message box", DialogRobot::AnyMessageBox(), DialogRobot::Dismiss);
  }
  /// Switches a mode without asking the user.
  void Switch(UINT mode, INT32 status) {
    ASSERT_TRUE(selectMode(handle, mode));
    ASSERT_TRUE(Request(status));
    ASSERT_EQ(WaitForResult(), VELTO_MODE_CHANGE_COMPLETED);
    interposition.ClearCalls();
    log.clear();
    for (const wchar_t* item : {L"Lamp", L"Fan"}) Engine(item).requested.clear();
  }
  [[nodiscard]] std::wstring Normal(const wchar_t* item) const {
    const auto file = sandbox.DataFile(L"ModeChange.Status.ini");
    return sandbox.IniValue(file, L"NormalEnvironment", item).value_or(L"none");
  }
};

// --- How it ends ---------------------------------------------------------------------------------

TEST_F(SettingsDialogTest, ClosingIsASuccess) {
  OpenOn(kQuiet);
  ThenPress(IDC_CANCEL_BUTTON);
  EXPECT_TRUE(Show());
  EXPECT_THAT(ModalTemplates(), ElementsAre(101));
  ThenPress(IDC_OK_BUTTON);
  EXPECT_TRUE(Show());
  EXPECT_EQ(Saved(L"Quiet", L"AutoONOFF"), L"0");
}

TEST_F(SettingsDialogTest, SavingThatFailedIsASuccessThatIsTraced) {
  OpenOn(kQuiet);
  Then([this] {
    interposition.Fail("WritePrivateProfileStringW", {.onwards = true});
    Press(IDC_OK_BUTTON);
  });
  ThenDismissBox();
  EXPECT_TRUE(Show());
  const Traces launch = TakeTracesOf(L"CModeChange::");
  EXPECT_EQ(launch, (Traces{{L"CModeChange::ShowSettingsDialog", 457}}));
}

TEST_F(SettingsDialogTest, AnyOtherCodeIsAFailure) {
  OpenOn(kQuiet);
  for (const WPARAM code : std::initializer_list<WPARAM>{12, 100, 0, 4711}) {
    Then([code] { ::PostMessageW(Frame(), WM_APP + 1001, code, 0); });
    ThenDismissBox();
    EXPECT_FALSE(Show());
    ExpectTraces({{L"CModeChange::ShowSettingsDialog", 468, std::to_wstring(code)},
                  {L"VeltoModeChange_ShowSettingsDialog", 382}});
  }
}

TEST_F(SettingsDialogTest, ADialogThatNeverComesUpIsASuccess) {
  OpenOn(kQuiet);
  interposition.Fail("DialogBoxParamW", {});
  EXPECT_TRUE(Show());
  EXPECT_THAT(Boxes(), IsEmpty());
}

TEST_F(SettingsDialogTest, NeedsAHandle) {
  EXPECT_FALSE(showSettingsDialog(nullptr, hostWindow));
  ExpectTraces({{L"VeltoModeChange_ShowSettingsDialog", 373}});
}

TEST_F(SettingsDialogTest, WorksWithoutAParent) {
  OpenOn(kQuiet);
  Then([] {
    EXPECT_EQ(::GetWindow(Frame(), GW_OWNER), nullptr);
    Press(IDC_CANCEL_BUTTON);
  });
  EXPECT_TRUE(showSettingsDialog(handle, nullptr));
}

TEST_F(SettingsDialogTest, ItsParentIsOutOfReachMeanwhile) {
  ::ShowWindow(hostWindow, SW_SHOWNOACTIVATE);
  OpenOn(kQuiet);
  Then([this] {
    EXPECT_EQ(::GetWindow(Frame(), GW_OWNER), hostWindow);
    EXPECT_EQ(::IsWindowEnabled(hostWindow), FALSE);
    Press(IDC_CANCEL_BUTTON);
  });
  EXPECT_TRUE(Show());
  EXPECT_NE(::IsWindowEnabled(hostWindow), FALSE);
}

// --- Which mode it shows -------------------------------------------------------------------------

TEST_F(SettingsDialogTest, ShowsTheSelectedMode) {
  SetDefault(L"Eco", L"Lamp", 1);
  OpenOn(kEco);
  Then([] {
    EXPECT_EQ(ChosenMode(Area()), static_cast<int>(kEco));
    EXPECT_EQ(Shown(Line(L"Lamp")), L"bright");
    Press(IDC_CANCEL_BUTTON);
  });
  EXPECT_TRUE(Show());
}

TEST_F(SettingsDialogTest, ShowsTheFirstModeBeforeOneWasSelected) {
  Open();
  Then([] {
    EXPECT_EQ(ChosenMode(Area()), 0);
    Press(IDC_CANCEL_BUTTON);
  });
  EXPECT_TRUE(Show());
}

TEST_F(SettingsDialogTest, AModeThatIsGoneMeanwhileIsAnError) {
  OpenOn(kEco);
  WriteUsableModes({L"Quiet"});
  ThenDismissBox();
  EXPECT_FALSE(Show());
  ExpectTraces({{L"CModeSettingsArea::OnInitDialog", 205, L"Eco"},
                {L"CModeChange::ShowSettingsDialog", 468, L"100"},
                {L"VeltoModeChange_ShowSettingsDialog", 382}});
}

// --- Stories -------------------------------------------------------------------------------------

TEST_F(SettingsDialogTest, WhatTheUserChoseIsWhatTheModeDoes) {
  OpenOn(kEco);
  Then([] {
    Choose(Line(L"Lamp"), 1);
    Click(Area(), IDC_SHOW_ANNOUNCEMENT);
    PumpAll();
    Press(IDC_APPLY_BUTTON);
    EXPECT_FALSE(CanApply());
    ChooseMode(Area(), kDock);
    Click(Area(), IDC_AUTO_ON_OFF);
    Press(IDC_OK_BUTTON);
  });
  EXPECT_TRUE(Show());
  EXPECT_EQ(GetNumber(VELTO_MODE_INT32_SETTINGS_CHANGED), 1);
  EXPECT_EQ(GetNumber(VELTO_MODE_INT32_AUTO_ON_OFF), 0);
  ASSERT_TRUE(selectMode(handle, kDock));
  EXPECT_EQ(GetNumber(VELTO_MODE_INT32_AUTO_ON_OFF), 1);
  ASSERT_TRUE(selectMode(handle, kQuiet));
  EXPECT_EQ(GetNumber(VELTO_MODE_INT32_SETTINGS_CHANGED), 0);

  // The next change is announced, as the user wished, and sets what the user chose.
  robot.Then("announcement", DialogRobot::DialogWith(IDC_ANNOUNCE_DETAIL),
             [](HWND dialog) { Click(dialog, IDC_OK_BUTTON); });
  ASSERT_TRUE(selectMode(handle, kEco));
  ASSERT_TRUE(Request(1));
  EXPECT_EQ(WaitForResult(), VELTO_MODE_CHANGE_COMPLETED);
  EXPECT_EQ(Engine(L"Lamp").current, 1);
}

TEST_F(SettingsDialogTest, DevicesFollowTheModeThatIsOn) {
  SetDefault(L"Eco", L"Lamp", 1);
  Open();
  Switch(kEco, 1);
  ASSERT_EQ(Engine(L"Lamp").current, 1);
  Then([] {
    EXPECT_EQ(Shown(Line(L"Lamp")), L"bright");
    Click(Line(L"Lamp"), IDC_SETTING_ITEM);
    Choose(Line(L"Fan"), 1);
    PumpAll();
    Press(IDC_OK_BUTTON);
  });
  EXPECT_TRUE(Show());
  EXPECT_THAT(ModalTemplates(), ElementsAre(101, 106, 106));
  // Off: the lamp is as before the mode. On: only the fan changes.
  EXPECT_THAT(Engine(L"Lamp").requested, ElementsAre(0));
  EXPECT_THAT(Engine(L"Fan").requested, ElementsAre(1));
  EXPECT_EQ(Normal(L"Lamp"), L"-1");
  EXPECT_EQ(Normal(L"Fan"), L"0");
  EXPECT_EQ(GetNumber(VELTO_MODE_INT32_CURRENT_STATUS), 1);

  Switch(kEco, 0);
  EXPECT_EQ(Engine(L"Lamp").current, 0);
  EXPECT_EQ(Engine(L"Fan").current, 0);
}

TEST_F(SettingsDialogTest, AModeThatIsOffAsksNoDevice) {
  OpenOn(kEco);
  Then([] {
    Choose(Line(L"Lamp"), 1);
    Press(IDC_OK_BUTTON);
  });
  EXPECT_TRUE(Show());
  EXPECT_THAT(ModalTemplates(), ElementsAre(101));
  EXPECT_THAT(Engine(L"Lamp").requested, IsEmpty());
}

TEST_F(SettingsDialogTest, AnEngineThatFailsWhenTheModeIsLeft) {
  SetDefault(L"Eco", L"Lamp", 1);
  Open();
  Switch(kEco, 1);
  Engine(L"Lamp").result = 3;
  Then([] {
    Choose(Line(L"Fan"), 1);
    Press(IDC_OK_BUTTON);
  });
  ThenDismissBox();
  EXPECT_FALSE(Show());
  EXPECT_THAT(Boxes(), ElementsAre(kUpdatingError));
  EXPECT_THAT(ModalTemplates(), ElementsAre(101, 106));
  EXPECT_EQ(Saved(L"Eco", L"Fan"), L"none") << "Nothing was saved.";
  EXPECT_EQ(Status(L"Eco"), L"1");
  EXPECT_EQ(traces.Take(),
            (Traces{{L"ChangeModeWindow::`anonymous-namespace'::OnCompletionNotice", 469, L"0, 3"},
                    {L"CUpdatePcEnvironmentDialog::OnCompletionNotice", 140, L"Eco, 0"},
                    {L"CModeSettingsArea::SaveSettings", 99, L"Eco"},
                    {L"CModeSettingsArea::SaveSettings", 101, L"12"},
                    {L"CModeChange::ShowSettingsDialog", 468, L"12"},
                    {L"VeltoModeChange_ShowSettingsDialog", 382}}));
}

TEST_F(SettingsDialogTest, AnEngineThatFailsWhenTheModeIsEnteredAgain) {
  Open();
  Switch(kEco, 1);
  Engine(L"Lamp").result = 2;
  Then([] {
    Choose(Line(L"Lamp"), 1);
    Press(IDC_OK_BUTTON);
  });
  ThenDismissBox();
  EXPECT_FALSE(Show());
  EXPECT_THAT(Boxes(), ElementsAre(kUpdatingError));
  EXPECT_THAT(ModalTemplates(), ElementsAre(101, 106, 106));
  EXPECT_EQ(Saved(L"Eco", L"Lamp"), L"1") << "The settings are saved.";
  EXPECT_EQ(Status(L"Eco"), L"0");
  EXPECT_EQ(traces.Take(),
            (Traces{{L"ChangeModeWindow::`anonymous-namespace'::OnCompletionNotice", 469, L"0, 2"},
                    {L"CUpdatePcEnvironmentDialog::OnCompletionNotice", 140, L"Eco, 1"},
                    {L"CModeSettingsArea::SaveSettings", 159, L"Eco"},
                    {L"CModeSettingsArea::SaveSettings", 161, L"12"},
                    {L"CModeChange::ShowSettingsDialog", 468, L"12"},
                    {L"VeltoModeChange_ShowSettingsDialog", 382}}));
}

TEST_F(SettingsDialogTest, AnApplyThatFailedAndThenOK) {
  Open();
  Switch(kEco, 1);
  Engine(L"Lamp").result = 0;
  Then([] {
    Choose(Line(L"Lamp"), 1);
    PumpAll();
    Press(IDC_APPLY_BUTTON);
  });
  ThenDismissBox();
  Then([this] {
    EXPECT_TRUE(CanApply());
    Engine(L"Lamp").result = 1;
    Press(IDC_OK_BUTTON);
  });
  EXPECT_TRUE(Show());
  // The mode was left by the first save, so the second one asks no device.
  EXPECT_THAT(ModalTemplates(), ElementsAre(101, 106, 106));
  EXPECT_EQ(Saved(L"Eco", L"Lamp"), L"1");
  static_cast<void>(traces.Take());
}

TEST_F(SettingsDialogTest, CancelAfterApplyKeepsWhatWasApplied) {
  OpenOn(kEco);
  Then([] {
    Choose(Line(L"Lamp"), 1);
    PumpAll();
    Press(IDC_APPLY_BUTTON);
    Choose(Line(L"Lamp"), 0);
    Press(IDC_CANCEL_BUTTON);
  });
  EXPECT_TRUE(Show());
  EXPECT_EQ(Saved(L"Eco", L"Lamp"), L"1");
}

TEST_F(SettingsDialogTest, RestoredDefaultsKeepTheUserInTheModeUntilTheyAreSaved) {
  SetDefault(L"Eco", L"Lamp", 1);
  SetSaved(L"Eco", L"Lamp", 0);
  OpenOn(kEco);
  Then([] {
    Click(Area(), IDC_RESTORE_DEFAULTS_BUTTON);
    PumpAll();
    EXPECT_TRUE(CanApply());
    ChooseMode(Area(), kQuiet);
  });
  ThenDismissBox();
  Then([this] {
    EXPECT_EQ(ChosenMode(Area()), static_cast<int>(kEco));
    EXPECT_EQ(Shown(Line(L"Lamp")), L"bright");
    EXPECT_EQ(Saved(L"Eco", L"Lamp"), L"0");
    Press(IDC_APPLY_BUTTON);
    ChooseMode(Area(), kQuiet);
    EXPECT_EQ(ChosenMode(Area()), static_cast<int>(kQuiet));
    Press(IDC_CANCEL_BUTTON);
  });
  EXPECT_TRUE(Show());
  EXPECT_EQ(Saved(L"Eco", L"Lamp"), L"1");
}

TEST_F(SettingsDialogTest, TheKeyboardAloneIsEnough) {
  OpenOn(kEco);
  // The next mode by an arrow key in the combo box, then its announcement by Space, then OK.
  robot.Then("keyboard", HasKeyboard,
             [] { ::PostMessageW(::GetFocus(), WM_KEYDOWN, VK_DOWN, 0x01500001); });
  robot.Then(
      "next mode", [] { return ChosenMode(Area()) == static_cast<int>(kFlight) && HasKeyboard(); },
      [] {
        ::SendMessageW(Frame(), WM_NEXTDLGCTL, 1, FALSE);  // backwards, round the corner
        EXPECT_EQ(::GetDlgCtrlID(::GetFocus()), IDC_CANCEL_BUTTON) << "Apply is disabled.";
        for (int steps = 0; steps < 2; ++steps) ::SendMessageW(Frame(), WM_NEXTDLGCTL, 1, FALSE);
        EXPECT_EQ(::GetDlgCtrlID(::GetFocus()), IDC_SHOW_ANNOUNCEMENT);
        ::PostMessageW(::GetFocus(), WM_KEYDOWN, VK_SPACE, 0x00390001);
        ::PostMessageW(::GetFocus(), WM_KEYUP, VK_SPACE, static_cast<LPARAM>(0xC0390001));
      });
  robot.Then(
      "marked", [] { return CanApply() && HasKeyboard(); },
      [] {
        EXPECT_TRUE(IsChecked(Area(), IDC_SHOW_ANNOUNCEMENT));
        ::SendMessageW(Frame(), WM_NEXTDLGCTL, 0, FALSE);
        EXPECT_EQ(::GetDlgCtrlID(::GetFocus()), IDC_OK_BUTTON);
        ::PostMessageW(::GetFocus(), WM_KEYDOWN, VK_SPACE, 0x00390001);
        ::PostMessageW(::GetFocus(), WM_KEYUP, VK_SPACE, static_cast<LPARAM>(0xC0390001));
      });
  EXPECT_TRUE(Show());
  EXPECT_EQ(Saved(L"Common", L"ShowAnnounceModeIsChangedDialog"), L"1");
  EXPECT_EQ(Saved(L"Flight", L"AutoONOFF"), L"0");
  EXPECT_EQ(Saved(L"Eco", L"AutoONOFF"), L"none");
}

// --- What it takes and gives back ----------------------------------------------------------------

TEST_F(SettingsDialogTest, GivesEverythingBack) {
  OpenOn(kDock);
  std::vector<std::uint64_t> windows;
  for (int round = 0; round < 5; ++round) {
    interposition.ClearCalls();
    Then([] {
      Choose(Line(L"Lamp"), 1);
      ChooseMode(Area(), kEco);
    });
    ThenDismissBox();
    ThenPress(IDC_CANCEL_BUTTON);
    EXPECT_TRUE(Show());
    PumpAll();
    EXPECT_THAT(handles.Held(), IsEmpty());
    EXPECT_EQ(traces.OpenRegistrations(), 0U + 1U) << "Only the handle's own.";
    EXPECT_EQ(interposition.Count("malloc"), interposition.Count("free"));
    EXPECT_EQ(interposition.Count("CreateSolidBrush") + interposition.Count("CreateFontIndirectW"),
              interposition.Count("DeleteObject"));
    EXPECT_EQ(interposition.Count("LoadLibraryW"), interposition.Count("FreeLibrary"));
    EXPECT_EQ(Engine(L"Lamp").openHandles, 0);
    EXPECT_EQ(Frame(), nullptr);
    windows.push_back(interposition.Count("CreateDialogParamW"));
  }
  // The area, its list, the group's title and two lines.
  EXPECT_THAT(windows, ::testing::Each(5U));
}

}  // namespace
