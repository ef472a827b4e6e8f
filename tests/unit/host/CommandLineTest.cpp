#include "CommandLine.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

using Arguments = std::vector<std::wstring_view>;

/// The problem that the user is told; empty when there is none.
std::wstring ProblemOf(const Arguments& arguments) {
  try {
    static_cast<void>(ParseCommandLine(arguments));
    return {};
  } catch (const UsageError& error) {
    return error.problem;
  }
}

}  // namespace

TEST(CommandLineTest, ReadsEachCommand) {
  EXPECT_EQ(ParseCommandLine({L"list"}).command, Command::kList);
  EXPECT_EQ(ParseCommandLine({L"show", L"Eco"}).command, Command::kShow);
  EXPECT_EQ(ParseCommandLine({L"on", L"Eco"}).command, Command::kOn);
  EXPECT_EQ(ParseCommandLine({L"off", L"Eco"}).command, Command::kOff);
  EXPECT_EQ(ParseCommandLine({L"settings"}).command, Command::kSettings);
  EXPECT_EQ(ParseCommandLine({L"settings"}).mode, L"");
  EXPECT_EQ(ParseCommandLine({L"settings", L"Eco mode"}).mode, L"Eco mode");
}

TEST(CommandLineTest, TakesOptionsAnywhere) {
  const CommandLine line =
      ParseCommandLine({L"--no-confirm", L"on", L"--timeout", L"5", L"Eco mode"});
  EXPECT_EQ(line.command, Command::kOn);
  EXPECT_EQ(line.mode, L"Eco mode");
  EXPECT_TRUE(line.noConfirm);
  EXPECT_EQ(line.timeoutSeconds, 5U);
  EXPECT_FALSE(line.json);
  EXPECT_TRUE(ParseCommandLine({L"show", L"0", L"--json"}).json);
}

TEST(CommandLineTest, WaitsAMinuteUnlessToldOtherwise) {
  EXPECT_EQ(ParseCommandLine({L"off", L"0"}).timeoutSeconds, 60U);
  EXPECT_FALSE(ParseCommandLine({L"off", L"0"}).noConfirm);
}

TEST(CommandLineTest, HelpAndVersionNeedNothingElse) {
  EXPECT_EQ(ParseCommandLine({L"--help"}).command, Command::kHelp);
  EXPECT_EQ(ParseCommandLine({L"--version"}).command, Command::kVersion);
  EXPECT_EQ(ParseCommandLine({L"on", L"--help"}).command, Command::kHelp);
}

TEST(CommandLineTest, SaysWhatIsWrong) {
  const struct {
    Arguments arguments;
    const wchar_t* problem;
  } cases[] = {
      {{}, L"no command"},
      {{L"fly"}, L"unknown command: fly"},
      {{L"List"}, L"unknown command: List"},
      {{L"list", L"--fast"}, L"unknown option: --fast"},
      {{L"on"}, L"on needs the name or the number of a mode"},
      {{L"show", L""}, L"show needs the name or the number of a mode"},
      {{L"list", L"Eco"},
       L"too many arguments: Eco (a name with spaces belongs in quotation marks)"},
      {{L"on", L"Eco", L"mode"},
       L"too many arguments: mode (a name with spaces belongs in quotation marks)"},
      {{L"on", L"0", L"--json"}, L"--json is for list and show, not for on"},
      {{L"list", L"--no-confirm"}, L"--no-confirm and --timeout are for on and off, not for list"},
      {{L"settings", L"--timeout", L"9"},
       L"--no-confirm and --timeout are for on and off, not for settings"},
      {{L"on", L"0", L"--timeout"}, L"--timeout needs a number of seconds"},
  };
  for (const auto& [arguments, problem] : cases) EXPECT_EQ(ProblemOf(arguments), problem);
}

TEST(CommandLineTest, TakesSecondsFromOneToADay) {
  EXPECT_EQ(ParseCommandLine({L"on", L"0", L"--timeout", L"1"}).timeoutSeconds, 1U);
  EXPECT_EQ(ParseCommandLine({L"on", L"0", L"--timeout", L"86400"}).timeoutSeconds, 86400U);
  for (const wchar_t* const text : {L"0", L"86401", L"-1", L"", L"five", L"5s", L"1.5",
                                    L"4294967297", L"99999999999999999999"}) {
    EXPECT_EQ(ProblemOf({L"on", L"0", L"--timeout", text}),
              std::wstring(L"--timeout needs a number of seconds from 1 to 86400, not \"") + text +
                  L"\"");
  }
}
