#pragma once

#include <map>
#include <memory>
#include <string>
#include <vector>

#include "IniFileCheck.h"
#include "ItemEngines.h"
#include "TextRules.h"

/// The texts of one language.
struct Language {
  std::wstring locale;  // the folder's name; empty for the folder of the library itself
  std::unique_ptr<IniFileCheck> file;
};

/// Checks the texts of all languages.
class TextsCheck {
 public:
  TextsCheck(const std::vector<Language>& languages, const Configuration& configuration,
             const ItemEngines& engines);

  void Run() const;

  /// Every text that a language has or should have.
  [[nodiscard]] const std::vector<TextRule>& Rules() const noexcept { return rules; }

 private:
  using AccessKeys = std::map<std::wstring, std::map<wchar_t, std::wstring>>;

  void AddItemTexts(const Configuration& configuration, const ItemEngines& engines);
  static void CheckText(const IniFileCheck& file, const TextRule& rule, AccessKeys* accessKeys);
  static void CheckPlaceholders(const IniFileCheck& file, const TextRule& rule,
                                const IniDocument::Key& text);
  static void CheckMarks(const IniFileCheck& file, const TextRule& rule,
                         const IniDocument::Key& text, AccessKeys* accessKeys);
  static void CheckEnds(const IniFileCheck& file, const TextRule& rule,
                        const IniDocument::Key& text);
  static void CheckFontSizes(const IniFileCheck& file);
  static void CheckFontSize(const IniFileCheck& file, const wchar_t* section, const wchar_t* key);
  void CheckNames(const IniFileCheck& file) const;

  const std::vector<Language>& languages;
  std::vector<TextRule> rules;
  bool knowsItemTexts = false;
};
