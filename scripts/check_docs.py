#!/usr/bin/env python3
"""Checks the documents' links and code blocks against the project and a build of it.

  links   a place in a document ("file.md#place") is a heading there
  cpp     compiles, or stands as it is in a source file
  cmake   stands as it is in a CMakeLists.txt
  ini     is well-formed, and each key stands in the sample configuration or in the document's text
  json    is well-formed
  sh      each program, preset, command and option exists, the latter two in the program's own
          help
  text    anything: output, drawings

Names each fault as "file:line: fault" and exits with 1 if there is any. A document that the index,
docs/README.md, does not list is a fault. Whether the files that documents link to exist is checked by
check_hygiene.py.
"""

import argparse
import configparser
import json
import os
import re
import shlex
import subprocess
import sys
import textwrap
import urllib.parse
from pathlib import Path

FENCE = re.compile(r"^( *)```(\w*)$")
HEADING = re.compile(r"^#{1,6} +(.*)$")
LINK = re.compile(r"\]\((?!\w+:)([^)\s#]*)#([^)\s]+)\)")
CODE = re.compile(r"`([^`]+)`")
SHELL_PREFIX = re.compile(r"^\w+=\S*$")
# What a program of the project can be asked without its doing anything.
HELP = "--help"
# Programs that are not the project's: their arguments are not looked into.
OTHER_PROGRAMS = {"git", "msiexec", "logman", "tracerpt", "wevtutil", "doxygen", "sudo", "cd", "mkdir",
                  "cp", "copy", "reg", "icacls", "convert", "ctest"}


def documents(root):
    return sorted([*root.glob("*.md"), *root.glob("docs/**/*.md"), *root.glob("samples/**/*.md")])


def anchor(heading):
    """As forges make a place of a heading."""
    text = re.sub(r"`|\*|\[|\]\([^)]*\)", "", heading.strip().lower())
    return re.sub(r"[^\w\- ]", "", text).replace(" ", "-")


def split(text):
    """Returns the text without blocks as [(line, text)] and the blocks as [(line, language, text)]."""
    prose, blocks = [], []
    block, indent = None, ""
    for number, line in enumerate(text.split("\n"), 1):
        fence = FENCE.match(line)
        if block is not None:
            if fence and not fence.group(2):
                blocks.append((block[0], block[1], textwrap.dedent("\n".join(block[2])) + "\n"))
                block = None
            else:
                block[2].append(line)
        elif fence:
            block = (number, fence.group(2), [])
        else:
            prose.append((number, line))
    if block is not None:
        blocks.append((block[0], "(not closed)", ""))
    return prose, blocks


def anchors(path):
    prose, _ = split(path.read_text(encoding="utf-8"))
    found = set()
    for _, line in prose:
        heading = HEADING.match(line)
        if heading:
            name = anchor(heading.group(1))
            copies = 1
            while name in found:
                name = f"{anchor(heading.group(1))}-{copies}"
                copies += 1
            found.add(name)
    return found


def check_anchors(path, prose):
    for number, line in prose:
        for target, place in LINK.findall(line):
            file = path.parent / target if target else path
            if file.suffix == ".md" and file.exists() and urllib.parse.unquote(place) not in anchors(file):
                yield number, f"no such heading: {target}#{place}"


