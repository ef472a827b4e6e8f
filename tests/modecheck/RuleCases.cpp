#include "RuleCases.h"

namespace {

const std::wstring kConfig = L"ModeChange.Config.ini";
const std::wstring kUsable = L"ModeChange.UsableModeList.ini";
const std::wstring kDefaults = L"ModeChange.DefaultSettings.ini";
const std::wstring kGerman = L"de-DE\\ModeChange.Resource.ini";
const std::wstring kEnglish = L"en-US\\ModeChange.Resource.ini";
const std::wstring kSettings = L"Data\\ModeChange.Settings.ini";
const std::wstring kStatus = L"Data\\ModeChange.Status.ini";

using Damage = std::function<void(SampleMachine&)>;

Damage Replace(const std::wstring& file, const std::wstring& section, const std::wstring& line,
               const std::wstring& replacement) {
  return [=](SampleMachine& machine) { machine.Replace(file, section, line, replacement); };
}

Damage Remove(const std::wstring& file, const std::wstring& section, const std::wstring& line) {
  return Replace(file, section, line, L"");
}

Damage Write(const std::wstring& file, const std::wstring& text) {
  return [=](SampleMachine& machine) { machine.SetText(file, text); };
}

Damage WriteBytes(const std::wstring& file, const std::string& bytes) {
  return [=](SampleMachine& machine) { machine.SetBytes(file, bytes); };
}

Damage RemoveFile(const std::wstring& file) {
  return [=](SampleMachine& machine) { machine.RemoveFile(file); };
}

Damage ChangeEngine(const std::wstring& engine, const std::function<void(EngineAnswers&)>& change) {
  return [=](SampleMachine& machine) { change(machine.engines.at(engine)); };
}

Damage BreakEngine(EngineAnswers::Problem problem) {
  return ChangeEngine(L"PointerSpeed", [problem](EngineAnswers& answers) {
    answers = {.problem = problem, .details = L"the details."};
  });
}

std::string ToUtf16(const std::string& ascii, bool isBigEndian) {
  std::string bytes;
  for (const char character : ascii) {
    bytes += isBigEndian ? std::string{'\0', character} : std::string{character, '\0'};
  }
  return bytes;
}

const std::string kUsableAscii = "[UsableModeList]\r\nModeCount=2\r\nMode0=Normal\r\nMode1=Eco\r\n";

}  // namespace

std::vector<RuleCase> GetFileCases() {
  std::vector<RuleCase> cases;
  for (const std::wstring& file : {kConfig, kUsable, kDefaults}) {
    cases.push_back({Rule::kFileMissing, RemoveFile(file), {file}, L"Put it beside the library."});
  }
  const std::vector<RuleCase> more = {
      {Rule::kFileUnreadable, WriteBytes(kUsable, ""), {kUsable}, L"is empty"},
      {Rule::kFileUnreadable,
       WriteBytes(kUsable, std::string(4 * 1024 * 1024 + 1, ';')),
       {kUsable},
       L"has 4194305 bytes"},
      {Rule::kEncoding,
       WriteBytes(kUsable, "\xEF\xBB\xBF" + kUsableAscii),
       {.file = kUsable, .number = 1},
       L"UTF-8 with a byte-order mark"},
      {Rule::kEncoding,
       WriteBytes(kUsable, ToUtf16(kUsableAscii, false)),
       {.file = kUsable, .number = 1},
       L"UTF-16 without a byte-order mark"},
      {Rule::kEncoding,
       WriteBytes(kUsable, "\xFE\xFF" + ToUtf16(kUsableAscii, true)),
       {.file = kUsable, .number = 1},
       L"big-endian"},
      {Rule::kEncoding,
       WriteBytes(kUsable, "\xFF\xFE" + ToUtf16(kUsableAscii, false) + "x"),
       {.file = kUsable, .number = 5},
       L"in the middle of a character"},
      {Rule::kTextWithoutMark,
       WriteBytes(kUsable, kUsableAscii + "; \xC3\x96ko\r\nMode2=\xC3\x96ko\r\n"),
       {.file = kUsable, .number = 6},
       L"1 line has text beyond ASCII",
       {Rule::kCountTooSmall, Rule::kModeNotDefined}},
      {Rule::kTextWithoutMark,
       WriteBytes(kUsable, kUsableAscii + "; \xD6ko\r\nMode2=\xD6ko\r\nMode3=\xD6ko\r\n"),
       {.file = kUsable, .number = 6},
       L"2 lines, from this one on, have text beyond ASCII",
       {Rule::kCountTooSmall, Rule::kModeNotDefined, Rule::kListDuplicate}},
      {Rule::kLocaleFolder,
       [](SampleMachine& machine) {
         machine.RenameFile(kGerman, L"de_DE\\ModeChange.Resource.ini");
       },
       {L"de_DE\\ModeChange.Resource.ini"},
       L"No user has the locale de_DE"},
      {Rule::kLocaleFolder,
       [](SampleMachine& machine) { machine.RenameFile(kGerman, L"de\\ModeChange.Resource.ini"); },
       {L"de\\ModeChange.Resource.ini"},
       L"No user has the locale de,"},
      {Rule::kLocaleFolder,
       [](SampleMachine& machine) {
         machine.RenameFile(kGerman, L"de-DE\\ModeChange.Ressource.ini");
       },
       {L"de-DE"},
       L"The folder de-DE has no ModeChange.Resource.ini"},
      {Rule::kLocaleFallback,
       RemoveFile(kEnglish),
       {kEnglish},
       L"users of other languages see no texts"},
  };
  cases.insert(cases.end(), more.begin(), more.end());
  return cases;
}

