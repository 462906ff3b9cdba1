# SPDX-License-Identifier: MIT
"""kt hello: finding a server, or every server."""

import json
import unittest

from programs import (BRIEF, DEFAULT_PORTS, Daemon, Peer, ProgramTest, identification, kt,
                      remove_broadcast_route, server)

NUMBER = r"\d+\.\d{3}"


def no_server(address="255.255.255.255", signature="KtUDP", ports=DEFAULT_PORTS):
    """The beginning of what is said when nobody answers."""
    return (rf'^kt hello: no server of signature "{signature}" answered at {address} '
            rf'within \d+ ms\nTried the ports {", ".join(map(str, ports))}\.\n')


def all_servers(*arguments):
    return kt("hello", "--all", "--timeout", BRIEF, *arguments)


class OneServer(ProgramTest):
    def test_is_printed_with_where_it_is_and_how_far(self):
        Daemon(self)
        result = kt("hello")
        self.assertRegex(
            result.stdout,
            rf'^".+" at 127\.0\.0\.1:4798, signature "KtUDP", {NUMBER} ms\n$')
        self.assertEqual((result.returncode, result.stderr), (0, ""))

    def test_is_found_on_each_port_of_the_list(self):
        for port in DEFAULT_PORTS:
            daemon = Daemon(self, "--ports", str(port))
            self.assertIn(f"127.0.0.1:{port}, ", kt("hello").stdout)
            daemon.end()

    def test_is_found_on_given_ports_with_a_given_signature(self):
        Daemon(self, "--signature", "My Hut", "--ports", "9000")
        result = kt("hello", "--signature", "My Hut", "--ports", "9001,9000")
        self.assertIn('127.0.0.1:9000, signature "My Hut", ', result.stdout)

    def test_is_found_at_a_given_address(self):
        Daemon(self)
        self.assertEqual(kt("hello", "--broadcast", "127.0.0.1").returncode, 0)

    def test_as_json(self):
        Daemon(self)
        result = kt("hello", "--json")
        self.assertEqual(result.stderr, "")
        found = json.loads(result.stdout)
        self.assertEqual(list(found), ["name", "address", "port", "signature", "roundTripMs",
                                       "announcedPort", "nameAddress"])
        self.assertEqual([found["address"], found["port"], found["announcedPort"]],
                         ["127.0.0.1", 4798, 4798])
        self.assertGreater(found["roundTripMs"], 0)

    def test_is_not_printed_when_quiet(self):
        Daemon(self)
        self.assert_result(kt("hello", "--quiet"), 0)
        self.assert_result(kt("hello", "-q", "--json"), 0)

    def test_debug_logs_what_is_sent_and_received(self):
        Daemon(self)
        result = kt("hello", "--debug")
        self.assertIn("sending { _DataPacket = { KtUDPKeyword = HelloKtUDP; }; ", result.stderr)
        self.assertIn("Server listening on port 4798\n", result.stderr)

    def test_the_user_default_logs_too(self):
        Daemon(self)
        result = kt("hello", environment={"KtDebugEnabled": "YES"})
        self.assertIn("Server listening on port 4798\n", result.stderr)


class Differences(ProgramTest):
    def test_of_port_and_name_are_noted(self):
        Peer(self, server(name="127.0.0.9", port=4711))
        result = kt("hello")
        self.assertRegex(result.stdout, rf"{NUMBER} ms; announces port 4711; "
                                        r"its name stands for 127\.0\.0\.9\n$")

    def test_are_in_json_as_addresses_and_ports(self):
        Peer(self, server(name="127.0.0.9", port=4711))
        found = json.loads(kt("hello", "--json").stdout)
        self.assertEqual([found["address"], found["nameAddress"], found["port"],
                          found["announcedPort"]], ["127.0.0.1", "127.0.0.9", 4798, 4711])

    def test_a_name_that_nobody_knows_is_none(self):
        Peer(self, server(name="no.such.host"))
        self.assertRegex(kt("hello").stdout, rf'^"no.such.host" at .*{NUMBER} ms\n$')
        self.assertIsNone(json.loads(kt("hello", "--json").stdout)["nameAddress"])


class HostileServer(ProgramTest):
    name = "\x1b]0;owned\x07\r\n\x9b2J\u202e\x00"
    written = r"\033]0;owned\007\r\n\U009b2J\U202e\000"

    def test_cannot_reach_the_terminal_through_its_name(self):
        Peer(self, server(name=self.written))
        for result in [kt("hello"), all_servers(), kt("hello", "--json")]:
            self.assert_printable(result.stdout + result.stderr)
            self.assertEqual(result.stdout.count("\n"), 1, result.stdout)

    def test_json_has_its_name_in_full(self):
        Peer(self, server(name=self.written))
        self.assertEqual(json.loads(kt("hello", "--json").stdout)["name"], self.name)

    def test_that_announces_a_port_below_0_is_of_no_use(self):
        Peer(self, server(port=-5))
        self.assert_result(kt("hello"), 1, "",
                           "kt hello: the server at 127.0.0.1:4798 says that its port is -5, "
                           "which no request can be sent to\n")

    def test_that_falls_silent_is_told_of(self):
        Peer(self, lambda request, count: [request.answer(identification())] if count == 0 else [])
        result = kt("hello", "--ports", "4798", "--timeout", BRIEF, "--retries", "2")
        self.assertEqual((result.returncode, result.stdout), (1, ""))
        self.assertRegex(
            result.stderr,
            r"^kt hello: the server at 127\.0\.0\.1:4798 left the request unanswered: "
            r"sent 3 times within \d+ ms\nCheck that the server still runs, ")

    def test_that_does_not_say_who_it_is(self):
        Peer(self, lambda request, count: [request.answer(
            identification() if count < 2 else '{ a = "\\033"; }')])
        self.assert_result(
            kt("hello", "--ports", "4798"), 1, "",
            'kt hello: the server does not say who it is: { a = "\\033"; }\n')


