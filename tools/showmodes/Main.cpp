#include <windows.h>

#include <algorithm>
#include <new>

#include "ModeReport.h"
#include "TextOutput.h"

namespace {

constexpr int kSuccess = 0;
constexpr int kCantRead = 1;
constexpr int kWrongUsage = 64;

constexpr const wchar_t* kHelp =
    LR"(Usage: showmodes [--mode NAME]

Shows the modes of this machine as ModeChange.dll would see them from this folder: type, current
status, and what each mode does with each setting item. Changes nothing.

  --mode NAME  only the mode with this key name; upper and lower case count as the same
  --help       this text
  --version    the program's version

The program belongs beside the configuration, where the library lies. Names are shown in the user's
language. Engines are not loaded: a setting item is named by the texts <item>_Name and
<item>_Value<number>, or by its key name where there is no such text.

Exit code: 0 done, 1 the configuration can't be read, 64 wrong usage.)";

struct Options {
  bool help = false;
  bool version = false;
  const wchar_t* mode = nullptr;
};

struct UsageError {
  CWideString problem;
};

Options Parse(int count, wchar_t** arguments) {
  Options options;
  for (int i = 1; i < count; ++i) {
    const CWideString argument = arguments[i];
    if (argument == L"--help") {
      options.help = true;
    } else if (argument == L"--version") {
      options.version = true;
    } else if (argument == L"--mode") {
      if (i + 1 == count) throw UsageError{L"--mode needs the key name of a mode"};
      options.mode = arguments[++i];
    } else {
      throw UsageError{L"unknown argument: " + argument};
    }
  }
  return options;
}

void Print(const wchar_t* onlyMode, TextOutput& output) {
  ModeReport report(output);
  if (onlyMode == nullptr) {
    report.PrintTitle();
    for (const CWideString& mode : report.Modes()) report.PrintMode(mode);
    return;
  }
  const auto mode =
      std::find_if(report.Modes().begin(), report.Modes().end(),
                   [onlyMode](const CWideString& key) { return key.EqualsIgnoringCase(onlyMode); });
  if (mode == report.Modes().end()) {
    CWideString known;
    for (const CWideString& key : report.Modes()) known += L" " + key;
    throw UsageError{CWideString(L"this machine has no mode ") + onlyMode + L"; it has:" + known};
  }
  report.PrintTitle();
  report.PrintMode(*mode);
}

}  // namespace

int wmain(int count, wchar_t** arguments) {
  TextOutput errors(STD_ERROR_HANDLE);
  try {
    TextOutput output(STD_OUTPUT_HANDLE);
    const Options options = Parse(count, arguments);
    if (options.help) {
      output.WriteLine(kHelp);
    } else if (options.version) {
      output.WriteLine(L"showmodes " SHOWMODES_VERSION);
    } else {
      Print(options.mode, output);
    }
    return kSuccess;
  } catch (const UsageError& error) {
    errors.WriteLine(L"showmodes: " + error.problem);
    errors.WriteLine(L"Try: showmodes --help");
    return kWrongUsage;
  } catch (const ReportError& error) {
    errors.WriteLine(L"showmodes: " + error.problem);
    errors.WriteLine(error.remedy);
    return kCantRead;
  } catch (const std::bad_alloc&) {
    errors.WriteLine(L"showmodes: out of memory");
    return kCantRead;
  }
}
