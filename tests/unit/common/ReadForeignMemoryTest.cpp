#include "common/ReadForeignMemory.h"

#include <cstdint>
#include <cstring>
#include <string>

#include "support/ModeChangeTest.h"

namespace {

constexpr std::size_t kPage = 4096;
constexpr std::size_t kPlenty = 100000;

/// Two readable pages and one behind them that is not.
class ReadForeignMemoryTest : public ModeChangeTest {
 protected:
  ReadForeignMemoryTest() { Protect(PAGE_NOACCESS); }
  ~ReadForeignMemoryTest() override { ::VirtualFree(pages, 0, MEM_RELEASE); }

  [[nodiscard]] char* End() const { return pages + 2 * kPage; }
  void Protect(DWORD protection) const {
    DWORD before = 0;
    ASSERT_NE(::VirtualProtect(End(), kPage, protection, &before), FALSE);
  }
  /// Puts bytes right before the page that can't be read, and some bytes away from it.
  const wchar_t* PutText(const std::wstring& text, std::size_t distance = 0) const {
    char* address = End() - distance - text.size() * sizeof(wchar_t);
    std::memcpy(address, text.data(), text.size() * sizeof(wchar_t));
    return reinterpret_cast<const wchar_t*>(address);
  }
  static std::wstring Terminated(const std::wstring& text) { return text + L'\0'; }

