#include "system/SettingsFixture.h"

#include <commctrl.h>

#include <cwchar>

namespace {

constexpr const wchar_t* kDialogClass = L"#32770";

}  // namespace

SettingsTest::SettingsTest() {
  sandbox.SetUserLocale(L"en-US");
  interposition.Observe("InitCommonControlsEx", [this](const Call& call) {
    const auto* classes = reinterpret_cast<const INITCOMMONCONTROLSEX*>(call.arguments.at(0));
    registeredControls.push_back(classes->dwICC);
  });
}

SettingsTest::~SettingsTest() {
  PumpAll();
}

// --- The machine ---------------------------------------------------------------------------------

void SettingsTest::SetStatus(const std::wstring& mode, int status) const {
  const std::wstring file = sandbox.DataFile(L"ModeChange.Status.ini").wstring();
  ::WritePrivateProfileStringW(L"CurrentModeStatus", mode.c_str(), std::to_wstring(status).c_str(),
                               file.c_str());
}

std::wstring SettingsTest::Status(const std::wstring& mode) const {
  return sandbox
      .IniValue(sandbox.DataFile(L"ModeChange.Status.ini"), L"CurrentModeStatus", mode.c_str())
      .value_or(L"none");
}

std::wstring SettingsTest::Saved(const std::wstring& mode, const std::wstring& key) const {
  return sandbox.IniValue(sandbox.DataFile(L"ModeChange.Settings.ini"), mode.c_str(), key.c_str())
      .value_or(L"none");
}

void SettingsTest::SetSaved(const std::wstring& mode, const std::wstring& key, int value) const {
  const std::wstring file = sandbox.DataFile(L"ModeChange.Settings.ini").wstring();
  ::WritePrivateProfileStringW(mode.c_str(), key.c_str(), std::to_wstring(value).c_str(),
                               file.c_str());
}

// --- The controls --------------------------------------------------------------------------------

HWND SettingsTest::AreaOf(HWND frame) {
  return ::FindWindowExW(frame, nullptr, kDialogClass, nullptr);
}

HWND SettingsTest::ListOf(HWND area) {
  return ::FindWindowExW(area, nullptr, kDialogClass, nullptr);
}

HWND SettingsTest::LineIn(HWND list, const std::wstring& name) {
  for (HWND row = nullptr; (row = ::FindWindowExW(list, row, kDialogClass, nullptr)) != nullptr;) {
    if (TextOf(::GetDlgItem(row, IDC_SETTING_ITEM)) == name) return row;
  }
  return nullptr;
}

std::wstring SettingsTest::TextOf(HWND window) {
  std::wstring text(static_cast<std::size_t>(::GetWindowTextLengthW(window)) + 1, L'\0');
  ::GetWindowTextW(window, text.data(), static_cast<int>(text.size()));
  text.pop_back();
  return text;
}

std::wstring SettingsTest::ClassOf(HWND window) {
  wchar_t name[64]{};
  ::GetClassNameW(window, name, 64);
  return name;
}

int SettingsTest::FontSizeOf(HWND control) {
  LOGFONTW font{};
  const auto handle = reinterpret_cast<HFONT>(::SendMessageW(control, WM_GETFONT, 0, 0));
  if (::GetObjectW(handle, sizeof(font), &font) == 0) return 0;
  const HDC screen = ::GetDC(nullptr);
  const int dpi = ::GetDeviceCaps(screen, LOGPIXELSY);
  ::ReleaseDC(nullptr, screen);
  return ::MulDiv(-font.lfHeight, 72, dpi);
}

RECT SettingsTest::PlaceIn(HWND parent, HWND child) {
  RECT place{};
  ::GetWindowRect(child, &place);
  ::MapWindowPoints(nullptr, parent, reinterpret_cast<POINT*>(&place), 2);
  return place;
}

bool SettingsTest::HasStyle(HWND window, DWORD style) {
  return (static_cast<DWORD>(::GetWindowLongW(window, GWL_STYLE)) & style) == style;
}

bool SettingsTest::IsChecked(HWND dialog, int control) {
  return ::SendDlgItemMessageW(dialog, control, BM_GETCHECK, 0, 0) == BST_CHECKED;
}

void SettingsTest::Click(HWND dialog, int control) {
  ::SendDlgItemMessageW(dialog, control, BM_CLICK, 0, 0);
}

