# SPDX-License-Identifier: MIT
"""kt and several networks: --broadcast with several addresses or all, and hello --all."""

import json
import os
import unittest

from hosts import execute
from peers import Peer, identification, remove_broadcast_route, server
from programs import BRIEF, DEFAULT_PORTS, Daemon, Program, ProgramTest, kt, kt_briefly

FURTHER = "To look further: --broadcast all on every network, --server HOST at one host.\n"


def attach(number, name):
    """Attaches this host to the network 10.77.NUMBER.0/24 by an interface of its own.

    The other end of the interface is `name`, in this host too, until it is moved.
    """
    execute(f"ip link add port{number} type veth peer name {name}")
    execute(f"ip address add 10.77.{number}.1/24 broadcast 10.77.{number}.255 dev port{number}")
    execute(f"ip link set port{number} up")
    execute(f"ip link set {name} up")


def neighbour(test, number, *arguments):
    """Starts a ktd on another host of that network, 10.77.NUMBER.2."""
    namespace = f"host{number}"
    execute(f"ip netns add {namespace}")
    attach(number, "eth0")
    execute(f"ip link set eth0 netns {namespace}")
    for command in ("link set lo up", "link set eth0 up",
                    f"address add 10.77.{number}.2/24 broadcast 10.77.{number}.255 dev eth0"):
        execute(f"ip -n {namespace} {command}")
    ktd = Program(test, "nsenter", f"--net=/run/netns/{namespace}", os.environ["KTD"], *arguments)
    ktd.wait_for("serving")


def addresses(result):
    """Returns the addresses and ports of the servers that kt printed as JSON."""
    found = map(json.loads, result.stdout.splitlines())
    return sorted(f"{server['address']}:{server['port']}" for server in found)


def hello(*arguments, count=1):
    """Looks for servers, longer if it finds fewer than `count`."""
    return kt_briefly("hello", "--json", *arguments,
                      heard=lambda result: result.stdout.count("\n") >= count)


def no_server(*tried):
    places = ", ".join(tried).replace(".", r"\.")
    return (rf'^kt hello: no server of signature "KtUDP" answered at {places} within \d+ ms\n'
            rf'Tried the ports {", ".join(map(str, DEFAULT_PORTS))}\.\n')


CHECK = (r"Check that ktd runs on this network with that signature and one of these ports,\n"
         r"that no firewall drops UDP, and whether a longer --timeout helps\.\n")


class NetworksTest(ProgramTest):
    def setUp(self):
        execute("mount -t tmpfs none /run")  # for the names of network namespaces


class KtBroadcast(NetworksTest):
    def test_asks_at_each_given_address(self):
        places = ["127.0.0.4", "127.0.0.5", "127.0.0.6"]
        peers = [Peer(self, lambda request, _: [], address=place) for place in places]
        kt("hello", "--broadcast", ",".join(places), "--timeout", BRIEF[0])
        for peer in peers:
            peer.last_run("HelloKtUDP")  # reads what is still in the queue
            self.assertEqual(len(peer.requests), 3)  # two passes and a trial

    def test_finds_servers_of_all_given_addresses(self):
        Peer(self, server(port=4798), address="127.0.0.5")
        Peer(self, server(port=4711), address="127.0.0.6")
        result = hello("--all", "--broadcast", "127.0.0.5,127.0.0.6", count=2)
        self.assertEqual(addresses(result), ["127.0.0.5:4798", "127.0.0.6:4798"])

    def test_all_reaches_every_network(self):
        remove_broadcast_route(self)
        neighbour(self, 1)
        neighbour(self, 2, "--signature", "Other")
        self.assertEqual(addresses(hello("--broadcast", "all")), ["10.77.1.2:4798"])
        self.assertEqual(addresses(hello("--broadcast", "all", "--signature", "Other")),
                         ["10.77.2.2:4798"])

    def test_all_needs_network(self):
        execute("ip link set lo down")
        for arguments in [[], ["--all"]]:
            self.assert_result(
                kt("hello", *arguments, "--broadcast", "all"), 1, "",
                "kt hello: can't look for a server on every network: no interface that is up has a "
                "broadcast address\nCheck the network, or name the server's host with --server.\n")


