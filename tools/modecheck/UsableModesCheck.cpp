#include "UsableModesCheck.h"

#include "Names.h"

void CheckUsableModes(const IniFileCheck& file, const Configuration& configuration) {
  const IniFileCheck::List list = {L"UsableModeList", L"ModeCount", L"Mode"};
  const std::vector<IniFileCheck::Entry> modes = file.ReadList(list);
  file.CheckDuplicates(list, modes);
  if (modes.empty()) {
    file.Add(Rule::kNoModes, file.LineOf(list.section, list.countKey),
             L"[UsableModeList] has no mode, which is an error of the library. List at least one.");
  }
  for (const IniFileCheck::Entry& mode : modes) {
    if (configuration.FindMode(mode.name) != nullptr) continue;
    file.Add(Rule::kModeNotDefined, mode.line,
             mode.name +
                 L" is not in [ModeList] of ModeChange.Config.ini, so it is not offered. "
                 L"Correct the name, or add it there." +
                 Names::Suggest(mode.name, configuration.ModeNames()));
  }
  file.CheckNames({{Names::Fold(list.section), {{list.countKey}, {list.entryKey}}}},
                  {list.section});
}
