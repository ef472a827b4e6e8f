#include "unit/changemode/ChangeModeWindowFixture.h"

namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

// --- Which value an item takes, and what is kept -------------------------------------------------

constexpr int kAbsent = -1000;  // the status file has no value

/// One item; mode Quiet may be ON, and a mode is switched.
struct NormalEnvironmentCase {
  const char* name;
  // Before. Value kNoMode: Quiet is OFF.
  int quietValue;
  int saved;  // the item's normal value
  // The request.
  const wchar_t* mode;
  UINT status;
  int value;  // of the mode, if it is not Quiet
  // After.
  std::vector<INT32> requested;
  std::vector<std::string> writes;
  int savedAfter;
};
constexpr int kNoMode = -1001;
constexpr INT32 kCurrent = 3;

void PrintTo(const NormalEnvironmentCase& row, std::ostream* stream) {
  *stream << row.name;
}

class ChangeModeWindowNormalEnvironmentTest
    : public ChangeModeWindowTest,
      public testing::WithParamInterface<NormalEnvironmentCase> {};

TEST_P(ChangeModeWindowNormalEnvironmentTest, IsKept) {
  const NormalEnvironmentCase& row = GetParam();
  MakeMachine({L"Screen"});
  Engine(L"Screen").values = 10;
  Engine(L"Screen").current = kCurrent;
  SetStatus(L"Quiet", row.quietValue == kNoMode ? 0 : 1);
  if (row.quietValue != kNoMode) SetValue(L"Quiet", L"Screen", row.quietValue);
  if (std::wstring(row.mode) != L"Quiet") SetValue(row.mode, L"Screen", row.value);
  if (row.saved != kAbsent) SetNormalValue(L"Screen", row.saved);

  EXPECT_THAT(Change(row.mode, row.status), ElementsAre(Told(1)));

  EXPECT_EQ(Engine(L"Screen").requested, row.requested);
  EXPECT_EQ(Writes(), row.writes);
  const auto saved =
      sandbox.IniValue(sandbox.DataFile(L"ModeChange.Status.ini"), L"NormalEnvironment", L"Screen");
  EXPECT_EQ(saved, row.savedAfter == kAbsent ? std::nullopt
                                             : std::optional(std::to_wstring(row.savedAfter)));
}

const std::string kEcoOn = "[CurrentModeStatus] Eco=1";
const std::string kEcoOff = "[CurrentModeStatus] Eco=0";
const std::string kQuietOn = "[CurrentModeStatus] Quiet=1";
const std::string kQuietOff = "[CurrentModeStatus] Quiet=0";

