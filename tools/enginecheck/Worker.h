#pragma once

#include <windows.h>

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "Options.h"

namespace EngineCheck {

/// The process that works with the engine. It is another one than the user started, so that an
/// engine that crashes or hangs takes nothing along: the other one reports it, and starts a new
/// worker that sets the first value again.
struct WorkerTask {
  HANDLE journal = nullptr;
  HANDLE stop = nullptr;
  bool sets = false;
  UINT timeoutInMs = 0;
  UINT repetitions = 0;
  std::optional<INT32> valueToRestore;  // all there is to do, where there is one
  std::wstring engine;                  // full path
};

/// The arguments that give the task to this program, and back. The handles are inherited.
[[nodiscard]] std::wstring FormatTask(const WorkerTask& task);
[[nodiscard]] std::optional<WorkerTask> ParseTask(const std::vector<std::wstring_view>& arguments);

/// Returns the exit code.
[[nodiscard]] int RunWorker(const WorkerTask& task);

}  // namespace EngineCheck
