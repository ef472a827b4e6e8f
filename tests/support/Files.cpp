#include "support/Files.h"

#include <windows.h>

#include <array>
#include <system_error>

namespace Files {

namespace fs = std::filesystem;

namespace {

constexpr ULONGLONG kPatienceInMs = 5000;
constexpr DWORD kRetryInMs = 20;

bool TryRemoveTree(const fs::path& path) {
  std::error_code error;
  if (!fs::exists(fs::symlink_status(path, error))) return true;
  for (const fs::directory_entry& entry : fs::recursive_directory_iterator(path, error)) {
    ::SetFileAttributesW(entry.path().c_str(), FILE_ATTRIBUTE_NORMAL);
  }
  ::SetFileAttributesW(path.c_str(), FILE_ATTRIBUTE_NORMAL);
  fs::remove_all(path, error);
  return !error;
}

}  // namespace

fs::path ProgramPath() {
  std::array<wchar_t, 4 * MAX_PATH> path{};
  ::GetModuleFileNameW(nullptr, path.data(), static_cast<DWORD>(path.size()));
  return path.data();
}

bool RemoveTree(const fs::path& path) {
  for (const ULONGLONG start = ::GetTickCount64(); !TryRemoveTree(path); ::Sleep(kRetryInMs)) {
    if (::GetTickCount64() - start > kPatienceInMs) return false;
  }
  return true;
}

}  // namespace Files
