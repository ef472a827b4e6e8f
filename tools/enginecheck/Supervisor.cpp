#include "Supervisor.h"

#include <algorithm>
#include <array>
#include <utility>

#include "CommandError.h"
#include "common/CUniqueHandle.h"

namespace EngineCheck {

namespace {

/// What a worker needs besides the engine's time.
constexpr ULONGLONG kGraceInMs = 5000;
/// Until its first record a worker has not loaded the engine: what it takes is the system's.
constexpr ULONGLONG kStartInMs = 60'000;
const std::wstring kArea = L"Stability";

struct KernelObjectTraits {
  using Type = HANDLE;
  static Type None() noexcept { return nullptr; }
  static void Close(Type handle) noexcept { ::CloseHandle(handle); }
};
using KernelObject = CUniqueHandle<KernelObjectTraits>;

[[noreturn]] void ThrowLastError() {
  throw CommandError{
      L"The process for the engine can't be started: " + DescribeError(::GetLastError()) + L".",
      L"Check that this user may start programs from this folder."};
}

std::wstring OwnPath() {
  std::array<wchar_t, 0x8000> path{};
  ::GetModuleFileNameW(nullptr, path.data(), static_cast<DWORD>(path.size()));
  return path.data();
}

std::wstring Number(const std::wstring& code) {
  return code.empty() ? std::wstring() : L" (" + code + L")";
}

}  // namespace

/// The worker's process, which ends with this object however this program ends.
class Supervisor::WorkerProcess {
 public:
  explicit WorkerProcess(WorkerTask task) : job(::CreateJobObjectW(nullptr, nullptr)) {
    JOBOBJECT_EXTENDED_LIMIT_INFORMATION limits{};
    limits.BasicLimitInformation.LimitFlags = JOB_OBJECT_LIMIT_KILL_ON_JOB_CLOSE;
    ::SetInformationJobObject(job.Get(), JobObjectExtendedLimitInformation, &limits,
                              sizeof(limits));
    SECURITY_ATTRIBUTES inheritable = {sizeof(inheritable), nullptr, TRUE};
    HANDLE readEnd = nullptr;
    HANDLE writeEnd = nullptr;
    if (::CreatePipe(&readEnd, &writeEnd, &inheritable, 0) == FALSE) ThrowLastError();
    pipe = KernelObject(readEnd);
    const KernelObject writer(writeEnd);
    ::SetHandleInformation(readEnd, HANDLE_FLAG_INHERIT, 0);
    task.journal = writeEnd;
    Start(L"enginecheck " + FormatTask(task));
  }
  ~WorkerProcess() {
    End();
    constexpr DWORD kPatienceInMs = 5000;
    ::WaitForSingleObject(process.Get(), kPatienceInMs);
  }
  WorkerProcess(const WorkerProcess&) = delete;
  WorkerProcess& operator=(const WorkerProcess&) = delete;

  /// What there is to read, if anything; nothing also once there will be no more.
  std::string Read() {
    DWORD available = 0;
    if (::PeekNamedPipe(pipe.Get(), nullptr, 0, nullptr, &available, nullptr) == FALSE) return {};
    std::string bytes(available, '\0');
    DWORD size = 0;
    if (available == 0 ||
        ::ReadFile(pipe.Get(), bytes.data(), available, &size, nullptr) == FALSE) {
      return {};
    }
    bytes.resize(size);
    return bytes;
  }

  [[nodiscard]] bool HasEnded(DWORD milliseconds) const {
    return ::WaitForSingleObject(process.Get(), milliseconds) == WAIT_OBJECT_0;
  }
  [[nodiscard]] DWORD ExitCode() const {
    DWORD exitCode = 0;
    ::GetExitCodeProcess(process.Get(), &exitCode);
    return exitCode;
  }
  void End() const { ::TerminateProcess(process.Get(), 1); }

 private:
  void Start(std::wstring commandLine) {
    STARTUPINFOW startup{};
    startup.cb = sizeof(startup);
    startup.dwFlags = STARTF_USESTDHANDLES;
    // What an engine prints must not go into a report that a program reads.
    startup.hStdOutput = ::GetStdHandle(STD_ERROR_HANDLE);
    startup.hStdError = startup.hStdOutput;
    PROCESS_INFORMATION started{};
    // Suspended, so that it belongs to the job before an engine can start others; in a group of its
    // own, so that Ctrl+C does not reach it.
    if (::CreateProcessW(OwnPath().c_str(), commandLine.data(), nullptr, nullptr,
                         /*bInheritHandles=*/TRUE, CREATE_SUSPENDED | CREATE_NEW_PROCESS_GROUP,
                         nullptr, nullptr, &startup, &started) == FALSE) {
      ThrowLastError();
    }
    const KernelObject thread(started.hThread);
    process = KernelObject(started.hProcess);
    ::AssignProcessToJobObject(job.Get(), process.Get());
    ::ResumeThread(thread.Get());
  }

