#include <filesystem>
#include <functional>
#include <optional>
#include <ostream>
#include <string>
#include <utility>
#include <vector>

#include "system/SettingsFixture.h"
#include "velto/device_engine.h"

namespace {

namespace fs = std::filesystem;

using ::testing::Each;
using ::testing::ElementsAre;
using ::testing::Field;
using ::testing::IsEmpty;
using ::testing::Not;
using ::testing::StartsWith;

/// Engines that change the files while the library works with them. Mode Eco sets Lamp and Fan, in
/// this order, to 1; Lamp is the engine that does it.
class FileChangingEnginesTest : public SettingsTest {
 protected:
  FileChangingEnginesTest() {
    interposition.SetRecording(false);
    watchdog.SetPatience(100);
  }
  /// As on a new machine, with a handle on Eco.
  void StartAnew(bool announce = false) {
    if (handle != nullptr) Close();
    sandbox.SetDataFolder(Sandbox::DataFolder::kPresent);
    for (const fs::path& file : MakersFiles()) sandbox.Remove(file);
    WriteConfig();
    WriteUsableModes({L"Quiet", L"Dock", L"Own", L"Eco", L"Flight"});
    WriteTexts();
    WriteDefaults(announce);
    SetDefault(L"Eco", L"Lamp", 1);
    SetDefault(L"Eco", L"Fan", 1);
    for (const wchar_t* item : {L"Lamp", L"Fan"}) {
      Engine(item).current = 0;
      Engine(item).requested.clear();
      Engine(item).onCall = nullptr;
    }
    log.clear();
    Open();
    ASSERT_TRUE(selectMode(handle, kEco));
  }
  /// Has the n-th call of Lamp do something, once. `wasCalled` says whether it came to that.
  void AtCall(std::size_t nth, std::function<void()> act) {
    wasCalled = false;
    Engine(L"Lamp").onCall = [this, nth, count = std::size_t{0},
                              act = std::move(act)](const std::string&) mutable {
      if (++count != nth) return;
      wasCalled = true;
      act();
    };
  }
  /// Has Lamp do something when it is asked to set its value.
  void AtRequest(std::function<void()> act) {
    Engine(L"Lamp").onCall = [act = std::move(act)](const std::string& call) {
      if (call.starts_with("Lamp.RequestToSet")) act();
    };
  }
  /// The result of a whole change; none where the host was told nothing.
  std::optional<WPARAM> Change(INT32 status) {
    EXPECT_TRUE(Request(status));
    return WaitForResult();
  }
  void ExpectAllClosed() {
    PumpAll();
    EXPECT_THAT(results, IsEmpty());
    for (const wchar_t* item : {L"Lamp", L"Fan"}) {
      EXPECT_EQ(Engine(item).openHandles, 0) << Text::ToUtf8(item);
    }
    EXPECT_THAT(handles.Held(), IsEmpty());
  }
  void ExpectWorks() {
    static_cast<void>(traces.Take());
    StartAnew();
    for (const INT32 status : {1, 0}) {
      EXPECT_EQ(Change(status), VELTO_MODE_CHANGE_COMPLETED);
      EXPECT_EQ(GetNumber(VELTO_MODE_INT32_CURRENT_STATUS), status);
      EXPECT_EQ(Engine(L"Lamp").current, status);
    }
    ExpectAllClosed();
  }
  static Trace InWindow(const std::wstring& function, std::uint32_t line,
                        std::wstring message = L"No Additional Information") {
    return {L"ChangeModeWindow::`anonymous-namespace'::" + function, line, std::move(message)};
  }
  [[nodiscard]] static std::vector<fs::path> MakersFiles() {
    return {L"ModeChange.Config.ini", L"ModeChange.UsableModeList.ini",
            L"ModeChange.DefaultSettings.ini", L"en-US\\ModeChange.Resource.ini"};
  }
  [[nodiscard]] fs::path Settings() const { return sandbox.DataFile(L"ModeChange.Settings.ini"); }
  [[nodiscard]] fs::path StatusFile() const { return sandbox.DataFile(L"ModeChange.Status.ini"); }
  [[nodiscard]] std::wstring Remembered(const wchar_t* item) const {
    return sandbox.IniValue(StatusFile(), L"NormalEnvironment", item).value_or(L"none");
  }

