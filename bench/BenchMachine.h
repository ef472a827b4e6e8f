#pragma once

#include <cstddef>
#include <filesystem>
#include <string>

/// A machine with one mode, whose every setting item has an engine file of its own. Its files lie
/// beside the library and are removed with this object.
class BenchMachine {
 public:
  /// `engine` is the file that all engines are copies of.
  BenchMachine(std::filesystem::path folder, const std::filesystem::path& engine,
               std::size_t itemCount);
  ~BenchMachine();
  BenchMachine(const BenchMachine&) = delete;
  BenchMachine& operator=(const BenchMachine&) = delete;

  /// What the settings dialog needs as well: setting groups, and the texts of a sample file.
  void AddSettings(const std::filesystem::path& texts) const;

  [[nodiscard]] std::filesystem::path ApplicationData() const { return folder / L"ProgramData"; }
  /// The status file of a machine whose mode was never ON: the next change to ON writes each item.
  void ResetStatus() const;
  /// What the status file consists of.
  [[nodiscard]] std::string ReadStatus() const;

 private:
  void WriteConfiguration() const;
  void AgeFiles() const;
  void CopyEngines(const std::filesystem::path& engine) const;
  [[nodiscard]] std::filesystem::path StatusFile() const;

  std::filesystem::path folder;
  std::size_t itemCount;
  std::string initialStatus;
};
