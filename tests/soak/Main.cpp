#include <cstdio>
#include <cstdlib>
#include <cwchar>
#include <exception>

#include "soak/SoakRun.h"
#include "support/Supervisor.h"

namespace {

struct Options {
  std::size_t changes = 10'000;
  std::size_t dialogs = 1'000;
};

bool ParseNumber(const wchar_t* text, std::size_t* number) {
  wchar_t* end = nullptr;
  *number = std::wcstoul(text, &end, 10);
  return end != text && *end == L'\0' && *number > 0 && *number % SoakRun::kMultiple == 0;
}

bool Parse(int argc, wchar_t** argv, Options* options) {
  for (int i = 1; i < argc; i += 2) {
    if (i + 1 == argc) return false;
    std::size_t* number = nullptr;
    if (std::wcscmp(argv[i], L"--changes") == 0) number = &options->changes;
    if (std::wcscmp(argv[i], L"--dialogs") == 0) number = &options->dialogs;
    if (number == nullptr || !ParseNumber(argv[i + 1], number)) return false;
  }
  return true;
}

}  // namespace

int wmain(int argc, wchar_t** argv) {
  Options options;
  if (!Parse(argc, argv, &options)) {
    std::fprintf(stderr, "usage: soak.exe [--changes N] [--dialogs N], multiples of %zu\n",
                 SoakRun::kMultiple);
    return 64;
  }
  if (!Supervisor::IsSupervised()) return Supervisor::Run();
  try {
    if (!SoakRun::Run(options.changes, options.dialogs)) return EXIT_FAILURE;
    std::printf("All limits were kept.\n");
    return EXIT_SUCCESS;
  } catch (const std::exception& exception) {
    std::fprintf(stderr, "%s\n", exception.what());
    return EXIT_FAILURE;
  }
}
