#include <algorithm>
#include <filesystem>
#include <functional>
#include <iterator>
#include <limits>
#include <map>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "support/CurrentFolder.h"
#include "support/ScriptedDriver.h"
#include "system/SettingsFixture.h"
#include "velto/device_engine.h"

namespace {

namespace fs = std::filesystem;

using ::testing::Contains;
using ::testing::Each;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::Not;
using ::testing::Truly;

/// What a user with few rights can make the library do in a process with more of them. Mode Eco
/// sets Lamp and Fan to 1.
class SecurityTest : public SettingsTest {
 protected:
  SecurityTest() {
    SetDefault(L"Eco", L"Lamp", 1);
    SetDefault(L"Eco", L"Fan", 1);
    for (const wchar_t* item : {L"Lamp", L"Fan"}) Engine(item).current = 0;
  }
  [[nodiscard]] fs::path Settings() const { return sandbox.DataFile(L"ModeChange.Settings.ini"); }
  [[nodiscard]] fs::path StatusFile() const { return sandbox.DataFile(L"ModeChange.Status.ini"); }
  [[nodiscard]] fs::path EngineOf(const wchar_t* item) const {
    return sandbox.LibraryFolder() / L"Engines" / (std::wstring(item) + L".dll");
  }
  void OpenOnEco() {
    Open();
    ASSERT_TRUE(selectMode(handle, kEco));
  }
  std::optional<WPARAM> Change(INT32 status) {
    EXPECT_TRUE(Request(status));
    return WaitForResult();
  }
  /// A host's day: it shows the modes, switches one on, has its settings edited and saved, which
  /// switches the mode off and on again, and switches it off. The user confirms everything.
  void DoEverything() {
    WriteDefaults(true);
    OpenOnEco();
    for (UINT mode = 0; mode < kModeCount; ++mode) {
      ASSERT_TRUE(selectMode(handle, mode));
      EXPECT_TRUE(GetString(VELTO_MODE_STRING_NAME).has_value());
      for (const UINT number : {0U, 1U, 2U, 3U, 4U}) EXPECT_TRUE(GetNumber(number).has_value());
    }
    ASSERT_TRUE(selectMode(handle, kEco));
    const auto confirm = [](HWND dialog) { Click(dialog, IDC_OK_BUTTON); };
    robot.Then("confirmation of on", DialogRobot::DialogWith(IDC_ANNOUNCE_DETAIL), confirm);
    EXPECT_EQ(Change(1), VELTO_MODE_CHANGE_COMPLETED);
    robot.Then("settings", DialogRobot::DialogWith(IDC_APPLY_BUTTON), [](HWND frame) {
      Choose(Line(L"Lamp"), 0);
      Click(frame, IDC_OK_BUTTON);
    });
    EXPECT_TRUE(showSettingsDialog(handle, hostWindow));
    robot.Then("confirmation of off", DialogRobot::DialogWith(IDC_ANNOUNCE_DETAIL), confirm);
    EXPECT_EQ(Change(0), VELTO_MODE_CHANGE_COMPLETED);
    Close();
  }
  /// Writes both files that every user may write, with this content.
  void WritePlainUsersFiles(const IniFile& content) {
    sandbox.Write(Settings(), content);
    sandbox.Write(StatusFile(), content);
  }
  [[nodiscard]] static bool IsFullPath(const std::wstring& path) {
    return (path.size() > 3 && path.substr(1, 2) == L":\\") || path.starts_with(L"\\\\");
  }
  [[nodiscard]] std::vector<std::wstring> LoadedPaths() const {
    std::vector<std::wstring> paths;
    for (const Call& call : interposition.CallsOf("LoadLibraryW")) paths.emplace_back(call.Text(0));
    return paths;
  }
  /// Has the library load nothing, and gives what it asks for.
  void LoadNothing() { interposition.Fail("LoadLibraryW", {.onwards = true}); }
};

// --- Paths ---------------------------------------------------------------------------------------

// Everything that the library imports and that takes a path, with the path's place.
const std::map<std::string, std::size_t> kPathArguments = {
    {"CreateDirectoryW", 0},
    {"CreateFileW", 0},
    {"FindFirstFileW", 0},
    {"GetFileAttributesW", 0},
    {"GetPrivateProfileIntW", 3},
    {"GetPrivateProfileSectionW", 3},
    {"GetPrivateProfileStringW", 5},
    {"LoadLibraryW", 0},
    {"WritePrivateProfileStringW", 3},
};

TEST_F(SecurityTest, EveryFileIsNamedByAFullPathInOneOfItsTwoFolders) {
  sandbox.SetDataFolder(Sandbox::DataFolder::kMakerOnly);
  sandbox.SetUserLocale(L"de-AT");
  DoEverything();
  for (const auto& [function, argument] : kPathArguments) {
    const std::vector<Call> calls = interposition.CallsOf(function);
    EXPECT_THAT(calls, Not(IsEmpty())) << function;
    for (const Call& call : calls) {
      const std::wstring path = call.Text(argument);
      EXPECT_TRUE(path.starts_with(sandbox.LibraryFolder().wstring() + L"\\") ||
                  path == sandbox.DataFolderPath() ||
                  path.starts_with(sandbox.DataFolderPath().wstring() + L"\\"))
          << function << ": " << Text::ToUtf8(path);
      EXPECT_EQ(path.find(L".."), std::wstring::npos) << Text::ToUtf8(path);
    }
  }
}

TEST_F(SecurityTest, ThereIsNoOtherWayToLoadAFileAndNoneToStartAProgram) {
  for (const char* function : {"LoadLibraryA",
                               "LoadLibraryExA",
                               "LoadLibraryExW",
                               "LoadModule",
                               "SearchPathW",
                               "CreateProcessW",
                               "CreateProcessA",
                               "ShellExecuteW",
                               "ShellExecuteExW",
                               "WinExec",
                               "CoCreateInstance",
                               "CreateFileA",
                               "GetPrivateProfileStringA",
                               "GetProfileStringW",
                               "GetProfileIntW",
                               "WriteProfileStringW",
                               "DeleteFileW",
                               "MoveFileExW",
                               "RegSetValueExW",
                               "SetCurrentDirectoryW",
                               "SetEnvironmentVariableW"}) {
    EXPECT_FALSE(interposition.Imports(function)) << function;
  }
}

TEST_F(SecurityTest, NothingIsTakenFromTheCurrentFolder) {
  // A folder with another configuration, another library of each name and other data.
  const fs::path current = sandbox.LibraryFolder() / L"Current";
  const auto decoy = IniFile()
                         .Section(L"ModeList")
                         .Key(L"ModeCount", 1)
                         .Key(L"Mode0", L"Decoy")
                         .Section(L"UsableModeList")
                         .Key(L"ModeCount", 1)
                         .Key(L"Mode0", L"Decoy")
                         .Section(L"Mode")
                         .Key(L"Eco", L"Decoy")
                         .Section(L"CurrentModeStatus")
                         .Key(L"Eco", 1);
  for (const wchar_t* file :
       {L"ModeChange.Config.ini", L"ModeChange.UsableModeList.ini", L"ModeChange.Settings.ini",
        L"ModeChange.DefaultSettings.ini", L"ModeChange.Status.ini", L"ModeChange.Resource.ini",
        L"en-US\\ModeChange.Resource.ini"}) {
    sandbox.Write(current / file, decoy);
  }
  EngineLog decoyLog;
  ScriptedEngine inFolder((current / L"Engines" / L"Lamp.dll").wstring(), &decoyLog);
  const CurrentFolder there(current);

  DoEverything();
  OpenOnEco();
  EXPECT_EQ(GetString(VELTO_MODE_STRING_NAME), L"Eco mode");
  EXPECT_EQ(GetNumber(VELTO_MODE_INT32_CURRENT_STATUS), 0);
  EXPECT_THAT(decoyLog, IsEmpty());
  EXPECT_THAT(log, Contains("Lamp.CreateHandle"));

  sandbox.Remove(L"ModeChange.Config.ini");
  VELTO_MODE_CHANGE_HANDLE another = nullptr;
  EXPECT_FALSE(createHandle(&another)) << "a file that is missing is not looked for elsewhere";
  static_cast<void>(traces.Take());
}

class EnginePathTest : public SecurityTest {
 protected:
  void SetEnginePath(const std::wstring& path) {
    WriteConfig();
    ::WritePrivateProfileStringW(L"Lamp", L"EnginePath", path.c_str(),
                                 (sandbox.LibraryFolder() / L"ModeChange.Config.ini").c_str());
  }
};

TEST_F(EnginePathTest, IsMadeFullFromTheLibrarysFolderOrNotLoadedAtAll) {
  const std::wstring folder = sandbox.LibraryFolder().wstring();
  const std::wstring parent = sandbox.LibraryFolder().parent_path().wstring();
  const std::wstring drive = sandbox.LibraryFolder().root_name().wstring();
  struct Row {
    std::wstring path;
    std::vector<std::wstring> loaded;
  };
  const Row rows[] = {
      {L"Engines\\Lamp.dll", {folder + L"\\Engines\\Lamp.dll"}},
      {L"Lamp.dll", {folder + L"\\Lamp.dll"}},
      {L".\\Lamp.dll", {folder + L"\\Lamp.dll"}},
      {L"\\Lamp.dll", {folder + L"\\Lamp.dll"}},
      {L"..\\Lamp.dll", {parent + L"\\Lamp.dll"}},
      {L"Engines\\..\\..\\Lamp.dll", {parent + L"\\Lamp.dll"}},
      {L"Q:\\Engines\\Lamp.dll", {L"Q:\\Engines\\Lamp.dll"}},
      {L"\\\\?\\Q:\\Lamp.dll", {L"\\\\?\\Q:\\Lamp.dll"}},
      {drive + L"Lamp.dll", {}},
      {drive + L"Engines\\Lamp.dll", {}},
      {drive, {}},
      {L"", {}},
      {L".", {}},
      {L"Engines", {}},
  };
  OpenOnEco();
  LoadNothing();
  const CurrentFolder there(sandbox.LibraryFolder());
  for (const Row& row : rows) {
    SCOPED_TRACE(Text::ToUtf8(row.path));
    SetEnginePath(row.path);
    interposition.ClearCalls();
    EXPECT_EQ(Change(1), VELTO_MODE_CHANGE_FAILED);
    EXPECT_EQ(LoadedPaths(), row.loaded);
    const Traces failed = traces.Take();
    ASSERT_FALSE(failed.empty());
    EXPECT_EQ(failed.front().function, L"CDeviceEngineHelper::Initialize");
    EXPECT_EQ(failed.front().line, 313U);
  }
}

TEST_F(EnginePathTest, MayBeOnAShare) {
  constexpr const wchar_t* kPath = L"\\\\Server\\Share\\Lamp.dll";
  OpenOnEco();
  LoadNothing();
  // A server that is not there takes its time to say so.
  const auto original =
      interposition.Original<decltype(&::GetFileAttributesW)>("GetFileAttributesW");
  interposition.Replace("GetFileAttributesW", [original](const wchar_t* path) {
    return std::wstring(path) == kPath ? INVALID_FILE_ATTRIBUTES : original(path);
  });
  SetEnginePath(kPath);
  interposition.ClearCalls();
  EXPECT_EQ(Change(1), VELTO_MODE_CHANGE_FAILED);
  EXPECT_THAT(LoadedPaths(), ElementsAre(kPath));
  static_cast<void>(traces.Take());
}

TEST_F(EnginePathTest, OfADriveAloneDoesNotFindAnEngineInTheCurrentFolder) {
  sandbox.MakeFolder(L"Decoy");
  EngineLog decoyLog;
  ScriptedEngine decoy((sandbox.LibraryFolder() / L"Decoy" / L"Lamp.dll").wstring(), &decoyLog);
  const CurrentFolder there(sandbox.LibraryFolder() / L"Decoy");
  SetEnginePath(sandbox.LibraryFolder().root_name().wstring() + L"Lamp.dll");
  OpenOnEco();
  EXPECT_EQ(Change(1), VELTO_MODE_CHANGE_FAILED);
  EXPECT_THAT(decoyLog, IsEmpty());
  static_cast<void>(traces.Take());
}

/// The lamps' driver; the wireless lamp is the library's on Windows 7 only.
class DriverPathEachWindowsTest : public SecurityTest {
 protected:
  DriverPathEachWindowsTest() {
    sandbox.MakeFolder(L"Driver");
    ::RegCreateKeyExW(HKEY_LOCAL_MACHINE, L"SOFTWARE\\Brivane\\QTX05A9", 0, nullptr,
                      REG_OPTION_VOLATILE, KEY_ALL_ACCESS, nullptr, &key, nullptr);
    ::WritePrivateProfileStringW(L"Common", L"EnableToChangeWirelessLEDStatusInWin7", L"1",
                                 (sandbox.LibraryFolder() / L"ModeChange.Config.ini").c_str());
  }
  ~DriverPathEachWindowsTest() override { ::RegCloseKey(key); }
  void Set(const wchar_t* value, const std::wstring& text) {
    ASSERT_EQ(::RegSetValueExW(key, value, 0, REG_SZ, reinterpret_cast<const BYTE*>(text.c_str()),
                               static_cast<DWORD>((text.size() + 1) * sizeof(wchar_t))),
              ERROR_SUCCESS);
  }

