#include "NotificationWindow.h"

#include <gtest/gtest.h>

TEST(NotificationWindowTest, HandsOverTheResult) {
  NotificationWindow window;
  ASSERT_NE(::PostMessageW(window.Get(), NotificationWindow::kMessage, 3, 0), FALSE);
  EXPECT_EQ(window.WaitForResult(10), WPARAM{3});
}

TEST(NotificationWindowTest, KeepsAResultThatArrivesInAnotherLoop) {
  NotificationWindow window;
  ::SendMessageW(window.Get(), NotificationWindow::kMessage, 1, 0);
  EXPECT_EQ(window.WaitForResult(10), WPARAM{1});
}

TEST(NotificationWindowTest, GivesUpWhenTheTimeIsOver) {
  NotificationWindow window;
  EXPECT_EQ(window.WaitForResult(1), std::nullopt);
}

TEST(NotificationWindowTest, IsATopLevelWindowThatIsNotShown) {
  const NotificationWindow window;
  EXPECT_EQ(::GetAncestor(window.Get(), GA_PARENT), ::GetDesktopWindow());
  EXPECT_FALSE(::IsWindowVisible(window.Get()));
}

TEST(NotificationWindowTest, GoesAwayWithItsObject) {
  HWND handle = nullptr;
  {
    const NotificationWindow window;
    handle = window.Get();
  }
  EXPECT_FALSE(::IsWindow(handle));
}
