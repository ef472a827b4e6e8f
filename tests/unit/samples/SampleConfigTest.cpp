#include <windows.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <cwchar>
#include <cwctype>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "config/CModeChangeConfig.h"
#include "config/CModeChangeResource.h"
#include "config/CModeChangeSettings.h"
#include "languages/SampleLanguages.h"
#include "support/ModeChangeTest.h"

namespace {

using ::testing::IsEmpty;
using ::testing::Not;
using ::testing::SizeIs;
using ::testing::StartsWith;
using ::testing::UnorderedElementsAreArray;

const std::filesystem::path kSampleFolder = std::filesystem::absolute(SAMPLE_CONFIG_FOLDER);

constexpr const wchar_t* kModes[] = {L"Normal", L"Eco", L"Cradle", L"Custom", L"WirelessOff"};
constexpr const wchar_t* kGroups[] = {L"Power", L"Display", L"Input"};
constexpr const wchar_t* kWindowsSuffixes[] = {L"_Win7", L"_Win8OrLater"};

struct SampleItem {
  const wchar_t* name;
  int valueCount;
};
constexpr SampleItem kItems[] = {
    {L"PowerScheme", 3},   {L"VisualEffects", 2},       {L"ScreenSaver", 3},
    {L"PointerSpeed", 20}, {L"KeyboardRepeatDelay", 4},
};

/// One INI file as Windows reads it.
class SampleFile {
 public:
  explicit SampleFile(const std::filesystem::path& name) : path(kSampleFolder / name) {}

  [[nodiscard]] std::vector<std::wstring> Sections() const { return GetList(nullptr, nullptr); }
  [[nodiscard]] std::vector<std::wstring> Keys(const std::wstring& section) const {
    return GetList(section.c_str(), nullptr);
  }
  /// Empty for a key that is not there.
  [[nodiscard]] std::wstring Value(const std::wstring& section, const std::wstring& key) const {
    return Get(section.c_str(), key.c_str());
  }
  /// -1000 for a key that is not there or holds no number.
  [[nodiscard]] int Number(const std::wstring& section, const std::wstring& key) const {
    const std::wstring value = Value(section, key);
    wchar_t* end = nullptr;
    const long number = std::wcstol(value.c_str(), &end, 10);
    return value.empty() || *end != L'\0' ? -1000 : static_cast<int>(number);
  }

 private:
  [[nodiscard]] std::wstring Get(const wchar_t* section, const wchar_t* key) const {
    std::wstring text(std::filesystem::file_size(path), L'\0');
    text.resize(::GetPrivateProfileStringW(section, key, L"", text.data(),
                                           static_cast<DWORD>(text.size()), path.c_str()));
    return text;
  }
  [[nodiscard]] std::vector<std::wstring> GetList(const wchar_t* section,
                                                  const wchar_t* key) const {
    const std::wstring text = Get(section, key);
    std::vector<std::wstring> list;
    for (std::size_t at = 0; at < text.size(); at += list.back().size() + 1) {
      list.emplace_back(text.c_str() + at);
    }
    return list;
  }

