#pragma once

#include <cstdint>
#include <filesystem>
#include <string>
#include <string_view>

/// The characters of an INI file, and what Windows' profile functions would make of them.
struct IniText {
  enum class Form {
    kUtf16,             // little-endian with a byte-order mark: keeps any text
    kAnsi,              // no mark: the code page of the machine that reads it
    kUtf8Mark,          // not recognised
    kUtf16BigEndian,    // not recognised
    kUtf16WithoutMark,  // not recognised
  };

  Form form = Form::kAnsi;
  /// Also of a form that Windows does not recognise: what its author sees.
  std::wstring text = {};
  bool hasHalfCharacter = false;  // the file ends in the middle of a UTF-16 character

  [[nodiscard]] static IniText Decode(std::string_view bytes);
};

/// A file's bytes. A file that can't be read has a problem instead.
struct FileBytes {
  /// No configuration comes near this size, and each read of the library's takes as much memory.
  static constexpr std::uintmax_t kMostBytes = std::uintmax_t{4} * 1024 * 1024;

  std::string bytes = {};
  std::wstring problem = {};

  [[nodiscard]] static FileBytes Read(const std::filesystem::path& path);
};
