#include <gtest/gtest.h>
#include <windows.h>
// windows.h first: the other needs its types.
#include <powrprof.h>

#include <vector>

#include "system/engines/CompletionWindow.h"
#include "system/engines/EngineDll.h"
#include "system/engines/ImportPatch.h"

namespace {

constexpr UINT kMessage = WM_CHANGEMODE_COMPLETIONNOTICE;

constexpr GUID kPowerSaver = {
    0xA1841308, 0x3541, 0x4FAB, {0xBC, 0x81, 0xF7, 0x15, 0x56, 0xF2, 0x0B, 0x4A}};
constexpr GUID kBalanced = {
    0x381B4222, 0xF694, 0x41F0, {0x96, 0x85, 0xFF, 0x5B, 0xB2, 0x60, 0xDF, 0x2E}};
constexpr GUID kHighPerformance = {
    0x8C5E7FDA, 0xE8BF, 0x4A96, {0x9A, 0x85, 0xA6, 0xE2, 0x3A, 0x8C, 0x63, 0x5C}};
constexpr GUID kMakersOwn = {
    0x12345678, 0x1234, 0x1234, {0x12, 0x34, 0x12, 0x34, 0x56, 0x78, 0x9A, 0xBC}};

/// A machine with power plans, behind the functions that the engine imports.
class Machine {
 public:
  explicit Machine(HMODULE engine) {
    schemes = {kBalanced, kMakersOwn, kHighPerformance, kPowerSaver};
    active = kBalanced;
    obeys = true;
    refuses = false;
    ReplaceImport(engine, "PowerGetActiveScheme", GetActiveScheme);
    ReplaceImport(engine, "PowerEnumerate", Enumerate);
    ReplaceImport(engine, "PowerSetActiveScheme", SetActiveScheme);
  }

  static inline std::vector<GUID> schemes;
  static inline GUID active;
  static inline bool obeys;
  static inline bool refuses;

 private:
  static DWORD WINAPI GetActiveScheme(HKEY /*root*/, GUID** scheme) {
    *scheme = static_cast<GUID*>(::LocalAlloc(LMEM_FIXED, sizeof(GUID)));
    **scheme = active;
    return ERROR_SUCCESS;
  }
  static DWORD WINAPI Enumerate(HKEY /*root*/, const GUID* /*scheme*/, const GUID* /*group*/,
                                POWER_DATA_ACCESSOR accessor, ULONG index, UCHAR* buffer,
                                DWORD* size) {
    EXPECT_EQ(accessor, ACCESS_SCHEME);
    EXPECT_EQ(*size, sizeof(GUID));
    if (index >= schemes.size()) return ERROR_NO_MORE_ITEMS;
    *reinterpret_cast<GUID*>(buffer) = schemes[index];
    return ERROR_SUCCESS;
  }
  static DWORD WINAPI SetActiveScheme(HKEY /*root*/, const GUID* scheme) {
    if (refuses) return ERROR_ACCESS_DENIED;
    if (obeys) active = *scheme;
    return ERROR_SUCCESS;
  }
};

class PowerSchemeEngineTest : public ::testing::Test {
 protected:
  WPARAM Set(INT32 value) {
    EXPECT_TRUE(engine.Request(value, window.Get(), kMessage));
    ++requests;
    const std::vector<MSG> messages = window.WaitFor(kMessage, requests);
    EXPECT_EQ(messages.size(), requests);
    return messages.empty() ? WPARAM{99} : messages.back().wParam;
  }

  CompletionWindow window;
  EngineDll engine{L"PowerScheme"};
  std::size_t requests = 0;
};

}  // namespace

// The functions themselves, whatever they answer here: Wine has no power plans.
TEST_F(PowerSchemeEngineTest, IsSupportedWhereTheSystemHasPowerPlans) {
  GUID* active = nullptr;
  const bool has = ::PowerGetActiveScheme(nullptr, &active) == ERROR_SUCCESS;
  ::LocalFree(active);
  EXPECT_EQ(engine.Number(VELTO_ENGINE_INT32_SUPPORTED), has ? 1 : 0);
  EXPECT_EQ(engine.Number(VELTO_ENGINE_INT32_CURRENT_VALUE).has_value(), has);
  EXPECT_EQ(engine.Number(VELTO_ENGINE_INT32_VALUE_COUNT), 3);
  if (has) return;
  for (const UINT value : {0U, 1U, 2U}) {
    EXPECT_EQ(engine.Number(VELTO_ENGINE_INT32_VALUE_AVAILABLE, value), 0);
    EXPECT_FALSE(engine.Request(static_cast<INT32>(value), window.Get(), kMessage));
  }
}

TEST_F(PowerSchemeEngineTest, SetsEachPlan) {
  const Machine machine(engine.Module());
  EXPECT_EQ(engine.Text(VELTO_ENGINE_STRING_ITEM_KEY), L"PowerScheme_Name");
  EXPECT_EQ(engine.Text(VELTO_ENGINE_STRING_VALUE_KEY, 2), L"PowerScheme_Value2");
  EXPECT_EQ(engine.Number(VELTO_ENGINE_INT32_SUPPORTED), 1);
  const GUID plans[] = {kPowerSaver, kBalanced, kHighPerformance};
  for (const INT32 value : {0, 1, 2}) {
    EXPECT_EQ(engine.Number(VELTO_ENGINE_INT32_VALUE_AVAILABLE, static_cast<UINT>(value)), 1);
    EXPECT_EQ(Set(value), WPARAM{VELTO_ENGINE_RESULT_DONE});
    EXPECT_TRUE(::IsEqualGUID(Machine::active, plans[value])) << value;
    EXPECT_EQ(engine.Number(VELTO_ENGINE_INT32_CURRENT_VALUE), value);
  }
}

TEST_F(PowerSchemeEngineTest, DoesNotOfferAPlanThatTheMachineLacks) {
  const Machine machine(engine.Module());
  Machine::schemes = {kBalanced, kPowerSaver};
  EXPECT_EQ(engine.Number(VELTO_ENGINE_INT32_SUPPORTED), 1);
  EXPECT_EQ(engine.Number(VELTO_ENGINE_INT32_VALUE_AVAILABLE, 0), 1);
  EXPECT_EQ(engine.Number(VELTO_ENGINE_INT32_VALUE_AVAILABLE, 1), 1);
  EXPECT_EQ(engine.Number(VELTO_ENGINE_INT32_VALUE_AVAILABLE, 2), 0);
  EXPECT_FALSE(engine.Request(2, window.Get(), kMessage));
}

TEST_F(PowerSchemeEngineTest, CountsAnyOtherPlanAsTheBalancedOne) {
  const Machine machine(engine.Module());
  Machine::active = kMakersOwn;
  EXPECT_EQ(engine.Number(VELTO_ENGINE_INT32_CURRENT_VALUE), 1);
  EXPECT_EQ(Set(1), WPARAM{VELTO_ENGINE_RESULT_DONE});
  EXPECT_TRUE(::IsEqualGUID(Machine::active, kBalanced));
}

TEST_F(PowerSchemeEngineTest, ReportsAPlanThatIsNotTaken) {
  const Machine machine(engine.Module());
  Machine::refuses = true;
  EXPECT_EQ(Set(2), WPARAM{VELTO_ENGINE_RESULT_FAILED});
  Machine::refuses = false;
  Machine::obeys = false;
  EXPECT_EQ(Set(2), WPARAM{VELTO_ENGINE_RESULT_FAILED});
  EXPECT_TRUE(::IsEqualGUID(Machine::active, kBalanced));
}
