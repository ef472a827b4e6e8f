#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <string>
#include <string_view>

#include "fuzz/CurrentInput.h"
#include "fuzz/Damage.h"
#include "fuzz/FileSet.h"
#include "fuzz/HostUnderFuzz.h"
#include "support/ModeChangeTest.h"

namespace {

constexpr std::uint64_t kSecondsPerInput = 60;
constexpr ULONGLONG kMillisecondsOfSubset = 40'000;
constexpr std::uint64_t kSetsOfSubset = 1'000;
constexpr std::uint64_t kFewestSetsOfSubset = 10;

/// Huge files take ten times as long as others: they are rare.
const Damage& PickDamage(Random& random) {
  for (;;) {
    const Damage& damage = random.Pick(Damage::All());
    if (std::string_view(damage.name) != "WithHugeLines" || random.OneIn(20)) return damage;
  }
}

}  // namespace

/// A host uses the whole interface on sets of files that came to harm: many, one after the other,
/// each made from its seed alone, as is what the host and its user do.
///
/// VELTO_FUZZ_SEED=17 tries only that one; VELTO_FUZZ_FIRST and VELTO_FUZZ_SETS say which sets to
/// try, however long it takes; VELTO_FUZZ_SECONDS says how long a set may take; VELTO_FUZZ_FILES
/// names a folder where the last set is kept.
class InterfaceFuzzTest : public ModeChangeTest {
 protected:
  InterfaceFuzzTest() {
    // Millions of calls; their number is enough.
    interposition.SetRecording(false);
  }

  void TrySet(std::uint64_t seed) {
    const std::string command = "scripts/fuzz.sh --only " + std::to_string(seed);
    CurrentInput::Begin(command);
    SCOPED_TRACE("To repeat: " + command);
    // Whatever ends this process, the last number is that of the set.
    std::printf("%llu ", static_cast<unsigned long long>(seed));
    std::fflush(stdout);
    watchdog.SetPatience(static_cast<std::uint32_t>(
        CurrentInput::GetNumber(L"VELTO_FUZZ_SECONDS").value_or(kSecondsPerInput)));

    Random random(seed);
    // Else the user would have switched the confirmation off in every set.
    files.Files()[4].lines[1] = random.OneIn(8) ? L"ShowAnnounceModeIsChangedDialog=1"
                                                : L"ShowAnnounceModeIsChangedDialog=0";
    files.Write(PickDamage(random), 8, random, seed);
    host.UseEverything(random);
    EXPECT_THAT(handles.Held(), ::testing::IsEmpty());
    EXPECT_THAT(handles.ReleasedUnheld(), ::testing::IsEmpty());
    ++tried;
  }

  void PrintSummary() const {
    const HostUnderFuzz::Statistics& counts = host.Counts();
    const DialogUser::Statistics& seen = host.UserCounts();
    const auto print = [](const char* what, std::uint64_t count) {
      std::printf("  %-28s %llu\n", what, static_cast<unsigned long long>(count));
    };
    std::printf("\n%llu file sets tried\n", static_cast<unsigned long long>(tried));
    print("handles created", counts.handles);
    print("questions", counts.questions);
    print("questions answered", counts.answers);
    print("requests", counts.requests);
    print("changes completed", counts.changesCompleted);
    print("confirmations answered", seen.confirmations);
    print("settings dialogs requested", counts.settingsDialogs);
    print("settings dialogs walked", seen.settingsDialogs);
    print("left by OK", seen.settingsSaved);
    print("cancelled", seen.settingsCancelled);
    print("actions in them", seen.actions);
    print("changes they made", seen.progressDialogs);
    print("message boxes", seen.messageBoxes);
  }

  FileSet files{sandbox};
  HostUnderFuzz host{library, interposition, traces, sandbox};
  std::uint64_t tried = 0;
};

TEST_F(InterfaceFuzzTest, TheWholeInterfaceReturns) {
  if (const auto seed = CurrentInput::GetNumber(L"VELTO_FUZZ_SEED"); seed.has_value()) {
    TrySet(*seed);
    PrintSummary();
    return;
  }
  const std::uint64_t first = CurrentInput::GetNumber(L"VELTO_FUZZ_FIRST").value_or(0);
  const auto sets = CurrentInput::GetNumber(L"VELTO_FUZZ_SETS");
  const std::uint64_t end = first + sets.value_or(kSetsOfSubset);
  const ULONGLONG start = ::GetTickCount64();
  for (std::uint64_t seed = first; seed < end && !HasFailure(); ++seed) {
    // A subset has to leave time for other tests.
    if (!sets.has_value() && ::GetTickCount64() - start > kMillisecondsOfSubset) break;
    TrySet(seed);
  }
  PrintSummary();
  EXPECT_GE(tried, std::min(sets.value_or(kFewestSetsOfSubset), kFewestSetsOfSubset));
  // The first hundred sets have all of these; without them nothing would have been tried.
  if (first == 0 && tried >= 100) {
    EXPECT_GT(host.Counts().changesCompleted, 0U);
    EXPECT_GT(host.UserCounts().confirmations, 0U);
    EXPECT_GT(host.UserCounts().settingsDialogs, 0U);
  }
}
