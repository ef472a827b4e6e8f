#include "devices/CQtx05a9DllApplicationSwitchControl.h"

#include <functional>
#include <optional>
#include <string>

#include "support/CurrentFolder.h"
#include "unit/devices/DriverFixture.h"

namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;

constexpr DWORD kNoError = 0xABCD;

class CQtx05a9DllApplicationSwitchControlTest : public DriverTest {
 protected:
  /// Tries to load the driver; the last error where that fails.
  std::optional<DWORD> FailToLoad() {
    control.emplace();
    ::SetLastError(kNoError);
    if (control->LoadDriver()) return std::nullopt;
    const DWORD error = ::GetLastError();
    EXPECT_THAT(handles.Held(), IsEmpty());
    return error;
  }

  std::optional<Qtx05a9::CQtx05a9DllApplicationSwitchControl> control{std::in_place};
};

// --- Switches ------------------------------------------------------------------------------------

TEST_F(CQtx05a9DllApplicationSwitchControlTest, PassesQuestionsAndAnswersOn) {
  InstallDriver();
  driver->switchInfo = 0x12345678;
  ASSERT_TRUE(control->LoadDriver());
  DWORD info = 0;
  EXPECT_EQ(control->GetSwitchInfo(&info), 0U);
  EXPECT_EQ(info, 0x12345678U);
  EXPECT_EQ(control->SetApplicationSwitch(0x20, 0), 0U);
  EXPECT_EQ(control->SetApplicationSwitch(0xFFFFFFFF, 0x80000000), 0U);
  EXPECT_THAT(driver->calls, ElementsAre("GetSwitchInfo", "SetApplicationSwitch(0x20, 0x0)",
                                         "SetApplicationSwitch(0xffffffff, 0x80000000)"));
}

TEST_F(CQtx05a9DllApplicationSwitchControlTest, PassesTheDriversStatusOn) {
  InstallDriver();
  ASSERT_TRUE(control->LoadDriver());
  for (const DWORD status : {1U, 7U, 0x80000000U}) {
    driver->getSwitchInfoStatus = driver->setApplicationSwitchStatus = status;
    DWORD info = 0;
    EXPECT_EQ(control->GetSwitchInfo(&info), status);
    EXPECT_EQ(control->SetApplicationSwitch(0x20, 0x20), status);
  }
}

TEST_F(CQtx05a9DllApplicationSwitchControlTest, ForgetsTheFunctionsOfADriverThatIsRefused) {
  class RefusingControl : public Qtx05a9::CQtx05a9DllApplicationSwitchControl {
   protected:
    bool OnLoad(HMODULE loaded) override {
      EXPECT_TRUE(CQtx05a9DllApplicationSwitchControl::OnLoad(loaded));
      return false;
    }
  };
  InstallDriver();
  RefusingControl refusing;
  EXPECT_FALSE(refusing.LoadDriver());
  EXPECT_THAT(handles.Held(), IsEmpty());
  DWORD info = 0;
  EXPECT_EQ(refusing.GetSwitchInfo(&info), 1U);
  EXPECT_EQ(refusing.SetApplicationSwitch(0x20, 0), 1U);
  EXPECT_THAT(driver->calls, IsEmpty());
}

TEST_F(CQtx05a9DllApplicationSwitchControlTest, IsNotSupportedBeforeItIsLoaded) {
  InstallDriver();
  DWORD info = 0;
  ::SetLastError(kNoError);
  EXPECT_EQ(control->GetSwitchInfo(&info), 1U);
  EXPECT_EQ(::GetLastError(), static_cast<DWORD>(ERROR_NOT_SUPPORTED));
  ::SetLastError(kNoError);
  EXPECT_EQ(control->SetApplicationSwitch(0x20, 0x20), 1U);
  EXPECT_EQ(::GetLastError(), static_cast<DWORD>(ERROR_NOT_SUPPORTED));
  EXPECT_THAT(driver->calls, IsEmpty());
}

