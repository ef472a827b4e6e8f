#include "devices/CQTX05A9.h"

#include <functional>
#include <optional>
#include <string>

#include "support/CurrentFolder.h"
#include "unit/devices/DriverFixture.h"

namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;

constexpr UINT kUntouched = 4711;

class CQTX05A9Test : public DriverTest {
 protected:
  /// Asks for the eco lamp; none where that fails.
  std::optional<UINT> AskForEcoLamp() {
    UINT supported = kUntouched;
    if (lamps->IsEcoLEDSupported(&supported)) return supported;
    EXPECT_EQ(supported, kUntouched);
    return std::nullopt;
  }

  std::optional<CQTX05A9> lamps{std::in_place};
};

// --- Lamps ---------------------------------------------------------------------------------------

TEST_F(CQTX05A9Test, KnowsTheEcoLampByEitherBit) {
  struct Row {
    DWORD info;
    UINT supported;
  };
  const Row rows[] = {{0x4000, 1}, {0x10000, 1}, {0x14000, 1}, {0xFFFFFFFF, 1},
                      {0, 0},      {0x20, 0},    {0x8000, 0},  {~DWORD{0x14000}, 0}};
  InstallDriver();
  for (const Row& row : rows) {
    driver->ledInfo = row.info;
    EXPECT_EQ(AskForEcoLamp(), row.supported) << "0x" << std::hex << row.info;
  }
}

TEST_F(CQTX05A9Test, PresetsTheLampInformation) {
  InstallDriver();
  exports.Set(
      "GetLEDInfo", +[](DWORD* info) -> DWORD {
        EXPECT_EQ(*info, 0U);
        return 0;
      });
  EXPECT_EQ(AskForEcoLamp(), 0U);
}

TEST_F(CQTX05A9Test, CannotTellWhereTheDriverRefuses) {
  InstallDriver();
  driver->getLEDInfoStatus = 1;
  EXPECT_EQ(AskForEcoLamp(), std::nullopt);
  driver->getLEDInfoStatus = 0x80000000;
  EXPECT_EQ(AskForEcoLamp(), std::nullopt);
  driver->getLEDInfoStatus = 0;
  EXPECT_EQ(AskForEcoLamp(), 1U);
}

TEST_F(CQTX05A9Test, SwitchesTheEcoLamp) {
  InstallDriver();
  EXPECT_TRUE(lamps->SetEcoLED(true));
  EXPECT_TRUE(lamps->SetEcoLED(false));
  EXPECT_THAT(driver->calls,
              ElementsAre("SetLEDControl(0x10, 0xa0001)", "SetLEDControl(0x10, 0x20001)"));
}

TEST_F(CQTX05A9Test, FailsToSwitchWhereTheDriverRefuses) {
  InstallDriver();
  for (const DWORD status : {1U, 0x80000000U}) {
    driver->setLEDControlStatus = status;
    EXPECT_FALSE(lamps->SetEcoLED(true)) << status;
    EXPECT_FALSE(lamps->SetEcoLED(false)) << status;
  }
}

TEST_F(CQTX05A9Test, FailsWhereTheDriverLacksTheFunction) {
  InstallDriver();
  exports.Hide("GetLEDInfo");
  EXPECT_EQ(AskForEcoLamp(), std::nullopt);
  EXPECT_TRUE(lamps->SetEcoLED(true)) << "Needs only its own function.";

  exports.Restore();
  exports.Hide("SetLEDControl");
  EXPECT_EQ(AskForEcoLamp(), 1U);
  EXPECT_FALSE(lamps->SetEcoLED(true));
  EXPECT_THAT(driver->calls, ElementsAre("SetLEDControl(0x10, 0xa0001)", "GetLEDInfo"));
}

// --- Loading -------------------------------------------------------------------------------------

