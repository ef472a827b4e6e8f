#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <windows.h>
// windows.h first: the others need its types.
#include <shellapi.h>
#include <shlobj.h>

#include <array>
#include <filesystem>
#include <fstream>
#include <functional>
#include <string>

#include "resources/ControlIds.h"
#include "support/ChildProcess.h"
#include "support/Files.h"
#include "system/BuildFolder.h"

namespace fs = std::filesystem;

namespace {

constexpr std::uint32_t kPatienceInMilliseconds = 20'000;
constexpr UINT kIconMessage = WM_APP;

bool WaitFor(const std::function<bool()>& condition) {
  const ULONGLONG deadline = ::GetTickCount64() + kPatienceInMilliseconds;
  while (!condition()) {
    if (::GetTickCount64() >= deadline) return false;
    ::SwitchToThread();
  }
  return true;
}

/// modetray.exe itself, on the sample notebook. The data folder, the devices and the screen are the
/// session's, so tests that run side by side take turns.
class ModetrayFocusTest : public ::testing::Test {
 public:
  ModetrayFocusTest() {
    constexpr DWORD kTurnInMilliseconds = 60'000;
    EXPECT_NE(::WaitForSingleObject(turn, kTurnInMilliseconds), DWORD{WAIT_TIMEOUT});
    std::array<wchar_t, MAX_PATH> applicationData{};
    EXPECT_NE(
        ::SHGetSpecialFolderPathW(nullptr, applicationData.data(), CSIDL_COMMON_APPDATA, FALSE),
        FALSE);
    makersFolder = fs::path(applicationData.data()) / L"Brivane";
    EXPECT_FALSE(fs::exists(makersFolder)) << "is somebody else's: " << makersFolder;
    isOurs = !fs::exists(makersFolder);

    fs::create_directories(folder / L"Engines");

    CopyTree(SAMPLE_CONFIG_FOLDER, folder);
    Copy(L"modetray.exe");
    Copy(L"ModeChange.dll");
    for (const wchar_t* engine : {L"KeyboardRepeatDelay", L"PointerSpeed", L"PowerScheme",
                                  L"ScreenSaver", L"VisualEffects"}) {
      Copy((L"Engines\\" + std::wstring(engine) + L".dll").c_str());
    }
    ::SystemParametersInfoW(SPI_GETUIEFFECTS, 0, &effects, 0);
    ::SystemParametersInfoW(SPI_GETSCREENSAVEACTIVE, 0, &screenSaver, 0);
  }
  ~ModetrayFocusTest() override {
    // NOLINTNEXTLINE(performance-no-int-to-ptr): the number itself goes where a pointer is expected
    void* const value = reinterpret_cast<void*>(UINT_PTR{effects});
    ::SystemParametersInfoW(SPI_SETUIEFFECTS, 0, value, SPIF_UPDATEINIFILE);
    ::SystemParametersInfoW(SPI_SETSCREENSAVEACTIVE, screenSaver, nullptr, SPIF_UPDATEINIFILE);
    EXPECT_TRUE(!isOurs || Files::RemoveTree(makersFolder));
    EXPECT_TRUE(Files::RemoveTree(folder));
    ::ReleaseMutex(turn);
    ::CloseHandle(turn);
  }
  ModetrayFocusTest(const ModetrayFocusTest&) = delete;
  ModetrayFocusTest& operator=(const ModetrayFocusTest&) = delete;

 protected:
  static void CopyTree(const fs::path& from, const fs::path& to) {
    fs::create_directories(to);
    for (const auto& entry : fs::directory_iterator(from)) {
      const fs::path target = to / entry.path().filename();
      if (entry.is_directory()) {
        CopyTree(entry.path(), target);
      } else {
        fs::copy_file(entry.path(), target);
      }
    }
  }
  void Copy(const wchar_t* built) const {
    fs::copy_file(BuiltProgramsFolder() / built, folder / built);
  }
  [[nodiscard]] ChildProcess::Options Program() const {
    return {.program = folder / L"modetray.exe", .commandLine = L"modetray"};
  }
  [[nodiscard]] int ReadStatus(const wchar_t* mode) const {
    return static_cast<int>(
        ::GetPrivateProfileIntW(L"CurrentModeStatus", mode, -1,
                                (makersFolder / L"Kestrola" / L"ModeChange.Status.ini").c_str()));
  }

  /// The hidden window of the program, once it listens.
  static HWND WaitForWindow() {
    HWND window = nullptr;
    EXPECT_TRUE(WaitFor([&] {
      window = ::FindWindowW(L"BrivaneModetray", nullptr);
      return window != nullptr && ::GetWindowLongPtrW(window, GWLP_USERDATA) != 0;
    }));
    return window;
  }
  static bool IsMenuOpen() { return ::IsWindowVisible(::FindWindowW(L"#32768", nullptr)) != FALSE; }
  static void ClickIcon(HWND window) {
    ::PostMessageW(window, kIconMessage, MAKEWPARAM(50, 50), MAKELPARAM(NIN_SELECT, 1));
  }
  static void PressInMenu(HWND window, wchar_t key) {
    ASSERT_TRUE(WaitFor(IsMenuOpen));
    ::PostMessageW(window, WM_CHAR, key, 0);
  }
  /// A dialog or a message box with this caption.
  static HWND WaitForDialog() {
    HWND dialog = nullptr;
    EXPECT_TRUE(WaitFor([&] {
      dialog = ::FindWindowW(L"#32770", L"Mode Change");
      return ::IsWindowVisible(dialog) != FALSE;
    }));
    return dialog;
  }
  /// The text of the message box that the program shows, which is then closed.
  static std::wstring TakeBox() {
    HWND box = WaitForDialog();
    std::array<wchar_t, 1024> text{};
    ::SendDlgItemMessageW(box, 0xFFFF, WM_GETTEXT, text.size(),
                          reinterpret_cast<LPARAM>(text.data()));
    ::PostMessageW(box, WM_COMMAND, IDOK, 0);
    return text.data();
  }

