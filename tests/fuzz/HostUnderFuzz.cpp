#include "fuzz/HostUnderFuzz.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <array>
#include <cwchar>
#include <stdexcept>
#include <utility>

#include "support/Text.h"

namespace {

using ::testing::AnyOf;
using ::testing::IsEmpty;
using ::testing::SizeIs;

constexpr const wchar_t* kHostClass = L"ModeChangeFuzzHost";
constexpr wchar_t kUntouchedCharacter = L'\x2603';
constexpr INT32 kUntouchedNumber = -123456789;

// Each mode and each dialog takes time in which other files could be tried.
constexpr UINT kMostModes = 8;
constexpr UINT kFewModes = 2;
constexpr std::size_t kSetsPerSettingsDialog = 20;

struct SampleEngine {
  const wchar_t* name;
  INT32 values;
};
constexpr SampleEngine kSampleEngines[] = {{L"PowerScheme", 3},
                                           {L"VisualEffects", 2},
                                           {L"ScreenSaver", 3},
                                           {L"PointerSpeed", 20},
                                           {L"KeyboardRepeatDelay", 4}};

constexpr const char* kFailingCalls[] = {"CreateHandle",
                                         "GetDeviceCount",
                                         "SelectDevice(0)",
                                         "GetINT32Information(0, 0)",
                                         "GetINT32Information(1, 0)",
                                         "GetINT32Information(2, 1)",
                                         "GetINT32Information(3, 0)",
                                         "GetINT32Information(4, 0)",
                                         "GetStringInformation(0, 0)",
                                         "GetStringInformation(1, 1)"};
constexpr WPARAM kOddResults[] = {0, 2, 3, 4, 100};

/// The library's windows on this thread.
std::vector<std::string> LibraryWindows() {
  std::vector<std::string> found;
  ::EnumThreadWindows(
      ::GetCurrentThreadId(),
      [](HWND window, LPARAM list) -> BOOL {
        std::array<wchar_t, 64> name{};
        ::GetClassNameW(window, name.data(), static_cast<int>(name.size()));
        const std::wstring_view className = name.data();
        if (className == L"#32770" || className == L"ChangeModeWindow") {
          reinterpret_cast<std::vector<std::string>*>(list)->push_back(Text::ToUtf8(className));
        }
        return TRUE;
      },
      reinterpret_cast<LPARAM>(&found));
  return found;
}

}  // namespace

HostUnderFuzz::HostUnderFuzz(const LoadedLibrary& library, Interposition& interposition,
                             TraceCapture& traces, Sandbox& sandbox)
    : interposition(interposition), traces(traces), sandbox(sandbox) {
  Resolve(library, "VeltoModeChange_CreateHandle", &createHandle);
  Resolve(library, "VeltoModeChange_DeleteHandle", &deleteHandle);
  Resolve(library, "VeltoModeChange_GetModeCount", &getModeCount);
  Resolve(library, "VeltoModeChange_SelectMode", &selectMode);
  Resolve(library, "VeltoModeChange_GetStringInformation", &getStringInformation);
  Resolve(library, "VeltoModeChange_GetINT32Information", &getINT32Information);
  Resolve(library, "VeltoModeChange_RequestToSetINT32Information", &request);
  Resolve(library, "VeltoModeChange_ShowSettingsDialog", &showSettingsDialog);

  WNDCLASSW windowClass{};
  windowClass.lpfnWndProc = HostWindowProc;
  windowClass.hInstance = ::GetModuleHandleW(nullptr);
  windowClass.lpszClassName = kHostClass;
  ::RegisterClassW(&windowClass);
  window = ::CreateWindowExW(0, kHostClass, L"Host", WS_OVERLAPPEDWINDOW, 0, 0, 100, 100, nullptr,
                             nullptr, windowClass.hInstance, nullptr);
  if (window == nullptr) throw std::runtime_error("no window for the host");
  ::SetWindowLongPtrW(window, GWLP_USERDATA, reinterpret_cast<LONG_PTR>(this));

  sandbox.MakeFolder(L"Engines");
  for (const SampleEngine& sample : kSampleEngines) {
    const auto path = sandbox.LibraryFolder() / L"Engines" / (std::wstring(sample.name) + L".dll");
    auto engine = std::make_unique<ScriptedEngine>(path.wstring(), &log);
    engine->itemKey = std::wstring(sample.name) + L"_Name";
    engine->valueKeyPrefix = std::wstring(sample.name) + L"_Value";
    engines.emplace(sample.name, std::move(engine));
  }
  sandbox.MakeFolder(L"Driver");
  InstallDriver();
  user.emplace(interposition, window);
}

