#include "support/ChildProcess.h"

#include <array>
#include <system_error>
#include <utility>

namespace {

/// Changes variables of this process, which its children take over, and changes them back.
class ScopedVariables {
 public:
  explicit ScopedVariables(std::map<std::wstring, std::wstring> variables)
      : others(std::move(variables)) {
    Swap();
  }
  ~ScopedVariables() { Swap(); }
  ScopedVariables(const ScopedVariables&) = delete;
  ScopedVariables& operator=(const ScopedVariables&) = delete;

 private:
  void Swap() {
    for (auto& [name, value] : others) {
      std::array<wchar_t, 1024> current{};
      ::GetEnvironmentVariableW(name.c_str(), current.data(), static_cast<DWORD>(current.size()));
      ::SetEnvironmentVariableW(name.c_str(), value.empty() ? nullptr : value.c_str());
      value = current.data();
    }
  }

  std::map<std::wstring, std::wstring> others;
};

[[noreturn]] void ThrowLastError(const char* action) {
  throw std::system_error(static_cast<int>(::GetLastError()), std::system_category(), action);
}

}  // namespace

ChildProcess::ChildProcess(const Options& options) : job(::CreateJobObjectW(nullptr, nullptr)) {
  JOBOBJECT_EXTENDED_LIMIT_INFORMATION limits{};
  limits.BasicLimitInformation.LimitFlags = JOB_OBJECT_LIMIT_KILL_ON_JOB_CLOSE;
  ::SetInformationJobObject(job.Get(), JobObjectExtendedLimitInformation, &limits, sizeof(limits));

  STARTUPINFOW startup{};
  startup.cb = sizeof(startup);
  startup.dwFlags = STARTF_USESTDHANDLES;
  startup.hStdInput = options.input != nullptr ? options.input : ::GetStdHandle(STD_INPUT_HANDLE);
  startup.hStdOutput =
      options.output != nullptr ? options.output : ::GetStdHandle(STD_OUTPUT_HANDLE);
  startup.hStdError = options.output != nullptr ? options.output : ::GetStdHandle(STD_ERROR_HANDLE);

  const ScopedVariables variables(options.variables);
  std::wstring commandLine = options.commandLine;
  const wchar_t* folder = options.workingFolder.empty() ? nullptr : options.workingFolder.c_str();
  PROCESS_INFORMATION started{};
  // Suspended, so that it has no time to start others before it belongs to the job.
  if (::CreateProcessW(options.program.c_str(), commandLine.data(), nullptr, nullptr,
                       /*bInheritHandles=*/TRUE, CREATE_SUSPENDED, nullptr, folder, &startup,
                       &started) == FALSE) {
    ThrowLastError("starting a program");
  }
  const CUniqueHandle<HandleTraits> thread(started.hThread);
  process = CUniqueHandle<HandleTraits>(started.hProcess);
  ::AssignProcessToJobObject(job.Get(), process.Get());
  ::ResumeThread(thread.Get());
}

ChildProcess::~ChildProcess() {
  if (Wait(0).has_value()) return;
  ::TerminateJobObject(job.Get(), 1);
  ::TerminateProcess(process.Get(), 1);
  constexpr DWORD kPatienceInMs = 5000;
  ::WaitForSingleObject(process.Get(), kPatienceInMs);
}

std::optional<std::uint32_t> ChildProcess::Wait(std::uint32_t milliseconds) const {
  if (::WaitForSingleObject(process.Get(), milliseconds) != WAIT_OBJECT_0) return std::nullopt;
  DWORD exitCode = 0;
  ::GetExitCodeProcess(process.Get(), &exitCode);
  return exitCode;
}

ChildProcess::Result ChildProcess::Run(Options options) {
  // Wine's desktop is started by the first program that needs it and keeps what that one could
  // inherit: started by the child, it would hold the pipe below open for ever.
  ::GetDesktopWindow();
  SECURITY_ATTRIBUTES inheritable = {sizeof(inheritable), nullptr, TRUE};
  HANDLE readEnd = nullptr;
  HANDLE writeEnd = nullptr;
  if (::CreatePipe(&readEnd, &writeEnd, &inheritable, 0) == FALSE) ThrowLastError("making a pipe");
  const CUniqueHandle<HandleTraits> reader(readEnd);
  CUniqueHandle<HandleTraits> writer(writeEnd);
  ::SetHandleInformation(readEnd, HANDLE_FLAG_INHERIT, 0);

  options.output = writeEnd;
  const ChildProcess child(options);
  // The pipe ends when nobody can write to it any more.
  writer = CUniqueHandle<HandleTraits>();
  Result result{};
  std::array<char, 4096> part{};
  DWORD size = 0;
  while (::ReadFile(readEnd, part.data(), static_cast<DWORD>(part.size()), &size, nullptr) !=
             FALSE &&
         size != 0) {
    result.output.append(part.data(), size);
  }
  result.exitCode = child.Wait(INFINITE).value();
  return result;
}
