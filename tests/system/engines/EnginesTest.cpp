#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <atomic>
#include <functional>
#include <ostream>
#include <string>
#include <vector>

#include "support/PeImage.h"
#include "support/Text.h"
#include "system/engines/CompletionWindow.h"
#include "system/engines/EngineDll.h"
#include "system/engines/ImportPatch.h"

using ::testing::ElementsAre;
using ::testing::UnorderedElementsAre;

namespace {

constexpr UINT kMessage = WM_CHANGEMODE_COMPLETIONNOTICE;

UINT ReadParameter(UINT action) {
  UINT value = 0;
  EXPECT_NE(::SystemParametersInfoW(action, 0, &value, 0), FALSE);
  return value;
}

std::wstring ReadProfile(const wchar_t* key, const wchar_t* name) {
  std::array<wchar_t, 64> text{};
  DWORD size = sizeof(text);
  EXPECT_EQ(
      ::RegGetValueW(HKEY_CURRENT_USER, key, name, RRF_RT_REG_SZ, nullptr, text.data(), &size),
      ERROR_SUCCESS);
  return text.data();
}

constexpr const wchar_t* kDesktop = L"Control Panel\\Desktop";
constexpr const wchar_t* kKeyboard = L"Control Panel\\Keyboard";
constexpr const wchar_t* kMouse = L"Control Panel\\Mouse";

/// An engine and what its device looks like from outside, for each of its values.
struct EngineCase {
  std::wstring name;
  std::function<std::wstring()> readDevice;
  std::vector<std::wstring> devices;
};

void PrintTo(const EngineCase& engine, std::ostream* stream) {
  *stream << Text::ToUtf8(engine.name);
}

std::wstring ReadVisualEffects() {
  return std::to_wstring(ReadParameter(SPI_GETUIEFFECTS));
}

std::wstring ReadScreenSaver() {
  const std::wstring active = std::to_wstring(ReadParameter(SPI_GETSCREENSAVEACTIVE));
  EXPECT_EQ(ReadProfile(kDesktop, L"ScreenSaveActive"), active);
  if (active == L"0") return active;
  const std::wstring seconds = std::to_wstring(ReadParameter(SPI_GETSCREENSAVETIMEOUT));
  EXPECT_EQ(ReadProfile(kDesktop, L"ScreenSaveTimeOut"), seconds);
  return active + L" " + seconds;
}

std::wstring ReadKeyboardDelay() {
  const std::wstring delay = std::to_wstring(ReadParameter(SPI_GETKEYBOARDDELAY));
  EXPECT_EQ(ReadProfile(kKeyboard, L"KeyboardDelay"), delay);
  return delay;
}

std::wstring ReadPointerSpeed() {
  const std::wstring speed = std::to_wstring(ReadParameter(SPI_GETMOUSESPEED));
  EXPECT_EQ(ReadProfile(kMouse, L"MouseSensitivity"), speed);
  return speed;
}

std::wstring ReadSnapToDefaultButton() {
  const std::wstring snaps = std::to_wstring(ReadParameter(SPI_GETSNAPTODEFBUTTON));
  EXPECT_EQ(ReadProfile(kMouse, L"SnapToDefaultButton"), snaps);
  return snaps;
}

std::vector<EngineCase> Engines() {
  std::vector<std::wstring> speeds;
  for (int speed = 1; speed <= 20; ++speed) speeds.push_back(std::to_wstring(speed));
  return {{L"VisualEffects", ReadVisualEffects, {L"0", L"1"}},
          {L"ScreenSaver", ReadScreenSaver, {L"0", L"1 300", L"1 900"}},
          {L"KeyboardRepeatDelay", ReadKeyboardDelay, {L"0", L"1", L"2", L"3"}},
          {L"PointerSpeed", ReadPointerSpeed, speeds},
          {L"SnapToDefaultButton", ReadSnapToDefaultButton, {L"0", L"1"}}};
}

/// Sets what the engines set, past them.
void WriteParameter(UINT action, UINT uiParam, UINT pvParam = 0) {
  // NOLINTNEXTLINE(performance-no-int-to-ptr): the number itself goes where a pointer is expected
  void* const pointer = reinterpret_cast<void*>(UINT_PTR{pvParam});
  ::SystemParametersInfoW(action, uiParam, pointer, SPIF_UPDATEINIFILE);
}

/// The settings that the engines drive, put back when the test is over. They are the session's, so
/// tests that run side by side take turns.
class SettingsKeeper {
 public:
  SettingsKeeper() = default;
  ~SettingsKeeper() {
    WriteParameter(SPI_SETUIEFFECTS, 0, effects);
    WriteParameter(SPI_SETSCREENSAVETIMEOUT, timeout);
    WriteParameter(SPI_SETSCREENSAVEACTIVE, active);
    WriteParameter(SPI_SETKEYBOARDDELAY, delay);
    WriteParameter(SPI_SETMOUSESPEED, speed, speed);
    WriteParameter(SPI_SETSNAPTODEFBUTTON, snaps);
    ::ReleaseMutex(turn);
    ::CloseHandle(turn);
  }
  SettingsKeeper(const SettingsKeeper&) = delete;
  SettingsKeeper& operator=(const SettingsKeeper&) = delete;

