#include "config/CModeChangeSettings.h"

#include <functional>
#include <limits>
#include <optional>
#include <utility>

#include "unit/config/DataFileFixture.h"

namespace {

namespace fs = std::filesystem;
using ::testing::ElementsAre;

constexpr std::int32_t kLeast = std::numeric_limits<std::int32_t>::min();
constexpr std::int32_t kMost = std::numeric_limits<std::int32_t>::max();

class CModeChangeSettingsTest : public DataFileFixture {
 protected:
  [[nodiscard]] fs::path DefaultsFile() const {
    return sandbox.LibraryFolder() / L"ModeChange.DefaultSettings.ini";
  }
  [[nodiscard]] fs::path UserFile() const { return sandbox.DataFile(L"ModeChange.Settings.ini"); }
  void WriteDefaults(const IniFile& content) { sandbox.Write(DefaultsFile(), content); }
  void WriteUser(const IniFile& content) { sandbox.Write(UserFile(), content); }

  /// The mode's section of the defaults on the Windows that the test runs on.
  [[nodiscard]] static std::wstring DefaultSection(std::wstring_view mode) {
    return std::wstring(mode) + (Sandbox::IsWindows8OrLater() ? L"_Win8OrLater" : L"_Win7");
  }

  // The answers of a reader made for this one question; none for a failure, which has to leave the
  // output alone.
  static std::optional<bool> DefaultAnnouncement() {
    return Ask(true, [](const CModeChangeSettings& settings, bool* show) {
      return settings.GetDefaultAnnounceModeIsChangedDialogDisplaySetting(show);
    });
  }
  static std::optional<bool> Announcement() {
    return Ask(true, [](const CModeChangeSettings& settings, bool* show) {
      return settings.GetAnnounceModeIsChangedDialogDisplaySetting(show);
    });
  }
  static std::optional<std::int32_t> DefaultItem(const wchar_t* mode, const wchar_t* item) {
    return Ask(4711, [=](const CModeChangeSettings& settings, std::int32_t* value) {
      return settings.GetDefaultSettingItemValue(mode, item, value);
    });
  }
  static std::optional<std::int32_t> Item(const wchar_t* mode, const wchar_t* item) {
    return Ask(4711, [=](const CModeChangeSettings& settings, std::int32_t* value) {
      return settings.GetSettingItemValue(mode, item, value);
    });
  }
  static std::optional<bool> DefaultAutoONOFF(const wchar_t* mode) {
    return Ask(true, [=](const CModeChangeSettings& settings, bool* on) {
      return settings.GetDefaultAutoONOFFSetting(mode, on);
    });
  }
  static std::optional<bool> AutoONOFF(const wchar_t* mode) {
    return Ask(true, [=](const CModeChangeSettings& settings, bool* on) {
      return settings.GetAutoONOFFSetting(mode, on);
    });
  }
  static std::optional<bool> Locked(const wchar_t* mode, const wchar_t* item) {
    return Ask(true, [=](const CModeChangeSettings& settings, bool* locked) {
      return settings.IsSetingItemValueLocked(mode, item, locked);
    });
  }
  static std::optional<bool> Changed(const wchar_t* mode) {
    return Ask(true, [=](const CModeChangeSettings& settings, bool* changed) {
      return settings.IsModeSettingsChanged(mode, changed);
    });
  }

  static bool SaveAnnouncement(bool show) {
    return CModeChangeSettings().SaveAnnounceModeIsChangedDialogDisplaySetting(show);
  }
  static bool SaveItem(const wchar_t* mode, const wchar_t* item, std::int32_t value) {
    return CModeChangeSettings().SaveSettingItemValue(mode, item, value);
  }
  static bool SaveAutoONOFF(const wchar_t* mode, bool on) {
    return CModeChangeSettings().SaveAutoONOFFSetting(mode, on);
  }

  // What is traced when a default can't be read.
  [[nodiscard]] Trace NoDefaults(const wchar_t* function, std::uint32_t line) const {
    return {function, line, DefaultsFile().wstring()};
  }
  [[nodiscard]] Trace NoDefaultItem() const {
    return NoDefaults(L"CModeChangeSettings::GetDefaultSettingItemValue", 211);
  }
  [[nodiscard]] Trace NoDefaultAutoONOFF() const {
    return NoDefaults(L"CModeChangeSettings::GetDefaultAutoONOFFSetting", 246);
  }
  [[nodiscard]] Trace NoDefaultAnnouncement() const {
    return NoDefaults(L"CModeChangeSettings::GetDefaultAnnounceModeIsChangedDialogDisplaySetting",
                      110);
  }

  /// No name was ever looked up without a path, which would be a look into the Windows folder.
  void ExpectEveryLookUpHasAPath() const {
    for (const Call& call : interposition.AllCalls()) {
      if (call.function.find("PrivateProfile") == std::string::npos) continue;
      EXPECT_STRNE(call.texts.back().c_str(), L"") << call.function;
    }
  }

 private:
  template <class Value, class Question>
  static std::optional<Value> Ask(Value untouched, Question question) {
    Value value = untouched;
    if (question(CModeChangeSettings(), &value)) return value;
    EXPECT_EQ(value, untouched);
    return std::nullopt;
  }
};

// --- Where the files are ---

TEST_F(CModeChangeSettingsTest, AReaderOnlyFindsItsPaths) {
  sandbox.SetDataFolder(Sandbox::DataFolder::kAbsent);
  { const CModeChangeSettings settings; }
  EXPECT_THAT(Functions(),
              ElementsAre("EventRegister", "GetModuleHandleExW", "GetModuleFileNameW",
                          "PathRemoveFileSpecW", "PathAppendW", "SHGetSpecialFolderPathW",
                          "PathAppendW", "PathAppendW", "EventUnregister"));
  EXPECT_TRUE(fs::is_empty(sandbox.LibraryFolder() / L"ProgramData"));
}

TEST_F(CModeChangeSettingsTest, AReaderHasOneTraceRegistrationWhileItLives) {
  {
    const CModeChangeSettings settings;
    EXPECT_EQ(traces.OpenRegistrations(), 1U);
    EXPECT_FALSE(settings.SaveAutoONOFFSetting(nullptr, true));
    EXPECT_EQ(traces.Registrations().size(), 1U);
    EXPECT_EQ(traces.Take(), (Traces{{L"CModeChangeSettings::SaveAutoONOFFSetting", 520}}));
  }
  EXPECT_EQ(traces.OpenRegistrations(), 0U);
}

// The user's choices can be read and saved without the defaults' path, as far as they go.
class CModeChangeSettingsWithoutDefaultsPathTest : public CModeChangeSettingsTest {
 protected:
  CModeChangeSettingsWithoutDefaultsPathTest() {
    WriteDefaults(IniFile().Section(L"Common").Section(DefaultSection(L"Eco")).Key(L"Item", 1));
    WriteUser(IniFile().Section(L"Custom").Key(L"Item", 5));
  }

