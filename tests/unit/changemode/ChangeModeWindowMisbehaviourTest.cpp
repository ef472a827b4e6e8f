#include <limits>

#include "unit/changemode/ChangeModeWindowFixture.h"

namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

/// Engines, drivers, hosts and a Windows that do what they should not. Three items; mode Eco sets
/// them all to 1.
class ChangeModeWindowMisbehaviourTest : public ChangeModeWindowTest {
 protected:
  // From CreateHandle to RequestToSetINT32Information, for an engine with 2 values.
  static constexpr int kCallsPerItem = 20;

  void SetUp() override {
    MakeMachine({L"Screen", L"Keys", L"Sound"});
    for (const wchar_t* item : {L"Screen", L"Keys", L"Sound"}) SetValue(L"Eco", item, 1);
  }
  void StartAnew() {
    sandbox.Remove(sandbox.DataFile(L"ModeChange.Status.ini"));
    for (const auto& [item, engine] : engines) {
      engine->requested.clear();
      engine->current = 0;
      engine->onCall = nullptr;
      engine->completion = ScriptedEngine::Completion::kAtOnce;
    }
    log.clear();
    interposition.ClearCalls();
  }
  void AtCall(const wchar_t* item, int nth, std::function<void()> act) {
    Engine(item).onCall = [nth, count = 0, act = std::move(act)](const std::string&) mutable {
      if (++count == nth) act();
    };
  }
  void ExpectEachItemSetOnce() {
    for (const auto& [item, engine] : engines) {
      EXPECT_THAT(engine->requested, ElementsAre(1)) << Text::ToUtf8(item);
    }
  }
  void ExpectEnginesClosed() {
    for (const auto& [item, engine] : engines) {
      EXPECT_EQ(engine->openHandles, 0) << Text::ToUtf8(item);
    }
    EXPECT_THAT(handles.Held(), IsEmpty());
  }
};

// --- Engines that report wrongly -----------------------------------------------------------------

TEST_F(ChangeModeWindowMisbehaviourTest, IgnoresTheSecondReportOfTheLastItem) {
  Engine(L"Sound").completion = ScriptedEngine::Completion::kTwice;
  EXPECT_THAT(Change(L"Eco", kOn), ElementsAre(Told(1)));
  EXPECT_EQ(traces.Take(), (Traces{In(L"OnCompletionNotice", 490)}));
  ExpectEachItemSetOnce();
  ExpectEnginesClosed();
}

TEST_F(ChangeModeWindowMisbehaviourTest, LeavesNoItemOutAfterASecondReport) {
  for (const wchar_t* item : {L"Screen", L"Keys"}) {
    SCOPED_TRACE(Text::ToUtf8(item));
    StartAnew();
    Engine(item).completion = ScriptedEngine::Completion::kTwice;
    EXPECT_THAT(Change(L"Eco", kOn), ElementsAre(Told(1)));
    EXPECT_EQ(traces.Take(), (Traces{In(L"OnCompletionNotice", 490)}));
    ExpectEachItemSetOnce();
  }
}

TEST_F(ChangeModeWindowMisbehaviourTest, IgnoresAReportAfterTheChange) {
  Engine(L"Screen").completion = ScriptedEngine::Completion::kByTest;
  Request(L"Eco", kOn);
  PumpAll();
  ::PostMessageW(window, WM_CHANGEMODE_COMPLETIONNOTICE, 7, 0);
  PumpAll();
  EXPECT_THAT(requester.Take(), ElementsAre(Told(0)));
  EXPECT_EQ(traces.Take(), (Traces{In(L"OnCompletionNotice", 629, L"7")}));
  log.clear();

  Engine(L"Screen").Complete();
  PumpAll();

  EXPECT_EQ(traces.Take(), (Traces{In(L"OnCompletionNotice", 490)}));
  EXPECT_THAT(requester.Take(), IsEmpty());
  EXPECT_THAT(log, IsEmpty()) << "No device is set.";
  EXPECT_EQ(DescribeRecord(), kIdle);
}

TEST_F(ChangeModeWindowMisbehaviourTest, IgnoresAReportForAnEarlierChangeBeforeTheNextBegins) {
  Engine(L"Screen").completion = ScriptedEngine::Completion::kByTest;
  Request(L"Eco", kOn);
  PumpAll();

  Engine(L"Screen").Complete();
  Engine(L"Screen").completion = ScriptedEngine::Completion::kAtOnce;
  Engine(L"Screen").requested.clear();
  Request(L"Eco", kOn);
  PumpAll();

  EXPECT_THAT(requester.Take(), ElementsAre(Told(1)));
  EXPECT_EQ(traces.Take(), (Traces{In(L"OnCompletionNotice", 490)}));
  ExpectEachItemSetOnce();
}

