#include "support/ModeChangeTest.h"

#include <gtest/gtest-spi.h>

#include <algorithm>
#include <fstream>
#include <memory>

#include "common/ModuleHelpers.h"
#include "support/Files.h"
#include "support/PeImage.h"
#include "trace/TraceLog.h"

namespace {

/// The fixture as an object, so that its end can be watched.
class Fixture : public ModeChangeTest {
 public:
  using ModeChangeTest::library;
  using ModeChangeTest::sandbox;
  using ModeChangeTest::traces;

 private:
  void TestBody() override {}
};

/// The place in a module's address table from which it takes a function.
template <class Function>
Function* FindImport(HMODULE module, const char* function) {
  const std::vector<PeImage::Import> imports = PeImage(module).Imports();
  const auto found = std::find_if(imports.begin(), imports.end(), [function](const auto& import) {
    return import.function == function;
  });
  return reinterpret_cast<Function*>(reinterpret_cast<char*>(module) + found->slot);
}

TEST(ModeChangeTestTest, PassesWhenNothingIsLeft) {
  Fixture fixture;
  fixture.sandbox.Write(L"ModeChange.Config.ini", IniFile());
  EXPECT_NE(nullptr, Common::GetMyModuleHandle());
}

TEST(ModeChangeTestTest, FailsForATraceThatWasNotTaken) {
  EXPECT_NONFATAL_FAILURE(
      {
        Fixture fixture;
        fixture.traces.LeaveOutOfCoverage();
        TraceLog().Write(L"A::B", 1);
      },
      "A::B 1 \"No Additional Information\"");
}

TEST(ModeChangeTestTest, FailsForARegistrationThatIsLeft) {
  static std::unique_ptr<TraceLog> left;
  EXPECT_NONFATAL_FAILURE(
      {
        const Fixture fixture;
        left = std::make_unique<TraceLog>();
      },
      "Trace registrations were not given back.");
  left.reset();
}

TEST(ModeChangeTestTest, FailsForAFileHandleThatIsLeft) {
  static HANDLE left = nullptr;
  EXPECT_NONFATAL_FAILURE(
      {
        const Fixture fixture;
        // The library leaves none, so its address table is used as if it did.
        const auto createFile =
            *FindImport<decltype(&::CreateFileW)>(fixture.library.Module(), "CreateFileW");
        left = createFile(Files::ProgramPath().c_str(), GENERIC_READ, FILE_SHARE_READ, nullptr,
                          OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr);
      },
      "The library did not give these back.");
  EXPECT_NE(INVALID_HANDLE_VALUE, left);
  ::CloseHandle(left);
}

TEST(ModeChangeTestTest, FailsForAFileThatIsLeft) {
  static std::filesystem::path path;
  EXPECT_NONFATAL_FAILURE(
      {
        const Fixture fixture;
        path = fixture.sandbox.LibraryFolder() / L"Stray.txt";
        std::ofstream(path) << "stray";
      },
      "Stray.txt");
  std::filesystem::remove(path);
}

}  // namespace
