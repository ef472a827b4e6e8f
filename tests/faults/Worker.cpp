#include "faults/Worker.h"

#include <algorithm>
#include <fstream>
#include <sstream>
#include <stdexcept>
#include <string_view>

#include "support/Text.h"

namespace {

// What is made at its first use and kept, by the library or below it, is no leak.
constexpr int kWarmUps = 3;

// For several runs of an operation, on a machine with other things to do.
constexpr std::uint32_t kPatienceInSeconds = 240;
constexpr std::uint32_t kPatienceBetweenCasesInSeconds = 24 * 60 * 60;

const std::vector<std::string>& TraceFunctions() {
  static const std::vector<std::string> functions = {"EventRegister", "EventWrite"};
  return functions;
}

bool IsMemory(const std::string& function) {
  return function == "malloc" || function == "calloc" || function == "realloc";
}

bool IsTracing(const std::string& function) {
  const auto& functions = TraceFunctions();
  return std::find(functions.begin(), functions.end(), function) != functions.end();
}

bool IsReadingOfText(const std::string& function) {
  return function == "GetPrivateProfileSectionW" || function == "GetPrivateProfileStringW";
}

/// These fail as if the file, the section or the key were not there, which is no failure: what is
/// absent has a default. The operation then did something else, as documented. The files of a data
/// folder that can't be had are absent, too.
bool LooksLikeAbsence(const Interposition::Forced& forced, const Traces& traces) {
  const bool hasNoDataFolder = std::any_of(traces.begin(), traces.end(), [](const Trace& trace) {
    return (trace.function == L"CModeChangeSettings::CModeChangeSettings" && trace.line == 82) ||
           (trace.function == L"CModeChangeStatus::CModeChangeStatus" && trace.line == 60);
  });
  return hasNoDataFolder || forced.all.contains("GetFileAttributesW") ||
         forced.all.contains("GetPrivateProfileSectionW") ||
         forced.all.contains("GetPrivateProfileStringW");
}

TracePoints ReadTracePoints() {
  std::ifstream table(TRACE_POINTS);
  TracePoints points;
  std::string line;
  for (std::getline(table, line); std::getline(table, line);) {
    std::istringstream columns(line);
    std::string function;
    std::uint32_t number = 0;
    std::getline(columns, function, '\t');
    columns >> number;
    points.emplace(Text::FromUtf8(function), number);
  }
  if (points.empty()) throw std::runtime_error("no trace points in " TRACE_POINTS);
  return points;
}

OwnPoints ReadOwnPoints() {
  std::ifstream table(OWN_POINTS);
  OwnPoints own;
  std::string line;
  for (std::getline(table, line); std::getline(table, line);) {
    std::istringstream columns(line);
    std::string function;
    std::string traced;
    std::string point;
    std::uint32_t number = 0;
    std::getline(columns, function, '\t');
    std::getline(columns, traced, '\t');
    std::getline(columns, point, '\t');
    columns >> number;
    OwnPoint& row = own[function];
    row.isAlwaysTraced = traced == "always";
    row.points.emplace(Text::FromUtf8(point), number);
  }
  if (own.empty()) throw std::runtime_error("no points in " OWN_POINTS);
  return own;
}

std::string Value(const MachineState& state, const std::string& name) {
  const auto found = state.find(name);
  return found != state.end() ? found->second : "";
}

std::set<std::string> NamesOf(const MachineState& first, const MachineState& second) {
  std::set<std::string> names;
  for (const MachineState* state : {&first, &second}) {
    for (const auto& [name, value] : *state) names.insert(name);
  }
  return names;
}

/// Whether a save failed before it came to the value, but not before its section was begun: the
/// mode has values of the user's then, and leaves this item alone until the user chooses again.
bool IsLeftOutOfBegunSection(const MachineState& left, const std::string& name) {
  constexpr const char* kFile = "Settings.ini [";
  if (name.rfind(kFile, 0) != 0 || !Value(left, name).empty()) return false;
  const std::string section = name.substr(0, name.find(']') + 1);
  return std::any_of(left.begin(), left.end(), [&](const auto& entry) {
    return entry.first.rfind(section, 0) == 0 && !entry.second.empty();
  });
}

/// Whether that holds for a device's item, which switching the mode ON then does not set.
bool IsDeviceOfItemLeftOut(const MachineState& left, const std::string& name) {
  constexpr std::string_view kDevice = "device ";
  if (name.rfind(kDevice, 0) != 0) return false;
  const std::string item = name.substr(kDevice.size());
  return std::any_of(left.begin(), left.end(), [&](const auto& entry) {
    const std::size_t sectionEnd = entry.first.find(']');
    return sectionEnd != std::string::npos &&
           IsLeftOutOfBegunSection(left, entry.first.substr(0, sectionEnd + 1) + " " + item);
  });
}

std::string Describe(const Traces& traces) {
  std::ostringstream stream;
  for (const Trace& trace : traces) stream << " | " << trace;
  return traces.empty() ? " | no traces" : stream.str();
}

bool BeginsWith(const std::string& text, const char* start) {
  return text.rfind(start, 0) == 0;
}

}  // namespace

