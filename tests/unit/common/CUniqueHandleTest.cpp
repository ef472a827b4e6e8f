#include "common/CUniqueHandle.h"

#include <gmock/gmock.h>

#include <type_traits>
#include <vector>

namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

constexpr DWORD kErrorBefore = 4711;

/// Handles that are numbers; closing one spoils the last error, as Windows may.
struct NumberTraits {
  using Type = int;
  static Type None() noexcept { return -1; }
  static void Close(Type number) {
    closed.push_back(number);
    ::SetLastError(ERROR_INVALID_HANDLE);
  }

  static inline std::vector<int> closed;
};
using Number = CUniqueHandle<NumberTraits>;

static_assert(!std::is_copy_constructible_v<Number>);
static_assert(!std::is_copy_assignable_v<Number>);
static_assert(std::is_nothrow_move_constructible_v<Number>);
static_assert(std::is_nothrow_move_assignable_v<Number>);
static_assert(sizeof(Number) == sizeof(int));

class CUniqueHandleTest : public ::testing::Test {
 protected:
  CUniqueHandleTest() { NumberTraits::closed.clear(); }
};

TEST_F(CUniqueHandleTest, ClosesOnce) {
  {
    const Number number(7);
    EXPECT_TRUE(number);
    EXPECT_EQ(7, number.Get());
    EXPECT_THAT(NumberTraits::closed, IsEmpty());
  }
  EXPECT_THAT(NumberTraits::closed, ElementsAre(7));
}

TEST_F(CUniqueHandleTest, KeepsTheLastErrorWhenClosing) {
  ::SetLastError(kErrorBefore);
  { const Number number(7); }
  EXPECT_THAT(NumberTraits::closed, ElementsAre(7));
  EXPECT_EQ(kErrorBefore, ::GetLastError());
}

TEST_F(CUniqueHandleTest, DoesNotCloseNone) {
  {
    const Number first;
    const Number second(NumberTraits::None());
    EXPECT_FALSE(first);
    EXPECT_FALSE(second);
    EXPECT_EQ(NumberTraits::None(), first.Get());
  }
  EXPECT_THAT(NumberTraits::closed, IsEmpty());
}

TEST_F(CUniqueHandleTest, ClosesZeroWhereThatIsAHandle) {
  { EXPECT_TRUE(Number(0)); }
  EXPECT_THAT(NumberTraits::closed, ElementsAre(0));
}

TEST_F(CUniqueHandleTest, MovesWithoutClosing) {
  {
    Number from(7);
    const Number to(std::move(from));
    EXPECT_FALSE(from);
    EXPECT_EQ(7, to.Get());
    EXPECT_THAT(NumberTraits::closed, IsEmpty());
  }
  EXPECT_THAT(NumberTraits::closed, ElementsAre(7));
}

TEST_F(CUniqueHandleTest, ClosesWhatItHadWhenAssignedTo) {
  Number to(1);
  Number from(2);
  ::SetLastError(kErrorBefore);
  to = std::move(from);
  EXPECT_EQ(kErrorBefore, ::GetLastError());
  EXPECT_THAT(NumberTraits::closed, ElementsAre(1));
  EXPECT_FALSE(from);
  EXPECT_EQ(2, to.Get());

  to = Number();
  EXPECT_FALSE(to);
  EXPECT_THAT(NumberTraits::closed, ElementsAre(1, 2));
}

TEST_F(CUniqueHandleTest, SurvivesBeingAssignedToItself) {
  {
    Number number(7);
    Number& same = number;
    number = std::move(same);
    EXPECT_EQ(7, number.Get());
    EXPECT_THAT(NumberTraits::closed, IsEmpty());
  }
  EXPECT_THAT(NumberTraits::closed, ElementsAre(7));
}

/// Whether Windows still knows the handle.
bool IsOpen(HANDLE handle) {
  DWORD flags = 0;
  return ::GetHandleInformation(handle, &flags) != FALSE;
}

TEST_F(CUniqueHandleTest, FileIsClosedAndInvalidHandleIsNone) {
  EXPECT_FALSE(CUniqueFile(INVALID_HANDLE_VALUE));
  HANDLE file = ::CreateFileW(L"NUL", GENERIC_READ, 0, nullptr, OPEN_EXISTING, 0, nullptr);
  ASSERT_NE(INVALID_HANDLE_VALUE, file);
  {
    const CUniqueFile owner(file);
    EXPECT_TRUE(IsOpen(file));
  }
  EXPECT_FALSE(IsOpen(file));
}

TEST_F(CUniqueHandleTest, SearchIsClosedAndInvalidHandleIsNone) {
  EXPECT_FALSE(CUniqueFind(INVALID_HANDLE_VALUE));
  WIN32_FIND_DATAW entry{};
  HANDLE search = ::FindFirstFileW(L"*", &entry);
  ASSERT_NE(INVALID_HANDLE_VALUE, search);
  { const CUniqueFind owner(search); }
  EXPECT_FALSE(::FindNextFileW(search, &entry));
  EXPECT_EQ(ERROR_INVALID_HANDLE, ::GetLastError());
}

TEST_F(CUniqueHandleTest, LocalMemoryIsFreedAndNullIsNone) {
  EXPECT_FALSE(CUniqueLocalMemory(nullptr));
  void* memory = ::LocalAlloc(LMEM_MOVEABLE, 16);
  ASSERT_NE(nullptr, memory);
  EXPECT_EQ(16U, ::LocalSize(memory));
  { const CUniqueLocalMemory owner(memory); }
  EXPECT_EQ(0U, ::LocalSize(memory));
}

}  // namespace
