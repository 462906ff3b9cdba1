# SPDX-License-Identifier: MIT
"""How kt repeats a request with the token that the server asks for."""

import re
import unittest

from peers import Peer, server
from programs import ProgramTest, kt

FIRST = "00112233445566778899aabbccddeeff"
SECOND = "ffeeddccbbaa99887766554433221100"


def asks_for(token):
    return f'{{ Error = "Repeat the request with this Token."; Token = <{token}>; }}'


def token_in(request):
    """Returns the token of a request, or None."""
    match = re.search("Token = <([0-9a-f]*)>", request.text)
    return match and match.group(1)


def asking(answer, token=FIRST):
    """Returns the part of a server that wants a token before answer(request)."""
    def part(request):
        if token_in(request) != token:
            return [request.answer(asks_for(token))]
        return answer(request)
    return server(part)


class KtToken(ProgramTest):
    def tokens(self, peer, keyword="Fetch"):
        """Returns the token of each request of the last run, None for one without."""
        return [token_in(request) for request in peer.last_run(keyword)]

    def test_is_sent_with_repeated_request(self):
        peer = Peer(self, asking(lambda request: [request.answer("{ ok = 1; }")]))
        self.assert_result(kt("send", "Fetch", "a=b"), 0, "{ ok = 1; }\n")
        self.assertEqual(self.tokens(peer), [None, FIRST])
        for request in peer.last_run("Fetch"):
            self.assertIn("a = b;", request.text)

    def test_is_sent_with_later_requests(self):
        def page(request):
            following = "Next = 1; " if request.number("Offset") == 0 else ""
            return [request.answer(f"{{ Files = (f); Root = r; Total = 2; {following}}}")]
        peer = Peer(self, asking(page))
        self.assert_result(kt("files"), 0, "r/f\nr/f\n")
        self.assertEqual(self.tokens(peer, "Files"), [None, FIRST, FIRST])

    def test_is_replaced_if_server_wants_another(self):
        pages = {0: (FIRST, "Files = (f); Next = 1;"), 1: (SECOND, "Files = (g);")}

        def part(request):
            token, entries = pages[request.number("Offset")]
            if token_in(request) != token:
                return [request.answer(asks_for(token))]
            return [request.answer(f"{{ {entries} Root = r; Total = 2; }}")]

        peer = Peer(self, server(part))
        self.assert_result(kt("files"), 0, "r/f\nr/g\n")
        self.assertEqual(self.tokens(peer, "Files"), [None, FIRST, FIRST, SECOND])

    def test_replaces_token_of_command_line(self):
        peer = Peer(self, asking(lambda request: [request.answer("{ ok = 1; }")]))
        self.assert_result(kt("send", "Fetch", f"Token=<{SECOND}>"), 0, "{ ok = 1; }\n")
        self.assertEqual(self.tokens(peer), [SECOND, FIRST])

    def test_is_sent_by_commands_with_results(self):
        Peer(self, asking(lambda request: [request.answer("{ Value = 7; Kinds = { A = b; }; }")]))
        self.assert_result(kt("eval", "3 + 4"), 0, "7\n")
        self.assert_result(kt("kinds"), 0, "A  b\n")

    def test_is_sent_twice_at_most(self):
        peer = Peer(self, server(lambda request: [request.answer(asks_for(FIRST))]))
        self.assert_result(
            kt("send", "Fetch"), 0,
            f'{{ Error = "Repeat the request with this Token."; Token = <{FIRST}>; }}\n')
        self.assertEqual(self.tokens(peer), [None, FIRST, FIRST])

    def test_is_not_sent_after_other_answers(self):
        peer = Peer(self, None)
        for packet in ["{ Error = busy; }", f"{{ Token = <{FIRST}>; }}",
                       "{ Error = e; Token = text; }", "{ Error = e; Token = <00>; }",
                       f"{{ Error = e; Token = <{FIRST}00>; }}"]:
            with self.subTest(packet):
                peer.part = server(lambda request: [request.answer(packet)])
                self.assert_result(kt("send", "Fetch"), 0, packet + "\n")
                self.assertEqual(self.tokens(peer), [None])

    def test_must_fit_datagram(self):
        Peer(self, asking(lambda request: []))
        result = kt("send", "Fetch", "a=" + "x" * 65_400)
        self.assertEqual((result.returncode, result.stdout), (1, ""))
        self.assertRegex(result.stderr, r"^kt send: the request takes 65,5\d\d bytes; "
                                        r"a datagram carries at most 65,507\n$")


if __name__ == "__main__":
    unittest.main()