  char* pages = static_cast<char*>(
      ::VirtualAlloc(nullptr, 3 * kPage, MEM_RESERVE | MEM_COMMIT, PAGE_READWRITE));
};

void ExpectText(const wchar_t* address, std::size_t most, const std::wstring& expected) {
  CWideString text = L"untouched";
  EXPECT_TRUE(Common::ReadForeignText(address, most, &text));
  EXPECT_EQ(text, expected.c_str());
}

void ExpectNoText(const wchar_t* address, std::size_t most) {
  CWideString text = L"untouched";
  EXPECT_FALSE(Common::ReadForeignText(address, most, &text));
  EXPECT_EQ(text, L"untouched");
}

// --- Memory --------------------------------------------------------------------------------------

TEST_F(ReadForeignMemoryTest, CopiesMemoryUpToTheEndOfAPage) {
  std::memcpy(End() - 4, "abcd", 4);
  char copy[5] = {};
  EXPECT_TRUE(Common::ReadForeignMemory(End() - 4, copy, 4));
  EXPECT_STREQ(copy, "abcd");
}

TEST_F(ReadForeignMemoryTest, CopiesMemoryAcrossPages) {
  std::memcpy(pages + kPage - 2, "abcd", 4);
  char copy[5] = {};
  EXPECT_TRUE(Common::ReadForeignMemory(pages + kPage - 2, copy, 4));
  EXPECT_STREQ(copy, "abcd");
}

TEST_F(ReadForeignMemoryTest, CopiesNothingThatCannotBeReadWhole) {
  char copy[4] = {};
  EXPECT_FALSE(Common::ReadForeignMemory(End() - 3, copy, 4));
  EXPECT_FALSE(Common::ReadForeignMemory(End(), copy, 4));
  EXPECT_FALSE(Common::ReadForeignMemory(nullptr, copy, 4));
  EXPECT_FALSE(Common::ReadForeignMemory(reinterpret_cast<void*>(1), copy, 4));
  EXPECT_FALSE(Common::ReadForeignMemory(reinterpret_cast<void*>(~std::uintptr_t{0}), copy, 4));
  EXPECT_FALSE(Common::ReadForeignMemory(reinterpret_cast<void*>(0x8000000000000000ULL), copy, 4));
}

TEST_F(ReadForeignMemoryTest, ReadsOneReadableByteAndNoMore) {
  char copy[2] = {};
  End()[-1] = 'z';
  EXPECT_TRUE(Common::ReadForeignMemory(End() - 1, copy, 1));
  EXPECT_EQ(copy[0], 'z');
  EXPECT_FALSE(Common::ReadForeignMemory(End() - 1, copy, 2));
}

TEST_F(ReadForeignMemoryTest, NeverTripsAGuardPage) {
  Protect(PAGE_READWRITE | PAGE_GUARD);
  char copy[4] = {};
  EXPECT_FALSE(Common::ReadForeignMemory(End(), copy, 4));
  MEMORY_BASIC_INFORMATION memory{};
  ::VirtualQuery(End(), &memory, sizeof(memory));
  EXPECT_NE(memory.Protect & PAGE_GUARD, 0U) << "Somebody's stack could not grow any more.";
}

TEST_F(ReadForeignMemoryTest, ReadsReadOnlyMemory) {
  Protect(PAGE_READONLY);
  char copy[4] = {'x', 'x', 'x', 'x'};
  EXPECT_TRUE(Common::ReadForeignMemory(End(), copy, 4));
  EXPECT_EQ(copy[0], '\0');
}

TEST_F(ReadForeignMemoryTest, ReadsNoMemoryThatIsOnlyReservedOrFree) {
  auto* reserved = ::VirtualAlloc(nullptr, kPage, MEM_RESERVE, PAGE_NOACCESS);
  char copy[4] = {};
  EXPECT_FALSE(Common::ReadForeignMemory(reserved, copy, 4));
  ::VirtualFree(reserved, 0, MEM_RELEASE);
  EXPECT_FALSE(Common::ReadForeignMemory(reserved, copy, 4));
}

TEST_F(ReadForeignMemoryTest, StandsMemoryThatGoesAwayWhileItIsRead) {
  char copy[4] = {};
  interposition.Replace("ReadProcessMemory",
                        [](HANDLE, const void*, void*, SIZE_T, SIZE_T*) { return FALSE; });
  EXPECT_FALSE(Common::ReadForeignMemory(pages, copy, 4));
  interposition.Replace("ReadProcessMemory",
                        [](HANDLE, const void*, void*, SIZE_T size, SIZE_T* read) {
                          *read = size - 1;
                          return TRUE;
                        });
  EXPECT_FALSE(Common::ReadForeignMemory(pages, copy, 4));
}

// --- Texts ---------------------------------------------------------------------------------------

TEST_F(ReadForeignMemoryTest, CopiesATextUpToTheEndOfAPage) {
  for (const std::size_t length : {0U, 1U, 5U, 2047U, 2048U, 3000U}) {
    SCOPED_TRACE(length);
    const std::wstring text(length, L'\u30a8');
    ExpectText(PutText(Terminated(text)), kPlenty, text);
  }
}

TEST_F(ReadForeignMemoryTest, CopiesATextThatStraddlesPages) {
  // At even and at odd addresses, with a character half on the one page and half on the other.
  for (std::size_t distance = kPage - 8; distance <= kPage + 8; ++distance) {
    SCOPED_TRACE(distance);
    ExpectText(PutText(Terminated(L"Straddling"), distance), kPlenty, L"Straddling");
  }
}

TEST_F(ReadForeignMemoryTest, StopsAtTheFirstTerminator) {
  ExpectText(PutText(Terminated(std::wstring(L"Eco\0more", 8))), kPlenty, L"Eco");
}

TEST_F(ReadForeignMemoryTest, CopiesNoTextWithoutATerminator) {
  ExpectNoText(PutText(L"x"), kPlenty);
  ExpectNoText(PutText(std::wstring(100, L'x')), kPlenty);
  ExpectNoText(PutText(std::wstring(3000, L'x')), kPlenty);
  ExpectNoText(PutText(std::wstring(100, L'x'), 1), kPlenty);
}

TEST_F(ReadForeignMemoryTest, CopiesNoTextThatIsNowhere) {
  ExpectNoText(nullptr, kPlenty);
  ExpectNoText(reinterpret_cast<const wchar_t*>(1), kPlenty);
  ExpectNoText(reinterpret_cast<const wchar_t*>(End()), kPlenty);
  ExpectNoText(reinterpret_cast<const wchar_t*>(End() - 1), kPlenty);
  ExpectNoText(reinterpret_cast<const wchar_t*>(~std::uintptr_t{0}), kPlenty);
  ExpectNoText(reinterpret_cast<const wchar_t*>(~std::uintptr_t{0} - 1), kPlenty);
}

TEST_F(ReadForeignMemoryTest, CopiesNoTextThatIsTooLong) {
  const wchar_t* text = PutText(Terminated(std::wstring(3000, L'x')));
  // The terminator counts.
  ExpectText(text, 3001, std::wstring(3000, L'x'));
  ExpectNoText(text, 3000);
  ExpectNoText(text, 2999);
  ExpectNoText(text, 1);
  ExpectNoText(text, 0);
}

TEST_F(ReadForeignMemoryTest, ReadsNoFurtherThanItMay) {
  // The most characters end right where memory does.
  ExpectNoText(PutText(std::wstring(10, L'x')), 10);
  EXPECT_EQ(interposition.Count("ReadProcessMemory"), 1U);
}

}  // namespace
