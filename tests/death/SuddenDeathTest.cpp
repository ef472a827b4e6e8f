#include <algorithm>
#include <cstdio>
#include <fstream>
#include <iterator>
#include <regex>
#include <sstream>
#include <tuple>

#include "death/Host.h"
#include "death/MortalHost.h"
#include "support/ChildProcess.h"
#include "support/Files.h"
#include "support/ModeChangeTest.h"

namespace {

using ::testing::AllOf;
using ::testing::HasSubstr;

enum class Before { kNothing, kEcoIsOn };

struct Operation {
  const wchar_t* name;
  const char* title;  // in the documentation
  Before before;
  Host::Mode mode;  // what the user asks for
};

constexpr Operation kOperations[] = {
    {L"on", "Eco ON", Before::kNothing, Host::kEco},
    {L"off", "Eco OFF", Before::kEcoIsOn, Host::kEco},
    {L"over", "Eco to Dock", Before::kEcoIsOn, Host::kDock},
};

std::vector<std::string> Lines(const std::string& text) {
  std::vector<std::string> lines;
  std::istringstream stream(text);
  for (std::string line; std::getline(stream, line);) {
    if (line.ends_with('\r')) line.pop_back();
    if (!line.empty()) lines.push_back(line);
  }
  return lines;
}

/// Hosts that die in the middle of a change, and what the next one finds. What that is stands in
/// the table of docs/reliability.md, a row for each thing that a change does.
///
/// Eco sets Screen to 1, Fan to 2 and leaves Sound alone; Dock sets Screen to 2 and Sound to 1 and
/// leaves Fan alone. Without a mode all three are at 3.
class SuddenDeathTest : public ModeChangeTest {
 protected:
  static constexpr INT32 kNormal = 3;

  SuddenDeathTest() {
    watchdog.SetPatience(105);
    interposition.SetRecording(false);
    WriteMachine();
    EcoLamp::Install(interposition, Host::DriverPath());
  }

  /// A host that dies at a point, or at none, on a machine as it is before the operation. Wine now
  /// and then ends a process at its start, without a word: then there is another one.
  [[nodiscard]] ChildProcess::Result RunHost(const Operation& operation, unsigned long point) {
    constexpr int kAttempts = 3;
    ChildProcess::Result result{};
    for (int attempt = 0; attempt < kAttempts && result.exitCode == 0; ++attempt) {
      StartFrom(operation.before);
      result =
          ChildProcess::Run({.program = Files::ProgramPath(),
                             .commandLine = std::wstring(L"host ") + MortalHost::kOption + L" " +
                                            operation.name + L" " + std::to_wstring(point)});
    }
    return result;
  }

  static std::string RowStart(const Operation& operation, const std::string& done) {
    return std::string("| ") + operation.title + " | " +
           (done.empty() ? "nothing yet" : "`" + done + "`") + " |";
  }
  [[nodiscard]] static std::vector<std::string> DocumentedRows(const Operation& operation) {
    std::ifstream document(std::filesystem::path(DOCS_FOLDER) / "reliability.md");
    const std::string text(std::istreambuf_iterator<char>(document), {});
    std::vector<std::string> rows = Lines(text);
    std::erase_if(rows, [&](const std::string& line) {
      return !line.starts_with(std::string("| ") + operation.title + " |");
    });
    return rows;
  }

  [[nodiscard]] std::filesystem::path StatusFile() const {
    return sandbox.DataFile(L"ModeChange.Status.ini");
  }
  [[nodiscard]] std::string ReadStatusFile() const {
    return sandbox.Exists(StatusFile()) ? sandbox.Read(StatusFile()) : std::string();
  }

  void StartFrom(Before before) {
    // A machine's first change makes the folder, too.
    sandbox.SetDataFolder(before == Before::kNothing ? Sandbox::DataFolder::kMakerOnly
                                                     : Sandbox::DataFolder::kPresent);
    Host host(library.Module());
    host.ForEachDevice([](Device& device) { device.Set(kNormal); });
    host.Lamp().Set(false);
    if (before == Before::kEcoIsOn) {
      ASSERT_EQ(host.Change(Host::kEco, 1), VELTO_MODE_CHANGE_COMPLETED);
    }
  }

