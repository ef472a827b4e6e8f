#!/usr/bin/env python3
"""Writes the list of the library's failures into docs/troubleshooting.md, between two marks.

What a failure means comes from the table of failure points, what to do from the rules below: the
first one whose function and condition fit. With --check nothing is written; the exit status is 1
when the document is not what would be written. A failure that no rule fits, and a rule that fits no
failure, are errors.
"""

import argparse
import re
import sys
from dataclasses import dataclass
from itertools import groupby
from pathlib import Path

sys.path.insert(0, str(Path(__file__).resolve().parent))
from trace_coverage import NO_INFORMATION, read_table  # noqa: E402

BEGIN = "<!-- failures: written by scripts/make_troubleshooting.py -->"
END = "<!-- failures: end -->"

# ---- What to do ---------------------------------------------------------------------------------

CAUSE_BEFORE = "Look at the event before this one: it names the cause."
REPORT = "A mistake in the library: report it with the events around it."
HOST = "A mistake in the host: report it to the host's maker with the events around it."
BESIDE_DLL = "Put the file beside `ModeChange.dll`, where this user may read it."
DEFAULTS_MISSING = "Put `ModeChange.DefaultSettings.ini` beside `ModeChange.dll`."
CONFIG_EMPTY = (
    "Restore `ModeChange.Config.ini`: it is empty or can't be read, perhaps because it was being "
    "replaced at that moment."
)
SHORTER_PATH = "Install into a folder with a shorter path."
DATA_FOLDER = (
    "Check by the error number why: this user needs to write in `%ProgramData%\\Brivane\\Kestrola`, "
    "and the files there must not be read-only or in use."
)
RESOURCES = (
    "Windows did not give what is needed: close programs that use many windows or fonts, or sign out "
    "and in again."
)
MEMORY = "The program has no memory left: restart the host, and see which program takes it."
ENGINE_FUNCTION = (
    "The engine failed to answer. Run `enginecheck` on it on this machine; its maker has to mend it."
)
ENGINE_VALUES = (
    "Correct what the engine offers, or take the item out of the configuration. `enginecheck` shows "
    "which values are available here."
)
DRIVER = (
    "Check that the hotkey driver is installed and right for this machine. The mode itself is not "
    "affected by this failure."
)
STRANGER = (
    "Another program than the library sent a message to the library's window. Find out which; the "
    "library ignored it."
)
CONTROL = "Close the settings dialog and open it again; if it comes back, report it."
SAVED_VALUE = (
    "Correct the item's value in `ModeChange.Settings.ini` or `ModeChange.DefaultSettings.ini` to "
    "one that the engine offers here."
)
STATUS_FILE = (
    "`ModeChange.Status.ini` is missing, which keeps what was set before the first mode. Switch a "
    "mode ON first; if the file was deleted, set the items by hand."
)


@dataclass(frozen=True)
class Rule:
    function: str
    condition: str
    advice: str


def rule(condition, advice, function=".*"):
    return Rule(function, condition, advice)


