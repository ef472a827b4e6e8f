#include <cstring>
#include <cwchar>

#include "unit/changemode/ChangeModeWindowFixture.h"

namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

/// Two pages of memory, the second of which can't be read.
class GuardedPage {
 public:
  static constexpr std::size_t kSize = 4096;

  GuardedPage()
      : memory(static_cast<char*>(
            ::VirtualAlloc(nullptr, 2 * kSize, MEM_RESERVE | MEM_COMMIT, PAGE_READWRITE))) {
    DWORD before = 0;
    ::VirtualProtect(memory + kSize, kSize, PAGE_NOACCESS, &before);
  }
  ~GuardedPage() { ::VirtualFree(memory, 0, MEM_RELEASE); }
  GuardedPage(const GuardedPage&) = delete;
  GuardedPage& operator=(const GuardedPage&) = delete;

  [[nodiscard]] char* End() const { return memory + kSize; }
  /// A text that ends, without a terminator, where memory ends.
  [[nodiscard]] wchar_t* FillUpTo(std::size_t characters) const {
    auto* text = reinterpret_cast<wchar_t*>(End()) - characters;
    std::wmemset(text, L'x', characters);
    return text;
  }

 private:
  char* memory;
};

class ChangeModeWindowRequestTest : public ChangeModeWindowTest {
 protected:
  void SetUp() override { MakeMachine({L"Screen"}); }

  /// A request that is refused with this trace: TRUE comes back, the window posts a failure to
  /// itself, and nobody is told as nothing was accepted.
  void ExpectRefused(const COPYDATASTRUCT* copyData, const Trace& expected) {
    interposition.ClearCalls();
    EXPECT_EQ(Send(copyData), TRUE);
    EXPECT_EQ(traces.Take(), (Traces{expected}));
    EXPECT_THAT(Posts(), ElementsAre("window 0x8002 0"));

    PumpAll();

    EXPECT_EQ(traces.Take(), (Traces{Ended(0)}));
    EXPECT_THAT(Posts(), ElementsAre("window 0x8002 0"));
    EXPECT_THAT(requester.Take(), IsEmpty());
    EXPECT_THAT(log, IsEmpty()) << "No engine is asked.";
    EXPECT_EQ(DescribeRecord(), kIdle);
  }

  [[nodiscard]] ChangeModeRequest GoodRequest(const wchar_t* mode = L"Eco") const {
    return {requester.Window(), kNotify, mode, kOn};
  }
  void ExpectModeNameRefused(const wchar_t* name) {
    ChangeModeRequest request = GoodRequest(name);
    const COPYDATASTRUCT copyData{ChangeModeRequest::kCopyDataId, sizeof(request), &request};
    ExpectRefused(&copyData, In(L"OnCopyData", 324));
  }
};

// --- Accepting -----------------------------------------------------------------------------------

TEST_F(ChangeModeWindowRequestTest, IsAcceptedAndDrivenOnByAMessage) {
  SetStatus(L"Quiet", 1);

  EXPECT_EQ(Request(L"Eco", kOn), TRUE);

  EXPECT_EQ(DescribeRecord(),
            "not busy, tells somebody by 0x804d, item 0, from \"Quiet\" to \"Eco\" = 1, no engine");
  EXPECT_EQ(Record()->notifyWindow, requester.Window());
  EXPECT_THAT(Posts(), ElementsAre("window 0x8001 0"));
  EXPECT_THAT(log, IsEmpty()) << "No engine is asked before messages are handled.";
}

TEST_F(ChangeModeWindowRequestTest, IsCopiedBeforeTheMessageReturns) {
  SetValue(L"Eco", L"Screen", 1);
  wchar_t name[] = L"Eco";
  ChangeModeRequest request = GoodRequest(name);
  COPYDATASTRUCT copyData{ChangeModeRequest::kCopyDataId, sizeof(request), &request};
  EXPECT_EQ(Send(&copyData), TRUE);

  std::wmemset(name, L'x', std::size(name));
  request = {};
  copyData = {};
  PumpAll();

  EXPECT_THAT(requester.Take(), ElementsAre(Told(1)));
  EXPECT_THAT(Engine(L"Screen").requested, ElementsAre(1));
  EXPECT_THAT(StatusFile(),
              ElementsAre("[NormalEnvironment] Screen=0", "[CurrentModeStatus] Eco=1"));
}