void SettingsTest::ChooseMode(HWND area, int index) {
  const HWND combo = ::GetDlgItem(area, IDC_MODE_SELECTION);
  ::SendMessageW(combo, CB_SETCURSEL, static_cast<WPARAM>(index), 0);
  ::SendMessageW(area, WM_COMMAND, MAKEWPARAM(IDC_MODE_SELECTION, CBN_SELCHANGE),
                 reinterpret_cast<LPARAM>(combo));
}

int SettingsTest::ChosenMode(HWND area) {
  return static_cast<int>(::SendDlgItemMessageW(area, IDC_MODE_SELECTION, CB_GETCURSEL, 0, 0));
}

bool SettingsTest::HasKeyboard() {
  if (Frame() != nullptr && ::GetFocus() == nullptr) ::SetForegroundWindow(Frame());
  return Frame() != nullptr && ::GetFocus() != nullptr;
}

std::wstring SettingsTest::Shown(HWND line) {
  if (!IsChecked(line, IDC_SETTING_ITEM)) return L"left alone";
  for (const int value : {IDC_FIRST_VALUE, IDC_SECOND_VALUE}) {
    if (IsChecked(line, value)) return TextOf(::GetDlgItem(line, value));
  }
  return L"nothing chosen";
}

void SettingsTest::Choose(HWND line, int value) {
  if (!IsChecked(line, IDC_SETTING_ITEM)) Click(line, IDC_SETTING_ITEM);
  Click(line, value == 0 ? IDC_FIRST_VALUE : IDC_SECOND_VALUE);
}

HBRUSH SettingsTest::AskForBrush(HWND dialog, UINT message, HWND control, HDC dc) {
  return reinterpret_cast<HBRUSH>(::SendMessageW(dialog, message, reinterpret_cast<WPARAM>(dc),
                                                 reinterpret_cast<LPARAM>(control)));
}

void SettingsTest::ExpectControls(HWND dialog, const std::vector<ExpectedControl>& controls) {
  for (const ExpectedControl& expected : controls) {
    SCOPED_TRACE(expected.id);
    const HWND control = ::GetDlgItem(dialog, expected.id);
    ASSERT_NE(control, nullptr);
    EXPECT_EQ(::_wcsicmp(ClassOf(control).c_str(), expected.className), 0) << ClassOf(control);
    // The system converts place and size each by itself.
    RECT place = {expected.units.left, expected.units.top, 0, 0};
    RECT size = {0, 0, expected.units.right, expected.units.bottom};
    ::MapDialogRect(dialog, &place);
    ::MapDialogRect(dialog, &size);
    const RECT actual = PlaceIn(dialog, control);
    EXPECT_EQ(actual.left, place.left);
    EXPECT_EQ(actual.top, place.top);
    if (expected.units.right != kItsOwn) {
      EXPECT_EQ(actual.right - actual.left, size.right);
    }
    if (expected.units.bottom != kItsOwn) {
      EXPECT_EQ(actual.bottom - actual.top, size.bottom);
    }
    EXPECT_TRUE(HasStyle(control, expected.style));
    EXPECT_EQ(static_cast<DWORD>(::GetWindowLongW(control, GWL_STYLE)) & expected.notStyle, 0U);
  }
}

void SettingsTest::ExpectClientSize(HWND dialog, int width, int height) {
  RECT expected = {0, 0, width, height};
  ::MapDialogRect(dialog, &expected);
  RECT actual{};
  ::GetClientRect(dialog, &actual);
  EXPECT_EQ(actual.right, expected.right);
  EXPECT_EQ(actual.bottom, expected.bottom);
}

// --- What the library did ------------------------------------------------------------------------

std::vector<std::wstring> SettingsTest::Boxes() const {
  std::vector<std::wstring> boxes;
  for (const Call& call : interposition.CallsOf("MessageBoxW")) {
    boxes.push_back(std::wstring(call.Text(1)) + L" | " + call.Text(2) + L" | " +
                    std::to_wstring(call.arguments.at(3)));
  }
  return boxes;
}

std::vector<int> SettingsTest::ModalTemplates() const {
  std::vector<int> templates;
  for (const Call& call : interposition.CallsOf("DialogBoxParamW")) {
    templates.push_back(static_cast<int>(call.arguments.at(1)));
  }
  return templates;
}

Traces SettingsTest::TakeTracesOf(std::wstring_view functions) {
  Traces taken = traces.Take();
  std::erase_if(taken, [functions](const Trace& trace) {
    return !std::wstring_view(trace.function).starts_with(functions);
  });
  return taken;
}