# From the special to the general.
RULES = [
    # No failures, or those whose cause is outside the library.
    rule("every turn of the wheel", "Nothing: this is no failure.", "CSettingsDialog::OnMouseWheel"),
    rule("nothing has the focus", "Nothing: the wheel was turned while another program had the focus."),
    rule("a handler ran out of memory|^memory runs out", MEMORY),
    rule("announcement dialog ended with a code other", CAUSE_BEFORE),
    rule("the handle was deleted while the confirmation stood",
         "Nothing where the host ended meanwhile. Else the host should keep its handle until the "
         "result has come."),
    rule("the announcement check box can not be put behind", "Nothing: only the order of the Tab key "
         "in the dialog is affected."),
    rule("the focus can't be watched", "Nothing: only the list does not follow the focus by itself."),
    rule("ChangeWindowMessageFilterEx fails", "Nothing, unless the host runs with higher rights than "
         "other programs: then their messages do not reach the window."),
    # The host.
    rule("^null handle", HOST, "VeltoModeChange_.*"),
    rule("^caller's length", "The host has to offer a larger buffer: at least the second number and "
         "one more."),
    rule("^index >= number of modes", "The host has to ask `GetModeCount` first, and to choose an index "
         "below it."),
    rule("^identifier (other|\\d and value)|^status >= 2", "The host has to pass an identifier and a value that "
         "`velto/mode_change.h` names."),
    rule("^no mode selected", "The host has to call `VeltoModeChange_SelectMode` first."),
    rule("^the result can neither be posted", "The host's window was gone before the change ended. The host "
         "should keep it until the result has come."),
    # Programs that send messages to the library's windows.
    rule("^(COPYDATASTRUCT|dwData|cbData|lpData|the mode name is null|another program or thread)",
         STRANGER),
    rule("^(no lock request is queued|the window is told to set an item|an item is reported as done)",
         "An engine posted a completion too many, or another program a message. Run `enginecheck "
         "--set` on the engine of the item before.", "ChangeModeWindow.*"),
    rule("^no lock request is queued", STRANGER),
    rule("^newStatus other than 0 and 1", STRANGER),
    # Files.
    rule("^(one of the two files is missing|ModeChange.(Config|UsableModeList).ini is missing)",
         "Put `ModeChange.Config.ini` and `ModeChange.UsableModeList.ini` beside `ModeChange.dll`, "
         "where this user may read them."),
    rule("ModeChange.DefaultSettings.ini is missing|defaults file missing", DEFAULTS_MISSING),
    rule("^no ModeChange.Resource.ini", "Put at least `en-US\\ModeChange.Resource.ini` into the folder "
         "of `ModeChange.dll`. Until then all texts are empty."),
    rule("^ModeChange.Settings.ini is missing", "The library makes the file when it saves a mode's "
         "values. The events before this one say why that failed; if there are none, save again."),
    rule("status file missing|^ModeChange.Status.ini is missing", STATUS_FILE),
    rule("size 0 of the default settings", "Restore `ModeChange.DefaultSettings.ini`: it is empty or "
         "can't be read, perhaps because it was being replaced at that moment."),
    rule("size 0 of the configuration file", CONFIG_EMPTY),
    rule("^(the file can't be opened for reading|GetFileSizeEx fails)",
         "Check that the file that a later event names is there and that this user may read it."),
    rule("larger than 4 GiB", "The file that a later event names is no INI file of the library: "
         "replace it."),
    rule("the system names no folder", "Check by the error number why Windows has no folder for the "
         "programs' common data (`%ProgramData%`)."),
    rule("would be too long$", SHORTER_PATH),
    rule("can't be had$", "Check by the events around it whether the library was unloaded, or lies at a "
         "path that is too long.", ".*::(CModeChangeConfig|CModeChangeSettings|GetSettingItemEnginePath)"),
    rule("^(GetModuleHandleExW|GetModuleFileNameW)",
         "Check whether the host unloads the library while it is in use, or loads it from a path that "
         "is too long."),
    rule("^(no modes|no usable modes|this machine offers no mode)", "Set `ModeCount` in `[ModeList]` of "
         "`ModeChange.Config.ini` and in `[UsableModeList]` of `ModeChange.UsableModeList.ini`, and "
         "list the modes."),
    rule("^a locked item without a value", "Give the item that the message names a "
         "`LockedOtherSettingItemValue` for each item that it locks."),
    rule("^no font has the index", REPORT),
    rule("can't be written|the (folder|file) can't be made|the security descriptor can't be built",
         DATA_FOLDER),
    rule("^after \\d+", "See the event before this one; this one only adds the value."),
    rule('^the text "Processing"', "Give `ModeChange.Resource.ini` the text "
         "`UpdatePcEnvironmentDialog_Processing`, in each language."),
    rule("^there is no mode of the name to start with", "The mode that the host chose was taken out of "
         "the list meanwhile: start the host anew."),
    rule("item index is past the end", "List at least one item in `[SettingItemList]` of "
         "`ModeChange.Config.ini`."),
    # Engines.
    rule("^LoadLibraryW failed", "Check by the error number why the engine's DLL does not load: 126 it, "
         "or a DLL that it needs, is missing; 193 it is not built for x64. Correct `EnginePath`, or run "
         "`enginecheck` on it.", "CDeviceEngineHelper.*"),
    rule("^GetProcAddress of VeltoDeviceEngine", "The file in `EnginePath` is no engine, or one that "
         "lacks this function. Run `enginecheck` on it.", "CDeviceEngineHelper.*"),
    rule("^VeltoDeviceEngine_CreateHandle returned 0", ENGINE_FUNCTION),
    rule("^engine call failed", "The engine refused the value, or failed: its device may be busy or "
         "gone. Run `enginecheck --set` on it.", "CDeviceEngineHelper::RequestToSetINT32Information"),
    rule("^engine (call failed|number|string)", ENGINE_FUNCTION),
    rule("engine can't name its item|^the number of values can't|^whether a value is available|"
         "^the key of|^GetINT32INformation \\(.*failed|engine GetINT32INformation", ENGINE_FUNCTION),
    rule("^GetINT32INformation \\(2, value\\) answered", SAVED_VALUE),
    rule("^GetINT32INformation \\(4, 0\\) answered 1", "The device was busy. Try again; if it stays so, "
         "see what else uses the device."),
    rule("^result 0, 2 or 3", "The first number is the item's place in `[SettingItemList]`, the second "
         "what was reported: 0 the item could not be set (an event before may say why, or its engine "
         "failed), 2 and 3 are the engine's own; ask its maker."),
    rule("^result other than", "The engine reported a result that there is not. Run `enginecheck "
         "--set` on it."),
    rule("^(the engine has no values|fewer than two usable values|not locked, and fewer|ticked, and "
         "fewer|the check box rule failed)", ENGINE_VALUES),
    rule("^the value is not usable", SAVED_VALUE),
    # The driver.
    rule(".*", DRIVER, ".*(CQTX05A9|CQtx05a9|SetEcoLEDStatus|SetWirelessLEDStatus).*"),
    # What Windows refused.
    rule("gives no screen", RESOURCES),
    rule("^(SystemParametersInfoW|CreateFontIndirectW|creating the solid brush|odd line number|even "
         "line number|RegisterClassExW|no change-mode window can be made|the timer)", RESOURCES),
    rule("^PostMessageW fails", "The host does not take its messages: it has to run a message loop."),
    rule("can't be made$|can not be made$|can not be moved|of a row fails$", RESOURCES),
    rule("^the user can not be (told|warned)", CAUSE_BEFORE),
    rule("^the change-mode window does not take the request", RESOURCES),
    rule("combo box|radio button|the slider|the mode selection|says? which mode it is|say which mode|"
         "^no mode is selected|^no list takes", CONTROL),
    # What the settings dialog was told.
    rule("^the change ended with another result", "The events before this one say which item failed "
         "and why."),
    rule("settings dialog ended with code 11", "The user's values were not saved, or the mode could not "
         "be switched; the events before this one say why."),
    # The library itself.
    rule("^(null|any null|no output|no mode name)", REPORT),
    rule("^(the window has no record|busy is set|the record can not be bound)", REPORT),
    rule("unknown result", REPORT),
    # What follows from a failure that has an event of its own.
    rule("failed|fails$|returned null|can not be (read|saved|left|returned to)|can't be read|"
         "the list can not|end code other|ended with a code other", CAUSE_BEFORE),
]