TEST_F(ChangeModeWindowRequestTest, TellsTheWindowThatItNamesByTheMessageThatItNames) {
  const Requester other;
  Request(L"Eco", kOn, requester.Window(), WM_APP + 5);
  PumpAll();
  EXPECT_THAT(requester.Take(), ElementsAre(Notification{WM_APP + 5, 1, 0}));
}

TEST_F(ChangeModeWindowRequestTest, NeedNotNameAWindow) {
  SetValue(L"Eco", L"Screen", 1);
  Request(L"Eco", kOn, nullptr);
  PumpAll();
  EXPECT_THAT(StatusFile(),
              ElementsAre("[NormalEnvironment] Screen=0", "[CurrentModeStatus] Eco=1"));
  EXPECT_THAT(Posts(), ElementsAre("window 0x8001 0"));
  EXPECT_EQ(DescribeRecord(), kIdle);

  interposition.ClearCalls();
  Engine(L"Screen").result = 0;
  Request(L"Eco", kOff, nullptr);
  PumpAll();
  EXPECT_THAT(Posts(), ElementsAre("window 0x8001 0"));
  Engine(L"Screen").result = 7;
  Request(L"Eco", kOff, nullptr);
  PumpAll();
  EXPECT_THAT(Posts(), ElementsAre("window 0x8001 0", "window 0x8001 0"));
  EXPECT_EQ(traces.Take(), (Traces{Ended(0), In(L"OnCompletionNotice", 629, L"7")}));
}

TEST_F(ChangeModeWindowRequestTest, IsTracedWhenItsRequesterIsGone) {
  SetValue(L"Eco", L"Screen", 1);
  Request(L"Eco", kOn);
  requester.Leave();

  PumpAll();

  EXPECT_EQ(traces.Take(), (Traces{In(L"EndChange", 205)}));
  EXPECT_EQ(DescribeRecord(), kIdle);
  EXPECT_THAT(StatusFile(),
              ElementsAre("[NormalEnvironment] Screen=0", "[CurrentModeStatus] Eco=1"));
}

// --- The mode that is ON -------------------------------------------------------------------------

TEST_F(ChangeModeWindowRequestTest, FindsTheModeThatIsOn) {
  struct Row {
    const char* what;
    std::vector<std::pair<const wchar_t*, int>> statuses;
    const wchar_t* found;
  };
  const Row rows[] = {
      {"no mode was ever switched", {}, L""},
      {"all are OFF", {{L"Eco", 0}, {L"Quiet", 0}}, L""},
      {"the last of the list", {{L"Quiet", 1}}, L"Quiet"},
      {"two are ON: the list's order counts", {{L"Own", 1}, {L"Dock", 1}}, L"Dock"},
      {"only 1 is ON", {{L"Eco", 2}, {L"Flight", -1}, {L"Dock", 1}}, L"Dock"},
      {"a mode that this machine does not offer", {{L"Travel", 1}}, L""},
      {"the mode that is requested", {{L"Eco", 1}}, L"Eco"},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.what);
    sandbox.Remove(sandbox.DataFile(L"ModeChange.Status.ini"));
    for (const auto& [mode, status] : row.statuses) SetStatus(mode, status);
    Request(L"Eco", kOn);
    EXPECT_STREQ(Record()->currentOnModeName.c_str(), row.found);
  }
}

TEST_F(ChangeModeWindowRequestTest, ReadsAFolderInPlaceOfTheStatusFileAsNoModeOn) {
  sandbox.MakeFolder(sandbox.DataFile(L"ModeChange.Status.ini"));
  EXPECT_EQ(Request(L"Eco", kOn), TRUE);
  EXPECT_STREQ(Record()->currentOnModeName.c_str(), L"");
}

