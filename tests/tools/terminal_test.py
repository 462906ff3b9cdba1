# SPDX-License-Identifier: MIT
"""The debug log on a terminal: what the network sent is escaped there, and nowhere else."""

import os
import signal
import subprocess
import unittest

from programs import (PATIENCE, PATIENT, Daemon, Peer, ProgramTest, Terminal, identification, kt,
                      ktd, udp_socket)

HOSTILE = "\x1b]0;owned\x07\r\x9b2J"
ESCAPED = r"\033]0;owned\a\r\U009b2J"


def hostile_server(request, _):
    return [request.answer(identification() if request.keyword == "HelloKtUDP"
                           else f'{{ a = "{HOSTILE}"; Sequence = 1; }}')]


class OnATerminal(ProgramTest):
    def test_the_log_of_kt_is_escaped(self):
        Peer(self, hostile_server)
        terminal = Terminal(self)
        result = kt("send", "Fetch", "--debug", stderr=terminal.descriptor)
        self.assertEqual(result.returncode, 0)
        text = terminal.text()
        self.assert_printable(text)
        self.assertIn(f'Received reply {{ _DataPacket = {{ a = "{ESCAPED}"; ', text)

    def test_the_log_of_ktd_is_escaped_up_to_its_end(self):
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

    def test_errors_arrive_behind_the_log(self):
        Daemon(self)
        terminal = Terminal(self)
        ktd("--ports", "4798", "--debug", stderr=terminal.descriptor)
        self.assertIn("ktd: every port of the list is taken", terminal.text())
        terminal = Terminal(self)
        kt("hello", "--signature", "Other", "--debug", "--timeout", "100",
           stderr=terminal.descriptor)
        self.assertRegex(terminal.text(), r"(?s)No server could be found\nkt hello: no server of")

    def test_an_interrupted_ping_has_logged_everything(self):
        Peer(self, hostile_server)
        terminal = Terminal(self)
        ping = subprocess.Popen([os.environ["KT"], "ping", "--debug", "--timeout", PATIENT],
                                stdout=subprocess.PIPE, stderr=terminal.descriptor)
        ping.stdout.readline()
        ping.send_signal(signal.SIGINT)
        ping.communicate(timeout=PATIENCE)
        self.assertEqual(ping.returncode, 0)
        text = terminal.text()
        self.assert_printable(text)
        self.assertIn(ESCAPED, text)


class ElsewhereOrWithoutDebug(ProgramTest):
    def test_a_file_has_the_log_unchanged(self):
        Peer(self, hostile_server)
        self.assertIn(HOSTILE.encode().decode("latin-1"), kt("send", "Fetch", "--debug").stderr)

    def test_a_terminal_has_no_log_unless_asked_for(self):
        Peer(self, hostile_server)
        terminal = Terminal(self)
        kt("send", "Fetch", stderr=terminal.descriptor)
        self.assertEqual(terminal.text(), "")


if __name__ == "__main__":
    unittest.main()
