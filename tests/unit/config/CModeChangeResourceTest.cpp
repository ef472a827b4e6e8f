#include "config/CModeChangeResource.h"

#include <filesystem>
#include <iterator>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include "support/ModeChangeTest.h"

namespace {

using ::testing::ElementsAre;

constexpr const wchar_t* kFile = L"ModeChange.Resource.ini";

using Ask = bool (*)(CModeChangeResource& resource, CWideString* text);

template <auto getter>
bool Get(CModeChangeResource& resource, CWideString* text) {
  return (resource.*getter)(text);
}

enum Lines { kAsStored, kBroken };

/// A text getter: where it traces, what it reads.
struct Getter {
  const wchar_t* name;
  std::uint32_t line;
  const wchar_t* section;
  const wchar_t* key;
  Lines lines;
  Ask ask;
};

using Resource = CModeChangeResource;

constexpr const wchar_t* kDialog = L"ModeSettingsDialog";
constexpr const wchar_t* kAnnouncement = L"AnnounceModeIsChangedDialog";

constexpr Getter kGetters[] = {
    {L"GetApplicationName", 102, L"Common", L"ApplicationName", kAsStored,
     Get<&Resource::GetApplicationName>},
    {L"GetModeStatusName", 114, L"Common", L"ModeStatus1", kAsStored,
     [](Resource& resource, CWideString* text) { return resource.GetModeStatusName(1, text); }},
    {L"GetSettingItemStatusName_DoNothing", 126, L"Common", L"SettingItemStatus_DoNothing",
     kAsStored, Get<&Resource::GetSettingItemStatusName_DoNothing>},
    {L"GetModeName", 138, L"Mode", L"Eco", kAsStored,
     [](Resource& resource, CWideString* text) { return resource.GetModeName(L"Eco", text); }},
    {L"GetSettingGroupName", 150, L"SettingGroup", L"Display", kAsStored,
     [](Resource& resource, CWideString* text) {
       return resource.GetSettingGroupName(L"Display", text);
     }},
    {L"GetSettingItemStringResource", 162, L"SettingItem", L"Brightness_Name", kAsStored,
     [](Resource& resource, CWideString* text) {
       return resource.GetSettingItemStringResource(L"Brightness_Name", text);
     }},
    {L"GetModeSettingsDialogTitle", 174, kDialog, L"DialogTitle", kAsStored,
     Get<&Resource::GetModeSettingsDialogTitle>},
    {L"GetModeSettingsDialogRestoreDefaultSettingsButtonName", 186, kDialog,
     L"RestoreDefaultSettingsButton", kAsStored,
     Get<&Resource::GetModeSettingsDialogRestoreDefaultSettingsButtonName>},
    {L"GetModeSettingsDialogAutoONOFFSetting", 198, kDialog, L"AutoONOFFSetting", kAsStored,
     Get<&Resource::GetModeSettingsDialogAutoONOFFSetting>},
    {L"GetModeSettingsDialogSliderDown", 210, kDialog, L"SliderDown", kAsStored,
     Get<&Resource::GetModeSettingsDialogSliderDown>},
    {L"GetModeSettingsDialogSliderUp", 222, kDialog, L"SliderUp", kAsStored,
     Get<&Resource::GetModeSettingsDialogSliderUp>},
    {L"GetModeSettingsDialogLockedSettingItemMemo", 234, kDialog, L"LockedSettingItemMemo",
     kAsStored, Get<&Resource::GetModeSettingsDialogLockedSettingItemMemo>},
    {L"GetModeSettingsDialogLockedSettingItemMemoBySpecificSettingItem", 246, kDialog,
     L"LockedSettingItemMemo_ByWireless", kAsStored,
     [](Resource& resource, CWideString* text) {
       return resource.GetModeSettingsDialogLockedSettingItemMemoBySpecificSettingItem(L"Wireless",
                                                                                       text);
     }},
    {L"GetModeSettingsDialogShowAnnounceModeIsChangedDialog", 258, kDialog,
     L"ShowAnnounceModeIsChangedDialog", kAsStored,
     Get<&Resource::GetModeSettingsDialogShowAnnounceModeIsChangedDialog>},
    {L"GetModeSettingsDialogOKButtonName", 270, kDialog, L"OKButton", kAsStored,
     Get<&Resource::GetModeSettingsDialogOKButtonName>},
    {L"GetModeSettingsDialogCancelButtonName", 282, kDialog, L"CancelButton", kAsStored,
     Get<&Resource::GetModeSettingsDialogCancelButtonName>},
    {L"GetModeSettingsDialogApplyButtonName", 294, kDialog, L"ApplyButton", kAsStored,
     Get<&Resource::GetModeSettingsDialogApplyButtonName>},
    {L"GetModeSettingsDialogMessageOnChangeModeThatSettingsIsChanged", 306, kDialog,
     L"Message_OnChangeMode_SettingsIsChanged", kBroken,
     Get<&Resource::GetModeSettingsDialogMessageOnChangeModeThatSettingsIsChanged>},
    {L"GetModeSettingsDialogMessageOnSaveSettingsThatSettingsIsNotCorrect", 318, kDialog,
     L"Message_OnSaveSettings_SettingsIsNotCorrect", kBroken,
     Get<&Resource::GetModeSettingsDialogMessageOnSaveSettingsThatSettingsIsNotCorrect>},
    {L"GetModeSettingsDialogErrorUnknown", 330, kDialog, L"Error_Unknown", kBroken,
     Get<&Resource::GetModeSettingsDialogErrorUnknown>},
    {L"GetModeSettingsDialogErrorFailedSaveSettings", 342, kDialog, L"Error_FailedSaveSettings",
     kBroken, Get<&Resource::GetModeSettingsDialogErrorFailedSaveSettings>},
    {L"GetModeSettingsDialogErrorFailedUpdatePcEnvironment", 354, kDialog,
     L"Error_FailedUpdatePcEnvironment", kBroken,
     Get<&Resource::GetModeSettingsDialogErrorFailedUpdatePcEnvironment>},
    {L"GetUpdatePcEnvironmentDialogProcessing", 366, L"UpdatePcEnvironmentDialog", L"Processing",
     kBroken, Get<&Resource::GetUpdatePcEnvironmentDialogProcessing>},
    {L"GetAnnounceModeIsChangedDialogDescription", 378, kAnnouncement, L"Description", kBroken,
     Get<&Resource::GetAnnounceModeIsChangedDialogDescription>},
    {L"GetAnnounceModeIsChangedDialogDetailInformation", 390, kAnnouncement,
     L"DetailInformation_ModeStatus1", kBroken,
     [](Resource& resource, CWideString* text) {
       return resource.GetAnnounceModeIsChangedDialogDetailInformation(1, text);
     }},
    {L"GetAnnounceModeIsChangedDialogDetailInformationChangedSettingItem", 402, kAnnouncement,
     L"DetailInformation_ChangedSettingItem", kBroken,
     Get<&Resource::GetAnnounceModeIsChangedDialogDetailInformationChangedSettingItem>},
    {L"GetAnnounceModeIsChangedDialogDetailInformationNoChangedSettingItem", 414, kAnnouncement,
     L"DetailInformation_NoChangedSettingItem", kBroken,
     Get<&Resource::GetAnnounceModeIsChangedDialogDetailInformationNoChangedSettingItem>},
    {L"GetAnnounceModeIsChangedDialogNotShowThisDialog", 426, kAnnouncement, L"NotShowThisDialog",
     kAsStored, Get<&Resource::GetAnnounceModeIsChangedDialogNotShowThisDialog>},
    {L"GetAnnounceModeIsChangedDialoOKButtonName", 438, kAnnouncement, L"OKButton", kAsStored,
     Get<&Resource::GetAnnounceModeIsChangedDialoOKButtonName>},
    {L"GetAnnounceModeIsChangedDialoCancelButtonName", 450, kAnnouncement, L"CancelButton",
     kAsStored, Get<&Resource::GetAnnounceModeIsChangedDialoCancelButtonName>},
};
static_assert(std::size(kGetters) == 30);

using GetFontSize = bool (CModeChangeResource::*)(UINT index, std::int32_t* size);

/// A font size lookup: where it traces, what it reads for each index.
struct FontSizes {
  const wchar_t* name;
  std::uint32_t nullLine;
  std::uint32_t rangeLine;
  const wchar_t* section;
  std::vector<const wchar_t*> keys;
  GetFontSize get;
};

const FontSizes kFontSizes[] = {
    {L"GetFontSizeInModeSettingsDialog",
     480,
     484,
     L"FontSize_ModeSetingsDialog",
     {L"DialogTitleSize", L"ModeSelectionSize", L"RestoreDefaultSettingsSize", L"AutoONOFFSize",
      L"SettingItemListGroupTitleSize", L"SettingItemListSettingItemNameSize",
      L"SettingItemListSettingItemValueSize", L"SliderUpDownSize",
      L"ShowAnnounceModeIsChangedDialogSize", L"ButtonsSize"},
     &CModeChangeResource::GetFontSizeInModeSettingsDialog},
    {L"GetFontSizeInUpdatePcEnvironmentDialog",
     495,
     499,
     L"FontSize_UpdatePcEnvironmentDialog",
     {L"ProcessingSize"},
     &CModeChangeResource::GetFontSizeInUpdatePcEnvironmentDialog},
    {L"GetFontSizeAnnounceModeIsChangedDialog",
     510,
     514,
     L"FontSize_AnnounceModeIsChangedDialog",
     {L"DialogTitleSize", L"DescriptionSize", L"DetailInformationSize", L"NotShowThisDialogSize",
      L"ButtonsSize"},
     &CModeChangeResource::GetFontSizeAnnounceModeIsChangedDialog},
};

const Trace kNotFound = {L"CModeChangeResource::CModeChangeResource", 72};
const Trace kNotOpened = {L"Common::GetMyFileSize", 91};

class CModeChangeResourceTest : public ModeChangeTest {
 protected:
  void WriteTexts(const IniFile& content) {
    sandbox.Write(std::filesystem::path(L"en-US") / kFile, content);
  }

