#!/usr/bin/env python3
"""Checks the project's files for what .editorconfig asks for, marks of unfinished work, dead links.

Names each fault as "file:line: fault" and exits with 1 if there is any.
"""

import argparse
import os
import re
import sys
from pathlib import Path

SKIPPED_FOLDERS = {".git", "build", "__pycache__"}
PICTURES = {".ico", ".png", ".bmp"}
# Columns are separated by tabs, operands often are.
WITH_TABS = {".tsv", ".S"}
UTF16_MARK = b"\xff\xfe"

# Written so that this file does not hold them itself.
UNFINISHED = re.compile(r"\b(TO[D]O|FIX[M]E|X[X]X|HA[C]K)\b|DISABLE[D]_|GTEST_SKI[P]")

# To a file of the project, or a picture of it, with or without a place in there.
LINK = re.compile(r"\]\((?!\w+:|#)([^)\s#]+)")


def project_files(root):
    for folder, folders, names in os.walk(root):
        folders[:] = sorted(set(folders) - SKIPPED_FOLDERS)
        for name in sorted(names):
            path = Path(folder, name)
            if path.suffix not in PICTURES and path.is_file():
                yield path


def check_ini(content):
    """Windows keeps text outside the ANSI code page only in files of this form."""
    if not content.startswith(UTF16_MARK):
        return [(1, "no UTF-16 byte-order mark")], None
    try:
        text = content[len(UTF16_MARK) :].decode("utf-16-le")
    except UnicodeDecodeError as error:
        return [(1, f"not UTF-16: {error.reason}")], None
    faults = []
    for number, line in enumerate(text.split("\n")[:-1], 1):
        if not line.endswith("\r"):
            faults.append((number, "line end is not CR LF"))
    return faults, text.replace("\r\n", "\n")


def check_plain(content):
    try:
        text = content.decode("utf-8")
    except UnicodeDecodeError as error:
        return [(content[: error.start].count(b"\n") + 1, "not UTF-8")], None
    faults = []
    if text.startswith("\ufeff"):
        faults.append((1, "byte-order mark"))
    return faults, text


def check_lines(text, may_have_tabs):
    faults = []
    for number, line in enumerate(text.split("\n"), 1):
        if "\r" in line:
            faults.append((number, "carriage return"))
        if line.rstrip("\r") != line.rstrip():
            faults.append((number, "blank at the end of the line"))
        if "\t" in line and not may_have_tabs:
            faults.append((number, "tab"))
        mark = UNFINISHED.search(line)
        if mark:
            faults.append((number, f"unfinished: {mark.group()}"))
    if text and not text.endswith("\n"):
        faults.append((text.count("\n") + 1, "no line end at the end of the file"))
    return faults


def check_links(path, text):
    return [
        (number, f"no such file: {target}")
        for number, line in enumerate(text.split("\n"), 1)
        for target in LINK.findall(line)
        if not (path.parent / target).exists()
    ]


def check_file(path):
    """Returns the file's faults as [(line, fault), ...]."""
    content = path.read_bytes()
    faults, text = check_ini(content) if path.suffix == ".ini" else check_plain(content)
    if text is not None:
        faults += check_lines(text, path.suffix in WITH_TABS)
        if path.suffix == ".md":
            faults += check_links(path, text)
    return sorted(faults)


def main(arguments):
    parser = argparse.ArgumentParser(description=__doc__.split("\n\n")[0])
    parser.add_argument("root", type=Path, help="top folder of the project")
    root = parser.parse_args(arguments).root

    files = list(project_files(root))
    faults = [
        f"{path.relative_to(root)}:{line}: {fault}"
        for path in files
        for line, fault in check_file(path)
    ]
    print("\n".join([*faults, f"{len(files)} files checked, {len(faults)} faults"]))
    return 1 if faults or not files else 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
