#include "tray/TrayFixture.h"

namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

/// The suites have the screen for themselves: menus take the mouse and the keyboard.
class TrayFocusTest : public TrayTest {
 protected:
  TrayFocusTest() {
    SetIconKey(0, L"IconModeOff");
    SetIconKey(1, L"IconModeOn");
  }
  /// Switches a mode whose engine the test ends.
  void BeginToSwitch(const std::wstring& key) {
    SetDefault(L"Eco", L"Lamp", 1);
    Engine(L"Lamp").completion = ScriptedEngine::Completion::kByTest;
    ChooseFromMenu(key);
    ASSERT_TRUE(PumpUntil([this] { return Engine(L"Lamp").requested.size() == 1; }));
  }
};

constexpr const wchar_t* kPartly = L" Settings that were changed by then keep their new values. | ";

}  // namespace

// --- The icon ------------------------------------------------------------------------------------

TEST_F(TrayFocusTest, ShowsThatNoModeIsOn) {
  Start();
  EXPECT_TRUE(icon.isThere);
  EXPECT_EQ(icon.version, UINT{NOTIFYICON_VERSION_4});
  EXPECT_EQ(icon.tip, L"No mode is on");
  EXPECT_EQ(icon.picture, Picture(L"IconModeOff"));
  EXPECT_FALSE(icon.picture.empty());
}

TEST_F(TrayFocusTest, ShowsTheModeThatIsOn) {
  for (const auto& [mode, picture] :
       {std::pair(L"Quiet", L"IconModeOn"), std::pair(L"Dock", L"IconModeOn_Cradle"),
        std::pair(L"Own", L"IconModeOn_Custom"), std::pair(L"Eco", L"IconModeOn_Eco"),
        std::pair(L"Flight", L"IconModeOn_WirelessOff")}) {
    SetStatus(mode, 1);
    Start();
    EXPECT_EQ(icon.picture, Picture(picture));
    EXPECT_NE(icon.picture, Picture(L"IconModeOff"));
    application.reset();
    SetStatus(mode, 0);
  }
}

TEST_F(TrayFocusTest, HasAPictureForKeysThatItDoesNotKnow) {
  SetIconKey(0, L"MakersOwn");
  Start();
  EXPECT_EQ(icon.picture, Picture(L"Modetray"));
}

TEST_F(TrayFocusTest, FollowsAModeThatAnotherProgramSwitches) {
  Start();
  SetStatus(L"Eco", 1);
  EXPECT_TRUE(PumpUntil([this] { return icon.tip == L"Eco mode: On"; }));
  EXPECT_EQ(icon.picture, Picture(L"IconModeOn_Eco"));
}

TEST_F(TrayFocusTest, IsAddedToANewTaskbar) {
  SetStatus(L"Eco", 1);
  Start();
  icon.isThere = false;
  icon.version = 0;
  TellTaskbarCreated();
  EXPECT_EQ(icon.timesAdded, 2);
  EXPECT_EQ(icon.version, UINT{NOTIFYICON_VERSION_4});
  EXPECT_EQ(icon.tip, L"Eco mode: On");
}

TEST_F(TrayFocusTest, IsKeptByATaskbarThatKnowsIt) {
  Start();
  TellTaskbarCreated();
  EXPECT_TRUE(icon.isThere);
  EXPECT_EQ(icon.timesAdded, 1);
}

TEST_F(TrayFocusTest, WaitsForATaskbarThatIsNotThereYet) {
  taskbarAnswers = false;
  Start();
  EXPECT_FALSE(icon.isThere);
  taskbarAnswers = true;
  TellTaskbarCreated();
  EXPECT_TRUE(icon.isThere);
  EXPECT_EQ(icon.tip, L"No mode is on");
}

TEST_F(TrayFocusTest, CutsTextsThatAreTooLongForTheTaskbar) {
  // The picture of a leaf is two units, the second of which would be one too many.
  SetText(L"Mode", L"Eco", std::wstring(126, L'M') + L"\xD83C\xDF43");
  Start();
  SwitchInMenu(L"4");
  EXPECT_EQ(icon.tip, std::wstring(126, L'M'));
  EXPECT_EQ(TakeBalloon(), std::wstring(63, L'M') + L" | " + std::wstring(126, L'M') +
                               L"\xD83C\xDF43 is now on. | 1");
}

// --- The menu ------------------------------------------------------------------------------------

