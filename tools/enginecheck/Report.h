#pragma once

#include <string>
#include <vector>

#include "Finding.h"

namespace EngineCheck {

constexpr int kExitPassed = 0;
constexpr int kExitFailed = 1;
constexpr int kExitNotMade = 2;
constexpr int kExitWrongUsage = 64;

/// All findings of a run, and how they are shown.
class Report {
 public:
  Report(std::wstring engine, bool hasSet) : engine(std::move(engine)), hasSet(hasSet) {}

  void Add(const Finding& finding) { findings.push_back(finding); }
  void SetStopped() noexcept { isStopped = true; }

  [[nodiscard]] int ExitCode() const;

  /// For people: a heading, each finding, and the result.
  [[nodiscard]] std::wstring Title() const;
  /// The finding that was added last.
  [[nodiscard]] std::wstring LastFinding() const;
  [[nodiscard]] std::wstring Summary() const;

  /// All of it for programs.
  [[nodiscard]] std::wstring Json() const;

 private:
  [[nodiscard]] std::size_t Count(Severity severity) const;
  [[nodiscard]] const wchar_t* Result() const;

  std::wstring engine;
  bool hasSet;
  bool isStopped = false;
  std::vector<Finding> findings;
};

}  // namespace EngineCheck
