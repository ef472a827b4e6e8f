#include <atomic>

#include "unit/changemode/ChangeModeWindowFixture.h"

namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

/// Three items; mode Eco sets them all to 1, and mode Quiet is ON and sets none.
class ChangeModeWindowCompletionTest : public ChangeModeWindowTest {
 protected:
  void SetUp() override {
    MakeMachine({L"Screen", L"Keys", L"Sound"});
    for (const wchar_t* item : {L"Screen", L"Keys", L"Sound"}) SetValue(L"Eco", item, 1);
    SetStatus(L"Quiet", 1);
  }

  void Notify(WPARAM result) const {
    ::SendMessageW(window, WM_CHANGEMODE_COMPLETIONNOTICE, result, 0);
  }
};

TEST_F(ChangeModeWindowCompletionTest, RecordsTheModesWhenAllItemsAreDone) {
  EXPECT_THAT(Change(L"Eco", kOn), ElementsAre(Told(1)));

  for (const wchar_t* item : {L"Screen", L"Keys", L"Sound"}) {
    EXPECT_THAT(Engine(item).requested, ElementsAre(1));
    EXPECT_EQ(Engine(item).openHandles, 0);
  }
  EXPECT_THAT(Writes(), ElementsAre("[NormalEnvironment] Screen=0", "[NormalEnvironment] Keys=0",
                                    "[NormalEnvironment] Sound=0", "[CurrentModeStatus] Quiet=0",
                                    "[CurrentModeStatus] Eco=1"));
}

TEST_F(ChangeModeWindowCompletionTest, TurnsOffOnlyTheFirstModeThatIsOn) {
  SetStatus(L"Dock", 1);
  EXPECT_THAT(Change(L"Eco", kOn), ElementsAre(Told(1)));
  EXPECT_EQ(
      sandbox.IniValue(sandbox.DataFile(L"ModeChange.Status.ini"), L"CurrentModeStatus", L"Dock"),
      L"0");
  EXPECT_EQ(
      sandbox.IniValue(sandbox.DataFile(L"ModeChange.Status.ini"), L"CurrentModeStatus", L"Quiet"),
      L"1");
}

TEST_F(ChangeModeWindowCompletionTest, WaitsForEachEngine) {
  for (const wchar_t* item : {L"Screen", L"Keys", L"Sound"}) {
    Engine(item).completion = ScriptedEngine::Completion::kByTest;
  }
  Request(L"Eco", kOn);
  PumpAll();
  EXPECT_THAT(Engine(L"Keys").requested, IsEmpty());

  Engine(L"Screen").Complete();
  PumpAll();
  EXPECT_EQ(Engine(L"Screen").openHandles, 0);
  EXPECT_THAT(Engine(L"Keys").requested, ElementsAre(1));
  EXPECT_THAT(Engine(L"Sound").requested, IsEmpty());

  Engine(L"Keys").Complete();
  PumpAll();
  EXPECT_THAT(Engine(L"Sound").requested, ElementsAre(1));
  EXPECT_THAT(requester.Take(), IsEmpty());
  EXPECT_EQ(
      sandbox.IniValue(sandbox.DataFile(L"ModeChange.Status.ini"), L"CurrentModeStatus", L"Quiet"),
      L"1");

  Engine(L"Sound").Complete();
  PumpAll();
  EXPECT_THAT(requester.Take(), ElementsAre(Told(1)));
  EXPECT_EQ(DescribeRecord(), kIdle);
}

TEST_F(ChangeModeWindowCompletionTest, HearsEnginesThatWorkOnThreadsOfTheirOwn) {
  struct Worker {
    const ScriptedEngine* engine;
    HANDLE thread;
  };
  std::vector<std::unique_ptr<Worker>> workers;
  for (const auto& [item, engine] : engines) {
    engine->completion = ScriptedEngine::Completion::kByTest;
  }
  const auto start = [&](const ScriptedEngine& engine) {
    workers.push_back(std::make_unique<Worker>(Worker{&engine, nullptr}));
    workers.back()->thread = ::CreateThread(
        nullptr, 0,
        [](void* worker) -> DWORD {
          static_cast<const Worker*>(worker)->engine->Complete();
          return 0;
        },
        workers.back().get(), 0, nullptr);
  };
  Request(L"Eco", kOn);

  for (const wchar_t* item : {L"Screen", L"Keys", L"Sound"}) {
    ASSERT_TRUE(PumpUntil([&] { return !Engine(item).requested.empty(); })) << item;
    start(Engine(item));
  }
  Notifications told;
  EXPECT_TRUE(PumpUntil([&] { return !(told = requester.Take()).empty(); }));

  EXPECT_THAT(told, ElementsAre(Told(1)));
  for (const auto& worker : workers) {
    ::WaitForSingleObject(worker->thread, INFINITE);
    ::CloseHandle(worker->thread);
  }
}

