#pragma once

#include <windows.h>

#include <cstdint>
#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

/// Reads the headers and tables of an x64 DLL or program, loaded in this process or as a file.
///
/// For files that a linker wrote: a damaged file may throw std::runtime_error or crash.
class PeImage {
 public:
  struct Import {
    std::string module;
    std::string function;    // "#12" for an import by number
    std::uint32_t slot = 0;  // the address table's entry, relative to the module's start
  };
  struct Export {
    std::string function;       // "#12" where it has no name
    std::uint32_t address = 0;  // relative to the module's start
  };

  /// A loaded module; it has to stay loaded.
  explicit PeImage(HMODULE module);
  /// A file, read whole.
  explicit PeImage(const std::filesystem::path& path);

  [[nodiscard]] const IMAGE_FILE_HEADER& FileHeader() const noexcept;
  [[nodiscard]] const IMAGE_OPTIONAL_HEADER64& OptionalHeader() const noexcept;
  [[nodiscard]] std::vector<std::string> SectionNames() const;
  [[nodiscard]] std::vector<Import> Imports() const;
  [[nodiscard]] std::vector<Export> Exports() const;

 private:
  void FindHeaders();
  [[nodiscard]] const IMAGE_SECTION_HEADER* Sections() const noexcept;
  [[nodiscard]] const char* At(std::uint32_t address) const;
  template <class T>
  [[nodiscard]] const T* TableAt(std::uint32_t address) const {
    return reinterpret_cast<const T*>(At(address));
  }

  std::string file;  // empty for a loaded module
  const char* start = nullptr;
  const IMAGE_NT_HEADERS64* headers = nullptr;
};
