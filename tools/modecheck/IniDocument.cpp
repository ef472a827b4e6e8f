#include "IniDocument.h"

#include <cwctype>

#include "Names.h"

namespace {

/// The profile functions take the end-of-file character of old editors for a space.
bool IsSpace(wchar_t character) {
  constexpr wchar_t kEndOfFile = 0x1A;
  return std::iswspace(character) != 0 || character == kEndOfFile;
}

/// What is left of a text whose end is the first zero character.
std::wstring_view CutAtZero(std::wstring_view text) {
  return text.substr(0, text.find(L'\0'));
}

std::wstring_view RemoveQuotationMarks(std::wstring_view value) {
  if (value.size() < 2 || value.front() != value.back()) return value;
  if (value.front() != L'"' && value.front() != L'\'') return value;
  return value.substr(1, value.size() - 2);
}

}  // namespace

IniDocument::IniDocument(std::wstring_view text) {
  for (unsigned number = 1; !text.empty(); ++number) ReadLine(Trim(TakeLine(&text)), number);
}

std::wstring_view IniDocument::TakeLine(std::wstring_view* text) {
  const std::size_t length = text->find_first_of(L"\r\n");
  const std::wstring_view line = text->substr(0, length);
  text->remove_prefix(line.size());
  text->remove_prefix(text->starts_with(L"\r\n") ? 2 : text->empty() ? 0 : 1);
  return line;
}

std::wstring_view IniDocument::Trim(std::wstring_view text) {
  while (!text.empty() && IsSpace(text.front())) text.remove_prefix(1);
  while (!text.empty() && IsSpace(text.back())) text.remove_suffix(1);
  return text;
}

const IniDocument::Key* IniDocument::Section::Find(std::wstring_view key) const {
  const auto found = index.find(Names::Fold(key));
  return found == index.end() ? nullptr : &keys[found->second];
}

const IniDocument::Section* IniDocument::FindSection(std::wstring_view name) const {
  const auto found = index.find(Names::Fold(name));
  return found == index.end() ? nullptr : &sections[found->second];
}

const IniDocument::Key* IniDocument::Find(std::wstring_view section, std::wstring_view key) const {
  const Section* const found = FindSection(section);
  return found == nullptr ? nullptr : found->Find(key);
}

void IniDocument::ReadLine(std::wstring_view line, unsigned number) {
  if (line.empty() || line.front() == L';') return;
  if (line.find(L'\0') != std::wstring_view::npos) {
    brokenLines.push_back(
        {std::wstring(CutAtZero(line)), number, L"A zero character ends the line there."});
    if (line.front() != L'[') return;
  }
  if (line.front() == L'[') {
    ReadSection(line, number);
  } else {
    ReadKey(line, number);
  }
}

void IniDocument::ReadSection(std::wstring_view line, unsigned number) {
  const std::size_t end = line.rfind(L']');
  if (end == std::wstring_view::npos) {
    brokenLines.push_back({std::wstring(line), number, L"The \"]\" of the section is missing."});
    return;
  }
  const std::wstring_view name = Trim(CutAtZero(line.substr(1, end - 1)));
  if (end + 1 != line.size()) {
    brokenLines.push_back({std::wstring(line), number,
                           L"Text after a section's \"]\" belongs on a line of its own."});
  } else if (name.empty()) {
    brokenLines.push_back({std::wstring(line), number, L"The section has no name."});
  }
  const auto [first, isNew] = index.try_emplace(Names::Fold(name), sections.size());
  sections.push_back({.name = std::wstring(name),
                      .line = number,
                      .firstLine = isNew ? 0 : sections[first->second].line});
}

void IniDocument::ReadKey(std::wstring_view line, unsigned number) {
  const std::size_t sign = line.find(L'=');
  const std::wstring_view name = Trim(line.substr(0, sign));
  if (name.starts_with(L'#') || name.starts_with(L"//")) {
    brokenLines.push_back({std::wstring(line), number, L"A comment starts with \";\"."});
  } else if (sign == std::wstring_view::npos || name.empty()) {
    brokenLines.push_back({std::wstring(line), number, L"Write key=value, or begin with \";\"."});
  } else {
    const std::wstring_view raw = Trim(line.substr(sign + 1));
    Key key = {.name = std::wstring(name),
               .value = std::wstring(RemoveQuotationMarks(raw)),
               .raw = std::wstring(raw),
               .line = number,
               .hasSpaceInFront = sign + 1 < line.size() && IsSpace(line[sign + 1])};
    if (sections.empty()) {
      lostKeys.push_back(std::move(key));
      return;
    }
    Section& section = sections.back();
    const auto [first, isNew] = section.index.try_emplace(Names::Fold(name), section.keys.size());
    if (!isNew) key.firstLine = section.keys[first->second].line;
    section.keys.push_back(std::move(key));
  }
}
