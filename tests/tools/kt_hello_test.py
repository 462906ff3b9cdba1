# SPDX-License-Identifier: MIT
"""kt hello: finds a server, or every server."""

import json
import unittest

from peers import Peer, identification, remove_broadcast_route, server
from programs import BRIEF, DEFAULT_PORTS, Daemon, ProgramTest, kt, kt_briefly

NUMBER = r"\d+\.\d{3}"


def no_server(address="255.255.255.255", signature="KtUDP", ports=DEFAULT_PORTS):
    """Returns the first lines of the error if no server answers."""
    return (rf'^kt hello: no server of signature "{signature}" answered at {address} '
            rf'within \d+ ms\nTried the ports {", ".join(map(str, ports))}\.\n')


def all_servers(*arguments, count=1):
    """Looks for all servers, with a longer timeout if it finds fewer than `count`."""
    return kt_briefly("hello", "--all", *arguments,
                      heard=lambda result: result.stdout.count("\n") >= count)


def no_servers(*arguments):
    """Looks for all servers if none is expected."""
    return kt("hello", "--all", "--timeout", BRIEF[0], *arguments)


class KtHello(ProgramTest):
    def test_prints_server_with_address_and_round_trip(self):
        Daemon(self)
        result = kt("hello")
        self.assertRegex(
            result.stdout,
            rf'^".+" at 127\.0\.0\.1:4798, signature "KtUDP", {NUMBER} ms\n$')
        self.assertEqual((result.returncode, result.stderr), (0, ""))

    def test_finds_server_on_each_port_of_list(self):
        for port in DEFAULT_PORTS:
            daemon = Daemon(self, "--ports", str(port))
            self.assertIn(f"127.0.0.1:{port}, ", kt("hello").stdout)
            daemon.end()

    def test_finds_server_by_given_ports_and_signature(self):
        Daemon(self, "--signature", "My Hut", "--ports", "9000")
        result = kt("hello", "--signature", "My Hut", "--ports", "9001,9000")
        self.assertIn('127.0.0.1:9000, signature "My Hut", ', result.stdout)

    def test_finds_server_at_given_address(self):
        Daemon(self)
        self.assertEqual(kt("hello", "--broadcast", "127.0.0.1").returncode, 0)

    def test_prints_json(self):
        Daemon(self)
        result = kt("hello", "--json")
        self.assertEqual(result.stderr, "")
        found = json.loads(result.stdout)
        self.assertEqual(list(found), ["name", "address", "port", "signature", "roundTripMs",
                                       "announcedPort", "nameAddress"])
        self.assertEqual([found["address"], found["port"], found["announcedPort"]],
                         ["127.0.0.1", 4798, 4798])
        self.assertGreater(found["roundTripMs"], 0)

    def test_prints_nothing_if_quiet(self):
        Daemon(self)
        self.assert_result(kt("hello", "--quiet"), 0)
        self.assert_result(kt("hello", "-q", "--json"), 0)

    def test_logs_datagrams_with_debug(self):
        Daemon(self)
        result = kt("hello", "--debug")
        self.assertIn("sending { _DataPacket = { KtUDPKeyword = HelloKtUDP; }; ", result.stderr)
        self.assertIn("Server listening on port 4798\n", result.stderr)

    def test_logs_datagrams_by_user_default(self):
        Daemon(self)
        result = kt("hello", environment={"KtDebugEnabled": "YES"})
        self.assertIn("Server listening on port 4798\n", result.stderr)


class KtHelloAnnouncement(ProgramTest):
    def test_notes_other_port_and_address(self):
        Peer(self, server(name="127.0.0.9", port=4711))
        result = kt("hello")
        self.assertRegex(result.stdout, rf"{NUMBER} ms; announces port 4711; "
                                        r"its name resolves to 127\.0\.0\.9\n$")

    def test_prints_announced_port_and_address_as_json(self):
        Peer(self, server(name="127.0.0.9", port=4711))
        found = json.loads(kt("hello", "--json").stdout)
        self.assertEqual([found["address"], found["nameAddress"], found["port"],
                          found["announcedPort"]], ["127.0.0.1", "127.0.0.9", 4798, 4711])

    def test_ignores_unknown_host_name(self):
        Peer(self, server(name="no.such.host"))
        self.assertRegex(kt("hello").stdout, rf'^"no.such.host" at .*{NUMBER} ms\n$')
        self.assertIsNone(json.loads(kt("hello", "--json").stdout)["nameAddress"])


class KtHelloFaults(ProgramTest):
    """kt hello and a server that answers something hostile or wrong, or not at all."""

    name = "\x1b]0;owned\x07\r\n\x9b2J\u202e\x00"
    written = r"\033]0;owned\007\r\n\U009b2J\U202e\000"

    def test_escapes_hostile_name(self):
        Peer(self, server(name=self.written))
        for result in [kt("hello"), all_servers(), kt("hello", "--json")]:
            self.assert_printable(result.stdout + result.stderr)
            self.assertEqual(result.stdout.count("\n"), 1, result.stdout)

    def test_prints_whole_name_as_json(self):
        Peer(self, server(name=self.written))
        self.assertEqual(json.loads(kt("hello", "--json").stdout)["name"], self.name)

    def test_reports_negative_port(self):
        Peer(self, server(port=-5))
        self.assert_result(kt("hello"), 1, "",
                           "kt hello: the server at 127.0.0.1:4798 says that its port is -5, "
                           "which no request can be sent to\n")

    def test_reports_server_that_falls_silent(self):
        Peer(self, lambda request, count: [request.answer(identification())] if count == 0 else [])
        result = kt_briefly("hello", "--ports", "4798", "--retries", "1")
        self.assertEqual((result.returncode, result.stdout), (1, ""))
        self.assertRegex(
            result.stderr,
            r"^kt hello: the server at 127\.0\.0\.1:4798 left the request unanswered: "
            r"sent 2 times within \d+ ms\nCheck that the server still runs, ")

    def test_reports_server_that_does_not_identify_itself(self):
        Peer(self, lambda request, count: [request.answer(
            identification() if count < 2 else '{ a = "\\033"; }')])
        self.assert_result(
            kt("hello", "--ports", "4798"), 1, "",
            'kt hello: the server does not say who it is: { a = "\\033"; }\n')


