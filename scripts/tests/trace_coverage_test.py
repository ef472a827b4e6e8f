"""Tests of trace_coverage.py: a small project of one failure point, and every way to disagree."""

import contextlib
import io
import os
import sys
import tempfile
import unittest
from pathlib import Path
from unittest import mock

sys.path.insert(0, str(Path(__file__).resolve().parent.parent))
import trace_coverage

HEADER = "\t".join(trace_coverage.COLUMNS)


class TraceCoverageTest(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.folder = Path(folder.name)
        for name in ("code", "observed"):
            (self.folder / name).mkdir()
        self.given_code('bool A::B() { return trace.WriteUInt(L"A::B", 7, error); }')
        self.given_table("A::B\t7\t%lu\tit fails; the error")
        self.given_observed("A::B\t7\t5")

    def given_code(self, text, name="A.cpp"):
        (self.folder / "code" / name).write_text(text, encoding="utf-8")

    def given_table(self, *rows, header=HEADER):
        (self.folder / "table.tsv").write_text("\n".join((header, *rows)) + "\n", encoding="utf-8")

    def given_observed(self, *lines, name="1.tsv"):
        text = "".join(line + "\n" for line in lines)
        (self.folder / "observed" / name).write_text(text, encoding="utf-8")

    def run_report(self, is_whole_run=True):
        """Returns the exit status and the report."""
        arguments = ["--report", str(self.folder / "report.txt")]
        for option, name in (("code", "code"), ("table", "table.tsv"), ("observed", "observed")):
            arguments += [f"--{option}", str(self.folder / name)]
        output = io.StringIO()
        environment = {"VELTO_WHOLE_RUN": "1" if is_whole_run else ""}
        with mock.patch.dict(os.environ, environment), contextlib.redirect_stdout(output):
            status = trace_coverage.main(arguments)
        self.assertEqual((self.folder / "report.txt").read_text(encoding="utf-8"), output.getvalue())
        return status, output.getvalue()

    def expect_agreement(self):
        status, report = self.run_report()
        self.assertEqual(status, 0, report)
        return report

    def expect_errors(self, *errors, is_whole_run=True):
        status, report = self.run_report(is_whole_run)
        found = [line[len("  error: ") :] for line in report.splitlines() if "  error: " in line]
        self.assertEqual(status, 1, report)
        self.assertEqual(len(found), len(errors), report)
        for line, error in zip(found, errors):
            self.assertIn(error, line)

    # Agreement

    def test_agreement_prints_the_figures(self):
        report = self.expect_agreement()
        self.assertEqual(
            report,
            "Trace coverage: 1 failure points in the code, 1 observed, 0 unreachable, "
            "0 not observed\n",
        )

    def test_an_unreachable_point_need_not_be_observed_and_is_reported_with_its_reason(self):
        self.given_observed()
        self.given_table("A::B\t7\t%lu\tit fails; the error\tnothing fails there")
        report = self.expect_agreement()
        self.assertIn("0 observed, 1 unreachable, 0 not observed", report)
        self.assertIn("  unreachable: A::B 7: nothing fails there\n", report)

    def test_several_files_of_a_run_count_together(self):
        self.given_code('trace.Write(L"A::B", 7);\ntrace.Write(L"A::B", 8);')
        self.given_table(
            "A::B\t7\tNo Additional Information\tfirst", "A::B\t8\tNo Additional Information\tsecond"
        )
        self.given_observed("A::B\t7\tNo Additional Information")
        self.given_observed("A::B\t8\tNo Additional Information", name="2.tsv")
        self.assertIn("2 observed", self.expect_agreement())

    # What counts as a point

    def expect_points(self, code, *points):
        self.given_code(code)
        found, problems = trace_coverage.read_code(self.folder / "code")
        self.assertEqual(problems, [])
        self.assertEqual(sorted(found), sorted(points))

    def test_every_kind_of_write_is_a_point(self):
        self.expect_points(
            'trace.Write(L"A::B", 1); trace.WriteUInt(L"A::B", 2, x); trace.WriteInt(L"A::B", 3, x);'
            'trace.WriteUIntPair(L"A::B", 4, x, y); TraceLog().WriteTextUInt(L"A::B", 5, t, x);'
            'Write(L"DllMain", 6);',
            *[("A::B", number) for number in range(1, 6)],
            ("DllMain", 6),
        )

    def test_braces_hold_a_point_that_is_handed_on(self):
        self.expect_points(
            'GetText({L"A::B", 1}, kSection); Make({.file = {L"A::B",\n 2}, .key = TracePoint{L"A::B", 3}});'
            "trace.Write(point.function, point.line); trace.Write(p.file.function, p.file.line, text);",
            ("A::B", 1),
            ("A::B", 2),
            ("A::B", 3),
        )

    def test_wrapped_calls_and_wrapped_names_are_read(self):
        self.expect_points(
            'return trace.WriteUInt(\n    L"Window::`anonymous-namespace\'::"\n    L"OnMessage",\n    12,\n    x);',
            ("Window::`anonymous-namespace'::OnMessage", 12),
        )

    def test_other_texts_with_numbers_are_no_points(self):
        self.expect_points(
            'ReadInt(path, L"ModeCount", 0); Font f = {L"TitleSize", 9}; WriteIniInt(L"Common", 1);'
            "trace.Write(L\"A::B\", 1); c = '\"';",
            ("A::B", 1),
        )

    def test_comments_are_no_points(self):
        self.expect_points(
            '/// trace.Write(L"C::D", 2);\n/* trace.Write(L"C::D", 3); */\n'
            'const char* url = "http://x"; trace.Write(L"A::B", 1);',
            ("A::B", 1),
        )

    def test_other_files_are_not_read(self):
        self.given_code('trace.Write(L"C::D", 2);', name="notes.txt")
        self.expect_agreement()

    # Disagreements

    def test_a_point_missing_in_the_table(self):
        self.given_code('\ntrace.Write(L"C::D", 3);', name="C.cpp")
        self.expect_errors("C::D 3: in the code (C.cpp:2), missing in the table")

    def test_a_point_missing_in_the_code(self):
        self.given_table("A::B\t7\t%lu\tit fails", "C::D\t3\t%lu\tit fails\tnever")
        self.expect_errors("C::D 3: in the table, missing in the code")

    def test_a_number_used_twice_in_a_function(self):
        self.given_code('\n\nMake({L"A::B", 7});', name="C.cpp")
        self.expect_errors("A::B 7: the number is used more than once (A.cpp:1, C.cpp:3)")

    def test_a_reachable_point_that_was_not_observed(self):
        self.given_observed()
        status, report = self.run_report()
        self.assertEqual(status, 1)
        self.assertIn("0 observed, 0 unreachable, 1 not observed\n", report)
        self.assertIn("  not observed: A::B 7: it fails; the error\n", report)

    def test_a_run_of_some_tests_need_not_observe_all_points(self):
        self.given_observed()
        status, report = self.run_report(is_whole_run=False)
        self.assertEqual(status, 0)
        self.assertIn("1 not observed (for information: not announced as a run of all tests)", report)

    def test_an_observed_point_missing_in_the_table(self):
        self.given_observed("A::B\t7\t5", "A::B\t8\t5")
        self.expect_errors("A::B 8: observed, missing in the table")

    def test_an_observed_point_that_is_listed_as_unreachable(self):
        self.given_table("A::B\t7\t%lu\tit fails\tnever")
        self.expect_errors("A::B 7: observed, listed as unreachable")

    def test_a_disagreement_counts_in_a_run_of_some_tests_too(self):
        self.given_observed("A::B\t8\t5")
        self.expect_errors("A::B 8: observed, missing in the table", is_whole_run=False)

    def test_messages_have_to_fit_the_format(self):
        information = "No Additional Information"
        cases = {
            information: (("No Additional Information",), ("", "no additional information", "5")),
            "%lu": (("0", "4294967295"), ("", "-1", "4294967296", "05", "5 ", "five", information)),
            "%ld": (
                ("0", "-1", "2147483647", "-2147483648"),
                ("", "2147483648", "-2147483649", "-0", "+5", information),
            ),
            "%lu, %lu": (("0, 4294967295",), ("5", "5,6", "5, -6", "1, 2, 3", "4294967296, 0")),
            "%s, %lu": (("C:\\a.ini, 5", ", 5", "a, b, 5"), ("5", "C:\\a.ini", "C:\\a.ini, -5")),
            "%s": (("C:\\a.ini", "", "5"), (information,)),
        }
        self.assertEqual(cases.keys(), trace_coverage.MESSAGE_FITS.keys())
        for message_format, (fitting, others) in cases.items():
            self.given_table(f"A::B\t7\t{message_format}\tit fails")
            for message in fitting:
                with self.subTest(format=message_format, message=message):
                    self.given_observed(f"A::B\t7\t{message}")
                    self.expect_agreement()
            for message in others:
                with self.subTest(format=message_format, message=message):
                    self.given_observed("A::B\t7\t" + message)
                    self.expect_errors(f"the message '{message}' is no '{message_format}'")

    def test_a_point_that_is_not_written_as_literals(self):
        self.given_code(
            '\ntrace.Write(kName, 8);\ntrace->WriteInt(\n  name, 9, x);\ntrace.Write(L"A::B", kLine);'
            '\nconstexpr auto kName = L"C::D";',
            name="C.cpp",
        )
        self.expect_errors(
            "C.cpp:5: A::B: no number of a failure point",
            "C.cpp:6: C::D: no number of a failure point",
            "C.cpp:2: the failure point is not written as literals",
            "C.cpp:3: the failure point is not written as literals",
        )

    def test_code_without_points(self):
        self.given_code("")
        self.expect_errors("no failure points found", "A::B 7: in the table, missing in the code")

    def test_faults_of_the_table(self):
        good = "A::B\t7\t%lu\tit fails; the error"
        for row, error in (
            ("A::B\t7\t%lu\tagain", "table.tsv:3: A::B 7: listed twice"),
            ("A::B\t8\t%d\tit fails", "table.tsv:3: A::B 8: unknown message format '%d'"),
            ("A::B\t8\t%lu\t \t", "table.tsv:3: A::B 8: no condition"),
            ("A::B\t8\t%lu", "table.tsv:3: not a row of 5 columns with a number"),
            ("A::B\tx\t%lu\tit fails", "table.tsv:3: not a row of 5 columns with a number"),
        ):
            with self.subTest(row=row):
                self.given_table(good, row)
                self.expect_errors(error)

    def test_a_table_with_other_columns(self):
        self.given_table("A::B\t7", header="function\tline")
        self.expect_errors(
            "the first line has to name the columns",
            "A::B 7: in the code (A.cpp:1), missing in the table",
            "A::B 7: observed, missing in the table",
        )

    def test_an_observed_line_of_another_form(self):
        self.given_observed("A::B\t7\t5", "A::B 7 5")
        self.expect_errors("1.tsv:2: not 'function<TAB>number<TAB>message'")


if __name__ == "__main__":
    unittest.main()