 private:
  static HANDLE TakeTurn() {
    HANDLE mutex = ::CreateMutexW(nullptr, FALSE, L"Local\\VeltoSettingsOfTheSession");
    constexpr DWORD kPatienceInMilliseconds = 60'000;
    EXPECT_NE(::WaitForSingleObject(mutex, kPatienceInMilliseconds), DWORD{WAIT_TIMEOUT});
    return mutex;
  }

  HANDLE turn = TakeTurn();
  UINT effects = ReadParameter(SPI_GETUIEFFECTS);
  UINT timeout = ReadParameter(SPI_GETSCREENSAVETIMEOUT);
  UINT active = ReadParameter(SPI_GETSCREENSAVEACTIVE);
  UINT delay = ReadParameter(SPI_GETKEYBOARDDELAY);
  UINT speed = ReadParameter(SPI_GETMOUSESPEED);
  UINT snaps = ReadParameter(SPI_GETSNAPTODEFBUTTON);
};

/// Stands in for SystemParametersInfoW: holds up whoever sets something until the test lets go, or
/// refuses, or pretends.
class ScriptedParameters {
 public:
  enum class Answer { kObey, kRefuse, kPretend };

  explicit ScriptedParameters(HMODULE engine) {
    gate = ::CreateEventW(nullptr, TRUE, TRUE, nullptr);
    answer = Answer::kObey;
    settingThread = 0;
    ReplaceImport(engine, "SystemParametersInfoW", SystemParametersInfo);
  }
  ~ScriptedParameters() { ::CloseHandle(gate); }
  ScriptedParameters(const ScriptedParameters&) = delete;
  ScriptedParameters& operator=(const ScriptedParameters&) = delete;

  static void HoldUp() { ::ResetEvent(gate); }
  static void LetGo() { ::SetEvent(gate); }

  static inline Answer answer;
  static inline std::atomic<DWORD> settingThread;

 private:
  static BOOL WINAPI SystemParametersInfo(UINT action, UINT uiParam, void* pvParam, UINT flags) {
    if (flags == 0) return ::SystemParametersInfoW(action, uiParam, pvParam, flags);
    settingThread = ::GetCurrentThreadId();
    ::WaitForSingleObject(gate, INFINITE);
    if (answer == Answer::kRefuse) return FALSE;
    if (answer == Answer::kPretend) return TRUE;
    return ::SystemParametersInfoW(action, uiParam, pvParam, flags);
  }

  static inline HANDLE gate;
};

/// Fails the test where that does not come true.
void WaitUntil(const std::function<bool()>& condition) {
  constexpr ULONGLONG kPatienceInMilliseconds = 10'000;
  const ULONGLONG deadline = ::GetTickCount64() + kPatienceInMilliseconds;
  while (!condition()) {
    ASSERT_LT(::GetTickCount64(), deadline);
    ::SwitchToThread();
  }
}

class EnginesTest : public ::testing::TestWithParam<EngineCase> {
 protected:
  [[nodiscard]] static INT32 ValueCount() { return static_cast<INT32>(GetParam().devices.size()); }
  [[nodiscard]] INT32 OtherValue() const {
    return (engine.Number(VELTO_ENGINE_INT32_CURRENT_VALUE).value_or(0) + 1) % ValueCount();
  }
  /// The results of the requests so far, once there are so many.
  std::vector<WPARAM> Results(std::size_t count) {
    std::vector<WPARAM> results;
    for (const MSG& message : window.WaitFor(kMessage, count)) {
      EXPECT_EQ(message.lParam, 0);
      results.push_back(message.wParam);
    }
    return results;
  }

  SettingsKeeper settings;
  CompletionWindow window;
  EngineDll engine{GetParam().name};
};

}  // namespace

