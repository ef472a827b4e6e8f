#!/usr/bin/env python3
"""Compares the library's failure points with the project's table of them and with a test run.

A failure point is a function's name and a number, written into the code as literals where the
failure is traced. The table says of each what it traces and when, and why no test can reach it
where that is so. The tests leave what they saw in files of lines "function<TAB>number<TAB>message".

Code, table and run have to agree; each disagreement is named and makes the exit status 1. That a
reachable point was not observed counts only for a run of all tests, which its starter announces
by VELTO_WHOLE_RUN=1.
"""

import argparse
import csv
import os
import re
import sys
from collections import defaultdict
from dataclasses import dataclass
from pathlib import Path
from typing import NamedTuple

MAX_UINT = 2**32 - 1
MAX_INT = 2**31 - 1

NO_INFORMATION = "No Additional Information"


class Point(NamedTuple):
    function: str
    number: int

    def __str__(self):
        return f"{self.function} {self.number}"


@dataclass(frozen=True)
class Row:
    """What the table says about one point."""

    message: str
    condition: str
    unreachable_because: str


# ---- The code -----------------------------------------------------------------------------------

_COMMENT_OR_TEXT = re.compile(
    r"""//[^\n]*|/\*.*?\*/|"(?:[^"\\\n]|\\.)*"|'(?:[^'\\\n]|\\.)'""", re.DOTALL
)
# A long literal may be wrapped into several.
_LITERAL = re.compile(r'L"[^"\\\n]*"(?:\s*L"[^"\\\n]*")*')
_WRITE = r"\bWrite(?:UInt|Int|UIntPair|TextUInt)?\s*\(\s*"
_WRITE_BEFORE = re.compile(rf"{_WRITE}$")
_BRACE_BEFORE = re.compile(r"\{\s*$")
_NUMBER_AFTER = re.compile(r"\s*,\s*(\d+)\s*[,)}]")
# Other tables pair texts with numbers too, but not the names of member functions.
_MEMBER_FUNCTION = re.compile(r"[\w`'-]+(::[\w`'~-]+)+")
# A write through a trace log whose point is neither written out nor handed on as a whole.
_HIDDEN_POINT = re.compile(rf'(?:\.|->){_WRITE}(?!\s|L"|[\w.]*\.function\b)')


def _without_comments(code):
    """Blanks comments out, keeping the lines' numbers."""

    def blank(match):
        text = match.group()
        return re.sub(r"[^\n]", " ", text) if text.startswith("/") else text

    return _COMMENT_OR_TEXT.sub(blank, code)


def read_code(folder):
    """Returns the points of all sources as {point: [place, ...]}, and problems."""
    points = defaultdict(list)
    problems = []
    for path in sorted(Path(folder).rglob("*")):
        if path.suffix not in (".h", ".cpp"):
            continue
        code = _without_comments(path.read_text(encoding="utf-8"))

        def place(match):
            line = code.count("\n", 0, match.start()) + 1
            return f"{path.relative_to(folder)}:{line}"

        for literal in _LITERAL.finditer(code):
            function = "".join(re.findall(r'"(.*?)"', literal.group()))
            before = code[max(0, literal.start() - 100) : literal.start()]
            is_written = _WRITE_BEFORE.search(before) is not None
            is_member = _MEMBER_FUNCTION.fullmatch(function) is not None
            if not is_written and not is_member:
                continue
            number = _NUMBER_AFTER.match(code, literal.end())
            if number and (is_written or _BRACE_BEFORE.search(before)):
                points[Point(function, int(number[1]))].append(place(literal))
            else:
                problems.append(f"{place(literal)}: {function}: no number of a failure point")
        for match in _HIDDEN_POINT.finditer(code):
            problems.append(f"{place(match)}: the failure point is not written as literals")
    return dict(points), problems


# ---- The table ----------------------------------------------------------------------------------

COLUMNS = ["function", "line", "message", "condition", "unreachable-because"]


def _fits_uint(text):
    return re.fullmatch(r"0|[1-9]\d*", text) is not None and int(text) <= MAX_UINT


def _fits_int(text):
    match = re.fullmatch(r"0|-?[1-9]\d*", text)
    return match is not None and -MAX_INT - 1 <= int(text) <= MAX_INT


def _fits_text_uint(text):
    _, comma, number = text.rpartition(", ")
    return comma != "" and _fits_uint(number)


def _fits_uint_pair(text):
    first, comma, second = text.partition(", ")
    return comma != "" and _fits_uint(first) and _fits_uint(second)


MESSAGE_FITS = {
    NO_INFORMATION: lambda text: text == NO_INFORMATION,
    "%lu": _fits_uint,
    "%ld": _fits_int,
    "%lu, %lu": _fits_uint_pair,
    "%s, %lu": _fits_text_uint,
    "%s": lambda text: text != NO_INFORMATION,
}


