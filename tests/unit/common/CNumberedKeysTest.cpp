#include "common/CNumberedKeys.h"

#include <array>
#include <limits>
#include <string>
#include <utility>
#include <vector>

#include "common/ModuleHelpers.h"
#include "support/ModeChangeTest.h"

namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

constexpr const wchar_t* kFile = L"Numbered.ini";
constexpr std::int32_t kHugeCount = std::numeric_limits<std::int32_t>::max();

using Entry = std::pair<std::int32_t, std::wstring>;

class CNumberedKeysTest : public ModeChangeTest {
 protected:
  [[nodiscard]] std::wstring FilePath() const { return sandbox.LibraryFolder() / kFile; }

  [[nodiscard]] CIniStringReader MakeReader() const {
    return {FilePath().c_str(), Common::GetMyFileSize(FilePath().c_str())};
  }

  /// The entries that have a value.
  [[nodiscard]] std::vector<Entry> Walk(std::int32_t count) const {
    CIniStringReader reader = MakeReader();
    CNumberedKeys keys(reader, L"List", L"Mode", count);
    std::vector<Entry> entries;
    while (keys.Next()) {
      if (!keys.Value().empty()) entries.emplace_back(keys.Index(), keys.Value().c_str());
    }
    return entries;
  }

  /// What Walk has to find: each key is tried.
  [[nodiscard]] std::vector<Entry> TryAll(std::int32_t count) const {
    std::vector<Entry> entries;
    for (std::int32_t i = 0; i < count; ++i) {
      std::array<wchar_t, 100> value{};
      ::GetPrivateProfileStringW(L"List", (L"Mode" + std::to_wstring(i)).c_str(), L"", value.data(),
                                 static_cast<DWORD>(value.size()), FilePath().c_str());
      if (value.front() != L'\0') entries.emplace_back(i, value.data());
    }
    return entries;
  }
};

/// Everything that can be odd about a list.
IniFile MakeOddList() {
  return IniFile()
      .Section(L"Other")
      .Key(L"Mode4", L"of another section")
      .Section(L"List")
      .Key(L"ModeCount", 3)
      .Key(L"Mode", L"without number")
      .Key(L"Mode1000", L"thousand")
      .Key(L"Mode999", L"last of a thousand")
      .Key(L"Mode5", L"five")
      .Key(L"Mode0", L"zero")
      .Key(L"mODE7", L"odd case")
      .Key(L"Mode5", L"five again")
      .Key(L"Mode6", L"")
      .Key(L"Mode01", L"padded")
      .Key(L"Mode00", L"padded zero")
      .Key(L"Mode+3", L"with sign")
      .Key(L"Mode-1", L"negative")
      .Key(L"Mode 8", L"with blank")
      .Key(L"Mode9x", L"with letter")
      .Key(L"Mode0x10", L"hexadecimal")
      .Key(L"ModeValue2", L"of another list")
      .Key(L"Mod2", L"short")
      .Key(L"  Mode11  ", L"  with blanks around  ")
      .Key(L"Mode12", L"\"quoted\"")
      .Key(L"Mode1001", L"beyond")
      .Key(L"Mode2147483646", L"last of all")
      .Key(L"Mode2147483647", L"beyond all")
      .Key(L"Mode2147483648", L"no signed number")
      .Key(L"Mode4294967296", L"would be zero in 32 bits")
      .Key(L"Mode18446744073709551616", L"would be zero in 64 bits")
      .Key(L"Mode99999999999999999999999999", L"endless")
      .Section(L"List")
      .Key(L"Mode2", L"of a second section with the same name");
}

TEST_F(CNumberedKeysTest, WalksInTheOrderOfTheNumbers) {
  sandbox.Write(
      kFile,
      IniFile().Section(L"List").Key(L"Mode2", L"c").Key(L"Mode0", L"a").Key(L"Mode1", L"b"));
  for (const std::int32_t count : {3, 1000, 1001, kHugeCount}) {
    EXPECT_THAT(Walk(count), ElementsAre(Entry(0, L"a"), Entry(1, L"b"), Entry(2, L"c"))) << count;
  }
}

TEST_F(CNumberedKeysTest, VisitsNothingBeyondTheCount) {
  sandbox.Write(kFile, IniFile().Section(L"List").Key(L"Mode0", L"a").Key(L"Mode1", L"b"));
  EXPECT_THAT(Walk(1), ElementsAre(Entry(0, L"a")));
  for (const std::int32_t count : {0, -1, -100, std::numeric_limits<std::int32_t>::min()}) {
    interposition.ClearCalls();
    EXPECT_THAT(Walk(count), IsEmpty()) << count;
    EXPECT_EQ(interposition.Count("GetPrivateProfileStringW"), 0U) << count;
  }
}

