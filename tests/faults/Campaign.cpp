#include "faults/Campaign.h"

#include <algorithm>
#include <cstdio>
#include <fstream>
#include <iomanip>
#include <random>
#include <sstream>
#include <utility>

#include "faults/Operation.h"
#include "support/Files.h"
#include "support/ImportedFunctions.h"
#include "support/PeImage.h"

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

std::filesystem::path LibraryPath() {
  return Files::ProgramPath().parent_path() / L"ModeChange.dll";
}

/// Of the programs that a campaign is about: cases that another build passed say nothing.
std::string DescribeBuild() {
  std::ostringstream text;
  for (const auto& program : {Files::ProgramPath(), LibraryPath()}) {
    text << std::filesystem::file_size(program) << ' '
         << std::filesystem::last_write_time(program).time_since_epoch().count() << ' ';
  }
  return text.str();
}

/// What the library imports and what can fail, but for the runtime's own calls.
std::set<std::string> FallibleImports() {
  std::set<std::string> functions;
  for (const PeImage::Import& import : PeImage(LibraryPath()).Imports()) {
    const ImportedFunction* known = FindImportedFunction(import.function);
    if (known != nullptr && known->failingResult.has_value()) functions.insert(import.function);
  }
  return functions;
}

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
    ReadProgress();
    PlanRegressions();
    PlanCounting();
    RunPlan();
    PlanCases();
  }
  RunPlan();
  const std::string summary = Summary();
  std::fputs(summary.c_str(), stdout);
  if (!options.report.empty()) std::ofstream(options.report, std::ios::binary) << summary;
  if (progress.is_open() && leftOut == 0 && failedCases.empty()) {
    progress.close();
    // The processes that ran the cases hold the file as well.
    workers.clear();
    std::filesystem::remove(options.progress);
  }
  return failedCases.empty() ? 0 : 1;
}

bool Campaign::PlanOnly() {
  const auto isKnown = [this](const std::string& name) {
    return std::find(operationNames.begin(), operationNames.end(), name) != operationNames.end();
  };
  bool both = false;
  const auto parsed = FaultCase::Parse(options.only, &both);
  if (parsed.has_value() && isKnown(parsed->operation)) {
    Plan(*parsed, /*isMandatory=*/true);
    if (both) Plan({parsed->operation, parsed->call, true}, /*isMandatory=*/true);
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
    Plan(*parsed, /*isMandatory=*/true);
    if (both) Plan({parsed->operation, parsed->call, true}, /*isMandatory=*/true);
  }
}

void Campaign::PlanCounting() {
  for (const std::string& name : operationNames) {
    Plan({.operation = name, .call = FaultCase::kNone}, /*isMandatory=*/true);
    plan.back().isCounting = true;
  }
}

void Campaign::PlanCases() {
  casesStarted = ::GetTickCount64();
  std::mt19937 random(options.seed);
  std::vector<Work> chosen;
  // Turns of one case for each operation: whenever time is over each had its share.
  std::vector<std::vector<FaultCase>> perOperation;
  for (const std::string& name : operationNames) {
    std::vector<FaultCase> cases;
    const auto calls =
        static_cast<std::uint32_t>(std::min<std::uint64_t>(totals[name].calls, kMostCalls));
    for (std::uint32_t call = 1; call <= calls; ++call) {
      for (const bool onwards : {false, true}) {
        cases.push_back({.operation = name, .call = call, .onwards = onwards});
      }
    }
    if (!options.all) std::shuffle(cases.begin(), cases.end(), random);
    perOperation.push_back(std::move(cases));
  }
  for (std::size_t turn = 0, left = 1; left > 0; ++turn) {
    left = 0;
    for (const std::vector<FaultCase>& cases : perOperation) {
      if (turn >= cases.size()) continue;
      ++left;
      if (!passedEarlier.contains(cases[turn].Name())) Plan(cases[turn], /*isMandatory=*/false);
    }
  }
}

void Campaign::Plan(const FaultCase& faultCase, bool isMandatory) {
  plan.push_back({.faultCase = faultCase,
                  .isMandatory = isMandatory,
                  .worker = WorkerFor(faultCase.operation)});
}

