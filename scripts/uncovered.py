#!/usr/bin/env python3
"""Lists what a coverage report in gcovr's JSON names as not run: lines, and branches of lines.

Prints "file:line: code" for each line, and "file:line: n of m branches: code" for each line that ran
but not in all of its directions.
"""

import argparse
import json
import sys
from pathlib import Path


def real_branches(line):
    """Without those that only an exception takes."""
    return [branch for branch in line["branches"] if not branch.get("throw")]


def faults_of(lines, code):
    """Returns the uncovered lines and the partly covered ones as [(number, text), ...]."""
    missed, partial = [], []
    for line in lines:
        if line.get("gcovr/noncode"):
            continue
        number = line["line_number"]
        text = code[number - 1].strip()
        if line["count"] == 0:
            missed.append((number, text))
            continue
        branches = real_branches(line)
        taken = sum(1 for branch in branches if branch["count"] > 0)
        if taken < len(branches):
            partial.append((number, f"{taken} of {len(branches)} branches: {text}"))
    return missed, partial


def main(arguments):
    parser = argparse.ArgumentParser(description=__doc__.split("\n\n")[0])
    parser.add_argument("report", type=Path, help="gcovr's JSON report")
    options = parser.parse_args(arguments)

    for title, which in (("Lines that did not run:", 0), ("Branches that were not taken:", 1)):
        print(title)
        for file in json.loads(options.report.read_text())["files"]:
            code = Path(file["file"]).read_text().splitlines()
            for number, text in faults_of(file["lines"], code)[which]:
                print(f"{file['file']}:{number}: {text}")
        print()
    return 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
