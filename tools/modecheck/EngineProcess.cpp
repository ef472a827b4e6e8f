#include "EngineProcess.h"

#include <array>
#include <cstdlib>

#include "CommandError.h"
#include "EngineQuestions.h"
#include "TextOutput.h"
#include "common/CUniqueHandle.h"

namespace {

struct ObjectTraits {
  using Type = HANDLE;
  static Type None() noexcept { return nullptr; }
  static void Close(Type handle) noexcept { ::CloseHandle(handle); }
};
using CUniqueObject = CUniqueHandle<ObjectTraits>;

struct Pipe {
  CUniqueObject readEnd;
  CUniqueObject writeEnd;
};

bool MakePipe(Pipe* pipe) {
  SECURITY_ATTRIBUTES inheritable{};
  inheritable.nLength = sizeof(inheritable);
  inheritable.bInheritHandle = TRUE;
  HANDLE readEnd = nullptr;
  HANDLE writeEnd = nullptr;
  if (::CreatePipe(&readEnd, &writeEnd, &inheritable, 0) == FALSE) return false;
  pipe->readEnd = CUniqueObject(readEnd);
  pipe->writeEnd = CUniqueObject(writeEnd);
  return ::SetHandleInformation(readEnd, HANDLE_FLAG_INHERIT, 0) != FALSE;
}

/// What the engine starts ends with it.
CUniqueObject MakeJob() {
  CUniqueObject job(::CreateJobObjectW(nullptr, nullptr));
  JOBOBJECT_EXTENDED_LIMIT_INFORMATION limits{};
  limits.BasicLimitInformation.LimitFlags = JOB_OBJECT_LIMIT_KILL_ON_JOB_CLOSE;
  ::SetInformationJobObject(job.Get(), JobObjectExtendedLimitInformation, &limits, sizeof(limits));
  return job;
}

/// Takes what is there, without waiting for more.
void ReadAvailable(HANDLE pipe, std::string* output) {
  std::array<char, 4096> bytes{};
  for (;;) {
    DWORD count = 0;
    if (::PeekNamedPipe(pipe, nullptr, 0, nullptr, &count, nullptr) == FALSE || count == 0) return;
    if (::ReadFile(pipe, bytes.data(), static_cast<DWORD>(bytes.size()), &count, nullptr) ==
        FALSE) {
      return;
    }
    output->append(bytes.data(), count);
  }
}

std::wstring FromUtf8(const std::string& bytes) {
  const int size = static_cast<int>(bytes.size());
  const int length = ::MultiByteToWideChar(CP_UTF8, 0, bytes.data(), size, nullptr, 0);
  std::wstring text(static_cast<std::size_t>(length), L'\0');
  ::MultiByteToWideChar(CP_UTF8, 0, bytes.data(), size, text.data(), length);
  return text;
}

EngineAnswers Fail(std::wstring details) {
  return {.problem = EngineAnswers::Problem::kFails, .details = std::move(details)};
}

std::wstring DescribeEnd(DWORD exitCode) {
  std::array<wchar_t, 16> code{};
  ::wsprintfW(code.data(), L"0x%08lX", exitCode);
  return std::wstring(L"its process ended in the middle of the questions, with code ") +
         code.data() + L". Mend the crash.";
}

LONG WINAPI EndAtCrash(EXCEPTION_POINTERS* crash) {
  // At once: who waits is told by the code, and nobody wants a box to click away in a build.
  ::TerminateProcess(::GetCurrentProcess(), crash->ExceptionRecord->ExceptionCode);
  return EXCEPTION_EXECUTE_HANDLER;
}

}  // namespace

EngineAnswers EngineProcess::Ask(const std::filesystem::path& engine) {
  Pipe pipe;
  if (!MakePipe(&pipe)) return Fail(DescribeError(::GetLastError()));
  STARTUPINFOW start{};
  start.cb = sizeof(start);
  start.dwFlags = STARTF_USESTDHANDLES;
  start.hStdOutput = pipe.writeEnd.Get();
  start.hStdError = pipe.writeEnd.Get();
  std::wstring line =
      L"\"" + program.wstring() + L"\" " + kArgument + L" \"" + engine.wstring() + L"\"";
  PROCESS_INFORMATION information{};
  if (::CreateProcessW(program.c_str(), line.data(), nullptr, nullptr, TRUE,
                       CREATE_SUSPENDED | CREATE_NO_WINDOW, nullptr, nullptr, &start,
                       &information) == FALSE) {
    return Fail(L"no process for it: " + DescribeError(::GetLastError()) + L".");
  }
  const CUniqueObject process(information.hProcess);
  const CUniqueObject thread(information.hThread);
  const CUniqueObject job = MakeJob();
  ::AssignProcessToJobObject(job.Get(), process.Get());
  ::ResumeThread(thread.Get());

  constexpr DWORD kLookEvery = 10;
  std::string output;
  const ULONGLONG end = ::GetTickCount64() + patience;
  while (::WaitForSingleObject(process.Get(), kLookEvery) == WAIT_TIMEOUT) {
    ReadAvailable(pipe.readEnd.Get(), &output);
    if (::GetTickCount64() < end) continue;
    ::TerminateProcess(process.Get(), EXIT_FAILURE);
    return Fail(L"it has not answered after " + std::to_wstring(patience / 1000) +
                L" seconds. Users would wait as long.");
  }
  ReadAvailable(pipe.readEnd.Get(), &output);
  EngineAnswers answers;
  if (ReadAnswers(FromUtf8(output), &answers)) return answers;
  DWORD exitCode = 0;
  ::GetExitCodeProcess(process.Get(), &exitCode);
  return Fail(DescribeEnd(exitCode));
}

void EngineProcess::Answer(const std::filesystem::path& engine) {
  ::SetErrorMode(SEM_FAILCRITICALERRORS | SEM_NOGPFAULTERRORBOX | SEM_NOOPENFILEERRORBOX);
  ::SetUnhandledExceptionFilter(EndAtCrash);
  TextOutput(STD_OUTPUT_HANDLE).WriteLine(WriteAnswers(AskEngine(engine)));
}
