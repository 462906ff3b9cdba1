# SPDX-License-Identifier: MIT
"""ktd: options, start, end and answers."""

import os
import re
import signal
import subprocess
import unittest

from peers import envelope, remove_broadcast_route, udp_socket
from programs import DEFAULT_PORTS, PATIENT, Daemon, Program, ProgramTest, kt, ktd


def status(*arguments):
    """Returns what `kt send Status` prints, as a dictionary."""
    return dict(re.findall(r"(\w+) = ([^;]+);", kt("send", "Status", *arguments).stdout))


class KtdStart(ProgramTest):
    def test_says_what_it_serves_and_where(self):
        self.assertEqual(Daemon(self).ready_line, 'ktd: serving "KtUDP" on port 4798\n')

    def test_prints_nothing_else(self):
        self.assertEqual(Daemon(self).end(), (0, "", ""))

    def test_escapes_its_signature(self):
        daemon = Daemon(self, "--signature", 'a "b"\x1b')
        self.assertEqual(daemon.ready_line, 'ktd: serving "a \\"b\\"\\033" on port 4798\n')

    def test_takes_first_free_port(self):
        udp_socket(self, 4798)
        udp_socket(self, 4711)
        self.assertEqual(Daemon(self).port, 5600)
        self.assertIn(":5600, ", kt("hello").stdout)

    def test_takes_ports_in_given_order(self):
        self.assertEqual(Daemon(self, "--ports", "9001,9000").port, 9001)
        self.assertEqual(Daemon(self, "--ports", "9001,9000").port, 9000)

    def test_fails_if_every_port_is_taken(self):
        for port in DEFAULT_PORTS:
            udp_socket(self, port)
        taken = ", ".join(f"{port} (Address already in use)" for port in DEFAULT_PORTS)
        self.assert_result(ktd(), 1, "",
                           f"ktd: every port of the list is taken: {taken}\n"
                           "Stop what holds them, or give other ports with --ports.\n")

    def test_fails_if_it_cannot_report_that_it_is_ready(self):
        with open("/dev/full", "w") as full:
            result = ktd(stdout=full)
        self.assertEqual((result.returncode, result.stderr),
                         (1, "ktd: can't write to standard output: No space left on device\n"))


class KtdUnique(ProgramTest):
    taken = ('ktd: another server of signature "KtUDP" answers at 127.0.0.1:4798\n'
             "Stop it, or start without --unique or with another --signature.\n")

    def assert_refused(self, *arguments):
        """Asserts that a ktd refuses to start.

        It looks for other servers for a short, fixed time. On a busy machine it may miss them and
        serve; then another one is started.
        """
        for _ in range(20):
            daemon = Program(self, os.environ["KTD"], *arguments, errors=subprocess.PIPE)
            if ready_line := daemon.line():
                daemon.end()
            else:
                break
        self.assertEqual(ready_line, "")
        self.assertEqual(daemon.wait(), (1, "", self.taken))

    def test_starts_if_no_other_server_answers(self):
        self.assertEqual(Daemon(self, "--unique").port, 4798)

    def test_refuses_if_another_server_answers(self):
        Daemon(self)
        self.assert_refused("--unique")

    def test_refuses_if_other_server_has_another_port(self):
        Daemon(self)
        self.assert_refused("--unique", "--ports", "9000,4798")

    def test_ignores_servers_with_other_signatures(self):
        Daemon(self, "--signature", "Other")
        self.assertEqual(Daemon(self, "--unique").port, 4711)

    def test_lets_second_server_take_next_port_by_default(self):
        Daemon(self)
        self.assertEqual(Daemon(self).port, 4711)

    def test_looks_at_given_address(self):
        Daemon(self)
        remove_broadcast_route(self)
        self.assertEqual(Daemon(self, "--unique", "--ports", "4798,9000").port, 9000)
        self.assert_refused("--unique", "--broadcast", "127.0.0.1")

    def test_sends_nothing_by_default(self):
        listener = udp_socket(self, 4711)
        Daemon(self, "--ports", "4798,4711")
        listener.setblocking(False)
        self.assertRaises(BlockingIOError, listener.recv, 1)


class KtdEnd(ProgramTest):
    def test_comes_on_sigterm_and_sigint(self):
        for by in (signal.SIGTERM, signal.SIGINT):
            self.assertEqual(Daemon(self).end(by), (0, "", ""))

    def test_comes_while_it_looks_for_other_servers(self):
        listener = udp_socket(self, 4711)
        daemon = Program(self, os.environ["KTD"], "--unique")
        listener.recv(65536)
        self.assertEqual(daemon.end(), (0, "", None))

    def test_comes_while_it_serves(self):
        daemon = Daemon(self)
        for _ in range(3):
            Program(self, os.environ["KT"], "ping", "-i", "0", "--timeout", PATIENT).line()
        self.assertEqual(daemon.end(), (0, "", ""))

    def test_frees_port(self):
        Daemon(self).end()
        self.assertEqual(Daemon(self).port, 4798)


