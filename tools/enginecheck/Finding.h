#pragma once

#include <string>

namespace EngineCheck {

/// From the best to the worst.
enum class Severity { kOk, kNote, kWarning, kFailure };

/// What one check came to.
struct Finding {
  Severity severity = Severity::kOk;
  std::wstring area;
  std::wstring check;   // a short name that stays the same, for scripts
  std::wstring text;    // what was seen
  std::wstring advice;  // what to do about it; empty where there is nothing to do
};

}  // namespace EngineCheck