 private:
  HKEY key = nullptr;
};

TEST_F(DriverPathEachWindowsTest, HasToBeFull) {
  const std::wstring folder = (sandbox.LibraryFolder() / L"Driver").wstring();
  const std::wstring drive = sandbox.LibraryFolder().root_name().wstring();
  ScriptedDriver driver(folder + L"\\Hotkey.dll");
  const CurrentFolder there(sandbox.LibraryFolder());
  OpenOnEco();
  Set(L"DllName", L"Hotkey.dll");
  for (const std::wstring& notFull : {std::wstring(L"Driver"), std::wstring(L".\\Driver\\"),
                                      drive + L"Driver", folder.substr(drive.size())}) {
    SCOPED_TRACE(Text::ToUtf8(notFull));
    Set(L"InstPath", notFull);
    EXPECT_EQ(Change(1), VELTO_MODE_CHANGE_COMPLETED) << "as without a driver";
    EXPECT_THAT(driver.calls, IsEmpty());
    EXPECT_THAT(LoadedPaths(), Each(Truly(IsFullPath)));
    const bool isWirelessLampOurs = !Sandbox::IsWindows8OrLater();
    EXPECT_EQ(
        traces.Take(),
        isWirelessLampOurs
            ? (Traces{{L"ChangeModeWindow::`anonymous-namespace'::SetWirelessLEDStatus", 1052}})
            : Traces());
    EXPECT_EQ(Change(0), VELTO_MODE_CHANGE_COMPLETED);
    static_cast<void>(traces.Take());
  }

  Set(L"InstPath", folder);
  EXPECT_EQ(Change(1), VELTO_MODE_CHANGE_COMPLETED);
  EXPECT_THAT(driver.calls, Contains("SetLEDControl(0x10, 0xa0001)"));
}

// --- The files that every user may write ---------------------------------------------------------

TEST_F(SecurityTest, NoTextOfThePlainUsersFilesIsUsed) {
  DoEverything();
  const EngineLog expected = log;
  const std::vector<std::wstring> expectedPaths = LoadedPaths();

  // Everything that could name a library, a device or another file, wherever it could stand.
  const std::wstring decoyPath = (sandbox.LibraryFolder() / L"Decoy" / L"Lamp.dll").wstring();
  sandbox.MakeFolder(L"Decoy");
  EngineLog decoyLog;
  ScriptedEngine decoy(decoyPath, &decoyLog);
  IniFile planted;
  for (const wchar_t* section :
       {L"Common", L"Lamp", L"Fan", L"CurrentModeStatus", L"NormalEnvironment", L"ModeList",
        L"SettingItemList", L"Devices", L"SOFTWARE\\Brivane\\QTX05A9"}) {
    planted.Section(section)
        .Key(L"EnginePath", decoyPath)
        .Key(L"InstPath", (sandbox.LibraryFolder() / L"Decoy").wstring())
        .Key(L"DllName", L"Lamp.dll")
        .Key(L"SettingItemCount", 1)
        .Key(L"SettingItem0", L"Decoy")
        .Key(L"ModeCount", 1)
        .Key(L"Mode0", L"Decoy")
        .Key(L"Decoy", 1);
  }
  WritePlainUsersFiles(planted);
  log.clear();
  Engine(L"Lamp").current = 0;
  interposition.ClearCalls();
  DoEverything();

  EXPECT_EQ(log, expected);
  EXPECT_EQ(LoadedPaths(), expectedPaths);
  EXPECT_THAT(decoyLog, IsEmpty());
  // Numbers are read from there, and whether a section is empty; no text is.
  constexpr std::uint64_t kCharactersOfSection = 50;
  std::size_t reads = 0;
  for (const auto& [function, argument] : kPathArguments) {
    for (const Call& call : interposition.CallsOf(function)) {
      const std::wstring path = call.Text(argument);
      if (path != Settings() && path != StatusFile()) continue;
      ++reads;
      EXPECT_NE(function, "GetPrivateProfileStringW");
      EXPECT_NE(function, "LoadLibraryW");
      if (function == "GetPrivateProfileSectionW") {
        EXPECT_EQ(call.arguments.at(2), kCharactersOfSection);
      }
    }
  }
  EXPECT_GT(reads, 0U);
}

TEST_F(SecurityTest, AValueReachesADeviceOnlyWhereItsEngineOffersIt) {
  struct Row {
    const wchar_t* text;
    std::vector<INT32> requested;
    WPARAM result;
  };
  const Row rows[] = {
      {L"0", {0}, VELTO_MODE_CHANGE_COMPLETED},
      {L"1", {1}, VELTO_MODE_CHANGE_COMPLETED},
      {L"7", {}, VELTO_MODE_CHANGE_FAILED},
      {L"2147483647", {}, VELTO_MODE_CHANGE_FAILED},
      {L"-1", {}, VELTO_MODE_CHANGE_COMPLETED},
      {L"-2147483648", {}, VELTO_MODE_CHANGE_COMPLETED},
      {L"4294967295", {}, VELTO_MODE_CHANGE_COMPLETED},
      {L"no number", {0}, VELTO_MODE_CHANGE_COMPLETED},
  };
  Engine(L"Lamp").available = {{7, 0}, {2147483647, 0}};
  OpenOnEco();
  for (const Row& row : rows) {
    SCOPED_TRACE(Text::ToUtf8(row.text));
    // By the user's settings when the mode goes on.
    Engine(L"Lamp").requested.clear();
    sandbox.Write(Settings(), IniFile().Section(L"Eco").Key(L"Lamp", row.text));
    sandbox.Remove(StatusFile());
    EXPECT_EQ(Change(1), row.result);
    EXPECT_EQ(Engine(L"Lamp").requested, row.requested);

    // By what is remembered when it goes off.
    Engine(L"Lamp").requested.clear();
    sandbox.Write(StatusFile(), IniFile()
                                    .Section(L"CurrentModeStatus")
                                    .Key(L"Eco", 1)
                                    .Section(L"NormalEnvironment")
                                    .Key(L"Lamp", row.text));
    EXPECT_EQ(Change(0), row.result);
    EXPECT_EQ(Engine(L"Lamp").requested, row.requested);
    static_cast<void>(traces.Take());
  }
}

// --- Counts and sizes ----------------------------------------------------------------------------

/// What a piece of work took.
struct Effort {
  std::uint64_t largestBlock = 0;  // bytes
  std::uint64_t fileCalls = 0;
};

class EffortTest : public SecurityTest {
 protected:
  EffortTest() {
    interposition.SetRecording(false);
    const auto original = interposition.Original<void* (*)(std::size_t)>("malloc");
    interposition.Replace("malloc", [this, original](std::size_t size) {
      effort.largestBlock = std::max<std::uint64_t>(effort.largestBlock, size);
      return original(size);
    });
  }
  Effort Measure(const std::function<void()>& work) {
    interposition.ClearCalls();
    effort = {};
    work();
    for (const auto& [function, argument] : kPathArguments) {
      effort.fileCalls += interposition.Count(function);
    }
    return effort;
  }
  /// The machine's files with every count in them replaced. Lamp locks Fan, and Eco fixes Fan.
  void WriteCounts(std::optional<std::int64_t> count) {
    const auto write = [&](const wchar_t* file, const wchar_t* section, const wchar_t* key,
                           std::int64_t honest) {
      ::WritePrivateProfileStringW(section, key, std::to_wstring(count.value_or(honest)).c_str(),
                                   (sandbox.LibraryFolder() / file).c_str());
    };
    constexpr const wchar_t* kConfig = L"ModeChange.Config.ini";
    constexpr const wchar_t* kDefaults = L"ModeChange.DefaultSettings.ini";
    WriteConfig();
    WriteDefaults(true);
    write(kConfig, L"ModeList", L"ModeCount", 5);
    write(L"ModeChange.UsableModeList.ini", L"UsableModeList", L"ModeCount", 5);
    write(kConfig, L"SettingItemList", L"SettingItemCount", 2);
    write(kConfig, L"SettingGroupList", L"SettingGroupCount", 1);
    write(kConfig, L"Devices", L"SettingItemCount", 2);
    write(kConfig, L"Lamp", L"LockedOtherSettingItemCount", 1);
    const std::wstring config = (sandbox.LibraryFolder() / kConfig).wstring();
    for (const auto& [key, value] : {std::pair(L"SettingItemValueToLockOtherSettingItem", L"1"),
                                     std::pair(L"LockedOtherSettingItem0", L"Fan"),
                                     std::pair(L"LockedOtherSettingItemValue0", L"1")}) {
      ::WritePrivateProfileStringW(L"Lamp", key, value, config.c_str());
    }
    for (const wchar_t* section : {L"Eco_Win7", L"Eco_Win8OrLater"}) {
      write(kDefaults, section, L"LockedSettingItemCount", 1);
      ::WritePrivateProfileStringW(section, L"LockedSettingItem0", L"Fan",
                                   (sandbox.LibraryFolder() / kDefaults).c_str());
    }
  }
  void AskEverything() {
    OpenOnEco();
    UINT count = 0;
    EXPECT_TRUE(getModeCount(handle, &count));
    EXPECT_EQ(count, kModeCount);
    robot
        .Then("confirmation", DialogRobot::DialogWith(IDC_ANNOUNCE_DETAIL),
              [](HWND dialog) { Click(dialog, IDC_OK_BUTTON); })
        .Then("settings", DialogRobot::DialogWith(IDC_APPLY_BUTTON), [](HWND frame) {
          EXPECT_NE(Line(L"Fan"), nullptr);
          Click(frame, IDC_CANCEL_BUTTON);
        });
    EXPECT_EQ(Change(1), VELTO_MODE_CHANGE_COMPLETED);
    EXPECT_TRUE(showSettingsDialog(handle, hostWindow));
    Close();
    sandbox.Remove(StatusFile());
  }
  [[nodiscard]] std::uint64_t LargestFile() const {
    std::uint64_t largest = 0;
    for (const wchar_t* file :
         {L"ModeChange.Config.ini", L"ModeChange.UsableModeList.ini",
          L"ModeChange.DefaultSettings.ini", L"en-US\\ModeChange.Resource.ini"}) {
      largest = std::max<std::uint64_t>(largest, sandbox.Read(file).size());
    }
    return largest;
  }