TEST_F(TrayFocusTest, MenuListsTheModesAndTheirSettings) {
  SetStatus(L"Eco", 1);
  SetText(L"Mode", L"Own", L"Yours & mine");
  Start();
  EXPECT_THAT(
      ReadMenu(),
      ElementsAre(L"[ ] &1 Normal mode", L"[ ] &2 Cradle mode", L"[ ] &3 Yours && mine",
                  L"[x] &4 Eco mode", L"[ ] &5 Flight mode", L"-", L"[ ] &Settings",
                  L"> [ ] &1 Normal mode…", L"> [ ] &2 Cradle mode…", L"> [ ] &3 Yours && mine…",
                  L"> [ ] &4 Eco mode…", L"> [ ] &5 Flight mode…", L"-", L"[ ] E&xit"));
}

TEST_F(TrayFocusTest, MenuReadsTheStatusesAnew) {
  Start();
  EXPECT_EQ(ReadMenu().at(3), L"[ ] &4 Eco mode");
  SetStatus(L"Eco", 1);
  EXPECT_EQ(ReadMenu().at(3), L"[x] &4 Eco mode");
  EXPECT_EQ(icon.tip, L"Eco mode: On");
}

TEST_F(TrayFocusTest, MenuOpensForEachWayToAskForIt) {
  Start();
  for (const UINT event : std::initializer_list<UINT>{NIN_SELECT, NIN_KEYSELECT, WM_CONTEXTMENU}) {
    ThenPressInMenu(L"E");
    ClickIcon(event);
    EXPECT_TRUE(PumpUntil([this] { return robot.Left() == 0 && FindMenu() == nullptr; }));
  }
}

TEST_F(TrayFocusTest, MenuDoesNotOpenForOtherEvents) {
  Start();
  for (const UINT event :
       std::initializer_list<UINT>{WM_MOUSEMOVE, WM_LBUTTONDOWN, WM_LBUTTONUP, WM_RBUTTONUP,
                                   NIN_BALLOONSHOW, NIN_BALLOONUSERCLICK, NIN_POPUPOPEN}) {
    ClickIcon(event);
    PumpAll();
    EXPECT_EQ(tray.Count("TrackPopupMenuEx"), 0U) << event;
  }
}

TEST_F(TrayFocusTest, MenuOpensOnceForAKeyThatComesTwice) {
  Start();
  robot.Then(
      "the menu", [] { return FindMenu() != nullptr; },
      [this] {
        ClickIcon(NIN_KEYSELECT);
        ::PostMessageW(icon.window, WM_KEYDOWN, VK_ESCAPE, 0);
      });
  ClickIcon(NIN_KEYSELECT);
  EXPECT_TRUE(PumpUntil([this] { return robot.Left() == 0 && FindMenu() == nullptr; }));
  PumpAll();
  EXPECT_EQ(tray.Count("TrackPopupMenuEx"), 1U);
}

TEST_F(TrayFocusTest, MenuThatIsLeftChangesNothing) {
  SetDefault(L"Eco", L"Lamp", 1);
  Start();
  ChooseFromMenu(L"E");
  PumpAll();
  EXPECT_THAT(Engine(L"Lamp").requested, IsEmpty());
  EXPECT_EQ(icon.tip, L"No mode is on");
}

TEST_F(TrayFocusTest, MenuOpensAtTheIconWhenTheProgramIsStartedAgain) {
  Start();
  tray.ClearCalls();
  ThenPressInMenu(L"E");
  ASSERT_TRUE(TrayWindow::TellFirstInstance());
  EXPECT_TRUE(PumpUntil([this] { return robot.Left() == 0 && FindMenu() == nullptr; }));
  const std::vector<Call> calls = tray.CallsOf("TrackPopupMenuEx");
  ASSERT_EQ(calls.size(), 1U);
  EXPECT_EQ(static_cast<int>(calls[0].arguments.at(2)), 48);
  EXPECT_EQ(static_cast<int>(calls[0].arguments.at(3)), 68);
}

// --- Switching -----------------------------------------------------------------------------------

TEST_F(TrayFocusTest, SwitchesAModeOnAndOff) {
  SetDefault(L"Eco", L"Lamp", 1);
  Start();
  SwitchInMenu(L"4");
  EXPECT_EQ(TakeBalloon(), L"Eco mode | Eco mode is now on. | 1");
  EXPECT_THAT(Engine(L"Lamp").requested, ElementsAre(1));
  EXPECT_EQ(Status(L"Eco"), L"1");
  EXPECT_EQ(icon.tip, L"Eco mode: On");
  EXPECT_EQ(icon.picture, Picture(L"IconModeOn_Eco"));

  SwitchInMenu(L"4");
  EXPECT_EQ(TakeBalloon(), L"Eco mode | Eco mode is now off. | 1");
  EXPECT_THAT(Engine(L"Lamp").requested, ElementsAre(1, 0));
  EXPECT_EQ(Status(L"Eco"), L"0");
  EXPECT_EQ(icon.tip, L"No mode is on");
}