  void ExpectOnlyUserValues(const CModeChangeSettings& settings) {
    std::int32_t value = 4711;
    EXPECT_TRUE(settings.GetSettingItemValue(L"Custom", L"Item", &value));
    EXPECT_EQ(value, 5);

    bool answer = true;
    EXPECT_FALSE(settings.GetDefaultAnnounceModeIsChangedDialogDisplaySetting(&answer));
    EXPECT_FALSE(settings.GetDefaultSettingItemValue(L"Eco", L"Item", &value));
    EXPECT_FALSE(settings.GetDefaultAutoONOFFSetting(L"Eco", &answer));
    EXPECT_FALSE(settings.IsSetingItemValueLocked(L"Eco", L"Item", &answer));
    EXPECT_EQ(traces.Take(),
              (Traces{{L"CModeChangeSettings::GetDefaultAnnounceModeIsChangedDialogDisplaySetting",
                       110, L""},
                      {L"CModeChangeSettings::GetDefaultSettingItemValue", 211, L""},
                      {L"CModeChangeSettings::GetDefaultAutoONOFFSetting", 246, L""},
                      {L"CModeChangeSettings::IsSetingItemValueLocked", 390, L""}}));
    ExpectEveryLookUpHasAPath();
  }
};

TEST_F(CModeChangeSettingsWithoutDefaultsPathTest, BecauseTheModuleIsUnknown) {
  interposition.Fail("GetModuleHandleExW", {.lastError = ERROR_MOD_NOT_FOUND});
  const CModeChangeSettings settings;
  EXPECT_EQ(traces.Take(), (Traces{{L"Common::GetMyModuleHandle", 63, L"126"},
                                   {L"CModeChangeSettings::CModeChangeSettings", 55}}));
  ExpectOnlyUserValues(settings);
}

TEST_F(CModeChangeSettingsWithoutDefaultsPathTest, BecauseTheModuleHasNoPath) {
  interposition.Fail("GetModuleFileNameW", {});
  const CModeChangeSettings settings;
  EXPECT_EQ(traces.Take(), (Traces{{L"CModeChangeSettings::CModeChangeSettings", 61}}));
  ExpectOnlyUserValues(settings);
}

TEST_F(CModeChangeSettingsWithoutDefaultsPathTest, BecauseTheModulesPathWasCut) {
  interposition.Fail("GetModuleFileNameW", {.result = MAX_PATH + 1});
  const CModeChangeSettings settings;
  EXPECT_EQ(traces.Take(), (Traces{{L"CModeChangeSettings::CModeChangeSettings", 61}}));
  ExpectOnlyUserValues(settings);
}

TEST_F(CModeChangeSettingsWithoutDefaultsPathTest, BecauseThePathWouldBeTooLong) {
  interposition.Fail("PathAppendW", {.nth = 1});
  const CModeChangeSettings settings;
  EXPECT_EQ(traces.Take(), (Traces{{L"CModeChangeSettings::CModeChangeSettings", 67}}));
  ExpectOnlyUserValues(settings);
}

TEST_F(CModeChangeSettingsTest, TracesWhyTheSystemNamesNoFolder) {
  interposition.Fail("SHGetSpecialFolderPathW", {.lastError = ERROR_NO_SUCH_USER});
  { const CModeChangeSettings settings; }
  EXPECT_EQ(traces.Take(), (Traces{{L"CModeChangeSettings::CModeChangeSettings", 82, L"1317"}}));
}

TEST_F(CModeChangeSettingsTest, TracesThatTheUsersPathWouldBeTooLong) {
  const Traces tooLong = {{L"CModeChangeSettings::CModeChangeSettings", 82, L"206"}};
  for (const std::uint32_t nthJoin : {2U, 3U}) {
    SCOPED_TRACE(nthJoin);
    interposition.Fail("PathAppendW", {.nth = nthJoin});
    { const CModeChangeSettings settings; }
    EXPECT_EQ(traces.Take(), tooLong);
  }
  NameApplicationDataFolder(FolderOfLength(250));
  { const CModeChangeSettings settings; }
  EXPECT_EQ(traces.Take(), tooLong);
}

TEST_F(CModeChangeSettingsTest, WithoutAFolderTheDefaultsHoldAndNothingIsWrittenElsewhere) {
  WriteDefaults(IniFile()
                    .Section(L"Common")
                    .Key(L"ShowAnnounceModeIsChangedDialog", 0)
                    .Section(DefaultSection(L"Eco"))
                    .Key(L"Brightness", 3)
                    .Key(L"AutoONOFF", 1));
  sandbox.SetDataFolder(Sandbox::DataFolder::kUnavailable);
  const CModeChangeSettings settings;
  EXPECT_EQ(traces.Take(), (Traces{{L"CModeChangeSettings::CModeChangeSettings", 82, L"2"}}));

  bool answer = true;
  EXPECT_TRUE(settings.IsModeSettingsChanged(L"Eco", &answer));
  EXPECT_FALSE(answer);
  answer = true;
  EXPECT_TRUE(settings.GetAnnounceModeIsChangedDialogDisplaySetting(&answer));
  EXPECT_FALSE(answer);
  EXPECT_TRUE(settings.GetAutoONOFFSetting(L"Eco", &answer));
  EXPECT_TRUE(answer);
  std::int32_t value = 4711;
  EXPECT_TRUE(settings.GetSettingItemValue(L"Eco", L"Brightness", &value));
  EXPECT_EQ(value, 3);

  const Trace noFolder = {L"CModeChangeSettings::CreateSettingFile", 608, L", 3"};
  EXPECT_FALSE(settings.CreateSettingFile());
  EXPECT_EQ(traces.Take(), (Traces{noFolder}));
  EXPECT_FALSE(settings.SaveSettingItemValue(L"Eco", L"Brightness", 5));
  EXPECT_EQ(traces.Take(), (Traces{noFolder, {L"CModeChangeSettings::SaveSettingItemValue", 468}}));
  EXPECT_FALSE(settings.SaveAutoONOFFSetting(L"Eco", true));
  EXPECT_EQ(traces.Take(), (Traces{{L"CModeChangeSettings::SaveAutoONOFFSetting", 526, L""}}));
  EXPECT_FALSE(settings.SaveAnnounceModeIsChangedDialogDisplaySetting(true));
  EXPECT_EQ(traces.Take(),
            (Traces{{L"CModeChangeSettings::SaveAnnounceModeIsChangedDialogDisplaySetting", 180,
                     L", 3"}}));

  ExpectEveryLookUpHasAPath();
  EXPECT_EQ(interposition.Count("WritePrivateProfileStringW"), 0U);
  EXPECT_EQ(interposition.Count("CreateFileW"), 0U);
}

// --- The announcement of a mode change ---

TEST_F(CModeChangeSettingsTest, TheDefaultIsToAnnounce) {
  WriteDefaults(IniFile());
  EXPECT_EQ(DefaultAnnouncement(), true);
  WriteDefaults(IniFile().Section(L"Common").Key(L"Other", 0));
  EXPECT_EQ(DefaultAnnouncement(), true);
}

TEST_F(CModeChangeSettingsTest, AnyDefaultButZeroAnnounces) {
  const std::pair<std::int32_t, bool> rows[] = {
      {0, false}, {1, true}, {2, true}, {-1, true}, {1000, true}, {kLeast, true}, {kMost, true}};
  for (const auto& [stored, expected] : rows) {
    SCOPED_TRACE(stored);
    WriteDefaults(IniFile().Section(L"Common").Key(L"ShowAnnounceModeIsChangedDialog", stored));
    EXPECT_EQ(DefaultAnnouncement(), expected);
    EXPECT_EQ(Announcement(), expected) << "the user made no choice";
  }
}

TEST_F(CModeChangeSettingsTest, TheUsersChoiceToAnnounceComesFirst) {
  // The defaults are there and say the opposite.
  const std::pair<std::int32_t, bool> rows[] = {
      {0, false}, {1, true}, {2, true}, {-1, true}, {999, true}, {1001, true}, {kLeast, true}};
  for (const auto& [stored, expected] : rows) {
    SCOPED_TRACE(stored);
    WriteDefaults(
        IniFile().Section(L"Common").Key(L"ShowAnnounceModeIsChangedDialog", expected ? 0 : 1));
    WriteUser(IniFile().Section(L"Common").Key(L"ShowAnnounceModeIsChangedDialog", stored));
    EXPECT_EQ(Announcement(), expected);
    EXPECT_EQ(DefaultAnnouncement(), !expected);
  }
}

TEST_F(CModeChangeSettingsTest, TheUsersChoiceToAnnounceNeedsNoDefaults) {
  WriteUser(IniFile().Section(L"Common").Key(L"ShowAnnounceModeIsChangedDialog", 0));
  EXPECT_EQ(Announcement(), false);
}

TEST_F(CModeChangeSettingsTest, TheDefaultHoldsWhileTheUserMadeNoChoiceToAnnounce) {
  for (const bool byDefault : {false, true}) {
    SCOPED_TRACE(byDefault);
    WriteDefaults(
        IniFile().Section(L"Common").Key(L"ShowAnnounceModeIsChangedDialog", byDefault ? 1 : 0));
    sandbox.SetDataFolder(Sandbox::DataFolder::kAbsent);
    EXPECT_EQ(Announcement(), byDefault) << "no file";
    sandbox.SetDataFolder(Sandbox::DataFolder::kPresent);
    WriteUser(IniFile().Section(L"Eco").Key(L"Brightness", 1));
    EXPECT_EQ(Announcement(), byDefault) << "no entry";
    sandbox.Remove(UserFile());
    sandbox.MakeFolder(UserFile());
    EXPECT_EQ(Announcement(), byDefault) << "a directory named like the file";
  }
}

TEST_F(CModeChangeSettingsTest, TheNumberThatStandsForNoChoiceIsNoChoice) {
  WriteUser(IniFile().Section(L"Common").Key(L"ShowAnnounceModeIsChangedDialog", 1000));
  WriteDefaults(IniFile().Section(L"Common").Key(L"ShowAnnounceModeIsChangedDialog", 0));
  EXPECT_EQ(Announcement(), false);
}

TEST_F(CModeChangeSettingsTest, WithoutChoiceAndDefaultsThereIsNoAnswerWhetherToAnnounce) {
  const Traces noAnswer = {
      NoDefaultAnnouncement(),
      {L"CModeChangeSettings::GetAnnounceModeIsChangedDialogDisplaySetting", 149}};
  EXPECT_EQ(DefaultAnnouncement(), std::nullopt);
  EXPECT_EQ(traces.Take(), (Traces{NoDefaultAnnouncement()}));
  EXPECT_EQ(Announcement(), std::nullopt) << "no user's file";
  EXPECT_EQ(traces.Take(), noAnswer);
  WriteUser(IniFile());
  EXPECT_EQ(Announcement(), std::nullopt) << "a user's file without the entry";
  EXPECT_EQ(traces.Take(), noAnswer);
  sandbox.MakeFolder(DefaultsFile());
  EXPECT_EQ(Announcement(), std::nullopt) << "a directory named like the defaults";
  EXPECT_EQ(traces.Take(), noAnswer);
}

TEST_F(CModeChangeSettingsTest, TheChoiceToAnnounceIsSavedInOneCall) {
  const CModeChangeSettings settings;
  for (const bool show : {true, false}) {
    SCOPED_TRACE(show);
    interposition.ClearCalls();
    EXPECT_TRUE(settings.SaveAnnounceModeIsChangedDialogDisplaySetting(show));
    // Windows makes the file.
    ASSERT_THAT(Functions(), ElementsAre("WritePrivateProfileStringW"));
    EXPECT_EQ(interposition.AllCalls().front().Text(3), UserFile().wstring());
    EXPECT_EQ(
        sandbox.Read(UserFile()),
        std::string("[Common]\r\nShowAnnounceModeIsChangedDialog=") + (show ? "1" : "0") + "\r\n");
    EXPECT_EQ(Announcement(), show);
  }
}

TEST_F(CModeChangeSettingsTest, SavingTheChoiceToAnnounceMakesNoFolder) {
  sandbox.SetDataFolder(Sandbox::DataFolder::kMakerOnly);
  EXPECT_FALSE(SaveAnnouncement(true));
  EXPECT_EQ(traces.Take(),
            (Traces{{L"CModeChangeSettings::SaveAnnounceModeIsChangedDialogDisplaySetting", 180,
                     PathAndError(UserFile(), ERROR_PATH_NOT_FOUND)}}));
  EXPECT_FALSE(sandbox.Exists(sandbox.DataFolderPath()));
  EXPECT_EQ(interposition.Count("CreateDirectoryW"), 0U);
  EXPECT_EQ(interposition.Count("CreateFileW"), 0U);
}

TEST_F(CModeChangeSettingsTest, AFailedSaveOfTheChoiceToAnnounceTracesPathAndError) {
  interposition.Fail("WritePrivateProfileStringW", {.lastError = ERROR_DISK_FULL});
  EXPECT_FALSE(SaveAnnouncement(false));
  EXPECT_EQ(traces.Take(),
            (Traces{{L"CModeChangeSettings::SaveAnnounceModeIsChangedDialogDisplaySetting", 180,
                     PathAndError(UserFile(), ERROR_DISK_FULL)}}));
}

// --- The values of setting items ---

TEST_F(CModeChangeSettingsTest, GivesTheDefaultOfAnItem) {
  WriteDefaults(IniFile()
                    .Section(DefaultSection(L"Eco"))
                    .Key(L"Brightness", 3)
                    .Key(L"Zero", 0)
                    .Key(L"Negative", -1)
                    .Key(L"Least", kLeast)
                    .Key(L"Most", kMost));
  EXPECT_EQ(DefaultItem(L"Eco", L"Brightness"), 3);
  EXPECT_EQ(DefaultItem(L"Eco", L"Zero"), 0);
  EXPECT_EQ(DefaultItem(L"Eco", L"Negative"), -1);
  EXPECT_EQ(DefaultItem(L"Eco", L"Least"), kLeast);
  EXPECT_EQ(DefaultItem(L"Eco", L"Most"), kMost);
  EXPECT_EQ(DefaultItem(L"eco", L"BRIGHTNESS"), 3) << "names compare without case";
}

TEST_F(CModeChangeSettingsTest, AnItemWithoutDefaultIsLeftAlone) {
  WriteDefaults(IniFile().Section(DefaultSection(L"Eco")).Key(L"Wireless", 1));
  EXPECT_EQ(DefaultItem(L"Eco", L"Brightness"), CModeChangeSettings::kDoNothing);
  EXPECT_EQ(DefaultItem(L"Cradle", L"Wireless"), -1) << "a mode without a section";
  EXPECT_EQ(Item(L"Eco", L"Brightness"), -1);
}

TEST_F(CModeChangeSettingsTest, ASectionNamedLikeTheModeAloneHoldsNoDefaults) {
  WriteDefaults(IniFile().Section(L"Eco").Key(L"Brightness", 3).Key(L"AutoONOFF", 1));
  EXPECT_EQ(DefaultItem(L"Eco", L"Brightness"), -1);
  EXPECT_EQ(DefaultAutoONOFF(L"Eco"), false);
}

TEST_F(CModeChangeSettingsTest, AModeWithoutUserValuesTakesTheDefaults) {
  WriteDefaults(IniFile().Section(DefaultSection(L"Eco")).Key(L"Brightness", 3));
  EXPECT_EQ(Item(L"Eco", L"Brightness"), 3) << "no file";
  WriteUser(IniFile().Section(L"Cradle").Key(L"Brightness", 5));
  EXPECT_EQ(Item(L"Eco", L"Brightness"), 3) << "another mode's section";
  sandbox.Remove(UserFile());
  sandbox.MakeFolder(UserFile());
  EXPECT_EQ(Item(L"Eco", L"Brightness"), 3) << "a directory named like the file";
}

TEST_F(CModeChangeSettingsTest, UserValuesComeBeforeTheDefaults) {
  WriteDefaults(IniFile().Section(DefaultSection(L"Eco")).Key(L"Brightness", 3));
  WriteUser(IniFile()
                .Section(L"Eco")
                .Key(L"Brightness", 5)
                .Key(L"Zero", 0)
                .Key(L"Least", kLeast)
                .Key(L"Most", kMost));
  EXPECT_EQ(Item(L"Eco", L"Brightness"), 5);
  EXPECT_EQ(Item(L"Eco", L"Zero"), 0);
  EXPECT_EQ(Item(L"Eco", L"Least"), kLeast);
  EXPECT_EQ(Item(L"Eco", L"Most"), kMost);
  EXPECT_EQ(Item(L"ECO", L"brightness"), 5) << "names compare without case";
  EXPECT_EQ(DefaultItem(L"Eco", L"Brightness"), 3) << "the default stays what it is";
}

TEST_F(CModeChangeSettingsTest, AUserSectionWithOnlyAutoONOFFLeavesEveryItemAlone) {
  WriteDefaults(IniFile().Section(DefaultSection(L"Eco")).Key(L"Brightness", 3).Key(L"Lamp", 0));
  WriteUser(IniFile().Section(L"Eco").Key(L"AutoONOFF", 1));
  EXPECT_EQ(Item(L"Eco", L"Brightness"), -1);
  EXPECT_EQ(Item(L"Eco", L"Lamp"), -1);
  EXPECT_EQ(AutoONOFF(L"Eco"), true);
  EXPECT_EQ(Changed(L"Eco"), true);
}

TEST_F(CModeChangeSettingsTest, AnEmptyUserSectionCountsAsNone) {
  WriteDefaults(
      IniFile().Section(DefaultSection(L"Eco")).Key(L"Brightness", 3).Key(L"AutoONOFF", 1));
  WriteUser(IniFile().Section(L"Eco").Section(L"Cradle").Key(L"Brightness", 5));
  EXPECT_EQ(Item(L"Eco", L"Brightness"), 3);
  EXPECT_EQ(AutoONOFF(L"Eco"), true);
  EXPECT_EQ(Changed(L"Eco"), false);
}

TEST_F(CModeChangeSettingsTest, UserValuesNeedNoDefaultsFile) {
  WriteUser(IniFile().Section(L"Eco").Key(L"Brightness", 5));
  EXPECT_EQ(Item(L"Eco", L"Brightness"), 5);
  EXPECT_EQ(AutoONOFF(L"Eco"), false);
}

TEST_F(CModeChangeSettingsTest, WithoutDefaultsFileAModeWithoutUserValuesHasNoValues) {
  WriteUser(IniFile().Section(L"Cradle").Key(L"Brightness", 5));
  EXPECT_EQ(DefaultItem(L"Eco", L"Brightness"), std::nullopt);
  EXPECT_EQ(traces.Take(), (Traces{NoDefaultItem()}));
  EXPECT_EQ(Item(L"Eco", L"Brightness"), std::nullopt);
  EXPECT_EQ(traces.Take(),
            (Traces{NoDefaultItem(), {L"CModeChangeSettings::GetSettingItemValue", 305}}));
  EXPECT_EQ(DefaultAutoONOFF(L"Eco"), std::nullopt);
  EXPECT_EQ(traces.Take(), (Traces{NoDefaultAutoONOFF()}));
  EXPECT_EQ(AutoONOFF(L"Eco"), std::nullopt);
  EXPECT_EQ(traces.Take(),
            (Traces{NoDefaultAutoONOFF(), {L"CModeChangeSettings::GetAutoONOFFSetting", 352}}));
  EXPECT_EQ(Changed(L"Eco"), false) << "that needs no defaults";

  sandbox.MakeFolder(DefaultsFile());
  EXPECT_EQ(DefaultItem(L"Eco", L"Brightness"), std::nullopt) << "a directory named like the file";
  EXPECT_EQ(traces.Take(), (Traces{NoDefaultItem()}));
}

// --- Whether a mode has user values ---

TEST_F(CModeChangeSettingsTest, AModeIsChangedOnceItsSectionHoldsSomething) {
  EXPECT_EQ(Changed(L"Eco"), false) << "no file";
  WriteUser(IniFile());
  EXPECT_EQ(Changed(L"Eco"), false) << "no section";
  WriteUser(IniFile().Section(L"Eco"));
  EXPECT_EQ(Changed(L"Eco"), false) << "an empty section";
  WriteUser(IniFile().Section(L"Common").Key(L"Eco", 1));
  EXPECT_EQ(Changed(L"Eco"), false) << "a key of that name";
  WriteUser(IniFile().Section(L"Eco").Key(L"A", 1));
  EXPECT_EQ(Changed(L"Eco"), true) << "one short key";
  EXPECT_EQ(Changed(L"eco"), true) << "names compare without case";
  EXPECT_EQ(Changed(L"Ec"), false) << "names compare whole";
  sandbox.Remove(UserFile());
  sandbox.MakeFolder(UserFile());
  EXPECT_EQ(Changed(L"Eco"), false) << "a directory named like the file";
}

TEST_F(CModeChangeSettingsTest, ASectionThatIsTooLongToReadWholeCounts) {
  IniFile file;
  file.Section(L"Eco").Key(std::wstring(200, L'x'), 1);
  for (int i = 0; i < 20; ++i) file.Key(L"Setting Item " + std::to_wstring(i), i);
  WriteUser(file);
  EXPECT_EQ(Changed(L"Eco"), true);
  EXPECT_EQ(Item(L"Eco", L"Setting Item 19"), 19);
}

TEST_F(CModeChangeSettingsTest, WhetherAModeIsChangedTakesTwoCalls) {
  WriteUser(IniFile().Section(L"Eco").Key(L"Brightness", 5));
  const CModeChangeSettings settings;
  interposition.ClearCalls();
  bool changed = false;
  EXPECT_TRUE(settings.IsModeSettingsChanged(L"Eco", &changed));
  ASSERT_THAT(Functions(), ElementsAre("GetFileAttributesW", "GetPrivateProfileSectionW"));
  const Call call = interposition.AllCalls().back();
  EXPECT_STREQ(call.Text(0), L"Eco");
  EXPECT_EQ(static_cast<DWORD>(call.arguments.at(2)), 50U);
  EXPECT_EQ(call.Text(3), UserFile().wstring());
}

TEST_F(CModeChangeSettingsTest, AUserValueTakesThreeCalls) {
  WriteUser(IniFile().Section(L"Eco").Key(L"Brightness", 5));
  const CModeChangeSettings settings;
  interposition.ClearCalls();
  std::int32_t value = 0;
  EXPECT_TRUE(settings.GetSettingItemValue(L"Eco", L"Brightness", &value));
  ASSERT_THAT(Functions(), ElementsAre("GetFileAttributesW", "GetPrivateProfileSectionW",
                                       "GetPrivateProfileIntW"));
  const Call call = interposition.AllCalls().back();
  EXPECT_STREQ(call.Text(0), L"Eco");
  EXPECT_STREQ(call.Text(1), L"Brightness");
  EXPECT_EQ(static_cast<int>(call.arguments.at(2)), -1);
  EXPECT_EQ(call.Text(3), UserFile().wstring());
}

TEST_F(CModeChangeSettingsTest, ADefaultValueTakesTheseCalls) {
  WriteDefaults(IniFile().Section(DefaultSection(L"Eco")).Key(L"Brightness", 3));
  const CModeChangeSettings settings;
  interposition.ClearCalls();
  std::int32_t value = 0;
  EXPECT_TRUE(settings.GetSettingItemValue(L"Eco", L"Brightness", &value));
  EXPECT_THAT(Functions(),
              ElementsAre("GetFileAttributesW",  // the user's file: not there
                          "GetFileAttributesW", "VerSetConditionMask", "VerSetConditionMask",
                          "VerSetConditionMask", "VerifyVersionInfoW", "GetPrivateProfileIntW"));
  EXPECT_EQ(interposition.AllCalls().back().Text(3), DefaultsFile().wstring());
}

// --- Switching a mode by itself ---

TEST_F(CModeChangeSettingsTest, OnlyExactlyOneSwitchesAutomatically) {
  const std::pair<const wchar_t*, bool> rows[] = {
      {L"0", false},  {L"1", true},           {L"2", false},           {L"-1", false},
      {L"10", false}, {L"2147483647", false}, {L"-2147483648", false}, {L"yes", false}};
  for (const auto& [stored, expected] : rows) {
    SCOPED_TRACE(Text::ToUtf8(stored));
    sandbox.SetDataFolder(Sandbox::DataFolder::kPresent);
    WriteDefaults(IniFile().Section(DefaultSection(L"Eco")).Key(L"AutoONOFF", stored));
    EXPECT_EQ(DefaultAutoONOFF(L"Eco"), expected);
    EXPECT_EQ(AutoONOFF(L"Eco"), expected) << "the user made no choice";

    WriteDefaults(IniFile().Section(DefaultSection(L"Eco")).Key(L"AutoONOFF", expected ? 0 : 1));
    WriteUser(IniFile().Section(L"Eco").Key(L"AutoONOFF", stored));
    EXPECT_EQ(AutoONOFF(L"Eco"), expected) << "the user's choice";
    EXPECT_EQ(DefaultAutoONOFF(L"Eco"), !expected);
  }
}

TEST_F(CModeChangeSettingsTest, AModeDoesNotSwitchByItselfUnlessAFileSaysSo) {
  WriteDefaults(IniFile());
  EXPECT_EQ(DefaultAutoONOFF(L"Eco"), false);
  EXPECT_EQ(AutoONOFF(L"Eco"), false);
}

TEST_F(CModeChangeSettingsTest, AUserSectionWithoutAutoONOFFSwitchesItOff) {
  WriteDefaults(IniFile().Section(DefaultSection(L"Eco")).Key(L"AutoONOFF", 1));
  WriteUser(IniFile().Section(L"Eco").Key(L"Brightness", 5));
  EXPECT_EQ(AutoONOFF(L"Eco"), false);
}

// --- Locked items ---

TEST_F(CModeChangeSettingsTest, ListedItemsAreLocked) {
  WriteDefaults(IniFile()
                    .Section(DefaultSection(L"Eco"))
                    .Key(L"LockedSettingItemCount", 3)
                    .Key(L"LockedSettingItem0", L"Wireless")
                    .Key(L"LockedSettingItem1", L"Screen Saver")
                    .Key(L"LockedSettingItem2", L"Brightness")
                    .Key(L"LockedSettingItem3", L"Beyond"));
  EXPECT_EQ(Locked(L"Eco", L"Wireless"), true);
  EXPECT_EQ(Locked(L"Eco", L"Screen Saver"), true);
  EXPECT_EQ(Locked(L"Eco", L"Brightness"), true);
  EXPECT_EQ(Locked(L"Eco", L"Beyond"), false) << "the count ends the list";
  EXPECT_EQ(Locked(L"Eco", L"Lamp"), false);
  EXPECT_EQ(Locked(L"Eco", L"Bright"), false) << "names compare whole";
  EXPECT_EQ(Locked(L"Cradle", L"Wireless"), false) << "every mode has a list of its own";
}

TEST_F(CModeChangeSettingsTest, ALockedItemIsComparedWithItsCase) {
  WriteDefaults(IniFile()
                    .Section(DefaultSection(L"Eco"))
                    .Key(L"LockedSettingItemCount", 1)
                    .Key(L"LockedSettingItem0", L"brightness"));
  EXPECT_EQ(Locked(L"Eco", L"Brightness"), false);
  EXPECT_EQ(Locked(L"Eco", L"brightness"), true);
}

TEST_F(CModeChangeSettingsTest, TheUsersFileLocksNothing) {
  WriteDefaults(IniFile().Section(DefaultSection(L"Eco")));
  WriteUser(IniFile()
                .Section(L"Eco")
                .Key(L"LockedSettingItemCount", 1)
                .Key(L"LockedSettingItem0", L"Brightness"));
  EXPECT_EQ(Locked(L"Eco", L"Brightness"), false);
}

TEST_F(CModeChangeSettingsTest, ACountBelowOneLocksNothingAndReadsNoKey) {
  for (const wchar_t* count : {L"0", L"-1", L"-2147483648", L"none", L""}) {
    SCOPED_TRACE(Text::ToUtf8(count));
    WriteDefaults(IniFile()
                      .Section(DefaultSection(L"Eco"))
                      .Key(L"LockedSettingItemCount", count)
                      .Key(L"LockedSettingItem0", L"Brightness"));
    EXPECT_EQ(Locked(L"Eco", L"Brightness"), false);
  }
  WriteDefaults(
      IniFile().Section(DefaultSection(L"Eco")).Key(L"LockedSettingItem0", L"Brightness"));
  EXPECT_EQ(Locked(L"Eco", L"Brightness"), false) << "no count";
  EXPECT_EQ(interposition.Count("GetPrivateProfileStringW"), 0U);
  EXPECT_EQ(interposition.Count("CreateFileW"), 0U) << "the file's size does not matter";
}

TEST_F(CModeChangeSettingsTest, NumbersMayBeMissingInTheListOfLockedItems) {
  WriteDefaults(IniFile()
                    .Section(DefaultSection(L"Eco"))
                    .Key(L"LockedSettingItemCount", 3)
                    .Key(L"LockedSettingItem2", L"Brightness"));
  EXPECT_EQ(Locked(L"Eco", L"Brightness"), true);
  EXPECT_EQ(Locked(L"Eco", L"Wireless"), false);
}

TEST_F(CModeChangeSettingsTest, AHugeCountOfLockedItemsIsAnsweredAtOnce) {
  WriteDefaults(IniFile()
                    .Section(DefaultSection(L"Eco"))
                    .Key(L"LockedSettingItemCount", kMost)
                    .Key(L"LockedSettingItem2147483646", L"Last")
                    .Key(L"LockedSettingItem2147483647", L"Beyond")
                    .Key(L"LockedSettingItem5000", L"Middle")
                    .Key(L"LockedSettingItem0", L"First"));
  EXPECT_EQ(Locked(L"Eco", L"First"), true);
  EXPECT_EQ(Locked(L"Eco", L"Middle"), true);
  EXPECT_EQ(Locked(L"Eco", L"Last"), true);
  EXPECT_EQ(Locked(L"Eco", L"Beyond"), false);
  EXPECT_EQ(Locked(L"Eco", L"Brightness"), false);
  EXPECT_LT(interposition.Count("GetPrivateProfileStringW"), 50U);
}

// A key that is not there reads as an empty text, and so does one without a value.
TEST_F(CModeChangeSettingsTest, AnItemWithoutANameIsLockedByAListWithAGap) {
  const std::pair<std::int64_t, bool> rows[] = {
      {1, false}, {2, true}, {1000, true}, {1001, true}, {kMost, true}};
  for (const auto& [count, expected] : rows) {
    SCOPED_TRACE(count);
    WriteDefaults(IniFile()
                      .Section(DefaultSection(L"Eco"))
                      .Key(L"LockedSettingItemCount", count)
                      .Key(L"LockedSettingItem0", L"Brightness"));
    EXPECT_EQ(Locked(L"Eco", L""), expected);
  }
}

TEST_F(CModeChangeSettingsTest, ALockedItemsNameIsNeverCut) {
  const std::wstring name(5000, L'x');
  const IniFile defaults = IniFile()
                               .Section(DefaultSection(L"Eco"))
                               .Key(L"LockedSettingItemCount", 1)
                               .Key(L"LockedSettingItem0", name);
  for (const IniFile::Encoding encoding : {IniFile::Encoding::kAnsi, IniFile::Encoding::kUtf16}) {
    SCOPED_TRACE(static_cast<int>(encoding));
    WriteDefaults(IniFile(defaults).In(encoding));
    EXPECT_EQ(Locked(L"Eco", name.c_str()), true);
    EXPECT_EQ(Locked(L"Eco", (name + L"x").c_str()), false);
    EXPECT_EQ(Locked(L"Eco", name.substr(1).c_str()), false);
  }
}

TEST_F(CModeChangeSettingsTest, WithoutDefaultsFileThereIsNoAnswerWhatIsLocked) {
  const Traces noAnswer = {NoDefaults(L"CModeChangeSettings::IsSetingItemValueLocked", 390)};
  EXPECT_EQ(Locked(L"Eco", L"Brightness"), std::nullopt);
  EXPECT_EQ(traces.Take(), noAnswer);
  sandbox.MakeFolder(DefaultsFile());
  EXPECT_EQ(Locked(L"Eco", L"Brightness"), std::nullopt);
  EXPECT_EQ(traces.Take(), noAnswer);
}

class CModeChangeSettingsUnknownSizeTest : public CModeChangeSettingsTest {
 protected:
  CModeChangeSettingsUnknownSizeTest() {
    WriteDefaults(IniFile()
                      .Section(DefaultSection(L"Eco"))
                      .Key(L"LockedSettingItemCount", 1)
                      .Key(L"LockedSettingItem0", L"Brightness"));
  }