Worker::Worker()
    : interposition(library.Module()),
      watchdog(interposition),
      traces(interposition),
      handles(interposition),
      memory(interposition),
      machine(interposition, memory, library.Module()),
      operations(AllOperations()),
      tracePoints(ReadTracePoints()),
      ownPoints(ReadOwnPoints()) {
  interposition.SetRecording(false);
  watchdog.SetPatience(kPatienceBetweenCasesInSeconds);
  traces.LeaveOutOfCoverage();
}

CaseResult Worker::Run(const FaultCase& faultCase) {
  watchdog.SetPatience(kPatienceInSeconds);
  CaseResult result = RunCase(faultCase);
  // Between two cases a worker may wait for long.
  watchdog.SetPatience(kPatienceBetweenCasesInSeconds);
  return result;
}

CaseResult Worker::RunCase(const FaultCase& faultCase) {
  const auto operation = std::find_if(
      operations.begin(), operations.end(),
      [&](const Operation& candidate) { return candidate.name == faultCase.operation; });
  if (operation == operations.end()) {
    return {.problems = {"there is no operation of this name"}};
  }
  problems.clear();
  const Baseline& baseline = BaselineOf(*operation);
  if (!problems.empty()) {
    baselines.erase(operation->name);
    return {.problems = std::move(problems)};
  }
  if (faultCase.call == FaultCase::kNone) return {.calls = baseline.calls};

  const std::uint64_t then = memory.Now();
  machine.Reset();
  operation->prepare(machine);
  traces.Forget();
  interposition.ClearCalls();
  interposition.FailAny({.nth = faultCase.call, .onwards = faultCase.onwards}, TraceFunctions());
  const Outcome outcome = Act(*operation);
  const Interposition::Forced forced = interposition.ForcedCalls();
  const std::uint64_t calls = interposition.FallibleCallCount();

  CheckOutcome(*operation, baseline, outcome, forced, faultCase.onwards);
  CheckTraces(*operation, outcome, forced);
  CheckOwnPoint(baseline, outcome, forced, faultCase.onwards);
  const MachineState left = machine.ReadState();
  CheckState(*operation, baseline, left);
  TakeProblems();
  if (forced.count > 0) {
    CheckAgain(*operation, baseline, left, LooksLikeAbsence(forced, outcome.traces));
  }
  Finish();
  CheckBalance(then);
  return {.calls = calls,
          .injected = forced.count,
          .function = forced.first,
          .problems = std::move(problems)};
}

const Worker::Baseline& Worker::BaselineOf(const Operation& operation) {
  const auto known = baselines.find(operation.name);
  if (known != baselines.end()) return known->second;
  Baseline& baseline = baselines[operation.name];
  for (int round = 1; round <= kWarmUps; ++round) {
    const std::uint64_t then = memory.Now();
    machine.Reset();
    operation.prepare(machine);
    baseline.before = machine.ReadState();
    interposition.ClearCalls();
    const Outcome outcome = Act(operation);
    baseline.outcome = outcome.text;
    baseline.traces = outcome.traces;
    baseline.calls = interposition.FallibleCallCount();
    baseline.after = machine.ReadState();
    Finish();
    TakeProblems();
    if (round == kWarmUps) CheckBalance(then);
  }
  if (!problems.empty()) Report("... although nothing failed");
  return baseline;
}

Worker::Outcome Worker::Act(const Operation& operation) {
  Outcome outcome;
  outcome.text = operation.act(machine);
  interposition.StopFailing();
  machine.Pump();
  if (operation.isChange && outcome.text != "bad_alloc") outcome.text += ", " + machine.TakeTold();
  outcome.traces = traces.Take();
  return outcome;
}

void Worker::Finish() {
  if (machine.handle != nullptr) machine.CloseHandle();
  machine.Pump();
}

void Worker::CheckOutcome(const Operation& operation, const Baseline& baseline,
                          const Outcome& outcome, const Interposition::Forced& forced,
                          bool onwards) {
  if (outcome.text == baseline.outcome) return;
  if (forced.count > 0) {
    if (operation.alternatives.contains(outcome.text)) return;
    const bool isMemoryShort = IsMemory(forced.first) || onwards;
    if (isMemoryShort && outcome.text.find("bad_alloc") != std::string::npos) return;
  }
  Report("came out: " + outcome.text + " instead of " + baseline.outcome +
         Describe(outcome.traces));
}

