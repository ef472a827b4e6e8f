#include "DialogRecording.h"

// windows.h comes with the header above, before commctrl.h, which needs it.
#include <commctrl.h>

DialogRecording RecordDialog(HMODULE library, const ShowDialog& show) {
  DialogRecording recording;
  // Only here: the times are taken without anything between the library and Windows.
  Interposition interposition(library);
  interposition.Observe("CreateFontIndirectW", [&](const Call& call) {
    recording.fonts.push_back(*reinterpret_cast<const LOGFONTW*>(call.arguments.at(0)));
  });
  interposition.Observe("SetScrollInfo", [&](const Call& call) {
    recording.scrollBars.push_back(*reinterpret_cast<const SCROLLINFO*>(call.arguments.at(2)));
  });
  interposition.Observe("SendDlgItemMessageW", [&](const Call& call) {
    if (call.arguments.at(2) == WM_SETTEXT) {
      recording.sentTexts.emplace_back(reinterpret_cast<const wchar_t*>(call.arguments.at(4)));
    }
    if (call.arguments.at(2) == CBEM_INSERTITEMW) {
      const auto* item = reinterpret_cast<const COMBOBOXEXITEMW*>(call.arguments.at(4));
      recording.comboItems.push_back({static_cast<int>(item->iItem), item->pszText, item->lParam});
    }
  });
  interposition.Observe("DefWindowProcW", [&](const Call& call) {
    if (call.arguments.at(1) == WM_SETTEXT) {
      recording.defaultTexts.emplace_back(reinterpret_cast<const wchar_t*>(call.arguments.at(3)));
    }
  });
  show([&](HWND dialog) {
    recording.frame = dialog;
    recording.calls = interposition.AllCalls();
  });
  return recording;
}
