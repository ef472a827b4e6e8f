#pragma once

#include <windows.h>

#include <functional>
#include <initializer_list>
#include <map>
#include <memory>
#include <optional>
#include <ostream>
#include <string>
#include <string_view>
#include <vector>

#include "changemode/ChangeModeMessages.h"
#include "changemode/ChangeModeRequest.h"
#include "changemode/ChangeModeWindow.h"
#include "changemode/ChangeModeWindowData.h"
#include "support/ModeChangeTest.h"
#include "support/ScriptedDriver.h"
#include "support/ScriptedEngine.h"

/// What a requester was told.
struct Notification {
  UINT message = 0;
  WPARAM result = 0;
  LPARAM lParam = 0;

  friend bool operator==(const Notification&, const Notification&) = default;
  friend std::ostream& operator<<(std::ostream& stream, const Notification& notification);
};
using Notifications = std::vector<Notification>;

/// A host's window: it keeps the notifications that it gets.
class Requester {
 public:
  Requester();
  ~Requester();
  Requester(const Requester&) = delete;
  Requester& operator=(const Requester&) = delete;

  [[nodiscard]] HWND Window() const noexcept { return window; }
  /// The window is gone, as when a host ends.
  void Leave();
  /// The notifications since the last Take.
  [[nodiscard]] Notifications Take();

 private:
  static LRESULT CALLBACK WindowProc(HWND window, UINT message, WPARAM wParam, LPARAM lParam);

  HWND window = nullptr;
  Notifications notifications;
};

/// A machine with modes, setting items and an engine for each item, and the window under test.
///
/// The modes are Eco (eco), Flight (wireless off), Dock (cradle), Own (custom) and Quiet
/// (ordinary), in this order. None of them sets an item and none is ON unless a test says so.
/// Everything is driven by real messages: nothing happens until messages are handled.
class ChangeModeWindowTest : public ModeChangeTest {
 protected:
  static constexpr UINT kNotify = WM_APP + 77;
  static constexpr UINT kOff = 0;
  static constexpr UINT kOn = 1;
  /// What DescribeRecord says when no change runs.
  static constexpr const char* kIdle =
      "not busy, tells nobody by 0x0, item 0, from \"\" to \"\" = 0, no engine";

  ~ChangeModeWindowTest() override;

  // --- The machine. All of it may be changed at any time.

  /// Writes the configuration and makes the engines and the window.
  void MakeMachine(std::initializer_list<std::wstring> items);
  /// Only the files, for tests of making the window.
  void WriteConfig(const std::vector<std::wstring>& items, int wirelessLampKey = 0);
  ScriptedEngine& Engine(const std::wstring& item) { return *engines.at(item); }
  [[nodiscard]] std::wstring EnginePath(const std::wstring& item) const;
  /// A mode's value of an item, in the default settings of every Windows.
  void SetValue(const std::wstring& mode, const std::wstring& item, int value);
  void SetStatus(const std::wstring& mode, int status);
  void SetNormalValue(const std::wstring& item, int value);
  /// Installs the hotkey driver.
  void InstallDriver();
  void PretendWindows7() { interposition.Fail("VerifyVersionInfoW", {.onwards = true}); }
  /// From now on the library can't write these keys of its status file: error 5.
  void RefuseToWrite(std::wstring section, std::wstring key);
  /// Adds what the library does with Windows and the driver to the log of engine calls.
  void LogEverything();

  // --- Requests

  HWND MakeWindow() const { return ChangeModeWindow::CreateMyWindow(library.Module()); }
  LRESULT Send(const COPYDATASTRUCT* copyData) const;
  LRESULT Request(const wchar_t* mode, UINT status, HWND notify, UINT message = kNotify) const;
  LRESULT Request(const wchar_t* mode, UINT status) const {
    return Request(mode, status, requester.Window());
  }
  /// Requests a change, handles all messages and expects that the window is idle then. Says what
  /// the requester was told.
  Notifications Change(const wchar_t* mode, UINT status);
  static Notification Told(WPARAM result) { return {.message = kNotify, .result = result}; }

  /// Handles messages until there are none.
  static void PumpAll();
  /// Handles messages until something is so; false when it is not after ten seconds.
  [[nodiscard]] static bool PumpUntil(const std::function<bool()>& condition);

  // --- What happened

  [[nodiscard]] ChangeModeWindowData* Record() const;
  [[nodiscard]] std::string DescribeRecord() const;
  /// The status file's entries as "[Section] Key=Value", read byte by byte.
  [[nodiscard]] std::vector<std::string> StatusFile() const;
  /// What the library wrote to INI files, in the same form, since the calls were cleared.
  [[nodiscard]] std::vector<std::string> Writes() const;
  /// What the library posted, for example "window 0x8001 0".
  [[nodiscard]] std::vector<std::string> Posts() const;
  /// A trace of one of the functions of the window's file.
  static Trace In(std::wstring_view function, std::uint32_t line,
                  std::wstring message = TraceLog::kNoAdditionalInformation);
  static Trace InSave(std::uint32_t line,
                      std::wstring message = TraceLog::kNoAdditionalInformation) {
    return In(L"SaveNormaiEnvironmentAndGetSettingItemValueForNewModeStatus", line,
              std::move(message));
  }
  /// The trace of a change that ends without being completed.
  static Trace Ended(std::uint32_t itemIndex, std::uint32_t result = 0) {
    return In(L"OnCompletionNotice", 469,
              std::to_wstring(itemIndex) + L", " + std::to_wstring(result));
  }
  [[nodiscard]] static Traces Join(Traces first, const Traces& second);

  EngineLog log;
  std::map<std::wstring, std::unique_ptr<ScriptedEngine>> engines;
  std::optional<ScriptedDriver> driver;
  Requester requester;
  HWND window = nullptr;

 private:
  [[nodiscard]] std::wstring StatusPath() const {
    return sandbox.DataFile(L"ModeChange.Status.ini").wstring();
  }
  [[nodiscard]] std::string DescribePost(const Call& call) const;

  std::map<std::uint64_t, std::string> loadedModules;  // file names, for the log
};
