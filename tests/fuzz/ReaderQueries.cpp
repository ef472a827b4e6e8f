#include "fuzz/ReaderQueries.h"

#include <gmock/gmock.h>
#include <windows.h>

#include <algorithm>
#include <cwchar>
#include <string>

#include "common/CNumberedKeys.h"
#include "config/CModeChangeConfig.h"
#include "config/CModeChangeResource.h"
#include "config/CModeChangeSettings.h"
#include "config/CModeChangeStatus.h"
#include "support/Files.h"
#include "support/ModeChangeTest.h"
#include "support/Text.h"

namespace {

using ::testing::Each;
using ::testing::IsEmpty;
using ::testing::Not;
using ::testing::SizeIs;

constexpr const wchar_t* kUntouchedText = L"untouched";
constexpr std::int32_t kUntouchedNumber = -123456789;

constexpr std::size_t kLongName = 70'000;  // more than a 16-bit length can say

// A name may come from another program, so it may be anything but null.
const std::vector<CWideString>& OddNames() {
  static const std::vector<CWideString> names = {
      L"",
      L" ",
      L"[Eco]",
      L"]",
      L"=",
      L"Eco=1",
      L";",
      L"\r\n",
      L"%s%n%d",
      L"..\\..\\Eco",
      L"C:\\Eco",
      L"\"Eco\"",
      L"eCO",
      L"Common",
      L"ModeList",
      L"Mode0",
      L"LockedSettingItemCount",
      L"AutoONOFF",
      L"\x202E\xFFFF",
      L"Ec\x0307",
      std::wstring(1, static_cast<wchar_t>(0xD800)).c_str(),
      std::wstring(MAX_PATH, L'x').c_str(),
      std::wstring(kLongName, L'n').c_str(),
  };
  return names;
}

struct TextGetter {
  const wchar_t* name;
  bool (CModeChangeResource::*get)(CWideString*);
};
#define TEXT_GETTER(name) \
  { L"CModeChangeResource::" #name, &CModeChangeResource::name }
constexpr TextGetter kTextGetters[] = {
    TEXT_GETTER(GetApplicationName),
    TEXT_GETTER(GetSettingItemStatusName_DoNothing),
    TEXT_GETTER(GetModeSettingsDialogTitle),
    TEXT_GETTER(GetModeSettingsDialogRestoreDefaultSettingsButtonName),
    TEXT_GETTER(GetModeSettingsDialogAutoONOFFSetting),
    TEXT_GETTER(GetModeSettingsDialogSliderDown),
    TEXT_GETTER(GetModeSettingsDialogSliderUp),
    TEXT_GETTER(GetModeSettingsDialogLockedSettingItemMemo),
    TEXT_GETTER(GetModeSettingsDialogShowAnnounceModeIsChangedDialog),
    TEXT_GETTER(GetModeSettingsDialogOKButtonName),
    TEXT_GETTER(GetModeSettingsDialogCancelButtonName),
    TEXT_GETTER(GetModeSettingsDialogApplyButtonName),
    TEXT_GETTER(GetModeSettingsDialogMessageOnChangeModeThatSettingsIsChanged),
    TEXT_GETTER(GetModeSettingsDialogMessageOnSaveSettingsThatSettingsIsNotCorrect),
    TEXT_GETTER(GetModeSettingsDialogErrorUnknown),
    TEXT_GETTER(GetModeSettingsDialogErrorFailedSaveSettings),
    TEXT_GETTER(GetModeSettingsDialogErrorFailedUpdatePcEnvironment),
    TEXT_GETTER(GetUpdatePcEnvironmentDialogProcessing),
    TEXT_GETTER(GetAnnounceModeIsChangedDialogDescription),
    TEXT_GETTER(GetAnnounceModeIsChangedDialogDetailInformationChangedSettingItem),
    TEXT_GETTER(GetAnnounceModeIsChangedDialogDetailInformationNoChangedSettingItem),
    TEXT_GETTER(GetAnnounceModeIsChangedDialogNotShowThisDialog),
    TEXT_GETTER(GetAnnounceModeIsChangedDialoOKButtonName),
    TEXT_GETTER(GetAnnounceModeIsChangedDialoCancelButtonName),
};
#undef TEXT_GETTER

}  // namespace

ReaderQueries::ReaderQueries(Interposition& interposition, TraceCapture& traces, Random& random,
                             std::size_t mostBytes)
    : interposition(interposition), traces(traces), random(random), mostBytes(mostBytes) {}

void ReaderQueries::AskAll() {
  AskConfig();
  AskResource();
  AskSettings();
  AskStatus();
  Save();
  EXPECT_EQ(traces.OpenRegistrations(), 0U);
}

template <class Operation>
bool ReaderQueries::Ask(const wchar_t* function, Operation operation) {
  SCOPED_TRACE(Text::ToUtf8(function));
  const std::uint64_t readsBefore = CountOfReads();
  const bool answered = operation();
  // A list of lists reads two of them, each number with its value.
  EXPECT_LE(CountOfReads() - readsBefore, 4 * (CNumberedKeys::kMostKeysTried + mostBytes));
  const Traces written = traces.Take();
  if (answered) {
    EXPECT_THAT(written, IsEmpty());
  } else {
    EXPECT_EQ(written.empty() ? L"no trace" : written.back().function, function);
  }
  return answered;
}

template <class Operation>
void ReaderQueries::AskText(const wchar_t* function, Operation operation) {
  SCOPED_TRACE(Text::ToUtf8(function));
  CWideString text = kUntouchedText;
  if (Ask(function, [&] { return operation(&text); })) {
    // An engine's path is the library's folder and a path from the file.
    EXPECT_LE(text.length(), std::max<std::size_t>(mostBytes, MAX_PATH));
    EXPECT_EQ(text.length(), std::wcslen(text.c_str()));
  } else {
    EXPECT_TRUE(text == kUntouchedText);
  }
}

template <class Value, class Operation>
void ReaderQueries::AskValue(const wchar_t* function, Value untouched, Operation operation) {
  Value value = untouched;
  if (!Ask(function, [&] { return operation(&value); })) {
    SCOPED_TRACE(Text::ToUtf8(function));
    EXPECT_EQ(value, untouched);
  }
}

template <class Operation>
ReaderQueries::Names ReaderQueries::AskList(const wchar_t* function, Operation operation) {
  SCOPED_TRACE(Text::ToUtf8(function));
  Names names = {kUntouchedText};
  if (!Ask(function, [&] { return operation(&names); })) {
    EXPECT_THAT(names, SizeIs(1));
  }
  EXPECT_TRUE(names.front() == kUntouchedText);
  names.erase(names.begin());
  EXPECT_EQ(std::count(names.begin(), names.end(), CWideString()), 0) << "empty names";
  return names;
}

void ReaderQueries::AskConfig() {
  const CModeChangeConfig config;
  modes = AskList(L"CModeChangeConfig::GetAllModeList",
                  [&](Names* names) { return config.GetAllModeList(names); });
  EXPECT_LE(modes.size(), mostBytes);
  ExpectKeysOneByOne(L"ModeList", L"ModeCount", L"Mode", modes);

  const Names usable = AskList(L"CModeChangeConfig::GetUsableModeList",
                               [&](Names* names) { return config.GetUsableModeList(names); });
  EXPECT_LE(usable.size(), mostBytes);
  for (const CWideString& mode : usable) {
    EXPECT_TRUE(std::any_of(modes.begin(), modes.end(), [&mode](const CWideString& known) {
      return known.EqualsIgnoringCase(mode);
    })) << Text::Escape(mode.c_str());
  }

  items = AskList(L"CModeChangeConfig::GetAllSettingItemList",
                  [&](Names* names) { return config.GetAllSettingItemList(names); });
  EXPECT_LE(items.size(), mostBytes);
  ExpectKeysOneByOne(L"SettingItemList", L"SettingItemCount", L"SettingItem", items);

  groups = AskList(L"CModeChangeConfig::GetSettingGroupList",
                   [&](Names* names) { return config.GetSettingGroupList(names); });
  EXPECT_LE(groups.size(), mostBytes);
  ExpectKeysOneByOne(L"SettingGroupList", L"SettingGroupCount", L"SettingGroup", groups);

  for (const UINT status : {0U, 1U, static_cast<UINT>(random.Below(0xFFFFFFFF))}) {
    AskText(L"CModeChangeConfig::GetModeStatusIconKeyName",
            [&](CWideString* name) { return config.GetModeStatusIconKeyName(status, name); });
  }
  for (const CWideString& mode : Choose(modes)) {
    UINT type = 99;
    EXPECT_TRUE(Ask(L"CModeChangeConfig::GetModeType",
                    [&] { return config.GetModeType(mode.c_str(), &type); }));
    EXPECT_LE(type, CModeChangeConfig::kNormalMode);
  }
  for (const CWideString& group : Choose(groups)) {
    const Names members =
        AskList(L"CModeChangeConfig::GetSettingItemListInSettingGroup", [&](Names* names) {
          return config.GetSettingItemListInSettingGroup(group.c_str(), names);
        });
    // A name counts as often as the list of all items has it.
    EXPECT_LE(members.size(), mostBytes * items.size());
  }
  for (const CWideString& item : Choose(items)) {
    AskText(L"CModeChangeConfig::GetSettingItemEnginePath",
            [&](CWideString* path) { return config.GetSettingItemEnginePath(item.c_str(), path); });
    AskForLock(item.c_str());
  }
  static_cast<void>(config.EnableToChangeWirelessLEDStatusInWin7());
  EXPECT_TRUE(config.DoesConfigFileExist());
}

void ReaderQueries::AskForLock(const wchar_t* item) {
  bool hasLock = true;
  std::int32_t lockValue = kUntouchedNumber;
  Names lockedItems = {kUntouchedText};
  std::vector<std::int32_t> lockedValues = {kUntouchedNumber};
  bool succeeded = false;
  Ask(L"CModeChangeConfig::DoesSettingItemaHaveValueLockOtherSettingItem", [&] {
    succeeded = CModeChangeConfig().DoesSettingItemaHaveValueLockOtherSettingItem(
        item, &hasLock, &lockValue, &lockedItems, &lockedValues);
    // A locking value without locked items is said in this way, and not traced.
    return succeeded || !hasLock;
  });
  if (succeeded && hasLock) {
    EXPECT_EQ(lockedItems.size(), lockedValues.size());
    EXPECT_LE(lockedItems.size(), mostBytes);
    EXPECT_THAT(lockedValues, Each(Not(-100)));
    EXPECT_EQ(std::count(lockedItems.begin(), lockedItems.end(), CWideString()), 0);
  } else {
    EXPECT_EQ(lockValue, kUntouchedNumber);
    EXPECT_EQ(lockedItems, Names{kUntouchedText});
    EXPECT_EQ(lockedValues, std::vector{kUntouchedNumber});
  }
}

void ReaderQueries::AskResource() {
  CModeChangeResource resource;
  for (const TextGetter& getter : kTextGetters) {
    AskText(getter.name, [&](CWideString* text) { return (resource.*getter.get)(text); });
  }
  for (const UINT status : {0U, 1U, 0xFFFFFFFFU}) {
    AskText(L"CModeChangeResource::GetModeStatusName",
            [&](CWideString* text) { return resource.GetModeStatusName(status, text); });
    AskText(L"CModeChangeResource::GetAnnounceModeIsChangedDialogDetailInformation",
            [&](CWideString* text) {
              return resource.GetAnnounceModeIsChangedDialogDetailInformation(status, text);
            });
  }
  for (const CWideString& mode : Choose(modes)) {
    AskText(L"CModeChangeResource::GetModeName",
            [&](CWideString* text) { return resource.GetModeName(mode.c_str(), text); });
  }
  for (const CWideString& group : Choose(groups)) {
    AskText(L"CModeChangeResource::GetSettingGroupName",
            [&](CWideString* text) { return resource.GetSettingGroupName(group.c_str(), text); });
  }
  for (const CWideString& item : Choose(items)) {
    AskText(L"CModeChangeResource::GetSettingItemStringResource", [&](CWideString* text) {
      return resource.GetSettingItemStringResource((item + L"_Name").c_str(), text);
    });
    AskText(L"CModeChangeResource::GetModeSettingsDialogLockedSettingItemMemoBySpecificSettingItem",
            [&](CWideString* text) {
              return resource.GetModeSettingsDialogLockedSettingItemMemoBySpecificSettingItem(
                  item.c_str(), text);
            });
  }
  constexpr UINT kSomeFont = 4;  // the last one, for one of the dialogs
  for (const UINT index : {0U, kSomeFont, 0xFFFFFFFFU}) {
    AskValue(L"CModeChangeResource::GetFontSizeInModeSettingsDialog", kUntouchedNumber,
             [&](auto* size) { return resource.GetFontSizeInModeSettingsDialog(index, size); });
    AskValue(
        L"CModeChangeResource::GetFontSizeInUpdatePcEnvironmentDialog", kUntouchedNumber,
        [&](auto* size) { return resource.GetFontSizeInUpdatePcEnvironmentDialog(index, size); });
    AskValue(
        L"CModeChangeResource::GetFontSizeAnnounceModeIsChangedDialog", kUntouchedNumber,
        [&](auto* size) { return resource.GetFontSizeAnnounceModeIsChangedDialog(index, size); });
  }
}

void ReaderQueries::AskSettings() {
  const CModeChangeSettings settings;
  AskValue(L"CModeChangeSettings::GetDefaultAnnounceModeIsChangedDialogDisplaySetting", false,
           [&](bool* show) {
             return settings.GetDefaultAnnounceModeIsChangedDialogDisplaySetting(show);
           });
  AskValue(L"CModeChangeSettings::GetAnnounceModeIsChangedDialogDisplaySetting", false,
           [&](bool* show) { return settings.GetAnnounceModeIsChangedDialogDisplaySetting(show); });
  for (const CWideString& mode : Choose(modes)) {
    AskValue(L"CModeChangeSettings::GetDefaultAutoONOFFSetting", false,
             [&](bool* on) { return settings.GetDefaultAutoONOFFSetting(mode.c_str(), on); });
    AskValue(L"CModeChangeSettings::GetAutoONOFFSetting", false,
             [&](bool* on) { return settings.GetAutoONOFFSetting(mode.c_str(), on); });
    AskValue(L"CModeChangeSettings::IsModeSettingsChanged", false,
             [&](bool* changed) { return settings.IsModeSettingsChanged(mode.c_str(), changed); });
    for (const CWideString& item : Choose(items)) {
      if (random.OneIn(2)) continue;
      AskValue(L"CModeChangeSettings::GetDefaultSettingItemValue", kUntouchedNumber,
               [&](auto* value) {
                 return settings.GetDefaultSettingItemValue(mode.c_str(), item.c_str(), value);
               });
      AskValue(L"CModeChangeSettings::GetSettingItemValue", kUntouchedNumber, [&](auto* value) {
        return settings.GetSettingItemValue(mode.c_str(), item.c_str(), value);
      });
      AskValue(L"CModeChangeSettings::IsSetingItemValueLocked", false, [&](bool* locked) {
        return settings.IsSetingItemValueLocked(mode.c_str(), item.c_str(), locked);
      });
    }
  }
}

void ReaderQueries::AskStatus() {
  const CModeChangeStatus status;
  for (const CWideString& mode : Choose(modes)) {
    AskValue(L"CModeChangeStatus::GetCurrentModeStatus", 99U,
             [&](UINT* number) { return status.GetCurrentModeStatus(mode.c_str(), number); });
  }
  for (const CWideString& item : Choose(items)) {
    AskValue(L"CModeChangeStatus::GetNormalEnvironmentSetting", kUntouchedNumber,
             [&](auto* value) { return status.GetNormalEnvironmentSetting(item.c_str(), value); });
  }
}

void ReaderQueries::Save() {
  const CModeChangeStatus status;
  const CModeChangeSettings settings;
  const Names someModes = Choose(modes);
  const Names someItems = Choose(items);
  const wchar_t* mode = random.Pick(someModes).c_str();
  const wchar_t* item = random.Pick(someItems).c_str();
  Ask(L"CModeChangeStatus::SaveCurrentModeStatus",
      [&] { return status.SaveCurrentModeStatus(mode, 1); });
  Ask(L"CModeChangeStatus::SaveNormalEnvironmentSetting",
      [&] { return status.SaveNormalEnvironmentSetting(item, -1); });
  Ask(L"CModeChangeSettings::SaveSettingItemValue",
      [&] { return settings.SaveSettingItemValue(mode, item, 3); });
  Ask(L"CModeChangeSettings::SaveAutoONOFFSetting",
      [&] { return settings.SaveAutoONOFFSetting(mode, true); });
  Ask(L"CModeChangeSettings::SaveAnnounceModeIsChangedDialogDisplaySetting",
      [&] { return settings.SaveAnnounceModeIsChangedDialogDisplaySetting(false); });
}

void ReaderQueries::ExpectKeysOneByOne(const wchar_t* section, const wchar_t* countKey,
                                       const wchar_t* nameKey, const Names& names) const {
  constexpr std::int32_t kMostTries = 70;
  const std::wstring path = Files::ProgramPath().parent_path() / L"ModeChange.Config.ini";
  const auto count =
      static_cast<std::int32_t>(::GetPrivateProfileIntW(section, countKey, 0, path.c_str()));
  Names expected;
  std::wstring value(mostBytes + 1, L'\0');
  for (std::int32_t i = 0; i < std::min(count, kMostTries); ++i) {
    const std::wstring key = nameKey + std::to_wstring(i);
    ::GetPrivateProfileStringW(section, key.c_str(), L"", value.data(),
                               static_cast<DWORD>(value.size()), path.c_str());
    if (value.front() != L'\0') expected.emplace_back(value.c_str());
  }
  SCOPED_TRACE(Text::ToUtf8(section));
  const bool isWhole = count <= kMostTries;
  const auto length = isWhole ? names.size() : std::min(names.size(), expected.size());
  EXPECT_EQ(Names(names.begin(), names.begin() + static_cast<std::ptrdiff_t>(length)), expected)
      << "with a count of " << count;
}

std::uint64_t ReaderQueries::CountOfReads() const {
  return interposition.Count("GetPrivateProfileStringW") +
         interposition.Count("GetPrivateProfileIntW");
}

ReaderQueries::Names ReaderQueries::Choose(const Names& names) {
  Names chosen(names.begin(), names.begin() + std::min<std::ptrdiff_t>(2, std::ssize(names)));
  if (names.size() > chosen.size()) chosen.push_back(names.back());
  for (int i = 0; i < 2; ++i) chosen.push_back(random.Pick(OddNames()));
  return chosen;
}
