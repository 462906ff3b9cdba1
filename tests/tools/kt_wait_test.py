# SPDX-License-Identifier: MIT
"""kt send --wait: resends a request that takes long."""

import time
import unittest

from peers import Peer, server
from programs import PATIENT, Daemon, ProgramTest, kt, kt_briefly
from kt_token_test import FIRST, asks_for, token_in


def after(count, packet="{ done = 1; }"):
    """Returns the part of a server that answers only from the request number `count` on."""
    seen = []

    def answer(request):
        seen.append(request)
        return [request.answer(packet)] if len(seen) >= count else []
    return server(answer)


class KtSendWait(ProgramTest):
    def test_prints_answer_that_comes_at_once(self):
        Daemon(self)
        self.assert_result(kt("send", "Echo", "a=b", "--wait", "30"), 0, "{ a = b; }\n")

    def test_sends_same_datagram_until_it_is_answered(self):
        peer = Peer(self, after(4))
        result = kt_briefly("send", "Fetch", "a=b", "--wait", "50")
        self.assert_result(result, 0, "{ done = 1; }\n")
        requests = peer.last_run("Fetch")
        self.assertGreaterEqual(len(requests), 4)
        self.assertEqual(len({request.text for request in requests}), 1)

    def test_resends_after_2_s_at_most(self):
        Peer(self, after(2))
        start = time.monotonic()
        result = kt("send", "Fetch", "--wait", "50", "--timeout", PATIENT)
        self.assert_result(result, 0, "{ done = 1; }\n")
        self.assertTrue(2 <= time.monotonic() - start < 15)

    def test_resends_although_other_replies_arrive(self):
        def part(request):
            return [b"junk", request.answer("( a )").replace(b"_Handshake = ", b"_Handshake = 9")]
        quiet = after(4)
        peer = Peer(self, lambda request, count: [*part(request), *quiet(request, count)])
        result = kt_briefly("send", "Fetch", "--wait", "50")
        self.assert_result(result, 0, "{ done = 1; }\n")
        self.assertGreaterEqual(len(peer.last_run("Fetch")), 4)

    def test_sends_token_first(self):
        requests = []

        def part(request):
            if token_in(request) is None:
                return [request.answer(asks_for(FIRST))]
            requests.append(request)
            return [request.answer("{ done = 1; }")] if len(requests) == 3 else []
        peer = Peer(self, server(part))
        result = kt_briefly("send", "Fetch", "--wait", "50")
        self.assert_result(result, 0, "{ done = 1; }\n")
        tokens = [token_in(request) for request in peer.last_run("Fetch")]
        self.assertEqual({*tokens[tokens.index(FIRST):]}, {FIRST})
        self.assertEqual(len({request.text for request in requests}), 1)


class KtSendWaitFailure(ProgramTest):
    def test_reports_that_no_answer_came(self):
        peer = Peer(self, server())
        result = kt_briefly("send", "Fetch", "--wait", "0.5")
        self.assertEqual((result.returncode, result.stdout), (1, ""))
        self.assertRegex(
            result.stderr,
            r"^kt send: the server at 127\.0\.0\.1:4798 left the request unanswered: sent again "
            r"and again for (5|6|7|8|9|\d\d)\d\d+ ms\n"
            r"Check that the server still runs, and whether a longer --wait helps\.\n$")
        self.assertLessEqual(len(peer.last_run("Fetch")), 3)  # at 0, 0.1 and 0.3 s

    def test_counts_exchange_of_token(self):
        def part(request):
            return [request.answer(asks_for(FIRST))] if token_in(request) is None else []
        Peer(self, server(part))
        start = time.monotonic()
        result = kt_briefly("send", "Fetch", "--wait", "0.5")
        self.assertIn("left the request unanswered", result.stderr)
        self.assertTrue(0.5 <= time.monotonic() - start < 15)

    def test_sends_request_once_in_no_time(self):
        peer = Peer(self, server())
        result = kt_briefly("send", "Fetch", "--wait", "0")
        self.assertEqual((result.returncode, result.stdout), (1, ""))
        self.assertEqual(len(peer.last_run("Fetch")), 1)

    def test_excludes_retries(self):
        self.assert_misuse(kt("send", "Fetch", "--wait", "1", "--retries", "1"), "kt send",
                           "--wait excludes --retries")

    def test_needs_seconds_of_one_day_at_most(self):
        for seconds in ["-1", "x", "1s", "86400.5"]:
            self.assert_misuse(kt("send", "Fetch", f"--wait={seconds}"), "kt send",
                               f'--wait: "{seconds}" is not a number of seconds from 0 to 86400')


if __name__ == "__main__":
    unittest.main()
