#pragma once

#include <windows.h>

#include <memory>
#include <string>

#include "faults/FaultCase.h"
#include "faults/Worker.h"
#include "support/ChildProcess.h"
#include "support/ProgramCopy.h"

/// A worker in a process of its own, in a folder of its own: a case that crashes or hangs costs the
/// process, not the campaign. A new process takes over then.
class WorkerProcess {
 public:
  WorkerProcess();
  ~WorkerProcess();
  WorkerProcess(const WorkerProcess&) = delete;
  WorkerProcess& operator=(const WorkerProcess&) = delete;

  /// Runs a case. That the process crashed or hung is one of the result's problems.
  [[nodiscard]] CaseResult Run(const FaultCase& faultCase);

  /// What the process does: takes cases from the standard input, writes results to the output.
  static int Serve();

 private:
  void Start();
  void Stop();
  /// Reads up to the line with the result; false when the process ended before it.
  [[nodiscard]] bool ReadResult(CaseResult* result, std::string* otherOutput);

  std::unique_ptr<ProgramCopy> copy;
  HANDLE toWorker = nullptr;
  HANDLE fromWorker = nullptr;
  std::unique_ptr<ChildProcess> process;
  std::string unread;
};
