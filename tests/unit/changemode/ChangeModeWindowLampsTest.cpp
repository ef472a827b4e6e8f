#include <algorithm>
#include <string_view>

#include "unit/changemode/ChangeModeWindowFixture.h"

namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

/// A machine with lamps and one item, which no mode sets.
class ChangeModeWindowLampsTest : public ChangeModeWindowTest {
 protected:
  static constexpr const char* kWirelessOn = "SetApplicationSwitch(0x20, 0x20)";
  static constexpr const char* kWirelessOff = "SetApplicationSwitch(0x20, 0x0)";
  static constexpr const char* kEcoOn = "SetLEDControl(0x10, 0xa0001)";
  static constexpr const char* kEcoOff = "SetLEDControl(0x10, 0x20001)";

  void SetUp() override {
    MakeMachine({L"Screen"});
    InstallDriver();
  }
  /// The wireless lamp is the library's: an older Windows, and the key of the configuration.
  void OwnWirelessLamp(int key = 1) {
    PretendWindows7();
    WriteConfig({L"Screen"}, key);
  }
  void StartAnew() {
    sandbox.Remove(sandbox.DataFile(L"ModeChange.Status.ini"));
    driver->calls.clear();
  }
  /// What was done to the lamps, without the questions.
  [[nodiscard]] std::vector<std::string> LampsSet() const {
    std::vector<std::string> set = driver->calls;
    std::erase_if(set, [](const std::string& call) { return call.starts_with("Get"); });
    return set;
  }
  [[nodiscard]] std::vector<std::string> WirelessLampSet() const {
    std::vector<std::string> set = LampsSet();
    std::erase_if(set, [](const std::string& call) { return call == kEcoOn || call == kEcoOff; });
    return set;
  }
  /// Has the configuration vanish once the library has asked, for the nth time, whether the
  /// wireless lamp is its own.
  void LoseConfigAfterWirelessKey(int nth) {
    interposition.Observe(
        "GetPrivateProfileIntW", [this, nth, count = 0](const Call& call) mutable {
          if (call.Text(1) == std::wstring_view(L"EnableToChangeWirelessLEDStatusInWin7")) {
            if (++count == nth) sandbox.Remove(L"ModeChange.Config.ini");
          }
        });
  }
  [[nodiscard]] Traces NoModeType() const {
    return {{L"CModeChangeConfig::DoesConfigFileExist", 282,
             sandbox.LibraryFolder().wstring() + L"\\ModeChange.Config.ini"},
            {L"CModeChangeConfig::GetModeType", 135}};
  }
};

// --- Whose the wireless lamp is ------------------------------------------------------------------

class ChangeModeWindowLampsEachWindowsTest : public ChangeModeWindowLampsTest {};

TEST_F(ChangeModeWindowLampsEachWindowsTest, DrivesTheWirelessLampOnlyBeforeWindows8) {
  WriteConfig({L"Screen"}, 1);
  EXPECT_THAT(Change(L"Flight", kOn), ElementsAre(Told(1)));
  if (Sandbox::IsWindows8OrLater()) {
    EXPECT_THAT(driver->calls, ElementsAre("GetLEDInfo", kEcoOff));
  } else {
    EXPECT_THAT(driver->calls, ElementsAre("GetSwitchInfo", kWirelessOff, "GetLEDInfo", kEcoOff));
  }

  driver->calls.clear();
  SetValue(L"Eco", L"Screen", 1);
  Engine(L"Screen").result = 2;
  EXPECT_THAT(Change(L"Eco", kOn), ElementsAre(Told(2)));
  EXPECT_EQ(traces.Take(), (Traces{Ended(0, 2)}));
  if (Sandbox::IsWindows8OrLater()) {
    EXPECT_THAT(driver->calls, IsEmpty());
  } else {
    EXPECT_THAT(driver->calls,
                ElementsAre("GetSwitchInfo", kWirelessOn, "GetSwitchInfo", kWirelessOff));
  }
}