  std::filesystem::path path;
};

SampleFile TextFile(const wchar_t* locale) {
  return SampleFile(std::filesystem::path(locale) / L"ModeChange.Resource.ini");
}

/// What is asked of one text.
struct TextRule {
  enum Kind {
    kPlain,
    kLines,
    kControl
  };  // kControl: a button or check box, may have an access key
  Kind kind = kPlain;
  std::multiset<std::wstring> placeholders = {};
};

using TextRules = std::map<std::pair<std::wstring, std::wstring>, TextRule>;

/// Every text there has to be, by section and key.
TextRules GetTextRules() {
  const std::wstring settings = L"ModeSettingsDialog";
  const std::wstring announcement = L"AnnounceModeIsChangedDialog";
  TextRules rules = {
      {{L"Common", L"ApplicationName"}, {}},
      {{L"Common", L"ModeStatus0"}, {}},
      {{L"Common", L"ModeStatus1"}, {}},
      {{L"Common", L"SettingItemStatus_DoNothing"}, {}},
      {{settings, L"DialogTitle"}, {}},
      {{settings, L"RestoreDefaultSettingsButton"}, {TextRule::kControl}},
      {{settings, L"AutoONOFFSetting"}, {TextRule::kControl}},
      {{settings, L"SliderDown"}, {}},
      {{settings, L"SliderUp"}, {}},
      {{settings, L"LockedSettingItemMemo"}, {}},
      {{settings, L"ShowAnnounceModeIsChangedDialog"}, {TextRule::kControl}},
      {{settings, L"OKButton"}, {TextRule::kControl}},
      {{settings, L"CancelButton"}, {TextRule::kControl}},
      {{settings, L"ApplyButton"}, {TextRule::kControl}},
      {{settings, L"Message_OnChangeMode_SettingsIsChanged"}, {TextRule::kLines}},
      {{settings, L"Message_OnSaveSettings_SettingsIsNotCorrect"},
       {TextRule::kLines, {L"%SETTINGITEM%"}}},
      {{settings, L"Error_Unknown"}, {TextRule::kLines}},
      {{settings, L"Error_FailedSaveSettings"}, {TextRule::kLines}},
      {{settings, L"Error_FailedUpdatePcEnvironment"}, {TextRule::kLines}},
      {{L"UpdatePcEnvironmentDialog", L"Processing"}, {TextRule::kLines}},
      {{announcement, L"Description"}, {TextRule::kLines}},
      {{announcement, L"DetailInformation_ModeStatus0"},
       {TextRule::kLines, {L"%MODE%", L"%CHENGED_SETTINGITEM_INFORMATION%"}}},
      {{announcement, L"DetailInformation_ModeStatus1"},
       {TextRule::kLines, {L"%MODE%", L"%CHENGED_SETTINGITEM_INFORMATION%"}}},
      {{announcement, L"DetailInformation_ChangedSettingItem"},
       {TextRule::kLines, {L"%SETTINGITEM%", L"%SETTINGITEMVALUE%"}}},
      {{announcement, L"DetailInformation_NoChangedSettingItem"}, {TextRule::kLines, {L"%MODE%"}}},
      {{announcement, L"NotShowThisDialog"}, {TextRule::kControl}},
      {{announcement, L"OKButton"}, {TextRule::kControl}},
      {{announcement, L"CancelButton"}, {TextRule::kControl}},
  };
  for (const wchar_t* mode : kModes) rules[{L"Mode", mode}] = {};
  for (const wchar_t* group : kGroups) rules[{L"SettingGroup", group}] = {};
  for (const SampleItem& item : kItems) {
    const std::wstring name = item.name;
    rules[{settings, L"LockedSettingItemMemo_By" + name}] = {};
    rules[{L"SettingItem", name + L"_Name"}] = {};
    for (int value = 0; value < item.valueCount; ++value) {
      rules[{L"SettingItem", name + L"_Value" + std::to_wstring(value)}] = {};
    }
  }
  return rules;
}

const std::map<std::wstring, std::set<std::wstring>> kFontSizes = {
    {L"FontSize_ModeSetingsDialog",
     {L"DialogTitleSize", L"ModeSelectionSize", L"RestoreDefaultSettingsSize", L"AutoONOFFSize",
      L"SettingItemListGroupTitleSize", L"SettingItemListSettingItemNameSize",
      L"SettingItemListSettingItemValueSize", L"SliderUpDownSize",
      L"ShowAnnounceModeIsChangedDialogSize", L"ButtonsSize"}},
    {L"FontSize_UpdatePcEnvironmentDialog", {L"ProcessingSize"}},
    {L"FontSize_AnnounceModeIsChangedDialog",
     {L"DialogTitleSize", L"DescriptionSize", L"DetailInformationSize", L"NotShowThisDialogSize",
      L"ButtonsSize"}},
};

/// The item that the user cannot edit in a mode; null where there is none.
const wchar_t* LockedItem(const std::wstring& mode) {
  if (mode == L"Eco") return L"PowerScheme";
  return mode == L"Cradle" ? L"KeyboardRepeatDelay" : nullptr;
}

/// Everything of the form "%NAME%"; a lone percent sign counts as a placeholder "%".
std::multiset<std::wstring> FindPlaceholders(const std::wstring& text) {
  std::multiset<std::wstring> found;
  for (std::size_t at = text.find(L'%'); at != std::wstring::npos; at = text.find(L'%', at)) {
    const std::size_t end = text.find(L'%', at + 1);
    const std::size_t next = end == std::wstring::npos ? at + 1 : end + 1;
    found.insert(text.substr(at, next - at));
    at = next;
  }
  return found;
}

std::string ReadAll(const std::filesystem::path& path) {
  std::ifstream stream(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(stream), {}};
}

const SampleItem* FindItem(const std::wstring& name) {
  const auto* item =
      std::find_if(std::begin(kItems), std::end(kItems),
                   [&name](const SampleItem& candidate) { return name == candidate.name; });
  return item != std::end(kItems) ? item : nullptr;
}

/// Whether -1, or a value that the item has.
bool IsValue(const SampleItem& item, int value) {
  return value >= -1 && value < item.valueCount;
}

/// The sample beside the library, as it would be on a machine.
class SampleConfigTest : public ModeChangeTest {
 protected:
  SampleConfigTest() {
    for (const std::filesystem::path& name : Files()) {
      sandbox.Write(name, ReadAll(kSampleFolder / name));
    }
  }

