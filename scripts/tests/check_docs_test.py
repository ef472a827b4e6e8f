"""Tests of check_docs.py: each fault in a document of a small project."""

import sys
import tempfile
import unittest
from pathlib import Path

sys.path.insert(0, str(Path(__file__).resolve().parent.parent))
import check_docs


class CheckDocsTest(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.root = Path(folder.name)
        self.given("CMakePresets.json", '{"configurePresets": [{"name": "release"}]}')
        self.given("src/Code.cpp", "void First();\n  void Second();\n")
        self.given("tests/CMakeLists.txt", "add_library(a a.cpp)\nadd_library(b b.cpp)\n")
        self.given("scripts/demo.sh", "")
        self.given("build/bin/tool.exe", "")
        self.given("samples/engines/Fan.cpp", "")
        self.given_bytes("samples/config/A.ini", "[A]\r\nItem0=1\r\n".encode("utf-16"))
        self.compiler = ["sh", "-c", "! grep -n broken | sed s/^/error:/ | grep error:"]

    def given_bytes(self, name, content):
        path = self.root / name
        path.parent.mkdir(parents=True, exist_ok=True)
        path.write_bytes(content)

    def given(self, name, content):
        self.given_bytes(name, content.encode())

    def faults(self, text):
        self.given("docs/page.md", text)
        project = check_docs.Project(self.root, self.root / "build", self.compiler,
                                     lambda program: f"{program.name}: list, --json")
        faults, self.count = check_docs.check_document(project, self.root / "docs/page.md")
        return faults

    def block(self, language, text):
        return f"# Page\n\n```{language}\n{text}\n```\n"

    def expect_clean(self, language, text):
        self.assertEqual(self.faults(self.block(language, text)), [])
        self.assertEqual(self.count, 1)

    def expect_fault(self, language, text, *faults):
        self.assertEqual(self.faults(self.block(language, text)), [(3, fault) for fault in faults])

    def test_links_to_places(self):
        self.given("docs/other.md", "# The `Other` page: one\n## Twice\n## Twice\n")
        good = "[a](#page) [b](other.md#the-other-page-one) [c](other.md#twice-1) [d](http://x#y)\n"
        self.assertEqual(self.faults("# Page\n" + good), [])
        self.assertEqual(self.faults("# Page\n[a](#no) [b](other.md#twice-2)\n"),
                         [(2, "no such heading: #no"), (2, "no such heading: other.md#twice-2")])

    def test_headings_in_blocks_are_none(self):
        self.assertEqual(self.faults("[a](#inside)\n```text\n# Inside\n```\n"),
                         [(1, "no such heading: #inside")])

    def test_kinds_of_blocks(self):
        self.expect_clean("text", "anything")
        self.expect_fault("", "anything", "unknown kind of block: (none)")
        self.expect_fault("perl", "anything", "unknown kind of block: perl")
        self.assertEqual(self.faults("```text\nopen\n"), [(1, "unknown kind of block: (not closed)")])

    def test_blocks_without_a_fence(self):
        self.assertEqual(self.faults("Text:\n\n    block\n"), [(3, "a block without a fence")])
        self.assertEqual(self.faults("1. Text\n\n    more of it\n"), [])

    def test_cpp(self):
        self.expect_clean("cpp", "void First();\nvoid Second();")
        self.expect_clean("cpp", "int compiles;")
        [(line, fault)] = self.faults(self.block("cpp", "broken"))
        self.assertEqual(line, 3)
        self.assertIn("stands in no source file and does not compile: error:1:broken", fault)

    def test_cmake(self):
        self.expect_clean("cmake", "add_library(a a.cpp)\nadd_library(b b.cpp)")
        self.expect_fault("cmake", "add_library(b b.cpp)\nadd_library(a a.cpp)",
                          "stands in no CMakeLists.txt")

    def test_ini(self):
        self.expect_clean("ini", "[A]\nItem7=1\nFan_Name=x")
        self.expect_fault("ini", "[A]\nOther=1", "unknown key: Other")
        self.assertEqual(self.faults("`Other`\n\n```ini\n[A]\nOther=1\n```\n"), [])
        [(_, fault)] = self.faults(self.block("ini", "[A]\nItem0=1\nItem0=2"))
        self.assertIn("already exists", fault)

    def test_json(self):
        self.expect_clean("json", '{"a": 1}')
        [(_, fault)] = self.faults(self.block("json", "{a: 1}"))
        self.assertIn("no JSON", fault)

    def test_sh(self):
        self.expect_clean("sh", "scripts/demo.sh --json   # a comment\nLC_ALL=C tool list --json\n"
                          "cmake --preset release && git status")
        self.expect_fault("sh", "scripts/none.sh", "no such program: scripts/none.sh")
        self.expect_fault("sh", "tool.exe --jsn", "tool.exe knows no option --jsn")
        self.expect_fault("sh", "tool lost", "tool knows no command lost")
        self.expect_fault("sh", "cmake --preset relaese", "no such preset: relaese")
        self.expect_fault("sh", "git status && unknown", "no such program: unknown")

    def test_index(self):
        self.given("docs/page.md", "")
        self.given("docs/README.md", "[page](page.md) [other](pages.md)")
        self.assertEqual(list(check_docs.check_index(self.root)), [])
        self.given("docs/pages.html.md", "")
        self.assertEqual(list(check_docs.check_index(self.root)),
                         ["docs/README.md:1: does not list pages.html.md"])


if __name__ == "__main__":
    unittest.main()
