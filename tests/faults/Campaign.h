#pragma once

#include <windows.h>

#include <cstdint>
#include <deque>
#include <fstream>
#include <map>
#include <memory>
#include <set>
#include <string>
#include <vector>

#include "faults/FaultCase.h"
#include "faults/Worker.h"
#include "faults/WorkerProcess.h"

/// Runs many cases in several processes, prints those that fail, and sums up.
class Campaign {
 public:
  struct Options {
    bool all = false;
    std::uint32_t seed = 1;
    std::uint32_t seconds = 0;  // for chosen cases; 0 for no limit
    std::uint32_t jobs = 2;
    std::string only;         // a case, or an operation
    std::string regressions;  // a file with cases
    std::string report;       // a file that gets the summary too
    std::string progress;     // a file that lets an interrupted run go on
    bool verbose = false;
  };

  explicit Campaign(const Options& options) : options(options) {}

  /// Returns the program's exit code: 0 when nothing failed.
  [[nodiscard]] int Run();

 private:
  struct Totals {
    std::uint64_t calls = 0;  // fallible ones of the operation when nothing fails
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
    std::uint32_t worker = 0;  // who takes it, unless it would have nothing to do
  };

  [[nodiscard]] bool PlanOnly();
  void PlanRegressions();
  void PlanCounting();
  /// All cases in their order, or a choice that the seed makes.
  void PlanCases();
  void Plan(const FaultCase& faultCase, bool isMandatory);

  /// Counts the cases that an earlier run of the same programs has passed.
  void ReadProgress();
  void WriteProgress(const Work& work, const CaseResult& result, std::uint64_t milliseconds);

  void RunPlan();
  void RunWorker(std::uint32_t worker);
  [[nodiscard]] bool Next(std::uint32_t worker, Work* work);
  /// An operation is always the same worker's, as far as that can be: what each worker has to find
  /// out before its first case of an operation takes longer than the case.
  [[nodiscard]] std::uint32_t WorkerFor(const std::string& operation) const;
  void Done(const Work& work, const CaseResult& result, std::uint64_t milliseconds);
  [[nodiscard]] std::string Summary() const;
  [[nodiscard]] bool IsTimeOver() const;

  Options options;
  ULONGLONG started = ::GetTickCount64();
  ULONGLONG casesStarted = started;
  std::vector<std::string> operationNames;
  std::deque<Work> plan;
  std::map<std::string, Totals> totals;
  std::vector<std::string> failedCases;
  std::vector<std::unique_ptr<WorkerProcess>> workers;
  std::set<std::string> passedEarlier;
  std::ofstream progress;
  std::uint64_t leftOut = 0;
  SRWLOCK lock = SRWLOCK_INIT;
};
