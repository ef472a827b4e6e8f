#pragma once

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

#include "fuzz/Damage.h"
#include "fuzz/Random.h"
#include "support/Sandbox.h"

/// All files that the library looks for: the sample configuration, and what a user and a mode that
/// is ON leave in the data folder.
class FileSet {
 public:
  struct File {
    std::filesystem::path path;
    Damage::Lines lines;
    /// The library writes into it: what it holds has to be written anew for each set.
    bool isLibrarysOwn = false;
    std::string onDisk = {};
  };

  /// `sandbox` has to outlive this object.
  explicit FileSet(Sandbox& sandbox);

  /// The sound files.
  [[nodiscard]] const std::vector<File>& Files() const noexcept { return files; }
  [[nodiscard]] std::vector<File>& Files() noexcept { return files; }

  /// Makes all files: one of them damaged, and of the others about one in `othersOneIn`. Returns
  /// the size of the longest. Files that are on the disk already stay. With VELTO_FUZZ_FILES in the
  /// environment copies are kept in the folder that it names.
  std::size_t Write(const Damage& damage, std::size_t othersOneIn, Random& random,
                    std::uint64_t seed);

 private:
  void WriteFile(File& file, const std::string& bytes, std::uint64_t seed);

  Sandbox& sandbox;
  std::vector<File> files;
};
