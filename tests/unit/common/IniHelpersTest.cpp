#include "common/IniHelpers.h"

#include <limits>
#include <string>

#include "support/ModeChangeTest.h"

namespace {

constexpr const wchar_t* kFile = L"Numbers.ini";

class IniHelpersTest : public ModeChangeTest {
 protected:
  [[nodiscard]] CWideString FilePath() const { return (sandbox.LibraryFolder() / kFile).c_str(); }
};

TEST_F(IniHelpersTest, ReadsSignedIntegers) {
  struct Row {
    const wchar_t* stored;
    std::int32_t number;
  };
  constexpr Row kRows[] = {
      {L"0", 0},
      {L"1", 1},
      {L"-1", -1},
      {L"-100", -100},
      {L"2147483647", std::numeric_limits<std::int32_t>::max()},
      {L"-2147483648", std::numeric_limits<std::int32_t>::min()},
      {L"4294967295", -1},
      {L"007", 7},
      {L"12abc", 12},
      {L"abc", 0},
  };
  for (const Row& row : kRows) {
    sandbox.Write(kFile, IniFile().Section(L"Section").Key(L"Key", row.stored));
    EXPECT_EQ(Common::ReadIniInt(FilePath(), L"Section", L"Key", 5), row.number)
        << Text::Escape(row.stored);
  }
}

TEST_F(IniHelpersTest, AnswersTheGivenNumberForWhatIsAbsent) {
  for (const std::int32_t absent : {0, 1000, -1, -100}) {
    sandbox.Remove(kFile);
    EXPECT_EQ(Common::ReadIniInt(FilePath(), L"Section", L"Key", absent), absent) << "no file";
    sandbox.Write(kFile, IniFile().Section(L"Other").Key(L"Key", 1));
    EXPECT_EQ(Common::ReadIniInt(FilePath(), L"Section", L"Key", absent), absent) << "no section";
    sandbox.Write(kFile, IniFile().Section(L"Section").Key(L"Other", 1));
    EXPECT_EQ(Common::ReadIniInt(FilePath(), L"Section", L"Key", absent), absent) << "no key";
  }
}

TEST_F(IniHelpersTest, ReadsWithOneCallOfWindows) {
  sandbox.Write(kFile, IniFile().Section(L"Section").Key(L"Key", 3));
  (void)Common::ReadIniInt(FilePath(), L"Section", L"Key", -100);
  const std::vector<Call> calls = interposition.AllCalls();
  ASSERT_EQ(calls.size(), 1U);
  EXPECT_EQ(calls[0].function, "GetPrivateProfileIntW");
  EXPECT_STREQ(calls[0].Text(0), L"Section");
  EXPECT_STREQ(calls[0].Text(1), L"Key");
  EXPECT_EQ(static_cast<std::int32_t>(calls[0].arguments[2]), -100);
  EXPECT_EQ(calls[0].Text(3), FilePath());
}

TEST_F(IniHelpersTest, DoesNotReadInTheWindowsFolderWhenThereIsNoPath) {
  EXPECT_EQ(Common::ReadIniInt(L"", L"Section", L"Key", -100), -100);
  EXPECT_EQ(interposition.AllCalls().size(), 0U);
}

TEST_F(IniHelpersTest, WritesSignedDecimalIntegers) {
  sandbox.Write(kFile, "");
  for (const std::int32_t number : {0, 7, -1, std::numeric_limits<std::int32_t>::max(),
                                    std::numeric_limits<std::int32_t>::min()}) {
    EXPECT_TRUE(Common::WriteIniInt(FilePath(), L"Section", L"Key", number)) << number;
    EXPECT_EQ(sandbox.IniValue(kFile, L"Section", L"Key"), std::to_wstring(number));
  }
}

TEST_F(IniHelpersTest, WritesNothingButTheKey) {
  sandbox.Write(kFile, IniFile()
                           .Section(L"Section")
                           .Key(L"First", 1)
                           .Key(L"Key", 2)
                           .Section(L"Other")
                           .Key(L"Key", 3));
  EXPECT_TRUE(Common::WriteIniInt(FilePath(), L"Section", L"Key", 20));
  EXPECT_EQ(sandbox.IniValue(kFile, L"Section", L"First"), L"1");
  EXPECT_EQ(sandbox.IniValue(kFile, L"Section", L"Key"), L"20");
  EXPECT_EQ(sandbox.IniValue(kFile, L"Other", L"Key"), L"3");
  EXPECT_EQ(interposition.AllCalls().size(), 1U);
}

TEST_F(IniHelpersTest, DoesNotWriteInTheWindowsFolderWhenThereIsNoPath) {
  EXPECT_FALSE(Common::WriteIniInt(L"", L"Section", L"Key", 1));
  EXPECT_EQ(::GetLastError(), DWORD{ERROR_PATH_NOT_FOUND});
  EXPECT_EQ(interposition.Count("WritePrivateProfileStringW"), 0U);
}

TEST_F(IniHelpersTest, KeepsTheErrorOfAFailedWrite) {
  sandbox.Write(kFile, IniFile().Section(L"Section").Key(L"Key", 2));
  interposition.Fail("WritePrivateProfileStringW", {.lastError = ERROR_DISK_FULL});
  EXPECT_FALSE(Common::WriteIniInt(FilePath(), L"Section", L"Key", 20));
  EXPECT_EQ(::GetLastError(), DWORD{ERROR_DISK_FULL});
  EXPECT_EQ(sandbox.IniValue(kFile, L"Section", L"Key"), L"2");
}

}  // namespace
