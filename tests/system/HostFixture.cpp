#include "system/HostFixture.h"

#include <stdexcept>

namespace {

constexpr const wchar_t* kHostClass = L"ModeChangeTestHost";
constexpr ULONGLONG kPatience = 10'000;  // milliseconds

}  // namespace

HostTest::HostTest() {
  Resolve("VeltoModeChange_CreateHandle", &createHandle);
  Resolve("VeltoModeChange_DeleteHandle", &deleteHandle);
  Resolve("VeltoModeChange_GetModeCount", &getModeCount);
  Resolve("VeltoModeChange_SelectMode", &selectMode);
  Resolve("VeltoModeChange_GetStringInformation", &getStringInformation);
  Resolve("VeltoModeChange_GetINT32Information", &getINT32Information);
  Resolve("VeltoModeChange_RequestToSetINT32Information", &request);
  Resolve("VeltoModeChange_ShowSettingsDialog", &showSettingsDialog);

  WNDCLASSW windowClass{};
  windowClass.lpfnWndProc = HostWindowProc;
  windowClass.hInstance = ::GetModuleHandleW(nullptr);
  windowClass.lpszClassName = kHostClass;
  ::RegisterClassW(&windowClass);
  hostWindow = ::CreateWindowExW(0, kHostClass, L"Host", WS_OVERLAPPEDWINDOW, 0, 0, 100, 100,
                                 nullptr, nullptr, windowClass.hInstance, nullptr);
  ::SetWindowLongPtrW(hostWindow, GWLP_USERDATA, reinterpret_cast<LONG_PTR>(this));

  sandbox.MakeFolder(L"Engines");
  for (const wchar_t* item : {L"Lamp", L"Fan"}) {
    const auto path = sandbox.LibraryFolder() / L"Engines" / (std::wstring(item) + L".dll");
    engines[item] = std::make_unique<ScriptedEngine>(path.wstring(), &log);
    engines[item]->itemKey = std::wstring(item) + L"_Name";
    engines[item]->valueKeyPrefix = std::wstring(item) + L"_Value";
  }
  WriteConfig();
  WriteUsableModes({L"Quiet", L"Dock", L"Own", L"Eco", L"Flight"});
  WriteDefaults();
  WriteTexts();
}

HostTest::~HostTest() {
  if (handle != nullptr) Close();
  ::DestroyWindow(hostWindow);
  engines.clear();
}

void HostTest::WriteConfig() {
  sandbox.Write(L"ModeChange.Config.ini", IniFile()
                                              .Section(L"ModeList")
                                              .Key(L"ModeCount", 5)
                                              .Key(L"Mode0", L"Quiet")
                                              .Key(L"Mode1", L"Dock")
                                              .Key(L"Mode2", L"Own")
                                              .Key(L"Mode3", L"Eco")
                                              .Key(L"Mode4", L"Flight")
                                              .Section(L"Dock")
                                              .Key(L"IsCradleMode", 1)
                                              .Section(L"Own")
                                              .Key(L"IsCustomMode", 1)
                                              .Section(L"Eco")
                                              .Key(L"IsEcoMode", 1)
                                              .Section(L"Flight")
                                              .Key(L"IsWirelessOffMode", 1)
                                              .Section(L"ModeStatus0")
                                              .Key(L"ModeStatusIconKeyName", L"IconOff")
                                              .Section(L"ModeStatus1")
                                              .Key(L"ModeStatusIconKeyName", L"IconOn")
                                              .Section(L"SettingItemList")
                                              .Key(L"SettingItemCount", 2)
                                              .Key(L"SettingItem0", L"Lamp")
                                              .Key(L"SettingItem1", L"Fan")
                                              .Section(L"Lamp")
                                              .Key(L"EnginePath", L"Engines\\Lamp.dll")
                                              .Section(L"Fan")
                                              .Key(L"EnginePath", L"Engines\\Fan.dll")
                                              .Section(L"SettingGroupList")
                                              .Key(L"SettingGroupCount", 1)
                                              .Key(L"SettingGroup0", L"Devices")
                                              .Section(L"Devices")
                                              .Key(L"SettingItemCount", 2)
                                              .Key(L"SettingItem0", L"Lamp")
                                              .Key(L"SettingItem1", L"Fan"));
}