TEST_F(CQtx05a9DllApplicationSwitchControlTest, LoadsADriverThatLacksFunctions) {
  InstallDriver();
  DWORD info = 0;
  exports.Hide("GetSwitchInfo");
  ASSERT_TRUE(control->LoadDriver());
  ::SetLastError(kNoError);
  EXPECT_EQ(control->GetSwitchInfo(&info), 1U);
  EXPECT_EQ(::GetLastError(), static_cast<DWORD>(ERROR_NOT_SUPPORTED));
  EXPECT_EQ(control->SetApplicationSwitch(0x20, 0x20), 0U);

  exports.Restore();
  exports.Hide("SetApplicationSwitch");
  control.emplace();
  ASSERT_TRUE(control->LoadDriver());
  EXPECT_EQ(control->GetSwitchInfo(&info), 0U);
  ::SetLastError(kNoError);
  EXPECT_EQ(control->SetApplicationSwitch(0x20, 0x20), 1U);
  EXPECT_EQ(::GetLastError(), static_cast<DWORD>(ERROR_NOT_SUPPORTED));

  EXPECT_THAT(driver->calls, ElementsAre("SetApplicationSwitch(0x20, 0x20)", "GetSwitchInfo"));
}

// --- Loading -------------------------------------------------------------------------------------

TEST_F(CQtx05a9DllApplicationSwitchControlTest, HoldsTheDriverUntilItIsDestroyed) {
  InstallDriver();
  ASSERT_TRUE(control->LoadDriver());
  EXPECT_THAT(PathsGivenTo("LoadLibraryW"), ElementsAre(DriverPath()));
  EXPECT_THAT(handles.Held(), SizeIs(1)) << "The driver, but not the registry key.";
  control.reset();
  EXPECT_THAT(handles.Held(), IsEmpty());
}

TEST_F(CQtx05a9DllApplicationSwitchControlTest, LoadsOneDriverOnly) {
  InstallDriver();
  ASSERT_TRUE(control->LoadDriver());
  EXPECT_FALSE(control->LoadDriver());
  EXPECT_EQ(::GetLastError(), static_cast<DWORD>(ERROR_ALREADY_INITIALIZED));
  DWORD info = 0;
  EXPECT_EQ(control->GetSwitchInfo(&info), 0U) << "The first one is still there.";
}

TEST_F(CQtx05a9DllApplicationSwitchControlTest, FailsWhereTheDriverDoesNotLoad) {
  InstallDriver();
  interposition.Fail("LoadLibraryW", {.lastError = ERROR_BAD_EXE_FORMAT});
  EXPECT_EQ(FailToLoad(), static_cast<DWORD>(ERROR_BAD_EXE_FORMAT));
  DWORD info = 0;
  EXPECT_EQ(control->GetSwitchInfo(&info), 1U);
}

TEST_F(CQtx05a9DllApplicationSwitchControlTest, LoadsNoDirectory) {
  InstallDriver();
  sandbox.MakeFolder(DriverFolder() + L"\\Folder.dll");
  SetText(L"DllName", L"Folder.dll");
  EXPECT_NE(FailToLoad(), std::nullopt);
}

// --- The path ------------------------------------------------------------------------------------

TEST_F(CQtx05a9DllApplicationSwitchControlTest, ReadsTheDriversKeyOfTheMachine) {
  RemoveKey();
  EXPECT_EQ(FailToLoad(), static_cast<DWORD>(ERROR_FILE_NOT_FOUND));
  const std::vector<Call> opened = interposition.CallsOf("RegOpenKeyExW");
  ASSERT_THAT(opened, SizeIs(1));
  EXPECT_EQ(reinterpret_cast<HKEY>(opened.front().arguments[0]), HKEY_LOCAL_MACHINE);
  EXPECT_EQ(::_wcsicmp(opened.front().Text(1), L"Software\\Brivane\\QTX05A9"), 0)
      << Text::ToUtf8(opened.front().Text(1));
  EXPECT_EQ(opened.front().arguments[3], static_cast<std::uint64_t>(KEY_READ));
  EXPECT_EQ(interposition.Count("LoadLibraryW"), 0U);
}

