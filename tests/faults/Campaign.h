#pragma once

#include <windows.h>

#include <cstdint>
#include <deque>
#include <map>
#include <set>
#include <string>
#include <vector>

#include "faults/FaultCase.h"
#include "faults/Worker.h"

/// Runs many cases in several processes, prints those that fail, and sums up.
class Campaign {
 public:
  struct Options {
    bool all = false;
    std::uint32_t seed = 1;
    std::uint32_t seconds = 0;  // no new case is begun after that time; 0 for no limit
    std::uint32_t jobs = 2;
    std::string only;           // a case, or an operation
    std::string regressions;    // a file with cases
    std::string report;         // a file that gets the summary too
    bool verbose = false;
  };

  explicit Campaign(const Options& options) : options(options) {}

  /// Returns the program's exit code: 0 when nothing failed.
  [[nodiscard]] int Run();

 private:
  struct Totals {
    std::uint64_t calls = 0;       // fallible ones of the operation when nothing fails
    std::uint64_t cases = 0;
    std::uint64_t injections = 0;
    std::uint64_t failures = 0;
    std::uint64_t milliseconds = 0;
    std::set<std::string> functions;
  };
  struct Work {
    FaultCase faultCase;
    bool isCounting = false;  // only asks how many calls there are
    bool isMandatory = false;
  };

  [[nodiscard]] bool PlanOnly();
  void PlanRegressions();
  void PlanCounting();
  /// All cases in their order, or a choice that the seed makes.
  void PlanCases();

  void RunPlan();
  static DWORD WINAPI RunWorker(void* campaign);
  void RunWorker();
  [[nodiscard]] bool Next(Work* work);
  void Done(const Work& work, const CaseResult& result, std::uint64_t milliseconds);
  [[nodiscard]] std::string Summary() const;
  [[nodiscard]] bool IsTimeOver() const;

  Options options;
  ULONGLONG started = ::GetTickCount64();
  std::vector<std::string> operationNames;
  std::deque<Work> plan;
  std::map<std::string, Totals> totals;
  std::vector<std::string> failedCases;
  std::uint64_t leftOut = 0;
  SRWLOCK lock = SRWLOCK_INIT;
};
