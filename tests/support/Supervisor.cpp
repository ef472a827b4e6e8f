#include "support/Supervisor.h"

#include <windows.h>

#include <cstdio>
#include <cstdlib>
#include <exception>
#include <filesystem>
#include <map>
#include <optional>
#include <set>
#include <string>

#include "support/ChildProcess.h"
#include "support/Files.h"
#include "support/ProgramCopy.h"
#include "support/Text.h"

namespace Supervisor {

namespace fs = std::filesystem;

namespace {

// Where a build that counts coverage is to leave its counts: a folder for each process, because
// processes that add to one file at the same time would lose some.
constexpr const wchar_t* kCoverageVariable = L"VELTO_COVERAGE";
constexpr const wchar_t* kCountsPrefixVariable = L"GCOV_PREFIX";
constexpr const wchar_t* kPatienceVariable = L"VELTO_SUPERVISOR_SECONDS";
// Less than CTest's, which kills without cleaning up.
constexpr std::uint32_t kDefaultPatienceInSeconds = 110;

std::uint32_t GetPatienceInSeconds() {
  const wchar_t* text = ::_wgetenv(kPatienceVariable);
  const long seconds = text != nullptr ? std::wcstol(text, nullptr, 10) : 0;
  return seconds > 0 ? static_cast<std::uint32_t>(seconds) : kDefaultPatienceInSeconds;
}

}  // namespace

bool IsSupervised() {
  return ::_wgetenv(kFolderVariable) != nullptr;
}

int Run() {
  try {
    const ProgramCopy copy(Files::ProgramPath());
    std::optional<std::uint32_t> exitCode;
    {
      std::map<std::wstring, std::wstring> variables = {{kFolderVariable, copy.Folder().wstring()}};
      if (const wchar_t* counts = ::_wgetenv(kCoverageVariable); counts != nullptr) {
        variables[kCountsPrefixVariable] = counts + (L"\\" + copy.Folder().filename().wstring());
      }
      const ChildProcess child({.program = copy.Program(),
                                .commandLine = ::GetCommandLineW(),
                                .workingFolder = copy.Folder(),
                                .variables = variables});
      const std::uint32_t patience = GetPatienceInSeconds();
      exitCode = child.Wait(1000 * patience);
      if (!exitCode.has_value()) {
        std::fprintf(stderr, "the tests still ran after %u seconds and were ended\n",
                     static_cast<unsigned>(patience));
      }
    }
    if (!exitCode.has_value()) return kTimeOut;
    const bool areStraysLeft = copy.ReportStrays();
    if (*exitCode == 0 && areStraysLeft) return kFilesLeft;
    return static_cast<int>(*exitCode);
  } catch (const std::exception& exception) {
    std::fprintf(stderr, "can't supervise the tests: %s\n", exception.what());
    return kCannotStart;
  }
}

}  // namespace Supervisor
