#include "trace/TraceLog.h"

#include "support/ModeChangeTest.h"

namespace {

class TraceLogTest : public ModeChangeTest {};

TEST_F(TraceLogTest, Writes) {
  TraceLog().WriteUInt(L"A::B", 3, 7);
  EXPECT_EQ(traces.Take(), (Traces{{L"A::B", 3, L"7"}}));
}
class XEachLocale : public ModeChangeTest {};
TEST_F(XEachLocale, Writes) {
 printf("%ls\n", Sandbox::UserLocale().c_str());
}
class XEachWindows : public ModeChangeTest {};
TEST_F(XEachWindows, Writes) {
 printf("%d\n", Sandbox::IsWindows8OrLater());
}

}  // namespace
