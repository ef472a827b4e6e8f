#include <cstdint>
#include <cstdio>
#include <string>

#include "fuzz/CurrentInput.h"
#include "fuzz/Damage.h"
#include "fuzz/FileSet.h"
#include "fuzz/ReaderQueries.h"
#include "support/ModeChangeTest.h"

namespace {

using ::testing::IsEmpty;
using ::testing::Not;

constexpr std::uint32_t kSecondsPerInput = 25;

}  // namespace

/// Readers get files that came to harm: many, one after the other, each made from its seed alone.
///
/// VELTO_FUZZ_ROUNDS=10 tries ten times as many inputs, VELTO_FUZZ_SEED=17 only that one, and
/// VELTO_FUZZ_FILES names a folder where the last input's files are kept.
class ReaderFuzzTest : public ModeChangeTest, public ::testing::WithParamInterface<Damage> {
 protected:
  ReaderFuzzTest() {
    // Millions of calls; their number is enough.
    interposition.SetRecording(false);
  }

  /// A line for the shell.
  static std::string CommandFor(const std::string& seed) {
    return "VELTO_FUZZ_SEED=" + seed +
           " ctest --test-dir " BUILD_FOLDER " -V -R 'ReaderFuzzTest.*/" + GetParam().name + "'";
  }

  void TryInput(std::uint64_t seed) {
    const std::string command = CommandFor(std::to_string(seed));
    CurrentInput::Begin(command);
    SCOPED_TRACE("To repeat: " + command);
    // Whatever ends this process, the last number is that of the input.
    std::printf("%llu ", static_cast<unsigned long long>(seed));
    std::fflush(stdout);
    watchdog.SetPatience(kSecondsPerInput);

    Random random(seed);
    const std::size_t mostBytes = files.Write(GetParam(), 3, random, seed);
    ReaderQueries(interposition, traces, random, mostBytes).AskAll();
  }

  FileSet files{sandbox};
};

TEST_P(ReaderFuzzTest, EveryReaderReturns) {
  for (const auto& file : files.Files()) ASSERT_THAT(file.lines, Not(IsEmpty())) << file.path;
  std::printf("Inputs of the kind %s; to repeat one: %s\n", GetParam().name,
              CommandFor("NUMBER").c_str());
  if (const auto seed = CurrentInput::GetNumber(L"VELTO_FUZZ_SEED"); seed.has_value()) {
    TryInput(*seed);
    std::printf("\n1 input tried\n");
    return;
  }
  const std::uint64_t inputs =
      GetParam().inputs * CurrentInput::GetNumber(L"VELTO_FUZZ_ROUNDS").value_or(1);
  std::uint64_t tried = 0;
  for (; tried < inputs && !HasFailure(); ++tried) TryInput(tried);
  std::printf("\n%llu inputs of the kind %s tried\n", static_cast<unsigned long long>(tried),
              GetParam().name);
}

INSTANTIATE_TEST_SUITE_P(Files, ReaderFuzzTest, ::testing::ValuesIn(Damage::All()),
                         [](const auto& test) { return std::string(test.param.name); });