TEST_F(ChangeModeWindowLampsEachWindowsTest, NeverDrivesTheWirelessLampWithoutTheKey) {
  WriteConfig({L"Screen"}, 0);
  EXPECT_THAT(Change(L"Flight", kOn), ElementsAre(Told(1)));
  const std::filesystem::path config = sandbox.LibraryFolder() / L"ModeChange.Config.ini";
  ::WritePrivateProfileStringW(L"Common", nullptr, nullptr, config.c_str());
  EXPECT_THAT(Change(L"Flight", kOff), ElementsAre(Told(1)));
  SetValue(L"Eco", L"Screen", 1);
  Engine(L"Screen").result = 0;
  EXPECT_THAT(Change(L"Eco", kOn), ElementsAre(Told(0)));
  EXPECT_EQ(traces.Take(), (Traces{Ended(0)}));
  EXPECT_THAT(WirelessLampSet(), IsEmpty());
}

TEST_F(ChangeModeWindowLampsTest, DrivesTheWirelessLampWithAnyOtherKey) {
  for (const int key : {2, -1, 100}) {
    SCOPED_TRACE(key);
    StartAnew();
    OwnWirelessLamp(key);
    EXPECT_THAT(Change(L"Flight", kOn), ElementsAre(Told(1)));
    EXPECT_THAT(WirelessLampSet(), ElementsAre(kWirelessOff));
  }
}

// --- The wireless lamp ---------------------------------------------------------------------------

TEST_F(ChangeModeWindowLampsTest, TurnsTheWirelessLampOffForAModeWithoutWireless) {
  OwnWirelessLamp();
  struct Row {
    const wchar_t* mode;
    UINT status;
    const char* set;
  };
  const Row rows[] = {{L"Flight", kOn, kWirelessOff}, {L"Flight", kOff, kWirelessOn},
                      {L"Eco", kOn, kWirelessOn},     {L"Dock", kOn, kWirelessOn},
                      {L"Own", kOn, kWirelessOn},     {L"Quiet", kOn, kWirelessOn},
                      {L"Quiet", kOff, kWirelessOn},  {L"Unheard of", kOn, kWirelessOn}};
  for (const Row& row : rows) {
    SCOPED_TRACE(testing::Message() << Text::ToUtf8(row.mode) << " = " << row.status);
    StartAnew();
    SetNormalValue(L"Screen", -1);
    EXPECT_THAT(Change(row.mode, row.status), ElementsAre(Told(1)));
    EXPECT_THAT(WirelessLampSet(), ElementsAre(row.set));
  }
}

TEST_F(ChangeModeWindowLampsTest, SetsTheWirelessLampBeforeAnythingElse) {
  OwnWirelessLamp();
  Request(L"Flight", kOn);
  EXPECT_THAT(driver->calls, ElementsAre("GetSwitchInfo", kWirelessOff));
  EXPECT_THAT(log, IsEmpty());
}

TEST_F(ChangeModeWindowLampsTest, TakesAnyStatusButZeroAsOnForTheWirelessLamp) {
  OwnWirelessLamp();
  EXPECT_THAT(Change(L"Flight", 2), ElementsAre(Told(0)));
  EXPECT_THAT(WirelessLampSet(), ElementsAre(kWirelessOff, kWirelessOn));
  EXPECT_EQ(traces.Take(),
            (Traces{InSave(961, L"2"), In(L"OnSetDeviceStatus", 433, L"Screen"), Ended(0)}));
}

