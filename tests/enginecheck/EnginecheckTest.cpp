#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <windows.h>

#include <fstream>
#include <iterator>
#include <map>
#include <regex>
#include <stdexcept>
#include <string>
#include <vector>

#include "support/ChildProcess.h"
#include "support/Files.h"
#include "support/Text.h"
#include "system/BuildFolder.h"

using ::testing::HasSubstr;
using ::testing::Not;
using ::testing::StartsWith;

namespace fs = std::filesystem;

namespace {

fs::path FaultyEngine() {
  return Files::ProgramPath().parent_path() / L"FaultyEngine.dll";
}

/// Lines are broken between words only; what is said is the same on one line.
std::string Unwrapped(const std::string& text) {
  return std::regex_replace(text, std::regex("\\s+"), " ");
}

ChildProcess::Result Check(const fs::path& engine, const std::wstring& options,
                           const std::wstring& fault = L"") {
  ChildProcess::Result result = ChildProcess::Run(
      {.program = BuiltProgramsFolder() / L"enginecheck.exe",
       .commandLine = L"enginecheck " + options + L" \"" + engine.wstring() + L"\"",
       .variables = {{L"ENGINECHECK_FAULT", fault}}});
  result.output = Unwrapped(result.output);
  return result;
}

/// The faulty engine's device: a file that is there once a value was set.
class Device {
 public:
  explicit Device(int value) { std::ofstream(path, std::ios::binary) << value; }
  ~Device() { fs::remove(path); }
  Device(const Device&) = delete;
  Device& operator=(const Device&) = delete;

  [[nodiscard]] int Value() const {
    int value = -1;
    std::ifstream(path, std::ios::binary) >> value;
    return value;
  }