HostUnderFuzz::~HostUnderFuzz() {
  ::DestroyWindow(window);
}

void HostUnderFuzz::UseEverything(Random& newRandom) {
  random = &newRandom;
  PrepareDevices();
  const std::size_t actions = random->OneIn(3) ? 0 : 1 + random->Below(12);
  user->Begin(*random, actions);

  const VELTO_MODE_CHANGE_HANDLE untouched = this;
  handle = untouched;
  const BOOL isOpen = createHandle(&handle);
  CheckTraces(isOpen, L"VeltoModeChange_CreateHandle");
  if (isOpen != FALSE) {
    ASSERT_NE(handle, untouched);
    ASSERT_NE(handle, nullptr);
    ++statistics.handles;
    UINT count = 0;
    EXPECT_TRUE(getModeCount(handle, &count));
    AskAboutMode();  // none is selected yet
    AskAboutAllModes(count);
    for (std::size_t i = random->Below(3); i > 0 && count > 0; --i) {
      EXPECT_TRUE(selectMode(handle, static_cast<UINT>(random->Below(count))));
      if (random->OneIn(8)) RequestInVain();
      PrepareSuppression();
      Request(random->OneIn(3) ? VELTO_MODE_STATUS_OFF : VELTO_MODE_STATUS_ON);
    }
    if (random->OneIn(kSetsPerSettingsDialog)) ShowSettings(count);
    EXPECT_TRUE(deleteHandle(handle));
  } else {
    EXPECT_EQ(handle, untouched);
  }
  PumpAll();
  ExpectNothingLeft();
}

// --- What the files are used with ----------------------------------------------------------------

void HostUnderFuzz::InstallDriver() {
  const std::wstring folder = sandbox.LibraryFolder().wstring() + L"\\Driver";
  driver.emplace(folder + L"\\Hotkey.dll");
  HKEY key = nullptr;
  // Volatile, as the sandbox's own keys are.
  ::RegCreateKeyExW(HKEY_LOCAL_MACHINE, L"SOFTWARE\\Brivane\\QTX05A9", 0, nullptr,
                    REG_OPTION_VOLATILE, KEY_ALL_ACCESS, nullptr, &key, nullptr);
  const auto set = [key](const wchar_t* name, const std::wstring& text) {
    ::RegSetValueExW(key, name, 0, REG_SZ, reinterpret_cast<const BYTE*>(text.c_str()),
                     static_cast<DWORD>((text.size() + 1) * sizeof(wchar_t)));
  };
  set(L"InstPath", folder);
  set(L"DllName", L"Hotkey.dll");
  ::RegCloseKey(key);
}

void HostUnderFuzz::PrepareDevices() {
  log.clear();
  results.clear();
  driver->calls.clear();
  interposition.StopFailing();
  // The wireless lamp is the library's on Windows 7 only.
  if (random->OneIn(4)) interposition.Fail("VerifyVersionInfoW", {.onwards = true});
  for (const SampleEngine& sample : kSampleEngines) {
    ScriptedEngine& engine = *engines.at(sample.name);
    engine.values = sample.values;
    engine.current = static_cast<INT32>(random->Below(static_cast<std::size_t>(sample.values)));
    engine.completion = random->OneIn(16) ? ScriptedEngine::Completion::kTwice
                                          : ScriptedEngine::Completion::kAtOnce;
    engine.result = random->OneIn(32) ? random->Pick(kOddResults) : 1;
    engine.failing.clear();
    if (random->OneIn(64)) engine.failing.insert(random->Pick(kFailingCalls));
    engine.requested.clear();
  }
}

void HostUnderFuzz::PrepareSuppression() {
  if (!random->OneIn(4)) return;
  HKEY key = nullptr;
  ::RegCreateKeyExW(HKEY_CURRENT_USER, L"Software\\Brivane\\Kestrola\\ModeChange", 0, nullptr,
                    REG_OPTION_VOLATILE, KEY_ALL_ACCESS, nullptr, &key, nullptr);
  const auto value = static_cast<DWORD>(random->Below(2));
  ::RegSetValueExW(key, L"NotShowAnnounceModeIsChangeDialog", 0,
                   random->OneIn(4) ? REG_SZ : REG_DWORD, reinterpret_cast<const BYTE*>(&value),
                   sizeof(value));
  ::RegCloseKey(key);
}

// --- Questions -----------------------------------------------------------------------------------

