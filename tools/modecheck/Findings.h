#pragma once

#include <map>
#include <set>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include "Rules.h"

/// One thing that is wrong, and where.
struct Finding {
  std::wstring file;
  unsigned line;  // 0 where the file as a whole is meant
  Rule rule;
  std::wstring message;  // what is wrong and what to do, in sentences
};

/// What the checks find. A file that is wrong from end to end is told of briefly: after some
/// findings of a rule in a file, the rest are counted only.
class Findings {
 public:
  static constexpr std::size_t kMostOfARule = 50;

  explicit Findings(std::set<Rule> ignored = {}) : ignored(std::move(ignored)) {}

  /// Names a file, so that its findings come behind those of the files named before.
  void NameFile(const std::wstring& file);
  /// The same finding a second time is left out.
  void Add(Rule rule, const std::wstring& file, unsigned line, std::wstring message);
  /// Whether Add would keep a finding, for messages that take long to make.
  [[nodiscard]] bool Wants(Rule rule, const std::wstring& file) const;

  /// By file, in the order in which files were first named, then by line.
  [[nodiscard]] std::vector<Finding> Sorted() const;
  /// How many findings were counted only.
  [[nodiscard]] std::size_t LeftOut() const noexcept { return leftOut; }
  [[nodiscard]] std::size_t Count(Severity severity) const;

 private:
  std::set<Rule> ignored;
  std::vector<Finding> findings;
  std::vector<std::wstring> files;  // in their order
  std::map<std::pair<std::wstring, Rule>, std::size_t> counts;
  std::set<std::tuple<std::wstring, unsigned, Rule, std::wstring>> added;
  std::size_t leftOut = 0;
};
