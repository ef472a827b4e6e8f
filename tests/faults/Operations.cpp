#include <array>
#include <new>
#include <utility>

#include "changemode/CUpdatePcEnvironmentDialog.h"
#include "faults/Operation.h"
#include "resources/ControlIds.h"
#include "support/Text.h"

namespace {

constexpr const char* kTrue = "TRUE";
constexpr const char* kFalse = "FALSE";
constexpr const char* kAsked = "[Common]\r\nShowAnnounceModeIsChangedDialog=1\r\n";
constexpr const char* kEcoOn =
    "[CurrentModeStatus]\r\nEco=1\r\n[NormalEnvironment]\r\nLamp=0\r\nFan=2\r\nSound=-1\r\n";

// A save that fails half way, or that finds a row which a failure kept from being set.
const std::map<std::string, std::set<std::string>> kDockChoices = {
    {"Settings.ini [Dock] Lamp", {"", "-1", "0", "1"}},
    {"Settings.ini [Dock] Fan", {"", "-1", "0", "1", "2"}},
    {"Settings.ini [Dock] Sound", {"", "-1", "0", "3"}},
    {"Settings.ini [Dock] AutoONOFF", {"", "0", "1"}},
    {"Settings.ini [Common] ShowAnnounceModeIsChangedDialog", {"0", "1"}}};
const std::map<std::string, std::set<std::string>> kEcoChoices = {
    {"Settings.ini [Eco] Lamp", {"", "-1", "0", "1"}},
    {"Settings.ini [Eco] Fan", {"", "-1", "0", "1", "2"}},
    {"Settings.ini [Eco] Sound", {"", "-1", "0", "2", "4"}},
    {"Settings.ini [Eco] AutoONOFF", {"", "0"}},
    {"Settings.ini [Common] ShowAnnounceModeIsChangedDialog", {"0", "1"}}};
// Where one file can't be read the other one's values are set.
const std::map<std::string, std::set<std::string>> kEcoDevices = {
    {"device Lamp", {"0", "1"}},
    {"device Fan", {"0", "2"}},
    {"device Sound", {"3", "4"}},
    {"Status.ini [NormalEnvironment] Lamp", {"", "-1", "0", "1"}},
    {"Status.ini [NormalEnvironment] Fan", {"", "-1", "0", "2"}},
    {"Status.ini [NormalEnvironment] Sound", {"", "-1", "3", "4"}}};

std::map<std::string, std::set<std::string>> Both(
    std::map<std::string, std::set<std::string>> first,
    const std::map<std::string, std::set<std::string>>& second) {
  for (const auto& [name, values] : second) first[name].insert(values.begin(), values.end());
  return first;
}

std::string Answer(BOOL result) {
  return result != FALSE ? kTrue : kFalse;
}

std::function<void(Machine&)> OpenOn(UINT mode) {
  return [mode](Machine& machine) {
    machine.OpenHandle();
    machine.Select(mode);
  };
}

// --- Handles -----------------------------------------------------------------------------------

std::string Create(Machine& machine) {
  auto* const untouched = reinterpret_cast<VELTO_MODE_CHANGE_HANDLE>(&machine);
  VELTO_MODE_CHANGE_HANDLE created = untouched;
  const std::string answer =
      CallExport(machine, [&] { return Answer(machine.createHandle(&created)); });
  if (answer == kTrue) {
    machine.handle = created;
  } else if (created != untouched) {
    machine.AddProblem("an output was touched");
  }
  return answer;
}

Operation CreateHandle() {
  return {.name = "create",
          .tracedBy = "VeltoModeChange_CreateHandle",
          .prepare = [](Machine&) {},
          .act = Create,
          .alternatives = {kFalse},
          .prepareAgain = [](Machine& machine) { machine.CloseHandle(); }};
}

/// Whatever a thread needs from the library, it gets it while memory runs out.
Operation CreateOnNewThread() {
  const auto act = [](Machine& machine) {
    std::pair<Machine*, std::string> work(&machine, "");
    HANDLE thread = ::CreateThread(
        nullptr, 0,
        [](void* parameter) -> DWORD {
          auto& [host, answer] = *static_cast<std::pair<Machine*, std::string>*>(parameter);
          VELTO_MODE_CHANGE_HANDLE created = nullptr;
          answer = CallExport(*host,
                              [&, &owner = *host] { return Answer(owner.createHandle(&created)); });
          if (created != nullptr) {
            answer += CallExport(
                *host, [&, &owner = *host] { return ", " + Answer(owner.deleteHandle(created)); });
          }
          host->Pump();
          return 0;
        },
        &work, 0, nullptr);
    ::WaitForSingleObject(thread, INFINITE);
    ::CloseHandle(thread);
    return work.second;
  };
  return {.name = "create-on-new-thread",
          .tracedBy = "VeltoModeChange_CreateHandle",
          .prepare = [](Machine&) {},
          .act = act,
          .alternatives = {kFalse}};
}

Operation DeleteHandle() {
  const auto open = [](Machine& machine) { machine.OpenHandle(); };
  return {.name = "delete",
          .tracedBy = "VeltoModeChange_DeleteHandle",
          .prepare = open,
          .act =
              [](Machine& machine) {
                auto* const deleted = std::exchange(machine.handle, nullptr);
                const std::string answer =
                    CallExport(machine, [&] { return Answer(machine.deleteHandle(deleted)); });
                machine.Pump();
                return answer;
              },
          .prepareAgain = open};
}

// --- Questions ---------------------------------------------------------------------------------

Operation CountModes() {
  return {.name = "mode-count",
          .tracedBy = "VeltoModeChange_GetModeCount",
          .prepare = OpenOn(Machine::kEco),
          .act = [](Machine& machine) {
            UINT count = 4711;
            const std::string answer = CallExport(
                machine, [&] { return Answer(machine.getModeCount(machine.handle, &count)); });
            if (answer != kTrue && count != 4711) machine.AddProblem("an output was touched");
            return answer + " " + std::to_string(count);
          }};
}

Operation SelectAMode(const char* name, UINT index) {
  return {.name = name,
          .tracedBy = "VeltoModeChange_SelectMode",
          .prepare = OpenOn(Machine::kEco),
          .act = [index](Machine& machine) {
            return CallExport(machine,
                              [&] { return Answer(machine.selectMode(machine.handle, index)); });
          }};
}

struct StringQuestion {
  const char* name;
  UINT identifier;
  UINT subIndex;
  UINT length = 64;
  std::set<std::string> alternatives = {kFalse, "TRUE \"\""};
  const wchar_t* locale = L"en-US";
};

Operation AskString(const StringQuestion& question) {
  return {
      .name = question.name,
      .tracedBy = "VeltoModeChange_GetStringInformation",
      .prepare =
          [question](Machine& machine) {
            machine.SetUserLocale(question.locale);
            OpenOn(Machine::kDock)(machine);
          },
      .act =
          [question](Machine& machine) {
            std::array<wchar_t, 64> buffer;
            buffer.fill(L'~');
            UINT length = question.length;
            const std::string answer = CallExport(machine, [&] {
              return Answer(machine.getStringInformation(
                  machine.handle, question.identifier, question.subIndex, &length, buffer.data()));
            });
            if (answer == kTrue) return answer + " \"" + Text::ToUtf8(buffer.data()) + "\"";
            if (length != question.length || buffer.front() != L'~' || buffer.back() != L'~') {
              machine.AddProblem("an output was touched");
            }
            return answer;
          },
      .alternatives = question.alternatives};
}

Operation AskNumber(const char* name, UINT identifier, std::set<std::string> alternatives) {
  return {.name = name,
          .tracedBy = "VeltoModeChange_GetINT32Information",
          .prepare =
              [](Machine& machine) {
                machine.WriteStatus("[CurrentModeStatus]\r\nDock=1\r\n");
                machine.WriteSettings("[Dock]\r\nAutoONOFF=1\r\nFan=2\r\n");
                OpenOn(Machine::kDock)(machine);
              },
          .act =
              [identifier](Machine& machine) {
                INT32 value = 4711;
                const std::string answer = CallExport(machine, [&] {
                  return Answer(machine.getINT32Information(machine.handle, identifier, 0, &value));
                });
                if (answer == kTrue) return answer + " " + std::to_string(value);
                if (value != 4711) machine.AddProblem("an output was touched");
                return answer;
              },
          .alternatives = std::move(alternatives)};
}

// --- Requests ----------------------------------------------------------------------------------

std::string Request(Machine& machine, UINT identifier, INT32 value) {
  const std::string answer = CallExport(machine, [&] {
    return Answer(machine.request(machine.handle, identifier, 0, value, machine.hostWindow,
                                  Machine::kNotify));
  });
  machine.Pump();
  return answer;
}

struct Change {
  const char* name;
  UINT mode = Machine::kEco;
  INT32 status = 1;
  std::function<void(Machine&)> prepare = [](Machine&) {};
  std::map<std::string, std::set<std::string>> alsoLeaves = kEcoDevices;
};

Operation ChangeMode(const Change& change) {
  return {.name = change.name,
          .tracedBy = "VeltoModeChange_RequestToSetINT32Information",
          .prepare =
              [change](Machine& machine) {
                OpenOn(change.mode)(machine);
                // Where a setting can't be read the user is asked.
                machine.user.Plan({}, IDC_OK_BUTTON);
                change.prepare(machine);
              },
          .act = [change](Machine& machine) { return Request(machine, 0, change.status); },
          .alternatives = {"FALSE, told nothing", "TRUE, told 0"},
          .isChange = true,
          .prepareAgain = [](Machine& machine) { machine.user.Plan({}, IDC_OK_BUTTON); },
          .alsoLeaves = change.alsoLeaves};
}

Operation RequestOther(const char* name, UINT identifier, INT32 value) {
  return {
      .name = name,
      .tracedBy = "VeltoModeChange_RequestToSetINT32Information",
      .prepare = OpenOn(Machine::kEco),
      .act = [identifier, value](Machine& machine) { return Request(machine, identifier, value); },
      .alternatives = {"FALSE, told nothing"},
      .isChange = true};
}

Operation Confirm(const char* name, INT32 status, std::vector<User::Step> steps, int button,
                  std::map<std::string, std::set<std::string>> alsoLeaves = kEcoDevices) {
  const auto ask = [steps, button](Machine& machine) {
    machine.WriteSettings(kAsked);
    machine.user.Plan(steps, button);
  };
  Operation operation = ChangeMode({.name = name,
                                    .status = status,
                                    .prepare =
                                        [ask, status](Machine& machine) {
                                          if (status == 0) machine.WriteStatus(kEcoOn);
                                          ask(machine);
                                        },
                                    .alsoLeaves = std::move(alsoLeaves)});
  operation.prepareAgain = ask;
  return operation;
}

Operation SuppressOnce() {
  const auto suppress = [](Machine& machine) {
    machine.WriteSettings(kAsked);
    machine.SuppressConfirmationOnce(1);
    machine.user.Plan({}, IDC_OK_BUTTON);
  };
  Operation operation = ChangeMode({.name = "change-once-unasked", .prepare = suppress});
  operation.prepareAgain = suppress;
  return operation;
}

// --- The settings dialog -----------------------------------------------------------------------

Operation Progress(const char* name, UINT status) {
  return {.name = name,
          .tracedBy = "CUpdatePcEnvironmentDialog::",
          .prepare =
              [status](Machine& machine) {
                if (status == 0) machine.WriteStatus(kEcoOn);
                machine.user.Plan({}, User::kNoButton);
              },
          .act =
              [status](Machine& machine) {
                return CallExport(machine, [&] {
                  const std::int32_t result =
                      CUpdatePcEnvironmentDialog(L"Eco", status).Run(machine.hostWindow);
                  machine.Pump();
                  if (result == CUpdatePcEnvironmentDialog::kNotShown)
                    return std::string("not shown");
                  return (result == CUpdatePcEnvironmentDialog::kCompleted ? "TRUE " : "FALSE ") +
                         std::to_string(result);
                });
              },
          .alternatives = {"FALSE 12", "FALSE 100", "not shown"},
          .prepareAgain = [](Machine& machine) { machine.user.Plan({}, User::kNoButton); },
          .alsoLeaves = kEcoDevices};
}

struct Settings {
  const char* name;
  UINT mode = Machine::kDock;
  std::vector<User::Step> steps = {};
  int closingButton = IDC_CANCEL_BUTTON;
  std::function<void(Machine&)> prepare = [](Machine&) {};
  std::map<std::string, std::set<std::string>> alsoLeaves = kDockChoices;
};

Operation ShowSettings(const Settings& settings) {
  // What a mode change has done before something fails is undone here: the next one begins anew.
  const auto plan = [settings](Machine& machine) {
    settings.prepare(machine);
    machine.user.Plan(settings.steps, settings.closingButton);
  };
  return {.name = settings.name,
          .tracedBy = "VeltoModeChange_ShowSettingsDialog",
          .prepare =
              [settings, plan](Machine& machine) {
                OpenOn(settings.mode)(machine);
                plan(machine);
              },
          .act =
              [](Machine& machine) {
                return CallExport(machine, [&] {
                  return Answer(machine.showSettingsDialog(machine.handle, machine.hostWindow));
                });
              },
          .alternatives = {kFalse},
          .prepareAgain = plan,
          .alsoLeaves = settings.alsoLeaves};
}

std::vector<User::Step> EditDock() {
  return {User::TickInRow(0, IDC_SETTING_ITEM), User::PressInRow(0, IDC_FIRST_VALUE),
          User::ChooseInCombo(1, 2), User::MoveSlider(2, 3)};
}

std::vector<User::Step> Followed(std::vector<User::Step> steps, std::vector<User::Step> more) {
  steps.insert(steps.end(), more.begin(), more.end());
  return steps;
}

}  // namespace