TEST_F(ChangeModeWindowMisbehaviourTest, WaitsForAnEngineThatNeverReports) {
  Engine(L"Keys").completion = ScriptedEngine::Completion::kNever;
  Request(L"Eco", kOn);
  PumpAll();
  EXPECT_THAT(requester.Take(), IsEmpty());
  EXPECT_THAT(Engine(L"Sound").requested, IsEmpty());
  EXPECT_EQ(Engine(L"Keys").openHandles, 1);

  ::SendMessageW(window, WM_CLOSE, 0, 0);

  ExpectEnginesClosed();
  EXPECT_THAT(StatusFile(),
              ElementsAre("[NormalEnvironment] Screen=0", "[NormalEnvironment] Keys=0"));
}

TEST_F(ChangeModeWindowMisbehaviourTest, StandsAReportToAWindowThatIsGone) {
  Engine(L"Screen").completion = ScriptedEngine::Completion::kByTest;
  Request(L"Eco", kOn);
  PumpAll();
  ::DestroyWindow(window);
  Engine(L"Screen").Complete();
  PumpAll();
  EXPECT_THAT(requester.Take(), IsEmpty());
  ExpectEnginesClosed();
}

// --- Engines that handle messages while they are asked -------------------------------------------

TEST_F(ChangeModeWindowMisbehaviourTest, WalksOnInsideAnEnginesCall) {
  // The engine has its report handled before its request returns.
  Engine(L"Screen").completion = ScriptedEngine::Completion::kNever;
  AtCall(L"Screen", kCallsPerItem, [this] {
    ::PostMessageW(window, WM_CHANGEMODE_COMPLETIONNOTICE, 1, 0);
    PumpAll();
  });

  EXPECT_THAT(Change(L"Eco", kOn), ElementsAre(Told(1)));

  ExpectEachItemSetOnce();
  ExpectEnginesClosed();
  // The engine was not closed before its call was over.
  EXPECT_EQ(log.back(), "Screen.DeleteHandle");
}

TEST_F(ChangeModeWindowMisbehaviourTest, EndsInsideAnyCallOfAnEngine) {
  for (int nth = 1; nth <= kCallsPerItem; ++nth) {
    SCOPED_TRACE(testing::Message() << "in call " << nth);
    StartAnew();
    Engine(L"Screen").completion = ScriptedEngine::Completion::kNever;
    AtCall(L"Screen", nth, [this] {
      ::SendMessageW(window, WM_CHANGEMODE_COMPLETIONNOTICE, 3, 0);
      EXPECT_EQ(Engine(L"Screen").openHandles, log.size() == 1 ? 0 : 1) << "It is still asked.";
    });

    EXPECT_THAT(Change(L"Eco", kOn), ElementsAre(Told(3)));

    EXPECT_EQ(traces.Take(), (Traces{Ended(0, 3)}));
    EXPECT_EQ(log.back(), "Screen.DeleteHandle");
    ExpectEnginesClosed();
  }
}

TEST_F(ChangeModeWindowMisbehaviourTest, IsClosedInsideAnyCallOfAnEngine) {
  for (int nth = 1; nth <= kCallsPerItem; ++nth) {
    SCOPED_TRACE(testing::Message() << "in call " << nth);
    StartAnew();
    AtCall(L"Screen", nth, [this] { ::SendMessageW(window, WM_CLOSE, 0, 0); });

    Request(L"Eco", kOn);
    PumpAll();

    EXPECT_EQ(::IsWindow(window), FALSE);
    EXPECT_EQ(log.back(), "Screen.DeleteHandle");
    ExpectEnginesClosed();
    EXPECT_THAT(requester.Take(), IsEmpty());
    EXPECT_EQ(traces.Take(), Traces());
    window = MakeWindow();
  }
}

TEST_F(ChangeModeWindowMisbehaviourTest, IsClosedInsideACallThatFails) {
  for (int nth = 1; nth <= kCallsPerItem; ++nth) {
    SCOPED_TRACE(testing::Message() << "in call " << nth);
    StartAnew();
    Engine(L"Screen").failing.clear();
    Engine(L"Screen").onCall = [this, nth, count = 0](const std::string& call) mutable {
      if (++count != nth) return;
      Engine(L"Screen").failing.insert(call.substr(std::string_view("Screen.").size()));
      ::SendMessageW(window, WM_CLOSE, 0, 0);
    };

    Request(L"Eco", kOn);
    PumpAll();

    ExpectEnginesClosed();
    EXPECT_THAT(requester.Take(), IsEmpty());
    // The failure can't be reported to a window that is gone.
    EXPECT_EQ(traces.Take().back(),
              In(L"PostToMyself", 214, std::to_wstring(ERROR_INVALID_WINDOW_HANDLE)));
    window = MakeWindow();
  }
}

