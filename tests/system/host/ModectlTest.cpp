#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <windows.h>
// windows.h first: the other needs its types.
#include <shlobj.h>

#include <array>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

#include "common/CUniqueHandle.h"
#include "support/ChildProcess.h"
#include "support/Files.h"
#include "support/IniFile.h"
#include "system/BuildFolder.h"

using ::testing::HasSubstr;
using ::testing::StartsWith;

namespace fs = std::filesystem;

namespace {

/// A machine's folder with modectl, the library and a configuration of two modes; gone afterwards.
class ModectlTest : public ::testing::Test {
 public:
  ModectlTest() {
    fs::create_directories(folder / L"en-US");
    Copy(L"modectl.exe", L"modectl.exe");
    Copy(L"ModeChange.dll", L"ModeChange.dll");
    Copy(L"Engines\\VisualEffects.dll", L"Engine.dll");
    Write(L"ModeChange.Config.ini", IniFile()
                                        .Section(L"ModeList")
                                        .Key(L"ModeCount", 2)
                                        .Key(L"Mode0", L"ModectlTestNormal")
                                        .Key(L"Mode1", L"ModectlTestEco")
                                        .Section(L"ModectlTestEco")
                                        .Key(L"IsEcoMode", 1)
                                        .Section(L"SettingItemList")
                                        .Key(L"SettingItemCount", 1)
                                        .Key(L"SettingItem0", L"ModectlTestEffects")
                                        .Section(L"ModectlTestEffects")
                                        .Key(L"EnginePath", L"Engine.dll")
                                        .Section(L"ModeStatus0")
                                        .Key(L"ModeStatusIconKeyName", L"IconOff")
                                        .Section(L"ModeStatus1")
                                        .Key(L"ModeStatusIconKeyName", L"IconOn"));
    Write(L"ModeChange.UsableModeList.ini", IniFile()
                                                .Section(L"UsableModeList")
                                                .Key(L"ModeCount", 2)
                                                .Key(L"Mode0", L"ModectlTestNormal")
                                                .Key(L"Mode1", L"ModectlTestEco"));
    Write(L"ModeChange.DefaultSettings.ini", IniFile()
                                                 .Section(L"ModectlTestEco_Win7")
                                                 .Key(L"ModectlTestEffects", 0)
                                                 .Section(L"ModectlTestEco_Win8OrLater")
                                                 .Key(L"ModectlTestEffects", 0));
    Write(L"en-US\\ModeChange.Resource.ini", IniFile()
                                                 .Section(L"Mode")
                                                 .Key(L"ModectlTestNormal", L"普通")
                                                 .Key(L"ModectlTestEco", L"Eco \"1\" \\ mode")
                                                 .Section(L"Common")
                                                 .Key(L"ModeStatus0", L"Off")
                                                 .Key(L"ModeStatus1", L"On"));
  }
  ~ModectlTest() override { EXPECT_TRUE(Files::RemoveTree(folder)); }
  ModectlTest(const ModectlTest&) = delete;
  ModectlTest& operator=(const ModectlTest&) = delete;

 protected:
  void Copy(const wchar_t* built, const wchar_t* name) const {
    // This runtime can't copy over a file, whatever it is told.
    fs::remove(folder / name);
    fs::copy_file(BuiltProgramsFolder() / built, folder / name);
  }
  void Write(const wchar_t* name, const IniFile& file) const {
    std::ofstream(folder / name, std::ios::binary) << file.Bytes();
  }
  [[nodiscard]] ChildProcess::Result Run(const std::wstring& arguments) const {
    return ChildProcess::Run(
        {.program = folder / L"modectl.exe", .commandLine = L"modectl " + arguments});
  }

  fs::path folder = Files::ProgramPath().parent_path() / L"machine";
};

constexpr const char* kList =
    "No.  Status  Type          Name\n"
    "  0  OFF     ordinary      \xE6\x99\xAE\xE9\x80\x9A\n"
    "  1  OFF     eco           Eco \"1\" \\ mode\n";

}  // namespace

