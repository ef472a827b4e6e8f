#include "support/Sandbox.h"

#include <fstream>
#include <stdexcept>

#include "common/IniHelpers.h"
#include "config/DataFile.h"
#include "support/ModeChangeTest.h"

namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

constexpr const wchar_t* kValue = L"Value";
// Of its own: programs that tests start write to the real registry, too.
constexpr const wchar_t* kKey = L"Software\\ModeChangeSandboxTest";

class SandboxTest : public ModeChangeTest {
 protected:
  /// Where the library would keep a file, as it finds out; empty when it can't.
  static std::wstring AskForDataFile() {
    CWideString path;
    return DataFile::GetPath(L"File.ini", &path) ? path.c_str() : L"";
  }
};

TEST_F(SandboxTest, IsTheLibrarysFolder) {
  std::array<wchar_t, MAX_PATH> path{};
  ::GetModuleFileNameW(library.Module(), path.data(), static_cast<DWORD>(path.size()));
  EXPECT_EQ(sandbox.LibraryFolder() / L"ModeChange.dll", std::filesystem::path(path.data()));
}

TEST_F(SandboxTest, WritesFilesBesideTheLibraryAndReadsThem) {
  sandbox.Write(L"File.ini", IniFile().Section(L"S").Key(L"K", L"\u65E5\u672C"));
  sandbox.Write(L"ja-JP\\Deeper\\File.bin", "a\0b");
  EXPECT_TRUE(sandbox.Exists(L"ja-JP\\Deeper\\File.bin"));
  EXPECT_EQ("a", sandbox.Read(L"ja-JP\\Deeper\\File.bin"));
  EXPECT_EQ(L"\u65E5\u672C", sandbox.IniValue(L"File.ini", L"S", L"K"));
  EXPECT_EQ(std::nullopt, sandbox.IniValue(L"File.ini", L"S", L"Other"));
  EXPECT_EQ(std::nullopt, sandbox.IniValue(L"Other.ini", L"S", L"K"));
  sandbox.Write(L"File.ini", IniFile().Section(L"S").Key(L"K", L"absent").Key(L"E", L""));
  EXPECT_EQ(L"absent", sandbox.IniValue(L"File.ini", L"S", L"K"));
  EXPECT_EQ(L"", sandbox.IniValue(L"File.ini", L"S", L"E"));
  sandbox.Remove(L"ja-JP");
  EXPECT_FALSE(sandbox.Exists(L"ja-JP"));
  EXPECT_THROW((void)sandbox.Read(L"ja-JP\\Deeper\\File.bin"), std::runtime_error);
}

TEST_F(SandboxTest, WritesNothingElsewhere) {
  EXPECT_THROW(sandbox.Write(L"..\\File.ini", ""), std::invalid_argument);
  EXPECT_THROW(sandbox.MakeFolder(L"Z:\\Folder"), std::invalid_argument);
}

TEST_F(SandboxTest, TheLibraryReadsItsFiles) {
  sandbox.Write(L"File.ini", IniFile().Section(L"S").Key(L"K", -7));
  EXPECT_EQ(-7, Common::ReadIniInt((sandbox.LibraryFolder() / L"File.ini").c_str(), L"S", L"K", 0));
}

TEST_F(SandboxTest, HasAnEmptyDataFolderAtFirst) {
  EXPECT_EQ(sandbox.DataFile(L"File.ini").wstring(), AskForDataFile());
  EXPECT_EQ(sandbox.LibraryFolder(),
            sandbox.DataFolderPath().parent_path().parent_path().parent_path());
  EXPECT_TRUE(std::filesystem::is_empty(sandbox.DataFolderPath()));
}

TEST_F(SandboxTest, HasTheMakersFolderOnly) {
  sandbox.SetDataFolder(Sandbox::DataFolder::kMakerOnly);
  EXPECT_EQ(sandbox.DataFile(L"File.ini").wstring(), AskForDataFile());
  EXPECT_TRUE(sandbox.Exists(sandbox.DataFolderPath().parent_path()));
  EXPECT_FALSE(sandbox.Exists(sandbox.DataFolderPath()));
}

TEST_F(SandboxTest, HasNoDataFolder) {
  sandbox.SetDataFolder(Sandbox::DataFolder::kAbsent);
  EXPECT_EQ(sandbox.DataFile(L"File.ini").wstring(), AskForDataFile());
  EXPECT_FALSE(sandbox.Exists(sandbox.DataFolderPath().parent_path()));
  EXPECT_TRUE(sandbox.Exists(sandbox.DataFolderPath().parent_path().parent_path()));
}

TEST_F(SandboxTest, HasNoPlaceForADataFolder) {
  sandbox.SetDataFolder(Sandbox::DataFolder::kUnavailable);
  EXPECT_EQ(L"", AskForDataFile());
  EXPECT_EQ(ERROR_FILE_NOT_FOUND, ::GetLastError());
}

