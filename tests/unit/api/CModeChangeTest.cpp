#include "api/CModeChange.h"

#include "support/ModeChangeTest.h"

namespace {

/// What hosts can't do, because the exports stand before it.
class CModeChangeTest : public ModeChangeTest {};

TEST_F(CModeChangeTest, MissingOutputsAreFailures) {
  const CModeChange modes;
  EXPECT_FALSE(modes.GetModeCount(nullptr));
  EXPECT_FALSE(modes.GetModeDisplayName(0, nullptr));
  EXPECT_FALSE(modes.GetStatusDisplayName(0, nullptr));
  EXPECT_FALSE(modes.GetStatusIconKeyName(0, nullptr));
  EXPECT_EQ(traces.Take(), (Traces{{L"CModeChange::GetModeCount", 117},
                                   {L"CModeChange::GetModeDisplayName", 553},
                                   {L"CModeChange::GetStatusDisplayName", 591},
                                   {L"CModeChange::GetStatusIconKeyName", 629}}));
}

TEST_F(CModeChangeTest, TextsNeedASelectedMode) {
  const CModeChange modes;
  CWideString text = L"untouched";
  EXPECT_FALSE(modes.GetModeDisplayName(0, &text));
  EXPECT_FALSE(modes.GetStatusDisplayName(0, &text));
  EXPECT_FALSE(modes.GetStatusIconKeyName(0, &text));
  EXPECT_EQ(text, L"untouched");
  EXPECT_EQ(traces.Take(), (Traces{{L"CModeChange::GetModeDisplayName", 559},
                                   {L"CModeChange::GetStatusDisplayName", 597},
                                   {L"CModeChange::GetStatusIconKeyName", 635}}));
}

TEST_F(CModeChangeTest, AnObjectHasOneRegistrationAndNoModes) {
  const CModeChange modes;
  EXPECT_EQ(traces.OpenRegistrations(), 1U);
  UINT count = 4711;
  EXPECT_TRUE(modes.GetModeCount(&count));
  EXPECT_EQ(count, 0U);
}

}  // namespace