class Project:
    """What the documents are compared with."""

    def __init__(self, root, build, compiler, help_of):
        self.root, self.build, self.compiler, self.help_of = root, build, compiler, help_of
        self.presets = json.loads((root / "CMakePresets.json").read_text())
        self.helps = {}

    def sources(self, *patterns):
        for folder in ("include", "src", "samples", "tools", "tests", "packaging", "bench"):
            for pattern in patterns:
                yield from sorted((self.root / folder).rglob(pattern))

    def stands_in(self, block, *patterns):
        """Whether a source file has the block's lines, at whatever depth they are indented."""
        wanted = [line.strip() for line in block.strip().split("\n")]
        for path in self.sources(*patterns):
            lines = [line.strip() for line in path.read_text(encoding="utf-8").split("\n")]
            for start in range(len(lines) - len(wanted) + 1):
                if lines[start] == wanted[0] and lines[start : start + len(wanted)] == wanted:
                    return True
        return False

    def compiles(self, block):
        folders = ("include", "src", "tests", "samples/engines/common", "samples/host")
        command = [*self.compiler, "-fsyntax-only", "-x", "c++", "-"]
        command += [f"-I{self.root / folder}" for folder in folders]
        result = subprocess.run(command, input=block, text=True, stdout=subprocess.PIPE,
                                stderr=subprocess.STDOUT, check=False)
        if result.returncode == 0:
            return None
        return next((line for line in result.stdout.split("\n") if "error:" in line), "(no error named)")

    def sample_keys(self):
        keys = set()
        for path in (self.root / "samples/config").rglob("*.ini"):
            for line in path.read_bytes().decode("utf-16").splitlines():
                if "=" in line and not line.startswith(";"):
                    keys.add(without_numbers(line.split("=")[0].strip()))
        return keys

    def engine_names(self):
        return {path.stem for path in (self.root / "samples/engines").rglob("*.cpp")}

    def has_preset(self, name):
        return any(preset["name"] == name for preset in self.presets["configurePresets"])

    def find_program(self, name):
        """Returns the path of a script or of a program that was built, or None."""
        if name.startswith("scripts/"):
            script = self.root / name
            return script if script.exists() else None
        name = name.replace("\\", "/").split("/")[-1]
        for candidate in (name, f"{name}.exe"):
            found = self.build / "bin" / candidate
            if found.exists():
                return found
        return None

    def help_text(self, program):
        if program not in self.helps:
            self.helps[program] = self.help_of(program)
        return self.helps[program]


def without_numbers(key):
    return re.sub(r"\d+", "0", key)


def check_cpp(project, block, _):
    if project.stands_in(block, "*.cpp", "*.h", "*.c"):
        return
    error = project.compiles(block)
    if error:
        yield f"stands in no source file and does not compile: {error}"


def check_cmake(project, block, _):
    if not project.stands_in(block, "CMakeLists.txt", "*.cmake"):
        yield "stands in no CMakeLists.txt"


def check_ini(project, block, prose):
    parser = configparser.RawConfigParser(strict=True, delimiters=("=",), comment_prefixes=(";",))
    parser.optionxform = str
    try:
        parser.read_string(block)
    except configparser.Error as error:
        yield str(error).replace("\n", " ")
        return
    known = project.sample_keys() | {
        without_numbers(word) for _, line in prose for word in CODE.findall(line)}
    for section in parser.sections():
        for key in parser[section]:
            if without_numbers(key) not in known and key.split("_")[0] not in project.engine_names():
                yield f"unknown key: {key}"


def check_json(_, block, __):
    try:
        json.loads(block)
    except ValueError as error:
        yield f"no JSON: {error}"


def check_command(project, command):
    words = shlex.split(command, comments=True, posix="\\" not in command)
    while words and SHELL_PREFIX.match(words[0]):
        words.pop(0)
    if not words:
        return
    program, arguments = words[0].strip('"'), words[1:]
    for index, word in enumerate(arguments):
        if word == "--preset" and not project.has_preset(arguments[index + 1]):
            yield f"no such preset: {arguments[index + 1]}"
        if word.startswith("scripts/") and project.find_program(word) is None:
            yield f"no such script: {word}"
    if program in OTHER_PROGRAMS or program in ("cmake", "cpack"):
        return
    found = project.find_program(program)
    if found is None:
        yield f"no such program: {program}"
        return
    if found.name == "run-under-wine.sh":
        return
    text = project.help_text(found)
    # The command of a program that has several.
    if arguments and re.fullmatch("[a-z]+", arguments[0]) and not re.search(rf"\b{arguments[0]}\b", text):
        yield f"{program} knows no command {arguments[0]}"
    for word in arguments:
        option = word.split("=")[0]
        if option.startswith("--") and option != HELP and option not in text:
            yield f"{program} knows no option {option}"


