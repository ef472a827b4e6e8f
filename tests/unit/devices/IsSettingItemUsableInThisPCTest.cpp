#include "devices/IsSettingItemUsableInThisPC.h"

#include <map>
#include <optional>
#include <string>

#include "support/ModeChangeTest.h"
#include "support/ScriptedEngine.h"
#include "unit/devices/ExportOverrides.h"

namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

/// An engine "Lamp" with one device and two values, both available.
class IsSettingItemUsableInThisPCTest : public ModeChangeTest {
 protected:
  std::wstring MakeEnginePath() {
    sandbox.MakeFolder(L"Engines");
    return sandbox.LibraryFolder().wstring() + L"\\Engines\\Lamp.dll";
  }
  /// Asks for the engine with a new helper; none where that fails.
  std::optional<bool> Ask() {
    log.clear();
    std::optional<bool> answer;
    for (const bool preset : {true, false}) {
      CDeviceEngineHelper helper(path.c_str());
      log.clear();
      bool usable = preset;
      const bool good = IsSettingItemUsableInThisPC(&helper, &usable);
      if (!good) {
        EXPECT_EQ(usable, preset) << "A failure leaves the answer alone.";
        return std::nullopt;
      }
      if (answer.has_value()) {
        EXPECT_EQ(usable, *answer) << "The preset does not matter.";
      }
      answer = usable;
      // What is compared by the tests is without opening and closing.
      std::erase(log, "Lamp.CreateHandle");
    }
    std::erase(log, "Lamp.DeleteHandle");
    return answer;
  }

  std::wstring path = MakeEnginePath();
  EngineLog log;
  ScriptedEngine engine{path, &log};
  ExportOverrides exports{interposition};
};

TEST_F(IsSettingItemUsableInThisPCTest, AsksTheEngineInOrder) {
  engine.values = 3;
  EXPECT_EQ(Ask(), true);
  EXPECT_THAT(log, ElementsAre("Lamp.GetDeviceCount", "Lamp.SelectDevice(0)",
                               "Lamp.GetINT32Information(0, 0)", "Lamp.GetINT32Information(1, 0)",
                               "Lamp.GetINT32Information(2, 0)", "Lamp.GetINT32Information(2, 1)",
                               "Lamp.GetINT32Information(2, 2)"));
}

TEST_F(IsSettingItemUsableInThisPCTest, NeedsAHelperAndAnOutput) {
  CDeviceEngineHelper helper(path.c_str());
  bool usable = true;
  const Traces expected{{L"IsSettingItemUsableInThisPC", 29}};
  EXPECT_FALSE(IsSettingItemUsableInThisPC(nullptr, &usable));
  EXPECT_EQ(traces.Take(), expected);
  EXPECT_FALSE(IsSettingItemUsableInThisPC(&helper, nullptr));
  EXPECT_EQ(traces.Take(), expected);
  EXPECT_FALSE(IsSettingItemUsableInThisPC(nullptr, nullptr));
  EXPECT_EQ(traces.Take(), expected);
  EXPECT_TRUE(usable);
  EXPECT_THAT(log, IsEmpty());
}

TEST_F(IsSettingItemUsableInThisPCTest, AnEngineWithoutDevicesIsNotUsableAndNotAskedFurther) {
  engine.devices = 0;
  EXPECT_EQ(Ask(), false);
  EXPECT_THAT(log, ElementsAre("Lamp.GetDeviceCount"));
}

TEST_F(IsSettingItemUsableInThisPCTest, MoreDevicesThanOneAreAsGoodAsOne) {
  for (const UINT devices : {2U, 0xFFFFFFFFU}) {
    engine.devices = devices;
    EXPECT_EQ(Ask(), true) << devices;
  }
}

TEST_F(IsSettingItemUsableInThisPCTest, OnlyOneMeansThatAnEngineIsSupported) {
  for (const INT32 supported : {0, 2, -1}) {
    SCOPED_TRACE(supported);
    engine.supported = supported;
    EXPECT_EQ(Ask(), false);
    EXPECT_THAT(log, ElementsAre("Lamp.GetDeviceCount", "Lamp.SelectDevice(0)",
                                 "Lamp.GetINT32Information(0, 0)"));
  }
}

