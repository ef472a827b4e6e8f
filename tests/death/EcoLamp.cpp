#include "death/EcoLamp.h"

#include <cstring>
#include <cwchar>
#include <fstream>
#include <stdexcept>
#include <utility>

namespace {

constexpr DWORD kEcoLampIsThere = 0x4000;
constexpr DWORD kEcoLampOn = 0xA0001;
constexpr DWORD kNotThere = 1;

void Attach(HMODULE module, DriverBehaviour* behaviour) {
  reinterpret_cast<AttachDriverBehaviour>(
      reinterpret_cast<void*>(::GetProcAddress(module, "FakeDriver_Attach")))(behaviour);
}

}  // namespace

EcoLamp::EcoLamp(std::filesystem::path path) : driverPath(std::move(path)) {
  module = ::LoadLibraryW(driverPath.c_str());
  if (module == nullptr) throw std::runtime_error("no driver " + driverPath.string());
  Attach(module, this);
}

EcoLamp::~EcoLamp() {
  Attach(module, nullptr);
  ::FreeLibrary(module);
}

void EcoLamp::Install(Interposition& interposition, const std::filesystem::path& path) {
  static int key;
  interposition.Replace("RegOpenKeyExW",
                        [](HKEY root, const wchar_t*, DWORD, REGSAM, HKEY* opened) -> LSTATUS {
                          if (root != HKEY_LOCAL_MACHINE) return ERROR_FILE_NOT_FOUND;
                          *opened = reinterpret_cast<HKEY>(&key);
                          return ERROR_SUCCESS;
                        });
  interposition.Replace(
      "RegQueryValueExW",
      [path](HKEY, const wchar_t* name, DWORD*, DWORD*, BYTE* text, DWORD* size) -> LSTATUS {
        const bool isFolder = std::wcscmp(name, L"InstPath") == 0;
        const std::wstring value = (isFolder ? path.parent_path() : path.filename()).wstring();
        *size = static_cast<DWORD>((value.size() + 1) * sizeof(wchar_t));
        std::memcpy(text, value.c_str(), *size);
        return ERROR_SUCCESS;
      });
  interposition.Replace("RegCloseKey", [](HKEY) -> LSTATUS { return ERROR_SUCCESS; });
}

bool EcoLamp::IsOn() const {
  std::string state;
  std::ifstream(StateFile()) >> state;
  return state == "on";
}

void EcoLamp::Set(bool on) const {
  std::ofstream(StateFile()) << (on ? "on" : "off");
}

DWORD EcoLamp::GetLEDInfo(DWORD* info) {
  Tell("GetLEDInfo");
  *info = kEcoLampIsThere;
  return 0;
}

DWORD EcoLamp::SetLEDControl(DWORD /*id*/, DWORD value) {
  Tell("SetLEDControl");
  const bool on = value == kEcoLampOn;
  Set(on);
  if (onSet) onSet(on ? "the eco lamp on" : "the eco lamp off");
  return 0;
}

DWORD EcoLamp::GetSwitchInfo(DWORD* /*info*/) {
  Tell("GetSwitchInfo");
  return kNotThere;
}

DWORD EcoLamp::SetApplicationSwitch(DWORD /*mask*/, DWORD /*value*/) {
  Tell("SetApplicationSwitch");
  return kNotThere;
}

void EcoLamp::Tell(const char* call) const {
  if (onCall) onCall(call);
}

std::filesystem::path EcoLamp::StateFile() const {
  return std::filesystem::path(driverPath).replace_extension(L".state");
}
