"""Tests of run_tests.py, with programs that are made here."""

import contextlib
import io
import os
import sys
import tempfile
import unittest
from pathlib import Path

sys.path.insert(0, str(Path(__file__).resolve().parent.parent))
import run_tests

# Lists its tests as GoogleTest does; those named "Bad" fail.
PROGRAM = """#!/bin/sh
case $1 in
  --gtest_list_tests) printf 'Suite.\\n  Good\\nAll/Suite.\\n  {name}/0  # GetParam() = 1\\n' ;;
  *) echo "$RUNNER ran $1"; case $1 in *Bad*) exit 1 ;; esac ;;
esac
"""


class RunTestsTest(unittest.TestCase):
    def run_programs(self, name, *options):
        with tempfile.TemporaryDirectory() as folder:
            program = Path(folder, "program")
            program.write_text(PROGRAM.format(name=name))
            program.chmod(0o755)
            output = io.StringIO()
            with contextlib.redirect_stdout(output):
                status = run_tests.main([*options, str(program)])
        return status, output.getvalue()

    def test_all_pass(self):
        status, output = self.run_programs("Fine")
        self.assertEqual(status, 0)
        self.assertIn("2 passed, 0 failed\n", output)
        self.assertNotIn("FAILED", output)

    def test_one_fails(self):
        status, output = self.run_programs("Bad")
        self.assertEqual(status, 1)
        self.assertIn("FAILED All/Suite.Bad/0", output)
        self.assertIn("ran --gtest_filter=All/Suite.Bad/0", output)
        self.assertIn("1 passed, 1 failed\n", output)

    def test_runner(self):
        os.environ.pop("RUNNER", None)
        _, output = self.run_programs("Bad", "--runner=env", "--runner=RUNNER=wrapper")
        self.assertIn("wrapper ran", output)


if __name__ == "__main__":
    unittest.main()
