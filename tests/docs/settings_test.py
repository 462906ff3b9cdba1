# SPDX-License-Identifier: MIT
"""The example SETTINGS of docs/applications.md."""

import tempfile
import unittest
from pathlib import Path

from programs import ProgramTest, run


class Settings(ProgramTest):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.file = Path(folder.name) / "settings.plist"

    def test_are_read_changed_and_written(self):
        self.file.write_text("// mine\n{ name = hut; starts = 41; }\n")
        self.assert_result(run("SETTINGS", str(self.file)), 0, "hut started 42 times\n")
        self.assertEqual(self.file.read_text(), "{ name = hut; starts = 42; }\n")

    def test_mistake_is_named_with_file_line_and_column(self):
        self.file.write_text("{ name hut; }\n")
        self.assert_result(run("SETTINGS", str(self.file)), 1, "",
                           f"{self.file}: line 1, column 8: expected '=', found 'h'\n")
        self.assertEqual(self.file.read_text(), "{ name hut; }\n")

    def test_missing_file_is_named(self):
        self.assert_result(run("SETTINGS", str(self.file)), 1, "",
                           f"{self.file}: can't read it: No such file or directory\n")


if __name__ == "__main__":
    unittest.main()
