# SPDX-License-Identifier: MIT
"""docs/programs.md describes every command, every kind of request and every option."""

import re
import tempfile
import unittest

from documents import ROOT, block
from programs import run

PAGE = (ROOT / "docs/programs.md").read_text(encoding="utf-8")


def listed(text, heading):
    """Returns the first word of each entry below a heading of --help."""
    return re.findall(r"^  (\w+) ", text.partition(heading)[2].split("\n\n")[0], re.MULTILINE)


def commands():
    return listed(run("KT", "--help").stdout, "Subcommands:\n")


class ProgramsPage(unittest.TestCase):
    def test_has_section_for_each_command_and_kind(self):
        kinds = listed(run("KTD", "--help").stdout, "kinds of requests:\n")
        self.assertIn("hello", commands())
        self.assertIn("Echo", kinds)
        wanted = {f"### {name}" for name in [*(f"kt {name}" for name in commands()), *kinds]}
        self.assertEqual(wanted - set(PAGE.splitlines()), set())

    def test_names_each_option(self):
        for command in [["KTD"], *(["KT", name] for name in commands())]:
            options = re.findall(r"^  (?:-\w,)?(--[\w-]+)", run(*command, "--help").stdout,
                                 re.MULTILINE)
            wanted = set(options) - {"--help", "--version"}
            named = set(re.findall(r"--[\w-]+", PAGE))
            self.assertEqual(wanted - named, set(), command)

    def test_shows_configuration_file_that_is_read(self):
        text = block("docs/programs.md", "text", "ktd.plist")
        self.assertIn("/srv/docs", text)
        with tempfile.NamedTemporaryFile("w", suffix=".plist") as file:
            file.write(text.replace("/srv/docs", "/"))
            file.flush()
            result = run("KTD", "--print-config", "--config", file.name)
        self.assertEqual((result.returncode, result.stderr), (0, ""))
        self.assertIn('Date = ( "/bin/date", "+%A, %d %B" );', result.stdout)


if __name__ == "__main__":
    unittest.main()