// --- Results -------------------------------------------------------------------------------------

TEST_F(ChangeModeWindowCompletionTest, PassesOnHowTheChangeEnded) {
  struct Row {
    WPARAM result;
    WPARAM told;
    Trace traced;
  };
  const Row rows[] = {
      {0, 0, Ended(1, 0)},
      {2, 2, Ended(1, 2)},
      {3, 3, Ended(1, 3)},
      {4, 0, In(L"OnCompletionNotice", 629, L"4")},
      {7, 0, In(L"OnCompletionNotice", 629, L"7")},
      {0xFFFFFFFF, 0, In(L"OnCompletionNotice", 629, L"4294967295")},
      {0x100000001, 0, In(L"OnCompletionNotice", 629, L"1")},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.result);
    sandbox.Remove(sandbox.DataFile(L"ModeChange.Status.ini"));
    SetStatus(L"Quiet", 1);
    for (const auto& [item, engine] : engines) {
      engine->requested.clear();
      engine->current = 0;
    }
    Engine(L"Keys").result = row.result;

    EXPECT_THAT(Change(L"Eco", kOn), ElementsAre(Told(row.told)));

    EXPECT_EQ(traces.Take(), (Traces{row.traced}));
    // What was set stays set, what was saved stays saved, and the old mode is still ON.
    EXPECT_THAT(Engine(L"Screen").requested, ElementsAre(1));
    EXPECT_THAT(Engine(L"Keys").requested, ElementsAre(1));
    EXPECT_THAT(Engine(L"Sound").requested, IsEmpty());
    EXPECT_EQ(Engine(L"Keys").openHandles, 0);
    EXPECT_THAT(StatusFile(),
                ElementsAre("[CurrentModeStatus] Quiet=1", "[NormalEnvironment] Screen=0",
                            "[NormalEnvironment] Keys=0"));
  }
}

TEST_F(ChangeModeWindowCompletionTest, EndsAlsoWhileAnEngineIsStillAtWork) {
  Engine(L"Screen").completion = ScriptedEngine::Completion::kNever;
  Request(L"Eco", kOn);
  PumpAll();
  Notify(3);
  PumpAll();
  EXPECT_THAT(requester.Take(), ElementsAre(Told(3)));
  EXPECT_EQ(Engine(L"Screen").openHandles, 0);
  EXPECT_EQ(DescribeRecord(), kIdle);
  EXPECT_EQ(traces.Take(), (Traces{Ended(0, 3)}));
}

TEST_F(ChangeModeWindowCompletionTest, IsReadyForTheNextChangeAfterAFailure) {
  Engine(L"Sound").result = 2;
  EXPECT_THAT(Change(L"Eco", kOn), ElementsAre(Told(2)));
  EXPECT_EQ(traces.Take(), (Traces{Ended(2, 2)}));
  Engine(L"Sound").result = 1;
  EXPECT_THAT(Change(L"Eco", kOn), ElementsAre(Told(1)));
  EXPECT_THAT(Record()->settingItemNames, ElementsAre(L"Screen", L"Keys", L"Sound"));
}

// --- Statuses that can't be recorded -------------------------------------------------------------

TEST_F(ChangeModeWindowCompletionTest, FailsWhereTheOldModeCannotBeRecorded) {
  RefuseToWrite(L"CurrentModeStatus", L"Quiet");

  EXPECT_THAT(Change(L"Eco", kOn), ElementsAre(Told(0)));

  EXPECT_EQ(traces.Take(), (Traces{{L"CModeChangeStatus::SaveCurrentModeStatus", 138,
                                    sandbox.DataFile(L"ModeChange.Status.ini").wstring() + L", 5"},
                                   {L"CModeChangeStatus::SaveCurrentModeStatus", 139, L"0"},
                                   In(L"OnCompletionNotice", 541, L"Quiet")}));
  EXPECT_THAT(StatusFile(),
              ElementsAre("[CurrentModeStatus] Quiet=1", "[NormalEnvironment] Screen=0",
                          "[NormalEnvironment] Keys=0", "[NormalEnvironment] Sound=0"));
}

