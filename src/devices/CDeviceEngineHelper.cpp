#include "devices/CDeviceEngineHelper.h"

#include <array>
#include <utility>

#include "common/PathHelpers.h"
#include "devices/GetFunction.h"

namespace {

constexpr UINT kFirstDevice = 0;

/// LoadLibraryW for a file with a full path, and for nothing that Windows would have to look for:
/// neither a path from the current folder, nor a folder, to whose name Windows would add ".dll".
CUniqueModule LoadEngine(const CWideString& path) {
  if (!Common::IsFullPath(path)) {
    ::SetLastError(ERROR_BAD_PATHNAME);
    return {};
  }
  if (Common::FolderExists(path)) {
    ::SetLastError(ERROR_MOD_NOT_FOUND);
    return {};
  }
  return CUniqueModule(::LoadLibraryW(path.c_str()));
}

}  // namespace

CDeviceEngineHelper::CDeviceEngineHelper(CWideString enginePath)
    : enginePath(std::move(enginePath)) {}

CDeviceEngineHelper::~CDeviceEngineHelper() {
  if (engineHandle != nullptr) deleteHandle(engineHandle);
  module = {};
}

bool CDeviceEngineHelper::GetDeviceCount(UINT* count) {
  if (count == nullptr) return trace.Write(L"CDeviceEngineHelper::GetDeviceCount", 75);
  if (!Initialize()) return trace.Write(L"CDeviceEngineHelper::GetDeviceCount", 80);
  UINT answer = 0;
  if (getDeviceCount(engineHandle, &answer) == FALSE) {
    return trace.Write(L"CDeviceEngineHelper::GetDeviceCount", 87);
  }
  *count = answer;
  return true;
}

bool CDeviceEngineHelper::SelectDevice() {
  if (!Initialize()) return trace.Write(L"CDeviceEngineHelper::SelectDevice", 111);
  if (selectDevice(engineHandle, kFirstDevice) == FALSE) {
    return trace.WriteUInt(L"CDeviceEngineHelper::SelectDevice", 117, kFirstDevice);
  }
  return true;
}

bool CDeviceEngineHelper::GetStringInformation(UINT identifier, UINT subIndex, CWideString* text) {
  if (text == nullptr) return trace.Write(L"CDeviceEngineHelper::GetStringInformation", 147);
  if (!Initialize()) return trace.Write(L"CDeviceEngineHelper::GetStringInformation", 153);
  std::array<wchar_t, VELTO_ENGINE_STRING_LENGTH> buffer{};
  UINT length = VELTO_ENGINE_STRING_LENGTH;
  if (getStringInformation(engineHandle, identifier, subIndex, &length, buffer.data()) == FALSE) {
    return trace.WriteUIntPair(L"CDeviceEngineHelper::GetStringInformation", 162, identifier,
                               subIndex);
  }
  // An engine may fill the buffer and leave out the terminator.
  buffer.back() = L'\0';
  *text = buffer.data();
  return true;
}

bool CDeviceEngineHelper::GetINT32INformation(UINT identifier, UINT subIndex, std::int32_t* value) {
  if (value == nullptr) return trace.Write(L"CDeviceEngineHelper::GetINT32INformation", 194);
  if (!Initialize()) return trace.Write(L"CDeviceEngineHelper::GetINT32INformation", 200);
  // What the caller presets is the answer of an engine that succeeds without writing one.
  INT32 answer = *value;
  if (getINT32Information(engineHandle, identifier, subIndex, &answer) == FALSE) {
    return trace.WriteUIntPair(L"CDeviceEngineHelper::GetINT32INformation", 206, identifier,
                               subIndex);
  }
  *value = answer;
  return true;
}

bool CDeviceEngineHelper::RequestToSetINT32Information(std::int32_t value, HWND window) {
  if (!Initialize()) {
    return trace.Write(L"CDeviceEngineHelper::RequestToSetINT32Information", 238);
  }
  const BOOL result = requestToSetINT32Information(engineHandle, VELTO_ENGINE_REQUEST_VALUE, 0,
                                                   value, window, WM_CHANGEMODE_COMPLETIONNOTICE);
  if (result == FALSE) {
    trace.WriteUIntPair(L"CDeviceEngineHelper::RequestToSetINT32Information", 245,
                        VELTO_ENGINE_REQUEST_VALUE, static_cast<std::uint32_t>(result));
    return trace.WriteInt(L"CDeviceEngineHelper::RequestToSetINT32Information", 247, value);
  }
  return true;
}

template <class Function>
bool CDeviceEngineHelper::Resolve(const char* name, const TracePoint& missing,
                                  Function* function) const {
  *function = GetFunction<Function>(module.Get(), name);
  if (*function == nullptr) {
    const DWORD error = ::GetLastError();
    return trace.WriteUInt(missing.function, missing.line, error);
  }
  return true;
}

bool CDeviceEngineHelper::Initialize() {
  if (initialized) return true;

  CUniqueModule loaded = LoadEngine(enginePath);
  if (!loaded) {
    const DWORD error = ::GetLastError();
    return trace.WriteTextUInt(L"CDeviceEngineHelper::Initialize", 313, enginePath.c_str(), error);
  }
  // The reference of an earlier try stays: an engine that failed to open may still be at work.
  static_cast<void>(module.Release());
  module = std::move(loaded);

  if (!Resolve("VeltoDeviceEngine_CreateHandle", {L"CDeviceEngineHelper::Initialize", 324},
               &createHandle) ||
      !Resolve("VeltoDeviceEngine_DeleteHandle", {L"CDeviceEngineHelper::Initialize", 334},
               &deleteHandle) ||
      !Resolve("VeltoDeviceEngine_GetDeviceCount", {L"CDeviceEngineHelper::Initialize", 344},
               &getDeviceCount) ||
      !Resolve("VeltoDeviceEngine_SelectDevice", {L"CDeviceEngineHelper::Initialize", 354},
               &selectDevice) ||
      !Resolve("VeltoDeviceEngine_GetStringInformation", {L"CDeviceEngineHelper::Initialize", 364},
               &getStringInformation) ||
      !Resolve("VeltoDeviceEngine_GetINT32Information", {L"CDeviceEngineHelper::Initialize", 374},
               &getINT32Information) ||
      !Resolve("VeltoDeviceEngine_RequestToSetINT32Information",
               {L"CDeviceEngineHelper::Initialize", 384}, &requestToSetINT32Information)) {
    return false;
  }
  // An engine need not have this one.
  requestToNotifyChangeDeviceStatus = GetFunction<decltype(requestToNotifyChangeDeviceStatus)>(
      module.Get(), "VeltoDeviceEngine_RequestToNotifyChangeDeviceStatus");

  VELTO_DEVICE_ENGINE_HANDLE created = nullptr;
  if (createHandle(&created) == FALSE || created == nullptr) {
    return trace.Write(L"CDeviceEngineHelper::Initialize", 401);
  }
  engineHandle = created;
  initialized = true;
  return true;
}
