#include "support/Watchdog.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <sstream>

#include "support/StackTrace.h"

namespace {

constexpr std::uint32_t kDefaultPatienceInSeconds = 30;

std::uint32_t GetPatienceInSeconds() {
  const wchar_t* text = ::_wgetenv(L"VELTO_WATCHDOG_SECONDS");
  const long seconds = text != nullptr ? std::wcstol(text, nullptr, 10) : 0;
  return seconds > 0 ? static_cast<std::uint32_t>(seconds) : kDefaultPatienceInSeconds;
}

std::string GetTestName() {
  const ::testing::TestInfo* test = ::testing::UnitTest::GetInstance()->current_test_info();
  return test != nullptr ? std::string(test->test_suite_name()) + "." + test->name() : "no test";
}

}  // namespace

Watchdog::Watchdog(const Interposition& interposition)
    : interposition(interposition),
      testName(GetTestName()),
      patienceInSeconds(GetPatienceInSeconds()) {
  ::DuplicateHandle(::GetCurrentProcess(), ::GetCurrentThread(), ::GetCurrentProcess(),
                    &watchedThread, 0, FALSE, DUPLICATE_SAME_ACCESS);
  wakeUp = ::CreateEventW(nullptr, FALSE, FALSE, nullptr);
  thread = ::CreateThread(nullptr, 0, &Watchdog::Run, this, 0, nullptr);
}

Watchdog::~Watchdog() {
  isOver = true;
  ::SetEvent(wakeUp);
  ::WaitForSingleObject(thread, INFINITE);
  for (HANDLE handle : {thread, wakeUp, watchedThread}) ::CloseHandle(handle);
}

void Watchdog::SetPatience(std::uint32_t seconds) {
  patienceInSeconds = seconds;
  ::SetEvent(wakeUp);
}

DWORD WINAPI Watchdog::Run(void* watchdog) {
  static_cast<Watchdog*>(watchdog)->Watch();
  return 0;
}

void Watchdog::Watch() {
  while (!isOver) {
    const std::uint32_t seconds = patienceInSeconds;
    if (::WaitForSingleObject(wakeUp, 1000 * seconds) == WAIT_TIMEOUT) {
      Report(seconds);
      // No ExitProcess: it would wait for locks that the hung thread may hold.
      ::TerminateProcess(::GetCurrentProcess(), kExitCode);
    }
  }
}

void Watchdog::Report(std::uint32_t seconds) const {
  const StackTrace stack = StackTrace::Of(watchedThread);
  std::ostringstream report;
  report << "\n"
         << testName << " still runs after " << seconds << " seconds and is ended.\n"
         << "The library's last call of Windows: " << interposition.LastFunction() << "\n"
         << "The test's thread is at\n"
         << stack.Describe();
  const std::string text = report.str();
  // Not through the C runtime, whose locks the hung thread may hold too.
  DWORD written = 0;
  ::WriteFile(::GetStdHandle(STD_ERROR_HANDLE), text.data(), static_cast<DWORD>(text.size()),
              &written, nullptr);
}
