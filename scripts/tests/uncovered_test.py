"""Tests of uncovered.py: reports of a few lines, and what it says about them."""

import contextlib
import io
import json
import sys
import tempfile
import unittest
from pathlib import Path

sys.path.insert(0, str(Path(__file__).resolve().parent.parent))
import uncovered


def line(number, count, branches=(), **more):
    return {"line_number": number, "count": count, "branches": list(branches), **more}


class UncoveredTest(unittest.TestCase):
    def test_names_lines_that_did_not_run(self):
        lines = [line(1, 3), line(2, 0)]
        self.assertEqual(
            uncovered.faults_of(lines, ["int a;", "  return a;"]), ([(2, "return a;")], [])
        )

    def test_counts_the_branches_of_a_line_that_ran(self):
        lines = [line(1, 3, [{"count": 3}, {"count": 0}]), line(2, 1, [{"count": 1}, {"count": 2}])]
        self.assertEqual(
            uncovered.faults_of(lines, ["if (a)", "if (b)"]), ([], [(1, "1 of 2 branches: if (a)")])
        )

    def test_leaves_out_branches_that_only_an_exception_takes(self):
        lines = [line(1, 3, [{"count": 3}, {"count": 0, "throw": True}])]
        self.assertEqual(uncovered.faults_of(lines, ["call();"]), ([], []))

    def test_leaves_out_what_is_no_code(self):
        lines = [line(1, 0, **{"gcovr/noncode": True})]
        self.assertEqual(uncovered.faults_of(lines, ["}"]), ([], []))

    def test_reports_a_whole_file(self):
        with tempfile.TemporaryDirectory() as folder:
            code = Path(folder, "code.cpp")
            code.write_text("if (a)\n  f();\n")
            report = Path(folder, "report.json")
            lines = [line(1, 1, [{"count": 1}, {"count": 0}]), line(2, 0)]
            report.write_text(json.dumps({"files": [{"file": str(code), "lines": lines}]}))
            output = io.StringIO()
            with contextlib.redirect_stdout(output):
                self.assertEqual(uncovered.main([str(report)]), 0)
        self.assertEqual(
            output.getvalue(),
            f"Lines that did not run:\n{code}:2: f();\n\n"
            f"Branches that were not taken:\n{code}:1: 1 of 2 branches: if (a)\n\n",
        )


if __name__ == "__main__":
    unittest.main()
