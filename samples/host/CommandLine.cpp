#include "CommandLine.h"

#include <algorithm>
#include <iterator>
#include <optional>

const wchar_t* const kHelp =
    LR"(Usage: modectl COMMAND [OPTION...]

Lists and switches the modes of this machine through the ModeChange.dll beside this program.

  list               all modes: number, status, type and name
  show MODE          what is known about a mode
  on MODE            switches a mode ON and waits until that is done
  off MODE           switches a mode OFF and waits until that is done
  settings [MODE]    opens the settings dialog

MODE is a name as "list" shows it, in upper or lower case, or a number from there.

  --json             list, show: as JSON
  --no-confirm       on, off: without asking the user first
  --timeout SECONDS  on, off: how long to wait once the user has confirmed; 60 unless given
  --help             this text
  --version          the program's version

Exit code: 0 done; 1 failed, cancelled or not finished in time; 2 or 3 a device ended the change
with this result; 64 wrong usage, or there is no such mode.)";

namespace {

constexpr UINT kLongestTimeoutInSeconds = 24 * 60 * 60;

enum class ModeArgument { kNone, kOptional, kRequired };

struct CommandRule {
  const wchar_t* name;
  Command command;
  ModeArgument mode;
  bool takesJson;
  bool takesChangeOptions;
};

constexpr CommandRule kRules[] = {
    {L"list", Command::kList, ModeArgument::kNone, true, false},
    {L"show", Command::kShow, ModeArgument::kRequired, true, false},
    {L"on", Command::kOn, ModeArgument::kRequired, false, true},
    {L"off", Command::kOff, ModeArgument::kRequired, false, true},
    {L"settings", Command::kSettings, ModeArgument::kOptional, false, false},
};

const CommandRule& FindRule(std::wstring_view name) {
  const auto* const rule =
      std::find_if(std::begin(kRules), std::end(kRules),
                   [&](const CommandRule& known) { return known.name == name; });
  if (rule == std::end(kRules)) throw UsageError{L"unknown command: " + std::wstring(name)};
  return *rule;
}

UINT ParseTimeout(std::wstring_view text) {
  UINT seconds = 0;
  for (const wchar_t character : text) {
    const bool isDigit = character >= L'0' && character <= L'9';
    // Too long already: stays so, and never overflows.
    seconds = isDigit && seconds <= kLongestTimeoutInSeconds
                  ? seconds * 10 + static_cast<UINT>(character - L'0')
                  : kLongestTimeoutInSeconds + 1;
  }
  if (seconds == 0 || seconds > kLongestTimeoutInSeconds) {
    throw UsageError{L"--timeout needs a number of seconds from 1 to " +
                     std::to_wstring(kLongestTimeoutInSeconds) + L", not \"" + std::wstring(text) +
                     L"\""};
  }
  return seconds;
}

/// The arguments by kind, before anything is known about which belong together.
struct Arguments {
  std::vector<std::wstring_view> words = {};
  bool help = false;
  bool version = false;
  bool json = false;
  bool noConfirm = false;
  std::optional<UINT> timeoutSeconds = {};
};

Arguments SortArguments(const std::vector<std::wstring_view>& all) {
  Arguments sorted;
  for (auto argument = all.begin(); argument != all.end(); ++argument) {
    if (*argument == L"--help") {
      sorted.help = true;
    } else if (*argument == L"--version") {
      sorted.version = true;
    } else if (*argument == L"--json") {
      sorted.json = true;
    } else if (*argument == L"--no-confirm") {
      sorted.noConfirm = true;
    } else if (*argument == L"--timeout") {
      if (++argument == all.end()) throw UsageError{L"--timeout needs a number of seconds"};
      sorted.timeoutSeconds = ParseTimeout(*argument);
    } else if (argument->starts_with(L"-")) {
      throw UsageError{L"unknown option: " + std::wstring(*argument)};
    } else {
      sorted.words.push_back(*argument);
    }
  }
  return sorted;
}

void CheckOptions(const Arguments& arguments, const CommandRule& rule) {
  if (arguments.json && !rule.takesJson) {
    throw UsageError{L"--json is for list and show, not for " + std::wstring(rule.name)};
  }
  if ((arguments.noConfirm || arguments.timeoutSeconds) && !rule.takesChangeOptions) {
    throw UsageError{L"--no-confirm and --timeout are for on and off, not for " +
                     std::wstring(rule.name)};
  }
}

std::wstring GetMode(const Arguments& arguments, const CommandRule& rule) {
  const std::vector<std::wstring_view>& words = arguments.words;
  const std::size_t mostWords = rule.mode == ModeArgument::kNone ? 1 : 2;
  if (words.size() > mostWords) {
    throw UsageError{L"too many arguments: " + std::wstring(words[mostWords]) +
                     L" (a name with spaces belongs in quotation marks)"};
  }
  std::wstring mode(words.size() > 1 ? words[1] : L"");
  if (mode.empty() && rule.mode == ModeArgument::kRequired) {
    throw UsageError{std::wstring(rule.name) + L" needs the name or the number of a mode"};
  }
  return mode;
}

}  // namespace

CommandLine ParseCommandLine(const std::vector<std::wstring_view>& arguments) {
  const Arguments sorted = SortArguments(arguments);
  if (sorted.help) return {.command = Command::kHelp};
  if (sorted.version) return {.command = Command::kVersion};
  if (sorted.words.empty()) throw UsageError{L"no command"};
  const CommandRule& rule = FindRule(sorted.words.front());
  CheckOptions(sorted, rule);
  CommandLine commandLine = {.command = rule.command,
                             .mode = GetMode(sorted, rule),
                             .json = sorted.json,
                             .noConfirm = sorted.noConfirm};
  if (sorted.timeoutSeconds) commandLine.timeoutSeconds = *sorted.timeoutSeconds;
  return commandLine;
}
