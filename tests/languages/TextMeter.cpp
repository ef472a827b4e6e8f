#include "languages/TextMeter.h"

#include <commctrl.h>

#include <algorithm>

#include "support/Text.h"

namespace {

// Of a line, in hundredths of the font's size: Windows' fonts keep room for marks above and below.
constexpr int kLineHeight = 133;

// In pixels at 96 dots per inch.
constexpr int kMarkAndGap = 17;        // of a check box or radio button
constexpr int kButtonSide = 4;         // left and right each, with the mark of the focus
constexpr int kButtonEdge = 3;         // above and below each
constexpr int kListItemMargin = 4;     // on each side of an item of a list
constexpr int kDropDownListFrame = 1;  // on each side

std::wstring ClassOf(HWND window) {
  wchar_t name[64]{};
  ::GetClassNameW(window, name, 64);
  return name;
}

bool IsOfClass(HWND window, const wchar_t* name) {
  return ::_wcsicmp(ClassOf(window).c_str(), name) == 0;
}

DWORD StyleOf(HWND window) {
  return static_cast<DWORD>(::GetWindowLongW(window, GWL_STYLE));
}

std::wstring TextOf(HWND window) {
  std::wstring text(static_cast<std::size_t>(::GetWindowTextLengthW(window)) + 1, L'\0');
  ::GetWindowTextW(window, text.data(), static_cast<int>(text.size()));
  text.pop_back();
  return text;
}

LONG Width(const RECT& rect) {
  return rect.right - rect.left;
}

LONG Height(const RECT& rect) {
  return rect.bottom - rect.top;
}

RECT ClientOnScreen(HWND window) {
  RECT client{};
  ::GetClientRect(window, &client);
  ::MapWindowPoints(window, nullptr, reinterpret_cast<POINT*>(&client), 2);
  return client;
}

/// The control's inside, less what the windows around it cut off at the sides: rows of the setting
/// item list are wider than the list. What is below its edge the user can scroll to.
SIZE VisibleSize(HWND control) {
  RECT visible = ClientOnScreen(control);
  for (HWND around = ::GetAncestor(control, GA_PARENT); around != ::GetDesktopWindow();
       around = ::GetAncestor(around, GA_PARENT)) {
    const RECT client = ClientOnScreen(around);
    visible.left = std::max(visible.left, client.left);
    visible.right = std::min(visible.right, client.right);
  }
  return {Width(visible), Height(visible)};
}

struct Layout {
  UINT format = DT_SINGLELINE;
  SIZE room{};
};

Layout LayoutOfButton(HWND button) {
  const DWORD style = StyleOf(button);
  Layout layout{(style & BS_MULTILINE) != 0 ? UINT{DT_WORDBREAK} : UINT{DT_SINGLELINE},
                VisibleSize(button)};
  switch (style & BS_TYPEMASK) {
    case BS_AUTOCHECKBOX:
    case BS_AUTORADIOBUTTON:
      layout.room.cx -= kMarkAndGap;
      break;
    default:
      layout.room.cx -= 2 * kButtonSide;
      layout.room.cy -= 2 * kButtonEdge;
      break;
  }
  return layout;
}

Layout LayoutOfStatic(HWND control) {
  const bool isOneLine = (StyleOf(control) & SS_CENTERIMAGE) != 0;
  return {isOneLine ? UINT{DT_SINGLELINE} : UINT{DT_WORDBREAK | DT_EXPANDTABS},
          VisibleSize(control)};
}

Layout LayoutOfEdit(HWND edit) {
  RECT inside{};
  ::SendMessageW(edit, EM_GETRECT, 0, reinterpret_cast<LPARAM>(&inside));
  return {DT_WORDBREAK | DT_EDITCONTROL | DT_NOPREFIX, {Width(inside), Height(inside)}};
}

Layout LayoutOfItems(HWND comboBoxEx) {
  const auto box = reinterpret_cast<HWND>(::SendMessageW(comboBoxEx, CBEM_GETCOMBOCONTROL, 0, 0));
  COMBOBOXINFO info{};
  info.cbSize = sizeof(info);
  ::GetComboBoxInfo(box, &info);
  const auto list = static_cast<LONG>(::SendMessageW(box, CB_GETDROPPEDWIDTH, 0, 0));
  const LONG width = std::min(Width(info.rcItem), list - 2 * kDropDownListFrame);
  const LONG itemHeight = static_cast<LONG>(::SendMessageW(box, CB_GETITEMHEIGHT, 0, 0));
  return {DT_SINGLELINE | DT_NOPREFIX,
          {width - 2 * kListItemMargin, std::min(Height(info.rcItem), itemHeight)}};
}

Layout LayoutOf(HWND control) {
  if (IsOfClass(control, L"Button")) return LayoutOfButton(control);
  if (IsOfClass(control, L"Edit")) return LayoutOfEdit(control);
  if (IsOfClass(control, WC_COMBOBOXEXW)) return LayoutOfItems(control);
  return LayoutOfStatic(control);
}

bool HasTextOfItsOwn(HWND control) {
  return IsOfClass(control, L"Button") || IsOfClass(control, L"Edit") ||
         (IsOfClass(control, L"Static") && (StyleOf(control) & SS_TYPEMASK) <= SS_RIGHT);
}

/// A device context of the screen with the font of a control.
class ControlContext {
 public:
  explicit ControlContext(HWND control) : control(control), dc(::GetDC(control)) {
    const auto font = reinterpret_cast<HFONT>(::SendMessageW(control, WM_GETFONT, 0, 0));
    former = ::SelectObject(dc, font != nullptr ? font : ::GetStockObject(SYSTEM_FONT));
  }
  ~ControlContext() {
    ::SelectObject(dc, former);
    ::ReleaseDC(control, dc);
  }
  ControlContext(const ControlContext&) = delete;
  ControlContext& operator=(const ControlContext&) = delete;

