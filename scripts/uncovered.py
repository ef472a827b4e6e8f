#!/usr/bin/env python3
"""Judges a coverage report in gcovr's JSON: each line that did not run, and each branch that was not
taken, needs a reason.

The reason is in a table, with tabs between its columns:

  file, code   a line, without the spaces around it; all lines of the file that read so
  missing      "line" when none of them runs, or the branches not taken of those that run
  reason       why no test can change that

What happens only where a failure point is out of reach needs no row: the table of failure points
has the reason. A row that explains nothing any more is a fault too.

Exit status 1 means that a reason is missing or that a row is of no use.
"""

import argparse
import csv
import json
import sys
from collections import defaultdict
from dataclasses import dataclass
from pathlib import Path
from typing import NamedTuple

import trace_coverage

COLUMNS = ["file", "code", "missing", "reason"]
LINE = "line"


class Gap(NamedTuple):
    """Code that a test run left out: a line, or so many of a line's branches."""

    file: str
    number: int
    code: str
    missing: int  # branches; 0 for the whole line

    @property
    def kind(self):
        return str(self.missing) if self.missing else LINE

    def __str__(self):
        what = f" ({self.missing} branches)" if self.missing else ""
        return f"{self.file}:{self.number}{what}: {self.code}"


@dataclass
class Total:
    done: int = 0
    count: int = 0

    def add(self, done, count):
        self.done += done
        self.count += count

    def __str__(self):
        return f"{self.done} of {self.count} ({100 * self.done / max(self.count, 1):.1f}%)"


def real_lines(file):
    return [line for line in file["lines"] if not line.get("gcovr/noncode")]


def real_branches(line):
    """Without those that only an exception takes."""
    return [branch for branch in line["branches"] if not branch.get("throw")]


def gaps_of(file, code):
    """Returns the gaps of a file of the report whose text is the list `code`."""
    gaps = []
    for line in real_lines(file):
        number = line["line_number"]
        branches = real_branches(line)
        missing = sum(1 for branch in branches if branch["count"] == 0)
        if line["count"] == 0:
            gaps.append(Gap(file["file"], number, code[number - 1].strip(), 0))
        elif missing:
            gaps.append(Gap(file["file"], number, code[number - 1].strip(), missing))
    return gaps


# ---- Failure points that are out of reach -------------------------------------------------------


def unreachable_points(root, folder, table):
    """Returns {file: {line: reason}} of the failure points that the table calls unreachable."""
    points, _ = trace_coverage.read_code(root / folder)
    rows, _ = trace_coverage.read_table(table)
    reasons = defaultdict(dict)
    for point, places in points.items():
        row = rows.get(point)
        if row is None or not row.unreachable_because:
            continue
        for place in places:
            file, _, line = place.rpartition(":")
            reasons[f"{folder}/{file}"][int(line)] = row.unreachable_because
    return reasons


def reason_by_point(gap, file, reasons):
    """The reason of a failure point in the block of code that a gap belongs to: lines that follow
    each other and did not run, with the condition before them."""
    counts = {line["line_number"]: line["count"] for line in real_lines(file)}
    numbers = sorted(counts)
    first = last = numbers.index(gap.number)
    while not gap.missing and first > 0 and counts[numbers[first - 1]] == 0:
        first -= 1
    while last + 1 < len(numbers) and counts[numbers[last + 1]] == 0:
        last += 1
    end = numbers[last + 1] if last + 1 < len(numbers) else sys.maxsize
    for line, reason in sorted(reasons.items()):
        if numbers[first] <= line < end:
            return reason
    return None


# ---- The table of other reasons -----------------------------------------------------------------


def read_reasons(path):
    """Returns {(file, code, missing): reason}, and faults."""
    reasons = {}
    faults = []
    with open(path, encoding="utf-8", newline="") as file:
        lines = csv.reader(file, delimiter="\t", quoting=csv.QUOTE_NONE)
        if next(lines, None) != COLUMNS:
            return {}, [f"{path}: the first line has to name the columns {', '.join(COLUMNS)}"]
        for fields in lines:
            where = f"{path}:{lines.line_num}"
            if len(fields) != len(COLUMNS) or not all(field.strip() for field in fields):
                faults.append(f"{where}: not a row of {len(COLUMNS)} filled columns")
            elif tuple(fields[:3]) in reasons:
                faults.append(f"{where}: listed twice")
            else:
                reasons[tuple(fields[:3])] = fields[3]
    return reasons, faults


# ---- The report ---------------------------------------------------------------------------------