  void WriteText(const Getter& getter, const std::wstring& value) {
    WriteTexts(IniFile().Section(getter.section).Key(getter.key, value));
  }

  /// The getter has to succeed.
  static CWideString Read(Ask ask, CModeChangeResource& resource) {
    CWideString text = L"before";
    EXPECT_TRUE(ask(resource, &text));
    return text;
  }
  static CWideString Read(Ask ask) {
    CModeChangeResource resource;
    return Read(ask, resource);
  }

  [[nodiscard]] std::vector<std::string> CalledFunctions() const {
    std::vector<std::string> functions;
    for (const Call& call : interposition.AllCalls()) functions.push_back(call.function);
    return functions;
  }

  [[nodiscard]] static std::wstring FullName(const wchar_t* operation) {
    return std::wstring(L"CModeChangeResource::") + operation;
  }
};

class CModeChangeResourceTestEachLocale : public CModeChangeResourceTest {};

// The object and its file

TEST_F(CModeChangeResourceTest, FindsItsFileOnceAndKeepsOneTraceRegistration) {
  WriteTexts(IniFile());
  {
    CModeChangeResource resource;
    EXPECT_EQ(resource.Path(), (sandbox.LibraryFolder() / L"en-US" / kFile).c_str());
    EXPECT_EQ(traces.OpenRegistrations(), 1U);
  }
  EXPECT_EQ(traces.OpenRegistrations(), 0U);
}

TEST_F(CModeChangeResourceTest, WithoutAFileTheObjectTracesThatAndGivesEmptyTexts) {
  CModeChangeResource resource;
  EXPECT_EQ(traces.Take(), Traces{kNotFound});
  EXPECT_EQ(resource.Path(), L"");
  for (const Getter& getter : kGetters) {
    SCOPED_TRACE(Text::ToUtf8(getter.name));
    EXPECT_EQ(Read(getter.ask, resource), L"");
    EXPECT_EQ(traces.Take(), Traces{kNotOpened});
  }
}

TEST_F(CModeChangeResourceTest, WithoutTheLibrarysHandleThereIsNoFile) {
  WriteTexts(IniFile().Section(L"Common").Key(L"ApplicationName", L"Mode Change"));
  interposition.Fail("GetModuleHandleExW", {.lastError = ERROR_MOD_NOT_FOUND});
  CModeChangeResource resource;
  EXPECT_EQ(traces.Take(), (Traces{{L"Common::GetMyModuleHandle", 63, L"126"}, kNotFound}));
  EXPECT_EQ(Read(Get<&Resource::GetApplicationName>, resource), L"");
  EXPECT_EQ(traces.Take(), Traces{kNotOpened});
}

TEST_F(CModeChangeResourceTest, WithoutTheLibrarysPathThereIsNoFile) {
  WriteTexts(IniFile());
  interposition.Fail("GetModuleFileNameW", {});
  CModeChangeResource resource;
  EXPECT_EQ(traces.Take(), Traces{kNotFound});
  EXPECT_EQ(resource.Path(), L"");
}

TEST_F(CModeChangeResourceTest, AFileThatGoesAwayLaterGivesEmptyTexts) {
  WriteTexts(IniFile().Section(L"Common").Key(L"ApplicationName", L"Mode Change"));
  CModeChangeResource resource;
  EXPECT_EQ(Read(Get<&Resource::GetApplicationName>, resource), L"Mode Change");
  sandbox.Remove(L"en-US");
  EXPECT_EQ(Read(Get<&Resource::GetApplicationName>, resource), L"");
  EXPECT_EQ(traces.Take(), Traces{kNotOpened});
}

TEST_F(CModeChangeResourceTest, AFolderWithTheFilesNameIsFoundButHasNoTexts) {
  sandbox.MakeFolder(std::filesystem::path(L"en-US") / kFile);
  CModeChangeResource resource;
  EXPECT_EQ(traces.Take(), Traces());
  EXPECT_EQ(Read(Get<&Resource::GetApplicationName>, resource), L"");
  EXPECT_EQ(traces.Take(), Traces{kNotOpened});
}

TEST_F(CModeChangeResourceTest, AFileThatCannotBeMeasuredGivesEmptyTexts) {
  WriteTexts(IniFile().Section(L"Common").Key(L"ApplicationName", L"Mode Change"));
  interposition.Fail("GetFileSizeEx", {});
  EXPECT_EQ(Read(Get<&Resource::GetApplicationName>), L"");
  EXPECT_EQ(traces.Take(), (Traces{{L"Common::GetMyFileSize", 105}}));
}

// Texts

TEST_F(CModeChangeResourceTest, EachTextHasItsOwnSectionAndKey) {
  // By section: of several sections with the same name only the first would count.
  std::map<std::wstring, IniFile> keysOfSections;
  for (const Getter& getter : kGetters) {
    keysOfSections[getter.section].Key(getter.key, std::wstring(getter.name) + L"'s text");
  }
  IniFile file;
  for (const auto& [section, keys] : keysOfSections) file.Section(section).Line(keys.Content());
  WriteTexts(file);
  CModeChangeResource resource;
  for (const Getter& getter : kGetters) {
    EXPECT_EQ(Read(getter.ask, resource), (std::wstring(getter.name) + L"'s text").c_str());
  }
}

TEST_F(CModeChangeResourceTest, AnAbsentKeyIsAnEmptyText) {
  WriteTexts(IniFile().Section(L"Unrelated").Key(L"Key", L"Value"));
  CModeChangeResource resource;
  for (const Getter& getter : kGetters) {
    EXPECT_EQ(Read(getter.ask, resource), L"") << Text::ToUtf8(getter.name);
  }
}

TEST_F(CModeChangeResourceTest, AnEmptyFileHasEmptyTextsAndIsNoFailure) {
  sandbox.Write(std::filesystem::path(L"en-US") / kFile, "");
  CModeChangeResource resource;
  interposition.ClearCalls();
  for (const Getter& getter : kGetters) {
    EXPECT_EQ(Read(getter.ask, resource), L"") << Text::ToUtf8(getter.name);
  }
  EXPECT_EQ(interposition.Count("GetPrivateProfileStringW"), 0U);
}

TEST_F(CModeChangeResourceTest, LinesAreBrokenInMessagesOnly) {
  // Several breaks, one behind a backslash, and what only looks like one.
  const std::wstring stored = L"Line1\\nLine2\\n\\nLine4\\\\nLine5\\N/n\\tn\\";
  const wchar_t* broken = L"Line1\r\nLine2\r\n\r\nLine4\\\r\nLine5\\N/n\\tn\\";
  for (const Getter& getter : kGetters) {
    WriteText(getter, stored);
    EXPECT_EQ(Read(getter.ask), getter.lines == kBroken ? broken : stored.c_str())
        << Text::ToUtf8(getter.name);
  }
}

TEST_F(CModeChangeResourceTest, AnErrorMessageHasTwoLinesWhereAButtonHasOne) {
  WriteTexts(IniFile()
                 .Section(kDialog)
                 .Key(L"Error_Unknown", L"Line1\\nLine2")
                 .Key(L"OKButton", L"Line1\\nLine2"));
  EXPECT_EQ(Read(Get<&Resource::GetModeSettingsDialogErrorUnknown>), L"Line1\r\nLine2");
  EXPECT_EQ(Read(Get<&Resource::GetModeSettingsDialogOKButtonName>), L"Line1\\nLine2");
}

TEST_F(CModeChangeResourceTest, PlaceholdersAreHandedOutAsTheyAre) {
  WriteTexts(IniFile().Section(kAnnouncement).Key(L"Description", L"100 % %MODE% %s"));
  EXPECT_EQ(Read(Get<&Resource::GetAnnounceModeIsChangedDialogDescription>), L"100 % %MODE% %s");
}

TEST_F(CModeChangeResourceTest, ATextAsLongAsTheFileAllowsIsNotCut) {
  const std::wstring longText(300'000, L'x');
  for (const auto encoding : {IniFile::Encoding::kAnsi, IniFile::Encoding::kUtf16}) {
    WriteTexts(IniFile().Section(L"Mode").Key(L"Eco", longText).In(encoding));
    CWideString text;
    EXPECT_TRUE(CModeChangeResource().GetModeName(L"Eco", &text));
    EXPECT_EQ(text.length(), longText.size());
  }
}

TEST_F(CModeChangeResourceTest, NamesOfModesGroupsAndItemsAreTheKeys) {
  WriteTexts(IniFile()
                 .Section(L"Mode")
                 .Key(L"Eco", L"Economy")
                 .Key(L"\u7701\u96FB\u529B", L"\u7701\u96FB\u529B\u30E2\u30FC\u30C9")
                 .Section(L"SettingGroup")
                 .Key(L"Eco", L"Saving")
                 .Section(L"SettingItem")
                 .Key(L"Eco", L"Savings")
                 .Section(kDialog)
                 .Key(L"LockedSettingItemMemo_ByEco", L"Saved")
                 .Key(L"LockedSettingItemMemo_By", L"Nothing"));
  CModeChangeResource resource;
  CWideString text;
  EXPECT_TRUE(resource.GetModeName(L"eco", &text));
  EXPECT_EQ(text, L"Economy");
  EXPECT_TRUE(resource.GetModeName(L"\u7701\u96FB\u529B", &text));
  EXPECT_EQ(text, L"\u7701\u96FB\u529B\u30E2\u30FC\u30C9");
  EXPECT_TRUE(resource.GetModeName(L"Cradle", &text));
  EXPECT_EQ(text, L"") << "a mode without a key";
  EXPECT_TRUE(resource.GetSettingGroupName(L"Eco", &text));
  EXPECT_EQ(text, L"Saving");
  EXPECT_TRUE(resource.GetSettingItemStringResource(L"Eco", &text));
  EXPECT_EQ(text, L"Savings");
  EXPECT_TRUE(
      resource.GetModeSettingsDialogLockedSettingItemMemoBySpecificSettingItem(L"Eco", &text));
  EXPECT_EQ(text, L"Saved");
}

TEST_F(CModeChangeResourceTest, StatusesAreNumberedEachInItsWay) {
  WriteTexts(IniFile()
                 .Section(L"Common")
                 .Key(L"ModeStatus0", L"Off")
                 .Key(L"ModeStatus1", L"On")
                 .Key(L"ModeStatus4294967295", L"Last")
                 .Key(L"ModeStatus-1", L"Wrong")
                 .Section(kAnnouncement)
                 .Key(L"DetailInformation_ModeStatus0", L"Switched off")
                 .Key(L"DetailInformation_ModeStatus1", L"Switched on")
                 .Key(L"DetailInformation_ModeStatus-1", L"Last switched")
                 .Key(L"DetailInformation_ModeStatus4294967295", L"Wrong"));
  struct Row {
    UINT status;
    const wchar_t* name;
    const wchar_t* detail;
  };
  CModeChangeResource resource;
  for (const Row& row : {Row{0, L"Off", L"Switched off"}, Row{1, L"On", L"Switched on"},
                         Row{2, L"", L""}, Row{0xFFFF'FFFF, L"Last", L"Last switched"}}) {
    CWideString text = L"before";
    EXPECT_TRUE(resource.GetModeStatusName(row.status, &text));
    EXPECT_EQ(text, row.name) << row.status;
    EXPECT_TRUE(resource.GetAnnounceModeIsChangedDialogDetailInformation(row.status, &text));
    EXPECT_EQ(text, row.detail) << row.status;
  }
}

TEST_F(CModeChangeResourceTest, NoTextCanBeReadIntoNothing) {
  WriteTexts(IniFile());
  CModeChangeResource resource;
  for (const Getter& getter : kGetters) {
    SCOPED_TRACE(Text::ToUtf8(getter.name));
    EXPECT_FALSE(getter.ask(resource, nullptr));
    EXPECT_EQ(traces.Take(), (Traces{{FullName(getter.name), getter.line}}));
  }
}

TEST_F(CModeChangeResourceTest, NoTextHasNoName) {
  WriteTexts(IniFile()
                 .Section(kDialog)
                 .Key(L"LockedSettingItemMemo_By", L"Nothing")
                 .Key(L"LockedSettingItemMemo_By(null)", L"Nothing"));
  struct Row {
    const wchar_t* name;
    std::uint32_t line;
    bool (CModeChangeResource::*get)(const wchar_t* name, CWideString* text);
  };
  const Row rows[] = {
      {L"GetModeName", 138, &Resource::GetModeName},
      {L"GetSettingGroupName", 150, &Resource::GetSettingGroupName},
      {L"GetSettingItemStringResource", 162, &Resource::GetSettingItemStringResource},
      {L"GetModeSettingsDialogLockedSettingItemMemoBySpecificSettingItem", 246,
       &Resource::GetModeSettingsDialogLockedSettingItemMemoBySpecificSettingItem},
  };
  CModeChangeResource resource;
  for (const Row& row : rows) {
    SCOPED_TRACE(Text::ToUtf8(row.name));
    CWideString text = L"before";
    EXPECT_FALSE((resource.*row.get)(nullptr, &text));
    EXPECT_EQ(text, L"before");
    EXPECT_EQ(traces.Take(), (Traces{{FullName(row.name), row.line}}));
    EXPECT_FALSE((resource.*row.get)(nullptr, nullptr));
    EXPECT_EQ(traces.Take(), (Traces{{FullName(row.name), row.line}}));
    // The other null argument.
    EXPECT_FALSE((resource.*row.get)(L"Name", nullptr));
    EXPECT_EQ(traces.Take(), (Traces{{FullName(row.name), row.line}}));
  }
}

TEST_F(CModeChangeResourceTest, ReadsItsTextsThroughTheReplaceableOperations) {
  class Substitute : public CModeChangeResource {
   public:
    DWORD GetIniString(const wchar_t*, const wchar_t*, wchar_t* buffer, DWORD) override {
      buffer[0] = L'7';
      buffer[1] = L'\0';
      return 1;
    }
  };
  WriteTexts(IniFile().Section(L"Common"));
  Substitute resource;
  EXPECT_EQ(Read(Get<&Resource::GetApplicationName>, resource), L"7");
  std::int32_t size = -1;
  EXPECT_TRUE(resource.GetFontSizeInUpdatePcEnvironmentDialog(0, &size));
  EXPECT_EQ(size, 7);
}

// Font sizes

TEST_F(CModeChangeResourceTest, EachFontHasItsOwnSize) {
  IniFile file;
  std::int32_t next = 8;
  for (const FontSizes& fonts : kFontSizes) {
    file.Section(fonts.section);
    for (const wchar_t* key : fonts.keys) file.Key(key, next++);
  }
  WriteTexts(file);
  CModeChangeResource resource;
  std::int32_t expected = 8;
  for (const FontSizes& fonts : kFontSizes) {
    for (UINT index = 0; index < fonts.keys.size(); ++index) {
      std::int32_t size = -1;
      EXPECT_TRUE((resource.*fonts.get)(index, &size));
      EXPECT_EQ(size, expected++) << Text::ToUtf8(fonts.keys[index]);
    }
  }
}

TEST_F(CModeChangeResourceTest, ASizeMayBeHexadecimalAndIsZeroWhereThereIsNone) {
  const std::pair<const wchar_t*, std::int32_t> rows[] = {
      {L"0x0C", 12}, {L"12", 12}, {L"-3", -3}, {L"", 0}, {L"large", 0}};
  for (const auto& [stored, expected] : rows) {
    WriteTexts(IniFile().Section(L"FontSize_ModeSetingsDialog").Key(L"ButtonsSize", stored));
    CModeChangeResource resource;
    std::int32_t size = -1;
    EXPECT_TRUE(resource.GetFontSizeInModeSettingsDialog(9, &size));
    EXPECT_EQ(size, expected) << Text::ToUtf8(stored);
    EXPECT_TRUE(resource.GetFontSizeInModeSettingsDialog(8, &size));
    EXPECT_EQ(size, 0) << "a key that is not there";
    EXPECT_TRUE(resource.GetFontSizeAnnounceModeIsChangedDialog(4, &size));
    EXPECT_EQ(size, 0) << "a section that is not there";
  }
}

TEST_F(CModeChangeResourceTest, WithoutAFileEverySizeIsZero) {
  CModeChangeResource resource;
  EXPECT_EQ(traces.Take(), Traces{kNotFound});
  for (const FontSizes& fonts : kFontSizes) {
    for (UINT index = 0; index < fonts.keys.size(); ++index) {
      std::int32_t size = -1;
      EXPECT_TRUE((resource.*fonts.get)(index, &size));
      EXPECT_EQ(size, 0);
    }
  }
}

TEST_F(CModeChangeResourceTest, AnIndexWithoutAFontFailsAndIsTraced) {
  WriteTexts(IniFile());
  CModeChangeResource resource;
  for (const FontSizes& fonts : kFontSizes) {
    const UINT end = static_cast<UINT>(fonts.keys.size());
    for (const UINT index : {end, end + 1, 0x8000'0000U, 0xFFFF'FFFFU}) {
      SCOPED_TRACE(Text::ToUtf8(fonts.name));
      std::int32_t size = -1;
      EXPECT_FALSE((resource.*fonts.get)(index, &size));
      EXPECT_EQ(size, -1);
      EXPECT_EQ(traces.Take(),
                (Traces{{FullName(fonts.name), fonts.rangeLine, std::to_wstring(index)}}));
    }
  }
}

TEST_F(CModeChangeResourceTest, NoSizeCanBeReadIntoNothing) {
  WriteTexts(IniFile());
  CModeChangeResource resource;
  for (const FontSizes& fonts : kFontSizes) {
    for (const UINT index : {0U, 100U}) {
      SCOPED_TRACE(Text::ToUtf8(fonts.name));
      EXPECT_FALSE((resource.*fonts.get)(index, nullptr));
      EXPECT_EQ(traces.Take(), (Traces{{FullName(fonts.name), fonts.nullLine}}));
    }
  }
}

// The user's language

TEST_F(CModeChangeResourceTestEachLocale, TextsAreInTheUsersLanguage) {
  for (const wchar_t* locale : {L"en-US", L"ja-JP", L"de-DE", L"eo"}) {
    sandbox.Write(std::filesystem::path(locale) / kFile,
                  IniFile().Section(L"Common").Key(L"ApplicationName", locale));
  }
  const std::wstring locale = Sandbox::UserLocale();
  EXPECT_EQ(Read(Get<&Resource::GetApplicationName>),
            locale == L"de-AT" ? L"de-DE" : locale.c_str());
}

TEST_F(CModeChangeResourceTestEachLocale, TextsAreEnglishWhereTheUsersLanguageIsMissing) {
  WriteTexts(IniFile().Section(L"Common").Key(L"ApplicationName", L"Mode Change"));
  sandbox.Write(kFile, IniFile().Section(L"Common").Key(L"ApplicationName", L"Neutral"));
  EXPECT_EQ(Read(Get<&Resource::GetApplicationName>), L"Mode Change");
}

// What a question costs

TEST_F(CModeChangeResourceTest, ATextCostsTheFilesSizeAndOneRead) {
  WriteTexts(IniFile());
  CModeChangeResource resource;
  for (const Getter& getter : kGetters) {
    interposition.ClearCalls();
    (void)Read(getter.ask, resource);
    EXPECT_THAT(CalledFunctions(), ElementsAre("CreateFileW", "GetFileSizeEx", "CloseHandle",
                                               "GetPrivateProfileStringW"))
        << Text::ToUtf8(getter.name);
  }
}

TEST_F(CModeChangeResourceTest, AFontSizeCostsOneReadAndItsConversion) {
  WriteTexts(IniFile().Section(L"FontSize_UpdatePcEnvironmentDialog").Key(L"ProcessingSize", 9));
  CModeChangeResource resource;
  interposition.ClearCalls();
  std::int32_t size = -1;
  (void)resource.GetFontSizeInUpdatePcEnvironmentDialog(0, &size);
  EXPECT_THAT(CalledFunctions(), ElementsAre("GetPrivateProfileStringW", "StrToIntExW"));
}

TEST_F(CModeChangeResourceTest, MakingTheObjectCostsTheSearch) {
  sandbox.SetUserLocale(L"en-US");
  WriteTexts(IniFile());
  interposition.ClearCalls();
  { const CModeChangeResource resource; }
  EXPECT_THAT(CalledFunctions(),
              ElementsAre("EventRegister", "GetModuleHandleExW", "GetModuleFileNameW",
                          "PathRemoveFileSpecW", "GetUserDefaultLocaleName", "GetFileAttributesW",
                          "EventUnregister"));
}

}  // namespace