 private:
  fs::path path = FaultyEngine().wstring() + L".device";
};

struct Fault {
  const wchar_t* name;
  const wchar_t* options;
  unsigned exitCode;
  const char* sentence;
};

/// Faults of a kind: a test for each would take its time to start.
struct FaultGroup {
  const wchar_t* name;
  std::vector<Fault> faults;
};

// What the program returns.
constexpr unsigned kPassed = 0;
constexpr unsigned kFailed = 1;
constexpr unsigned kStopped = 2;
constexpr unsigned kWrongUsage = 64;

constexpr const wchar_t* kAsk = L"--repeat 3";
constexpr const wchar_t* kAskOften = L"--repeat 10";
constexpr const wchar_t* kSet = L"--repeat 3 --set";
constexpr const wchar_t* kSetInTime = L"--repeat 3 --set --timeout 2000";
constexpr const wchar_t* kInTime = L"--repeat 3 --timeout 2000";

const FaultGroup kGroups[] = {
    {L"Loading",
     {{L"does-not-load", kAsk, kFailed, "FAILURE The DLL does not load: "},
      {L"create-fails", kAsk, kFailed, "FAILURE CreateHandle failed."},
      {L"create-null", kAsk, kFailed, "FAILURE CreateHandle succeeded with a null handle."}}},
    {L"Usability",
     {{L"device-count-fails", kAsk, kFailed, "FAILURE GetDeviceCount gave no answer."},
      {L"no-device", kAsk, kPassed,
       "NOTE Not usable here: there is no device of this kind on this machine."},
      {L"many-devices", kAsk, kPassed, "WARNING GetDeviceCount answered 5000."},
      {L"select-fails", kAsk, kFailed, "FAILURE SelectDevice (0) failed though there is a device."},
      {L"supported-fails", kAsk, kFailed, "FAILURE SUPPORTED gave no answer."},
      {L"supported-2", kAsk, kFailed, "FAILURE SUPPORTED is 2."},
      {L"not-supported", kSet, kPassed,
       "NOTE Not usable here: the engine says that the item is not supported on this machine."},
      {L"count-fails", kAsk, kFailed, "FAILURE VALUE_COUNT gave no answer."},
      {L"count-negative", kAsk, kFailed, "FAILURE VALUE_COUNT is -1."},
      {L"many-values", kAsk, kPassed,
       "WARNING VALUE_COUNT is 2000; only the first 1000 values are checked."},
      {L"available-fails", kAsk, kFailed, "FAILURE VALUE_AVAILABLE of value 0 gave no answer."},
      {L"available-2", kAsk, kFailed, "FAILURE VALUE_AVAILABLE of value 0 is 2."},
      {L"one-value", kAsk, kPassed,
       "NOTE Not usable here: fewer than two values are available, which is no choice."}}},
    {L"Names",
     {{L"text-fails", kAsk, kFailed, "FAILURE ITEM_KEY gave no answer."},
      {L"no-terminator", kAsk, kFailed,
       "FAILURE VALUE_KEY of value 1 has no terminator within 256 characters."},
      {L"empty-text", kAsk, kFailed, "FAILURE VALUE_KEY of value 0 is empty."},
      {L"equals-in-key", kAsk, kFailed,
       "FAILURE VALUE_KEY of value 0, \"Faulty_Value0=\", can't be the key of a line in an INI file."},
      {L"odd-key", kAsk, kPassed,
       "WARNING VALUE_KEY of value 0, \"Faulty_Value0 x\", is an unusual key."},
      {L"same-key", kAsk, kPassed,
       "WARNING VALUE_KEY of value 1 is \"Faulty_Value\", as is VALUE_KEY of value 0."},
      {L"wrong-length", kAsk, kPassed,
       "WARNING ITEM_KEY has 12 characters with the terminator, and the engine says it has 11."},
      {L"writes-behind", kAsk, kFailed,
       "FAILURE ITEM_KEY, sub-index 0 wrote behind the buffer of 256 characters."},
      {L"ignores-length", kAsk, kFailed,
       "FAILURE ITEM_KEY, sub-index 0 wrote behind the buffer of 2 characters."}}},
    {L"Outputs",
     {{L"writes-on-failure", kAsk, kFailed,
       "FAILURE VALUE_AVAILABLE, sub-index 4 failed and wrote 0."},
      {L"text-on-failure", kAsk, kFailed,
       "FAILURE VALUE_KEY, sub-index 4 failed and wrote into the buffer or its length."},
      {L"writes-nothing", kAsk, kFailed,
       "FAILURE VALUE_COUNT, sub-index 0 succeeded without writing an answer."}}},
    {L"State",
     {{L"current-fails", kAsk, kFailed, "FAILURE CURRENT_VALUE gave no answer."},
      {L"current-out", kSet, kFailed, "FAILURE CURRENT_VALUE is 4, which is none of the values."},
      {L"current-unavailable", kSet, kPassed,
       "WARNING CURRENT_VALUE is 3, which is not available."},
      {L"busy-fails", kAsk, kFailed, "FAILURE BUSY gave no answer."},
      {L"busy-2", kAsk, kFailed, "FAILURE BUSY is 2."},
      {L"always-busy", kAsk, kPassed, "WARNING BUSY is 1 though nothing was asked for."}}},
    {L"Refusals",
     {{L"answers-unknown", kAsk, kFailed, "FAILURE The number 1000 was answered."},
      {L"answers-unknown-text", kAsk, kFailed, "FAILURE The text 4294967295 was answered."},
      {L"answers-beyond", kAsk, kFailed, "FAILURE VALUE_AVAILABLE of value 4 was answered."},
      {L"answers-sub-indexes", kAsk, kFailed, "FAILURE SUPPORTED with sub-index 1 was answered."},
      {L"any-device", kAsk, kFailed, "FAILURE SelectDevice accepted device 1 of 1."}}},
    {L"Requests",
     {{L"accepts-identifier", kSet, kFailed, "FAILURE A request with identifier 1 was accepted."},
      {L"accepts-unavailable", kSet, kFailed,
       "FAILURE A request with value 3, which is not available, was accepted."},
      {L"refuses-value", kSet, kFailed, "FAILURE The request for value 0 was refused."}}},
    {L"Results",
     {{L"reports-failed", kSet, kFailed, "FAILURE Value 2 was reported as failed."},
      {L"own-result", kSet, kPassed, "WARNING Value 2 ended with the engine's own result 2."},
      {L"unknown-result", kSet, kFailed,
       "FAILURE Value 2 ended with result 7, which there is not."},
      {L"sets-nothing", kSet, kFailed,
       "FAILURE Value 2 was reported as done, and CURRENT_VALUE is 1."}}},
    {L"Completions",
     {{L"twice", kSet, kFailed, "FAILURE The completion of value 2 was posted 2 times."},
      {L"never", kSetInTime, kFailed,
       "FAILURE No completion of value 2 was posted within 2000 ms."},
      {L"first-window", kSetInTime, kFailed,
       "FAILURE No completion of value 0 was posted within 2000 ms."},
      {L"own-message", kSet, kFailed, "was message 0x8002, and the request said 0x8100."},
      {L"lparam", kSet, kFailed, "FAILURE The completion of value 2 has lParam 5."},
      {L"sent", kSet, kFailed, "was sent, or dispatched by a message loop of the engine's."},
      {L"to-thread", kSet, kFailed, "FAILURE A message came to the thread and to no window."},
      {L"completes-refused", kSet, kFailed,
       "FAILURE A completion came to the window of a request that was refused"}}},
    {L"Meanwhile",
     {{L"late-free", kSet, kPassed, "WARNING BUSY is 1 after value 2 was completed."},
      {L"needs-window", kSetInTime, kFailed,
       "FAILURE BUSY stays 1 after the window that waits has gone."},
      {L"two-references", kSetInTime, kFailed,
       "FAILURE The DLL is still loaded 2000 ms after it was closed while a value was being set."},
      {L"no-reference", kSet, kFailed,
       "where no DLL is (any more). During: A request whose engine"}}},
    {L"Lifetime",
     {{L"pins", kInTime, kFailed, "FAILURE The DLL is still loaded 2000 ms after FreeLibrary."},
      {L"works-once", kAsk, kFailed,
       "FAILURE The engine did not load, open and go a further time (1)."},
      {L"leaves-handle", kAskOften, kFailed,
       "FAILURE It leaves something behind: 10 more handles after 10 times."},
      {L"leaves-thread", kAskOften, kFailed,
       "FAILURE It leaves something behind: 10 more threads after 10 times."},
      {L"leaves-window", kAskOften, kFailed,
       "FAILURE It leaves something behind: 10 more windows after 10 times."}}},
    {L"Time",
     {{L"slow", kAsk, kPassed,
       "WARNING VeltoDeviceEngine_GetINT32Information (SUPPORTED, sub-index 0) took 2"}}},
    {L"Stability",
     {{L"crash", kAsk, kFailed,
       "FAILURE Access violation (exception 0xC0000005), in FaultyEngine.dll at offset 0x"},
      {L"overflow", kAsk, kFailed,
       "VeltoDeviceEngine_GetINT32Information (SUPPORTED, sub-index 0)."},
      {L"throw", kAsk, kFailed,
       "FAILURE A C++ exception left the engine. During: VeltoDeviceEngine_GetINT32Information "
       "(SUPPORTED, sub-index 0)."},
      {L"exit", kAsk, kFailed,
       "FAILURE The engine ended its process (exit code 5) during: "
       "VeltoDeviceEngine_GetINT32Information (SUPPORTED, sub-index 0)."},
      {L"hang", kInTime, kFailed,
       "FAILURE The engine did not come back from: VeltoDeviceEngine_GetINT32Information (SUPPORTED, "
       "sub-index 0)."},
      {L"thread-crash", kSet, kFailed, "During: The completion of value 2."}}},
};

class EnginecheckFaultTest : public ::testing::TestWithParam<FaultGroup> {};

/// A machine's settings are the session's, so tests that run side by side take turns.
class SessionTurn {
 public:
  SessionTurn() {
    constexpr DWORD kPatienceInMilliseconds = 60'000;
    EXPECT_NE(::WaitForSingleObject(mutex, kPatienceInMilliseconds), DWORD{WAIT_TIMEOUT});
  }
  ~SessionTurn() {
    ::ReleaseMutex(mutex);
    ::CloseHandle(mutex);
  }
  SessionTurn(const SessionTurn&) = delete;
  SessionTurn& operator=(const SessionTurn&) = delete;

