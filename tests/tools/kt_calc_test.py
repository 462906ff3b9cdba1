# SPDX-License-Identifier: MIT
"""kt calc and kt eval: arithmetic by the program itself, and by a server."""

import json
import os
import tempfile
import unittest

from peers import Peer, always, server
from programs import BRIEF, Daemon, ProgramTest, Terminal, kt

MERSENNE = str(2**521 - 1) + "\n"


class KtCalc(ProgramTest):
    def test_prints_value(self):
        self.assert_result(kt("calc", "2^521 - 1"), 0, MERSENNE)

    def test_prints_value_in_another_base(self):
        self.assert_result(kt("calc", "-255", "--base", "16"), 0, "-ff\n")
        self.assert_result(kt("calc", "35", "--base", "36"), 0, "z\n")
        self.assert_result(kt("calc", "5", "--base", "2"), 0, "101\n")

    def test_prints_json(self):
        result = kt("calc", "2^64", "--json")
        self.assert_result(result, 0, '{"value":"18446744073709551616"}\n')
        self.assertEqual(int(json.loads(result.stdout)["value"]), 2**64)

    def test_prints_nothing_if_quiet(self):
        self.assert_result(kt("calc", "1", "--quiet"), 0)

    def test_agrees_with_python(self):
        for expression in ["3**200 // 7**20", "(1 << 300) - 1 >> 7", "2**100 * 3**100 % 10**9",
                           "-2**4 + 5 * (6 - 17)"]:
            ours = expression.replace("**", "^").replace("//", "/")
            self.assert_result(kt("calc", ours), 0, f"{eval(expression)}\n")

    def test_takes_expression_that_begins_with_minus(self):
        for arguments in [["-5+3"], ["--base", "10", "-5+3"], ["-5+3", "--base", "10"],
                          ["--", "-5+3"], ["(-5)+3"], [" -5+3"], ["--5-7"]]:
            self.assert_result(kt("calc", *arguments), 0, "-2\n")
        self.assert_result(kt("calc", "-(1+1)"), 0, "-2\n")
        self.assert_result(kt("calc", "-sqrt(4)"), 0, "-2\n")

    def test_reports_column_of_error(self):
        self.assert_result(kt("calc", "12 + 1/0"), 1, "", "kt calc: column 7: division by zero\n")
        self.assert_result(kt("calc", "2^2^64"), 1, "",
                           "kt calc: column 2: the result takes more than 4,080 bits\n")
        self.assert_result(kt("calc", ""), 1, "", "kt calc: column 1: expected a number, "
                           "found the end of the expression\n")

    def test_shows_caret_on_terminal(self):
        terminal = Terminal(self)
        result = kt("calc", "1\u00fc + 1", stderr=terminal.descriptor)
        self.assertEqual(result.returncode, 1)
        self.assertEqual(terminal.text(),
                         "kt calc: column 2: expected an operator, found '\\U00fc'\n"
                         "1\\U00fc + 1\n"
                         " ^\n")

    def test_reports_unreadable_input(self):
        with tempfile.TemporaryDirectory() as folder:
            descriptor = os.open(folder, os.O_RDONLY)
            self.addCleanup(os.close, descriptor)
            self.assert_result(kt("calc", stdin=descriptor), 1, "",
                               "kt calc: standard input: can't read it: Is a directory\n")

    def test_reports_misuse(self):
        self.assert_misuse(kt("calc", "1", "--base", "37"), "kt calc",
                           '--base: "37" is not a base from 2 to 36')
        self.assert_misuse(kt("calc", "1", "2"), "kt calc",
                           "The following argument was not expected: 2")
        self.assert_misuse(kt("calc", "-1", "-2"), "kt calc",
                           "The following argument was not expected: -2")
        self.assert_misuse(kt("calc", "--bse", "16"), "kt calc",
                           "The following argument was not expected: --bse")
        self.assert_misuse(kt("calc", "--\x1b"), "kt calc",
                           "The following argument was not expected: --\\033")


