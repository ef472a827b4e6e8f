#include "Options.h"

namespace ModeTrace {

const wchar_t* const kHelpText =
    LR"(Usage: modetrace [OPTION...]

Shows the failures that ModeChange.dll reports, in all programs, as they happen: module, function,
the number of the failure within the function, and a message. docs/troubleshooting.md says what each
means. Ctrl+C ends it.

  --seconds N    ends after so long
  --decode FILE  shows the events of a file instead: XML as tracerpt and wevtutil write it, or the
                 bytes of one event's payload on each line, as hexadecimal digits
  --json         one JSON object on each line
  --help         this text
  --version      the program's version

Watching needs the rights of an administrator or of the group Performance Log Users. It uses one
trace session, "VeltoModeTrace"; a session of that name that is there already is replaced.

Exit code: 0 done, 1 watching is not possible here, or something can't be decoded, 64 wrong usage,
or there is no such file.)";

namespace {

constexpr UINT kMostSeconds = 7 * 24 * 60 * 60;

UINT ReadSeconds(std::wstring_view text) {
  UINT seconds = 0;
  for (const wchar_t character : text) {
    const bool isDigit = character >= L'0' && character <= L'9';
    // Too long already: stays so, and never overflows.
    seconds = isDigit && seconds <= kMostSeconds
                  ? seconds * 10 + static_cast<UINT>(character - L'0')
                  : kMostSeconds + 1;
  }
  if (seconds == 0 || seconds > kMostSeconds) {
    throw UsageError{L"--seconds needs a number from 1 to " + std::to_wstring(kMostSeconds)};
  }
  return seconds;
}

}  // namespace

Options ParseOptions(const std::vector<std::wstring_view>& arguments) {
  Options options;
  bool wantsHelp = false;
  bool wantsVersion = false;
  for (auto argument = arguments.begin(); argument != arguments.end(); ++argument) {
    if (*argument == L"--help") {
      wantsHelp = true;
    } else if (*argument == L"--version") {
      wantsVersion = true;
    } else if (*argument == L"--json") {
      options.json = true;
    } else if (*argument == L"--seconds") {
      if (++argument == arguments.end()) throw UsageError{L"--seconds needs a number"};
      options.seconds = ReadSeconds(*argument);
    } else if (*argument == L"--decode") {
      if (++argument == arguments.end()) throw UsageError{L"--decode needs a file"};
      options.command = Command::kDecode;
      options.file = *argument;
    } else {
      throw UsageError{L"unknown argument: " + std::wstring(*argument)};
    }
  }
  if (options.command == Command::kDecode && options.seconds != 0) {
    throw UsageError{L"--seconds is for watching, not for --decode"};
  }
  if (wantsVersion) options.command = Command::kVersion;
  if (wantsHelp) options.command = Command::kHelp;
  return options;
}

}  // namespace ModeTrace
