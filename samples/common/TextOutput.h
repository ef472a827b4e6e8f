#pragma once

#include <windows.h>

#include <string>
#include <string_view>

/// A standard stream of this program that takes any text: a console is given UTF-16, a file or a
/// pipe UTF-8.
class TextOutput {
 public:
  /// `standardHandle` is STD_OUTPUT_HANDLE or STD_ERROR_HANDLE.
  explicit TextOutput(DWORD standardHandle) noexcept;

  void WriteLine(std::wstring_view text);

 private:
  HANDLE stream;
  bool isConsole = false;
};
