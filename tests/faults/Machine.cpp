#include "faults/Machine.h"

#include <fstream>
#include <iterator>
#include <sstream>
#include <stdexcept>
#include <utility>

#include "support/Text.h"

namespace {

constexpr const wchar_t* kHostClass = L"ModeChangeFaultsHost";
constexpr UINT_PTR kTickTimer = 1;
constexpr UINT kTickInMilliseconds = 50;

constexpr const wchar_t* kSuppressionKey = L"Software\\Brivane\\Kestrola\\ModeChange";
constexpr const wchar_t* kSuppressionValue = L"NotShowAnnounceModeIsChangeDialog";

struct Item {
  const wchar_t* name;
  INT32 values;
  INT32 current;
};
constexpr Item kItems[] = {{L"Lamp", 2, 0}, {L"Fan", 3, 2}, {L"Sound", 5, 3}};

std::string ReadFile(const std::filesystem::path& path) {
  HANDLE file = ::CreateFileW(path.c_str(), GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE,
                              nullptr, OPEN_EXISTING, 0, nullptr);
  if (file == INVALID_HANDLE_VALUE) return {};
  std::string bytes(::GetFileSize(file, nullptr), '\0');
  DWORD read = 0;
  ::ReadFile(file, bytes.data(), static_cast<DWORD>(bytes.size()), &read, nullptr);
  ::CloseHandle(file);
  return bytes;
}

void SetRegistryText(HKEY key, const wchar_t* name, const std::wstring& text) {
  ::RegSetValueExW(key, name, 0, REG_SZ, reinterpret_cast<const BYTE*>(text.c_str()),
                   static_cast<DWORD>((text.size() + 1) * sizeof(wchar_t)));
}

}  // namespace

Machine::Machine(Interposition& interposition, MemoryBalance& memory, HMODULE library)
    : user(interposition), memory(memory), sandbox(interposition) {
  user.report = [this](const std::string& problem) { AddProblem(problem); };
  Resolve(library, "VeltoModeChange_CreateHandle", &createHandle);
  Resolve(library, "VeltoModeChange_DeleteHandle", &deleteHandle);
  Resolve(library, "VeltoModeChange_GetModeCount", &getModeCount);
  Resolve(library, "VeltoModeChange_SelectMode", &selectMode);
  Resolve(library, "VeltoModeChange_GetStringInformation", &getStringInformation);
  Resolve(library, "VeltoModeChange_GetINT32Information", &getINT32Information);
  Resolve(library, "VeltoModeChange_RequestToSetINT32Information", &request);
  Resolve(library, "VeltoModeChange_ShowSettingsDialog", &showSettingsDialog);

  WNDCLASSW windowClass{};
  windowClass.lpfnWndProc = HostWindowProc;
  windowClass.hInstance = ::GetModuleHandleW(nullptr);
  windowClass.lpszClassName = kHostClass;
  ::RegisterClassW(&windowClass);
  hostWindow = ::CreateWindowExW(0, kHostClass, L"Host", WS_OVERLAPPEDWINDOW, 0, 0, 100, 100,
                                 nullptr, nullptr, windowClass.hInstance, nullptr);
  ::SetWindowLongPtrW(hostWindow, GWLP_USERDATA, reinterpret_cast<LONG_PTR>(this));
  ::SetTimer(hostWindow, kTickTimer, kTickInMilliseconds, nullptr);

  sandbox.MakeFolder(L"Engines");
  for (const Item& item : kItems) AddEngine(item.name, item.values);
  sandbox.MakeFolder(L"Driver");
  driver =
      std::make_unique<ScriptedDriver>((sandbox.LibraryFolder() / L"Driver\\Keys.dll").wstring());
  WriteConfiguration();
  WriteTexts();
  WriteGermanTexts();
  WriteRegistry();

  // Nobody waits for a message box here, nor a second for a change to begin.
  interposition.Replace("MessageBoxW", [this](HWND, const wchar_t*, const wchar_t*, UINT) {
    ++user.messageBoxes;
    return IDOK;
  });
  interposition.Replace("SetTimer", [](HWND window, UINT_PTR timer, UINT, TIMERPROC procedure) {
    return ::SetTimer(window, timer, USER_TIMER_MINIMUM, procedure);
  });
  interposition.Replace("VerifyVersionInfoW", [this](OSVERSIONINFOEXW*, DWORD, DWORDLONG) -> BOOL {
    if (isWindows7) ::SetLastError(ERROR_OLD_WIN_VERSION);
    return isWindows7 ? FALSE : TRUE;
  });
}

Machine::~Machine() {
  if (handle != nullptr) CloseHandle();
  ::DestroyWindow(hostWindow);
  // Before their files go.
  engines.clear();
  driver.reset();
}

