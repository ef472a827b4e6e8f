#pragma once

#include <windows.h>

#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "fuzz/DialogUser.h"
#include "fuzz/Random.h"
#include "support/LoadedLibrary.h"
#include "support/Sandbox.h"
#include "support/ScriptedDriver.h"
#include "support/ScriptedEngine.h"
#include "support/TraceCapture.h"
#include "velto/mode_change.h"

/// A host of the product's ModeChange.dll that uses all of its interface on whatever files there
/// are, with the engines of the sample configuration and a hotkey driver, and expects what holds
/// whatever is in the files:
///
/// - what fails leaves its outputs as they were and traces under the export's name last; a question
///   that is answered traces nothing, and the answer is one that is documented;
/// - a request that was accepted is reported exactly once, one that failed never;
/// - a settings dialog that was only looked at leaves the library's files as they were;
/// - dialogs, windows, engine handles and trace registrations are gone when the handle is.
class HostUnderFuzz {
 public:
  struct Statistics {
    std::uint64_t handles = 0;
    std::uint64_t questions = 0;
    std::uint64_t answers = 0;
    std::uint64_t requests = 0;
    std::uint64_t changesCompleted = 0;
    std::uint64_t settingsDialogs = 0;
  };

  HostUnderFuzz(const LoadedLibrary& library, Interposition& interposition, TraceCapture& traces,
                Sandbox& sandbox);
  ~HostUnderFuzz();
  HostUnderFuzz(const HostUnderFuzz&) = delete;
  HostUnderFuzz& operator=(const HostUnderFuzz&) = delete;

  /// From the handle's creation to its end.
  void UseEverything(Random& newRandom);

  [[nodiscard]] const Statistics& Counts() const noexcept { return statistics; }
  [[nodiscard]] const DialogUser::Statistics& UserCounts() const noexcept { return user->Counts(); }

 private:
  static constexpr UINT kNotify = WM_APP + 500;

  void InstallDriver();
  void PrepareDevices();
  void PrepareSuppression();
  void AskAboutAllModes(UINT count);
  void AskAboutMode();
  void AskForText(UINT identifier, UINT subIndex);
  void AskForNumber(UINT identifier);
  void ExpectDocumentedNumber(UINT identifier, INT32 value);
  void Request(INT32 status);
  void RequestInVain();
  void ShowSettings(UINT modeCount);
  void ExpectNothingLeft();

  /// Expects the traces that the result calls for.
  void CheckTraces(BOOL result, const wchar_t* function, bool mayTraceInSuccess = false);

  template <class Function>
  void Resolve(const LoadedLibrary& library, const char* name, Function* function);
  static LRESULT CALLBACK HostWindowProc(HWND window, UINT message, WPARAM wParam, LPARAM lParam);
  static void PumpAll();

  Interposition& interposition;
  TraceCapture& traces;
  Sandbox& sandbox;
  Random* random = nullptr;

  decltype(&VeltoModeChange_CreateHandle) createHandle = nullptr;
  decltype(&VeltoModeChange_DeleteHandle) deleteHandle = nullptr;
  decltype(&VeltoModeChange_GetModeCount) getModeCount = nullptr;
  decltype(&VeltoModeChange_SelectMode) selectMode = nullptr;
  decltype(&VeltoModeChange_GetStringInformation) getStringInformation = nullptr;
  decltype(&VeltoModeChange_GetINT32Information) getINT32Information = nullptr;
  decltype(&VeltoModeChange_RequestToSetINT32Information) request = nullptr;
  decltype(&VeltoModeChange_ShowSettingsDialog) showSettingsDialog = nullptr;

  VELTO_MODE_CHANGE_HANDLE handle = nullptr;
  HWND window = nullptr;
  std::vector<WPARAM> results;
  EngineLog log;
  std::map<std::wstring, std::unique_ptr<ScriptedEngine>> engines;
  std::optional<ScriptedDriver> driver;
  std::optional<DialogUser> user;
  Statistics statistics;
};