def check_sh(project, block, _):
    # Lines may go on on the next.
    for command in block.replace("\\\n", " ").split("\n"):
        for part in re.split(r" && | \|\| | \| ", command.strip()):
            if part and not part.startswith("#"):
                yield from check_command(project, part)


CHECKS = {"cpp": check_cpp, "cmake": check_cmake, "ini": check_ini, "json": check_json, "sh": check_sh}


def check_document(project, path):
    """Returns the document's faults as [(line, fault), ...] and the number of its blocks."""
    prose, blocks = split(path.read_text(encoding="utf-8"))
    faults = list(check_anchors(path, prose))
    for number, language, block in blocks:
        if language in CHECKS:
            faults += [(number, fault) for fault in CHECKS[language](project, block, prose)]
        elif language != "text":
            faults.append((number, f"unknown kind of block: {language or '(none)'}"))
    for (number, line), (_, before) in zip(prose[1:], prose):
        # A block without a fence says not what it is.
        if line.startswith("    ") and not before.strip() and not re.match(r" +([-*|]|\d+\.|!\[) ?", line):
            if not is_in_list(prose, number):
                faults.append((number, "a block without a fence"))
    return sorted(faults), len(blocks)


def check_index(root):
    """Names the documents that a reader of the index would not find."""
    index = root / "docs/README.md"
    text = index.read_text(encoding="utf-8")
    for path in sorted(index.parent.glob("*.md")):
        if path != index and f"]({path.name})" not in text:
            yield f"docs/README.md:1: does not list {path.name}"


def is_in_list(prose, number):
    """Whether the last line that is not indented begins an item of a list."""
    for at, line in reversed(prose):
        if at < number and line.strip() and not line.startswith(" "):
            return bool(re.match(r"([-*]|\d+\.) ", line))
    return False


def ask_for_help(root):
    """Returns a function that runs a program, through Wine where it is one of Windows'."""

    def help_of(program):
        command = [str(program), HELP]
        if program.suffix == ".exe":
            command.insert(0, str(root / "scripts/run-under-wine.sh"))
        result = subprocess.run(command, stdin=subprocess.DEVNULL, stdout=subprocess.PIPE,
                                stderr=subprocess.STDOUT, check=False, timeout=120)
        return result.stdout.decode(errors="replace")

    return help_of


def main(arguments):
    parser = argparse.ArgumentParser(description=__doc__.split("\n\n")[0])
    parser.add_argument("root", type=Path, help="top folder of the project")
    parser.add_argument("build", type=Path, help="a build folder, with its programs")
    parser.add_argument("--compiler", default="x86_64-w64-mingw32-g++-win32",
                        help="what compiles the blocks of C++")
    options = parser.parse_args(arguments)
    root = options.root.resolve()
    googletest = os.environ.get("GOOGLETEST_FOLDER", "/usr/src/googletest")
    compiler = [options.compiler, "-std=c++20", "-DUNICODE", "-D_UNICODE", "-DNOMINMAX",
                "-DWIN32_LEAN_AND_MEAN", "-D_WIN32_WINNT=0x0601",
                f"-isystem{root}/tests/googletest", f"-isystem{googletest}/googletest/include", f"-isystem{googletest}/googlemock/include"]
    project = Project(root, options.build.resolve(), compiler, ask_for_help(root))

    count, faults, found = 0, [], documents(root)
    for path in found:
        wrong, blocks = check_document(project, path)
        count += blocks
        faults += [f"{path.relative_to(root)}:{line}: {fault}" for line, fault in wrong]
    faults += check_index(root)
    print("\n".join([*faults, f"{len(found)} documents, {count} blocks checked, {len(faults)} faults"]))
    return 1 if faults or not count else 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
