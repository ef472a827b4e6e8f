#include "fuzz/DialogUser.h"

#include <gtest/gtest.h>
// windows.h comes with the headers above, before commctrl.h, which needs it.
#include <commctrl.h>

#include <algorithm>
#include <array>
#include <cwchar>
#include <string>

#include "resources/ControlIds.h"

namespace {

constexpr const wchar_t* kUserProperty = L"DialogUser";

bool HasControl(HWND dialog, int control) {
  return ::GetDlgItem(dialog, control) != nullptr;
}

bool IsClass(HWND window, const wchar_t* name) {
  std::array<wchar_t, 64> className{};
  ::GetClassNameW(window, className.data(), static_cast<int>(className.size()));
  return ::_wcsicmp(className.data(), name) == 0;
}

/// All that the user can see and use.
std::vector<HWND> UsableDescendants(HWND dialog) {
  std::vector<HWND> found;
  ::EnumChildWindows(
      dialog,
      [](HWND window, LPARAM list) -> BOOL {
        if (::IsWindowVisible(window) != FALSE && ::IsWindowEnabled(window) != FALSE) {
          reinterpret_cast<std::vector<HWND>*>(list)->push_back(window);
        }
        return TRUE;
      },
      reinterpret_cast<LPARAM>(&found));
  return found;
}

void Click(HWND dialog, int button) {
  ::SendMessageW(::GetDlgItem(dialog, button), BM_CLICK, 0, 0);
}

}  // namespace

/// Hears, as long as it lives, when a loop whose dialog this window owns has nothing to do.
class DialogUser::OwnerWatch {
 public:
  OwnerWatch(HWND owner, DialogUser* user) : owner(owner) {
    // Two dialogs may have one owner: the outer watch hears of both.
    isOuter = ::GetPropW(owner, kUserProperty) == nullptr;
    if (!isOuter) return;
    original = reinterpret_cast<WNDPROC>(::GetWindowLongPtrW(owner, GWLP_WNDPROC));
    this->user = user;
    ::SetPropW(owner, kUserProperty, this);
    ::SetWindowLongPtrW(owner, GWLP_WNDPROC, reinterpret_cast<LONG_PTR>(&WindowProc));
  }
  ~OwnerWatch() {
    if (!isOuter || ::IsWindow(owner) == FALSE) return;
    ::SetWindowLongPtrW(owner, GWLP_WNDPROC, reinterpret_cast<LONG_PTR>(original));
    ::RemovePropW(owner, kUserProperty);
  }
  OwnerWatch(const OwnerWatch&) = delete;
  OwnerWatch& operator=(const OwnerWatch&) = delete;

 private:
  static LRESULT CALLBACK WindowProc(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
    auto* watch = static_cast<OwnerWatch*>(::GetPropW(window, kUserProperty));
    if (message == WM_ENTERIDLE && wParam == MSGF_DIALOGBOX) {
      watch->user->OnIdle(reinterpret_cast<HWND>(lParam));
      return 0;
    }
    return ::CallWindowProcW(watch->original, window, message, wParam, lParam);
  }

  HWND owner;
  bool isOuter = false;
  WNDPROC original = nullptr;
  DialogUser* user = nullptr;
};

DialogUser::DialogUser(Interposition& interposition, HWND host) : host(host) {
  const auto showDialog = interposition.Original<decltype(&::DialogBoxParamW)>("DialogBoxParamW");
  interposition.Replace("DialogBoxParamW",
                        [this, showDialog](HINSTANCE module, LPCWSTR name, HWND owner,
                                           DLGPROC procedure, LPARAM parameter) {
                          const HWND parent = owner != nullptr ? owner : this->host;
                          const OwnerWatch watch(parent, this);
                          return showDialog(module, name, parent, procedure, parameter);
                        });
  boxUser = this;
  const auto showBox = interposition.Original<decltype(&::MessageBoxW)>("MessageBoxW");
  interposition.Replace("MessageBoxW", [this, showBox](HWND owner, LPCWSTR text, LPCWSTR caption,
                                                       UINT type) {
    ++statistics.messageBoxes;
    EXPECT_NE(text, nullptr);
    EXPECT_NE(caption, nullptr);
    // A message box does not tell its owner that it is idle.
    const HHOOK hook = ::SetWindowsHookExW(WH_CBT, OnActivation, nullptr, ::GetCurrentThreadId());
    const int answer = showBox(owner, text, caption, type);
    ::UnhookWindowsHookEx(hook);
    return answer;
  });
  // The progress dialog waits a second before it starts. Nobody looks at it here.
  const auto setTimer = interposition.Original<decltype(&::SetTimer)>("SetTimer");
  interposition.Replace("SetTimer",
                        [setTimer](HWND window, UINT_PTR id, UINT, TIMERPROC procedure) {
                          return setTimer(window, id, USER_TIMER_MINIMUM, procedure);
                        });
}

DialogUser::~DialogUser() {
  boxUser = nullptr;
}

void DialogUser::Begin(Random& newRandom, std::size_t actions) {
  random = &newRandom;
  actionsLeft = actions;
  isLeaving = false;
  hasActed = actions > 0;
  hasOnlyLooked = false;
  lastDialog = nullptr;
}

void DialogUser::OnIdle(HWND dialog) {
  const bool isNew = dialog != lastDialog;
  lastDialog = dialog;
  if (HasControl(dialog, IDC_ANNOUNCE_DETAIL)) {
    if (isNew) ++statistics.confirmations;
    OnConfirmation(dialog);
  } else if (HasControl(dialog, IDC_AREA_PLACEHOLDER)) {
    OnSettings(dialog);
  } else {
    if (isNew) ++statistics.progressDialogs;
    OnProgress(dialog);
    return;  // it goes on by itself
  }
  // The loop waits for a message now, and not all that users do makes one.
  ::PostMessageW(dialog, WM_NULL, 0, 0);
}

