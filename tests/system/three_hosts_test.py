# SPDX-License-Identifier: MIT
"""Servers, clients and bystanders on hosts of their own that share a bridge."""

import unittest

from helpers import Helper, Requester, Server, SystemTest
from hosts import hosts_on_a_bridge, wait_until_linked
from programs import DEFAULT_PORTS


def heard(sockets):
    """Returns the datagrams that each of the sockets has received."""
    datagrams = []
    for listener in sockets:
        listener.setblocking(False)
        datagrams.append([])
        while True:
            try:
                datagrams[-1].append(listener.recvfrom(65536))
            except BlockingIOError:
                break
    return datagrams


class HostsTest(SystemTest):
    def build(self, names=""):
        """Returns the hosts server, client and bystander, and bystander's sockets on every port."""
        server, client, bystander = hosts_on_a_bridge(3, names)
        wait_until_linked(client, server)
        wait_until_linked(client, bystander)
        ears = [bystander.socket(port) for port in DEFAULT_PORTS]
        for ear in ears:
            self.addCleanup(ear.close)
        return server, client, bystander, ears

    def requested(self, count, host):
        """Returns the results of a client on `host` that sends `count` requests."""
        return Requester(self, "--requests", count, host=host).results()

    def assert_discovery_only(self, datagrams, sender):
        """Asserts that the bystander received one or two passes of discovery and no request."""
        passes = len(datagrams[0])
        self.assertIn(passes, (1, 2))
        for of_port in datagrams:
            self.assertEqual(of_port, [datagrams[0][0]] * passes)
            self.assertEqual(of_port[0][1][0], sender.address)
            self.assertIn(b"HelloKtUDP", of_port[0][0])


class KtUDPClient(HostsTest):
    def test_finds_server_by_broadcast(self):
        server, client, _, ears = self.build()
        client.add_broadcast_route()
        Server(self, host=server)
        results = self.requested(20, client)
        self.assert_all_answered(results, 20)
        self.assertEqual(results.only("address"), f"{server.address}:4798")
        self.assertEqual(results.only("server"), server.name)
        self.assert_discovery_only(heard(ears), client)

    # This host has no route to 255.255.255.255, only to the address of the name broadcasthost.
    def test_finds_server_by_address_of_broadcasthost(self):
        server, client, _, ears = self.build("10.77.0.255 broadcasthost\n")
        Server(self, host=server)
        results = self.requested(20, client)
        self.assert_all_answered(results, 20)
        self.assertEqual(results.only("address"), f"{server.address}:4798")
        self.assert_discovery_only(heard(ears), client)

    def test_finds_no_server_without_broadcast_route(self):
        server, client, _, ears = self.build()
        Server(self, host=server)
        self.assertEqual(self.requested(1, client).number("clients"), 0)
        self.assertEqual(heard(ears), [[]] * len(DEFAULT_PORTS))

    def test_ignores_server_with_another_signature(self):
        server, client, _, _ = self.build()
        client.add_broadcast_route()
        Server(self, "--signature", "Other", host=server)
        self.assertEqual(Requester(self, host=client).results().number("clients"), 0)

    def test_keeps_one_of_two_servers(self):
        first, client, second, ears = self.build()
        client.add_broadcast_route()
        for ear in ears:
            ear.close()  # the second server needs its port
        Server(self, host=first)
        Server(self, host=second)
        results = self.requested(200, client)
        self.assert_all_answered(results, 200)
        self.assertIn(results.only("server"), (first.name, second.name))

    def test_finds_server_on_second_port_if_first_is_taken(self):
        server, client, _, _ = self.build()
        client.add_broadcast_route()
        self.addCleanup(server.socket(4798).close)
        self.assertEqual(Server(self, host=server).port, 4711)
        results = self.requested(5, client)
        self.assert_all_answered(results, 5)
        self.assertEqual(results.only("address"), f"{server.address}:4711")
        self.assertEqual(results.only("port"), "4711")


class UniqueDaemon(HostsTest):
    def test_refuses_while_another_host_serves_its_signature(self):
        first, second, _, _ = self.build()
        second.add_broadcast_route()
        other = Server(self, host=first)
        self.assertEqual(Helper(self, "server", "--unique", 1, host=second).line(), "refused\n")
        Server(self, "--unique", 1, "--signature", "Other", host=second).end()
        other.end()
        Server(self, "--unique", 1, host=second)


if __name__ == "__main__":
    unittest.main()