TEST_F(IsSettingItemUsableInThisPCTest, NeedsAtLeastTwoAvailableValues) {
  struct Row {
    const char* what;
    INT32 values;
    std::map<UINT, INT32> available;
    bool usable;
  };
  const Row rows[] = {
      {"none", 0, {}, false},
      {"a negative number", -1, {}, false},
      {"the most negative number", -2147483647 - 1, {}, false},
      {"one", 1, {}, false},
      {"two", 2, {}, true},
      {"seven", 7, {}, true},
      {"two, the first one not available", 2, {{0, 0}}, false},
      {"two, the last one not available", 2, {{1, 0}}, false},
      {"three, one of them available", 3, {{0, 0}, {2, 0}}, false},
      {"three, the first and the last one available", 3, {{1, 0}}, true},
      {"only 1 means available", 3, {{0, 2}, {1, -1}}, false},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.what);
    engine.values = row.values;
    engine.available = row.available;
    EXPECT_EQ(Ask(), row.usable);
  }
}

TEST_F(IsSettingItemUsableInThisPCTest, AsksForNoValueWhereThereIsNone) {
  for (const INT32 values : {0, -1}) {
    SCOPED_TRACE(values);
    engine.values = values;
    EXPECT_EQ(Ask(), false);
    EXPECT_EQ(log.back(), "Lamp.GetINT32Information(1, 0)");
  }
}

TEST_F(IsSettingItemUsableInThisPCTest, TracesEachQuestionThatTheEngineCannotAnswer) {
  struct Row {
    const char* question;
    Traces traced;
  };
  const Row rows[] = {
      {"GetDeviceCount",
       {{L"CDeviceEngineHelper::GetDeviceCount", 87}, {L"IsSettingItemUsableInThisPC", 36}}},
      {"SelectDevice(0)",
       {{L"CDeviceEngineHelper::SelectDevice", 117, L"0"}, {L"IsSettingItemUsableInThisPC", 50}}},
      {"GetINT32Information(0, 0)",
       {{L"CDeviceEngineHelper::GetINT32INformation", 206, L"0, 0"},
        {L"IsSettingItemUsableInThisPC", 58}}},
      {"GetINT32Information(1, 0)",
       {{L"CDeviceEngineHelper::GetINT32INformation", 206, L"1, 0"},
        {L"IsSettingItemUsableInThisPC", 73}}},
      {"GetINT32Information(2, 0)",
       {{L"CDeviceEngineHelper::GetINT32INformation", 206, L"2, 0"},
        {L"IsSettingItemUsableInThisPC", 84, L"0"}}},
      {"GetINT32Information(2, 2)",
       {{L"CDeviceEngineHelper::GetINT32INformation", 206, L"2, 2"},
        {L"IsSettingItemUsableInThisPC", 84, L"2"}}},
  };
  engine.values = 4;
  for (const Row& row : rows) {
    SCOPED_TRACE(row.question);
    engine.failing = {row.question};
    EXPECT_EQ(Ask(), std::nullopt);
    EXPECT_EQ(traces.Take(), row.traced);
    std::erase(log, "Lamp.DeleteHandle");
    EXPECT_EQ(log.back(), std::string("Lamp.") + row.question) << "Nothing is asked after it.";
  }
}

TEST_F(IsSettingItemUsableInThisPCTest, FailsWithAnEngineThatDoesNotOpen) {
  engine.nullHandle = true;
  EXPECT_EQ(Ask(), std::nullopt);
  EXPECT_EQ(traces.Take(), (Traces{{L"CDeviceEngineHelper::Initialize", 401},
                                   {L"CDeviceEngineHelper::GetDeviceCount", 80},
                                   {L"IsSettingItemUsableInThisPC", 36}}));
}

TEST_F(IsSettingItemUsableInThisPCTest, TakesAnEngineThatWritesNoNumbersAsWithoutValues) {
  exports.Set(
      "VeltoDeviceEngine_GetINT32Information", +[](void*, UINT, UINT, INT32*) { return TRUE; });
  EXPECT_EQ(Ask(), false);
}

TEST_F(IsSettingItemUsableInThisPCTest, TakesWhatTheEngineDoesNotWriteAsSupportedAndAvailable) {
  exports.Set(
      "VeltoDeviceEngine_GetINT32Information", +[](void*, UINT identifier, UINT, INT32* value) {
        if (identifier == VELTO_ENGINE_INT32_VALUE_COUNT) *value = 2;
        return TRUE;
      });
  EXPECT_EQ(Ask(), true);
}

TEST_F(IsSettingItemUsableInThisPCTest, PresetsEachValueAnew) {
  exports.Set(
      "VeltoDeviceEngine_GetINT32Information",
      +[](void*, UINT identifier, UINT subIndex, INT32* value) {
        if (identifier == VELTO_ENGINE_INT32_VALUE_COUNT) *value = 3;
        if (identifier == VELTO_ENGINE_INT32_VALUE_AVAILABLE && subIndex == 0) *value = 0;
        return TRUE;
      });
  EXPECT_EQ(Ask(), true);
}

}  // namespace
