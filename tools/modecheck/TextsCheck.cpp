#include "TextsCheck.h"

#include <windows.h>
// windows.h first: shlwapi.h needs its types.
#include <shlwapi.h>

#include <algorithm>
#include <cwctype>
#include <set>

#include "Names.h"

namespace {

constexpr const wchar_t* kSettingItem = L"SettingItem";
constexpr int kSmallestSize = 6;
constexpr int kLargestSize = 24;

bool IsPlaceholderLetter(wchar_t letter) {
  return (letter >= L'A' && letter <= L'Z') || (letter >= L'a' && letter <= L'z') || letter == L'_';
}

/// What looks like a placeholder at the "%" there: up to its second "%", if it has one.
std::wstring TakePlaceholder(const std::wstring& text, std::size_t at) {
  std::size_t end = at + 1;
  while (end < text.size() && IsPlaceholderLetter(text[end])) ++end;
  const bool isClosed = end > at + 1 && end < text.size() && text[end] == L'%';
  return text.substr(at, end - at + (isClosed ? 1 : 0));
}

/// Whether that was meant for a placeholder. Without the second "%" it has to have a known name:
/// a text may well speak of percent.
bool IsPlaceholder(const std::wstring& candidate, const std::vector<std::wstring>& known) {
  if (candidate.size() > 1 && candidate.ends_with(L'%')) return true;
  return std::any_of(known.begin(), known.end(), [&candidate](const std::wstring& one) {
    return Names::AreEqual(one, candidate + L"%");
  });
}

/// What looks like a placeholder but is none of those that are replaced.
std::vector<std::wstring> FindUnknownPlaceholders(std::wstring text,
                                                  const std::vector<std::wstring>& known) {
  for (const std::wstring& placeholder : known) {
    for (std::size_t at = text.find(placeholder); at != std::wstring::npos;
         at = text.find(placeholder)) {
      text.replace(at, placeholder.size(), L" ");
    }
  }
  std::vector<std::wstring> unknown;
  for (std::size_t at = text.find(L'%'); at != std::wstring::npos; at = text.find(L'%', at)) {
    const std::wstring candidate = TakePlaceholder(text, at);
    if (IsPlaceholder(candidate, known)) unknown.push_back(candidate);
    at += candidate.size();
  }
  return unknown;
}

std::wstring Join(const std::vector<std::wstring>& words) {
  std::wstring joined;
  for (const std::wstring& word : words) joined += (joined.empty() ? L"" : L", ") + word;
  return joined;
}

/// As the library reads a size: decimal, or hexadecimal with "0x".
std::optional<int> ParseSize(const std::wstring& text) {
  const bool isHexadecimal = Names::StartsWith(text, L"0x");
  const std::wstring_view digits = std::wstring_view{text}.substr(isHexadecimal ? 2 : 0);
  const wchar_t* const allowed = isHexadecimal ? L"0123456789abcdefABCDEF" : L"0123456789";
  constexpr std::size_t kMostDigits = 7;
  int size = 0;
  if (digits.empty() || digits.size() > kMostDigits ||
      digits.find_first_not_of(allowed) != std::wstring_view::npos ||
      ::StrToIntExW(text.c_str(), STIF_SUPPORT_HEX, &size) == FALSE) {
    return {};
  }
  return size;
}

}  // namespace

TextsCheck::TextsCheck(const std::vector<Language>& languages, const Configuration& configuration,
                       const ItemEngines& engines)
    : languages(languages), rules(GetTextRules(configuration)) {
  AddItemTexts(configuration, engines);
}

