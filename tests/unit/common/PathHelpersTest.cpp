#include "common/PathHelpers.h"

#include <string>

#include "support/ModeChangeTest.h"

namespace {

class PathHelpersTest : public ModeChangeTest {
 protected:
  [[nodiscard]] CWideString PathOf(const wchar_t* name) const {
    return (sandbox.LibraryFolder() / name).c_str();
  }
};

TEST_F(PathHelpersTest, TellsFilesFromFolders) {
  sandbox.Write(L"File.ini", "");
  sandbox.MakeFolder(L"Folder");
  struct Row {
    CWideString path;
    bool isFile;
    bool isFolder;
  };
  for (const Row& row : {Row{PathOf(L"File.ini"), true, false}, Row{PathOf(L"Folder"), false, true},
                         Row{PathOf(L"Missing"), false, false}, Row{L"", false, false}}) {
    EXPECT_EQ(Common::FileExists(row.path), row.isFile) << ::testing::PrintToString(row.path);
    EXPECT_EQ(Common::FolderExists(row.path), row.isFolder) << ::testing::PrintToString(row.path);
  }
}

TEST_F(PathHelpersTest, AsksWindowsOnce) {
  (void)Common::FileExists(PathOf(L"ModeChange.dll"));
  EXPECT_EQ(interposition.AllCalls().size(), 1U);
  EXPECT_EQ(interposition.Count("GetFileAttributesW"), 1U);
}

TEST_F(PathHelpersTest, TellsFullPathsFromThoseThatDependOnTheCurrentFolder) {
  for (const wchar_t* path : {L"C:\\", L"c:\\Folder\\File.dll", L"Z:\\..\\File.dll",
                              L"\\\\Server\\Share\\File.dll", L"\\\\?\\C:\\File.dll"}) {
    EXPECT_TRUE(Common::IsFullPath(path)) << Text::ToUtf8(path);
  }
  for (const wchar_t* path :
       {L"", L"C", L"C:", L"C:File.dll", L"C:.\\File.dll", L"\\", L"\\File.dll", L"/File.dll",
        L"File.dll", L"Folder\\File.dll", L".\\File.dll", L"..\\File.dll", L":\\File.dll",
        L"CC:\\File.dll", L"%SystemRoot%\\File.dll"}) {
    EXPECT_FALSE(Common::IsFullPath(path)) << Text::ToUtf8(path);
  }
}

TEST_F(PathHelpersTest, JoinsPathsWithOneBackslash) {
  struct Row {
    const wchar_t* folder;
    const wchar_t* more;
    const wchar_t* joined;
  };
  constexpr Row kRows[] = {
      {L"C:\\Folder", L"File.ini", L"C:\\Folder\\File.ini"},
      {L"C:\\Folder\\", L"File.ini", L"C:\\Folder\\File.ini"},
      {L"C:\\Folder", L"\\File.ini", L"C:\\Folder\\File.ini"},
      {L"C:\\", L"File.ini", L"C:\\File.ini"},
      {L"C:\\Folder", L"Engines\\File.dll", L"C:\\Folder\\Engines\\File.dll"},
      {L"C:\\Folder", L"..\\File.dll", L"C:\\File.dll"},
      {L"C:\\Folder", L"", L"C:\\Folder"},
  };
  for (const Row& row : kRows) {
    CWideString joined;
    EXPECT_TRUE(Common::JoinPath(row.folder, row.more, &joined)) << Text::Escape(row.joined);
    EXPECT_EQ(joined, row.joined);
  }
}

TEST_F(PathHelpersTest, JoinsPathsOfUpTo259Characters) {
  const std::wstring folder = L"C:\\" + std::wstring(200, L'f');
  const std::wstring longestName(259 - folder.size() - 1, L'n');
  CWideString joined;
  EXPECT_TRUE(Common::JoinPath(folder.c_str(), longestName.c_str(), &joined));
  EXPECT_EQ(joined, (folder + L'\\' + longestName).c_str());
  EXPECT_EQ(joined.length(), 259U);

  joined = L"untouched";
  ::SetLastError(ERROR_SUCCESS);
  EXPECT_FALSE(Common::JoinPath(folder.c_str(), (longestName + L'n').c_str(), &joined));
  EXPECT_EQ(::GetLastError(), DWORD{ERROR_FILENAME_EXCED_RANGE});
  EXPECT_EQ(joined, L"untouched");
}

TEST_F(PathHelpersTest, DoesNotJoinAFolderThatIsTooLongByItself) {
  for (const std::size_t length : {260U, 1000U}) {
    CWideString joined = L"untouched";
    ::SetLastError(ERROR_SUCCESS);
    EXPECT_FALSE(Common::JoinPath(std::wstring(length, L'f').c_str(), L"n", &joined));
    EXPECT_EQ(::GetLastError(), DWORD{ERROR_FILENAME_EXCED_RANGE});
    EXPECT_EQ(joined, L"untouched");
    EXPECT_EQ(interposition.Count("PathAppendW"), 0U) << "the buffer has no room for the folder";
  }
}

TEST_F(PathHelpersTest, DoesNotJoinWhatWindowsDoesNotJoin) {
  interposition.Fail("PathAppendW", {});
  CWideString joined = L"untouched";
  EXPECT_FALSE(Common::JoinPath(L"C:\\Folder", L"File.ini", &joined));
  EXPECT_EQ(joined, L"untouched");
}

TEST_F(PathHelpersTest, RemovesTheLastPartOfAPath) {
  struct Row {
    const wchar_t* path;
    const wchar_t* folder;
  };
  constexpr Row kRows[] = {
      {L"C:\\Folder\\File.dll", L"C:\\Folder"},
      {L"C:\\Folder\\Sub", L"C:\\Folder"},
      {L"C:\\Folder\\", L"C:\\Folder"},
      {L"C:\\File.dll", L"C:\\"},
      {L"\\\\server\\share\\File.dll", L"\\\\server\\share"},
      {L"File.dll", L""},
      {L"", L""},
  };
  for (const Row& row : kRows) {
    EXPECT_EQ(Common::RemoveFileSpec(row.path), row.folder) << Text::Escape(row.path);
  }
}

TEST_F(PathHelpersTest, HasNoFolderForAPathOf260CharactersOrMore) {
  const std::wstring folder = L"C:\\" + std::wstring(200, L'f');
  const std::wstring longest = folder + L'\\' + std::wstring(259 - folder.size() - 1, L'n');
  EXPECT_EQ(Common::RemoveFileSpec(longest.c_str()), folder.c_str());
  EXPECT_EQ(Common::RemoveFileSpec((longest + L'n').c_str()), L"");
}

}  // namespace
