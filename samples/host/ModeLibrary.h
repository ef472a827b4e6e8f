#pragma once

#include <velto/mode_change.h>

#include <memory>
#include <string>
#include <type_traits>

/// The ModeChange.dll beside this program, loaded and opened. What fails is thrown as a
/// CommandError.
///
/// All calls come from the thread that made the object.
class ModeLibrary {
 public:
  ModeLibrary();
  ~ModeLibrary();
  ModeLibrary(const ModeLibrary&) = delete;
  ModeLibrary& operator=(const ModeLibrary&) = delete;

  [[nodiscard]] UINT GetModeCount() const;

  /// Chooses the mode that everything below is about.
  void SelectMode(UINT index) const;

  /// `identifier` is a VELTO_MODE_STRING_... constant.
  [[nodiscard]] std::wstring GetText(UINT identifier, UINT subIndex = 0) const;

  /// `identifier` is a VELTO_MODE_INT32_... constant.
  [[nodiscard]] INT32 GetNumber(UINT identifier) const;

  /// Has the mode switched; `window` is posted `message` when that is over. Returns once the user
  /// has answered the confirmation.
  void RequestStatus(INT32 status, HWND window, UINT message) const;

  /// Shows the settings dialog, owned by `parent` where there is one, until the user closes it.
  void ShowSettings(HWND parent = nullptr) const;

 private:
  struct ModuleDeleter {
    void operator()(HMODULE loaded) const noexcept { ::FreeLibrary(loaded); }
  };

  template <class Function>
  void Find(const char* name, Function* function) const;

  std::unique_ptr<std::remove_pointer_t<HMODULE>, ModuleDeleter> module;
  decltype(&VeltoModeChange_CreateHandle) createHandle = nullptr;
  decltype(&VeltoModeChange_DeleteHandle) deleteHandle = nullptr;
  decltype(&VeltoModeChange_GetModeCount) getModeCount = nullptr;
  decltype(&VeltoModeChange_SelectMode) selectMode = nullptr;
  decltype(&VeltoModeChange_GetStringInformation) getString = nullptr;
  decltype(&VeltoModeChange_GetINT32Information) getNumber = nullptr;
  decltype(&VeltoModeChange_RequestToSetINT32Information) requestToSetNumber = nullptr;
  decltype(&VeltoModeChange_ShowSettingsDialog) showSettingsDialog = nullptr;
  VELTO_MODE_CHANGE_HANDLE handle = nullptr;
};
