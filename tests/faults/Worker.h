#pragma once

#include <windows.h>

#include <cstdint>
#include <map>
#include <memory>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "faults/FaultCase.h"
#include "faults/Operation.h"
#include "support/HandleBalance.h"
#include "support/Interposition.h"
#include "support/LoadedLibrary.h"
#include "support/MemoryBalance.h"
#include "support/TraceCapture.h"
#include "support/Watchdog.h"

/// What came of one case.
struct CaseResult {
  std::uint64_t calls = 0;     // fallible ones, in the run with the failing call
  std::uint64_t injected = 0;  // 0: the operation has no such call
  std::string function = {};   // that failed first
  std::vector<std::string> problems = {};
};

using TracePoints = std::set<std::pair<std::wstring, std::uint32_t>>;

/// Where the failure of one of Windows' functions is told of first.
struct OwnPoint {
  bool isAlwaysTraced = false;  // also where the operation succeeds all the same
  TracePoints points;
};
using OwnPoints = std::map<std::string, OwnPoint>;

/// Runs cases, one after the other, on a machine of its own in this process.
class Worker {
 public:
  Worker();

  /// Ends the process when the case takes too long.
  [[nodiscard]] CaseResult Run(const FaultCase& faultCase);

 private:
  [[nodiscard]] CaseResult RunCase(const FaultCase& faultCase);

  /// What an operation does when nothing fails.
  struct Baseline {
    std::string outcome;
    Traces traces;
    std::uint64_t calls = 0;  // fallible ones
    MachineState before;
    MachineState after;
  };
  struct Outcome {
    std::string text;
    Traces traces;
  };

  [[nodiscard]] const Baseline& BaselineOf(const Operation& operation);
  [[nodiscard]] Outcome Act(const Operation& operation);
  void Finish();

  void CheckOutcome(const Operation& operation, const Baseline& baseline, const Outcome& outcome,
                    const Interposition::Forced& forced, bool onwards);
  void CheckTraces(const Operation& operation, const Outcome& outcome,
                   const Interposition::Forced& forced);
  void CheckOwnPoint(const Baseline& baseline, const Outcome& outcome,
                     const Interposition::Forced& forced, bool onwards);
  void CheckState(const Operation& operation, const Baseline& baseline, const MachineState& after);
  void CheckAgain(const Operation& operation, const Baseline& baseline, const MachineState& left,
                  bool looksLikeAbsence);
  void CheckBalance(std::uint64_t then);

  void Report(const std::string& problem) { problems.push_back(problem); }
  void TakeProblems();

  LoadedLibrary library;
  Interposition interposition;
  Watchdog watchdog;
  TraceCapture traces;
  HandleBalance handles;
  MemoryBalance memory;
  Machine machine;
  std::vector<Operation> operations;
  std::map<std::string, Baseline> baselines;
  TracePoints tracePoints;
  OwnPoints ownPoints;
  std::vector<std::string> problems = {};
};
