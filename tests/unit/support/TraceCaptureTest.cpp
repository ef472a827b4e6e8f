#include "support/TraceCapture.h"

#include <cstdlib>
#include <sstream>

#include "support/ModeChangeTest.h"
#include "trace/TraceLog.h"
#include "unit/support/TestProgram.h"

namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;

class TraceCaptureTest : public ModeChangeTest {
 protected:
  TraceCaptureTest() { traces.LeaveOutOfCoverage(); }
};

TEST_F(TraceCaptureTest, TakesWhatWasTracedSinceTheLastTime) {
  const TraceLog trace;
  trace.Write(L"A::B", 1);
  trace.WriteUInt(L"A::B", 2, 7);
  EXPECT_EQ(traces.Take(), (Traces{{L"A::B", 1}, {L"A::B", 2, L"7"}}));
  EXPECT_EQ(traces.Take(), Traces());
  trace.Write(L"A::C", 3, L"text");
  EXPECT_EQ(traces.Take(), (Traces{{L"A::C", 3, L"text"}}));
  EXPECT_THAT(traces.Events(), SizeIs(3));
}

TEST_F(TraceCaptureTest, KnowsRegistrations) {
  {
    const TraceLog first;
    const TraceLog second;
    EXPECT_EQ(2U, traces.OpenRegistrations());
  }
  EXPECT_EQ(0U, traces.OpenRegistrations());
  EXPECT_THAT(traces.Registrations(), SizeIs(2));
}

TEST_F(TraceCaptureTest, PrintsTracesReadably) {
  std::ostringstream stream;
  stream << Trace{L"A::B", 12, L"C:\\\u00E4\n"};
  EXPECT_EQ("A::B 12 \"C:\\\\\xC3\xA4\\n\"", stream.str());
}

TEST(ObservedTracesTest, AreKeptInAFileForEachProcess) {
  class World : public ModeChangeTest {
   public:
    using ModeChangeTest::sandbox;
    using ModeChangeTest::traces;

   private:
    void TestBody() override {}
  };
  World world;
  if (::_wgetenv(L"VELTO_TEST_ROLE") != nullptr) {
    TraceLog().Write(L"A::B", 3, L"tab\tand\\");
    TraceLog().WriteInt(L"A::B", 4, -5);
    EXPECT_THAT(world.traces.Take(), SizeIs(2));
    return;
  }
  world.sandbox.MakeFolder(L"Observed");
  const std::filesystem::path folder = world.sandbox.LibraryFolder() / L"Observed";
  for (int run = 0; run < 2; ++run) {
    const ChildProcess::Result result = RunTestAgain(
        "ObservedTracesTest.AreKeptInAFileForEachProcess",
        {{L"VELTO_TEST_ROLE", L"traces"}, {L"VELTO_OBSERVED_TRACES", folder.wstring()}});
    EXPECT_EQ(0U, result.exitCode) << result.output;
  }
  std::vector<std::string> contents;
  for (const auto& entry : std::filesystem::directory_iterator(folder)) {
    contents.push_back(world.sandbox.Read(entry.path()));
  }
  const std::string expected = "A::B\t3\ttab\\tand\\\\\nA::B\t4\t-5\n";
  EXPECT_THAT(contents, ElementsAre(expected, expected));
}

}  // namespace
