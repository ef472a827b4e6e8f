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
