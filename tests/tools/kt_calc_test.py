# SPDX-License-Identifier: MIT
"""kt calc and kt eval: arithmetic here, and by a server."""

import json
import os
import tempfile
import unittest

from programs import BRIEF, Daemon, Peer, ProgramTest, Terminal, kt, server

MERSENNE = str(2**521 - 1) + "\n"


class Calc(ProgramTest):
    def test_prints_the_value(self):
        self.assert_result(kt("calc", "2^521 - 1"), 0, MERSENNE)

    def test_prints_it_in_another_base(self):
        self.assert_result(kt("calc", "-255", "--base", "16"), 0, "-ff\n")
        self.assert_result(kt("calc", "35", "--base", "36"), 0, "z\n")
        self.assert_result(kt("calc", "5", "--base", "2"), 0, "101\n")

    def test_prints_json(self):
        result = kt("calc", "2^64", "--json")
        self.assert_result(result, 0, '{"value":"18446744073709551616"}\n')
        self.assertEqual(int(json.loads(result.stdout)["value"]), 2**64)

    def test_prints_nothing_when_quiet(self):
        self.assert_result(kt("calc", "1", "--quiet"), 0)

    def test_agrees_with_python(self):
        for expression in ["3**200 // 7**20", "(1 << 300) - 1 >> 7", "2**100 * 3**100 % 10**9",
                           "-2**4 + 5 * (6 - 17)"]:
            ours = expression.replace("**", "^").replace("//", "/")
            self.assert_result(kt("calc", ours), 0, f"{eval(expression)}\n")

    def test_an_expression_may_begin_with_a_minus(self):
        for arguments in [["-5+3"], ["--base", "10", "-5+3"], ["-5+3", "--base", "10"],
                          ["--", "-5+3"], ["(-5)+3"], [" -5+3"], ["--5-7"]]:
            self.assert_result(kt("calc", *arguments), 0, "-2\n")
        self.assert_result(kt("calc", "-(1+1)"), 0, "-2\n")
        self.assert_result(kt("calc", "-sqrt(4)"), 0, "-2\n")

    def test_an_error_has_its_column(self):
        self.assert_result(kt("calc", "12 + 1/0"), 1, "", "kt calc: column 7: division by zero\n")
        self.assert_result(kt("calc", "2^2^64"), 1, "",
                           "kt calc: column 2: the result takes more than 4,080 bits\n")
        self.assert_result(kt("calc", ""), 1, "", "kt calc: column 1: expected a number, "
                           "found the end of the expression\n")

    def test_a_terminal_gets_a_caret_too(self):
        terminal = Terminal(self)
        result = kt("calc", "1\u00fc + 1", stderr=terminal.descriptor)
        self.assertEqual(result.returncode, 1)
        self.assertEqual(terminal.text(),
                         "kt calc: column 2: expected an operator, found '\\U00fc'\n"
                         "1\\U00fc + 1\n"
                         " ^\n")

    def test_input_that_cannot_be_read_is_told(self):
        with tempfile.TemporaryDirectory() as folder:
            descriptor = os.open(folder, os.O_RDONLY)
            self.addCleanup(os.close, descriptor)
            self.assert_result(kt("calc", stdin=descriptor), 1, "",
                               "kt calc: standard input: can't read it: Is a directory\n")

    def test_misuse_is_told(self):
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


class CalcLines(ProgramTest):
    def test_each_line_is_an_expression(self):
        self.assert_result(kt("calc", input="1+1\n\n 0xff \r\n2^70"), 0,
                           f"2\n255\n{2**70}\n")

    def test_an_error_names_the_line_and_the_others_are_computed(self):
        self.assert_result(kt("calc", "--base", "2", input="1+1\n\n2 ^\n3\n1/0\n"), 1, "10\n11\n",
                           "kt calc: line 3, column 4: expected a number, "
                           "found the end of the expression\n"
                           "kt calc: line 5, column 2: division by zero\n")

    def test_json_is_one_object_a_line(self):
        self.assert_result(kt("calc", "--json", input="1\n2\n"), 0,
                           '{"value":"1"}\n{"value":"2"}\n')

    def test_no_lines_are_nothing(self):
        self.assert_result(kt("calc", input=""), 0)

    def test_a_full_disk_is_an_error(self):
        with open("/dev/full", "w") as full:
            result = kt("calc", input="1\n2\n", stdout=full)
        self.assertEqual((result.returncode, result.stderr),
                         (1, "kt calc: can't write to standard output: "
                             "No space left on device\n"))