def find_rule(point, row):
    for candidate in RULES:
        if re.fullmatch(candidate.function, point.function) and re.search(
            candidate.condition, row.condition.split("; ")[0]
        ):
            return candidate
    return None


# ---- What it means ------------------------------------------------------------------------------

MEANINGS = {
    "null argument": "The function was called without something that it needs",
    "any null argument": "The function was called without something that it needs",
    "null out-pointer": "The function was called without a place for its answer",
    "null output": "The function was called without a place for its answer",
    "no output": "The function was called without a place for its answer",
    "null helper or null out-pointer": "The function was called without an engine, or without a place "
    "for its answer",
    "null handle": "The host passed no handle",
    "null handle or null out-pointer": "The host passed no handle, or no place for the answer",
    "null handle or null buffer": "The host passed no handle, or no buffer",
    "one of the two files is missing": "`ModeChange.Config.ini` or `ModeChange.UsableModeList.ini` is "
    "missing",
    "engine call failed": "The engine's function failed",
    "Initialize failed": "The engine could not be loaded or opened",
    "caller's length < n + 1": "The host's buffer is too small for the text",
}


def sentence(text):
    text = text.strip().rstrip(".")
    return text[:1].upper() + text[1:] + "."


def meaning(row):
    condition, _, rest = row.condition.partition("; ")
    follow_up = re.fullmatch(r"after (\d+): (.*)", condition)
    if follow_up:
        return f"Second event of failure {follow_up[1]}. Message: {follow_up[2]}."
    text = sentence(MEANINGS.get(condition, condition))
    if row.unreachable_because:
        text += f" Not expected: {row.unreachable_because}."
    if not rest:
        return text
    return f"{text} {sentence(rest)}" if row.message == NO_INFORMATION else f"{text} Message: {rest}."


