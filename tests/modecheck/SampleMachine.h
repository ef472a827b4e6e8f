#pragma once

#include <filesystem>
#include <map>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "EngineAnswers.h"
#include "Findings.h"

/// A copy of the sample configuration, with engines that answer as the sample's do, for a test to
/// damage. It is in a folder beside the test program and goes with this object.
class SampleMachine {
 public:
  enum class Languages {
    kTwo,  // English and German: enough for most tests, and soon read
    kAll,
  };

  explicit SampleMachine(Languages languages = Languages::kTwo);
  ~SampleMachine();
  SampleMachine(const SampleMachine&) = delete;
  SampleMachine& operator=(const SampleMachine&) = delete;

  /// Replaces the first such line of a section, its header included. A line that ends with "=" is
  /// any line that starts so; an empty section stands for the file from its top. Lines are
  /// separated by "\n". Throws where there is no such line.
  void Replace(const std::wstring& file, const std::wstring& section, const std::wstring& line,
               const std::wstring& replacement);
  void Remove(const std::wstring& file, const std::wstring& section, const std::wstring& line);
  void RemoveSection(const std::wstring& file, const std::wstring& section);
  /// In front of everything.
  void Prepend(const std::wstring& file, const std::wstring& line);
  void SetText(const std::wstring& file, const std::wstring& text);
  /// Instead of text; the form is up to the test.
  void SetBytes(const std::wstring& file, const std::string& bytes);
  /// Removes the texts of all others.
  void KeepLanguages(const std::set<std::wstring>& locales);
  void RemoveFile(const std::wstring& file);
  void RenameFile(const std::wstring& from, const std::wstring& to);

  [[nodiscard]] std::vector<std::wstring> FileNames() const;
  [[nodiscard]] const std::vector<std::wstring>& GetLines(const std::wstring& file) const;
  [[nodiscard]] std::wstring GetText(const std::wstring& file) const;
  /// The number of the first such line of a section, as for Replace; 1 is the first line.
  [[nodiscard]] unsigned LineNumber(const std::wstring& file, const std::wstring& section,
                                    const std::wstring& line) const;

  /// The answers of each engine, by the name of its file without ".dll".
  std::map<std::wstring, EngineAnswers> engines;
  bool asksEngines = true;
  std::wstring locale;

  [[nodiscard]] const std::filesystem::path& Folder() const noexcept { return folder; }
  /// Writes all files and checks them. The file names of the findings are relative to the folder.
  [[nodiscard]] std::vector<Finding> Check(const std::set<Rule>& ignored = {});
  void WriteFiles() const;

 private:
  using Lines = std::vector<std::wstring>;

  [[nodiscard]] std::size_t FindLine(const std::wstring& file, const std::wstring& section,
                                     const std::wstring& line) const;
  void AddEngine(const wchar_t* item, int valueCount);

  std::filesystem::path folder;
  std::map<std::wstring, Lines> texts;
  std::map<std::wstring, std::string> bytes;
};
