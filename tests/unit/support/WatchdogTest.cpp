#include "support/Watchdog.h"

#include <gmock/gmock.h>

#include <cstdlib>
#include <string>

#include "support/StackTrace.h"
#include "unit/support/InterpositionTarget.h"
#include "unit/support/TestProgram.h"

namespace {

using ::testing::AllOf;
using ::testing::HasSubstr;
namespace Target = InterpositionTarget;

constexpr const wchar_t* kRole = L"VELTO_TEST_ROLE";

bool IsToHang() {
  return ::_wgetenv(kRole) != nullptr;
}

TEST(WatchdogTest, EndsATestThatHangsAndSaysWhere) {
  if (IsToHang()) {
    const Interposition interposition(Target::Module());
    const Watchdog watchdog(interposition);
    Target::CallGetFileAttributes(L"Z:\\");
    ::WaitForSingleObject(::GetCurrentThread(), INFINITE);
  }
  const ChildProcess::Result result =
      RunTestAgain("WatchdogTest.EndsATestThatHangsAndSaysWhere",
                   {{kRole, L"hangs"}, {L"VELTO_WATCHDOG_SECONDS", L"1"}});
  EXPECT_EQ(Watchdog::kExitCode, result.exitCode);
  EXPECT_THAT(result.output, AllOf(HasSubstr("WatchdogTest.EndsATestThatHangsAndSaysWhere"),
                                   HasSubstr("after 1 seconds"), HasSubstr("GetFileAttributesW"),
                                   HasSubstr("ntdll.dll+0x"), HasSubstr("WaitForSingleObject"),
                                   HasSubstr("unit_tests.exe+0x")));
}

TEST(WatchdogTest, SeesATestThatHangsInTheLibrary) {
  if (IsToHang()) {
    Interposition interposition(Target::Module());
    const Watchdog watchdog(interposition);
    interposition.Replace("CreateFileW", [](const wchar_t*) -> HANDLE {
      ::WaitForSingleObject(::GetCurrentThread(), INFINITE);
      return nullptr;
    });
    Target::CallCreateFile(L"Z:\\");
  }
  const ChildProcess::Result result =
      RunTestAgain("WatchdogTest.SeesATestThatHangsInTheLibrary",
                   {{kRole, L"hangs"}, {L"VELTO_WATCHDOG_SECONDS", L"1"}});
  EXPECT_EQ(Watchdog::kExitCode, result.exitCode);
  // The way there leads through a thunk.
  EXPECT_THAT(result.output,
              AllOf(HasSubstr("InterpositionTarget.dll+0x"), HasSubstr("CallCreateFile")));
}

TEST(WatchdogTest, CountsAnewWithANewPatience) {
  if (IsToHang()) {
    const Interposition interposition(Target::Module());
    Watchdog watchdog(interposition);
    watchdog.SetPatience(1);
    ::WaitForSingleObject(::GetCurrentThread(), INFINITE);
  }
  const ChildProcess::Result result =
      RunTestAgain("WatchdogTest.CountsAnewWithANewPatience", {{kRole, L"hangs"}});
  EXPECT_EQ(Watchdog::kExitCode, result.exitCode);
  EXPECT_THAT(result.output, HasSubstr("after 1 seconds"));
}

TEST(WatchdogTest, LeavesATestInTimeAlone) {
  const Interposition interposition(Target::Module());
  Watchdog watchdog(interposition);
  watchdog.SetPatience(60);
}

TEST(StackTraceTest, EndsWhereTheThreadBegan) {
  HANDLE event = ::CreateEventW(nullptr, TRUE, FALSE, nullptr);
  HANDLE thread = ::CreateThread(
      nullptr, 0,
      // The addition keeps this function on the stack.
      [](void* waited) { return ::WaitForSingleObject(waited, INFINITE) + 1; }, event, 0, nullptr);
  // The thread may not be there yet.
  std::string stack;
  const ULONGLONG start = ::GetTickCount64();
  while (stack.find("WaitForSingleObject") == std::string::npos &&
         ::GetTickCount64() - start < 10000) {
    stack = StackTrace::Of(thread).Describe();
  }
  EXPECT_THAT(stack, AllOf(HasSubstr("WaitForSingleObject"), HasSubstr("unit_tests.exe+0x"),
                           HasSubstr("kernel32.dll+0x")));
  ::SetEvent(event);
  ::WaitForSingleObject(thread, INFINITE);
  ::CloseHandle(thread);
  ::CloseHandle(event);
}

}  // namespace