std::vector<RuleCase> GetLineCases() {
  return {
      {Rule::kMalformedLine,
       Replace(kConfig, L"Eco", L"IsEcoMode=1", L"IsEcoMode=1\nIsCustomMode"),
       {kConfig, L"", L"IsCustomMode"},
       L"Write key=value"},
      {Rule::kMalformedLine,
       Replace(kConfig, L"Eco", L"IsEcoMode=1", L"IsEcoMode=1\n=1"),
       {kConfig, L"", L"=1"},
       L"Write key=value"},
      {Rule::kMalformedLine,
       Replace(kConfig, L"Eco", L"IsEcoMode=1", L"IsEcoMode=1\n# a=b"),
       {kConfig, L"", L"# a=b"},
       L"A comment starts with \";\"."},
      {Rule::kMalformedLine,
       Replace(kConfig, L"Eco", L"IsEcoMode=1", L"IsEcoMode=1\n[Eco"),
       {kConfig, L"", L"[Eco"},
       L"The \"]\" of the section is missing."},
      {Rule::kMalformedLine,
       Replace(kConfig, L"", L"[Common]", L"[Common] ; lamps"),
       {kConfig, L"", L"[Common] ; lamps"},
       L"Text after a section's \"]\""},
      {Rule::kMalformedLine,
       Replace(kConfig, L"Common", L"EnableToChangeWirelessLEDStatusInWin7=1",
               L"EnableToChangeWirelessLEDStatusInWin7=1\n[ ]"),
       {kConfig, L"", L"[ ]"},
       L"The section has no name.",
       {Rule::kUnknownSection}},
      {Rule::kKeyOutsideSection,
       [](SampleMachine& machine) { machine.Prepend(kConfig, L"ModeCount=5"); },
       {kConfig, L"", L"ModeCount=5"},
       L"ModeCount stands in front of the first section"},
      {Rule::kDuplicateSection,
       Replace(kConfig, L"Common", L"EnableToChangeWirelessLEDStatusInWin7=1",
               L"EnableToChangeWirelessLEDStatusInWin7=1\n[eco]\nIsEcoMode=1"),
       {kConfig, L"eco"},
       L"[eco] is there already, in line "},
      {Rule::kDuplicateKey,
       Replace(kConfig, L"Eco", L"IsEcoMode=1", L"IsEcoMode=1\nisecomode=0"),
       {kConfig, L"Eco", L"isecomode=0"},
       L"isecomode is there already, in line "},
      {Rule::kUnknownSection,
       Replace(kConfig, L"", L"[Eco]", L"[Ecoo]"),
       {kConfig, L"Ecoo"},
       L"Nothing reads [Ecoo]. Did you mean \"Eco\"?"},
      {Rule::kUnknownSection,
       Replace(kDefaults, L"", L"[Eco_Win8OrLater]", L"[Eco_Win8]"),
       {kDefaults, L"Eco_Win8"},
       L"Did you mean \"Eco_Win8OrLater\"?",
       {Rule::kDefaultsMissing}},
      {Rule::kUnknownKey,
       Replace(kConfig, L"Eco", L"IsEcoMode=1", L"IsEkoMode=1"),
       {kConfig, L"Eco", L"IsEkoMode=1"},
       L"Nothing reads IsEkoMode in [Eco]. Did you mean \"IsEcoMode\"?"},
      {Rule::kUnknownKey,
       Replace(kConfig, L"ModeList", L"Mode4=WirelessOff", L"Mode4=WirelessOff\nNothingLikeIt=1"),
       {kConfig, L"ModeList", L"NothingLikeIt=1"},
       L"Nothing reads NothingLikeIt in [ModeList]."},
      {Rule::kUnknownKey,
       Replace(kDefaults, L"Eco_Win7", L"PointerSpeed=-1", L"PointerSpeed=-1\nPointerSpeeed=3"),
       {kDefaults, L"Eco_Win7", L"PointerSpeeed=3"},
       L"Did you mean \"PointerSpeed\"?"},
      {Rule::kUnknownKey,
       Replace(kGerman, L"ModeSettingsDialog", L"DialogTitle=", L"DialogTitel=Modi"),
       {kGerman, L"ModeSettingsDialog", L"DialogTitel=Modi"},
       L"Did you mean \"DialogTitle\"?",
       {Rule::kTextMissing}},
      {Rule::kUnknownKey,
       Replace(kGerman, L"SettingItem", L"ScreenSaver_Name=", L"ScreenSaver_Nam=x"),
       {kGerman, L"SettingItem", L"ScreenSaver_Nam=x"},
       L"Did you mean \"ScreenSaver_Name\"?",
       {Rule::kTextMissing}},
      {Rule::kNotANumber,
       Replace(kConfig, L"ModeList", L"ModeCount=5", L"ModeCount=five"),
       {kConfig, L"ModeList", L"ModeCount=five"},
       L"ModeCount is \"five\", not a decimal number"},
      {Rule::kNotANumber,
       Replace(kDefaults, L"Eco_Win7", L"PointerSpeed=-1", L"PointerSpeed=4294967295"),
       {kDefaults, L"Eco_Win7", L"PointerSpeed=4294967295"},
       L"not a decimal number of 32 bits"},
      {Rule::kNotANumber,
       Replace(kDefaults, L"Eco_Win7", L"AutoONOFF=0", L"AutoONOFF="),
       {kDefaults, L"Eco_Win7", L"AutoONOFF="},
       L"AutoONOFF is empty"},
      {Rule::kNotANumber,
       Replace(kConfig, L"Common", L"EnableToChangeWirelessLEDStatusInWin7=1",
               L"EnableToChangeWirelessLEDStatusInWin7=yes"),
       {kConfig, L"", L"EnableToChangeWirelessLEDStatusInWin7=yes"},
       L"is \"yes\""},
      {Rule::kFlagValue,
       Replace(kConfig, L"Eco", L"IsEcoMode=1", L"IsEcoMode=2"),
       {kConfig, L"Eco", L"IsEcoMode=2"},
       L"IsEcoMode is 2, and only exactly 1 counts"},
      {Rule::kFlagValue,
       Replace(kDefaults, L"Cradle_Win7", L"AutoONOFF=1", L"AutoONOFF=-1"),
       {kDefaults, L"Cradle_Win7", L"AutoONOFF=-1"},
       L"AutoONOFF is -1"},
      {Rule::kTrailingComment,
       Replace(kConfig, L"Eco", L"IsEcoMode=1", L"IsEcoMode=1 ; the lamp"),
       {kConfig, L"Eco", L"IsEcoMode=1 ; the lamp"},
       L"is a part of IsEcoMode"},
      {Rule::kTrailingComment,
       Replace(kConfig, L"Power", L"SettingItem0=PowerScheme", L"SettingItem0=PowerScheme ;plan"),
       {kConfig, L"Power", L"SettingItem0=PowerScheme ;plan"},
       L"is a part of SettingItem0"},
  };
}

