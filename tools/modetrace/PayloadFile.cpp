#include "PayloadFile.h"

#include <algorithm>
#include <iterator>
#include <optional>

namespace ModeTrace {

namespace {

/// What matters here is ASCII: a character beyond it can be left to stand for itself as '?'.
std::string ToNarrow(std::string_view file) {
  constexpr std::string_view kUtf16Mark = "\xFF\xFE";
  constexpr std::string_view kUtf8Mark = "\xEF\xBB\xBF";
  if (file.starts_with(kUtf8Mark)) return std::string(file.substr(kUtf8Mark.size()));
  if (!file.starts_with(kUtf16Mark)) return std::string(file);
  std::string text;
  for (std::size_t i = kUtf16Mark.size(); i + 1 < file.size(); i += 2) {
    text += file[i + 1] == '\0' ? file[i] : '?';
  }
  return text;
}

bool IsBlank(char character) {
  return character == ' ' || character == '\t' || character == '\r' || character == '\n';
}

std::optional<int> DigitOf(char character) {
  if (character >= '0' && character <= '9') return character - '0';
  if (character >= 'a' && character <= 'f') return character - 'a' + 10;
  if (character >= 'A' && character <= 'F') return character - 'A' + 10;
  return std::nullopt;
}

FilePayload ReadPayload(std::string_view text, std::size_t line) {
  std::vector<int> digits;
  for (const char character : text) {
    if (IsBlank(character)) continue;
    const std::optional<int> digit = DigitOf(character);
    if (!digit) return {line, false, {}};
    digits.push_back(*digit);
  }
  if (digits.size() % 2 != 0) return {line, false, {}};
  FilePayload payload = {line, true, {}};
  for (std::size_t i = 0; i < digits.size(); i += 2) {
    payload.bytes += static_cast<char>(digits[i] * 16 + digits[i + 1]);
  }
  return payload;
}

std::size_t LineOf(std::string_view text, std::size_t position) {
  return 1 + static_cast<std::size_t>(std::count(
                 text.begin(), text.begin() + static_cast<std::ptrdiff_t>(position), '\n'));
}

std::vector<FilePayload> FindInXml(std::string_view text) {
  std::vector<FilePayload> payloads;
  constexpr std::string_view kNames[] = {"EventPayload", "BinaryEventData"};
  for (std::size_t start = text.find('<'); start != std::string_view::npos;
       start = text.find('<', start + 1)) {
    const auto* const name = std::find_if(
        std::begin(kNames), std::end(kNames),
        [&](std::string_view known) { return text.substr(start + 1).starts_with(known); });
    if (name == std::end(kNames)) continue;
    const std::size_t begin = text.find('>', start);
    const std::size_t end = text.find('<', start + 1);
    if (begin == std::string_view::npos || end == std::string_view::npos || end < begin) continue;
    const bool isEmpty = text[begin - 1] == '/';
    if (isEmpty) continue;
    payloads.push_back(ReadPayload(text.substr(begin + 1, end - begin - 1), LineOf(text, begin)));
  }
  return payloads;
}

std::vector<FilePayload> FindInLines(std::string_view text) {
  std::vector<FilePayload> payloads;
  std::size_t line = 1;
  for (std::size_t start = 0; start < text.size(); ++line) {
    const std::size_t end = std::min(text.find('\n', start), text.size());
    const std::string_view content = text.substr(start, end - start);
    const bool isEmpty = std::all_of(content.begin(), content.end(), IsBlank);
    if (!isEmpty && content.front() != '#') payloads.push_back(ReadPayload(content, line));
    start = end + 1;
  }
  return payloads;
}

}  // namespace

std::vector<FilePayload> FindPayloads(std::string_view file) {
  const std::string text = ToNarrow(file);
  const std::size_t first = text.find_first_not_of(" \t\r\n");
  const bool isXml = first != std::string::npos && text[first] == '<';
  return isXml ? FindInXml(text) : FindInLines(text);
}

}  // namespace ModeTrace