  /// The size of the text, broken into lines of this width at most where the format wraps.
  [[nodiscard]] SIZE Measure(const std::wstring& text, UINT format, LONG width) const {
    TEXTMETRICW metrics{};
    ::GetTextMetricsW(dc, &metrics);
    RECT size = {0, 0, width, 0};
    ::DrawTextW(dc, text.c_str(), static_cast<int>(text.size()), &size, format | DT_CALCRECT);
    const LONG lines = (Height(size) + metrics.tmHeight - 1) / metrics.tmHeight;
    LOGFONTW font{};
    ::GetObjectW(::GetCurrentObject(dc, OBJ_FONT), sizeof(font), &font);
    return {Width(size), lines * std::max(metrics.tmHeight, -font.lfHeight * kLineHeight / 100)};
  }

 private:
  HWND control;
  HDC dc;
  HGDIOBJ former;
};

}  // namespace

void TextMeter::MeasureAll(HWND dialog) {
  ::EnumChildWindows(
      dialog,
      [](HWND control, LPARAM meter) -> BOOL {
        if (::IsWindowVisible(control) != FALSE) {
          reinterpret_cast<TextMeter*>(meter)->MeasureShown(control);
        }
        return TRUE;
      },
      reinterpret_cast<LPARAM>(this));
}

void TextMeter::Measure(HWND control, const std::wstring& text) {
  const Layout layout = LayoutOf(control);
  Compare(control, text, layout.format, layout.room);
}

void TextMeter::MeasureShown(HWND control) {
  if (IsOfClass(control, WC_COMBOBOXEXW)) {
    MeasureItems(control);
  } else if (HasTextOfItsOwn(control)) {
    const std::wstring text = TextOf(control);
    if (!text.empty()) Measure(control, text);
  }
}

void TextMeter::MeasureItems(HWND comboBoxEx) {
  const LRESULT count = ::SendMessageW(comboBoxEx, CB_GETCOUNT, 0, 0);
  for (LRESULT item = 0; item < count; ++item) {
    const auto index = static_cast<WPARAM>(item);
    const LRESULT length = ::SendMessageW(comboBoxEx, CB_GETLBTEXTLEN, index, 0);
    std::wstring text(static_cast<std::size_t>(length) + 1, L'\0');
    ::SendMessageW(comboBoxEx, CB_GETLBTEXT, index, reinterpret_cast<LPARAM>(text.data()));
    text.pop_back();
    Measure(comboBoxEx, text);
  }
}

void TextMeter::Compare(HWND control, const std::wstring& text, UINT format, SIZE room) {
  const int id = ::GetDlgCtrlID(control);
  controls.insert(id);
  const LONG width = room.cx * 100 / widthWithSpare;
  const SIZE needed = ControlContext(control).Measure(text, format, width);
  if (needed.cx <= width && needed.cy <= room.cy) return;
  misfits.insert(std::to_string(id) + " \"" + Text::Escape(text) +
                 "\": " + std::to_string(needed.cx) + " x " + std::to_string(needed.cy) + " in " +
                 std::to_string(width) + " x " + std::to_string(room.cy));
}
