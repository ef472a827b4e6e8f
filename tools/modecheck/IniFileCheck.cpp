#include "IniFileCheck.h"

#include <algorithm>
#include <cwchar>
#include <cwctype>
#include <limits>
#include <set>

#include "IniText.h"
#include "Names.h"

namespace {

constexpr const wchar_t* kSaveAsUtf16 =
    L" Save it as UTF-16 LE with a byte-order mark (Notepad: \"UTF-16 LE\").";

std::wstring Quote(std::wstring_view text) {
  constexpr std::size_t kMost = 60;
  return L"\"" + std::wstring(text.substr(0, kMost)) + (text.size() > kMost ? L"..." : L"") + L"\"";
}

std::wstring InBrackets(std::wstring_view section) {
  return L"[" + std::wstring(section) + L"]";
}

const wchar_t* DescribeForm(IniText::Form form) {
  switch (form) {
    case IniText::Form::kUtf8Mark:
      return L"The file is UTF-8 with a byte-order mark, which Windows does not recognise.";
    case IniText::Form::kUtf16BigEndian:
      return L"The file is big-endian UTF-16, which Windows does not recognise.";
    case IniText::Form::kUtf16WithoutMark:
      return L"The file is UTF-16 without a byte-order mark, so Windows does not recognise it.";
    default:
      return nullptr;
  }
}

/// Decimal digits with an optional sign, within 32 bits.
std::optional<int> ParseNumber(std::wstring_view text) {
  const bool isNegative = text.starts_with(L'-');
  if (isNegative || text.starts_with(L'+')) text.remove_prefix(1);
  if (text.empty()) return {};
  long long number = 0;
  for (const wchar_t digit : text) {
    if (digit < L'0' || digit > L'9') return {};
    number = number * 10 + (digit - L'0');
    if (number > std::numeric_limits<int>::max()) return {};
  }
  return static_cast<int>(isNegative ? -number : number);
}

/// The number of a key such as "Mode0", as the library writes it; none for any other text.
std::optional<unsigned> ParseKeyNumber(std::wstring_view text) {
  if (text.empty() || (text.front() == L'0' && text.size() > 1)) return {};
  if (text.front() < L'0' || text.front() > L'9') return {};
  const std::optional<int> number = ParseNumber(text);
  if (!number) return {};
  return static_cast<unsigned>(*number);
}

/// Whether text behind a numbered key's name was meant for a number.
bool LooksLikeNumber(std::wstring_view text) {
  return text.find_first_of(L"0123456789") != std::wstring_view::npos &&
         text.find_first_not_of(L"0123456789 +-_#.") == std::wstring_view::npos;
}

/// Where a comment behind a value starts; npos without one.
std::size_t FindComment(std::wstring_view value) {
  for (std::size_t at = value.find(L';'); at != std::wstring_view::npos;
       at = value.find(L';', at + 1)) {
    if (at == 0 || std::iswspace(value[at - 1]) != 0) return at;
  }
  return std::wstring_view::npos;
}

}  // namespace

IniFileCheck::IniFileCheck(const std::filesystem::path& path, Findings& findings)
    : findings(findings), name(path.wstring()) {
  findings.NameFile(name);
  ReadText(path);
  if (isReadable) CheckLines();
}

void IniFileCheck::Add(Rule rule, unsigned line, std::wstring message) const {
  findings.Add(rule, name, line, std::move(message));
}

void IniFileCheck::ReadText(const std::filesystem::path& path) {
  const FileBytes file = FileBytes::Read(path);
  if (!file.problem.empty() || file.bytes.empty()) {
    Add(Rule::kFileUnreadable, 0,
        L"The file " + (file.problem.empty() ? L"is empty" : file.problem) +
            L". Check that it is the right one.");
    return;
  }
  const IniText decoded = IniText::Decode(file.bytes);
  if (const wchar_t* const problem = DescribeForm(decoded.form)) {
    Add(Rule::kEncoding, 1, std::wstring(problem) + kSaveAsUtf16);
  }
  document = IniDocument(decoded.text);
  isReadable = true;
  if (decoded.hasHalfCharacter) {
    const auto lines = std::count(decoded.text.begin(), decoded.text.end(), L'\n');
    Add(Rule::kEncoding, static_cast<unsigned>(lines) + 1,
        std::wstring(L"The file ends in the middle of a character.") + kSaveAsUtf16);
  }
  if (decoded.form == IniText::Form::kAnsi) CheckTextWithoutMark(decoded.text);
}