  /// The rest of the row: which mode is on, what the devices have, whether the lamp is on, and what
  /// switching off brings back of what the devices had without a mode.
  std::string FindAndSwitchOff(const Operation& operation) {
    Host host(library.Module());
    const bool isEcoOn = host.Status(Host::kEco) == 1;
    const bool isDockOn = host.Status(Host::kDock) == 1;
    EXPECT_FALSE(isEcoOn && isDockOn);
    std::string row = isEcoOn ? " Eco | " : isDockOn ? " Dock | " : " none | ";
    row += host.DescribeDevices() + (host.Lamp().IsOn() ? " | on" : " | off");

    const bool isAnythingRemembered = sandbox.Exists(StatusFile());
    const Host::Mode off = isEcoOn ? Host::kEco : isDockOn ? Host::kDock : operation.mode;
    EXPECT_EQ(host.Change(off, 0),
              isAnythingRemembered ? VELTO_MODE_CHANGE_COMPLETED : VELTO_MODE_CHANGE_FAILED);
    if (!isAnythingRemembered) static_cast<void>(traces.Take());
    EXPECT_EQ(host.Status(Host::kEco), 0);
    EXPECT_EQ(host.Status(Host::kDock), 0);
    EXPECT_FALSE(host.Lamp().IsOn());

    std::string lost;
    for (const std::string& item : Host::Items()) {
      if (host.At(item).Value() != kNormal) lost += (lost.empty() ? "all but " : ", ") + item;
    }
    return row + " | " + (lost.empty() ? "all" : lost) + " |";
  }

  /// Every line is a section or a known key with a number that was written.
  void ExpectFileParses() {
    const std::regex section(R"(\[(CurrentModeStatus|NormalEnvironment)\])");
    const std::regex key(R"((Eco|Dock|Screen|Fan|Sound)=(-1|0|1|3))");
    for (const std::string& line : Lines(ReadStatusFile())) {
      EXPECT_TRUE(std::regex_match(line, section) || std::regex_match(line, key)) << line;
    }
  }

