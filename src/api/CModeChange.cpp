#include "api/CModeChange.h"

#include <array>
#include <cstring>
#include <limits>
#include <stdexcept>
#include <utility>

#include "changemode/CAnnounceModeIsChangedDialog.h"
#include "changemode/ChangeModeWindow.h"
#include "common/CUniqueHandle.h"
#include "common/ModuleHelpers.h"
#include "common/TellRequester.h"
#include "config/CModeChangeConfig.h"
#include "config/CModeChangeResource.h"
#include "config/CModeChangeSettings.h"
#include "config/CModeChangeStatus.h"
#include "resources/ControlIds.h"
#include "settings/CSettingsDialog.h"
#include "velto/mode_change.h"

namespace {

/// The exported numbering puts the ordinary mode at 1; the configuration numbers modes by the order
/// in which it tests their flags.
constexpr std::array<std::int32_t, 5> kExportedTypes = {
    VELTO_MODE_TYPE_CRADLE, VELTO_MODE_TYPE_CUSTOM, VELTO_MODE_TYPE_ECO,
    VELTO_MODE_TYPE_WIRELESS_OFF, VELTO_MODE_TYPE_ORDINARY};
static_assert(kExportedTypes[CModeChangeConfig::kNormalMode] == VELTO_MODE_TYPE_ORDINARY);
static_assert(kExportedTypes[CModeChangeConfig::kCustomMode] == VELTO_MODE_TYPE_CUSTOM);

/// Whether another program asked to leave out the confirmation of the next change. Asking once is
/// all that it can do: the value is deleted, whatever it was.
bool TakeOneShotSuppression() noexcept {
  constexpr const wchar_t* kValue = L"NotShowAnnounceModeIsChangeDialog";
  HKEY opened = nullptr;
  if (::RegOpenKeyExW(HKEY_CURRENT_USER, L"Software\\Brivane\\Kestrola\\ModeChange", 0,
                      KEY_READ | KEY_WRITE, &opened) != ERROR_SUCCESS) {
    return false;
  }
  const CUniqueRegistryKey key(opened);
  DWORD type = REG_NONE;
  DWORD value = 0;
  DWORD size = sizeof(value);
  const bool isNumber =
      ::RegQueryValueExW(key.Get(), kValue, nullptr, &type, reinterpret_cast<BYTE*>(&value),
                         &size) == ERROR_SUCCESS &&
      type == REG_DWORD;
  ::RegDeleteValueW(key.Get(), kValue);
  return isNumber && value != 0;
}

}  // namespace

CModeChange::CCall::CCall(CModeChange& object) noexcept : object(object) {
  ++object.callCount;
}

CModeChange::CCall::~CCall() {
  if (--object.callCount == 0 && object.isDeleted) delete &object;
}

CModeChange::~CModeChange() {
  CloseWindow();
}

void CModeChange::Delete(CModeChange* object) noexcept {
  if (object == nullptr) return;
  if (object->callCount == 0) {
    delete object;
    return;
  }
  object->isDeleted = true;
  object->CloseWindow();
}

bool CModeChange::Initiallize() {
  if (!LoadModeInformation()) return trace.Write(L"CModeChange::Initiallize", 70);
  changeModeWindow = ChangeModeWindow::CreateMyWindow(Common::GetMyModuleHandle());
  if (changeModeWindow == nullptr) return trace.Write(L"CModeChange::Initiallize", 78);
  return PinDLL();
}

bool CModeChange::GetModeCount(UINT* count) const {
  if (count == nullptr) return trace.Write(L"CModeChange::GetModeCount", 117);
  if (modes.size() > std::numeric_limits<UINT>::max()) {
    return trace.Write(L"CModeChange::GetModeCount", 123);
  }
  *count = static_cast<UINT>(modes.size());
  return true;
}

bool CModeChange::SelectMode(UINT index) {
  if (index >= modes.size()) return trace.WriteUInt(L"CModeChange::SelectMode", 148, index);
  selectedIndex = index;
  modeSelected = true;
  return true;
}

bool CModeChange::GetStringInformation(UINT identifier, UINT subIndex, CWideString* text) const {
  if (!modeSelected) return trace.Write(L"CModeChange::GetStringInformation", 205);
  switch (identifier) {
    case VELTO_MODE_STRING_NAME:
      return GetModeDisplayName(selectedIndex, text);
    case VELTO_MODE_STRING_STATUS_NAME:
      return GetStatusDisplayName(subIndex, text);
    case VELTO_MODE_STRING_STATUS_ICON_KEY:
      return GetStatusIconKeyName(subIndex, text);
    default:
      return trace.WriteUInt(L"CModeChange::GetStringInformation", 231, identifier);
  }
}

