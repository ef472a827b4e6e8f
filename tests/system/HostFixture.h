#pragma once

#include <windows.h>

#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "support/ModeChangeTest.h"
#include "support/ScriptedEngine.h"
#include "velto/mode_change.h"

/// A host of the product's ModeChange.dll on a small machine.
///
/// The machine offers five modes, in this order: Quiet (ordinary), Dock (cradle), Own (custom), Eco
/// (eco) and Flight (wireless off), and two setting items, Lamp and Fan, each with a scripted
/// engine. No mode sets anything and the user is not asked, unless a test says so.
class HostTest : public ModeChangeTest {
 protected:
  static constexpr UINT kNotify = WM_APP + 500;
  enum ModeIndex : UINT { kQuiet, kDock, kOwn, kEco, kFlight, kModeCount };

  HostTest();
  ~HostTest() override;

  // --- The machine

  void WriteConfig();
  void WriteUsableModes(const std::vector<std::wstring>& modes);
  void WriteDefaults(bool announce = false);
  void WriteTexts();
  /// A mode's value of an item, in the default settings of every Windows.
  void SetDefault(const std::wstring& mode, const std::wstring& item, int value);
  void SetText(const std::wstring& section, const std::wstring& key, const std::wstring& text);
  ScriptedEngine& Engine(const std::wstring& item) { return *engines.at(item); }

  // --- The host

  /// Fails the test where there is no handle.
  void Open();
  void Close();
  /// The text that the selected mode has for an identifier; none for a failure.
  [[nodiscard]] std::optional<std::wstring> GetString(UINT identifier, UINT subIndex = 0) const;
  [[nodiscard]] std::optional<INT32> GetNumber(UINT identifier, UINT subIndex = 0) const;
  /// Asks for a status of the selected mode.
  [[nodiscard]] BOOL Request(INT32 status);
  /// Handles messages until the host was told a result; none after ten seconds.
  [[nodiscard]] std::optional<WPARAM> WaitForResult();
  static void PumpAll();
  [[nodiscard]] static bool PumpUntil(const std::function<bool()>& condition);
  /// The change-mode window of the handle.
  [[nodiscard]] HWND ChangeModeWindow() const;

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
  std::vector<WPARAM> results;  // what the host was told and did not yet look at
  EngineLog log;

 private:
  static LRESULT CALLBACK HostWindowProc(HWND window, UINT message, WPARAM wParam, LPARAM lParam);
  template <class Function>
  void Resolve(const char* name, Function* function);

  std::map<std::wstring, std::unique_ptr<ScriptedEngine>> engines;
  std::map<std::wstring, std::map<std::wstring, int>> defaults;
  std::map<std::wstring, std::map<std::wstring, std::wstring>> texts;
  bool announces = false;
};
