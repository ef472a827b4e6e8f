#pragma once

#include <functional>
#include <set>
#include <string>
#include <vector>

#include "SampleMachine.h"

/// One damage to the sample configuration, and the only finding that it leads to.
struct RuleCase {
  struct Place {
    std::wstring file;
    std::wstring section = {};  // empty with a line: from the top; empty without: no line
    std::wstring line = {};     // empty: the section's own
    unsigned number = 0;        // instead, for a file that is written byte by byte
  };

  Rule rule;
  std::function<void(SampleMachine&)> damage;
  Place place;
  std::wstring message;         // what the finding's message has in it
  std::set<Rule> ignored = {};  // consequences of the damage that are not its point
};

[[nodiscard]] std::vector<RuleCase> GetFileCases();
[[nodiscard]] std::vector<RuleCase> GetLineCases();
[[nodiscard]] std::vector<RuleCase> GetListCases();
[[nodiscard]] std::vector<RuleCase> GetLockCases();
[[nodiscard]] std::vector<RuleCase> GetEngineCases();
[[nodiscard]] std::vector<RuleCase> GetTextCases();
[[nodiscard]] std::vector<RuleCase> GetDataCases();