  KernelObject job;
  KernelObject pipe;
  KernelObject process;
};

Supervisor::Supervisor(const Options& options, std::wstring enginePath, HANDLE stop,
                       Listener listener)
    : options(options),
      enginePath(std::move(enginePath)),
      stop(stop),
      listener(std::move(listener)) {}

bool Supervisor::Run() {
  const Progress progress = RunWorkerProcess(std::nullopt);
  if (progress.firstValue && !progress.isRestored) {
    const Progress restoring = RunWorkerProcess(progress.firstValue);
    if (!restoring.isDone) {
      listener({Severity::kFailure, L"Setting", L"restored",
                L"The device could not be set back to value " +
                    std::to_wstring(*progress.firstValue) + L": the engine did not live so long.",
                L"Set it by hand: it was at this value before the check."});
    }
  }
  return !IsStopped();
}

bool Supervisor::IsStopped() const {
  return ::WaitForSingleObject(stop, 0) == WAIT_OBJECT_0;
}

Supervisor::Progress Supervisor::RunWorkerProcess(std::optional<INT32> valueToRestore) {
  constexpr DWORD kPollInMs = 10;
  WorkerProcess worker({.journal = nullptr,
                        .stop = stop,
                        .sets = options.sets,
                        .timeoutInMs = options.timeoutInMs,
                        .repetitions = options.repetitions,
                        .valueToRestore = valueToRestore,
                        .engine = enginePath});
  Progress progress;
  progress.deadline = ::GetTickCount64() + kStartInMs;
  RecordReader reader;
  for (bool hasEnded = false; !hasEnded;) {
    // First whether it has ended, then what it wrote before.
    hasEnded = worker.HasEnded(kPollInMs);
    for (std::string bytes = worker.Read(); !bytes.empty(); bytes = worker.Read()) {
      reader.Add(bytes);
      while (const std::optional<Record> record = reader.Next()) Take(*record, progress);
    }
    if (hasEnded || ::GetTickCount64() < progress.deadline) continue;
    ReportHang(progress);
    return progress;
  }
  if (!progress.isDone && !progress.hasCrashed) ReportEnd(progress, worker.ExitCode());
  return progress;
}

void Supervisor::Take(const Record& record, Progress& progress) {
  progress.deadline = ::GetTickCount64() + options.timeoutInMs + kGraceInMs;
  switch (record.kind) {
    case RecordKind::kCall:
      progress.call = record.fields.empty() ? std::wstring() : record.fields.front();
      progress.isInCall = true;
      break;
    case RecordKind::kReturned:
      progress.isInCall = false;
      break;
    case RecordKind::kFinding:
      if (const std::optional<Finding> finding = FindingOf(record)) listener(*finding);
      break;
    case RecordKind::kFirstValue:
      progress.firstValue = static_cast<INT32>(std::stol(record.fields.front()));
      break;
    case RecordKind::kRestored:
      progress.isRestored = true;
      break;
    case RecordKind::kCrash:
      ReportCrash(record, progress);
      progress.hasCrashed = true;
      break;
    case RecordKind::kDone:
      progress.isDone = true;
      break;
  }
}

void Supervisor::ReportCrash(const Record& record, const Progress& progress) {
  std::vector<std::wstring> fields = record.fields;
  fields.resize(2);
  const std::wstring where = fields[1].empty() ? std::wstring() : L", " + fields[1];
  const std::wstring when = (progress.isInCall ? L"During: " : L"After: ") + progress.call + L".";
  listener({Severity::kFailure, kArea, L"crash", fields[0] + where + L". " + when,
            L"Run the call in a debugger. Where no DLL is any more, a thread of the engine's "
            L"outlived it: the thread has to hold a reference to the DLL (GetModuleHandleEx) and "
            L"end with FreeLibraryAndExitThread. The checks that come after were not made."});
}

void Supervisor::ReportHang(const Progress& progress) {
  if (progress.call.empty()) {
    throw CommandError{L"The process for the engine does not start.",
                       L"Try again when the machine has less to do."};
  }
  const std::wstring when =
      (progress.isInCall ? L"did not come back from: " : L"hangs after: ") + progress.call + L".";
  listener({Severity::kFailure, kArea, L"hang", L"The engine " + when,
            L"Answer at once, and never wait for a device, a window or another thread in a call: "
            L"the host's windows stand still meanwhile. Where the device needs longer use "
            L"--timeout. The checks that come after were not made."});
}

void Supervisor::ReportEnd(const Progress& progress, DWORD exitCode) {
  listener({Severity::kFailure, kArea, L"end",
            L"The engine ended its process" + Number(L"exit code " + std::to_wstring(exitCode)) +
                (progress.isInCall ? L" during: " : L" after: ") + progress.call + L".",
            L"An engine lives in its host: it must not call exit, abort or ExitProcess, and "
            L"exceptions must not leave it. The checks that come after were not made."});
}

}  // namespace EngineCheck
