#include "common/CIniMgr.h"

// windows.h first (through CIniMgr.h): shlwapi.h needs its types.
#include <shlwapi.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <string>
#include <utility>
#include <vector>

#include "support/ModeChangeTest.h"

namespace {

using ::testing::Each;
using ::testing::ElementsAre;

constexpr const wchar_t* kFile = L"Located.ini";

class CIniMgrTest : public ModeChangeTest {
 protected:
  void Locate(CIniMgr& ini) { ASSERT_TRUE(ini.Initialize(library.Module(), kFile)); }

  [[nodiscard]] std::int32_t ReadInt(const wchar_t* stored) {
    sandbox.Write(kFile, IniFile().Section(L"Section").Key(L"Key", stored));
    CIniMgr ini;
    Locate(ini);
    return ini.GetIniInt(L"Section", L"Key");
  }

  [[nodiscard]] std::int32_t ConvertByWindows(const std::wstring& text) const {
    int number = 0;
    EXPECT_TRUE(interposition.Original<decltype(&::StrToIntExW)>("StrToIntExW")(
        text.c_str(), STIF_SUPPORT_HEX, &number));
    return number;
  }
};

TEST_F(CIniMgrTest, HasNoPathAtFirst) {
  EXPECT_EQ(CIniMgr().Path(), L"");
}

TEST_F(CIniMgrTest, RemembersTheFileThatItFound) {
  sandbox.Write(kFile, IniFile());
  CIniMgr ini;
  EXPECT_TRUE(ini.Initialize(library.Module(), kFile));
  EXPECT_EQ(ini.Path(), (sandbox.LibraryFolder() / kFile).c_str());
}

TEST_F(CIniMgrTest, KeepsItsPathWhenItFindsNothing) {
  CIniMgr ini;
  EXPECT_FALSE(ini.Initialize(library.Module(), L"Missing.ini"));
  EXPECT_EQ(ini.Path(), L"");
  sandbox.Write(kFile, IniFile());
  Locate(ini);
  EXPECT_FALSE(ini.Initialize(library.Module(), L"Missing.ini"));
  EXPECT_EQ(ini.Path(), (sandbox.LibraryFolder() / kFile).c_str());
}

TEST_F(CIniMgrTest, LooksBesideTheModuleThatItIsGiven) {
  sandbox.Write(kFile, IniFile());
  CIniMgr ini;
  EXPECT_FALSE(ini.Initialize(::GetModuleHandleW(L"kernel32.dll"), kFile));
  const std::vector<Call> calls = interposition.CallsOf("GetModuleFileNameW");
  ASSERT_EQ(calls.size(), 1U);
  EXPECT_EQ(calls[0].arguments[0],
            reinterpret_cast<std::uint64_t>(::GetModuleHandleW(L"kernel32.dll")));
}

TEST_F(CIniMgrTest, CopiesATextAndCountsItsCharacters) {
  sandbox.Write(kFile, IniFile().Section(L"Section").Key(L"Key", L"Eco\u7701"));
  CIniMgr ini;
  Locate(ini);
  std::array<wchar_t, 10> buffer{};
  EXPECT_EQ(ini.GetIniString(L"Section", L"Key", buffer.data(), 10), 4U);
  EXPECT_STREQ(buffer.data(), L"Eco\u7701");
}

TEST_F(CIniMgrTest, ClearsTheWholeBufferAndNothingBehindIt) {
  sandbox.Write(kFile, IniFile().Section(L"Section").Key(L"Key", L"Eco"));
  CIniMgr ini;
  Locate(ini);
  std::array<wchar_t, 10> buffer{};
  buffer.fill(L'x');
  EXPECT_EQ(ini.GetIniString(L"Section", L"Key", buffer.data(), 8), 3U);
  EXPECT_EQ(std::wstring(buffer.data(), buffer.size()),
            std::wstring(L"Eco\0\0\0\0\0xx", buffer.size()));
}

TEST_F(CIniMgrTest, CutsATextThatDoesNotFit) {
  sandbox.Write(kFile, IniFile().Section(L"Section").Key(L"Key", L"Wireless"));
  CIniMgr ini;
  Locate(ini);
  std::array<wchar_t, 6> buffer{};
  buffer.fill(L'x');
  EXPECT_EQ(ini.GetIniString(L"Section", L"Key", buffer.data(), 5), 4U);
  EXPECT_EQ(std::wstring(buffer.data(), buffer.size()), std::wstring(L"Wire\0x", buffer.size()));
  EXPECT_EQ(ini.GetIniString(L"Section", L"Key", buffer.data(), 1), 0U);
  EXPECT_STREQ(buffer.data(), L"");
}

TEST_F(CIniMgrTest, WhatIsAbsentIsAnEmptyTextAndZero) {
  sandbox.Write(kFile, IniFile().Section(L"Section").Key(L"Key", L"12").Key(L"Empty", L""));
  CIniMgr ini;
  Locate(ini);
  const auto expectAbsent = [&](const wchar_t* section, const wchar_t* key) {
    std::array<wchar_t, 4> buffer{};
    buffer.fill(L'x');
    EXPECT_EQ(ini.GetIniString(section, key, buffer.data(), 4), 0U);
    EXPECT_THAT(buffer, Each(L'\0'));
    EXPECT_EQ(ini.GetIniInt(section, key), 0);
  };
  expectAbsent(L"Section", L"Empty");
  expectAbsent(L"Section", L"Missing");
  expectAbsent(L"Missing", L"Key");
  sandbox.Remove(kFile);
  expectAbsent(L"Section", L"Key");
}

TEST_F(CIniMgrTest, DoesNotReadInTheWindowsFolderWhenItHasNoPath) {
  CIniMgr ini;
  std::array<wchar_t, 4> buffer{};
  buffer.fill(L'x');
  EXPECT_EQ(ini.GetIniString(L"Section", L"Key", buffer.data(), 4), 0U);
  EXPECT_THAT(buffer, Each(L'\0'));
  EXPECT_EQ(ini.GetIniInt(L"Section", L"Key"), 0);
  EXPECT_EQ(interposition.AllCalls().size(), 0U);
}

TEST_F(CIniMgrTest, ReadsDecimalAndHexadecimalNumbers) {
  const std::pair<const wchar_t*, std::int32_t> rows[] = {
      {L"16", 16},    {L"0x10", 16}, {L"0x1F", 31},
      {L"0x1f", 31},  {L"0X0C", 12}, {L"\" 12\"", 12},
      {L"-5", -5},    {L"+7", 7},    {L"12abc", 12},
      {L"12 13", 12}, {L"1.9", 1},   {L"007", 7},
      {L"abc", 0},    {L"0", 0},     {L"-", 0},
      {L"0x", 0},     {L"\"\"", 0},  {L"2147483647", 2147483647},
      {L"x10", 0},    {L"-0", 0},
  };
  for (const auto& [stored, number] : rows) {
    EXPECT_EQ(ReadInt(stored), number) << Text::Escape(stored);
  }
}

TEST_F(CIniMgrTest, ANumberIsCutAfter15Characters) {
  EXPECT_EQ(ReadInt(L"000000000000078"), 78) << "15 characters";
  EXPECT_EQ(ReadInt(L"0000000000000789"), 78) << "16 characters";
  EXPECT_EQ(ReadInt(L"00000000000007890123"), 78) << "20 characters";
  EXPECT_EQ(ReadInt(L"0x00000000000123"), 0x12) << "16 characters";
  EXPECT_EQ(ReadInt(L"12345678901234567890"), ConvertByWindows(L"123456789012345"));
}

TEST_F(CIniMgrTest, TakesTheLeadingDigitsOfWhatWindowsDoesNotConvert) {
  interposition.Fail("StrToIntExW", {.onwards = true});
  EXPECT_EQ(ReadInt(L"42"), 42);
  EXPECT_EQ(ReadInt(L"12abc"), 12);
  EXPECT_EQ(ReadInt(L"-3"), -3);
  EXPECT_EQ(ReadInt(L"0x10"), 0);
  EXPECT_EQ(ReadInt(L"abc"), 0);
}

TEST_F(CIniMgrTest, LetsWindowsConvertHexadecimalNumbersToo) {
  EXPECT_EQ(ReadInt(L"0x10"), 16);
  const std::vector<Call> calls = interposition.CallsOf("StrToIntExW");
  ASSERT_EQ(calls.size(), 1U);
  EXPECT_STREQ(calls[0].Text(0), L"0x10");
  EXPECT_EQ(calls[0].arguments[1], std::uint64_t{STIF_SUPPORT_HEX});
}

TEST_F(CIniMgrTest, DoesNotConvertAnEmptyText) {
  EXPECT_EQ(ReadInt(L""), 0);
  EXPECT_EQ(interposition.Count("StrToIntExW"), 0U);
}

TEST_F(CIniMgrTest, ReadsAnIntegerThroughGetIniString) {
  class Substitute : public CIniMgr {
   public:
    DWORD GetIniString(const wchar_t* section, const wchar_t* key, wchar_t* buffer,
                       DWORD sizeInChars) override {
      asked = std::wstring(section) + L"/" + key;
      size = sizeInChars;
      wasClear = std::all_of(buffer, buffer + sizeInChars, [](wchar_t c) { return c == L'\0'; });
      buffer[0] = L'4';
      buffer[1] = L'2';
      return 2;
    }
    std::wstring asked;
    DWORD size = 0;
    bool wasClear = false;
  };
  Substitute ini;
  EXPECT_EQ(static_cast<CIniMgr&>(ini).GetIniInt(L"Section", L"Key"), 42);
  EXPECT_EQ(ini.asked, L"Section/Key");
  EXPECT_EQ(ini.size, 16U);
  EXPECT_TRUE(ini.wasClear);
}

/// The place of a virtual operation in its class, the destructor's two places included.
template <class Method>
std::size_t SlotOf(Method method) {
  std::uintptr_t place = 0;  // one more than the offset in the table of addresses
  std::memcpy(&place, &method, sizeof(place));
  return (place - 1) / sizeof(void*);
}

TEST_F(CIniMgrTest, ItsVirtualOperationsHaveTheirPlaces) {
  EXPECT_EQ(SlotOf(&CIniMgr::Initialize), 2U);
  EXPECT_EQ(SlotOf(&CIniMgr::GetIniInt), 3U);
  EXPECT_EQ(SlotOf(&CIniMgr::GetIniString), 4U);
}

TEST_F(CIniMgrTest, AQueryCostsItsOwnCallsOnly) {
  sandbox.Write(kFile, IniFile().Section(L"Section").Key(L"Key", L"12"));
  CIniMgr ini;
  Locate(ini);
  interposition.ClearCalls();
  std::array<wchar_t, 10> buffer{};
  (void)ini.GetIniString(L"Section", L"Key", buffer.data(), 10);
  (void)ini.GetIniInt(L"Section", L"Key");
  std::vector<std::string> functions;
  for (const Call& call : interposition.AllCalls()) functions.push_back(call.function);
  EXPECT_THAT(functions,
              ElementsAre("GetPrivateProfileStringW", "GetPrivateProfileStringW", "StrToIntExW"));
}

}  // namespace
