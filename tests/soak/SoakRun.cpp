#include "soak/SoakRun.h"

#include <windows.h>

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <functional>
#include <stdexcept>
#include <string>
#include <vector>

#include "resources/ControlIds.h"
#include "soak/LibraryBalance.h"
#include "soak/ProcessResources.h"
#include "soak/ReferenceWork.h"
#include "soak/SoakHost.h"
#include "soak/SoakMachine.h"
#include "support/Interposition.h"
#include "support/LoadedLibrary.h"
#include "support/Sandbox.h"
#include "support/Watchdog.h"

namespace SoakRun {

namespace {

constexpr std::uint32_t kPatienceOfARoundInSeconds = 100;

/// What Windows keeps for good it has then.
constexpr std::size_t kRoundsOfWarmUp = 2;

/// Private bytes may grow so much from the first block's end to the last one's: half a block of the
/// heap for each operation, as the smallest has 32 bytes, and some pages that come and go.
constexpr std::int64_t GetMostGrowthInBytes(std::size_t operations) {
  return 64 * 1024 + 16 * static_cast<std::int64_t>(operations);
}

/// An operation, next to the reference work at the same time, may take so much longer in the last
/// block than in the first. Fewer rounds than these say nothing about it.
constexpr double kMostSlowdown = 1.25;
constexpr std::size_t kFewestRoundsForTime = 50;

double Median(std::vector<double>& values) {
  const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
  std::nth_element(values.begin(), middle, values.end());
  return *middle;
}

double Milliseconds(const std::function<void()>& run) {
  const auto begin = std::chrono::steady_clock::now();
  run();
  const std::chrono::duration<double, std::milli> time = std::chrono::steady_clock::now() - begin;
  return time.count();
}

/// Everything as it is between two blocks.
struct State {
  ProcessResources process;
  std::int64_t heapBlocks = 0;
  std::int64_t held = 0;
};

struct Block {
  State state;  // at its end
  double milliseconds = 0;
  double ratio = 0;  // to the reference work
};

class Campaign {
 public:
  Campaign()
      : interposition(library.Module()),
        watchdog(interposition),
        balance(interposition),
        sandbox(interposition),
        machine(sandbox),
        reference(sandbox, machine) {
    // Millions of calls.
    interposition.SetRecording(false);
    HurryProgressDialogs();
  }

  bool Run(std::size_t changes, std::size_t dialogs) {
    {
      SoakHost host(library.Module());
      RunBlocks("changes", changes, [&host] { ChangeModes(host); });
      RunBlocks("dialogs", dialogs, [&host, this] { ShowDialogs(host); });
      Require(interposition.Count("DialogBoxParamW") == expectedDialogs,
              "there were " + std::to_string(interposition.Count("DialogBoxParamW")) +
                  " dialogs instead of " + std::to_string(expectedDialogs));
    }
    RequireSame("held by the library when all is closed", 0, balance.Held());
    Require(balance.Failures() == 0,
            "the library traced or showed " + std::to_string(balance.Failures()) + " failures");
    Require(balance.TakenEver() > changes + dialogs, "next to nothing was counted");
    return isWithinLimits;
  }

 private:
  /// On and over and off again.
  static void ChangeModes(SoakHost& host) {
    host.Change(SoakHost::kEco, 1);
    host.Change(SoakHost::kCradle, 1);
    host.Change(SoakHost::kEco, 1);
    host.Change(SoakHost::kEco, 0);
  }

  /// Looked at and cancelled, saved while the mode is off, saved while it is on, restored.
  void ShowDialogs(SoakHost& host) {
    const auto ok = [](HWND dialog) { SoakHost::Click(dialog, IDC_OK_BUTTON); };
    const auto cancel = [](HWND dialog) { SoakHost::Click(dialog, IDC_CANCEL_BUTTON); };
    host.ShowSettings(
        {[](HWND dialog) { SoakHost::ChooseMode(dialog, SoakHost::kCradle); }, cancel});
    host.ShowSettings({[](HWND dialog) { SoakHost::ChooseFirstItem(dialog, 0); }, ok});
    RequireSaved(L"0");
    host.Change(SoakHost::kEco, 1);
    host.ShowSettings({[](HWND dialog) { SoakHost::ChooseFirstItem(dialog, 1); }, ok});
    RequireSaved(L"1");
    host.Change(SoakHost::kEco, 0);
    host.ShowSettings(
        {[](HWND dialog) { SoakHost::ClickInArea(dialog, IDC_RESTORE_DEFAULTS_BUTTON); },
         [](HWND dialog) { SoakHost::Click(dialog, IDC_APPLY_BUTTON); },
         [](HWND dialog) { ::PostMessageW(dialog, WM_SYSCOMMAND, SC_CLOSE, 0); }});
    // Off and on again take a dialog each.
    expectedDialogs += kOperationsPerRound + 2;
  }

  void RequireSaved(const wchar_t* value) const {
    if (machine.Saved(L"Eco", 0) != value) throw std::runtime_error("the settings are not saved");
  }