TEST_F(ChangeModeWindowMisbehaviourTest, TakesARequestInsideAnyCallOfAnEngine) {
  Requester second;
  for (int nth = 1; nth <= kCallsPerItem; ++nth) {
    SCOPED_TRACE(testing::Message() << "in call " << nth);
    StartAnew();
    AtCall(L"Screen", nth, [&] { Request(L"Dock", kOn, second.Window()); });

    Request(L"Eco", kOn);
    PumpAll();

    EXPECT_THAT(requester.Take(), IsEmpty());
    EXPECT_THAT(second.Take(), ElementsAre(Told(1)));
    EXPECT_EQ(DescribeRecord(), kIdle);
    ExpectEnginesClosed();
    static_cast<void>(traces.Take());
  }
}

// --- Drivers that handle messages ----------------------------------------------------------------

TEST_F(ChangeModeWindowMisbehaviourTest, IsClosedInsideAnyCallOfTheDriver) {
  InstallDriver();
  PretendWindows7();
  WriteConfig({L"Screen", L"Keys", L"Sound"}, 1);
  struct Row {
    const char* what;
    std::size_t call;
    WPARAM result;
  };
  const Row rows[] = {
      {"GetSwitchInfo at the start", 1, 1},
      {"SetApplicationSwitch at the start", 2, 1},
      {"GetLEDInfo", 3, 1},
      {"SetLEDControl", 4, 1},
      {"GetSwitchInfo after a failure", 3, 2},
      {"SetApplicationSwitch after a failure", 4, 2},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.what);
    StartAnew();
    Engine(L"Sound").result = row.result;
    driver->calls.clear();
    driver->onCall = [&](const std::string&) {
      if (driver->calls.size() == row.call) ::SendMessageW(window, WM_CLOSE, 0, 0);
    };

    Request(L"Flight", kOn);
    PumpAll();

    EXPECT_GE(driver->calls.size(), row.call);
    EXPECT_EQ(::IsWindow(window), FALSE);
    EXPECT_THAT(requester.Take(), IsEmpty());
    ExpectEnginesClosed();
    static_cast<void>(traces.Take());
    window = MakeWindow();
  }
}

// --- A Windows that takes no messages ------------------------------------------------------------

TEST_F(ChangeModeWindowMisbehaviourTest, EndsTheChangeWhereAMessageCannotBePosted) {
  SetValue(L"Keys", L"Keys", -1);
  SetValue(L"Eco", L"Keys", -1);
  Engine(L"Sound").devices = 0;
  const Traces notPosted{In(L"PostToMyself", 214, L"1816")};
  struct Row {
    const char* what;
    std::uint32_t nth;
    Traces traced;
    Notifications told;
    std::size_t itemsAsked;
  };
  const Row rows[] = {
      {"the first item", 1, notPosted, {Told(0)}, 0},
      {"the next item", 2, notPosted, {Told(0)}, 1},
      {"an item without a value is done", 3, notPosted, {Told(0)}, 2},
      {"the last item", 4, notPosted, {Told(0)}, 2},
      {"an item that is not usable is done", 5, notPosted, {Told(0)}, 3},
      {"the requester, who is sent it then", 6, {}, {Told(1)}, 3},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.what);
    StartAnew();
    interposition.Fail("PostMessageW", {.nth = row.nth, .lastError = ERROR_NOT_ENOUGH_QUOTA});

    EXPECT_EQ(Change(L"Eco", kOn), row.told);

    EXPECT_EQ(traces.Take(), row.traced);
    EXPECT_EQ(std::count_if(log.begin(), log.end(),
                            [](const std::string& call) { return call.ends_with("CreateHandle"); }),
              static_cast<std::ptrdiff_t>(row.itemsAsked));
    ExpectEnginesClosed();
  }
}

TEST_F(ChangeModeWindowMisbehaviourTest, EndsTheChangeWhereAFailureCannotBePosted) {
  Engine(L"Screen").failing = {"GetDeviceCount"};
  interposition.Fail("PostMessageW", {.nth = 2, .lastError = ERROR_NOT_ENOUGH_QUOTA});
  EXPECT_THAT(Change(L"Eco", kOn), ElementsAre(Told(0)));
  EXPECT_EQ(traces.Take(), (Traces{{L"CDeviceEngineHelper::GetDeviceCount", 87},
                                   {L"IsSettingItemUsableInThisPC", 36},
                                   In(L"OnSetDeviceStatus", 405),
                                   In(L"PostToMyself", 214, L"1816")}));

  StartAnew();
  Engine(L"Screen").failing.clear();
  Engine(L"Screen").supported = 1;
  AtCall(L"Screen", 16, [this] { Engine(L"Screen").supported = 0; });
  interposition.Fail("PostMessageW", {.nth = 2, .lastError = ERROR_NOT_ENOUGH_QUOTA});
  EXPECT_THAT(Change(L"Eco", kOn), ElementsAre(Told(0)));
  EXPECT_EQ(traces.Take(), (Traces{In(L"PostToMyself", 214, L"1816")}));
}

