#include "ChangeOutcome.h"

#include <gtest/gtest.h>
#include <shellapi.h>
#include <velto/mode_change.h>

namespace {

class ChangeOutcomeTest : public ::testing::Test {
 protected:
  [[nodiscard]] std::wstring Describe(INT32 wanted, std::optional<WPARAM> result,
                                      INT32 statusAfter) const {
    const Change change = {.mode = L"Eco",
                           .wanted = wanted,
                           .statusBefore = 1 - wanted,
                           .statusAfter = statusAfter,
                           .result = result};
    const Balloon balloon = DescribeOutcome(change, texts);
    EXPECT_EQ(balloon.title, L"Eco");
    EXPECT_EQ(WentWell(change), balloon.kind == NIIF_INFO);
    return balloon.text;
  }

  Texts texts = Texts(::GetModuleHandleW(L"ModetrayInternals.dll"), LANGID{0x0409});
};

}  // namespace

TEST_F(ChangeOutcomeTest, TellsDoneFromCancelledByTheStatus) {
  EXPECT_EQ(Describe(1, WPARAM{1}, 1), L"Eco is now on.");
  EXPECT_EQ(Describe(0, WPARAM{1}, 0), L"Eco is now off.");
  EXPECT_EQ(Describe(1, WPARAM{1}, 0), L"Nothing was changed.");
  EXPECT_EQ(Describe(0, WPARAM{1}, 1), L"Nothing was changed.");
}

TEST_F(ChangeOutcomeTest, TellsWhatFailed) {
  const std::wstring partly = L" Settings that were changed by then keep their new values.";
  EXPECT_EQ(Describe(1, WPARAM{0}, 0), L"Eco could not be turned on." + partly);
  EXPECT_EQ(Describe(0, WPARAM{0}, 1), L"Eco could not be turned off." + partly);
  EXPECT_EQ(Describe(0, WPARAM{2}, 1),
            L"Eco could not be turned off: a device stopped the change (result 2)." + partly);
  EXPECT_EQ(Describe(1, WPARAM{3}, 0),
            L"Eco could not be turned on: a device stopped the change (result 3)." + partly);
  EXPECT_EQ(Describe(1, WPARAM{77}, 0), L"Eco could not be turned on." + partly);
  EXPECT_EQ(Describe(1, std::nullopt, 0),
            L"Eco: a device does not answer, and the change was given up. Restart the computer if "
            L"this happens again.");
}
