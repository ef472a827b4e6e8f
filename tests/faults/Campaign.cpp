#include "faults/Campaign.h"

#include <algorithm>
#include <cstdio>
#include <fstream>
#include <iomanip>
#include <random>
#include <sstream>

#include "faults/Operation.h"
#include "faults/WorkerProcess.h"

namespace {

class ExclusiveLock {
 public:
  explicit ExclusiveLock(SRWLOCK& lock) : lock(lock) { ::AcquireSRWLockExclusive(&lock); }
  ~ExclusiveLock() { ::ReleaseSRWLockExclusive(&lock); }
  ExclusiveLock(const ExclusiveLock&) = delete;
  ExclusiveLock& operator=(const ExclusiveLock&) = delete;

 private:
  SRWLOCK& lock;
};

// A call that no operation makes: such a case fails nothing and only counts.
constexpr std::uint32_t kNoCall = 0xFFFFFFFF;

// An operation that needs this many calls is not the one that was meant to be counted.
constexpr std::uint32_t kMostCalls = 200'000;

}  // namespace

int Campaign::Run() {
  for (const Operation& operation : AllOperations()) operationNames.push_back(operation.name);
  if (!options.only.empty()) {
    if (!PlanOnly()) {
      std::fprintf(stderr, "there is no such operation or case: %s\n", options.only.c_str());
      return 64;
    }
  } else {
    PlanRegressions();
    PlanCounting();
    RunPlan();
    PlanCases();
  }
  RunPlan();
  const std::string summary = Summary();
  std::fputs(summary.c_str(), stdout);
  if (!options.report.empty()) std::ofstream(options.report, std::ios::binary) << summary;
  return failedCases.empty() ? 0 : 1;
}

bool Campaign::PlanOnly() {
  const auto isKnown = [this](const std::string& name) {
    return std::find(operationNames.begin(), operationNames.end(), name) != operationNames.end();
  };
  bool both = false;
  const auto parsed = FaultCase::Parse(options.only, &both);
  if (parsed.has_value() && isKnown(parsed->operation)) {
    plan.push_back({.faultCase = *parsed, .isMandatory = true});
    if (both) {
      plan.push_back({.faultCase = *parsed, .isMandatory = true});
      plan.back().faultCase.onwards = true;
    }
    return true;
  }
  if (!isKnown(options.only)) return false;
  operationNames = {options.only};
  PlanCounting();
  RunPlan();
  options.all = true;
  PlanCases();
  return true;
}

void Campaign::PlanRegressions() {
  if (options.regressions.empty()) return;
  std::ifstream file(options.regressions);
  for (std::string line; std::getline(file, line);) {
    line = line.substr(0, line.find_first_of(" \t\r#"));
    if (line.empty()) continue;
    bool both = false;
    const auto parsed = FaultCase::Parse(line, &both);
    if (!parsed.has_value()) {
      std::fprintf(stderr, "%s: not a case: %s\n", options.regressions.c_str(), line.c_str());
      failedCases.push_back(line);
      continue;
    }
    plan.push_back({.faultCase = *parsed, .isMandatory = true});
  }
}

void Campaign::PlanCounting() {
  for (const std::string& name : operationNames) {
    plan.push_back({.faultCase = {.operation = name, .call = kNoCall},
                    .isCounting = true,
                    .isMandatory = true});
  }
}

void Campaign::PlanCases() {
  std::mt19937 random(options.seed);
  std::vector<Work> chosen;
  // Turns of one case for each operation: whenever time is over each had its share.
  std::vector<std::vector<Work>> perOperation;
  for (const std::string& name : operationNames) {
    std::vector<Work> cases;
    const auto calls = static_cast<std::uint32_t>(std::min<std::uint64_t>(totals[name].calls, kMostCalls));
    for (std::uint32_t call = 1; call <= calls; ++call) {
      for (const bool onwards : {false, true}) {
        cases.push_back({.faultCase = {.operation = name, .call = call, .onwards = onwards}});
      }
    }
    if (!options.all) std::shuffle(cases.begin(), cases.end(), random);
    perOperation.push_back(std::move(cases));
  }
  for (std::size_t turn = 0, left = 1; left > 0; ++turn) {
    left = 0;
    for (const std::vector<Work>& cases : perOperation) {
      if (turn >= cases.size()) continue;
      plan.push_back(cases[turn]);
      ++left;
    }
  }
}