 private:
  HANDLE mutex = ::CreateMutexW(nullptr, FALSE, L"Local\\VeltoSettingsOfTheSession");
};

class SampleEngineTest : public ::testing::TestWithParam<const wchar_t*> {};

}  // namespace

TEST_P(EnginecheckFaultTest, AreFound) {
  for (const Fault& fault : GetParam().faults) {
    const Device device(1);
    const ChildProcess::Result result = Check(FaultyEngine(), fault.options, fault.name);
    EXPECT_EQ(result.exitCode, fault.exitCode) << fault.name << ": " << result.output;
    EXPECT_THAT(result.output, HasSubstr(fault.sentence)) << fault.name;
  }
}

INSTANTIATE_TEST_SUITE_P(All, EnginecheckFaultTest, ::testing::ValuesIn(kGroups),
                         [](const auto& test) { return Text::ToUtf8(test.param.name); });

TEST_P(SampleEngineTest, Passes) {
  const SessionTurn turn;
  const fs::path engine = BuiltProgramsFolder() / L"Engines" / GetParam();
  for (const wchar_t* const options : {kAsk, kSet}) {
    const ChildProcess::Result result = Check(engine, options);
    EXPECT_EQ(result.exitCode, kPassed);
    EXPECT_THAT(result.output, HasSubstr("Result: passed, 0 failures"));
    EXPECT_THAT(result.output, HasSubstr("OK It leaves no handles behind"));
  }
}

