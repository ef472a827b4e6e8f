#pragma once

#include <filesystem>
#include <string>
#include <utility>
#include <vector>

#include "languages/SampleLanguages.h"

/// The sample's texts of one language, read as they stand in their file, without Windows' help.
class ResourceText {
 public:
  struct Entry {
    std::wstring section;
    std::wstring key;
    std::wstring value;  // without the quotation marks that keep spaces
  };

  [[nodiscard]] static std::filesystem::path FileOf(const SampleLanguage& language);
  /// The whole file; empty where there is none.
  [[nodiscard]] static std::string BytesOf(const SampleLanguage& language);

  /// Throws std::runtime_error where the file is not there or not UTF-16 with a mark.
  explicit ResourceText(const SampleLanguage& language);

  /// In the order of the file, doubles included.
  [[nodiscard]] const std::vector<Entry>& Entries() const noexcept { return entries; }
  /// Lines that are neither comment nor section nor entry nor empty.
  [[nodiscard]] const std::vector<std::wstring>& BrokenLines() const noexcept {
    return brokenLines;
  }
  [[nodiscard]] const std::vector<std::wstring>& Comments() const noexcept { return comments; }
  /// The first value of the key; throws std::out_of_range where there is none.
  [[nodiscard]] const std::wstring& Get(const std::wstring& section, const std::wstring& key) const;

 private:
  void ReadLine(const std::wstring& line);

  std::wstring section;
  std::vector<Entry> entries;
  std::vector<std::wstring> comments;
  std::vector<std::wstring> brokenLines;
};
