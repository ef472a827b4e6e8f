#pragma once

#include <filesystem>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "Findings.h"
#include "IniDocument.h"

/// One INI file under check: its lines, and the findings that every kind of file can have.
///
/// Lists are walked as the library walks them, but with the entries that it would not read: what is
/// wrong with a count is told once, and not again wherever an entry is missed.
class IniFileCheck {
 public:
  /// One entry of a numbered list.
  struct Entry {
    unsigned number;
    std::wstring name;
    unsigned line;
  };
  struct List {
    std::wstring section;
    std::wstring countKey;
    std::wstring entryKey;
  };
  /// What the library reads in a section: keys, and keys that are followed by a number.
  struct KnownKeys {
    std::vector<std::wstring> keys = {};
    std::vector<std::wstring> numberedKeys = {};
  };

  /// Reads the file and reports what is wrong with it and its lines.
  IniFileCheck(const std::filesystem::path& path, Findings& findings);

  [[nodiscard]] bool IsReadable() const noexcept { return isReadable; }
  [[nodiscard]] const std::wstring& Name() const noexcept { return name; }
  [[nodiscard]] const IniDocument& Document() const noexcept { return document; }

  void Add(Rule rule, unsigned line, std::wstring message) const;
  [[nodiscard]] bool Wants(Rule rule) const { return findings.Wants(rule, name); }

  /// The line of a key or, where it is not there, of its section; 0 without either.
  [[nodiscard]] unsigned LineOf(std::wstring_view section, std::wstring_view key) const;

  /// A key's value as a number; none, and a finding, where it is something else; none without the
  /// key.
  [[nodiscard]] std::optional<int> ReadNumber(std::wstring_view section,
                                              std::wstring_view key) const;
  /// The same for a value that should be 0 or 1.
  [[nodiscard]] std::optional<int> ReadFlag(std::wstring_view section, std::wstring_view key) const;
  /// A value without the comment behind it, which is a finding.
  [[nodiscard]] std::wstring ReadName(const IniDocument::Key& key) const;

  /// The entries in the order of their numbers, those that the library skips left out.
  [[nodiscard]] std::vector<Entry> ReadList(const List& list) const;
  /// All numbered keys of a section whether or not they have a value.
  [[nodiscard]] std::map<unsigned, const IniDocument::Key*> FindNumbered(
      std::wstring_view section, std::wstring_view entryKey) const;
  void CheckDuplicates(const List& list, const std::vector<Entry>& entries) const;

  /// Reports sections and keys that nobody reads. `known` has the sections' folded names.
  void CheckNames(const std::map<std::wstring, KnownKeys>& known,
                  const std::vector<std::wstring>& sectionNames) const;

 private:
  void ReadText(const std::filesystem::path& path);
  void CheckLines() const;
  void CheckTextWithoutMark(std::wstring_view text) const;
  void CheckCount(const List& list,
                  const std::map<unsigned, const IniDocument::Key*>& numbered) const;
  void CheckGaps(const List& list, unsigned count,
                 const std::map<unsigned, const IniDocument::Key*>& numbered) const;
  void CheckKey(const IniDocument::Section& section, const IniDocument::Key& key,
                const KnownKeys& known) const;

  Findings& findings;
  std::wstring name;
  IniDocument document;
  bool isReadable = false;
};
