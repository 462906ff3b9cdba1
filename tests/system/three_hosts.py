# SPDX-License-Identifier: MIT
"""Servers, clients and bystanders on hosts of their own that share a bridge."""

import unittest

from support import (Program, SystemTest, hosts_on_a_bridge, requester, serving,
                     wait_until_linked)

PORTS = (4798, 4711, 5600, 4822, 3493, 4926)


def heard(sockets):
    """What has come to each of the sockets."""
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


class ThreeHosts(SystemTest):
    def build(self, names=""):
        """The hosts of server, client and bystander, whose sockets then hear every port."""
        server, client, bystander = hosts_on_a_bridge(3, names)
        wait_until_linked(client, server)
        wait_until_linked(client, bystander)
        ears = [bystander.socket(port) for port in PORTS]
        for ear in ears:
            self.addCleanup(ear.close)
        return server, client, bystander, ears

    def expect_discovery_only(self, datagrams, sender):
        """The bystander hears one or two passes of discovery and nothing of the requests."""
        passes = len(datagrams[0])
        self.assertIn(passes, (1, 2))
        for of_port in datagrams:
            self.assertEqual(of_port, [datagrams[0][0]] * passes)
            self.assertEqual(of_port[0][1][0], sender.address)
            self.assertIn(b"HelloKtUDP", of_port[0][0])

    def test_a_client_finds_its_server_by_broadcast(self):
        server, client, _, ears = self.build()
        client.reach_everyone()
        with serving(host=server), requester("--requests", 20, host=client) as requests:
            requests.wait_for("connected")
            results = requests.results()
        self.assert_all_answered(results, 20)
        self.assertEqual(results.only("address"), f"{server.address}:4798")
        self.assertEqual(results.only("server"), server.name)
        self.expect_discovery_only(heard(ears), client)

    # This host has no way to 255.255.255.255: it is the name that shows the way.
    def test_a_client_finds_its_server_through_the_address_of_broadcasthost(self):
        server, client, _, ears = self.build("10.77.0.255 broadcasthost\n")
        with serving(host=server), requester("--requests", 20, host=client) as requests:
            requests.wait_for("connected")
            results = requests.results()
        self.assert_all_answered(results, 20)
        self.assertEqual(results.only("address"), f"{server.address}:4798")
        self.expect_discovery_only(heard(ears), client)

    def test_without_a_way_to_the_broadcast_address_no_server_is_found(self):
        server, client, _, ears = self.build()
        with serving(host=server), requester("--requests", 1, host=client) as requests:
            requests.wait_for("connected")
            self.assertEqual(requests.results().number("clients"), 0)
        self.assertEqual(heard(ears), [[]] * len(PORTS))

    def test_a_server_of_another_signature_is_not_found(self):
        server, client, _, _ = self.build()
        client.reach_everyone()
        with serving("--signature", "Other", host=server), requester(host=client) as requests:
            requests.wait_for("connected")
            self.assertEqual(requests.results().number("clients"), 0)

    def test_of_two_servers_one_is_taken_and_kept(self):
        first, client, second, ears = self.build()
        client.reach_everyone()
        for ear in ears:
            ear.close()  # its port is the second server's now
        with serving(host=first), serving(host=second), \
                requester("--requests", 200, host=client) as requests:
            requests.wait_for("connected")
            results = requests.results()
        self.assert_all_answered(results, 200)
        self.assertIn(results.only("server"), (first.name, second.name))

    def test_a_server_whose_first_port_is_taken_is_found_on_the_second(self):
        server, client, _, _ = self.build()
        client.reach_everyone()
        with server.socket(4798), serving(host=server) as second, \
                requester("--requests", 5, host=client) as requests:
            self.assertEqual(second.port, 4711)
            requests.wait_for("connected")
            results = requests.results()
        self.assert_all_answered(results, 5)
        self.assertEqual(results.only("address"), f"{server.address}:4711")
        self.assertEqual(results.only("port"), "4711")

    def test_a_unique_server_refuses_while_another_host_serves_its_signature(self):
        first, second, _, _ = self.build()
        second.reach_everyone()
        with serving(host=first):
            with Program("server", "--unique", 1, host=second) as refused:
                self.assertEqual(refused.line(), "refused")
            with serving("--unique", 1, "--signature", "Other", host=second):
                pass
        with serving("--unique", 1, host=second):
            pass


if __name__ == "__main__":
    unittest.main()