class Eval(ProgramTest):
    def test_the_server_computes(self):
        Daemon(self)
        self.assert_result(kt("eval", "2^521 - 1"), 0, MERSENNE)
        self.assert_result(kt("eval", "-255", "--base", "16"), 0, "-ff\n")
        self.assert_result(kt("eval", "2^10", "--json"), 0, '{"value":"1024"}\n')
        self.assert_result(kt("eval", "1", "--quiet"), 0)

    def test_the_request_has_the_expression_and_the_base(self):
        peer = Peer(self, server(lambda request: [request.answer("{ Value = x; }")]))
        self.assert_result(kt("eval", "1 + 1"), 0, "x\n")
        self.assertIn('{ Expression = "1 + 1"; KtUDPKeyword = Evaluate; }', peer.requests[-1].text)
        kt("eval", "1", "--base", "7")
        self.assertIn("{ Base = 7; Expression = 1; KtUDPKeyword = Evaluate; }",
                      peer.requests[-1].text)

    def test_an_error_has_its_column(self):
        Daemon(self)
        self.assert_result(kt("eval", "12 + 1/0"), 1, "", "kt eval: column 7: division by zero\n")
        terminal = Terminal(self)
        kt("eval", "12 + 1/0", stderr=terminal.descriptor)
        self.assertEqual(terminal.text(), "kt eval: column 7: division by zero\n"
                                          "12 + 1/0\n      ^\n")

    def test_a_server_that_cannot_compute_says_so(self):
        Peer(self, server(lambda request: [request.answer('{ Error = "No such kind."; }')]))
        self.assert_result(kt("eval", "1"), 1, "", "kt eval: No such kind.\n")

    def test_an_answer_without_a_value_is_an_error(self):
        Peer(self, server(lambda request: [request.answer("{ Value = ( 1 ); }")]))
        self.assert_result(kt("eval", "1"), 1, "",
                           "kt eval: the server's answer has no value: { Value = ( 1 ); }\n")

    def test_a_hostile_answer_cannot_reach_the_terminal(self):
        Peer(self, server(lambda request: [request.answer(
            r'{ Value = "\033[2J"; }' if "Expression = 1;" in request.text else
            r'{ Error = "\033[2J"; Column = 2147483647; }')]))
        self.assert_result(kt("eval", "1"), 0, "\\033[2J\n")
        terminal = Terminal(self)
        kt("eval", "2", stderr=terminal.descriptor)
        self.assertEqual(terminal.text(), "kt eval: column 2147483647: \\033[2J\n2\n ^\n")

    def test_an_expression_is_needed(self):
        self.assert_misuse(kt("eval"), "kt eval", "EXPRESSION is required")

    def test_an_expression_too_large_for_a_datagram_is_refused(self):
        result = kt("eval", "1" * 65500)
        self.assertEqual((result.returncode, result.stdout), (1, ""))
        self.assertRegex(result.stderr, r"^kt eval: the request takes 65\d\d\d bytes; ")

    def test_no_server(self):
        result = kt("eval", "1", "--timeout", BRIEF)
        self.assertEqual(result.returncode, 1)
        self.assertRegex(result.stderr, r"^kt eval: no server of signature")


class Costly(ProgramTest):
    def test_the_server_refuses_much_work_and_goes_on(self):
        Daemon(self)
        expression = "0" + "+534!-534!" * 6000
        result = kt("eval", expression)
        self.assertEqual(result.returncode, 1)
        self.assertRegex(result.stderr, r"^kt eval: column \d+: "
                                        r"the expression takes more work than is allowed\n$")
        self.assert_result(kt("eval", "1"), 0, "1\n")

    def test_what_a_server_refuses_is_computed_here(self):
        expression = "powmod(3, 2^4000 + 1, 2^4079 - 1)"
        self.assert_result(kt("calc", expression), 0,
                           f"{pow(3, 2**4000 + 1, 2**4079 - 1)}\n")


if __name__ == "__main__":
    unittest.main()
