// Tells how large the library is, and how long it takes to load next to an empty DLL.
//
//     load_bench.exe [ROUNDS]
//
// The program imports nothing but the system's kernel and the C runtime. So first each load also
// loads the library's imports; then the program holds these, as a host with windows does anyway.

#include <windows.h>
// windows.h first: psapi.h needs its types.
#include <psapi.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstdlib>
#include <cwchar>
#include <filesystem>
#include <string>
#include <vector>

#include "Measure.h"

namespace {

namespace fs = std::filesystem;

constexpr std::size_t kDefaultRounds = 101;
constexpr unsigned long long kMostBytes = 400ULL * 1024;

fs::path GetFolder() {
  std::wstring path(0x8000, L'\0');
  path.resize(::GetModuleFileNameW(nullptr, path.data(), static_cast<DWORD>(path.size())));
  return fs::path(path).parent_path();
}

HMODULE Load(const fs::path& path) {
  HMODULE module = ::LoadLibraryW(path.c_str());
  if (module == nullptr) {
    std::fprintf(stderr, "%ls can't be loaded: error %lu\n", path.c_str(), ::GetLastError());
    std::exit(EXIT_FAILURE);
  }
  return module;
}

void LoadAndFree(const fs::path& path) {
  ::FreeLibrary(Load(path));
}

std::vector<HMODULE> ListModules() {
  std::array<HMODULE, 512> modules{};
  DWORD size = 0;
  ::K32EnumProcessModules(::GetCurrentProcess(), modules.data(), sizeof(modules), &size);
  return {modules.begin(), modules.begin() + size / sizeof(HMODULE)};
}

/// Keeps all that the library brings along, but not the library itself.
void HoldImportsOf(const fs::path& library) {
  const std::vector<HMODULE> before = ListModules();
  HMODULE module = Load(library);
  for (HMODULE found : ListModules()) {
    const bool isNew = std::find(before.begin(), before.end(), found) == before.end();
    HMODULE reference = nullptr;
    if (isNew && found != module) {
      ::GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS,
                           reinterpret_cast<const wchar_t*>(found), &reference);
    }
  }
  ::FreeLibrary(module);
}

void Compare(const char* circumstances, const fs::path& library, const fs::path& empty,
             std::size_t rounds) {
  std::vector<double> libraryTimes;
  std::vector<double> emptyTimes;
  for (std::size_t round = 0; round < rounds; ++round) {
    libraryTimes.push_back(Measure::Microseconds(1, [&] { LoadAndFree(library); }));
    emptyTimes.push_back(Measure::Microseconds(1, [&] { LoadAndFree(empty); }));
  }
  const double libraryTime = Measure::Median(libraryTimes) / 1000;
  const double emptyTime = Measure::Median(emptyTimes) / 1000;
  std::printf("%-32s %10.2f %10.2f %10.2f\n", circumstances, libraryTime, emptyTime,
              libraryTime - emptyTime);
  std::fflush(stdout);
}

}  // namespace

int wmain(int argc, wchar_t** argv) {
  const std::size_t rounds = argc > 1 ? std::wcstoul(argv[1], nullptr, 10) : kDefaultRounds;
  if (argc > 2 || rounds == 0) {
    std::fprintf(stderr, "usage: load_bench.exe [ROUNDS]\n");
    return 64;
  }
  const fs::path library = GetFolder() / L"ModeChange.dll";
  const fs::path empty = GetFolder() / L"EmptyDll.dll";
  std::printf("ModeChange.dll has %llu bytes (aim: at most %llu), an empty DLL %llu\n\n",
              static_cast<unsigned long long>(fs::file_size(library)), kMostBytes,
              static_cast<unsigned long long>(fs::file_size(empty)));
  std::printf("%zu rounds; milliseconds to load and free\n\n", rounds);
  std::printf("%-32s %10s %10s %10s\n", "", "library", "empty DLL", "beyond");
  LoadAndFree(empty);
  LoadAndFree(library);
  Compare("with what it imports", library, empty, rounds);
  HoldImportsOf(library);
  Compare("what it imports is loaded before", library, empty, rounds);
  return EXIT_SUCCESS;
}