  void ExpectNoAnswer(Traces expected) {
    EXPECT_EQ(Locked(L"Eco", L"Brightness"), std::nullopt);
    expected.push_back(NoDefaults(L"CModeChangeSettings::IsSetingItemValueLocked", 406));
    EXPECT_EQ(traces.Take(), expected);
    EXPECT_EQ(interposition.Count("GetPrivateProfileStringW"), 0U);
  }
};

TEST_F(CModeChangeSettingsUnknownSizeTest, TheFileCannotBeOpened) {
  interposition.Fail("CreateFileW", {});
  ExpectNoAnswer({{L"Common::GetMyFileSize", 91}});
}

TEST_F(CModeChangeSettingsUnknownSizeTest, TheFileCannotBeMeasured) {
  interposition.Fail("GetFileSizeEx", {});
  ExpectNoAnswer({{L"Common::GetMyFileSize", 105}});
}

TEST_F(CModeChangeSettingsUnknownSizeTest, TheFileIsTooLarge) {
  interposition.Replace("GetFileSizeEx", [](HANDLE, LARGE_INTEGER* size) {
    size->QuadPart = 0x100000000;
    return TRUE;
  });
  ExpectNoAnswer({{L"Common::GetMyFileSize", 117}, {L"Common::GetMyFileSize", 118}});
}

TEST_F(CModeChangeSettingsUnknownSizeTest, TheFileWasEmptiedMeanwhile) {
  interposition.Replace("GetFileSizeEx", [](HANDLE, LARGE_INTEGER* size) {
    size->QuadPart = 0;
    return TRUE;
  });
  ExpectNoAnswer({});
}

TEST_F(CModeChangeSettingsTest, ALockedItemTakesACallPerKeyUpToItsOwn) {
  WriteDefaults(IniFile()
                    .Section(DefaultSection(L"Eco"))
                    .Key(L"LockedSettingItemCount", 3)
                    .Key(L"LockedSettingItem0", L"Wireless")
                    .Key(L"LockedSettingItem1", L"Brightness")
                    .Key(L"LockedSettingItem2", L"Lamp"));
  const CModeChangeSettings settings;
  interposition.ClearCalls();
  bool locked = false;
  EXPECT_TRUE(settings.IsSetingItemValueLocked(L"Eco", L"Brightness", &locked));
  EXPECT_THAT(Functions(),
              ElementsAre("GetFileAttributesW", "VerSetConditionMask", "VerSetConditionMask",
                          "VerSetConditionMask", "VerifyVersionInfoW", "GetPrivateProfileIntW",
                          "CreateFileW", "GetFileSizeEx", "CloseHandle", "GetPrivateProfileStringW",
                          "GetPrivateProfileStringW"));
  const Call call = interposition.AllCalls().back();
  EXPECT_EQ(call.Text(0), DefaultSection(L"Eco"));
  EXPECT_STREQ(call.Text(1), L"LockedSettingItem1");
  EXPECT_EQ(static_cast<DWORD>(call.arguments.at(4)), fs::file_size(DefaultsFile()))
      << "no value of the file outgrows this buffer";
}

// --- Saving ---

TEST_F(CModeChangeSettingsTest, TheFirstSavedItemMakesFolderAndEmptyFile) {
  sandbox.SetDataFolder(Sandbox::DataFolder::kMakerOnly);
  std::string contentWhenClosed = "never closed";
  interposition.Observe("CloseHandle",
                        [&](const Call&) { contentWhenClosed = sandbox.Read(UserFile()); });
  EXPECT_TRUE(SaveItem(L"Eco", L"Brightness", 5));
  EXPECT_EQ(contentWhenClosed, "");
  EXPECT_EQ(sandbox.Read(UserFile()), "[Eco]\r\nBrightness=5\r\n");
  EXPECT_EQ(interposition.Count("CreateDirectoryW"), 1U);
  EXPECT_EQ(interposition.Count("CreateFileW"), 1U);
  EXPECT_EQ(Item(L"Eco", L"Brightness"), 5);
  EXPECT_EQ(Changed(L"Eco"), true);
}

TEST_F(CModeChangeSettingsTest, TheNextSavedItemIsOnlyWritten) {
  sandbox.Write(UserFile(), "[Eco]\r\nBrightness=5\r\n");
  const CModeChangeSettings settings;
  interposition.ClearCalls();
  EXPECT_TRUE(settings.SaveSettingItemValue(L"Eco", L"Brightness", -1));
  ASSERT_THAT(Functions(), ElementsAre("GetFileAttributesW", "WritePrivateProfileStringW"));
  const Call call = interposition.AllCalls().back();
  EXPECT_STREQ(call.Text(0), L"Eco");
  EXPECT_STREQ(call.Text(1), L"Brightness");
  EXPECT_STREQ(call.Text(2), L"-1");
  EXPECT_EQ(call.Text(3), UserFile().wstring());
}

TEST_F(CModeChangeSettingsTest, AnyItemValueIsSaved) {
  const std::pair<std::int32_t, std::string> rows[] = {
      {0, "0"}, {1, "1"}, {-1, "-1"}, {kLeast, "-2147483648"}, {kMost, "2147483647"}};
  for (const auto& [value, text] : rows) {
    SCOPED_TRACE(text);
    EXPECT_TRUE(SaveItem(L"Eco", L"Brightness", value));
    EXPECT_EQ(sandbox.Read(UserFile()), std::string("[Eco]\r\nBrightness=") + text + "\r\n");
    EXPECT_EQ(Item(L"Eco", L"Brightness"), value);
  }
}

TEST_F(CModeChangeSettingsTest, TheUsersChoicesLieSideBySide) {
  EXPECT_TRUE(SaveItem(L"Eco", L"Brightness", 5));
  EXPECT_TRUE(SaveItem(L"Eco", L"Wireless", 0));
  EXPECT_TRUE(SaveAutoONOFF(L"Eco", true));
  EXPECT_TRUE(SaveItem(L"Cradle", L"Brightness", 7));
  EXPECT_TRUE(SaveAutoONOFF(L"Cradle", false));
  EXPECT_TRUE(SaveAnnouncement(false));

  EXPECT_EQ(sandbox.IniValue(UserFile(), L"Eco", L"Brightness"), L"5");
  EXPECT_EQ(sandbox.IniValue(UserFile(), L"Eco", L"Wireless"), L"0");
  EXPECT_EQ(sandbox.IniValue(UserFile(), L"Eco", L"AutoONOFF"), L"1");
  EXPECT_EQ(sandbox.IniValue(UserFile(), L"Cradle", L"Brightness"), L"7");
  EXPECT_EQ(sandbox.IniValue(UserFile(), L"Cradle", L"AutoONOFF"), L"0");
  EXPECT_EQ(sandbox.IniValue(UserFile(), L"Common", L"ShowAnnounceModeIsChangedDialog"), L"0");
}

TEST_F(CModeChangeSettingsTest, AnItemIsNotSavedWithoutTheMakersFolder) {
  sandbox.SetDataFolder(Sandbox::DataFolder::kAbsent);
  EXPECT_FALSE(SaveItem(L"Eco", L"Brightness", 5));
  EXPECT_EQ(traces.Take(), (Traces{{L"CModeChangeSettings::CreateSettingFile", 608,
                                    PathAndError(sandbox.DataFolderPath(), ERROR_PATH_NOT_FOUND)},
                                   {L"CModeChangeSettings::SaveSettingItemValue", 468}}));
  EXPECT_EQ(interposition.Count("WritePrivateProfileStringW"), 0U);
  EXPECT_TRUE(fs::is_empty(sandbox.LibraryFolder() / L"ProgramData"));
}

TEST_F(CModeChangeSettingsTest, AnItemIsNotSavedWhereADirectoryIsNamedLikeTheFile) {
  sandbox.MakeFolder(UserFile());
  EXPECT_FALSE(SaveItem(L"Eco", L"Brightness", 5));
  const std::vector<Call> attempts = interposition.CallsOf("CreateFileW");
  ASSERT_EQ(attempts.size(), 1U);
  EXPECT_EQ(traces.Take(), (Traces{{L"CModeChangeSettings::CreateSettingFile", 625,
                                    PathAndError(UserFile(), attempts.front().lastError)},
                                   {L"CModeChangeSettings::SaveSettingItemValue", 468}}));
  EXPECT_EQ(interposition.Count("WritePrivateProfileStringW"), 0U);
}

TEST_F(CModeChangeSettingsTest, AFailedSaveOfAnItemTracesTheErrorAndThenTheValue) {
  interposition.Fail("WritePrivateProfileStringW", {.lastError = ERROR_DISK_FULL});
  EXPECT_FALSE(SaveItem(L"Eco", L"Brightness", -5));
  EXPECT_EQ(traces.Take(), (Traces{{L"CModeChangeSettings::SaveSettingItemValue", 480,
                                    PathAndError(UserFile(), ERROR_DISK_FULL)},
                                   {L"CModeChangeSettings::SaveSettingItemValue", 481, L"-5"}}));
  EXPECT_EQ(interposition.Count("WritePrivateProfileStringW"), 1U) << "nothing is tried again";
}

TEST_F(CModeChangeSettingsTest, AutoONOFFIsNotSavedBeforeAnItem) {
  const Traces noFile = {{L"CModeChangeSettings::SaveAutoONOFFSetting", 526, UserFile().wstring()}};
  EXPECT_FALSE(SaveAutoONOFF(L"Eco", true));
  EXPECT_EQ(traces.Take(), noFile);
  EXPECT_FALSE(sandbox.Exists(UserFile()));

  sandbox.MakeFolder(UserFile());
  EXPECT_FALSE(SaveAutoONOFF(L"Eco", true)) << "a directory named like the file";
  EXPECT_EQ(traces.Take(), noFile);
  EXPECT_EQ(interposition.Count("WritePrivateProfileStringW"), 0U);
  sandbox.Remove(UserFile());

  EXPECT_TRUE(SaveItem(L"Eco", L"Brightness", 5));
  EXPECT_TRUE(SaveAutoONOFF(L"Eco", true));
  EXPECT_EQ(AutoONOFF(L"Eco"), true);
}

TEST_F(CModeChangeSettingsTest, AutoONOFFIsSavedInTwoCalls) {
  sandbox.Write(UserFile(), "");
  const CModeChangeSettings settings;
  for (const bool on : {true, false}) {
    SCOPED_TRACE(on);
    interposition.ClearCalls();
    EXPECT_TRUE(settings.SaveAutoONOFFSetting(L"Eco", on));
    EXPECT_THAT(Functions(), ElementsAre("GetFileAttributesW", "WritePrivateProfileStringW"));
    EXPECT_EQ(sandbox.Read(UserFile()),
              std::string("[Eco]\r\nAutoONOFF=") + (on ? "1" : "0") + "\r\n");
    EXPECT_EQ(AutoONOFF(L"Eco"), on);
  }
}

TEST_F(CModeChangeSettingsTest, AFailedSaveOfAutoONOFFTracesTheErrorAndThenTheChoice) {
  sandbox.Write(UserFile(), "");
  for (const bool on : {true, false}) {
    SCOPED_TRACE(on);
    interposition.Fail("WritePrivateProfileStringW", {.lastError = ERROR_DISK_FULL});
    EXPECT_FALSE(SaveAutoONOFF(L"Eco", on));
    EXPECT_EQ(traces.Take(),
              (Traces{{L"CModeChangeSettings::SaveAutoONOFFSetting", 538,
                       PathAndError(UserFile(), ERROR_DISK_FULL)},
                      {L"CModeChangeSettings::SaveAutoONOFFSetting", 539, on ? L"1" : L"0"}}));
  }
}

TEST_F(CModeChangeSettingsTest, AFileThatAnotherProgramHoldsStaysAsItIs) {
  sandbox.Write(UserFile(), "[Eco]\r\nBrightness=5\r\n");
  HANDLE held =
      ::CreateFileW(UserFile().c_str(), GENERIC_READ, 0, nullptr, OPEN_EXISTING, 0, nullptr);
  ASSERT_NE(held, INVALID_HANDLE_VALUE);
  EXPECT_FALSE(SaveItem(L"Eco", L"Brightness", 7));
  ::CloseHandle(held);
  EXPECT_EQ(traces.Take(), (Traces{{L"CModeChangeSettings::SaveSettingItemValue", 480,
                                    PathAndError(UserFile(), ERROR_SHARING_VIOLATION)},
                                   {L"CModeChangeSettings::SaveSettingItemValue", 481, L"7"}}));
  EXPECT_EQ(sandbox.Read(UserFile()), "[Eco]\r\nBrightness=5\r\n");
}

// The file is made empty, which Windows takes for text in the ANSI code page.
TEST_F(CModeChangeSettingsTest, AKeyOutsideTheCodePageDoesNotSurviveInAFileThatWeMade) {
  EXPECT_TRUE(SaveItem(L"\u00D6ko", L"Helligkeit f\u00FCr alle", 5));
  EXPECT_EQ(sandbox.Read(UserFile()), "[\xD6ko]\r\nHelligkeit f\xFCr alle=5\r\n")
      << "of the code page 1252";
  EXPECT_EQ(Item(L"\u00D6ko", L"Helligkeit f\u00FCr alle"), 5);

  EXPECT_TRUE(SaveItem(L"\u00D6ko", L"\u660E\u308B\u3055", 6));
  EXPECT_EQ(Item(L"\u00D6ko", L"\u660E\u308B\u3055"), -1) << "saved, but not under this name";
}

TEST_F(CModeChangeSettingsTest, AnyKeySurvivesInAFileWithAByteOrderMark) {
  WriteUser(IniFile().In(IniFile::Encoding::kUtf16));
  EXPECT_TRUE(SaveItem(L"\u30A8\u30B3", L"\u660E\u308B\u3055", 6));
  EXPECT_EQ(Item(L"\u30A8\u30B3", L"\u660E\u308B\u3055"), 6);
}

// --- Arguments ---

// A null section or key would tell Windows to delete.
TEST_F(CModeChangeSettingsTest, NullArgumentsFailBeforeAnyCall) {
  WriteDefaults(IniFile().Section(DefaultSection(L"Eco")).Key(L"LockedSettingItemCount", 1));
  WriteUser(IniFile().Section(L"Eco").Key(L"Brightness", 5));

  const CModeChangeSettings settings;
  constexpr std::int32_t kUntouched = 4711;
  std::int32_t value = kUntouched;
  bool answer = true;
  struct Row {
    const char* what;
    std::function<bool()> ask;
    const wchar_t* function;
    std::uint32_t line;
  };
  const Row rows[] = {
      {"default announcement: output",
       [&] { return settings.GetDefaultAnnounceModeIsChangedDialogDisplaySetting(nullptr); },
       L"CModeChangeSettings::GetDefaultAnnounceModeIsChangedDialogDisplaySetting", 104},
      {"announcement: output",
       [&] { return settings.GetAnnounceModeIsChangedDialogDisplaySetting(nullptr); },
       L"CModeChangeSettings::GetAnnounceModeIsChangedDialogDisplaySetting", 134},
      {"default item: mode",
       [&] { return settings.GetDefaultSettingItemValue(nullptr, L"Brightness", &value); },
       L"CModeChangeSettings::GetDefaultSettingItemValue", 205},
      {"default item: item",
       [&] { return settings.GetDefaultSettingItemValue(L"Eco", nullptr, &value); },
       L"CModeChangeSettings::GetDefaultSettingItemValue", 205},
      {"default item: output",
       [&] { return settings.GetDefaultSettingItemValue(L"Eco", L"Brightness", nullptr); },
       L"CModeChangeSettings::GetDefaultSettingItemValue", 205},
      {"item: mode", [&] { return settings.GetSettingItemValue(nullptr, L"Brightness", &value); },
       L"CModeChangeSettings::GetSettingItemValue", 285},
      {"item: item", [&] { return settings.GetSettingItemValue(L"Eco", nullptr, &value); },
       L"CModeChangeSettings::GetSettingItemValue", 285},
      {"item: output", [&] { return settings.GetSettingItemValue(L"Eco", L"Brightness", nullptr); },
       L"CModeChangeSettings::GetSettingItemValue", 285},
      {"default Auto ON/OFF: mode",
       [&] { return settings.GetDefaultAutoONOFFSetting(nullptr, &answer); },
       L"CModeChangeSettings::GetDefaultAutoONOFFSetting", 240},
      {"default Auto ON/OFF: output",
       [&] { return settings.GetDefaultAutoONOFFSetting(L"Eco", nullptr); },
       L"CModeChangeSettings::GetDefaultAutoONOFFSetting", 240},
      {"Auto ON/OFF: mode", [&] { return settings.GetAutoONOFFSetting(nullptr, &answer); },
       L"CModeChangeSettings::GetAutoONOFFSetting", 336},
      {"Auto ON/OFF: output", [&] { return settings.GetAutoONOFFSetting(L"Eco", nullptr); },
       L"CModeChangeSettings::GetAutoONOFFSetting", 336},
      {"locked: mode",
       [&] { return settings.IsSetingItemValueLocked(nullptr, L"Brightness", &answer); },
       L"CModeChangeSettings::IsSetingItemValueLocked", 384},
      {"locked: item", [&] { return settings.IsSetingItemValueLocked(L"Eco", nullptr, &answer); },
       L"CModeChangeSettings::IsSetingItemValueLocked", 384},
      {"locked: output",
       [&] { return settings.IsSetingItemValueLocked(L"Eco", L"Brightness", nullptr); },
       L"CModeChangeSettings::IsSetingItemValueLocked", 384},
      {"changed: mode", [&] { return settings.IsModeSettingsChanged(nullptr, &answer); },
       L"CModeChangeSettings::IsModeSettingsChanged", 645},
      {"changed: output", [&] { return settings.IsModeSettingsChanged(L"Eco", nullptr); },
       L"CModeChangeSettings::IsModeSettingsChanged", 645},
      {"save item: mode", [&] { return settings.SaveSettingItemValue(nullptr, L"Brightness", 1); },
       L"CModeChangeSettings::SaveSettingItemValue", 460},
      {"save item: item", [&] { return settings.SaveSettingItemValue(L"Eco", nullptr, 1); },
       L"CModeChangeSettings::SaveSettingItemValue", 460},
      {"save Auto ON/OFF: mode", [&] { return settings.SaveAutoONOFFSetting(nullptr, true); },
       L"CModeChangeSettings::SaveAutoONOFFSetting", 520},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.what);
    interposition.ClearCalls();
    answer = !answer;
    const bool untouched = answer;
    EXPECT_FALSE(row.ask());
    EXPECT_EQ(traces.Take(), (Traces{{row.function, row.line}}));
    EXPECT_EQ(value, kUntouched);
    EXPECT_EQ(answer, untouched);
    EXPECT_EQ(interposition.Count("GetFileAttributesW"), 0U);
    EXPECT_EQ(interposition.Count("WritePrivateProfileStringW"), 0U);
  }
}