std::vector<RuleCase> GetListCases() {
  const std::set<Rule> newMode = {Rule::kDefaultsMissing, Rule::kTextMissing};
  return {
      {Rule::kCountTooSmall,
       Replace(kConfig, L"ModeList", L"ModeCount=5", L"ModeCount=4"),
       {kConfig, L"ModeList", L"Mode4=WirelessOff"},
       L"Mode4 is not read: ModeCount is 4. Raise it to 5"},
      {Rule::kCountTooSmall,
       Remove(kConfig, L"ModeList", L"ModeCount=5"),
       {kConfig, L"ModeList", L"Mode0=Normal"},
       L"Mode0 is not read: ModeCount is missing. Add it, as 5"},
      {Rule::kCountTooSmall,
       Replace(kConfig, L"Input", L"SettingItemCount=2", L"SettingItemCount=1"),
       {kConfig, L"Input", L"SettingItem1=KeyboardRepeatDelay"},
       L"Raise it to 2"},
      {Rule::kCountTooSmall,
       Replace(kDefaults, L"Eco_Win7", L"LockedSettingItemCount=1", L"LockedSettingItemCount=-1"),
       {kDefaults, L"Eco_Win7", L"LockedSettingItem0=PowerScheme"},
       L"LockedSettingItemCount is -1. Raise it to 1"},
      {Rule::kCountTooSmall,
       Replace(kConfig, L"VisualEffects", L"LockedOtherSettingItem0=ScreenSaver",
               L"LockedOtherSettingItem0=ScreenSaver\nLockedOtherSettingItem1=PointerSpeed\n"
               L"LockedOtherSettingItemValue1=-1"),
       {kConfig, L"VisualEffects", L"LockedOtherSettingItem1=PointerSpeed"},
       L"LockedOtherSettingItemCount is 1. Raise it to 2"},
      {Rule::kListGap,
       Replace(kConfig, L"ModeList", L"ModeCount=5", L"ModeCount=7"),
       {kConfig, L"ModeList", L"ModeCount=7"},
       L"Mode5 to Mode6 are missing"},
      {Rule::kListGap,
       Replace(kConfig, L"ModeList", L"ModeCount=5", L"ModeCount=2000000000"),
       {kConfig, L"ModeList", L"ModeCount=2000000000"},
       L"Mode5 to Mode1999999999 are missing"},
      {Rule::kListGap,
       Replace(kUsable, L"UsableModeList", L"Mode2=Cradle", L""),
       {kUsable, L"UsableModeList", L"ModeCount=5"},
       L"Mode2 is missing"},
      {Rule::kListGap,
       Replace(kUsable, L"UsableModeList", L"Mode2=Cradle", L"Mode2="),
       {kUsable, L"UsableModeList", L"Mode2="},
       L"Mode2 is empty and is skipped"},
      {Rule::kListNumber,
       Replace(kUsable, L"UsableModeList", L"Mode4=WirelessOff", L"Mode4=WirelessOff\nMode05=Eco"),
       {kUsable, L"UsableModeList", L"Mode05=Eco"},
       L"Mode05 is not read"},
      {Rule::kListNumber,
       Replace(kUsable, L"UsableModeList", L"Mode4=WirelessOff", L"Mode4=WirelessOff\nMode 5=Eco"),
       {kUsable, L"UsableModeList", L"Mode 5=Eco"},
       L"Write Mode0, Mode1, and so on."},
      {Rule::kListDuplicate,
       Replace(kConfig, L"ModeList", L"ModeCount=5", L"ModeCount=6\nMode5=eco"),
       {kConfig, L"ModeList", L"Mode5=eco"},
       L"eco is in [ModeList] already, in line "},
      {Rule::kNameShared,
       Replace(kConfig, L"ModeList", L"ModeCount=5", L"ModeCount=6\nMode5=Power"),
       {kConfig, L"SettingGroupList", L"SettingGroup0=Power"},
       L"Power is a group, and also a mode",
       newMode},
      {Rule::kNameShared,
       Replace(kConfig, L"ModeList", L"ModeCount=5", L"ModeCount=6\nMode5=common"),
       {kConfig, L"ModeList", L"Mode5=common"},
       L"common is a mode, and also a section that the library reads",
       newMode},
      {Rule::kNameCharacters,
       Replace(kConfig, L"ModeList", L"ModeCount=5", L"ModeCount=6\nMode5=A=B"),
       {kConfig, L"ModeList", L"Mode5=A=B"},
       L"\"A=B\" can't be a section or a key",
       newMode},
      {Rule::kNameNotAscii,
       Replace(kConfig, L"ModeList", L"ModeCount=5", L"ModeCount=6\nMode5=\u00D6ko"),
       {kConfig, L"ModeList", L"Mode5=\u00D6ko"},
       L"Use ASCII letters and digits",
       newMode},
      {Rule::kNoModes,
       Write(kUsable, L"[UsableModeList]\nModeCount=0"),
       {kUsable, L"UsableModeList", L"ModeCount=0"},
       L"[UsableModeList] has no mode"},
      {Rule::kNoModes,
       Write(kConfig, L"[ModeList]"),
       {kConfig, L"ModeList"},
       L"[ModeList] has no mode",
       {Rule::kModeNotDefined, Rule::kNoItems, Rule::kStatusIconMissing, Rule::kUnknownSection,
        Rule::kUnknownKey}},
      {Rule::kNoItems,
       Write(kConfig, L"[ModeList]\nModeCount=1\nMode0=Eco\n[SettingItemList]\nSettingItemCount=0"),
       {kConfig, L"SettingItemList", L"SettingItemCount=0"},
       L"[SettingItemList] has no item",
       {Rule::kModeNotDefined, Rule::kStatusIconMissing, Rule::kUnknownSection, Rule::kUnknownKey,
        Rule::kLockedItemUnknown}},
      {Rule::kModeNotDefined,
       Replace(kUsable, L"UsableModeList", L"Mode1=Eco", L"Mode1=Eko"),
       {kUsable, L"UsableModeList", L"Mode1=Eko"},
       L"Eko is not in [ModeList] of ModeChange.Config.ini, so it is not offered. Correct the "
       L"name, or add it there. Did you mean \"Eco\"?"},
      {Rule::kModeTypeAmbiguous,
       Replace(kConfig, L"Eco", L"IsEcoMode=1", L"IsEcoMode=1\nIsCradleMode=1"),
       {kConfig, L"Eco", L"IsEcoMode=1"},
       L"Eco has several types"},
      {Rule::kStatusIconMissing,
       Replace(kConfig, L"ModeStatus1", L"ModeStatusIconKeyName=", L"ModeStatusIconKeyName="),
       {kConfig, L"ModeStatus1", L"ModeStatusIconKeyName="},
       L"[ModeStatus1] names no icon"},
      {Rule::kStatusIconMissing,
       [](SampleMachine& machine) { machine.RemoveSection(kConfig, L"ModeStatus0"); },
       {kConfig},
       L"[ModeStatus0] names no icon"},
      {Rule::kItemNotListed,
       Replace(kConfig, L"Display", L"SettingItem1=ScreenSaver", L"SettingItem1=ScreenServer"),
       {kConfig, L"Display", L"SettingItem1=ScreenServer"},
       L"ScreenServer is not in [SettingItemList], so it is left out. Add it there, or correct the "
       L"name. Did you mean \"ScreenSaver\"?",
       {Rule::kItemInNoGroup}},
      {Rule::kItemInNoGroup,
       Replace(kConfig, L"Input", L"SettingItem1=KeyboardRepeatDelay", L"SettingItem1="),
       {kConfig, L"SettingItemList", L"SettingItem4=KeyboardRepeatDelay"},
       L"KeyboardRepeatDelay is in no group",
       {Rule::kListGap}},
      {Rule::kItemInTwoGroups,
       Replace(kConfig, L"Power", L"SettingItemCount=1",
               L"SettingItemCount=2\nSettingItem1=PointerSpeed"),
       {kConfig, L"Input", L"SettingItem0=PointerSpeed"},
       L"PointerSpeed is in another group too, in line "},
      {Rule::kGroupEmpty,
       Replace(kConfig, L"Power", L"SettingItem0=PowerScheme", L"SettingItem0="),
       {kConfig, L"Power", L"SettingItemCount=1"},
       L"Power has no item",
       {Rule::kListGap, Rule::kItemInNoGroup}},
  };
}

