# SPDX-License-Identifier: MIT
"""kt ping: round trips of Echo."""

import json
import os
import signal
import subprocess
import time
import unittest

from programs import BRIEF, PATIENCE, PATIENT, Daemon, Peer, ProgramTest, kt, server

MS = r"\d+\.\d{3}"
FIGURES = rf"round trip min {MS}, median {MS}, p99 {MS}, max {MS} ms\n"


def line(number):
    return rf"{number}: answer from 127\.0\.0\.1:4798 in {MS} ms\n"


def echo(request):
    return [request.answer(f"{{ Sequence = {request.sequence}; }}")]


def first_only(request):
    return echo(request) if request.sequence == 1 else []


class PingTest(ProgramTest):
    def start(self, *arguments):
        ping = subprocess.Popen([os.environ["KT"], "ping", *arguments], stdout=subprocess.PIPE,
                                stderr=subprocess.PIPE, encoding="latin-1")
        self.addCleanup(ping.communicate)
        self.addCleanup(ping.kill)
        return ping


class Ping(PingTest):
    def test_prints_a_line_for_each_round_trip_and_a_summary(self):
        Daemon(self)
        result = kt("ping", "-c", "3", "-i", "0")
        self.assertEqual((result.returncode, result.stderr), (0, ""))
        self.assertRegex(result.stdout,
                         "^" + "".join(line(number) for number in (1, 2, 3)) +
                         r"3 sent, 3 received, 0 lost \(0 %\)\n" + FIGURES + "$")

    def test_as_json(self):
        Daemon(self)
        lines = kt("ping", "--count", "2", "--interval", "0", "--json").stdout.splitlines()
        first, second, summary = map(json.loads, lines)
        self.assertEqual([first["sequence"], second["sequence"]], [1, 2])
        self.assertEqual(list(summary), ["sent", "received", "lost", "minMs", "medianMs", "p99Ms",
                                         "maxMs"])
        self.assertEqual([summary["sent"], summary["received"], summary["lost"]], [2, 2, 0])
        self.assertEqual(summary["minMs"], min(first["roundTripMs"], second["roundTripMs"]))
        self.assertEqual(summary["maxMs"], max(first["roundTripMs"], second["roundTripMs"]))

    def test_prints_only_the_summary_when_quiet(self):
        Daemon(self)
        self.assertRegex(kt("ping", "-c", "5", "-i", "0", "-q").stdout,
                         r"^5 sent, 5 received, 0 lost \(0 %\)\n" + FIGURES + "$")

    def test_leaves_the_interval_between_the_starts(self):
        Daemon(self)
        start = time.monotonic()
        kt("ping", "-c", "4", "-i", "0.1")
        self.assertGreaterEqual(time.monotonic() - start, 0.3)

    def test_a_round_trip_without_answer_is_lost(self):
        peer = Peer(self, server(first_only))
        result = kt("ping", "-c", "3", "-i", "0", "--timeout", BRIEF)
        self.assertEqual((result.returncode, result.stderr), (0, ""))
        self.assertRegex(result.stdout,
                         "^" + line(1) +
                         r"2: no answer from 127\.0\.0\.1:4798 within \d+ ms\n"
                         r"3: no answer from 127\.0\.0\.1:4798 within \d+ ms\n"
                         r"3 sent, 1 received, 2 lost \(66\.7 %\)\n" + FIGURES + "$")
        self.assertEqual([r.sequence for r in peer.requests if r.keyword == "Echo"], [1, 2, 3])

    def test_sends_again_when_told_to(self):
        peer = Peer(self, server())
        kt("ping", "-c", "1", "--timeout", BRIEF, "--retries", "2")
        self.assertEqual([r.sequence for r in peer.requests if r.keyword == "Echo"], [1, 1, 1])

    def test_without_any_answer_it_failed(self):
        Peer(self, server())
        result = kt("ping", "-c", "2", "-i", "0", "--timeout", BRIEF, "--json")
        self.assertEqual((result.returncode, result.stderr), (1, ""))
        self.assertEqual(
            result.stdout,
            '{"sequence":1,"roundTripMs":null}\n{"sequence":2,"roundTripMs":null}\n'
            '{"sent":2,"received":0,"lost":2,"minMs":null,"medianMs":null,"p99Ms":null,'
            '"maxMs":null}\n')
        result = kt("ping", "-c", "2", "-i", "0", "--timeout", BRIEF, "-q")
        self.assertEqual((result.returncode, result.stdout),
                         (1, "2 sent, 0 received, 2 lost (100 %)\n"))

    def test_the_answer_to_another_round_trip_is_none_to_this(self):
        # With the right handshake, as a late answer may have by chance.
        Peer(self, server(lambda request: [request.answer("{ Sequence = 1; }")]))
        result = kt("ping", "-c", "2", "-i", "0", "--timeout", BRIEF, "-q")
        self.assertTrue(result.stdout.startswith("2 sent, 1 received, 1 lost"), result.stdout)

    def test_surplus_answers_are_not_counted(self):
        Peer(self, server(lambda request: echo(request) * 3))
        result = kt("ping", "-c", "10", "-i", "0", "-q")
        self.assertTrue(result.stdout.startswith("10 sent, 10 received, 0 lost"), result.stdout)

    def test_a_server_that_does_not_echo_is_told_of(self):
        Peer(self, server(lambda request: [request.answer('{ Error = "\\033"; }')]))
        self.assert_result(kt("ping", "-c", "2"), 1, "",
                           "kt ping: the server at 127.0.0.1:4798 does not echo but answers "
                           '{ Error = "\\033"; }\n')

    def test_no_server(self):
        result = kt("ping", "--timeout", "100")
        self.assertEqual((result.returncode, result.stdout), (1, ""))
        self.assertIn("kt ping: no server of signature", result.stderr)


