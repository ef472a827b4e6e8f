#include "support/IniFile.h"

#include <windows.h>

#include "support/Text.h"

IniFile& IniFile::Section(std::wstring_view name) {
  return Line(L"[" + std::wstring(name) + L"]");
}

IniFile& IniFile::Key(std::wstring_view name, std::wstring_view value) {
  return Line(std::wstring(name) + L"=" + std::wstring(value));
}

IniFile& IniFile::Key(std::wstring_view name, std::int64_t value) {
  return Key(name, std::to_wstring(value));
}

IniFile& IniFile::Line(std::wstring_view line) {
  content += line;
  content += L"\r\n";
  return *this;
}

IniFile& IniFile::In(Encoding newEncoding) noexcept {
  encoding = newEncoding;
  return *this;
}

std::string IniFile::Bytes() const {
  if (encoding == Encoding::kUtf8) return Text::ToUtf8(content);
  if (encoding == Encoding::kAnsi) return Text::ToCodePage(content, CP_ACP);
  constexpr wchar_t kByteOrderMark = L'\uFEFF';
  const std::wstring marked = kByteOrderMark + content;
  return {reinterpret_cast<const char*>(marked.data()), marked.size() * sizeof(wchar_t)};
}
