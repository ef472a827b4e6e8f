#pragma once

#include <windows.h>

#include <filesystem>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "faults/User.h"
#include "support/Interposition.h"
#include "support/MemoryBalance.h"
#include "support/Sandbox.h"
#include "support/ScriptedDriver.h"
#include "support/ScriptedEngine.h"
#include "velto/mode_change.h"

/// What a run of an operation can leave behind: values by their names, such as
/// "Status.ini [CurrentModeStatus] Eco" and "device Lamp".
using MachineState = std::map<std::string, std::string>;

/// A small machine with a host: three modes, Eco (eco), Dock (cradle) and Flight (wireless off);
/// three setting items with scripted engines, Lamp (two values), Fan (three) and Sound (five); a
/// driver with both lamps.
class Machine {
 public:
  enum ModeIndex : UINT { kEco, kDock, kFlight };
  static constexpr UINT kNotify = WM_APP + 500;

  /// `interposition`, which watches `library`, and `memory` have to outlive this object.
  Machine(Interposition& interposition, MemoryBalance& memory, HMODULE library);
  ~Machine();
  Machine(const Machine&) = delete;
  Machine& operator=(const Machine&) = delete;

  /// Everything as at the start of every run: no mode is on, the user has saved no values.
  void Reset();

  // --- What a run may start from instead
  void SetUserLocale(std::wstring_view locale) { sandbox.SetUserLocale(locale); }
  void PretendWindows7();
  void WriteStatus(const std::string& text);
  void WriteSettings(const std::string& text);
  /// No data folder, as on a new machine.
  void RemoveDataFolder();
  void SuppressConfirmationOnce(DWORD value);
  [[nodiscard]] bool IsSuppressionThere() const;

  // --- The host
  void OpenHandle();
  void CloseHandle();
  void Select(UINT mode) { selectMode(handle, mode); }
  /// Handles messages until none is left.
  void Pump();
  /// The name of what the host was told of a change since the last call: "told 1"; "told nothing".
  [[nodiscard]] std::string TakeTold();

  [[nodiscard]] MachineState ReadState() const;
  /// Windows of this thread that are neither the host's nor the system's.
  [[nodiscard]] std::vector<std::string> Windows() const;
  /// What was found to be wrong since the last call.
  [[nodiscard]] std::vector<std::string> TakeProblems();
  void AddProblem(const std::string& problem) { problems.push_back(problem); }

  /// What the library threw is the host's: the host's runtime gives its memory back.
  void TakeOver(const void* exception) { memory.ForgetBlockWith(exception); }

  decltype(&VeltoModeChange_CreateHandle) createHandle = nullptr;
  decltype(&VeltoModeChange_DeleteHandle) deleteHandle = nullptr;
  decltype(&VeltoModeChange_GetModeCount) getModeCount = nullptr;
  decltype(&VeltoModeChange_SelectMode) selectMode = nullptr;
  decltype(&VeltoModeChange_GetStringInformation) getStringInformation = nullptr;
  decltype(&VeltoModeChange_GetINT32Information) getINT32Information = nullptr;
  decltype(&VeltoModeChange_RequestToSetINT32Information) request = nullptr;
  decltype(&VeltoModeChange_ShowSettingsDialog) showSettingsDialog = nullptr;

  VELTO_MODE_CHANGE_HANDLE handle = nullptr;
  HWND hostWindow = nullptr;
  std::map<std::wstring, std::unique_ptr<ScriptedEngine>> engines;
  std::unique_ptr<ScriptedDriver> driver;
  User user;

 private:
  static LRESULT CALLBACK HostWindowProc(HWND window, UINT message, WPARAM wParam, LPARAM lParam);
  template <class Function>
  void Resolve(HMODULE library, const char* name, Function* function);
  void AddEngine(const std::wstring& item, INT32 values);
  void WriteConfiguration();
  void WriteTexts();
  void WriteGermanTexts();
  void WriteRegistry();
  void ReadIniFile(const std::wstring& name, MachineState* state) const;
  void WriteDataFile(const wchar_t* name, const std::string& bytes);

  MemoryBalance& memory;
  Sandbox sandbox;
  EngineLog log;
  std::vector<WPARAM> told;
  mutable std::vector<std::string> problems;
  bool isWindows7 = false;
};
