# SPDX-License-Identifier: MIT
"""kt send: sends one request and prints its answer."""

import json
import unittest

from peers import Peer, always, server, udp_socket
from programs import BRIEF, Daemon, ProgramTest, kt, kt_briefly


class KtSend(ProgramTest):
    def test_prints_answer_as_property_list_text(self):
        Daemon(self)
        result = kt("send", "Echo", "name=value", "list=(1, 2)", "data=< 0F BD 77 >",
                    "map={a=b}", "text=two words")
        self.assert_result(result, 0, "{ data = <0fbd77>; list = ( 1, 2 ); map = { a = b; }; "
                                      'name = value; text = "two words"; }\n')

    def test_prints_answer_as_json(self):
        Daemon(self)
        result = kt("send", "Echo", "b=<0fbd77>", "a=(x)", "--json")
        self.assert_result(result, 0, '{"a":["x"],"b":{"data":"0fbd77"}}\n')

    def test_prints_nothing_if_quiet(self):
        Daemon(self)
        self.assert_result(kt("send", "Echo", "a=b", "--quiet"), 0)

    def test_sends_text_beyond_ascii_unchanged(self):
        Daemon(self)
        result = kt("send", "Echo", "a=Gr\u00fc\u00dfe \U0001f600", "--json")
        self.assertEqual(json.loads(result.stdout), {"a": "Gr\u00fc\u00dfe \U0001f600"})

    def test_sends_any_keyword(self):
        peer = Peer(self, always("{ ok = 1; }"))
        self.assert_result(kt("send", "Fetch", "a=b"), 0, "{ ok = 1; }\n")
        self.assertIn("_DataPacket = { KtUDPKeyword = Fetch; a = b; }", peer.requests[-1].text)

    def test_refuses_malformed_value_with_its_place(self):
        self.assert_misuse(
            kt("send", "Echo", "list=(1, 2"), "kt send",
            "the value of \"list\": line 1, column 6: expected ',' or ')', "
            "found the end of the text\n(1, 2\n     ^")

    def test_refuses_argument_that_is_not_an_entry(self):
        self.assert_misuse(kt("send", "Echo", "novalue"), "kt send",
                           '"novalue" is not of the form KEY=VALUE')
        self.assert_misuse(kt("send", "Echo", "=x"), "kt send",
                           '"=x" is not of the form KEY=VALUE')

    def test_refuses_repeated_key(self):
        self.assert_misuse(kt("send", "Echo", "a=1", "a=2"), "kt send",
                           'the key "a" is given twice')
        self.assert_misuse(kt("send", "Echo", "KtUDPKeyword=Status"), "kt send",
                           '"KtUDPKeyword" is given by KEYWORD already')


class KtSendSize(ProgramTest):
    # Bytes of a request without the value of `a`. The NUL and a five-digit handshake count.
    frame = len("{ _DataPacket = { KtUDPKeyword = Echo; a = ; }; "
                "_Handshake = 12345; _Signature = KtUDP; }") + 1

    def test_sends_largest_request_that_fits(self):
        Daemon(self)
        value = "x" * (65507 - self.frame)
        self.assert_result(kt("send", "Echo", "a=" + value), 0, f"{{ a = {value}; }}\n")

    def test_refuses_larger_request_before_sending_anything(self):
        listener = udp_socket(self, 4798)
        result = kt("send", "Echo", "a=" + "x" * (65508 - self.frame))
        self.assert_result(result, 1, "", "kt send: the request takes 65,508 bytes; "
                                          "a datagram carries at most 65,507\n")
        listener.setblocking(False)
        self.assertRaises(BlockingIOError, listener.recv, 1)


class KtSendFailure(ProgramTest):
    def test_fails_without_server(self):
        result = kt("send", "Echo", "--timeout", BRIEF[0])
        self.assertEqual((result.returncode, result.stdout), (1, ""))
        self.assertRegex(result.stderr,
                         r'^kt send: no server of signature "KtUDP" answered at 255')

    def test_reports_missing_answer_with_number_of_sends(self):
        peer = Peer(self, server())
        result = kt_briefly("send", "Fetch", "--retries", "2")
        self.assertEqual((result.returncode, result.stdout), (1, ""))
        self.assertRegex(
            result.stderr,
            r"^kt send: the server at 127\.0\.0\.1:4798 left the request unanswered: "
            r"sent 3 times within \d+ ms\n"
            r"Check that the server still runs, and whether a longer --timeout or more --retries "
            r"help\.\n$")
        self.assertEqual(len(peer.last_run("Fetch")), 3)

    def test_sends_once_without_retries(self):
        peer = Peer(self, server())
        result = kt_briefly("send", "Fetch", "--retries", "0")
        self.assertIn("sent 1 time within", result.stderr)
        self.assertEqual(len(peer.last_run("Fetch")), 1)

    def test_ignores_answer_that_is_not_a_dictionary(self):
        Peer(self, always("( a )"))
        result = kt_briefly("send", "Fetch", "--retries", "0")
        self.assertEqual((result.returncode, result.stdout), (1, ""))


class KtSendOutput(ProgramTest):
    packet = r'{ "\033[2J" = "\r\n\U009b\007"; }'

    def test_escapes_hostile_answer(self):
        Peer(self, always(self.packet))
        result = kt("send", "Fetch")
        self.assertEqual(result.stdout, '{ "\\033[2J" = "\\r\\n\\U009b\\a"; }\n')

    def test_escapes_hostile_answer_in_json(self):
        Peer(self, always(self.packet))
        result = kt("send", "Fetch", "--json")
        self.assert_printable(result.stdout)
        self.assertEqual(json.loads(result.stdout), {"\x1b[2J": "\r\n\x9b\x07"})


if __name__ == "__main__":
    unittest.main()
