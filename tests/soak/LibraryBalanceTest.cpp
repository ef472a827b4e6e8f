#include "soak/LibraryBalance.h"

#include "system/HostFixture.h"

namespace {

class LibraryBalanceTest : public HostTest {
 protected:
  LibraryBalance balance{interposition};
};

TEST_F(LibraryBalanceTest, CountsWhatAHandleHolds) {
  Open();
  EXPECT_EQ(balance.Held(), 1) << "its trace registration";
  const std::int64_t blocksOfOne = balance.HeapBlocks();
  EXPECT_GT(blocksOfOne, 0);

  VELTO_MODE_CHANGE_HANDLE first = handle;
  Open();
  EXPECT_EQ(balance.Held(), 2);
  EXPECT_GT(balance.HeapBlocks(), blocksOfOne);
  Close();
  EXPECT_EQ(balance.Held(), 1);
  EXPECT_EQ(balance.HeapBlocks(), blocksOfOne);

  handle = first;
  Close();
  EXPECT_EQ(balance.Held(), 0);
  EXPECT_LT(balance.HeapBlocks(), blocksOfOne);
  EXPECT_GT(balance.TakenEver(), 0U);
}

TEST_F(LibraryBalanceTest, CountsFailures) {
  Open();
  EXPECT_EQ(balance.Failures(), 0U);
  EXPECT_FALSE(selectMode(handle, kModeCount));
  EXPECT_EQ(balance.Failures(), traces.Take().size());
  EXPECT_GT(balance.Failures(), 0U);
}

TEST_F(LibraryBalanceTest, AnswersMessageBoxes) {
  sandbox.Remove(L"ModeChange.DefaultSettings.ini");
  sandbox.SetUserLocale(L"en-US");
  Open();
  ASSERT_TRUE(selectMode(handle, kEco));
  EXPECT_FALSE(showSettingsDialog(handle, hostWindow));
  EXPECT_EQ(interposition.Count("MessageBoxW"), 1U);
  EXPECT_EQ(balance.Failures(), 1 + traces.Take().size());
}

}  // namespace
