"""Tests of check_hygiene.py: each fault in a file of a small project."""

import contextlib
import io
import sys
import tempfile
import unittest
from pathlib import Path

sys.path.insert(0, str(Path(__file__).resolve().parent.parent))
import check_hygiene


class CheckHygieneTest(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.root = Path(folder.name)
        self.given("good.cpp", b"int main() {}\n")

    def given(self, name, content):
        path = self.root / name
        path.parent.mkdir(parents=True, exist_ok=True)
        path.write_bytes(content)

    def check(self):
        """Returns the exit status and the lines of faults."""
        output = io.StringIO()
        with contextlib.redirect_stdout(output):
            status = check_hygiene.main([str(self.root)])
        return status, output.getvalue().splitlines()[:-1]

    def expect_fault(self, name, content, *faults):
        self.given(name, content)
        self.assertEqual(self.check(), (1, [f"{name}:{fault}" for fault in faults]))

    def expect_clean(self, name, content):
        self.given(name, content)
        self.assertEqual(self.check(), (0, []))

    def test_clean_files(self):
        self.expect_clean("table.tsv", b"a\tb\n")
        self.expect_clean("empty.txt", b"")
        self.expect_clean("folder/umlaut.md", "für\n".encode())
        self.expect_clean("sample.ini", b"\xff\xfe" + "[ä]\r\n; 日本\r\n".encode("utf-16-le"))

    def test_tab(self):
        self.expect_fault("a.cpp", b"a\n\tb\n", "2: tab")

    def test_blank_at_the_end(self):
        self.expect_fault("a.cpp", b"a \nb\n", "1: blank at the end of the line")

    def test_a_tab_at_the_end_counts_where_tabs_are_allowed(self):
        self.expect_fault("a.tsv", b"a\tb\t\n", "1: blank at the end of the line")

    def test_carriage_return(self):
        self.expect_fault("a.cpp", b"a\r\nb\n", "1: carriage return")

    def test_missing_line_end(self):
        self.expect_fault("a.cpp", b"a\nb", "2: no line end at the end of the file")

    def test_byte_order_mark(self):
        self.expect_fault("a.cpp", b"\xef\xbb\xbfa\n", "1: byte-order mark")

    def test_other_encoding(self):
        self.expect_fault("a.cpp", b"a\n\xe4\n", "2: not UTF-8")

    def test_marks_of_unfinished_work(self):
        for mark in ("TO" "DO", "FIX" "ME", "X" "XX", "HA" "CK", "DISABLE" "D_", "GTEST_SKI" "P"):
            with self.subTest(mark=mark):
                self.expect_fault("a.md", f"\n// {mark}\n".encode(), f"2: unfinished: {mark}")

    def test_ini_without_mark(self):
        self.expect_fault("samples/a.ini", b"[a]\r\n", "1: no UTF-16 byte-order mark")

    def test_ini_with_half_a_character(self):
        self.expect_fault("a.ini", b"\xff\xfe[", "1: not UTF-16: truncated data")

    def test_ini_with_other_line_ends(self):
        content = b"\xff\xfe" + "[a]\r\nb=1\nc=2\r\n".encode("utf-16-le")
        self.expect_fault("a.ini", content, "2: line end is not CR LF")

    def test_ini_is_checked_like_other_text(self):
        content = b"\xff\xfe" + "[a] \r\nb=1".encode("utf-16-le")
        self.expect_fault(
            "a.ini", content, "1: blank at the end of the line", "2: no line end at the end of the file"
        )

    def test_built_files_and_pictures_are_left_alone(self):
        self.given("build/a.cpp", b"\t")
        self.given(".git/a", b"\t")
        self.expect_clean("a.png", b"\x00\t")

    def test_links_to_files_that_are_there(self):
        self.given("docs/images/a.png", b"")
        self.expect_clean("docs/a.md", b"![A](images/a.png) [b](../good.cpp) [c](a.md#d) [e](../docs)\n")

    def test_links_to_elsewhere(self):
        self.expect_clean("a.md", b"[a](https://localhost/none.md) [b](#part)\n")

    def test_dead_links(self):
        self.expect_fault(
            "docs/a.md",
            b"[b](good.cpp)\n![A](images/a.png) [c](c.md#d)\n",
            "1: no such file: good.cpp",
            "2: no such file: c.md",
            "2: no such file: images/a.png",
        )

    def test_only_documents_have_links(self):
        self.expect_clean("a.cpp", b"values[0](none);\n")

    def test_a_folder_without_files_was_named_by_mistake(self):
        (self.root / "good.cpp").unlink()
        self.assertEqual(self.check(), (1, []))


if __name__ == "__main__":
    unittest.main()