TEST_F(TrayFocusTest, SwitchesOverFromAnotherMode) {
  SetStatus(L"Quiet", 1);
  Start();
  SwitchInMenu(L"2");
  EXPECT_EQ(TakeBalloon(), L"Cradle mode | Cradle mode is now on. | 1");
  EXPECT_EQ(Status(L"Quiet"), L"0");
  EXPECT_EQ(icon.picture, Picture(L"IconModeOn_Cradle"));
}

TEST_F(TrayFocusTest, LetsTheUserConfirm) {
  WriteDefaults(true);
  Start();
  ThenPressInMenu(L"4");
  robot.Then("confirmation", DialogRobot::DialogWith(IDC_ANNOUNCE_DETAIL), [this](HWND dialog) {
    EXPECT_EQ(::GetWindow(dialog, GW_OWNER), icon.window);
    Click(dialog, IDC_OK_BUTTON);
  });
  ClickIcon();
  ASSERT_TRUE(WaitForBalloons(1));
  EXPECT_EQ(TakeBalloon(), L"Eco mode | Eco mode is now on. | 1");
}

TEST_F(TrayFocusTest, TellsThatTheUserCancelled) {
  WriteDefaults(true);
  SetDefault(L"Eco", L"Lamp", 1);
  Start();
  ThenPressInMenu(L"4");
  robot.Then("confirmation", DialogRobot::DialogWith(IDC_ANNOUNCE_DETAIL),
             [](HWND dialog) { Click(dialog, IDC_CANCEL_BUTTON); });
  ClickIcon();
  ASSERT_TRUE(WaitForBalloons(1));
  EXPECT_EQ(TakeBalloon(), L"Eco mode | Nothing was changed. | 1");
  EXPECT_THAT(Engine(L"Lamp").requested, IsEmpty());
  EXPECT_EQ(icon.tip, L"No mode is on");
}

TEST_F(TrayFocusTest, ShowsTheConfirmationAgainOnAClickWhileItWaits) {
  WriteDefaults(true);
  Start();
  ThenPressInMenu(L"4");
  robot.Then("confirmation", DialogRobot::DialogWith(IDC_ANNOUNCE_DETAIL), [this](HWND) {
    tray.ClearCalls();
    ClickIcon();
  });
  robot.Then(
      "the click", [this] { return tray.Count("SetForegroundWindow") == 1; },
      [this] {
        HWND dialog = DialogRobot::FindDialogWith(IDC_ANNOUNCE_DETAIL);
        EXPECT_EQ(tray.CallsOf("SetForegroundWindow").at(0).arguments.at(0),
                  reinterpret_cast<std::uint64_t>(dialog));
        EXPECT_EQ(tray.Count("TrackPopupMenuEx"), 0U);
        Click(dialog, IDC_CANCEL_BUTTON);
      });
  ClickIcon();
  ASSERT_TRUE(WaitForBalloons(1));
  EXPECT_EQ(TakeBalloon(), L"Eco mode | Nothing was changed. | 1");
}

TEST_F(TrayFocusTest, TellsThatADeviceFailed) {
  SetDefault(L"Eco", L"Lamp", 1);
  Engine(L"Lamp").result = 0;
  Start();
  SwitchInMenu(L"4");
  EXPECT_EQ(TakeBalloon(),
            std::wstring(L"Eco mode | Eco mode could not be turned on.") + kPartly + L"3");
  EXPECT_EQ(icon.tip, L"No mode is on");
  EXPECT_FALSE(traces.Take().empty());
}

TEST_F(TrayFocusTest, TellsAnEnginesOwnResults) {
  SetDefault(L"Eco", L"Lamp", 1);
  Start();
  for (const int result : {2, 3}) {
    Engine(L"Lamp").result = static_cast<WPARAM>(result);
    SwitchInMenu(L"4");
    EXPECT_EQ(TakeBalloon(),
              L"Eco mode | Eco mode could not be turned on: a device stopped the change (result " +
                  std::to_wstring(result) + L")." + kPartly + L"2");
  }
  EXPECT_FALSE(traces.Take().empty());
}