TEST_F(ChangeModeWindowRequestTest, FailsWhereTheModesCannotBeRead) {
  sandbox.Remove(L"ModeChange.UsableModeList.ini");

  EXPECT_THAT(Change(L"Eco", kOn), ElementsAre(Told(0)));

  const std::wstring path = sandbox.LibraryFolder().wstring() + L"\\ModeChange.UsableModeList.ini";
  EXPECT_EQ(traces.Take(), (Traces{{L"CModeChangeConfig::DoesConfigFileExist", 285, path},
                                   {L"CModeChangeConfig::GetUsableModeList", 110},
                                   In(L"GetCurrentONModeName", 989),
                                   In(L"OnCopyData", 330),
                                   Ended(0)}));
  EXPECT_THAT(log, IsEmpty());
}

// --- Refusing ------------------------------------------------------------------------------------

TEST_F(ChangeModeWindowRequestTest, IsRefusedWithoutData) {
  ExpectRefused(nullptr, In(L"OnCopyData", 298));
}

TEST_F(ChangeModeWindowRequestTest, IsRefusedWithAnotherIdentifier) {
  ChangeModeRequest request = GoodRequest();
  for (const ULONG_PTR identifier : {ULONG_PTR{0}, ULONG_PTR{2}, ULONG_PTR{0x100000001}}) {
    SCOPED_TRACE(identifier);
    const COPYDATASTRUCT copyData{identifier, sizeof(request), &request};
    ExpectRefused(&copyData, In(L"OnCopyData", 303));
  }
}

TEST_F(ChangeModeWindowRequestTest, IsRefusedWithAnotherSize) {
  ChangeModeRequest requests[2] = {GoodRequest(), GoodRequest()};
  for (const DWORD size : {0U, 31U, 33U, 64U}) {
    SCOPED_TRACE(size);
    const COPYDATASTRUCT copyData{ChangeModeRequest::kCopyDataId, size, requests};
    ExpectRefused(&copyData, In(L"OnCopyData", 318, std::to_wstring(size)));
  }
}

TEST_F(ChangeModeWindowRequestTest, IsRefusedWhenItCannotBeRead) {
  const GuardedPage page;
  void* const unreadable[] = {nullptr, page.End(), page.End() - 8};
  for (void* data : unreadable) {
    SCOPED_TRACE(data);
    const COPYDATASTRUCT copyData{ChangeModeRequest::kCopyDataId, sizeof(ChangeModeRequest), data};
    ExpectRefused(&copyData, In(L"OnCopyData", 321));
  }
}

TEST_F(ChangeModeWindowRequestTest, IsRefusedWithoutAModeName) {
  ExpectModeNameRefused(nullptr);
}

TEST_F(ChangeModeWindowRequestTest, IsRefusedWhenTheModeNameCannotBeRead) {
  const GuardedPage page;
  ExpectModeNameRefused(reinterpret_cast<const wchar_t*>(page.End()));
}

TEST_F(ChangeModeWindowRequestTest, IsRefusedWhenTheModeNameHasNoEnd) {
  const GuardedPage page;
  ExpectModeNameRefused(page.FillUpTo(3));
  // Half a character is left on the page.
  const wchar_t* text = page.FillUpTo(5);
  ExpectModeNameRefused(reinterpret_cast<const wchar_t*>(reinterpret_cast<const char*>(text) + 1));
}

TEST_F(ChangeModeWindowRequestTest, IsRefusedWhenTheModeNameIsTooLongToBeOne) {
  constexpr std::size_t kMost = 0x8000;
  const std::wstring tooLong(kMost, L'x');
  ExpectModeNameRefused(tooLong.c_str());

  const std::wstring longest(kMost - 1, L'x');
  EXPECT_EQ(Request(longest.c_str(), kOn), TRUE);
  EXPECT_EQ(Record()->newModeName.length(), kMost - 1);
}