std::vector<RuleCase> GetLockCases() {
  return {
      {Rule::kLockValueMissing,
       Remove(kConfig, L"VisualEffects", L"SettingItemValueToLockOtherSettingItem=0"),
       {kConfig, L"VisualEffects"},
       L"The lock rule of VisualEffects has no locking value, so it never works."},
      {Rule::kLockValueMissing,
       Replace(kConfig, L"VisualEffects", L"SettingItemValueToLockOtherSettingItem=0",
               L"SettingItemValueToLockOtherSettingItem=-100"),
       {kConfig, L"VisualEffects", L"SettingItemValueToLockOtherSettingItem=-100"},
       L"-100 stands for none"},
      {Rule::kLockCountMissing,
       Remove(kConfig, L"VisualEffects", L"LockedOtherSettingItemCount=1"),
       {kConfig, L"VisualEffects"},
       L"the settings dialog closes with an error"},
      {Rule::kLockCountMissing,
       Replace(kConfig, L"VisualEffects", L"LockedOtherSettingItemCount=1",
               L"LockedOtherSettingItemCount=0"),
       {kConfig, L"VisualEffects", L"LockedOtherSettingItemCount=0"},
       L"no count of at least 1"},
      {Rule::kLockedNameMissing,
       Remove(kConfig, L"VisualEffects", L"LockedOtherSettingItem0=ScreenSaver"),
       {kConfig, L"VisualEffects", L"LockedOtherSettingItemValue0=0"},
       L"Add LockedOtherSettingItem0."},
      {Rule::kLockedNameMissing,
       Replace(kConfig, L"VisualEffects", L"LockedOtherSettingItem0=ScreenSaver",
               L"LockedOtherSettingItem0="),
       {kConfig, L"VisualEffects", L"LockedOtherSettingItem0="},
       L"names no item"},
      {Rule::kLockedNameMissing,
       Replace(kConfig, L"VisualEffects", L"LockedOtherSettingItemCount=1",
               L"LockedOtherSettingItemCount=2"),
       {kConfig, L"VisualEffects", L"LockedOtherSettingItemCount=2"},
       L"LockedOtherSettingItem1 is missing. Name an item there, or lower the count to 1."},
      {Rule::kLockedNameMissing,
       Replace(kConfig, L"VisualEffects", L"LockedOtherSettingItemCount=1",
               L"LockedOtherSettingItemCount=3\nLockedOtherSettingItem2=PointerSpeed\n"
               L"LockedOtherSettingItemValue2=-1"),
       {kConfig, L"VisualEffects", L"LockedOtherSettingItemCount=3"},
       L"has no LockedOtherSettingItem1"},
      {Rule::kLockedValueMissing,
       Remove(kConfig, L"VisualEffects", L"LockedOtherSettingItemValue0=0"),
       {kConfig, L"VisualEffects", L"LockedOtherSettingItem0=ScreenSaver"},
       L"ScreenSaver is locked without a value. The settings dialog closes with an error. Add "
       L"LockedOtherSettingItemValue0."},
      {Rule::kLockedValueMissing,
       Replace(kConfig, L"VisualEffects", L"LockedOtherSettingItemValue0=0",
               L"LockedOtherSettingItemValue0=-100"),
       {kConfig, L"VisualEffects", L"LockedOtherSettingItemValue0=-100"},
       L"-100 stands for none"},
      {Rule::kLockedItemUnknown,
       Replace(kConfig, L"VisualEffects", L"LockedOtherSettingItem0=ScreenSaver",
               L"LockedOtherSettingItem0=ScreenSaber"),
       {kConfig, L"VisualEffects", L"LockedOtherSettingItem0=ScreenSaber"},
       L"Did you mean \"ScreenSaver\"?"},
      {Rule::kLockedItemUnknown,
       Replace(kDefaults, L"Eco_Win7", L"LockedSettingItem0=PowerScheme",
               L"LockedSettingItem0=PowerSchema"),
       {kDefaults, L"Eco_Win7", L"LockedSettingItem0=PowerSchema"},
       L"Did you mean \"PowerScheme\"?"},
      {Rule::kLockedNameCase,
       Replace(kDefaults, L"Eco_Win7", L"LockedSettingItem0=PowerScheme",
               L"LockedSettingItem0=powerScheme"),
       {kDefaults, L"Eco_Win7", L"LockedSettingItem0=powerScheme"},
       L"Write PowerScheme."},
      {Rule::kLockItself,
       Replace(kConfig, L"VisualEffects", L"LockedOtherSettingItem0=ScreenSaver",
               L"LockedOtherSettingItem0=visualEffects"),
       {kConfig, L"VisualEffects", L"LockedOtherSettingItem0=visualEffects"},
       L"VisualEffects locks itself"},
      {Rule::kLockOrder,
       Replace(kConfig, L"ScreenSaver", L"EnginePath=Engines\\ScreenSaver.dll",
               L"EnginePath=Engines\\ScreenSaver.dll\nSettingItemValueToLockOtherSettingItem=2\n"
               L"LockedOtherSettingItemCount=1\nLockedOtherSettingItem0=VisualEffects\n"
               L"LockedOtherSettingItemValue0=1"),
       {kConfig, L"ScreenSaver", L"LockedOtherSettingItem0=VisualEffects"},
       L"ScreenSaver locks VisualEffects, which stands above it"},
      {Rule::kDefaultsMissing,
       [](SampleMachine& machine) { machine.RemoveSection(kDefaults, L"Custom_Win7"); },
       {kDefaults},
       L"[Custom_Win7] is missing: before Windows 8 Custom does nothing."},
      {Rule::kDefaultsMissing,
       [](SampleMachine& machine) { machine.RemoveSection(kDefaults, L"Custom_Win8OrLater"); },
       {kDefaults},
       L"[Custom_Win8OrLater] is missing: on Windows 8 and later Custom does nothing."},
      {Rule::kDefaultMissing,
       Remove(kDefaults, L"Normal_Win7", L"PointerSpeed=9"),
       {kDefaults, L"Normal_Win7"},
       L"Add PointerSpeed=-1 if that is meant."},
      {Rule::kDefaultAgainstLock,
       Replace(kDefaults, L"Eco_Win7", L"ScreenSaver=0", L"ScreenSaver=1"),
       {kDefaults, L"Eco_Win7", L"ScreenSaver=1"},
       L"ScreenSaver in [Eco_Win7] is 1, but VisualEffects=0 holds it at 0"},
      {Rule::kAutoOnOff,
       Replace(kDefaults, L"Eco_Win7", L"AutoONOFF=0", L"AutoONOFF=1"),
       {kDefaults, L"Eco_Win7", L"AutoONOFF=1"},
       L"Eco is no cradle mode"},
  };
}

