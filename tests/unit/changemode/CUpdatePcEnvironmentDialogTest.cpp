#include "changemode/CUpdatePcEnvironmentDialog.h"

#include <commctrl.h>

#include <new>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "changemode/ChangeModeMessages.h"
#include "changemode/ChangeModeRequest.h"
#include "system/SettingsFixture.h"

namespace {

using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::Not;

constexpr const wchar_t* kInit = L"CUpdatePcEnvironmentDialog::OnInitDialog";

/// A request as the dialog sent it.
struct SentRequest {
  ULONG_PTR id = 0;
  DWORD size = 0;
  HWND notifyWindow = nullptr;
  UINT notifyMessage = 0;
  std::wstring modeName;
  UINT modeStatus = 0;
};

/// Runs the real dialog, with the machine's real change-mode window and scripted engines.
class CUpdatePcEnvironmentDialogTest : public SettingsTest {
 protected:
  CUpdatePcEnvironmentDialogTest() {
    SetDefault(L"Eco", L"Lamp", 1);
    interposition.Observe("SendMessageW", [this](const Call& call) {
      if (call.arguments.at(1) != WM_COPYDATA) return;
      const auto* data = reinterpret_cast<const COPYDATASTRUCT*>(call.arguments.at(3));
      const auto* sent = static_cast<const ChangeModeRequest*>(data->lpData);
      requests.push_back({data->dwData, data->cbData, sent->notifyWindow, sent->notifyMessage,
                          sent->modeName, sent->modeStatus});
      requestedAt = ::GetTickCount64();
    });
    interposition.Observe("SetTimer", [this](const Call&) { timerSetAt = ::GetTickCount64(); });
  }

  std::int32_t Run(const wchar_t* mode = L"Eco", UINT status = 1) {
    return CUpdatePcEnvironmentDialog(mode, status).Run(hostWindow);
  }
  /// Runs the dialog; `act` is called once when it stands.
  std::int32_t RunAnd(DialogRobot::Act act) {
    robot.Then("progress", DialogRobot::DialogWith(IDC_PROGRESS_BAR), std::move(act));
    return Run();
  }
  void ExpectNothingLeft() {
    PumpAll();
    EXPECT_EQ(ChangeModeWindow(), nullptr);
    EXPECT_EQ(DialogRobot::FindDialogWith(IDC_PROGRESS_BAR), nullptr);
  }

