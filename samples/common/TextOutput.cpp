#include "TextOutput.h"

namespace {

std::string ToUtf8(const std::wstring& text) {
  const int length = static_cast<int>(text.size());
  const int size =
      ::WideCharToMultiByte(CP_UTF8, 0, text.data(), length, nullptr, 0, nullptr, nullptr);
  std::string utf8(static_cast<std::size_t>(size), '\0');
  ::WideCharToMultiByte(CP_UTF8, 0, text.data(), length, utf8.data(), size, nullptr, nullptr);
  return utf8;
}

}  // namespace

TextOutput::TextOutput(DWORD standardHandle) noexcept : stream(::GetStdHandle(standardHandle)) {
  DWORD mode = 0;
  isConsole = ::GetConsoleMode(stream, &mode) != FALSE;
}

void TextOutput::WriteLine(std::wstring_view text) {
  const std::wstring line = std::wstring(text) + L"\n";
  // What can't be written is lost: there is nobody left to tell.
  DWORD written = 0;
  if (isConsole) {
    ::WriteConsoleW(stream, line.data(), static_cast<DWORD>(line.size()), &written, nullptr);
  } else {
    const std::string utf8 = ToUtf8(line);
    ::WriteFile(stream, utf8.data(), static_cast<DWORD>(utf8.size()), &written, nullptr);
  }
}