  HANDLE turn = ::CreateMutexW(nullptr, FALSE, L"Local\\VeltoSettingsOfTheSession");
  fs::path folder = Files::ProgramPath().parent_path() / L"machine";
  fs::path makersFolder;
  bool isOurs = false;
  UINT effects = 0;
  UINT screenSaver = 0;
};

}  // namespace

TEST_F(ModetrayFocusTest, SwitchesAModeOnAndOffAndExits) {
  for (const int status : {1, 0}) {
    const ChildProcess modetray(Program());
    HWND window = WaitForWindow();
    ClickIcon(window);
    PressInMenu(window, L'2');
    HWND confirmation = WaitForDialog();
    ASSERT_NE(::GetDlgItem(confirmation, IDC_OK_BUTTON), nullptr);
    ::PostMessageW(::GetDlgItem(confirmation, IDC_OK_BUTTON), BM_CLICK, 0, 0);
    EXPECT_TRUE(WaitFor([&] { return ReadStatus(L"Eco") == status; }));
    ClickIcon(window);
    PressInMenu(window, L'x');
    EXPECT_EQ(modetray.Wait(kPatienceInMilliseconds), 0U);
  }
}

TEST_F(ModetrayFocusTest, OpensTheMenuOfTheFirstWhenStartedAgain) {
  const ChildProcess first(Program());
  HWND window = WaitForWindow();
  const ChildProcess second(Program());
  EXPECT_EQ(second.Wait(kPatienceInMilliseconds), 0U);
  PressInMenu(window, L'x');
  EXPECT_EQ(first.Wait(kPatienceInMilliseconds), 0U);
}

TEST_F(ModetrayFocusTest, SaysThatItRunsWhereItsMenuCanNotBeOpened) {
  HANDLE mark = ::CreateMutexW(nullptr, FALSE, L"Local\\BrivaneModetray");
  const ChildProcess modetray(Program());
  EXPECT_EQ(TakeBox(), L"The program is already running. Its icon is in the notification area.");
  EXPECT_EQ(modetray.Wait(kPatienceInMilliseconds), 0U);
  ::CloseHandle(mark);
}

TEST_F(ModetrayFocusTest, SaysWhichFileIsMissing) {
  fs::remove(folder / L"ModeChange.dll");
  const ChildProcess modetray(Program());
  EXPECT_EQ(TakeBox(), L"A file is missing:\n" + (folder / L"ModeChange.dll").wstring() +
                           L"\n\nInstall the program again.");
  EXPECT_EQ(modetray.Wait(kPatienceInMilliseconds), 1U);
}

TEST_F(ModetrayFocusTest, SaysWhichFileIsDamaged) {
  const std::wstring expected = L"This file is damaged or does not belong to the program:\n" +
                                (folder / L"ModeChange.dll").wstring() +
                                L"\n\nInstall the program again.";
  fs::remove(folder / L"ModeChange.dll");
  std::ofstream(folder / L"ModeChange.dll", std::ios::binary) << "no library";
  const ChildProcess unreadable(Program());
  EXPECT_EQ(TakeBox(), expected);
  EXPECT_EQ(unreadable.Wait(kPatienceInMilliseconds), 1U);

  // A library, but another one.
  fs::remove(folder / L"ModeChange.dll");
  fs::copy_file(folder / L"Engines" / L"VisualEffects.dll", folder / L"ModeChange.dll");
  const ChildProcess wrong(Program());
  EXPECT_EQ(TakeBox(), expected);
  EXPECT_EQ(wrong.Wait(kPatienceInMilliseconds), 1U);
}

TEST_F(ModetrayFocusTest, SaysWhereTheConfigurationIsMissing) {
  fs::remove(folder / L"ModeChange.UsableModeList.ini");
  const ChildProcess modetray(Program());
  EXPECT_EQ(TakeBox(),
            L"The modes of this computer can't be read. Files are missing or damaged in this "
            L"folder:\n" +
                folder.wstring() + L"\n\nInstall the program again.");
  EXPECT_EQ(modetray.Wait(kPatienceInMilliseconds), 1U);
}

TEST_F(ModetrayFocusTest, EndsWhenAnotherProgramClosesIt) {
  const ChildProcess modetray(Program());
  ::PostMessageW(WaitForWindow(), WM_CLOSE, 0, 0);
  EXPECT_EQ(modetray.Wait(kPatienceInMilliseconds), 0U);
}
