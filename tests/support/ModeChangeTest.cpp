#include "support/ModeChangeTest.h"

ModeChangeTest::ModeChangeTest()
    : interposition(library.Module()),
      watchdog(interposition),
      traces(interposition),
      handles(interposition),
      sandbox(interposition) {}

ModeChangeTest::~ModeChangeTest() {
  EXPECT_EQ(traces.Take(), Traces()) << "The library traced what the test did not expect.";
  EXPECT_EQ(traces.OpenRegistrations(), 0U) << "Trace registrations were not given back.";
  EXPECT_EQ(traces.Misuses(), 0U) << "Traces were written or ended without a registration.";
  EXPECT_THAT(handles.Held(), ::testing::IsEmpty()) << "The library did not give these back.";
  EXPECT_THAT(handles.ReleasedUnheld(), ::testing::IsEmpty()) << "The library did not hold these.";
  EXPECT_THAT(sandbox.Strays(), ::testing::IsEmpty()) << "These files are left.";
}