class KtHelloOnNetworks(NetworksTest):
    def test_finds_servers_of_every_network(self):
        neighbour(self, 1)
        neighbour(self, 2)
        Daemon(self)
        self.assertEqual(addresses(hello("--all", count=3)),
                         ["10.77.1.2:4798", "10.77.2.2:4798", "127.0.0.1:4798"])

    def test_finds_server_at_address_of_broadcasthost(self):
        Peer(self, server(), address="127.0.0.9")  # hears no broadcast
        self.assertEqual(kt("hello", "--all", "--timeout", BRIEF[0]).returncode, 1)
        with open("/etc/hosts", "a", encoding="ascii") as hosts:
            hosts.write("127.0.0.9 broadcasthost\n")
        self.assertEqual(addresses(hello("--all")), ["127.0.0.9:4798"])

    def test_shows_server_of_this_host_once(self):
        attach(1, "end1")
        attach(2, "end2")
        Daemon(self)
        Daemon(self, "--ports", "4711")
        self.assertEqual(addresses(hello("--all", count=2)), ["127.0.0.1:4711", "127.0.0.1:4798"])

    def test_shows_server_of_this_host_once_if_loopback_is_not_asked(self):
        attach(1, "end1")
        attach(2, "end2")
        Daemon(self)
        result = hello("--all", "--broadcast", "10.77.1.255,10.77.2.255")
        self.assertEqual(addresses(result), ["10.77.1.1:4798"])

    def test_asks_usual_address_without_network(self):
        execute("ip link set lo down")
        result = kt("hello", "--all", "--timeout", BRIEF[0])
        self.assertRegex(result.stderr, no_server("255.255.255.255") +
                         r"The system refuses to send to 255\.255\.255\.255: ")

    def test_measures_round_trip_of_each_answer(self):
        Peer(self, lambda request, _: [request.answer(identification())])
        found = json.loads(hello("--all", "--broadcast", "127.0.0.4,127.0.0.5").stdout)
        self.assertGreater(found["roundTripMs"], 0)


class KtWithoutServer(NetworksTest):
    def looked(self, *arguments):
        result = kt("hello", *arguments, "--timeout", BRIEF[0])
        self.assertEqual((result.returncode, result.stdout), (1, ""))
        return result.stderr

    def test_suggests_other_places_if_host_has_several_networks(self):
        attach(1, "end1")
        self.assertRegex(self.looked(), no_server("255.255.255.255") + CHECK + "$")
        attach(2, "end2")
        self.assertRegex(self.looked(), no_server("255.255.255.255") + CHECK + FURTHER + "$")
        self.assertRegex(self.looked("--broadcast", "10.77.1.255"),
                         no_server("10.77.1.255") + CHECK + FURTHER + "$")

    def test_suggests_no_other_places_after_looking_on_every_network(self):
        attach(1, "end1")
        attach(2, "end2")
        for argument in [["--all"], ["--broadcast", "all"]]:
            self.assertRegex(self.looked(*argument),
                             no_server("127.255.255.255", "10.77.1.255", "10.77.2.255") +
                             CHECK + "$")

    def test_suggests_no_other_places_for_named_server(self):
        attach(1, "end1")
        attach(2, "end2")
        self.assertNotIn("To look further", self.looked("--server", "localhost"))

    def test_names_first_address_that_system_refuses(self):
        self.assertRegex(
            self.looked("--broadcast", "127.0.0.1,10.9.0.255,10.8.0.255"),
            no_server("127.0.0.1", "10.9.0.255", "10.8.0.255") +
            r"The system refuses to send to 10\.9\.0\.255: Network is unreachable\.\n"
            r"Check that there is a route to that address, or give another with --broadcast\n"
            rf"\(127\.0\.0\.1 for this machine\)\.\n{FURTHER}$")


if __name__ == "__main__":
    unittest.main()