INSTANTIATE_TEST_SUITE_P(All, SampleEngineTest,
                         ::testing::Values(L"KeyboardRepeatDelay.dll", L"PointerSpeed.dll",
                                           L"PowerScheme.dll", L"ScreenSaver.dll",
                                           L"SnapToDefaultButton.dll", L"VisualEffects.dll"),
                         [](const auto& test) {
                           return Text::ToUtf8(fs::path(test.param).stem().wstring());
                         });

TEST(EnginecheckTest, FindsNothingInAnEngineWithoutAFault) {
  const Device device(1);
  const ChildProcess::Result result = Check(FaultyEngine(), kSet);
  EXPECT_EQ(result.exitCode, kPassed);
  EXPECT_THAT(result.output, Not(HasSubstr("FAILURE")));
  EXPECT_THAT(result.output, HasSubstr("OK The device has value 1 again, as before the check."));
  EXPECT_EQ(device.Value(), 1);
}

TEST(EnginecheckTest, SetsNothingUnlessAsked) {
  const fs::path device = FaultyEngine().wstring() + L".device";
  fs::remove(device);
  const ChildProcess::Result result = Check(FaultyEngine(), kAsk);
  EXPECT_EQ(result.exitCode, kPassed);
  EXPECT_THAT(result.output, HasSubstr("NOTE No value was set. Start with --set"));
  EXPECT_FALSE(fs::exists(device));
}

TEST(EnginecheckTest, BringsTheFirstValueBackWhateverHappens) {
  for (const wchar_t* const fault :
       {L"refuses-value", L"never", L"twice", L"crash-when-setting", L"no-reference",
        L"needs-window", L"thread-crash", L"hang-when-setting"}) {
    const Device device(1);
    const ChildProcess::Result result = Check(FaultyEngine(), kSetInTime, fault);
    EXPECT_EQ(result.exitCode, kFailed) << fault;
    EXPECT_THAT(result.output, HasSubstr("OK The device has value 1 again, as before the check."))
        << fault;
    EXPECT_EQ(device.Value(), 1) << fault;
  }
}

TEST(EnginecheckTest, SaysWhenTheFirstValueDoesNotComeBack) {
  const Device device(1);
  const ChildProcess::Result result = Check(FaultyEngine(), kSetInTime, L"crash-when-restoring");
  EXPECT_EQ(result.exitCode, kFailed);
  EXPECT_THAT(result.output,
              HasSubstr("FAILURE The device could not be set back to value 1: the engine did not "
                        "live so long. Set it by hand: it was at this value before the check."));
  EXPECT_NE(device.Value(), 1);
}

/// A console of its own for this process and the programs that it starts, on which keys can be
/// pressed. The test itself does not end with Ctrl+C.
class Console {
 public:
  Console() {
    // Where there is no terminal Wine takes a process for one that has a console already.
    ::FreeConsole();
    if (::AllocConsole() == FALSE) throw std::runtime_error("no console");
    UseStandardHandles();
    ::SetConsoleCtrlHandler(Ignore, TRUE);
  }
  ~Console() {
    ::SetConsoleCtrlHandler(Ignore, FALSE);
    ::FreeConsole();
    UseStandardHandles();
  }
  Console(const Console&) = delete;
  Console& operator=(const Console&) = delete;

 private:
  static BOOL WINAPI Ignore(DWORD /*control*/) { return TRUE; }
  /// The console has put its own in their place.
  void UseStandardHandles() const {
    for (const auto& [id, handle] : standardHandles) ::SetStdHandle(id, handle);
  }

  std::map<DWORD, HANDLE> standardHandles = {{STD_INPUT_HANDLE, ::GetStdHandle(STD_INPUT_HANDLE)},
                                             {STD_OUTPUT_HANDLE, ::GetStdHandle(STD_OUTPUT_HANDLE)},
                                             {STD_ERROR_HANDLE, ::GetStdHandle(STD_ERROR_HANDLE)}};
};

