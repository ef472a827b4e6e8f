#include "DataFolder.h"

#include <windows.h>
// windows.h first: the others need its types.
#include <aclapi.h>
#include <gtest/gtest.h>
#include <sddl.h>

#include <filesystem>

#include "Failure.h"
#include "support/Files.h"

namespace {

/// The access list as text; Windows adds what is inherited from above, which is left out.
std::wstring AccessOf(const std::filesystem::path& folder) {
  PACL list = nullptr;
  PSECURITY_DESCRIPTOR descriptor = nullptr;
  EXPECT_EQ(::GetNamedSecurityInfoW(folder.c_str(), SE_FILE_OBJECT, DACL_SECURITY_INFORMATION,
                                    nullptr, nullptr, &list, nullptr, &descriptor),
            DWORD{ERROR_SUCCESS});
  std::wstring text;
  for (DWORD i = 0; list != nullptr && i < list->AceCount; ++i) {
    ACCESS_ALLOWED_ACE* entry = nullptr;
    EXPECT_NE(::GetAce(list, i, reinterpret_cast<void**>(&entry)), FALSE);
    if ((entry->Header.AceFlags & INHERITED_ACE) != 0) continue;
    EXPECT_EQ(entry->Header.AceType, ACCESS_ALLOWED_ACE_TYPE);
    wchar_t* sid = nullptr;
    EXPECT_NE(::ConvertSidToStringSidW(&entry->SidStart, &sid), FALSE);
    text += std::wstring(sid) + L" ";
    ::LocalFree(sid);
  }
  ::LocalFree(descriptor);
  return text;
}

class DataFolderTest : public ::testing::Test {
 protected:
  DataFolderTest() { std::filesystem::create_directory(base); }
  ~DataFolderTest() override { EXPECT_TRUE(Files::RemoveTree(base)); }
  DataFolderTest(const DataFolderTest&) = delete;
  DataFolderTest& operator=(const DataFolderTest&) = delete;

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
  DataFolder::MakeBelow(base);
  const std::wstring everybody = L"S-1-5-18 S-1-5-32-544 S-1-5-32-545 ";
  EXPECT_EQ(AccessOf(base / L"Brivane"), everybody);
  EXPECT_EQ(AccessOf(base / L"Brivane" / L"Kestrola"), everybody);
}

TEST_F(DataFolderTest, SaysWhichLevelCannotBeMade) {
  try {
    DataFolder::MakeBelow(base / L"missing");
    ADD_FAILURE() << "nothing was thrown";
  } catch (const Failure& failure) {
    EXPECT_NE(failure.problem.find((base / L"missing" / L"Brivane").wstring()), std::wstring::npos);
    EXPECT_NE(failure.problem.find(L"(error 3)"), std::wstring::npos);
  }
}