def read_table(path):
    """Returns {point: Row}, and problems."""
    rows = {}
    problems = []
    with open(path, encoding="utf-8", newline="") as file:
        lines = csv.reader(file, delimiter="\t", quoting=csv.QUOTE_NONE)
        if next(lines, None) != COLUMNS:
            return rows, [f"{path}: the first line has to name the columns {', '.join(COLUMNS)}"]
        for fields in lines:
            where = f"{path}:{lines.line_num}"
            # Editors take the tab of an empty last column away.
            if len(fields) == len(COLUMNS) - 1:
                fields.append("")
            if len(fields) != len(COLUMNS) or not re.fullmatch(r"\d+", fields[1]):
                problems.append(f"{where}: not a row of {len(COLUMNS)} columns with a number")
                continue
            point = Point(fields[0], int(fields[1]))
            row = Row(*fields[2:])
            if row.message not in MESSAGE_FITS:
                problems.append(f"{where}: {point}: unknown message format '{row.message}'")
            elif not row.condition.strip():
                problems.append(f"{where}: {point}: no condition")
            elif point in rows:
                problems.append(f"{where}: {point}: listed twice")
            else:
                rows[point] = row
    return rows, problems


# ---- The run ------------------------------------------------------------------------------------


def read_observed(folder):
    """Returns what the tests of a run saw as {point: {message, ...}}, and problems."""
    messages = defaultdict(set)
    problems = []
    for path in sorted(Path(folder).glob("*")):
        for number, line in enumerate(path.read_text(encoding="utf-8").split("\n"), 1):
            if line == "":
                continue
            fields = line.split("\t")
            if len(fields) != 3 or not fields[1].isdigit():
                problems.append(f"{path}:{number}: not 'function<TAB>number<TAB>message'")
                continue
            messages[Point(fields[0], int(fields[1]))].add(fields[2])
    return dict(messages), problems


# ---- The comparison -----------------------------------------------------------------------------


def compare_code_and_table(code, table):
    problems = []
    for point, places in sorted(code.items()):
        if point not in table:
            problems.append(f"{point}: in the code ({places[0]}), missing in the table")
        if len(places) > 1:
            problems.append(f"{point}: the number is used more than once ({', '.join(places)})")
    for point in sorted(table.keys() - code.keys()):
        problems.append(f"{point}: in the table, missing in the code")
    return problems


def compare_run_and_table(observed, table):
    problems = []
    for point, messages in sorted(observed.items()):
        row = table.get(point)
        if row is None:
            problems.append(f"{point}: observed, missing in the table")
            continue
        if row.unreachable_because:
            problems.append(f"{point}: observed, listed as unreachable")
        for message in sorted(messages):
            if not MESSAGE_FITS[row.message](message):
                problems.append(f"{point}: the message '{message}' is no '{row.message}'")
    return problems


def find_not_observed(observed, table):
    return sorted(
        point
        for point, row in table.items()
        if not row.unreachable_because and point not in observed
    )


def make_report(code, table, observed, problems, is_whole_run):
    """Returns the report's lines and whether code, table and run agree."""
    unreachable = sorted(point for point, row in table.items() if row.unreachable_because)
    not_observed = find_not_observed(observed, table)
    lines = [
        f"Trace coverage: {len(code)} failure points in the code, "
        f"{len(code.keys() & observed.keys())} observed, {len(unreachable)} unreachable, "
        f"{len(not_observed)} not observed"
        + ("" if is_whole_run else " (for information: not announced as a run of all tests)")
    ]
    lines += [f"  unreachable: {point}: {table[point].unreachable_because}" for point in unreachable]
    lines += [f"  not observed: {point}: {table[point].condition}" for point in not_observed]
    lines += [f"  error: {problem}" for problem in problems]
    agrees = not problems and not (is_whole_run and not_observed)
    return lines, agrees


def main(arguments):
    parser = argparse.ArgumentParser(description=__doc__.split("\n\n")[0])
    parser.add_argument("--code", required=True, help="folder of the library's sources")
    parser.add_argument("--table", required=True, help="table of failure points")
    parser.add_argument("--observed", required=True, help="folder of what the tests saw")
    parser.add_argument("--report", help="file that gets the report too")
    options = parser.parse_args(arguments)

    code, code_problems = read_code(options.code)
    table, table_problems = read_table(options.table)
    observed, observed_problems = read_observed(options.observed)
    problems = code_problems + table_problems + observed_problems
    if not code:
        problems.append(f"{options.code}: no failure points found")
    problems += compare_code_and_table(code, table) + compare_run_and_table(observed, table)

    is_whole_run = os.environ.get("VELTO_WHOLE_RUN") == "1"
    lines, agrees = make_report(code, table, observed, problems, is_whole_run)
    report = "\n".join(lines) + "\n"
    sys.stdout.write(report)
    if options.report:
        Path(options.report).write_text(report, encoding="utf-8")
    return 0 if agrees else 1


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
