#include <windows.h>

#include <filesystem>
#include <new>

#include "CheckCommandLine.h"
#include "CheckReport.h"
#include "CommandError.h"
#include "EngineProcess.h"
#include "TextOutput.h"

namespace {

constexpr int kExitNoErrors = 0;
constexpr int kExitErrors = 1;
constexpr int kExitNotChecked = 2;
constexpr int kExitWrongUsage = 64;

std::filesystem::path GetProgram() {
  constexpr std::size_t kLongestPath = 32768;
  std::wstring path(kLongestPath, L'\0');
  path.resize(::GetModuleFileNameW(nullptr, path.data(), static_cast<DWORD>(path.size())));
  return path;
}

void RequireFolder(const std::filesystem::path& folder) {
  const DWORD attributes = ::GetFileAttributesW(folder.c_str());
  if (attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_DIRECTORY) != 0) return;
  throw CommandError{L"there is no folder " + folder.wstring(),
                     L"Name the folder that has ModeChange.Config.ini."};
}

int Check(CheckCommandLine line, TextOutput& output) {
  line.folder.make_preferred();
  line.dataFolder.make_preferred();
  RequireFolder(line.folder);
  if (!line.dataFolder.empty()) RequireFolder(line.dataFolder);

  EngineProcess engines(GetProgram());
  Findings findings(line.ignored);
  FolderCheck check({.folder = line.folder,
                     .dataFolder = line.dataFolder,
                     .locale = line.locale,
                     .engines = line.asksEngines ? &engines : nullptr},
                    findings);
  check.Run();
  if (line.json) {
    output.WriteLine(FormatAsJson(findings, check, line.folder.wstring(), line.texts));
  } else {
    if (line.texts) output.WriteLine(FormatTexts(check.Languages(), check.Texts()));
    output.WriteLine(FormatFindings(findings, check.FileCount()));
  }
  const bool failed = findings.Count(Severity::kError) != 0 ||
                      (line.isStrict && findings.Count(Severity::kWarning) != 0);
  return failed ? kExitErrors : kExitNoErrors;
}

int Run(const CheckCommandLine& line, TextOutput& output) {
  switch (line.action) {
    case CheckCommandLine::Action::kHelp:
      output.WriteLine(kCheckHelp);
      break;
    case CheckCommandLine::Action::kVersion:
      output.WriteLine(L"modecheck " MODECHECK_VERSION);
      break;
    case CheckCommandLine::Action::kRules:
      output.WriteLine(FormatRules());
      break;
    case CheckCommandLine::Action::kAskEngine:
      EngineProcess::Answer(line.engine);
      break;
    case CheckCommandLine::Action::kCheck:
      return Check(line, output);
  }
  return kExitNoErrors;
}

}  // namespace

int wmain(int count, wchar_t** arguments) {
  TextOutput output(STD_OUTPUT_HANDLE);
  TextOutput errors(STD_ERROR_HANDLE);
  try {
    return Run(CheckCommandLine::Parse({arguments + 1, arguments + count}), output);
  } catch (const CheckUsageError& error) {
    errors.WriteLine(L"modecheck: " + error.problem);
    errors.WriteLine(L"Try: modecheck --help");
    return kExitWrongUsage;
  } catch (const CommandError& error) {
    errors.WriteLine(L"modecheck: " + error.problem);
    errors.WriteLine(error.remedy);
    return kExitNotChecked;
  } catch (const std::bad_alloc&) {
    errors.WriteLine(L"modecheck: out of memory");
    return kExitNotChecked;
  } catch (const std::filesystem::filesystem_error& error) {
    // A folder that goes away while it is read.
    errors.WriteLine(L"modecheck: can't read " + error.path1().wstring());
    errors.WriteLine(L"Check that it is still there, and that you may read it.");
    return kExitNotChecked;
  }
}
