#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <fstream>
#include <iterator>
#include <set>

#include "RuleCases.h"
#include "fuzz/Damage.h"
#include "support/Text.h"

using ::testing::HasSubstr;
using ::testing::IsEmpty;

namespace {

std::string Describe(const Finding& finding) {
  return Text::ToUtf8(finding.file) + ":" + std::to_string(finding.line) + ": " +
         Text::ToUtf8(finding.message) + " [" + Text::ToUtf8(GetRuleText(finding.rule).name) + "]";
}

std::vector<std::string> Describe(const std::vector<Finding>& findings) {
  std::vector<std::string> texts;
  for (const Finding& finding : findings) texts.push_back(Describe(finding));
  return texts;
}

unsigned GetLine(const SampleMachine& machine, const RuleCase::Place& place) {
  if (place.number != 0 || (place.section.empty() && place.line.empty())) return place.number;
  return machine.LineNumber(place.file, place.section, place.line);
}

/// Each damage leads to one finding: that of its rule, at its place.
void Check(const std::vector<RuleCase>& cases) {
  for (const RuleCase& rule : cases) {
    SCOPED_TRACE(Text::ToUtf8(GetRuleText(rule.rule).name) + ": " + Text::ToUtf8(rule.message));
    SampleMachine machine;
    rule.damage(machine);
    const std::vector<Finding> findings = machine.Check(rule.ignored);
    EXPECT_EQ(findings.size(), 1U) << ::testing::PrintToString(Describe(findings));
    if (findings.empty()) continue;
    const Finding& finding = findings.front();
    EXPECT_EQ(Text::ToUtf8(GetRuleText(finding.rule).name),
              Text::ToUtf8(GetRuleText(rule.rule).name));
    EXPECT_EQ(Text::ToUtf8(finding.file), Text::ToUtf8(rule.place.file));
    EXPECT_EQ(finding.line, GetLine(machine, rule.place));
    EXPECT_THAT(Text::ToUtf8(finding.message), HasSubstr(Text::ToUtf8(rule.message)));
  }
}

}  // namespace

TEST(RulesTest, FindNothingInTheSample) {
  EXPECT_THAT(Describe(SampleMachine().Check()), IsEmpty());
}

TEST(RulesTest, FindNothingInTheSampleWithoutEngines) {
  SampleMachine machine;
  machine.asksEngines = false;
  EXPECT_THAT(Describe(machine.Check()), IsEmpty());
}

TEST(RulesTest, FindNothingInWhatTheLibraryWrites) {
  SampleMachine machine;
  machine.SetText(L"Data\\ModeChange.Settings.ini",
                  L"[Common]\nShowAnnounceModeIsChangedDialog=0\n[Eco]\nPowerScheme=0\n"
                  L"VisualEffects=0\nScreenSaver=0\nPointerSpeed=-1\nKeyboardRepeatDelay=-1\n"
                  L"AutoONOFF=0\n[Custom]");
  machine.SetText(L"Data\\ModeChange.Status.ini",
                  L"[CurrentModeStatus]\nNormal=0\nEco=1\n[NormalEnvironment]\nVisualEffects=1");
  EXPECT_THAT(Describe(machine.Check()), IsEmpty());
  machine.SetBytes(L"Data\\ModeChange.Settings.ini", "");
  machine.RemoveFile(L"Data\\ModeChange.Status.ini");
  EXPECT_THAT(Describe(machine.Check()), IsEmpty());
}

TEST(RulesTest, FindWhatIsWrongWithFiles) {
  Check(GetFileCases());
}

TEST(RulesTest, FindWhatIsWrongWithLines) {
  Check(GetLineCases());
}

TEST(RulesTest, FindWhatIsWrongWithLists) {
  Check(GetListCases());
}

TEST(RulesTest, FindWhatIsWrongWithLocksAndDefaults) {
  Check(GetLockCases());
}

TEST(RulesTest, FindWhatIsWrongWithEnginesAndValues) {
  Check(GetEngineCases());
}

