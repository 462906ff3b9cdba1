# SPDX-License-Identifier: MIT
"""kt parse: prints property-list text in canonical form, or points at the error."""

import json
import os
import tempfile
import unittest

from programs import ProgramTest, kt


class KtParse(ProgramTest):
    def file(self, content):
        with tempfile.NamedTemporaryFile(delete=False) as file:
            file.write(content)
        self.addCleanup(os.unlink, file.name)
        return file.name

    def test_prints_canonical_form_of_file(self):
        file = self.file(b'{ b = (1, 2,); /* comment */ a = "x" }')
        self.assert_result(kt("parse", file), 0, "{ a = x; b = ( 1, 2 ); }\n")

    def test_reads_standard_input_without_file(self):
        self.assert_result(kt("parse", input="< 0F BD 77 >"), 0, "<0fbd77>\n")

    def test_reads_standard_input_for_dash(self):
        self.assert_result(kt("parse", "-", input="a"), 0, "a\n")

    def test_prints_one_line_of_json(self):
        result = kt("parse", "--json", input="{ a = (x, <0fbd77>, {}); b = '\\U00fc'; }")
        self.assert_result(
            result, 0, '{"a":["x",{"data":"0fbd77"},{}],"b":"\\u00fc"}\n')
        self.assertEqual(json.loads(result.stdout)["b"], "\u00fc")

    def test_prints_nothing_if_quiet(self):
        self.assert_result(kt("parse", "--quiet", input="a"), 0)

    def test_points_at_malformed_text(self):
        file = self.file(b"{\n  a = ( 1, 2 ;\n}\n")
        self.assert_result(
            kt("parse", file), 1, "",
            f"kt parse: {file}: line 2, column 14: expected ',' or ')', found ';'\n"
            "  a = ( 1, 2 ;\n"
            "             ^\n")

    def test_prints_error_even_if_quiet(self):
        self.assert_result(
            kt("parse", "-q", input="( a"), 1, "",
            "kt parse: standard input: line 1, column 4: expected ',' or ')', "
            "found the end of the text\n( a\n   ^\n")

    def test_rejects_empty_text(self):
        result = kt("parse", input="")
        self.assertEqual((result.returncode, result.stdout), (1, ""))
        self.assertRegex(result.stderr,
                         r"^kt parse: standard input: line 1, column 1: expected .*\n\n\^\n$")

    def test_places_caret_correctly_after_tabs(self):
        result = kt("parse", input="{\ta\t=\t;}")
        self.assertTrue(result.stderr.endswith("\n{ a = ;}\n      ^\n"), result.stderr)

    def test_places_caret_correctly_in_long_line(self):
        result = kt("parse", input="(" + "a, " * 1000 + ";" + " b" * 1000)
        text, caret = result.stderr.splitlines()[1:]
        self.assertLessEqual(len(text), 80)
        self.assertEqual(text[len(caret) - 1], ";")

    def test_escapes_control_characters_of_text(self):
        result = kt("parse", input="( a, \x1b]0;title\x07 )")
        self.assert_printable(result.stderr)
        self.assertIn("\n( a, \\033]0;title\\a )\n     ^\n", result.stderr)

    def test_escapes_control_characters_of_file_name(self):
        result = kt("parse", "/no/\x1b[2J")
        self.assert_result(result, 1, "",
                           "kt parse: /no/\\033[2J: can't read it: No such file or directory\n")

    def test_reports_missing_file(self):
        self.assert_result(kt("parse", "/no/file"), 1, "",
                           "kt parse: /no/file: can't read it: No such file or directory\n")

    def test_reports_directory(self):
        self.assert_result(kt("parse", "/proc"), 1, "",
                           "kt parse: /proc: can't read it: Is a directory\n")

    def test_reports_unreadable_file(self):
        self.assert_result(kt("parse", "/proc/self/mem"), 1, "",
                           "kt parse: /proc/self/mem: can't read it: Input/output error\n")

    def test_parses_large_file(self):
        file = self.file(b"(" + b"abc," * 500000 + b")")
        result = kt("parse", file)
        self.assertEqual(result.returncode, 0)
        self.assertEqual(len(result.stdout), len("( ") + 500000 * len("abc, ") - 2 + len(" )\n"))


if __name__ == "__main__":
    unittest.main()
