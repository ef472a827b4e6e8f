#include <algorithm>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <cwchar>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <optional>
#include <string>
#include <vector>

#include "fuzz/Damage.h"
#include "fuzz/ReaderQueries.h"
#include "support/ModeChangeTest.h"

namespace {

namespace fs = std::filesystem;

using ::testing::IsEmpty;
using ::testing::Not;

constexpr std::uint32_t kSecondsPerInput = 25;

/// A number in the environment, or none.
std::optional<std::uint64_t> GetNumber(const wchar_t* variable) {
  const wchar_t* text = ::_wgetenv(variable);
  if (text == nullptr || *text == L'\0') return std::nullopt;
  return std::wcstoull(text, nullptr, 10);
}

/// The lines of a sound file without those that say nothing to the library.
Damage::Lines ReadSoundFile(const fs::path& name) {
  std::ifstream stream(fs::path(SAMPLE_CONFIG_FOLDER) / name, std::ios::binary);
  const std::string bytes(std::istreambuf_iterator<char>(stream), {});
  std::wstring text(bytes.size() / sizeof(wchar_t), L'\0');
  std::memcpy(text.data(), bytes.data(), text.size() * sizeof(wchar_t));

  constexpr const wchar_t* kMarkAndLineEnds = L"\uFEFF\r\n";
  Damage::Lines lines;
  std::size_t end = 0;
  for (;;) {
    const std::size_t begin = text.find_first_not_of(kMarkAndLineEnds, end);
    if (begin == std::wstring::npos) return lines;
    end = std::min(text.find_first_of(kMarkAndLineEnds, begin), text.size());
    if (text[begin] != L';') lines.push_back(text.substr(begin, end - begin));
  }
}

/// The sample's lock rules lock one item each; a failure in the midst of a list takes more.
Damage::Lines GetConfig() {
  Damage::Lines config;
  for (const std::wstring& line : ReadSoundFile(L"ModeChange.Config.ini")) {
    if (line == L"LockedOtherSettingItemCount=1") {
      const Damage::Lines more = {
          L"LockedOtherSettingItemCount=3",  L"LockedOtherSettingItem1=PointerSpeed",
          L"LockedOtherSettingItemValue1=9", L"LockedOtherSettingItem2=KeyboardRepeatDelay",
          L"LockedOtherSettingItemValue2=1",
      };
      config.insert(config.end(), more.begin(), more.end());
    } else {
      config.push_back(line);
    }
  }
  return config;
}

Damage::Lines GetUserSettings() {
  return {L"[Common]",
          L"ShowAnnounceModeIsChangedDialog=0",
          L"[Eco]",
          L"PowerScheme=2",
          L"VisualEffects=-1",
          L"AutoONOFF=1",
          L"[Cradle]",
          L"AutoONOFF=0",
          L"[Custom]"};
}

Damage::Lines GetStatus() {
  return {L"[CurrentModeStatus]", L"Normal=0",        L"Eco=1",          L"[NormalEnvironment]",
          L"PowerScheme=1",       L"VisualEffects=0", L"PointerSpeed=-1"};
}

// The command that repeats the input that is being tried.
std::string currentCommand;

/// Wine would start a debugger, and wait for it.
LONG WINAPI ReportCrash(EXCEPTION_POINTERS* pointers) {
  std::fprintf(stderr, "\ncrashed with 0x%08lX at %p; to repeat: %s\n",
               pointers->ExceptionRecord->ExceptionCode,
               pointers->ExceptionRecord->ExceptionAddress, currentCommand.c_str());
  std::fflush(stderr);
  ::TerminateProcess(::GetCurrentProcess(), pointers->ExceptionRecord->ExceptionCode);
  return EXCEPTION_CONTINUE_SEARCH;
}

}  // namespace

/// Readers get files that came to harm: many, one after the other, each made from its seed alone.
///
/// VELTO_FUZZ_ROUNDS=10 tries ten times as many inputs, VELTO_FUZZ_SEED=17 only that one, and
/// VELTO_FUZZ_FILES names a folder where the last input's files are kept.
class ReaderFuzzTest : public ModeChangeTest, public ::testing::WithParamInterface<Damage> {
 protected:
  struct File {
    fs::path path;
    Damage::Lines lines;
  };