  bool wasCalled = false;
};

// --- Other contents ------------------------------------------------------------------------------

TEST_F(FileChangingEnginesTest, AnItemTakesTheValueThatTheFilesHaveWhenItIsItsTurn) {
  StartAnew();
  AtRequest([this] { SetDefault(L"Eco", L"Fan", 0); });
  EXPECT_EQ(Change(1), VELTO_MODE_CHANGE_COMPLETED);
  EXPECT_THAT(Engine(L"Fan").requested, ElementsAre(0));

  StartAnew();
  AtRequest([this] { SetSaved(L"Eco", L"Fan", 0); });
  EXPECT_EQ(Change(1), VELTO_MODE_CHANGE_COMPLETED);
  EXPECT_THAT(Engine(L"Lamp").requested, ElementsAre(1));
  EXPECT_THAT(Engine(L"Fan").requested, ElementsAre(0)) << "from now on the user's values count";
}

TEST_F(FileChangingEnginesTest, TheItemsAndModesAreThoseOfTheStart) {
  StartAnew();
  AtRequest([this] {
    sandbox.Write(L"ModeChange.Config.ini", IniFile()
                                                .Section(L"ModeList")
                                                .Key(L"ModeCount", 1)
                                                .Key(L"Mode0", L"Other")
                                                .Section(L"Fan")
                                                .Key(L"EnginePath", L"Engines\\Fan.dll"));
    WriteUsableModes({L"Other"});
  });
  EXPECT_EQ(Change(1), VELTO_MODE_CHANGE_COMPLETED);
  EXPECT_THAT(Engine(L"Fan").requested, ElementsAre(1));
  EXPECT_EQ(Status(L"Eco"), L"1");
}

TEST_F(FileChangingEnginesTest, WhichModeWasOnIsDecidedAtTheStart) {
  StartAnew();
  AtRequest([this] { SetStatus(L"Dock", 1); });
  EXPECT_EQ(Change(1), VELTO_MODE_CHANGE_COMPLETED);
  EXPECT_EQ(Status(L"Eco"), L"1");
  EXPECT_EQ(Status(L"Dock"), L"1") << "nobody switched it off";
  EXPECT_EQ(Remembered(L"Fan"), L"0") << "as from no mode";
}

TEST_F(FileChangingEnginesTest, WhatIsRememberedIsReadWhenItIsItsTurn) {
  StartAnew();
  ASSERT_EQ(Change(1), VELTO_MODE_CHANGE_COMPLETED);
  Engine(L"Fan").requested.clear();
  AtRequest([this] {
    ::WritePrivateProfileStringW(L"NormalEnvironment", L"Fan", L"1", StatusFile().c_str());
  });
  EXPECT_EQ(Change(0), VELTO_MODE_CHANGE_COMPLETED);
  EXPECT_THAT(Engine(L"Fan").requested, ElementsAre(1));
}

TEST_F(FileChangingEnginesTest, AnEngineMayMoveTheEngineThatComesNext) {
  StartAnew();
  AtRequest([this] {
    ::WritePrivateProfileStringW(L"Fan", L"EnginePath", L"Engines\\Gone.dll",
                                 (sandbox.LibraryFolder() / L"ModeChange.Config.ini").c_str());
  });
  EXPECT_EQ(Change(1), VELTO_MODE_CHANGE_FAILED);
  const Traces failed = traces.Take();
  ASSERT_FALSE(failed.empty());
  EXPECT_EQ(failed.front(), (Trace{L"CDeviceEngineHelper::Initialize", 313,
                                   (sandbox.LibraryFolder() / L"Engines" / L"Gone.dll").wstring() +
                                       L", " + std::to_wstring(ERROR_MOD_NOT_FOUND)}));
  EXPECT_THAT(Engine(L"Lamp").requested, ElementsAre(1)) << "and it keeps its value";
}

// --- Files that go -------------------------------------------------------------------------------

TEST_F(FileChangingEnginesTest, WithoutTheConfigurationTheNextItemFails) {
  for (const wchar_t* file : {L"ModeChange.Config.ini", L"ModeChange.UsableModeList.ini"}) {
    SCOPED_TRACE(Text::ToUtf8(file));
    StartAnew();
    AtRequest([this, file] { sandbox.Remove(file); });
    EXPECT_EQ(Change(1), VELTO_MODE_CHANGE_FAILED);
    EXPECT_EQ(traces.Take(), (Traces{{L"CModeChangeConfig::DoesConfigFileExist",
                                      file == MakersFiles().front() ? 282U : 285U,
                                      (sandbox.LibraryFolder() / file).wstring()},
                                     {L"CModeChangeConfig::GetSettingItemEnginePath", 210},
                                     InWindow(L"OnSetDeviceStatus", 392, L"Fan"),
                                     InWindow(L"OnCompletionNotice", 469, L"1, 0")}));
    EXPECT_THAT(Engine(L"Lamp").requested, ElementsAre(1));
    EXPECT_THAT(Engine(L"Fan").requested, IsEmpty());
    EXPECT_EQ(Status(L"Eco"), L"none") << "the mode did not go on";
    ExpectAllClosed();
  }
  ExpectWorks();
}

TEST_F(FileChangingEnginesTest, WithoutTheDefaultsTheNextItemFails) {
  StartAnew();
  AtRequest([this] { RemoveDefaults(); });
  EXPECT_EQ(Change(1), VELTO_MODE_CHANGE_FAILED);
  const std::wstring save = L"SaveNormaiEnvironmentAndGetSettingItemValueForNewModeStatus";
  EXPECT_EQ(traces.Take(),
            (Traces{{L"CModeChangeSettings::GetDefaultSettingItemValue", 211,
                     (sandbox.LibraryFolder() / L"ModeChange.DefaultSettings.ini").wstring()},
                    {L"CModeChangeSettings::GetSettingItemValue", 305},
                    InWindow(save, 823, L"Eco"),
                    InWindow(save, 825, L"Fan"),
                    InWindow(L"OnSetDeviceStatus", 433, L"Fan"),
                    InWindow(L"OnCompletionNotice", 469, L"1, 0")}));
  ExpectAllClosed();
  ExpectWorks();
}

TEST_F(FileChangingEnginesTest, WithoutTheUsersValuesTheNextItemTakesTheDefault) {
  StartAnew();
  SetSaved(L"Eco", L"Lamp", 1);
  SetSaved(L"Eco", L"Fan", 0);
  AtRequest([this] { sandbox.Remove(Settings()); });
  EXPECT_EQ(Change(1), VELTO_MODE_CHANGE_COMPLETED);
  EXPECT_THAT(Engine(L"Fan").requested, ElementsAre(1));
}

TEST_F(FileChangingEnginesTest, AStatusFileThatGoesIsMadeAnewWithoutWhatItRemembered) {
  StartAnew();
  AtRequest([this] { sandbox.Remove(sandbox.DataFolderPath()); });
  EXPECT_EQ(Change(1), VELTO_MODE_CHANGE_COMPLETED);
  EXPECT_EQ(Status(L"Eco"), L"1");
  EXPECT_EQ(Remembered(L"Lamp"), L"none");
  EXPECT_EQ(Remembered(L"Fan"), L"0");

  Engine(L"Lamp").requested.clear();
  Engine(L"Fan").requested.clear();
  Engine(L"Lamp").onCall = nullptr;
  EXPECT_EQ(Change(0), VELTO_MODE_CHANGE_COMPLETED);
  EXPECT_THAT(Engine(L"Lamp").requested, IsEmpty()) << "it stays as the mode set it";
  EXPECT_THAT(Engine(L"Fan").requested, ElementsAre(0));
}

TEST_F(FileChangingEnginesTest, WithoutTheStatusFileNothingMoreIsBroughtBack) {
  StartAnew();
  ASSERT_EQ(Change(1), VELTO_MODE_CHANGE_COMPLETED);
  Engine(L"Fan").requested.clear();
  AtRequest([this] { sandbox.Remove(StatusFile()); });
  EXPECT_EQ(Change(0), VELTO_MODE_CHANGE_FAILED);
  const std::wstring save = L"SaveNormaiEnvironmentAndGetSettingItemValueForNewModeStatus";
  EXPECT_EQ(
      traces.Take(),
      (Traces{{L"CModeChangeStatus::GetNormalEnvironmentSetting", 181, StatusFile().wstring()},
              InWindow(save, 803),
              InWindow(L"OnSetDeviceStatus", 433, L"Fan"),
              InWindow(L"OnCompletionNotice", 469, L"1, 0")}));
  EXPECT_THAT(Engine(L"Fan").requested, IsEmpty());
  EXPECT_FALSE(sandbox.Exists(StatusFile())) << "a failed change records nothing";
  ExpectAllClosed();
  ExpectWorks();
}

// --- Any harm to any file at any call ------------------------------------------------------------

/// What an engine does to a file.
struct Harm {
  const char* name;
  void (*act)(Sandbox& sandbox, const fs::path& file);