void Campaign::RunPlan() {
  std::vector<HANDLE> threads;
  const std::uint32_t count = std::min<std::uint32_t>(options.jobs, std::uint32_t{MAXIMUM_WAIT_OBJECTS});
  for (std::uint32_t i = 0; i < count; ++i) {
    threads.push_back(::CreateThread(nullptr, 0, &Campaign::RunWorker, this, 0, nullptr));
  }
  ::WaitForMultipleObjects(count, threads.data(), TRUE, INFINITE);
  for (HANDLE thread : threads) ::CloseHandle(thread);
}

DWORD WINAPI Campaign::RunWorker(void* campaign) {
  static_cast<Campaign*>(campaign)->RunWorker();
  return 0;
}

void Campaign::RunWorker() {
  WorkerProcess worker;
  for (Work work; Next(&work);) {
    const ULONGLONG begun = ::GetTickCount64();
    const CaseResult result = worker.Run(work.faultCase);
    Done(work, result, ::GetTickCount64() - begun);
  }
}

bool Campaign::Next(Work* work) {
  const ExclusiveLock guard(lock);
  if (plan.empty()) return false;
  if (IsTimeOver() && !plan.front().isMandatory) {
    leftOut += plan.size();
    plan.clear();
    return false;
  }
  *work = plan.front();
  plan.pop_front();
  return true;
}

bool Campaign::IsTimeOver() const {
  return options.seconds > 0 && ::GetTickCount64() - started > 1000ULL * options.seconds;
}

void Campaign::Done(const Work& work, const CaseResult& result, std::uint64_t milliseconds) {
  const ExclusiveLock guard(lock);
  Totals& total = totals[work.faultCase.operation];
  if (work.isCounting) total.calls = result.calls;
  if (!work.isCounting) ++total.cases;
  total.injections += result.injected;
  if (!work.isCounting) total.milliseconds += milliseconds;
  if (!result.function.empty()) total.functions.insert(result.function);
  if (options.verbose && !work.isCounting) {
    std::printf("%s: %s, %llu calls\n", work.faultCase.Name().c_str(),
                result.injected > 0 ? result.function.c_str() : "nothing injected",
                static_cast<unsigned long long>(result.calls));
  }
  if (result.problems.empty()) return;
  ++total.failures;
  failedCases.push_back(work.faultCase.Name());
  std::printf("\nFAILED %s (%s)\n", work.faultCase.Name().c_str(), result.function.c_str());
  for (const std::string& problem : result.problems) std::printf("  %s\n", problem.c_str());
  std::printf("  again: scripts/faults.sh --only %s\n", work.faultCase.Name().c_str());
  std::fflush(stdout);
}

std::string Campaign::Summary() const {
  std::ostringstream text;
  const auto row = [&text](const std::string& name, const auto&... cells) {
    text << std::left << std::setw(32) << name << std::right;
    ((text << ' ' << std::setw(10) << cells), ...);
    text << '\n';
  };
  text << '\n';
  row("operation", "calls", "cases", "injections", "failures", "ms/case");
  Totals sum;
  for (const std::string& name : operationNames) {
    const auto found = totals.find(name);
    if (found == totals.end()) continue;
    const Totals& total = found->second;
    row(name, total.calls, total.cases, total.injections, total.failures,
        total.cases > 0 ? total.milliseconds / total.cases : 0);
    sum.calls += total.calls;
    sum.cases += total.cases;
    sum.injections += total.injections;
    sum.functions.insert(total.functions.begin(), total.functions.end());
  }
  text << "\nfaults: " << operationNames.size() << " operations, " << sum.calls
       << " fallible calls, " << sum.cases << " cases";
  if (leftOut > 0) text << " of " << sum.cases + leftOut;
  text << ", " << sum.injections << " injections into " << sum.functions.size() << " functions, "
       << failedCases.size() << " failures; " << (::GetTickCount64() - started) / 1000
       << " s, seed " << options.seed << '\n';
  return text.str();
}
