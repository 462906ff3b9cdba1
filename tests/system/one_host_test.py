# SPDX-License-Identifier: MIT
"""Clients and servers on one host: under load, under signals, stopped, and over a bad network.

The environment has the number of requests of the longest case (REQUESTS).
"""

import os
import signal
import unittest

from helpers import Helper, Requester, Server, SystemTest

# Sanitizers keep freed memory, so that growth says nothing.
SANITIZED = os.environ.get("SANITIZED") == "1"


class KtUDPDaemon(SystemTest):
    def test_answers_200_clients_at_once(self):
        Server(self)
        clients = Requester(self, "--threads", 200, "--requests", 20, "--attempts", 5,
                            "--timeout", 1000)
        self.assert_all_answered(clients.results(), 200 * 20, clients=200)

    def test_answers_two_clients_on_two_threads(self):
        Server(self)
        clients = Requester(self, "--threads", 2, "--requests", 2000)
        self.assert_all_answered(clients.results(), 2 * 2000, clients=2)


class LongRun(SystemTest):
    case_limit = 1200

    # Memory is measured only after the first 20,000 requests, during which the allocator settles.
    # On one core the two processes take turns; across cores each request waits for a core to wake,
    # which takes ten times as long.
    def test_makes_neither_end_grow(self):
        count = int(os.environ["REQUESTS"])
        os.sched_setaffinity(0, {min(os.sched_getaffinity(0))})
        Server(self)
        results = Requester(self, "--warm-up", 20_000, "--requests", count).results()
        growth = {end: results.number(f"{end}-growth") for end in ("client", "server")}
        print(f"{count} requests; growth in bytes: {growth}")
        self.assert_all_answered(results, 20_000 + count)
        if not SANITIZED:
            self.assertLessEqual(max(growth.values()), 256 * 1024)


class ClientAndServer(SystemTest):
    def test_work_with_2000_open_files(self):
        Server(self, "--files", 2000)
        client = Requester(self, "--files", 2000, "--requests", 100)
        self.assert_all_answered(client.results(), 100)

    def test_work_under_signal_every_millisecond(self):
        Server(self, "--signals", 1)
        client = Requester(self, "--signals", 1, "--requests", 20000)
        self.assert_all_answered(client.results(), 20000)


class StoppedDaemon(SystemTest):
    def test_answers_waiting_request_when_continued(self):
        server = Server(self)
        client = Requester(self, "--go", 1, "--requests", 2, "--timeout", 500, debug=True)
        server.send_signal(signal.SIGSTOP)
        os.waitpid(server.process.pid, os.WUNTRACED)
        client.go()
        log = client.process.stderr
        client.wait_for("KtUDPKeyword = Echo", log)
        client.wait_for("Bad select", log)  # the first attempt has ended
        server.send_signal(signal.SIGCONT)
        self.assert_all_answered(client.results(), 2)


class BadNetwork(SystemTest):
    # KT_SEED=NUMBER draws another plan.
    def test_causes_no_wrong_answer(self):
        seed = int(os.environ.get("KT_SEED", 4798))
        print(f"KT_SEED={seed}")
        Server(self, "--ports", 9000)
        relay = Helper(self, "relay", "--seed", seed, "--server", 9000, "--delay", 8)
        self.assertEqual(relay.line(), "relaying\n")
        client = Requester(self, "--ports", 4798, "--requests", 2000, "--timeout", 5,
                           "--retries", 5, "--attempts", 50)
        results = client.results()
        relay.go()
        done = relay.results()
        print(dict(results), dict(done))
        self.assertEqual(results.number("wrong"), 0)
        # By chance one of 16,384 surplus replies carries the handshake of a later request.
        self.assertLessEqual(results.number("coincidences"), 5)
        self.assertGreaterEqual(results.number("answered"), 1800)
        for fate in ("lost", "doubled", "delayed", "reordered"):
            self.assertGreater(done.number(fate), 100, fate)


if __name__ == "__main__":
    unittest.main()
