#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <fstream>

#include "EngineProcess.h"
#include "SampleMachine.h"
#include "support/ChildProcess.h"
#include "support/Files.h"
#include "support/Text.h"
#include "system/BuildFolder.h"

using ::testing::ElementsAre;
using ::testing::EndsWith;
using ::testing::HasSubstr;
using ::testing::StartsWith;

namespace fs = std::filesystem;

namespace {

fs::path Program() {
  return BuiltProgramsFolder() / L"modecheck.exe";
}

/// The program itself, on the sample configuration.
class ModecheckTest : public ::testing::Test {
 protected:
  [[nodiscard]] ChildProcess::Result Run(const std::wstring& arguments) const {
    return ChildProcess::Run({.program = Program(),
                              .commandLine = L"modecheck " + arguments,
                              .workingFolder = machine.Folder().parent_path()});
  }

  SampleMachine machine;
};

/// What is asked of the engines that come to harm in the way that their names say.
class EngineProcessTest : public ::testing::Test {
 protected:
  [[nodiscard]] static EngineAnswers Ask(const wchar_t* name, DWORD patience = 60000) {
    return EngineProcess(Program(), patience).Ask(Files::ProgramPath().parent_path() / name);
  }
};

}  // namespace

TEST_F(ModecheckTest, FindsNothingInTheSample) {
  const SampleMachine all(SampleMachine::Languages::kAll);
  all.WriteFiles();
  for (const auto& [item, answers] : all.engines) {
    const fs::path engine = fs::path(L"Engines") / (item + L".dll");
    fs::remove(all.Folder() / engine);
    fs::copy_file(BuiltProgramsFolder() / engine, all.Folder() / engine);
  }
  const ChildProcess::Result result = Run(L"--strict machine");
  EXPECT_EQ(result.exitCode, 0U);
  EXPECT_THAT(result.output, EndsWith(" files checked, 0 errors, 0 warnings\n"));
  EXPECT_THAT(result.output, Not(HasSubstr("[")));
}

TEST_F(ModecheckTest, TellsErrorsFromWarnings) {
  machine.Remove(L"ModeChange.DefaultSettings.ini", L"Normal_Win7", L"PointerSpeed=9");
  machine.WriteFiles();
  const ChildProcess::Result warning = Run(L"--no-engines machine");
  EXPECT_EQ(warning.exitCode, 0U);
  EXPECT_THAT(warning.output, StartsWith("machine\\ModeChange.DefaultSettings.ini:"));
  EXPECT_THAT(warning.output, HasSubstr(": warning: PointerSpeed has no default in [Normal_Win7]"));
  EXPECT_EQ(Run(L"--no-engines --strict machine").exitCode, 1U);
  EXPECT_EQ(Run(L"--no-engines --strict --ignore default-missing machine").exitCode, 0U);

  machine.Replace(L"ModeChange.Config.ini", L"ModeList", L"ModeCount=5", L"ModeCount=4");
  machine.WriteFiles();
  const ChildProcess::Result error = Run(L"--no-engines machine");
  EXPECT_EQ(error.exitCode, 1U);
  EXPECT_THAT(error.output, HasSubstr(": error: Mode4 is not read"));
  EXPECT_THAT(error.output, EndsWith(" files checked, 1 error, 1 warning\n"));
}

TEST_F(ModecheckTest, PrintsJson) {
  machine.Replace(L"ModeChange.Config.ini", L"ModeList", L"ModeCount=5", L"ModeCount=4");
  machine.WriteFiles();
  const ChildProcess::Result result = Run(L"--no-engines --json --texts --locale en-US machine");
  EXPECT_EQ(result.exitCode, 1U);
  const unsigned line =
      machine.LineNumber(L"ModeChange.Config.ini", L"ModeList", L"Mode4=WirelessOff");
  EXPECT_THAT(
      result.output,
      StartsWith(R"({"version": 1, "folder": "machine", "files": 4, "errors": 1, "warnings": 0, )"
                 R"("notShown": 0, "findings": [)"
                 "\n"
                 R"(  {"file": "machine\\ModeChange.Config.ini", "line": )" +
                 std::to_string(line) +
                 R"(, "severity": "error", "rule": "count-too-small", "message": "Mode4 is not )"
                 R"(read: ModeCount is 4. Raise it to 5, or remove what is beyond it."})"
                 "\n], \"texts\": [\n"));
  EXPECT_THAT(result.output, HasSubstr(R"({"section": "Mode", "key": "Eco", "required": true, )"
                                       R"("texts": {"en-US": "Eco mode"}})"));
}

