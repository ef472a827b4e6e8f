#include "config/CModeChangeConfig.h"

#include <algorithm>
#include <iterator>
#include <limits>
#include <ostream>
#include <string>
#include <utility>
#include <vector>

#include "support/ModeChangeTest.h"

namespace {

using ::testing::ElementsAre;
using ::testing::ElementsAreArray;
using ::testing::IsEmpty;

constexpr const wchar_t* kConfigFile = L"ModeChange.Config.ini";
constexpr const wchar_t* kUsableModesFile = L"ModeChange.UsableModeList.ini";

using Names = std::vector<CWideString>;

/// Everything that the operations can write, with values that none of the tests' files has.
struct Outputs {
  CWideString text = L"before";
  Names names = {L"before"};
  std::vector<std::int32_t> values = {-7};
  UINT type = 77;
  bool hasLock = true;
  std::int32_t lockValue = -77;

  friend bool operator==(const Outputs&, const Outputs&) = default;
  friend std::ostream& operator<<(std::ostream& stream, const Outputs& outputs) {
    return stream << ::testing::PrintToString(outputs.text) << ", "
                  << ::testing::PrintToString(outputs.names) << ", "
                  << ::testing::PrintToString(outputs.values) << ", type " << outputs.type
                  << (outputs.hasLock ? ", lock " : ", no lock ") << outputs.lockValue;
  }
};

using Ask = bool (*)(const CModeChangeConfig& config, Outputs* outputs);

bool AskForIconKeyName(const CModeChangeConfig& config, Outputs* outputs) {
  return config.GetModeStatusIconKeyName(0, &outputs->text);
}
bool AskForAllModes(const CModeChangeConfig& config, Outputs* outputs) {
  return config.GetAllModeList(&outputs->names);
}
bool AskForUsableModes(const CModeChangeConfig& config, Outputs* outputs) {
  return config.GetUsableModeList(&outputs->names);
}
bool AskForModeType(const CModeChangeConfig& config, Outputs* outputs) {
  return config.GetModeType(L"Eco", &outputs->type);
}
bool AskForAllItems(const CModeChangeConfig& config, Outputs* outputs) {
  return config.GetAllSettingItemList(&outputs->names);
}
bool AskForGroups(const CModeChangeConfig& config, Outputs* outputs) {
  return config.GetSettingGroupList(&outputs->names);
}
bool AskForItemsOfGroup(const CModeChangeConfig& config, Outputs* outputs) {
  return config.GetSettingItemListInSettingGroup(L"Display", &outputs->names);
}
bool AskForEngine(const CModeChangeConfig& config, Outputs* outputs) {
  return config.GetSettingItemEnginePath(L"Wireless", &outputs->text);
}
bool AskForLock(const CModeChangeConfig& config, Outputs* outputs) {
  return config.DoesSettingItemaHaveValueLockOtherSettingItem(
      L"Wireless", &outputs->hasLock, &outputs->lockValue, &outputs->names, &outputs->values);
}

/// One of the four lists: where it is in the files and who reads it.
struct List {
  const char* title;
  const wchar_t* section;
  const wchar_t* countKey;
  const wchar_t* nameKey;
  Ask ask;
};
constexpr List kLists[] = {
    {"all modes", L"ModeList", L"ModeCount", L"Mode", AskForAllModes},
    {"usable modes", L"UsableModeList", L"ModeCount", L"Mode", AskForUsableModes},
    {"setting items", L"SettingItemList", L"SettingItemCount", L"SettingItem", AskForAllItems},
    {"setting groups", L"SettingGroupList", L"SettingGroupCount", L"SettingGroup", AskForGroups},
    {"a group's items", L"Display", L"SettingItemCount", L"SettingItem", AskForItemsOfGroup},
};

class CModeChangeConfigTest : public ModeChangeTest {
 protected:
  void WriteConfig(const IniFile& content) { sandbox.Write(kConfigFile, content); }
  void WriteUsableModes(const IniFile& content) { sandbox.Write(kUsableModesFile, content); }
  /// The configuration, and a list of usable modes that does not matter.
  void WriteFiles(const IniFile& config) {
    WriteConfig(config);
    WriteUsableModes(IniFile().Section(L"UsableModeList").Key(L"ModeCount", 0));
  }

  /// A machine that answers every question.
  void WriteMachine() {
    WriteConfig(IniFile()
                    .Section(L"ModeList")
                    .Key(L"ModeCount", 3)
                    .Key(L"Mode0", L"Normal")
                    .Key(L"Mode1", L"Eco")
                    .Key(L"Mode2", L"Cradle")
                    .Section(L"Eco")
                    .Key(L"IsEcoMode", 1)
                    .Section(L"Cradle")
                    .Key(L"IsCradleMode", 1)
                    .Section(L"ModeStatus0")
                    .Key(L"ModeStatusIconKeyName", L"IconNormal")
                    .Section(L"SettingItemList")
                    .Key(L"SettingItemCount", 2)
                    .Key(L"SettingItem0", L"Brightness")
                    .Key(L"SettingItem1", L"Wireless")
                    .Section(L"SettingGroupList")
                    .Key(L"SettingGroupCount", 1)
                    .Key(L"SettingGroup0", L"Display")
                    .Section(L"Display")
                    .Key(L"SettingItemCount", 1)
                    .Key(L"SettingItem0", L"Brightness")
                    .Section(L"Wireless")
                    .Key(L"EnginePath", L"Engines\\Wireless.dll")
                    .Key(L"SettingItemValueToLockOtherSettingItem", 0)
                    .Key(L"LockedOtherSettingItemCount", 2)
                    .Key(L"LockedOtherSettingItem0", L"Bluetooth")
                    .Key(L"LockedOtherSettingItemValue0", 1)
                    .Key(L"LockedOtherSettingItem1", L"Gps")
                    .Key(L"LockedOtherSettingItemValue1", -1));
    WriteUsableModes(IniFile()
                         .Section(L"UsableModeList")
                         .Key(L"ModeCount", 2)
                         .Key(L"Mode0", L"Eco")
                         .Key(L"Mode1", L"Normal"));
  }

