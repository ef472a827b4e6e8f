#include "common/IsWindows8OrLater.h"

#include "support/ModeChangeTest.h"

namespace {

class IsWindows8OrLaterTest : public ModeChangeTest {};
class IsWindows8OrLaterTestEachWindows : public ModeChangeTest {};

TEST_F(IsWindows8OrLaterTestEachWindows, KnowsTheSystemThatItRunsOn) {
  EXPECT_EQ(IsWindows8OrLater(), Sandbox::IsWindows8OrLater());
}

TEST_F(IsWindows8OrLaterTest, AsksForVersion6Point2WithAnyServicePackOrLater) {
  OSVERSIONINFOEXW asked{};
  DWORD comparedParts = 0;
  DWORDLONG comparison = 0;
  interposition.Replace("VerifyVersionInfoW",
                        [&](OSVERSIONINFOEXW* version, DWORD parts, DWORDLONG conditions) {
                          asked = *version;
                          comparedParts = parts;
                          comparison = conditions;
                          return TRUE;
                        });
  EXPECT_TRUE(IsWindows8OrLater());

  EXPECT_EQ(asked.dwOSVersionInfoSize, sizeof(asked));
  EXPECT_EQ(asked.dwMajorVersion, 6U);
  EXPECT_EQ(asked.dwMinorVersion, 2U);
  EXPECT_EQ(asked.wServicePackMajor, 0U);
  const DWORD parts[] = {VER_MAJORVERSION, VER_MINORVERSION, VER_SERVICEPACKMAJOR};
  EXPECT_EQ(comparedParts, parts[0] | parts[1] | parts[2]);
  DWORDLONG orLater = 0;
  for (const DWORD part : parts) orLater = ::VerSetConditionMask(orLater, part, VER_GREATER_EQUAL);
  EXPECT_EQ(comparison, orLater);
}

TEST_F(IsWindows8OrLaterTest, IsFalseWhenWindowsSaysSo) {
  interposition.Fail("VerifyVersionInfoW", {});
  EXPECT_FALSE(IsWindows8OrLater());
}

}  // namespace