void Worker::CheckTraces(const Operation& operation, const Outcome& outcome,
                         const Interposition::Forced& forced) {
  for (const Trace& trace : outcome.traces) {
    if (!tracePoints.contains({trace.function, trace.line})) {
      std::ostringstream stream;
      stream << "traced at a point that is not listed: " << trace;
      Report(stream.str());
    }
  }
  // A failure that is told to the caller, or to whoever waits for the end of a change.
  const bool isFailure = BeginsWith(outcome.text, "FALSE");
  const bool isFailedChange = outcome.text == "TRUE, told 0";
  if ((!isFailure && !isFailedChange) || IsTracing(forced.first)) return;
  if (outcome.traces.empty()) {
    Report("a failure without a trace: " + outcome.text);
    return;
  }
  const std::wstring wanted = Text::FromUtf8(operation.tracedBy);
  const bool isTraced =
      std::any_of(outcome.traces.begin(), outcome.traces.end(),
                  [&](const Trace& trace) { return trace.function.starts_with(wanted); });
  if (isFailure && !isTraced) {
    Report("a failure that " + operation.tracedBy + " did not trace" + Describe(outcome.traces));
  }
}

/// Up to the one call that fails everything is as without it, so the first trace that differs is
/// the one of the function whose call it was. Memory has no such point: it may run out anywhere.
/// Nor has a text that can't be read, which is an absent one.
void Worker::CheckOwnPoint(const Baseline& baseline, const Outcome& outcome,
                           const Interposition::Forced& forced, bool onwards) {
  if (onwards || forced.count == 0 || IsTracing(forced.first) || IsMemory(forced.first) ||
      IsReadingOfText(forced.first)) {
    return;
  }
  const auto [usual, first] = std::mismatch(baseline.traces.begin(), baseline.traces.end(),
                                            outcome.traces.begin(), outcome.traces.end());
  const auto own = ownPoints.find(forced.first);
  if (first == outcome.traces.end()) {
    if (own != ownPoints.end() && own->second.isAlwaysTraced) {
      Report(forced.first + " failed, and nothing was traced");
    }
    return;
  }
  if (own == ownPoints.end() || !own->second.points.contains({first->function, first->line})) {
    std::ostringstream stream;
    stream << forced.first
           << " failed, and was traced first at a point not listed for it: " << *first;
    Report(stream.str());
  }
}

void Worker::CheckState(const Operation& operation, const Baseline& baseline,
                        const MachineState& after) {
  std::set<std::string> names = NamesOf(baseline.before, baseline.after);
  names.merge(NamesOf(after, {}));
  for (const std::string& name : names) {
    const std::string value = Value(after, name);
    if (value == Value(baseline.before, name) || value == Value(baseline.after, name)) continue;
    const auto allowed = operation.alsoLeaves.find(name);
    if (allowed != operation.alsoLeaves.end() && allowed->second.contains(value)) continue;
    Report(name + " is left as \"" + value + "\", neither \"" + Value(baseline.before, name) +
           "\" nor \"" + Value(baseline.after, name) + "\"");
  }
}

void Worker::CheckAgain(const Operation& operation, const Baseline& baseline,
                        const MachineState& left, bool looksLikeAbsence) {
  if (operation.prepareAgain) operation.prepareAgain(machine);
  const Outcome outcome = Act(operation);
  if (outcome.text != baseline.outcome) {
    Report("done again, without a failing call, came out: " + outcome.text + " instead of " +
           baseline.outcome + Describe(outcome.traces));
  }
  const MachineState after = machine.ReadState();
  if (looksLikeAbsence) {
    CheckState(operation, baseline, after);
    TakeProblems();
    return;
  }
  for (const std::string& name : NamesOf(baseline.after, after)) {
    // A failed change may have taken an item over already: its value then is the normal one now.
    if (name.find("[NormalEnvironment]") != std::string::npos) continue;
    if (Value(after, name) == Value(baseline.after, name)) continue;
    if (Value(after, name) == "-1" && IsLeftOutOfBegunSection(left, name)) continue;
    if (Value(after, name) == Value(left, name) && IsDeviceOfItemLeftOut(left, name)) continue;
    Report("done again, without a failing call, " + name + " is \"" + Value(after, name) +
           "\" instead of \"" + Value(baseline.after, name) + "\"");
  }
  TakeProblems();
}

void Worker::CheckBalance(std::uint64_t then) {
  for (const std::string& held : handles.Held()) Report("not given back: " + held);
  for (const std::string& released : handles.ReleasedUnheld()) {
    Report("given back without being held: " + released);
  }
  for (const std::string& held : memory.HeldSince(then)) Report("not given back: " + held);
  for (const std::string& window : machine.Windows()) Report("not closed: a window of " + window);
  if (traces.OpenRegistrations() != 0) Report("trace registrations are left");
  if (traces.Misuses() != 0) Report("a trace registration was misused");
  for (const auto& [name, engine] : machine.engines) {
    if (engine->openHandles != 0) Report("an engine's handle is left open");
  }
}

void Worker::TakeProblems() {
  for (const std::string& problem : machine.TakeProblems()) Report(problem);
}
