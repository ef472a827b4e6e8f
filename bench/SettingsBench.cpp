// Compares the settings dialog, from the call to its first paint, with making its windows directly.
//
//     settings_bench.exe [ROUNDS]
//
// A mode with 16, 64 and 128 setting items, each with an engine file of its own; a third of the
// rows each are radio buttons, combo boxes and sliders. Two references are made from a recording:
//
//   direct     the same windows, fonts, texts, engines and reads of profiles
//   all calls  whatever else the library asks of files, and each time it shows or enables a control

#include <windows.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cwchar>
#include <exception>
#include <filesystem>
#include <functional>
#include <iterator>
#include <sstream>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "BenchMachine.h"
#include "DataFolderRedirection.h"
#include "DialogRecording.h"
#include "DirectDialog.h"
#include "Measure.h"
#include "SettingsHost.h"
#include "support/Files.h"
#include "support/LoadedLibrary.h"
#include "support/Supervisor.h"

namespace {

namespace fs = std::filesystem;

constexpr double kAim = 1.25;
constexpr std::size_t kRowCounts[] = {16, 64, 128};
constexpr std::size_t kDefaultRounds = 31;
constexpr std::size_t kFewestRounds = 9;

struct Series {
  std::vector<double> library = {};
  std::vector<double> direct = {};
  std::vector<double> allCalls = {};
};

struct Subject {
  SettingsHost& host;
  DirectDialog& direct;
  DirectDialog& allCalls;
};

double MeasureLibrary(SettingsHost& host) {
  const auto begin = std::chrono::steady_clock::now();
  std::chrono::duration<double, std::milli> duration{};
  host.ShowSettings([&](HWND) { duration = std::chrono::steady_clock::now() - begin; });
  return duration.count();
}

double MeasureDirect(DirectDialog& dialog) {
  const double microseconds = Measure::Microseconds(1, [&] { dialog.Show(); });
  dialog.Close();
  return microseconds / 1000;
}

Series Compare(const Subject& subject, std::size_t rounds) {
  Series series;
  for (std::size_t round = 0; round < rounds; ++round) {
    // Each goes first in every other round.
    const bool isLibraryFirst = round % 2 == 0;
    if (isLibraryFirst) series.library.push_back(MeasureLibrary(subject.host));
    series.direct.push_back(MeasureDirect(subject.direct));
    series.allCalls.push_back(MeasureDirect(subject.allCalls));
    if (!isLibraryFirst) series.library.push_back(MeasureLibrary(subject.host));
  }
  return series;
}

/// A line for each window: what it is, what it shows and where.
std::string Describe(HWND dialog) {
  struct Description {
    HWND dialog;
    std::ostringstream lines;
  } description{.dialog = dialog, .lines = {}};
  ::EnumChildWindows(
      dialog,
      [](HWND window, LPARAM context) -> BOOL {
        auto* result = reinterpret_cast<Description*>(context);
        wchar_t className[64]{};
        ::GetClassNameW(window, className, 64);
        wchar_t text[256]{};
        // The one in a ComboBoxEx32 answers with the address of its item.
        if (std::wstring_view(className) != L"ComboBox") ::GetWindowTextW(window, text, 256);
        RECT place{};
        ::GetWindowRect(window, &place);
        ::MapWindowPoints(nullptr, result->dialog, reinterpret_cast<POINT*>(&place), 2);
        LOGFONTW font{};
        ::GetObjectW(reinterpret_cast<HFONT>(::SendMessageW(window, WM_GETFONT, 0, 0)),
                     sizeof(font), &font);
        constexpr LONG kShown = WS_VISIBLE | WS_DISABLED;
        for (const wchar_t* part : {className, text}) {
          for (; *part != L'\0'; ++part) result->lines << static_cast<unsigned>(*part) << ' ';
          result->lines << "; ";
        }
        result->lines << place.left << ' ' << place.top << ' ' << place.right << ' ' << place.bottom
                      << "; " << font.lfHeight << "; "
                      << (::GetWindowLongW(window, GWL_STYLE) & kShown) << "; "
                      << ::SendMessageW(window, BM_GETCHECK, 0, 0) << '\n';
        return TRUE;
      },
      reinterpret_cast<LPARAM>(&description));
  return description.lines.str();
}

/// The references have to look as the library's dialog does.
void RequireSameWindows(const Subject& subject) {
  std::string expected;
  subject.host.ShowSettings([&](HWND dialog) { expected = Describe(dialog); });
  for (DirectDialog* reference : {&subject.direct, &subject.allCalls}) {
    const std::string actual = Describe(reference->Show());
    reference->Close();
    if (expected.empty() || actual != expected) {
      throw std::runtime_error("the dialog made directly looks otherwise than the library's");
    }
  }
}

double MedianRatio(const std::vector<double>& times, const std::vector<double>& reference) {
  std::vector<double> ratios;
  std::transform(times.begin(), times.end(), reference.begin(), std::back_inserter(ratios),
                 std::divides<>());
  return Measure::Median(ratios);
}

/// What else the machine does only ever adds time.
double Shortest(const std::vector<double>& times) {
  return *std::min_element(times.begin(), times.end());
}

void PrintRow(std::size_t rowCount, const Series& series) {
  const auto rows = static_cast<double>(rowCount);
  const double library = Measure::Median(series.library);
  const double direct = Measure::Median(series.direct);
  std::printf("%5zu %10.1f %10.1f %8.3f %8.3f %10.3f %12.2f %10.2f\n", rowCount, library, direct,
              MedianRatio(series.library, series.direct),
              Shortest(series.library) / Shortest(series.direct),
              MedianRatio(series.library, series.allCalls), library / rows, direct / rows);
  std::fflush(stdout);
}

int Run(std::size_t rounds) {
  const fs::path folder = Files::ProgramPath().parent_path();
  const LoadedLibrary library;
  std::printf("medians of %zu rounds with %zu rows, and of fewer with more\n\n", rounds,
              kRowCounts[0]);
  std::printf(
      "      ms to the first paint             ratio to            milliseconds of a row\n");
  std::printf("%5s %10s %10s %8s %8s %10s %12s %10s\n", "rows", "library", "direct", "direct",
              "at best", "all calls", "library", "direct");
  for (const std::size_t rowCount : kRowCounts) {
    const BenchMachine machine(folder, fs::absolute(BENCH_ENGINE), rowCount);
    machine.AddSettings(fs::absolute(SAMPLE_TEXTS));
    const DataFolderRedirection redirection(library.Module(), machine.ApplicationData());
    SettingsHost host(library.Module());
    const DialogRecording recording = RecordDialog(
        library.Module(), [&](const auto& onPainted) { host.ShowSettings(onPainted); });
    DirectDialog direct(recording, library.Module(), host.Window(), DirectDialog::Extent::kNeeded);
    DirectDialog allCalls(recording, library.Module(), host.Window(),
                          DirectDialog::Extent::kAllCalls);
    const Subject subject{.host = host, .direct = direct, .allCalls = allCalls};
    RequireSameWindows(subject);
    PrintRow(rowCount,
             Compare(subject, std::max(kFewestRounds, rounds * kRowCounts[0] / rowCount)));
  }
  std::printf("\nThe aim is a ratio of at most %.2f to the dialog made directly.\n", kAim);
  return EXIT_SUCCESS;
}

}  // namespace

int wmain(int argc, wchar_t** argv) {
  if (!Supervisor::IsSupervised()) return Supervisor::Run();
  const std::size_t rounds = argc > 1 ? std::wcstoul(argv[1], nullptr, 10) : kDefaultRounds;
  if (argc > 2 || rounds == 0) {
    std::fprintf(stderr, "usage: settings_bench.exe [ROUNDS]\n");
    return 64;
  }
  try {
    return Run(rounds);
  } catch (const std::exception& exception) {
    std::fprintf(stderr, "%s\n", exception.what());
    return EXIT_FAILURE;
  }
}
