#include <windows.h>

#include <cstdio>
#include <string>
#include <string_view>
#include <vector>

#include "faults/Campaign.h"
#include "faults/Operation.h"
#include "faults/WorkerProcess.h"
#include "support/Text.h"

namespace {

constexpr int kWrongUsage = 64;

void PrintUsage(std::FILE* stream) {
  std::fputs(
      "usage: faults [--all] [--seed S] [--seconds S] [--jobs J] [--regressions FILE]\n"
      "              [--report FILE] [--progress FILE] [--verbose]\n"
      "       faults --only OPERATION[:CALL[:once|:onward]]\n"
      "       faults --list\n",
      stream);
}

/// Where Windows is imitated on a screen without a window manager, showing or hiding a dialog waits
/// two seconds for one. This makes it not wait, for this program.
void DoWithoutWindowManager() {
  ::RegSetKeyValueW(HKEY_CURRENT_USER, L"Software\\Wine\\AppDefaults\\faults.exe\\X11 Driver",
                    L"Managed", REG_SZ, L"N", 2 * sizeof(wchar_t));
}

bool ReadNumber(const std::string& text, std::uint32_t* number) {
  char* end = nullptr;
  *number = static_cast<std::uint32_t>(std::strtoul(text.c_str(), &end, 10));
  return !text.empty() && *end == '\0';
}

}  // namespace

int wmain(int argc, wchar_t** argv) {
  std::vector<std::string> arguments;
  for (int i = 1; i < argc; ++i) arguments.push_back(Text::ToUtf8(argv[i]));
  if (arguments == std::vector<std::string>{"--worker"}) return WorkerProcess::Serve();
  if (arguments == std::vector<std::string>{"--list"}) {
    for (const Operation& operation : AllOperations()) std::printf("%s\n", operation.name.c_str());
    return 0;
  }
  Campaign::Options options;
  for (std::size_t i = 0; i < arguments.size(); ++i) {
    const std::string& argument = arguments[i];
    if (argument == "--all") {
      options.all = true;
      continue;
    }
    if (argument == "--verbose") {
      options.verbose = true;
      continue;
    }
    const std::string value = i + 1 < arguments.size() ? arguments[++i] : "";
    const bool isUnderstood =
        (argument == "--seed" && ReadNumber(value, &options.seed)) ||
        (argument == "--seconds" && ReadNumber(value, &options.seconds)) ||
        (argument == "--jobs" && ReadNumber(value, &options.jobs) && options.jobs > 0) ||
        (argument == "--only" && !(options.only = value).empty()) ||
        (argument == "--progress" && !(options.progress = value).empty()) ||
        (argument == "--report" && !(options.report = value).empty()) ||
        (argument == "--regressions" && !(options.regressions = value).empty());
    if (!isUnderstood) {
      PrintUsage(stderr);
      return kWrongUsage;
    }
  }
  DoWithoutWindowManager();
  return Campaign(options).Run();
}
