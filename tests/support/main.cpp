#include <gmock/gmock.h>

#include <algorithm>
#include <cwchar>

#include "support/Supervisor.h"

namespace {

/// Lists and help need no sandbox.
bool IsQuestion(const wchar_t* argument) {
  return std::wcscmp(argument, L"--gtest_list_tests") == 0 || std::wcscmp(argument, L"--help") == 0;
}

}  // namespace

int wmain(int argc, wchar_t** argv) {
  if (!Supervisor::IsSupervised() && std::none_of(argv + 1, argv + argc, IsQuestion)) {
    return Supervisor::Run();
  }
  ::testing::InitGoogleMock(&argc, argv);
  return RUN_ALL_TESTS();
}