  ReaderFuzzTest() {
    // Millions of calls; their number is enough.
    interposition.SetRecording(false);
    ::SetUnhandledExceptionFilter(ReportCrash);
  }

  /// A line for the shell.
  static std::string CommandFor(const std::string& seed) {
    return "VELTO_FUZZ_SEED=" + seed +
           " ctest --test-dir " BUILD_FOLDER " -V -R 'ReaderFuzzTest.*/" + GetParam().name + "'";
  }

  void TryInput(std::uint64_t seed) {
    currentCommand = CommandFor(std::to_string(seed));
    SCOPED_TRACE("To repeat: " + currentCommand);
    // Whatever ends this process, the last number is that of the input.
    std::printf("%llu ", static_cast<unsigned long long>(seed));
    std::fflush(stdout);
    watchdog.SetPatience(kSecondsPerInput);

    Random random(seed);
    const std::size_t mostBytes = WriteFiles(random, seed);
    ReaderQueries(interposition, traces, random, mostBytes).AskAll();
  }

  const std::vector<File> files = {
      {L"ModeChange.Config.ini", GetConfig()},
      {L"ModeChange.UsableModeList.ini", ReadSoundFile(L"ModeChange.UsableModeList.ini")},
      {L"ModeChange.DefaultSettings.ini", ReadSoundFile(L"ModeChange.DefaultSettings.ini")},
      {L"en-US/ModeChange.Resource.ini", ReadSoundFile(L"en-US/ModeChange.Resource.ini")},
      {sandbox.DataFile(L"ModeChange.Settings.ini"), GetUserSettings()},
      {sandbox.DataFile(L"ModeChange.Status.ini"), GetStatus()},
  };

 private:
  /// Writes all files, some of them damaged, and returns the size of the longest.
  std::size_t WriteFiles(Random& random, std::uint64_t seed) {
    const std::size_t damagedFile = random.Below(files.size());
    std::size_t mostBytes = 0;
    for (std::size_t i = 0; i < files.size(); ++i) {
      const bool isDamaged = i == damagedFile || random.OneIn(3);
      const std::string bytes = (isDamaged ? GetParam() : Damage()).Apply(random, files[i].lines);
      sandbox.Write(files[i].path, bytes);
      if (const wchar_t* kept = ::_wgetenv(L"VELTO_FUZZ_FILES"); kept != nullptr) {
        std::ofstream(fs::path(kept) / files[i].path.filename(), std::ios::binary) << bytes;
      }
      // Wine reads a file anew at each call while the file is younger than two seconds, and later
      // only when its time is another.
      const auto age = std::chrono::hours(24) - std::chrono::seconds(2 * (seed % 10'000));
      fs::last_write_time(sandbox.LibraryFolder() / files[i].path,
                          fs::file_time_type::clock::now() - age);
      mostBytes = std::max(mostBytes, bytes.size());
    }
    return mostBytes;
  }
};

TEST_P(ReaderFuzzTest, EveryReaderReturns) {
  for (const auto& file : files) ASSERT_THAT(file.lines, Not(IsEmpty())) << file.path;
  std::printf("Inputs of the kind %s; to repeat one: %s\n", GetParam().name,
              CommandFor("NUMBER").c_str());
  if (const auto seed = GetNumber(L"VELTO_FUZZ_SEED"); seed.has_value()) {
    TryInput(*seed);
    std::printf("\n1 input tried\n");
    return;
  }
  const std::uint64_t inputs = GetParam().inputs * GetNumber(L"VELTO_FUZZ_ROUNDS").value_or(1);
  std::uint64_t tried = 0;
  for (; tried < inputs && !HasFailure(); ++tried) TryInput(tried);
  std::printf("\n%llu inputs of the kind %s tried\n", static_cast<unsigned long long>(tried),
              GetParam().name);
}

INSTANTIATE_TEST_SUITE_P(Files, ReaderFuzzTest, ::testing::ValuesIn(Damage::All()),
                         [](const auto& test) { return std::string(test.param.name); });
