#!/usr/bin/env python3
"""Runs test programs without CMake: each test in a process of its own, as CTest does.

For a machine that has a build's programs but not its tools, such as a Windows machine that gets
them from the machine that cross-compiled them.
"""

import argparse
import concurrent.futures
import os
import subprocess
import sys
import time

TIMEOUT_SECONDS = 120


def list_tests(runner, program):
    """Returns the names of a program's tests: "Suite.Test", "Instance/Suite.Test/0"."""
    listing = subprocess.run([*runner, program, "--gtest_list_tests"], stdout=subprocess.PIPE,
                             check=True, timeout=TIMEOUT_SECONDS).stdout.decode()
    tests, suite = [], ""
    for line in listing.splitlines():
        name = line.split("#")[0].rstrip()
        if line.startswith("  "):
            tests.append(suite + name.strip())
        elif name.endswith("."):
            suite = name
    return tests


def run_test(runner, program, test):
    """Returns (passed, output)."""
    try:
        result = subprocess.run([*runner, program, f"--gtest_filter={test}"], stdin=subprocess.DEVNULL,
                                stdout=subprocess.PIPE, stderr=subprocess.STDOUT, check=False,
                                timeout=TIMEOUT_SECONDS)
    except subprocess.TimeoutExpired as error:
        return False, f"{(error.output or b'').decode(errors='replace')}\nstill running after {TIMEOUT_SECONDS} s"
    return result.returncode == 0, result.stdout.decode(errors="replace")


def main(arguments):
    parser = argparse.ArgumentParser(description=__doc__.split("\n\n")[0])
    parser.add_argument("programs", nargs="+", help="programs made with GoogleTest")
    parser.add_argument("--runner", action="append", default=[],
                        help="what starts the programs; again for each of its arguments")
    parser.add_argument("--parallel", type=int, default=os.cpu_count(), help="tests at a time")
    options = parser.parse_args(arguments)

    started = time.monotonic()
    tests = [(program, test) for program in options.programs
             for test in list_tests(options.runner, program)]
    # Two tests can't share the keyboard.
    alone = [entry for entry in tests if "FocusTest." in entry[1]]
    together = [entry for entry in tests if entry not in set(alone)]
    failed = []

    def run(entry):
        passed, output = run_test(options.runner, *entry)
        if not passed:
            failed.append(entry[1])
            print(f"FAILED {entry[1]} ({entry[0]})\n{output}", flush=True)

    with concurrent.futures.ThreadPoolExecutor(options.parallel) as pool:
        list(pool.map(run, together))
    for entry in alone:
        run(entry)

    print(f"{len(tests)} tests in {time.monotonic() - started:.0f} s")
    print(f"{len(tests) - len(failed)} passed, {len(failed)} failed")
    return 1 if failed or not tests else 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