TEST_F(CModeChangeSettingsTest, FailuresLeaveTheOutputsAsTheyWere) {
  for (const bool untouched : {false, true}) {
    SCOPED_TRACE(untouched);
    const CModeChangeSettings settings;
    bool answer = untouched;
    EXPECT_FALSE(settings.GetDefaultAnnounceModeIsChangedDialogDisplaySetting(&answer));
    EXPECT_EQ(answer, untouched);
    EXPECT_FALSE(settings.GetAnnounceModeIsChangedDialogDisplaySetting(&answer));
    EXPECT_EQ(answer, untouched);
    EXPECT_FALSE(settings.GetDefaultAutoONOFFSetting(L"Eco", &answer));
    EXPECT_EQ(answer, untouched);
    EXPECT_FALSE(settings.GetAutoONOFFSetting(L"Eco", &answer));
    EXPECT_EQ(answer, untouched);
    EXPECT_FALSE(settings.IsSetingItemValueLocked(L"Eco", L"Brightness", &answer));
    EXPECT_EQ(answer, untouched);
    EXPECT_EQ(traces.Take().size(), 7U) << "two questions fail because another one fails";
  }
}

// --- Each Windows has defaults of its own ---

class CModeChangeSettingsEachWindows : public CModeChangeSettingsTest {
 protected:
  CModeChangeSettingsEachWindows() {
    WriteDefaults(IniFile()
                      .Section(L"Eco_Win7")
                      .Key(L"Brightness", 7)
                      .Key(L"AutoONOFF", 1)
                      .Key(L"LockedSettingItemCount", 1)
                      .Key(L"LockedSettingItem0", L"Wireless")
                      .Section(L"Eco_Win8OrLater")
                      .Key(L"Brightness", 8)
                      .Key(L"AutoONOFF", 0)
                      .Key(L"LockedSettingItemCount", 1)
                      .Key(L"LockedSettingItem0", L"Brightness")
                      .Section(L"Old_Win7")
                      .Key(L"Brightness", 7)
                      .Section(L"New_Win8OrLater")
                      .Key(L"Brightness", 8));
  }

