// The exported functions: each checks its pointers, calls one method of the handle's object, and
// traces a failure under its own name.

#include <cwchar>
#include <memory>

#include "api/CModeChange.h"
#include "trace/TraceLog.h"
#include "velto/mode_change.h"

namespace {

CModeChange* GetObjectOf(VELTO_MODE_CHANGE_HANDLE handle) noexcept {
  return static_cast<CModeChange*>(handle);
}

// What the methods get: none of them has a use for a sub-index of numbers.
constexpr UINT kNoSubIndex = 0;

}  // namespace

// A failure point is false, and so is the BOOL that reports it.
// NOLINTBEGIN(readability-implicit-bool-conversion)

BOOL WINAPI VeltoModeChange_CreateHandle(VELTO_MODE_CHANGE_HANDLE* handle) {
  const TraceLog trace;
  auto object = std::make_unique<CModeChange>();
  if (!object->Initiallize()) return trace.Write(L"VeltoModeChange_CreateHandle", 38);
  *handle = object.release();
  return TRUE;
}

BOOL WINAPI VeltoModeChange_DeleteHandle(VELTO_MODE_CHANGE_HANDLE handle) {
  const TraceLog trace;
  CModeChange::Delete(GetObjectOf(handle));
  return TRUE;
}

BOOL WINAPI VeltoModeChange_GetModeCount(VELTO_MODE_CHANGE_HANDLE handle, UINT* count) {
  const TraceLog trace;
  if (handle == nullptr || count == nullptr) {
    return trace.Write(L"VeltoModeChange_GetModeCount", 93);
  }
  if (!GetObjectOf(handle)->GetModeCount(count)) {
    return trace.Write(L"VeltoModeChange_GetModeCount", 102);
  }
  return TRUE;
}

BOOL WINAPI VeltoModeChange_SelectMode(VELTO_MODE_CHANGE_HANDLE handle, UINT index) {
  const TraceLog trace;
  if (handle == nullptr) return trace.Write(L"VeltoModeChange_SelectMode", 130);
  if (!GetObjectOf(handle)->SelectMode(index)) {
    return trace.WriteUInt(L"VeltoModeChange_SelectMode", 138, index);
  }
  return TRUE;
}

BOOL WINAPI VeltoModeChange_GetStringInformation(VELTO_MODE_CHANGE_HANDLE handle, UINT identifier,
                                                 UINT subIndex, UINT* length, WCHAR* buffer) {
  const TraceLog trace;
  if (handle == nullptr || buffer == nullptr) {
    return trace.Write(L"VeltoModeChange_GetStringInformation", 192);
  }
  CWideString text;
  if (!GetObjectOf(handle)->GetStringInformation(identifier, subIndex, &text)) {
    return trace.WriteUIntPair(L"VeltoModeChange_GetStringInformation", 204, identifier, subIndex);
  }
  if (*length <= text.length()) {
    return trace.WriteUIntPair(L"VeltoModeChange_GetStringInformation", 215, *length,
                               static_cast<UINT>(text.length()));
  }
  std::wmemcpy(buffer, text.c_str(), text.length() + 1);
  *length = static_cast<UINT>(text.length() + 1);
  return TRUE;
}

BOOL WINAPI VeltoModeChange_GetINT32Information(VELTO_MODE_CHANGE_HANDLE handle, UINT identifier,
                                                UINT subIndex, INT32* value) {
  const TraceLog trace;
  if (handle == nullptr || value == nullptr) {
    return trace.Write(L"VeltoModeChange_GetINT32Information", 276);
  }
  std::int32_t answer = 0;
  if (!GetObjectOf(handle)->GetINT32Information(identifier, kNoSubIndex, &answer)) {
    return trace.WriteUIntPair(L"VeltoModeChange_GetINT32Information", 284, identifier, subIndex);
  }
  *value = answer;
  return TRUE;
}

BOOL WINAPI VeltoModeChange_RequestToSetINT32Information(VELTO_MODE_CHANGE_HANDLE handle,
                                                         UINT identifier, UINT subIndex,
                                                         INT32 value, HWND notificationWindow,
                                                         UINT notificationMessage) {
  const TraceLog trace;
  if (handle == nullptr) return trace.Write(L"VeltoModeChange_RequestToSetINT32Information", 329);
  CModeChange& object = *GetObjectOf(handle);
  const CModeChange::CCall call(object);
  if (!object.RequestToSetINT32Information(identifier, kNoSubIndex, value, notificationWindow,
                                           notificationMessage)) {
    trace.WriteUIntPair(L"VeltoModeChange_RequestToSetINT32Information", 339, identifier, subIndex);
    return trace.WriteInt(L"VeltoModeChange_RequestToSetINT32Information", 341, value);
  }
  return TRUE;
}

BOOL WINAPI VeltoModeChange_ShowSettingsDialog(VELTO_MODE_CHANGE_HANDLE handle, HWND parent) {
  const TraceLog trace;
  if (handle == nullptr) return trace.Write(L"VeltoModeChange_ShowSettingsDialog", 373);
  CModeChange& object = *GetObjectOf(handle);
  const CModeChange::CCall call(object);
  if (!object.ShowSettingsDialog(parent)) {
    return trace.Write(L"VeltoModeChange_ShowSettingsDialog", 382);
  }
  return TRUE;
}

// NOLINTEND(readability-implicit-bool-conversion)
