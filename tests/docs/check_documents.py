#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""What the documents say of the tree is true of it: code blocks, links, files, tests."""

import re
import subprocess
import unittest

from documents import DOCUMENTS, ROOT, blocks, without_code

FOLDERS = "kt|tools|tests|scripts|docs|cmake|bench|fuzz|examples|packaging"


class Documents(unittest.TestCase):
    def test_code_in_the_documents_is_that_of_the_examples(self):
        shown = {block.name: block.text for document in DOCUMENTS for block in blocks(document)
                 if (block.name or "").startswith("examples/")}
        examples = {str(path.relative_to(ROOT)): path.read_bytes().decode()
                    for path in (ROOT / "examples").iterdir()}
        self.assertEqual(shown, examples)

    def test_relative_links_lead_to_files_and_to_headings(self):
        for document in DOCUMENTS:
            for target in re.findall(r"\]\(([^)\s]+)\)", without_code(document)):
                if re.match(r"[a-z]+:", target):
                    continue
                path, _, heading = target.partition("#")
                file = (document.parent / path).resolve() if path else document
                self.assertTrue(file.exists(), f"{document.name}: {target}")
                if heading:
                    self.assertIn(heading, headings(file), f"{document.name}: {target}")

    def test_files_named_are_there(self):
        for document in DOCUMENTS:
            for name in re.findall(rf"`((?:{FOLDERS})/[\w./*-]*)`", without_code(document)):
                pattern = re.sub("NAME|FOLDER|STEM", "*", name.rstrip("/"))
                self.assertTrue(list(ROOT.glob(pattern)), f"{document.name}: {name}")

    def test_tests_named_are_there(self):
        cases = test_cases()
        for document in DOCUMENTS:
            for suite, case in re.findall(r"`(\w+)\.([A-Z]\w{11,})`", without_code(document)):
                self.assertIn((suite, case), cases, document.name)

    def test_the_readme_names_the_two_commands(self):
        commands = [line for block in blocks("README.md") if block.language == "sh"
                    for line in block.text.splitlines()]
        for script in ("scripts/demo", "scripts/test"):
            self.assertIn(script, [command.split("#")[0].strip() for command in commands])
            self.assertTrue((ROOT / script).stat().st_mode & 0o100, script)

    def test_python_in_the_documents_compiles(self):
        for document in DOCUMENTS:
            for block in blocks(document):
                if block.language == "python":
                    compile(block.text, f"{document.name}, {block.name}", "exec")

    def test_shell_commands_are_well_formed(self):
        for document in DOCUMENTS:
            for block in blocks(document):
                if block.language == "sh":
                    subprocess.run(["bash", "-n", "-c", block.text], check=True)


def headings(document):
    """The anchors that a document's headings get where it is shown as a page."""
    titles = re.findall(r"^#+ (.+)$", without_code(document), re.MULTILINE)
    return {re.sub(r"[^\w\- ]", "", title.lower()).replace(" ", "-") for title in titles}


def test_cases():
    """(suite, case) of every GoogleTest case."""
    return {case for path in (ROOT / "tests").rglob("*_test.cpp")
            for case in re.findall(r"^TEST(?:_F|_P)?\((\w+),\s+(\w+)\)",
                                   path.read_text(encoding="utf-8"), re.MULTILINE)}


if __name__ == "__main__":
    unittest.main()