TEST_F(CNumberedKeysTest, VisitsAbsentKeysOfAShortListWithAnEmptyValue) {
  sandbox.Write(kFile, IniFile().Section(L"List").Key(L"Mode1", L"b"));
  CIniStringReader reader = MakeReader();
  CNumberedKeys keys(reader, L"List", L"Mode", 2);
  EXPECT_EQ(keys.Index(), -1);
  ASSERT_TRUE(keys.Next());
  EXPECT_EQ(keys.Index(), 0);
  EXPECT_EQ(keys.Value(), L"");
  ASSERT_TRUE(keys.Next());
  EXPECT_EQ(keys.Index(), 1);
  EXPECT_EQ(keys.Value(), L"b");
  EXPECT_FALSE(keys.Next());
  EXPECT_FALSE(keys.Next()) << "asked again at the end";
}

TEST_F(CNumberedKeysTest, FindsWhatTryingAllKeysFinds) {
  sandbox.Write(kFile, MakeOddList());
  for (const std::int32_t count : {-1, 0, 1, 5, 6, 8, 13, 998, 999, 1000, 1001, 1002, 1003, 2000}) {
    EXPECT_EQ(Walk(count), TryAll(count)) << count;
  }
}

TEST_F(CNumberedKeysTest, FindsInAHugeListWhatTryingAllKeysWouldFind) {
  sandbox.Write(kFile, MakeOddList());
  std::vector<Entry> expected = TryAll(2000);
  ASSERT_EQ(expected.size(), 8U);
  EXPECT_EQ(Walk(kHugeCount - 1), expected);
  expected.emplace_back(2147483646, L"last of all");
  EXPECT_EQ(Walk(kHugeCount), expected);
}

TEST_F(CNumberedKeysTest, AHugeCountCostsNoMoreCallsThanTheSectionHasKeys) {
  sandbox.Write(kFile, IniFile()
                           .Section(L"List")
                           .Key(L"ModeCount", kHugeCount)
                           .Key(L"Mode0", L"a")
                           .Key(L"Mode70000", L"b")
                           .Key(L"Mode70000", L"b again")
                           .Key(L"Mode2000000000", L"c"));
  interposition.ClearCalls();
  EXPECT_THAT(Walk(kHugeCount),
              ElementsAre(Entry(0, L"a"), Entry(70000, L"b"), Entry(2000000000, L"c")));
  EXPECT_EQ(interposition.Count("GetPrivateProfileStringW"), 1U + 3U)
      << "once for the names, once for each key";
}

TEST_F(CNumberedKeysTest, AHugeCountReadsNoKeysThatOnlyLookNumbered) {
  sandbox.Write(kFile, IniFile()
                           .Section(L"List")
                           .Key(L"Mode01", L"padded")
                           .Key(L"Mode+2", L"with sign")
                           .Key(L"Mode3x", L"with letter")
                           .Key(L"Mode2147483648", L"would be negative in 32 bits")
                           .Key(L"Mode4294967300", L"would be 4 in 32 bits")
                           .Key(L"Mode18446744073709551621", L"would be 5 in 64 bits"));
  interposition.ClearCalls();
  EXPECT_THAT(Walk(kHugeCount), IsEmpty());
  EXPECT_EQ(interposition.Count("GetPrivateProfileStringW"), 1U) << "for the names";
}

TEST_F(CNumberedKeysTest, TriesUpTo1000KeysWithoutAskingForTheirNames) {
  sandbox.Write(kFile, IniFile().Section(L"List").Key(L"Mode1", L"b"));
  interposition.ClearCalls();
  EXPECT_THAT(Walk(1000), ElementsAre(Entry(1, L"b")));
  EXPECT_EQ(interposition.Count("GetPrivateProfileStringW"), 1000U);
  interposition.ClearCalls();
  EXPECT_THAT(Walk(1001), ElementsAre(Entry(1, L"b")));
  EXPECT_EQ(interposition.Count("GetPrivateProfileStringW"), 2U);
}

TEST_F(CNumberedKeysTest, AHugeCountOfNothingIsNothing) {
  sandbox.Write(kFile, IniFile().Section(L"Other"));
  interposition.ClearCalls();
  EXPECT_THAT(Walk(kHugeCount), IsEmpty());
  EXPECT_EQ(interposition.Count("GetPrivateProfileStringW"), 1U);
}

}  // namespace