class AllServers(ProgramTest):
    def test_are_printed_one_a_line(self):
        Daemon(self, "--ports", "4798")
        Daemon(self, "--ports", "3493")
        result = all_servers()
        self.assertEqual((result.returncode, result.stderr), (0, ""))
        first, second = sorted(result.stdout.splitlines())
        self.assertRegex(
            first, rf'^".+" at 127\.0\.0\.1:3493, signature "KtUDP", {NUMBER} ms$')
        self.assertRegex(
            second, rf'^".+" at 127\.0\.0\.1:4798, signature "KtUDP", {NUMBER} ms$')

    def test_as_json(self):
        Daemon(self, "--ports", "4798")
        Daemon(self, "--ports", "4711")
        lines = all_servers("--json").stdout.splitlines()
        self.assertEqual(sorted(json.loads(line)["port"] for line in lines), [4711, 4798])

    def test_do_not_include_those_of_other_signatures(self):
        Daemon(self, "--ports", "4798")
        Daemon(self, "--ports", "4711", "--signature", "Other")
        self.assertEqual(all_servers().stdout.count("\n"), 1)

    def test_are_each_printed_once_however_often_they_answer(self):
        Peer(self, lambda request, _: [request.answer(identification())] * 3)
        self.assertEqual(all_servers().stdout.count("\n"), 1)

    def test_include_those_that_answer_the_second_request_only(self):
        Peer(self, lambda request, count: [request.answer(identification())] if count == 1 else [])
        self.assertEqual(all_servers("--ports", "4798").stdout.count("\n"), 1)

    def test_what_is_no_identification_is_no_server(self):
        Peer(self, lambda request, _: [
            b"", b"{", b"(a)\0", b"{}\0", request.answer("{ a = b; }"), request.answer("text"),
            request.answer("{ KtUDPKeyword = _ServerName; }")])
        self.assertEqual(all_servers().returncode, 1)

    def test_an_answer_to_another_request_is_none_to_this(self):
        Peer(self, lambda request, _: [
            request.answer(identification()).replace(str(request.handshake + 1).encode(), b"7")])
        self.assertEqual(all_servers().returncode, 1)

    def test_their_differences_are_noted(self):
        Peer(self, server(name="127.0.0.9", port=4711))
        self.assertRegex(all_servers().stdout,
                         r"; announces port 4711; its name stands for 127\.0\.0\.9\n$")


class NoServer(ProgramTest):
    check = (r"Check that ktd runs on this network with that signature and one of these ports,\n"
             r"that no firewall drops UDP, and whether a longer --timeout helps\.\n$")

    def test_says_what_was_tried_and_what_to_check(self):
        for result in [kt("hello", "--timeout", "100"), all_servers()]:
            self.assertEqual((result.returncode, result.stdout), (1, ""))
            self.assertRegex(result.stderr, no_server() + self.check)

    def test_names_the_signature_address_and_ports_given(self):
        Daemon(self)
        result = kt("hello", "--signature", "Other", "--ports", "4798,9", "--broadcast",
                    "127.0.0.1", "--timeout", "100")
        self.assertRegex(result.stderr,
                         no_server(r"127\.0\.0\.1", "Other", [4798, 9]) + self.check)

    def test_waits_as_long_as_told(self):
        result = kt("hello", "--timeout", "300")
        self.assertRegex(result.stderr, r"within ([6-9]\d\d|\d{4,}) ms\n")

    def test_says_when_the_system_refuses_to_broadcast(self):
        remove_broadcast_route(self)
        for result in [kt("hello", "--timeout", "100"), all_servers()]:
            self.assertEqual(result.returncode, 1)
            self.assertRegex(
                result.stderr,
                no_server() + r"The system refuses to send to 255\.255\.255\.255: "
                r"Network is unreachable\.\nCheck that there is a route to that address, or give "
                r"another with --broadcast\n\(127\.0\.0\.1 for this machine\)\.\n$")

    def test_prints_nothing_on_standard_output_for_json(self):
        result = kt("hello", "--json", "--timeout", "100")
        self.assertEqual((result.returncode, result.stdout), (1, ""))


if __name__ == "__main__":
    unittest.main()