TEST_F(ChangeModeWindowLampsTest, LeavesTheWirelessLampAsTheModeBeforeAFailedChangeWantsIt) {
  OwnWirelessLamp();
  struct Row {
    const wchar_t* before;  // null for none
    const wchar_t* mode;
    std::vector<std::string> set;
  };
  const Row rows[] = {{nullptr, L"Flight", {kWirelessOff, kWirelessOn}},
                      {nullptr, L"Eco", {kWirelessOn, kWirelessOn}},
                      {L"Flight", L"Eco", {kWirelessOn, kWirelessOff}},
                      {L"Flight", L"Flight", {kWirelessOff, kWirelessOff}},
                      {L"Eco", L"Flight", {kWirelessOff, kWirelessOn}},
                      {L"Dock", L"Flight", {kWirelessOff, kWirelessOn}},
                      {L"Own", L"Flight", {kWirelessOff, kWirelessOn}},
                      {L"Quiet", L"Flight", {kWirelessOff, kWirelessOn}}};
  for (const Row& row : rows) {
    for (const WPARAM result : {0U, 2U, 3U}) {
      SCOPED_TRACE(testing::Message() << (row.before != nullptr ? Text::ToUtf8(row.before) : "none")
                                      << " to " << Text::ToUtf8(row.mode) << ", result " << result);
      StartAnew();
      if (row.before != nullptr) SetStatus(row.before, 1);
      SetValue(row.mode, L"Screen", 1);
      Engine(L"Screen").result = result;
      EXPECT_THAT(Change(row.mode, kOn), ElementsAre(Told(result)));
      EXPECT_EQ(LampsSet(), row.set);
      EXPECT_EQ(traces.Take(), (Traces{Ended(0, static_cast<std::uint32_t>(result))}));
    }
  }
}

TEST_F(ChangeModeWindowLampsTest, LeavesTheWirelessLampAfterAnUnknownResult) {
  OwnWirelessLamp();
  SetValue(L"Flight", L"Screen", 1);
  Engine(L"Screen").result = 7;
  EXPECT_THAT(Change(L"Flight", kOn), ElementsAre(Told(0)));
  EXPECT_THAT(LampsSet(), ElementsAre(kWirelessOff));
  EXPECT_EQ(traces.Take(), (Traces{In(L"OnCompletionNotice", 629, L"7")}));
}

TEST_F(ChangeModeWindowLampsTest, LeavesTheWirelessLampWhenTheStatusesCannotBeRecorded) {
  OwnWirelessLamp();
  RefuseToWrite(L"CurrentModeStatus", L"Flight");
  EXPECT_THAT(Change(L"Flight", kOn), ElementsAre(Told(0)));
  EXPECT_THAT(LampsSet(), ElementsAre(kWirelessOff));
  EXPECT_EQ(traces.Take().back(), In(L"OnCompletionNotice", 565, L"Flight, 1"));
}

TEST_F(ChangeModeWindowLampsTest, EndsTheChangeWhereTheTypeOfTheModeCannotBeRead) {
  OwnWirelessLamp();
  LoseConfigAfterWirelessKey(1);

  EXPECT_THAT(Change(L"Flight", kOn), ElementsAre(Told(0)));

  EXPECT_EQ(traces.Take(), Join(NoModeType(), {In(L"OnCopyData", 344), Ended(0)}));
  EXPECT_THAT(driver->calls, IsEmpty());
  EXPECT_THAT(log, IsEmpty()) << "No device was touched.";
}

TEST_F(ChangeModeWindowLampsTest, LeavesTheWirelessLampWhereTheTypeOfTheOldModeCannotBeRead) {
  OwnWirelessLamp();
  SetStatus(L"Quiet", 1);
  SetValue(L"Flight", L"Screen", 1);
  Engine(L"Screen").result = 0;
  LoseConfigAfterWirelessKey(2);

  EXPECT_THAT(Change(L"Flight", kOn), ElementsAre(Told(0)));

  EXPECT_EQ(traces.Take(), Join({Ended(0)}, NoModeType()));
  EXPECT_THAT(LampsSet(), ElementsAre(kWirelessOff));
}

TEST_F(ChangeModeWindowLampsTest, AsksForNoTypeToUndoTheWirelessLampWhereNoModeWasOn) {
  OwnWirelessLamp();
  SetValue(L"Flight", L"Screen", 1);
  Engine(L"Screen").result = 0;
  LoseConfigAfterWirelessKey(2);
  EXPECT_THAT(Change(L"Flight", kOn), ElementsAre(Told(0)));
  EXPECT_EQ(traces.Take(), (Traces{Ended(0)}));
  EXPECT_THAT(LampsSet(), ElementsAre(kWirelessOff, kWirelessOn));
}

