// Compares each question to a reader with the bare Windows calls that it makes, and counts these.
//
//     readers_bench.exe [ROUNDS]
//
// As mostly in the library, a reader is made, asked once and dropped. Question and bare calls
// take turns in one process, with the same files; what is printed are medians over the rounds.

#include <windows.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cwchar>
#include <exception>
#include <filesystem>
#include <stdexcept>
#include <string>
#include <vector>

#include "BareCalls.h"
#include "DataFolderRedirection.h"
#include "Measure.h"
#include "config/CModeChangeConfig.h"
#include "config/CModeChangeResource.h"
#include "config/CModeChangeSettings.h"
#include "config/CModeChangeStatus.h"
#include "support/Files.h"
#include "support/IniFile.h"
#include "support/Interposition.h"
#include "support/LoadedLibrary.h"
#include "support/Supervisor.h"

namespace {

namespace fs = std::filesystem;

constexpr double kAim = 1.10;
constexpr std::size_t kDefaultRounds = 201;

/// The sample notebook beside the library, with a user who chose something for the mode Eco, which
/// is ON.
class Machine {
 public:
  explicit Machine(const fs::path& folder) : folder(folder) {
    for (const auto& entry : fs::directory_iterator(SAMPLE_CONFIG_FOLDER)) {
      fs::copy(entry, folder / entry.path().filename(), fs::copy_options::recursive);
    }
    const fs::path data = ApplicationData() / L"Brivane" / L"Kestrola";
    fs::create_directories(data);
    Write(data / L"ModeChange.Settings.ini", IniFile()
                                                 .Section(L"Common")
                                                 .Key(L"ShowAnnounceModeIsChangedDialog", 0)
                                                 .Section(L"Eco")
                                                 .Key(L"PowerScheme", 0)
                                                 .Key(L"VisualEffects", 1)
                                                 .Key(L"AutoONOFF", 0));
    Write(data / L"ModeChange.Status.ini", IniFile()
                                               .Section(L"CurrentModeStatus")
                                               .Key(L"Eco", 1)
                                               .Section(L"NormalEnvironment")
                                               .Key(L"PowerScheme", 1)
                                               .Key(L"VisualEffects", 1));
    // Wine keeps what it read of a file only once the file is two seconds old.
    for (const auto& entry : fs::recursive_directory_iterator(folder)) {
      if (entry.path().extension() != L".ini") continue;
      fs::last_write_time(entry.path(), fs::file_time_type::clock::now() - std::chrono::hours(1));
    }
  }
  ~Machine() {
    for (const auto& entry : fs::directory_iterator(folder)) {
      const bool isProgram = entry.path().extension() == L".exe";
      if (!isProgram && entry.path().extension() != L".dll") Files::RemoveTree(entry.path());
    }
  }
  Machine(const Machine&) = delete;
  Machine& operator=(const Machine&) = delete;

  [[nodiscard]] fs::path ApplicationData() const { return folder / L"ProgramData"; }

 private:
  static void Write(const fs::path& path, const IniFile& content) {
    const std::string bytes = content.Bytes();
    std::FILE* file = ::_wfopen(path.c_str(), L"wb");
    if (file == nullptr) throw std::runtime_error("can't write a file");
    std::fwrite(bytes.data(), 1, bytes.size(), file);
    std::fclose(file);
  }

  fs::path folder;
};

constexpr const wchar_t* kNormal = L"Normal";  // no user values, and all of its flags are read
constexpr const wchar_t* kEco = L"Eco";        // user values, and one locked item
constexpr const wchar_t* kItem = L"PowerScheme";

struct Question {
  const char* name;  // a reader's name alone: it is only made and dropped
  void (*ask)();