void Campaign::ReadProgress() {
  if (options.progress.empty()) return;
  std::ifstream file(options.progress);
  std::string line;
  const bool isSameBuild = std::getline(file, line) && line == DescribeBuild();
  while (isSameBuild && std::getline(file, line)) {
    std::istringstream fields(line);
    std::string name;
    std::string function;
    std::uint64_t injections = 0;
    std::uint64_t milliseconds = 0;
    bool both = false;
    // The last line may have been cut off.
    if (!(fields >> name >> injections >> milliseconds >> function)) continue;
    const auto parsed = FaultCase::Parse(name, &both);
    if (!parsed.has_value() || !passedEarlier.insert(name).second) continue;
    Totals& total = totals[parsed->operation];
    ++total.cases;
    total.injections += injections;
    total.milliseconds += milliseconds;
    if (function != "-") total.functions.insert(function);
  }
  file.close();
  progress.open(options.progress,
                isSameBuild ? std::ios::app | std::ios::binary : std::ios::binary);
  progress << (isSameBuild ? "" : DescribeBuild()) << std::endl;
}

void Campaign::WriteProgress(const Work& work, const CaseResult& result,
                             std::uint64_t milliseconds) {
  if (!progress.is_open() || work.isCounting || !result.problems.empty()) return;
  progress << work.faultCase.Name() << ' ' << result.injected << ' ' << milliseconds << ' '
           << (result.function.empty() ? "-" : result.function) << std::endl;
}

std::uint32_t Campaign::WorkerFor(const std::string& operation) const {
  const auto found = std::find(operationNames.begin(), operationNames.end(), operation);
  return static_cast<std::uint32_t>(found - operationNames.begin()) % options.jobs;
}

void Campaign::RunPlan() {
  workers.resize(options.jobs);
  std::vector<std::pair<Campaign*, std::uint32_t>> arguments;
  for (std::uint32_t i = 0; i < options.jobs; ++i) arguments.emplace_back(this, i);
  std::vector<HANDLE> threads;
  for (auto& argument : arguments) {
    threads.push_back(::CreateThread(
        nullptr, 0,
        [](void* parameter) -> DWORD {
          const auto [campaign, worker] =
              *static_cast<std::pair<Campaign*, std::uint32_t>*>(parameter);
          campaign->RunWorker(worker);
          return 0;
        },
        &argument, 0, nullptr));
  }
  for (HANDLE thread : threads) {
    ::WaitForSingleObject(thread, INFINITE);
    ::CloseHandle(thread);
  }
}

void Campaign::RunWorker(std::uint32_t worker) {
  if (workers[worker] == nullptr) workers[worker] = std::make_unique<WorkerProcess>();
  for (Work work; Next(worker, &work);) {
    const ULONGLONG begun = ::GetTickCount64();
    const CaseResult result = workers[worker]->Run(work.faultCase);
    Done(work, result, ::GetTickCount64() - begun);
  }
}

bool Campaign::Next(std::uint32_t worker, Work* work) {
  const ExclusiveLock guard(lock);
  if (plan.empty()) return false;
  if (IsTimeOver() && !plan.front().isMandatory) {
    leftOut += plan.size();
    plan.clear();
    return false;
  }
  auto next = std::find_if(plan.begin(), plan.end(),
                           [worker](const Work& candidate) { return candidate.worker == worker; });
  if (next == plan.end()) next = plan.begin();
  *work = *next;
  plan.erase(next);
  return true;
}

bool Campaign::IsTimeOver() const {
  return options.seconds > 0 && ::GetTickCount64() - casesStarted > 1000ULL * options.seconds;
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
  WriteProgress(work, result, milliseconds);
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
  const std::set<std::string> fallible = FallibleImports();
  text << "\nnever failed:";
  for (const std::string& function : fallible) {
    if (!sum.functions.contains(function)) text << ' ' << function;
  }
  text << "\nfaults: " << totals.size() << " operations, " << sum.calls << " fallible calls, "
       << sum.cases << " cases";
  if (leftOut > 0) text << " of " << sum.cases + leftOut;
  text << ", " << sum.injections << " injections into " << sum.functions.size() << " of "
       << fallible.size() << " functions, " << failedCases.size() << " failures; "
       << (::GetTickCount64() - started) / 1000 << " s, seed " << options.seed << '\n';
  return text.str();
}