TEST_F(ChangeModeWindowMisbehaviourTest, IsIdleAgainWhereNoMessageCanBePostedAtAll) {
  interposition.Fail("PostMessageW", {.onwards = true});
  EXPECT_THAT(Change(L"Eco", kOn), ElementsAre(Told(0))) << "sent";
  EXPECT_EQ(traces.Take(), (Traces{In(L"PostToMyself", 214, L"1400")}));

  interposition.Fail("SendNotifyMessageW", {.onwards = true});
  EXPECT_THAT(Change(L"Eco", kOn), ElementsAre(Told(0))) << "called";
  EXPECT_EQ(traces.Take(), (Traces{In(L"PostToMyself", 214, L"1400")}));

  EXPECT_EQ(Send(nullptr), TRUE);
  EXPECT_EQ(DescribeRecord(), kIdle);
  EXPECT_EQ(traces.Take(), (Traces{In(L"OnCopyData", 298), In(L"PostToMyself", 214, L"1400")}));
}

// --- Memory that runs out ------------------------------------------------------------------------

TEST_F(ChangeModeWindowMisbehaviourTest, IsTracedWhenMemoryRunsOutAtTheEnd) {
  const auto original =
      interposition.Original<decltype(&::WritePrivateProfileStringW)>("WritePrivateProfileStringW");
  interposition.Replace("WritePrivateProfileStringW",
                        [original](const wchar_t* section, const wchar_t* key, const wchar_t* value,
                                   const wchar_t* file) -> BOOL {
                          if (std::wstring_view(section) == L"CurrentModeStatus") {
                            throw std::bad_alloc();
                          }
                          return original(section, key, value, file);
                        });
  EXPECT_THAT(Change(L"Eco", kOn), ElementsAre(Told(0)));
  EXPECT_EQ(traces.Take(), (Traces{In(L"OnCompletionNotice", 646)}));
}

class ChangeModeWindowMemoryTest : public ChangeModeWindowMisbehaviourTest {
 protected:
  static constexpr std::uint32_t kNever = std::numeric_limits<std::uint32_t>::max();

  void SetUp() override {
    ChangeModeWindowMisbehaviourTest::SetUp();
    InstallDriver();
    PretendWindows7();
    WriteConfig({L"Screen", L"Keys", L"Sound"}, 1);
    interposition.SetRecording(false);
    watchdog.SetPatience(90);
  }
  void FailPostToWindow(std::uint32_t nth) {
    const auto original = interposition.Original<decltype(&::PostMessageW)>("PostMessageW");
    interposition.Replace(
        "PostMessageW",
        [this, original, nth, count = 0U](HWND target, UINT message, WPARAM wParam,
                                          LPARAM lParam) mutable -> BOOL {
          if (target != window || ++count != nth) {
            return original(target, message, wParam, lParam);
          }
          ::SetLastError(ERROR_NOT_ENOUGH_QUOTA);
          return FALSE;
        });
  }
  /// Changes the mode again and again, each time with another allocation that fails, until there
  /// was none left to fail. Each change has to end, and its requester to be told so once. Says how
  /// many allocations there were.
  std::uint32_t FailEachAllocation(std::uint32_t failingPost, WPARAM toldWithMemory) {
    std::uint32_t failures = 0;
    for (bool hit = true; hit && !HasFailure();) {
      SCOPED_TRACE(testing::Message() << "allocation " << failures + 1 << " fails");
      StartAnew();
      SetStatus(L"Quiet", 1);
      interposition.ClearCalls();
      interposition.Fail("malloc", {.nth = failures + 1});
      FailPostToWindow(failingPost);
      const Notifications told = Change(L"Eco", kOn);
      hit = interposition.Count("malloc") > failures;
      interposition.Fail("malloc", {.nth = kNever});
      EXPECT_THAT(told, ElementsAre(Told(hit ? 0 : toldWithMemory)));
      ExpectEnginesClosed();
      static_cast<void>(traces.Take());
      if (hit) ++failures;
    }
    return failures;
  }
};

TEST_F(ChangeModeWindowMemoryTest, EndsTheChangeWhereverItRunsOut) {
  EXPECT_GE(FailEachAllocation(kNever, 1), 50U);
  ExpectEachItemSetOnce();
}

TEST_F(ChangeModeWindowMemoryTest, EndsTheChangeWhereMessagesRunOutToo) {
  EXPECT_GE(FailEachAllocation(1, 0), 5U) << "the first item can't be posted";
  EXPECT_GE(FailEachAllocation(2, 0), 20U) << "nor the second, nor a failure of the first";
}

}  // namespace
