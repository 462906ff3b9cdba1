#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""What the page about the walker shows is what a walk finds: the worked example, the example
program, a server's answer. The environment names the programs (KT, KTD) and the example (WALKER).
"""

import re
import tempfile
import unittest
from pathlib import Path

from documents import ROOT, block
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

    def told(self):
        """The paths that the page's table of calls reports."""
        page = (ROOT / PAGE).read_text(encoding="utf-8")
        return re.findall(r'^\| `fileFound\("(.*)"\)`', page, re.MULTILINE)

    def test_reports_are_those_of_a_walk(self):
        walked = kt("walk", "--type", "txt", "home.txt", cwd=self.folder)
        self.assertEqual(sorted(walked.stdout.splitlines()), sorted(self.told()))

    def test_reports_come_in_the_order_of_the_tree(self):
        order = [path.rstrip("/") for path in self.paths]
        self.assertEqual(self.told(), sorted(self.told(), key=order.index))

    def test_each_directory_is_asked_for_once(self):
        page = (ROOT / PAGE).read_text(encoding="utf-8")
        self.assertEqual(len(re.findall(r"^\| `wantsAbort\(\)` \|", page, re.MULTILINE)),
                         sum(path.endswith("/") for path in self.paths))

    def test_the_example_prints_the_same_as_kt_walk(self):
        root = str(self.folder / "home.txt")
        self.assert_result(run("WALKER", root), 0, kt("walk", "--type", "txt", root).stdout)

    def test_the_example_ends_with_the_hundredth_file(self):
        for number in range(150):
            (self.folder / f"{number}.txt").touch()
        result = run("WALKER", str(self.folder), str(self.folder / "home.txt"))
        # The second root is told of, since its own name is of the type.
        self.assertEqual(result.stdout.count("\n"), 101)

    def test_the_answer_of_a_server_is_as_shown_but_for_the_order(self):
        shown = block(PAGE, "console")
        Daemon(self, "--files", str(self.folder / "home.txt"))
        answer = kt("send", "Files", "Types=(txt)", "Count=2").stdout
        for form in (r"^\{ Files = \( [^ ]+, [^ ]+ \); Next = 2; Root = ", r"Total = 6; \}$"):
            self.assertRegex(answer, form)
            self.assertRegex(shown, re.compile(form, re.MULTILINE))


if __name__ == "__main__":
    unittest.main()