std::string CallExport(Machine& machine, const std::function<std::string()>& call) {
  try {
    return call();
  } catch (const std::bad_alloc& exception) {
    machine.TakeOver(&exception);
    return "bad_alloc";
  }
}

std::vector<Operation> AllOperations() {
  return {
      CreateHandle(),
      CreateOnNewThread(),
      DeleteHandle(),

      CountModes(),
      SelectAMode("select-mode", Machine::kFlight),
      SelectAMode("select-mode-beyond", 3),
      AskString({.name = "mode-name", .identifier = 0, .subIndex = 0}),
      AskString({.name = "mode-name-of-same-language",
                 .identifier = 0,
                 .subIndex = 0,
                 .alternatives = {kFalse, "TRUE \"\"", "TRUE \"Cradle mode\""},
                 .locale = L"de-AT"}),
      AskString({.name = "status-name", .identifier = 1, .subIndex = 1}),
      AskString({.name = "status-icon", .identifier = 2, .subIndex = 1}),
      AskString({.name = "unknown-string", .identifier = 3, .subIndex = 0}),
      AskString({.name = "string-without-room", .identifier = 0, .subIndex = 0, .length = 3}),
      AskNumber("mode-type", 0, {kFalse}),
      AskNumber("status-count", 1, {}),
      AskNumber("current-status", 2, {kFalse, "TRUE 0"}),
      AskNumber("settings-changed", 3, {kFalse, "TRUE 0"}),
      AskNumber("auto-on-off", 4, {kFalse, "TRUE 0"}),
      AskNumber("unknown-number", 5, {kFalse}),

      RequestOther("unknown-request", 1, 1),
      RequestOther("request-negative", 0, -1),
      RequestOther("request-beyond", 0, 2),
      ChangeMode({.name = "change-on"}),
      ChangeMode({.name = "change-off",
                  .status = 0,
                  .prepare =
                      [](Machine& machine) {
                        machine.WriteStatus(kEcoOn);
                        machine.engines.at(L"Lamp")->current = 1;
                        machine.engines.at(L"Fan")->current = 0;
                      }}),
      ChangeMode({.name = "change-over",
                  .mode = Machine::kDock,
                  .prepare =
                      [](Machine& machine) {
                        machine.WriteStatus(kEcoOn);
                        machine.engines.at(L"Lamp")->current = 1;
                        machine.engines.at(L"Fan")->current = 0;
                      },
                  .alsoLeaves = {{"Status.ini [NormalEnvironment] Lamp", {"-1", "0", "1"}},
                                 {"Status.ini [NormalEnvironment] Fan", {"-1", "0", "2"}},
                                 {"Status.ini [NormalEnvironment] Sound", {"-1", "0", "3"}}}}),
      ChangeMode(
          {.name = "change-on-again",
           .prepare = [](Machine& machine) { machine.WriteStatus(kEcoOn); },
           // The mode that was on is recorded as off before the new one as on.
           .alsoLeaves = Both(kEcoDevices, {{"Status.ini [CurrentModeStatus] Eco", {"0"}}})}),
      ChangeMode({.name = "change-on-new-machine",
                  .prepare =
                      [](Machine& machine) {
                        machine.RemoveDataFolder();
                        // Without a file the defaults say that the user is asked.
                        machine.SuppressConfirmationOnce(1);
                      }}),
      ChangeMode({.name = "change-flight-on-windows-7",
                  .mode = Machine::kFlight,
                  .prepare = [](Machine& machine) { machine.PretendWindows7(); },
                  .alsoLeaves = {{"Status.ini [NormalEnvironment] Sound", {"", "-1", "2", "3"}}}}),
      ChangeMode({.name = "change-that-an-engine-ends",
                  .prepare =
                      [](Machine& machine) {
                        machine.PretendWindows7();
                        machine.engines.at(L"Fan")->result = 2;
                      }}),
      SuppressOnce(),
      Confirm("confirm", 1, {}, IDC_OK_BUTTON),
      Confirm("confirm-off", 0, {}, IDC_OK_BUTTON),
      Confirm("confirm-cancelled", 1, {}, IDC_CANCEL_BUTTON),
      Confirm("confirm-never-again", 1, {User::Press(IDC_ANNOUNCE_NOT_SHOW)}, IDC_OK_BUTTON),

      Progress("progress-on", 1),
      Progress("progress-off", 0),

      ShowSettings({.name = "settings-close"}),
      ShowSettings({.name = "settings-edit-cancel", .steps = EditDock()}),
      ShowSettings(
          {.name = "settings-edit-save", .steps = EditDock(), .closingButton = IDC_OK_BUTTON}),
      ShowSettings({.name = "settings-edit-apply",
                    .steps = Followed(EditDock(), {User::Press(IDC_APPLY_BUTTON)})}),
      ShowSettings({.name = "settings-restore-save",
                    .steps = Followed(EditDock(), {User::Press(IDC_RESTORE_DEFAULTS_BUTTON)}),
                    .closingButton = IDC_OK_BUTTON}),
      ShowSettings({.name = "settings-other-mode", .steps = {User::SelectMode(1)}}),
      ShowSettings({.name = "settings-other-mode-refused",
                    .steps = Followed(EditDock(), {User::SelectMode(1)})}),
      // A combo box without a choice.
      ShowSettings({.name = "settings-not-set-correctly",
                    .mode = Machine::kFlight,
                    .steps = {User::PressInRow(1, IDC_SETTING_ITEM), User::Press(IDC_OK_BUTTON)},
                    .alsoLeaves = {{"Settings.ini [Flight] Lamp", {"", "-1"}},
                                   {"Settings.ini [Flight] Fan", {"", "-1"}},
                                   {"Settings.ini [Flight] Sound", {"", "2", "-1"}},
                                   {"Settings.ini [Flight] AutoONOFF", {"", "0"}}}}),
      ShowSettings({.name = "settings-lock-release",
                    .mode = Machine::kEco,
                    .steps = {User::PressInRow(0, IDC_FIRST_VALUE)},
                    .closingButton = IDC_OK_BUTTON,
                    .alsoLeaves = kEcoChoices}),
      ShowSettings({.name = "settings-save-mode-that-is-on",
                    .mode = Machine::kEco,
                    .steps = {User::PressInRow(0, IDC_FIRST_VALUE)},
                    .closingButton = IDC_OK_BUTTON,
                    .prepare =
                        [](Machine& machine) {
                          machine.WriteStatus(kEcoOn);
                          machine.engines.at(L"Lamp")->current = 1;
                          machine.engines.at(L"Fan")->current = 0;
                        },
                    // It is switched off, saved, and switched on again.
                    .alsoLeaves = Both(Both(kEcoChoices, kEcoDevices),
                                       {{"Status.ini [CurrentModeStatus] Eco", {"0"}}})}),
  };
}
