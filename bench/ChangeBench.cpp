// Compares changes of a mode, through the library's exports, with the bare calls that they need.
//
//     change_bench.exe [ROUNDS | --calls]
//
// A machine of 16, 64 and 256 setting items, each with an engine file of its own that completes at
// once. Two references are recorded from a change of the library's:
//
//   bare       for each item: load the engine, call it, read and write profiles, await completion
//   all calls  whatever else the library asks of Windows as well: files, folders, events, messages
//
// --calls prints the calls that an item takes.

#include <windows.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cwchar>
#include <deque>
#include <exception>
#include <filesystem>
#include <functional>
#include <iterator>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "BareCalls.h"
#include "BenchHost.h"
#include "BenchMachine.h"
#include "DataFolderRedirection.h"
#include "EngineCallRecorder.h"
#include "Measure.h"
#include "support/Files.h"
#include "support/LoadedLibrary.h"
#include "support/Supervisor.h"

namespace {

namespace fs = std::filesystem;

constexpr double kAim = 1.10;
constexpr std::size_t kItemCounts[] = {16, 64, 256};
constexpr std::size_t kDefaultRounds = 101;
constexpr std::size_t kFewestRounds = 21;

struct Direction {
  INT32 status;
  const char* name;
};
constexpr Direction kDirections[] = {{VELTO_MODE_STATUS_ON, "ON"}, {VELTO_MODE_STATUS_OFF, "OFF"}};

struct RecordedChange {
  const char* direction;
  std::vector<Call> calls;
};
using Recording = std::vector<RecordedChange>;

Recording Record(HMODULE library, const BenchMachine& machine, const BenchHost& host) {
  // Only here: the times are taken without anything between the library and Windows.
  EngineCallRecorder recorder(library);
  Recording recording;
  machine.ResetStatus();
  for (const Direction& direction : kDirections) {
    static_cast<void>(recorder.Take());
    host.Change(direction.status);
    recording.push_back({direction.name, recorder.Take()});
  }
  return recording;
}

bool IsNeeded(const Call& call) {
  constexpr std::string_view kNeeded[] = {
      "LoadLibraryW",
      "FreeLibrary",
      "GetProcAddress",
      "GetPrivateProfileIntW",
      "GetPrivateProfileStringW",
      "GetPrivateProfileSectionW",
      "WritePrivateProfileStringW",
  };
  return call.module == "engine" ||
         std::find(std::begin(kNeeded), std::end(kNeeded), call.function) != std::end(kNeeded);
}

std::vector<Call> SelectNeeded(const std::vector<Call>& calls) {
  std::vector<Call> needed;
  std::copy_if(calls.begin(), calls.end(), std::back_inserter(needed), IsNeeded);
  return needed;
}

struct Series {
  const char* direction;
  std::vector<double> library = {};
  std::vector<double> bare = {};
  std::vector<double> allCalls = {};
};

/// The same change done in three ways; the references by direction.
struct Subject {
  const BenchMachine& machine;
  const BenchHost& host;
  std::deque<BareCalls> bare = {};
  std::deque<BareCalls> allCalls = {};
};

/// ON and OFF, from a fresh status file; each way's time is added to its series.
template <class Change>
void TakeTurn(const BenchMachine& machine, std::vector<Series>* series,
              std::vector<double> Series::*times, const Change& change) {
  machine.ResetStatus();
  for (std::size_t i = 0; i < std::size(kDirections); ++i) {
    ((*series)[i].*times).push_back(Measure::Microseconds(1, [&] { change(i); }));
  }
}

std::vector<Series> Compare(const Subject& subject, std::size_t rounds) {
  std::vector<Series> series;
  for (const Direction& direction : kDirections) series.push_back({.direction = direction.name});
  const auto runLibrary = [&] {
    TakeTurn(subject.machine, &series, &Series::library,
             [&](std::size_t i) { subject.host.Change(kDirections[i].status); });
  };
  const auto runBare = [&] {
    TakeTurn(subject.machine, &series, &Series::bare,
             [&](std::size_t i) { subject.bare[i].Run(); });
  };
  const auto runAllCalls = [&] {
    TakeTurn(subject.machine, &series, &Series::allCalls,
             [&](std::size_t i) { subject.allCalls[i].Run(); });
  };
  for (std::size_t round = 0; round < rounds; ++round) {
    // Each goes first in every other round.
    if (round % 2 == 0) {
      runLibrary();
      runBare();
      runAllCalls();
    } else {
      runAllCalls();
      runBare();
      runLibrary();
    }
  }
  return series;
}

/// The references have to do to the status file what the library does, and that is not nothing.
void RequireSameEffect(const Subject& subject) {
  const auto statusAfter = [&](const auto& turnOn) {
    subject.machine.ResetStatus();
    turnOn();
    return subject.machine.ReadStatus();
  };
  const std::string unchanged = statusAfter([] {});
  const std::string expected = statusAfter([&] { subject.host.Change(VELTO_MODE_STATUS_ON); });
  if (expected == unchanged || statusAfter([&] { subject.bare[0].Run(); }) != expected ||
      statusAfter([&] { subject.allCalls[0].Run(); }) != expected) {
    throw std::runtime_error("the bare calls do something else than the library");
  }
}

/// Round by round, so that what slows both down for a while drops out.
template <class Operation>
double CompareRounds(const std::vector<double>& times, const std::vector<double>& reference,
                     const Operation& operation) {
  std::vector<double> results;
  std::transform(times.begin(), times.end(), reference.begin(), std::back_inserter(results),
                 operation);
  return Measure::Median(results);
}

void PrintRow(std::size_t itemCount, const Series& series) {
  const auto items = static_cast<double>(itemCount);
  const double library = Measure::Median(series.library);
  const double bare = Measure::Median(series.bare);
  std::printf("%5zu %-6s %10.2f %10.2f %6.3f %9.3f %12.1f %10.1f %9.1f\n", itemCount,
              series.direction, library / 1000, bare / 1000,
              CompareRounds(series.library, series.bare, std::divides<>()),
              CompareRounds(series.library, series.allCalls, std::divides<>()), library / items,
              bare / items, CompareRounds(series.library, series.bare, std::minus<>()) / items);
  std::fflush(stdout);
}

/// From one engine's load to the next: an item in the middle, beginning with its engine.
void PrintCallsOfAnItem(const std::vector<Call>& calls) {
  std::vector<std::vector<Call>::const_iterator> loads;
  for (auto call = calls.begin(); call != calls.end(); ++call) {
    if (call->function == "LoadLibraryW") loads.push_back(call);
  }
  std::size_t times = 1;
  for (auto call = loads.at(1); call != loads.at(2); ++call, ++times) {
    if (std::next(call)->function == call->function) continue;
    std::printf("  %3zu  %s%s\n", times, call->function.c_str(), IsNeeded(*call) ? "" : "  *");
    times = 0;
  }
}

int PrintCalls(HMODULE library, const BenchMachine& machine) {
  const BenchHost host(library);
  for (const RecordedChange& change : Record(library, machine, host)) {
    std::printf("\nOne item of a change to %s; the bare loop is without those marked *\n\n",
                change.direction);
    PrintCallsOfAnItem(change.calls);
  }
  return EXIT_SUCCESS;
}

void CompareAndPrint(HMODULE library, const BenchMachine& machine, std::size_t itemCount,
                     std::size_t rounds) {
  const BenchHost host(library);
  Subject subject{.machine = machine, .host = host};
  for (const RecordedChange& change : Record(library, machine, host)) {
    subject.bare.emplace_back(SelectNeeded(change.calls), host.Window());
    subject.allCalls.emplace_back(change.calls, host.Window());
  }
  RequireSameEffect(subject);
  for (const Series& series : Compare(subject, rounds)) PrintRow(itemCount, series);
}

int Run(std::size_t rounds, bool onlyCalls) {
  const fs::path folder = Files::ProgramPath().parent_path();
  const fs::path engine = folder / L"BenchEngine.dll";
  const LoadedLibrary library;
  if (onlyCalls) {
    const BenchMachine machine(folder, engine, kItemCounts[0]);
    const DataFolderRedirection redirection(library.Module(), machine.ApplicationData());
    return PrintCalls(library.Module(), machine);
  }
  std::printf("medians of %zu rounds with %zu items, and of fewer with more\n\n", rounds,
              kItemCounts[0]);
  std::printf("                     ms of a change        ratio to      microseconds of an item\n");
  std::printf("%5s %-6s %10s %10s %6s %9s %12s %10s %9s\n", "items", "change", "library", "bare",
              "bare", "all calls", "library", "bare", "beyond");
  for (const std::size_t itemCount : kItemCounts) {
    const BenchMachine machine(folder, engine, itemCount);
    const DataFolderRedirection redirection(library.Module(), machine.ApplicationData());
    CompareAndPrint(library.Module(), machine, itemCount,
                    std::max(kFewestRounds, rounds * kItemCounts[0] / itemCount));
  }
  std::printf("\nThe aim is a ratio of at most %.2f to the bare loop.\n", kAim);
  return EXIT_SUCCESS;
}

}  // namespace

int wmain(int argc, wchar_t** argv) {
  if (!Supervisor::IsSupervised()) return Supervisor::Run();
  const bool onlyCalls = argc == 2 && std::wcscmp(argv[1], L"--calls") == 0;
  const std::size_t rounds =
      argc > 1 && !onlyCalls ? std::wcstoul(argv[1], nullptr, 10) : kDefaultRounds;
  if (argc > 2 || rounds == 0) {
    std::fprintf(stderr, "usage: change_bench.exe [ROUNDS | --calls]\n");
    return 64;
  }
  try {
    return Run(rounds, onlyCalls);
  } catch (const std::exception& exception) {
    std::fprintf(stderr, "%s\n", exception.what());
    return EXIT_FAILURE;
  }
}
