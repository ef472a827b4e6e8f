#include "support/DialogRobot.h"

#include <string_view>
#include <utility>
#include <vector>

#include "support/Text.h"

namespace {

constexpr UINT kPollInMilliseconds = 10;
constexpr ULONGLONG kPatienceInMilliseconds = 20'000;

DialogRobot* current = nullptr;

/// The visible dialogs of this thread.
std::vector<HWND> VisibleDialogs() {
  std::vector<HWND> dialogs;
  ::EnumThreadWindows(
      ::GetCurrentThreadId(),
      [](HWND window, LPARAM found) -> BOOL {
        wchar_t className[16]{};
        ::GetClassNameW(window, className, 16);
        if (std::wstring_view(className) == L"#32770" && ::IsWindowVisible(window) != FALSE) {
          reinterpret_cast<std::vector<HWND>*>(found)->push_back(window);
        }
        return TRUE;
      },
      reinterpret_cast<LPARAM>(&dialogs));
  return dialogs;
}

/// A dialog of the library keeps its object there, a message box has none.
bool IsMessageBox(HWND dialog) {
  return ::GetWindowLongPtrW(dialog, DWLP_USER) == 0;
}

}  // namespace

DialogRobot::DialogRobot() {
  current = this;
  deadline = ::GetTickCount64() + kPatienceInMilliseconds;
  timer = ::SetTimer(nullptr, 0, kPollInMilliseconds, OnTimer);
}

DialogRobot::~DialogRobot() {
  ::KillTimer(nullptr, timer);
  current = nullptr;
  for (const Step& step : steps) ADD_FAILURE() << "did not happen: " << step.name;
}

DialogRobot& DialogRobot::Then(std::string name, Find find, Act act) {
  if (steps.empty()) deadline = ::GetTickCount64() + kPatienceInMilliseconds;
  steps.push_back({std::move(name), [this, find = std::move(find), act = std::move(act)] {
                     const HWND window = find();
                     if (window == nullptr) return false;
                     // What is captured goes with the step.
                     const Act run = act;
                     steps.pop_front();
                     deadline = ::GetTickCount64() + kPatienceInMilliseconds;
                     run(window);
                     return true;
                   }});
  return *this;
}

DialogRobot& DialogRobot::Then(std::string name, std::function<bool()> isSo,
                               std::function<void()> act) {
  return Then(
      std::move(name), [isSo = std::move(isSo)] { return isSo() ? ::GetDesktopWindow() : nullptr; },
      [act = std::move(act)](HWND) { act(); });
}

DialogRobot::Find DialogRobot::DialogWith(int control) {
  return [control] { return FindDialogWith(control); };
}

HWND DialogRobot::FindDialogWith(int control) {
  for (const HWND dialog : VisibleDialogs()) {
    if (!IsMessageBox(dialog) && ::GetDlgItem(dialog, control) != nullptr) return dialog;
  }
  return nullptr;
}

DialogRobot::Find DialogRobot::AnyMessageBox() {
  return &DialogRobot::FindMessageBox;
}

HWND DialogRobot::FindMessageBox() {
  for (const HWND dialog : VisibleDialogs()) {
    if (IsMessageBox(dialog)) return dialog;
  }
  return nullptr;
}

void DialogRobot::Dismiss(HWND messageBox) {
  ::PostMessageW(messageBox, WM_COMMAND, IDOK, 0);
}

void CALLBACK DialogRobot::OnTimer(HWND /*window*/, UINT /*message*/, UINT_PTR /*timer*/,
                                   DWORD /*time*/) {
  if (current != nullptr) current->RunSteps();
}

void DialogRobot::RunSteps() {
  if (!steps.empty()) {
    // The step removes itself before it acts: its action may run a dialog for the next step.
    const std::function<bool()> tryToRun = steps.front().tryToRun;
    if (tryToRun()) return;
  }
  if (::GetTickCount64() >= deadline) GiveUp();
}

void DialogRobot::GiveUp() {
  const std::vector<HWND> dialogs = VisibleDialogs();
  if (steps.empty() && dialogs.empty()) return;
  for (const Step& step : steps) ADD_FAILURE() << "did not happen: " << step.name;
  steps.clear();
  for (const HWND dialog : dialogs) {
    wchar_t title[64]{};
    ::GetWindowTextW(dialog, title, 64);
    ADD_FAILURE() << "nobody ends this dialog: \"" << Text::Escape(title) << '"';
    ::EndDialog(dialog, 0);
  }
}