void Machine::Reset() {
  isWindows7 = false;
  sandbox.SetUserLocale(L"en-US");
  ::CreateDirectoryW(sandbox.DataFolderPath().c_str(), nullptr);
  ::DeleteFileW(sandbox.DataFile(L"ModeChange.Status.ini").c_str());
  WriteSettings("[Common]\r\nShowAnnounceModeIsChangedDialog=0\r\n");
  ::RegDeleteKeyW(HKEY_CURRENT_USER, kSuppressionKey);
  for (const Item& item : kItems) {
    ScriptedEngine& engine = *engines.at(item.name);
    engine.current = item.current;
    engine.requested.clear();
    engine.result = 1;
  }
  driver->calls.clear();
  log.clear();
  told.clear();
  problems.clear();
}

void Machine::PretendWindows7() {
  isWindows7 = true;
}

void Machine::WriteStatus(const std::string& text) {
  WriteDataFile(L"ModeChange.Status.ini", text);
}

void Machine::WriteSettings(const std::string& text) {
  WriteDataFile(L"ModeChange.Settings.ini", text);
}

void Machine::RemoveDataFolder() {
  ::DeleteFileW(sandbox.DataFile(L"ModeChange.Status.ini").c_str());
  ::DeleteFileW(sandbox.DataFile(L"ModeChange.Settings.ini").c_str());
  ::RemoveDirectoryW(sandbox.DataFolderPath().c_str());
}

void Machine::SuppressConfirmationOnce(DWORD value) {
  HKEY key = nullptr;
  ::RegCreateKeyExW(HKEY_CURRENT_USER, kSuppressionKey, 0, nullptr, REG_OPTION_VOLATILE,
                    KEY_ALL_ACCESS, nullptr, &key, nullptr);
  ::RegSetValueExW(key, kSuppressionValue, 0, REG_DWORD, reinterpret_cast<const BYTE*>(&value),
                   sizeof(value));
  ::RegCloseKey(key);
}

bool Machine::IsSuppressionThere() const {
  return ::RegGetValueW(HKEY_CURRENT_USER, kSuppressionKey, kSuppressionValue, RRF_RT_ANY, nullptr,
                        nullptr, nullptr) == ERROR_SUCCESS;
}

void Machine::OpenHandle() {
  if (handle == nullptr && createHandle(&handle) == FALSE) AddProblem("there is no handle");
}

void Machine::CloseHandle() {
  deleteHandle(std::exchange(handle, nullptr));
  Pump();
}

void Machine::Pump() {
  for (MSG message; ::PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE) != FALSE;) {
    ::DispatchMessageW(&message);
  }
}

std::string Machine::TakeTold() {
  if (told.empty()) return "told nothing";
  std::string text = "told";
  for (const WPARAM result : std::exchange(told, {})) text += " " + std::to_string(result);
  return text;
}

MachineState Machine::ReadState() const {
  MachineState state;
  for (const auto& [name, engine] : engines) {
    state["device " + Text::ToUtf8(name)] = std::to_string(engine->current);
  }
  ReadIniFile(L"Status", &state);
  ReadIniFile(L"Settings", &state);
  return state;
}

std::vector<std::string> Machine::Windows() const {
  std::vector<std::string> windows;
  ::EnumThreadWindows(
      ::GetCurrentThreadId(),
      [](HWND window, LPARAM parameter) -> BOOL {
        wchar_t name[64]{};
        ::GetClassNameW(window, name, 64);
        const std::string text = Text::ToUtf8(name);
        const bool isOurs = text == "#32770" || text == "ChangeModeWindow";
        if (isOurs) reinterpret_cast<std::vector<std::string>*>(parameter)->push_back(text);
        return TRUE;
      },
      reinterpret_cast<LPARAM>(&windows));
  return windows;
}

std::vector<std::string> Machine::TakeProblems() {
  return std::exchange(problems, {});
}

LRESULT CALLBACK Machine::HostWindowProc(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
  auto* machine = reinterpret_cast<Machine*>(::GetWindowLongPtrW(window, GWLP_USERDATA));
  if (machine != nullptr) {
    switch (message) {
      case kNotify:
        if (lParam != 0) machine->AddProblem("a notification with an lParam");
        machine->told.push_back(wParam);
        return 0;
      case WM_ENTERIDLE:
        machine->user.OnIdle(reinterpret_cast<HWND>(lParam));
        return 0;
      case WM_TIMER:
        machine->user.OnTick();
        return 0;
      default:
        break;
    }
  }
  return ::DefWindowProcW(window, message, wParam, lParam);
}