/// Engines know which texts they want. Without them, a text of one language is wanted in all.
void TextsCheck::AddItemTexts(const Configuration& configuration, const ItemEngines& engines) {
  std::set<std::wstring> added;
  const auto add = [&](const std::wstring& key) {
    if (!key.empty() && added.insert(Names::Fold(key)).second) rules.push_back({kSettingItem, key});
  };
  knowsItemTexts = engines.KnowsAll();
  for (const Configuration::Item& item : configuration.items) {
    const EngineAnswers* const engine = engines.Find(item.name);
    if (engine == nullptr) continue;
    add(engine->itemKey);
    for (const std::wstring& key : engine->valueKeys) add(key);
    // A value that this machine lacks may have a text that the engine does not tell of here.
    if (engine->itemKey.empty() || std::find(engine->valueKeys.begin(), engine->valueKeys.end(),
                                             L"") != engine->valueKeys.end()) {
      knowsItemTexts = false;
    }
  }
  if (knowsItemTexts) return;
  for (const Language& language : languages) {
    const IniDocument::Section* const section = language.file->Document().FindSection(kSettingItem);
    if (section == nullptr) continue;
    for (const IniDocument::Key& key : section->keys) add(key.name);
  }
}

void TextsCheck::Run() const {
  for (const Language& language : languages) {
    const IniFileCheck& file = *language.file;
    if (!file.IsReadable()) continue;
    AccessKeys accessKeys;
    for (const TextRule& rule : rules) CheckText(file, rule, &accessKeys);
    CheckFontSizes(file);
    CheckNames(file);
  }
}

void TextsCheck::CheckText(const IniFileCheck& file, const TextRule& rule, AccessKeys* accessKeys) {
  const IniDocument::Key* const text = file.Document().Find(rule.section, rule.key);
  if (text == nullptr || text->value.empty()) {
    if (!rule.isRequired) return;
    file.Add(Rule::kTextMissing, file.LineOf(rule.section, rule.key),
             rule.key + L" in [" + rule.section + L"] is " +
                 (text == nullptr ? L"missing" : L"empty") +
                 L", and so is the text on the screen. Add the text.");
    return;
  }
  CheckPlaceholders(file, rule, *text);
  CheckMarks(file, rule, *text, accessKeys);
  CheckEnds(file, rule, *text);
}

void TextsCheck::CheckPlaceholders(const IniFileCheck& file, const TextRule& rule,
                                   const IniDocument::Key& text) {
  const std::vector<std::wstring> unknown = FindUnknownPlaceholders(text.value, rule.placeholders);
  for (const std::wstring& placeholder : unknown) {
    file.Add(
        Rule::kPlaceholderUnknown, text.line,
        placeholder + L" is not replaced in " + text.name + L"; users see it as it is. " +
            (rule.placeholders.empty() ? L"This text has no placeholders."
                                       : L"Placeholders here: " + Join(rule.placeholders) + L"." +
                                             Names::Suggest(placeholder, rule.placeholders)));
  }
  // A misspelt placeholder has been reported.
  if (!unknown.empty()) return;
  for (std::size_t i = 0; i < rule.requiredPlaceholders; ++i) {
    const std::wstring& placeholder = rule.placeholders[i];
    if (text.value.find(placeholder) != std::wstring::npos) continue;
    file.Add(Rule::kPlaceholderMissing, text.line,
             text.name + L" lacks " + placeholder +
                 L", so what belongs there is not shown. Add the placeholder.");
  }
}

void TextsCheck::CheckMarks(const IniFileCheck& file, const TextRule& rule,
                            const IniDocument::Key& text, AccessKeys* accessKeys) {
  const std::wstring& value = text.value;
  if (rule.kind != TextRule::Kind::kLines && value.find(L"\\n") != std::wstring::npos) {
    file.Add(Rule::kLineBreak, text.line,
             L"\\n ends no line in " + text.name + L"; users see it as it is. Write one line.");
  }
  for (std::size_t at = value.find(L'&'); at != std::wstring::npos; at = value.find(L'&', at + 2)) {
    const wchar_t letter = at + 1 < value.size() ? value[at + 1] : L' ';
    if (rule.kind != TextRule::Kind::kControl || std::iswspace(letter) != 0) {
      file.Add(Rule::kAccessKeyMisplaced, text.line,
               L"The & in " + text.name +
                   (rule.kind == TextRule::Kind::kControl
                        ? L" marks no letter. Remove it, or write && to show it."
                        : L" can't mark an access key: the text is neither a button nor a check "
                          L"box. Remove it."));
      return;
    }
    if (letter == L'&') continue;
    const auto key = static_cast<wchar_t>(std::towlower(letter));
    const auto [first, isNew] = (*accessKeys)[rule.section].try_emplace(key, text.name);
    if (isNew) continue;
    file.Add(Rule::kAccessKeyRepeated, text.line,
             std::wstring(L"The access key ") + letter + L" of " + text.name + L" is that of " +
                 first->second + L" already. Choose another letter.");
  }
}