class KtCalcLines(ProgramTest):
    def test_evaluates_each_line(self):
        self.assert_result(kt("calc", input="1+1\n\n 0xff \r\n2^70"), 0,
                           f"2\n255\n{2**70}\n")

    def test_names_line_of_error_and_evaluates_others(self):
        self.assert_result(kt("calc", "--base", "2", input="1+1\n\n2 ^\n3\n1/0\n"), 1, "10\n11\n",
                           "kt calc: line 3, column 4: expected a number, "
                           "found the end of the expression\n"
                           "kt calc: line 5, column 2: division by zero\n")

    def test_prints_one_json_object_per_line(self):
        self.assert_result(kt("calc", "--json", input="1\n2\n"), 0,
                           '{"value":"1"}\n{"value":"2"}\n')

    def test_prints_nothing_without_lines(self):
        self.assert_result(kt("calc", input=""), 0)

    def test_reports_full_disk(self):
        with open("/dev/full", "w") as full:
            result = kt("calc", input="1\n2\n", stdout=full)
        self.assertEqual((result.returncode, result.stderr),
                         (1, "kt calc: can't write to standard output: "
                             "No space left on device\n"))


class KtEval(ProgramTest):
    def test_prints_value_that_server_computes(self):
        Daemon(self)
        self.assert_result(kt("eval", "2^521 - 1"), 0, MERSENNE)
        self.assert_result(kt("eval", "-255", "--base", "16"), 0, "-ff\n")
        self.assert_result(kt("eval", "2^10", "--json"), 0, '{"value":"1024"}\n')
        self.assert_result(kt("eval", "1", "--quiet"), 0)

    def test_sends_expression_and_base(self):
        peer = Peer(self, always("{ Value = x; }"))
        self.assert_result(kt("eval", "1 + 1"), 0, "x\n")
        self.assertIn('{ Expression = "1 + 1"; KtUDPKeyword = Evaluate; }', peer.requests[-1].text)
        kt("eval", "1", "--base", "7")
        self.assertIn("{ Base = 7; Expression = 1; KtUDPKeyword = Evaluate; }",
                      peer.requests[-1].text)

    def test_reports_column_of_error(self):
        Daemon(self)
        self.assert_result(kt("eval", "12 + 1/0"), 1, "", "kt eval: column 7: division by zero\n")
        terminal = Terminal(self)
        kt("eval", "12 + 1/0", stderr=terminal.descriptor)
        self.assertEqual(terminal.text(), "kt eval: column 7: division by zero\n"
                                          "12 + 1/0\n      ^\n")

    def test_prints_error_of_server_without_evaluate(self):
        Peer(self, always('{ Error = "No such kind."; }'))
        self.assert_result(kt("eval", "1"), 1, "", "kt eval: No such kind.\n")

    def test_reports_answer_without_value(self):
        Peer(self, always("{ Value = ( 1 ); }"))
        self.assert_result(kt("eval", "1"), 1, "",
                           "kt eval: the server's answer has no value: { Value = ( 1 ); }\n")

    def test_escapes_hostile_answer(self):
        Peer(self, server(lambda request: [request.answer(
            r'{ Value = "\033[2J"; }' if "Expression = 1;" in request.text else
            r'{ Error = "\033[2J"; Column = 2147483647; }')]))
        self.assert_result(kt("eval", "1"), 0, "\\033[2J\n")
        terminal = Terminal(self)
        kt("eval", "2", stderr=terminal.descriptor)
        self.assertEqual(terminal.text(), "kt eval: column 2147483647: \\033[2J\n2\n ^\n")

    def test_requires_expression(self):
        self.assert_misuse(kt("eval"), "kt eval", "EXPRESSION is required")

    def test_refuses_expression_too_large_for_datagram(self):
        result = kt("eval", "1" * 65500)
        self.assertEqual((result.returncode, result.stdout), (1, ""))
        self.assertRegex(result.stderr, r"^kt eval: the request takes 65,\d\d\d bytes; ")

    def test_fails_without_server(self):
        result = kt("eval", "1", "--timeout", BRIEF[0])
        self.assertEqual(result.returncode, 1)
        self.assertRegex(result.stderr, r"^kt eval: no server of signature")


class ExpensiveExpression(ProgramTest):
    def test_is_refused_by_server_that_serves_on(self):
        Daemon(self)
        expression = "0" + "+534!-534!" * 6000
        result = kt("eval", expression)
        self.assertEqual(result.returncode, 1)
        self.assertRegex(result.stderr, r"^kt eval: column \d+: "
                                        r"the expression takes more work than is allowed\n$")
        self.assert_result(kt("eval", "1"), 0, "1\n")

    def test_is_computed_by_kt_calc(self):
        expression = "powmod(3, 2^4000 + 1, 2^4079 - 1)"
        self.assert_result(kt("calc", expression), 0,
                           f"{pow(3, 2**4000 + 1, 2**4079 - 1)}\n")


if __name__ == "__main__":
    unittest.main()
