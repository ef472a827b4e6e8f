#include "support/Supervisor.h"

#include <gmock/gmock.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>

#include "support/Files.h"
#include "support/Text.h"
#include "unit/support/TestProgram.h"

namespace {

using ::testing::HasSubstr;
using ::testing::Not;

constexpr const wchar_t* kRole = L"VELTO_TEST_ROLE";

/// The supervised program's part in these tests: the one that it was started for.
std::wstring GetRole() {
  const wchar_t* role = ::_wgetenv(kRole);
  return role != nullptr ? role : L"";
}

ChildProcess::Result RunSupervised(const std::string& test, const std::wstring& role) {
  // Without the mark of a supervised program it supervises itself.
  return RunTestAgain(test, {{kRole, role},
                             {L"VELTO_SANDBOX", L""},
                             {L"VELTO_SUPERVISOR_SECONDS", L"5"},
                             {L"VELTO_WATCHDOG_SECONDS", L"60"}});
}

/// What the supervised program printed after `label`.
std::string FindPrinted(const std::string& output, const std::string& label) {
  const std::size_t start = output.find(label);
  if (start == std::string::npos) return {};
  const std::size_t end = output.find_first_of("\r\n", start);
  return output.substr(start + label.size(), end - start - label.size());
}

TEST(SupervisorTest, RunsACopyInAFolderOfItsOwnAndRemovesIt) {
  const std::filesystem::path folder = Files::ProgramPath().parent_path();
  if (GetRole() == L"passes") {
    std::printf("folder: %s\n", Text::ToUtf8(folder.wstring()).c_str());
    EXPECT_EQ(folder, std::filesystem::current_path());
    EXPECT_TRUE(std::filesystem::exists(folder / L"ModeChange.dll"));
    return;
  }
  EXPECT_TRUE(Supervisor::IsSupervised());
  const ChildProcess::Result result =
      RunSupervised("SupervisorTest.RunsACopyInAFolderOfItsOwnAndRemovesIt", L"passes");
  EXPECT_EQ(0U, result.exitCode) << result.output;
  EXPECT_THAT(result.output, HasSubstr("[  PASSED  ] 1 test."));
  const std::filesystem::path itsFolder = Text::FromUtf8(FindPrinted(result.output, "folder: "));
  EXPECT_EQ(L"sandboxes", itsFolder.parent_path().filename());
  EXPECT_NE(folder, itsFolder);
  EXPECT_FALSE(std::filesystem::exists(itsFolder));
}

TEST(SupervisorTest, FailsWhenATestFails) {
  if (GetRole() == L"fails") {
    ADD_FAILURE() << "on purpose";
    return;
  }
  const ChildProcess::Result result = RunSupervised("SupervisorTest.FailsWhenATestFails", L"fails");
  EXPECT_EQ(1U, result.exitCode) << result.output;
  EXPECT_THAT(result.output, HasSubstr("on purpose"));
}

TEST(SupervisorTest, FailsWhenAFileIsLeftAndRemovesIt) {
  if (GetRole() == L"leaves a file") {
    const std::filesystem::path path = Files::ProgramPath().parent_path() / L"left.txt";
    std::ofstream(path) << "left";
    std::printf("file: %s\n", Text::ToUtf8(path.wstring()).c_str());
    return;
  }
  const ChildProcess::Result result =
      RunSupervised("SupervisorTest.FailsWhenAFileIsLeftAndRemovesIt", L"leaves a file");
  EXPECT_EQ(static_cast<std::uint32_t>(Supervisor::kFilesLeft), result.exitCode) << result.output;
  EXPECT_THAT(result.output, HasSubstr("left behind by the tests"));
  const std::filesystem::path file = Text::FromUtf8(FindPrinted(result.output, "file: "));
  EXPECT_EQ(L"left.txt", file.filename());
  EXPECT_FALSE(std::filesystem::exists(file.parent_path()));
}

TEST(SupervisorTest, EndsAProgramThatHangs) {
  if (GetRole() == L"hangs") {
    std::printf("folder: %s\n", Text::ToUtf8(Files::ProgramPath().parent_path().wstring()).c_str());
    std::fflush(stdout);
    ::WaitForSingleObject(::GetCurrentThread(), INFINITE);
  }
  const ChildProcess::Result result =
      RunSupervised("SupervisorTest.EndsAProgramThatHangs", L"hangs");
  EXPECT_EQ(static_cast<std::uint32_t>(Supervisor::kTimeOut), result.exitCode) << result.output;
  EXPECT_THAT(result.output, HasSubstr("still ran after 5 seconds"));
  const std::filesystem::path itsFolder = Text::FromUtf8(FindPrinted(result.output, "folder: "));
  EXPECT_EQ(L"sandboxes", itsFolder.parent_path().filename());
  EXPECT_FALSE(std::filesystem::exists(itsFolder));
}

}  // namespace
