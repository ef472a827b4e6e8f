#include "fuzz/CurrentInput.h"

#include <windows.h>

#include <cstdio>
#include <cstdlib>
#include <cwchar>

namespace CurrentInput {

namespace {

std::string currentCommand;

LONG WINAPI ReportCrash(EXCEPTION_POINTERS* pointers) {
  std::fprintf(stderr, "\ncrashed with 0x%08lX at %p; to repeat: %s\n",
               pointers->ExceptionRecord->ExceptionCode,
               pointers->ExceptionRecord->ExceptionAddress, currentCommand.c_str());
  std::fflush(stderr);
  ::TerminateProcess(::GetCurrentProcess(), pointers->ExceptionRecord->ExceptionCode);
  return EXCEPTION_CONTINUE_SEARCH;
}

}  // namespace

std::optional<std::uint64_t> GetNumber(const wchar_t* variable) {
  const wchar_t* text = ::_wgetenv(variable);
  if (text == nullptr || *text == L'\0') return std::nullopt;
  return std::wcstoull(text, nullptr, 10);
}

void Begin(const std::string& command) {
  currentCommand = command;
  ::SetUnhandledExceptionFilter(ReportCrash);
}

}  // namespace CurrentInput