void HostTest::WriteUsableModes(const std::vector<std::wstring>& modes) {
  IniFile file;
  file.Section(L"UsableModeList").Key(L"ModeCount", static_cast<std::int64_t>(modes.size()));
  for (std::size_t index = 0; index < modes.size(); ++index) {
    file.Key(L"Mode" + std::to_wstring(index), modes[index]);
  }
  sandbox.Write(L"ModeChange.UsableModeList.ini", file);
}

void HostTest::WriteDefaults(bool announce) {
  announces = announce;
  IniFile file;
  file.Section(L"Common").Key(L"ShowAnnounceModeIsChangedDialog", announce ? 1 : 0);
  for (const auto& [mode, values] : defaults) {
    for (const wchar_t* suffix : {L"_Win7", L"_Win8OrLater"}) {
      file.Section(mode + suffix);
      for (const auto& [item, value] : values) file.Key(item, value);
    }
  }
  sandbox.Write(L"ModeChange.DefaultSettings.ini", file);
}

void HostTest::SetDefault(const std::wstring& mode, const std::wstring& item, int value) {
  defaults[mode][item] = value;
  WriteDefaults(announces);
}

void HostTest::WriteTexts() {
  if (texts.empty()) {
    texts = {
        {L"Common",
         {{L"ApplicationName", L"Mode Change"}, {L"ModeStatus0", L"Off"}, {L"ModeStatus1", L"On"}}},
        {L"Mode",
         {{L"Quiet", L"Normal mode"},
          {L"Dock", L"Cradle mode"},
          {L"Own", L"Custom mode"},
          {L"Eco", L"Eco mode"},
          {L"Flight", L"Flight mode"}}},
        {L"SettingItem",
         {{L"Lamp_Name", L"Lamp"},
          {L"Lamp_Value0", L"dark"},
          {L"Lamp_Value1", L"bright"},
          {L"Fan_Name", L"Fan"},
          {L"Fan_Value0", L"slow"},
          {L"Fan_Value1", L"fast"}}},
        {L"SettingGroup", {{L"Devices", L"Devices"}}},
        {L"ModeSettingsDialog",
         {{L"DialogTitle", L"Mode Settings"},
          {L"RestoreDefaultSettingsButton", L"Restore &Defaults"},
          {L"AutoONOFFSetting", L"&Turn this mode on and off automatically"},
          {L"SliderDown", L"Low"},
          {L"SliderUp", L"High"},
          {L"LockedSettingItemMemo", L" (fixed)"},
          {L"ShowAnnounceModeIsChangedDialog", L"&Show a confirmation"},
          {L"OKButton", L"OK"},
          {L"CancelButton", L"Cancel"},
          {L"ApplyButton", L"&Apply"},
          {L"Message_OnChangeMode_SettingsIsChanged", L"Not saved.\\nApply first."},
          {L"Message_OnSaveSettings_SettingsIsNotCorrect",
           L"No value:\\n%SETTINGITEM%\\nSelect one."},
          {L"Error_Unknown", L"Something\\nunexpected."},
          {L"Error_FailedSaveSettings", L"Could not be saved.\\nTry again."},
          {L"Error_FailedUpdatePcEnvironment", L"Could not be\\napplied."}}},
        {L"UpdatePcEnvironmentDialog", {{L"Processing", L"Devices change.\\nPlease wait."}}},
        {L"FontSize_ModeSetingsDialog",
         {{L"DialogTitleSize", L"12"},
          {L"ModeSelectionSize", L"9"},
          {L"RestoreDefaultSettingsSize", L"7"},
          {L"AutoONOFFSize", L"10"},
          {L"SettingItemListGroupTitleSize", L"10"},
          {L"SettingItemListSettingItemNameSize", L"9"},
          {L"SettingItemListSettingItemValueSize", L"9"},
          {L"SliderUpDownSize", L"8"},
          {L"ShowAnnounceModeIsChangedDialogSize", L"8"},
          {L"ButtonsSize", L"11"}}},
        {L"FontSize_UpdatePcEnvironmentDialog", {{L"ProcessingSize", L"10"}}},
        {L"AnnounceModeIsChangedDialog",
         {{L"Description", L"Settings will change.\\nGo on?"},
          {L"DetailInformation_ModeStatus0",
           L"%MODE% goes off.\\n%CHENGED_SETTINGITEM_INFORMATION%"},
          {L"DetailInformation_ModeStatus1",
           L"%MODE% goes on, %MODE%.\\n%CHENGED_SETTINGITEM_INFORMATION%"},
          {L"DetailInformation_ChangedSettingItem", L"- %SETTINGITEM%: %SETTINGITEMVALUE%"},
          {L"DetailInformation_NoChangedSettingItem", L"%MODE% changes\\nnothing."},
          {L"NotShowThisDialog", L"Do not show this again"},
          {L"OKButton", L"OK"},
          {L"CancelButton", L"Cancel"}}},
        {L"FontSize_AnnounceModeIsChangedDialog",
         {{L"DialogTitleSize", L"12"},
          {L"DescriptionSize", L"9"},
          {L"DetailInformationSize", L"10"},
          {L"NotShowThisDialogSize", L"8"},
          {L"ButtonsSize", L"11"}}}};
  }
  IniFile file;
  for (const auto& [section, keys] : texts) {
    file.Section(section);
    for (const auto& [key, text] : keys) file.Key(key, text);
  }
  sandbox.Write(L"en-US\\ModeChange.Resource.ini", file);
}

