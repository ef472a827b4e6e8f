#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "Journal.h"
#include "Options.h"
#include "Report.h"
#include "Worker.h"

using ::testing::EndsWith;
using ::testing::HasSubstr;

namespace EngineCheck {

TEST(EnginecheckOptionsTest, HaveDefaults) {
  const Options options = ParseOptions({L"Engine.dll"});
  EXPECT_EQ(options.command, Command::kCheck);
  EXPECT_EQ(options.engine, L"Engine.dll");
  EXPECT_FALSE(options.sets);
  EXPECT_FALSE(options.json);
  EXPECT_EQ(options.timeoutInMs, 10'000U);
  EXPECT_EQ(options.repetitions, 10U);
}

TEST(EnginecheckOptionsTest, AreReadInAnyOrder) {
  const Options options =
      ParseOptions({L"--json", L"--timeout", L"500", L"Engine.dll", L"--repeat", L"20", L"--set"});
  EXPECT_EQ(options.engine, L"Engine.dll");
  EXPECT_TRUE(options.sets);
  EXPECT_TRUE(options.json);
  EXPECT_EQ(options.timeoutInMs, 500U);
  EXPECT_EQ(options.repetitions, 20U);
  EXPECT_EQ(ParseOptions({L"--set", L"--help"}).command, Command::kHelp);
  EXPECT_EQ(ParseOptions({L"--version"}).command, Command::kVersion);
}

TEST(EnginecheckOptionsTest, RefuseWhatMakesNoSense) {
  using Arguments = std::vector<std::wstring_view>;
  for (const Arguments& arguments :
       {Arguments{}, Arguments{L"--set"}, Arguments{L"a.dll", L"b.dll"}, Arguments{L"--x", L"a"},
        Arguments{L"a.dll", L"--timeout"}, Arguments{L"a.dll", L"--timeout", L"99"},
        Arguments{L"a.dll", L"--timeout", L"1s"}, Arguments{L"a.dll", L"--timeout", L"3600001"},
        Arguments{L"a.dll", L"--repeat", L"2"}, Arguments{L"a.dll", L"--repeat", L""},
        Arguments{L"a.dll", L"--repeat", L"99999999999999999999999"}}) {
    EXPECT_THROW(static_cast<void>(ParseOptions(arguments)), UsageError) << arguments.size();
  }
}

TEST(EnginecheckJournalTest, ComesThroughInAnyParts) {
  const std::vector<Record> records = {{RecordKind::kCall, {L"", L"a\nb", L"\x00e4"}},
                                       {RecordKind::kReturned, {}},
                                       {RecordKind::kDone, {L"last"}}};
  std::string bytes;
  for (const Record& record : records) bytes += Pack(record);
  for (std::size_t part = 1; part <= bytes.size(); ++part) {
    RecordReader reader;
    std::vector<Record> read;
    for (std::size_t start = 0; start < bytes.size(); start += part) {
      reader.Add(std::string_view(bytes).substr(start, part));
      while (const std::optional<Record> record = reader.Next()) read.push_back(*record);
    }
    EXPECT_EQ(read, records) << part;
  }
}

TEST(EnginecheckJournalTest, FindingsNeedAllTheirFields) {
  EXPECT_FALSE(FindingOf({RecordKind::kFinding, {L"3", L"a", L"b"}}));
  EXPECT_FALSE(FindingOf({RecordKind::kDone, {L"3", L"a", L"b", L"c", L"d"}}));
  const std::optional<Finding> finding =
      FindingOf({RecordKind::kFinding, {L"3", L"a", L"b", L"c", L""}});
  ASSERT_TRUE(finding);
  EXPECT_EQ(finding->severity, Severity::kFailure);
  EXPECT_EQ(finding->text, L"c");
  EXPECT_EQ(finding->advice, L"");
}

TEST(EnginecheckWorkerTest, TakesItsTaskFromTheCommandLine) {
  const std::vector<std::wstring_view> arguments = {L"--worker", L"40", L"44", L"1",
                                                    L"500",      L"3",  L"-",  L"C:\\a b.dll"};
  const std::optional<WorkerTask> task = ParseTask(arguments);
  ASSERT_TRUE(task);
  EXPECT_TRUE(task->sets);
  EXPECT_EQ(task->timeoutInMs, 500U);
  EXPECT_EQ(task->repetitions, 3U);
  EXPECT_EQ(task->valueToRestore, std::nullopt);
  EXPECT_EQ(task->engine, L"C:\\a b.dll");
  EXPECT_EQ(FormatTask(*task), L"--worker 40 44 1 500 3 - \"C:\\a b.dll\"");

  std::vector<std::wstring_view> restoring = arguments;
  restoring[6] = L"2";
  EXPECT_EQ(ParseTask(restoring)->valueToRestore, 2);
  for (std::size_t i = 0; i + 1 < arguments.size(); ++i) {
    std::vector<std::wstring_view> wrong = arguments;
    wrong[i] = L"x";
    EXPECT_FALSE(ParseTask(wrong)) << i;
  }
  EXPECT_FALSE(ParseTask({L"Engine.dll"}));
}

TEST(EnginecheckReportTest, WrapsLinesAndNamesEachAreaOnce) {
  Report report(L"Engine.dll", false);
  report.Add({Severity::kWarning, L"Names", L"keys", std::wstring(120, L'x') + L" yes",
              L"Do something about it."});
  EXPECT_EQ(report.LastFinding(), L"\nNames\n  WARNING  " + std::wstring(120, L'x') +
                                      L"\n           yes\n           Do something about it.");
  report.Add({Severity::kOk, L"Names", L"lengths", L"All right.", L""});
  EXPECT_EQ(report.LastFinding(), L"  OK       All right.");
  EXPECT_EQ(report.Summary(), L"\nResult: passed, 0 failures, 1 warning, 2 results in all.");
  EXPECT_EQ(report.ExitCode(), kExitPassed);
}

TEST(EnginecheckReportTest, FailsForAFailureAndNotForAWarning) {
  Report report(L"Engine.dll", true);
  report.Add({Severity::kWarning, L"A", L"b", L"c", L"d"});
  EXPECT_EQ(report.ExitCode(), kExitPassed);
  report.Add({Severity::kFailure, L"A", L"b", L"\"c\"", L"d"});
  EXPECT_EQ(report.ExitCode(), kExitFailed);
  EXPECT_THAT(report.Json(), HasSubstr(L"\"failures\": 1, \"warnings\": 1"));
  EXPECT_THAT(report.Json(), HasSubstr(L"\"text\": \"\\\"c\\\"\""));
  EXPECT_THAT(report.Json(), EndsWith(L"\n]}"));
  report.SetStopped();
  EXPECT_EQ(report.ExitCode(), kExitNotMade);
  EXPECT_THAT(report.Json(), HasSubstr(L"\"result\": \"stopped\""));
}

}  // namespace EngineCheck