template <class Function>
void Machine::Resolve(HMODULE library, const char* name, Function* function) {
  *function = reinterpret_cast<Function>(reinterpret_cast<void*>(::GetProcAddress(library, name)));
  if (*function == nullptr) throw std::runtime_error(std::string(name) + " is not exported");
}

void Machine::AddEngine(const std::wstring& item, INT32 values) {
  const auto path = sandbox.LibraryFolder() / L"Engines" / (item + L".dll");
  auto engine = std::make_unique<ScriptedEngine>(path.wstring(), &log);
  engine->values = values;
  engine->itemKey = item + L"_Name";
  engine->valueKeyPrefix = item + L"_Value";
  engines[item] = std::move(engine);
}

void Machine::WriteConfiguration() {
  IniFile config;
  config.Section(L"Common")
      .Key(L"EnableToChangeWirelessLEDStatusInWin7", 1)
      .Section(L"ModeList")
      .Key(L"ModeCount", 3)
      .Key(L"Mode0", L"Eco")
      .Key(L"Mode1", L"Dock")
      .Key(L"Mode2", L"Flight")
      .Section(L"Eco")
      .Key(L"IsEcoMode", 1)
      .Section(L"Dock")
      .Key(L"IsCradleMode", 1)
      .Section(L"Flight")
      .Key(L"IsWirelessOffMode", 1)
      .Section(L"ModeStatus1")
      .Key(L"ModeStatusIconKeyName", L"IconOn")
      .Section(L"SettingItemList")
      .Key(L"SettingItemCount", 3)
      .Key(L"SettingItem0", L"Lamp")
      .Key(L"SettingItem1", L"Fan")
      .Key(L"SettingItem2", L"Sound")
      .Section(L"SettingGroupList")
      .Key(L"SettingGroupCount", 1)
      .Key(L"SettingGroup0", L"All")
      .Section(L"All")
      .Key(L"SettingItemCount", 3)
      .Key(L"SettingItem0", L"Lamp")
      .Key(L"SettingItem1", L"Fan")
      .Key(L"SettingItem2", L"Sound");
  for (const Item& item : kItems) {
    config.Section(item.name).Key(L"EnginePath", L"Engines\\" + std::wstring(item.name) + L".dll");
  }
  config.Section(L"Lamp")
      .Key(L"SettingItemValueToLockOtherSettingItem", 1)
      .Key(L"LockedOtherSettingItemCount", 1)
      .Key(L"LockedOtherSettingItem0", L"Sound")
      .Key(L"LockedOtherSettingItemValue0", 4);
  sandbox.Write(L"ModeChange.Config.ini", config);

  sandbox.Write(L"ModeChange.UsableModeList.ini", IniFile()
                                                      .Section(L"UsableModeList")
                                                      .Key(L"ModeCount", 3)
                                                      .Key(L"Mode0", L"Eco")
                                                      .Key(L"Mode1", L"Dock")
                                                      .Key(L"Mode2", L"Flight"));
  IniFile defaults;
  defaults.Section(L"Common").Key(L"ShowAnnounceModeIsChangedDialog", 1);
  for (const wchar_t* suffix : {L"_Win7", L"_Win8OrLater"}) {
    defaults.Section(std::wstring(L"Eco") + suffix)
        .Key(L"Lamp", 1)
        .Key(L"Fan", 0)
        .Key(L"LockedSettingItemCount", 1)
        .Key(L"LockedSettingItem0", L"Fan")
        .Section(std::wstring(L"Dock") + suffix)
        .Key(L"Fan", 1)
        .Key(L"Sound", 0)
        .Key(L"AutoONOFF", 1)
        .Section(std::wstring(L"Flight") + suffix)
        .Key(L"Sound", 2);
  }
  sandbox.Write(L"ModeChange.DefaultSettings.ini", defaults);
}