const NormalEnvironmentCase kCases[] = {
    // No mode is ON.
    {"NoneToSetting",
     kNoMode,
     kAbsent,
     L"Eco",
     1,
     5,
     {5},
     {"[NormalEnvironment] Screen=3", kEcoOn},
     3},
    {"NoneToSettingZero",
     kNoMode,
     kAbsent,
     L"Eco",
     1,
     0,
     {0},
     {"[NormalEnvironment] Screen=3", kEcoOn},
     3},
    {"NoneToSettingOverAnOlderValue",
     kNoMode,
     7,
     L"Eco",
     1,
     5,
     {5},
     {"[NormalEnvironment] Screen=3", kEcoOn},
     3},
    {"NoneToLeaving",
     kNoMode,
     kAbsent,
     L"Eco",
     1,
     -1,
     {},
     {"[NormalEnvironment] Screen=-1", kEcoOn},
     -1},
    {"NoneToLeavingByAnotherNegative",
     kNoMode,
     kAbsent,
     L"Eco",
     1,
     -7,
     {},
     {"[NormalEnvironment] Screen=-1", kEcoOn},
     -1},
    {"NoneToLeavingOverAnOlderValue",
     kNoMode,
     7,
     L"Eco",
     1,
     -1,
     {},
     {"[NormalEnvironment] Screen=-1", kEcoOn},
     -1},

    // Another mode is ON.
    {"SettingToSetting", 2, 7, L"Eco", 1, 5, {5}, {kQuietOff, kEcoOn}, 7},
    {"SettingZeroToSettingZero", 0, 7, L"Eco", 1, 0, {0}, {kQuietOff, kEcoOn}, 7},
    {"SettingToSettingWithNothingSaved",
     2,
     kAbsent,
     L"Eco",
     1,
     5,
     {5},
     {kQuietOff, kEcoOn},
     kAbsent},
    {"SettingToLeaving",
     2,
     7,
     L"Eco",
     1,
     -1,
     {7},
     {"[NormalEnvironment] Screen=-1", kQuietOff, kEcoOn},
     -1},
    {"SettingZeroToLeaving",
     0,
     7,
     L"Eco",
     1,
     -1,
     {7},
     {"[NormalEnvironment] Screen=-1", kQuietOff, kEcoOn},
     -1},
    {"SettingToLeavingWithZeroSaved",
     2,
     0,
     L"Eco",
     1,
     -1,
     {0},
     {"[NormalEnvironment] Screen=-1", kQuietOff, kEcoOn},
     -1},
    {"SettingToLeavingByAnotherNegative",
     2,
     7,
     L"Eco",
     1,
     -7,
     {7},
     {"[NormalEnvironment] Screen=-1", kQuietOff, kEcoOn},
     -1},
    {"SettingToLeavingWithNothingSaved",
     2,
     -1,
     L"Eco",
     1,
     -1,
     {},
     {"[NormalEnvironment] Screen=-1", kQuietOff, kEcoOn},
     -1},
    {"SettingToLeavingWithoutAnEntry",
     2,
     kAbsent,
     L"Eco",
     1,
     -1,
     {},
     {"[NormalEnvironment] Screen=-1", kQuietOff, kEcoOn},
     -1},
    {"LeavingToSetting",
     -1,
     -1,
     L"Eco",
     1,
     5,
     {5},
     {"[NormalEnvironment] Screen=3", kQuietOff, kEcoOn},
     3},
    {"LeavingByAnotherNegativeToSettingZero",
     -7,
     kAbsent,
     L"Eco",
     1,
     0,
     {0},
     {"[NormalEnvironment] Screen=3", kQuietOff, kEcoOn},
     3},
    {"LeavingToLeaving", -1, -1, L"Eco", 1, -1, {}, {kQuietOff, kEcoOn}, -1},
    {"LeavingToLeavingKeepsWhatIsThere", -1, 7, L"Eco", 1, -7, {}, {kQuietOff, kEcoOn}, 7},

    // The mode itself is ON already: as if it were another one.
    {"SettingAgain", 2, 7, L"Quiet", 1, 0, {2}, {kQuietOff, kQuietOn}, 7},
    {"LeavingAgain", -1, 7, L"Quiet", 1, 0, {}, {kQuietOff, kQuietOn}, 7},

    // OFF: back to the normal value, which stays.
    {"Off", 2, 7, L"Quiet", 0, 0, {7}, {kQuietOff, kQuietOff}, 7},
    {"OffToZero", 2, 0, L"Quiet", 0, 0, {0}, {kQuietOff, kQuietOff}, 0},
    {"OffOfAModeThatLeavesTheItem", -1, 7, L"Quiet", 0, 0, {7}, {kQuietOff, kQuietOff}, 7},
    {"OffWithNothingSaved", 2, -1, L"Quiet", 0, 0, {}, {kQuietOff, kQuietOff}, -1},
    {"OffWithAnotherNegative", 2, -9, L"Quiet", 0, 0, {}, {kQuietOff, kQuietOff}, -9},
    {"OffWithoutAnEntry", 2, kAbsent, L"Quiet", 0, 0, {}, {kQuietOff, kQuietOff}, kAbsent},
    {"OffWhileAnotherModeIsOn", 2, 7, L"Eco", 0, 5, {7}, {kQuietOff, kEcoOff}, 7},
    {"OffWhileNoModeIsOn", kNoMode, 7, L"Eco", 0, 5, {7}, {kEcoOff}, 7},
};
INSTANTIATE_TEST_SUITE_P(Table, ChangeModeWindowNormalEnvironmentTest, testing::ValuesIn(kCases),
                         [](const auto& row) { return std::string(row.param.name); });

// --- What may go wrong ---------------------------------------------------------------------------

class ChangeModeWindowNormalEnvironmentFailureTest : public ChangeModeWindowTest {
 protected:
  void SetUp() override { MakeMachine({L"Screen"}); }

