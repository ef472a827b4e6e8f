#include "TrayApplication.h"

#include <utility>

#include "ChangeOutcome.h"
#include "DataFolder.h"
#include "ErrorBox.h"
#include "StatusPicture.h"
#include "StringIds.h"

namespace {

// Devices take a second or two. After this time one of them will not answer any more.
constexpr UINT kPatienceInSeconds = 60;

// What Windows gives a program when the session ends.
constexpr DWORD kPatienceAtSessionEndInMilliseconds = 5000;

/// A flag that is set while this object lives, also where an exception ends that.
class Flagged {
 public:
  explicit Flagged(bool& target) noexcept : flag(target) { target = true; }
  ~Flagged() { flag = false; }
  Flagged(const Flagged&) = delete;
  Flagged& operator=(const Flagged&) = delete;

 private:
  bool& flag;
};

}  // namespace

TrayApplication::TrayApplication(HINSTANCE module, const Texts& ownTexts)
    : instance(module),
      texts(ownTexts),
      window(*this),
      icon(window.Get(), TrayWindow::kIconMessage) {
  library.emplace();
  // The library makes the last level of the folder only, and not before it writes the first time.
  DataFolder::Make();
  watch.emplace(DataFolder::GetPath(), window.Get(), TrayWindow::kFilesChangedMessage);
  Refresh();
  window.Listen();
}

// --- What the user does --------------------------------------------------------------------------

void TrayApplication::OnMenuWanted(POINT place) {
  if (isMenuOpen) return;  // Enter on the icon comes twice
  if (isInLibrary || isBoxOpen) {
    // A dialog waits for the user, perhaps behind other windows.
    ::SetForegroundWindow(::GetLastActivePopup(window.Get()));
    return;
  }
  Refresh();
  // A copy: the user means what the menu shows, even if the modes are read anew while it is open.
  const std::vector<Mode> offered = modes;
  std::optional<ModeMenu::Choice> choice;
  {
    const Flagged open(isMenuOpen);
    const ModeMenu menu(offered, {.modes = !change, .exit = !exitIsWanted}, texts);
    // Without this the menu would not close when the user clicks elsewhere.
    ::SetForegroundWindow(window.Get());
    choice = menu.Ask(window.Get(), place);
  }
  if (choice) Act(*choice, offered);
}

void TrayApplication::OnStartedAgain() {
  OnMenuWanted(icon.GetPlace());
}

void TrayApplication::Act(const ModeMenu::Choice& choice, const std::vector<Mode>& offered) {
  switch (choice.action) {
    case ModeMenu::Action::kSwitch:
      Switch(offered[choice.mode]);
      break;
    case ModeMenu::Action::kSettings:
      ShowSettings(offered[choice.mode]);
      break;
    case ModeMenu::Action::kExit:
      Exit();
      break;
  }
}

void TrayApplication::Switch(const Mode& mode) {
  const bool wasOn = mode.status == VELTO_MODE_STATUS_ON;
  DataFolder::Make();
  library->SelectMode(mode.index);
  // Before the request, as an engine may report at once.
  change = Change{.mode = mode.name,
                  .wanted = wasOn ? VELTO_MODE_STATUS_OFF : VELTO_MODE_STATUS_ON,
                  .statusBefore = mode.status};
  changedMode = mode.index;
  try {
    // Returns when the user has answered the confirmation.
    const Flagged inLibrary(isInLibrary);
    library->RequestStatus(change->wanted, window.Get(), window.BeginChange());
  } catch (...) {
    change.reset();
    throw;
  }
  if (change->result) {
    FinishChange();
    return;
  }
  window.StartPatience(kPatienceInSeconds);
  ::ShutdownBlockReasonCreate(window.Get(), texts.Get(IDS_SESSION_WAITS).c_str());
  ShowStatus();
}

void TrayApplication::ShowSettings(const Mode& mode) {
  DataFolder::Make();
  library->SelectMode(mode.index);
  {
    const Flagged inLibrary(isInLibrary);
    library->ShowSettings(window.Get());
  }
  // Saving the settings of a mode that is ON switches it OFF and ON again.
  Refresh();
}

// --- A change ------------------------------------------------------------------------------------

void TrayApplication::OnResult(WPARAM result) {
  if (!change) return;
  change->result = result;
  if (IsChanging()) FinishChange();  // else Switch does, once the library has returned
}

