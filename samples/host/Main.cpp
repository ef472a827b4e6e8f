#include <windows.h>

#include <new>
#include <optional>
#include <vector>

#include "ChangeReport.h"
#include "CommandError.h"
#include "CommandLine.h"
#include "ConfirmationSuppression.h"
#include "DataFolder.h"
#include "ExitCodes.h"
#include "ModeLibrary.h"
#include "ModeTexts.h"
#include "Modes.h"
#include "NotificationWindow.h"
#include "TextOutput.h"

namespace {

int List(const CommandLine& commandLine, TextOutput& output) {
  const ModeLibrary library;
  const std::vector<Mode> modes = ReadModes(library);
  output.WriteLine(commandLine.json ? FormatModesAsJson(modes) : FormatModes(modes));
  return kExitDone;
}

int Show(const CommandLine& commandLine, TextOutput& output) {
  const ModeLibrary library;
  const std::vector<Mode> modes = ReadModes(library);
  const Mode& mode = FindMode(modes, commandLine.mode);
  output.WriteLine(commandLine.json ? FormatModeAsJson(mode) : FormatMode(mode));
  return kExitDone;
}

void Request(const ModeLibrary& library, INT32 status, bool noConfirm,
             const NotificationWindow& window) {
  std::optional<ConfirmationSuppression> suppression;
  if (noConfirm) suppression.emplace();
  library.RequestStatus(status, window.Get(), NotificationWindow::kMessage);
}

int Switch(const CommandLine& commandLine, INT32 status, TextOutput& output, TextOutput& errors) {
  // Before the library, so that it goes after it: a change that is given up reports to it.
  NotificationWindow window;
  const ModeLibrary library;
  const std::vector<Mode> modes = ReadModes(library);
  const Mode& mode = FindMode(modes, commandLine.mode);
  DataFolder::Make();

  Change change = {.mode = mode.name,
                   .wanted = status,
                   .statusBefore = mode.status,
                   .couldBeCancelled = !commandLine.noConfirm};
  library.SelectMode(mode.index);
  Request(library, status, commandLine.noConfirm, window);
  change.result = window.WaitForResult(commandLine.timeoutSeconds);
  change.statusAfter = library.GetNumber(VELTO_MODE_INT32_CURRENT_STATUS);

  const ChangeReport report = ReportChange(change);
  (report.exitCode == kExitDone ? output : errors).WriteLine(report.text);
  return report.exitCode;
}

int ShowSettings(const CommandLine& commandLine) {
  const ModeLibrary library;
  const std::vector<Mode> modes = ReadModes(library);
  if (modes.empty()) {
    throw CommandError{
        L"This machine offers no modes: there is nothing to set.",
        L"Check that ModeChange.UsableModeList.ini names modes of ModeChange.Config.ini."};
  }
  const Mode& mode = commandLine.mode.empty() ? modes.front() : FindMode(modes, commandLine.mode);
  DataFolder::Make();
  library.SelectMode(mode.index);
  library.ShowSettings();
  return kExitDone;
}

int Run(const CommandLine& commandLine, TextOutput& output, TextOutput& errors) {
  switch (commandLine.command) {
    case Command::kHelp:
      output.WriteLine(kHelp);
      return kExitDone;
    case Command::kVersion:
      output.WriteLine(L"modectl " MODECTL_VERSION);
      return kExitDone;
    case Command::kList:
      return List(commandLine, output);
    case Command::kShow:
      return Show(commandLine, output);
    case Command::kOn:
      return Switch(commandLine, VELTO_MODE_STATUS_ON, output, errors);
    case Command::kOff:
      return Switch(commandLine, VELTO_MODE_STATUS_OFF, output, errors);
    case Command::kSettings:
      return ShowSettings(commandLine);
  }
  return kExitFailed;
}

}  // namespace

int wmain(int count, wchar_t** arguments) {
  TextOutput output(STD_OUTPUT_HANDLE);
  TextOutput errors(STD_ERROR_HANDLE);
  try {
    return Run(ParseCommandLine({arguments + 1, arguments + count}), output, errors);
  } catch (const UsageError& error) {
    errors.WriteLine(L"modectl: " + error.problem);
    errors.WriteLine(L"Try: modectl --help");
    return kExitWrongUsage;
  } catch (const CommandError& error) {
    errors.WriteLine(L"modectl: " + error.problem);
    errors.WriteLine(error.remedy);
    return kExitFailed;
  } catch (const std::bad_alloc&) {
    errors.WriteLine(L"modectl: out of memory");
    return kExitFailed;
  }
}