def explain(report, root, points, table):
    """Returns [(gap, reason or None), ...], and the rows of the table that explained something."""
    explained = []
    used = set()
    for file in report["files"]:
        code = (root / file["file"]).read_text(encoding="utf-8").splitlines()
        for gap in gaps_of(file, code):
            key = (gap.file, gap.code, gap.kind)
            reason = table.get(key)
            if reason is not None:
                used.add(key)
            else:
                reason = reason_by_point(gap, file, points.get(gap.file, {}))
            explained.append((gap, reason))
    return explained, used


def count(report):
    """Returns (lines, branches) as totals."""
    lines, branches = Total(), Total()
    for file in report["files"]:
        for line in real_lines(file):
            lines.add(line["count"] > 0, 1)
            real = real_branches(line)
            branches.add(sum(1 for branch in real if branch["count"] > 0), len(real))
    return lines, branches


def document(report, explained):
    """The text of docs/coverage.md."""
    lines, branches = count(report)
    unreachable_lines = sum(1 for gap, _ in explained if not gap.missing)
    in_those_lines = (
        len(real_branches(line))
        for file in report["files"]
        for line in real_lines(file)
        if line["count"] == 0
    )
    unreachable_branches = sum(gap.missing for gap, _ in explained) + sum(in_those_lines)
    reachable_lines = Total(lines.done, lines.count - unreachable_lines)
    reachable_branches = Total(branches.done, branches.count - unreachable_branches)
    text = [
        "# Coverage",
        "",
        "<!-- Written by scripts/coverage.sh; reasons are in tests/uncovered.tsv and",
        "     tests/trace_points.tsv. -->",
        "",
        "What the tests run of the library's code, `src/`, as `scripts/coverage.sh` counts it with gcov",
        "through Wine, in a build without optimisation. Branches that only an exception takes are the",
        "compiler's and don't count (gcovr's `--exclude-throw-branches`). Fuzzing does not count either.",
        "",
        "| | run | run of what can be reached |",
        "|---|---|---|",
        f"| lines | {lines} | {reachable_lines} |",
        f"| branches | {branches} | {reachable_branches} |",
        "",
        "Each line that does not run, and each line of which a branch is not taken, with the reason. A",
        "gap without a reason, and a reason without a gap, are errors of `scripts/coverage.sh`.",
    ]
    by_reason = defaultdict(list)
    for gap, reason in explained:
        by_reason[reason].append(gap)
    for reason, gaps in sorted(by_reason.items(), key=lambda item: (-len(item[1]), item[0] or "")):
        text += ["", f"## {(reason or 'No reason')[0].upper()}{(reason or 'No reason')[1:]}", ""]
        text += ["| file | code | not run |", "|---|---|---|"]
        for gap in gaps:
            code = gap.code.replace("|", "\\|").replace("`", "'")
            missing = "the line" if not gap.missing else f"branches: {gap.missing}"
            text.append(f"| {gap.file.removeprefix('src/')} | `{code}` | {missing} |")
    return "\n".join(text) + "\n"


def main(arguments):
    parser = argparse.ArgumentParser(description=__doc__.split("\n\n")[0])
    parser.add_argument("report", type=Path, help="gcovr's JSON report")
    parser.add_argument("--root", type=Path, default=Path(), help="where the report's paths begin")
    parser.add_argument("--code", default="src", help="folder of the library's sources, from there")
    parser.add_argument("--points", default="tests/trace_points.tsv", help="table of failure points")
    parser.add_argument("--reasons", default="tests/uncovered.tsv", help="table of other reasons")
    parser.add_argument("--write", type=Path, help="file that gets the report of a complete run")
    options = parser.parse_args(arguments)

    report = json.loads(options.report.read_text(encoding="utf-8"))
    table, faults = read_reasons(options.reasons)
    points = unreachable_points(options.root, options.code, options.points)
    explained, used = explain(report, options.root, points, table)
    if not any(real_lines(file) for file in report["files"]):
        faults.append(f"{options.report}: no lines of code")
    faults += [f"no reason: {gap}" for gap, reason in explained if reason is None]
    faults += [f"explains nothing: {' '.join(key)}" for key in table if key not in used]
    for fault in faults:
        print(fault)
    lines, branches = count(report)
    print(f"lines: {lines}, branches: {branches}, gaps: {len(explained)}, faults: {len(faults)}")
    if options.write and not faults:
        options.write.write_text(document(report, explained), encoding="utf-8")
    return 1 if faults else 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
