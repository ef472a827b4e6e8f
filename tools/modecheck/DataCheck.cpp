#include "DataCheck.h"

#include "Names.h"

namespace {

constexpr const wchar_t* kAutoOnOff = L"AutoONOFF";
constexpr const wchar_t* kCurrentStatus = L"CurrentModeStatus";
constexpr const wchar_t* kNormalEnvironment = L"NormalEnvironment";

}  // namespace

void DataCheck::CheckSettings(const IniFileCheck& file) const {
  constexpr const wchar_t* kShowAnnouncement = L"ShowAnnounceModeIsChangedDialog";
  static_cast<void>(file.ReadNumber(L"Common", kShowAnnouncement));
  std::vector<std::wstring> names = configuration.ModeNames();
  std::map<std::wstring, IniFileCheck::KnownKeys> known;
  IniFileCheck::KnownKeys keys = {configuration.ItemNames()};
  keys.keys.emplace_back(kAutoOnOff);
  for (const std::wstring& mode : names) {
    known[Names::Fold(mode)] = keys;
    const IniDocument::Section* const section = file.Document().FindSection(mode);
    // A mode with nothing in its section takes the defaults.
    if (section != nullptr && !section->keys.empty()) CheckMode(file, *section);
  }
  known[Names::Fold(L"Common")].keys = {kShowAnnouncement};
  names.emplace_back(L"Common");
  file.CheckNames(known, names);
}

void DataCheck::CheckMode(const IniFileCheck& file, const IniDocument::Section& section) const {
  static_cast<void>(file.ReadFlag(section.name, kAutoOnOff));
  for (const Configuration::Item& item : configuration.items) {
    const unsigned line = file.LineOf(section.name, item.name);
    if (section.Find(item.name) == nullptr) {
      file.Add(Rule::kSettingMissing, line,
               item.name + L" has no value in [" + section.name +
                   L"], so the mode leaves it as it is, whatever its default. Save the mode's "
                   L"settings once more, or delete the section.");
    } else if (const std::optional<int> value = file.ReadNumber(section.name, item.name)) {
      engines.CheckValue(file, line, item.name, item.name + L" in [" + section.name + L"]", *value);
    }
  }
}

void DataCheck::CheckStatus(const IniFileCheck& file) const {
  unsigned modesOn = 0;
  for (const std::wstring& mode : configuration.ModeNames()) {
    const std::optional<int> status = file.ReadNumber(kCurrentStatus, mode);
    if (!status) continue;
    const unsigned line = file.LineOf(kCurrentStatus, mode);
    if (*status != 0 && *status != 1) {
      file.Add(Rule::kStatusValue, line,
               L"The status of " + mode + L" is " + std::to_wstring(*status) +
                   L". Write 0 for OFF, 1 for ON.");
    } else if (*status == 1 && ++modesOn == 2) {
      file.Add(Rule::kStatusTwoModesOn, line,
               mode +
                   L" is ON, and so is another mode; the library expects one. Leave 1 at one "
                   L"of them.");
    }
  }
  for (const std::wstring& item : configuration.ItemNames()) {
    if (const std::optional<int> value = file.ReadNumber(kNormalEnvironment, item)) {
      engines.CheckValue(file, file.LineOf(kNormalEnvironment, item), item,
                         item + L" in [" + kNormalEnvironment + L"]", *value);
    }
  }
  file.CheckNames({{Names::Fold(kCurrentStatus), {configuration.ModeNames()}},
                   {Names::Fold(kNormalEnvironment), {configuration.ItemNames()}}},
                  {kCurrentStatus, kNormalEnvironment});
}
