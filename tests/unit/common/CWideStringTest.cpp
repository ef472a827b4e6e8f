#include "common/CWideString.h"

#include <limits>
#include <new>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

#include "support/ModeChangeTest.h"

namespace {

static_assert(sizeof(CWideString) == 8);
static_assert(std::is_nothrow_copy_constructible_v<CWideString>);
static_assert(std::is_nothrow_copy_assignable_v<CWideString>);
static_assert(std::is_nothrow_move_constructible_v<CWideString>);
static_assert(std::is_nothrow_move_assignable_v<CWideString>);

/// The string allocates within the library, so its allocations can be counted and refused.
class CWideStringTest : public ModeChangeTest {
 protected:
  CWideStringTest() {
    // The runtime takes memory of its own for the first exception of a thread, and ends the process
    // when it gets none; here that exception is thrown in time.
    EXPECT_THROW(CWideString(L"", std::numeric_limits<std::size_t>::max()), std::bad_alloc);
    interposition.ClearCalls();
  }

  std::uint64_t Allocations() const { return interposition.Count("malloc"); }
  std::uint64_t Releases() const { return interposition.Count("free"); }

  static CWideString Replaced(CWideString text, const wchar_t* what, const wchar_t* with) {
    text.ReplaceAll(what, with);
    return text;
  }
};

TEST_F(CWideStringTest, EmptyTextTakesNoMemory) {
  const CWideString none;
  const CWideString empty(L"");
  const CWideString null(nullptr);
  const CWideString nullOfLength(nullptr, 0);
  for (const CWideString* text : {&none, &empty, &null, &nullOfLength}) {
    EXPECT_TRUE(text->empty());
    EXPECT_EQ(0U, text->length());
    EXPECT_STREQ(L"", text->c_str());
    EXPECT_EQ(none, *text);
  }
  EXPECT_EQ(0U, Allocations());
}

TEST_F(CWideStringTest, KeepsAText) {
  const CWideString text(L"Gr\u00FC\u00DFe \u65E5\u672C");
  EXPECT_STREQ(L"Gr\u00FC\u00DFe \u65E5\u672C", text.c_str());
  EXPECT_EQ(8U, text.length());
  EXPECT_FALSE(text.empty());
}

TEST_F(CWideStringTest, KeepsAPartOfAText) {
  EXPECT_STREQ(L"de-", CWideString(L"de-AT", 3).c_str());
  EXPECT_TRUE(CWideString(L"de-AT", 0).empty());
}

TEST_F(CWideStringTest, KeepsTerminatorsWithinAPart) {
  const CWideString text(L"a\0b", 3);
  EXPECT_EQ(3U, text.length());
  EXPECT_FALSE(text == CWideString(L"a"));
  EXPECT_EQ(text, CWideString(L"a\0b", 3));
}

TEST_F(CWideStringTest, WritesNumbers) {
  EXPECT_EQ(L"-2147483648", CWideString::FromInt(std::numeric_limits<std::int32_t>::min()));
  EXPECT_EQ(L"2147483647", CWideString::FromInt(std::numeric_limits<std::int32_t>::max()));
  EXPECT_EQ(L"0", CWideString::FromInt(0));
  EXPECT_EQ(L"4294967295", CWideString::FromUInt(std::numeric_limits<std::uint32_t>::max()));
  EXPECT_EQ(L"0", CWideString::FromUInt(0));
}

TEST_F(CWideStringTest, CopiesShareTheirText) {
  const CWideString original(L"shared");
  ASSERT_EQ(1U, Allocations());
  const CWideString copy(original);  // NOLINT(performance-unnecessary-copy-initialization)
  CWideString assigned(L"");
  assigned = original;
  EXPECT_EQ(original.c_str(), copy.c_str());
  EXPECT_EQ(original.c_str(), assigned.c_str());
  EXPECT_EQ(1U, Allocations());
}

TEST_F(CWideStringTest, AListOfStringsIsCopiedWithoutText) {
  const std::vector<CWideString> list(100, CWideString(L"shared"));
  const std::uint64_t allocations = Allocations();
  const std::vector<CWideString> copy(list);  // NOLINT(performance-unnecessary-copy-initialization)
  EXPECT_EQ(list.back().c_str(), copy.back().c_str());
  EXPECT_EQ(allocations, Allocations());
}

TEST_F(CWideStringTest, TheTextGoesWithItsLastOwner) {
  {
    CWideString outer;
    {
      const CWideString inner(L"shared");
      outer = inner;
    }
    EXPECT_EQ(0U, Releases());
    EXPECT_STREQ(L"shared", outer.c_str());
  }
  EXPECT_EQ(1U, Allocations());
  EXPECT_EQ(1U, Releases());
}

TEST_F(CWideStringTest, ChangingACopyLeavesTheOriginal) {
  const CWideString original(L"shared");
  CWideString appended = original;
  appended += L" no more";
  CWideString replaced = original;
  replaced.ReplaceAll(L"shared", L"own");
  EXPECT_EQ(L"shared", original);
  EXPECT_EQ(L"shared no more", appended);
  EXPECT_EQ(L"own", replaced);
}

TEST_F(CWideStringTest, ChangingTheOriginalLeavesACopy) {
  CWideString original(L"shared");
  const CWideString copy = original;
  original += L"!";
  EXPECT_EQ(L"shared!", original);
  EXPECT_EQ(L"shared", copy);
}

TEST_F(CWideStringTest, MovesTheText) {
  CWideString from(L"text");
  const wchar_t* place = from.c_str();
  CWideString to(std::move(from));
  EXPECT_EQ(place, to.c_str());
  EXPECT_TRUE(from.empty());

  CWideString assigned(L"old");
  assigned = std::move(to);
  EXPECT_EQ(place, assigned.c_str());
  EXPECT_TRUE(to.empty());
  EXPECT_EQ(2U, Allocations());
  EXPECT_EQ(1U, Releases());
}

TEST_F(CWideStringTest, SurvivesBeingAssignedToItself) {
  CWideString text(L"text");
  CWideString& same = text;
  text = same;
  EXPECT_EQ(L"text", text);
  text = std::move(same);
  EXPECT_EQ(L"text", text);
}

TEST_F(CWideStringTest, Appends) {
  CWideString text;
  text += L"";
  EXPECT_EQ(L"", text);
  text += L"a";
  text += L"";
  text += L"bc";
  EXPECT_EQ(L"abc", text);
  EXPECT_EQ(3U, text.length());
}

TEST_F(CWideStringTest, AppendsItself) {
  CWideString text(L"abc");
  text += text;
  EXPECT_EQ(L"abcabc", text);
  text += text.c_str() + 5;
  EXPECT_EQ(L"abcabcc", text);
  // With room for it, so that the text stays where it is.
  for (int i = 0; i < 4; ++i) text += text.c_str() + text.length() - 1;
  EXPECT_EQ(L"abcabcccccc", text);
}

TEST_F(CWideStringTest, Concatenates) {
  const CWideString folder(L"C:\\Folder");
  EXPECT_EQ(L"C:\\Folder\\de-AT\\File.ini", folder + L"\\" + L"de-AT" + L"\\File.ini");
  EXPECT_EQ(L"C:\\Folder", folder);
  EXPECT_EQ(L"Mode7", L"Mode" + CWideString::FromInt(7));
}

TEST_F(CWideStringTest, GrowsInFewSteps) {
  constexpr std::size_t kLength = 100000;
  CWideString text;
  for (std::size_t i = 0; i < kLength; ++i) text += L"x";
  EXPECT_EQ(std::wstring(kLength, L'x'), text.c_str());
  // Every argument takes an allocation of its own; the text may only add to that as it doubles.
  EXPECT_LT(Allocations() - kLength, 25U);
}

TEST_F(CWideStringTest, ReplacesEveryOccurrence) {
  EXPECT_EQ(L"", Replaced(L"", L"a", L"b"));
  EXPECT_EQ(L"abc", Replaced(L"abc", L"x", L"y"));
  EXPECT_EQ(L"abc", Replaced(L"abc", L"", L"y"));
  EXPECT_EQ(L"b", Replaced(L"a", L"a", L"b"));
  EXPECT_EQ(L"", Replaced(L"aaa", L"a", L""));
  EXPECT_EQ(L"xbx", Replaced(L"aba", L"a", L"x"));
  EXPECT_EQ(L"[Eco] and [Eco]", Replaced(L"%MODE% and %MODE%", L"%MODE%", L"[Eco]"));
  EXPECT_EQ(L"end", Replaced(L"end%MODE%", L"%MODE%", L""));
  EXPECT_EQ(L"start", Replaced(L"%MODE%start", L"%MODE%", L""));
}

TEST_F(CWideStringTest, ReplacesFromLeftToRightAndOnce) {
  EXPECT_EQ(L"xa", Replaced(L"aaa", L"aa", L"x"));
  EXPECT_EQ(L"aaaa", Replaced(L"aa", L"a", L"aa")) << "What is put in is not looked at again.";
  EXPECT_EQ(L"aa", Replaced(L"abab", L"ab", L"a"));
  EXPECT_EQ(L"A", Replaced(L"A", L"a", L"b")) << "Case counts.";
}

TEST_F(CWideStringTest, ReplacesItself) {
  CWideString text(L"abc");
  text.ReplaceAll(text, L"new");
  EXPECT_EQ(L"new", text);
  text.ReplaceAll(L"new", text);
  EXPECT_EQ(L"new", text);
  text.ReplaceAll(L"e", text);
  EXPECT_EQ(L"nneww", text);
}

TEST_F(CWideStringTest, ReplacesNothingWithoutMemory) {
  CWideString text(L"abc");
  const CWideString what(L"x");
  const CWideString with(L"y");
  const wchar_t* place = text.c_str();
  const std::uint64_t allocations = Allocations();
  text.ReplaceAll(what, with);
  EXPECT_EQ(place, text.c_str());
  EXPECT_EQ(allocations, Allocations());
}

TEST_F(CWideStringTest, ComparesCharacters) {
  EXPECT_TRUE(CWideString(L"Eco") == CWideString(L"Eco"));
  EXPECT_FALSE(CWideString(L"Eco") == CWideString(L"eco"));
  EXPECT_TRUE(CWideString(L"Eco") != CWideString(L"Ec"));
  EXPECT_TRUE(CWideString(L"Eco") == L"Eco");
  EXPECT_TRUE(CWideString() == L"");
}

TEST_F(CWideStringTest, ComparesNamesWithoutCase) {
  EXPECT_TRUE(CWideString(L"Eco").EqualsIgnoringCase(L"eCO"));
  EXPECT_TRUE(CWideString(L"").EqualsIgnoringCase(L""));
  EXPECT_FALSE(CWideString(L"Eco").EqualsIgnoringCase(L"Ec"));
  EXPECT_FALSE(CWideString(L"Eco").EqualsIgnoringCase(L""));
  for (const wchar_t* other : {L"\u00C4", L"\u00E4", L"\u212A"}) {
    EXPECT_EQ(::_wcsicmp(L"\u00E4", other) == 0, CWideString(L"\u00E4").EqualsIgnoringCase(other));
  }
}

TEST_F(CWideStringTest, StaysAsItWasWhenMemoryIsRefused) {
  CWideString text(L"text");
  const CWideString copy = text;
  const CWideString more(L"more");
  const CWideString t(L"t");
  interposition.Fail("malloc", {.onwards = true});
  EXPECT_THROW(text += more, std::bad_alloc);
  EXPECT_THROW(text.ReplaceAll(t, more), std::bad_alloc);
  EXPECT_THROW(CWideString(L"other"), std::bad_alloc);
  EXPECT_THROW((void)(text + more), std::bad_alloc);
  // Sharing takes no memory.
  const CWideString shared = text;  // NOLINT(performance-unnecessary-copy-initialization)
  interposition.StopFailing();
  EXPECT_STREQ(L"text", text.c_str());
  EXPECT_EQ(copy.c_str(), text.c_str());
  EXPECT_EQ(copy.c_str(), shared.c_str());
}

TEST_F(CWideStringTest, StaysAsItWasWhenMemoryIsRefusedHalfway) {
  CWideString text(L"a-a-a");
  const CWideString what(L"a");
  const CWideString with(L"long enough to grow");
  std::uint32_t refusals = 0;
  for (bool isRefused = true; isRefused;) {
    CWideString changed = text;
    interposition.Fail("malloc", {.nth = refusals + 1});
    try {
      changed.ReplaceAll(what, with);
      isRefused = false;
    } catch (const std::bad_alloc&) {
      ++refusals;
    }
    interposition.StopFailing();
    EXPECT_EQ(isRefused ? L"a-a-a" : L"long enough to grow-long enough to grow-long enough to grow",
              changed);
  }
  EXPECT_GE(refusals, 2U);
}

TEST_F(CWideStringTest, RefusesTextThatNoMemoryCouldHold) {
  EXPECT_THROW(CWideString(L"x", std::numeric_limits<std::size_t>::max()), std::bad_alloc);
  EXPECT_THROW(CWideString(L"x", std::numeric_limits<std::size_t>::max() / sizeof(wchar_t)),
               std::bad_alloc);
}

}  // namespace