std::vector<RuleCase> GetEngineCases() {
  const std::wstring path = L"EnginePath=Engines\\PointerSpeed.dll";
  const RuleCase::Place engine = {kConfig, L"PointerSpeed", path};
  return {
      {Rule::kEnginePathMissing,
       Remove(kConfig, L"PointerSpeed", path),
       {kConfig, L"PointerSpeed"},
       L"PointerSpeed has no engine, so it can't be set. Add EnginePath to [PointerSpeed]."},
      {Rule::kEnginePathMissing,
       [](SampleMachine& machine) { machine.RemoveSection(kConfig, L"PointerSpeed"); },
       {kConfig, L"SettingItemList", L"SettingItem3=PointerSpeed"},
       L"which is missing too"},
      {Rule::kEngineNotFound,
       Replace(kConfig, L"PointerSpeed", path, L"EnginePath=Engines\\Pointer.dll"),
       {kConfig, L"PointerSpeed", L"EnginePath=Engines\\Pointer.dll"},
       L"The engine Engines\\Pointer.dll of PointerSpeed is not there."},
      {Rule::kEngineNotLoaded, BreakEngine(EngineAnswers::Problem::kNotLoaded), engine,
       L"The engine Engines\\PointerSpeed.dll can't be loaded: the details."},
      {Rule::kEngineExportMissing, BreakEngine(EngineAnswers::Problem::kExportMissing), engine,
       L"does not export the details."},
      {Rule::kEngineFails, BreakEngine(EngineAnswers::Problem::kFails), engine,
       L"fails: the details."},
      {Rule::kEngineTooFewValues,
       ChangeEngine(L"PointerSpeed",
                    [](EngineAnswers& answers) {
                      answers.isUsable = false;
                      answers.available.resize(1);
                      answers.valueKeys.resize(1);
                    }),
       engine,
       L"has one value; with fewer than two, PointerSpeed is never shown",
       {Rule::kValueNotOffered, Rule::kUnknownKey}},
      {Rule::kValueNotOffered,
       Replace(kDefaults, L"Normal_Win7", L"PointerSpeed=9", L"PointerSpeed=20"),
       {kDefaults, L"Normal_Win7", L"PointerSpeed=20"},
       L"PointerSpeed in [Normal_Win7] is 20, which is none of its values: a change of the mode "
       L"fails there. Write 0 to 19"},
      {Rule::kValueNotOffered,
       [](SampleMachine& machine) {
         machine.Replace(kDefaults, L"Normal_Win7", L"PointerSpeed=9", L"PointerSpeed=-2");
         machine.asksEngines = false;
       },
       {kDefaults, L"Normal_Win7", L"PointerSpeed=-2"},
       L"Write a value of the engine's"},
      {Rule::kValueNotOffered,
       Replace(kConfig, L"VisualEffects", L"SettingItemValueToLockOtherSettingItem=0",
               L"SettingItemValueToLockOtherSettingItem=2"),
       {kConfig, L"VisualEffects", L"SettingItemValueToLockOtherSettingItem=2"},
       L"The locking value of VisualEffects is 2"},
      {Rule::kValueNotOffered,
       Replace(kConfig, L"VisualEffects", L"LockedOtherSettingItemValue0=0",
               L"LockedOtherSettingItemValue0=3"),
       {kConfig, L"VisualEffects", L"LockedOtherSettingItemValue0=3"},
       L"The value that VisualEffects holds ScreenSaver at is 3",
       {Rule::kDefaultAgainstLock}},
      {Rule::kValueNotAvailable,
       ChangeEngine(L"PointerSpeed", [](EngineAnswers& answers) { answers.available[12] = false; }),
       {kDefaults, L"Cradle_Win8OrLater", L"PointerSpeed=12"},
       L"which this machine does not have"},
  };
}

