#pragma once

#include <windows.h>

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace EngineCheck {

enum class Command { kHelp, kVersion, kCheck };

/// What the user asked for.
struct Options {
  Command command = Command::kHelp;
  std::wstring engine;  // as the user wrote it
  bool sets = false;
  bool json = false;
  UINT timeoutInMs = 10'000;
  UINT repetitions = 10;
};

/// The arguments can't be understood.
struct UsageError {
  std::wstring problem;
};

/// The text of --help.
extern const wchar_t* const kHelpText;

/// Reads the arguments after the program's name; throws a UsageError.
[[nodiscard]] Options ParseOptions(const std::vector<std::wstring_view>& arguments);

/// A number of decimal digits from `least` to `most`, or none.
[[nodiscard]] std::optional<UINT> ParseNumber(std::wstring_view text, UINT least, UINT most);

}  // namespace EngineCheck