void Machine::WriteTexts() {
  IniFile texts;
  texts.Section(L"Common")
      .Key(L"ApplicationName", L"Mode Change")
      .Key(L"ModeStatus0", L"Off")
      .Key(L"ModeStatus1", L"On")
      .Key(L"SettingItemStatus_DoNothing", L"left alone")
      .Section(L"Mode")
      .Key(L"Eco", L"Eco mode")
      .Key(L"Dock", L"Cradle mode")
      .Key(L"Flight", L"Flight mode")
      .Section(L"SettingGroup")
      .Key(L"All", L"All settings")
      .Section(L"SettingItem");
  for (const Item& item : kItems) {
    texts.Key(std::wstring(item.name) + L"_Name", L"The " + std::wstring(item.name));
    for (INT32 value = 0; value < item.values; ++value) {
      texts.Key(std::wstring(item.name) + L"_Value" + std::to_wstring(value),
                L"value number " + std::to_wstring(value));
    }
  }
  texts.Section(L"ModeSettingsDialog")
      .Key(L"DialogTitle", L"What each mode does")
      .Key(L"RestoreDefaultSettingsButton", L"Restore defaults")
      .Key(L"AutoONOFFSetting", L"Switch automatically")
      .Key(L"SliderDown", L"less")
      .Key(L"SliderUp", L"more")
      .Key(L"LockedSettingItemMemo", L" (fixed)")
      .Key(L"LockedSettingItemMemo_ByLamp", L" (fixed by the lamp)")
      .Key(L"ShowAnnounceModeIsChangedDialog", L"Ask before a mode changes")
      .Key(L"OKButton", L"OK")
      .Key(L"CancelButton", L"Cancel")
      .Key(L"ApplyButton", L"Apply")
      .Key(L"Message_OnChangeMode_SettingsIsChanged", L"Save first.")
      .Key(L"Message_OnSaveSettings_SettingsIsNotCorrect", L"Not set:\\n%SETTINGITEM%")
      .Key(L"Error_Unknown", L"Something failed.")
      .Key(L"Error_FailedSaveSettings", L"Saving failed.")
      .Key(L"Error_FailedUpdatePcEnvironment", L"Switching failed.")
      .Section(L"UpdatePcEnvironmentDialog")
      .Key(L"Processing", L"The mode\\nis changing.")
      .Section(L"AnnounceModeIsChangedDialog")
      .Key(L"Description", L"Settings will change.")
      .Key(L"DetailInformation_ModeStatus0",
           L"%MODE% goes off.\\n%CHENGED_SETTINGITEM_INFORMATION%")
      .Key(L"DetailInformation_ModeStatus1", L"%MODE% goes on.\\n%CHENGED_SETTINGITEM_INFORMATION%")
      .Key(L"DetailInformation_ChangedSettingItem", L"- %SETTINGITEM%: %SETTINGITEMVALUE%")
      .Key(L"DetailInformation_NoChangedSettingItem", L"%MODE% changes nothing.")
      .Key(L"NotShowThisDialog", L"Do not ask again")
      .Key(L"OKButton", L"OK")
      .Key(L"CancelButton", L"Cancel");
  for (const wchar_t* section :
       {L"FontSize_ModeSetingsDialog", L"FontSize_AnnounceModeIsChangedDialog"}) {
    texts.Section(section);
    for (const wchar_t* key :
         {L"DialogTitleSize", L"ModeSelectionSize", L"SettingItemListGroupTitleSize",
          L"DescriptionSize", L"DetailInformationSize", L"ButtonsSize"}) {
      texts.Key(key, 9);
    }
  }
  sandbox.Write(L"en-US\\ModeChange.Resource.ini", texts);
}

void Machine::WriteGermanTexts() {
  sandbox.Write(L"de-DE\\ModeChange.Resource.ini",
                IniFile().Section(L"Mode").Key(L"Dock", L"Andockmodus"));
}

void Machine::WriteRegistry() {
  HKEY key = nullptr;
  ::RegCreateKeyExW(HKEY_LOCAL_MACHINE, L"SOFTWARE\\Brivane\\QTX05A9", 0, nullptr,
                    REG_OPTION_VOLATILE, KEY_ALL_ACCESS, nullptr, &key, nullptr);
  SetRegistryText(key, L"InstPath", (sandbox.LibraryFolder() / L"Driver").wstring());
  SetRegistryText(key, L"DllName", L"Keys.dll");
  ::RegCloseKey(key);
}

void Machine::ReadIniFile(const std::wstring& name, MachineState* state) const {
  std::istringstream lines(ReadFile(sandbox.DataFile(L"ModeChange." + name + L".ini")));
  const std::string file = Text::ToUtf8(name) + ".ini";
  std::string section;
  for (std::string line; std::getline(lines, line);) {
    if (!line.empty() && line.back() == '\r') line.pop_back();
    if (line.empty()) continue;
    const std::size_t equals = line.find('=');
    if (line.front() == '[' && line.back() == ']') {
      section = line;
    } else if (equals != std::string::npos && !section.empty()) {
      (*state)[file + " " + section + " " + line.substr(0, equals)] = line.substr(equals + 1);
    } else {
      problems.push_back(file + " has the line \"" + line + "\"");
    }
  }
}

void Machine::WriteDataFile(const wchar_t* name, const std::string& bytes) {
  HANDLE file = ::CreateFileW(sandbox.DataFile(name).c_str(), GENERIC_WRITE, 0, nullptr,
                              CREATE_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr);
  if (file == INVALID_HANDLE_VALUE) throw std::runtime_error("can't write a data file");
  DWORD written = 0;
  ::WriteFile(file, bytes.data(), static_cast<DWORD>(bytes.size()), &written, nullptr);
  ::CloseHandle(file);
}