std::vector<RuleCase> GetTextCases() {
  const std::wstring dialog = L"ModeSettingsDialog";
  const std::wstring announcement = L"AnnounceModeIsChangedDialog";
  const std::wstring details = L"DetailInformation_ModeStatus1=";
  const auto text = [](Rule rule, const std::wstring& section, const std::wstring& key,
                       const std::wstring& value, const std::wstring& message) {
    return RuleCase{
        rule, Replace(kGerman, section, key, key + value), {kGerman, section, key}, message};
  };
  return {
      {Rule::kFileMissing,
       [](SampleMachine& machine) { machine.KeepLanguages({}); },
       {kEnglish},
       L"There are no texts, so the dialogs are empty."},
      {Rule::kTextMissing,
       Remove(kGerman, L"Mode", L"Eco="),
       {kGerman, L"Mode"},
       L"Eco in [Mode] is missing"},
      text(Rule::kTextMissing, L"SettingGroup", L"Power=", L"",
           L"Power in [SettingGroup] is empty"),
      text(Rule::kTextMissing, L"SettingItem", L"PointerSpeed_Value7=", L"\"\"",
           L"PointerSpeed_Value7 in [SettingItem] is empty"),
      {Rule::kTextMissing,
       Remove(kGerman, dialog, L"LockedSettingItemMemo_ByPowerScheme="),
       {kGerman, dialog},
       L"LockedSettingItemMemo_ByPowerScheme in [ModeSettingsDialog] is missing"},
      {Rule::kTextMissing,
       [](SampleMachine& machine) {
         machine.asksEngines = false;
         machine.Remove(kGerman, L"SettingItem", L"PointerSpeed_Value7=");
       },
       {kGerman, L"SettingItem"},
       L"PointerSpeed_Value7 in [SettingItem] is missing"},
      text(Rule::kPlaceholderUnknown, announcement, details,
           L"%MODE%: %CHANGED_SETTINGITEM_INFORMATION%",
           L"%CHANGED_SETTINGITEM_INFORMATION% is not replaced in DetailInformation_ModeStatus1; "
           L"users see it as it is. Placeholders here: %CHENGED_SETTINGITEM_INFORMATION%, %MODE%. "
           L"Did you mean \"%CHENGED_SETTINGITEM_INFORMATION%\"?"),
      text(Rule::kPlaceholderUnknown, announcement, details,
           L"%Mode%: %CHENGED_SETTINGITEM_INFORMATION%", L"Did you mean \"%MODE%\"?"),
      text(Rule::kPlaceholderUnknown, announcement, details,
           L"%MODE: %CHENGED_SETTINGITEM_INFORMATION%", L"%MODE is not replaced"),
      text(Rule::kPlaceholderUnknown, announcement, L"Description=", L"%MODE% changes.",
           L"This text has no placeholders."),
      text(Rule::kPlaceholderMissing, announcement, details, L"%MODE%",
           L"DetailInformation_ModeStatus1 lacks %CHENGED_SETTINGITEM_INFORMATION%"),
      text(Rule::kPlaceholderMissing, dialog, L"Message_OnSaveSettings_SettingsIsNotCorrect=",
           L"100% wrong", L"lacks %SETTINGITEM%"),
      text(Rule::kLineBreak, dialog, L"DialogTitle=", L"Mode\\nSettings", L"ends no line"),
      text(Rule::kAccessKeyMisplaced, dialog, L"DialogTitle=", L"Modes & more",
           L"neither a button nor a check box"),
      text(Rule::kAccessKeyMisplaced, dialog, L"OKButton=", L"OK & out", L"marks no letter"),
      text(Rule::kAccessKeyMisplaced, dialog, L"OKButton=", L"OK&", L"marks no letter"),
      text(Rule::kAccessKeyRepeated, announcement, L"OKButton=", L"&O&K and &o",
           L"is that of OKButton already"),
      text(Rule::kQuoteUnpaired, dialog, L"DialogTitle=", L"\"Modes", L"are no pair"),
      text(Rule::kQuoteUnpaired, dialog, L"DialogTitle=", L"\"A\" and \"B\"", L"one more pair"),
      text(Rule::kSpaceLost, dialog, L"LockedSettingItemMemo=", L" (fixed)",
           L"The space at the start of LockedSettingItemMemo is lost"),
      text(Rule::kFontSize, L"FontSize_ModeSetingsDialog", L"ButtonsSize=", L"0",
           L"ButtonsSize in [FontSize_ModeSetingsDialog] is \"0\""),
      text(Rule::kFontSize, L"FontSize_ModeSetingsDialog", L"ButtonsSize=", L"nine", L"\"nine\""),
      text(Rule::kFontSize, L"FontSize_ModeSetingsDialog", L"ButtonsSize=", L"", L"is empty"),
      {Rule::kFontSize,
       Remove(kGerman, L"FontSize_UpdatePcEnvironmentDialog", L"ProcessingSize="),
       {kGerman, L"FontSize_UpdatePcEnvironmentDialog"},
       L"ProcessingSize in [FontSize_UpdatePcEnvironmentDialog] is missing"},
      text(Rule::kFontSizeUnusual, L"FontSize_AnnounceModeIsChangedDialog", L"DescriptionSize=",
           L"0x48", L"is 0x48 points"),
      text(Rule::kFontSizeUnusual, L"FontSize_AnnounceModeIsChangedDialog", L"DescriptionSize=",
           L"5", L"Write a size between 6 and 24."),
  };
}

