# SPDX-License-Identifier: MIT
"""kt --server: asks one host."""

import json
import unittest

from peers import Peer, always, identification, remove_broadcast_route, server, udp_socket
from programs import BRIEF, COMMANDS_WITH_TIMEOUT, DEFAULT_PORTS, Daemon, ProgramTest, kt, \
    kt_briefly

ARGUMENTS = {"send": ["Status"], "ping": ["-c", "1"], "eval": ["1 + 1"],
             "watch": ["--json", "-c", "1"]}


def no_server(place, ports=DEFAULT_PORTS):
    return (rf'^kt hello: no server of signature "KtUDP" answered at {place} within \d+ ms\n'
            rf'Tried the ports {", ".join(map(str, ports))}\.\n')


class KtServer(ProgramTest):
    def test_is_found_by_name_and_by_address(self):
        Daemon(self)
        for host in ["localhost", "127.0.0.1", "127.0.0.9"]:
            result = kt("hello", "--server", host)
            self.assertIn(":4798, ", result.stdout, host)
            self.assertEqual((result.returncode, result.stderr), (0, ""))

    def test_is_used_by_each_command_that_uses_server(self):
        remove_broadcast_route(self)  # so that a broadcast would fail
        part = always('{ Sequence = 1; Value = 2; Files = (); Root = r; Total = 0; Kinds = {}; }')

        def answer(request, count):
            is_hello = request.keyword == "HelloKtUDP"
            return [request.answer(identification())] if is_hello else part(request, count)

        Peer(self, answer)
        for command in COMMANDS_WITH_TIMEOUT:
            result = kt(command, *ARGUMENTS.get(command, []), "--server", "localhost")
            self.assertEqual(result.returncode, 0, (command, result.stderr))

    def test_is_asked_on_ports_of_list(self):
        Daemon(self, "--ports", "9000")
        result = kt("hello", "--server", "localhost", "--timeout", BRIEF[0])
        self.assertEqual(result.returncode, 1)
        result = kt("hello", "--server", "localhost", "--ports", "9001,9000")
        self.assertIn("127.0.0.1:9000, ", result.stdout)

    def test_is_asked_on_given_port_only(self):
        listener = udp_socket(self, 4798)
        Daemon(self, "--ports", "9000")
        result = kt("hello", "--server", "localhost:9000", "--ports", "4798")
        self.assertIn("127.0.0.1:9000, ", result.stdout)
        listener.setblocking(False)
        self.assertRaises(BlockingIOError, listener.recv, 1)

    def test_is_asked_alone(self):
        elsewhere = Peer(self, server(), address="127.0.0.5")
        Peer(self, server(), address="127.0.0.6")
        result = kt("hello", "--server", "127.0.0.6")
        self.assertIn(" at 127.0.0.6:4798, ", result.stdout)
        self.assertEqual(elsewhere.requests, [])

    def test_shows_every_server_of_host(self):
        Daemon(self, "--ports", "4798")
        Daemon(self, "--ports", "4711")
        result = kt_briefly("hello", "--all", "--json", "--server", "localhost",
                            heard=lambda result: result.stdout.count("\n") >= 2)
        self.assertEqual(sorted(json.loads(line)["port"] for line in result.stdout.splitlines()),
                         [4711, 4798])

    def test_shows_no_server_of_other_port(self):
        Daemon(self, "--ports", "4798")
        Daemon(self, "--ports", "4711")
        result = kt_briefly("hello", "--all", "--json", "--server", "localhost:4711")
        self.assertEqual([json.loads(line)["port"] for line in result.stdout.splitlines()], [4711])


class KtServerFailure(ProgramTest):
    check = (r"Check that ktd runs on that host with that signature and one of these ports,\n"
             r"that no firewall drops UDP, and whether a longer --timeout helps\.\n$")

    def test_says_that_host_is_unknown(self):
        for arguments in [[], ["--all"]]:
            self.assert_result(kt("hello", *arguments, "--server", "no.such.host"), 1, "",
                               'kt hello: can\'t look for a server at "no.such.host": there is no '
                               "such host\nCheck the name, or give an IPv4 address instead.\n")

    def test_says_that_host_has_no_ipv4_address(self):
        for arguments in [[], ["--all"]]:
            self.assert_result(kt("hello", *arguments, "--server", "::1"), 1, "",
                               'kt hello: can\'t look for a server at "::1": the host has no IPv4 '
                               "address\nGive a host that has one.\n")

    def test_escapes_host(self):
        result = kt("hello", "--server", "\x1b[2J")
        self.assertIn('a server at "\\033[2J": there is no such host', result.stderr)

    def test_names_host_address_and_ports_without_server(self):
        for arguments in [[], ["--all"]]:
            result = kt("hello", *arguments, "--server", "localhost", "--timeout", BRIEF[0])
            self.assertEqual((result.returncode, result.stdout), (1, ""))
            self.assertRegex(result.stderr, no_server(r'"localhost" \(127\.0\.0\.1\)') + self.check)

    def test_names_given_port_without_server(self):
        result = kt("hello", "--server", "127.0.0.1:9", "--timeout", BRIEF[0])
        self.assertRegex(result.stderr, no_server(r"127\.0\.0\.1", [9]) + self.check)

    def test_says_that_system_refuses_to_send(self):
        result = kt("hello", "--server", "10.9.9.9", "--timeout", BRIEF[0])
        self.assertRegex(result.stderr, no_server(r"10\.9\.9\.9") +
                         r"The system refuses to send to 10\.9\.9\.9: Network is unreachable\.\n"
                         r"Check that there is a route to that address\.\n$")


class KtServerArgument(ProgramTest):
    def test_excludes_broadcast(self):
        self.assert_misuse(kt("hello", "--server", "localhost", "--broadcast", "127.0.0.1"),
                           "kt hello", "--server excludes --broadcast")

    def test_needs_host_and_port_in_range(self):
        for text in [":", ":4798", "hut:", "hut:0", "hut:65536", "hut:x"]:
            self.assert_misuse(
                kt("hello", "--server", text), "kt hello",
                f'--server: "{text}" is not HOST or HOST:PORT with a port from 1 to 65535')


if __name__ == "__main__":
    unittest.main()