TEST_F(ModectlTest, ListsTheModes) {
  const ChildProcess::Result result = Run(L"list");
  EXPECT_EQ(result.exitCode, 0U);
  EXPECT_EQ(result.output, kList);
}

TEST_F(ModectlTest, ListsTheModesAsJson) {
  const ChildProcess::Result result = Run(L"list --json");
  EXPECT_EQ(result.exitCode, 0U);
  EXPECT_EQ(result.output,
            "[\n"
            R"(  {"index": 0, "name": ")"
            "\xE6\x99\xAE\xE9\x80\x9A"
            R"(", "type": "ordinary", "status": 0, "statusName": "Off", )"
            R"("statusIconKey": "IconOff", "settingsChanged": false, "autoOnOff": false},)"
            "\n"
            R"(  {"index": 1, "name": "Eco \"1\" \\ mode", "type": "eco", "status": 0, )"
            R"("statusName": "Off", "statusIconKey": "IconOff", "settingsChanged": false, )"
            R"("autoOnOff": false})"
            "\n]\n");
}

TEST_F(ModectlTest, ShowsAMode) {
  const ChildProcess::Result result = Run(LR"(show "eco \"1\" \ MODE")");
  EXPECT_EQ(result.exitCode, 0U);
  EXPECT_THAT(result.output, StartsWith("Name              Eco \"1\" \\ mode\n"
                                        "Number            1\n"
                                        "Type              eco\n"));
}

TEST_F(ModectlTest, NamesTheModesWhereOneIsUnknown) {
  for (const wchar_t* const command : {L"show Ecology", L"on Ecology", L"off 2", L"settings x"}) {
    const ChildProcess::Result result = Run(command);
    EXPECT_EQ(result.exitCode, 64U);
    EXPECT_THAT(result.output, StartsWith("modectl: there is no mode "));
    EXPECT_THAT(result.output, HasSubstr(kList));
  }
}

TEST_F(ModectlTest, HelpsWithoutALibrary) {
  fs::remove(folder / L"ModeChange.dll");
  EXPECT_EQ(Run(L"--help").exitCode, 0U);
  EXPECT_THAT(Run(L"--help").output, StartsWith("Usage: modectl COMMAND"));
  EXPECT_THAT(Run(L"--version").output, StartsWith("modectl "));
  const ChildProcess::Result wrong = Run(L"");
  EXPECT_EQ(wrong.exitCode, 64U);
  EXPECT_EQ(wrong.output, "modectl: no command\nTry: modectl --help\n");
}

TEST_F(ModectlTest, SaysWhereItLookedForTheLibrary) {
  fs::remove(folder / L"ModeChange.dll");
  const ChildProcess::Result result = Run(L"list");
  EXPECT_EQ(result.exitCode, 1U);
  EXPECT_THAT(result.output,
              StartsWith("modectl: ModeChange.dll was not found. Looked for it in "));
  EXPECT_THAT(result.output, HasSubstr("\\machine."));
}

TEST_F(ModectlTest, SaysWhyTheLibraryDoesNotLoad) {
  std::ofstream(folder / L"ModeChange.dll", std::ios::binary | std::ios::trunc) << "no library";
  const ChildProcess::Result result = Run(L"list");
  EXPECT_EQ(result.exitCode, 1U);
  EXPECT_THAT(result.output, HasSubstr("\\ModeChange.dll can't be loaded: "));
}

TEST_F(ModectlTest, SaysWhatTheLibraryLacks) {
  Copy(L"Engines\\VisualEffects.dll", L"ModeChange.dll");
  const ChildProcess::Result result = Run(L"list");
  EXPECT_EQ(result.exitCode, 1U);
  EXPECT_THAT(result.output, HasSubstr("lacks the function VeltoModeChange_CreateHandle"));
}

