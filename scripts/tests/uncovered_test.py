"""Tests of uncovered.py: a report of one small file, and what has to be said about its gaps."""

import contextlib
import io
import json
import sys
import tempfile
import unittest
from pathlib import Path

sys.path.insert(0, str(Path(__file__).resolve().parent.parent))
import trace_coverage
import uncovered

PROJECT = Path(__file__).resolve().parent.parent.parent
CODE = """\
bool A::B() {
  if (!f()) {
    g();
    return trace.Write(L"A::B", 7);
  }
  return true;
}
"""


def line(number, count, *branches, **more):
    return {
        "line_number": number,
        "count": count,
        "branches": [{"count": taken} for taken in branches],
        **more,
    }


RAN = (line(1, 3), line(2, 3, 1, 2), line(3, 1), line(4, 1), line(6, 2))
FAILURE_LEFT_OUT = (line(1, 3), line(2, 3, 0, 3), line(3, 0), line(4, 0), line(6, 3))


class UncoveredTest(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.folder = Path(folder.name)
        (self.folder / "src").mkdir()
        (self.folder / "src" / "a.cpp").write_text(CODE)
        self.given_points("A::B\t7\tNo Additional Information\tf failed")
        self.given_reasons()
        self.given_report(*RAN)

    def given_points(self, *rows):
        header = "\t".join(trace_coverage.COLUMNS)
        (self.folder / "points.tsv").write_text("\n".join((header, *rows)) + "\n")

    def given_reasons(self, *rows):
        header = "\t".join(uncovered.COLUMNS)
        (self.folder / "reasons.tsv").write_text("\n".join((header, *rows)) + "\n")

    def given_report(self, *lines):
        report = {"files": [{"file": "src/a.cpp", "lines": list(lines)}]}
        (self.folder / "report.json").write_text(json.dumps(report))

    def run_judgement(self):
        """Returns the exit status, what was printed, and what was written, if anything was."""
        written = self.folder / "coverage.md"
        arguments = [str(self.folder / "report.json"), "--root", str(self.folder)]
        for option, name in (("points", "points.tsv"), ("reasons", "reasons.tsv")):
            arguments += [f"--{option}", str(self.folder / name)]
        arguments += ["--write", str(written)]
        output = io.StringIO()
        with contextlib.redirect_stdout(output):
            status = uncovered.main(arguments)
        return status, output.getvalue(), written.read_text() if written.exists() else None

    def expect_no_faults(self):
        status, output, written = self.run_judgement()
        self.assertEqual(status, 0, output)
        self.assertIsNotNone(written)
        return written

    def expect_faults(self, *faults):
        status, output, written = self.run_judgement()
        self.assertEqual(output.splitlines()[:-1], list(faults))
        self.assertEqual(status, 1)
        self.assertIsNone(written)

    def test_counts_what_ran(self):
        written = self.expect_no_faults()
        self.assertIn("| lines | 5 of 5 (100.0%) | 5 of 5 (100.0%) |", written)
        self.assertIn("| branches | 2 of 2 (100.0%) | 2 of 2 (100.0%) |", written)

    def test_wants_a_reason_for_each_gap(self):
        self.given_report(*FAILURE_LEFT_OUT)
        self.expect_faults(
            "no reason: src/a.cpp:2 (1 branches): if (!f()) {",
            "no reason: src/a.cpp:3: g();",
            'no reason: src/a.cpp:4: return trace.Write(L"A::B", 7);',
        )

    def test_finds_the_reason_of_a_failure_point_out_of_reach(self):
        self.given_report(*FAILURE_LEFT_OUT)
        self.given_points("A::B\t7\tNo Additional Information\tf failed\tf can't fail")
        written = self.expect_no_faults()
        self.assertIn("## F can't fail", written)
        self.assertIn("| a.cpp | `g();` | the line |", written)
        self.assertIn("| lines | 3 of 5 (60.0%) | 3 of 3 (100.0%) |", written)
        self.assertIn("| branches | 1 of 2 (50.0%) | 1 of 1 (100.0%) |", written)

    def test_a_failure_point_is_no_reason_for_other_code(self):
        self.given_report(*RAN[:-1], line(6, 0))
        self.given_points("A::B\t7\tNo Additional Information\tf failed\tf can't fail")
        self.expect_faults("no reason: src/a.cpp:6: return true;")

    def test_finds_the_reason_in_the_table(self):
        self.given_report(*RAN[:-1], line(6, 0))
        self.given_reasons("src/a.cpp\treturn true;\tline\tnobody lives to see it")
        self.assertIn("## Nobody lives to see it", self.expect_no_faults())

    def test_a_reason_is_for_as_many_branches_as_it_says(self):
        self.given_report(RAN[0], line(2, 3, 0, 0, 1), *RAN[2:])
        self.given_reasons("src/a.cpp\tif (!f()) {\t1\tf works")
        self.expect_faults(
            "no reason: src/a.cpp:2 (2 branches): if (!f()) {",
            "explains nothing: src/a.cpp if (!f()) { 1",
        )

    def test_wants_no_reason_that_explains_nothing(self):
        self.given_reasons("src/a.cpp\tg();\tline\tg was removed")
        self.expect_faults("explains nothing: src/a.cpp g(); line")

    def test_wants_whole_rows(self):
        self.given_reasons("src/a.cpp\tg();\tline", "src/a.cpp\tg();\tline\t")
        reasons = self.folder / "reasons.tsv"
        self.expect_faults(
            f"{reasons}:2: not a row of 4 filled columns", f"{reasons}:3: not a row of 4 filled columns"
        )

    def test_a_report_of_nothing_is_a_fault(self):
        self.given_report()
        self.expect_faults(f"{self.folder / 'report.json'}: no lines of code")

    def test_leaves_out_branches_that_only_an_exception_takes(self):
        thrown = line(1, 3, 3)
        thrown["branches"].append({"count": 0, "throw": True})
        self.given_report(thrown, *RAN[1:])
        self.assertIn("| branches | 3 of 3 (100.0%)", self.expect_no_faults())

    def test_leaves_out_what_is_no_code(self):
        self.given_report(*RAN, line(7, 0, **{"gcovr/noncode": True}))
        self.assertIn("| lines | 5 of 5 (100.0%)", self.expect_no_faults())

    def test_the_projects_table_is_about_code_that_is_there(self):
        reasons, faults = uncovered.read_reasons(PROJECT / "tests" / "uncovered.tsv")
        self.assertEqual(faults, [])
        for file, code, _ in reasons:
            lines = (PROJECT / file).read_text(encoding="utf-8").splitlines()
            self.assertIn(code, [text.strip() for text in lines], file)


if __name__ == "__main__":
    unittest.main()
