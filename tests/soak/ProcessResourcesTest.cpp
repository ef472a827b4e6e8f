#include "soak/ProcessResources.h"

#include <windows.h>

#include <cstring>
#include <string>

#include "support/ModeChangeTest.h"

namespace {

/// That a leak would be seen, whichever way the system counts.
class ProcessResourcesTest : public ::testing::Test {
 protected:
  // What counting takes for itself.
  ProcessResourcesTest() { static_cast<void>(ProcessResources::Now()); }
};

TEST_F(ProcessResourcesTest, CountsHandles) {
  const std::size_t before = ProcessResources::Now().handles;
  const HANDLE event = ::CreateEventW(nullptr, FALSE, FALSE, nullptr);
  EXPECT_EQ(ProcessResources::Now().handles, before + 1);
  ::CloseHandle(event);
  EXPECT_EQ(ProcessResources::Now().handles, before);
}

TEST_F(ProcessResourcesTest, CountsGdiObjects) {
  const std::size_t before = ProcessResources::Now().gdiObjects;
  const HBRUSH brush = ::CreateSolidBrush(RGB(1, 2, 3));
  const HRGN region = ::CreateRectRgn(0, 0, 1, 1);
  EXPECT_EQ(ProcessResources::Now().gdiObjects, before + 2);
  ::DeleteObject(brush);
  ::DeleteObject(region);
  EXPECT_EQ(ProcessResources::Now().gdiObjects, before);
}

TEST_F(ProcessResourcesTest, CountsWindowsAndTheirChildren) {
  const HWND first =
      ::CreateWindowExW(0, L"STATIC", L"", 0, 0, 0, 9, 9, nullptr, nullptr, nullptr, nullptr);
  const std::size_t before = ProcessResources::Now().windows;
  const HWND parent =
      ::CreateWindowExW(0, L"STATIC", L"", 0, 0, 0, 9, 9, nullptr, nullptr, nullptr, nullptr);
  const HWND child =
      ::CreateWindowExW(0, L"STATIC", L"", WS_CHILD, 0, 0, 9, 9, parent, nullptr, nullptr, nullptr);
  ASSERT_NE(child, nullptr);
  EXPECT_EQ(ProcessResources::Now().windows, before + 2);
  ::DestroyWindow(parent);
  EXPECT_EQ(ProcessResources::Now().windows, before);
  ::DestroyWindow(first);
}

TEST_F(ProcessResourcesTest, CountsMemoryThatIsUsed) {
  constexpr std::size_t kSize = 1 << 20;
  constexpr std::size_t kTolerance = 1 << 16;
  const std::size_t before = ProcessResources::Now().privateBytes;
  void* const block = ::VirtualAlloc(nullptr, kSize, MEM_RESERVE | MEM_COMMIT, PAGE_READWRITE);
  std::memset(block, 1, kSize);
  const std::size_t with = ProcessResources::Now().privateBytes;
  EXPECT_GE(with, before + kSize);
  EXPECT_LE(with, before + kSize + kTolerance);
  ::VirtualFree(block, 0, MEM_RELEASE);
  EXPECT_LE(ProcessResources::Now().privateBytes, before + kTolerance);
}

}  // namespace