# ---- The document -------------------------------------------------------------------------------


def owner(point):
    scope, _, name = point.function.rpartition("::")
    return scope or ("Functions of the DLL" if name.startswith("Velto") or name == "DllMain" else "Others")


def escaped(text):
    """As a part of a table's cell."""
    return text.replace("|", "\\|").replace("<", "&lt;")


def make_list(table):
    """Returns the lines of the list, and problems."""
    lines = []
    problems = []
    used = set()
    points = sorted(table, key=lambda point: (owner(point), point.function, point.number))
    for scope, group in groupby(points, key=owner):
        title = scope.replace("`", "\\`")
        lines += ["", f"### {title}", "", "| event | what it means | what to do |", "|---|---|---|"]
        for point in group:
            row = table[point]
            fitting = find_rule(point, row)
            if fitting is None:
                if not row.unreachable_because:
                    problems.append(f"{point}: no rule says what to do: {row.condition}")
                    continue
                advice = REPORT
            else:
                used.add(fitting)
                advice = REPORT if row.unreachable_because else fitting.advice
            name = point.function.rpartition("::")[2]
            lines.append(
                f"| {name} {point.number} | {escaped(meaning(row))} | {escaped(advice)} |"
            )
    problems += [
        f"the rule '{unused.condition}' for '{unused.function}' fits no failure"
        for unused in RULES
        if unused not in used
    ]
    return [*lines, ""], problems


def replace_list(document, lines):
    before, begin, rest = document.partition(BEGIN)
    _, end, after = rest.partition(END)
    if not begin or not end:
        raise ValueError("the document lacks the marks between which the list belongs")
    return before + BEGIN + "\n" + "\n".join(lines) + "\n" + END + after


def main(arguments):
    root = Path(__file__).resolve().parent.parent
    parser = argparse.ArgumentParser(description=__doc__.split("\n\n")[0])
    parser.add_argument("--check", action="store_true", help="write nothing, only compare")
    parser.add_argument("--table", type=Path, default=root / "tests" / "trace_points.tsv")
    parser.add_argument("--document", type=Path, default=root / "docs" / "troubleshooting.md")
    options = parser.parse_args(arguments)

    table, problems = read_table(options.table)
    lines, list_problems = make_list(table)
    problems += list_problems
    if problems:
        print("\n".join(problems), file=sys.stderr)
        return 1
    document = options.document.read_text(encoding="utf-8")
    wanted = replace_list(document, lines)
    if options.check:
        if document != wanted:
            print(f"{options.document} is out of date: run scripts/make_troubleshooting.py",
                  file=sys.stderr)
            return 1
    else:
        options.document.write_text(wanted, encoding="utf-8")
    print(f"{len(table)} failures, {len(RULES)} rules")
    return 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
