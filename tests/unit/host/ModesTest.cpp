#include "ModeTexts.h"

#include <gtest/gtest.h>

#include "CommandLine.h"

namespace {

Mode MakeMode(UINT index, const wchar_t* name, INT32 type, INT32 status) {
  Mode mode;
  mode.index = index;
  mode.name = name;
  mode.type = type;
  mode.status = status;
  mode.statusName = status == VELTO_MODE_STATUS_ON ? L"On" : L"Off";
  mode.statusIconKey = L"Icon";
  return mode;
}

std::vector<Mode> ThreeModes() {
  return {MakeMode(0, L"Normal mode", VELTO_MODE_TYPE_ORDINARY, VELTO_MODE_STATUS_OFF),
          MakeMode(1, L"Éco", VELTO_MODE_TYPE_ECO, VELTO_MODE_STATUS_ON),
          MakeMode(2, L"1", VELTO_MODE_TYPE_WIRELESS_OFF, VELTO_MODE_STATUS_OFF)};
}

std::wstring ProblemOf(const std::vector<Mode>& modes, const wchar_t* text) {
  try {
    static_cast<void>(FindMode(modes, text));
    return {};
  } catch (const UsageError& error) {
    return error.problem;
  }
}

}  // namespace

TEST(ModesTest, AreFoundByNameInAnyCase) {
  const std::vector<Mode> modes = ThreeModes();
  EXPECT_EQ(FindMode(modes, L"NORMAL Mode").index, 0U);
  EXPECT_EQ(FindMode(modes, L"éCO").index, 1U);
}

TEST(ModesTest, AreFoundByNumberUnlessANameIsMeant) {
  const std::vector<Mode> modes = ThreeModes();
  EXPECT_EQ(FindMode(modes, L"0").index, 0U);
  EXPECT_EQ(FindMode(modes, L"2").index, 2U);
  EXPECT_EQ(FindMode(modes, L"1").index, 2U);
}

TEST(ModesTest, ThatDoNotExistAreAnsweredWithThoseThatDo) {
  const std::vector<Mode> modes = ThreeModes();
  const std::wstring list = L"\n" + FormatModes(modes);
  EXPECT_EQ(ProblemOf(modes, L"Normal"), L"there is no mode Normal" + list);
  EXPECT_EQ(ProblemOf(modes, L"3"), L"there is no mode 3" + list);
  EXPECT_EQ(ProblemOf(modes, L"-1"), L"there is no mode -1" + list);
  EXPECT_EQ(ProblemOf(modes, L"00"), L"there is no mode 00" + list);
  EXPECT_EQ(ProblemOf({}, L"0"), L"there is no mode 0\nThis machine offers no modes.");
}

TEST(ModesTest, OfOneNameHaveToBeToldApartByNumber) {
  std::vector<Mode> modes = ThreeModes();
  modes[2].name = L"éco";
  EXPECT_EQ(ProblemOf(modes, L"éco"),
            L"more than one mode is called éco: give its number\n" + FormatModes(modes));
  EXPECT_EQ(FindMode(modes, L"2").index, 2U);
}

TEST(ModesTest, AreListedOneALine) {
  EXPECT_EQ(FormatModes(ThreeModes()),
            L"No.  Status  Type          Name\n"
            L"  0  OFF     ordinary      Normal mode\n"
            L"  1  ON      eco           Éco\n"
            L"  2  OFF     wireless-off  1");
  EXPECT_EQ(FormatModes({}), L"This machine offers no modes.");
}

TEST(ModesTest, AreAnArrayInJson) {
  EXPECT_EQ(FormatModesAsJson({}), L"[]");
  std::vector<Mode> modes = ThreeModes();
  modes.pop_back();
  EXPECT_EQ(FormatModesAsJson(modes),
            L"[\n  " + FormatModeAsJson(modes[0]) + L",\n  " + FormatModeAsJson(modes[1]) + L"\n]");
}

TEST(ModesTest, TellAllAboutOne) {
  Mode mode = MakeMode(12, L"Eco", VELTO_MODE_TYPE_CRADLE, VELTO_MODE_STATUS_ON);
  mode.settingsChanged = true;
  EXPECT_EQ(FormatMode(mode),
            L"Name              Eco\n"
            L"Number            12\n"
            L"Type              cradle\n"
            L"Status            ON\n"
            L"Status name       On\n"
            L"Status icon       Icon\n"
            L"Settings changed  yes\n"
            L"Auto ON/OFF       no");
  EXPECT_EQ(FormatModeAsJson(mode),
            LR"({"index": 12, "name": "Eco", "type": "cradle", "status": 1, "statusName": "On", )"
            LR"("statusIconKey": "Icon", "settingsChanged": true, "autoOnOff": false})");
}

TEST(ModesTest, ShowNumbersThatHaveNoWord) {
  const Mode mode = MakeMode(0, L"Odd", 5, 7);
  EXPECT_EQ(FormatModes({mode}),
            L"No.  Status  Type          Name\n  0  7       5             Odd");
}