TEST_F(SandboxTest, MakesTheDataFolderAnew) {
  sandbox.Write(sandbox.DataFile(L"File.ini"), IniFile());
  sandbox.SetDataFolder(Sandbox::DataFolder::kPresent);
  EXPECT_FALSE(sandbox.Exists(sandbox.DataFile(L"File.ini")));
}

TEST_F(SandboxTest, RemovesReadOnlyFiles) {
  sandbox.Write(L"Folder\\File.ini", IniFile());
  ::SetFileAttributesW((sandbox.LibraryFolder() / L"Folder\\File.ini").c_str(),
                       FILE_ATTRIBUTE_READONLY);
  sandbox.Remove(L"Folder");
  EXPECT_FALSE(sandbox.Exists(L"Folder"));
}

TEST_F(SandboxTest, SeesFilesThatItDidNotWrite) {
  EXPECT_THAT(sandbox.Strays(), IsEmpty());
  sandbox.Write(L"Own.txt", "");
  EXPECT_THAT(sandbox.Strays(), IsEmpty());
  const std::filesystem::path stray = sandbox.LibraryFolder() / L"Stray.txt";
  std::ofstream(stray) << "stray";
  EXPECT_THAT(sandbox.Strays(), ElementsAre(L"Stray.txt"));
  std::filesystem::remove(stray);
}

TEST_F(SandboxTest, HasAnEmptyRegistryOfItsOwn) {
  for (HKEY root : {HKEY_CURRENT_USER, HKEY_LOCAL_MACHINE}) {
    HKEY key = nullptr;
    EXPECT_EQ(ERROR_FILE_NOT_FOUND, ::RegOpenKeyExW(root, L"Software", 0, KEY_READ, &key));
    const DWORD number = 42;
    EXPECT_EQ(ERROR_SUCCESS,
              ::RegSetKeyValueW(root, kKey, kValue, REG_DWORD, &number, sizeof(number)));
    DWORD found = 0;
    DWORD size = sizeof(found);
    EXPECT_EQ(ERROR_SUCCESS,
              ::RegGetValueW(root, kKey, kValue, RRF_RT_REG_DWORD, nullptr, &found, &size));
    EXPECT_EQ(number, found);
  }
}

TEST(RegistrySandboxTest, LeavesTheRegistryAsItWas) {
  const auto hasKey = [](const std::wstring& path) {
    HKEY key = nullptr;
    const bool has =
        ::RegOpenKeyExW(HKEY_CURRENT_USER, path.c_str(), 0, KEY_READ, &key) == ERROR_SUCCESS;
    if (has) ::RegCloseKey(key);
    return has;
  };
  ASSERT_TRUE(hasKey(L"Software"));
  ASSERT_FALSE(hasKey(kKey));
  std::wstring path;
  {
    const RegistrySandbox registry;
    path = registry.Path();
    const DWORD number = 42;
    ::RegSetKeyValueW(HKEY_CURRENT_USER, kKey, kValue, REG_DWORD, &number, sizeof(number));
    EXPECT_TRUE(hasKey(kKey));
  }
  EXPECT_TRUE(hasKey(L"Software"));
  EXPECT_FALSE(hasKey(kKey));
  EXPECT_FALSE(hasKey(path));
}

TEST(IniFileTest, WritesUtf16WithAMark) {
  const std::string bytes = IniFile().Section(L"S").Key(L"K", 1).Bytes();
  const std::wstring text = L"\uFEFF[S]\r\nK=1\r\n";
  EXPECT_EQ(std::string(reinterpret_cast<const char*>(text.data()), 2 * text.size()), bytes);
}

TEST(IniFileTest, WritesOtherEncodings) {
  IniFile file;
  file.Section(L"\u00C4").Line(L"; free");
  EXPECT_EQ("[\xC3\x84]\r\n; free\r\n", file.In(IniFile::Encoding::kUtf8).Bytes());
  const std::string ansi = file.In(IniFile::Encoding::kAnsi).Bytes();
  EXPECT_EQ(Text::ToCodePage(L"[\u00C4]\r\n; free\r\n", ::GetACP()), ansi);
  EXPECT_EQ(IniFile().Key(L"K", L"-9").Content(), IniFile().Key(L"K", -9).Content());
}

TEST(TextTest, EscapesControlCharacters) {
  EXPECT_EQ("a\\\\b\\n\\t\\u0007\xC3\xA4", Text::Escape(L"a\\b\n\t\a\u00E4"));
  EXPECT_EQ(L"\u00E4\u65E5", Text::FromUtf8(Text::ToUtf8(L"\u00E4\u65E5")));
}

// The system that the tests themselves run on, in each of the ways in which CTest starts them.
class SystemEachLocaleTest : public ModeChangeTest {};

TEST_F(SystemEachLocaleTest, HasTheUsersLocaleUnlessATestSaysOtherwise) {
  const std::wstring locale = Sandbox::UserLocale();
  EXPECT_THAT((std::vector<std::wstring>{L"en-US", L"ja-JP", L"de-AT", L"eo"}),
              ::testing::Contains(locale));
  sandbox.SetUserLocale(L"fr-CH");
  EXPECT_EQ(locale, Sandbox::UserLocale());
}

}  // namespace
