#include "CheckReport.h"

#include <gtest/gtest.h>

TEST(CheckReportTest, IsALineForEachFinding) {
  Findings findings;
  findings.NameFile(L"b.ini");
  findings.Add(Rule::kLockOrder, L"a.ini", 1, L"Second.");
  findings.Add(Rule::kFileMissing, L"b.ini", 0, L"First.");
  findings.Add(Rule::kLockOrder, L"a.ini", 1, L"Second.");
  EXPECT_EQ(FormatFindings(findings, 1),
            L"b.ini: error: First. [file-missing]\n"
            L"a.ini:1: warning: Second. [lock-order]\n"
            L"1 file checked, 1 error, 1 warning");
}

TEST(CheckReportTest, SaysThatThereIsNothing) {
  EXPECT_EQ(FormatFindings(Findings(), 7), L"7 files checked, 0 errors, 0 warnings");
}

TEST(CheckReportTest, CountsWhatItDoesNotShow) {
  Findings findings({Rule::kListGap});
  for (unsigned i = 0; i < Findings::kMostOfARule + 3; ++i) {
    findings.Add(Rule::kUnknownKey, L"a.ini", i, L"Unknown.");
    findings.Add(Rule::kListGap, L"a.ini", i, L"Ignored.");
  }
  EXPECT_EQ(findings.Sorted().size(), Findings::kMostOfARule);
  EXPECT_EQ(findings.LeftOut(), 3U);
  EXPECT_TRUE(FormatFindings(findings, 1)
                  .ends_with(L"1 file checked, 0 errors, 53 warnings (3 of them not shown: a rule "
                             L"is shown 50 times in a file)"));
}
