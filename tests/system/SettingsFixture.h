#pragma once

#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "resources/ControlIds.h"
#include "support/DialogRobot.h"
#include "system/HostFixture.h"

/// A machine whose settings dialog a user works with. Lamp has two values, hence a pair of radio
/// buttons; Fan has two as well, unless a test says otherwise. Every mode leaves both alone.
class SettingsTest : public HostTest {
 protected:
  SettingsTest();
  ~SettingsTest() override;

  // --- The machine

  /// A mode's status, as a change would have left it.
  void SetStatus(const std::wstring& mode, int status) const;
  [[nodiscard]] std::wstring Status(const std::wstring& mode) const;
  /// The user's own value of a key of a mode; "none" where nothing was saved.
  [[nodiscard]] std::wstring Saved(const std::wstring& mode, const std::wstring& key) const;
  void SetSaved(const std::wstring& mode, const std::wstring& key, int value) const;
  void RemoveDefaults() { sandbox.Remove(L"ModeChange.DefaultSettings.ini"); }

  // --- The controls of the settings dialog that stands

  [[nodiscard]] static HWND Frame() { return DialogRobot::FindDialogWith(IDC_APPLY_BUTTON); }
  [[nodiscard]] static HWND Area() { return AreaOf(Frame()); }
  [[nodiscard]] static HWND AreaOf(HWND frame);
  [[nodiscard]] static HWND ListOf(HWND area);
  [[nodiscard]] static HWND List() { return ListOf(Area()); }
  /// The line of the item with this display name.
  [[nodiscard]] static HWND LineIn(HWND list, const std::wstring& name);
  [[nodiscard]] static HWND Line(const std::wstring& name) { return LineIn(List(), name); }
  [[nodiscard]] static std::wstring TextOf(HWND window);
  [[nodiscard]] static std::wstring ClassOf(HWND window);
  /// In points, as the texts' file gives them.
  [[nodiscard]] static int FontSizeOf(HWND control);
  [[nodiscard]] static RECT PlaceIn(HWND parent, HWND child);
  [[nodiscard]] static bool HasStyle(HWND window, DWORD style);
  [[nodiscard]] static bool IsVisibleItself(HWND window) { return HasStyle(window, WS_VISIBLE); }
  [[nodiscard]] static bool IsChecked(HWND dialog, int control);
  static void Click(HWND dialog, int control);
  /// Chooses a mode of the area's combo box, by its index in the machine's list.
  static void ChooseMode(HWND area, int index);
  [[nodiscard]] static int ChosenMode(HWND area);
  [[nodiscard]] static bool CanApply() {
    return ::IsWindowEnabled(::GetDlgItem(Frame(), IDC_APPLY_BUTTON)) != FALSE;
  }
  /// Whether the dialog has the keyboard. Programs that run at the same time share one screen and
  /// take it from each other, so the dialog asks for it.
  [[nodiscard]] static bool HasKeyboard();
  /// What a line with two values shows: "left alone", "nothing chosen", or the value's text.
  [[nodiscard]] static std::wstring Shown(HWND line);
  /// Chooses the first (0) or second (1) value of a line with two.
  static void Choose(HWND line, int value);
  [[nodiscard]] static HBRUSH AskForBrush(HWND dialog, UINT message, HWND control, HDC dc);

  /// A width or height that the control finds for itself.
  static constexpr LONG kItsOwn = -1;
  /// A control of a template as it has to be; the place is in dialog units.
  struct ExpectedControl {
    int id;
    const wchar_t* className;
    RECT units;  // left, top, width, height
    DWORD style;
    DWORD notStyle = 0;
  };
  static void ExpectControls(HWND dialog, const std::vector<ExpectedControl>& controls);
  static void ExpectClientSize(HWND dialog, int width, int height);

  // --- What the library did

  /// "text | caption | flags" of each message box since the calls were cleared.
  [[nodiscard]] std::vector<std::wstring> Boxes() const;
  /// The ids of the templates that were run modally.
  [[nodiscard]] std::vector<int> ModalTemplates() const;
  [[nodiscard]] static Trace In(const std::wstring& function, std::uint32_t line,
                                std::wstring message = L"No Additional Information") {
    return {function, line, std::move(message)};
  }
  /// Whether exactly these were traced.
  void ExpectTraces(const Traces& expected) { EXPECT_EQ(traces.Take(), expected); }
  /// Takes the traces and gives those of functions that begin so. What else failed on the way
  /// traces what it likes.
  [[nodiscard]] Traces TakeTracesOf(std::wstring_view functions);

  /// The ICC_... bits of each registration of control classes, as they came.
  std::vector<DWORD> registeredControls;
  DialogRobot robot;
};
