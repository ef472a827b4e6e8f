#include "unit/changemode/ChangeModeWindowFixture.h"

namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

/// One item whose engine has 2 values and stands at 0, and a mode Eco that sets it to 1.
class ChangeModeWindowItemTest : public ChangeModeWindowTest {
 protected:
  void SetUp() override {
    MakeMachine({L"Screen"});
    SetValue(L"Eco", L"Screen", 1);
  }

  ScriptedEngine& Screen() { return Engine(L"Screen"); }

  /// Lets `act` run when the engine is called for the nth time.
  void AtCall(int nth, std::function<void(const std::string&)> act) {
    Screen().onCall = [nth, count = 0, act = std::move(act)](const std::string& call) mutable {
      if (++count == nth) act(call);
    };
  }
  /// The same machine with nothing switched yet.
  void StartAnew() {
    sandbox.Remove(sandbox.DataFile(L"ModeChange.Status.ini"));
    Screen().failing.clear();
    Screen().requested.clear();
    Screen().current = 0;
    log.clear();
  }

  /// What the window traces when the item's value can't be requested.
  [[nodiscard]] Traces RequestFailed(const Traces& why, int value = 1) const {
    return Join(why, {In(L"OnSetDeviceStatus", 438, EnginePath(L"Screen")),
                      In(L"OnSetDeviceStatus", 439, std::to_wstring(value)), Ended(0)});
  }
};

Trace InHelper(const wchar_t* function, std::uint32_t line,
               std::wstring message = TraceLog::kNoAdditionalInformation) {
  return {std::wstring(L"CDeviceEngineHelper::") + function, line, std::move(message)};
}
Trace InUsable(std::uint32_t line, std::wstring message = TraceLog::kNoAdditionalInformation) {
  return {L"IsSettingItemUsableInThisPC", line, std::move(message)};
}

TEST_F(ChangeModeWindowItemTest, IsSetThroughItsEngine) {
  Screen().completion = ScriptedEngine::Completion::kByTest;
  Request(L"Eco", kOn);
  PumpAll();

  EXPECT_THAT(Screen().requested, ElementsAre(1));
  EXPECT_EQ(Screen().window, window);
  EXPECT_EQ(Screen().message, UINT{0x8002});
  EXPECT_EQ(log.back(), "Screen.RequestToSetINT32Information(0, 0) = 1");
  EXPECT_EQ(Screen().openHandles, 1) << "The engine stays until it has reported.";
  EXPECT_THAT(requester.Take(), IsEmpty());
  EXPECT_EQ(DescribeRecord(),
            "not busy, tells somebody by 0x804d, item 0, from \"\" to \"Eco\" = 1, an engine");

  Screen().Complete();
  PumpAll();

  EXPECT_THAT(requester.Take(), ElementsAre(Told(1)));
  EXPECT_EQ(Screen().openHandles, 0);
  EXPECT_EQ(DescribeRecord(), kIdle);
}