std::vector<RuleCase> GetDataCases() {
  const std::wstring eco =
      L"[Eco]\nPowerScheme=0\nVisualEffects=0\nScreenSaver=0\nPointerSpeed=-1\n";
  return {
      {Rule::kSettingMissing,
       Write(kSettings, eco + L"AutoONOFF=0"),
       {kSettings, L"Eco"},
       L"KeyboardRepeatDelay has no value in [Eco]"},
      {Rule::kValueNotOffered,
       Write(kSettings, eco + L"KeyboardRepeatDelay=4"),
       {kSettings, L"Eco", L"KeyboardRepeatDelay=4"},
       L"KeyboardRepeatDelay in [Eco] is 4"},
      {Rule::kUnknownSection,
       Write(kSettings, L"[Gaming]\nPowerScheme=0"),
       {kSettings, L"Gaming"},
       L"Nothing reads [Gaming]."},
      {Rule::kNotANumber,
       Write(kSettings, L"[Common]\nShowAnnounceModeIsChangedDialog=no"),
       {kSettings, L"Common", L"ShowAnnounceModeIsChangedDialog=no"},
       L"is \"no\""},
      {Rule::kStatusValue,
       Write(kStatus, L"[CurrentModeStatus]\nEco=2"),
       {kStatus, L"CurrentModeStatus", L"Eco=2"},
       L"The status of Eco is 2."},
      {Rule::kStatusTwoModesOn,
       Write(kStatus, L"[CurrentModeStatus]\nCustom=1\nEco=1"),
       {kStatus, L"CurrentModeStatus", L"Custom=1"},
       L"Custom is ON, and so is another mode"},
      {Rule::kValueNotOffered,
       Write(kStatus, L"[NormalEnvironment]\nVisualEffects=2"),
       {kStatus, L"NormalEnvironment", L"VisualEffects=2"},
       L"VisualEffects in [NormalEnvironment] is 2"},
      {Rule::kUnknownKey,
       Write(kStatus, L"[NormalEnvironment]\nPointer_Speed=2"),
       {kStatus, L"NormalEnvironment", L"Pointer_Speed=2"},
       L"Did you mean \"PointerSpeed\"?"},
  };
}