TEST_F(CQtx05a9DllApplicationSwitchControlTest, TellsTheErrorOfOpeningTheKey) {
  InstallDriver();
  interposition.Fail("RegOpenKeyExW", {.result = ERROR_ACCESS_DENIED});
  EXPECT_EQ(FailToLoad(), static_cast<DWORD>(ERROR_ACCESS_DENIED));
}

TEST_F(CQtx05a9DllApplicationSwitchControlTest, JoinsFolderAndNameWithOneBackslash) {
  for (const wchar_t* folder : {L"D:\\Drv", L"D:\\Drv\\"}) {
    SetPath(folder, L"x.dll");
    interposition.ClearCalls();
    EXPECT_EQ(FailToLoad(), static_cast<DWORD>(ERROR_MOD_NOT_FOUND));
    EXPECT_THAT(PathsGivenTo("LoadLibraryW"), ElementsAre(L"D:\\Drv\\x.dll"));
  }
}

TEST_F(CQtx05a9DllApplicationSwitchControlTest, LoadsFromAFolderWithABackslashAtItsEnd) {
  InstallDriver();
  SetText(L"InstPath", DriverFolder() + L"\\");
  EXPECT_TRUE(control->LoadDriver());
  EXPECT_THAT(PathsGivenTo("LoadLibraryW"), ElementsAre(DriverPath()));
}

TEST_F(CQtx05a9DllApplicationSwitchControlTest, ExpandsNothing) {
  SetText(L"InstPath", L"D:\\%OS%\\Drv", REG_EXPAND_SZ);
  SetText(L"DllName", L"%x%.dll", REG_EXPAND_SZ);
  EXPECT_EQ(FailToLoad(), static_cast<DWORD>(ERROR_MOD_NOT_FOUND));
  EXPECT_THAT(PathsGivenTo("LoadLibraryW"), ElementsAre(L"D:\\%OS%\\Drv\\%x%.dll"));
}

TEST_F(CQtx05a9DllApplicationSwitchControlTest, HasNoPathWhereAValueIsNoWholeText) {
  struct Row {
    const char* what;
    std::function<void(const wchar_t*)> spoil;
    DWORD error;
  };
  const Row rows[] = {
      {"missing", [this](const wchar_t* value) { RemoveValue(value); }, ERROR_FILE_NOT_FOUND},
      {"empty", [this](const wchar_t* value) { SetText(value, L""); }, ERROR_INVALID_DATA},
      {"no bytes", [this](const wchar_t* value) { SetBytes(value, L"", 0); }, ERROR_INVALID_DATA},
      {"not terminated", [this](const wchar_t* value) { SetBytes(value, L"D:\\Drv", 12); },
       ERROR_INVALID_DATA},
      {"half a terminator", [this](const wchar_t* value) { SetBytes(value, L"D:\\Drv", 13); },
       ERROR_INVALID_DATA},
      {"half a character", [this](const wchar_t* value) { SetBytes(value, L"D:\\Drv", 11); },
       ERROR_INVALID_DATA},
      {"half a character after the terminator",
       [this](const wchar_t* value) { SetBytes(value, L"D:\\Drv", 15); }, ERROR_INVALID_DATA},
      {"binary", [this](const wchar_t* value) { SetText(value, L"D:\\Drv", REG_BINARY); },
       ERROR_INVALID_DATA},
      {"several texts", [this](const wchar_t* value) { SetText(value, L"D:\\Drv", REG_MULTI_SZ); },
       ERROR_INVALID_DATA},
      {"a number", [this](const wchar_t* value) { SetBytes(value, L"D", 4, REG_DWORD); },
       ERROR_INVALID_DATA},
      {"longer than the buffer",
       [this](const wchar_t* value) { SetText(value, std::wstring(260, L'x')); }, ERROR_MORE_DATA},
  };
  for (const wchar_t* value : {L"InstPath", L"DllName"}) {
    for (const Row& row : rows) {
      SCOPED_TRACE(testing::Message() << Text::ToUtf8(value) << ", " << row.what);
      SetPath(L"D:\\Drv", L"x.dll");
      row.spoil(value);
      EXPECT_EQ(FailToLoad(), row.error);
    }
  }
  EXPECT_EQ(interposition.Count("LoadLibraryW"), 0U);
}

