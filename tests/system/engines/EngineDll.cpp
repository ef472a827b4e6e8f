#include "system/engines/EngineDll.h"

#include <array>
#include <stdexcept>

#include "system/BuildFolder.h"

EngineDll::EngineDll(const std::wstring& name)
    : module(::LoadLibraryW((BuiltProgramsFolder() / L"Engines" / (name + L".dll")).c_str())) {
  if (module == nullptr) throw std::runtime_error("the engine does not load");
  Find("VeltoDeviceEngine_CreateHandle", &createHandle);
  Find("VeltoDeviceEngine_DeleteHandle", &deleteHandle);
  Find("VeltoDeviceEngine_GetDeviceCount", &getDeviceCount);
  Find("VeltoDeviceEngine_SelectDevice", &selectDevice);
  Find("VeltoDeviceEngine_GetStringInformation", &getString);
  Find("VeltoDeviceEngine_GetINT32Information", &getNumber);
  Find("VeltoDeviceEngine_RequestToSetINT32Information", &requestToSet);
  if (createHandle(&handle) == FALSE || handle == nullptr || selectDevice(handle, 0) == FALSE) {
    throw std::runtime_error("the engine does not open");
  }
}

EngineDll::~EngineDll() {
  Unload();
}

std::optional<INT32> EngineDll::Number(UINT identifier, UINT subIndex) const {
  INT32 value = 0;
  if (getNumber(handle, identifier, subIndex, &value) == FALSE) return std::nullopt;
  return value;
}

std::optional<std::wstring> EngineDll::Text(UINT identifier, UINT subIndex) const {
  std::array<wchar_t, VELTO_ENGINE_STRING_LENGTH> text{};
  UINT length = VELTO_ENGINE_STRING_LENGTH;
  if (getString(handle, identifier, subIndex, &length, text.data()) == FALSE) return std::nullopt;
  return text.data();
}

bool EngineDll::Request(INT32 value, HWND window, UINT message) const {
  return requestToSet(handle, VELTO_ENGINE_REQUEST_VALUE, 0, value, window, message) != FALSE;
}

void EngineDll::Unload() {
  if (module == nullptr) return;
  deleteHandle(handle);
  ::FreeLibrary(module);
  module = nullptr;
}

bool EngineDll::IsLoaded(const std::wstring& name) {
  return ::GetModuleHandleW((name + L".dll").c_str()) != nullptr;
}

template <class Function>
void EngineDll::Find(const char* name, Function* function) const {
  void* const address = reinterpret_cast<void*>(::GetProcAddress(module, name));
  if (address == nullptr) throw std::runtime_error(std::string("no export ") + name);
  *function = reinterpret_cast<Function>(address);
}