void HostUnderFuzz::AskAboutAllModes(UINT count) {
  const UINT asked = std::min(count, random->OneIn(4) ? kMostModes : kFewModes);
  for (UINT index = 0; index < asked; ++index) {
    EXPECT_TRUE(selectMode(handle, index));
    AskAboutMode();
  }
  for (const UINT beyond : {count, count + 1, 0xFFFFFFFFU}) {
    const BOOL isSelected = selectMode(handle, beyond);
    EXPECT_FALSE(isSelected);
    CheckTraces(isSelected, L"VeltoModeChange_SelectMode");
  }
}

void HostUnderFuzz::AskAboutMode() {
  const auto any = static_cast<UINT>(random->Below(0x1'0000'0000));
  AskForText(VELTO_MODE_STRING_NAME, any);
  for (const UINT status : {0U, 1U, any}) {
    AskForText(VELTO_MODE_STRING_STATUS_NAME, status);
    AskForText(VELTO_MODE_STRING_STATUS_ICON_KEY, status);
  }
  AskForText(any | 4, 0);
  for (const UINT identifier :
       {UINT{VELTO_MODE_INT32_TYPE}, UINT{VELTO_MODE_INT32_STATUS_COUNT},
        UINT{VELTO_MODE_INT32_CURRENT_STATUS}, UINT{VELTO_MODE_INT32_SETTINGS_CHANGED},
        UINT{VELTO_MODE_INT32_AUTO_ON_OFF}, any | 8}) {
    AskForNumber(identifier);
  }
}

