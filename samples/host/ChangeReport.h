#pragma once

#include <string>

#include "Change.h"

/// What the user is told, and what the program returns.
struct ChangeReport {
  int exitCode;
  std::wstring text;
};

/// Says what became of a change. The library reports a cancelled one as completed; that it was
/// cancelled shows in the mode's status, which then is not the wanted one.
[[nodiscard]] ChangeReport ReportChange(const Change& change);
