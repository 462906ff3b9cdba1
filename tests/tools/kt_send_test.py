# SPDX-License-Identifier: MIT
"""kt send: one request and its answer."""

import json
import unittest

from programs import BRIEF, Daemon, Peer, ProgramTest, kt, server, udp_socket


class Send(ProgramTest):
    def test_prints_the_answer_as_property_list_text(self):
        Daemon(self)
        result = kt("send", "Echo", "name=value", "list=(1, 2)", "data=< 0F BD 77 >",
                    "map={a=b}", "text=two words")
        self.assert_result(result, 0, "{ data = <0fbd77>; list = ( 1, 2 ); map = { a = b; }; "
                                      'name = value; text = "two words"; }\n')

    def test_prints_the_answer_as_json(self):
        Daemon(self)
        result = kt("send", "Echo", "b=<0fbd77>", "a=(x)", "--json")
        self.assert_result(result, 0, '{"a":["x"],"b":{"data":"0fbd77"}}\n')

    def test_prints_nothing_when_quiet(self):
        Daemon(self)
        self.assert_result(kt("send", "Echo", "a=b", "--quiet"), 0)

    def test_sends_text_beyond_ascii_unchanged(self):
        Daemon(self)
        result = kt("send", "Echo", "a=Gr\u00fc\u00dfe \U0001f600", "--json")
        self.assertEqual(json.loads(result.stdout), {"a": "Gr\u00fc\u00dfe \U0001f600"})

    def test_a_keyword_of_its_own_reaches_the_application(self):
        peer = Peer(self, server(lambda request: [request.answer("{ ok = 1; }")]))
        self.assert_result(kt("send", "Fetch", "a=b"), 0, "{ ok = 1; }\n")
        self.assertIn("_DataPacket = { KtUDPKeyword = Fetch; a = b; }", peer.requests[-1].text)

    def test_a_malformed_value_is_refused_with_its_place(self):
        self.assert_misuse(
            kt("send", "Echo", "list=(1, 2"), "kt send",
            "the value of \"list\": line 1, column 6: expected ',' or ')', "
            "found the end of the text\n(1, 2\n     ^")

    def test_an_entry_that_is_none_is_refused(self):
        self.assert_misuse(kt("send", "Echo", "novalue"), "kt send",
                           '"novalue" is not of the form KEY=VALUE')
        self.assert_misuse(kt("send", "Echo", "=x"), "kt send",
                           '"=x" is not of the form KEY=VALUE')

    def test_a_key_given_twice_is_refused(self):
        self.assert_misuse(kt("send", "Echo", "a=1", "a=2"), "kt send",
                           'the key "a" is given twice')
        self.assert_misuse(kt("send", "Echo", "KtUDPKeyword=Status"), "kt send",
                           '"KtUDPKeyword" is given by KEYWORD already')


class Size(ProgramTest):
    # The envelope around the value of `a`, its NUL included, with a handshake of five digits.
    frame = len("{ _DataPacket = { KtUDPKeyword = Echo; a = ; }; "
                "_Handshake = 12345; _Signature = KtUDP; }") + 1

    def test_the_largest_request_that_fits_is_sent(self):
        Daemon(self)
        value = "x" * (65507 - self.frame)
        self.assert_result(kt("send", "Echo", "a=" + value), 0, f"{{ a = {value}; }}\n")

    def test_a_larger_one_is_refused_before_anything_is_sent(self):
        listener = udp_socket(self, 4798)
        result = kt("send", "Echo", "a=" + "x" * (65508 - self.frame))
        self.assert_result(result, 1, "", "kt send: the request takes 65508 bytes; "
                                          "a datagram carries at most 65507\n")
        listener.setblocking(False)
        self.assertRaises(BlockingIOError, listener.recv, 1)


class Failures(ProgramTest):
    def test_no_server(self):
        result = kt("send", "Echo", "--timeout", "100")
        self.assertEqual((result.returncode, result.stdout), (1, ""))
        self.assertRegex(result.stderr,
                         r'^kt send: no server of signature "KtUDP" answered at 255')

    def test_no_answer_is_told_of_with_the_number_of_sends(self):
        peer = Peer(self, server())
        result = kt("send", "Fetch", "--timeout", BRIEF, "--retries", "2")
        self.assertEqual((result.returncode, result.stdout), (1, ""))
        self.assertRegex(
            result.stderr,
            r"^kt send: the server at 127\.0\.0\.1:4798 left the request unanswered: "
            r"sent 3 times within \d+ ms\n"
            r"Check that the server still runs, and whether a longer --timeout or more --retries "
            r"help\.\n$")
        self.assertEqual([request.keyword for request in peer.requests].count("Fetch"), 3)

    def test_without_retries_a_request_is_sent_once(self):
        peer = Peer(self, server())
        result = kt("send", "Fetch", "--timeout", BRIEF, "--retries", "0")
        self.assertIn("sent 1 time within", result.stderr)
        self.assertEqual([request.keyword for request in peer.requests].count("Fetch"), 1)

    def test_an_answer_that_is_no_dictionary_is_none(self):
        Peer(self, server(lambda request: [request.answer("( a )")]))
        result = kt("send", "Fetch", "--timeout", BRIEF, "--retries", "0")
        self.assertEqual((result.returncode, result.stdout), (1, ""))


class HostileAnswer(ProgramTest):
    packet = r'{ "\033[2J" = "\r\n\U009b\007"; }'

    def test_cannot_reach_the_terminal(self):
        Peer(self, server(lambda request: [request.answer(self.packet)]))
        result = kt("send", "Fetch")
        self.assertEqual(result.stdout, '{ "\\033[2J" = "\\r\\n\\U009b\\a"; }\n')

    def test_nor_as_json(self):
        Peer(self, server(lambda request: [request.answer(self.packet)]))
        result = kt("send", "Fetch", "--json")
        self.assert_printable(result.stdout)
        self.assertEqual(json.loads(result.stdout), {"\x1b[2J": "\r\n\x9b\x07"})


if __name__ == "__main__":
    unittest.main()
