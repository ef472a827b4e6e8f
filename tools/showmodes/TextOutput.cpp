#include "TextOutput.h"

#include <string>

namespace {

std::string ToUtf8(const CWideString& text) {
  const int length = static_cast<int>(text.length());
  const int size =
      ::WideCharToMultiByte(CP_UTF8, 0, text.c_str(), length, nullptr, 0, nullptr, nullptr);
  std::string utf8(static_cast<std::size_t>(size), '\0');
  ::WideCharToMultiByte(CP_UTF8, 0, text.c_str(), length, utf8.data(), size, nullptr, nullptr);
  return utf8;
}

}  // namespace

TextOutput::TextOutput(DWORD standardHandle) noexcept : stream(::GetStdHandle(standardHandle)) {
  DWORD mode = 0;
  isConsole = ::GetConsoleMode(stream, &mode) != FALSE;
}

void TextOutput::WriteLine(const CWideString& text) {
  const CWideString line = text + L"\n";
  // What can't be written is lost: there is nobody left to tell.
  DWORD written = 0;
  if (isConsole) {
    ::WriteConsoleW(stream, line.c_str(), static_cast<DWORD>(line.length()), &written, nullptr);
  } else {
    const std::string utf8 = ToUtf8(line);
    ::WriteFile(stream, utf8.data(), static_cast<DWORD>(utf8.size()), &written, nullptr);
  }
}
