#pragma once

#include <windows.h>

#include <string>

/// What went wrong and what the user can do about it. Thrown, and shown at the program's edge.
struct CommandError {
  std::wstring problem;
  std::wstring remedy;
};

/// The system's text for an error number, followed by the number.
[[nodiscard]] std::wstring DescribeError(DWORD error);
