#include "languages/ResourceText.h"

#include <algorithm>
#include <cstring>
#include <fstream>
#include <iterator>
#include <sstream>
#include <stdexcept>

#include "support/Text.h"

std::filesystem::path ResourceText::FileOf(const SampleLanguage& language) {
  return std::filesystem::absolute(SAMPLE_CONFIG_FOLDER) / language.locale /
         L"ModeChange.Resource.ini";
}

std::string ResourceText::BytesOf(const SampleLanguage& language) {
  std::ifstream stream(FileOf(language), std::ios::binary);
  return {std::istreambuf_iterator<char>(stream), {}};
}

ResourceText::ResourceText(const SampleLanguage& language) {
  const std::string bytes = BytesOf(language);
  if (!bytes.starts_with("\xFF\xFE") || bytes.size() % sizeof(wchar_t) != 0) {
    throw std::runtime_error("not UTF-16 with a mark: " + Text::ToUtf8(language.locale));
  }
  std::wstring text(bytes.size() / sizeof(wchar_t) - 1, L'\0');
  std::memcpy(text.data(), bytes.data() + sizeof(wchar_t), bytes.size() - sizeof(wchar_t));
  std::wistringstream lines(text);
  for (std::wstring line; std::getline(lines, line);) {
    if (line.ends_with(L'\r')) line.pop_back();
    ReadLine(line);
  }
}

const std::wstring& ResourceText::Get(const std::wstring& wantedSection,
                                      const std::wstring& key) const {
  const auto found = std::ranges::find_if(entries, [&](const Entry& entry) {
    return entry.section == wantedSection && entry.key == key;
  });
  if (found == entries.end()) throw std::out_of_range("no text " + Text::ToUtf8(key));
  return found->value;
}

void ResourceText::ReadLine(const std::wstring& line) {
  if (line.empty()) return;
  const std::size_t sign = line.find(L'=');
  if (line.starts_with(L';')) {
    comments.push_back(line);
  } else if (line.starts_with(L'[') && line.ends_with(L']')) {
    section = line.substr(1, line.size() - 2);
  } else if (sign == std::wstring::npos) {
    brokenLines.push_back(line);
  } else {
    std::wstring value = line.substr(sign + 1);
    if (value.size() >= 2 && value.starts_with(L'"') && value.ends_with(L'"')) {
      value = value.substr(1, value.size() - 2);
    }
    entries.push_back({section, line.substr(0, sign), value});
  }
}
