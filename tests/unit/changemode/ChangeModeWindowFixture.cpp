#include "unit/changemode/ChangeModeWindowFixture.h"

#include <iterator>
#include <sstream>

namespace {

constexpr const wchar_t* kRequesterClass = L"ChangeModeWindowTestRequester";

struct ModeEntry {
  const wchar_t* name;
  const wchar_t* flag;  // null for an ordinary mode
};
constexpr ModeEntry kModes[] = {{L"Eco", L"IsEcoMode"},
                                {L"Flight", L"IsWirelessOffMode"},
                                {L"Dock", L"IsCradleMode"},
                                {L"Own", L"IsCustomMode"},
                                {L"Quiet", nullptr}};

void WriteIni(const std::filesystem::path& file, const std::wstring& section,
              const std::wstring& key, int value) {
  ::WritePrivateProfileStringW(section.c_str(), key.c_str(), std::to_wstring(value).c_str(),
                               file.c_str());
}

std::string Entry(std::wstring_view section, std::wstring_view key, std::wstring_view value) {
  return "[" + Text::ToUtf8(section) + "] " + Text::ToUtf8(key) + "=" + Text::ToUtf8(value);
}

/// "Screen.dll" of a module's path.
std::string FileName(const std::wstring& path) {
  return std::filesystem::path(path).filename().string();
}

}  // namespace

std::ostream& operator<<(std::ostream& stream, const Notification& notification) {
  return stream << "message 0x" << std::hex << notification.message << std::dec << ", result "
                << notification.result << ", lParam " << notification.lParam;
}

// --- Requester -----------------------------------------------------------------------------------

Requester::Requester() {
  WNDCLASSEXW windowClass{};
  windowClass.cbSize = sizeof(windowClass);
  windowClass.lpfnWndProc = WindowProc;
  windowClass.hInstance = ::GetModuleHandleW(nullptr);
  windowClass.lpszClassName = kRequesterClass;
  ::RegisterClassExW(&windowClass);
  window = ::CreateWindowExW(0, kRequesterClass, L"", 0, 0, 0, 0, 0, HWND_MESSAGE, nullptr,
                             windowClass.hInstance, nullptr);
  ::SetWindowLongPtrW(window, GWLP_USERDATA, reinterpret_cast<LONG_PTR>(this));
}

Requester::~Requester() {
  Leave();
}

void Requester::Leave() {
  if (window != nullptr) ::DestroyWindow(window);
  window = nullptr;
}

Notifications Requester::Take() {
  return std::exchange(notifications, {});
}

LRESULT CALLBACK Requester::WindowProc(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
  auto* requester = reinterpret_cast<Requester*>(::GetWindowLongPtrW(window, GWLP_USERDATA));
  if (requester != nullptr && message >= WM_USER) {
    requester->notifications.push_back({message, wParam, lParam});
    return 0;
  }
  return ::DefWindowProcW(window, message, wParam, lParam);
}

// --- The machine ---------------------------------------------------------------------------------

ChangeModeWindowTest::~ChangeModeWindowTest() {
  if (window != nullptr && ::IsWindow(window) != FALSE) ::DestroyWindow(window);
}

void ChangeModeWindowTest::MakeMachine(std::initializer_list<std::wstring> items) {
  WriteConfig(items);
  sandbox.MakeFolder(L"Engines");
  for (const std::wstring& item : items) {
    engines.emplace(item, std::make_unique<ScriptedEngine>(EnginePath(item), &log));
  }
  window = MakeWindow();
  ASSERT_NE(window, nullptr);
  interposition.ClearCalls();
}

void ChangeModeWindowTest::WriteConfig(const std::vector<std::wstring>& items,
                                       int wirelessLampKey) {
  IniFile config;
  IniFile usable;
  config.Section(L"Common").Key(L"EnableToChangeWirelessLEDStatusInWin7", wirelessLampKey);
  config.Section(L"ModeList").Key(L"ModeCount", static_cast<int>(std::size(kModes)));
  usable.Section(L"UsableModeList").Key(L"ModeCount", static_cast<int>(std::size(kModes)));
  for (std::size_t i = 0; i < std::size(kModes); ++i) {
    config.Key(L"Mode" + std::to_wstring(i), kModes[i].name);
    usable.Key(L"Mode" + std::to_wstring(i), kModes[i].name);
  }
  for (const ModeEntry& mode : kModes) {
    if (mode.flag != nullptr) config.Section(mode.name).Key(mode.flag, 1);
  }
  config.Section(L"SettingItemList").Key(L"SettingItemCount", static_cast<int>(items.size()));
  for (std::size_t i = 0; i < items.size(); ++i) {
    config.Key(L"SettingItem" + std::to_wstring(i), items[i]);
  }
  for (const std::wstring& item : items) {
    config.Section(item).Key(L"EnginePath", L"Engines\\" + item + L".dll");
  }
  sandbox.Write(L"ModeChange.Config.ini", config);
  sandbox.Write(L"ModeChange.UsableModeList.ini", usable);
  if (!sandbox.Exists(L"ModeChange.DefaultSettings.ini")) {
    sandbox.Write(L"ModeChange.DefaultSettings.ini", IniFile());
  }
}