TEST_F(ChangeModeWindowRequestTest, ReadsAModeNameAcrossPages) {
  constexpr std::size_t kPage = 4096;
  auto* pages = static_cast<char*>(
      ::VirtualAlloc(nullptr, 2 * kPage, MEM_RESERVE | MEM_COMMIT, PAGE_READWRITE));
  // Also where the second character straddles the two pages.
  for (const std::size_t before : {4U, 3U}) {
    auto* name = reinterpret_cast<wchar_t*>(pages + kPage - before);
    std::memcpy(name, L"Flight", sizeof(L"Flight"));
    Request(name, kOn);
    EXPECT_STREQ(Record()->newModeName.c_str(), L"Flight");
  }
  ::VirtualFree(pages, 0, MEM_RELEASE);
}

TEST_F(ChangeModeWindowRequestTest, ReadsAModeNameAtTheVeryEndOfMemory) {
  const GuardedPage page;
  wchar_t* name = page.FillUpTo(4);
  std::memcpy(name, L"Eco", sizeof(L"Eco"));
  Request(name, kOn);
  EXPECT_STREQ(Record()->newModeName.c_str(), L"Eco");
}

TEST_F(ChangeModeWindowRequestTest, FromAnotherProgramIsRefusedWhenItNamesNoMode) {
  // What it names is text of this process, and would be found in the status file afterwards.
  interposition.Replace("InSendMessageEx", [](void*) { return DWORD{ISMEX_SEND}; });
  for (const wchar_t* text : {L"A secret", L"", L"Travel", L"Eco "}) {
    SCOPED_TRACE(Text::ToUtf8(text));
    ChangeModeRequest request = GoodRequest(text);
    const COPYDATASTRUCT copyData{ChangeModeRequest::kCopyDataId, sizeof(request), &request};
    ExpectRefused(&copyData, In(L"OnCopyData", 326));
    EXPECT_THAT(StatusFile(), ElementsAre("no file"));
  }
}

TEST_F(ChangeModeWindowRequestTest, FromAnotherProgramIsRefusedWhenTheModesCannotBeRead) {
  interposition.Replace("InSendMessageEx", [](void*) { return DWORD{ISMEX_SEND}; });
  interposition.Fail("GetFileAttributesW", {});
  ChangeModeRequest request = GoodRequest();
  const COPYDATASTRUCT copyData{ChangeModeRequest::kCopyDataId, sizeof(request), &request};
  EXPECT_EQ(Send(&copyData), TRUE);
  const Traces told = traces.Take();
  ASSERT_EQ(told.size(), 3U);
  EXPECT_EQ(told[0].function, L"CModeChangeConfig::DoesConfigFileExist");
  EXPECT_EQ(told[1], (Trace{L"CModeChangeConfig::GetUsableModeList", 110}));
  EXPECT_EQ(told[2], In(L"OnCopyData", 326));
  EXPECT_THAT(StatusFile(), ElementsAre("no file"));
}

TEST_F(ChangeModeWindowRequestTest, FromAnotherProgramIsAcceptedWhenItNamesAMode) {
  interposition.Replace("InSendMessageEx", [](void*) { return DWORD{ISMEX_SEND}; });
  for (const wchar_t* mode : {L"Eco", L"eCO", L"Quiet"}) {
    SCOPED_TRACE(Text::ToUtf8(mode));
    EXPECT_THAT(Change(mode, kOn), ElementsAre(Told(1)));
  }
}

TEST_F(ChangeModeWindowRequestTest, IsRefusedWhileTheRecordSaysBusy) {
  Record()->busy = true;
  ChangeModeRequest request = GoodRequest();
  const COPYDATASTRUCT copyData{ChangeModeRequest::kCopyDataId, sizeof(request), &request};
  // The failure that the refusal posts ends the busy state, too.
  ExpectRefused(&copyData, In(L"OnCopyData", 315));
}