TEST_F(ChangeModeWindowCompletionTest, FailsWhereTheNewModeCannotBeRecorded) {
  RefuseToWrite(L"CurrentModeStatus", L"Eco");

  EXPECT_THAT(Change(L"Eco", kOn), ElementsAre(Told(0)));

  EXPECT_EQ(traces.Take(), (Traces{{L"CModeChangeStatus::SaveCurrentModeStatus", 138,
                                    sandbox.DataFile(L"ModeChange.Status.ini").wstring() + L", 5"},
                                   {L"CModeChangeStatus::SaveCurrentModeStatus", 139, L"1"},
                                   In(L"OnCompletionNotice", 565, L"Eco, 1")}));
  EXPECT_THAT(StatusFile(),
              ElementsAre("[CurrentModeStatus] Quiet=0", "[NormalEnvironment] Screen=0",
                          "[NormalEnvironment] Keys=0", "[NormalEnvironment] Sound=0"));

  EXPECT_THAT(Change(L"Eco", kOff), ElementsAre(Told(0)));
  EXPECT_EQ(traces.Take().back(), In(L"OnCompletionNotice", 565, L"Eco, 0"));
}

TEST_F(ChangeModeWindowCompletionTest, SucceedsWhereTheModesTypeCannotBeRead) {
  interposition.Observe("WritePrivateProfileStringW", [this](const Call& call) {
    if (std::wstring(call.Text(1)) == L"Eco") sandbox.Remove(L"ModeChange.Config.ini");
  });

  EXPECT_THAT(Change(L"Eco", kOn), ElementsAre(Told(1)));

  const std::wstring path = sandbox.LibraryFolder().wstring() + L"\\ModeChange.Config.ini";
  EXPECT_EQ(traces.Take(), (Traces{{L"CModeChangeConfig::DoesConfigFileExist", 282, path},
                                   {L"CModeChangeConfig::GetModeType", 135}}));
}

// --- Notices on an idle window -------------------------------------------------------------------

TEST_F(ChangeModeWindowCompletionTest, IgnoresADoneItemWhenNoChangeRuns) {
  Notify(1);
  PumpAll();
  EXPECT_EQ(traces.Take(), (Traces{In(L"OnCompletionNotice", 490)}));
  EXPECT_THAT(Posts(), IsEmpty());
  EXPECT_THAT(log, IsEmpty());
  EXPECT_THAT(Writes(), IsEmpty());
  EXPECT_EQ(DescribeRecord(), kIdle);
}

TEST_F(ChangeModeWindowCompletionTest, OnlyTracesOtherResultsWhenNoChangeRuns) {
  Notify(0);
  Notify(2);
  Notify(3);
  Notify(7);
  PumpAll();
  EXPECT_EQ(traces.Take(),
            (Traces{Ended(0, 0), Ended(0, 2), Ended(0, 3), In(L"OnCompletionNotice", 629, L"7")}));
  EXPECT_THAT(Posts(), IsEmpty());
  EXPECT_THAT(log, IsEmpty());
  EXPECT_THAT(Writes(), IsEmpty());
  EXPECT_EQ(DescribeRecord(), kIdle);
}

TEST_F(ChangeModeWindowCompletionTest, SetsNoItemWhenNoChangeRuns) {
  SetNormalValue(L"Screen", 1);
  EXPECT_EQ(::SendMessageW(window, WM_CHANGEMODE_SETDEVICESTATUS, 0, 0), 0);
  PumpAll();
  EXPECT_EQ(traces.Take(), (Traces{In(L"OnSetDeviceStatus", 383)}));
  EXPECT_THAT(Posts(), IsEmpty());
  EXPECT_THAT(log, IsEmpty());
  EXPECT_EQ(DescribeRecord(), kIdle);
}

}  // namespace
