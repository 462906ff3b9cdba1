# SPDX-License-Identifier: MIT
"""kt send --all: asks every server at the same time and prints what each answers."""

import json
import re
import threading
import unittest

from peers import Peer, always, server, udp_socket
from programs import BRIEF, Daemon, ProgramTest, kt, kt_briefly

TOKEN = "00112233445566778899aabbccddeeff"
ASKS_FOR_TOKEN = f'{{ Error = "Repeat the request with this Token."; Token = <{TOKEN}>; }}'


def silent(request):
    return []


def send_to_all(*arguments, count=1):
    """Sends to all servers, with a longer timeout if fewer than `count` answer."""
    def heard(result):
        answers = [line for line in result.stdout.splitlines()
                   if not re.search('no answer$|"answer":null', line)]
        return len(answers) >= count
    return kt_briefly("send", "--all", *arguments, heard=heard)


class KtSendAll(ProgramTest):
    def test_prints_answer_of_each_server(self):
        Peer(self, server(lambda request: [request.answer("{ a = 1; }")], name="hut"))
        Peer(self, server(lambda request: [request.answer("{ b = 2; }")], "shed", 4711), port=4711)
        result = send_to_all("Fetch", count=2)
        self.assertEqual((result.returncode, result.stderr), (0, ""))
        self.assertEqual(sorted(result.stdout.splitlines()),
                         ['"hut" at 127.0.0.1:4798: { a = 1; }',
                          '"shed" at 127.0.0.1:4711: { b = 2; }'])

    def test_prints_json(self):
        Peer(self, always("{ list = (1, <0fbd77>); }"))
        Peer(self, server(silent, "shed", 4711), port=4711)
        result = send_to_all("Fetch", "--json")
        hut, shed = sorted(map(json.loads, result.stdout.splitlines()), key=lambda s: s["name"])
        self.assertEqual(list(hut), ["name", "address", "port", "roundTripMs", "answer"])
        self.assertGreater(hut.pop("roundTripMs"), 0)
        self.assertEqual(hut, {"name": "hut", "address": "127.0.0.1", "port": 4798,
                               "answer": {"list": ["1", {"data": "0fbd77"}]}})
        self.assertEqual(shed, {"name": "shed", "address": "127.0.0.1", "port": 4711,
                                "roundTripMs": None, "answer": None})

    def test_says_which_server_does_not_answer(self):
        Peer(self, always("{ a = 1; }"))
        Peer(self, server(silent, "shed", 4711), port=4711)
        result = send_to_all("Fetch", "--retries", "0")
        self.assertEqual((result.returncode, result.stderr), (0, ""))
        self.assertEqual(sorted(result.stdout.splitlines()),
                         ['"hut" at 127.0.0.1:4798: { a = 1; }',
                          '"shed" at 127.0.0.1:4711: no answer'])

    def test_asks_at_same_time(self):
        asked = {"hut": threading.Event(), "shed": threading.Event()}

        def part(own, other):
            def answer(request):
                asked[own].set()
                asked[other].wait(self.case_limit)
                return [request.answer("{ ok = 1; }")]
            return answer
        Peer(self, server(part("hut", "shed")))
        Peer(self, server(part("shed", "hut"), "shed", 4711), port=4711)
        # One that is asked before the other would answer only after the other is asked.
        result = kt("send", "--all", "Fetch", "--timeout", BRIEF[1], "--retries", "10")
        self.assertEqual(result.stdout.count("{ ok = 1; }"), 2, result)

    def test_prints_server_once_if_it_answers_often(self):
        Peer(self, server(lambda request: [request.answer("{ ok = 1; }")] * 3))
        self.assertEqual(send_to_all("Fetch").stdout.count("\n"), 1)

    def test_sends_again_as_often_as_told(self):
        peer = Peer(self, server(silent))
        result = kt_briefly("send", "--all", "Fetch", "--retries", "2")
        self.assert_result(result, 1, '"hut" at 127.0.0.1:4798: no answer\n',
                           "kt send: none of the servers found (1) answered: sent 3 times to each\n"
                           "Check whether a longer --timeout or more --retries help.\n")
        self.assertEqual(len({r.handshake for r in peer.last_run("Fetch")}), 1)
        self.assertEqual(len(peer.last_run("Fetch")), 3)

    def test_prints_nothing_if_quiet(self):
        Daemon(self)
        result = kt_briefly("send", "--all", "Status", "--quiet",
                            heard=lambda result: result.returncode == 0)
        self.assert_result(result, 0)

    def test_fails_without_server(self):
        result = kt("send", "--all", "Status", "--timeout", BRIEF[0])
        self.assertEqual((result.returncode, result.stdout), (1, ""))
        self.assertRegex(result.stderr, r'^kt send: no server of signature "KtUDP" answered at ')

    def test_escapes_names_and_answers(self):
        Peer(self, server(lambda request: [request.answer(r'{ "\033" = "\r\n\U009b"; }')],
                          name=r"\033[2J\n"))
        result = send_to_all("Fetch")
        self.assertEqual(result.stdout, r'"\033[2J\n" at 127.0.0.1:4798: '
                                        r'{ "\033" = "\r\n\U009b"; }' + "\n")
        self.assert_printable(send_to_all("Fetch", "--json").stdout)

    def test_refuses_request_that_is_too_large_before_sending_anything(self):
        listener = udp_socket(self, 4798)
        result = kt("send", "--all", "Echo", "a=" + "x" * 65507)
        self.assertEqual((result.returncode, result.stdout), (1, ""))
        self.assertIn("a datagram carries at most 65,507", result.stderr)
        listener.setblocking(False)
        self.assertRaises(BlockingIOError, listener.recv, 1)

    def test_excludes_wait(self):
        self.assert_misuse(kt("send", "--all", "Echo", "--wait", "1"), "kt send",
                           "--all excludes --wait")


class KtSendAllToken(ProgramTest):
    def test_is_sent_with_repeated_request(self):
        peer = Peer(self, server(lambda request: [request.answer(
            "{ ok = 1; }" if TOKEN in request.text else ASKS_FOR_TOKEN)]))
        result = send_to_all("Fetch", "a=b")
        self.assert_result(result, 0, '"hut" at 127.0.0.1:4798: { ok = 1; }\n')
        requests = [request.text for request in peer.last_run("Fetch")]
        self.assertIn("{ KtUDPKeyword = Fetch; a = b; }", requests[0])
        self.assertIn(f"{{ KtUDPKeyword = Fetch; Token = <{TOKEN}>; a = b; }}", requests[-1])

    def test_is_sent_twice_at_most(self):
        peer = Peer(self, always(ASKS_FOR_TOKEN))
        result = send_to_all("Fetch")
        self.assert_result(result, 0, f'"hut" at 127.0.0.1:4798: {ASKS_FOR_TOKEN}\n')
        self.assertEqual(len({r.handshake for r in peer.last_run("Fetch")}), 3)


if __name__ == "__main__":
    unittest.main()