TEST_F(ChangeModeWindowItemTest, EndsTheChangeWhereverItsEngineFails) {
  struct Row {
    const char* call;
    Traces traced;
    bool normalValueSaved;
  };
  const Traces notUsable{In(L"OnSetDeviceStatus", 405), Ended(0)};
  const Traces notUsableAgain = RequestFailed({In(L"RequestToSetDeviceStatus", 680)});
  const auto number = [](const wchar_t* which) {
    return InHelper(L"GetINT32INformation", 206, which);
  };
  const Row rows[] = {
      {"CreateHandle",
       Join({InHelper(L"Initialize", 401), InHelper(L"GetDeviceCount", 80), InUsable(36)},
            notUsable),
       false},
      {"GetDeviceCount", Join({InHelper(L"GetDeviceCount", 87), InUsable(36)}, notUsable), false},
      {"SelectDevice(0)", Join({InHelper(L"SelectDevice", 117, L"0"), InUsable(50)}, notUsable),
       false},
      {"GetINT32Information(0, 0)", Join({number(L"0, 0"), InUsable(58)}, notUsable), false},
      {"GetINT32Information(1, 0)", Join({number(L"1, 0"), InUsable(73)}, notUsable), false},
      {"GetINT32Information(2, 0)", Join({number(L"2, 0"), InUsable(84, L"0")}, notUsable), false},
      {"GetINT32Information(2, 1)", Join({number(L"2, 1"), InUsable(84, L"1")}, notUsable), false},
      {"SelectDevice(0)",
       {InHelper(L"SelectDevice", 117, L"0"), In(L"OnSetDeviceStatus", 419), Ended(0)},
       false},
      {"GetINT32Information(3, 0)",
       {number(L"3, 0"), InSave(834, L"Screen"), In(L"OnSetDeviceStatus", 433, L"Screen"),
        Ended(0)},
       false},
      {"GetDeviceCount", Join({InHelper(L"GetDeviceCount", 87), InUsable(36)}, notUsableAgain),
       true},
      {"SelectDevice(0)",
       Join({InHelper(L"SelectDevice", 117, L"0"), InUsable(50)}, notUsableAgain), true},
      {"GetINT32Information(0, 0)", Join({number(L"0, 0"), InUsable(58)}, notUsableAgain), true},
      {"GetINT32Information(1, 0)", Join({number(L"1, 0"), InUsable(73)}, notUsableAgain), true},
      {"GetINT32Information(2, 0)", Join({number(L"2, 0"), InUsable(84, L"0")}, notUsableAgain),
       true},
      {"GetINT32Information(2, 1)", Join({number(L"2, 1"), InUsable(84, L"1")}, notUsableAgain),
       true},
      {"GetINT32Information(0, 0)",
       RequestFailed({number(L"0, 0"), In(L"RequestToSetDeviceStatus", 688)}), true},
      {"GetINT32Information(1, 0)",
       RequestFailed({number(L"1, 0"), In(L"RequestToSetDeviceStatus", 705)}), true},
      {"GetINT32Information(2, 1)",
       RequestFailed({number(L"2, 1"), In(L"RequestToSetDeviceStatus", 715)}), true},
      {"GetINT32Information(4, 0)",
       RequestFailed({number(L"4, 0"), In(L"RequestToSetDeviceStatus", 730)}), true},
      {"RequestToSetINT32Information(0, 0) = 1",
       RequestFailed({InHelper(L"RequestToSetINT32Information", 245, L"0, 0"),
                      InHelper(L"RequestToSetINT32Information", 247, L"1"),
                      In(L"RequestToSetDeviceStatus", 746, L"1")}),
       true},
  };
  int nth = 0;
  for (const Row& row : rows) {
    ++nth;
    SCOPED_TRACE(testing::Message() << "call " << nth << " fails: " << row.call);
    StartAnew();
    AtCall(nth, [this](const std::string& call) {
      Screen().failing.insert(call.substr(std::string_view("Screen.").size()));
    });

    EXPECT_THAT(Change(L"Eco", kOn), ElementsAre(Told(0)));

    EXPECT_EQ(traces.Take(), row.traced);
    EXPECT_THAT(Screen().requested, IsEmpty());
    EXPECT_EQ(Screen().openHandles, 0);
    EXPECT_EQ(StatusFile(), row.normalValueSaved
                                ? std::vector<std::string>{"[NormalEnvironment] Screen=0"}
                                : std::vector<std::string>{"no file"});
    // Nothing was asked after the call that failed.
    const std::size_t asked = static_cast<std::size_t>(nth);
    EXPECT_EQ(log.size(), nth == 1 ? asked : asked + 1);
    EXPECT_EQ(log.at(asked - 1), std::string("Screen.") + row.call);
    if (nth > 1) {
      EXPECT_EQ(log.back(), "Screen.DeleteHandle");
    }
  }
}