  /// All sections that the library looked into.
  [[nodiscard]] std::vector<std::wstring> SectionsReadAsNumbers() const {
    std::vector<std::wstring> sections;
    for (const Call& call : interposition.CallsOf("GetPrivateProfileIntW")) {
      sections.emplace_back(call.Text(0));
    }
    return sections;
  }
};

TEST_F(CModeChangeSettingsEachWindows, DefaultsComeFromTheSectionOfThisWindows) {
  const bool isNew = Sandbox::IsWindows8OrLater();
  EXPECT_EQ(DefaultItem(L"Eco", L"Brightness"), isNew ? 8 : 7);
  EXPECT_EQ(Item(L"Eco", L"Brightness"), isNew ? 8 : 7);
  EXPECT_EQ(DefaultAutoONOFF(L"Eco"), !isNew);
  EXPECT_EQ(AutoONOFF(L"Eco"), !isNew);
  EXPECT_EQ(Locked(L"Eco", L"Brightness"), isNew);
  EXPECT_EQ(Locked(L"Eco", L"Wireless"), !isNew);
}

TEST_F(CModeChangeSettingsEachWindows, OnlyTheSectionOfThisWindowsIsRead) {
  const std::wstring section = Sandbox::IsWindows8OrLater() ? L"Eco_Win8OrLater" : L"Eco_Win7";
  EXPECT_TRUE(DefaultItem(L"Eco", L"Brightness").has_value());
  EXPECT_TRUE(DefaultAutoONOFF(L"Eco").has_value());
  EXPECT_TRUE(Locked(L"Eco", L"Wireless").has_value());
  EXPECT_THAT(SectionsReadAsNumbers(), ElementsAre(section, section, section));
  ASSERT_EQ(interposition.Count("GetPrivateProfileStringW"), 1U);
  EXPECT_EQ(interposition.CallsOf("GetPrivateProfileStringW").front().Text(0), section);
}

