#include "support/ScriptedDriver.h"

#include <filesystem>
#include <sstream>
#include <stdexcept>

namespace {

std::filesystem::path FolderOfThisProgram() {
  wchar_t path[MAX_PATH]{};
  ::GetModuleFileNameW(nullptr, path, MAX_PATH);
  return std::filesystem::path(path).parent_path();
}

void Attach(HMODULE module, DriverBehaviour* behaviour) {
  reinterpret_cast<AttachDriverBehaviour>(
      reinterpret_cast<void*>(::GetProcAddress(module, "FakeDriver_Attach")))(behaviour);
}

std::string Describe(const char* call, DWORD first, DWORD second) {
  std::ostringstream line;
  line << call << "(0x" << std::hex << first << ", 0x" << second << ")";
  return line.str();
}

}  // namespace

ScriptedDriver::ScriptedDriver(const std::wstring& path) : path(path) {
  std::filesystem::create_directories(std::filesystem::path(path).parent_path());
  std::filesystem::copy_file(FolderOfThisProgram() / L"FakeDriver.dll", path);
  module = ::LoadLibraryW(path.c_str());
  if (module == nullptr) throw std::runtime_error("the fake driver does not load");
  Attach(module, this);
}

ScriptedDriver::~ScriptedDriver() {
  Attach(module, nullptr);
  ::FreeLibrary(module);
  std::error_code ignored;
  std::filesystem::remove(path, ignored);
}

DWORD ScriptedDriver::GetLEDInfo(DWORD* info) {
  Record("GetLEDInfo");
  if (getLEDInfoStatus == 0) *info = ledInfo;
  return getLEDInfoStatus;
}

DWORD ScriptedDriver::SetLEDControl(DWORD id, DWORD value) {
  Record(Describe("SetLEDControl", id, value));
  return setLEDControlStatus;
}

DWORD ScriptedDriver::GetSwitchInfo(DWORD* info) {
  Record("GetSwitchInfo");
  if (getSwitchInfoStatus == 0) *info = switchInfo;
  return getSwitchInfoStatus;
}

DWORD ScriptedDriver::SetApplicationSwitch(DWORD mask, DWORD value) {
  Record(Describe("SetApplicationSwitch", mask, value));
  return setApplicationSwitchStatus;
}

void ScriptedDriver::Record(const std::string& call) {
  calls.push_back(call);
  if (onCall) onCall(call);
}
