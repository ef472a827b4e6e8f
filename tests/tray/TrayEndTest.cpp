#include "tray/TrayFixture.h"

namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

/// How the program ends: it must not leave a change half done, nor do one twice.
class TrayEndFocusTest : public TrayTest {
 protected:
  void BeginToSwitch() {
    SetDefault(L"Eco", L"Lamp", 1);
    SetDefault(L"Eco", L"Fan", 1);
    Engine(L"Lamp").completion = ScriptedEngine::Completion::kByTest;
    ChooseFromMenu(L"4");
    ASSERT_TRUE(PumpUntil([this] { return Engine(L"Lamp").requested.size() == 1; }));
  }
  /// A step: the device answers, once the user has chosen Exit.
  void ThenComplete() {
    robot.Then(
        "the end of the menu", [] { return FindMenu() == nullptr; },
        [this] { Engine(L"Lamp").Complete(); });
  }
  void ExpectDoneOnce() {
    EXPECT_THAT(Engine(L"Lamp").requested, ElementsAre(1));
    EXPECT_THAT(Engine(L"Fan").requested, ElementsAre(1));
    EXPECT_EQ(Status(L"Eco"), L"1");
  }
};

}  // namespace

TEST_F(TrayEndFocusTest, ExitsAtOnceWhenNothingRuns) {
  Start();
  ThenExit();
  Run();
  application.reset();
  EXPECT_FALSE(icon.isThere);
}

TEST_F(TrayEndFocusTest, ExitWaitsForTheChange) {
  Start();
  BeginToSwitch();
  ThenExit();
  ThenComplete();
  Run();
  ExpectDoneOnce();
}

TEST_F(TrayEndFocusTest, ExitIsOfferedOnceOnly) {
  Start();
  BeginToSwitch();
  ChooseFromMenu(L"x");
  EXPECT_TRUE(icon.isThere);
  EXPECT_EQ(ReadMenu().back(), L"( ) E&xit");
  robot.Then(
      "completion", [] { return true; }, [this] { Engine(L"Lamp").Complete(); });
  Run();
  ExpectDoneOnce();
}

TEST_F(TrayEndFocusTest, ExitTellsThatTheChangeFailed) {
  Start();
  BeginToSwitch();
  Engine(L"Lamp").result = 0;
  ThenExit();
  ThenComplete();
  Run();
  EXPECT_THAT(boxes, ElementsAre(L"Eco mode could not be turned on. Settings that were changed by "
                                 L"then keep their new values. | Mode Change | 48"));
  boxes.clear();
  EXPECT_FALSE(traces.Take().empty());
}

TEST_F(TrayEndFocusTest, ExitGivesUpADeviceThatDoesNotAnswer) {
  Start();
  BeginToSwitch();
  ThenExit();
  robot.Then(
      "the end of the menu", [] { return FindMenu() == nullptr; },
      [this] { ::PostMessageW(icon.window, WM_TIMER, 1, 0); });
  Run();
  EXPECT_THAT(boxes, ElementsAre(L"Eco mode: a device does not answer, and the change was given "
                                 L"up. Restart the computer if this happens again. | Mode Change "
                                 L"| 48"));
  boxes.clear();
}

TEST_F(TrayEndFocusTest, EndsWhenTheLibraryCanNotBeOpenedAgain) {
  Start();
  BeginToSwitch();
  sandbox.Remove(L"ModeChange.UsableModeList.ini");
  ::PostMessageW(icon.window, WM_TIMER, 1, 0);
  Run();
  EXPECT_THAT(boxes, ElementsAre(L"The modes of this computer can't be read. Files are missing or "
                                 L"damaged in this folder:\n" +
                                 sandbox.LibraryFolder().wstring() +
                                 L"\n\nInstall the program again. | Mode Change | 16"));
  boxes.clear();
  EXPECT_FALSE(traces.Take().empty());
}

TEST_F(TrayEndFocusTest, ClosingWaitsForTheChange) {
  Start();
  BeginToSwitch();
  ::PostMessageW(icon.window, WM_CLOSE, 0, 0);
  ThenComplete();
  Run();
  ExpectDoneOnce();
}

TEST_F(TrayEndFocusTest, ClosingCancelsAConfirmation) {
  WriteDefaults(true);
  SetDefault(L"Eco", L"Lamp", 1);
  Start();
  ThenPressInMenu(L"4");
  robot.Then("confirmation", DialogRobot::DialogWith(IDC_ANNOUNCE_DETAIL),
             [this](HWND) { ::PostMessageW(icon.window, WM_CLOSE, 0, 0); });
  ClickIcon();
  Run();
  application.reset();
  EXPECT_EQ(DialogRobot::FindDialogWith(IDC_ANNOUNCE_DETAIL), nullptr);
  EXPECT_THAT(Engine(L"Lamp").requested, IsEmpty());
}

TEST_F(TrayEndFocusTest, ClosingClosesTheMenu) {
  Start();
  robot.Then(
      "the menu", [] { return FindMenu() != nullptr; },
      [this] { ::PostMessageW(icon.window, WM_CLOSE, 0, 0); });
  ClickIcon();
  Run();
  EXPECT_EQ(FindMenu(), nullptr);
}

TEST_F(TrayEndFocusTest, SessionMayEndWhenNothingRuns) {
  Start();
  EXPECT_NE(::SendMessageW(icon.window, WM_QUERYENDSESSION, 0, 0), FALSE);
  ::SendMessageW(icon.window, WM_ENDSESSION, TRUE, 0);
  Run();
}

TEST_F(TrayEndFocusTest, SessionHasToWaitForAChangeAndIsToldWhy) {
  Start();
  tray.ClearCalls();
  BeginToSwitch();
  const std::vector<Call> reasons = tray.CallsOf("ShutdownBlockReasonCreate");
  ASSERT_EQ(reasons.size(), 1U);
  EXPECT_EQ(reasons[0].arguments.at(0), reinterpret_cast<std::uint64_t>(icon.window));
  EXPECT_EQ(::SendMessageW(icon.window, WM_QUERYENDSESSION, 0, 0), FALSE);
  robot.Then(
      "completion", [] { return true; }, [this] { Engine(L"Lamp").Complete(); });
  Run();
  EXPECT_EQ(tray.Count("ShutdownBlockReasonDestroy"), 1U);
  ExpectDoneOnce();
}

TEST_F(TrayEndFocusTest, GoesOnWhenTheSessionDoesNotEndAfterAll) {
  Start();
  BeginToSwitch();
  EXPECT_EQ(::SendMessageW(icon.window, WM_QUERYENDSESSION, 0, 0), FALSE);
  ::SendMessageW(icon.window, WM_ENDSESSION, FALSE, 0);
  Engine(L"Lamp").Complete();
  ASSERT_TRUE(WaitForBalloons(1));
  EXPECT_EQ(TakeBalloon(), L"Eco mode | Eco mode is now on. | 1");
  ExpectDoneOnce();
}

TEST_F(TrayEndFocusTest, CompletesTheChangeInASessionThatEndsAnyway) {
  Start();
  BeginToSwitch();
  robot.Then(
      "completion", [] { return true; }, [this] { Engine(L"Lamp").Complete(); });
  ::SendMessageW(icon.window, WM_ENDSESSION, TRUE, 0);
  ExpectDoneOnce();
  Run();
}