// --- Drivers that don't drive --------------------------------------------------------------------

TEST_F(ChangeModeWindowLampsTest, KeepsOnChangingWhereTheWirelessLampCannotBeSet) {
  OwnWirelessLamp();
  struct Row {
    const char* what;
    std::function<void()> prepare;
    Traces traced;
    std::vector<std::string> set;
  };
  const Row rows[] = {
      {"no such switch", [this] { driver->switchInfo = ~0x20U; }, {}, {}},
      {"asking fails",
       [this] { driver->getSwitchInfoStatus = 7; },
       {In(L"SetWirelessLEDStatus", 1059, L"7")},
       {}},
      {"setting fails",
       [this] { driver->setApplicationSwitchStatus = 0x80004005; },
       {In(L"SetWirelessLEDStatus", 1073, L"2147500037")},
       {kWirelessOff}},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.what);
    StartAnew();
    driver->switchInfo = 0x20;
    driver->getSwitchInfoStatus = driver->setApplicationSwitchStatus = 0;
    row.prepare();
    EXPECT_THAT(Change(L"Flight", kOn), ElementsAre(Told(1)));
    EXPECT_EQ(traces.Take(), row.traced);
    EXPECT_EQ(WirelessLampSet(), row.set);
  }
}

TEST_F(ChangeModeWindowLampsTest, KeepsOnChangingWithADriverThatLacksAFunction) {
  OwnWirelessLamp();
  struct Row {
    const char* missing;
    Traces traced;
    std::vector<std::string> calls;
  };
  const Row rows[] = {
      {"GetSwitchInfo", {In(L"SetWirelessLEDStatus", 1059, L"1")}, {"GetLEDInfo", kEcoOff}},
      {"SetApplicationSwitch",
       {In(L"SetWirelessLEDStatus", 1073, L"1")},
       {"GetSwitchInfo", "GetLEDInfo", kEcoOff}},
      {"GetLEDInfo", {}, {"GetSwitchInfo", kWirelessOff}},
      {"SetLEDControl",
       {In(L"SetEcoLEDStatus", 1097)},
       {"GetSwitchInfo", kWirelessOff, "GetLEDInfo"}},
  };
  const auto original = interposition.Original<decltype(&::GetProcAddress)>("GetProcAddress");
  for (const Row& row : rows) {
    SCOPED_TRACE(row.missing);
    StartAnew();
    interposition.Replace("GetProcAddress",
                          [original, missing = std::string_view(row.missing)](
                              HMODULE module, const char* name) -> FARPROC {
                            return name == missing ? nullptr : original(module, name);
                          });
    EXPECT_THAT(Change(L"Flight", kOn), ElementsAre(Told(1)));
    EXPECT_EQ(traces.Take(), row.traced);
    EXPECT_EQ(driver->calls, row.calls);
  }
}

TEST_F(ChangeModeWindowLampsTest, KeepsOnChangingWithoutADriver) {
  OwnWirelessLamp();
  SetValue(L"Flight", L"Screen", 1);
  ::RegDeleteKeyW(HKEY_LOCAL_MACHINE, L"SOFTWARE\\Brivane\\QTX05A9");

  EXPECT_THAT(Change(L"Flight", kOn), ElementsAre(Told(1)));
  EXPECT_EQ(traces.Take(), (Traces{In(L"SetWirelessLEDStatus", 1052)}));

  SetValue(L"Eco", L"Screen", 1);
  Engine(L"Screen").result = 3;
  EXPECT_THAT(Change(L"Eco", kOn), ElementsAre(Told(3)));
  EXPECT_EQ(traces.Take(), (Traces{In(L"SetWirelessLEDStatus", 1052), Ended(0, 3),
                                   In(L"SetWirelessLEDStatus", 1052)}));
}