 private:
  Effort effort;
};

TEST_F(EffortTest, ACountThatAFileClaimsCostsNoMoreThanTheFileIsLong) {
  WriteCounts(std::nullopt);
  const Effort honest = Measure([this] { AskEverything(); });
  // A buffer for a value or a list of names has a character for each byte of the file.
  const std::uint64_t mostBytes = (LargestFile() + 100) * sizeof(wchar_t);
  EXPECT_LE(honest.largestBlock, mostBytes);
  for (const std::int64_t count : {std::int64_t{2147483647}, std::int64_t{1001}}) {
    SCOPED_TRACE(count);
    WriteCounts(count);
    const Effort claimed = Measure([this] { AskEverything(); });
    EXPECT_LE(claimed.largestBlock, mostBytes);
    // One call more for each list, for the names of its keys.
    EXPECT_LE(claimed.fileCalls, 2 * honest.fileCalls);
  }
}

TEST_F(EffortTest, ASmallFileCannotClaimMuch) {
  // About a hundred bytes each.
  const std::string claims = "ModeCount=2147483647\r\nMode0=Eco\r\nMode2147483646=Eco\r\n";
  sandbox.Write(L"ModeChange.Config.ini",
                "[ModeList]\r\n" + claims + "[SettingItemList]\r\nSettingItemCount=2147483647\r\n");
  sandbox.Write(L"ModeChange.UsableModeList.ini", "[UsableModeList]\r\n" + claims);
  const Effort effort = Measure([this] {
    Open();
    UINT count = 0;
    EXPECT_TRUE(getModeCount(handle, &count));
    EXPECT_EQ(count, 2U) << "the keys that are there";
  });
  Close();
  EXPECT_LE(effort.largestBlock, 1000U);
  EXPECT_LE(effort.fileCalls, 50U);
}

TEST_F(EffortTest, ThePlainUsersFilesMakeNoBufferAndNoLoopGrow) {
  WriteCounts(std::nullopt);
  WritePlainUsersFiles(IniFile().Section(L"Common").Key(L"ShowAnnounceModeIsChangedDialog", 1));
  const Effort small = Measure([this] { AskEverything(); });

  IniFile large;
  large.In(IniFile::Encoding::kAnsi);
  for (const wchar_t* section : {L"Common", L"Quiet", L"CurrentModeStatus", L"NormalEnvironment"}) {
    large.Section(section)
        .Key(L"ShowAnnounceModeIsChangedDialog", 1)
        .Key(L"LockedSettingItemCount", std::numeric_limits<std::int32_t>::max())
        .Key(L"ModeCount", std::numeric_limits<std::int32_t>::max())
        .Key(L"Long", std::wstring(100'000, L'x'));
    for (int i = 0; i < 1000; ++i) large.Key(L"SettingItem" + std::to_wstring(i), i);
  }
  WritePlainUsersFiles(large);
  const Effort grown = Measure([this] { AskEverything(); });
  EXPECT_EQ(grown.largestBlock, small.largestBlock);
  EXPECT_EQ(grown.fileCalls, small.fileCalls);
}

// --- What the library makes, and whom it listens to ----------------------------------------------

TEST_F(SecurityTest, FolderAndFileAreOpenToThreeGroupsForThreeKindsOfAccess) {
  sandbox.SetDataFolder(Sandbox::DataFolder::kMakerOnly);
  std::size_t made = 0;
  const auto check = [&made](const SECURITY_ATTRIBUTES* attributes) {
    ++made;
    ASSERT_NE(attributes, nullptr);
    EXPECT_EQ(attributes->bInheritHandle, FALSE);
    BOOL isThere = FALSE;
    BOOL isDefaulted = FALSE;
    ACL* list = nullptr;
    ASSERT_TRUE(::GetSecurityDescriptorDacl(attributes->lpSecurityDescriptor, &isThere, &list,
                                            &isDefaulted));
    ASSERT_NE(list, nullptr) << "no list would let everybody do everything";
    const WELL_KNOWN_SID_TYPE groups[] = {WinLocalSystemSid, WinBuiltinAdministratorsSid,
                                          WinBuiltinUsersSid};
    ASSERT_EQ(list->AceCount, std::size(groups));
    for (DWORD i = 0; i < list->AceCount; ++i) {
      void* entry = nullptr;
      ASSERT_TRUE(::GetAce(list, i, &entry));
      auto* allowed = static_cast<ACCESS_ALLOWED_ACE*>(entry);
      EXPECT_EQ(allowed->Header.AceType, ACCESS_ALLOWED_ACE_TYPE);
      EXPECT_EQ(allowed->Header.AceFlags, OBJECT_INHERIT_ACE | CONTAINER_INHERIT_ACE);
      EXPECT_EQ(allowed->Mask, GENERIC_READ | GENERIC_WRITE | GENERIC_EXECUTE);
      EXPECT_TRUE(::IsWellKnownSid(&allowed->SidStart, groups[i]));
    }
  };
  interposition.Replace("CreateDirectoryW",
                        [&](const wchar_t* path, SECURITY_ATTRIBUTES* attributes) {
                          check(attributes);
                          return ::CreateDirectoryW(path, attributes);
                        });
  interposition.Replace("CreateFileW", [&](const wchar_t* path, DWORD access, DWORD sharing,
                                           SECURITY_ATTRIBUTES* attributes, DWORD disposition,
                                           DWORD flags, HANDLE templateFile) {
    if (disposition == CREATE_NEW) {
      check(attributes);
    } else {
      EXPECT_EQ(disposition, static_cast<DWORD>(OPEN_EXISTING));
      EXPECT_EQ(access, GENERIC_READ) << "what is there is only read";
    }
    return ::CreateFileW(path, access, sharing, attributes, disposition, flags, templateFile);
  });
  DoEverything();
  EXPECT_EQ(made, 2U) << "the folder and the status";
  // The dialog's first save is a write: Windows makes the file, which inherits from the folder.
  EXPECT_TRUE(sandbox.Exists(Settings()));
}

TEST_F(SecurityTest, TheOneShotValueLeavesOutAQuestionAndNothingElse) {
  const std::wstring name = L"Software\\Brivane\\Kestrola\\ModeChange";
  HKEY key = nullptr;
  ASSERT_EQ(::RegCreateKeyExW(HKEY_CURRENT_USER, name.c_str(), 0, nullptr, REG_OPTION_VOLATILE,
                              KEY_ALL_ACCESS, nullptr, &key, nullptr),
            ERROR_SUCCESS);
  const std::string large(100'000, '\1');
  for (const wchar_t* value : {L"NotShowAnnounceModeIsChangeDialog", L"Other"}) {
    ASSERT_EQ(
        ::RegSetValueExW(key, value, 0, REG_BINARY, reinterpret_cast<const BYTE*>(large.data()),
                         static_cast<DWORD>(large.size())),
        ERROR_SUCCESS);
  }
  DoEverything();
  EXPECT_EQ(robot.Left(), 0U) << "no value but a small number leaves it out";
  for (const Call& call : interposition.CallsOf("RegDeleteValueW")) {
    EXPECT_STREQ(call.Text(1), L"NotShowAnnounceModeIsChangeDialog");
  }
  EXPECT_EQ(::RegQueryValueExW(key, L"Other", nullptr, nullptr, nullptr, nullptr), ERROR_SUCCESS);
  EXPECT_EQ(::RegQueryValueExW(key, L"NotShowAnnounceModeIsChangeDialog", nullptr, nullptr, nullptr,
                               nullptr),
            ERROR_FILE_NOT_FOUND);
  ::RegCloseKey(key);
}

TEST_F(SecurityTest, OneMessageIsLetThroughFromProgramsWithFewerRights) {
  DoEverything();
  const std::vector<Call> calls = interposition.CallsOf("ChangeWindowMessageFilterEx");
  ASSERT_THAT(calls, Not(IsEmpty()));
  for (const Call& call : calls) {
    EXPECT_EQ(call.arguments.at(1), std::uint64_t{WM_COPYDATA});
    EXPECT_EQ(call.arguments.at(2), std::uint64_t{MSGFLT_ALLOW});
  }
  EXPECT_FALSE(interposition.Imports("ChangeWindowMessageFilter")) << "for the whole process";
}

}  // namespace