bool CModeChange::GetINT32Information(UINT identifier, UINT /*subIndex*/,
                                      std::int32_t* value) const {
  if (!modeSelected) return trace.Write(L"CModeChange::GetINT32Information", 290);
  switch (identifier) {
    case VELTO_MODE_INT32_TYPE:
      if (!GetModeType(selectedIndex, value)) {
        return trace.Write(L"CModeChange::GetINT32Information", 300);
      }
      return true;
    case VELTO_MODE_INT32_STATUS_COUNT:
      return GetStatusCout(value);
    case VELTO_MODE_INT32_CURRENT_STATUS:
      if (!GetCurrentStatus(selectedIndex, value)) {
        return trace.Write(L"CModeChange::GetINT32Information", 324);
      }
      return true;
    case VELTO_MODE_INT32_SETTINGS_CHANGED:
      if (!IsSettingsChanged(selectedIndex, value)) {
        return trace.Write(L"CModeChange::GetINT32Information", 336);
      }
      return true;
    case VELTO_MODE_INT32_AUTO_ON_OFF:
      if (!IsAutoONOFFEnabled(selectedIndex, value)) {
        return trace.Write(L"CModeChange::GetINT32Information", 348);
      }
      return true;
    default:
      return trace.WriteUInt(L"CModeChange::GetINT32Information", 358, identifier);
  }
}

bool CModeChange::RequestToSetINT32Information(UINT identifier, UINT /*subIndex*/,
                                               std::int32_t value, HWND window,
                                               UINT message) const {
  if (!modeSelected) return trace.Write(L"CModeChange::RequestToSetINT32Information", 396);
  if (identifier != VELTO_MODE_REQUEST_STATUS) {
    // Not a failure: hosts may ask for what only a newer library knows.
    trace.WriteUInt(L"CModeChange::RequestToSetINT32Information", 417, identifier);
    return true;
  }
  if (value < 0) return trace.WriteInt(L"CModeChange::RequestToSetINT32Information", 406, value);
  return RequestToChangeMode(selectedIndex, static_cast<UINT>(value), window, message);
}

bool CModeChange::ShowSettingsDialog(HWND parent) const {
  if (selectedIndex >= modes.size()) throw std::out_of_range("invalid vector<T> subscript");
  CSettingsDialog dialog(modes[selectedIndex].keyName);
  // A dialog that never comes up leaves the end code of one that was closed.
  static_cast<void>(dialog.RunModal(IDD_SETTINGS, parent));
  switch (dialog.EndCode()) {
    case CSettingsDialog::kClosed:
      return true;
    case CSettingsDialog::kSavingFailed:
      // The user knows already, and the host can do nothing about it.
      trace.Write(L"CModeChange::ShowSettingsDialog", 457);
      return true;
    default:
      return trace.WriteInt(L"CModeChange::ShowSettingsDialog", 468, dialog.EndCode());
  }
}

bool CModeChange::GetModeDisplayName(UINT modeIndex, CWideString* name) const {
  if (name == nullptr) return trace.Write(L"CModeChange::GetModeDisplayName", 553);
  if (!modeSelected) return trace.Write(L"CModeChange::GetModeDisplayName", 559);
  const CWideString& keyName = modes[modeIndex].keyName;
  if (!CModeChangeResource().GetModeName(keyName.c_str(), name)) {
    return trace.Write(L"CModeChange::GetModeDisplayName", 567, keyName.c_str());
  }
  return true;
}

bool CModeChange::GetStatusDisplayName(UINT status, CWideString* name) const {
  if (name == nullptr) return trace.Write(L"CModeChange::GetStatusDisplayName", 591);
  if (!modeSelected) return trace.Write(L"CModeChange::GetStatusDisplayName", 597);
  if (!CModeChangeResource().GetModeStatusName(status, name)) {
    return trace.WriteUInt(L"CModeChange::GetStatusDisplayName", 605, status);
  }
  return true;
}

bool CModeChange::GetStatusIconKeyName(UINT status, CWideString* keyName) const {
  if (keyName == nullptr) return trace.Write(L"CModeChange::GetStatusIconKeyName", 629);
  if (!modeSelected) return trace.Write(L"CModeChange::GetStatusIconKeyName", 635);
  return CModeChangeConfig().GetModeStatusIconKeyName(status, keyName);
}

bool CModeChange::GetModeType(UINT modeIndex, std::int32_t* type) const {
  const UINT typeCode = modes[modeIndex].typeCode;
  if (typeCode >= kExportedTypes.size()) {
    return trace.WriteUIntPair(L"CModeChange::GetModeType", 702, modeIndex, typeCode);
  }
  *type = kExportedTypes[typeCode];
  return true;
}

bool CModeChange::GetStatusCout(std::int32_t* count) noexcept {
  *count = kStatusCount;
  return true;
}