TEST_F(TrayFocusTest, SaysWhatItDoesWhileAChangeRuns) {
  Start();
  BeginToSwitch(L"4");
  EXPECT_EQ(icon.tip, L"Turning on: Eco mode…");
  EXPECT_THAT(
      ReadMenu(),
      ElementsAre(L"( ) &1 Normal mode", L"( ) &2 Cradle mode", L"( ) &3 Custom mode",
                  L"( ) &4 Eco mode", L"( ) &5 Flight mode", L"-", L"( ) &Settings",
                  L"> [ ] &1 Normal mode…", L"> [ ] &2 Cradle mode…", L"> [ ] &3 Custom mode…",
                  L"> [ ] &4 Eco mode…", L"> [ ] &5 Flight mode…", L"-", L"[ ] E&xit"));
  EXPECT_EQ(icon.tip, L"Turning on: Eco mode…");
  Engine(L"Lamp").Complete();
  ASSERT_TRUE(WaitForBalloons(1));
  EXPECT_EQ(TakeBalloon(), L"Eco mode | Eco mode is now on. | 1");
  EXPECT_EQ(ReadMenu().at(3), L"[x] &4 Eco mode");
}

TEST_F(TrayFocusTest, DoesNotSwitchASecondModeWhileAChangeRuns) {
  Start();
  BeginToSwitch(L"4");
  // A greyed entry leaves the menu open.
  ChooseFromMenu(L"1E");
  Engine(L"Lamp").Complete();
  ASSERT_TRUE(WaitForBalloons(1));
  EXPECT_EQ(TakeBalloon(), L"Eco mode | Eco mode is now on. | 1");
  EXPECT_NE(Status(L"Quiet"), L"1");
  EXPECT_EQ(Status(L"Eco"), L"1");
}

TEST_F(TrayFocusTest, GivesUpADeviceThatDoesNotAnswer) {
  Start();
  BeginToSwitch(L"4");
  constexpr UINT_PTR kPatienceTimer = 1;
  ::SendMessageW(icon.window, WM_TIMER, kPatienceTimer, 0);
  EXPECT_EQ(TakeBalloon(),
            L"Eco mode | Eco mode: a device does not answer, and the change was given up. Restart "
            L"the computer if this happens again. | 3");
  EXPECT_EQ(icon.tip, L"No mode is on");

  // Too late.
  Engine(L"Lamp").Complete();
  PumpAll();
  EXPECT_THAT(icon.balloons, IsEmpty());

  Engine(L"Lamp").completion = ScriptedEngine::Completion::kAtOnce;
  SwitchInMenu(L"4");
  EXPECT_EQ(TakeBalloon(), L"Eco mode | Eco mode is now on. | 1");
}

TEST_F(TrayFocusTest, DoesNotTakeTheResultOfAnEarlierChange) {
  Start();
  SwitchInMenu(L"1");
  const std::vector<Call> timers = tray.CallsOf("SetTimer");
  EXPECT_EQ(TakeBalloon(), L"Normal mode | Normal mode is now on. | 1");
  EXPECT_EQ(timers.size(), 1U);
  BeginToSwitch(L"4");
  // The first change had the first message of those for results.
  ::SendMessageW(icon.window, WM_APP + 0x100, VELTO_MODE_CHANGE_FAILED, 0);
  EXPECT_THAT(icon.balloons, IsEmpty());
  Engine(L"Lamp").Complete();
  ASSERT_TRUE(WaitForBalloons(1));
  EXPECT_EQ(TakeBalloon(), L"Eco mode | Eco mode is now on. | 1");
}

// --- Settings ------------------------------------------------------------------------------------

TEST_F(TrayFocusTest, OpensTheSettingsOnTheChosenMode) {
  Start();
  for (const auto& choice : {std::pair(L"s2", kDock), std::pair(L"s5", kFlight)}) {
    const auto mode = choice.second;
    ThenPressInMenu(choice.first);
    robot.Then("settings", DialogRobot::DialogWith(IDC_APPLY_BUTTON), [this, mode](HWND dialog) {
      EXPECT_EQ(ChosenMode(AreaOf(dialog)), static_cast<int>(mode));
      EXPECT_EQ(::GetWindow(dialog, GW_OWNER), icon.window);
      Click(dialog, IDC_CANCEL_BUTTON);
    });
    ClickIcon();
    EXPECT_TRUE(PumpUntil([this] { return robot.Left() == 0 && Frame() == nullptr; }));
  }
}

