#pragma once

#include <windows.h>

#include <string>
#include <string_view>
#include <vector>

namespace ModeTrace {

enum class Command { kHelp, kVersion, kWatch, kDecode };

/// What the user asked for.
struct Options {
  Command command = Command::kWatch;
  std::wstring file;  // to decode
  UINT seconds = 0;   // to watch; 0 until the user stops it
  bool json = false;
};

/// The arguments can't be understood.
struct UsageError {
  std::wstring problem;
};

/// The text of --help.
extern const wchar_t* const kHelpText;

/// Reads the arguments after the program's name; throws a UsageError.
[[nodiscard]] Options ParseOptions(const std::vector<std::wstring_view>& arguments);

}  // namespace ModeTrace