TEST_F(ModecheckTest, PrintsATableOfTexts) {
  machine.Remove(L"de-DE\\ModeChange.Resource.ini", L"Mode", L"Eco=");
  machine.WriteFiles();
  const std::string output = Run(L"--no-engines --texts machine").output;
  EXPECT_THAT(output, HasSubstr("  de-DE  en-US"));
  const std::size_t row = output.find("\nMode/Eco ");
  ASSERT_NE(row, std::string::npos);
  const std::string line = output.substr(row + 1, output.find('\n', row + 1) - row - 1);
  EXPECT_THAT(line, EndsWith("  -      x"));
}

TEST_F(ModecheckTest, SaysWhatItCannotCheck) {
  const ChildProcess::Result result = Run(L"nowhere");
  EXPECT_EQ(result.exitCode, 2U);
  EXPECT_EQ(result.output,
            "modecheck: there is no folder nowhere\n"
            "Name the folder that has ModeChange.Config.ini.\n");
  EXPECT_EQ(Run(L"--data nowhere .").exitCode, 2U);
}

TEST_F(ModecheckTest, HelpsAndTellsItsVersionAndRules) {
  EXPECT_THAT(Run(L"--help").output, StartsWith("Usage: modecheck [OPTION...] FOLDER"));
  EXPECT_EQ(Run(L"--help").exitCode, 0U);
  EXPECT_THAT(Run(L"--version").output, StartsWith("modecheck "));
  EXPECT_EQ(Run(L"--rules").output, Text::ToUtf8(FormatRules()) + "\n");
  const ChildProcess::Result wrong = Run(L"");
  EXPECT_EQ(wrong.exitCode, 64U);
  EXPECT_EQ(wrong.output, "modecheck: no folder\nTry: modecheck --help\n");
}

TEST_F(EngineProcessTest, AsksASampleEngine) {
  const EngineAnswers answers =
      EngineProcess(Program()).Ask(BuiltProgramsFolder() / L"Engines" / L"ScreenSaver.dll");
  EXPECT_EQ(answers.problem, EngineAnswers::Problem::kNone) << Text::ToUtf8(answers.details);
  EXPECT_TRUE(answers.isUsable);
  EXPECT_THAT(answers.available, ElementsAre(true, true, true));
  EXPECT_EQ(answers.itemKey, L"ScreenSaver_Name");
  EXPECT_THAT(answers.valueKeys,
              ElementsAre(L"ScreenSaver_Value0", L"ScreenSaver_Value1", L"ScreenSaver_Value2"));
}

TEST_F(EngineProcessTest, TellsOfAFileThatIsNoEngine) {
  const fs::path file = Files::ProgramPath().parent_path() / L"text.dll";
  std::ofstream(file) << "no engine";
  const EngineAnswers answers = Ask(L"text.dll");
  EXPECT_EQ(answers.problem, EngineAnswers::Problem::kNotLoaded);
  EXPECT_THAT(Text::ToUtf8(answers.details),
              HasSubstr("Build it as a DLL for x64 that needs none but Windows' own."));
  fs::remove(file);
}

TEST_F(EngineProcessTest, NamesTheExportsThatAreMissing) {
  const EngineAnswers answers = Ask(L"EngineWithoutExports.dll");
  EXPECT_EQ(answers.problem, EngineAnswers::Problem::kExportMissing);
  EXPECT_THAT(Text::ToUtf8(answers.details),
              StartsWith("VeltoDeviceEngine_CreateHandle, VeltoDeviceEngine_DeleteHandle, "));
}

TEST_F(EngineProcessTest, TellsOfAnEngineThatDoesNotOpen) {
  // Nobody has told the fake engine what to answer.
  const EngineAnswers answers = Ask(L"FakeEngine.dll");
  EXPECT_EQ(answers.problem, EngineAnswers::Problem::kFails);
  EXPECT_THAT(Text::ToUtf8(answers.details), HasSubstr("VeltoDeviceEngine_CreateHandle"));
}

TEST_F(EngineProcessTest, SurvivesAnEngineThatCrashes) {
  const EngineAnswers answers = Ask(L"EngineThatCrashes.dll");
  EXPECT_EQ(answers.problem, EngineAnswers::Problem::kFails);
  EXPECT_THAT(Text::ToUtf8(answers.details), HasSubstr("with code 0xC0000005"));
}

TEST_F(EngineProcessTest, SurvivesAnEngineThatEndsItsProcess) {
  const EngineAnswers answers = Ask(L"EngineThatExits.dll");
  EXPECT_EQ(answers.problem, EngineAnswers::Problem::kFails);
  EXPECT_THAT(Text::ToUtf8(answers.details), HasSubstr("in the middle of the questions"));
}

TEST_F(EngineProcessTest, DoesNotWaitForever) {
  const EngineAnswers answers = Ask(L"EngineThatHangs.dll", 3000);
  EXPECT_EQ(answers.problem, EngineAnswers::Problem::kFails);
  EXPECT_THAT(Text::ToUtf8(answers.details), StartsWith("it has not answered after 3 seconds"));
}