TEST_F(ChangeModeWindowRequestTest, IsRefusedByAWindowWithoutARecord) {
  ChangeModeWindowData* record = Record();
  ::SetWindowLongPtrW(window, GWLP_USERDATA, 0);

  EXPECT_EQ(Request(L"Eco", kOn), TRUE);
  EXPECT_EQ(traces.Take(), (Traces{In(L"OnCopyData", 309)}));
  EXPECT_THAT(Posts(), ElementsAre("window 0x8002 0"));
  PumpAll();
  EXPECT_EQ(traces.Take(), (Traces{In(L"OnCompletionNotice", 456)}));

  interposition.ClearCalls();
  EXPECT_EQ(::SendMessageW(window, WM_CHANGEMODE_SETDEVICESTATUS, 0, 0), 0);
  EXPECT_EQ(traces.Take(), (Traces{In(L"OnSetDeviceStatus", 379)}));
  EXPECT_THAT(Posts(), ElementsAre("window 0x8002 0"));
  PumpAll();
  EXPECT_EQ(traces.Take(), (Traces{In(L"OnCompletionNotice", 456)}));
  EXPECT_THAT(requester.Take(), IsEmpty());

  ::SetWindowLongPtrW(window, GWLP_USERDATA, reinterpret_cast<LONG_PTR>(record));
}

// --- Several requests ----------------------------------------------------------------------------

TEST_F(ChangeModeWindowRequestTest, EndsTheChangeThatRunsWhenItIsRefused) {
  SetValue(L"Eco", L"Screen", 1);
  Engine(L"Screen").completion = ScriptedEngine::Completion::kByTest;
  Request(L"Eco", kOn);
  PumpAll();

  EXPECT_EQ(Send(nullptr), TRUE);
  PumpAll();

  EXPECT_EQ(traces.Take(), (Traces{In(L"OnCopyData", 298), Ended(0)}));
  EXPECT_THAT(requester.Take(), ElementsAre(Told(0)));
  EXPECT_EQ(DescribeRecord(), kIdle);
  EXPECT_EQ(Engine(L"Screen").openHandles, 0);
}

TEST_F(ChangeModeWindowRequestTest, TakesThePlaceOfTheChangeThatRuns) {
  SetValue(L"Eco", L"Screen", 1);
  SetValue(L"Quiet", L"Screen", 2);
  Engine(L"Screen").values = 3;
  Engine(L"Screen").completion = ScriptedEngine::Completion::kNever;
  Request(L"Eco", kOn);
  PumpAll();
  Engine(L"Screen").completion = ScriptedEngine::Completion::kAtOnce;
  Requester second;

  EXPECT_EQ(Request(L"Quiet", kOn, second.Window()), TRUE);
  PumpAll();

  EXPECT_THAT(requester.Take(), IsEmpty());
  EXPECT_THAT(second.Take(), ElementsAre(Told(1)));
  EXPECT_THAT(Engine(L"Screen").requested, ElementsAre(1, 2));
  EXPECT_EQ(Engine(L"Screen").openHandles, 0);
  EXPECT_EQ(DescribeRecord(), kIdle);
  // The first change never came to its end, so its value counts as the normal one.
  EXPECT_THAT(StatusFile(),
              ElementsAre("[NormalEnvironment] Screen=1", "[CurrentModeStatus] Quiet=1"));
}

TEST_F(ChangeModeWindowRequestTest, TakesThePlaceOfOneThatHasNotBegun) {
  SetValue(L"Eco", L"Screen", 1);
  Request(L"Quiet", kOn);
  Request(L"Eco", kOn);

  PumpAll();

  EXPECT_THAT(requester.Take(), ElementsAre(Told(1)));
  EXPECT_THAT(Engine(L"Screen").requested, ElementsAre(1)) << "Each item is set once.";
  EXPECT_THAT(StatusFile(),
              ElementsAre("[NormalEnvironment] Screen=0", "[CurrentModeStatus] Eco=1"));
  EXPECT_EQ(traces.Take(), (Traces{In(L"OnSetDeviceStatus", 383)}));
  EXPECT_EQ(DescribeRecord(), kIdle);
}

}  // namespace