void IniFileCheck::CheckTextWithoutMark(std::wstring_view text) const {
  unsigned first = 0;
  unsigned count = 0;
  for (unsigned number = 1; !text.empty(); ++number) {
    const std::wstring_view line = IniDocument::Trim(IniDocument::TakeLine(&text));
    if (line.starts_with(L';') || Names::IsAscii(line)) continue;
    if (first == 0) first = number;
    ++count;
  }
  if (count == 0) return;
  Add(Rule::kTextWithoutMark, first,
      std::to_wstring(count) + (count == 1 ? L" line has" : L" lines, from this one on, have") +
          L" text beyond ASCII, but the file has no byte-order mark: on a machine with another "
          L"ANSI code page the text is lost." +
          kSaveAsUtf16);
}

void IniFileCheck::CheckLines() const {
  for (const IniDocument::BrokenLine& line : document.BrokenLines()) {
    Add(Rule::kMalformedLine, line.line,
        Quote(line.text) + L" is neither a section, nor a key, nor a comment. " + line.problem);
  }
  for (const IniDocument::Key& key : document.LostKeys()) {
    Add(Rule::kKeyOutsideSection, key.line,
        key.name +
            L" stands in front of the first section and is never read. Move it into its "
            L"section.");
  }
  for (const IniDocument::Section& section : document.Sections()) {
    if (section.firstLine != 0) {
      Add(Rule::kDuplicateSection, section.line,
          InBrackets(section.name) + L" is there already, in line " +
              std::to_wstring(section.firstLine) +
              L", and only that one is read. Move the keys there.");
    }
    for (const IniDocument::Key& key : section.keys) {
      if (key.firstLine == 0) continue;
      Add(Rule::kDuplicateKey, key.line,
          key.name + L" is there already, in line " + std::to_wstring(key.firstLine) +
              L", and only that one is read. Remove one of them.");
    }
  }
}

unsigned IniFileCheck::LineOf(std::wstring_view section, std::wstring_view key) const {
  const IniDocument::Section* const found = document.FindSection(section);
  if (found == nullptr) return 0;
  const IniDocument::Key* const foundKey = found->Find(key);
  return foundKey == nullptr ? found->line : foundKey->line;
}

std::wstring IniFileCheck::ReadName(const IniDocument::Key& key) const {
  const std::size_t comment = FindComment(key.value);
  if (comment == std::wstring::npos) return key.value;
  Add(Rule::kTrailingComment, key.line,
      L"The comment behind the value is a part of " + key.name +
          L". Give the comment a line of its own.");
  return std::wstring(IniDocument::Trim(std::wstring_view{key.value}.substr(0, comment)));
}

std::optional<int> IniFileCheck::ReadNumber(std::wstring_view section,
                                            std::wstring_view key) const {
  const IniDocument::Key* const found = document.Find(section, key);
  if (found == nullptr) return {};
  const std::wstring text = ReadName(*found);
  const std::optional<int> number = ParseNumber(text);
  if (!number) {
    Add(Rule::kNotANumber, found->line,
        found->name + L" is " + (text.empty() ? L"empty" : Quote(text)) +
            L", not a decimal number of 32 bits. Write digits only.");
  }
  return number;
}

std::optional<int> IniFileCheck::ReadFlag(std::wstring_view section, std::wstring_view key) const {
  const std::optional<int> value = ReadNumber(section, key);
  if (value && *value != 0 && *value != 1) {
    Add(Rule::kFlagValue, LineOf(section, key),
        std::wstring(key) + L" is " + std::to_wstring(*value) +
            L", and only exactly 1 counts as yes. Write 0 or 1.");
  }
  return value;
}

std::map<unsigned, const IniDocument::Key*> IniFileCheck::FindNumbered(
    std::wstring_view section, std::wstring_view entryKey) const {
  std::map<unsigned, const IniDocument::Key*> numbered;
  const IniDocument::Section* const found = document.FindSection(section);
  if (found == nullptr) return numbered;
  for (const IniDocument::Key& key : found->keys) {
    if (!Names::StartsWith(key.name, entryKey)) continue;
    const std::optional<unsigned> number =
        ParseKeyNumber(std::wstring_view{key.name}.substr(entryKey.size()));
    if (number) numbered.try_emplace(*number, &key);
  }
  return numbered;
}

std::vector<IniFileCheck::Entry> IniFileCheck::ReadList(const List& list) const {
  const auto numbered = FindNumbered(list.section, list.entryKey);
  CheckCount(list, numbered);
  std::vector<Entry> entries;
  for (const auto& [number, key] : numbered) {
    std::wstring value = ReadName(*key);
    if (!value.empty()) entries.push_back({number, std::move(value), key->line});
  }
  return entries;
}

