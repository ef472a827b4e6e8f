#include "soak/SoakMachine.h"

namespace fs = std::filesystem;

SoakMachine::SoakMachine(Sandbox& sandbox) : sandbox(sandbox) {
  sandbox.SetUserLocale(L"en-US");
  WriteConfiguration();
  WriteTexts();
  CopyEngines();
}

fs::path SoakMachine::Engine(int number) const {
  return sandbox.LibraryFolder() / L"Engines" / (Item(number) + L".dll");
}

std::optional<std::wstring> SoakMachine::Saved(const wchar_t* mode, int item) const {
  return sandbox.IniValue(sandbox.DataFile(L"ModeChange.Settings.ini"), mode, Item(item).c_str());
}

void SoakMachine::WriteConfiguration() {
  IniFile config;
  config.Section(L"ModeList").Key(L"ModeCount", 2).Key(L"Mode0", L"Eco").Key(L"Mode1", L"Cradle");
  config.Section(L"Eco").Key(L"IsEcoMode", 1).Section(L"Cradle").Key(L"IsCradleMode", 1);
  config.Section(L"SettingItemList").Key(L"SettingItemCount", kItemCount);
  for (int item = 0; item < kItemCount; ++item) {
    config.Key(L"Setting" + Item(item), Item(item));
  }
  config.Section(L"SettingGroupList").Key(L"SettingGroupCount", 1).Key(L"SettingGroup0", L"Group");
  config.Section(L"Group").Key(L"SettingItemCount", kItemCount);
  for (int item = 0; item < kItemCount; ++item) {
    config.Key(L"Setting" + Item(item), Item(item));
  }
  for (int item = 0; item < kItemCount; ++item) {
    config.Section(Item(item)).Key(L"EnginePath", L"Engines\\" + Item(item) + L".dll");
  }
  sandbox.Write(L"ModeChange.Config.ini", config);
  sandbox.Write(L"ModeChange.UsableModeList.ini", IniFile()
                                                      .Section(L"UsableModeList")
                                                      .Key(L"ModeCount", 2)
                                                      .Key(L"Mode0", L"Eco")
                                                      .Key(L"Mode1", L"Cradle"));
  IniFile defaults;
  defaults.Section(L"Common").Key(L"ShowAnnounceModeIsChangedDialog", 0);
  for (const wchar_t* suffix : {L"_Win7", L"_Win8OrLater"}) {
    defaults.Section(std::wstring(L"Eco") + suffix);
    for (int item = 0; item < 4; ++item) defaults.Key(Item(item), 1);
    defaults.Section(std::wstring(L"Cradle") + suffix);
    for (int item = 2; item < 6; ++item) defaults.Key(Item(item), 1);
  }
  sandbox.Write(L"ModeChange.DefaultSettings.ini", defaults);
}

void SoakMachine::WriteTexts() {
  sandbox.MakeFolder(L"en-US");
  const fs::path texts = sandbox.LibraryFolder() / L"en-US" / L"ModeChange.Resource.ini";
  fs::copy_file(SAMPLE_TEXTS, texts);
  ::WritePrivateProfileStringW(L"SettingGroup", L"Group", L"Devices", texts.c_str());
}

void SoakMachine::CopyEngines() {
  sandbox.MakeFolder(L"Engines");
  for (int item = 0; item < kItemCount; ++item) {
    fs::copy_file(sandbox.LibraryFolder() / L"BenchEngine.dll", Engine(item));
  }
}
