#pragma once

#include <windows.h>

#include <string>
#include <string_view>
#include <vector>

enum class Command { kHelp, kVersion, kList, kShow, kOn, kOff, kSettings };

/// What the user asked for.
struct CommandLine {
  Command command = Command::kHelp;
  std::wstring mode = {};  // empty where `settings` is given none
  bool json = false;
  bool noConfirm = false;
  UINT timeoutSeconds = 60;
};

/// The arguments can't be understood, or name what this machine doesn't have.
struct UsageError {
  std::wstring problem;
};

/// The text of --help.
extern const wchar_t* const kHelp;

/// Reads the arguments after the program's name; throws a UsageError.
[[nodiscard]] CommandLine ParseCommandLine(const std::vector<std::wstring_view>& arguments);
