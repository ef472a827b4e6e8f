#pragma once

#include <windows.h>

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "devices/CDeviceEngineHelper.h"
#include "resources/ControlIds.h"
#include "settings/CModeSettingItemListLine.h"
#include "settings/LockSettingItemRequest.h"
#include "support/ModeChangeTest.h"
#include "support/ScriptedEngine.h"

/// Stands for the setting item list, as a dialog of its own. It writes down what its lines tell it:
/// "changed", "error 100", "Lamp locks Fan=1, Light=2", "Lamp releases Fan=1, Light=2".
class ListWindow {
 public:
  using Log = std::vector<std::string>;

  ListWindow();
  ~ListWindow();
  ListWindow(const ListWindow&) = delete;
  ListWindow& operator=(const ListWindow&) = delete;

  [[nodiscard]] HWND Window() const noexcept { return window; }
  /// What the lines said since the last Take, posted messages among it.
  [[nodiscard]] Log Take();

  /// Called while a request is handled, after it was written down.
  std::function<void(const LockSettingItemRequest&)> onRequest;
  /// The window that the last request named as its sender.
  HWND sender = nullptr;

 private:
  static LRESULT CALLBACK WindowProc(HWND window, UINT message, WPARAM wParam, LPARAM lParam);
  void OnCopyData(HWND from, const COPYDATASTRUCT& data);

  HWND window = nullptr;
  Log log;
};

/// A line of the setting item "Lamp" on a machine with one mode, Eco, and another, Quiet. No value
/// is saved and no item is locked unless a test says so. Everything the user does is done by
/// messages to the line's real controls.
class CModeSettingItemListLineTest : public ModeChangeTest {
 protected:
  static constexpr std::uint32_t kDoNothing = UsableSettingItemValue::kDoNothing;

  CModeSettingItemListLineTest();
  ~CModeSettingItemListLineTest() override;

  // --- The machine. All of it may be changed at any time.

  /// The lock rule of Lamp: while it has `value`, other items are held at values.
  void SetLockRule(int value, const std::vector<std::pair<std::wstring, int>>& lockedItems);
  /// The maker's value of Lamp in a mode; none for the default of -1.
  void SetDefault(const std::wstring& mode, int value);
  /// What the user saved.
  void SetSaved(const std::wstring& mode, int value);
  /// The maker forbids to edit Lamp in the mode.
  void LockInMode(const std::wstring& mode);
  /// The engine offers these of its values and `total` in all.
  void OfferValues(const std::vector<UINT>& usable, INT32 total);
  void OfferValues(INT32 count) { engine.values = count; }

  // --- The line

  /// Makes the line; what it said while it was made is in list.Take().
  void Make(int lineNumber = 0);
  /// Makes a line that comes up without a word, and selects mode Eco.
  void MakeAndSelect();
  /// Shows line and list, and gives the list the keyboard.
  void ShowOnScreen() const;
  /// Another line, of the same engine.
  std::unique_ptr<CModeSettingItemListLine> MakeOther(const std::wstring& item);
  CModeSettingItemListLine& Line() { return *line; }
  [[nodiscard]] HWND Window() const { return line->Window(); }
  [[nodiscard]] HWND Control(int id) const { return ::GetDlgItem(Window(), id); }

  // --- What it shows

  /// The visible controls but the background, those that are disabled in brackets: "1016 (1025)".
  [[nodiscard]] std::string Shown() const { return ShownIn(Window()); }
  [[nodiscard]] static std::string ShownIn(HWND window);
  /// The checked buttons: "1016 1019".
  [[nodiscard]] std::string Checked() const;
  [[nodiscard]] std::wstring Text(int id) const { return TextOf(Control(id)); }
  [[nodiscard]] static std::wstring TextOf(HWND window);
  LRESULT Ask(int id, UINT message, WPARAM wParam = 0, LPARAM lParam = 0) const {
    return ::SendMessageW(Control(id), message, wParam, lParam);
  }
  [[nodiscard]] LRESULT Selection() const { return Ask(IDC_VALUE_COMBO, CB_GETCURSEL); }
  [[nodiscard]] LRESULT Position() const;
  /// The combo box's items as its drop-down list shows them.
  [[nodiscard]] std::vector<std::wstring> ComboItems() const;
  /// In the line's client coordinates.
  [[nodiscard]] RECT Place(int id) const;

  /// The current value; none where the line fails.
  [[nodiscard]] std::optional<std::uint32_t> Current();
  [[nodiscard]] std::optional<bool> Changed();

  // --- What the user does

  void Click(int button) const { Ask(button, BM_CLICK); }
  /// Chooses an item of the combo box by the keyboard: down or up from the one chosen.
  void PressInCombo(WPARAM key) const;
  void PressOnSlider(WPARAM key) const { Ask(IDC_VALUE_SLIDER, WM_KEYDOWN, key); }
  /// Lets the control answer a message as it never would.
  void Answer(int id, UINT message, LRESULT result);

  [[nodiscard]] std::wstring EnginePath() const {
    return sandbox.LibraryFolder().wstring() + L"\\Engines\\Lamp.dll";
  }
  [[nodiscard]] static Trace In(const std::wstring& function, std::uint32_t line,
                                std::wstring message = TraceLog::kNoAdditionalInformation) {
    return {L"CModeSettingItemListLine::" + function, line, std::move(message)};
  }

  EngineLog log;
  ScriptedEngine engine{MakeEngineFolder(), &log};
  CDeviceEngineHelper helper{EnginePath().c_str()};
  ListWindow list;

 private:
  std::wstring MakeEngineFolder();
  void WriteConfig();
  void WriteTexts();

  std::optional<CModeSettingItemListLine> line;
  int lockValue = -100;
  std::vector<std::pair<std::wstring, int>> locked;
};
