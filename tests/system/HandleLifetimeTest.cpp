#include "system/HostFixture.h"

namespace {

class HandleLifetimeTest : public HostTest {
 protected:
  void ExpectNoHandle(const Traces& expected) {
    auto* const untouched = reinterpret_cast<VELTO_MODE_CHANGE_HANDLE>(0x4711);
    VELTO_MODE_CHANGE_HANDLE created = untouched;
    EXPECT_FALSE(createHandle(&created));
    EXPECT_EQ(created, untouched);
    EXPECT_EQ(traces.Take(), expected);
    PumpAll();
    EXPECT_EQ(ChangeModeWindow(), nullptr);
  }
  [[nodiscard]] std::wstring InFolder(const wchar_t* file) const {
    return (sandbox.LibraryFolder() / file).wstring();
  }
};

TEST_F(HandleLifetimeTest, AHandleHasAHiddenWindowUntilMessagesAreHandledAfterItsEnd) {
  Open();
  const HWND window = ChangeModeWindow();
  ASSERT_NE(window, nullptr);
  EXPECT_FALSE(::IsWindowVisible(window));
  EXPECT_EQ(::GetWindowThreadProcessId(window, nullptr), ::GetCurrentThreadId());
  EXPECT_TRUE(deleteHandle(handle));
  handle = nullptr;
  EXPECT_TRUE(::IsWindow(window));
  PumpAll();
  EXPECT_FALSE(::IsWindow(window));
}

TEST_F(HandleLifetimeTest, TheWindowGoesAtOnceWhereWindowsTakesNoMessage) {
  Open();
  const HWND window = ChangeModeWindow();
  interposition.Fail("PostMessageW", {});
  EXPECT_TRUE(deleteHandle(handle));
  handle = nullptr;
  EXPECT_FALSE(::IsWindow(window));
}

TEST_F(HandleLifetimeTest, SeveralHandlesHaveSelectionsAndWindowsOfTheirOwn) {
  Open();
  VELTO_MODE_CHANGE_HANDLE first = handle;
  Open();
  ASSERT_NE(first, handle);
  ASSERT_TRUE(selectMode(first, kEco));
  ASSERT_TRUE(selectMode(handle, kDock));
  EXPECT_EQ(GetString(VELTO_MODE_STRING_NAME), L"Cradle mode");
  Close();
  handle = first;
  EXPECT_EQ(GetString(VELTO_MODE_STRING_NAME), L"Eco mode");
  EXPECT_NE(ChangeModeWindow(), nullptr);
}

TEST_F(HandleLifetimeTest, TheListOfModesIsReadOnceAndTheAnswersAnew) {
  Open();
  WriteUsableModes({L"Eco"});
  SetText(L"Mode", L"Quiet", L"Another name");
  UINT count = 0;
  ASSERT_TRUE(getModeCount(handle, &count));
  EXPECT_EQ(count, kModeCount);
  ASSERT_TRUE(selectMode(handle, kQuiet));
  EXPECT_EQ(GetString(VELTO_MODE_STRING_NAME), L"Another name");
}

TEST_F(HandleLifetimeTest, AListWithoutAUsableModeIsAHandleWithoutModes) {
  WriteUsableModes({L"Unknown"});
  Open();
  UINT count = 4711;
  EXPECT_TRUE(getModeCount(handle, &count));
  EXPECT_EQ(count, 0U);
  EXPECT_FALSE(selectMode(handle, 0));
  EXPECT_EQ(traces.Take(), (Traces{{L"CModeChange::SelectMode", 148, L"0"},
                                   {L"VeltoModeChange_SelectMode", 138, L"0"}}));
}

TEST_F(HandleLifetimeTest, AnEmptyListOfUsableModesIsAFailure) {
  WriteUsableModes({});
  ExpectNoHandle({{L"CModeChangeConfig::GetUsableModeList", 117},
                  {L"CModeChange::LoadModeInformation", 496},
                  {L"CModeChange::Initiallize", 70},
                  {L"VeltoModeChange_CreateHandle", 38}});
}

TEST_F(HandleLifetimeTest, WithoutAConfigurationThereIsNoHandle) {
  sandbox.Remove(L"ModeChange.Config.ini");
  ExpectNoHandle(
      {{L"CModeChangeConfig::DoesConfigFileExist", 282, InFolder(L"ModeChange.Config.ini")},
       {L"CModeChangeConfig::GetUsableModeList", 110},
       {L"CModeChange::LoadModeInformation", 496},
       {L"CModeChange::Initiallize", 70},
       {L"VeltoModeChange_CreateHandle", 38}});
}

TEST_F(HandleLifetimeTest, AModeWhoseTypeCannotBeReadFailsTheWholeHandle) {
  // The list is read first; the files go away when the second mode's flags are asked for.
  interposition.Observe("GetPrivateProfileIntW", [this](const Call& call) {
    if (std::wstring_view(call.Text(0)) == L"Quiet") sandbox.Remove(L"ModeChange.Config.ini");
  });
  ExpectNoHandle(
      {{L"CModeChangeConfig::DoesConfigFileExist", 282, InFolder(L"ModeChange.Config.ini")},
       {L"CModeChangeConfig::GetModeType", 135},
       {L"CModeChange::LoadModeInformation", 507, L"Dock"},
       {L"CModeChange::Initiallize", 70},
       {L"VeltoModeChange_CreateHandle", 38}});
}

TEST_F(HandleLifetimeTest, WithoutAWindowThereIsNoHandle) {
  interposition.Fail("CreateWindowExW", {.nth = 1});
  ExpectNoHandle({{L"CModeChange::Initiallize", 78}, {L"VeltoModeChange_CreateHandle", 38}});
}

TEST_F(HandleLifetimeTest, WithoutAWindowClassThereIsNoHandle) {
  interposition.Fail("RegisterClassExW", {.nth = 1, .lastError = ERROR_NOT_ENOUGH_MEMORY});
  ExpectNoHandle({{L"ChangeModeWindow::CreateMyWindow", 143, L"8"},
                  {L"CModeChange::Initiallize", 78},
                  {L"VeltoModeChange_CreateHandle", 38}});
}

TEST_F(HandleLifetimeTest, ALibraryThatCannotBePinnedClosesTheWindowItMade) {
  interposition.Replace(
      "GetModuleHandleExW", [this](DWORD flags, const wchar_t* name, HMODULE* module) -> BOOL {
        if ((flags & GET_MODULE_HANDLE_EX_FLAG_PIN) != 0) {
          ::SetLastError(ERROR_MOD_NOT_FOUND);
          return FALSE;
        }
        return interposition.Original<decltype(&::GetModuleHandleExW)>("GetModuleHandleExW")(
            flags, name, module);
      });
  ExpectNoHandle({{L"CModeChange::PinDLL", 960, InFolder(L"ModeChange.dll") + L", 126"},
                  {L"VeltoModeChange_CreateHandle", 38}});
  EXPECT_EQ(interposition.Count("CreateWindowExW"), 1U);
}

TEST_F(HandleLifetimeTest, ALibraryWithoutAPathIsNotPinned) {
  bool isPinning = false;
  interposition.Observe("CreateWindowExW", [&isPinning](const Call&) { isPinning = true; });
  interposition.Replace(
      "GetModuleFileNameW", [this, &isPinning](HMODULE module, wchar_t* path, DWORD size) -> DWORD {
        if (isPinning) {
          isPinning = false;
          ::SetLastError(ERROR_INVALID_HANDLE);
          return 0;
        }
        return interposition.Original<decltype(&::GetModuleFileNameW)>("GetModuleFileNameW")(
            module, path, size);
      });
  ExpectNoHandle({{L"CModeChange::PinDLL", 953, L"6"}, {L"VeltoModeChange_CreateHandle", 38}});
}

TEST_F(HandleLifetimeTest, TheLibraryStaysLoadedWhateverTheHostDoes) {
  Open();
  for (int frees = 0; frees < 3; ++frees) ::FreeLibrary(library.Module());
  EXPECT_EQ(::GetModuleHandleW(L"ModeChange.dll"), library.Module());
  ASSERT_TRUE(selectMode(handle, kEco));
  EXPECT_EQ(GetString(VELTO_MODE_STRING_NAME), L"Eco mode");
}

TEST_F(HandleLifetimeTest, TheSettingsDialogOfAnEmptyListIsARangeError) {
  WriteUsableModes({L"Unknown"});
  Open();
  try {
    showSettingsDialog(handle, hostWindow);
    ADD_FAILURE() << "nothing was thrown";
  } catch (const std::out_of_range& error) {
    EXPECT_STREQ(error.what(), "invalid vector<T> subscript");
  }
}

}  // namespace
