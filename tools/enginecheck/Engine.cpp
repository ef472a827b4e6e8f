#include "Engine.h"

#include <utility>

#include "devices/GetFunction.h"

namespace EngineCheck {

namespace {

std::wstring Widen(const char* ascii) {
  std::wstring text;
  for (; *ascii != '\0'; ++ascii) text += static_cast<wchar_t>(*ascii);
  return text;
}

std::wstring Arguments(const std::wstring& name, UINT subIndex) {
  return L" (" + name + L", sub-index " + std::to_wstring(subIndex) + L")";
}

}  // namespace

Engine::Engine(std::wstring path, CallLog& calls) : path(std::move(path)), calls(calls) {}

Engine::~Engine() {
  Close();
}

DWORD Engine::Load() {
  return calls.Make(L"LoadLibrary", L"", [this]() -> DWORD {
    module = CUniqueModule(::LoadLibraryW(path.c_str()));
    return module ? ERROR_SUCCESS : ::GetLastError();
  });
}

std::vector<std::wstring> Engine::FindFunctions() {
  std::vector<std::wstring> missing;
  const auto find = [&](const char* name, auto* function) {
    *function = GetFunction<std::remove_pointer_t<decltype(function)>>(module.Get(), name);
    if (*function == nullptr) missing.push_back(Widen(name));
  };
  find("VeltoDeviceEngine_CreateHandle", &createHandle);
  find("VeltoDeviceEngine_DeleteHandle", &deleteHandle);
  find("VeltoDeviceEngine_GetDeviceCount", &getDeviceCount);
  find("VeltoDeviceEngine_SelectDevice", &selectDevice);
  find("VeltoDeviceEngine_GetStringInformation", &getString);
  find("VeltoDeviceEngine_GetINT32Information", &getNumber);
  find("VeltoDeviceEngine_RequestToSetINT32Information", &requestToSet);
  return missing;
}

bool Engine::HasOptionalFunction() const {
  return ::GetProcAddress(module.Get(), "VeltoDeviceEngine_RequestToNotifyChangeDeviceStatus") !=
         nullptr;
}

BOOL Engine::CreateHandle() {
  VELTO_DEVICE_ENGINE_HANDLE created = nullptr;
  const BOOL result =
      calls.Make(L"VeltoDeviceEngine_CreateHandle", L"", [&] { return createHandle(&created); });
  // As the library: what a failing call writes is no handle.
  if (result != FALSE) handle = created;
  return result;
}

BOOL Engine::GetDeviceCount(UINT* count) {
  return calls.Make(L"VeltoDeviceEngine_GetDeviceCount", L"",
                    [&] { return getDeviceCount(handle, count); });
}

BOOL Engine::SelectDevice(UINT index) {
  return calls.Make(L"VeltoDeviceEngine_SelectDevice", L" (" + std::to_wstring(index) + L")",
                    [&] { return selectDevice(handle, index); });
}

BOOL Engine::GetStringInformation(UINT identifier, UINT subIndex, UINT* length, WCHAR* buffer) {
  return calls.Make(L"VeltoDeviceEngine_GetStringInformation",
                    Arguments(StringName(identifier), subIndex),
                    [&] { return getString(handle, identifier, subIndex, length, buffer); });
}

BOOL Engine::GetINT32Information(UINT identifier, UINT subIndex, INT32* value) {
  return calls.Make(L"VeltoDeviceEngine_GetINT32Information",
                    Arguments(NumberName(identifier), subIndex),
                    [&] { return getNumber(handle, identifier, subIndex, value); });
}

BOOL Engine::RequestToSet(UINT identifier, UINT subIndex, INT32 value, HWND window, UINT message) {
  const std::wstring arguments = L" (identifier " + std::to_wstring(identifier) + L", sub-index " +
                                 std::to_wstring(subIndex) + L", value " + std::to_wstring(value) +
                                 L")";
  return calls.Make(L"VeltoDeviceEngine_RequestToSetINT32Information", arguments, [&] {
    return requestToSet(handle, identifier, subIndex, value, window, message);
  });
}

void Engine::Close() {
  if (handle != nullptr) {
    calls.Make(L"VeltoDeviceEngine_DeleteHandle", L"", [this] { return deleteHandle(handle); });
    handle = nullptr;
  }
  if (module) {
    calls.Make(L"FreeLibrary", L"", [this] {
      module = {};
      return TRUE;
    });
  }
}

bool Engine::IsLoaded(const std::wstring& path) {
  return ::GetModuleHandleW(path.c_str()) != nullptr;
}

std::wstring NumberName(UINT identifier) {
  switch (identifier) {
    case VELTO_ENGINE_INT32_SUPPORTED:
      return L"SUPPORTED";
    case VELTO_ENGINE_INT32_VALUE_COUNT:
      return L"VALUE_COUNT";
    case VELTO_ENGINE_INT32_VALUE_AVAILABLE:
      return L"VALUE_AVAILABLE";
    case VELTO_ENGINE_INT32_CURRENT_VALUE:
      return L"CURRENT_VALUE";
    case VELTO_ENGINE_INT32_BUSY:
      return L"BUSY";
    default:
      return L"identifier " + std::to_wstring(identifier);
  }
}

std::wstring StringName(UINT identifier) {
  switch (identifier) {
    case VELTO_ENGINE_STRING_ITEM_KEY:
      return L"ITEM_KEY";
    case VELTO_ENGINE_STRING_VALUE_KEY:
      return L"VALUE_KEY";
    default:
      return L"identifier " + std::to_wstring(identifier);
  }
}

}  // namespace EngineCheck