  /// The change fails with these traces, and no device is set.
  void ExpectFailure(const wchar_t* mode, UINT status, const Traces& why) {
    EXPECT_THAT(Change(mode, status), ElementsAre(Told(0)));
    EXPECT_EQ(traces.Take(), Join(why, {In(L"OnSetDeviceStatus", 433, L"Screen"), Ended(0)}));
    EXPECT_THAT(Engine(L"Screen").requested, IsEmpty());
  }
  /// What the status file traces when a value of the item can't be written.
  [[nodiscard]] Traces NotWritten(const wchar_t* value) const {
    return {{L"CModeChangeStatus::SaveNormalEnvironmentSetting", 222,
             sandbox.DataFile(L"ModeChange.Status.ini").wstring() + L", 5"},
            {L"CModeChangeStatus::SaveNormalEnvironmentSetting", 223, value}};
  }
  [[nodiscard]] Traces NoStatusFile() const {
    return {{L"CModeChangeStatus::GetNormalEnvironmentSetting", 181,
             sandbox.DataFile(L"ModeChange.Status.ini").wstring()}};
  }
  [[nodiscard]] Traces NoDefaultSettings() const {
    return {{L"CModeChangeSettings::GetDefaultSettingItemValue", 211,
             sandbox.LibraryFolder().wstring() + L"\\ModeChange.DefaultSettings.ini"},
            {L"CModeChangeSettings::GetSettingItemValue", 305}};
  }
};

TEST_F(ChangeModeWindowNormalEnvironmentFailureTest, NeedsAStatusFileForOff) {
  ExpectFailure(L"Eco", kOff, Join(NoStatusFile(), {InSave(803)}));
  EXPECT_THAT(StatusFile(), ElementsAre("no file"));
}

TEST_F(ChangeModeWindowNormalEnvironmentFailureTest, NeedsAStatusFileToRestoreFrom) {
  SetStatus(L"Quiet", 1);
  SetValue(L"Quiet", L"Screen", 1);
  Request(L"Eco", kOn);
  sandbox.Remove(sandbox.DataFile(L"ModeChange.Status.ini"));

  PumpAll();

  EXPECT_EQ(traces.Take(), Join(NoStatusFile(),
                                {InSave(928), In(L"OnSetDeviceStatus", 433, L"Screen"), Ended(0)}));
  EXPECT_THAT(requester.Take(), ElementsAre(Told(0)));
  EXPECT_THAT(Engine(L"Screen").requested, IsEmpty());
  EXPECT_THAT(StatusFile(), ElementsAre("no file"));
}

TEST_F(ChangeModeWindowNormalEnvironmentFailureTest, NeedsTheNewModesValue) {
  sandbox.Remove(L"ModeChange.DefaultSettings.ini");
  ExpectFailure(L"Eco", kOn,
                Join(NoDefaultSettings(), {InSave(823, L"Eco"), InSave(825, L"Screen")}));
}

TEST_F(ChangeModeWindowNormalEnvironmentFailureTest, NeedsTheOldModesValue) {
  SetStatus(L"Quiet", 1);
  // The user set the new mode up, so its values do not come from the defaults.
  sandbox.Write(sandbox.DataFile(L"ModeChange.Settings.ini"),
                IniFile().Section(L"Eco").Key(L"Screen", 1));
  sandbox.Remove(L"ModeChange.DefaultSettings.ini");
  ExpectFailure(L"Eco", kOn,
                Join(NoDefaultSettings(), {InSave(882, L"Quiet"), InSave(884, L"Screen")}));
}

TEST_F(ChangeModeWindowNormalEnvironmentFailureTest, RefusesAnotherStatus) {
  SetNormalValue(L"Screen", 1);
  ExpectFailure(L"Eco", 2, {InSave(961, L"2")});
  ExpectFailure(L"Eco", 0xFFFFFFFF, {InSave(961, L"4294967295")});
  EXPECT_THAT(StatusFile(), ElementsAre("[NormalEnvironment] Screen=1"));
}

