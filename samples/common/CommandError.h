#pragma once

#include <windows.h>

#include <string>

/// What went wrong and what the user can do about it. Thrown, and shown at the program's edge.
struct CommandError {
  /// For a program that has sentences of its own, in its user's language.
  enum class Cause {
    kOther,
    kLibraryMissing,
    kLibraryDamaged,
    kConfiguration,
    kAnswer,
    kRequest,
    kSettings,
    kDataFolder,
  };

  std::wstring problem;
  std::wstring remedy;
  Cause cause = Cause::kOther;
  std::wstring place = {};  // the file or folder that it is about, where there is one
};

/// The system's text for an error number, followed by the number.
[[nodiscard]] std::wstring DescribeError(DWORD error);