class KtdDebug(ProgramTest):
    def test_logs_on_standard_error(self):
        daemon = Daemon(self, "--debug")
        kt("send", "Echo", "a=b")
        errors = daemon.end()[2]
        for line in ["Bound to port 4798", "Registered and waiting.", "Received request\n{ ",
                     "Sending reply { "]:
            self.assertRegex(errors, r"\d ktd\[\d+\] " + re.escape(line))

    def test_logs_by_user_default(self):
        daemon = Daemon(self, environment={"KtDebugEnabled": "YES"})
        self.assertIn("Bound to port 4798\n", daemon.end()[2])

    def test_prefers_option_to_user_default(self):
        daemon = Daemon(self, "--debug", environment={"KtDebugEnabled": "NO"})
        self.assertIn("Bound to port 4798\n", daemon.end()[2])

    def test_logs_uniqueness_probe(self):
        self.assertIn("Daemon is unique: 1\n", Daemon(self, "--unique", "--debug").end()[2])


class KtdAnswers(ProgramTest):
    def test_echo_returns_other_entries(self):
        Daemon(self)
        self.assert_result(kt("send", "Echo", "a=b", "c=(1)"), 0, "{ a = b; c = ( 1 ); }\n")

    def test_status_describes_server(self):
        Daemon(self, "--signature", "Hut", "--ports", "9000")
        answer = status("--signature", "Hut", "--ports", "9000")
        self.assertEqual(sorted(answer), ["Busy", "Kinds", "Port", "Queued", "Refused", "Served",
                                          "Signature", "Uptime", "Version", "Working"])
        self.assertEqual([answer["Port"], answer["Signature"]], ["9000", "Hut"])
        self.assertRegex(answer["Version"], r"^\d+\.\d+\.\d+$")

    def test_status_counts_earlier_requests(self):
        Daemon(self)
        client = udp_socket(self)
        for datagram in [b"", b"{", b"(a)", b"{ a = b; }", envelope("{}", 1, "Other")]:
            client.sendto(datagram, ("127.0.0.1", 4798))
        for keyword in ["Echo", "Fetch", "HelloKtUDP", "Status"]:
            client.sendto(envelope(f"{{ KtUDPKeyword = {keyword}; }}", 1), ("127.0.0.1", 4798))
            answer = client.recv(65536)
        self.assertIn(b"; Refused = 5; Served = 3; ", answer)

    def test_error_for_unknown_kind_names_all_kinds(self):
        Daemon(self)
        self.assert_result(
            kt("send", "Fetch", "a=b"), 0,
            '{ Error = "This server has no such kind of request. '
            'It knows: Echo, Evaluate, Files, Kinds, Status."; }\n')

    def test_error_replaces_answer_that_is_too_large(self):
        Daemon(self)
        sender = udp_socket(self)
        text = "\u00fc" * 20000  # each takes two bytes in this request, six in the answer
        packet = f'{{ KtUDPKeyword = Echo; a = "{text}"; }}'
        sender.sendto(envelope(packet, 1), ("127.0.0.1", 4798))
        self.assertIn(b'_DataPacket = { Error = "The answer is too large for a datagram, '
                      b'which carries 65,507 bytes: it takes 120,079."; }', sender.recv(65536))


class KtdArguments(ProgramTest):
    def test_help_names_every_option(self):
        result = ktd("--help")
        self.assertEqual((result.returncode, result.stderr), (0, ""))
        for option in ["--signature TEXT", "--ports N,N,...", "--unique", "--files DIR ...",
                       "--types EXT,EXT,...", "--broadcast ADDRESS", "--debug", "--version",
                       "--help"]:
            self.assertIn(option, result.stdout)

    def test_prints_version(self):
        result = ktd("--version")
        self.assertRegex(result.stdout, r"^ktd \d+\.\d+\.\d+\n$")
        self.assertEqual((result.returncode, result.stderr), (0, ""))

    def test_refuses_wrong_options(self):
        self.assert_misuse(ktd("--ports", "0"), "ktd", '--ports: "0" is not a list of ports from '
                                                       "1 to 65535 with commas between them")
        self.assert_misuse(ktd("--broadcast", "x"), "ktd",
                           '--broadcast: "x" is not an IPv4 address such as 192.168.1.255')
        self.assert_misuse(ktd("--frob"), "ktd",
                           "The following argument was not expected: --frob")
        self.assert_misuse(ktd("serve"), "ktd", "The following argument was not expected: serve")


if __name__ == "__main__":
    unittest.main()
