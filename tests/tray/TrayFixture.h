#pragma once

#include <windows.h>
// windows.h first: the other needs its types.
#include <shellapi.h>

#include <optional>
#include <string>
#include <vector>

#include "MessageLoop.h"
#include "StringIds.h"
#include "Texts.h"
#include "TrayApplication.h"
#include "TrayWindow.h"
#include "system/SettingsFixture.h"

/// modetray on a small machine, with a taskbar of the test's own: it is told what Windows would be,
/// and does not show anything. Menus and dialogs are the real ones; the robot uses them.
class TrayTest : public SettingsTest {
 protected:
  /// The icon, as the taskbar knows it.
  struct Icon {
    bool isThere = false;
    int timesAdded = 0;
    HWND window = nullptr;
    UINT message = 0;
    UINT version = 0;
    std::wstring tip = {};
    std::wstring picture = {};                // its pixels
    std::vector<std::wstring> balloons = {};  // "title | text | kind"
  };

  TrayTest();
  ~TrayTest() override;

  /// Fails the test where the program does not start.
  void Start();
  /// Runs the program to its end, with Exit as the robot's last step.
  static void Run() { RunMessageLoop(); }
  void ThenExit();

  /// The user clicks the icon; the menu opens when messages are handled.
  void ClickIcon(UINT event = NIN_SELECT) const;
  /// A step of the robot: presses keys while the menu is open; a capital E stands for Esc.
  void ThenPressInMenu(const std::wstring& keys);
  /// Clicks the icon, presses keys in the menu, and handles messages until that has been done.
  void ChooseFromMenu(const std::wstring& keys);
  /// What the menu says now: "[x] &4 Eco mode", "( ) ..." where it is greyed, "-" for a line; then
  /// the settings' entries, after ">".
  [[nodiscard]] std::vector<std::wstring> ReadMenu();
  [[nodiscard]] static HMENU FindMenu();

  /// Switches a mode with the menu, and waits for the balloon.
  void SwitchInMenu(const std::wstring& key);
  [[nodiscard]] bool WaitForBalloons(std::size_t count);
  /// The only balloon since the last one was taken.
  [[nodiscard]] std::wstring TakeBalloon();

  /// The pixels of one of modetray's pictures, as Icon has them.
  [[nodiscard]] std::wstring Picture(const wchar_t* name) const;
  void SetIconKey(int status, const wchar_t* key) const;

  void TellTaskbarCreated() const;
  /// "text | caption | flags" of the message boxes, which no test shows in fact.
  std::vector<std::wstring> boxes;
  std::function<void()> onBox;

  HMODULE trayModule = nullptr;
  Interposition tray;
  Icon icon;
  bool taskbarAnswers = true;
  std::optional<Texts> texts;
  std::optional<TrayApplication> application;

 private:
  BOOL TellTaskbar(DWORD message, const NOTIFYICONDATAW& data);
  static void AppendItems(HMENU menu, const std::wstring& prefix, std::vector<std::wstring>* items);
};
