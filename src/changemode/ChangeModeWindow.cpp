#include "changemode/ChangeModeWindow.h"

#include <algorithm>
#include <exception>
#include <memory>
#include <new>
#include <utility>
#include <vector>

#include "changemode/ChangeModeMessages.h"
#include "changemode/ChangeModeReaders.h"
#include "changemode/ChangeModeRequest.h"
#include "changemode/ChangeModeWindowData.h"
#include "common/IsWindows8OrLater.h"
#include "common/ReadForeignMemory.h"
#include "common/TellRequester.h"
#include "devices/CQTX05A9.h"
#include "devices/CQtx05a9DllApplicationSwitchControl.h"
#include "devices/IsSettingItemUsableInThisPC.h"
#include "trace/TraceLog.h"

namespace ChangeModeWindow {

namespace {

constexpr const wchar_t* kClassName = L"ChangeModeWindow";

constexpr UINT kOff = 0;
constexpr UINT kOn = 1;

// No mode has a name as long as this: a text without an end is not a name.
constexpr std::size_t kMostCharactersOfModeName = 0x8000;

// --- The window's record -----------------------------------------------------------------------

ChangeModeWindowData* GetData(HWND window) noexcept {
  return reinterpret_cast<ChangeModeWindowData*>(::GetWindowLongPtrW(window, GWLP_USERDATA));
}

void FreeData(HWND window) noexcept {
  const std::unique_ptr<ChangeModeWindowData> data(GetData(window));
  ::SetWindowLongPtrW(window, GWLP_USERDATA, 0);
}

/// Ends the change, however it went, and tells the requester, if there is one. Takes the window: a
/// driver that handles messages while it is asked can close it, and the record is gone then.
void EndChange(HWND window, WPARAM result) noexcept {
  ChangeModeWindowData* data = GetData(window);
  if (data == nullptr) return;
  const HWND notifyWindow = data->notifyWindow;
  const UINT notifyMessage = data->notifyMessage;
  data->Reset();
  if (notifyWindow != nullptr && !Common::TellRequester(notifyWindow, notifyMessage, result)) {
    TraceLog().Write(L"ChangeModeWindow::`anonymous-namespace'::EndChange", 205);
  }
}

/// Drives the change on by a message to the window itself. Where Windows takes no message the
/// change ends here: it would never end otherwise.
void PostToMyself(HWND window, UINT message, WPARAM result) {
  if (::PostMessageW(window, message, result, 0) != FALSE) return;
  const DWORD error = ::GetLastError();
  EndChange(window, kChangeFailed);
  TraceLog().WriteUInt(L"ChangeModeWindow::`anonymous-namespace'::PostToMyself", 214, error);
}

// --- Lamps -------------------------------------------------------------------------------------

bool SetWirelessLEDStatus(bool on) {
  constexpr DWORD kWirelessSwitch = 0x20;
  Qtx05a9::CQtx05a9DllApplicationSwitchControl driver;
  if (!driver.LoadDriver()) {
    return TraceLog().Write(L"ChangeModeWindow::`anonymous-namespace'::SetWirelessLEDStatus", 1052);
  }
  DWORD info = 0;
  const DWORD infoStatus = driver.GetSwitchInfo(&info);
  if (infoStatus != 0) {
    return TraceLog().WriteUInt(L"ChangeModeWindow::`anonymous-namespace'::SetWirelessLEDStatus",
                                1059, infoStatus);
  }
  if ((info & kWirelessSwitch) == 0) return true;
  const DWORD setStatus = driver.SetApplicationSwitch(kWirelessSwitch, on ? kWirelessSwitch : 0);
  if (setStatus != 0) {
    return TraceLog().WriteUInt(L"ChangeModeWindow::`anonymous-namespace'::SetWirelessLEDStatus",
                                1073, setStatus);
  }
  return true;
}

bool SetEcoLEDStatus(bool on) {
  CQTX05A9 driver;
  UINT supported = 0;
  // A machine without the driver, or whose driver can't say, has no lamp to drive.
  if (!driver.IsEcoLEDSupported(&supported) || supported == 0) return true;
  if (!driver.SetEcoLED(on)) {
    return TraceLog().Write(L"ChangeModeWindow::`anonymous-namespace'::SetEcoLEDStatus", 1097);
  }
  return true;
}

/// From Windows 8 on the system drives the wireless lamp itself.
bool IsWirelessLampOurs(const CModeChangeConfig& config) noexcept {
  return !IsWindows8OrLater() && config.EnableToChangeWirelessLEDStatusInWin7();
}

/// A failed change leaves the wireless lamp as the mode before it wants it.
void RestoreWirelessLamp(const CWideString& oldMode) {
  const CModeChangeConfig config;
  if (!IsWirelessLampOurs(config)) return;
  UINT type = CModeChangeConfig::kNormalMode;
  if (!oldMode.empty() && !config.GetModeType(oldMode.c_str(), &type)) return;
  SetWirelessLEDStatus(type != CModeChangeConfig::kWirelessOffMode);
}

// --- One setting item --------------------------------------------------------------------------

bool GetCurrentONModeName(const ChangeModeReaders& readers, CWideString* name) {
  if (name == nullptr) {
    return TraceLog().Write(L"ChangeModeWindow::`anonymous-namespace'::GetCurrentONModeName", 981);
  }
  std::vector<CWideString> modes;
  if (!readers.config.GetUsableModeList(&modes)) {
    return TraceLog().Write(L"ChangeModeWindow::`anonymous-namespace'::GetCurrentONModeName", 989);
  }
  CWideString found;
  for (const CWideString& mode : modes) {
    UINT status = kOff;
    if (!readers.statuses.GetCurrentModeStatus(mode.c_str(), &status)) {
      return TraceLog().Write(L"ChangeModeWindow::`anonymous-namespace'::GetCurrentONModeName",
                              1002);
    }
    if (status == kOn) {
      found = mode;
      break;
    }
  }
  *name = found;
  return true;
}

/// No mode is ON: what the item has now is its normal environment, if the new mode changes it.
bool TakeOverFromNoMode(const CModeChangeStatus& statuses, const wchar_t* item,
                        std::int32_t newValue, std::int32_t current, std::int32_t* value) {
  if (newValue < 0) {
    if (!statuses.SaveNormalEnvironmentSetting(item, CModeChangeStatus::kNothingSaved)) {
      return TraceLog().Write(
          L"ChangeModeWindow::`anonymous-namespace'::SaveNormaiEnvironmentAndGetSettingItemValueForNewModeStatus",
          850, item);
    }
    *value = CModeChangeSettings::kDoNothing;
    return true;
  }
  if (!statuses.SaveNormalEnvironmentSetting(item, current)) {
    return TraceLog().Write(
        L"ChangeModeWindow::`anonymous-namespace'::SaveNormaiEnvironmentAndGetSettingItemValueForNewModeStatus",
        864, item);
  }
  *value = newValue;
  return true;
}

/// Another mode is ON and set the item to `oldValue`, or left it alone.
bool TakeOverFromOtherMode(const CModeChangeStatus& statuses, const wchar_t* item,
                           std::int32_t oldValue, std::int32_t newValue, std::int32_t current,
                           std::int32_t* value) {
  const bool oldModeSetsItem = oldValue >= 0;
  const bool newModeSetsItem = newValue >= 0;
  if (oldModeSetsItem && !newModeSetsItem) {
    std::int32_t normalValue = CModeChangeStatus::kNothingSaved;
    if (!statuses.GetNormalEnvironmentSetting(item, &normalValue)) {
      return TraceLog().Write(
          L"ChangeModeWindow::`anonymous-namespace'::SaveNormaiEnvironmentAndGetSettingItemValueForNewModeStatus",
          928);
    }
    if (!statuses.SaveNormalEnvironmentSetting(item, CModeChangeStatus::kNothingSaved)) {
      return TraceLog().Write(
          L"ChangeModeWindow::`anonymous-namespace'::SaveNormaiEnvironmentAndGetSettingItemValueForNewModeStatus",
          936, item);
    }
    *value = normalValue;
    return true;
  }
  // Where the old mode set the item too, the value saved when it started is still the normal one.
  if (!oldModeSetsItem && newModeSetsItem &&
      !statuses.SaveNormalEnvironmentSetting(item, current)) {
    return TraceLog().Write(
        L"ChangeModeWindow::`anonymous-namespace'::SaveNormaiEnvironmentAndGetSettingItemValueForNewModeStatus",
        909, item);
  }
  *value = newModeSetsItem ? newValue : CModeChangeSettings::kDoNothing;
  return true;
}

/// Decides the value that the item takes, or a negative number for none, and keeps the item's
/// normal environment: the value that it had before any mode took it over.
bool SaveNormaiEnvironmentAndGetSettingItemValueForNewModeStatus(
    const ChangeModeReaders& readers, const wchar_t* currentOn, const wchar_t* newMode,
    UINT newStatus, const wchar_t* item, CDeviceEngineHelper* engine, std::int32_t* value) {
  if (currentOn == nullptr || newMode == nullptr || item == nullptr || engine == nullptr ||
      value == nullptr) {
    return TraceLog().Write(
        L"ChangeModeWindow::`anonymous-namespace'::SaveNormaiEnvironmentAndGetSettingItemValueForNewModeStatus",
        788);
  }
  const CModeChangeStatus& statuses = readers.statuses;
  if (newStatus == kOff) {
    if (!statuses.GetNormalEnvironmentSetting(item, value)) {
      return TraceLog().Write(
          L"ChangeModeWindow::`anonymous-namespace'::SaveNormaiEnvironmentAndGetSettingItemValueForNewModeStatus",
          803);
    }
    return true;
  }
  if (newStatus != kOn) {
    return TraceLog().WriteUInt(
        L"ChangeModeWindow::`anonymous-namespace'::SaveNormaiEnvironmentAndGetSettingItemValueForNewModeStatus",
        961, newStatus);
  }

  const CModeChangeSettings& settings = readers.settings;
  std::int32_t newValue = CModeChangeSettings::kDoNothing;
  if (!settings.GetSettingItemValue(newMode, item, &newValue)) {
    const TraceLog trace;
    trace.Write(
        L"ChangeModeWindow::`anonymous-namespace'::SaveNormaiEnvironmentAndGetSettingItemValueForNewModeStatus",
        823, newMode);
    return trace.Write(
        L"ChangeModeWindow::`anonymous-namespace'::SaveNormaiEnvironmentAndGetSettingItemValueForNewModeStatus",
        825, item);
  }
  std::int32_t current = 0;
  if (!engine->GetINT32INformation(VELTO_ENGINE_INT32_CURRENT_VALUE, 0, &current)) {
    return TraceLog().Write(
        L"ChangeModeWindow::`anonymous-namespace'::SaveNormaiEnvironmentAndGetSettingItemValueForNewModeStatus",
        834, item);
  }
  if (*currentOn == L'\0') return TakeOverFromNoMode(statuses, item, newValue, current, value);

  std::int32_t oldValue = CModeChangeSettings::kDoNothing;
  if (!settings.GetSettingItemValue(currentOn, item, &oldValue)) {
    const TraceLog trace;
    trace.Write(
        L"ChangeModeWindow::`anonymous-namespace'::SaveNormaiEnvironmentAndGetSettingItemValueForNewModeStatus",
        882, currentOn);
    return trace.Write(
        L"ChangeModeWindow::`anonymous-namespace'::SaveNormaiEnvironmentAndGetSettingItemValueForNewModeStatus",
        884, item);
  }
  return TakeOverFromOtherMode(statuses, item, oldValue, newValue, current, value);
}

/// Whether the engine's item is still the one to be set. An engine that handles messages while it
/// is asked can have the change end, or another request take its place: what is left of it must not
/// touch devices, nor what is remembered of them.
bool IsUnderWay(HWND window, const CDeviceEngineHelper* engine) noexcept {
  const ChangeModeWindowData* data = GetData(window);
  return data != nullptr && data->engine.get() == engine &&
         data->stage == ChangeModeWindowData::Stage::kItemUnderWay;
}

/// Has the engine set the value, or reports the item as done at once where there is nothing to set.
bool RequestToSetDeviceStatus(CDeviceEngineHelper& engine, std::int32_t value, HWND window) {
  if (value < 0) {
    PostToMyself(window, WM_CHANGEMODE_COMPLETIONNOTICE, kItemDone);
    return true;
  }
  bool usable = false;
  if (!IsSettingItemUsableInThisPC(&engine, &usable)) {
    return TraceLog().Write(L"ChangeModeWindow::`anonymous-namespace'::RequestToSetDeviceStatus",
                            680);
  }
  std::int32_t supported = 1;
  if (!engine.GetINT32INformation(VELTO_ENGINE_INT32_SUPPORTED, 0, &supported)) {
    return TraceLog().Write(L"ChangeModeWindow::`anonymous-namespace'::RequestToSetDeviceStatus",
                            688);
  }
  if (supported != 1) {
    PostToMyself(window, WM_CHANGEMODE_COMPLETIONNOTICE, kItemDone);
    return true;
  }
  std::int32_t valueCount = 0;
  if (!engine.GetINT32INformation(VELTO_ENGINE_INT32_VALUE_COUNT, 0, &valueCount)) {
    return TraceLog().Write(L"ChangeModeWindow::`anonymous-namespace'::RequestToSetDeviceStatus",
                            705);
  }
  std::int32_t available = 1;
  if (!engine.GetINT32INformation(VELTO_ENGINE_INT32_VALUE_AVAILABLE, static_cast<UINT>(value),
                                  &available)) {
    return TraceLog().Write(L"ChangeModeWindow::`anonymous-namespace'::RequestToSetDeviceStatus",
                            715);
  }
  if (available != 1) {
    return TraceLog().WriteInt(L"ChangeModeWindow::`anonymous-namespace'::RequestToSetDeviceStatus",
                               722, available);
  }
  std::int32_t engineBusy = 0;
  if (!engine.GetINT32INformation(VELTO_ENGINE_INT32_BUSY, 0, &engineBusy)) {
    return TraceLog().Write(L"ChangeModeWindow::`anonymous-namespace'::RequestToSetDeviceStatus",
                            730);
  }
  if (engineBusy == 1) {
    return TraceLog().Write(L"ChangeModeWindow::`anonymous-namespace'::RequestToSetDeviceStatus",
                            738);
  }
  if (!IsUnderWay(window, &engine)) return true;
  if (!engine.RequestToSetINT32Information(value, window)) {
    return TraceLog().WriteInt(L"ChangeModeWindow::`anonymous-namespace'::RequestToSetDeviceStatus",
                               746, value);
  }
  return true;
}

// --- Messages ----------------------------------------------------------------------------------

bool OnCreate(HWND window) {
  // Requesters may have fewer rights than this process.
  ::ChangeWindowMessageFilterEx(window, WM_COPYDATA, MSGFLT_ALLOW, nullptr);

  auto newData = std::make_unique<ChangeModeWindowData>();
  ::SetWindowLongPtrW(window, GWLP_USERDATA, reinterpret_cast<LONG_PTR>(newData.get()));
  ChangeModeWindowData* data = GetData(window);
  if (data != newData.get()) {
    return TraceLog().Write(L"ChangeModeWindow::`anonymous-namespace'::OnCreate", 244);
  }
  static_cast<void>(newData.release());

  if (!CModeChangeConfig().GetAllSettingItemList(&data->settingItemNames)) {
    return TraceLog().Write(L"ChangeModeWindow::`anonymous-namespace'::OnCreate", 253);
  }
  data->busy = false;
  return true;
}

/// Another program names the mode by an address in this process. What stands there must not reach
/// the status file, which every user may read, unless it is a mode.
bool MayName(const CWideString& mode) {
  if (::InSendMessageEx(nullptr) == ISMEX_NOSEND) return true;
  std::vector<CWideString> modes;
  return CModeChangeConfig().GetUsableModeList(&modes) &&
         std::any_of(modes.begin(), modes.end(), [&mode](const CWideString& offered) {
           return offered.EqualsIgnoringCase(mode);
         });
}

bool OnCopyData(HWND window, const COPYDATASTRUCT* copyData) {
  if (copyData == nullptr) {
    return TraceLog().Write(L"ChangeModeWindow::`anonymous-namespace'::OnCopyData", 298);
  }
  if (copyData->dwData != ChangeModeRequest::kCopyDataId) {
    return TraceLog().Write(L"ChangeModeWindow::`anonymous-namespace'::OnCopyData", 303);
  }
  ChangeModeWindowData* data = GetData(window);
  if (data == nullptr) {
    return TraceLog().Write(L"ChangeModeWindow::`anonymous-namespace'::OnCopyData", 309);
  }
  if (data->busy) {
    return TraceLog().Write(L"ChangeModeWindow::`anonymous-namespace'::OnCopyData", 315);
  }
  // Anybody may send this message, so nothing that it points at can be trusted.
  ChangeModeRequest request{};
  if (copyData->cbData != sizeof(request)) {
    return TraceLog().WriteUInt(L"ChangeModeWindow::`anonymous-namespace'::OnCopyData", 318,
                                copyData->cbData);
  }
  if (!Common::ReadForeignMemory(copyData->lpData, &request, sizeof(request))) {
    return TraceLog().Write(L"ChangeModeWindow::`anonymous-namespace'::OnCopyData", 321);
  }
  CWideString modeName;
  try {
    if (!Common::ReadForeignText(request.modeName, kMostCharactersOfModeName, &modeName)) {
      return TraceLog().Write(L"ChangeModeWindow::`anonymous-namespace'::OnCopyData", 324);
    }
    if (!MayName(modeName)) {
      return TraceLog().Write(L"ChangeModeWindow::`anonymous-namespace'::OnCopyData", 326);
    }
  } catch (const std::bad_alloc&) {
    // The request is good, and its requester waits to be told how the change ended.
    data->TakeRequester(request);
    throw;
  }

  data->TakeRequester(request);
  data->itemIndex = 0;
  data->newModeName = modeName;
  data->newModeStatus = request.modeStatus;
  const auto readers = std::make_shared<const ChangeModeReaders>();
  data->readers = readers;
  data->stage = ChangeModeWindowData::Stage::kItemDue;
  if (!GetCurrentONModeName(*readers, &data->currentOnModeName)) {
    return TraceLog().Write(L"ChangeModeWindow::`anonymous-namespace'::OnCopyData", 330);
  }

  if (IsWirelessLampOurs(readers->config)) {
    UINT type = CModeChangeConfig::kNormalMode;
    if (!readers->config.GetModeType(modeName.c_str(), &type)) {
      return TraceLog().Write(L"ChangeModeWindow::`anonymous-namespace'::OnCopyData", 344);
    }
    const bool off = type == CModeChangeConfig::kWirelessOffMode && data->newModeStatus != kOff;
    SetWirelessLEDStatus(!off);
  }
  PostToMyself(window, WM_CHANGEMODE_SETDEVICESTATUS, 0);
  return true;
}

bool OnSetDeviceStatus(HWND window) {
  ChangeModeWindowData* data = GetData(window);
  if (data == nullptr) {
    return TraceLog().Write(L"ChangeModeWindow::`anonymous-namespace'::OnSetDeviceStatus", 379);
  }
  if (data->stage != ChangeModeWindowData::Stage::kItemDue) {
    TraceLog().Write(L"ChangeModeWindow::`anonymous-namespace'::OnSetDeviceStatus", 383);
    return true;
  }
  data->stage = ChangeModeWindowData::Stage::kItemUnderWay;
  if (data->itemIndex >= data->settingItemNames.size()) {
    return TraceLog().WriteUInt(L"ChangeModeWindow::`anonymous-namespace'::OnSetDeviceStatus", 384,
                                data->itemIndex);
  }
  const std::shared_ptr<const ChangeModeReaders> readers = data->readers;
  const CWideString item = data->settingItemNames[data->itemIndex];
  CWideString enginePath;
  if (!readers->config.GetSettingItemEnginePath(item.c_str(), &enginePath)) {
    return TraceLog().Write(L"ChangeModeWindow::`anonymous-namespace'::OnSetDeviceStatus", 392,
                            item.c_str());
  }
  const auto engine = std::make_shared<CDeviceEngineHelper>(enginePath);
  const CWideString currentOnModeName = data->currentOnModeName;
  const CWideString newModeName = data->newModeName;
  const UINT newModeStatus = data->newModeStatus;

  // An engine that handles messages can end this change, or the window, while it is being asked or
  // closed. So nothing of the record is used from here on.
  std::exchange(data->engine, engine).reset();

  bool usable = false;
  if (!IsSettingItemUsableInThisPC(engine.get(), &usable)) {
    return TraceLog().Write(L"ChangeModeWindow::`anonymous-namespace'::OnSetDeviceStatus", 405);
  }
  if (!usable) {
    PostToMyself(window, WM_CHANGEMODE_COMPLETIONNOTICE, kItemDone);
    return true;
  }
  if (!engine->SelectDevice()) {
    return TraceLog().Write(L"ChangeModeWindow::`anonymous-namespace'::OnSetDeviceStatus", 419);
  }
  if (!IsUnderWay(window, engine.get())) return true;
  std::int32_t value = CModeChangeSettings::kDoNothing;
  if (!SaveNormaiEnvironmentAndGetSettingItemValueForNewModeStatus(
          *readers, currentOnModeName.c_str(), newModeName.c_str(), newModeStatus, item.c_str(),
          engine.get(), &value)) {
    return TraceLog().Write(L"ChangeModeWindow::`anonymous-namespace'::OnSetDeviceStatus", 433,
                            item.c_str());
  }
  if (!RequestToSetDeviceStatus(*engine, value, window)) {
    const TraceLog trace;
    trace.Write(L"ChangeModeWindow::`anonymous-namespace'::OnSetDeviceStatus", 438,
                enginePath.c_str());
    return trace.WriteInt(L"ChangeModeWindow::`anonymous-namespace'::OnSetDeviceStatus", 439,
                          value);
  }
  return true;
}

/// Records the change that every item has taken, and sets the eco lamp.
bool CompleteChange(const ChangeModeWindowData& data) {
  const std::shared_ptr<const ChangeModeReaders> readers = data.readers;
  const CModeChangeStatus& statuses = readers->statuses;
  if (!data.currentOnModeName.empty() &&
      !statuses.SaveCurrentModeStatus(data.currentOnModeName.c_str(), kOff)) {
    return TraceLog().Write(L"ChangeModeWindow::`anonymous-namespace'::OnCompletionNotice", 541,
                            data.currentOnModeName.c_str());
  }
  if (!statuses.SaveCurrentModeStatus(data.newModeName.c_str(),
                                      static_cast<std::int32_t>(data.newModeStatus))) {
    return TraceLog().WriteTextUInt(L"ChangeModeWindow::`anonymous-namespace'::OnCompletionNotice",
                                    565, data.newModeName.c_str(), data.newModeStatus);
  }
  UINT type = CModeChangeConfig::kNormalMode;
  if (readers->config.GetModeType(data.newModeName.c_str(), &type)) {
    SetEcoLEDStatus(type == CModeChangeConfig::kEcoMode && data.newModeStatus == kOn);
  }
  return true;
}

void OnCompletionNotice(HWND window, WPARAM result) {
  ChangeModeWindowData* data = GetData(window);
  if (data == nullptr) {
    TraceLog().Write(L"ChangeModeWindow::`anonymous-namespace'::OnCompletionNotice", 456);
    return;
  }
  switch (result) {
    case kItemDone:
      if (data->stage != ChangeModeWindowData::Stage::kItemUnderWay) {
        TraceLog().Write(L"ChangeModeWindow::`anonymous-namespace'::OnCompletionNotice", 490);
        return;
      }
      ++data->itemIndex;
      if (data->itemIndex < data->settingItemNames.size()) {
        data->stage = ChangeModeWindowData::Stage::kItemDue;
        PostToMyself(window, WM_CHANGEMODE_SETDEVICESTATUS, 0);
      } else {
        EndChange(window, CompleteChange(*data) ? kChangeCompleted : kChangeFailed);
      }
      return;
    case kItemFailed:
    case kItemResult2:
    case kItemResult3:
      TraceLog().WriteUIntPair(L"ChangeModeWindow::`anonymous-namespace'::OnCompletionNotice", 469,
                               data->itemIndex, static_cast<std::uint32_t>(result));
      RestoreWirelessLamp(data->currentOnModeName);
      EndChange(window, result == kItemFailed ? kChangeFailed : result);
      return;
    default:
      TraceLog().WriteUInt(L"ChangeModeWindow::`anonymous-namespace'::OnCompletionNotice", 629,
                           static_cast<std::uint32_t>(result));
      EndChange(window, kChangeFailed);
  }
}

/// Nothing may be thrown through Windows: where memory runs out the handler has failed.
template <class Handler>
bool Succeeds(Handler handler) noexcept {
  try {
    return handler();
  } catch (const std::exception&) {
    return false;
  }
}

/// Runs one step of a change; a step that fails ends the change.
template <class Handler>
void RunStep(HWND window, Handler handler) noexcept {
  if (Succeeds(handler)) return;
  const bool posted = Succeeds([window] {
    PostToMyself(window, WM_CHANGEMODE_COMPLETIONNOTICE, kItemFailed);
    return true;
  });
  static_cast<void>(posted);
}

LRESULT CALLBACK WindowProc(HWND window, UINT message, WPARAM wParam, LPARAM lParam) noexcept {
  switch (message) {
    case WM_CREATE:
      return Succeeds([window] { return OnCreate(window); }) ? 0 : -1;
    case WM_DESTROY:
      FreeData(window);
      return 0;
    case WM_NCDESTROY:
      // A window whose creation fails may go without WM_DESTROY.
      FreeData(window);
      return ::DefWindowProcW(window, message, wParam, lParam);
    case WM_CLOSE:
      ::DestroyWindow(window);
      return 0;
    case WM_COPYDATA:
      RunStep(window, [window, lParam] {
        return OnCopyData(window, reinterpret_cast<const COPYDATASTRUCT*>(lParam));
      });
      return TRUE;
    case WM_CHANGEMODE_SETDEVICESTATUS:
      RunStep(window, [window] { return OnSetDeviceStatus(window); });
      return 0;
    case WM_CHANGEMODE_COMPLETIONNOTICE:
      if (!Succeeds([window, wParam] {
            OnCompletionNotice(window, wParam);
            return true;
          })) {
        EndChange(window, kChangeFailed);
        TraceLog().Write(L"ChangeModeWindow::`anonymous-namespace'::OnCompletionNotice", 646);
      }
      return 0;
    default:
      return ::DefWindowProcW(window, message, wParam, lParam);
  }
}

}  // namespace

HWND CreateMyWindow(HINSTANCE module) {
  WNDCLASSEXW windowClass{};
  windowClass.cbSize = sizeof(windowClass);
  windowClass.style = CS_HREDRAW | CS_VREDRAW;
  windowClass.lpfnWndProc = WindowProc;
  windowClass.hInstance = module;
  windowClass.hCursor = ::LoadCursorW(nullptr, IDC_ARROW);
  windowClass.hbrBackground = reinterpret_cast<HBRUSH>(static_cast<LONG_PTR>(COLOR_WINDOW + 1));
  windowClass.lpszClassName = kClassName;
  if (::RegisterClassExW(&windowClass) == 0) {
    const DWORD error = ::GetLastError();
    if (error != ERROR_CLASS_ALREADY_EXISTS) {
      TraceLog().WriteUInt(L"ChangeModeWindow::CreateMyWindow", 143, error);
      return nullptr;
    }
  }
  return ::CreateWindowExW(0, kClassName, L"", WS_OVERLAPPEDWINDOW, CW_USEDEFAULT, 0, CW_USEDEFAULT,
                           0, nullptr, nullptr, module, nullptr);
}

bool Request(HWND window, ChangeModeRequest request) noexcept {
  const ChangeModeWindowData* data = GetData(window);
  const UINT takenBefore = data != nullptr ? data->takenRequests : 0;
  COPYDATASTRUCT copyData{ChangeModeRequest::kCopyDataId, sizeof(request), &request};
  // The message's result does not tell: a window that refuses a request has handled the message.
  ::SendMessageW(window, WM_COPYDATA, 0, reinterpret_cast<LPARAM>(&copyData));
  data = GetData(window);
  return data != nullptr && data->takenRequests != takenBefore;
}

void CloseMyWindow(HWND window) noexcept {
  if (window == nullptr || ::PostMessageW(window, WM_CLOSE, 0, 0) != FALSE) return;
  ::DestroyWindow(window);
}

}  // namespace ChangeModeWindow
