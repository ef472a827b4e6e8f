#include "faults/User.h"

// After windows.h, which it needs.
#include <commctrl.h>

#include <utility>

#include "resources/ControlIds.h"

namespace {

constexpr int kTriesWithButton = 3;
constexpr int kTriesWithCommand = 6;
// Of 50 milliseconds each, without a single call of the library's.
constexpr int kQuietTicksUntilStuck = 40;

std::vector<HWND> FindControls(HWND dialog, int id) {
  struct Search {
    int id;
    std::vector<HWND> found;
  } search{id, {}};
  ::EnumChildWindows(
      dialog,
      [](HWND window, LPARAM parameter) -> BOOL {
        auto* wanted = reinterpret_cast<Search*>(parameter);
        if (::GetDlgCtrlID(window) == wanted->id) wanted->found.push_back(window);
        return TRUE;
      },
      reinterpret_cast<LPARAM>(&search));
  return search.found;
}

HWND FindControl(HWND dialog, int id) {
  const std::vector<HWND> found = FindControls(dialog, id);
  return found.empty() ? nullptr : found.front();
}

HWND FindInRow(HWND dialog, std::size_t row, int id) {
  const std::vector<HWND> items = FindControls(dialog, IDC_SETTING_ITEM);
  return row < items.size() ? ::GetDlgItem(::GetParent(items[row]), id) : nullptr;
}

/// What is hidden or greyed can't be pressed. Windows would do as if it had been, and with a greyed
/// radio button never be done.
void Click(HWND button) {
  const bool canBePressed =
      ::IsWindowEnabled(button) != FALSE && (::GetWindowLongW(button, GWL_STYLE) & WS_VISIBLE) != 0;
  if (canBePressed) ::PostMessageW(button, BM_CLICK, 0, 0);
}

void TellParent(HWND combo, WORD notification) {
  ::SendMessageW(::GetParent(combo), WM_COMMAND, MAKEWPARAM(::GetDlgCtrlID(combo), notification),
                 reinterpret_cast<LPARAM>(combo));
}

bool IsDialog(HWND window) {
  wchar_t name[16]{};
  ::GetClassNameW(window, name, 16);
  return std::wstring_view(name) == L"#32770";
}

}  // namespace

void User::Plan(std::vector<Step> newSteps, int closingButton) {
  steps.assign(newSteps.begin(), newSteps.end());
  closingControl = closingButton;
  closingTries = 0;
  quietTicks = 0;
  messageBoxes = 0;
  areFaultsLifted = false;
}

void User::OnIdle(HWND dialog) {
  // A dialog that ends by itself is only waited for.
  if (steps.empty() && closingControl == kNoButton) return;
  // Whatever is done, the dialog is to come back when it has nothing to do again.
  ::PostMessageW(dialog, WM_NULL, 0, 0);
  if (!steps.empty()) {
    const Step step = std::move(steps.front());
    steps.pop_front();
    step(dialog);
    return;
  }
  ++closingTries;
  if (closingTries <= kTriesWithButton) {
    Click(::GetDlgItem(dialog, closingControl));
  } else if (closingTries <= kTriesWithCommand) {
    ::PostMessageW(dialog, WM_SYSCOMMAND, SC_CLOSE, 0);
  } else if (LiftFaults()) {
    closingTries = 0;
  } else {
    EndDialogs("a dialog can't be closed");
  }
}

void User::OnTick() {
  const std::uint64_t calls = interposition.FallibleCallCount();
  quietTicks = calls == callsAtLastTick ? quietTicks + 1 : 0;
  callsAtLastTick = calls;
  if (quietTicks < kQuietTicksUntilStuck) return;
  quietTicks = 0;
  if (!LiftFaults()) EndDialogs("a dialog never ends");
}

bool User::LiftFaults() {
  if (std::exchange(areFaultsLifted, true) || !interposition.IsFailingOnwards()) return false;
  interposition.StopFailing();
  return true;
}

void User::EndDialogs(const std::string& problem) {
  ::EnumThreadWindows(
      ::GetCurrentThreadId(),
      [](HWND window, LPARAM parameter) -> BOOL {
        if (!IsDialog(window)) return TRUE;
        const auto* wrong = reinterpret_cast<const std::pair<User*, std::string>*>(parameter);
        wrong->first->report(wrong->second);
        ::EndDialog(window, -2);
        ::PostMessageW(window, WM_NULL, 0, 0);
        return TRUE;
      },
      reinterpret_cast<LPARAM>(
          std::make_unique<std::pair<User*, std::string>>(this, problem).get()));
}

User::Step User::Press(int control) {
  return [control](HWND dialog) { Click(FindControl(dialog, control)); };
}

User::Step User::PressInRow(std::size_t row, int control) {
  return [row, control](HWND dialog) { Click(FindInRow(dialog, row, control)); };
}

User::Step User::TickInRow(std::size_t row, int control) {
  return [row, control](HWND dialog) {
    const HWND box = FindInRow(dialog, row, control);
    if (::SendMessageW(box, BM_GETCHECK, 0, 0) != BST_CHECKED) Click(box);
  };
}

User::Step User::ChooseInCombo(std::size_t row, int item) {
  return [row, item](HWND dialog) {
    const HWND combo = FindInRow(dialog, row, IDC_VALUE_COMBO);
    if (combo == nullptr) return;
    ::SendMessageW(combo, CB_SETCURSEL, static_cast<WPARAM>(item), 0);
    TellParent(combo, CBN_SELCHANGE);
  };
}

User::Step User::MoveSlider(std::size_t row, int position) {
  return [row, position](HWND dialog) {
    const HWND slider = FindInRow(dialog, row, IDC_VALUE_SLIDER);
    if (slider == nullptr) return;
    ::SendMessageW(slider, TBM_SETPOS, TRUE, position);
    ::SendMessageW(::GetParent(slider), WM_HSCROLL, TB_THUMBPOSITION,
                   reinterpret_cast<LPARAM>(slider));
  };
}

User::Step User::SelectMode(int item) {
  return [item](HWND dialog) {
    const HWND combo = FindControl(dialog, IDC_MODE_SELECTION);
    if (combo == nullptr) return;
    ::SendMessageW(combo, CB_SETCURSEL, static_cast<WPARAM>(item), 0);
    TellParent(combo, CBN_SELCHANGE);
  };
}