TEST_F(ChangeModeWindowItemTest, EndsTheChangeWithoutItsEngine) {
  sandbox.Remove(L"Engines");
  WriteConfig({L"Missing"});
  ::DestroyWindow(window);
  window = MakeWindow();

  EXPECT_THAT(Change(L"Eco", kOn), ElementsAre(Told(0)));

  EXPECT_EQ(traces.Take(), (Traces{InHelper(L"Initialize", 313, EnginePath(L"Missing") + L", 126"),
                                   InHelper(L"GetDeviceCount", 80), InUsable(36),
                                   In(L"OnSetDeviceStatus", 405), Ended(0)}));
}

TEST_F(ChangeModeWindowItemTest, EndsTheChangeWhereItsEnginePathCannotBeRead) {
  Request(L"Eco", kOn);
  sandbox.Remove(L"ModeChange.Config.ini");

  PumpAll();

  const std::wstring path = sandbox.LibraryFolder().wstring() + L"\\ModeChange.Config.ini";
  EXPECT_EQ(traces.Take(), (Traces{{L"CModeChangeConfig::DoesConfigFileExist", 282, path},
                                   {L"CModeChangeConfig::GetSettingItemEnginePath", 210},
                                   In(L"OnSetDeviceStatus", 392, L"Screen"),
                                   Ended(0)}));
  EXPECT_THAT(requester.Take(), ElementsAre(Told(0)));
}

// --- Items that are left out ---------------------------------------------------------------------

TEST_F(ChangeModeWindowItemTest, IsDoneAtOnceWhereItIsOfNoUse) {
  struct Row {
    const char* what;
    std::function<void()> prepare;
  };
  const Row rows[] = {
      {"no device", [this] { Screen().devices = 0; }},
      {"not supported", [this] { Screen().supported = 0; }},
      {"only 1 says supported", [this] { Screen().supported = 2; }},
      {"no values", [this] { Screen().values = 0; }},
      {"a negative number of values", [this] { Screen().values = -1; }},
      {"one value", [this] { Screen().values = 1; }},
      {"one available value", [this] { Screen().available[0] = 0; }},
      {"only 1 says available", [this] { Screen().available[0] = 2; }},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.what);
    StartAnew();
    Screen().devices = 1;
    Screen().supported = 1;
    Screen().values = 2;
    Screen().available.clear();
    row.prepare();
    interposition.ClearCalls();

    EXPECT_THAT(Change(L"Eco", kOn), ElementsAre(Told(1)));

    EXPECT_THAT(Posts(), ElementsAre("window 0x8001 0", "window 0x8002 1", "requester 0x804d 1"));
    EXPECT_THAT(Screen().requested, IsEmpty());
    EXPECT_THAT(log, testing::Not(testing::Contains("Screen.GetINT32Information(3, 0)")));
    EXPECT_THAT(StatusFile(), ElementsAre("[CurrentModeStatus] Eco=1"));
  }
}

TEST_F(ChangeModeWindowItemTest, IsDoneAtOnceWhereThereIsNothingToSet) {
  for (const int value : {-1, -2, -100}) {
    SCOPED_TRACE(value);
    StartAnew();
    SetValue(L"Eco", L"Screen", value);
    interposition.ClearCalls();

    EXPECT_THAT(Change(L"Eco", kOn), ElementsAre(Told(1)));

    EXPECT_THAT(Posts(), ElementsAre("window 0x8001 0", "window 0x8002 1", "requester 0x804d 1"));
    EXPECT_THAT(Screen().requested, IsEmpty());
    EXPECT_THAT(StatusFile(),
                ElementsAre("[NormalEnvironment] Screen=-1", "[CurrentModeStatus] Eco=1"));
  }
}

