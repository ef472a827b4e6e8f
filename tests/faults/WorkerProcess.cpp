#include "faults/WorkerProcess.h"

#include <array>
#include <cstdio>
#include <exception>
#include <iostream>
#include <sstream>

#include "faults/CrashReport.h"
#include "support/Files.h"
#include "support/Supervisor.h"

namespace {

// Before a result's line; all else is what the runtime or a crash report wrote.
constexpr const char* kResultMark = "=result\t";

struct Pipe {
  HANDLE reader = nullptr;
  HANDLE writer = nullptr;
};

// Handles that are open while a process starts go to it too, a half written copy among them. So
// only one worker is made at a time.
SRWLOCK startLock = SRWLOCK_INIT;

class StartGuard {
 public:
  StartGuard() { ::AcquireSRWLockExclusive(&startLock); }
  ~StartGuard() { ::ReleaseSRWLockExclusive(&startLock); }
  StartGuard(const StartGuard&) = delete;
  StartGuard& operator=(const StartGuard&) = delete;
};

Pipe MakePipe(bool isReaderInherited) {
  SECURITY_ATTRIBUTES inheritable = {sizeof(inheritable), nullptr, TRUE};
  Pipe pipe;
  ::CreatePipe(&pipe.reader, &pipe.writer, &inheritable, 0);
  ::SetHandleInformation(isReaderInherited ? pipe.writer : pipe.reader, HANDLE_FLAG_INHERIT, 0);
  return pipe;
}

std::string Encode(const CaseResult& result) {
  std::ostringstream line;
  line << kResultMark << result.calls << '\t' << result.injected << '\t' << result.function;
  for (std::string problem : result.problems) {
    for (char& letter : problem) {
      if (letter == '\t' || letter == '\n' || letter == '\r') letter = ' ';
    }
    line << '\t' << problem;
  }
  line << '\n';
  return line.str();
}

CaseResult Decode(const std::string& line) {
  std::istringstream fields(line.substr(std::string(kResultMark).size()));
  CaseResult result;
  std::string field;
  std::getline(fields, field, '\t');
  result.calls = std::stoull(field);
  std::getline(fields, field, '\t');
  result.injected = std::stoull(field);
  std::getline(fields, result.function, '\t');
  while (std::getline(fields, field, '\t')) result.problems.push_back(field);
  return result;
}

}  // namespace

WorkerProcess::WorkerProcess() {
  const StartGuard guard;
  copy = std::make_unique<ProgramCopy>(Files::ProgramPath());
}

WorkerProcess::~WorkerProcess() {
  Stop();
}

CaseResult WorkerProcess::Run(const FaultCase& faultCase) {
  if (process == nullptr) Start();
  const std::string line = faultCase.Name() + "\n";
  DWORD written = 0;
  ::WriteFile(toWorker, line.data(), static_cast<DWORD>(line.size()), &written, nullptr);
  CaseResult result;
  std::string otherOutput;
  if (!ReadResult(&result, &otherOutput)) {
    constexpr std::uint32_t kPatienceInMilliseconds = 5000;
    const auto exitCode = process->Wait(kPatienceInMilliseconds);
    std::ostringstream problem;
    problem << "the process ended, exit code 0x" << std::hex << exitCode.value_or(0) << '\n'
            << otherOutput;
    result = {.injected = 1, .function = "?", .problems = {problem.str()}};
  }
  // What is wrong in a process may make its next cases fail.
  if (!result.problems.empty()) Stop();
  return result;
}

void WorkerProcess::Start() {
  const StartGuard guard;
  const Pipe input = MakePipe(/*isReaderInherited=*/true);
  const Pipe output = MakePipe(/*isReaderInherited=*/false);
  copy->RemoveStrays();
  process = std::make_unique<ChildProcess>(
      ChildProcess::Options{.program = copy->Program(),
                            .commandLine = L"faults --worker",
                            .workingFolder = copy->Folder(),
                            .variables = {{Supervisor::kFolderVariable, copy->Folder().wstring()}},
                            .input = input.reader,
                            .output = output.writer});
  ::CloseHandle(input.reader);
  ::CloseHandle(output.writer);
  toWorker = input.writer;
  fromWorker = output.reader;
  unread.clear();
}

void WorkerProcess::Stop() {
  if (process == nullptr) return;
  ::CloseHandle(toWorker);  // its input ends, and so does it
  constexpr std::uint32_t kPatienceInMilliseconds = 10'000;
  static_cast<void>(process->Wait(kPatienceInMilliseconds));
  process.reset();
  ::CloseHandle(fromWorker);
}

bool WorkerProcess::ReadResult(CaseResult* result, std::string* otherOutput) {
  for (;;) {
    const std::size_t end = unread.find('\n');
    if (end != std::string::npos) {
      std::string line = unread.substr(0, end);
      unread.erase(0, end + 1);
      if (!line.empty() && line.back() == '\r') line.pop_back();
      if (line.rfind(kResultMark, 0) == 0) {
        *result = Decode(line);
        return true;
      }
      *otherOutput += line + "\n";
      continue;
    }
    // A worker that hangs ends itself, so waiting without a limit is safe.
    std::array<char, 4096> part{};
    DWORD size = 0;
    if (::ReadFile(fromWorker, part.data(), static_cast<DWORD>(part.size()), &size, nullptr) ==
            FALSE ||
        size == 0) {
      *otherOutput += unread;
      return false;
    }
    unread.append(part.data(), size);
  }
}

int WorkerProcess::Serve() {
  ReportCrashes();
  try {
    Worker worker;
    for (std::string line; std::getline(std::cin, line);) {
      if (!line.empty() && line.back() == '\r') line.pop_back();
      bool both = false;
      const auto parsed = FaultCase::Parse(line, &both);
      if (!parsed.has_value()) return 2;
      const std::string answer = Encode(worker.Run(*parsed));
      std::fwrite(answer.data(), 1, answer.size(), stdout);
      std::fflush(stdout);
    }
    return 0;
  } catch (const std::exception& exception) {
    std::fprintf(stderr, "%s\n", exception.what());
    return 1;
  }
}