std::wstring ChangeModeWindowTest::EnginePath(const std::wstring& item) const {
  return sandbox.LibraryFolder().wstring() + L"\\Engines\\" + item + L".dll";
}

void ChangeModeWindowTest::SetValue(const std::wstring& mode, const std::wstring& item, int value) {
  const std::filesystem::path file = sandbox.LibraryFolder() / L"ModeChange.DefaultSettings.ini";
  WriteIni(file, mode + L"_Win7", item, value);
  WriteIni(file, mode + L"_Win8OrLater", item, value);
}

void ChangeModeWindowTest::SetStatus(const std::wstring& mode, int status) {
  WriteIni(StatusPath(), L"CurrentModeStatus", mode, status);
}

void ChangeModeWindowTest::SetNormalValue(const std::wstring& item, int value) {
  WriteIni(StatusPath(), L"NormalEnvironment", item, value);
}

void ChangeModeWindowTest::InstallDriver() {
  sandbox.MakeFolder(L"Driver");
  const std::wstring folder = sandbox.LibraryFolder().wstring() + L"\\Driver";
  driver.emplace(folder + L"\\Hotkey.dll");
  HKEY key = nullptr;
  // Volatile, as the sandbox's own keys are.
  ::RegCreateKeyExW(HKEY_LOCAL_MACHINE, L"SOFTWARE\\Brivane\\QTX05A9", 0, nullptr,
                    REG_OPTION_VOLATILE, KEY_ALL_ACCESS, nullptr, &key, nullptr);
  const auto set = [key](const wchar_t* name, const std::wstring& text) {
    ::RegSetValueExW(key, name, 0, REG_SZ, reinterpret_cast<const BYTE*>(text.c_str()),
                     static_cast<DWORD>((text.size() + 1) * sizeof(wchar_t)));
  };
  set(L"InstPath", folder);
  set(L"DllName", L"Hotkey.dll");
  ::RegCloseKey(key);
}

void ChangeModeWindowTest::RefuseToWrite(std::wstring section, std::wstring key) {
  const auto original =
      interposition.Original<decltype(&::WritePrivateProfileStringW)>("WritePrivateProfileStringW");
  interposition.Replace("WritePrivateProfileStringW",
                        [original, section = std::move(section), key = std::move(key)](
                            const wchar_t* toSection, const wchar_t* toKey, const wchar_t* value,
                            const wchar_t* file) -> BOOL {
                          if (toSection == section && toKey == key) {
                            ::SetLastError(ERROR_ACCESS_DENIED);
                            return FALSE;
                          }
                          return original(toSection, toKey, value, file);
                        });
}

void ChangeModeWindowTest::LogEverything() {
  interposition.Observe("LoadLibraryW", [this](const Call& call) {
    loadedModules[call.result] = FileName(call.Text(0));
    log.push_back("Load " + FileName(call.Text(0)));
  });
  interposition.Observe("FreeLibrary", [this](const Call& call) {
    log.push_back("Unload " + loadedModules[call.arguments.at(0)]);
  });
  interposition.Observe("WritePrivateProfileStringW", [this](const Call& call) {
    log.push_back("Write " + Entry(call.Text(0), call.Text(1), call.Text(2)));
  });
  interposition.Observe("PostMessageW",
                        [this](const Call& call) { log.push_back("Post " + DescribePost(call)); });
  if (driver.has_value()) {
    driver->onCall = [this](const std::string& call) { log.push_back("Driver." + call); };
  }
}

// --- Requests ------------------------------------------------------------------------------------

LRESULT ChangeModeWindowTest::Send(const COPYDATASTRUCT* copyData) const {
  return ::SendMessageW(window, WM_COPYDATA, 0, reinterpret_cast<LPARAM>(copyData));
}