TEST_F(ChangeModeWindowItemTest, IsDoneAtOnceWhenItsEngineNoLongerSupportsIt) {
  // The engine's answer changes right before the last time it is asked whether it supports the
  // item.
  constexpr int kLastSupportedCall = 16;
  for (const INT32 answer : {0, 2, -1}) {
    SCOPED_TRACE(answer);
    StartAnew();
    Screen().supported = 1;
    AtCall(kLastSupportedCall, [this, answer](const std::string& call) {
      EXPECT_EQ(call, "Screen.GetINT32Information(0, 0)");
      Screen().supported = answer;
    });

    EXPECT_THAT(Change(L"Eco", kOn), ElementsAre(Told(1)));

    EXPECT_THAT(Screen().requested, IsEmpty());
    EXPECT_EQ(log.size(), std::size_t{kLastSupportedCall + 1}) << "closed, and nothing else asked";
    EXPECT_THAT(StatusFile(),
                ElementsAre("[NormalEnvironment] Screen=0", "[CurrentModeStatus] Eco=1"));
  }
}

TEST_F(ChangeModeWindowItemTest, IsSetAlthoughItsSecondCheckFindsItOfNoUse) {
  constexpr int kSecondDeviceCount = 10;
  AtCall(kSecondDeviceCount, [this](const std::string& call) {
    EXPECT_EQ(call, "Screen.GetDeviceCount");
    Screen().devices = 0;
  });
  EXPECT_THAT(Change(L"Eco", kOn), ElementsAre(Told(1)));
  EXPECT_THAT(Screen().requested, ElementsAre(1));
}

// --- Values that are refused ---------------------------------------------------------------------

TEST_F(ChangeModeWindowItemTest, EndsTheChangeWithAValueThatIsNotAvailable) {
  Screen().values = 4;
  for (const INT32 answer : {0, 2, -1}) {
    SCOPED_TRACE(answer);
    StartAnew();
    Screen().available[1] = answer;

    EXPECT_THAT(Change(L"Eco", kOn), ElementsAre(Told(0)));

    EXPECT_EQ(traces.Take(),
              RequestFailed({In(L"RequestToSetDeviceStatus", 722, std::to_wstring(answer))}));
    EXPECT_THAT(Screen().requested, IsEmpty());
  }
}

TEST_F(ChangeModeWindowItemTest, LeavesItToItsEngineWhichValuesThereAre) {
  SetValue(L"Eco", L"Screen", 9);
  EXPECT_THAT(Change(L"Eco", kOn), ElementsAre(Told(1)));
  EXPECT_THAT(log, testing::Contains("Screen.GetINT32Information(2, 9)"));
  EXPECT_THAT(Screen().requested, ElementsAre(9));
}

TEST_F(ChangeModeWindowItemTest, EndsTheChangeWhenItsEngineTakesNoValueNow) {
  Screen().busy = 1;
  EXPECT_THAT(Change(L"Eco", kOn), ElementsAre(Told(0)));
  EXPECT_EQ(traces.Take(), RequestFailed({In(L"RequestToSetDeviceStatus", 738)}));
  EXPECT_THAT(Screen().requested, IsEmpty());
}

TEST_F(ChangeModeWindowItemTest, IsBusyOnlyWithTheAnswerOne) {
  for (const INT32 answer : {2, -1}) {
    SCOPED_TRACE(answer);
    StartAnew();
    Screen().busy = answer;
    EXPECT_THAT(Change(L"Eco", kOn), ElementsAre(Told(1)));
    EXPECT_THAT(Screen().requested, ElementsAre(1));
  }
}

TEST_F(ChangeModeWindowItemTest, IsReportedAsFailedWhereThereIsNone) {
  ::DestroyWindow(window);
  WriteConfig({});
  window = MakeWindow();

  EXPECT_THAT(Change(L"Eco", kOn), ElementsAre(Told(0)));

  EXPECT_EQ(traces.Take(), (Traces{In(L"OnSetDeviceStatus", 384, L"0"), Ended(0)}));
  EXPECT_THAT(StatusFile(), ElementsAre("no file"));
}

}  // namespace