  /// Files in which one list has these lines, and the lists that it depends on have all names that
  /// the tests use.
  void WriteList(const List& list, const IniFile& lines) {
    constexpr const wchar_t* kUsedNames[] = {L"One", L"Two", L"Three", L"Four"};
    IniFile config;
    const auto addCompleteList = [&](const List& complete) {
      config.Section(complete.section).Key(complete.countKey, std::ssize(kUsedNames));
      for (int i = 0; i < std::ssize(kUsedNames); ++i) {
        config.Key(complete.nameKey + std::to_wstring(i), kUsedNames[i]);
      }
    };
    IniFile ownLines;
    ownLines.Section(list.section).Line(lines.Content());
    const bool isUsableModeList = list.ask == AskForUsableModes;
    if (isUsableModeList) addCompleteList(kLists[0]);
    if (list.ask == AskForItemsOfGroup) addCompleteList(kLists[2]);
    if (!isUsableModeList) config.Line(ownLines.Content());
    WriteConfig(config);
    WriteUsableModes(isUsableModeList ? ownLines : IniFile());
  }

  /// The names that are appended; the operation has to succeed.
  [[nodiscard]] static Names Read(Ask ask) {
    Outputs outputs;
    EXPECT_TRUE(ask(CModeChangeConfig(), &outputs));
    EXPECT_EQ(outputs.names.at(0), L"before");
    return {outputs.names.begin() + 1, outputs.names.end()};
  }

  /// The operation fails with these traces and touches nothing.
  void ExpectFailure(Ask ask, const Traces& expected) {
    ExpectFailure(CModeChangeConfig(), ask, expected);
  }
  void ExpectFailure(const CModeChangeConfig& config, Ask ask, const Traces& expected) {
    Outputs outputs;
    EXPECT_FALSE(ask(config, &outputs));
    EXPECT_EQ(outputs, Outputs());
    EXPECT_EQ(traces.Take(), expected);
  }

  /// What the library calls to answer, from a machine that answers every question.
  [[nodiscard]] std::vector<std::string> CallsFor(Ask ask) {
    WriteMachine();
    const CModeChangeConfig config;
    interposition.ClearCalls();
    Outputs outputs;
    EXPECT_TRUE(ask(config, &outputs));
    return CalledFunctions();
  }

  [[nodiscard]] std::vector<std::string> CalledFunctions() const {
    std::vector<std::string> functions;
    for (const Call& call : interposition.AllCalls()) functions.push_back(call.function);
    return functions;
  }

