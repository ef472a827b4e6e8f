#pragma once

#include <filesystem>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "Rules.h"

/// What the user asked for.
struct CheckCommandLine {
  enum class Action { kCheck, kHelp, kVersion, kRules, kAskEngine };

  Action action = Action::kCheck;
  std::filesystem::path folder = {};
  std::filesystem::path dataFolder = {};
  std::filesystem::path engine = {};
  std::wstring locale = {};
  std::set<Rule> ignored = {};
  bool asksEngines = true;
  bool isStrict = false;
  bool json = false;
  bool texts = false;

  /// Reads the arguments after the program's name; throws a CheckUsageError.
  [[nodiscard]] static CheckCommandLine Parse(const std::vector<std::wstring_view>& arguments);
};

/// The arguments can't be understood.
struct CheckUsageError {
  std::wstring problem;
};

/// The text of --help.
extern const wchar_t* const kCheckHelp;
