#include "unit/support/TestProgram.h"

#include <utility>

#include "support/Files.h"
#include "support/Text.h"

ChildProcess::Result RunTestAgain(const std::string& test,
                                  std::map<std::wstring, std::wstring> variables) {
  const std::wstring program = Files::ProgramPath().wstring();
  return ChildProcess::Run(
      {.program = program,
       .commandLine = L"\"" + program + L"\" --gtest_filter=" + Text::FromUtf8(test),
       .variables = std::move(variables)});
}
