# SPDX-License-Identifier: MIT
"""docs/walker.md shows what a walk finds: the worked example, the example program, and the answer
of a server. The environment names the programs (KT, KTD) and the example (WALKER).
"""

import re
import tempfile
import unittest
from pathlib import Path

from documents import ROOT, block, consoles
from programs import Daemon, ProgramTest, kt, run

PAGE = "docs/walker.md"


class WorkedExample(ProgramTest):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.folder = Path(folder.name)
        self.paths = block(PAGE, "tree").splitlines()
        for path in self.paths:
            whole = self.folder / path
            if path.endswith("/"):
                whole.mkdir()
            else:
                whole.touch()

    def reported(self):
        """Returns the paths that the table of calls reports."""
        page = (ROOT / PAGE).read_text(encoding="utf-8")
        return re.findall(r'^\| `fileFound\("(.*)"\)`', page, re.MULTILINE)

    def test_reports_same_files_as_walk(self):
        walked = kt("walk", "--type", "txt", "home.txt", cwd=self.folder)
        self.assertEqual(sorted(walked.stdout.splitlines()), sorted(self.reported()))

    def test_reports_files_in_order_of_tree(self):
        order = [path.rstrip("/") for path in self.paths]
        self.assertEqual(self.reported(), sorted(self.reported(), key=order.index))

    def test_asks_once_per_directory(self):
        page = (ROOT / PAGE).read_text(encoding="utf-8")
        self.assertEqual(len(re.findall(r"^\| `wantsAbort\(\)` \|", page, re.MULTILINE)),
                         sum(path.endswith("/") for path in self.paths))

    def test_example_program_prints_same_as_kt_walk(self):
        root = str(self.folder / "home.txt")
        self.assert_result(run("WALKER", root), 0, kt("walk", "--type", "txt", root).stdout)

    def test_example_program_ends_after_100_files(self):
        for number in range(150):
            (self.folder / f"{number}.txt").touch()
        result = run("WALKER", str(self.folder), str(self.folder / "home.txt"))
        # The second root is reported too, as its own name has the type.
        self.assertEqual(result.stdout.count("\n"), 101)

    def test_answer_of_server_has_form_shown(self):
        [shown] = [text for _, text in consoles() if text.startswith("$ kt send Files")]
        Daemon(self, "--files", str(self.folder / "home.txt"))
        answer = kt("send", "Files", "Types=(txt)", "Count=2").stdout
        for form in (r"^\{ Files = \( [^ ]+, [^ ]+ \); Next = 2; Root = ", r"Total = 6; \}$"):
            self.assertRegex(answer, form)
            self.assertRegex(shown, re.compile(form, re.MULTILINE))


if __name__ == "__main__":
    unittest.main()