  std::vector<SentRequest> requests;
  ULONGLONG requestedAt = 0;
  ULONGLONG timerSetAt = 0;
};

TEST_F(CUpdatePcEnvironmentDialogTest, TheControlsAreThoseOfTheTemplate) {
  RunAnd([](HWND dialog) {
    ExpectControls(
        dialog,
        {{IDC_PROGRESS_BAR, L"msctls_progress32", {7, 55, 329, 8}, PBS_MARQUEE | WS_VISIBLE},
         {IDC_PROGRESS_TEXT, L"Static", {42, 20, 294, 28}, WS_VISIBLE, SS_RIGHT},
         {IDC_PROGRESS_ICON, L"Static", {7, 16, kItsOwn, kItsOwn}, SS_ICON | WS_VISIBLE}});
    EXPECT_TRUE(HasStyle(dialog, WS_POPUP | WS_BORDER | DS_FIXEDSYS));
    EXPECT_FALSE(HasStyle(dialog, WS_CAPTION));
    EXPECT_FALSE(HasStyle(dialog, WS_SYSMENU));
    EXPECT_EQ(TextOf(dialog), L"");
    ExpectClientSize(dialog, 343, 88);
  });
}

TEST_F(CUpdatePcEnvironmentDialogTest, ShowsTextFontAndIcon) {
  RunAnd([](HWND dialog) {
    const HWND text = ::GetDlgItem(dialog, IDC_PROGRESS_TEXT);
    EXPECT_EQ(TextOf(text), L"Devices change.\r\nPlease wait.");
    EXPECT_EQ(FontSizeOf(text), 10);
    const LRESULT icon = ::SendDlgItemMessageW(dialog, IDC_PROGRESS_ICON, STM_GETICON, 0, 0);
    EXPECT_NE(icon, 0);
    EXPECT_EQ(::SendMessageW(dialog, WM_GETICON, ICON_BIG, 0), icon);
    EXPECT_EQ(::SendMessageW(dialog, WM_GETICON, ICON_SMALL, 0), icon);
  });
  EXPECT_THAT(interposition.CallsOf("LoadIconW"), ::testing::SizeIs(1));
  EXPECT_EQ(interposition.CallsOf("LoadIconW").front().arguments.at(1), 108U);
}

TEST_F(CUpdatePcEnvironmentDialogTest, DoesWithoutAnIcon) {
  interposition.Fail("LoadIconW", {});
  EXPECT_EQ(
      RunAnd([](HWND dialog) { EXPECT_EQ(::SendMessageW(dialog, WM_GETICON, ICON_BIG, 0), 0); }),
      10);
}

TEST_F(CUpdatePcEnvironmentDialogTest, TheMarqueeRuns) {
  std::vector<std::pair<std::uint64_t, std::uint64_t>> marquees;
  interposition.Observe("SendDlgItemMessageW", [&](const Call& call) {
    if (call.arguments.at(1) != IDC_PROGRESS_BAR) return;
    EXPECT_EQ(call.arguments.at(2), static_cast<std::uint64_t>(PBM_SETMARQUEE));
    marquees.emplace_back(call.arguments.at(3), call.arguments.at(4));
  });
  EXPECT_EQ(Run(), 10);
  EXPECT_THAT(marquees, ElementsAre(std::pair<std::uint64_t, std::uint64_t>(1, 100)));
}

TEST_F(CUpdatePcEnvironmentDialogTest, RegistersItsControlsFirst) {
  EXPECT_EQ(Run(), 10);
  EXPECT_THAT(registeredControls, ElementsAre(ICC_PROGRESS_CLASS));
  const std::vector<Call> calls = interposition.AllCalls();
  for (const Call& call : calls) {
    if (call.function == "DialogBoxParamW") FAIL() << "not registered before";
    if (call.function == "InitCommonControlsEx") break;
  }
}

TEST_F(CUpdatePcEnvironmentDialogTest, SwitchesTheMode) {
  SetDefault(L"Eco", L"Fan", 0);
  Engine(L"Fan").current = 1;
  HWND dialog = nullptr;
  EXPECT_EQ(RunAnd([&](HWND window) { dialog = window; }), 10);
  EXPECT_EQ(Engine(L"Lamp").current, 1);
  EXPECT_EQ(Engine(L"Fan").current, 0);
  EXPECT_EQ(Status(L"Eco"), L"1");
  ASSERT_EQ(requests.size(), 1U);
  EXPECT_EQ(requests[0].id, 1U);
  EXPECT_EQ(requests[0].size, 32U);
  EXPECT_EQ(requests[0].notifyWindow, dialog);
  EXPECT_EQ(requests[0].notifyMessage, 0x84B0U);
  EXPECT_EQ(requests[0].modeName, L"Eco");
  EXPECT_EQ(requests[0].modeStatus, 1U);
  ExpectNothingLeft();

  EXPECT_EQ(Run(L"Eco", 0), 10);
  EXPECT_EQ(Engine(L"Lamp").current, 0);
  EXPECT_EQ(Engine(L"Fan").current, 1);
  EXPECT_EQ(Status(L"Eco"), L"0");
  EXPECT_EQ(requests[1].modeStatus, 0U);
}

TEST_F(CUpdatePcEnvironmentDialogTest, TheRequestLeavesOneSecondAfterTheDialogCame) {
  EXPECT_EQ(Run(), 10);
  ASSERT_EQ(requests.size(), 1U);
  EXPECT_GE(requestedAt - timerSetAt, 1000U);
  const std::vector<Call> timers = interposition.CallsOf("SetTimer");
  ASSERT_EQ(timers.size(), 1U);
  EXPECT_EQ(timers[0].arguments.at(1), 1U);
  EXPECT_EQ(timers[0].arguments.at(2), 1000U);
  EXPECT_EQ(interposition.CallsOf("KillTimer").size(), 1U);
}

TEST_F(CUpdatePcEnvironmentDialogTest, OtherTimersAreIgnored) {
  EXPECT_EQ(RunAnd([this](HWND dialog) {
              ::SendMessageW(dialog, WM_TIMER, 2, 0);
              ::SendMessageW(dialog, WM_TIMER, 0, 0);
              EXPECT_THAT(requests, IsEmpty());
            }),
            10);
  EXPECT_EQ(requests.size(), 1U);
  EXPECT_GE(requestedAt - timerSetAt, 1000U);
}

TEST_F(CUpdatePcEnvironmentDialogTest, AnyResultButCompletedIsAFailure) {
  for (const WPARAM result : std::initializer_list<WPARAM>{0, 2, 3, 4711}) {
    SCOPED_TRACE(result);
    EXPECT_EQ(RunAnd([result](HWND dialog) {
                ::PostMessageW(dialog, WM_UPDATEPCENVIRONMENT_COMPLETED, result, 0);
              }),
              12);
    ExpectTraces({In(L"CUpdatePcEnvironmentDialog::OnCompletionNotice", 140, L"Eco, 1")});
    ExpectNothingLeft();
  }
}

TEST_F(CUpdatePcEnvironmentDialogTest, AnEngineThatEndsTheChangeIsAFailure) {
  for (const WPARAM result : std::initializer_list<WPARAM>{0, 2, 3}) {
    SCOPED_TRACE(result);
    Engine(L"Lamp").result = result;
    EXPECT_EQ(Run(), 12);
    ExpectTraces({In(L"ChangeModeWindow::`anonymous-namespace'::OnCompletionNotice", 469,
                     L"0, " + std::to_wstring(result)),
                  In(L"CUpdatePcEnvironmentDialog::OnCompletionNotice", 140, L"Eco, 1")});
  }
}

TEST_F(CUpdatePcEnvironmentDialogTest, NeedsAChangeModeWindow) {
  interposition.Fail("CreateWindowExW", {});
  EXPECT_EQ(Run(), 100);
  ExpectTraces({In(kInit, 59)});
  EXPECT_THAT(requests, IsEmpty());
  EXPECT_EQ(interposition.Count("SetTimer"), 0U);
}

TEST_F(CUpdatePcEnvironmentDialogTest, AMissingTextEndsItBeforeAnythingIsRequested) {
  SetText(L"UpdatePcEnvironmentDialog", L"Processing", L"");
  EXPECT_EQ(Run(), 100);
  ExpectTraces({In(kInit, 69)});
  EXPECT_THAT(requests, IsEmpty());
  EXPECT_THAT(log, IsEmpty());
  EXPECT_EQ(interposition.Count("SetTimer"), 0U);
  ExpectNothingLeft();
}

TEST_F(CUpdatePcEnvironmentDialogTest, AFileWithoutTheTextEndsIt) {
  sandbox.Write(L"en-US\\ModeChange.Resource.ini", IniFile().Section(L"Nothing"));
  EXPECT_EQ(Run(), 100);
  ExpectTraces({In(kInit, 69)});
  ExpectNothingLeft();
}

TEST_F(CUpdatePcEnvironmentDialogTest, ATimerThatCannotBeSetEndsIt) {
  interposition.Fail("SetTimer", {.lastError = 1158});
  EXPECT_EQ(Run(), 100);
  ExpectTraces({In(kInit, 82, L"1158")});
  EXPECT_THAT(requests, IsEmpty());
  ExpectNothingLeft();
}

TEST_F(CUpdatePcEnvironmentDialogTest, ARequestThatNobodyTakesEndsIt) {
  EXPECT_EQ(RunAnd([this](HWND) { ::DestroyWindow(ChangeModeWindow()); }), 100);
  ExpectTraces({In(L"CUpdatePcEnvironmentDialog::OnTimer", 112)});
  EXPECT_THAT(log, IsEmpty());
}

TEST_F(CUpdatePcEnvironmentDialogTest, ARequestThatIsRefusedEndsIt) {
  // Of the request first, then of the mode's name.
  for (const std::uint32_t unreadable : {1U, 2U}) {
    SCOPED_TRACE(unreadable);
    interposition.Fail("ReadProcessMemory", {.nth = unreadable});
    EXPECT_EQ(Run(), 100);
    ExpectTraces(
        {In(L"ChangeModeWindow::`anonymous-namespace'::OnCopyData", unreadable == 1 ? 321 : 324),
         In(L"CUpdatePcEnvironmentDialog::OnTimer", 112),
         In(L"ChangeModeWindow::`anonymous-namespace'::OnCompletionNotice", 469, L"0, 0")});
    ExpectNothingLeft();
  }
  EXPECT_THAT(log, IsEmpty());
}

TEST_F(CUpdatePcEnvironmentDialogTest, ItEndsWhereWindowsTakesNoMessages) {
  interposition.Fail("PostMessageW", {.onwards = true});
  interposition.Fail("SendNotifyMessageW", {.onwards = true});
  EXPECT_EQ(Run(), 12);
  static_cast<void>(traces.Take());
  ExpectNothingLeft();
}

TEST_F(CUpdatePcEnvironmentDialogTest, ItEndsWhereWindowsDoesNotEndIt) {
  interposition.Fail("EndDialog", {.onwards = true});
  EXPECT_EQ(Run(), 10);
  EXPECT_NE(::IsWindowEnabled(hostWindow), FALSE);
  ExpectNothingLeft();
}

TEST_F(CUpdatePcEnvironmentDialogTest, TheUserCannotEndIt) {
  Engine(L"Lamp").completion = ScriptedEngine::Completion::kByTest;
  robot.Then(
      "request", [this] { return Engine(L"Lamp").window != nullptr; },
      [] {
        const HWND dialog = DialogRobot::FindDialogWith(IDC_PROGRESS_BAR);
        ::SendMessageW(dialog, WM_SYSCOMMAND, SC_CLOSE, 0);
        ::SendMessageW(dialog, WM_SYSCOMMAND, SC_CLOSE | 1, 0);
        ::SendMessageW(dialog, WM_COMMAND, IDCANCEL, 0);
        ::SendMessageW(dialog, WM_COMMAND, IDOK, 0);
        ::PostMessageW(dialog, WM_KEYDOWN, VK_ESCAPE, 0);
        ::PostMessageW(dialog, WM_KEYDOWN, VK_RETURN, 0);
        ::PostMessageW(dialog, WM_SYSKEYDOWN, VK_F4, 1 << 29);
        ::PostMessageW(dialog, WM_APP, 0, 0);
      });
  // What was posted is handled before the next timer goes off.
  robot.Then("still there", DialogRobot::DialogWith(IDC_PROGRESS_BAR), [this](HWND dialog) {
    EXPECT_NE(::IsWindowVisible(dialog), FALSE);
    EXPECT_NE(ChangeModeWindow(), nullptr);
    Engine(L"Lamp").Complete();
  });
  EXPECT_EQ(Run(), 10);
  EXPECT_EQ(Status(L"Eco"), L"1");
}

TEST_F(CUpdatePcEnvironmentDialogTest, OtherSystemCommandsAreLeftToWindows) {
  EXPECT_EQ(RunAnd([](HWND dialog) {
              const RECT before = PlaceIn(nullptr, dialog);
              ::SendMessageW(dialog, WM_SYSCOMMAND, SC_MINIMIZE, 0);
              EXPECT_NE(::IsIconic(dialog), FALSE);
              ::SendMessageW(dialog, WM_SYSCOMMAND, SC_RESTORE, 0);
              EXPECT_EQ(PlaceIn(nullptr, dialog).left, before.left);
            }),
            10);
}

TEST_F(CUpdatePcEnvironmentDialogTest, ItsOwnerIsOutOfReachMeanwhile) {
  ::ShowWindow(hostWindow, SW_SHOWNOACTIVATE);
  EXPECT_EQ(RunAnd([this](HWND dialog) {
              EXPECT_EQ(::GetWindow(dialog, GW_OWNER), hostWindow);
              EXPECT_EQ(::IsWindowEnabled(hostWindow), FALSE);
            }),
            10);
  EXPECT_NE(::IsWindowEnabled(hostWindow), FALSE);
}

TEST_F(CUpdatePcEnvironmentDialogTest, PaintsAsWindowsDoes) {
  EXPECT_EQ(
      RunAnd([this](HWND dialog) {
        ::RedrawWindow(dialog, nullptr, nullptr,
                       RDW_INVALIDATE | RDW_ERASE | RDW_UPDATENOW | RDW_ALLCHILDREN);
        EXPECT_FALSE(interposition.Imports("SetBkMode") && interposition.Count("SetBkMode") != 0);
        EXPECT_EQ(interposition.Count("CreateSolidBrush"), 0U);
      }),
      10);
}

TEST_F(CUpdatePcEnvironmentDialogTest, ADialogThatNeverComesUpHasItsOwnResult) {
  interposition.Fail("DialogBoxParamW", {});
  EXPECT_EQ(Run(), -1);

  CUpdatePcEnvironmentDialog withoutMemory(L"Eco", 1);
  interposition.Fail("malloc", {});
  EXPECT_EQ(withoutMemory.Run(hostWindow), -1);
  EXPECT_EQ(interposition.Count("DialogBoxParamW"), 1U);
  ExpectNothingLeft();
}

TEST_F(CUpdatePcEnvironmentDialogTest, ItGoesWithItsOwner) {
  const HWND owner = ::CreateWindowExW(0, L"Static", L"Owner", WS_POPUP, 0, 0, 10, 10, nullptr,
                                       nullptr, nullptr, nullptr);
  robot.Then("progress", DialogRobot::DialogWith(IDC_PROGRESS_BAR),
             [owner](HWND) { ::DestroyWindow(owner); });
  static_cast<void>(CUpdatePcEnvironmentDialog(L"Eco", 1).Run(owner));
  EXPECT_THAT(requests, IsEmpty());
  ExpectNothingLeft();
}

TEST_F(CUpdatePcEnvironmentDialogTest, RunningOutOfMemoryAtTheStartEndsIt) {
  interposition.Replace(
      "SetTimer", [](HWND, UINT_PTR, UINT, TIMERPROC) -> UINT_PTR { throw std::bad_alloc(); });
  EXPECT_EQ(Run(), 100);
  ExpectTraces({In(L"CUpdatePcEnvironmentDialog::OnHandlerFailed", 51)});
  ExpectNothingLeft();
}

TEST_F(CUpdatePcEnvironmentDialogTest, RunningOutOfMemoryForATraceKeepsTheResult) {
  robot.Then("progress", DialogRobot::DialogWith(IDC_PROGRESS_BAR), [this](HWND dialog) {
    interposition.Fail("malloc", {});
    ::SendMessageW(dialog, WM_UPDATEPCENVIRONMENT_COMPLETED, 0, 0);
  });
  EXPECT_EQ(Run(L"AModeWhoseNameTakesMemory"), 12);
  ExpectTraces({In(L"CUpdatePcEnvironmentDialog::OnHandlerFailed", 51)});
  ExpectNothingLeft();
}

TEST_F(CUpdatePcEnvironmentDialogTest, GivesEverythingBack) {
  for (int round = 0; round < 2; ++round) {
    interposition.ClearCalls();
    EXPECT_EQ(Run(), 10);
    ExpectNothingLeft();
    EXPECT_THAT(handles.Held(), IsEmpty());
    EXPECT_EQ(interposition.Count("CreateFontIndirectW"), 16U);
    EXPECT_EQ(interposition.Count("DeleteObject"), 16U);
    EXPECT_EQ(interposition.Count("LoadLibraryW"), interposition.Count("FreeLibrary"));
    EXPECT_EQ(traces.OpenRegistrations(), 0U);
  }
}

}  // namespace