void HostTest::SetText(const std::wstring& section, const std::wstring& key,
                       const std::wstring& text) {
  texts[section][key] = text;
  WriteTexts();
}

void HostTest::Open() {
  ASSERT_EQ(createHandle(&handle), TRUE);
  ASSERT_NE(handle, nullptr);
}

void HostTest::Close() {
  EXPECT_EQ(deleteHandle(handle), TRUE);
  handle = nullptr;
  PumpAll();
}

std::optional<std::wstring> HostTest::GetString(UINT identifier, UINT subIndex) const {
  wchar_t buffer[256] = L"untouched";
  UINT length = 256;
  if (getStringInformation(handle, identifier, subIndex, &length, buffer) == FALSE) {
    EXPECT_EQ(length, 256U);
    EXPECT_STREQ(buffer, L"untouched");
    return std::nullopt;
  }
  EXPECT_EQ(length, std::wcslen(buffer) + 1);
  return buffer;
}

std::optional<INT32> HostTest::GetNumber(UINT identifier, UINT subIndex) const {
  constexpr INT32 kUntouched = 4711;
  INT32 value = kUntouched;
  if (getINT32Information(handle, identifier, subIndex, &value) == FALSE) {
    EXPECT_EQ(value, kUntouched);
    return std::nullopt;
  }
  return value;
}

BOOL HostTest::Request(INT32 status) {
  return request(handle, VELTO_MODE_REQUEST_STATUS, 0, status, hostWindow, kNotify);
}

std::optional<WPARAM> HostTest::WaitForResult() {
  if (!PumpUntil([this] { return !results.empty(); })) return std::nullopt;
  const WPARAM result = results.front();
  results.erase(results.begin());
  return result;
}

void HostTest::PumpAll() {
  for (MSG message; ::PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE) != FALSE;) {
    ::DispatchMessageW(&message);
  }
}

bool HostTest::PumpUntil(const std::function<bool()>& condition) {
  const ULONGLONG deadline = ::GetTickCount64() + kPatience;
  for (PumpAll(); !condition(); PumpAll()) {
    const ULONGLONG now = ::GetTickCount64();
    if (now >= deadline) return false;
    ::MsgWaitForMultipleObjects(0, nullptr, FALSE, static_cast<DWORD>(deadline - now), QS_ALLINPUT);
  }
  return true;
}

HWND HostTest::ChangeModeWindow() const {
  HWND found = nullptr;
  for (HWND window = nullptr;
       (window = ::FindWindowExW(nullptr, window, L"ChangeModeWindow", nullptr)) != nullptr;) {
    DWORD process = 0;
    ::GetWindowThreadProcessId(window, &process);
    if (process == ::GetCurrentProcessId()) found = window;
  }
  return found;
}

LRESULT CALLBACK HostTest::HostWindowProc(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
  auto* test = reinterpret_cast<HostTest*>(::GetWindowLongPtrW(window, GWLP_USERDATA));
  if (message == kNotify && test != nullptr) {
    EXPECT_EQ(lParam, 0);
    test->results.push_back(wParam);
    return 0;
  }
  return ::DefWindowProcW(window, message, wParam, lParam);
}

template <class Function>
void HostTest::Resolve(const char* name, Function* function) {
  *function =
      reinterpret_cast<Function>(reinterpret_cast<void*>(::GetProcAddress(library.Module(), name)));
  if (*function == nullptr) throw std::runtime_error(std::string(name) + " is not exported");
}
