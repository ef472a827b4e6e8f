#pragma once

#include <windows.h>

#include <map>
#include <string>

#include "Journal.h"

namespace EngineCheck {

/// Tells the watching process of each call before it is made, so that the call is known when the
/// engine does not come back from it, and how long the calls took.
class CallLog {
 public:
  CallLog(const Journal& journal, UINT timeoutInMs) noexcept
      : journal(journal), timeoutInMs(timeoutInMs) {}

  /// Makes a call of `function`; `arguments` tell the reader what was asked.
  template <class Call>
  auto Make(const std::wstring& function, const std::wstring& arguments, Call call) {
    const Running running(*this, function, arguments);
    try {
      return call();
    } catch (...) {
      EndWithException();
    }
  }

  /// Waits for the engine in a way that may take its time; `wait` has an end of its own.
  template <class Wait>
  auto Await(const std::wstring& what, Wait wait) {
    journal.Write(RecordKind::kCall, {what, std::to_wstring(timeoutInMs)});
    const auto result = wait();
    journal.Write(RecordKind::kReturned);
    return result;
  }

  [[nodiscard]] UINT TimeoutInMs() const noexcept { return timeoutInMs; }
  [[nodiscard]] const Journal& GetJournal() const noexcept { return journal; }

  /// Reports which functions were slow.
  void ReportTimes() const;

 private:
  /// A call that is under way.
  class Running {
   public:
    Running(CallLog& log, const std::wstring& function, const std::wstring& arguments);
    ~Running();
    Running(const Running&) = delete;
    Running& operator=(const Running&) = delete;

   private:
    CallLog& log;
    const std::wstring& function;
    const std::wstring& arguments;
    LARGE_INTEGER start{};
  };

  struct Slowest {
    long long microseconds = -1;
    std::wstring arguments;
  };

  [[noreturn]] void EndWithException() const;

  const Journal& journal;
  UINT timeoutInMs;
  std::map<std::wstring, Slowest> slowest;
};

}  // namespace EngineCheck
