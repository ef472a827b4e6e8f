#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <fstream>
#include <string>

#include "support/ChildProcess.h"
#include "support/Files.h"
#include "system/BuildFolder.h"

using ::testing::HasSubstr;
using ::testing::StartsWith;

namespace fs = std::filesystem;

namespace {

constexpr const char* kPayload =
    "41 00 2E 00 64 00 6C 00 6C 00 00 00  46 00 00 00  94 00 00 00  78 00 00 00";

class ModetraceTest : public ::testing::Test {
 protected:
  ~ModetraceTest() override { fs::remove(file); }

  void Write(const std::string& text) const { std::ofstream(file, std::ios::binary) << text; }
  [[nodiscard]] static ChildProcess::Result Run(const std::wstring& arguments) {
    return ChildProcess::Run({.program = BuiltProgramsFolder() / L"modetrace.exe",
                              .commandLine = L"modetrace " + arguments});
  }

  fs::path file = Files::ProgramPath().parent_path() / L"events.txt";
  std::wstring decode = L"--decode \"" + file.wstring() + L"\"";
};

}  // namespace

TEST_F(ModetraceTest, DecodesTheEventsOfAFile) {
  Write(std::string("# two events\n") + kPayload + "\n" + kPayload + "\n");
  const ChildProcess::Result result = Run(decode);
  EXPECT_EQ(result.exitCode, 0U);
  EXPECT_EQ(result.output, "A.dll  F 148: x\nA.dll  F 148: x\n");
  EXPECT_EQ(Run(decode + L" --json").output,
            "{\"module\": \"A.dll\", \"function\": \"F\", \"line\": 148, \"message\": \"x\"}\n"
            "{\"module\": \"A.dll\", \"function\": \"F\", \"line\": 148, \"message\": \"x\"}\n");
}

TEST_F(ModetraceTest, DecodesWhatTheSystemsToolsWrite) {
  Write(std::string("<Events><Event><ProcessingErrorData><EventPayload>") + kPayload +
        "</EventPayload></ProcessingErrorData></Event></Events>\n");
  const ChildProcess::Result result = Run(decode);
  EXPECT_EQ(result.exitCode, 0U);
  EXPECT_EQ(result.output, "A.dll  F 148: x\n");
}

TEST_F(ModetraceTest, NamesTheLineThatIsNoEventAndGoesOn) {
  Write(std::string("4100\nhello\n") + kPayload);
  const ChildProcess::Result result = Run(decode);
  EXPECT_EQ(result.exitCode, 1U);
  EXPECT_THAT(result.output,
              HasSubstr("events.txt:1: no event of the library: it ends within the first item"));
  EXPECT_THAT(result.output,
              HasSubstr("events.txt:2: no event of the library: not an even number"));
  EXPECT_THAT(result.output, HasSubstr("A.dll  F 148: x\n"));
}

TEST_F(ModetraceTest, SaysWhereThereIsNothingToDecode) {
  Write("");
  const ChildProcess::Result empty = Run(decode);
  EXPECT_EQ(empty.exitCode, 1U);
  EXPECT_THAT(empty.output, HasSubstr("events.txt holds no events."));
  EXPECT_EQ(Run(L"--decode not-there.xml").exitCode, 64U);
}

// Wine has no trace sessions, and on Windows they are for administrators.
TEST_F(ModetraceTest, SaysWhatToDoWhereItCanNotWatch) {
  const ChildProcess::Result result = Run(L"--seconds 1");
  if (result.exitCode == 0U) {
    EXPECT_THAT(result.output, StartsWith("Waiting for events; Ctrl+C ends it.\n"));
    return;
  }
  EXPECT_EQ(result.exitCode, 1U);
  EXPECT_THAT(result.output, HasSubstr("modetrace: "));
  EXPECT_THAT(result.output, HasSubstr("Start it as an administrator"));
}

TEST_F(ModetraceTest, ExplainsItself) {
  EXPECT_THAT(Run(L"--help").output, StartsWith("Usage: modetrace [OPTION...]"));
  EXPECT_THAT(Run(L"--version").output, StartsWith("modetrace "));
  const ChildProcess::Result wrong = Run(L"--unknown");
  EXPECT_EQ(wrong.exitCode, 64U);
  EXPECT_THAT(wrong.output, HasSubstr("unknown argument: --unknown\nTry: modetrace --help"));
}