TEST_F(CModeChangeSettingsEachWindows, TheOtherWindowsSectionIsNoSubstitute) {
  const bool isNew = Sandbox::IsWindows8OrLater();
  EXPECT_EQ(DefaultItem(L"Old", L"Brightness"), isNew ? -1 : 7);
  EXPECT_EQ(DefaultItem(L"New", L"Brightness"), isNew ? 8 : -1);
}

TEST_F(CModeChangeSettingsEachWindows, UserValuesAndTheAnnouncementAreTheSameEverywhere) {
  WriteUser(IniFile()
                .Section(L"Common")
                .Key(L"ShowAnnounceModeIsChangedDialog", 0)
                .Section(L"Eco")
                .Key(L"Brightness", 5)
                .Key(L"AutoONOFF", 1));
  EXPECT_EQ(Item(L"Eco", L"Brightness"), 5);
  EXPECT_EQ(AutoONOFF(L"Eco"), true);
  EXPECT_EQ(DefaultAnnouncement(), true);
  EXPECT_EQ(Announcement(), false);
  EXPECT_THAT(SectionsReadAsNumbers(), ElementsAre(L"Eco", L"Eco", L"Common", L"Common"));
}

TEST_F(CModeChangeSettingsEachWindows, ASystemThatIsNoWindows8TakesTheOldSection) {
  interposition.Fail("VerifyVersionInfoW", {.onwards = true});
  EXPECT_EQ(DefaultItem(L"Eco", L"Brightness"), 7);
  EXPECT_EQ(DefaultItem(L"New", L"Brightness"), -1);
}

}  // namespace
