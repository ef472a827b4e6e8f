#include "devices/CQTX05A9.h"

#include <array>

#include "common/PathHelpers.h"
#include "devices/GetFunction.h"

namespace {

using GetLEDInfoFunction = DWORD(WINAPI*)(DWORD* info);
using SetLEDControlFunction = DWORD(WINAPI*)(DWORD id, DWORD value);

// Either bit of the lamp information says that there is an eco lamp.
constexpr DWORD kEcoLamps = 0x4000 | 0x10000;

constexpr DWORD kEcoLampId = 0x10;
constexpr DWORD kEcoLampOn = 0xA0001;
constexpr DWORD kEcoLampOff = 0x20001;

/// The text of a registry value; empty when it can't be read into `capacity` characters. The value
/// need not be terminated.
template <DWORD capacity>
CWideString ReadText(HKEY key, const wchar_t* name) {
  std::array<wchar_t, capacity + 1> text{};
  DWORD size = capacity * sizeof(wchar_t);
  if (::RegQueryValueExW(key, name, nullptr, nullptr, reinterpret_cast<BYTE*>(text.data()),
                         &size) != ERROR_SUCCESS) {
    return {};
  }
  return text.data();
}

}  // namespace

CQTX05A9::~CQTX05A9() = default;

void CQTX05A9::Release() noexcept {
  Unload();
  path = {};
}

void CQTX05A9::Unload() noexcept {
  module = {};
}

bool CQTX05A9::IsEcoLEDSupported(UINT* supported) {
  if (!Load()) return false;
  const auto getLEDInfo = GetFunction<GetLEDInfoFunction>(module.Get(), "GetLEDInfo");
  DWORD info = 0;
  if (getLEDInfo == nullptr || getLEDInfo(&info) != 0) return false;
  *supported = (info & kEcoLamps) != 0 ? 1 : 0;
  return true;
}

bool CQTX05A9::SetEcoLED(bool on) {
  if (!Load()) return false;
  const auto setLEDControl = GetFunction<SetLEDControlFunction>(module.Get(), "SetLEDControl");
  return setLEDControl != nullptr && setLEDControl(kEcoLampId, on ? kEcoLampOn : kEcoLampOff) == 0;
}

bool CQTX05A9::LocateDll() {
  path = {};
  HKEY opened = nullptr;
  if (::RegOpenKeyExW(HKEY_LOCAL_MACHINE, L"SOFTWARE\\Brivane\\QTX05A9", 0, KEY_READ, &opened) !=
      ERROR_SUCCESS) {
    return false;
  }
  const CUniqueRegistryKey key(opened);
  CWideString folder = ReadText<521>(key.Get(), L"InstPath");
  if (folder.empty()) return false;
  const CWideString name = ReadText<260>(key.Get(), L"DllName");
  if (name.empty()) return false;
  if (folder.c_str()[folder.length() - 1] != L'\\') folder += L"\\";
  path = folder + name;
  return true;
}

bool CQTX05A9::Load() {
  if (module) return true;
  if (path.empty() && !LocateDll()) return false;
  if (!Common::FileExists(path) || !Common::IsFullPath(path)) return false;
  module = CUniqueModule(::LoadLibraryW(path.c_str()));
  return static_cast<bool>(module);
}
