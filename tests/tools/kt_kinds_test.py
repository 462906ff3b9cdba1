# SPDX-License-Identifier: MIT
"""kt kinds: the kinds of requests that a server answers."""

import json
import unittest

from peers import Peer, always
from programs import ProgramTest, kt


class KtKinds(ProgramTest):
    def test_prints_aligned_line_per_kind(self):
        Peer(self, always('{ Kinds = { Echo = "Returns the entries."; Inventory = "What is here."; '
                          'at = ""; }; }'))
        self.assert_result(kt("kinds"), 0, "Echo       Returns the entries.\n"
                                           "Inventory  What is here.\n"
                                           "at         \n")

    def test_sends_request_of_kind_kinds(self):
        peer = Peer(self, always("{ Kinds = {}; }"))
        self.assert_result(kt("kinds"), 0)
        self.assertIn("_DataPacket = { KtUDPKeyword = Kinds; };", peer.requests[-1].text)

    def test_prints_json(self):
        Peer(self, always('{ Kinds = { Echo = "Returns."; B = "\\U00fc"; }; }'))
        lines = kt("kinds", "--json").stdout.splitlines()
        self.assertEqual([json.loads(line) for line in lines],
                         [{"kind": "B", "summary": "\u00fc"},
                          {"kind": "Echo", "summary": "Returns."}])

    def test_prints_nothing_if_quiet(self):
        Peer(self, always('{ Kinds = { Echo = "Returns."; }; }'))
        self.assert_result(kt("kinds", "--quiet"), 0)

    def test_aligns_no_line_with_very_long_name(self):
        name = "x" * 33
        Peer(self, always(f'{{ Kinds = {{ a = "A."; {name} = "B."; }}; }}'))
        self.assert_result(kt("kinds"), 0, f"{'a':32}  A.\n{name}  B.\n")


class KtKindsFailure(ProgramTest):
    def test_shows_error_of_server(self):
        error = "This server has no such kind of request. It knows: A, B."
        Peer(self, always(f'{{ Error = "{error}"; }}'))
        self.assert_result(kt("kinds"), 1, "",
                           f"kt kinds: the server answers with an error: {error}\n")

    def test_shows_error_that_is_no_text(self):
        Peer(self, always("{ Error = (a, b); Kinds = {}; }"))
        self.assert_result(kt("kinds"), 1, "",
                           "kt kinds: the server answers with an error: ( a, b )\n")

    def test_refuses_answer_without_kinds(self):
        peer = Peer(self, None)
        for packet, written in [("{}", "{}"), ("{ Kinds = a; }", "{ Kinds = a; }"),
                                ("{Kinds = {a = b; c = (d);};}",
                                 "{ Kinds = { a = b; c = ( d ); }; }")]:
            with self.subTest(packet):
                peer.part = always(packet)
                self.assert_result(kt("kinds"), 1, "",
                                   f"kt kinds: the server's answer lists no kinds: {written}\n")

    def test_escapes_kinds_and_errors(self):
        peer = Peer(self, always(r'{ Kinds = { "\033[2J" = "a\nb\U202e"; }; }'))
        self.assert_result(kt("kinds"), 0, "\\033[2J  a\\nb\\U202e\n")
        self.assert_printable(kt("kinds", "--json").stdout)
        peer.part = always(r'{ Error = "\033[2J\n"; }')
        self.assert_result(kt("kinds"), 1, "",
                           "kt kinds: the server answers with an error: \\033[2J\\n\n")


if __name__ == "__main__":
    unittest.main()
