#include "CallLog.h"

#include "Check.h"

namespace EngineCheck {

namespace {

constexpr long long kMicrosecondsPerMs = 1000;
constexpr long long kLongestAnswerInMs = 50;

long long MicrosecondsSince(LARGE_INTEGER start) {
  constexpr long long kMicrosecondsPerSecond = 1'000'000;
  LARGE_INTEGER now;
  LARGE_INTEGER frequency;
  ::QueryPerformanceCounter(&now);
  ::QueryPerformanceFrequency(&frequency);
  return (now.QuadPart - start.QuadPart) * kMicrosecondsPerSecond / frequency.QuadPart;
}

}  // namespace

CallLog::Running::Running(CallLog& log, const std::wstring& function, const std::wstring& arguments)
    : log(log), function(function), arguments(arguments) {
  log.journal.Write(RecordKind::kCall, {function + arguments, std::to_wstring(log.timeoutInMs)});
  ::QueryPerformanceCounter(&start);
}

CallLog::Running::~Running() {
  const long long microseconds = MicrosecondsSince(start);
  log.journal.Write(RecordKind::kReturned);
  Slowest& known = log.slowest[function];
  if (microseconds > known.microseconds) known = {microseconds, arguments};
}

void CallLog::ReportTimes() const {
  Check check(journal, L"Time", L"time");
  long long longest = 0;
  for (const auto& [function, call] : slowest) {
    longest = std::max(longest, call.microseconds);
    const long long milliseconds = call.microseconds / kMicrosecondsPerMs;
    if (milliseconds <= kLongestAnswerInMs) continue;
    check.Warn(function + call.arguments + L" took " + std::to_wstring(milliseconds) + L" ms.",
               L"Answer within " + std::to_wstring(kLongestAnswerInMs) +
                   L" ms: the user waits. Work that takes longer belongs on a thread of the "
                   L"engine's own.");
  }
  check.Finish(L"Every call was answered within " +
               std::to_wstring(longest / kMicrosecondsPerMs + 1) + L" ms.");
}

void CallLog::EndWithException() const {
  constexpr UINT kExitCode = 1;
  journal.Write(RecordKind::kCrash, {L"A C++ exception left the engine", L""});
  // Nobody knows what state the engine is in: the process that watches goes on without it.
  ::TerminateProcess(::GetCurrentProcess(), kExitCode);
  for (;;) ::Sleep(INFINITE);
}

}  // namespace EngineCheck
