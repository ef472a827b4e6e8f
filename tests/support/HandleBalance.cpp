#include "support/HandleBalance.h"

#include <optional>
#include <sstream>

#include "support/Text.h"

namespace {

constexpr int kInResult = -1;

/// Which function takes, where it leaves what it took, and which one gives it back.
struct Ownership {
  const char* take;
  int place;  // the argument that points at it, or kInResult
  const char* release;
  std::size_t releaseArgument;
};

constexpr Ownership kOwnerships[] = {
    {"CreateFileW", kInResult, "CloseHandle", 0},
    {"FindFirstFileW", kInResult, "FindClose", 0},
    {"LoadLibraryW", kInResult, "FreeLibrary", 0},
    {"LoadLibraryExW", kInResult, "FreeLibrary", 0},
    {"ConvertStringSecurityDescriptorToSecurityDescriptorW", 2, "LocalFree", 0},
    {"RegOpenKeyExW", 4, "RegCloseKey", 0},
    {"GetDC", kInResult, "ReleaseDC", 1},
    {"CreateFontIndirectW", kInResult, "DeleteObject", 0},
    {"CreateSolidBrush", kInResult, "DeleteObject", 0},
    {"SetWindowsHookExW", kInResult, "UnhookWindowsHookEx", 0},
};

/// What the call took; nothing when it failed.
std::optional<std::uint64_t> GetTaken(const Call& call, int place) {
  if (call.result == FindImportedFunction(call.function)->failingResult) return std::nullopt;
  if (place == kInResult) return call.result;
  // Functions that answer with an error code have more than one such result.
  const bool answersWithError = call.function.starts_with("Reg");
  if (answersWithError && call.result != ERROR_SUCCESS) return std::nullopt;
  return *reinterpret_cast<const std::uint64_t*>(
      call.arguments.at(static_cast<std::size_t>(place)));
}

std::string Describe(const Call& call, std::uint64_t handle) {
  std::ostringstream stream;
  stream << call.function << " 0x" << std::hex << handle;
  for (const std::wstring& text : call.texts) {
    if (!text.empty()) stream << " \"" << Text::Escape(text) << '"';
  }
  return stream.str();
}

}  // namespace

HandleBalance::HandleBalance(Interposition& interposition) {
  std::map<std::string, std::size_t> releases;
  for (const Ownership& ownership : kOwnerships) {
    releases.emplace(ownership.release, ownership.releaseArgument);
    if (!interposition.Imports(ownership.take)) continue;
    interposition.Observe(ownership.take, [this, &ownership](const Call& call) {
      const std::optional<std::uint64_t> taken = GetTaken(call, ownership.place);
      if (taken.has_value()) held[{ownership.release, *taken}].push_back(Describe(call, *taken));
    });
  }
  for (const auto& [release, argument] : releases) {
    if (!interposition.Imports(release)) continue;
    interposition.Observe(release, [this, place = argument](const Call& call) {
      const std::uint64_t handle = call.arguments.at(place);
      const auto found = held.find({call.function, handle});
      if (found != held.end()) {
        found->second.pop_back();
        if (found->second.empty()) held.erase(found);
      } else if (handle != 0) {
        releasedUnheld.push_back(Describe(call, handle));
      }
    });
  }
}

std::vector<std::string> HandleBalance::Held() const {
  std::vector<std::string> descriptions;
  for (const auto& [key, taken] : held) {
    descriptions.insert(descriptions.end(), taken.begin(), taken.end());
  }
  return descriptions;
}