void TextsCheck::CheckEnds(const IniFileCheck& file, const TextRule& rule,
                           const IniDocument::Key& text) {
  const std::wstring& value = text.value;
  const bool isInMarks = text.raw.size() != value.size();
  const bool isMarkAtOneEnd = (value.front() == L'"') != (value.back() == L'"');
  const bool hasOddMarks = std::count(value.begin(), value.end(), L'"') % 2 != 0;
  const bool lostMarks = isInMarks && value.find(L'"') != std::wstring::npos &&
                         value.front() != L'"' && value.back() != L'"';
  if ((hasOddMarks && isMarkAtOneEnd) || lostMarks) {
    file.Add(Rule::kQuoteUnpaired, text.line,
             L"The quotation marks at the ends of " + text.name +
                 (lostMarks ? L" are removed, though they are no pair. Put the whole text into one "
                              L"more pair."
                            : L" are no pair, so users see one. Add the other, or remove it."));
  }
  if (rule.isLockNote && !isInMarks && text.hasSpaceInFront) {
    file.Add(Rule::kSpaceLost, text.line,
             L"The space at the start of " + text.name +
                 L" is lost, so the note sticks to the value's name. Put the text in quotation "
                 L"marks, with the space inside.");
  }
}

void TextsCheck::CheckFontSizes(const IniFileCheck& file) {
  for (const FontSizes& sizes : GetFontSizes()) {
    for (const wchar_t* const key : sizes.keys) CheckFontSize(file, sizes.section, key);
  }
}

void TextsCheck::CheckFontSize(const IniFileCheck& file, const wchar_t* section,
                               const wchar_t* key) {
  const IniDocument::Key* const found = file.Document().Find(section, key);
  const std::wstring text = found == nullptr ? L"" : file.ReadName(*found);
  const std::optional<int> size = ParseSize(text);
  const unsigned line = file.LineOf(section, key);
  const std::wstring start = std::wstring(key) + L" in [" + section + L"] is ";
  if (!size || *size == 0) {
    file.Add(Rule::kFontSize, line,
             start +
                 (found == nullptr ? L"missing"
                  : text.empty()   ? L"empty"
                                   : L"\"" + text + L"\"") +
                 L", so Windows chooses a size. Write it in points, such as 9.");
  } else if (*size < kSmallestSize || *size > kLargestSize) {
    file.Add(Rule::kFontSizeUnusual, line,
             start + text + L" points, for which the dialogs have no room. Write a size between " +
                 std::to_wstring(kSmallestSize) + L" and " + std::to_wstring(kLargestSize) + L".");
  }
}

void TextsCheck::CheckNames(const IniFileCheck& file) const {
  std::map<std::wstring, IniFileCheck::KnownKeys> known;
  std::vector<std::wstring> names;
  const auto add = [&](const std::wstring& section, const std::wstring& key) {
    std::vector<std::wstring>& keys = known[Names::Fold(section)].keys;
    if (keys.empty()) names.push_back(section);
    keys.push_back(key);
  };
  for (const TextRule& rule : rules) add(rule.section, rule.key);
  for (const FontSizes& sizes : GetFontSizes()) {
    for (const wchar_t* const key : sizes.keys) add(sizes.section, key);
  }
  // Sections that may well be empty.
  for (const wchar_t* const section : {L"Mode", L"SettingGroup", kSettingItem}) {
    known.try_emplace(Names::Fold(section));
  }
  file.CheckNames(known, names);
}
