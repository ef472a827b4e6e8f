#include "death/Device.h"

#include <fstream>
#include <stdexcept>
#include <utility>

#include "velto/device_engine.h"

namespace {

void Attach(HMODULE module, EngineBehaviour* behaviour) {
  reinterpret_cast<AttachEngineBehaviour>(
      reinterpret_cast<void*>(::GetProcAddress(module, "FakeEngine_Attach")))(behaviour);
}

}  // namespace

Device::Device(std::filesystem::path path)
    : enginePath(std::move(path)), name(enginePath.stem().string()) {
  module = ::LoadLibraryW(enginePath.c_str());
  if (module == nullptr) throw std::runtime_error("no engine " + enginePath.string());
  Attach(module, this);
}

Device::~Device() {
  Attach(module, nullptr);
  ::FreeLibrary(module);
}

INT32 Device::Value() const {
  INT32 value = -1;
  std::ifstream(ValueFile()) >> value;
  return value;
}

void Device::Set(INT32 value) const {
  std::ofstream(ValueFile()) << value;
}

BOOL Device::CreateHandle(void** handle) {
  Tell("CreateHandle");
  *handle = this;
  return TRUE;
}

BOOL Device::DeleteHandle(void* /*handle*/) {
  Tell("DeleteHandle");
  return TRUE;
}

BOOL Device::GetDeviceCount(void* /*handle*/, UINT* count) {
  Tell("GetDeviceCount");
  *count = 1;
  return TRUE;
}

BOOL Device::SelectDevice(void* /*handle*/, UINT /*index*/) {
  Tell("SelectDevice");
  return TRUE;
}

BOOL Device::GetStringInformation(void* /*handle*/, UINT /*identifier*/, UINT /*subIndex*/,
                                  UINT* /*length*/, WCHAR* buffer) {
  Tell("GetStringInformation");
  *buffer = L'\0';
  return TRUE;
}

BOOL Device::GetINT32Information(void* /*handle*/, UINT identifier, UINT /*subIndex*/,
                                 INT32* value) {
  Tell("GetINT32Information");
  switch (identifier) {
    case VELTO_ENGINE_INT32_VALUE_COUNT:
      *value = kValueCount;
      return TRUE;
    case VELTO_ENGINE_INT32_CURRENT_VALUE:
      *value = Value();
      return TRUE;
    case VELTO_ENGINE_INT32_BUSY:
      *value = 0;
      return TRUE;
    default:
      *value = 1;
      return TRUE;
  }
}

BOOL Device::RequestToSetINT32Information(void* /*handle*/, UINT /*identifier*/, UINT /*subIndex*/,
                                          INT32 value, HWND notificationWindow,
                                          UINT notificationMessage) {
  Tell("RequestToSetINT32Information");
  Set(value);
  if (onSet) onSet(name + "=" + std::to_string(value));
  return ::PostMessageW(notificationWindow, notificationMessage, VELTO_ENGINE_RESULT_DONE, 0);
}

void Device::Tell(const char* call) const {
  if (onCall) onCall(name + "." + call);
}

std::filesystem::path Device::ValueFile() const {
  return std::filesystem::path(enginePath).replace_extension(L".value");
}
