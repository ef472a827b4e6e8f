#include "CheckCommandLine.h"

#include "EngineProcess.h"
#include "Names.h"

const wchar_t* const kCheckHelp =
    LR"(Usage: modecheck [OPTION...] FOLDER

Checks the configuration in FOLDER, where ModeChange.dll lies or will lie: the three files beside the
library, the texts of every language, and the engines. Changes nothing. Each finding is a line
"FILE:LINE: error: what is wrong and what to do [rule]".

  --data FOLDER  also checks ModeChange.Settings.ini and ModeChange.Status.ini in FOLDER
  --locale NAME  checks only the texts that a user with this locale sees, such as de-AT
  --no-engines   does not load the engines; which values and texts they have is not checked
  --ignore RULE  leaves out the findings of a rule; may be repeated
  --strict       warnings count as errors
  --texts        also prints a table of all texts: which language has them
  --json         prints JSON
  --rules        prints a table of all rules
  --help         this text
  --version      the program's version

Exit code: 0 no errors; 1 errors, or with --strict warnings; 2 FOLDER can't be checked; 64 wrong
usage.)";

namespace {

using Arguments = std::vector<std::wstring_view>;

std::wstring_view TakeValue(const Arguments& arguments, std::size_t* at, const wchar_t* what) {
  const std::wstring option(arguments[*at]);
  if (++*at == arguments.size() || arguments[*at].empty()) {
    throw CheckUsageError{option + L" needs " + what};
  }
  return arguments[*at];
}

Rule ParseRule(std::wstring_view name) {
  if (const RuleText* const found = FindRule(name)) return found->rule;
  std::vector<std::wstring> known;
  known.reserve(kRules.size());
  for (const RuleText& text : kRules) known.emplace_back(text.name);
  throw CheckUsageError{L"there is no rule " + std::wstring(name) + L"." +
                        Names::Suggest(name, known)};
}

void ParseOption(const Arguments& arguments, std::size_t* at, CheckCommandLine* line) {
  const std::wstring_view option = arguments[*at];
  if (option == L"--help") {
    line->action = CheckCommandLine::Action::kHelp;
  } else if (option == L"--version") {
    line->action = CheckCommandLine::Action::kVersion;
  } else if (option == L"--rules") {
    line->action = CheckCommandLine::Action::kRules;
  } else if (option == EngineProcess::kArgument) {
    line->action = CheckCommandLine::Action::kAskEngine;
    line->engine = TakeValue(arguments, at, L"an engine");
  } else if (option == L"--data") {
    line->dataFolder = TakeValue(arguments, at, L"a folder");
  } else if (option == L"--locale") {
    line->locale = TakeValue(arguments, at, L"a locale, such as de-DE");
  } else if (option == L"--ignore") {
    line->ignored.insert(ParseRule(TakeValue(arguments, at, L"the name of a rule")));
  } else if (option == L"--no-engines") {
    line->asksEngines = false;
  } else if (option == L"--strict") {
    line->isStrict = true;
  } else if (option == L"--json") {
    line->json = true;
  } else if (option == L"--texts") {
    line->texts = true;
  } else {
    throw CheckUsageError{L"unknown option: " + std::wstring(option)};
  }
}

}  // namespace

CheckCommandLine CheckCommandLine::Parse(const Arguments& arguments) {
  CheckCommandLine line;
  for (std::size_t at = 0; at < arguments.size(); ++at) {
    const std::wstring_view argument = arguments[at];
    if (argument.starts_with(L"-")) {
      ParseOption(arguments, &at, &line);
      // Nothing else matters then.
      if (line.action != Action::kCheck) return line;
    } else if (!line.folder.empty()) {
      throw CheckUsageError{L"more than one folder: " + std::wstring(argument) +
                            L" (a path with spaces belongs in quotation marks)"};
    } else {
      line.folder = argument;
    }
  }
  if (line.folder.empty()) throw CheckUsageError{L"no folder"};
  return line;
}
