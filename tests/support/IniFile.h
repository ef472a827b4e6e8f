#pragma once

#include <cstdint>
#include <string>
#include <string_view>

/// Builds the text of an INI file:
///
///     IniFile()
///         .Section(L"ModeList").Key(L"ModeCount", 1).Key(L"Mode0", L"Eco")
///         .Section(L"Eco").Key(L"IsEcoMode", 1)
class IniFile {
 public:
  enum class Encoding {
    kUtf16,  // little-endian with a byte-order mark: the only one that keeps all text
    kUtf8,   // without a byte-order mark
    kAnsi,   // the system's code page
  };

  IniFile& Section(std::wstring_view name);
  IniFile& Key(std::wstring_view name, std::wstring_view value);
  IniFile& Key(std::wstring_view name, std::int64_t value);
  /// Anything: a comment, a broken line, nothing.
  IniFile& Line(std::wstring_view line);
  IniFile& In(Encoding newEncoding) noexcept;

  [[nodiscard]] const std::wstring& Content() const noexcept { return content; }
  /// What the file consists of, with a byte-order mark where it has one.
  [[nodiscard]] std::string Bytes() const;

 private:
  std::wstring content;
  Encoding encoding = Encoding::kUtf16;
};