 private:
  void WriteMachine() {
    IniFile config;
    config.Section(L"ModeList").Key(L"ModeCount", 2).Key(L"Mode0", L"Eco").Key(L"Mode1", L"Dock");
    config.Section(L"SettingItemList").Key(L"SettingItemCount", 3);
    config.Key(L"SettingItem0", L"Screen")
        .Key(L"SettingItem1", L"Fan")
        .Key(L"SettingItem2", L"Sound");
    config.Section(L"Eco").Key(L"IsEcoMode", 1).Section(L"Dock").Key(L"IsCradleMode", 1);
    for (const wchar_t* item : {L"Screen", L"Fan", L"Sound"}) {
      config.Section(item).Key(L"EnginePath", std::wstring(L"Engines\\") + item + L".dll");
    }
    sandbox.Write(L"ModeChange.Config.ini", config);
    sandbox.Write(L"ModeChange.UsableModeList.ini", IniFile()
                                                        .Section(L"UsableModeList")
                                                        .Key(L"ModeCount", 2)
                                                        .Key(L"Mode0", L"Eco")
                                                        .Key(L"Mode1", L"Dock"));
    IniFile defaults;
    defaults.Section(L"Common").Key(L"ShowAnnounceModeIsChangedDialog", 0);
    for (const wchar_t* suffix : {L"_Win7", L"_Win8OrLater"}) {
      defaults.Section(std::wstring(L"Eco") + suffix).Key(L"Screen", 1).Key(L"Fan", 2);
      defaults.Section(std::wstring(L"Dock") + suffix).Key(L"Screen", 2).Key(L"Sound", 1);
    }
    sandbox.Write(L"ModeChange.DefaultSettings.ini", defaults);
    sandbox.MakeFolder(L"Driver");
    std::filesystem::copy_file(sandbox.LibraryFolder() / L"FakeDriver.dll", Host::DriverPath());
    sandbox.MakeFolder(L"Engines");
    for (const std::string& item : Host::Items()) {
      std::filesystem::copy_file(sandbox.LibraryFolder() / L"FakeEngine.dll",
                                 Host::EnginePath(item));
    }
  }
};

TEST_F(SuddenDeathTest, TheTableHasARowForEachThingThatIsDone) {
  for (const Operation& operation : kOperations) {
    const ChildProcess::Result result = RunHost(operation, 0);
    EXPECT_EQ(result.exitCode, static_cast<std::uint32_t>(MortalHost::kCompleted));
    std::vector<std::string> done = Lines(result.output);
    // A mode that goes off is recorded as the old one and as the new one.
    done.erase(std::unique(done.begin(), done.end()), done.end());
    done.insert(done.begin(), std::string());
    const std::vector<std::string> rows = DocumentedRows(operation);
    ASSERT_EQ(rows.size(), done.size());
    for (std::size_t i = 0; i < rows.size(); ++i) {
      EXPECT_TRUE(rows[i].starts_with(RowStart(operation, done[i]))) << rows[i];
    }
  }
}

/// One in so many points, from a first one on, so that no test takes long.
class SuddenDeathAtTest
    : public SuddenDeathTest,
      public ::testing::WithParamInterface<std::tuple<Operation, unsigned long>> {
 protected:
  static constexpr unsigned long kStride = 8;
};

TEST_P(SuddenDeathAtTest, LeavesWhatTheTableSays) {
  const auto& [operation, first] = GetParam();
  const std::vector<std::string> rows = DocumentedRows(operation);
  std::size_t deaths = 0;
  for (unsigned long point = first;; point += kStride) {
    SCOPED_TRACE(testing::Message() << operation.title << ", point " << point);
    const ChildProcess::Result result = RunHost(operation, point);
    if (result.exitCode == MortalHost::kCompleted) break;
    ASSERT_EQ(result.exitCode, static_cast<std::uint32_t>(MortalHost::kDied)) << result.output;
    ++deaths;
    const std::vector<std::string> done = Lines(result.output);
    ExpectFileParses();
    EXPECT_THAT(rows, ::testing::Contains(RowStart(operation, done.empty() ? "" : done.back()) +
                                          FindAndSwitchOff(operation)));
  }
  EXPECT_GE(deaths, 8U);
  std::printf("%s: the host died %zu times\n", operation.title, deaths);
}

INSTANTIATE_TEST_SUITE_P(Each, SuddenDeathAtTest,
                         ::testing::Combine(::testing::ValuesIn(kOperations),
                                            ::testing::Range(1UL, 9UL)),
                         [](const auto& test) {
                           std::string name = std::get<0>(test.param).title;
                           std::erase(name, ' ');
                           return name + std::to_string(std::get<1>(test.param));
                         });

TEST_F(SuddenDeathTest, SwitchingOnAgainInsteadOfOffForgetsWhatADeviceHad) {
  // The killed change set Screen and is recorded nowhere, so its value counts as the normal one.
  StartFrom(Before::kNothing);
  sandbox.Write(
      StatusFile(),
      IniFile().In(IniFile::Encoding::kAnsi).Section(L"NormalEnvironment").Key(L"Screen", 3));
  Host host(library.Module());
  host.At("Screen").Set(1);
  EXPECT_EQ(host.Change(Host::kEco, 1), VELTO_MODE_CHANGE_COMPLETED);
  EXPECT_EQ(host.Change(Host::kEco, 0), VELTO_MODE_CHANGE_COMPLETED);
  EXPECT_EQ(host.DescribeDevices(), "Screen=1 Fan=3 Sound=3");
}

TEST_F(SuddenDeathTest, OffAlsoBringsBackWhatAnEarlierChangeRemembered) {
  // A change that died before it came to Fan; what is remembered of Fan is older.
  StartFrom(Before::kEcoIsOn);
  Host host(library.Module());
  EXPECT_EQ(host.Change(Host::kEco, 0), VELTO_MODE_CHANGE_COMPLETED);
  host.At("Fan").Set(0);
  EXPECT_EQ(host.Change(Host::kEco, 0), VELTO_MODE_CHANGE_COMPLETED);
  EXPECT_EQ(host.DescribeDevices(), "Screen=3 Fan=3 Sound=3");
}

TEST_F(SuddenDeathTest, AFileThatWasCutIsReadAsFarAsItGoes) {
  StartFrom(Before::kEcoIsOn);
  const std::string whole = ReadStatusFile();
  ASSERT_THAT(whole, AllOf(HasSubstr("Screen=3\r\nFan=3\r\nSound=-1\r\n"), HasSubstr("Eco=1\r\n")));
  for (std::size_t size = 0; size <= whole.size(); ++size) {
    SCOPED_TRACE(testing::Message() << "cut to " << size << " of " << whole.size() << " bytes");
    StartFrom(Before::kEcoIsOn);
    const std::string rest = whole.substr(0, size);
    sandbox.Write(StatusFile(), rest);
    Host host(library.Module());
    EXPECT_EQ(host.Status(Host::kEco), rest.find("Eco=1") != std::string::npos ? 1 : 0);
    EXPECT_EQ(host.Status(Host::kDock), 0);
    EXPECT_EQ(host.Change(Host::kEco, 0), VELTO_MODE_CHANGE_COMPLETED);
    EXPECT_EQ(host.Status(Host::kEco), 0);
    EXPECT_EQ(host.At("Screen").Value(), rest.find("Screen=3") != std::string::npos ? kNormal : 1);
    EXPECT_EQ(host.At("Fan").Value(), rest.find("Fan=3") != std::string::npos ? kNormal : 2);
    // A sign without its digits is a 0 to Windows.
    EXPECT_EQ(host.At("Sound").Value(), rest.ends_with("Sound=-") ? 0 : kNormal);
  }
}

TEST_F(SuddenDeathTest, OfSettingsThatWereSavedInPartTheRestIsLeftAlone) {
  // A host that died after the first of Eco's values was saved.
  StartFrom(Before::kNothing);
  sandbox.Write(sandbox.DataFile(L"ModeChange.Settings.ini"),
                IniFile().In(IniFile::Encoding::kAnsi).Section(L"Eco").Key(L"Screen", 2));
  Host host(library.Module());
  EXPECT_EQ(host.Change(Host::kEco, 1), VELTO_MODE_CHANGE_COMPLETED);
  EXPECT_EQ(host.DescribeDevices(), "Screen=2 Fan=3 Sound=3") << "Fan has a default of 2";
}

}  // namespace