TEST_P(EnginesTest, ExportTheContractAndNothingElse) {
  std::vector<std::string> names;
  for (const PeImage::Export& exported : PeImage(engine.Module()).Exports()) {
    names.push_back(exported.function);
  }
  EXPECT_THAT(names,
              UnorderedElementsAre(
                  "VeltoDeviceEngine_CreateHandle", "VeltoDeviceEngine_DeleteHandle",
                  "VeltoDeviceEngine_GetDeviceCount", "VeltoDeviceEngine_SelectDevice",
                  "VeltoDeviceEngine_GetStringInformation", "VeltoDeviceEngine_GetINT32Information",
                  "VeltoDeviceEngine_RequestToSetINT32Information"));
}

TEST_P(EnginesTest, AnswerWhatTheLibraryAsks) {
  UINT count = 0;
  EXPECT_TRUE(engine.getDeviceCount(engine.Handle(), &count));
  EXPECT_EQ(count, 1U);
  EXPECT_EQ(engine.Number(VELTO_ENGINE_INT32_SUPPORTED), 1);
  EXPECT_EQ(engine.Number(VELTO_ENGINE_INT32_VALUE_COUNT), ValueCount());
  EXPECT_EQ(engine.Number(VELTO_ENGINE_INT32_BUSY), 0);
  EXPECT_EQ(engine.Text(VELTO_ENGINE_STRING_ITEM_KEY), GetParam().name + L"_Name");
  for (INT32 value = 0; value < ValueCount(); ++value) {
    const auto index = static_cast<UINT>(value);
    EXPECT_EQ(engine.Number(VELTO_ENGINE_INT32_VALUE_AVAILABLE, index), 1);
    EXPECT_EQ(engine.Text(VELTO_ENGINE_STRING_VALUE_KEY, index),
              GetParam().name + L"_Value" + std::to_wstring(value));
  }
}

TEST_P(EnginesTest, RefuseWhatMakesNoSense) {
  int foreign = 0;
  HWND target = window.Get();
  EXPECT_FALSE(engine.createHandle(nullptr));
  for (void* const handle : {static_cast<void*>(nullptr), static_cast<void*>(&foreign)}) {
    UINT count = 7;
    INT32 number = 7;
    UINT length = 7;
    wchar_t text[7] = L"before";
    EXPECT_FALSE(engine.deleteHandle(handle));
    EXPECT_FALSE(engine.getDeviceCount(handle, &count));
    EXPECT_FALSE(engine.selectDevice(handle, 0));
    EXPECT_FALSE(engine.getNumber(handle, VELTO_ENGINE_INT32_SUPPORTED, 0, &number));
    EXPECT_FALSE(engine.getString(handle, VELTO_ENGINE_STRING_ITEM_KEY, 0, &length, text));
    EXPECT_FALSE(engine.requestToSet(handle, VELTO_ENGINE_REQUEST_VALUE, 0, 0, target, kMessage));
    EXPECT_EQ(count, 7U);
    EXPECT_EQ(number, 7);
    EXPECT_EQ(length, 7U);
    EXPECT_STREQ(text, L"before");
  }
  EXPECT_FALSE(engine.getDeviceCount(engine.Handle(), nullptr));
  EXPECT_FALSE(engine.selectDevice(engine.Handle(), 1));
  EXPECT_FALSE(engine.getNumber(engine.Handle(), VELTO_ENGINE_INT32_SUPPORTED, 0, nullptr));

  const auto pastLast = static_cast<UINT>(ValueCount());
  for (const UINT identifier :
       std::initializer_list<UINT>{VELTO_ENGINE_INT32_SUPPORTED, VELTO_ENGINE_INT32_VALUE_COUNT,
                                   VELTO_ENGINE_INT32_CURRENT_VALUE, VELTO_ENGINE_INT32_BUSY}) {
    EXPECT_EQ(engine.Number(identifier, 1), std::nullopt) << identifier;
  }
  EXPECT_EQ(engine.Number(VELTO_ENGINE_INT32_VALUE_AVAILABLE, pastLast), std::nullopt);
  EXPECT_EQ(engine.Number(VELTO_ENGINE_INT32_VALUE_AVAILABLE, 0xFFFFFFFF), std::nullopt);
  EXPECT_EQ(engine.Number(VELTO_ENGINE_INT32_BUSY + 1), std::nullopt);
  EXPECT_EQ(engine.Text(VELTO_ENGINE_STRING_ITEM_KEY, 1), std::nullopt);
  EXPECT_EQ(engine.Text(VELTO_ENGINE_STRING_VALUE_KEY, pastLast), std::nullopt);
  EXPECT_EQ(engine.Text(VELTO_ENGINE_STRING_VALUE_KEY + 1), std::nullopt);

  EXPECT_FALSE(engine.requestToSet(engine.Handle(), 1, 0, 0, target, kMessage));
  EXPECT_FALSE(engine.requestToSet(engine.Handle(), 0, 1, 0, target, kMessage));
  EXPECT_FALSE(engine.Request(-1, target, kMessage));
  EXPECT_FALSE(engine.Request(ValueCount(), target, kMessage));
  EXPECT_FALSE(engine.Request(0, nullptr, kMessage));
  EXPECT_EQ(engine.Number(VELTO_ENGINE_INT32_BUSY), 0);
}

