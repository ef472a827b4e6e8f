#include "unit/changemode/ChangeModeWindowFixture.h"

namespace {

using ::testing::ElementsAre;
using ::testing::ElementsAreArray;

/// Everything that a whole change does, in its order.
class ChangeModeWindowOrderTest : public ChangeModeWindowTest {
 protected:
  /// Mode Quiet sets Keys and leaves Screen and Sound; mode Eco sets Screen and leaves the others.
  void SetUp() override {
    MakeMachine({L"Screen", L"Sound", L"Keys"});
    SetValue(L"Quiet", L"Keys", 1);
    SetValue(L"Eco", L"Screen", 1);
    InstallDriver();
    PretendWindows7();
    WriteConfig({L"Screen", L"Sound", L"Keys"}, 1);
    LogEverything();
  }
};

TEST_F(ChangeModeWindowOrderTest, OfAModeThatTakesThePlaceOfAnother) {
  SetStatus(L"Quiet", 1);
  SetNormalValue(L"Keys", 0);
  Engine(L"Keys").current = 1;

  EXPECT_THAT(Change(L"Eco", kOn), ElementsAre(Told(1)));

  const char* const expected[] = {
      "Load Hotkey.dll",
      "Driver.GetSwitchInfo",
      "Driver.SetApplicationSwitch(0x20, 0x20)",
      "Unload Hotkey.dll",
      "Post window 0x8001 0",

      // An item that takes a new value. Is it of use here?
      "Load Screen.dll",
      "Screen.CreateHandle",
      "Screen.GetDeviceCount",
      "Screen.SelectDevice(0)",
      "Screen.GetINT32Information(0, 0)",
      "Screen.GetINT32Information(1, 0)",
      "Screen.GetINT32Information(2, 0)",
      "Screen.GetINT32Information(2, 1)",
      // What is its value now?
      "Screen.SelectDevice(0)",
      "Screen.GetINT32Information(3, 0)",
      "Write [NormalEnvironment] Screen=0",
      // Is it still of use?
      "Screen.GetDeviceCount",
      "Screen.SelectDevice(0)",
      "Screen.GetINT32Information(0, 0)",
      "Screen.GetINT32Information(1, 0)",
      "Screen.GetINT32Information(2, 0)",
      "Screen.GetINT32Information(2, 1)",
      // Can it take the value?
      "Screen.GetINT32Information(0, 0)",
      "Screen.GetINT32Information(1, 0)",
      "Screen.GetINT32Information(2, 1)",
      "Screen.GetINT32Information(4, 0)",
      "Screen.RequestToSetINT32Information(0, 0) = 1",
      "Post window 0x8001 0",
      "Screen.DeleteHandle",
      "Unload Screen.dll",

      // An item that both modes leave alone.
      "Load Sound.dll",
      "Sound.CreateHandle",
      "Sound.GetDeviceCount",
      "Sound.SelectDevice(0)",
      "Sound.GetINT32Information(0, 0)",
      "Sound.GetINT32Information(1, 0)",
      "Sound.GetINT32Information(2, 0)",
      "Sound.GetINT32Information(2, 1)",
      "Sound.SelectDevice(0)",
      "Sound.GetINT32Information(3, 0)",
      "Post window 0x8002 1",
      "Post window 0x8001 0",
      "Sound.DeleteHandle",
      "Unload Sound.dll",

      // An item that goes back to its normal value.
      "Load Keys.dll",
      "Keys.CreateHandle",
      "Keys.GetDeviceCount",
      "Keys.SelectDevice(0)",
      "Keys.GetINT32Information(0, 0)",
      "Keys.GetINT32Information(1, 0)",
      "Keys.GetINT32Information(2, 0)",
      "Keys.GetINT32Information(2, 1)",
      "Keys.SelectDevice(0)",
      "Keys.GetINT32Information(3, 0)",
      "Write [NormalEnvironment] Keys=-1",
      "Keys.GetDeviceCount",
      "Keys.SelectDevice(0)",
      "Keys.GetINT32Information(0, 0)",
      "Keys.GetINT32Information(1, 0)",
      "Keys.GetINT32Information(2, 0)",
      "Keys.GetINT32Information(2, 1)",
      "Keys.GetINT32Information(0, 0)",
      "Keys.GetINT32Information(1, 0)",
      "Keys.GetINT32Information(2, 0)",
      "Keys.GetINT32Information(4, 0)",
      "Keys.RequestToSetINT32Information(0, 0) = 0",

      // The end.
      "Write [CurrentModeStatus] Quiet=0",
      "Write [CurrentModeStatus] Eco=1",
      "Load Hotkey.dll",
      "Driver.GetLEDInfo",
      "Driver.SetLEDControl(0x10, 0xa0001)",
      "Unload Hotkey.dll",
      "Keys.DeleteHandle",
      "Unload Keys.dll",
      "Post requester 0x804d 1",
  };
  EXPECT_THAT(log, ElementsAreArray(expected));
}

TEST_F(ChangeModeWindowOrderTest, OfAModeThatIsTurnedOffAndFails) {
  SetStatus(L"Quiet", 1);
  SetNormalValue(L"Screen", 1);
  Engine(L"Sound").devices = 0;
  Engine(L"Keys").failing = {"GetDeviceCount"};

  EXPECT_THAT(Change(L"Quiet", kOff), ElementsAre(Told(0)));

  const char* const expected[] = {
      "Load Hotkey.dll",
      "Driver.GetSwitchInfo",
      "Driver.SetApplicationSwitch(0x20, 0x20)",
      "Unload Hotkey.dll",
      "Post window 0x8001 0",

      // An item that goes back to its normal value: the present one does not matter.
      "Load Screen.dll",
      "Screen.CreateHandle",
      "Screen.GetDeviceCount",
      "Screen.SelectDevice(0)",
      "Screen.GetINT32Information(0, 0)",
      "Screen.GetINT32Information(1, 0)",
      "Screen.GetINT32Information(2, 0)",
      "Screen.GetINT32Information(2, 1)",
      "Screen.SelectDevice(0)",
      "Screen.GetDeviceCount",
      "Screen.SelectDevice(0)",
      "Screen.GetINT32Information(0, 0)",
      "Screen.GetINT32Information(1, 0)",
      "Screen.GetINT32Information(2, 0)",
      "Screen.GetINT32Information(2, 1)",
      "Screen.GetINT32Information(0, 0)",
      "Screen.GetINT32Information(1, 0)",
      "Screen.GetINT32Information(2, 1)",
      "Screen.GetINT32Information(4, 0)",
      "Screen.RequestToSetINT32Information(0, 0) = 1",
      "Post window 0x8001 0",
      "Screen.DeleteHandle",
      "Unload Screen.dll",

      // An item without a device.
      "Load Sound.dll",
      "Sound.CreateHandle",
      "Sound.GetDeviceCount",
      "Post window 0x8002 1",
      "Post window 0x8001 0",
      "Sound.DeleteHandle",
      "Unload Sound.dll",

      // An item that fails.
      "Load Keys.dll",
      "Keys.CreateHandle",
      "Keys.GetDeviceCount",
      "Post window 0x8002 0",
      "Load Hotkey.dll",
      "Driver.GetSwitchInfo",
      "Driver.SetApplicationSwitch(0x20, 0x20)",
      "Unload Hotkey.dll",
      "Keys.DeleteHandle",
      "Unload Keys.dll",
      "Post requester 0x804d 0",
  };
  EXPECT_THAT(log, ElementsAreArray(expected));
  EXPECT_EQ(traces.Take(), (Traces{{L"CDeviceEngineHelper::GetDeviceCount", 87},
                                   {L"IsSettingItemUsableInThisPC", 36},
                                   In(L"OnSetDeviceStatus", 405),
                                   Ended(2)}));
}

// Asking takes longer than all else that the library adds to an item.
TEST_F(ChangeModeWindowOrderTest, AsksOnlyOncePerChangeWhereTheFilesAre) {
  interposition.ClearCalls();
  EXPECT_THAT(Change(L"Quiet", kOn), ElementsAre(Told(1)));
  // For the user's settings and for the status.
  EXPECT_EQ(2U, interposition.Count("SHGetSpecialFolderPathW"));

  EXPECT_THAT(Change(L"Quiet", kOff), ElementsAre(Told(1)));
  EXPECT_EQ(4U, interposition.Count("SHGetSpecialFolderPathW"));
}

}  // namespace
