# SPDX-License-Identifier: MIT
"""kt ping: measures round trips of Echo."""

import json
import os
import signal
import subprocess
import time
import unittest

from peers import Peer, always, server
from programs import BRIEF, PATIENT, Daemon, Program, ProgramTest, kt, kt_briefly

MS = r"\d+\.\d{3}"
FIGURES = rf"round trip min {MS}, median {MS}, p99 {MS}, max {MS} ms\n"


def line(number):
    return rf"{number}: answer from 127\.0\.0\.1:4798 in {MS} ms\n"


def echo(request):
    return [request.answer(f"{{ Sequence = {request.sequence}; }}")]


def first_only(request):
    return echo(request) if request.sequence == 1 else []


def first_answered(result):
    return "1: answer from" in result.stdout


class PingTest(ProgramTest):
    def start(self, *arguments):
        return Program(self, os.environ["KT"], "ping", *arguments, errors=subprocess.PIPE)


class KtPing(PingTest):
    def test_prints_line_per_round_trip_and_summary(self):
        Daemon(self)
        result = kt("ping", "-c", "3", "-i", "0")
        self.assertEqual((result.returncode, result.stderr), (0, ""))
        self.assertRegex(result.stdout,
                         "^" + "".join(line(number) for number in (1, 2, 3)) +
                         r"3 sent, 3 received, 0 lost \(0 %\)\n" + FIGURES + "$")

    def test_prints_json(self):
        Daemon(self)
        lines = kt("ping", "--count", "2", "--interval", "0", "--json").stdout.splitlines()
        first, second, summary = map(json.loads, lines)
        self.assertEqual([first["sequence"], second["sequence"]], [1, 2])
        self.assertEqual(list(summary), ["sent", "received", "lost", "minMs", "medianMs", "p99Ms",
                                         "maxMs"])
        self.assertEqual([summary["sent"], summary["received"], summary["lost"]], [2, 2, 0])
        self.assertEqual(summary["minMs"], min(first["roundTripMs"], second["roundTripMs"]))
        self.assertEqual(summary["maxMs"], max(first["roundTripMs"], second["roundTripMs"]))

    def test_prints_only_summary_if_quiet(self):
        Daemon(self)
        self.assertRegex(kt("ping", "-c", "5", "-i", "0", "-q").stdout,
                         r"^5 sent, 5 received, 0 lost \(0 %\)\n" + FIGURES + "$")

    def test_leaves_interval_between_starts(self):
        Daemon(self)
        start = time.monotonic()
        kt("ping", "-c", "4", "-i", "0.1")
        self.assertGreaterEqual(time.monotonic() - start, 0.3)

    def test_counts_round_trip_without_answer_as_lost(self):
        peer = Peer(self, server(first_only))
        result = kt_briefly("ping", "-c", "3", "-i", "0", heard=first_answered)
        self.assertEqual((result.returncode, result.stderr), (0, ""))
        self.assertRegex(result.stdout,
                         "^" + line(1) +
                         r"2: no answer from 127\.0\.0\.1:4798 within \d+ ms\n"
                         r"3: no answer from 127\.0\.0\.1:4798 within \d+ ms\n"
                         r"3 sent, 1 received, 2 lost \(66\.7 %\)\n" + FIGURES + "$")
        self.assertEqual([request.sequence for request in peer.last_run("Echo")], [1, 2, 3])

    def test_resends_if_told_to(self):
        peer = Peer(self, server())
        kt_briefly("ping", "-c", "1", "--retries", "2")
        self.assertEqual([request.sequence for request in peer.last_run("Echo")], [1, 1, 1])

    def test_fails_without_any_answer(self):
        Peer(self, server())
        result = kt_briefly("ping", "-c", "2", "-i", "0", "--json")
        self.assertEqual((result.returncode, result.stderr), (1, ""))
        self.assertEqual(
            result.stdout,
            '{"sequence":1,"roundTripMs":null}\n{"sequence":2,"roundTripMs":null}\n'
            '{"sent":2,"received":0,"lost":2,"minMs":null,"medianMs":null,"p99Ms":null,'
            '"maxMs":null}\n')
        result = kt_briefly("ping", "-c", "2", "-i", "0", "-q")
        self.assertEqual((result.returncode, result.stdout),
                         (1, "2 sent, 0 received, 2 lost (100 %)\n"))

    def test_ignores_answer_to_another_round_trip(self):
        # The handshake is right, as that of a late answer may be by chance.
        Peer(self, always("{ Sequence = 1; }"))
        result = kt_briefly("ping", "-c", "2", "-i", "0", "-q",
                            heard=lambda result: " 1 received" in result.stdout)
        self.assertTrue(result.stdout.startswith("2 sent, 1 received, 1 lost"), result.stdout)

    def test_ignores_surplus_answers(self):
        Peer(self, server(lambda request: echo(request) * 3))
        result = kt("ping", "-c", "10", "-i", "0", "-q")
        self.assertTrue(result.stdout.startswith("10 sent, 10 received, 0 lost"), result.stdout)

    def test_reports_server_that_does_not_echo(self):
        Peer(self, always('{ Error = "\\033"; }'))
        self.assert_result(kt("ping", "-c", "2"), 1, "",
                           "kt ping: the server at 127.0.0.1:4798 does not echo but answers "
                           '{ Error = "\\033"; }\n')

    def test_fails_without_server(self):
        result = kt("ping", "--timeout", BRIEF[0])
        self.assertEqual((result.returncode, result.stdout), (1, ""))
        self.assertIn("kt ping: no server of signature", result.stderr)


class KtPingInterrupt(PingTest):
    def test_prints_summary(self):
        Daemon(self)
        ping = self.start("-i", "0.01", "--timeout", PATIENT)
        for number in (1, 2, 3):
            self.assertRegex(ping.line(), line(number))
        status, output, errors = ping.end(signal.SIGINT)
        self.assertEqual((status, errors), (0, ""))
        self.assertRegex(output, r"(?s)(\d+) sent, \1 received, 0 lost \(0 %\)\n" + FIGURES + "$")

    def test_ends_long_interval_at_once(self):
        Daemon(self)
        ping = self.start("-i", "86400", "--timeout", PATIENT)
        ping.line()
        _, output, _ = ping.end(signal.SIGINT)
        self.assertRegex(output, r"^1 sent, 1 received, 0 lost \(0 %\)\n")

    def test_ends_long_wait_without_counting_round_trip(self):
        peer = Peer(self, server(first_only))
        ping = self.start("-i", "0", "--timeout", PATIENT, "--json")
        ping.line()
        peer.await_request(lambda request: request.sequence == 2)
        start = time.monotonic()
        status, output, _ = ping.end(signal.SIGINT)
        self.assertLess(time.monotonic() - start, int(PATIENT) / 1000)
        self.assertRegex(output, r'^\{"sent":1,"received":1,"lost":0,')
        self.assertEqual(status, 0)

    def test_fails_without_any_answer(self):
        peer = Peer(self, server())
        ping = self.start("--timeout", PATIENT)
        peer.await_request(lambda request: request.keyword == "Echo")
        self.assertEqual(ping.end(signal.SIGINT),
                         (1, "0 sent, 0 received, 0 lost (0 %)\n", ""))


class KtPingOutput(PingTest):
    def test_fails_on_closed_pipe(self):
        Daemon(self)
        ping = self.start("-i", "0", "--timeout", PATIENT)
        ping.line()
        ping.close_output()
        self.assertEqual(ping.wait(), (
            1, "", "kt ping: can't write to standard output: Broken pipe\n"))


if __name__ == "__main__":
    unittest.main()