TEST_F(CQTX05A9Test, DoesNothingUntilItIsAsked) {
  InstallDriver();
  lamps.emplace();
  lamps.reset();
  EXPECT_EQ(interposition.Count("RegOpenKeyExW"), 0U);
  EXPECT_EQ(interposition.Count("LoadLibraryW"), 0U);
}

TEST_F(CQTX05A9Test, LoadsTheDriverOnce) {
  InstallDriver();
  EXPECT_EQ(AskForEcoLamp(), 1U);
  EXPECT_TRUE(lamps->SetEcoLED(true));
  EXPECT_THAT(PathsGivenTo("LoadLibraryW"), ElementsAre(DriverPath()));
  EXPECT_THAT(handles.Held(), SizeIs(1)) << "The driver, but not the registry key.";
  lamps.reset();
  EXPECT_THAT(handles.Held(), IsEmpty());
}

TEST_F(CQTX05A9Test, KnowsThePathAfterUnloading) {
  InstallDriver();
  lamps->Unload();
  EXPECT_TRUE(lamps->SetEcoLED(true));
  lamps->Unload();
  EXPECT_THAT(handles.Held(), IsEmpty());
  RemoveValue(L"DllName");
  EXPECT_TRUE(lamps->SetEcoLED(false));
  EXPECT_THAT(PathsGivenTo("LoadLibraryW"), ElementsAre(DriverPath(), DriverPath()));
}

TEST_F(CQTX05A9Test, ForgetsThePathWhenReleased) {
  InstallDriver();
  EXPECT_TRUE(lamps->SetEcoLED(true));
  lamps->Release();
  EXPECT_THAT(handles.Held(), IsEmpty());
  EXPECT_TRUE(lamps->SetEcoLED(true)) << "It can locate the driver again.";
  lamps->Release();
  RemoveValue(L"DllName");
  EXPECT_FALSE(lamps->SetEcoLED(true));
}

TEST_F(CQTX05A9Test, LooksAgainForADriverThatWasNotThere) {
  EXPECT_FALSE(lamps->SetEcoLED(true));
  InstallDriver();
  EXPECT_TRUE(lamps->SetEcoLED(true));
}

TEST_F(CQTX05A9Test, FailsWhereTheDriverDoesNotLoad) {
  InstallDriver();
  interposition.Fail("LoadLibraryW", {.onwards = true});
  EXPECT_EQ(AskForEcoLamp(), std::nullopt);
  EXPECT_FALSE(lamps->SetEcoLED(true));
  EXPECT_THAT(driver->calls, IsEmpty());
}

TEST_F(CQTX05A9Test, LoadsNoFileThatIsNotThere) {
  InstallDriver();
  SetText(L"DllName", L"Other.dll");
  EXPECT_FALSE(lamps->SetEcoLED(true));
  EXPECT_EQ(interposition.Count("LoadLibraryW"), 0U);
}

TEST_F(CQTX05A9Test, LoadsNoDirectory) {
  InstallDriver();
  sandbox.MakeFolder(DriverFolder() + L"\\Folder.dll");
  SetText(L"DllName", L"Folder.dll");
  EXPECT_EQ(AskForEcoLamp(), std::nullopt);
  EXPECT_FALSE(lamps->SetEcoLED(true));
  EXPECT_EQ(interposition.Count("LoadLibraryW"), 0U);
}

// --- The path ------------------------------------------------------------------------------------

TEST_F(CQTX05A9Test, ReadsTheDriversKeyOfTheMachine) {
  EXPECT_FALSE(lamps->SetEcoLED(true));
  const std::vector<Call> opened = interposition.CallsOf("RegOpenKeyExW");
  ASSERT_THAT(opened, SizeIs(1));
  EXPECT_EQ(reinterpret_cast<HKEY>(opened.front().arguments[0]), HKEY_LOCAL_MACHINE);
  EXPECT_EQ(::_wcsicmp(opened.front().Text(1), L"SOFTWARE\\Brivane\\QTX05A9"), 0)
      << Text::ToUtf8(opened.front().Text(1));
  EXPECT_EQ(opened.front().arguments[3], static_cast<std::uint64_t>(KEY_READ));
}