TEST(RulesTest, FindWhatIsWrongWithTexts) {
  Check(GetTextCases());
}

TEST(RulesTest, FindWhatIsWrongWithTheLibrarysFiles) {
  Check(GetDataCases());
}

TEST(RulesTest, AreAllTried) {
  std::set<Rule> tried;
  for (const auto& getCases : {GetFileCases, GetLineCases, GetListCases, GetLockCases,
                               GetEngineCases, GetTextCases, GetDataCases}) {
    for (const RuleCase& rule : getCases()) tried.insert(rule.rule);
  }
  for (const RuleText& rule : kRules) {
    EXPECT_TRUE(tried.contains(rule.rule)) << Text::ToUtf8(rule.name);
  }
}

TEST(RulesTest, HaveNamesOfTheirOwnInTheOrderOfTheTable) {
  std::set<std::wstring> names;
  for (std::size_t i = 0; i < kRules.size(); ++i) {
    EXPECT_EQ(static_cast<std::size_t>(kRules[i].rule), i) << Text::ToUtf8(kRules[i].name);
    EXPECT_TRUE(names.insert(kRules[i].name).second) << Text::ToUtf8(kRules[i].name);
    EXPECT_EQ(FindRule(kRules[i].name), &kRules[i]);
  }
  EXPECT_EQ(FindRule(L"no-such-rule"), nullptr);
}

TEST(RulesTest, AreInTheManualAsTheProgramPrintsThem) {
  std::ifstream stream(CHECKING_MANUAL, std::ios::binary);
  const std::string manual{std::istreambuf_iterator<char>(stream), {}};
  EXPECT_THAT(manual, HasSubstr("\n" + Text::ToUtf8(FormatRules()) + "\n\n"));
}

TEST(RulesTest, LookOnlyAtTheTextsThatAUserSees) {
  SampleMachine machine;
  machine.Remove(L"de-DE\\ModeChange.Resource.ini", L"Mode", L"Eco=");
  for (const wchar_t* const locale : {L"en-US", L"fr-CA", L"eo", L"pl-PL"}) {
    machine.locale = locale;
    EXPECT_THAT(Describe(machine.Check()), IsEmpty()) << Text::ToUtf8(locale);
  }
  for (const wchar_t* const locale : {L"de-DE", L"de-AT", L"DE-de"}) {
    machine.locale = locale;
    EXPECT_EQ(machine.Check().size(), 1U) << Text::ToUtf8(locale);
  }
}

TEST(RulesTest, SurviveDamagedFiles) {
  constexpr std::uint64_t kSeeds = 15;
  for (std::uint64_t seed = 0; seed < kSeeds; ++seed) {
    Random random(seed);
    SampleMachine machine;
    const std::vector<std::wstring> names = machine.FileNames();
    const std::wstring& name = random.Pick(names);
    const Damage& damage = random.Pick(Damage::All());
    SCOPED_TRACE(Text::ToUtf8(name) + ", seed " + std::to_string(seed) + ": " + damage.name);
    machine.SetBytes(name, damage.Apply(random, machine.GetLines(name)));
    for (const Finding& finding : machine.Check()) {
      EXPECT_FALSE(finding.message.empty());
      EXPECT_LT(finding.line, 100000U);
    }
  }
}

TEST(RulesTest, SurviveAFileOfNothingButFaults) {
  SampleMachine machine;
  std::string garbage;
  for (int i = 0; i < 100000; ++i) garbage += "key" + std::to_string(i % 1000) + "=;\x01\n";
  machine.SetBytes(L"ModeChange.DefaultSettings.ini", "[Common]\n" + garbage);
  const std::vector<Finding> findings = machine.Check();
  std::size_t unknownKeys = 0;
  for (const Finding& finding : findings) unknownKeys += finding.rule == Rule::kUnknownKey ? 1 : 0;
  EXPECT_EQ(unknownKeys, Findings::kMostOfARule);
}