  void RunBlocks(const char* name, std::size_t operations, const std::function<void()>& round) {
    const std::size_t rounds = operations / kMultiple;
    for (std::size_t i = 0; i < kRoundsOfWarmUp; ++i) {
      watchdog.SetPatience(kPatienceOfARoundInSeconds);
      round();
      reference.Run();
    }
    times.reserve(rounds);
    ratios.reserve(rounds);

    std::printf("%zu %s\n\n", operations, name);
    std::printf("%8s %9s %9s %8s %5s %8s %6s %8s %11s\n", "after", "ms each", "relative", "handles",
                "GDI", "windows", "held", "heap", "private KB");
    std::vector<Block> blocks(kBlocks);
    for (std::size_t i = 0; i < kBlocks; ++i) {
      blocks[i] = RunBlock(rounds, round);
      PrintRow((i + 1) * rounds * kOperationsPerRound, blocks[i]);
    }
    std::printf("\n");
    Judge(blocks.front(), blocks.back(), rounds);
  }

  Block RunBlock(std::size_t rounds, const std::function<void()>& round) {
    const auto runReference = [this] { return Milliseconds([this] { reference.Run(); }); };
    times.clear();
    ratios.clear();
    double referenceBefore = runReference();
    for (std::size_t i = 0; i < rounds; ++i) {
      watchdog.SetPatience(kPatienceOfARoundInSeconds);
      const double time = Milliseconds(round) / kOperationsPerRound;
      const double referenceAfter = runReference();
      times.push_back(time);
      ratios.push_back(2 * time / (referenceBefore + referenceAfter));
      referenceBefore = referenceAfter;
    }
    return {.state = {.process = ProcessResources::Now(),
                      .heapBlocks = balance.HeapBlocks(),
                      .held = balance.Held()},
            .milliseconds = Median(times),
            .ratio = Median(ratios)};
  }

  static void PrintRow(std::size_t operations, const Block& block) {
    const State& state = block.state;
    std::printf("%8zu %9.2f %9.2f %8zu %5zu %8zu %6lld %8lld %11zu\n", operations,
                block.milliseconds, block.ratio, state.process.handles, state.process.gdiObjects,
                state.process.windows, static_cast<long long>(state.held),
                static_cast<long long>(state.heapBlocks), state.process.privateBytes / 1024);
    std::fflush(stdout);
  }

  void Judge(const Block& first, const Block& last, std::size_t rounds) {
    const auto number = [](std::size_t value) { return static_cast<std::int64_t>(value); };
    const ProcessResources& before = first.state.process;
    const ProcessResources& after = last.state.process;
    RequireSame("handles", number(before.handles), number(after.handles));
    RequireSame("GDI objects", number(before.gdiObjects), number(after.gdiObjects));
    RequireSame("windows", number(before.windows), number(after.windows));
    RequireSame("held by the library", first.state.held, last.state.held);
    RequireSame("heap blocks of the library", first.state.heapBlocks, last.state.heapBlocks);
    const std::int64_t growth = number(after.privateBytes) - number(before.privateBytes);
    const std::int64_t limit = GetMostGrowthInBytes((kBlocks - 1) * rounds * kOperationsPerRound);
    Require(growth <= limit, "private bytes grew by " + std::to_string(growth / 1024) +
                                 " KB, more than " + std::to_string(limit / 1024));
    if (rounds < kFewestRoundsForTime) {
      std::printf("(too few to judge the time)\n\n");
    } else {
      Require(last.ratio <= kMostSlowdown * first.ratio, "it became slower");
    }
  }

  void RequireSame(const char* what, std::int64_t before, std::int64_t after) {
    Require(before == after,
            std::string(what) + ": " + std::to_string(before) + " became " + std::to_string(after));
  }
  void Require(bool isSo, const std::string& otherwise) {
    if (isSo) return;
    std::printf("BROKEN: %s\n", otherwise.c_str());
    isWithinLimits = false;
  }

  /// The dialog stands for a second before devices change, to be seen. Nobody looks at it here.
  void HurryProgressDialogs() {
    const auto setTimer = interposition.Original<decltype(&::SetTimer)>("SetTimer");
    interposition.Replace(
        "SetTimer", [setTimer](HWND window, UINT_PTR id, UINT /*delay*/, TIMERPROC procedure) {
          return setTimer(window, id, USER_TIMER_MINIMUM, procedure);
        });
  }

  LoadedLibrary library;
  Interposition interposition;
  Watchdog watchdog;
  LibraryBalance balance;
  Sandbox sandbox;
  SoakMachine machine;
  ReferenceWork reference;
  std::vector<double> times;
  std::vector<double> ratios;
  std::uint64_t expectedDialogs = 0;
  bool isWithinLimits = true;
};

}  // namespace

bool Run(std::size_t changes, std::size_t dialogs) {
  return Campaign().Run(changes, dialogs);
}

}  // namespace SoakRun