TEST_P(EnginesTest, CopyATextOnlyWhereItFitsWithItsTerminator) {
  const std::wstring key = GetParam().name + L"_Name";
  std::array<wchar_t, VELTO_ENGINE_STRING_LENGTH> buffer{};
  buffer.fill(L'x');
  const auto needed = static_cast<UINT>(key.size() + 1);

  UINT length = needed - 1;
  EXPECT_FALSE(
      engine.getString(engine.Handle(), VELTO_ENGINE_STRING_ITEM_KEY, 0, &length, buffer.data()));
  EXPECT_EQ(length, needed - 1);
  EXPECT_EQ(buffer.front(), L'x');

  length = needed;
  EXPECT_TRUE(
      engine.getString(engine.Handle(), VELTO_ENGINE_STRING_ITEM_KEY, 0, &length, buffer.data()));
  EXPECT_EQ(length, needed);
  EXPECT_EQ(buffer.data(), key);
  EXPECT_EQ(buffer[needed], L'x');

  EXPECT_FALSE(
      engine.getString(engine.Handle(), VELTO_ENGINE_STRING_ITEM_KEY, 0, nullptr, buffer.data()));
  EXPECT_FALSE(
      engine.getString(engine.Handle(), VELTO_ENGINE_STRING_ITEM_KEY, 0, &length, nullptr));
}

TEST_P(EnginesTest, SetEveryValueOfTheRealDevice) {
  for (INT32 value = ValueCount() - 1; value >= 0; --value) {
    const auto request = static_cast<std::size_t>(ValueCount() - value);
    ASSERT_TRUE(engine.Request(value, window.Get(), kMessage)) << value;
    // One completion for each request so far, and no more.
    ASSERT_EQ(Results(request), std::vector<WPARAM>(request, VELTO_ENGINE_RESULT_DONE)) << value;
    EXPECT_EQ(engine.Number(VELTO_ENGINE_INT32_BUSY), 0);
    EXPECT_EQ(engine.Number(VELTO_ENGINE_INT32_CURRENT_VALUE), value);
    EXPECT_EQ(GetParam().readDevice(), GetParam().devices[static_cast<std::size_t>(value)]);
  }
}

TEST_P(EnginesTest, TakeOneRequestAtATimeOnAThreadOfTheirOwn) {
  const ScriptedParameters parameters(engine.Module());
  const INT32 value = OtherValue();
  ScriptedParameters::HoldUp();
  ASSERT_TRUE(engine.Request(value, window.Get(), kMessage));
  EXPECT_EQ(engine.Number(VELTO_ENGINE_INT32_BUSY), 1);
  EXPECT_FALSE(engine.Request(value, window.Get(), kMessage));
  WaitUntil([] { return ScriptedParameters::settingThread != 0; });
  EXPECT_NE(ScriptedParameters::settingThread, ::GetCurrentThreadId());

  ScriptedParameters::LetGo();
  EXPECT_THAT(Results(1), ElementsAre(VELTO_ENGINE_RESULT_DONE));
  EXPECT_EQ(engine.Number(VELTO_ENGINE_INT32_BUSY), 0);
  EXPECT_TRUE(engine.Request(value, window.Get(), kMessage));
  EXPECT_THAT(Results(2), ElementsAre(VELTO_ENGINE_RESULT_DONE, VELTO_ENGINE_RESULT_DONE));
}

TEST_P(EnginesTest, ReportADeviceThatRefuses) {
  const ScriptedParameters parameters(engine.Module());
  ASSERT_TRUE(engine.Request(OtherValue(), window.Get(), kMessage));
  ASSERT_THAT(Results(1), ElementsAre(VELTO_ENGINE_RESULT_DONE));
  const std::wstring before = GetParam().readDevice();
  ScriptedParameters::answer = ScriptedParameters::Answer::kRefuse;
  ASSERT_TRUE(engine.Request(OtherValue(), window.Get(), kMessage));
  EXPECT_THAT(Results(2), ElementsAre(VELTO_ENGINE_RESULT_DONE, VELTO_ENGINE_RESULT_FAILED));
  EXPECT_EQ(GetParam().readDevice(), before);
}

