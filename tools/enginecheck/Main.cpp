#include <windows.h>

#include <array>
#include <new>
#include <vector>

#include "CommandError.h"
#include "Options.h"
#include "Report.h"
#include "Supervisor.h"
#include "TextOutput.h"
#include "Worker.h"

namespace EngineCheck {

namespace {

/// Set when the user wants the check to end; inherited by the worker.
HANDLE stopEvent = nullptr;

BOOL WINAPI OnControl(DWORD control) {
  ::SetEvent(stopEvent);
  // Windows ends the program when this returns; there is something to set back first.
  if (control != CTRL_C_EVENT && control != CTRL_BREAK_EVENT) ::Sleep(INFINITE);
  return TRUE;
}

void ListenForControl() {
  SECURITY_ATTRIBUTES inheritable = {sizeof(inheritable), nullptr, TRUE};
  // Lives as long as the program: the handler may be called at any time.
  stopEvent = ::CreateEventW(&inheritable, TRUE, FALSE, nullptr);
  if (stopEvent == nullptr) {
    throw CommandError{L"There are no events to be had: " + DescribeError(::GetLastError()) + L".",
                       L"Close other programs and try again."};
  }
  ::SetConsoleCtrlHandler(OnControl, TRUE);
}

/// The engine's full path: the library loads engines by theirs.
std::wstring FindEngine(const std::wstring& engine) {
  std::array<wchar_t, 0x8000> path{};
  const DWORD length =
      ::GetFullPathNameW(engine.c_str(), static_cast<DWORD>(path.size()), path.data(), nullptr);
  const DWORD attributes = ::GetFileAttributesW(path.data());
  if (length == 0 || length >= path.size() || attributes == INVALID_FILE_ATTRIBUTES ||
      (attributes & FILE_ATTRIBUTE_DIRECTORY) != 0) {
    throw UsageError{L"there is no file " + engine};
  }
  return path.data();
}

int CheckEngine(const Options& options, TextOutput& output) {
  const std::wstring engine = FindEngine(options.engine);
  ListenForControl();
  Report report(engine, options.sets);
  if (!options.json) output.WriteLine(report.Title());
  const auto listen = [&](const Finding& finding) {
    report.Add(finding);
    if (!options.json) output.WriteLine(report.LastFinding());
  };
  if (!Supervisor(options, engine, stopEvent, listen).Run()) report.SetStopped();
  output.WriteLine(options.json ? report.Json() : report.Summary());
  return report.ExitCode();
}

int Run(const std::vector<std::wstring_view>& arguments, TextOutput& output) {
  if (const std::optional<WorkerTask> task = ParseTask(arguments)) return RunWorker(*task);
  const Options options = ParseOptions(arguments);
  switch (options.command) {
    case Command::kHelp:
      output.WriteLine(kHelpText);
      return kExitPassed;
    case Command::kVersion:
      output.WriteLine(L"enginecheck " ENGINECHECK_VERSION);
      return kExitPassed;
    case Command::kCheck:
      return CheckEngine(options, output);
  }
  return kExitNotMade;
}

}  // namespace

}  // namespace EngineCheck

int wmain(int count, wchar_t** arguments) {
  TextOutput output(STD_OUTPUT_HANDLE);
  TextOutput errors(STD_ERROR_HANDLE);
  try {
    return EngineCheck::Run({arguments + 1, arguments + count}, output);
  } catch (const EngineCheck::UsageError& error) {
    errors.WriteLine(L"enginecheck: " + error.problem);
    errors.WriteLine(L"Try: enginecheck --help");
    return EngineCheck::kExitWrongUsage;
  } catch (const CommandError& error) {
    errors.WriteLine(L"enginecheck: " + error.problem);
    errors.WriteLine(error.remedy);
    return EngineCheck::kExitNotMade;
  } catch (const std::bad_alloc&) {
    errors.WriteLine(L"enginecheck: out of memory");
    return EngineCheck::kExitNotMade;
  }
}