bool CModeChange::GetCurrentStatus(UINT modeIndex, std::int32_t* status) const {
  UINT current = VELTO_MODE_STATUS_OFF;
  if (!CModeChangeStatus().GetCurrentModeStatus(modes[modeIndex].keyName.c_str(), &current)) {
    return trace.Write(L"CModeChange::GetCurrentStatus", 761);
  }
  *status = static_cast<std::int32_t>(current);
  return true;
}

bool CModeChange::IsSettingsChanged(UINT modeIndex, std::int32_t* changed) const {
  const CWideString& keyName = modes[modeIndex].keyName;
  bool isChanged = false;
  if (!CModeChangeSettings().IsModeSettingsChanged(keyName.c_str(), &isChanged)) {
    return trace.WriteTextUInt(L"CModeChange::IsSettingsChanged", 788, keyName.c_str(), modeIndex);
  }
  *changed = isChanged ? 1 : 0;
  return true;
}

bool CModeChange::IsAutoONOFFEnabled(UINT modeIndex, std::int32_t* enabled) const {
  const CWideString& keyName = modes[modeIndex].keyName;
  bool isEnabled = false;
  if (!CModeChangeSettings().GetAutoONOFFSetting(keyName.c_str(), &isEnabled)) {
    return trace.Write(L"CModeChange::IsAutoONOFFEnabled", 826, keyName.c_str());
  }
  *enabled = isEnabled ? 1 : 0;
  return true;
}

bool CModeChange::RequestToChangeMode(UINT modeIndex, UINT status, HWND window,
                                      UINT message) const {
  if (status >= kStatusCount) {
    return trace.WriteUIntPair(L"CModeChange::RequestToChangeMode", 863, status, kStatusCount);
  }
  bool show = true;
  if (!CModeChangeSettings().GetAnnounceModeIsChangedDialogDisplaySetting(&show)) {
    return trace.Write(L"CModeChange::RequestToChangeMode", 872);
  }
  const bool suppressed = TakeOneShotSuppression();
  const CWideString& keyName = modes[modeIndex].keyName;

  if (show && !suppressed) {
    constexpr std::int32_t kNeverCameUp = -1;
    CAnnounceModeIsChangedDialog dialog(keyName, status);
    const std::int32_t endCode =
        dialog.RunModal(IDD_ANNOUNCE_MODE_IS_CHANGED, window) ? dialog.EndCode() : kNeverCameUp;
    if (endCode == CAnnounceModeIsChangedDialog::kCancelled) {
      // The host can't tell this from a completed change; it finds the mode as it was.
      if (window != nullptr) Common::TellRequester(window, message, VELTO_MODE_CHANGE_COMPLETED);
      return true;
    }
    if (endCode != CAnnounceModeIsChangedDialog::kConfirmed) {
      return trace.WriteInt(L"CModeChange::RequestToChangeMode", 913, endCode);
    }
  }

  // An engine that the confirmation asked, or the host while it stood, may have deleted the handle.
  if (changeModeWindow == nullptr) return trace.Write(L"CModeChange::RequestToChangeMode", 924);
  const bool isTaken =
      ChangeModeWindow::Request(changeModeWindow, {window, message, keyName.c_str(), status});
  // A handle that was deleted meanwhile reports no more.
  if (!isTaken && changeModeWindow != nullptr) {
    if (window != nullptr) Common::TellRequester(window, message, VELTO_MODE_CHANGE_FAILED);
    trace.Write(L"CModeChange::RequestToChangeMode", 935);
  }
  return true;
}

bool CModeChange::LoadModeInformation() {
  const CModeChangeConfig config;
  std::vector<CWideString> keyNames;
  if (!config.GetUsableModeList(&keyNames)) {
    return trace.Write(L"CModeChange::LoadModeInformation", 496);
  }
  std::vector<Mode> loaded;
  for (const CWideString& keyName : keyNames) {
    UINT typeCode = CModeChangeConfig::kNormalMode;
    if (!config.GetModeType(keyName.c_str(), &typeCode)) {
      return trace.Write(L"CModeChange::LoadModeInformation", 507, keyName.c_str());
    }
    loaded.push_back({keyName, typeCode});
  }
  modes = std::move(loaded);
  return true;
}

bool CModeChange::PinDLL() const {
  std::array<wchar_t, MAX_PATH + 1> path{};
  if (::GetModuleFileNameW(Common::GetMyModuleHandle(), path.data(),
                           static_cast<DWORD>(path.size())) == 0) {
    const DWORD error = ::GetLastError();
    return trace.WriteUInt(L"CModeChange::PinDLL", 953, error);
  }
  HMODULE pinned = nullptr;
  if (::GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_PIN, path.data(), &pinned) == FALSE) {
    const DWORD error = ::GetLastError();
    return trace.WriteTextUInt(L"CModeChange::PinDLL", 960, path.data(), error);
  }
  return true;
}

void CModeChange::CloseWindow() noexcept {
  ChangeModeWindow::CloseMyWindow(std::exchange(changeModeWindow, nullptr));
}
