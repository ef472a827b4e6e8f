#include <limits>

#include "system/SettingsFixture.h"
#include "velto/device_engine.h"

namespace {

using ::testing::Each;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

constexpr INT32 kLargest = std::numeric_limits<INT32>::max();
constexpr INT32 kSmallest = std::numeric_limits<INT32>::min();

/// Engines that do what they should not, as a host sees it. Mode Eco sets Lamp and Fan to 1.
class MisbehavingEnginesTest : public SettingsTest {
 protected:
  MisbehavingEnginesTest() {
    SetDefault(L"Eco", L"Lamp", 1);
    SetDefault(L"Eco", L"Fan", 1);
    for (const wchar_t* item : {L"Lamp", L"Fan"}) Engine(item).current = 0;
    interposition.SetRecording(false);
  }
  void OpenOn(UINT mode) {
    Open();
    ASSERT_TRUE(selectMode(handle, mode));
  }
  /// The result of a whole change; none where the host was told nothing.
  std::optional<WPARAM> Change(INT32 status) {
    EXPECT_TRUE(Request(status));
    return WaitForResult();
  }
  static Trace InWindow(const std::wstring& function, std::uint32_t line,
                        std::wstring message = L"No Additional Information") {
    return {L"ChangeModeWindow::`anonymous-namespace'::" + function, line, std::move(message)};
  }
  void ExpectEnginesClosed() {
    for (const wchar_t* item : {L"Lamp", L"Fan"}) {
      EXPECT_EQ(Engine(item).openHandles, 0) << Text::ToUtf8(item);
    }
  }
  [[nodiscard]] std::wstring Remembered(const wchar_t* item) const {
    return sandbox.IniValue(sandbox.DataFile(L"ModeChange.Status.ini"), L"NormalEnvironment", item)
        .value_or(L"none");
  }
  [[nodiscard]] std::size_t Asked(std::string_view call) const {
    return static_cast<std::size_t>(
        std::count_if(log.begin(), log.end(),
                      [call](const std::string& line) { return line.starts_with(call); }));
  }
};

// --- Texts ---------------------------------------------------------------------------------------

struct TextAnswer {
  const char* what;
  std::size_t characters;  // written into the buffer of 256
  bool terminated;
  UINT length;  // what the engine says that it used
  std::size_t read;
};

const TextAnswer kTextAnswers[] = {
    {"255 characters", 255, true, 256, 255},
    {"256 characters, hence no terminator", 256, false, 256, 255},
    {"256 characters, and a length far beyond", 256, false, 0xFFFFFFFF, 255},
    {"a length of nothing", 4, true, 0, 4},
    {"no text, not even a terminator", 0, false, 256, 0},
};

class MisbehavingTextTest : public MisbehavingEnginesTest {
 protected:
  /// Has an engine answer each question for a text so, and gives the texts that it means.
  void Answer(const wchar_t* item, const TextAnswer& answer) {
    const std::wstring key(answer.read, L'k');
    if (!key.empty()) SetText(L"SettingItem", key, L"Found " + std::to_wstring(answer.read));
    Engine(item).writeText = [answer](UINT, UINT, UINT* length, WCHAR* buffer) {
      for (std::size_t i = 0; i < answer.characters; ++i) buffer[i] = L'k';
      if (answer.terminated) buffer[answer.characters] = L'\0';
      *length = answer.length;
    };
  }
  [[nodiscard]] static std::wstring Expected(const TextAnswer& answer) {
    return answer.read == 0 ? L"" : L"Found " + std::to_wstring(answer.read);
  }
};

TEST_F(MisbehavingTextTest, TheConfirmationReadsNoMoreThanTheBuffer) {
  WriteDefaults(true);
  OpenOn(kEco);
  for (const TextAnswer& answer : kTextAnswers) {
    SCOPED_TRACE(answer.what);
    Answer(L"Lamp", answer);
    std::wstring detail;
    robot.Then("confirmation", DialogRobot::DialogWith(IDC_ANNOUNCE_DETAIL),
               [&detail](HWND dialog) {
                 detail = TextOf(::GetDlgItem(dialog, IDC_ANNOUNCE_DETAIL));
                 Click(dialog, IDC_CANCEL_BUTTON);
               });
    EXPECT_EQ(Change(1), VELTO_MODE_CHANGE_COMPLETED);
    const std::wstring text = Expected(answer);
    EXPECT_NE(detail.find(L"- " + text + L": " + text + L"\r\n"), std::wstring::npos)
        << Text::ToUtf8(detail);
  }
}

TEST_F(MisbehavingTextTest, TheSettingsDialogReadsNoMoreThanTheBuffer) {
  OpenOn(kEco);
  for (const TextAnswer& answer : kTextAnswers) {
    SCOPED_TRACE(answer.what);
    Answer(L"Lamp", answer);
    robot.Then("settings", DialogRobot::DialogWith(IDC_APPLY_BUTTON), [&answer](HWND frame) {
      const HWND line = Line(Expected(answer));
      EXPECT_NE(line, nullptr);
      EXPECT_EQ(TextOf(::GetDlgItem(line, IDC_SECOND_VALUE)), Expected(answer));
      Click(frame, IDC_CANCEL_BUTTON);
    });
    EXPECT_TRUE(showSettingsDialog(handle, hostWindow));
  }
}

// --- Counts --------------------------------------------------------------------------------------

TEST_F(MisbehavingEnginesTest, AnyNumberOfDevicesButNoneMeansTheFirstOne) {
  OpenOn(kEco);
  for (const UINT devices : {1U, 0x7FFFFFFFU, 0x80000000U, 0xFFFFFFFFU}) {
    SCOPED_TRACE(devices);
    Engine(L"Lamp").devices = devices;
    Engine(L"Lamp").requested.clear();
    EXPECT_EQ(Change(1), VELTO_MODE_CHANGE_COMPLETED);
    EXPECT_THAT(Engine(L"Lamp").requested, ElementsAre(1));
    EXPECT_EQ(Asked("Lamp.SelectDevice(0)"), Asked("Lamp.SelectDevice"));
    EXPECT_EQ(Change(0), VELTO_MODE_CHANGE_COMPLETED);
  }
}

TEST_F(MisbehavingEnginesTest, AnItemWithoutAChoiceIsLeftOutEverywhere) {
  WriteDefaults(true);
  OpenOn(kEco);
  for (const INT32 values : {0, 1, -1, kSmallest}) {
    SCOPED_TRACE(values);
    Engine(L"Lamp").values = values;
    std::wstring detail;
    robot
        .Then("confirmation", DialogRobot::DialogWith(IDC_ANNOUNCE_DETAIL),
              [&detail](HWND dialog) {
                detail = TextOf(::GetDlgItem(dialog, IDC_ANNOUNCE_DETAIL));
                Click(dialog, IDC_OK_BUTTON);
              })
        .Then("settings", DialogRobot::DialogWith(IDC_APPLY_BUTTON), [](HWND frame) {
          EXPECT_EQ(Line(L"Lamp"), nullptr);
          EXPECT_NE(Line(L"Fan"), nullptr);
          Click(frame, IDC_CANCEL_BUTTON);
        });
    EXPECT_EQ(Change(1), VELTO_MODE_CHANGE_COMPLETED);
    EXPECT_EQ(detail.find(L"Lamp"), std::wstring::npos) << Text::ToUtf8(detail);
    EXPECT_TRUE(showSettingsDialog(handle, hostWindow));
    EXPECT_THAT(Engine(L"Lamp").requested, IsEmpty());
    EXPECT_EQ(Remembered(L"Lamp"), L"none");
  }
}

TEST_F(MisbehavingEnginesTest, AHugeNumberOfValuesEndsWithTheFirstOneThatTheEngineDoesNotKnow) {
  OpenOn(kEco);
  Engine(L"Lamp").values = kLargest;
  Engine(L"Lamp").failing = {"GetINT32Information(2, 1000)"};
  const Traces notUsable{{L"CDeviceEngineHelper::GetINT32INformation", 206, L"2, 1000"},
                         {L"IsSettingItemUsableInThisPC", 84, L"1000"}};

  EXPECT_EQ(Change(1), VELTO_MODE_CHANGE_FAILED);
  Traces expected = notUsable;
  expected.push_back(InWindow(L"OnSetDeviceStatus", 405));
  expected.push_back(InWindow(L"OnCompletionNotice", 469, L"0, 0"));
  EXPECT_EQ(traces.Take(), expected);
  EXPECT_EQ(Asked("Lamp.GetINT32Information(2,"), 1001U);

  robot.Then("error", DialogRobot::AnyMessageBox(), DialogRobot::Dismiss);
  EXPECT_FALSE(showSettingsDialog(handle, hostWindow));
  EXPECT_EQ(Asked("Lamp.GetINT32Information(2,"), 2002U);
  expected = traces.Take();
  ASSERT_GE(expected.size(), 2U);
  expected.resize(2);
  EXPECT_EQ(expected, notUsable);
  ExpectEnginesClosed();
}

// --- Values out of range -------------------------------------------------------------------------

TEST_F(MisbehavingEnginesTest, APresentValueIsKeptAndBroughtBackAsTheEngineToldIt) {
  OpenOn(kEco);
  struct Row {
    INT32 present;
    std::vector<INT32> requested;
  };
  const Row rows[] = {
      {7, {1, 7}}, {kLargest, {1, kLargest}}, {-1, {1}}, {-2, {1}}, {kSmallest, {1}}};
  for (const Row& row : rows) {
    SCOPED_TRACE(row.present);
    Engine(L"Lamp").current = row.present;
    Engine(L"Lamp").requested.clear();
    EXPECT_EQ(Change(1), VELTO_MODE_CHANGE_COMPLETED);
    EXPECT_EQ(Remembered(L"Lamp"), std::to_wstring(row.present));
    EXPECT_EQ(Change(0), VELTO_MODE_CHANGE_COMPLETED);
    EXPECT_EQ(Engine(L"Lamp").requested, row.requested) << "a negative value is no value";
  }
}

TEST_F(MisbehavingEnginesTest, APresentValueThatTheEngineDoesNotOfferCannotBeBroughtBack) {
  OpenOn(kEco);
  Engine(L"Lamp").current = 7;
  Engine(L"Lamp").available = {{7, 0}};
  EXPECT_EQ(Change(1), VELTO_MODE_CHANGE_COMPLETED);
  EXPECT_EQ(Change(0), VELTO_MODE_CHANGE_FAILED);
  EXPECT_EQ(traces.Take(),
            (Traces{InWindow(L"RequestToSetDeviceStatus", 722, L"0"),
                    InWindow(L"OnSetDeviceStatus", 438,
                             (sandbox.LibraryFolder() / L"Engines" / L"Lamp.dll").wstring()),
                    InWindow(L"OnSetDeviceStatus", 439, L"7"),
                    InWindow(L"OnCompletionNotice", 469, L"0, 0")}));
  EXPECT_EQ(GetNumber(VELTO_MODE_INT32_CURRENT_STATUS), 1) << "the mode is still on";
}

TEST_F(MisbehavingEnginesTest, OnlyOneIsAYes) {
  OpenOn(kEco);
  for (const INT32 answer : {2, -1, kLargest, kSmallest}) {
    SCOPED_TRACE(answer);
    Engine(L"Lamp").requested.clear();
    Engine(L"Fan").requested.clear();
    Engine(L"Lamp").supported = answer;
    Engine(L"Fan").busy = answer;
    EXPECT_EQ(Change(1), VELTO_MODE_CHANGE_COMPLETED);
    EXPECT_THAT(Engine(L"Lamp").requested, IsEmpty()) << "not supported";
    EXPECT_THAT(Engine(L"Fan").requested, ElementsAre(1)) << "not busy";
    EXPECT_EQ(Change(0), VELTO_MODE_CHANGE_COMPLETED);
  }
}

// --- Completions ---------------------------------------------------------------------------------

TEST_F(MisbehavingEnginesTest, ACompletionForAHandleThatIsGoneDoesNothing) {
  OpenOn(kEco);
  Engine(L"Lamp").completion = ScriptedEngine::Completion::kByTest;
  ASSERT_TRUE(Request(1));
  ASSERT_TRUE(PumpUntil([this] { return !Engine(L"Lamp").requested.empty(); }));
  Close();
  ExpectEnginesClosed();
  Engine(L"Lamp").Complete();
  PumpAll();

  OpenOn(kEco);
  Engine(L"Lamp").Complete();  // still to the window that is gone
  Engine(L"Lamp").completion = ScriptedEngine::Completion::kAtOnce;
  EXPECT_EQ(Change(1), VELTO_MODE_CHANGE_COMPLETED);
  EXPECT_TRUE(results.empty());
}

TEST_F(MisbehavingEnginesTest, ASecondCompletionCountsForTheItemThatWaits) {
  // Nothing in the message says which request it answers.
  OpenOn(kEco);
  Engine(L"Fan").completion = ScriptedEngine::Completion::kByTest;
  ASSERT_TRUE(Request(1));
  ASSERT_TRUE(PumpUntil([this] { return !Engine(L"Fan").requested.empty(); }));
  EXPECT_TRUE(results.empty());
  Engine(L"Lamp").Complete();
  EXPECT_EQ(WaitForResult(), VELTO_MODE_CHANGE_COMPLETED);
  ExpectEnginesClosed();

  Engine(L"Fan").Complete();
  PumpAll();
  EXPECT_EQ(traces.Take(), (Traces{InWindow(L"OnCompletionNotice", 490)}));
  EXPECT_TRUE(results.empty());
  Engine(L"Fan").completion = ScriptedEngine::Completion::kAtOnce;
  EXPECT_EQ(Change(0), VELTO_MODE_CHANGE_COMPLETED);
}

TEST_F(MisbehavingEnginesTest, AFailureOfAModeThatIsOverEndsTheChangeThatRuns) {
  OpenOn(kEco);
  Engine(L"Lamp").completion = ScriptedEngine::Completion::kByTest;
  ASSERT_TRUE(Request(1));
  ASSERT_TRUE(PumpUntil([this] { return !Engine(L"Lamp").requested.empty(); }));
  ASSERT_TRUE(Request(0));
  ASSERT_TRUE(PumpUntil([this] { return Engine(L"Lamp").requested.size() == 2; }));
  Engine(L"Lamp").result = VELTO_ENGINE_RESULT_FAILED;
  Engine(L"Lamp").Complete();
  EXPECT_EQ(WaitForResult(), VELTO_MODE_CHANGE_FAILED);
  EXPECT_EQ(traces.Take(), (Traces{InWindow(L"OnCompletionNotice", 469, L"0, 0")}));
  ExpectEnginesClosed();
  EXPECT_TRUE(results.empty()) << "the first request was replaced";
}

}  // namespace