  [[nodiscard]] std::wstring PathOf(const wchar_t* file) const {
    return (sandbox.LibraryFolder() / file).wstring();
  }
  [[nodiscard]] Trace ConfigIsMissing() const {
    return {L"CModeChangeConfig::DoesConfigFileExist", 282, PathOf(kConfigFile)};
  }
  [[nodiscard]] Trace UsableModesAreMissing() const {
    return {L"CModeChangeConfig::DoesConfigFileExist", 285, PathOf(kUsableModesFile)};
  }
};

const Trace kNotOpened = {L"Common::GetMyFileSize", 91};

// The object and its files

TEST_F(CModeChangeConfigTest, KeepsOneTraceRegistrationWhileItLives) {
  {
    const CModeChangeConfig config;
    EXPECT_EQ(traces.OpenRegistrations(), 1U);
  }
  EXPECT_EQ(traces.OpenRegistrations(), 0U);
}

TEST_F(CModeChangeConfigTest, WithoutTheLibrarysHandleEveryFileIsMissing) {
  WriteMachine();
  interposition.Fail("GetModuleHandleExW", {.lastError = ERROR_MOD_NOT_FOUND});
  const CModeChangeConfig config;
  EXPECT_EQ(traces.Take(), (Traces{{L"Common::GetMyModuleHandle", 63, L"126"},
                                   {L"CModeChangeConfig::CModeChangeConfig", 61}}));
  ExpectFailure(config, AskForModeType,
                {{L"CModeChangeConfig::DoesConfigFileExist", 282, L""},
                 {L"CModeChangeConfig::GetModeType", 135}});
}

TEST_F(CModeChangeConfigTest, WithoutTheLibrarysPathEveryFileIsMissing) {
  WriteMachine();
  interposition.Fail("GetModuleFileNameW", {});
  const CModeChangeConfig config;
  EXPECT_EQ(traces.Take(), (Traces{{L"CModeChangeConfig::CModeChangeConfig", 66}}));
  ExpectFailure(config, AskForAllModes,
                {{L"CModeChangeConfig::DoesConfigFileExist", 282, L""},
                 {L"CModeChangeConfig::GetAllModeList", 98}});
  EXPECT_FALSE(config.EnableToChangeWirelessLEDStatusInWin7());
}

TEST_F(CModeChangeConfigTest, WhenOneOfItsPathsIsTooLongBothFilesAreMissing) {
  WriteMachine();
  for (const std::uint32_t path : {1U, 2U}) {
    interposition.Fail("PathAppendW", {.nth = path});
    const CModeChangeConfig config;
    EXPECT_EQ(traces.Take(), (Traces{{L"CModeChangeConfig::CModeChangeConfig", 73}})) << path;
    ExpectFailure(config, AskForGroups,
                  {{L"CModeChangeConfig::DoesConfigFileExist", 282, L""},
                   {L"CModeChangeConfig::GetSettingGroupList", 163}});
  }
}

TEST_F(CModeChangeConfigTest, BothFilesHaveToBeThere) {
  EXPECT_FALSE(CModeChangeConfig().DoesConfigFileExist());
  EXPECT_EQ(traces.Take(), Traces{ConfigIsMissing()}) << "neither is there";

  WriteConfig(IniFile());
  EXPECT_FALSE(CModeChangeConfig().DoesConfigFileExist());
  EXPECT_EQ(traces.Take(), Traces{UsableModesAreMissing()}) << "no list of usable modes";

  WriteUsableModes(IniFile());
  EXPECT_TRUE(CModeChangeConfig().DoesConfigFileExist());

  sandbox.Remove(kConfigFile);
  EXPECT_FALSE(CModeChangeConfig().DoesConfigFileExist());
  EXPECT_EQ(traces.Take(), Traces{ConfigIsMissing()}) << "no configuration";
}

TEST_F(CModeChangeConfigTest, FoldersWithTheFilesNamesAreNoFiles) {
  sandbox.MakeFolder(kConfigFile);
  WriteUsableModes(IniFile());
  EXPECT_FALSE(CModeChangeConfig().DoesConfigFileExist());
  EXPECT_EQ(traces.Take(), Traces{ConfigIsMissing()});

  sandbox.Remove(kConfigFile);
  sandbox.Remove(kUsableModesFile);
  WriteConfig(IniFile());
  sandbox.MakeFolder(kUsableModesFile);
  EXPECT_FALSE(CModeChangeConfig().DoesConfigFileExist());
  EXPECT_EQ(traces.Take(), Traces{UsableModesAreMissing()});
}

TEST_F(CModeChangeConfigTest, FilesAreReadAnewForEachQuestion) {
  const CModeChangeConfig config;
  WriteFiles(IniFile().Section(L"Eco").Key(L"IsEcoMode", 1));
  UINT type = 77;
  EXPECT_TRUE(config.GetModeType(L"Eco", &type));
  EXPECT_EQ(type, UINT{CModeChangeConfig::kEcoMode});
  WriteFiles(IniFile().Section(L"Eco").Key(L"IsCustomMode", 1));
  EXPECT_TRUE(config.GetModeType(L"Eco", &type));
  EXPECT_EQ(type, UINT{CModeChangeConfig::kCustomMode});
}

// Failures that most operations share

TEST_F(CModeChangeConfigTest, NullArgumentsFailBeforeAnyFileIsLookedAt) {
  struct Row {
    std::wstring operation;
    std::uint32_t line;
    Ask ask;
  };
  const Row rows[] = {
      {L"GetModeStatusIconKeyName", 83,
       [](const CModeChangeConfig& config, Outputs*) {
         return config.GetModeStatusIconKeyName(0, nullptr);
       }},
      {L"GetAllModeList", 97,
       [](const CModeChangeConfig& config, Outputs*) { return config.GetAllModeList(nullptr); }},
      {L"GetUsableModeList", 109,
       [](const CModeChangeConfig& config, Outputs*) { return config.GetUsableModeList(nullptr); }},
      {L"GetModeType", 133,
       [](const CModeChangeConfig& config, Outputs* outputs) {
         return config.GetModeType(nullptr, &outputs->type);
       }},
      {L"GetModeType", 133,
       [](const CModeChangeConfig& config, Outputs*) {
         return config.GetModeType(L"Eco", nullptr);
       }},
      {L"GetAllSettingItemList", 145,
       [](const CModeChangeConfig& config, Outputs*) {
         return config.GetAllSettingItemList(nullptr);
       }},
      {L"GetSettingGroupList", 161,
       [](const CModeChangeConfig& config, Outputs*) {
         return config.GetSettingGroupList(nullptr);
       }},
      {L"GetSettingItemListInSettingGroup", 179,
       [](const CModeChangeConfig& config, Outputs* outputs) {
         return config.GetSettingItemListInSettingGroup(nullptr, &outputs->names);
       }},
      {L"GetSettingItemListInSettingGroup", 179,
       [](const CModeChangeConfig& config, Outputs*) {
         return config.GetSettingItemListInSettingGroup(L"Display", nullptr);
       }},
      {L"GetSettingItemEnginePath", 207,
       [](const CModeChangeConfig& config, Outputs* outputs) {
         return config.GetSettingItemEnginePath(nullptr, &outputs->text);
       }},
      {L"GetSettingItemEnginePath", 207,
       [](const CModeChangeConfig& config, Outputs*) {
         return config.GetSettingItemEnginePath(L"Wireless", nullptr);
       }},
      {L"DoesSettingItemaHaveValueLockOtherSettingItem", 233,
       [](const CModeChangeConfig& config, Outputs* o) {
         return config.DoesSettingItemaHaveValueLockOtherSettingItem(
             nullptr, &o->hasLock, &o->lockValue, &o->names, &o->values);
       }},
      {L"DoesSettingItemaHaveValueLockOtherSettingItem", 233,
       [](const CModeChangeConfig& config, Outputs* o) {
         return config.DoesSettingItemaHaveValueLockOtherSettingItem(
             L"Wireless", nullptr, &o->lockValue, &o->names, &o->values);
       }},
      {L"DoesSettingItemaHaveValueLockOtherSettingItem", 233,
       [](const CModeChangeConfig& config, Outputs* o) {
         return config.DoesSettingItemaHaveValueLockOtherSettingItem(
             L"Wireless", &o->hasLock, nullptr, &o->names, &o->values);
       }},
      {L"DoesSettingItemaHaveValueLockOtherSettingItem", 233,
       [](const CModeChangeConfig& config, Outputs* o) {
         return config.DoesSettingItemaHaveValueLockOtherSettingItem(
             L"Wireless", &o->hasLock, &o->lockValue, nullptr, &o->values);
       }},
      {L"DoesSettingItemaHaveValueLockOtherSettingItem", 233,
       [](const CModeChangeConfig& config, Outputs* o) {
         return config.DoesSettingItemaHaveValueLockOtherSettingItem(
             L"Wireless", &o->hasLock, &o->lockValue, &o->names, nullptr);
       }},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(Text::ToUtf8(row.operation) + ", row " + std::to_string(&row - rows));
    // Without files, where anything else would trace more.
    ExpectFailure(row.ask, {{L"CModeChangeConfig::" + row.operation, row.line}});
  }
}

TEST_F(CModeChangeConfigTest, OneMissingFileFailsEveryQuestionButTheLockRule) {
  struct Row {
    std::wstring operation;
    std::uint32_t line;
    Ask ask;
  };
  const Row rows[] = {
      {L"GetModeStatusIconKeyName", 85, AskForIconKeyName},
      {L"GetAllModeList", 98, AskForAllModes},
      {L"GetUsableModeList", 110, AskForUsableModes},
      {L"GetModeType", 135, AskForModeType},
      {L"GetAllSettingItemList", 147, AskForAllItems},
      {L"GetSettingGroupList", 163, AskForGroups},
      {L"GetSettingItemListInSettingGroup", 182, AskForItemsOfGroup},
      {L"GetSettingItemEnginePath", 210, AskForEngine},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(Text::ToUtf8(row.operation));
    WriteMachine();
    sandbox.Remove(kUsableModesFile);
    ExpectFailure(row.ask,
                  {UsableModesAreMissing(), {L"CModeChangeConfig::" + row.operation, row.line}});
    WriteMachine();
    sandbox.Remove(kConfigFile);
    ExpectFailure(row.ask, {ConfigIsMissing(), {L"CModeChangeConfig::" + row.operation, row.line}});
  }
}

TEST_F(CModeChangeConfigTest, AConfigurationThatCannotBeOpenedFails) {
  WriteMachine();
  const std::wstring path = PathOf(kConfigFile);
  struct Row {
    Ask ask;
    Traces expected;
    std::uint32_t opened = 1;  // which attempt fails
  };
  const Trace noModes = {L"CModeChangeConfig::GetAllModeList", 102};
  const Trace noItems = {L"CModeChangeConfig::GetAllSettingItemList", 153, path};
  const Row rows[] = {
      {AskForIconKeyName, {kNotOpened, {L"CModeChangeConfig::GetModeStatusIconKeyName", 88, path}}},
      {AskForAllModes, {kNotOpened, noModes}},
      {AskForUsableModes, {kNotOpened, noModes, {L"CModeChangeConfig::GetUsableModeList", 113}}},
      {AskForUsableModes, {kNotOpened, {L"CModeChangeConfig::GetUsableModeList", 120, path}}, 2},
      {AskForAllItems, {kNotOpened, noItems}},
      {AskForGroups, {kNotOpened, {L"CModeChangeConfig::GetSettingGroupList", 169, path}}},
      {AskForItemsOfGroup,
       {kNotOpened, noItems, {L"CModeChangeConfig::GetSettingItemListInSettingGroup", 186}}},
      {AskForItemsOfGroup,
       {kNotOpened, {L"CModeChangeConfig::GetSettingItemListInSettingGroup", 192, path}},
       2},
      {AskForEngine, {kNotOpened, {L"CModeChangeConfig::GetSettingItemEnginePath", 214, path}}},
      {AskForLock,
       {kNotOpened,
        {L"CModeChangeConfig::DoesSettingItemaHaveValueLockOtherSettingItem", 249, path}}},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE("row " + std::to_string(&row - rows));
    interposition.Fail("CreateFileW", {.nth = row.opened});
    ExpectFailure(row.ask, row.expected);
  }
}

TEST_F(CModeChangeConfigTest, AnEmptyConfigurationHasNothing) {
  sandbox.Write(kConfigFile, "");
  WriteUsableModes(IniFile().Section(L"UsableModeList").Key(L"ModeCount", 1).Key(L"Mode0", L"Eco"));
  const std::wstring path = PathOf(kConfigFile);
  const Trace noModes = {L"CModeChangeConfig::GetAllModeList", 100};

  ExpectFailure(AskForIconKeyName, {{L"CModeChangeConfig::GetModeStatusIconKeyName", 88, path}});
  ExpectFailure(AskForAllModes, {noModes});
  ExpectFailure(AskForUsableModes, {noModes, {L"CModeChangeConfig::GetUsableModeList", 113}});
  ExpectFailure(AskForEngine, {{L"CModeChangeConfig::GetSettingItemEnginePath", 214, path}});

  EXPECT_THAT(Read(AskForAllItems), IsEmpty());
  EXPECT_THAT(Read(AskForGroups), IsEmpty());
  EXPECT_THAT(Read(AskForItemsOfGroup), IsEmpty());
  Outputs outputs;
  EXPECT_TRUE(AskForModeType(CModeChangeConfig(), &outputs));
  EXPECT_EQ(outputs.type, UINT{CModeChangeConfig::kNormalMode});
  EXPECT_TRUE(AskForLock(CModeChangeConfig(), &outputs));
  EXPECT_FALSE(outputs.hasLock);
}

// Lists

TEST_F(CModeChangeConfigTest, ListsAreReadInTheOrderOfTheirNumbers) {
  for (const List& list : kLists) {
    SCOPED_TRACE(list.title);
    const std::wstring key = list.nameKey;
    WriteList(list, IniFile()
                        .Key(key + L"2", L"Three")
                        .Key(key + L"0", L"Two")
                        .Key(list.countKey, 3)
                        .Key(key + L"1", L"One"));
    EXPECT_THAT(Read(list.ask), ElementsAre(L"Two", L"One", L"Three"));
  }
}

TEST_F(CModeChangeConfigTest, EmptyEntriesAreSkippedAndNoneIsReadBeyondTheCount) {
  for (const List& list : kLists) {
    SCOPED_TRACE(list.title);
    const std::wstring key = list.nameKey;
    WriteList(list, IniFile()
                        .Key(list.countKey, 4)
                        .Key(key + L"0", L"")
                        .Key(key + L"1", L"One")
                        .Key(key + L"3", L"Two")
                        .Key(key + L"4", L"Three"));
    EXPECT_THAT(Read(list.ask), ElementsAre(L"One", L"Two"));
  }
}

TEST_F(CModeChangeConfigTest, ListsAreAppended) {
  for (const List& list : kLists) {
    SCOPED_TRACE(list.title);
    WriteList(list, IniFile().Key(list.countKey, 1).Key(list.nameKey + std::wstring(L"0"), L"One"));
    Outputs outputs;
    EXPECT_TRUE(list.ask(CModeChangeConfig(), &outputs));
    EXPECT_TRUE(list.ask(CModeChangeConfig(), &outputs));
    EXPECT_THAT(outputs.names, ElementsAre(L"before", L"One", L"One"));
  }
}

TEST_F(CModeChangeConfigTest, ADuplicateIsListedTwice) {
  for (const List& list : kLists) {
    SCOPED_TRACE(list.title);
    const std::wstring key = list.nameKey;
    WriteList(list, IniFile()
                        .Key(list.countKey, 3)
                        .Key(key + L"0", L"One")
                        .Key(key + L"1", L"Two")
                        .Key(key + L"2", L"One"));
    EXPECT_THAT(Read(list.ask), ElementsAre(L"One", L"Two", L"One"));
  }
}

TEST_F(CModeChangeConfigTest, OfKeysAndSectionsThatAreThereTwiceTheFirstCounts) {
  for (const List& list : kLists) {
    SCOPED_TRACE(list.title);
    const std::wstring key = list.nameKey;
    WriteList(list, IniFile()
                        .Key(list.countKey, 1)
                        .Key(list.countKey, 2)
                        .Key(key + L"0", L"One")
                        .Key(key + L"0", L"Two")
                        .Section(list.section)
                        .Key(list.countKey, 3)
                        .Key(key + L"1", L"Three"));
    EXPECT_THAT(Read(list.ask), ElementsAre(L"One"));
  }
}

TEST_F(CModeChangeConfigTest, AnyCountGivesTheKeysBelowIt) {
  struct Row {
    const wchar_t* count;
    std::vector<const wchar_t*> names;
  };
  const std::vector<const wchar_t*> all = {L"One", L"Two", L"Three", L"Four"};
  const Row rows[] = {
      {L"-1", {}},
      {L"-2147483648", {}},
      {L"1", {L"One"}},
      {L"1000", {L"One", L"Two"}},
      {L"1001", {L"One", L"Two", L"Three"}},
      {L"2147483646", {L"One", L"Two", L"Three"}},
      {L"2147483647", all},
      {L"2147483648", {}},  // one more than a signed number holds
  };
  for (const List& list : kLists) {
    SCOPED_TRACE(list.title);
    const std::wstring key = list.nameKey;
    for (const Row& row : rows) {
      WriteList(list, IniFile()
                          .Key(list.countKey, row.count)
                          .Key(key + L"0", L"One")
                          .Key(key + L"999", L"Two")
                          .Key(key + L"1000", L"Three")
                          .Key(key + L"2147483646", L"Four")
                          .Key(key + L"2147483647", L"One"));
      EXPECT_THAT(Read(list.ask), ElementsAreArray(row.names)) << Text::ToUtf8(row.count);
    }
  }
}

TEST_F(CModeChangeConfigTest, ACountOf20DigitsIsWhatWindowsReadsAndKeepsNobodyWaiting) {
  constexpr const wchar_t* kCounts[] = {L"99999999999999999999", L"12345678901234567890",
                                        L"18446744073709551617"};
  for (const List& list : kLists) {
    for (const wchar_t* stored : kCounts) {
      SCOPED_TRACE(list.title + (", " + Text::ToUtf8(stored)));
      WriteList(
          list,
          IniFile().Key(list.countKey, stored).Key(list.nameKey + std::wstring(L"0"), L"One"));
      const wchar_t* file = list.ask == AskForUsableModes ? kUsableModesFile : kConfigFile;
      const auto count = static_cast<std::int32_t>(
          ::GetPrivateProfileIntW(list.section, list.countKey, 0, PathOf(file).c_str()));
      ASSERT_NE(count, 0);
      interposition.ClearCalls();
      EXPECT_EQ(Read(list.ask), count > 0 ? Names{L"One"} : Names());
      EXPECT_LE(interposition.Count("GetPrivateProfileStringW"), 10U);
    }
  }
}

TEST_F(CModeChangeConfigTest, AHugeCountCostsNoMoreCallsThanThereAreKeys) {
  for (const List& list : kLists) {
    SCOPED_TRACE(list.title);
    WriteList(list, IniFile()
                        .Key(list.countKey, std::numeric_limits<std::int32_t>::max())
                        .Key(list.nameKey + std::wstring(L"5"), L"One")
                        .Key(list.nameKey + std::wstring(L"70000"), L"Two"));
    interposition.ClearCalls();
    EXPECT_THAT(Read(list.ask), ElementsAre(L"One", L"Two"));
    // The names of the keys and two values; before that up to four of the list that it depends on.
    EXPECT_LE(interposition.Count("GetPrivateProfileStringW"), 3U + 4U);
  }
}

TEST_F(CModeChangeConfigTest, ACountOfZeroIsAFailureOnlyForModes) {
  for (const wchar_t* count : {L"0", L"none", L""}) {
    SCOPED_TRACE(Text::ToUtf8(count));
    WriteList(kLists[0], IniFile().Key(L"ModeCount", count).Key(L"Mode0", L"One"));
    ExpectFailure(AskForAllModes, {{L"CModeChangeConfig::GetAllModeList", 100}});
    ExpectFailure(AskForUsableModes, {{L"CModeChangeConfig::GetAllModeList", 100},
                                      {L"CModeChangeConfig::GetUsableModeList", 113}});
    WriteList(kLists[1], IniFile().Key(L"ModeCount", count).Key(L"Mode0", L"One"));
    ExpectFailure(AskForUsableModes, {{L"CModeChangeConfig::GetUsableModeList", 117}});

    for (const List& list : {kLists[2], kLists[3], kLists[4]}) {
      WriteList(list,
                IniFile().Key(list.countKey, count).Key(list.nameKey + std::wstring(L"0"), L"One"));
      EXPECT_THAT(Read(list.ask), IsEmpty()) << list.title;
    }
  }
}

TEST_F(CModeChangeConfigTest, NamesAsLongAsTheFileAllowsAreNotCut) {
  const std::wstring name = L"M" + std::wstring(100'000, L'o') + L"de";
  for (const auto encoding : {IniFile::Encoding::kAnsi, IniFile::Encoding::kUtf16}) {
    WriteFiles(
        IniFile().Section(L"ModeList").Key(L"ModeCount", 1).Key(L"Mode0", name).In(encoding));
    EXPECT_THAT(Read(AskForAllModes), ElementsAre(name.c_str()));
  }
}

TEST_F(CModeChangeConfigTest, NamesMayBeInAnyScript) {
  WriteConfig(IniFile()
                  .Section(L"ModeList")
                  .Key(L"ModeCount", 1)
                  .Key(L"Mode0", L"\u7701\u96FB\u529B")
                  .Section(L"\u7701\u96FB\u529B")
                  .Key(L"IsEcoMode", 1));
  WriteUsableModes(IniFile()
                       .Section(L"UsableModeList")
                       .Key(L"ModeCount", 1)
                       .Key(L"Mode0", L"\u7701\u96FB\u529B"));
  EXPECT_THAT(Read(AskForUsableModes), ElementsAre(L"\u7701\u96FB\u529B"));
  UINT type = 77;
  EXPECT_TRUE(CModeChangeConfig().GetModeType(L"\u7701\u96FB\u529B", &type));
  EXPECT_EQ(type, UINT{CModeChangeConfig::kEcoMode});
}

TEST_F(CModeChangeConfigTest, UsableModesAreSpelledAsInTheirOwnList) {
  WriteList(kLists[1], IniFile().Key(L"ModeCount", 2).Key(L"Mode0", L"tWO").Key(L"Mode1", L"one"));
  EXPECT_THAT(Read(AskForUsableModes), ElementsAre(L"tWO", L"one"));
}

TEST_F(CModeChangeConfigTest, UsableModesThatAreNotDefinedAreDropped) {
  WriteList(kLists[1], IniFile()
                           .Key(L"ModeCount", 3)
                           .Key(L"Mode0", L"Ones")
                           .Key(L"Mode1", L"Two")
                           .Key(L"Mode2", L"Thre"));
  EXPECT_THAT(Read(AskForUsableModes), ElementsAre(L"Two"));
  WriteList(kLists[1], IniFile().Key(L"ModeCount", 1).Key(L"Mode0", L"Unknown"));
  EXPECT_THAT(Read(AskForUsableModes), IsEmpty());
}

TEST_F(CModeChangeConfigTest, AUsableModeIsListedOnceHoweverOftenItIsDefined) {
  WriteConfig(IniFile()
                  .Section(L"ModeList")
                  .Key(L"ModeCount", 2)
                  .Key(L"Mode0", L"Eco")
                  .Key(L"Mode1", L"ECO"));
  WriteUsableModes(IniFile().Section(L"UsableModeList").Key(L"ModeCount", 1).Key(L"Mode0", L"eco"));
  EXPECT_THAT(Read(AskForUsableModes), ElementsAre(L"eco"));
}

TEST_F(CModeChangeConfigTest, UsableModesNeedDefinedModes) {
  WriteConfig(IniFile().Section(L"ModeList").Key(L"ModeCount", -1).Key(L"Mode0", L"Eco"));
  WriteUsableModes(IniFile().Section(L"UsableModeList").Key(L"ModeCount", 1).Key(L"Mode0", L"Eco"));
  EXPECT_THAT(Read(AskForUsableModes), IsEmpty());
}

TEST_F(CModeChangeConfigTest, AGroupHasOnlySettingItemsSpelledAsItSpellsThem) {
  WriteList(kLists[4], IniFile()
                           .Key(L"SettingItemCount", 3)
                           .Key(L"SettingItem0", L"tWO")
                           .Key(L"SettingItem1", L"Unknown")
                           .Key(L"SettingItem2", L"one"));
  EXPECT_THAT(Read(AskForItemsOfGroup), ElementsAre(L"tWO", L"one"));
}

TEST_F(CModeChangeConfigTest, AGroupHasAnItemAsOftenAsItIsListed) {
  WriteFiles(IniFile()
                 .Section(L"SettingItemList")
                 .Key(L"SettingItemCount", 3)
                 .Key(L"SettingItem0", L"One")
                 .Key(L"SettingItem1", L"Two")
                 .Key(L"SettingItem2", L"ONE")
                 .Section(L"Display")
                 .Key(L"SettingItemCount", 2)
                 .Key(L"SettingItem0", L"one")
                 .Key(L"SettingItem1", L"two"));
  EXPECT_THAT(Read(AskForItemsOfGroup), ElementsAre(L"one", L"one", L"two"));
}

TEST_F(CModeChangeConfigTest, AGroupWithoutACountAboveZeroIsEmptyWithoutAFurtherLook) {
  for (const int count : {0, -1}) {
    WriteList(kLists[4], IniFile().Key(L"SettingItemCount", count).Key(L"SettingItem0", L"One"));
    interposition.ClearCalls();
    EXPECT_THAT(Read(AskForItemsOfGroup), IsEmpty()) << count;
    EXPECT_EQ(interposition.Count("CreateFileW"), 1U) << "for the list of all items";
  }
}

TEST_F(CModeChangeConfigTest, AnUnknownGroupIsEmpty) {
  WriteMachine();
  Names items;
  EXPECT_TRUE(CModeChangeConfig().GetSettingItemListInSettingGroup(L"Unknown", &items));
  EXPECT_THAT(items, IsEmpty());
}

// Single values

TEST_F(CModeChangeConfigTest, EachStatusHasItsIconKeyName) {
  WriteFiles(IniFile()
                 .Section(L"ModeStatus0")
                 .Key(L"ModeStatusIconKeyName", L"IconOff")
                 .Section(L"ModeStatus1")
                 .Key(L"ModeStatusIconKeyName", L"IconOn")
                 .Section(L"ModeStatus4294967295")
                 .Key(L"ModeStatusIconKeyName", L"IconLast"));
  const std::pair<UINT, const wchar_t*> rows[] = {
      {0, L"IconOff"}, {1, L"IconOn"}, {2, L""}, {0xFFFF'FFFF, L"IconLast"}};
  for (const auto& [status, iconKeyName] : rows) {
    CWideString text = L"before";
    EXPECT_TRUE(CModeChangeConfig().GetModeStatusIconKeyName(status, &text)) << status;
    EXPECT_EQ(text, iconKeyName) << status;
  }
}

TEST_F(CModeChangeConfigTest, AModesTypeIsThatOfItsFirstFlag) {
  struct Row {
    std::vector<std::pair<const wchar_t*, int>> flags;
    UINT type;
  };
  const Row rows[] = {
      {{}, 4},
      {{{L"IsCradleMode", 1}}, 0},
      {{{L"IsCustomMode", 1}}, 1},
      {{{L"IsEcoMode", 1}}, 2},
      {{{L"IsWirelessOffMode", 1}}, 3},
      {{{L"IsEcoMode", 1}, {L"IsCradleMode", 1}}, 0},
      {{{L"IsEcoMode", 1}, {L"IsCustomMode", 1}}, 1},
      {{{L"IsWirelessOffMode", 1}, {L"IsEcoMode", 1}}, 2},
      {{{L"IsWirelessOffMode", 1}, {L"IsCustomMode", 1}, {L"IsCradleMode", 1}}, 0},
      // Only 1 is a mark.
      {{{L"IsCradleMode", 2}}, 4},
      {{{L"IsCradleMode", -1}}, 4},
      {{{L"IsCradleMode", 0}, {L"IsCustomMode", 2}, {L"IsEcoMode", 1}}, 2},
  };
  for (const Row& row : rows) {
    IniFile config;
    config.Section(L"Other").Key(L"IsCradleMode", 1).Section(L"Mode");
    for (const auto& [key, value] : row.flags) config.Key(key, value);
    WriteFiles(config);
    UINT type = 77;
    EXPECT_TRUE(CModeChangeConfig().GetModeType(L"mode", &type)) << Text::Escape(config.Content());
    EXPECT_EQ(type, row.type) << Text::Escape(config.Content());
  }
}

TEST_F(CModeChangeConfigTest, AnUnknownModeIsANormalOne) {
  WriteMachine();
  UINT type = 77;
  EXPECT_TRUE(CModeChangeConfig().GetModeType(L"Unknown", &type));
  EXPECT_EQ(type, UINT{CModeChangeConfig::kNormalMode});
}

TEST_F(CModeChangeConfigTest, AnEnginesPathStartsAtTheLibrarysFolder) {
  const std::pair<const wchar_t*, const wchar_t*> rows[] = {
      {L"Wireless.dll", L"Wireless.dll"},
      {L"Engines\\Wireless.dll", L"Engines\\Wireless.dll"},
      {L"\\Engines\\Wireless.dll", L"Engines\\Wireless.dll"},
      {L"Engines\\.\\Sub\\..\\Wireless.dll", L"Engines\\Wireless.dll"},
  };
  for (const auto& [stored, relative] : rows) {
    WriteFiles(IniFile().Section(L"Wireless").Key(L"EnginePath", stored));
    CWideString path = L"before";
    EXPECT_TRUE(CModeChangeConfig().GetSettingItemEnginePath(L"Wireless", &path));
    EXPECT_EQ(path, PathOf(relative).c_str());
  }
}

TEST_F(CModeChangeConfigTest, AnItemWithoutEngineHasTheLibrarysFolder) {
  for (const IniFile& config :
       {IniFile().Section(L"Wireless"), IniFile().Section(L"Wireless").Key(L"EnginePath", L"")}) {
    WriteFiles(config);
    CWideString path = L"before";
    EXPECT_TRUE(CModeChangeConfig().GetSettingItemEnginePath(L"Wireless", &path));
    EXPECT_EQ(path, sandbox.LibraryFolder().c_str());
  }
}

TEST_F(CModeChangeConfigTest, AnEnginesPathNeedsTheLibrarysFolder) {
  WriteMachine();
  const Trace noFolder = {L"CModeChangeConfig::GetSettingItemEnginePath", 220, L"8"};
  {
    SCOPED_TRACE("no path of the library");
    const CModeChangeConfig config;
    interposition.Fail("GetModuleFileNameW", {.lastError = ERROR_NOT_ENOUGH_MEMORY});
    ExpectFailure(config, AskForEngine, {noFolder});
  }
  {
    SCOPED_TRACE("no handle of the library");
    const CModeChangeConfig config;
    interposition.Fail("GetModuleHandleExW", {.lastError = ERROR_MOD_NOT_FOUND});
    ExpectFailure(config, AskForEngine,
                  {{L"Common::GetMyModuleHandle", 63, L"126"},
                   {L"CModeChangeConfig::GetSettingItemEnginePath", 220, L"6"}});
  }
}

TEST_F(CModeChangeConfigTest, AnEnginesPathThatIsTooLongFails) {
  const std::wstring engine(259 - sandbox.LibraryFolder().wstring().size() - 1, L'e');
  WriteFiles(IniFile().Section(L"Wireless").Key(L"EnginePath", engine));
  CWideString path = L"before";
  EXPECT_TRUE(CModeChangeConfig().GetSettingItemEnginePath(L"Wireless", &path));
  EXPECT_EQ(path, PathOf(engine.c_str()).c_str());

  WriteFiles(IniFile().Section(L"Wireless").Key(L"EnginePath", engine + L"e"));
  ExpectFailure(AskForEngine,
                {{L"CModeChangeConfig::GetSettingItemEnginePath", 223, engine + L"e"}});
}

TEST_F(CModeChangeConfigTest, TheWirelessLampMayChangeWhereTheFileSaysSo) {
  EXPECT_FALSE(CModeChangeConfig().EnableToChangeWirelessLEDStatusInWin7()) << "no file";
  // Without a list of usable modes: this question does not need one.
  WriteConfig(IniFile().Section(L"Common"));
  EXPECT_FALSE(CModeChangeConfig().EnableToChangeWirelessLEDStatusInWin7()) << "no key";
  const std::pair<const wchar_t*, bool> rows[] = {
      {L"0", false}, {L"1", true}, {L"2", true}, {L"-1", true}, {L"yes", false}};
  for (const auto& [stored, may] : rows) {
    WriteConfig(IniFile().Section(L"Common").Key(L"EnableToChangeWirelessLEDStatusInWin7", stored));
    EXPECT_EQ(CModeChangeConfig().EnableToChangeWirelessLEDStatusInWin7(), may)
        << Text::ToUtf8(stored);
  }
}

// Lock rules

class CModeChangeConfigLockTest : public CModeChangeConfigTest {
 protected:
  void WriteItem(const IniFile& lines) {
    IniFile config;
    config.Section(L"Wireless").Line(lines.Content());
    WriteFiles(config);
  }
};

constexpr const wchar_t* kLockValue = L"SettingItemValueToLockOtherSettingItem";
constexpr const wchar_t* kLockedCount = L"LockedOtherSettingItemCount";

TEST_F(CModeChangeConfigLockTest, ARuleIsReadWhole) {
  WriteMachine();
  Outputs outputs{.hasLock = false};
  EXPECT_TRUE(AskForLock(CModeChangeConfig(), &outputs));
  EXPECT_TRUE(outputs.hasLock);
  EXPECT_EQ(outputs.lockValue, 0);
  EXPECT_THAT(outputs.names, ElementsAre(L"Bluetooth", L"Gps"));
  EXPECT_THAT(outputs.values, ElementsAre(1, -1));
}

TEST_F(CModeChangeConfigLockTest, AnyLockingValueButMinus100IsOne) {
  for (const std::int32_t value : {-101, -99, -1, 0, 1, 2147483647}) {
    WriteItem(IniFile()
                  .Key(kLockValue, value)
                  .Key(kLockedCount, 1)
                  .Key(L"LockedOtherSettingItem0", L"Gps")
                  .Key(L"LockedOtherSettingItemValue0", 5));
    Outputs outputs{.hasLock = false};
    EXPECT_TRUE(AskForLock(CModeChangeConfig(), &outputs));
    EXPECT_TRUE(outputs.hasLock);
    EXPECT_EQ(outputs.lockValue, value);
  }
}

TEST_F(CModeChangeConfigLockTest, WithoutALockingValueThereIsNoLock) {
  const auto expectNoLock = [](const char* situation) {
    Outputs outputs;
    EXPECT_TRUE(AskForLock(CModeChangeConfig(), &outputs)) << situation;
    EXPECT_EQ(outputs, Outputs{.hasLock = false}) << situation;
  };
  const IniFile items = IniFile()
                            .Key(kLockedCount, 1)
                            .Key(L"LockedOtherSettingItem0", L"Gps")
                            .Key(L"LockedOtherSettingItemValue0", 5);
  WriteItem(items);
  expectNoLock("no key");
  WriteItem(IniFile(items).Key(kLockValue, -100));
  expectNoLock("-100");
  WriteFiles(IniFile().Section(L"Other").Line(items.Content()).Key(kLockValue, 0));
  expectNoLock("no section");
  sandbox.Remove(kUsableModesFile);
  sandbox.Remove(kConfigFile);
  expectNoLock("no files");
}

TEST_F(CModeChangeConfigLockTest, ALockingValueWithoutItemsFailsWithoutATrace) {
  const auto expectMistake = [this](const char* situation) {
    Outputs outputs;
    EXPECT_FALSE(AskForLock(CModeChangeConfig(), &outputs)) << situation;
    EXPECT_EQ(outputs, Outputs{.hasLock = false}) << situation;
    EXPECT_EQ(traces.Take(), Traces()) << situation;
  };
  WriteItem(IniFile().Key(kLockValue, 1));
  expectMistake("no count");
  for (const int count : {0, -1, -2147483647}) {
    WriteItem(IniFile()
                  .Key(kLockValue, 1)
                  .Key(kLockedCount, count)
                  .Key(L"LockedOtherSettingItem0", L"Gps")
                  .Key(L"LockedOtherSettingItemValue0", 5));
    expectMistake(std::to_string(count).c_str());
  }
}

TEST_F(CModeChangeConfigLockTest, AnEmptyNameIsSkippedWithItsValue) {
  WriteItem(IniFile()
                .Key(kLockValue, 1)
                .Key(kLockedCount, 3)
                .Key(L"LockedOtherSettingItem0", L"")
                .Key(L"LockedOtherSettingItem1", L"Bluetooth")
                .Key(L"LockedOtherSettingItemValue1", 0)
                .Key(L"LockedOtherSettingItemValue2", 7));
  Outputs outputs{.hasLock = false};
  EXPECT_TRUE(AskForLock(CModeChangeConfig(), &outputs));
  EXPECT_EQ(outputs, (Outputs{.text = L"before",
                              .names = {L"Bluetooth"},
                              .values = {0},
                              .type = 77,
                              .hasLock = true,
                              .lockValue = 1}));
}

TEST_F(CModeChangeConfigLockTest, NoNamesAtAllAreALockOfNothing) {
  WriteItem(IniFile().Key(kLockValue, 1).Key(kLockedCount, 2));
  Outputs outputs{.hasLock = false};
  EXPECT_TRUE(AskForLock(CModeChangeConfig(), &outputs));
  EXPECT_TRUE(outputs.hasLock);
  EXPECT_THAT(outputs.names, IsEmpty());
  EXPECT_THAT(outputs.values, IsEmpty());
}

TEST_F(CModeChangeConfigLockTest, ALockedItemWithoutAValueFailsNamingTheItemThatLocks) {
  const IniFile valid = IniFile()
                            .Key(kLockValue, 1)
                            .Key(kLockedCount, 2)
                            .Key(L"LockedOtherSettingItem0", L"Bluetooth")
                            .Key(L"LockedOtherSettingItemValue0", 0)
                            .Key(L"LockedOtherSettingItem1", L"Gps");
  const auto expectMistake = [this](const char* situation) {
    SCOPED_TRACE(situation);
    Outputs outputs{.hasLock = false};
    // Spelled otherwise than in the file: the message has the name that was asked for.
    EXPECT_FALSE(CModeChangeConfig().DoesSettingItemaHaveValueLockOtherSettingItem(
        L"WIRELESS", &outputs.hasLock, &outputs.lockValue, &outputs.names, &outputs.values));
    EXPECT_EQ(outputs, Outputs{.hasLock = false});
    EXPECT_EQ(traces.Take(),
              (Traces{{L"CModeChangeConfig::DoesSettingItemaHaveValueLockOtherSettingItem", 263,
                       L"WIRELESS"}}));
  };
  WriteItem(valid);
  expectMistake("no key");
  WriteItem(IniFile(valid).Key(L"LockedOtherSettingItemValue1", -100));
  expectMistake("-100");
}

TEST_F(CModeChangeConfigLockTest, AHugeCountGivesWhatTryingAllKeysWouldGive) {
  WriteItem(IniFile()
                .Key(kLockValue, 1)
                .Key(kLockedCount, 2147483647)
                .Key(L"LockedOtherSettingItem2000000000", L"Gps")
                .Key(L"LockedOtherSettingItemValue2000000000", 9)
                .Key(L"LockedOtherSettingItem3", L"Bluetooth")
                .Key(L"LockedOtherSettingItemValue3", 4));
  interposition.ClearCalls();
  Outputs outputs;
  EXPECT_TRUE(AskForLock(CModeChangeConfig(), &outputs));
  EXPECT_THAT(outputs.names, ElementsAre(L"Bluetooth", L"Gps"));
  EXPECT_THAT(outputs.values, ElementsAre(4, 9));
  EXPECT_EQ(interposition.Count("GetPrivateProfileStringW"), 1U + 2U);
  EXPECT_EQ(interposition.Count("GetPrivateProfileIntW"), 2U + 2U);
}

TEST_F(CModeChangeConfigLockTest, AMistakeBehindAHugeCountIsFound) {
  WriteItem(IniFile()
                .Key(kLockValue, 1)
                .Key(kLockedCount, 2147483647)
                .Key(L"LockedOtherSettingItem5000", L"Gps"));
  ExpectFailure(AskForLock, {{L"CModeChangeConfig::DoesSettingItemaHaveValueLockOtherSettingItem",
                              263, L"Wireless"}});
}

// What a question costs

class CModeChangeConfigCostTest : public CModeChangeConfigTest {};

const std::vector<std::string> kExistence = {"GetFileAttributesW", "GetFileAttributesW"};
const std::vector<std::string> kCount = {"GetPrivateProfileIntW"};
const std::vector<std::string> kSize = {"CreateFileW", "GetFileSizeEx", "CloseHandle"};
const std::vector<std::string> kText = {"GetPrivateProfileStringW"};

std::vector<std::string> Sequence(const std::vector<std::vector<std::string>>& steps) {
  std::vector<std::string> all;
  for (const auto& step : steps) all.insert(all.end(), step.begin(), step.end());
  return all;
}

TEST_F(CModeChangeConfigCostTest, MakingTheObject) {
  interposition.ClearCalls();
  { const CModeChangeConfig config; }
  EXPECT_THAT(CalledFunctions(),
              ElementsAre("EventRegister", "GetModuleHandleExW", "GetModuleFileNameW",
                          "PathRemoveFileSpecW", "PathAppendW", "PathAppendW", "EventUnregister"));
}

TEST_F(CModeChangeConfigCostTest, EachQuestion) {
  struct Row {
    const char* question;
    Ask ask;
    std::vector<std::string> calls;
  };
  const auto allItems = Sequence({kExistence, kCount, kSize, kText, kText});
  const auto allModes = Sequence({kExistence, kCount, kSize, kText, kText, kText});
  const Row rows[] = {
      {"icon key name", AskForIconKeyName, Sequence({kExistence, kSize, kText})},
      {"all modes", AskForAllModes, allModes},
      {"usable modes", AskForUsableModes,
       Sequence({kExistence, allModes, kCount, kSize, kText, kText})},
      {"type of an eco mode", AskForModeType, Sequence({kExistence, kCount, kCount, kCount})},
      {"setting items", AskForAllItems, allItems},
      {"setting groups", AskForGroups, Sequence({kExistence, kCount, kSize, kText})},
      {"items of a group", AskForItemsOfGroup,
       Sequence({kExistence, allItems, kCount, kSize, kText})},
      {"engine", AskForEngine,
       Sequence(
           {kExistence,
            kSize,
            kText,
            {"GetModuleHandleExW", "GetModuleFileNameW", "PathRemoveFileSpecW", "PathAppendW"}})},
      {"lock rule", AskForLock, Sequence({kCount, kCount, kSize, kText, kCount, kText, kCount})},
  };
  for (const Row& row : rows) {
    EXPECT_EQ(CallsFor(row.ask), row.calls) << row.question;
  }
}

}  // namespace