TEST_P(EnginesTest, ReportADeviceThatOnlyPretends) {
  const ScriptedParameters parameters(engine.Module());
  ScriptedParameters::answer = ScriptedParameters::Answer::kPretend;
  ASSERT_TRUE(engine.Request(OtherValue(), window.Get(), kMessage));
  EXPECT_THAT(Results(1), ElementsAre(VELTO_ENGINE_RESULT_FAILED));
}

TEST_P(EnginesTest, MayBeUnloadedRightAfterTheCompletion) {
  ASSERT_TRUE(engine.Request(OtherValue(), window.Get(), kMessage));
  EXPECT_THAT(Results(1), ElementsAre(VELTO_ENGINE_RESULT_DONE));
  engine.Unload();
  WaitUntil([] { return !EngineDll::IsLoaded(GetParam().name); });
}

TEST_P(EnginesTest, MayBeUnloadedWhileARequestIsUnderWay) {
  const INT32 value = OtherValue();
  const ScriptedParameters parameters(engine.Module());
  ScriptedParameters::HoldUp();
  ASSERT_TRUE(engine.Request(value, window.Get(), kMessage));
  engine.Unload();
  EXPECT_TRUE(EngineDll::IsLoaded(GetParam().name));
  ScriptedParameters::LetGo();
  EXPECT_THAT(Results(1), ElementsAre(VELTO_ENGINE_RESULT_DONE));
  EXPECT_EQ(GetParam().readDevice(), GetParam().devices[static_cast<std::size_t>(value)]);
  WaitUntil([] { return !EngineDll::IsLoaded(GetParam().name); });
}

TEST_P(EnginesTest, OutliveTheWindowThatWaits) {
  const INT32 value = OtherValue();
  const ScriptedParameters parameters(engine.Module());
  ScriptedParameters::HoldUp();
  {
    const CompletionWindow gone;
    ASSERT_TRUE(engine.Request(value, gone.Get(), kMessage));
  }
  ScriptedParameters::LetGo();
  WaitUntil([&] {
    // Windows are told of the change, and have to listen for it to go on.
    window.WaitFor(kMessage, 0);
    return engine.Number(VELTO_ENGINE_INT32_BUSY) == 0;
  });
  EXPECT_EQ(GetParam().readDevice(), GetParam().devices[static_cast<std::size_t>(value)]);
}

INSTANTIATE_TEST_SUITE_P(All, EnginesTest, ::testing::ValuesIn(Engines()),
                         [](const auto& test) { return Text::ToUtf8(test.param.name); });

TEST(ScreenSaverEngineTest, CountsATimeBetweenTheValuesAsTheLongerOne) {
  const SettingsKeeper settings;
  const EngineDll engine(L"ScreenSaver");
  WriteParameter(SPI_SETSCREENSAVEACTIVE, TRUE);
  const struct {
    UINT seconds;
    INT32 value;
  } cases[] = {{60, 1}, {299, 1}, {300, 1}, {301, 2}, {600, 2}, {900, 2}, {901, 2}, {86400, 2}};
  for (const auto& [seconds, value] : cases) {
    WriteParameter(SPI_SETSCREENSAVETIMEOUT, seconds);
    EXPECT_EQ(engine.Number(VELTO_ENGINE_INT32_CURRENT_VALUE), value) << seconds;
  }
  WriteParameter(SPI_SETSCREENSAVEACTIVE, FALSE);
  EXPECT_EQ(engine.Number(VELTO_ENGINE_INT32_CURRENT_VALUE), 0);
}

TEST(ScreenSaverEngineTest, SwitchingOffKeepsTheTime) {
  const SettingsKeeper settings;
  CompletionWindow window;
  const EngineDll engine(L"ScreenSaver");
  WriteParameter(SPI_SETSCREENSAVETIMEOUT, 600);
  WriteParameter(SPI_SETSCREENSAVEACTIVE, TRUE);
  ASSERT_TRUE(engine.Request(0, window.Get(), kMessage));
  ASSERT_EQ(window.WaitFor(kMessage, 1).size(), 1U);
  EXPECT_EQ(ReadParameter(SPI_GETSCREENSAVEACTIVE), 0U);
  EXPECT_EQ(ReadParameter(SPI_GETSCREENSAVETIMEOUT), 600U);
}
