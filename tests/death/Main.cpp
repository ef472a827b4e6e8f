#include <gmock/gmock.h>

#include <cwchar>

#include "death/MortalHost.h"
#include "support/Supervisor.h"

int wmain(int argc, wchar_t** argv) {
  if (argc == 4 && std::wcscmp(argv[1], MortalHost::kOption) == 0) {
    return MortalHost::Run(argv[2], std::wcstoul(argv[3], nullptr, 10));
  }
  const bool isListing = argc > 1 && std::wcscmp(argv[1], L"--gtest_list_tests") == 0;
  if (!Supervisor::IsSupervised() && !isListing) return Supervisor::Run();
  ::testing::InitGoogleMock(&argc, argv);
  return RUN_ALL_TESTS();
}