TEST_F(ChangeModeWindowNormalEnvironmentFailureTest, MustBeWritten) {
  struct Row {
    const char* what;
    int quietValue;  // kNoMode: OFF
    int ecoValue;
    const wchar_t* written;
    std::uint32_t line;
  };
  const Row rows[] = {
      {"no mode ON, new mode leaves the item", kNoMode, -1, L"-1", 850},
      {"no mode ON, new mode sets the item", kNoMode, 1, L"0", 864},
      {"old mode leaves the item, new mode sets it", -1, 1, L"0", 909},
      {"old mode sets the item, new mode leaves it", 1, -1, L"-1", 936},
  };
  RefuseToWrite(L"NormalEnvironment", L"Screen");
  for (const Row& row : rows) {
    SCOPED_TRACE(row.what);
    SetStatus(L"Quiet", row.quietValue == kNoMode ? 0 : 1);
    SetValue(L"Quiet", L"Screen", row.quietValue);
    SetValue(L"Eco", L"Screen", row.ecoValue);
    SetNormalValue(L"Screen", 1);
    const std::vector<std::string> before = StatusFile();

    ExpectFailure(L"Eco", kOn, Join(NotWritten(row.written), {InSave(row.line, L"Screen")}));

    EXPECT_EQ(StatusFile(), before);
  }
}

TEST_F(ChangeModeWindowNormalEnvironmentFailureTest, IsSavedInAFileThatIsMadeForIt) {
  sandbox.SetDataFolder(Sandbox::DataFolder::kMakerOnly);
  SetValue(L"Eco", L"Screen", 1);
  EXPECT_THAT(Change(L"Eco", kOn), ElementsAre(Told(1)));
  EXPECT_THAT(StatusFile(),
              ElementsAre("[NormalEnvironment] Screen=0", "[CurrentModeStatus] Eco=1"));
}

TEST_F(ChangeModeWindowNormalEnvironmentFailureTest, CannotBeSavedWithoutAFolder) {
  sandbox.SetDataFolder(Sandbox::DataFolder::kAbsent);
  SetValue(L"Eco", L"Screen", 1);
  ExpectFailure(
      L"Eco", kOn,
      {{L"CModeChangeStatus::CreateStatusFile", 278, sandbox.DataFolderPath().wstring() + L", 3"},
       {L"CModeChangeStatus::SaveNormalEnvironmentSetting", 211},
       InSave(864, L"Screen")});
}

// --- Several items -------------------------------------------------------------------------------

class ChangeModeWindowNormalEnvironmentWalkTest : public ChangeModeWindowTest {};

TEST_F(ChangeModeWindowNormalEnvironmentWalkTest, SurvivesModesInARow) {
  MakeMachine({L"Screen", L"Keys", L"Sound"});
  Engine(L"Screen").values = Engine(L"Keys").values = Engine(L"Sound").values = 10;
  Engine(L"Screen").current = 9;
  Engine(L"Keys").current = 8;
  Engine(L"Sound").current = 7;
  SetValue(L"Quiet", L"Screen", 1);
  SetValue(L"Quiet", L"Keys", 2);
  SetValue(L"Eco", L"Keys", 3);
  SetValue(L"Eco", L"Sound", 4);

  EXPECT_THAT(Change(L"Quiet", kOn), ElementsAre(Told(1)));
  EXPECT_THAT(StatusFile(),
              ElementsAre("[NormalEnvironment] Screen=9", "[NormalEnvironment] Keys=8",
                          "[NormalEnvironment] Sound=-1", "[CurrentModeStatus] Quiet=1"));

  EXPECT_THAT(Change(L"Eco", kOn), ElementsAre(Told(1)));
  EXPECT_THAT(StatusFile(),
              ElementsAre("[NormalEnvironment] Screen=-1", "[NormalEnvironment] Keys=8",
                          "[NormalEnvironment] Sound=7", "[CurrentModeStatus] Quiet=0",
                          "[CurrentModeStatus] Eco=1"));

  EXPECT_THAT(Change(L"Eco", kOff), ElementsAre(Told(1)));
  EXPECT_THAT(StatusFile(),
              ElementsAre("[NormalEnvironment] Screen=-1", "[NormalEnvironment] Keys=8",
                          "[NormalEnvironment] Sound=7", "[CurrentModeStatus] Quiet=0",
                          "[CurrentModeStatus] Eco=0"));

  EXPECT_THAT(Engine(L"Screen").requested, ElementsAre(1, 9));
  EXPECT_THAT(Engine(L"Keys").requested, ElementsAre(2, 3, 8));
  EXPECT_THAT(Engine(L"Sound").requested, ElementsAre(4, 7));
}

}  // namespace
