#pragma once

#include <filesystem>
#include <set>

/// A new folder with a test program and the DLLs beside it, removed with this object: the library
/// looks for its files in its own folder, so processes that run side by side need one each.
class ProgramCopy {
 public:
  /// The folder is "sandboxes\\<process>-<number>", two levels above the program's.
  explicit ProgramCopy(const std::filesystem::path& program);
  ~ProgramCopy();
  ProgramCopy(const ProgramCopy&) = delete;
  ProgramCopy& operator=(const ProgramCopy&) = delete;

  [[nodiscard]] const std::filesystem::path& Folder() const noexcept { return folder; }
  [[nodiscard]] std::filesystem::path Program() const { return folder / name; }

  /// Says on the standard error what is in the folder that was not put there; true if anything is.
  [[nodiscard]] bool ReportStrays() const;
  /// Removes that, for another process that is to find the folder as it was.
  void RemoveStrays() const;

 private:
  void Add(const std::filesystem::path& file);
  [[nodiscard]] std::set<std::filesystem::path> Strays() const;

  std::filesystem::path name;
  std::filesystem::path folder;
  std::set<std::filesystem::path> files;
};