  static std::vector<std::filesystem::path> Files() {
    std::vector<std::filesystem::path> names;
    for (const auto& entry : std::filesystem::recursive_directory_iterator(kSampleFolder)) {
      if (entry.is_regular_file()) names.push_back(entry.path().lexically_relative(kSampleFolder));
    }
    return names;
  }
};

class SampleConfigTestEachWindows : public SampleConfigTest {};
class SampleConfigTestEachLocale : public SampleConfigTest {};

TEST_F(SampleConfigTest, HasTheFilesThatAMachineNeeds) {
  std::set<std::wstring> names;
  for (const std::filesystem::path& name : Files()) names.insert(name.generic_wstring());
  std::set<std::wstring> expected = {L"ModeChange.Config.ini", L"ModeChange.UsableModeList.ini",
                                     L"ModeChange.DefaultSettings.ini"};
  for (const auto& [locale, script] : kSampleLanguages) {
    expected.insert(std::wstring(locale) + L"/ModeChange.Resource.ini");
  }
  EXPECT_EQ(names, expected);
}

TEST_F(SampleConfigTest, IsUtf16WithMarkAndWindowsLineEnds) {
  for (const std::filesystem::path& name : Files()) {
    SCOPED_TRACE(name.string());
    const std::string bytes = ReadAll(kSampleFolder / name);
    ASSERT_EQ(bytes.substr(0, 2), "\xFF\xFE");
    ASSERT_EQ(bytes.size() % 2, 0U);
    std::wstring text(bytes.size() / 2 - 1, L'\0');
    std::memcpy(text.data(), bytes.data() + 2, bytes.size() - 2);
    EXPECT_EQ(text.substr(text.size() - 2), L"\r\n");
    EXPECT_EQ(std::count(text.begin(), text.end(), L'\n'),
              std::count(text.begin(), text.end(), L'\r'));
    for (std::size_t at = text.find(L'\n'); at != std::wstring::npos;
         at = text.find(L'\n', at + 1)) {
      EXPECT_EQ(text[at - 1], L'\r') << "at character " << at;
    }
  }
}

TEST_F(SampleConfigTest, OffersAModeOfEachType) {
  const CModeChangeConfig config;
  std::vector<CWideString> allModes;
  std::vector<CWideString> modes;
  ASSERT_TRUE(config.GetAllModeList(&allModes));
  ASSERT_TRUE(config.GetUsableModeList(&modes));
  EXPECT_EQ(allModes, std::vector<CWideString>(std::begin(kModes), std::end(kModes)));
  EXPECT_EQ(modes, allModes);

  std::map<std::wstring, UINT> types;
  for (const CWideString& mode : modes) {
    UINT type = 99;
    EXPECT_TRUE(config.GetModeType(mode.c_str(), &type));
    types[mode.c_str()] = type;
  }
  EXPECT_EQ(types,
            (std::map<std::wstring, UINT>{{L"Normal", CModeChangeConfig::kNormalMode},
                                          {L"Eco", CModeChangeConfig::kEcoMode},
                                          {L"Cradle", CModeChangeConfig::kCradleMode},
                                          {L"Custom", CModeChangeConfig::kCustomMode},
                                          {L"WirelessOff", CModeChangeConfig::kWirelessOffMode}}));
}

TEST_F(SampleConfigTest, NamesAnIconForEachStatusAndAllowsTheWirelessLamp) {
  const CModeChangeConfig config;
  CWideString off;
  CWideString on;
  EXPECT_TRUE(config.GetModeStatusIconKeyName(0, &off));
  EXPECT_TRUE(config.GetModeStatusIconKeyName(1, &on));
  EXPECT_EQ(off, L"IconModeOff");
  EXPECT_EQ(on, L"IconModeOn");
  EXPECT_TRUE(config.EnableToChangeWirelessLEDStatusInWin7());
}

TEST_F(SampleConfigTest, PutsEachSettingItemIntoOneGroup) {
  const CModeChangeConfig config;
  std::vector<CWideString> items;
  std::vector<CWideString> groups;
  ASSERT_TRUE(config.GetAllSettingItemList(&items));
  ASSERT_TRUE(config.GetSettingGroupList(&groups));
  EXPECT_EQ(groups, std::vector<CWideString>(std::begin(kGroups), std::end(kGroups)));

  std::vector<CWideString> itemsOfGroups;
  for (const CWideString& group : groups) {
    const std::size_t before = itemsOfGroups.size();
    EXPECT_TRUE(config.GetSettingItemListInSettingGroup(group.c_str(), &itemsOfGroups));
    EXPECT_GT(itemsOfGroups.size(), before)
        << "an empty group: " << ::testing::PrintToString(group);
  }
  std::vector<CWideString> expected;
  for (const SampleItem& item : kItems) expected.emplace_back(item.name);
  EXPECT_EQ(items, expected);
  EXPECT_EQ(itemsOfGroups, expected);
}

TEST_F(SampleConfigTest, NamesAnEngineForEachSettingItem) {
  const CModeChangeConfig config;
  for (const SampleItem& item : kItems) {
    CWideString path;
    EXPECT_TRUE(config.GetSettingItemEnginePath(item.name, &path));
    EXPECT_EQ(std::filesystem::path(path.c_str()),
              sandbox.LibraryFolder() / L"Engines" / (std::wstring(item.name) + L".dll"));
  }
}

TEST_F(SampleConfigTest, GivesEachSectionOneMeaning) {
  std::vector<std::wstring> names = {L"ModeList",        L"ModeStatus0",      L"ModeStatus1",
                                     L"SettingItemList", L"SettingGroupList", L"Common"};
  names.insert(names.end(), std::begin(kModes), std::end(kModes));
  names.insert(names.end(), std::begin(kGroups), std::end(kGroups));
  for (const SampleItem& item : kItems) names.emplace_back(item.name);
  EXPECT_THAT((std::set<std::wstring>(names.begin(), names.end())), SizeIs(names.size()));

  const std::vector<std::wstring> sections = SampleFile(L"ModeChange.Config.ini").Sections();
  EXPECT_THAT((std::set<std::wstring>(sections.begin(), sections.end())), SizeIs(sections.size()));
  // The ordinary mode has nothing to say.
  std::erase(names, L"Normal");
  EXPECT_THAT(sections, UnorderedElementsAreArray(names));
}

TEST_F(SampleConfigTest, LocksOnlyItemsBelowByValuesThatTheyHave) {
  const CModeChangeConfig config;
  std::set<std::wstring> lockingItems;
  for (const SampleItem& item : kItems) {
    SCOPED_TRACE(Text::ToUtf8(item.name));
    bool hasLock = false;
    std::int32_t lockValue = 0;
    std::vector<CWideString> lockedItems;
    std::vector<std::int32_t> lockedValues;
    ASSERT_TRUE(config.DoesSettingItemaHaveValueLockOtherSettingItem(
        item.name, &hasLock, &lockValue, &lockedItems, &lockedValues));
    if (!hasLock) continue;
    lockingItems.insert(item.name);
    EXPECT_TRUE(IsValue(item, lockValue)) << lockValue;
    EXPECT_THAT(lockedItems, Not(IsEmpty()));
    for (std::size_t i = 0; i < lockedItems.size(); ++i) {
      const SampleItem* locked = FindItem(lockedItems[i].c_str());
      ASSERT_NE(locked, nullptr) << ::testing::PrintToString(lockedItems[i]);
      EXPECT_GT(locked, &item) << "The locked item stands above.";
      EXPECT_TRUE(IsValue(*locked, lockedValues[i])) << lockedValues[i];
    }
  }
  EXPECT_EQ(lockingItems, (std::set<std::wstring>{L"PowerScheme", L"VisualEffects"}));
}

TEST_F(SampleConfigTest, HasDefaultsForEachModeOnEachWindows) {
  const SampleFile defaults(L"ModeChange.DefaultSettings.ini");
  std::set<std::wstring> sections = {L"Common"};
  for (const wchar_t* mode : kModes) {
    for (const wchar_t* suffix : kWindowsSuffixes) {
      const std::wstring section = std::wstring(mode) + suffix;
      SCOPED_TRACE(Text::ToUtf8(section));
      sections.insert(section);
      std::set<std::wstring> keys = {L"AutoONOFF", L"LockedSettingItemCount"};
      for (const SampleItem& item : kItems) {
        keys.insert(item.name);
        const int value = defaults.Number(section, item.name);
        EXPECT_TRUE(IsValue(item, value)) << Text::ToUtf8(item.name) << '=' << value;
      }
      EXPECT_EQ(defaults.Number(section, L"AutoONOFF"), std::wstring(mode) == L"Cradle" ? 1 : 0);
      const int lockedCount = defaults.Number(section, L"LockedSettingItemCount");
      EXPECT_EQ(lockedCount, LockedItem(mode) != nullptr ? 1 : 0);
      for (int i = 0; i < lockedCount; ++i) {
        const std::wstring key = L"LockedSettingItem" + std::to_wstring(i);
        keys.insert(key);
        EXPECT_NE(FindItem(defaults.Value(section, key)), nullptr)
            << Text::ToUtf8(defaults.Value(section, key));
      }
      const std::vector<std::wstring> present = defaults.Keys(section);
      EXPECT_THAT(present, UnorderedElementsAreArray(keys));
    }
  }
  EXPECT_THAT(defaults.Sections(), UnorderedElementsAreArray(sections));
}

TEST_F(SampleConfigTest, HasDefaultsThatAgreeWithTheLockRules) {
  const SampleFile config(L"ModeChange.Config.ini");
  const SampleFile defaults(L"ModeChange.DefaultSettings.ini");
  int rulesInForce = 0;
  for (const wchar_t* mode : kModes) {
    for (const wchar_t* suffix : kWindowsSuffixes) {
      const std::wstring section = std::wstring(mode) + suffix;
      for (const SampleItem& item : kItems) {
        if (defaults.Number(section, item.name) !=
            config.Number(item.name, L"SettingItemValueToLockOtherSettingItem")) {
          continue;
        }
        ++rulesInForce;
        const int count = config.Number(item.name, L"LockedOtherSettingItemCount");
        for (int i = 0; i < count; ++i) {
          const std::wstring number = std::to_wstring(i);
          const std::wstring locked = config.Value(item.name, L"LockedOtherSettingItem" + number);
          EXPECT_EQ(defaults.Number(section, locked),
                    config.Number(item.name, L"LockedOtherSettingItemValue" + number))
              << Text::ToUtf8(section) << ": " << Text::ToUtf8(locked) << " is locked by "
              << Text::ToUtf8(item.name);
        }
      }
    }
  }
  EXPECT_EQ(rulesInForce, 4) << "Both rules in Eco, on each Windows.";
}

TEST_F(SampleConfigTestEachWindows, GivesTheDefaultsOfThisWindows) {
  const SampleFile file(L"ModeChange.DefaultSettings.ini");
  const std::wstring suffix = kWindowsSuffixes[Sandbox::IsWindows8OrLater() ? 1 : 0];
  const CModeChangeSettings settings;
  for (const wchar_t* mode : kModes) {
    for (const SampleItem& item : kItems) {
      SCOPED_TRACE(Text::ToUtf8(mode) + " " + Text::ToUtf8(item.name));
      std::int32_t value = -1000;
      bool locked = true;
      EXPECT_TRUE(settings.GetSettingItemValue(mode, item.name, &value));
      EXPECT_TRUE(settings.IsSetingItemValueLocked(mode, item.name, &locked));
      EXPECT_EQ(value, file.Number(mode + suffix, item.name));
      const wchar_t* const lockedItem = LockedItem(mode);
      EXPECT_EQ(locked, lockedItem != nullptr && std::wstring(item.name) == lockedItem);
    }
    bool autoOnOff = false;
    EXPECT_TRUE(settings.GetAutoONOFFSetting(mode, &autoOnOff));
    EXPECT_EQ(autoOnOff, std::wstring(mode) == L"Cradle");
  }
  bool show = false;
  EXPECT_TRUE(settings.GetAnnounceModeIsChangedDialogDisplaySetting(&show));
  EXPECT_TRUE(show);
}

TEST_F(SampleConfigTest, HasEveryTextAndSizeInEachLanguage) {
  std::set<std::pair<std::wstring, std::wstring>> expected;
  for (const auto& [place, rule] : GetTextRules()) expected.insert(place);
  for (const auto& [section, keys] : kFontSizes) {
    for (const std::wstring& key : keys) expected.emplace(section, key);
  }
  for (const auto& [locale, script] : kSampleLanguages) {
    SCOPED_TRACE(Text::ToUtf8(locale));
    const SampleFile file = TextFile(locale);
    std::vector<std::pair<std::wstring, std::wstring>> present;
    for (const std::wstring& section : file.Sections()) {
      for (const std::wstring& key : file.Keys(section)) present.emplace_back(section, key);
    }
    EXPECT_THAT(present, UnorderedElementsAreArray(expected));
    for (const auto& [section, key] : present) {
      EXPECT_NE(file.Value(section, key), L"") << Text::ToUtf8(section) << "/" << Text::ToUtf8(key);
    }
  }
}

TEST_F(SampleConfigTest, HasTextsWithTheRightMarks) {
  for (const auto& [locale, script] : kSampleLanguages) {
    const SampleFile file = TextFile(locale);
    std::map<std::wstring, std::wstring> accessKeys;  // of each dialog, one after the other
    for (const auto& [place, rule] : GetTextRules()) {
      const std::wstring text = file.Value(place.first, place.second);
      SCOPED_TRACE(Text::ToUtf8(locale) + ": " + Text::ToUtf8(place.second) + "=" +
                   Text::ToUtf8(text));
      EXPECT_EQ(FindPlaceholders(text), rule.placeholders);
      if (rule.kind != TextRule::kLines) {
        EXPECT_EQ(text.find(L'\\'), std::wstring::npos) << "The text has one line.";
      }
      const std::size_t mark = text.find(L'&');
      if (mark == std::wstring::npos) continue;
      EXPECT_EQ(rule.kind, TextRule::kControl) << "The text can't have an access key.";
      EXPECT_EQ(text.find(L'&', mark + 1), std::wstring::npos)
          << "There is one access key at most.";
      const auto key = static_cast<wchar_t>(std::towlower(text[mark + 1]));
      std::wstring& taken = accessKeys[place.first];
      EXPECT_EQ(taken.find(key), std::wstring::npos) << "The dialog has this access key already.";
      taken += key;
    }
    EXPECT_EQ(accessKeys[L"ModeSettingsDialog"].size(), 4U) << Text::ToUtf8(locale);
    EXPECT_EQ(accessKeys[L"AnnounceModeIsChangedDialog"].size(), 1U) << Text::ToUtf8(locale);
  }
}

TEST_F(SampleConfigTest, HasReadableFontSizesInEachLanguage) {
  using GetSize = bool (CModeChangeResource::*)(UINT, std::int32_t*);
  constexpr std::pair<GetSize, UINT> kDialogs[] = {
      {&CModeChangeResource::GetFontSizeInModeSettingsDialog, 10},
      {&CModeChangeResource::GetFontSizeInUpdatePcEnvironmentDialog, 1},
      {&CModeChangeResource::GetFontSizeAnnounceModeIsChangedDialog, 5},
  };
  for (const auto& [locale, script] : kSampleLanguages) {
    sandbox.SetUserLocale(locale);
    CModeChangeResource resource;
    for (const auto& [getSize, count] : kDialogs) {
      for (UINT i = 0; i < count; ++i) {
        std::int32_t size = 0;
        EXPECT_TRUE((resource.*getSize)(i, &size));
        EXPECT_GE(size, 8) << Text::ToUtf8(locale) << ", font " << i;
        EXPECT_LE(size, 24) << Text::ToUtf8(locale) << ", font " << i;
      }
    }
  }
}

TEST_F(SampleConfigTest, KeepsTheValueAndTheNoteOfALockApart) {
  for (const auto& [locale, script] : kSampleLanguages) {
    SCOPED_TRACE(Text::ToUtf8(locale));
    sandbox.SetUserLocale(locale);
    CModeChangeResource resource;
    CWideString memo;
    CWideString memoByItem;
    EXPECT_TRUE(resource.GetModeSettingsDialogLockedSettingItemMemo(&memo));
    EXPECT_TRUE(resource.GetModeSettingsDialogLockedSettingItemMemoBySpecificSettingItem(
        L"PowerScheme", &memoByItem));
    // The note is put right behind the value's name; wide brackets bring their own space.
    const std::wstring note = memo.c_str();
    const std::wstring start = note.starts_with(L'（') ? L"（" : L" (";
    EXPECT_THAT(note, StartsWith(start));
    EXPECT_THAT(std::wstring(memoByItem.c_str()), StartsWith(start));
  }
}

TEST_F(SampleConfigTestEachLocale, SpeaksTheUsersLanguage) {
  const std::map<std::wstring, const wchar_t*> folders = {
      {L"en-US", L"en-US"}, {L"ja-JP", L"ja-JP"}, {L"de-AT", L"de-DE"}};
  const auto folder = folders.find(Sandbox::UserLocale());
  const SampleFile file = TextFile(folder != folders.end() ? folder->second : L"en-US");

  CModeChangeResource resource;
  CWideString text;
  EXPECT_TRUE(resource.GetApplicationName(&text));
  EXPECT_EQ(text, file.Value(L"Common", L"ApplicationName").c_str());
  for (const wchar_t* mode : kModes) {
    EXPECT_TRUE(resource.GetModeName(mode, &text));
    EXPECT_EQ(text, file.Value(L"Mode", mode).c_str());
  }
  for (const wchar_t* group : kGroups) {
    EXPECT_TRUE(resource.GetSettingGroupName(group, &text));
    EXPECT_EQ(text, file.Value(L"SettingGroup", group).c_str());
  }
  EXPECT_TRUE(resource.GetSettingItemStringResource(L"PointerSpeed_Value19", &text));
  EXPECT_EQ(text, file.Value(L"SettingItem", L"PointerSpeed_Value19").c_str());
}

}  // namespace
