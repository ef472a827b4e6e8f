#include "Findings.h"

#include <algorithm>

void Findings::NameFile(const std::wstring& file) {
  if (std::find(files.begin(), files.end(), file) == files.end()) files.push_back(file);
}

void Findings::Add(Rule rule, const std::wstring& file, unsigned line, std::wstring message) {
  if (ignored.contains(rule)) return;
  // What was only counted is not compared: the messages are not made.
  if (Wants(rule, file) && !added.emplace(file, line, rule, message).second) return;
  NameFile(file);
  if (++counts[{file, rule}] > kMostOfARule) {
    ++leftOut;
    return;
  }
  findings.push_back({file, line, rule, std::move(message)});
}

bool Findings::Wants(Rule rule, const std::wstring& file) const {
  if (ignored.contains(rule)) return false;
  const auto count = counts.find({file, rule});
  return count == counts.end() || count->second < kMostOfARule;
}

std::vector<Finding> Findings::Sorted() const {
  const auto place = [this](const Finding& finding) {
    const auto file = std::find(files.begin(), files.end(), finding.file);
    return std::pair(file - files.begin(), finding.line);
  };
  std::vector<Finding> sorted = findings;
  std::stable_sort(
      sorted.begin(), sorted.end(),
      [&place](const Finding& one, const Finding& other) { return place(one) < place(other); });
  return sorted;
}

std::size_t Findings::Count(Severity severity) const {
  std::size_t sum = 0;
  for (const auto& [place, count] : counts) {
    if (GetRuleText(place.second).severity == severity) sum += count;
  }
  return sum;
}