class KtHelloAll(ProgramTest):
    def test_prints_one_server_per_line(self):
        Daemon(self, "--ports", "4798")
        Daemon(self, "--ports", "3493")
        result = all_servers(count=2)
        self.assertEqual((result.returncode, result.stderr), (0, ""))
        first, second = sorted(result.stdout.splitlines())
        self.assertRegex(
            first, rf'^".+" at 127\.0\.0\.1:3493, signature "KtUDP", {NUMBER} ms$')
        self.assertRegex(
            second, rf'^".+" at 127\.0\.0\.1:4798, signature "KtUDP", {NUMBER} ms$')

    def test_prints_json(self):
        Daemon(self, "--ports", "4798")
        Daemon(self, "--ports", "4711")
        lines = all_servers("--json", count=2).stdout.splitlines()
        self.assertEqual(sorted(json.loads(line)["port"] for line in lines), [4711, 4798])

    def test_ignores_servers_with_other_signatures(self):
        Daemon(self, "--ports", "4798")
        Daemon(self, "--ports", "4711", "--signature", "Other")
        self.assertEqual(all_servers().stdout.count("\n"), 1)

    def test_prints_server_once_if_it_answers_often(self):
        Peer(self, lambda request, _: [request.answer(identification())] * 3)
        self.assertEqual(all_servers().stdout.count("\n"), 1)

    def test_finds_server_that_answers_only_second_request(self):
        Peer(self, lambda request, count: [request.answer(identification())] if count == 1 else [])
        self.assertEqual(all_servers("--ports", "4798").stdout.count("\n"), 1)

    def test_ignores_answers_that_are_not_identifications(self):
        def junk(request):
            return [b"", b"{", b"(a)\0", b"{}\0", request.answer("{ a = b; }"),
                    request.answer("text"), request.answer("{ KtUDPKeyword = _ServerName; }")]
        peer = Peer(self, lambda request, _: junk(request))
        self.assertEqual(no_servers().returncode, 1)
        peer.part = lambda request, _: junk(request) + [request.answer(identification())]
        self.assertEqual(all_servers().stdout.count("\n"), 1)

    def test_ignores_answer_with_foreign_handshake(self):
        def foreign(request):
            answer = request.answer(identification("foreign"))
            return answer.replace(str(request.handshake + 1).encode(), b"7")
        peer = Peer(self, lambda request, _: [foreign(request)])
        self.assertEqual(no_servers().returncode, 1)
        peer.part = lambda request, _: [foreign(request), request.answer(identification())]
        self.assertRegex(all_servers().stdout, r'^"hut" [^\n]*\n$')

    def test_notes_other_port_and_address(self):
        Peer(self, server(name="127.0.0.9", port=4711))
        self.assertRegex(all_servers().stdout,
                         r"; announces port 4711; its name resolves to 127\.0\.0\.9\n$")


class KtHelloWithoutServer(ProgramTest):
    check = (r"Check that ktd runs on this network with that signature and one of these ports,\n"
             r"that no firewall drops UDP, and whether a longer --timeout helps\.\n$")

    def test_says_what_it_tried_and_what_to_check(self):
        for result, address in [(kt("hello", "--timeout", BRIEF[0]), "255.255.255.255"),
                                (no_servers(), "127.255.255.255")]:
            self.assertEqual((result.returncode, result.stdout), (1, ""))
            self.assertRegex(result.stderr, no_server(address) + self.check)

    def test_names_given_signature_address_and_ports(self):
        Daemon(self)
        result = kt("hello", "--signature", "Other", "--ports", "4798,9", "--broadcast",
                    "127.0.0.1", "--timeout", BRIEF[0])
        self.assertRegex(result.stderr,
                         no_server(r"127\.0\.0\.1", "Other", [4798, 9]) + self.check)

    def test_waits_for_whole_timeout(self):
        result = kt("hello", "--timeout", "150")
        self.assertRegex(result.stderr, r"within ([3-9]\d\d|\d{4,}) ms\n")

    def test_says_that_system_refuses_to_broadcast(self):
        remove_broadcast_route(self)
        result = kt("hello", "--timeout", BRIEF[0])
        self.assertEqual(result.returncode, 1)
        self.assertRegex(
            result.stderr,
            no_server() + r"The system refuses to send to 255\.255\.255\.255: "
            r"Network is unreachable\.\nCheck that there is a route to that address, or give "
            r"another with --broadcast\n\(127\.0\.0\.1 for this machine\)\.\n"
            r"To look further: --broadcast all on every network, --server HOST at one host\.\n$")

    def test_of_all_needs_no_route_for_broadcast(self):
        remove_broadcast_route(self)
        Daemon(self)
        self.assertEqual(all_servers().stdout.count("\n"), 1)

    def test_prints_no_json(self):
        result = kt("hello", "--json", "--timeout", BRIEF[0])
        self.assertEqual((result.returncode, result.stdout), (1, ""))


if __name__ == "__main__":
    unittest.main()