class Interrupt(PingTest):
    def test_prints_the_summary(self):
        Daemon(self)
        ping = self.start("-i", "0.01", "--timeout", PATIENT)
        for number in (1, 2, 3):
            self.assertRegex(ping.stdout.readline(), line(number))
        ping.send_signal(signal.SIGINT)
        output, errors = ping.communicate(timeout=PATIENCE)
        self.assertEqual((ping.returncode, errors), (0, ""))
        self.assertRegex(output, r"(?s)(\d+) sent, \1 received, 0 lost \(0 %\)\n" + FIGURES + "$")

    def test_ends_a_long_interval_at_once(self):
        Daemon(self)
        ping = self.start("-i", "86400", "--timeout", PATIENT)
        ping.stdout.readline()
        ping.send_signal(signal.SIGINT)
        output, _ = ping.communicate(timeout=PATIENCE)
        self.assertRegex(output, r"^1 sent, 1 received, 0 lost \(0 %\)\n")

    def test_ends_a_long_wait_at_once_and_leaves_that_round_trip_out(self):
        peer = Peer(self, server(first_only))
        ping = self.start("-i", "0", "--timeout", PATIENT, "--json")
        ping.stdout.readline()
        peer.await_request(lambda request: request.sequence == 2)
        start = time.monotonic()
        ping.send_signal(signal.SIGINT)
        output, _ = ping.communicate(timeout=PATIENCE)
        self.assertLess(time.monotonic() - start, int(PATIENT) / 1000)
        self.assertRegex(output, r'^\{"sent":1,"received":1,"lost":0,')
        self.assertEqual(ping.returncode, 0)

    def test_without_any_answer_it_failed(self):
        peer = Peer(self, server())
        ping = self.start("--timeout", PATIENT)
        peer.await_request(lambda request: request.keyword == "Echo")
        ping.send_signal(signal.SIGINT)
        self.assertEqual(ping.communicate(timeout=PATIENCE),
                         ("0 sent, 0 received, 0 lost (0 %)\n", ""))
        self.assertEqual(ping.returncode, 1)


class ClosedPipe(PingTest):
    def test_ends_the_ping_with_an_error(self):
        Daemon(self)
        ping = self.start("-i", "0", "--timeout", PATIENT)
        ping.stdout.readline()
        ping.stdout.close()
        self.assertEqual(ping.stderr.read(),
                         "kt ping: can't write to standard output: Broken pipe\n")
        self.assertEqual(ping.wait(timeout=PATIENCE), 1)


if __name__ == "__main__":
    unittest.main()
