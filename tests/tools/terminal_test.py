# SPDX-License-Identifier: MIT
"""The debug log on a terminal: control characters from the network are escaped there only."""

import os
import signal
import unittest

from peers import Peer, identification, udp_socket
from programs import BRIEF, PATIENT, Daemon, Program, ProgramTest, Terminal, kt, ktd

HOSTILE = "\x1b]0;owned\x07\r\x9b2J"
ESCAPED = r"\033]0;owned\a\r\U009b2J"


def hostile_server(request, _):
    return [request.answer(identification() if request.keyword == "HelloKtUDP"
                           else f'{{ a = "{HOSTILE}"; Sequence = 1; }}')]


class DebugLogOnTerminal(ProgramTest):
    def test_is_escaped_by_kt(self):
        Peer(self, hostile_server)
        terminal = Terminal(self)
        result = kt("send", "Fetch", "--debug", stderr=terminal.descriptor)
        self.assertEqual(result.returncode, 0)
        text = terminal.text()
        self.assert_printable(text)
        self.assertIn(f'Received reply {{ _DataPacket = {{ a = "{ESCAPED}"; ', text)

    def test_is_escaped_by_ktd_until_its_end(self):
        terminal = Terminal(self)
        daemon = Daemon(self, "--debug", errors=terminal.descriptor)
        client = udp_socket(self)
        client.sendto(HOSTILE.encode() + b"\0", ("127.0.0.1", 4798))
        kt("hello", "--ports", "4798")
        self.assertEqual(daemon.end(), (0, "", None))
        text = terminal.text()
        self.assert_printable(text)
        self.assertIn(f"Received request\n{ESCAPED} ", text)
        self.assertRegex(text, r"Sending reply \{ .*\n$")

    def test_precedes_errors(self):
        Daemon(self)
        terminal = Terminal(self)
        ktd("--ports", "4798", "--debug", stderr=terminal.descriptor)
        self.assertIn("ktd: every port of the list is taken", terminal.text())
        terminal = Terminal(self)
        kt("hello", "--signature", "Other", "--debug", "--timeout", BRIEF[0],
           stderr=terminal.descriptor)
        self.assertRegex(terminal.text(), r"(?s)No server could be found\nkt hello: no server of")

    def test_is_complete_after_interrupted_ping(self):
        Peer(self, hostile_server)
        terminal = Terminal(self)
        ping = Program(self, os.environ["KT"], "ping", "--debug", "--timeout", PATIENT,
                       errors=terminal.descriptor)
        ping.line()
        self.assertEqual(ping.end(signal.SIGINT)[0], 0)
        text = terminal.text()
        self.assert_printable(text)
        self.assertIn(ESCAPED, text)


class DebugLogElsewhere(ProgramTest):
    def test_is_unchanged_in_file(self):
        Peer(self, hostile_server)
        self.assertIn(HOSTILE.encode().decode("latin-1"), kt("send", "Fetch", "--debug").stderr)

    def test_is_not_on_terminal_without_debug(self):
        Peer(self, hostile_server)
        terminal = Terminal(self)
        kt("send", "Fetch", stderr=terminal.descriptor)
        self.assertEqual(terminal.text(), "")


if __name__ == "__main__":
    unittest.main()