TEST_F(CQtx05a9DllApplicationSwitchControlTest, HasNoPathThatIsTooLong) {
  struct Row {
    std::size_t folder;
    std::size_t name;
  };
  for (const Row& row : {Row{200, 60}, Row{259, 1}, Row{1, 259}, Row{259, 259}}) {
    SCOPED_TRACE(testing::Message() << row.folder << " and " << row.name << " characters");
    SetPath(std::wstring(row.folder, L'f'), std::wstring(row.name, L'n'));
    EXPECT_EQ(FailToLoad(), static_cast<DWORD>(ERROR_INSUFFICIENT_BUFFER));
  }
  EXPECT_EQ(interposition.Count("LoadLibraryW"), 0U);
  EXPECT_EQ(interposition.Count("PathCombineW"), 0U);
}

TEST_F(CQtx05a9DllApplicationSwitchControlTest, LoadsTheLongestPathThatFits) {
  // With the drive and the backslash in between, 259 characters.
  const std::wstring folder = L"D:\\" + std::wstring(196, L'f');
  const std::wstring name(59, L'n');
  SetPath(folder, name);
  EXPECT_NE(FailToLoad(), std::nullopt);
  EXPECT_THAT(PathsGivenTo("LoadLibraryW"), ElementsAre(folder + L"\\" + name));
}

TEST_F(CQtx05a9DllApplicationSwitchControlTest, LoadsFromAFullPathOnly) {
  // A path that is not full would be looked for in the current folder, and in others.
  InstallDriver();
  const CurrentFolder current(sandbox.LibraryFolder());
  for (const std::wstring& folder : FoldersThatAreNotFull()) {
    SCOPED_TRACE(Text::ToUtf8(folder));
    SetText(L"InstPath", folder);
    EXPECT_EQ(FailToLoad(), static_cast<DWORD>(ERROR_BAD_PATHNAME));
  }
  EXPECT_EQ(interposition.Count("LoadLibraryW"), 0U);
}

TEST_F(CQtx05a9DllApplicationSwitchControlTest,
       AFileNameMayBeAPathThatIsFullTogetherWithTheFolder) {
  // So joins Windows a folder and a path.
  struct Row {
    const wchar_t* name;
    const wchar_t* loaded;  // null: nothing
  };
  const Row rows[] = {{L"More\\x.dll", L"D:\\Drv\\More\\x.dll"},
                      {L"..\\x.dll", L"D:\\x.dll"},
                      {L"\\x.dll", L"D:\\x.dll"},
                      {L"E:\\x.dll", L"E:\\x.dll"},
                      {L"\\\\Server\\Share\\x.dll", L"\\\\Server\\Share\\x.dll"},
                      {L"E:x.dll", nullptr}};
  interposition.Fail("LoadLibraryW", {.onwards = true});
  for (const Row& row : rows) {
    SCOPED_TRACE(Text::ToUtf8(row.name));
    SetPath(L"D:\\Drv", row.name);
    interposition.ClearCalls();
    EXPECT_NE(FailToLoad(), std::nullopt);
    if (row.loaded != nullptr) {
      EXPECT_THAT(PathsGivenTo("LoadLibraryW"), ElementsAre(row.loaded));
    } else {
      EXPECT_THAT(PathsGivenTo("LoadLibraryW"), IsEmpty());
    }
  }
}

TEST_F(CQtx05a9DllApplicationSwitchControlTest, LoadsNothingWhereThePathCannotBeJoined) {
  InstallDriver();
  interposition.Fail("PathCombineW", {});
  EXPECT_NE(FailToLoad(), std::nullopt);
  EXPECT_EQ(interposition.Count("LoadLibraryW"), 0U);
}

TEST_F(CQtx05a9DllApplicationSwitchControlTest, LoadsNothingWhereOnlyTheBackslashIsTooMuch) {
  SetPath(L"D:\\" + std::wstring(197, L'f'), std::wstring(59, L'n'));
  EXPECT_NE(FailToLoad(), std::nullopt);
  EXPECT_EQ(interposition.Count("LoadLibraryW"), 0U);
}

}  // namespace