TEST(EnginecheckTest, BringsTheFirstValueBackAfterCtrlC) {
  const Device device(1);
  const Console console;
  // As soon as the engine is at work, which would never report that it is done.
  const HANDLE user = ::CreateThread(
      nullptr, 0,
      [](void* parameter) -> DWORD {
        constexpr int kTries = 600;
        for (int i = 0; i < kTries && static_cast<const Device*>(parameter)->Value() == 1; ++i) {
          ::Sleep(100);
        }
        return ::GenerateConsoleCtrlEvent(CTRL_C_EVENT, 0) != FALSE ? 0 : ::GetLastError();
      },
      const_cast<Device*>(&device), 0, nullptr);
  ASSERT_NE(user, nullptr);
  const ULONGLONG begun = ::GetTickCount64();
  const ChildProcess::Result result =
      Check(FaultyEngine(), L"--repeat 3 --set --timeout 3600000", L"never");
  EXPECT_LT(::GetTickCount64() - begun, 100'000U);
  EXPECT_EQ(result.exitCode, kStopped) << result.output;
  EXPECT_THAT(result.output, HasSubstr("Result: stopped"));
  EXPECT_EQ(device.Value(), 1);

  DWORD error = 0;
  EXPECT_EQ(::WaitForSingleObject(user, INFINITE), WAIT_OBJECT_0);
  EXPECT_NE(::GetExitCodeThread(user, &error), FALSE);
  EXPECT_EQ(error, 0U);
  ::CloseHandle(user);
}

TEST(EnginecheckTest, NamesEachMissingFunction) {
  std::ifstream source(FaultyEngine(), std::ios::binary);
  const std::string whole(std::istreambuf_iterator<char>(source), {});
  for (const std::string name :
       {"VeltoDeviceEngine_CreateHandle", "VeltoDeviceEngine_DeleteHandle",
        "VeltoDeviceEngine_GetDeviceCount", "VeltoDeviceEngine_SelectDevice",
        "VeltoDeviceEngine_GetStringInformation", "VeltoDeviceEngine_GetINT32Information",
        "VeltoDeviceEngine_RequestToSetINT32Information"}) {
    std::string bytes = whole;
    // The last character, so that the list of names stays in its order.
    const std::size_t position = bytes.find(name + '\0');
    ASSERT_NE(position, std::string::npos) << name;
    ++bytes[position + name.size() - 1];
    const fs::path engine = Files::ProgramPath().parent_path() / L"Lacking.dll";
    std::ofstream(engine, std::ios::binary) << bytes;
    const ChildProcess::Result result = Check(engine, kAsk);
    EXPECT_EQ(result.exitCode, kFailed);
    EXPECT_THAT(result.output, HasSubstr("FAILURE " + name + " is not exported. Export it "));
    fs::remove(engine);
  }
}

TEST(EnginecheckTest, SaysWhatAFileLacksThatIsNoDll) {
  const fs::path engine = Files::ProgramPath().parent_path() / L"Text.dll";
  std::ofstream(engine, std::ios::binary) << "no library";
  const ChildProcess::Result result = Check(engine, kAsk);
  EXPECT_EQ(result.exitCode, kFailed);
  EXPECT_THAT(result.output, HasSubstr("FAILURE The DLL does not load: "));
  EXPECT_THAT(result.output, HasSubstr("Build the engine as a DLL for x64"));
  fs::remove(engine);
}

TEST(EnginecheckTest, WritesJsonForPrograms) {
  const ChildProcess::Result result = Check(FaultyEngine(), L"--repeat 3 --json", L"supported-2");
  EXPECT_EQ(result.exitCode, kFailed);
  EXPECT_THAT(result.output, StartsWith("{\"engine\": \""));
  EXPECT_THAT(result.output,
              HasSubstr(R"("result": "failed", "set": false, "failures": 1, "warnings": 0)"));
  EXPECT_THAT(result.output,
              HasSubstr(R"({"severity": "failure", "area": "Usability", "check": "supported", )"
                        R"("text": "SUPPORTED is 2.", "advice": "Answer 1 or 0: )"));
}

TEST(EnginecheckTest, ExplainsItself) {
  const fs::path program = BuiltProgramsFolder() / L"enginecheck.exe";
  const auto run = [&](const std::wstring& arguments) {
    return ChildProcess::Run({.program = program, .commandLine = L"enginecheck " + arguments});
  };
  EXPECT_THAT(run(L"--help").output, StartsWith("Usage: enginecheck [OPTION...] ENGINE.dll"));
  EXPECT_THAT(run(L"--version").output, StartsWith("enginecheck "));
  EXPECT_EQ(run(L"--help").exitCode, kPassed);
  for (const wchar_t* const arguments : {L"", L"--unknown x.dll", L"not-there.dll", L"--repeat"}) {
    const ChildProcess::Result wrong = run(arguments);
    EXPECT_EQ(wrong.exitCode, kWrongUsage);
    EXPECT_THAT(wrong.output, HasSubstr("Try: enginecheck --help"));
  }
}
