#include "CheckCommandLine.h"

#include <gtest/gtest.h>

namespace {

using Arguments = std::vector<std::wstring_view>;

/// The problem that the user is told; empty when there is none.
std::wstring ProblemOf(const Arguments& arguments) {
  try {
    static_cast<void>(CheckCommandLine::Parse(arguments));
    return {};
  } catch (const CheckUsageError& error) {
    return error.problem;
  }
}

}  // namespace

TEST(CheckCommandLineTest, ChecksAFolder) {
  const CheckCommandLine line = CheckCommandLine::Parse({L"a folder"});
  EXPECT_EQ(line.action, CheckCommandLine::Action::kCheck);
  EXPECT_EQ(line.folder, L"a folder");
  EXPECT_TRUE(line.dataFolder.empty());
  EXPECT_TRUE(line.asksEngines);
  EXPECT_FALSE(line.isStrict || line.json || line.texts);
}

TEST(CheckCommandLineTest, TakesOptionsAnywhere) {
  const CheckCommandLine line = CheckCommandLine::Parse(
      {L"--json", L"--data", L"data", L"folder", L"--locale", L"de-AT", L"--no-engines",
       L"--strict", L"--texts", L"--ignore", L"auto-on-off", L"--ignore", L"lock-order"});
  EXPECT_EQ(line.folder, L"folder");
  EXPECT_EQ(line.dataFolder, L"data");
  EXPECT_EQ(line.locale, L"de-AT");
  EXPECT_EQ(line.ignored, (std::set<Rule>{Rule::kAutoOnOff, Rule::kLockOrder}));
  EXPECT_FALSE(line.asksEngines);
  EXPECT_TRUE(line.isStrict && line.json && line.texts);
}

TEST(CheckCommandLineTest, HelpNeedsNothingElse) {
  EXPECT_EQ(CheckCommandLine::Parse({L"--help"}).action, CheckCommandLine::Action::kHelp);
  EXPECT_EQ(CheckCommandLine::Parse({L"folder", L"--version"}).action,
            CheckCommandLine::Action::kVersion);
  EXPECT_EQ(CheckCommandLine::Parse({L"--rules"}).action, CheckCommandLine::Action::kRules);
}

TEST(CheckCommandLineTest, SaysWhatIsWrong) {
  EXPECT_EQ(ProblemOf({}), L"no folder");
  EXPECT_EQ(ProblemOf({L"--json"}), L"no folder");
  EXPECT_EQ(ProblemOf({L"--fast", L"folder"}), L"unknown option: --fast");
  EXPECT_EQ(ProblemOf({L"a", L"b"}),
            L"more than one folder: b (a path with spaces belongs in quotation marks)");
  EXPECT_EQ(ProblemOf({L"folder", L"--data"}), L"--data needs a folder");
  EXPECT_EQ(ProblemOf({L"folder", L"--locale", L""}), L"--locale needs a locale, such as de-DE");
  EXPECT_EQ(ProblemOf({L"--ignore", L"lock-ordr", L"folder"}),
            L"there is no rule lock-ordr. Did you mean \"lock-order\"?");
}
