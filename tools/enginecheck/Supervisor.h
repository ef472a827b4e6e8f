#pragma once

#include <windows.h>

#include <functional>
#include <optional>
#include <string>

#include "Finding.h"
#include "Journal.h"
#include "Options.h"
#include "Worker.h"

namespace EngineCheck {

/// Has a worker make the checks, and sees to it that they end: a worker that crashes, or does not
/// come back from the engine, becomes a finding, and the device gets its first value back.
class Supervisor {
 public:
  using Listener = std::function<void(const Finding&)>;

  /// `stop` is set when the user wants the checks to end; `listener` is told each finding at once.
  Supervisor(const Options& options, std::wstring enginePath, HANDLE stop, Listener listener);

  /// False when the checks were stopped. Throws a CommandError where no worker can be started.
  [[nodiscard]] bool Run();

 private:
  class WorkerProcess;

  /// What is known of a worker that runs or ran.
  struct Progress {
    std::wstring call;  // that is under way
    bool isInCall = false;
    ULONGLONG deadline = 0;  // for the next record
    std::optional<INT32> firstValue;
    bool isRestored = false;
    bool hasCrashed = false;
    bool isDone = false;
  };

  Progress RunWorkerProcess(std::optional<INT32> valueToRestore);
  void Take(const Record& record, Progress& progress);
  void ReportCrash(const Record& record, const Progress& progress);
  void ReportHang(const Progress& progress);
  void ReportEnd(const Progress& progress, DWORD exitCode);
  [[nodiscard]] bool IsStopped() const;

  const Options& options;
  std::wstring enginePath;
  HANDLE stop;
  Listener listener;
};

}  // namespace EngineCheck
