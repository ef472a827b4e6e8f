#include <limits>
#include <tuple>

#include "system/HostFixture.h"

namespace {

class ExportsTest : public HostTest {};

constexpr const wchar_t* kNone = L"No Additional Information";

TEST_F(ExportsTest, AHandleListsTheModesInTheirOrder) {
  Open();
  UINT count = 0;
  ASSERT_TRUE(getModeCount(handle, &count));
  ASSERT_EQ(count, kModeCount);
  std::vector<std::wstring> names;
  for (UINT index = 0; index < count; ++index) {
    ASSERT_TRUE(selectMode(handle, index));
    names.push_back(GetString(VELTO_MODE_STRING_NAME).value());
  }
  EXPECT_THAT(names, ::testing::ElementsAre(L"Normal mode", L"Cradle mode", L"Custom mode",
                                            L"Eco mode", L"Flight mode"));
}

TEST_F(ExportsTest, ModeTypesMapExactly) {
  Open();
  const std::pair<UINT, INT32> types[] = {{kQuiet, VELTO_MODE_TYPE_ORDINARY},
                                          {kDock, VELTO_MODE_TYPE_CRADLE},
                                          {kOwn, VELTO_MODE_TYPE_CUSTOM},
                                          {kEco, VELTO_MODE_TYPE_ECO},
                                          {kFlight, VELTO_MODE_TYPE_WIRELESS_OFF}};
  for (const auto& [index, type] : types) {
    ASSERT_TRUE(selectMode(handle, index));
    EXPECT_EQ(GetNumber(VELTO_MODE_INT32_TYPE), type) << "mode " << index;
  }
}

TEST_F(ExportsTest, StatusNamesAndIconsGoByTheStatusOnly) {
  Open();
  for (const UINT index : {kQuiet, kEco}) {
    ASSERT_TRUE(selectMode(handle, index));
    EXPECT_EQ(GetString(VELTO_MODE_STRING_STATUS_NAME, 0), L"Off");
    EXPECT_EQ(GetString(VELTO_MODE_STRING_STATUS_NAME, 1), L"On");
    EXPECT_EQ(GetString(VELTO_MODE_STRING_STATUS_ICON_KEY, 0), L"IconOff");
    EXPECT_EQ(GetString(VELTO_MODE_STRING_STATUS_ICON_KEY, 1), L"IconOn");
  }
}

TEST_F(ExportsTest, AStatusWithoutAnEntryIsAnEmptyText) {
  Open();
  ASSERT_TRUE(selectMode(handle, kEco));
  for (const UINT status : {2U, 7U, std::numeric_limits<UINT>::max()}) {
    EXPECT_EQ(GetString(VELTO_MODE_STRING_STATUS_NAME, status), L"");
    EXPECT_EQ(GetString(VELTO_MODE_STRING_STATUS_ICON_KEY, status), L"");
  }
}

TEST_F(ExportsTest, EveryQuestionFailsBeforeTheFirstSelection) {
  Open();
  EXPECT_EQ(GetString(VELTO_MODE_STRING_NAME, 3), std::nullopt);
  EXPECT_EQ(traces.Take(), (Traces{{L"CModeChange::GetStringInformation", 205},
                                   {L"VeltoModeChange_GetStringInformation", 204, L"0, 3"}}));
  EXPECT_EQ(GetNumber(VELTO_MODE_INT32_STATUS_COUNT, 9), std::nullopt);
  EXPECT_EQ(traces.Take(), (Traces{{L"CModeChange::GetINT32Information", 290},
                                   {L"VeltoModeChange_GetINT32Information", 284, L"1, 9"}}));
  EXPECT_FALSE(Request(1));
  EXPECT_EQ(traces.Take(), (Traces{{L"CModeChange::RequestToSetINT32Information", 396},
                                   {L"VeltoModeChange_RequestToSetINT32Information", 339, L"0, 0"},
                                   {L"VeltoModeChange_RequestToSetINT32Information", 341, L"1"}}));
}

TEST_F(ExportsTest, TheNumberOfStatusesIsTwo) {
  Open();
  for (UINT index = 0; index < kModeCount; ++index) {
    ASSERT_TRUE(selectMode(handle, index));
    EXPECT_EQ(GetNumber(VELTO_MODE_INT32_STATUS_COUNT), 2);
  }
}

TEST_F(ExportsTest, TheCurrentStatusIsTheStoredNumber) {
  Open();
  ASSERT_TRUE(selectMode(handle, kEco));
  EXPECT_EQ(GetNumber(VELTO_MODE_INT32_CURRENT_STATUS), 0) << "without a file";
  sandbox.Write(sandbox.DataFile(L"ModeChange.Status.ini"),
                IniFile().Section(L"CurrentModeStatus").Key(L"Eco", 1).Key(L"Own", 5));
  EXPECT_EQ(GetNumber(VELTO_MODE_INT32_CURRENT_STATUS), 1);
  ASSERT_TRUE(selectMode(handle, kOwn));
  EXPECT_EQ(GetNumber(VELTO_MODE_INT32_CURRENT_STATUS), 5);
  ASSERT_TRUE(selectMode(handle, kQuiet));
  EXPECT_EQ(GetNumber(VELTO_MODE_INT32_CURRENT_STATUS), 0) << "without an entry";
}

TEST_F(ExportsTest, SettingsAreChangedWhereTheUserHasASection) {
  Open();
  ASSERT_TRUE(selectMode(handle, kEco));
  EXPECT_EQ(GetNumber(VELTO_MODE_INT32_SETTINGS_CHANGED), 0);
  sandbox.Write(sandbox.DataFile(L"ModeChange.Settings.ini"),
                IniFile().Section(L"Eco").Key(L"Lamp", 1).Section(L"Own"));
  EXPECT_EQ(GetNumber(VELTO_MODE_INT32_SETTINGS_CHANGED), 1);
  ASSERT_TRUE(selectMode(handle, kOwn));
  EXPECT_EQ(GetNumber(VELTO_MODE_INT32_SETTINGS_CHANGED), 0) << "an empty section";
}

TEST_F(ExportsTest, AutoOnOffComesFromTheUserThenFromTheDefaults) {
  SetDefault(L"Dock", L"AutoONOFF", 1);
  SetDefault(L"Eco", L"AutoONOFF", 2);
  Open();
  ASSERT_TRUE(selectMode(handle, kDock));
  EXPECT_EQ(GetNumber(VELTO_MODE_INT32_AUTO_ON_OFF), 1);
  ASSERT_TRUE(selectMode(handle, kEco));
  EXPECT_EQ(GetNumber(VELTO_MODE_INT32_AUTO_ON_OFF), 0) << "only exactly 1 counts";
  sandbox.Write(
      sandbox.DataFile(L"ModeChange.Settings.ini"),
      IniFile().Section(L"Dock").Key(L"AutoONOFF", 0).Section(L"Eco").Key(L"AutoONOFF", 1));
  EXPECT_EQ(GetNumber(VELTO_MODE_INT32_AUTO_ON_OFF), 1);
  ASSERT_TRUE(selectMode(handle, kDock));
  EXPECT_EQ(GetNumber(VELTO_MODE_INT32_AUTO_ON_OFF), 0);
}

TEST_F(ExportsTest, AutoOnOffFailsWithoutTheDefaults) {
  Open();
  ASSERT_TRUE(selectMode(handle, kDock));
  sandbox.Remove(L"ModeChange.DefaultSettings.ini");
  EXPECT_EQ(GetNumber(VELTO_MODE_INT32_AUTO_ON_OFF), std::nullopt);
  const std::wstring path = (sandbox.LibraryFolder() / L"ModeChange.DefaultSettings.ini").wstring();
  EXPECT_EQ(traces.Take(), (Traces{{L"CModeChangeSettings::GetDefaultAutoONOFFSetting", 246, path},
                                   {L"CModeChangeSettings::GetAutoONOFFSetting", 352},
                                   {L"CModeChange::IsAutoONOFFEnabled", 826, L"Dock"},
                                   {L"CModeChange::GetINT32Information", 348},
                                   {L"VeltoModeChange_GetINT32Information", 284, L"4, 0"}}));
}

TEST_F(ExportsTest, UnknownIdentifiersOfQuestionsFail) {
  Open();
  ASSERT_TRUE(selectMode(handle, kEco));
  EXPECT_EQ(GetString(3, 8), std::nullopt);
  EXPECT_EQ(traces.Take(), (Traces{{L"CModeChange::GetStringInformation", 231, L"3"},
                                   {L"VeltoModeChange_GetStringInformation", 204, L"3, 8"}}));
  EXPECT_EQ(GetNumber(5, 8), std::nullopt);
  EXPECT_EQ(traces.Take(), (Traces{{L"CModeChange::GetINT32Information", 358, L"5"},
                                   {L"VeltoModeChange_GetINT32Information", 284, L"5, 8"}}));
}

TEST_F(ExportsTest, AnIconKeyFailsWithoutTheConfiguration) {
  Open();
  ASSERT_TRUE(selectMode(handle, kEco));
  sandbox.Remove(L"ModeChange.UsableModeList.ini");
  EXPECT_EQ(GetString(VELTO_MODE_STRING_STATUS_ICON_KEY, 1), std::nullopt);
  const std::wstring path = (sandbox.LibraryFolder() / L"ModeChange.UsableModeList.ini").wstring();
  EXPECT_EQ(traces.Take(), (Traces{{L"CModeChangeConfig::DoesConfigFileExist", 285, path},
                                   {L"CModeChangeConfig::GetModeStatusIconKeyName", 85},
                                   {L"VeltoModeChange_GetStringInformation", 204, L"2, 1"}}));
}

TEST_F(ExportsTest, ATextNeedsRoomForItsTerminator) {
  Open();
  ASSERT_TRUE(selectMode(handle, kEco));
  constexpr UINT kTextLength = 8;  // "Eco mode"
  wchar_t buffer[16] = L"???????????????";
  UINT length = kTextLength;
  EXPECT_FALSE(getStringInformation(handle, VELTO_MODE_STRING_NAME, 0, &length, buffer));
  EXPECT_EQ(length, kTextLength);
  EXPECT_STREQ(buffer, L"???????????????");
  EXPECT_EQ(traces.Take(), (Traces{{L"VeltoModeChange_GetStringInformation", 215, L"8, 8"}}));
  length = kTextLength + 1;
  EXPECT_TRUE(getStringInformation(handle, VELTO_MODE_STRING_NAME, 0, &length, buffer));
  EXPECT_EQ(length, kTextLength + 1);
  EXPECT_STREQ(buffer, L"Eco mode");
  EXPECT_EQ(buffer[kTextLength + 1], L'?') << "nothing is written behind the terminator";
}

TEST_F(ExportsTest, AnEmptyTextNeedsOneCharacter) {
  Open();
  ASSERT_TRUE(selectMode(handle, kEco));
  wchar_t buffer[2] = L"?";
  UINT length = 0;
  EXPECT_FALSE(getStringInformation(handle, VELTO_MODE_STRING_STATUS_NAME, 9, &length, buffer));
  EXPECT_EQ(traces.Take(), (Traces{{L"VeltoModeChange_GetStringInformation", 215, L"0, 0"}}));
  length = 1;
  EXPECT_TRUE(getStringInformation(handle, VELTO_MODE_STRING_STATUS_NAME, 9, &length, buffer));
  EXPECT_EQ(length, 1U);
  EXPECT_STREQ(buffer, L"");
}

TEST_F(ExportsTest, ASelectionOutOfRangeKeepsTheEarlierOne) {
  Open();
  ASSERT_TRUE(selectMode(handle, kEco));
  EXPECT_FALSE(selectMode(handle, kModeCount));
  EXPECT_EQ(traces.Take(), (Traces{{L"CModeChange::SelectMode", 148, L"5"},
                                   {L"VeltoModeChange_SelectMode", 138, L"5"}}));
  EXPECT_EQ(GetString(VELTO_MODE_STRING_NAME), L"Eco mode");
  EXPECT_FALSE(selectMode(handle, std::numeric_limits<UINT>::max()));
  EXPECT_EQ(traces.Take(), (Traces{{L"CModeChange::SelectMode", 148, L"4294967295"},
                                   {L"VeltoModeChange_SelectMode", 138, L"4294967295"}}));
}

TEST_F(ExportsTest, NullHandlesAndPointersAreRefused) {
  Open();
  UINT number = 4711;
  INT32 value = 4711;
  wchar_t buffer[4] = L"???";
  EXPECT_FALSE(getModeCount(nullptr, &number));
  EXPECT_FALSE(getModeCount(handle, nullptr));
  EXPECT_FALSE(selectMode(nullptr, 0));
  EXPECT_FALSE(getStringInformation(nullptr, 0, 0, &number, buffer));
  EXPECT_FALSE(getStringInformation(handle, 0, 0, &number, nullptr));
  EXPECT_FALSE(getINT32Information(nullptr, 0, 0, &value));
  EXPECT_FALSE(getINT32Information(handle, 0, 0, nullptr));
  EXPECT_FALSE(request(nullptr, 0, 0, 1, hostWindow, kNotify));
  EXPECT_FALSE(showSettingsDialog(nullptr, hostWindow));
  EXPECT_EQ(traces.Take(), (Traces{{L"VeltoModeChange_GetModeCount", 93, kNone},
                                   {L"VeltoModeChange_GetModeCount", 93, kNone},
                                   {L"VeltoModeChange_SelectMode", 130, kNone},
                                   {L"VeltoModeChange_GetStringInformation", 192, kNone},
                                   {L"VeltoModeChange_GetStringInformation", 192, kNone},
                                   {L"VeltoModeChange_GetINT32Information", 276, kNone},
                                   {L"VeltoModeChange_GetINT32Information", 276, kNone},
                                   {L"VeltoModeChange_RequestToSetINT32Information", 329, kNone},
                                   {L"VeltoModeChange_ShowSettingsDialog", 373, kNone}}));
  EXPECT_EQ(number, 4711U);
  EXPECT_EQ(value, 4711);
  EXPECT_STREQ(buffer, L"???");
  EXPECT_TRUE(deleteHandle(nullptr));
}

TEST_F(ExportsTest, EveryExportHasARegistrationOfItsOwn) {
  Open();
  ASSERT_TRUE(selectMode(handle, kEco));
  const std::size_t before = traces.Registrations().size();
  const std::size_t open = traces.OpenRegistrations();
  UINT count = 0;
  EXPECT_TRUE(getModeCount(handle, &count));
  EXPECT_EQ(traces.Registrations().size(), before + 1);
  EXPECT_TRUE(selectMode(handle, kEco));
  EXPECT_EQ(traces.Registrations().size(), before + 2);
  EXPECT_EQ(traces.OpenRegistrations(), open);
}

TEST_F(ExportsTest, WithoutRegistrationsEverythingAnswersTheSame) {
  traces.AnswerRegistrations(ERROR_NOT_ENOUGH_MEMORY);
  Open();
  EXPECT_EQ(GetNumber(VELTO_MODE_INT32_TYPE), std::nullopt);
  ASSERT_TRUE(selectMode(handle, kEco));
  EXPECT_EQ(GetNumber(VELTO_MODE_INT32_TYPE), VELTO_MODE_TYPE_ECO);
  EXPECT_FALSE(selectMode(handle, kModeCount));
  Close();
  EXPECT_EQ(traces.Events().size(), 0U);
}

}  // namespace