void TrayApplication::OnPatienceOver() {
  if (!IsChanging()) return;
  // Changes must not overlap on a handle. A new one is free, and with the old one goes its change.
  library.reset();
  library.emplace();
  FinishChange();
}

void TrayApplication::FinishChange() {
  window.EndPatience();
  ::ShutdownBlockReasonDestroy(window.Get());
  Change finished = *std::exchange(change, std::nullopt);
  library->SelectMode(changedMode);
  finished.statusAfter = library->GetNumber(VELTO_MODE_INT32_CURRENT_STATUS);
  Refresh();
  Report(finished);
  if (exitIsWanted || sessionEnds) ExitNow();
}

void TrayApplication::Report(const Change& finished) {
  const Balloon outcome = DescribeOutcome(finished, texts);
  if (!exitIsWanted && !sessionEnds) {
    icon.ShowBalloon(outcome);
  } else if (!sessionEnds && !WentWell(finished)) {
    // The icon is about to go, and its balloon with it.
    ShowMessage(outcome.text, MB_ICONWARNING);
  }
}

void TrayApplication::WaitForChange() const {
  const ULONGLONG deadline = ::GetTickCount64() + kPatienceAtSessionEndInMilliseconds;
  MSG message;
  while (IsChanging()) {
    while (IsChanging() && ::PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE) != FALSE) {
      ::DispatchMessageW(&message);
    }
    const ULONGLONG now = ::GetTickCount64();
    if (!IsChanging() || now >= deadline) return;
    ::MsgWaitForMultipleObjects(0, nullptr, FALSE, static_cast<DWORD>(deadline - now), QS_ALLINPUT);
  }
}

// --- The icon ------------------------------------------------------------------------------------

void TrayApplication::Refresh() {
  modes = ReadModes(*library);
  ShowStatus();
}

void TrayApplication::ShowStatus() {
  icon.Show(LoadStatusPicture(instance, modes), DescribeStatus());
}

std::wstring TrayApplication::DescribeStatus() const {
  if (change) return DescribeProgress(*change, texts);
  const Mode* const on = FindModeThatIsOn(modes);
  return on == nullptr ? texts.Get(IDS_NO_MODE_ON)
                       : texts.Format(IDS_MODE_STATUS, {on->name, on->statusName});
}

void TrayApplication::OnFilesChanged() {
  // What this program changes itself, it shows afterwards.
  if (change || isInLibrary) return;
  try {
    Refresh();
  } catch (const CommandError&) {
    // The user did nothing that could fail, and is told on opening the menu if it is still so.
  }
}

void TrayApplication::OnTaskbarCreated() {
  icon.AddAgain();
}

// --- The end -------------------------------------------------------------------------------------

void TrayApplication::OnCloseWanted() {
  Exit();
}

bool TrayApplication::OnSessionEndAsked() {
  if (!IsChanging()) return true;
  // Windows shows the user the reason given in Switch, and goes on when this program has ended.
  sessionEnds = true;
  return false;
}

void TrayApplication::OnSessionEnd(bool ends) {
  sessionEnds = ends;
  if (!ends) return;
  WaitForChange();
  ExitNow();
}

void TrayApplication::Exit() {
  exitIsWanted = true;
  if (!IsChanging()) ExitNow();
}

// A dialog that is open ends, too: its loop passes the message on.
void TrayApplication::ExitNow() {
  ::EndMenu();
  ::PostQuitMessage(0);
}

// --- What fails ----------------------------------------------------------------------------------

void TrayApplication::OnError(const CommandError& error) {
  ShowMessage(DescribeForUser(error, texts), MB_ICONERROR);
  // Without the library there is nothing left to do: after a device had not answered, it could not
  // be opened again.
  const bool exitCanGoOn = (exitIsWanted || sessionEnds) && !change;
  if (!library || exitCanGoOn) ExitNow();
}

void TrayApplication::OnOutOfMemory() {
  ShowMessage(texts.Get(IDS_ERROR_MEMORY), MB_ICONERROR);
}

void TrayApplication::ShowMessage(const std::wstring& text, UINT boxIcon) {
  // One is enough, and nobody is there to read it when the session ends.
  if (isBoxOpen || sessionEnds) return;
  const Flagged open(isBoxOpen);
  ShowBox(window.Get(), text, boxIcon, texts);
}