TEST_F(CQTX05A9Test, JoinsFolderAndNameWithOneBackslash) {
  for (const wchar_t* folder : {L"D:\\Drv", L"D:\\Drv\\"}) {
    SetPath(folder, L"x.dll");
    interposition.ClearCalls();
    EXPECT_FALSE(lamps->SetEcoLED(true));
    EXPECT_THAT(PathsGivenTo("GetFileAttributesW"), ElementsAre(L"D:\\Drv\\x.dll"));
    lamps->Release();
  }
}

TEST_F(CQTX05A9Test, LoadsFromAFolderWithABackslashAtItsEnd) {
  InstallDriver();
  SetText(L"InstPath", DriverFolder() + L"\\");
  EXPECT_TRUE(lamps->SetEcoLED(true));
  EXPECT_THAT(PathsGivenTo("LoadLibraryW"), ElementsAre(DriverPath()));
}

TEST_F(CQTX05A9Test, TakesAnyTypeAndExpandsNothing) {
  for (const DWORD type :
       std::initializer_list<DWORD>{REG_SZ, REG_EXPAND_SZ, REG_MULTI_SZ, REG_BINARY}) {
    SCOPED_TRACE(type);
    SetText(L"InstPath", L"%SystemRoot%\\Drv", type);
    SetText(L"DllName", L"%x%.dll", type);
    interposition.ClearCalls();
    EXPECT_FALSE(lamps->SetEcoLED(true));
    EXPECT_THAT(PathsGivenTo("GetFileAttributesW"), ElementsAre(L"%SystemRoot%\\Drv\\%x%.dll"));
    lamps->Release();
  }
}

TEST_F(CQTX05A9Test, TakesTextsWithoutATerminator) {
  SetBytes(L"InstPath", L"D:\\Drv", 12);
  SetBytes(L"DllName", L"x.dll", 10);
  EXPECT_FALSE(lamps->SetEcoLED(true));
  EXPECT_THAT(PathsGivenTo("GetFileAttributesW"), ElementsAre(L"D:\\Drv\\x.dll"));
}

TEST_F(CQTX05A9Test, TakesHalfACharacterAsItsLowByte) {
  SetBytes(L"InstPath", L"D:\\Drv", 11);
  SetBytes(L"DllName", L"x.dll", 9);
  EXPECT_FALSE(lamps->SetEcoLED(true));
  EXPECT_THAT(PathsGivenTo("GetFileAttributesW"), ElementsAre(L"D:\\Drv\\x.dll"));
}

TEST_F(CQTX05A9Test, TakesTextsUpToTheirFirstTerminator) {
  SetBytes(L"InstPath", std::wstring(L"D:\\Drv\0rest", 11), 24, REG_BINARY);
  SetText(L"DllName", L"x.dll");
  EXPECT_FALSE(lamps->SetEcoLED(true));
  EXPECT_THAT(PathsGivenTo("GetFileAttributesW"), ElementsAre(L"D:\\Drv\\x.dll"));
}

TEST_F(CQTX05A9Test, ReadsAsMuchAsFits) {
  // 521 and 260 characters, with their terminators or without.
  struct Row {
    std::size_t folder;
    std::size_t name;
    bool terminated;
    bool fits;
  };
  const Row rows[] = {{521, 260, false, true},  {520, 259, true, true},  {522, 260, false, false},
                      {521, 261, false, false}, {521, 259, true, false}, {520, 260, true, false}};
  for (const Row& row : rows) {
    SCOPED_TRACE(testing::Message() << row.folder << " and " << row.name << " characters"
                                    << (row.terminated ? " and a terminator" : ""));
    const std::wstring folder(row.folder, L'f');
    const std::wstring name(row.name, L'n');
    const std::size_t more = row.terminated ? 1 : 0;
    SetBytes(L"InstPath", folder, static_cast<DWORD>(2 * (row.folder + more)));
    SetBytes(L"DllName", name, static_cast<DWORD>(2 * (row.name + more)));
    interposition.ClearCalls();
    EXPECT_FALSE(lamps->SetEcoLED(true));
    if (row.fits) {
      EXPECT_THAT(PathsGivenTo("GetFileAttributesW"), ElementsAre(folder + L"\\" + name));
    } else {
      EXPECT_THAT(PathsGivenTo("GetFileAttributesW"), IsEmpty());
    }
    lamps->Release();
  }
}

