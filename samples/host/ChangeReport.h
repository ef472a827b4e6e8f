#pragma once

#include <windows.h>

#include <optional>
#include <string>

/// A change that was requested and waited for.
struct Change {
  std::wstring mode = {};
  INT32 wanted = 0;
  INT32 statusBefore = 0;
  INT32 statusAfter = 0;
  bool couldBeCancelled = true;
  std::optional<WPARAM> result = {};  // a VELTO_MODE_CHANGE_... value; none when the time was over
};

/// What the user is told, and what the program returns.
struct ChangeReport {
  int exitCode;
  std::wstring text;
};

/// Says what became of a change. The library reports a cancelled one as completed; that it was
/// cancelled shows in the mode's status, which then is not the wanted one.
[[nodiscard]] ChangeReport ReportChange(const Change& change);
