#include "support/Text.h"

#include <windows.h>

#include <cwchar>
#include <iterator>

namespace Text {

std::string ToUtf8(std::wstring_view text) {
  return ToCodePage(text, CP_UTF8);
}

std::string ToCodePage(std::wstring_view text, unsigned codePage) {
  const int length = static_cast<int>(text.size());
  const int size =
      ::WideCharToMultiByte(codePage, 0, text.data(), length, nullptr, 0, nullptr, nullptr);
  std::string bytes(static_cast<std::size_t>(size), '\0');
  ::WideCharToMultiByte(codePage, 0, text.data(), length, bytes.data(), size, nullptr, nullptr);
  return bytes;
}

std::wstring FromUtf8(std::string_view text) {
  const int size = static_cast<int>(text.size());
  const int length = ::MultiByteToWideChar(CP_UTF8, 0, text.data(), size, nullptr, 0);
  std::wstring wide(static_cast<std::size_t>(length), L'\0');
  ::MultiByteToWideChar(CP_UTF8, 0, text.data(), size, wide.data(), length);
  return wide;
}

std::string Escape(std::wstring_view text) {
  std::wstring escaped;
  for (const wchar_t character : text) {
    if (character == L'\\') {
      escaped += L"\\\\";
    } else if (character == L'\n') {
      escaped += L"\\n";
    } else if (character == L'\t') {
      escaped += L"\\t";
    } else if (character < L' ' || (character >= 0x7F && character <= 0x9F)) {
      wchar_t code[7];
      std::swprintf(code, std::size(code), L"\\u%04X", static_cast<unsigned>(character));
      escaped += code;
    } else {
      escaped += character;
    }
  }
  return ToUtf8(escaped);
}

}  // namespace Text
