#include "DataFolder.h"

#include <windows.h>
// windows.h first: the others need its types.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sddl.h>

#include <filesystem>
#include <string>
#include <vector>

#include "CommandError.h"
#include "support/Files.h"
#include "system/engines/ImportPatch.h"

using ::testing::ElementsAre;

namespace {

/// The security that folders are made with, as text. Wine keeps only what its file system can, so
/// the folders themselves do not tell.
class MadeFolders {
 public:
  MadeFolders() {
    securities.clear();
    original = ReplaceImport(::GetModuleHandleW(nullptr), "CreateDirectoryW", CreateFolder);
  }
  ~MadeFolders() { ReplaceImport(::GetModuleHandleW(nullptr), "CreateDirectoryW", original); }
  MadeFolders(const MadeFolders&) = delete;
  MadeFolders& operator=(const MadeFolders&) = delete;

  static inline std::vector<std::wstring> securities;

 private:
  static BOOL WINAPI CreateFolder(const wchar_t* path, SECURITY_ATTRIBUTES* attributes) {
    wchar_t* text = nullptr;
    EXPECT_NE(::ConvertSecurityDescriptorToStringSecurityDescriptorW(
                  attributes->lpSecurityDescriptor, SDDL_REVISION_1, DACL_SECURITY_INFORMATION,
                  &text, nullptr),
              FALSE);
    securities.emplace_back(text);
    ::LocalFree(text);
    EXPECT_EQ(attributes->bInheritHandle, FALSE);
    return original(path, attributes);
  }

  static inline BOOL(WINAPI* original)(const wchar_t*, SECURITY_ATTRIBUTES*);
};

class DataFolderTest : public ::testing::Test {
 public:
  DataFolderTest() { std::filesystem::create_directory(base); }
  ~DataFolderTest() override { EXPECT_TRUE(Files::RemoveTree(base)); }
  DataFolderTest(const DataFolderTest&) = delete;
  DataFolderTest& operator=(const DataFolderTest&) = delete;

 protected:
  std::filesystem::path base = Files::ProgramPath().parent_path() / L"ApplicationData";
};

}  // namespace

TEST_F(DataFolderTest, IsMadeWithAllLevels) {
  DataFolder::MakeBelow(base);
  EXPECT_TRUE(std::filesystem::is_directory(base / L"Brivane" / L"Kestrola"));
}

TEST_F(DataFolderTest, IsLeftAloneWhereItIs) {
  std::filesystem::create_directories(base / L"Brivane" / L"Kestrola" / L"Kept");
  DataFolder::MakeBelow(base);
  EXPECT_TRUE(std::filesystem::is_directory(base / L"Brivane" / L"Kestrola" / L"Kept"));
}

TEST_F(DataFolderTest, IsCompletedWhereTheMakersFolderIsThere) {
  std::filesystem::create_directory(base / L"Brivane");
  DataFolder::MakeBelow(base);
  EXPECT_TRUE(std::filesystem::is_directory(base / L"Brivane" / L"Kestrola"));
}

TEST_F(DataFolderTest, IsOpenToTheSystemAdministratorsAndUsers) {
  const MadeFolders made;
  DataFolder::MakeBelow(base);
  const std::wstring everybody = L"D:(A;OICI;GXGWGR;;;SY)(A;OICI;GXGWGR;;;BA)(A;OICI;GXGWGR;;;BU)";
  EXPECT_THAT(MadeFolders::securities, ElementsAre(everybody, everybody));
}

TEST_F(DataFolderTest, SaysWhichLevelCannotBeMade) {
  try {
    DataFolder::MakeBelow(base / L"missing");
    ADD_FAILURE() << "nothing was thrown";
  } catch (const CommandError& error) {
    EXPECT_NE(error.problem.find((base / L"missing" / L"Brivane").wstring()), std::wstring::npos);
    EXPECT_NE(error.problem.find(L"(error 3)"), std::wstring::npos);
  }
}