  [[nodiscard]] bool IsOnlyMaking() const { return name[0] != ' '; }
};

constexpr Question kQuestions[] = {
    {"CModeChangeConfig", [] { CModeChangeConfig(); }},
    {"  DoesConfigFileExist", [] { static_cast<void>(CModeChangeConfig().DoesConfigFileExist()); }},
    {"  GetModeStatusIconKeyName",
     [] {
       CWideString name;
       CModeChangeConfig().GetModeStatusIconKeyName(1, &name);
     }},
    {"  GetAllModeList",
     [] {
       std::vector<CWideString> modes;
       CModeChangeConfig().GetAllModeList(&modes);
     }},
    {"  GetUsableModeList",
     [] {
       std::vector<CWideString> modes;
       CModeChangeConfig().GetUsableModeList(&modes);
     }},
    {"  GetModeType",
     [] {
       UINT type = 0;
       CModeChangeConfig().GetModeType(kNormal, &type);
     }},
    {"  GetAllSettingItemList",
     [] {
       std::vector<CWideString> items;
       CModeChangeConfig().GetAllSettingItemList(&items);
     }},
    {"  GetSettingGroupList",
     [] {
       std::vector<CWideString> groups;
       CModeChangeConfig().GetSettingGroupList(&groups);
     }},
    {"  GetSettingItemListInSettingGroup",
     [] {
       std::vector<CWideString> items;
       CModeChangeConfig().GetSettingItemListInSettingGroup(L"Display", &items);
     }},
    {"  GetSettingItemEnginePath",
     [] {
       CWideString path;
       CModeChangeConfig().GetSettingItemEnginePath(kItem, &path);
     }},
    {"  DoesSettingItemaHaveValueLockOther...",
     [] {
       bool hasLock = false;
       std::int32_t value = 0;
       std::vector<CWideString> items;
       std::vector<std::int32_t> values;
       CModeChangeConfig().DoesSettingItemaHaveValueLockOtherSettingItem(kItem, &hasLock, &value,
                                                                         &items, &values);
     }},
    {"  EnableToChangeWirelessLEDStatusInWin7",
     [] { static_cast<void>(CModeChangeConfig().EnableToChangeWirelessLEDStatusInWin7()); }},

    {"CModeChangeResource", [] { CModeChangeResource(); }},
    {"  GetApplicationName",
     [] {
       CWideString text;
       CModeChangeResource().GetApplicationName(&text);
     }},
    {"  GetModeSettingsDialogErrorUnknown",
     [] {
       CWideString text;
       CModeChangeResource().GetModeSettingsDialogErrorUnknown(&text);
     }},
    {"  GetModeStatusName",
     [] {
       CWideString text;
       CModeChangeResource().GetModeStatusName(1, &text);
     }},
    {"  GetModeName",
     [] {
       CWideString text;
       CModeChangeResource().GetModeName(kEco, &text);
     }},
    {"  GetModeSettingsDialogLocked...Specific...",
     [] {
       CWideString text;
       CModeChangeResource().GetModeSettingsDialogLockedSettingItemMemoBySpecificSettingItem(kItem,
                                                                                             &text);
     }},
    {"  GetFontSizeInModeSettingsDialog",
     [] {
       std::int32_t size = 0;
       CModeChangeResource().GetFontSizeInModeSettingsDialog(0, &size);
     }},

    {"CModeChangeSettings", [] { CModeChangeSettings(); }},
    {"  GetDefaultAnnounceModeIsChanged...",
     [] {
       bool show = false;
       CModeChangeSettings().GetDefaultAnnounceModeIsChangedDialogDisplaySetting(&show);
     }},
    {"  GetAnnounceModeIsChanged...",
     [] {
       bool show = false;
       CModeChangeSettings().GetAnnounceModeIsChangedDialogDisplaySetting(&show);
     }},
    {"  GetDefaultSettingItemValue",
     [] {
       std::int32_t value = 0;
       CModeChangeSettings().GetDefaultSettingItemValue(kEco, kItem, &value);
     }},
    {"  GetSettingItemValue, the user's",
     [] {
       std::int32_t value = 0;
       CModeChangeSettings().GetSettingItemValue(kEco, kItem, &value);
     }},
    {"  GetSettingItemValue, the maker's",
     [] {
       std::int32_t value = 0;
       CModeChangeSettings().GetSettingItemValue(kNormal, kItem, &value);
     }},
    {"  GetDefaultAutoONOFFSetting",
     [] {
       bool on = false;
       CModeChangeSettings().GetDefaultAutoONOFFSetting(kEco, &on);
     }},
    {"  GetAutoONOFFSetting, the user's",
     [] {
       bool on = false;
       CModeChangeSettings().GetAutoONOFFSetting(kEco, &on);
     }},
    {"  GetAutoONOFFSetting, the maker's",
     [] {
       bool on = false;
       CModeChangeSettings().GetAutoONOFFSetting(kNormal, &on);
     }},
    {"  IsSetingItemValueLocked",
     [] {
       bool locked = false;
       CModeChangeSettings().IsSetingItemValueLocked(kEco, kItem, &locked);
     }},
    {"  IsModeSettingsChanged",
     [] {
       bool changed = false;
       CModeChangeSettings().IsModeSettingsChanged(kEco, &changed);
     }},

    {"CModeChangeStatus", [] { CModeChangeStatus(); }},
    {"  GetCurrentModeStatus",
     [] {
       UINT status = 0;
       CModeChangeStatus().GetCurrentModeStatus(kEco, &status);
     }},
    {"  GetNormalEnvironmentSetting",
     [] {
       std::int32_t value = 0;
       CModeChangeStatus().GetNormalEnvironmentSetting(kItem, &value);
     }},
};

struct Comparison {
  double question;
  double bareCalls;
  double ratio;  // the median of the rounds' ratios: what slows both down for a while drops out
};

Comparison Compare(const Question& question, const BareCalls& bareCalls, std::size_t rounds) {
  // Long enough for the clock, short enough for both halves of a round to meet the same conditions.
  constexpr double kMicrosecondsPerTurn = 2000;
  const double once = Measure::Microseconds(20, question.ask);
  const auto times = static_cast<std::size_t>(std::max(1.0, kMicrosecondsPerTurn / once));
  const auto askQuestion = [&] { return Measure::Microseconds(times, question.ask); };
  const auto runBareCalls = [&] { return Measure::Microseconds(times, [&] { bareCalls.Run(); }); };

  std::vector<double> questionTimes;
  std::vector<double> bareTimes;
  std::vector<double> ratios;
  for (std::size_t round = 0; round < rounds; ++round) {
    // Each goes first in every other round.
    const bool isQuestionFirst = round % 2 == 0;
    if (isQuestionFirst) questionTimes.push_back(askQuestion());
    bareTimes.push_back(runBareCalls());
    if (!isQuestionFirst) questionTimes.push_back(askQuestion());
    ratios.push_back(questionTimes.back() / bareTimes.back());
  }
  return {Measure::Median(questionTimes), Measure::Median(bareTimes), Measure::Median(ratios)};
}

std::vector<Call> RecordCalls(HMODULE library, const Question& question) {
  // Only here: the times are taken without anything between the library and Windows.
  const Interposition interposition(library);
  question.ask();
  return interposition.AllCalls();
}

int Run(std::size_t rounds) {
  const LoadedLibrary library;
  const Machine machine(Files::ProgramPath().parent_path());
  const DataFolderRedirection redirection(library.Module(), machine.ApplicationData());

  std::printf("%zu rounds; times in microseconds\n\n", rounds);
  std::printf("%-42s %6s %10s %10s %6s\n", "question", "calls", "reader", "bare", "ratio");
  std::size_t asked = 0;
  std::size_t aboveAim = 0;
  for (const Question& question : kQuestions) {
    const BareCalls bareCalls(RecordCalls(library.Module(), question));
    const Comparison result = Compare(question, bareCalls, rounds);
    if (!question.IsOnlyMaking()) {
      ++asked;
      aboveAim += result.ratio > kAim ? 1 : 0;
    }
    std::printf("%-42s %6zu %10.2f %10.2f %6.3f\n", question.name, bareCalls.Count(),
                result.question, result.bareCalls, result.ratio);
    std::fflush(stdout);
  }
  std::printf("\n%zu of %zu questions take more than %.2f times as long as their calls\n", aboveAim,
              asked, kAim);
  return EXIT_SUCCESS;
}

}  // namespace

int wmain(int argc, wchar_t** argv) {
  if (!Supervisor::IsSupervised()) return Supervisor::Run();
  const std::size_t rounds = argc > 1 ? std::wcstoul(argv[1], nullptr, 10) : kDefaultRounds;
  if (argc > 2 || rounds == 0) {
    std::fprintf(stderr, "usage: readers_bench.exe [ROUNDS]\n");
    return 64;
  }
  try {
    return Run(rounds);
  } catch (const std::exception& exception) {
    std::fprintf(stderr, "%s\n", exception.what());
    return EXIT_FAILURE;
  }
}
