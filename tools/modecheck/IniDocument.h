#pragma once

#include <map>
#include <string>
#include <string_view>
#include <vector>

/// The lines of an INI file as Windows' profile functions understand them, with their numbers.
///
/// The profile functions take the first section of a name and in it the first key of a name, in
/// upper or lower case; what comes again is here too, but not found.
class IniDocument {
 public:
  struct Key {
    std::wstring name;
    std::wstring value;  // as the profile functions return it: trimmed, quotation marks removed
    std::wstring raw;    // trimmed only
    unsigned line;
    unsigned firstLine = 0;        // of the key of the same name that counts; 0 for this one
    bool hasSpaceInFront = false;  // of the value, trimmed away
  };
  struct Section {
    std::wstring name;
    unsigned line = 0;
    unsigned firstLine = 0;  // of the section of the same name that counts; 0 for this one
    std::vector<Key> keys = {};
    std::map<std::wstring, std::size_t> index = {};  // of the keys that count, by folded name

    [[nodiscard]] const Key* Find(std::wstring_view key) const;
  };
  /// A line that is neither section, key nor comment.
  struct BrokenLine {
    std::wstring text;
    unsigned line;
    const wchar_t* problem;
  };

  IniDocument() = default;
  explicit IniDocument(std::wstring_view text);

  [[nodiscard]] const std::vector<Section>& Sections() const noexcept { return sections; }
  [[nodiscard]] const std::vector<BrokenLine>& BrokenLines() const noexcept { return brokenLines; }
  /// Keys in front of the first section.
  [[nodiscard]] const std::vector<Key>& LostKeys() const noexcept { return lostKeys; }

  [[nodiscard]] const Section* FindSection(std::wstring_view name) const;
  [[nodiscard]] const Key* Find(std::wstring_view section, std::wstring_view key) const;

  /// The first line, without its end. Any of "\n", "\r" and "\r\n" ends one.
  [[nodiscard]] static std::wstring_view TakeLine(std::wstring_view* text);
  /// Without the white space around it, as the profile functions understand that.
  [[nodiscard]] static std::wstring_view Trim(std::wstring_view text);

 private:
  void ReadLine(std::wstring_view line, unsigned number);
  void ReadSection(std::wstring_view line, unsigned number);
  void ReadKey(std::wstring_view line, unsigned number);

  std::vector<Section> sections;
  std::map<std::wstring, std::size_t> index;  // of the sections that count, by folded name
  std::vector<Key> lostKeys;
  std::vector<BrokenLine> brokenLines;
};
