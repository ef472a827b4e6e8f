#include "StatusPicture.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using ::testing::ElementsAre;

Mode MakeMode(INT32 type, INT32 status, const wchar_t* key) {
  Mode mode;
  mode.type = type;
  mode.status = status;
  mode.statusIconKey = key;
  return mode;
}

}  // namespace

TEST(StatusPictureTest, IsThatOfTheModeThatIsOn) {
  EXPECT_THAT(GetPictureNames({MakeMode(VELTO_MODE_TYPE_CRADLE, 0, L"Off"),
                               MakeMode(VELTO_MODE_TYPE_ECO, 1, L"On"),
                               MakeMode(VELTO_MODE_TYPE_CUSTOM, 0, L"Off")}),
              ElementsAre(L"On_Eco", L"On", L"Modetray"));
}

TEST(StatusPictureTest, IsThatOfAModeThatIsOffWhereNoneIsOn) {
  EXPECT_THAT(GetPictureNames({MakeMode(VELTO_MODE_TYPE_ECO, 0, L"Off")}),
              ElementsAre(L"Off", L"Modetray"));
}

TEST(StatusPictureTest, IsAlwaysThere) {
  EXPECT_THAT(GetPictureNames({}), ElementsAre(L"Modetray"));
  EXPECT_THAT(GetPictureNames({MakeMode(99, 1, L"On")}), ElementsAre(L"On", L"Modetray"));
  EXPECT_NE(LoadStatusPicture(::GetModuleHandleW(L"ModetrayInternals.dll"),
                              {MakeMode(99, 1, L"No such key")}),
            nullptr);
}

TEST(StatusPictureTest, DoesNotTakeAnOddStatusForOn) {
  // Somebody wrote it into the status file by hand.
  EXPECT_EQ(FindModeThatIsOn({MakeMode(VELTO_MODE_TYPE_ECO, 7, L"Odd")}), nullptr);
}