TEST_F(ModectlTest, PointsAtTheConfiguration) {
  fs::remove(folder / L"ModeChange.UsableModeList.ini");
  const ChildProcess::Result result = Run(L"list");
  EXPECT_EQ(result.exitCode, 1U);
  EXPECT_THAT(result.output, StartsWith("modectl: ModeChange.dll can't read its configuration.\n"));
  EXPECT_THAT(result.output, HasSubstr("ModeChange.UsableModeList.ini"));
}

namespace {

constexpr const wchar_t* kKey = L"Software\\Brivane\\Kestrola\\ModeChange";
constexpr const wchar_t* kMark = L"NotShowAnnounceModeIsChangeDialog";

/// Switches modes for real: the data folder and the devices are the session's, so tests that run
/// side by side take turns. Starts without the data folder and without a mark in the registry.
class ModectlSwitchTest : public ModectlTest {
 public:
  ModectlSwitchTest() {
    constexpr DWORD kPatienceInMilliseconds = 60'000;
    EXPECT_NE(::WaitForSingleObject(turn, kPatienceInMilliseconds), DWORD{WAIT_TIMEOUT});
    std::array<wchar_t, MAX_PATH> applicationData{};
    EXPECT_NE(
        ::SHGetSpecialFolderPathW(nullptr, applicationData.data(), CSIDL_COMMON_APPDATA, FALSE),
        FALSE);
    makersFolder = fs::path(applicationData.data()) / L"Brivane";
    EXPECT_FALSE(fs::exists(makersFolder)) << "is somebody else's: " << makersFolder;
    isOurs = !fs::exists(makersFolder);
    ::SystemParametersInfoW(SPI_GETUIEFFECTS, 0, &effects, 0);
  }
  ~ModectlSwitchTest() override {
    SetEffects(effects);
    EXPECT_TRUE(!isOurs || Files::RemoveTree(makersFolder));
    ::ReleaseMutex(turn);
    ::CloseHandle(turn);
  }
  ModectlSwitchTest(const ModectlSwitchTest&) = delete;
  ModectlSwitchTest& operator=(const ModectlSwitchTest&) = delete;

 protected:
  static void SetEffects(UINT on) {
    // NOLINTNEXTLINE(performance-no-int-to-ptr): the number itself goes where a pointer is expected
    void* const value = reinterpret_cast<void*>(UINT_PTR{on});
    ::SystemParametersInfoW(SPI_SETUIEFFECTS, 0, value, SPIF_UPDATEINIFILE);
  }
  /// Another process changed it, so it is read where it is kept and not from this one's memory.
  static bool AreEffectsOn() {
    std::array<BYTE, 8> mask{};
    DWORD size = sizeof(mask);
    EXPECT_EQ(::RegGetValueW(HKEY_CURRENT_USER, L"Control Panel\\Desktop", L"UserPreferencesMask",
                             RRF_RT_REG_BINARY, nullptr, mask.data(), &size),
              ERROR_SUCCESS);
    return (mask[3] & 0x80) != 0;
  }
  [[nodiscard]] int ReadStatus(const wchar_t* mode) const {
    return static_cast<int>(
        ::GetPrivateProfileIntW(L"CurrentModeStatus", mode, -1,
                                (makersFolder / L"Kestrola" / L"ModeChange.Status.ini").c_str()));
  }
  static bool IsMarkThere() {
    return ::RegGetValueW(HKEY_CURRENT_USER, kKey, kMark, RRF_RT_ANY, nullptr, nullptr, nullptr) ==
           ERROR_SUCCESS;
  }

  HANDLE turn = ::CreateMutexW(nullptr, FALSE, L"Local\\VeltoSettingsOfTheSession");
  fs::path makersFolder;
  bool isOurs = false;
  UINT effects = 0;
};

/// The dialog that a process shows, once it is there.
HWND WaitForDialog(const wchar_t* title) {
  constexpr ULONGLONG kPatienceInMilliseconds = 20'000;
  const ULONGLONG deadline = ::GetTickCount64() + kPatienceInMilliseconds;
  HWND dialog = nullptr;
  while (dialog == nullptr && ::GetTickCount64() < deadline) {
    HWND found = ::FindWindowW(L"#32770", title);
    if (found != nullptr && ::IsWindowVisible(found) != FALSE) dialog = found;
    ::SwitchToThread();
  }
  return dialog;
}

}  // namespace

