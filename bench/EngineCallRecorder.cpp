#include "EngineCallRecorder.h"

#include <iterator>
#include <utility>

namespace {

std::uint64_t ToArgument(UINT value) {
  return value;
}

}  // namespace

struct EngineCallRecorder::Stubs {
  static BOOL WINAPI CreateHandle(VELTO_DEVICE_ENGINE_HANDLE* handle) {
    current->Note("VeltoDeviceEngine_CreateHandle", {});
    return current->engine.createHandle(handle);
  }
  static BOOL WINAPI DeleteHandle(VELTO_DEVICE_ENGINE_HANDLE handle) {
    current->Note("VeltoDeviceEngine_DeleteHandle", {});
    return current->engine.deleteHandle(handle);
  }
  static BOOL WINAPI GetDeviceCount(VELTO_DEVICE_ENGINE_HANDLE handle, UINT* count) {
    current->Note("VeltoDeviceEngine_GetDeviceCount", {});
    return current->engine.getDeviceCount(handle, count);
  }
  static BOOL WINAPI SelectDevice(VELTO_DEVICE_ENGINE_HANDLE handle, UINT index) {
    current->Note("VeltoDeviceEngine_SelectDevice", {ToArgument(index)});
    return current->engine.selectDevice(handle, index);
  }
  static BOOL WINAPI GetINT32Information(VELTO_DEVICE_ENGINE_HANDLE handle, UINT identifier,
                                         UINT subIndex, INT32* value) {
    current->Note("VeltoDeviceEngine_GetINT32Information",
                  {ToArgument(identifier), ToArgument(subIndex)});
    return current->engine.getINT32Information(handle, identifier, subIndex, value);
  }
  static BOOL WINAPI RequestToSetINT32Information(VELTO_DEVICE_ENGINE_HANDLE handle,
                                                  UINT identifier, UINT subIndex, INT32 value,
                                                  HWND window, UINT message) {
    current->Note(
        "VeltoDeviceEngine_RequestToSetINT32Information",
        {ToArgument(identifier), ToArgument(subIndex), ToArgument(static_cast<UINT>(value))});
    return current->engine.requestToSetINT32Information(handle, identifier, subIndex, value, window,
                                                        message);
  }

  static EngineFunctions All() {
    EngineFunctions stubs;
    stubs.createHandle = CreateHandle;
    stubs.deleteHandle = DeleteHandle;
    stubs.getDeviceCount = GetDeviceCount;
    stubs.selectDevice = SelectDevice;
    stubs.getINT32Information = GetINT32Information;
    stubs.requestToSetINT32Information = RequestToSetINT32Information;
    return stubs;
  }
};

EngineCallRecorder::EngineCallRecorder(HMODULE library) : interposition(library) {
  current = this;
  interposition.Replace("GetProcAddress", [this](HMODULE module, const char* name) {
    return OnGetProcAddress(module, name);
  });
}

EngineCallRecorder::~EngineCallRecorder() {
  current = nullptr;
}

std::vector<Call> EngineCallRecorder::Take() {
  TakeImportedCalls();
  return std::exchange(calls, {});
}

void EngineCallRecorder::Note(const char* function, std::vector<std::uint64_t> arguments) {
  TakeImportedCalls();
  Call call;
  call.function = function;
  call.module = "engine";
  call.arguments = std::move(arguments);
  calls.push_back(std::move(call));
}

/// Each time, as only so it is known what came before an engine's call.
void EngineCallRecorder::TakeImportedCalls() {
  std::vector<Call> imported = interposition.AllCalls();
  interposition.ClearCalls();
  calls.insert(calls.end(), std::make_move_iterator(imported.begin()),
               std::make_move_iterator(imported.end()));
}

FARPROC EngineCallRecorder::OnGetProcAddress(HMODULE module, const char* name) {
  const FARPROC found = ::GetProcAddress(module, name);
  void** const slot = engine.SlotOf(name);
  if (found == nullptr || slot == nullptr) return found;
  *slot = reinterpret_cast<void*>(found);
  EngineFunctions stubs = Stubs::All();
  return reinterpret_cast<FARPROC>(*stubs.SlotOf(name));
}