TEST_F(TrayFocusTest, ShowsTheSettingsAgainOnAClickWhileTheyAreOpen) {
  Start();
  ThenPressInMenu(L"s4");
  robot.Then("settings", DialogRobot::DialogWith(IDC_APPLY_BUTTON), [this](HWND) {
    tray.ClearCalls();
    ClickIcon();
  });
  robot.Then(
      "the click", [this] { return tray.Count("SetForegroundWindow") == 1; },
      [this] {
        EXPECT_EQ(tray.CallsOf("SetForegroundWindow").at(0).arguments.at(0),
                  reinterpret_cast<std::uint64_t>(Frame()));
        EXPECT_EQ(tray.Count("TrackPopupMenuEx"), 0U);
        Click(Frame(), IDC_CANCEL_BUTTON);
      });
  ClickIcon();
  EXPECT_TRUE(PumpUntil([this] { return robot.Left() == 0 && Frame() == nullptr; }));
}

// --- What fails ----------------------------------------------------------------------------------

TEST_F(TrayFocusTest, SaysThatAChangeCanNotBegin) {
  Start();
  // Of what the library wants to know, only whether to ask the user can't be read.
  RemoveDefaults();
  for (const wchar_t* mode : {L"Quiet", L"Dock", L"Own", L"Eco", L"Flight"}) {
    SetSaved(mode, L"AutoONOFF", 0);
  }
  ChooseFromMenu(L"4");
  PumpAll();
  EXPECT_THAT(boxes,
              ElementsAre(L"The change could not be started. If this happens again, restart the "
                          L"computer, or install the program again. | Mode Change | 16"));
  boxes.clear();
  EXPECT_EQ(icon.tip, L"No mode is on");
  EXPECT_FALSE(traces.Take().empty());

  WriteDefaults();
  SwitchInMenu(L"4");
  EXPECT_EQ(TakeBalloon(), L"Eco mode | Eco mode is now on. | 1");
}

TEST_F(TrayFocusTest, SaysThatTheModesCanNotBeReadWhenTheUserWantsToSeeThem) {
  Start();
  RemoveDefaults();
  // Another program changes something: nobody asked this one.
  SetStatus(L"Eco", 1);
  EXPECT_TRUE(PumpUntil([this] { return !traces.Take().empty(); }));
  EXPECT_THAT(boxes, IsEmpty());
  ClickIcon();
  EXPECT_TRUE(PumpUntil([this] { return !boxes.empty(); }));
  EXPECT_THAT(boxes, ElementsAre(L"The modes can't be read at the moment. If this happens again, "
                                 L"install the program again. | Mode Change | 16"));
  boxes.clear();
  PumpAll();
  EXPECT_FALSE(traces.Take().empty());

  WriteDefaults();
  EXPECT_EQ(ReadMenu().at(3), L"[x] &4 Eco mode");
}

TEST_F(TrayFocusTest, SaysThatTheFolderCanNotBeMade) {
  Start();
  tray.Replace("GetFileAttributesW", [](const wchar_t*) { return INVALID_FILE_ATTRIBUTES; });
  tray.Replace("CreateDirectoryW", [](const wchar_t*, SECURITY_ATTRIBUTES*) -> BOOL {
    ::SetLastError(ERROR_ACCESS_DENIED);
    return FALSE;
  });
  ChooseFromMenu(L"4");
  PumpAll();
  const std::wstring folder = (sandbox.LibraryFolder() / L"ProgramData\\Brivane").wstring();
  EXPECT_THAT(boxes, ElementsAre(L"This folder can't be created:\n" + folder +
                                 L"\n\nAsk an administrator to start the program once. | "
                                 L"Mode Change | 16"));
  boxes.clear();
}

TEST_F(TrayFocusTest, ShowsOneBoxAtATime) {
  Start();
  RemoveDefaults();
  onBox = [this] {
    ClickIcon();
    PumpAll();
    EXPECT_EQ(FindMenu(), nullptr);
  };
  ClickIcon();
  EXPECT_TRUE(PumpUntil([this] { return !boxes.empty(); }));
  EXPECT_EQ(boxes.size(), 1U);
  boxes.clear();
  EXPECT_FALSE(traces.Take().empty());
}

TEST_F(TrayFocusTest, SaysThatMemoryRanOut) {
  Start();
  tray.Replace("CreatePopupMenu", []() -> HMENU { return nullptr; });
  ClickIcon();
  EXPECT_TRUE(PumpUntil([this] { return !boxes.empty(); }));
  EXPECT_THAT(boxes, ElementsAre(L"There is not enough memory. Close other programs, and then try "
                                 L"again. | Mode Change | 16"));
  boxes.clear();
}
