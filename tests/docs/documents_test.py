# SPDX-License-Identifier: MIT
"""The documents agree with the source tree: code blocks, links, names of files and of tests."""

import re
import subprocess
import unittest

from documents import DOCUMENTS, ROOT, blocks, without_code

FOLDERS = "kt|tools|tests|scripts|docs|cmake|bench|fuzz|examples|packaging"


class Documents(unittest.TestCase):
    maxDiff = None

    def assert_all(self, holds, named):
        """Asserts that holds(document, text) is true for each pair of `named`; lists the others."""
        wrong = [f"{document.name}: {text}" for document, text in named
                 if not holds(document, text)]
        self.assertEqual("\n".join(wrong), "")

    def test_show_examples_unchanged(self):
        shown = {block.name: block.text for document in DOCUMENTS for block in blocks(document)
                 if block.name.startswith("examples/")}
        examples = {str(path.relative_to(ROOT)): without_license(path.read_bytes().decode())
                    for path in (ROOT / "examples").iterdir()}
        self.assertEqual(sorted(shown), sorted(examples))
        for name, text in examples.items():
            with self.subTest(name):
                self.assertEqual(shown[name], text)

    def test_link_to_existing_files_and_headings(self):
        def exists(document, target):
            path, _, heading = target.partition("#")
            file = (document.parent / path).resolve() if path else document
            return file.exists() and (not heading or heading in headings(file))
        self.assert_all(exists, [(document, target) for document, target
                                 in found(r"\]\(([^)\s]+)\)") if not re.match(r"[a-z]+:", target)])

    def test_name_existing_files(self):
        def exists(_, name):
            return any(ROOT.glob(re.sub("NAME|FOLDER|STEM", "*", name.rstrip("/"))))
        self.assert_all(exists, found(rf"`((?:{FOLDERS})/[\w./*-]*)`"))

    def test_name_existing_tests(self):
        cases = cpp_cases() | python_cases()
        self.assert_all(lambda _, case: case in cases,
                        found(r"`([A-Z]\w+\.(?:[A-Z]\w+|[a-z]+_\w+))`"))

    def test_name_demo_and_test_script_in_readme(self):
        commands = [line for block in blocks("README.md") if block.language == "sh"
                    for line in block.text.splitlines()]
        for script in ("scripts/demo", "scripts/test"):
            self.assertIn(script, [command.split("#")[0].strip() for command in commands])
            self.assertTrue((ROOT / script).stat().st_mode & 0o100, script)

    def test_show_python_that_compiles(self):
        for document in DOCUMENTS:
            for block in blocks(document):
                if block.language == "python":
                    compile(block.text, f"{document.name}, {block.name}", "exec")

    def test_show_well_formed_shell_commands(self):
        for document in DOCUMENTS:
            for block in blocks(document):
                if block.language == "sh":
                    subprocess.run(["bash", "-n", "-c", block.text], check=True)


def found(pattern):
    """Returns (document, text) of everything in the documents, except code, that matches."""
    return [(document, text) for document in DOCUMENTS
            for text in re.findall(pattern, without_code(document))]


def without_license(source):
    """Returns a file's text without the licence line, and the empty line after it, if any."""
    return re.sub(r"\A(?://|#) SPDX-License-Identifier: .*\n\n?", "", source)


def headings(document):
    """Returns the anchors of a document's headings on a rendered page."""
    titles = re.findall(r"^#+ (.+)$", without_code(document), re.MULTILINE)
    return {re.sub(r"[^\w\- ]", "", title.lower()).replace(" ", "-") for title in titles}


def sources(pattern):
    return [path.read_text(encoding="utf-8") for path in (ROOT / "tests").rglob(pattern)]


def cpp_cases():
    """Returns "Suite.Case" of every GoogleTest case."""
    return {f"{suite}.{case}" for source in sources("*_test.cpp") for suite, case in
            re.findall(r"^(?:TYPED_)?TEST(?:_F|_P)?\((\w+),\s+(\w+)\)", source, re.MULTILINE)}


def python_cases():
    """Returns "Class.case" of every unittest case, without the prefix test_."""
    return {f"{name}.{case}" for source in sources("*_test.py")
            for name, body in re.findall(r"^class (\w+)(.*?)(?=^\S|\Z)", source,
                                         re.DOTALL | re.MULTILINE)
            for case in re.findall(r"^    def test_(\w+)", body, re.MULTILINE)}


if __name__ == "__main__":
    unittest.main()