void DialogUser::OnConfirmation(HWND dialog) {
  if (random->OneIn(4)) Click(dialog, IDC_ANNOUNCE_NOT_SHOW);
  switch (random->Below(6)) {
    case 0:
      // Esc and Enter do nothing here.
      ::SendMessageW(dialog, WM_COMMAND, random->OneIn(2) ? IDCANCEL : IDOK, 0);
      break;
    case 1:
      ::PostMessageW(dialog, WM_SYSCOMMAND, SC_CLOSE, 0);
      break;
    case 2:
      Click(dialog, IDC_CANCEL_BUTTON);
      break;
    default:
      Click(dialog, IDC_OK_BUTTON);
      break;
  }
}

void DialogUser::OnSettings(HWND dialog) {
  if (actionsLeft > 0) {
    --actionsLeft;
    ++statistics.actions;
    ActOnSettings(dialog);
  } else {
    LeaveSettings(dialog);
  }
}

void DialogUser::ActOnSettings(HWND dialog) {
  const std::vector<HWND> controls = UsableDescendants(dialog);
  if (controls.empty()) return;
  switch (random->Below(12)) {
    case 0:
      Press(::GetFocus(), VK_TAB);
      break;
    case 1:
      ::PostMessageW(
          dialog, WM_MOUSEWHEEL,
          MAKEWPARAM(0, static_cast<WORD>(random->OneIn(2) ? WHEEL_DELTA : -WHEEL_DELTA)), 0);
      break;
    case 2:
      Click(dialog, IDC_APPLY_BUTTON);
      break;
    default:
      UseControl(dialog, random->Pick(controls));
      break;
  }
}

void DialogUser::UseControl(HWND dialog, HWND control) {
  const int id = ::GetDlgCtrlID(control);
  const bool endsDialog =
      ::GetParent(control) == dialog && (id == IDC_OK_BUTTON || id == IDC_CANCEL_BUTTON);
  if (endsDialog) return;
  if (IsClass(control, L"Button")) {
    UseButton(control);
  } else if (IsClass(control, L"ComboBoxEx32")) {
    UseComboBox(control);
  } else if (IsClass(control, L"ComboBox")) {
    Press(control, random->OneIn(2) ? VK_DOWN : VK_UP);
  } else if (IsClass(control, L"msctls_trackbar32")) {
    UseSlider(control);
  } else if (IsClass(control, L"#32770")) {
    ::PostMessageW(control, WM_VSCROLL,
                   MAKEWPARAM(random->Below(SB_ENDSCROLL + 1), random->Below(1000)), 0);
  }
}

void DialogUser::UseButton(HWND button) {
  ::SendMessageW(button, BM_CLICK, 0, 0);
}

void DialogUser::UseComboBox(HWND combo) {
  const auto count = ::SendMessageW(combo, CB_GETCOUNT, 0, 0);
  const std::size_t choice = random->Below(static_cast<std::size_t>(std::max<LRESULT>(count, 0)));
  ::SendMessageW(combo, CB_SETCURSEL, choice, 0);
  ::SendMessageW(::GetParent(combo), WM_COMMAND, MAKEWPARAM(::GetDlgCtrlID(combo), CBN_SELCHANGE),
                 reinterpret_cast<LPARAM>(combo));
}

void DialogUser::UseSlider(HWND slider) {
  static constexpr WPARAM kKeys[] = {VK_LEFT, VK_RIGHT, VK_HOME, VK_END, VK_PRIOR, VK_NEXT};
  Press(slider, random->Pick(kKeys));
}

void DialogUser::Press(HWND window, WPARAM key) {
  ::PostMessageW(window, WM_KEYDOWN, key, 0);
  ::PostMessageW(window, WM_KEYUP, key, 0);
}

void DialogUser::LeaveSettings(HWND dialog) {
  if (isLeaving) {
    // What can't be saved stays open.
    Click(dialog, IDC_CANCEL_BUTTON);
    return;
  }
  isLeaving = true;
  ++statistics.settingsDialogs;
  const std::size_t way = random->Below(5);
  const bool isSaving = way >= 3;
  ++(isSaving ? statistics.settingsSaved : statistics.settingsCancelled);
  hasOnlyLooked = !isSaving && !hasActed;
  switch (way) {
    case 0:
      Click(dialog, IDC_CANCEL_BUTTON);
      break;
    case 1:
      ::PostMessageW(dialog, WM_SYSCOMMAND, SC_CLOSE, 0);
      break;
    case 2:
      ::PostMessageW(dialog, WM_CLOSE, 0, 0);
      break;
    default:
      Click(dialog, IDC_OK_BUTTON);
      break;
  }
}

void DialogUser::OnProgress(HWND dialog) {
  if (random->OneIn(4)) ::PostMessageW(dialog, WM_SYSCOMMAND, SC_CLOSE, 0);
}

LRESULT CALLBACK DialogUser::OnActivation(int code, WPARAM wParam, LPARAM lParam) {
  if (code == HCBT_ACTIVATE && boxUser != nullptr) {
    boxUser->OnMessageBox(reinterpret_cast<HWND>(wParam));
  }
  return ::CallNextHookEx(nullptr, code, wParam, lParam);
}

void DialogUser::OnMessageBox(HWND box) {
  ::PostMessageW(box, random->OneIn(4) ? WM_CLOSE : WM_COMMAND, IDOK, 0);
}
