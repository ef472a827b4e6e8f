#pragma once

#include <filesystem>

/// While it lives, the process's current folder is this one.
class CurrentFolder {
 public:
  explicit CurrentFolder(const std::filesystem::path& folder)
      : before(std::filesystem::current_path()) {
    std::filesystem::current_path(folder);
  }
  ~CurrentFolder() { std::filesystem::current_path(before); }
  CurrentFolder(const CurrentFolder&) = delete;
  CurrentFolder& operator=(const CurrentFolder&) = delete;

 private:
  std::filesystem::path before;
};