TEST_F(ModectlSwitchTest, SwitchesADeviceOnANewMachineAndBack) {
  SetEffects(TRUE);
  const ChildProcess::Result on = Run(L"on 1 --no-confirm");
  EXPECT_EQ(on.output, "Eco \"1\" \\ mode is ON.\n");
  EXPECT_EQ(on.exitCode, 0U);
  EXPECT_FALSE(AreEffectsOn());
  EXPECT_EQ(ReadStatus(L"ModectlTestEco"), 1);
  EXPECT_FALSE(IsMarkThere());

  const ChildProcess::Result off = Run(L"off 1 --no-confirm");
  EXPECT_EQ(off.output, "Eco \"1\" \\ mode is OFF.\n");
  EXPECT_EQ(off.exitCode, 0U);
  EXPECT_TRUE(AreEffectsOn());
  EXPECT_EQ(ReadStatus(L"ModectlTestEco"), 0);
}

TEST_F(ModectlSwitchTest, ReportsAFailedChange) {
  fs::remove(folder / L"Engine.dll");
  const ChildProcess::Result result = Run(L"on 1 --no-confirm");
  EXPECT_EQ(result.exitCode, 1U);
  EXPECT_THAT(result.output, StartsWith("Failed to switch Eco \"1\" \\ mode ON: "));
}

TEST_F(ModectlSwitchTest, LeavesNoMarkWhereTheLibraryDoesNotTakeTheRequest) {
  // Of what the library wants to know, only whether to ask the user can't be read.
  fs::remove(folder / L"ModeChange.DefaultSettings.ini");
  fs::create_directories(makersFolder / L"Kestrola");
  std::ofstream(makersFolder / L"Kestrola" / L"ModeChange.Settings.ini", std::ios::binary)
      << IniFile()
             .Section(L"ModectlTestNormal")
             .Key(L"AutoONOFF", 0)
             .Section(L"ModectlTestEco")
             .Key(L"AutoONOFF", 0)
             .Bytes();
  const ChildProcess::Result result = Run(L"on 1 --no-confirm");
  EXPECT_EQ(result.exitCode, 1U);
  EXPECT_THAT(result.output, StartsWith("modectl: ModeChange.dll could not begin to switch"));
  EXPECT_FALSE(IsMarkThere());
}

TEST_F(ModectlSwitchTest, TellsThatTheUserCancelled) {
  const std::wstring title = L"Modectl test";
  Write(L"en-US\\ModeChange.Resource.ini", IniFile()
                                               .Section(L"Mode")
                                               .Key(L"ModectlTestEco", L"Eco")
                                               .Section(L"Common")
                                               .Key(L"ApplicationName", title));
  SECURITY_ATTRIBUTES inheritable = {sizeof(inheritable), nullptr, TRUE};
  const CUniqueFile output(::CreateFileW((folder / L"output").c_str(), GENERIC_WRITE,
                                         FILE_SHARE_READ, &inheritable, CREATE_ALWAYS,
                                         FILE_ATTRIBUTE_NORMAL, nullptr));
  const ChildProcess modectl({.program = folder / L"modectl.exe",
                              .commandLine = L"modectl on eco",
                              .output = output.Get()});
  HWND dialog = WaitForDialog(title.c_str());
  ASSERT_NE(dialog, nullptr);
  ::PostMessageW(dialog, WM_SYSCOMMAND, SC_CLOSE, 0);
  constexpr std::uint32_t kPatienceInMilliseconds = 20'000;
  EXPECT_EQ(modectl.Wait(kPatienceInMilliseconds), 1U);
  std::ifstream file(folder / L"output", std::ios::binary);
  EXPECT_EQ(std::string(std::istreambuf_iterator<char>(file), {}), "Cancelled: Eco is OFF.\n");
  EXPECT_EQ(ReadStatus(L"ModectlTestEco"), -1);
}