// --- The eco lamp --------------------------------------------------------------------------------

TEST_F(ChangeModeWindowLampsTest, TurnsTheEcoLampOnForEcoModesOnly) {
  struct Row {
    const wchar_t* mode;
    UINT status;
    const char* set;
  };
  const Row rows[] = {{L"Eco", kOn, kEcoOn},     {L"Eco", kOff, kEcoOff},
                      {L"Flight", kOn, kEcoOff}, {L"Dock", kOn, kEcoOff},
                      {L"Own", kOn, kEcoOff},    {L"Quiet", kOn, kEcoOff},
                      {L"Quiet", kOff, kEcoOff}, {L"Unheard of", kOn, kEcoOff}};
  for (const Row& row : rows) {
    SCOPED_TRACE(testing::Message() << Text::ToUtf8(row.mode) << " = " << row.status);
    StartAnew();
    SetNormalValue(L"Screen", -1);
    EXPECT_THAT(Change(row.mode, row.status), ElementsAre(Told(1)));
    EXPECT_THAT(LampsSet(), ElementsAre(row.set));
  }
}

TEST_F(ChangeModeWindowLampsTest, SetsTheEcoLampWhenTheModeIsRecorded) {
  std::vector<std::string> recorded;
  driver->onCall = [&](const std::string&) { recorded = StatusFile(); };
  EXPECT_THAT(Change(L"Eco", kOn), ElementsAre(Told(1)));
  EXPECT_THAT(recorded, ElementsAre("[NormalEnvironment] Screen=-1", "[CurrentModeStatus] Eco=1"));
}

TEST_F(ChangeModeWindowLampsTest, LeavesTheEcoLampWhenTheChangeFails) {
  SetValue(L"Eco", L"Screen", 1);
  for (const WPARAM result : {0U, 2U, 7U}) {
    Engine(L"Screen").result = result;
    EXPECT_THAT(Change(L"Eco", kOn), testing::SizeIs(1));
  }
  Engine(L"Screen").result = 1;
  RefuseToWrite(L"CurrentModeStatus", L"Eco");
  EXPECT_THAT(Change(L"Eco", kOn), ElementsAre(Told(0)));
  EXPECT_THAT(driver->calls, IsEmpty());
  static_cast<void>(traces.Take());
}

TEST_F(ChangeModeWindowLampsTest, DrivesTheEcoLampThatTheDriverNames) {
  struct Row {
    DWORD info;
    bool lamp;
  };
  const Row rows[] = {{0x4000, true}, {0x10000, true}, {0x14000, true},
                      {0, false},     {0x20, false},   {~0x14000U, false}};
  for (const Row& row : rows) {
    SCOPED_TRACE(testing::Message() << "0x" << std::hex << row.info);
    StartAnew();
    driver->ledInfo = row.info;
    EXPECT_THAT(Change(L"Eco", kOn), ElementsAre(Told(1)));
    EXPECT_EQ(LampsSet(), row.lamp ? std::vector<std::string>{kEcoOn} : std::vector<std::string>{});
  }
}

TEST_F(ChangeModeWindowLampsTest, CompletesTheChangeWhateverTheEcoLampDoes) {
  driver->getLEDInfoStatus = 5;
  EXPECT_THAT(Change(L"Eco", kOn), ElementsAre(Told(1)));
  EXPECT_THAT(driver->calls, ElementsAre("GetLEDInfo"));
  EXPECT_EQ(traces.Take(), Traces());

  StartAnew();
  driver->getLEDInfoStatus = 0;
  driver->setLEDControlStatus = 5;
  EXPECT_THAT(Change(L"Eco", kOn), ElementsAre(Told(1)));
  EXPECT_THAT(LampsSet(), ElementsAre(kEcoOn));
  EXPECT_EQ(traces.Take(), (Traces{In(L"SetEcoLEDStatus", 1097)}));
}

}  // namespace
