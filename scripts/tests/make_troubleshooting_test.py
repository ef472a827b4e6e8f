import io
import sys
import tempfile
import unittest
from contextlib import redirect_stderr, redirect_stdout
from pathlib import Path
from unittest.mock import patch

sys.path.insert(0, str(Path(__file__).resolve().parent.parent))
import make_troubleshooting  # noqa: E402
from make_troubleshooting import BEGIN, END, Rule  # noqa: E402

HEAD = "function\tline\tmessage\tcondition\tunreachable-because\n"
RULES = [Rule("A::.*", "^broken", "Mend it."), Rule(".*", "failed$", "Look before.")]


class MakeTroubleshootingTest(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.table = Path(folder.name, "table.tsv")
        self.document = Path(folder.name, "document.md")
        self.document.write_text(f"before\n{BEGIN}\nold\n{END}\nafter\n", encoding="utf-8")

    def run_with(self, rows, *arguments):
        self.table.write_text(HEAD + rows, encoding="utf-8")
        self.errors = io.StringIO()
        with (
            patch.object(make_troubleshooting, "RULES", RULES),
            redirect_stdout(io.StringIO()),
            redirect_stderr(self.errors),
        ):
            return make_troubleshooting.main(
                ["--table", str(self.table), "--document", str(self.document), *arguments]
            )

    ROWS = (
        "A::F\t2\t%lu\tbroken; the error\n"
        "A::F\t1\tNo Additional Information\tG failed; result 100\n"
        "B::H\t3\t%s\tX failed\tnobody does\n"
    )

    def test_writes_each_failure_between_the_marks(self):
        self.assertEqual(self.run_with(self.ROWS), 0)
        text = self.document.read_text(encoding="utf-8")
        self.assertTrue(text.startswith(f"before\n{BEGIN}\n"))
        self.assertTrue(text.endswith(f"{END}\nafter\n"))
        self.assertNotIn("old", text)
        self.assertIn(
            "### A\n\n| event | what it means | what to do |\n|---|---|---|\n"
            "| F 1 | G failed. Result 100. | Look before. |\n"
            "| F 2 | Broken. Message: the error. | Mend it. |\n",
            text,
        )
        self.assertIn("| H 3 | X failed. Not expected: nobody does. | A mistake in", text)

    def test_tells_a_document_that_is_out_of_date(self):
        before = self.document.read_text(encoding="utf-8")
        self.assertEqual(self.run_with(self.ROWS, "--check"), 1)
        self.assertIn("is out of date", self.errors.getvalue())
        self.assertEqual(self.document.read_text(encoding="utf-8"), before)
        self.assertEqual(self.run_with(self.ROWS), 0)
        self.assertEqual(self.run_with(self.ROWS, "--check"), 0)

    def test_wants_an_advice_for_each_failure(self):
        self.assertEqual(self.run_with(self.ROWS + "C::I\t4\t%lu\tstrange\n"), 1)
        self.assertIn("C::I 4: no rule says what to do: strange", self.errors.getvalue())

    def test_wants_a_use_for_each_rule(self):
        self.assertEqual(self.run_with("B::H\t3\t%s\tX failed\n"), 1)
        self.assertIn("the rule '^broken' for 'A::.*' fits no failure", self.errors.getvalue())

    def test_shows_marks_of_tables_as_text(self):
        self.assertEqual(self.run_with(self.ROWS + "C::I\t4\t%lu\ta < b | c failed\n"), 0)
        self.assertIn("| I 4 | A &lt; b \\| c failed. |", self.document.read_text(encoding="utf-8"))


if __name__ == "__main__":
    unittest.main()
