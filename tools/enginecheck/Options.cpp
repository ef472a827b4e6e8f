#include "Options.h"

namespace EngineCheck {

const wchar_t* const kHelpText =
    LR"(Usage: enginecheck [OPTION...] ENGINE.dll

Checks whether a device engine keeps its contract with ModeChange.dll (velto/device_engine.h). Loads
the engine, asks what the library asks, in the same order, and says what is wrong and what to do.

  --set         also sets each available value, and the first one again at the end
  --timeout MS  how long the engine may take for a call or for setting a value; 10000 unless given
  --repeat N    how often the engine is loaded again to find what it leaves behind; 10 unless given
  --json        the report as JSON
  --help        this text
  --version     the program's version

Without --set nothing on the machine is changed. Ctrl+C stops the check, and sets the first value
again where another one was set.

Exit code: 0 no failure (there may be warnings), 1 failures, 2 the check was stopped or could not be
made, 64 wrong usage, or there is no such file.)";

namespace {

constexpr UINT kShortestTimeoutInMs = 100;
constexpr UINT kLongestTimeoutInMs = 60 * 60 * 1000;
constexpr UINT kFewestRepetitions = 3;
constexpr UINT kMostRepetitions = 10'000;

UINT ReadNumber(std::wstring_view option, const std::wstring_view* text, UINT least, UINT most) {
  const std::optional<UINT> number =
      text != nullptr ? ParseNumber(*text, least, most) : std::nullopt;
  if (!number) {
    throw UsageError{std::wstring(option) + L" needs a number from " + std::to_wstring(least) +
                     L" to " + std::to_wstring(most)};
  }
  return *number;
}

}  // namespace

std::optional<UINT> ParseNumber(std::wstring_view text, UINT least, UINT most) {
  unsigned long long number = 0;
  for (const wchar_t character : text) {
    if (character < L'0' || character > L'9') return std::nullopt;
    number = number * 10 + static_cast<unsigned>(character - L'0');
    if (number > most) return std::nullopt;
  }
  if (text.empty() || number < least) return std::nullopt;
  return static_cast<UINT>(number);
}

Options ParseOptions(const std::vector<std::wstring_view>& arguments) {
  Options options;
  bool wantsHelp = false;
  bool wantsVersion = false;
  for (std::size_t i = 0; i < arguments.size(); ++i) {
    const std::wstring_view argument = arguments[i];
    const std::wstring_view* const next = i + 1 < arguments.size() ? &arguments[i + 1] : nullptr;
    if (argument == L"--help") {
      wantsHelp = true;
    } else if (argument == L"--version") {
      wantsVersion = true;
    } else if (argument == L"--set") {
      options.sets = true;
    } else if (argument == L"--json") {
      options.json = true;
    } else if (argument == L"--timeout") {
      options.timeoutInMs = ReadNumber(argument, next, kShortestTimeoutInMs, kLongestTimeoutInMs);
      ++i;
    } else if (argument == L"--repeat") {
      options.repetitions = ReadNumber(argument, next, kFewestRepetitions, kMostRepetitions);
      ++i;
    } else if (argument.starts_with(L"-")) {
      throw UsageError{L"unknown option: " + std::wstring(argument)};
    } else if (options.engine.empty()) {
      options.engine = argument;
    } else {
      throw UsageError{L"too many arguments: " + std::wstring(argument) +
                       L" (a path with spaces belongs in quotation marks)"};
    }
  }
  if (wantsHelp) return options;
  options.command = wantsVersion ? Command::kVersion : Command::kCheck;
  if (!wantsVersion && options.engine.empty()) throw UsageError{L"no engine is named"};
  return options;
}

}  // namespace EngineCheck
