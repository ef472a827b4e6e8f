#pragma once

#include <string>

#include "Journal.h"

namespace EngineCheck {

/// One check, which may be made in several places: reports each fault as it is found, and OK at the
/// end where there was none. Of many faults of a kind only the first few are told one by one.
class Check {
 public:
  Check(const Journal& journal, std::wstring area, std::wstring name)
      : journal(journal), area(std::move(area)), name(std::move(name)) {}

  void Fail(const std::wstring& text, const std::wstring& advice) {
    Add(Severity::kFailure, text, advice);
  }
  void Warn(const std::wstring& text, const std::wstring& advice) {
    Add(Severity::kWarning, text, advice);
  }
  void Note(const std::wstring& text, const std::wstring& advice = {}) {
    Add(Severity::kNote, text, advice);
  }
  /// Ends the check; `text` says what is all right where nothing was found.
  void Finish(const std::wstring& text);

  [[nodiscard]] bool HasFault() const noexcept { return count != 0; }
  [[nodiscard]] bool HasFailed() const noexcept { return worst == Severity::kFailure; }

 private:
  void Add(Severity severity, const std::wstring& text, const std::wstring& advice);

  const Journal& journal;
  std::wstring area;
  std::wstring name;
  unsigned count = 0;
  Severity worst = Severity::kOk;
};

}  // namespace EngineCheck