TEST_F(CQTX05A9Test, HasNoPathWhereAPartIsMissing) {
  struct Row {
    const char* what;
    std::function<void()> prepare;
  };
  const Row rows[] = {
      {"no folder", [this] { RemoveValue(L"InstPath"); }},
      {"no name", [this] { RemoveValue(L"DllName"); }},
      {"an empty folder", [this] { SetText(L"InstPath", L""); }},
      {"an empty name", [this] { SetText(L"DllName", L""); }},
      {"a folder of no bytes", [this] { SetBytes(L"InstPath", L"", 0); }},
      {"a name of no bytes", [this] { SetBytes(L"DllName", L"", 0); }},
      {"no key", [this] { RemoveKey(); }},
  };
  InstallDriver();
  for (const Row& row : rows) {
    SCOPED_TRACE(row.what);
    SetPath(DriverFolder(), L"Hotkey.dll");
    row.prepare();
    interposition.ClearCalls();
    EXPECT_EQ(AskForEcoLamp(), std::nullopt);
    EXPECT_FALSE(lamps->SetEcoLED(true));
    EXPECT_THAT(PathsGivenTo("GetFileAttributesW"), IsEmpty()) << "Not even a lone backslash.";
    EXPECT_THAT(driver->calls, IsEmpty());
  }
}

TEST_F(CQTX05A9Test, LoadsFromAFullPathOnly) {
  // A path that is not full would be looked for in the current folder, and in others.
  InstallDriver();
  const CurrentFolder current(sandbox.LibraryFolder());
  for (const std::wstring& folder : FoldersThatAreNotFull()) {
    SCOPED_TRACE(Text::ToUtf8(folder));
    SetText(L"InstPath", folder);
    EXPECT_EQ(AskForEcoLamp(), std::nullopt);
    EXPECT_FALSE(lamps->SetEcoLED(true));
    lamps->Release();
  }
  EXPECT_EQ(interposition.Count("LoadLibraryW"), 0U);
  EXPECT_THAT(driver->calls, IsEmpty());

  SetText(L"InstPath", DriverFolder());
  EXPECT_TRUE(lamps->SetEcoLED(true));
}

TEST_F(CQTX05A9Test, LoadsFromAShare) {
  SetPath(L"\\\\Server\\Share", L"x.dll");
  interposition.Replace("GetFileAttributesW", [] { return DWORD{FILE_ATTRIBUTE_NORMAL}; });
  interposition.Fail("LoadLibraryW", {});
  EXPECT_FALSE(lamps->SetEcoLED(true));
  EXPECT_THAT(PathsGivenTo("LoadLibraryW"), ElementsAre(L"\\\\Server\\Share\\x.dll"));
}

TEST_F(CQTX05A9Test, HasNoPathWhereTheRegistryFails) {
  InstallDriver();
  for (const std::uint32_t nth : {1U, 2U}) {
    interposition.Fail("RegQueryValueExW", {.nth = nth});
    EXPECT_FALSE(lamps->SetEcoLED(true)) << "value " << nth;
    EXPECT_THAT(handles.Held(), IsEmpty());
  }
  EXPECT_TRUE(lamps->SetEcoLED(true));
}

}  // namespace
