#pragma once

#include <windows.h>

#include <functional>
#include <string>
#include <utility>
#include <vector>

#include "support/Interposition.h"

/// All that the library calls to show a dialog, with what its calls only point at.
struct DialogRecording {
  struct ComboItem {
    int index;
    std::wstring text;
    LPARAM data;
  };

  std::vector<Call> calls;  // up to when the dialog was painted
  HWND frame = nullptr;     // the dialog
  // In the order of their calls.
  std::vector<LOGFONTW> fonts;
  std::vector<ComboItem> comboItems;
  std::vector<SCROLLINFO> scrollBars;
  std::vector<std::wstring> sentTexts;     // by WM_SETTEXT to a control
  std::vector<std::wstring> defaultTexts;  // by WM_SETTEXT past a window's own procedure
};

/// `show` shows a dialog modally, and calls what it is given with the dialog as soon as that is
/// painted.
using ShowDialog = std::function<void(const std::function<void(HWND dialog)>& onPainted)>;

[[nodiscard]] DialogRecording RecordDialog(HMODULE library, const ShowDialog& show);
