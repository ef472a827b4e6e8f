#include "Worker.h"

#include "CallLog.h"
#include "Check.h"
#include "Contract.h"
#include "CrashReport.h"
#include "Engine.h"
#include "Inbox.h"
#include "Journal.h"
#include "Lifetime.h"
#include "Setting.h"
#include "StopSignal.h"

namespace EngineCheck {

namespace {

constexpr std::wstring_view kWorker = L"--worker";
constexpr std::wstring_view kNothing = L"-";
constexpr std::size_t kArgumentCount = 8;
constexpr UINT kLargest = 0xFFFFFFFF;

/// Handles of this system fit 32 bits.
UINT NumberOf(HANDLE handle) {
  return static_cast<UINT>(reinterpret_cast<ULONG_PTR>(handle));
}
HANDLE HandleOf(UINT number) {
  // NOLINTNEXTLINE(performance-no-int-to-ptr): that is how a handle goes through a command line
  return reinterpret_cast<HANDLE>(ULONG_PTR{number});
}

/// Ctrl+C is meant for the process that the user started, which passes it on.
BOOL WINAPI IgnoreControl(DWORD /*control*/) {
  return TRUE;
}

class CheckRun {
 public:
  CheckRun(const WorkerTask& task, const Journal& journal)
      : task(task), journal(journal), calls(journal, task.timeoutInMs), stop(task.stop) {}

  void Run() {
    bool isStopped = false;
    try {
      Check();
    } catch (const Stopped&) {
      isStopped = true;
    }
    // Where this fails, an engine that was left in a bad state may do it in a new process.
    if (firstValue) static_cast<void>(RestoreDevice(task.engine, *firstValue, calls));
    if (!isStopped) calls.ReportTimes();
  }

 private:
  void Check() {
    Inbox inbox(stop);
    {
      Engine engine(task.engine, calls);
      Contract contract(engine, calls);
      if (!contract.Open()) return;
      const Device device = contract.Ask();
      stop.Check();
      if (task.sets) {
        Set(engine, device, inbox);
      } else if (device.isUsable) {
        EngineCheck::Check check(journal, L"Setting", L"setting");
        check.Note(L"No value was set.",
                   L"Start with --set to have each available value set, and the first one again.");
      }
    }
    Lifetime lifetime(task.engine, calls, inbox);
    if (lifetime.CheckUnloading()) lifetime.CheckLoadingAgain(task.repetitions);
  }

  void Set(Engine& engine, const Device& device, Inbox& inbox) {
    if (!device.isUsable) {
      EngineCheck::Check check(journal, L"Setting", L"setting");
      check.Note(
          L"No value was set: the item is not usable here, or its present value could not "
          L"be brought back.");
      return;
    }
    firstValue = device.currentValue;
    journal.Write(RecordKind::kFirstValue, {std::to_wstring(*firstValue)});
    Setting(engine, device, calls, inbox).Run();
  }

  const WorkerTask& task;
  const Journal& journal;
  CallLog calls;
  StopSignal stop;
  std::optional<INT32> firstValue;
};

}  // namespace

std::wstring FormatTask(const WorkerTask& task) {
  std::wstring arguments(kWorker);
  arguments += L" " + std::to_wstring(NumberOf(task.journal));
  arguments += L" " + std::to_wstring(NumberOf(task.stop));
  arguments += task.sets ? L" 1" : L" 0";
  arguments += L" " + std::to_wstring(task.timeoutInMs);
  arguments += L" " + std::to_wstring(task.repetitions);
  arguments += L" ";
  arguments += task.valueToRestore ? std::to_wstring(*task.valueToRestore) : std::wstring(kNothing);
  return arguments + L" \"" + task.engine + L"\"";
}

std::optional<WorkerTask> ParseTask(const std::vector<std::wstring_view>& arguments) {
  if (arguments.size() != kArgumentCount || arguments.front() != kWorker) return std::nullopt;
  const std::optional<UINT> journal = ParseNumber(arguments[1], 1, kLargest);
  const std::optional<UINT> stop = ParseNumber(arguments[2], 1, kLargest);
  const std::optional<UINT> sets = ParseNumber(arguments[3], 0, 1);
  const std::optional<UINT> timeout = ParseNumber(arguments[4], 1, kLargest);
  const std::optional<UINT> repetitions = ParseNumber(arguments[5], 1, kLargest);
  const std::optional<UINT> value = ParseNumber(arguments[6], 0, kLargest);
  if (!journal || !stop || !sets || !timeout || !repetitions ||
      (!value && arguments[6] != kNothing)) {
    return std::nullopt;
  }
  WorkerTask task = {.journal = HandleOf(*journal),
                     .stop = HandleOf(*stop),
                     .sets = *sets == 1,
                     .timeoutInMs = *timeout,
                     .repetitions = *repetitions,
                     .valueToRestore = std::nullopt,
                     .engine = std::wstring(arguments[7])};
  if (value) task.valueToRestore = static_cast<INT32>(*value);
  return task;
}

int RunWorker(const WorkerTask& task) {
  ::SetConsoleCtrlHandler(IgnoreControl, TRUE);
  ReportCrashes(task.journal);
  const Journal journal(task.journal);
  if (task.valueToRestore) {
    CallLog calls(journal, task.timeoutInMs);
    if (!RestoreDevice(task.engine, *task.valueToRestore, calls)) {
      Check check(journal, L"Setting", L"restored");
      check.Fail(L"The device could not be set back to value " +
                     std::to_wstring(*task.valueToRestore) + L".",
                 L"Set it by hand: it was at this value before the check.");
    }
  } else {
    CheckRun(task, journal).Run();
  }
  journal.Write(RecordKind::kDone);
  return 0;
}

}  // namespace EngineCheck