  friend std::ostream& operator<<(std::ostream& stream, const Harm& harm) {
    return stream << harm.name;
  }
};

// A file that an engine holds open for itself alone, until the test is through with it.
HANDLE held = INVALID_HANDLE_VALUE;

void GiveBackHeldFile() {
  if (held != INVALID_HANDLE_VALUE) ::CloseHandle(std::exchange(held, INVALID_HANDLE_VALUE));
}

const Harm kHarms[] = {
    {"Delete", [](Sandbox& sandbox, const fs::path& file) { sandbox.Remove(file); }},
    {"Empty", [](Sandbox& sandbox, const fs::path& file) { sandbox.Write(file, ""); }},
    {"Overwrite",
     [](Sandbox& sandbox, const fs::path& file) {
       sandbox.Write(file, std::string(3000, '\xFF') + "]\r\n=[\r\n" + std::string(3000, '\0'));
     }},
    {"ReplaceByAFolder",
     [](Sandbox& sandbox, const fs::path& file) {
       sandbox.Remove(file);
       sandbox.MakeFolder(file);
     }},
    {"HoldOpen",
     [](Sandbox& sandbox, const fs::path& file) {
       held = ::CreateFileW((sandbox.LibraryFolder() / file).c_str(), GENERIC_READ | GENERIC_WRITE,
                            0, nullptr, OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr);
     }},
};

class FileHarmingEnginesTest : public FileChangingEnginesTest,
                               public ::testing::WithParamInterface<Harm> {
 protected:
  /// With all six files in place, and the user's values those of the defaults.
  void StartWithAllFiles(bool announce) {
    StartAnew(announce);
    SetSaved(L"Eco", L"Lamp", 1);
    SetSaved(L"Eco", L"Fan", 1);
    SetStatus(L"Quiet", 0);
  }
  /// Runs `operation` for each file and for Lamp's calls on the way, which then harm the file;
  /// `check` comes after it. `stride` leads from one call to the next.
  void AtEachFileAndCall(bool announce, std::size_t stride, const std::function<void()>& operation,
                         const std::function<void()>& check) {
    std::vector<fs::path> files = MakersFiles();
    files.push_back(Settings());
    files.push_back(StatusFile());
    for (const fs::path& file : files) {
      std::size_t call = 1;
      for (;; call += stride) {
        SCOPED_TRACE(Text::ToUtf8(file.filename().wstring()) + " in call " + std::to_string(call));
        StartWithAllFiles(announce);
        AtCall(call, [&] { GetParam().act(sandbox, file); });
        operation();
        GiveBackHeldFile();
        if (!wasCalled) break;
        check();
        ExpectAllClosed();
        static_cast<void>(traces.Take());
        if (HasFailure()) return;
      }
      EXPECT_GT(call, 10U);
    }
    ExpectWorks();
  }
  void ExpectNoValueButThoseOfTheFiles() {
    EXPECT_THAT(Engine(L"Lamp").requested, Each(1));
    EXPECT_THAT(Engine(L"Fan").requested, Each(1));
  }
  void ExpectTold(std::optional<WPARAM> result) {
    ASSERT_TRUE(result.has_value());
    if (result == VELTO_MODE_CHANGE_COMPLETED) {
      EXPECT_EQ(GetNumber(VELTO_MODE_INT32_CURRENT_STATUS), 1);
      // What is missing then is a text, or the mode's type for the eco lamp.
      EXPECT_THAT(traces.Take(),
                  Each(Field(&Trace::function, Not(StartsWith(L"ChangeModeWindow")))));
    } else {
      EXPECT_EQ(result, VELTO_MODE_CHANGE_FAILED);
      ExpectReasons();
    }
  }
  void ExpectReasons() { EXPECT_THAT(traces.Take(), Not(IsEmpty())) << "a failure says why"; }
};

INSTANTIATE_TEST_SUITE_P(, FileHarmingEnginesTest, ::testing::ValuesIn(kHarms),
                         [](const auto& test) { return std::string(test.param.name); });

TEST_P(FileHarmingEnginesTest, EndTheChangeAndTellTheHostOnce) {
  std::optional<WPARAM> result;
  AtEachFileAndCall(
      false, 1, [&] { result = Change(1); },
      [&] {
        ExpectNoValueButThoseOfTheFiles();
        ExpectTold(result);
      });
}

TEST_P(FileHarmingEnginesTest, EndTheConfirmationWithAnAnswer) {
  BOOL answer = FALSE;
  std::optional<WPARAM> result;
  AtEachFileAndCall(
      true, 4,
      [&] {
        const UINT_PTR timer = ::SetTimer(nullptr, 0, 10, [](HWND, UINT, UINT_PTR, DWORD) {
          const HWND dialog = DialogRobot::FindDialogWith(IDC_ANNOUNCE_DETAIL);
          if (dialog != nullptr) Click(dialog, IDC_OK_BUTTON);
        });
        answer = Request(1);
        ::KillTimer(nullptr, timer);
        result = answer != FALSE ? WaitForResult() : std::nullopt;
      },
      [&] {
        ExpectNoValueButThoseOfTheFiles();
        if (answer != FALSE) {
          ExpectTold(result);
        } else {
          EXPECT_THAT(Engine(L"Lamp").requested, IsEmpty());
          ExpectReasons();
        }
      });
}

TEST_P(FileHarmingEnginesTest, LeaveTheSettingsDialogAWayOut) {
  BOOL answer = FALSE;
  AtEachFileAndCall(
      false, 4,
      [&] {
        const UINT_PTR timer = ::SetTimer(nullptr, 0, 10, [](HWND, UINT, UINT_PTR, DWORD) {
          if (const HWND box = DialogRobot::FindMessageBox(); box != nullptr) {
            DialogRobot::Dismiss(box);
          } else if (const HWND frame = Frame(); frame != nullptr) {
            ::PostMessageW(frame, WM_CLOSE, 0, 0);
          }
        });
        answer = showSettingsDialog(handle, hostWindow);
        ::KillTimer(nullptr, timer);
      },
      [&] {
        EXPECT_EQ(Frame(), nullptr);
        EXPECT_THAT(Engine(L"Lamp").requested, IsEmpty());
        if (answer == FALSE) ExpectReasons();
      });
}

}  // namespace