void IniFileCheck::CheckCount(const List& list,
                              const std::map<unsigned, const IniDocument::Key*>& numbered) const {
  const bool hasCount = document.Find(list.section, list.countKey) != nullptr;
  const std::optional<int> count = ReadNumber(list.section, list.countKey);
  // A count that is no number has been reported.
  if (hasCount && !count) return;
  const unsigned read = count ? static_cast<unsigned>(std::max(*count, 0)) : 0;
  const auto unread = numbered.lower_bound(read);
  if (unread != numbered.end()) {
    const std::wstring needed = std::to_wstring(numbered.rbegin()->first + 1);
    Add(Rule::kCountTooSmall, unread->second->line,
        unread->second->name + L" is not read: " + list.countKey + L" is " +
            (count ? std::to_wstring(*count) + L". Raise it to " : L"missing. Add it, as ") +
            needed + L", or remove what is beyond it.");
  }
  CheckGaps(list, read, numbered);
}

void IniFileCheck::CheckGaps(const List& list, unsigned count,
                             const std::map<unsigned, const IniDocument::Key*>& numbered) const {
  for (const auto& [number, key] : numbered) {
    if (number >= count || !key->value.empty()) continue;
    Add(Rule::kListGap, key->line,
        key->name + L" is empty and is skipped. Give it a value, or close the gap.");
  }
  // Runs of missing numbers, each as one finding: a count may be any number.
  unsigned next = 0;
  const auto reportUpTo = [&](unsigned end) {
    if (next >= end) return;
    std::wstring missing = list.entryKey + std::to_wstring(next);
    if (end - next > 1) missing += L" to " + list.entryKey + std::to_wstring(end - 1);
    Add(Rule::kListGap, LineOf(list.section, list.countKey),
        list.countKey + L" is " + std::to_wstring(count) + L", but " + missing +
            (end - next > 1 ? L" are" : L" is") +
            L" missing. Number the entries from 0 without gaps, and count them.");
  };
  for (const auto& [number, key] : numbered) {
    if (number >= count) break;
    reportUpTo(number);
    next = number + 1;
  }
  reportUpTo(count);
}

void IniFileCheck::CheckDuplicates(const List& list, const std::vector<Entry>& entries) const {
  std::map<std::wstring, unsigned> lines;
  for (const Entry& entry : entries) {
    const auto [first, isNew] = lines.try_emplace(Names::Fold(entry.name), entry.line);
    if (isNew) continue;
    Add(Rule::kListDuplicate, entry.line,
        entry.name + L" is in " + InBrackets(list.section) + L" already, in line " +
            std::to_wstring(first->second) + L". Remove one of them.");
  }
}

void IniFileCheck::CheckNames(const std::map<std::wstring, KnownKeys>& known,
                              const std::vector<std::wstring>& sectionNames) const {
  for (const IniDocument::Section& section : document.Sections()) {
    const auto found = known.find(Names::Fold(section.name));
    if (found == known.end()) {
      Add(Rule::kUnknownSection, section.line,
          Wants(Rule::kUnknownSection) ? L"Nothing reads " + InBrackets(section.name) + L"." +
                                             Names::Suggest(section.name, sectionNames)
                                       : L"");
      continue;
    }
    for (const IniDocument::Key& key : section.keys) CheckKey(section, key, found->second);
  }
}

void IniFileCheck::CheckKey(const IniDocument::Section& section, const IniDocument::Key& key,
                            const KnownKeys& known) const {
  const auto isThisKey = [&key](const std::wstring& other) {
    return Names::AreEqual(key.name, other);
  };
  if (std::any_of(known.keys.begin(), known.keys.end(), isThisKey)) return;
  const std::wstring* numberedKey = nullptr;
  for (const std::wstring& candidate : known.numberedKeys) {
    if (!Names::StartsWith(key.name, candidate)) continue;
    const std::wstring_view number = std::wstring_view{key.name}.substr(candidate.size());
    if (ParseKeyNumber(number)) return;
    if (LooksLikeNumber(number)) numberedKey = &candidate;
  }
  if (numberedKey != nullptr) {
    Add(Rule::kListNumber, key.line,
        key.name + L" is not read: its number is not as the library writes it. Write " +
            *numberedKey + L"0, " + *numberedKey + L"1, and so on.");
    return;
  }
  if (!Wants(Rule::kUnknownKey)) {
    Add(Rule::kUnknownKey, key.line, L"");
    return;
  }
  std::vector<std::wstring> names = known.keys;
  for (const std::wstring& numbered : known.numberedKeys) names.push_back(numbered + L"0");
  Add(Rule::kUnknownKey, key.line,
      L"Nothing reads " + key.name + L" in " + InBrackets(section.name) + L"." +
          Names::Suggest(key.name, names));
}
