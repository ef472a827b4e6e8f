// Shows what the devices are set to, straight from Windows.

#include <windows.h>

#include <cstdio>
#include <cwchar>
#include <string>
#include <vector>

#include "Setting.h"

namespace {

constexpr int kDone = 0;
constexpr int kFailed = 1;
constexpr int kWrongUsage = 64;

constexpr const char* kHelp =
    R"(Usage: devicestate [NAME=NUMBER...]

Shows the settings of this user that the sample engines drive, one NAME=NUMBER a line, as Windows
keeps them. Neither ModeChange.dll nor an engine is asked. What is named is set first, so that the
output of one call, handed to another one, brings everything back.

  visual-effects        0 off, 1 on
  screen-saver          0 off, 1 on
  screen-saver-seconds  how long nobody works before it appears
  pointer-speed         1 (slowest) to 20 (fastest)
  keyboard-delay        0 (0.25 seconds) to 3 (1 second)

Exit code: 0 done, 1 Windows refused, 64 wrong usage.)";

struct Wish {
  const Setting* setting;
  UINT value;
};

/// A number of the setting's, with nothing else around it.
bool ParseNumber(const std::wstring& text, const Setting& setting, UINT* number) {
  if (text.empty() || text.find_first_not_of(L"0123456789") != std::wstring::npos) return false;
  // A number that is too long for the type is its largest, and above every setting's.
  const unsigned long parsed = std::wcstoul(text.c_str(), nullptr, 10);
  if (parsed < setting.smallest || parsed > setting.largest) return false;
  *number = parsed;
  return true;
}

bool ParseWish(const std::wstring& argument, Wish* wish) {
  const std::size_t sign = argument.find(L'=');
  if (sign == std::wstring::npos) return false;
  wish->setting = Settings::Find(argument.substr(0, sign));
  return wish->setting != nullptr &&
         ParseNumber(argument.substr(sign + 1), *wish->setting, &wish->value);
}

int Fail(const char* attempt, const Setting& setting) {
  std::fprintf(stderr, "devicestate: can't %s %ls: error %lu\n", attempt, setting.name,
               ::GetLastError());
  return kFailed;
}

int Run(const std::vector<Wish>& wishes) {
  for (const Wish& wish : wishes) {
    if (!Settings::Write(*wish.setting, wish.value)) return Fail("set", *wish.setting);
  }
  for (const Setting& setting : Settings::kAll) {
    UINT value = 0;
    if (!Settings::Read(setting, &value)) return Fail("read", setting);
    std::printf("%ls=%u\n", setting.name, value);
  }
  return kDone;
}

}  // namespace

int wmain(int count, wchar_t** arguments) {
  std::vector<Wish> wishes;
  for (int i = 1; i < count; ++i) {
    const std::wstring argument = arguments[i];
    if (argument == L"--help") {
      std::puts(kHelp);
      return kDone;
    }
    Wish wish{};
    if (!ParseWish(argument, &wish)) {
      std::fprintf(stderr, "devicestate: wrong argument: %ls\nTry: devicestate --help\n",
                   arguments[i]);
      return kWrongUsage;
    }
    wishes.push_back(wish);
  }
  return Run(wishes);
}