LRESULT ChangeModeWindowTest::Request(const wchar_t* mode, UINT status, HWND notify,
                                      UINT message) const {
  ChangeModeRequest request{notify, message, mode, status};
  const COPYDATASTRUCT copyData{ChangeModeRequest::kCopyDataId, sizeof(request), &request};
  return Send(&copyData);
}

Notifications ChangeModeWindowTest::Change(const wchar_t* mode, UINT status) {
  EXPECT_EQ(Request(mode, status), TRUE);
  PumpAll();
  EXPECT_EQ(DescribeRecord(), kIdle);
  return requester.Take();
}

void ChangeModeWindowTest::PumpAll() {
  MSG message{};
  while (::PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE) != FALSE) ::DispatchMessageW(&message);
}

bool ChangeModeWindowTest::PumpUntil(const std::function<bool()>& condition) {
  constexpr ULONGLONG kPatience = 10000;
  const ULONGLONG deadline = ::GetTickCount64() + kPatience;
  while (true) {
    PumpAll();
    if (condition()) return true;
    const ULONGLONG now = ::GetTickCount64();
    if (now >= deadline) return false;
    ::MsgWaitForMultipleObjects(0, nullptr, FALSE, static_cast<DWORD>(deadline - now), QS_ALLINPUT);
  }
}

// --- What happened -------------------------------------------------------------------------------

ChangeModeWindowData* ChangeModeWindowTest::Record() const {
  return reinterpret_cast<ChangeModeWindowData*>(::GetWindowLongPtrW(window, GWLP_USERDATA));
}

std::string ChangeModeWindowTest::DescribeRecord() const {
  const ChangeModeWindowData* record = Record();
  if (record == nullptr) return "no record";
  std::ostringstream text;
  text << (record->busy ? "busy" : "not busy") << ", tells "
       << (record->notifyWindow == nullptr ? "nobody" : "somebody") << " by 0x" << std::hex
       << record->notifyMessage << std::dec << ", item " << record->itemIndex << ", from \""
       << Text::Escape(record->currentOnModeName.c_str()) << "\" to \""
       << Text::Escape(record->newModeName.c_str()) << "\" = " << record->newModeStatus << ", "
       << (record->engine == nullptr ? "no engine" : "an engine");
  return text.str();
}

std::vector<std::string> ChangeModeWindowTest::StatusFile() const {
  if (!sandbox.Exists(StatusPath())) return {"no file"};
  std::istringstream file(sandbox.Read(StatusPath()));
  std::vector<std::string> entries;
  std::string section;
  for (std::string line; std::getline(file, line);) {
    if (!line.empty() && line.back() == '\r') line.pop_back();
    if (line.empty()) continue;
    if (line.front() == '[') {
      section = line;
    } else {
      entries.push_back(section + " " + line);
    }
  }
  return entries;
}

std::vector<std::string> ChangeModeWindowTest::Writes() const {
  std::vector<std::string> writes;
  for (const Call& call : interposition.CallsOf("WritePrivateProfileStringW")) {
    writes.push_back(Entry(call.Text(0), call.Text(1), call.Text(2)));
  }
  return writes;
}

std::vector<std::string> ChangeModeWindowTest::Posts() const {
  std::vector<std::string> posts;
  for (const Call& call : interposition.CallsOf("PostMessageW")) {
    posts.push_back(DescribePost(call));
  }
  return posts;
}

std::string ChangeModeWindowTest::DescribePost(const Call& call) const {
  const auto target = reinterpret_cast<HWND>(call.arguments.at(0));
  std::ostringstream text;
  text << (target == nullptr              ? "null"
           : target == window             ? "window"
           : target == requester.Window() ? "requester"
                                          : "another")
       << " 0x" << std::hex << call.arguments.at(1) << std::dec << " " << call.arguments.at(2);
  if (call.arguments.at(3) != 0) text << " lParam " << call.arguments.at(3);
  return text.str();
}

Trace ChangeModeWindowTest::In(std::wstring_view function, std::uint32_t line,
                               std::wstring message) {
  return {L"ChangeModeWindow::`anonymous-namespace'::" + std::wstring(function), line,
          std::move(message)};
}

Traces ChangeModeWindowTest::Join(Traces first, const Traces& second) {
  first.insert(first.end(), second.begin(), second.end());
  return first;
}
