#pragma once

#include <windows.h>

#include <set>
#include <string>
#include <vector>

/// Measures whether the texts of real dialogs fit into their controls.
///
///     TextMeter meter;
///     meter.MeasureAll(dialog);
///     EXPECT_THAT(meter.Misfits(), IsEmpty());
///
/// A text is measured in the font of its control and, where the control wraps it, wrapped. Its room
/// is what the user can see of the control, less the mark of a check box or the arrow of a list.
///
/// The fonts of Windows' own interface can't be had elsewhere. Fonts of nearly the same widths
/// stand for them, so every text needs some width to spare, and a line counts as high as in
/// Windows' fonts where that is more.
class TextMeter {
 public:
  /// A text counts as that much wider than it is, in hundredths.
  explicit TextMeter(int widthWithSpare) noexcept : widthWithSpare(widthWithSpare) {}

  /// All texts of the dialog's visible controls, and of those inside of them.
  void MeasureAll(HWND dialog);
  /// A text that the control does not show now.
  void Measure(HWND control, const std::wstring& text);

  /// As "1010 "Restore Defaults": 170 x 15 in 155 x 24", each once.
  [[nodiscard]] const std::set<std::string>& Misfits() const noexcept { return misfits; }
  /// The controls that had a text.
  [[nodiscard]] const std::set<int>& Controls() const noexcept { return controls; }

 private:
  void MeasureShown(HWND control);
  void MeasureItems(HWND comboBoxEx);
  void Compare(HWND control, const std::wstring& text, UINT format, SIZE room);

  int widthWithSpare;
  std::set<std::string> misfits;
  std::set<int> controls;
};
