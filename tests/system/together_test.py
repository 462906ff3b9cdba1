# SPDX-License-Identifier: MIT
"""One client with many requests in flight, and servers that answer later, over a bad network.

The environment has the number of requests of the longest case of this folder (REQUESTS).
KT_SEED=NUMBER draws another plan of the network.
"""

import os
import unittest

from helpers import Helper, Server, SystemTest


def requests():
    """Returns the number of requests of the long cases: fewer if the build is slow."""
    return min(100_000, int(os.environ["REQUESTS"]))


class OverBadNetwork(SystemTest):
    """Tests with a relay at port 4798 that loses, doubles, delays and reorders datagrams."""

    def relay(self, server):
        seed = int(os.environ.get("KT_SEED", 4798))
        print(f"KT_SEED={seed}")
        relay = Helper(self, "relay", "--seed", seed, "--server", server, "--delay", 8)
        self.assertEqual(relay.line(), "relaying\n")
        return relay

    def ask(self, count, *options):
        """Runs a client with many requests in flight. Returns its results."""
        client = Helper(self, "together", "--server", 4798, "--requests", count, *options)
        self.assertEqual(client.line(), "begun\n")
        results = client.results()
        self.assertEqual(results.number("once"), count)  # each completed, and once
        self.assertEqual(results.number("wrong"), 0)
        return results

    def assert_bad(self, relay):
        """Asserts that the relay did what it is for."""
        relay.go()
        done = relay.results()
        print(dict(done))
        for fate in ("lost", "doubled", "delayed", "reordered"):
            self.assertGreater(done.number(fate), 100, fate)


class AsyncClient(OverBadNetwork):
    # So many at once are more than the receive buffers hold: most of the first sends are lost too.
    def test_gets_no_wrong_answer_with_4096_in_flight(self):
        count = requests()
        Server(self, "--ports", 9000)
        relay = self.relay(server=9000)
        results = self.ask(count, "--timeout", 50, "--retries", 6)
        print(dict(results))
        self.assertGreater(results.number("answered"), count / 2)
        self.assert_bad(relay)


class DeferredServer(OverBadNetwork):
    # The client's waits (5, 10, 20 ms and so on) are as long as the work and the delays: resends
    # arrive while a request is in work, while it is answered, and afterwards.
    def test_runs_every_request_once(self):
        count = requests() // 5
        server = Server(self, "--ports", 9000, program="deferredserver")
        relay = self.relay(server=9000)
        results = self.ask(count, "--open", 64, "--timeout", 5, "--retries", 10)
        self.assert_bad(relay)
        server.go()
        done = server.results()
        print(dict(results), dict(done))
        self.assertEqual(results.number("answered"), count)
        self.assertEqual(done.number("run"), count)
        self.assertEqual(done.number("repeated"), 0)
        self.assertEqual(done.number("sent"), count)

    # The work is longer than the clients' patience, so that there is some at any time.
    def test_stops_while_clients_ask_and_requests_are_in_work(self):
        server = Server(self, "--ports", 9000, "--work", 5000, program="deferredserver")
        options = ("--server", 9000, "--requests", 500, "--open", 100, "--timeout", 100,
                   "--retries", 1)
        clients = [Helper(self, "together", *options) for _ in range(4)]
        for client in clients:
            self.assertEqual(client.line(), "begun\n")
        server.go()
        done = server.results()
        self.assertEqual(server.process.returncode, 0)
        print(dict(done))
        self.assertEqual(done.number("repeated"), 0)
        self.assertGreater(done.number("unsent"), 0)  # the server was gone
        for client in clients:
            results = client.results()
            print(dict(results))
            self.assertEqual((results.number("once"), results.number("wrong")), (500, 0))
            self.assertGreater(results.number("lost"), 0)


if __name__ == "__main__":
    unittest.main()
