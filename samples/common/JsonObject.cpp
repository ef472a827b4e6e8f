#include "JsonObject.h"

#include <windows.h>

namespace {

std::wstring Escape(wchar_t character) {
  constexpr std::wstring_view kDigits = L"0123456789abcdef";
  std::wstring escape = L"\\u";
  for (int shift = 12; shift >= 0; shift -= 4) {
    escape += kDigits[static_cast<std::size_t>(character >> shift) & 0xF];
  }
  return escape;
}

}  // namespace

std::wstring JsonObject::Quote(std::wstring_view text) {
  std::wstring quoted = L"\"";
  for (std::size_t i = 0; i < text.size(); ++i) {
    const wchar_t character = text[i];
    if (character == L'"' || character == L'\\') {
      quoted += L'\\';
      quoted += character;
    } else if (i + 1 < text.size() && IS_SURROGATE_PAIR(character, text[i + 1])) {
      quoted += text.substr(i, 2);
      ++i;
    } else if (character < L' ' || IS_HIGH_SURROGATE(character) || IS_LOW_SURROGATE(character)) {
      quoted += Escape(character);
    } else {
      quoted += character;
    }
  }
  return quoted + L"\"";
}

JsonObject& JsonObject::AddText(std::wstring_view name, std::wstring_view value) {
  return Add(name, Quote(value));
}

JsonObject& JsonObject::AddNumber(std::wstring_view name, long long value) {
  return Add(name, std::to_wstring(value));
}

JsonObject& JsonObject::AddFlag(std::wstring_view name, bool value) {
  return Add(name, value ? L"true" : L"false");
}

JsonObject& JsonObject::AddObject(std::wstring_view name, const JsonObject& object) {
  return Add(name, object.Text());
}

JsonObject& JsonObject::AddList(std::wstring_view name, const std::vector<JsonObject>& list) {
  std::wstring lines;
  for (const JsonObject& object : list)
    lines += (lines.empty() ? L"\n  " : L",\n  ") + object.Text();
  return Add(name, L"[" + lines + (list.empty() ? L"]" : L"\n]"));
}

JsonObject& JsonObject::Add(std::wstring_view name, std::wstring_view value) {
  if (!members.empty()) members += L", ";
  members += Quote(name) + L": ";
  members += value;
  return *this;
}
