#pragma once

#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include "EngineAnswers.h"
#include "Findings.h"
#include "TextsCheck.h"

/// Checks a maker's folder: all files beside the library, the texts and, where it is named, the
/// data folder.
class FolderCheck {
 public:
  struct Options {
    std::filesystem::path folder;
    std::filesystem::path dataFolder = {};  // empty: not checked
    /// Whose texts are checked; empty for all languages.
    std::wstring locale = {};
    EngineSource* engines = nullptr;  // null: not asked
  };

  FolderCheck(Options options, Findings& findings);

  void Run();

  [[nodiscard]] std::size_t FileCount() const noexcept { return fileCount; }
  [[nodiscard]] const std::vector<Language>& Languages() const noexcept { return languages; }
  /// Every text that a language has or should have; after Run.
  [[nodiscard]] const std::vector<TextRule>& Texts() const noexcept { return texts; }

 private:
  /// Null, and a finding, where there is no such file.
  [[nodiscard]] std::unique_ptr<IniFileCheck> Open(const wchar_t* name);
  [[nodiscard]] std::unique_ptr<IniFileCheck> OpenIfThere(const std::filesystem::path& path);
  void FindLanguages();
  void AddLanguage(const std::wstring& locale);
  void FindLanguageOf(const std::wstring& locale);
  void CheckLanguageFolders();
  [[nodiscard]] bool HasTexts(const std::wstring& locale) const;
  void CheckData(const Configuration& configuration, const ItemEngines& itemEngines);

  Options options;
  Findings& findings;
  std::vector<std::wstring> subFolders;
  std::vector<Language> languages;
  std::vector<TextRule> texts;
  std::size_t fileCount = 0;
};