void HostUnderFuzz::AskForText(UINT identifier, UINT subIndex) {
  constexpr UINT kLengths[] = {256, 256, 256, 256, 256, 0, 1, 8, 50'000};
  const UINT offered = random->Pick(kLengths);
  std::wstring buffer(offered + 1, kUntouchedCharacter);
  UINT length = offered;
  const BOOL isAnswered =
      getStringInformation(handle, identifier, subIndex, &length, buffer.data());
  ++statistics.questions;
  CheckTraces(isAnswered, L"VeltoModeChange_GetStringInformation");
  const std::size_t written = buffer.find(kUntouchedCharacter);
  if (isAnswered == FALSE) {
    EXPECT_EQ(length, offered);
    EXPECT_EQ(written, 0U);
    return;
  }
  ++statistics.answers;
  EXPECT_LE(length, offered);
  EXPECT_EQ(length, std::wcslen(buffer.c_str()) + 1);
  EXPECT_EQ(buffer[offered], kUntouchedCharacter);
}

void HostUnderFuzz::AskForNumber(UINT identifier) {
  INT32 value = kUntouchedNumber;
  const BOOL isAnswered = getINT32Information(
      handle, identifier, static_cast<UINT>(random->Below(0x1'0000'0000)), &value);
  ++statistics.questions;
  CheckTraces(isAnswered, L"VeltoModeChange_GetINT32Information");
  if (isAnswered == FALSE) {
    EXPECT_EQ(value, kUntouchedNumber);
    return;
  }
  ++statistics.answers;
  ExpectDocumentedNumber(identifier, value);
}

void HostUnderFuzz::ExpectDocumentedNumber(UINT identifier, INT32 value) {
  switch (identifier) {
    case VELTO_MODE_INT32_TYPE:
      EXPECT_GE(value, VELTO_MODE_TYPE_CRADLE);
      EXPECT_LE(value, VELTO_MODE_TYPE_WIRELESS_OFF);
      break;
    case VELTO_MODE_INT32_STATUS_COUNT:
      EXPECT_EQ(value, 2);
      break;
    case VELTO_MODE_INT32_CURRENT_STATUS:
      break;  // whatever number the file has
    case VELTO_MODE_INT32_SETTINGS_CHANGED:
    case VELTO_MODE_INT32_AUTO_ON_OFF:
      EXPECT_THAT(value, AnyOf(0, 1));
      break;
    default:
      ADD_FAILURE() << "answers identifier " << identifier;
  }
}

// --- Requests ------------------------------------------------------------------------------------

void HostUnderFuzz::Request(INT32 status) {
  results.clear();
  const BOOL isAccepted = request(handle, VELTO_MODE_REQUEST_STATUS, 0, status, window, kNotify);
  ++statistics.requests;
  // What happens to lamps and engines is traced, and need not be the end of it.
  CheckTraces(isAccepted, L"VeltoModeChange_RequestToSetINT32Information",
              /*mayTraceInSuccess=*/true);
  PumpAll();
  static_cast<void>(traces.Take());
  if (isAccepted == FALSE) {
    EXPECT_THAT(results, IsEmpty()) << "a request that failed was reported";
    return;
  }
  ASSERT_THAT(results, SizeIs(1)) << "a request is reported once";
  EXPECT_LE(results.front(), WPARAM{VELTO_MODE_CHANGE_ENGINE_RESULT_3});
  if (results.front() == VELTO_MODE_CHANGE_COMPLETED) ++statistics.changesCompleted;
}

void HostUnderFuzz::RequestInVain() {
  results.clear();
  const auto identifier = static_cast<UINT>(1 + random->Below(0xFFFF'FFFF));
  EXPECT_TRUE(request(handle, identifier, 0, VELTO_MODE_STATUS_ON, window, kNotify));
  EXPECT_THAT(traces.Take(), SizeIs(1)) << "an unknown identifier is traced, no more";
  const auto status = static_cast<INT32>(2 + random->Below(0xFFFF'FFFE));
  const BOOL isAccepted = request(handle, VELTO_MODE_REQUEST_STATUS, 0, status, window, kNotify);
  EXPECT_FALSE(isAccepted);
  CheckTraces(isAccepted, L"VeltoModeChange_RequestToSetINT32Information");
  PumpAll();
  EXPECT_THAT(results, IsEmpty()) << "a request for nothing was reported";
}

void HostUnderFuzz::ShowSettings(UINT modeCount) {
  if (modeCount == 0) {
    EXPECT_THROW(showSettingsDialog(handle, window), std::out_of_range);
    static_cast<void>(traces.Take());
    return;
  }
  const auto readFiles = [this] {
    return std::pair(sandbox.Read(sandbox.DataFile(L"ModeChange.Settings.ini")),
                     sandbox.Read(sandbox.DataFile(L"ModeChange.Status.ini")));
  };
  const auto before = readFiles();
  const BOOL isClosed = showSettingsDialog(handle, window);
  ++statistics.settingsDialogs;
  CheckTraces(isClosed, L"VeltoModeChange_ShowSettingsDialog", /*mayTraceInSuccess=*/true);
  EXPECT_TRUE(::IsWindowEnabled(window));
  PumpAll();
  static_cast<void>(traces.Take());
  if (user->HasOnlyLooked()) {
    EXPECT_TRUE(readFiles() == before) << "a dialog that was cancelled at once wrote";
  }
  // What was saved is read as well as what was there before.
  AskAboutAllModes(modeCount);
}

// --- What is left --------------------------------------------------------------------------------

void HostUnderFuzz::ExpectNothingLeft() {
  static_cast<void>(traces.Take());
  EXPECT_EQ(traces.OpenRegistrations(), 0U);
  EXPECT_EQ(traces.Misuses(), 0U);
  traces.Forget();
  EXPECT_THAT(LibraryWindows(), IsEmpty());
  EXPECT_TRUE(::IsWindowEnabled(window));
  for (const auto& [name, engine] : engines) {
    EXPECT_EQ(engine->openHandles, 0) << Text::ToUtf8(name);
  }
}

void HostUnderFuzz::CheckTraces(BOOL result, const wchar_t* function, bool mayTraceInSuccess) {
  SCOPED_TRACE(Text::ToUtf8(function));
  const Traces written = traces.Take();
  if (result == FALSE) {
    EXPECT_EQ(written.empty() ? L"no trace" : written.back().function, function);
  } else {
    EXPECT_EQ(result, TRUE);
    if (mayTraceInSuccess) return;
    EXPECT_THAT(written, IsEmpty());
  }
}

// --- The host ------------------------------------------------------------------------------------

template <class Function>
void HostUnderFuzz::Resolve(const LoadedLibrary& library, const char* name, Function* function) {
  *function =
      reinterpret_cast<Function>(reinterpret_cast<void*>(::GetProcAddress(library.Module(), name)));
  if (*function == nullptr) throw std::runtime_error(std::string(name) + " is not exported");
}

LRESULT CALLBACK HostUnderFuzz::HostWindowProc(HWND window, UINT message, WPARAM wParam,
                                               LPARAM lParam) {
  auto* host = reinterpret_cast<HostUnderFuzz*>(::GetWindowLongPtrW(window, GWLP_USERDATA));
  if (message == kNotify && host != nullptr) {
    EXPECT_EQ(lParam, 0);
    host->results.push_back(wParam);
    return 0;
  }
  return ::DefWindowProcW(window, message, wParam, lParam);
}

void HostUnderFuzz::PumpAll() {
  for (MSG message; ::PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE) != FALSE;) {
    ::DispatchMessageW(&message);
  }
}
