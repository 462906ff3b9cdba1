# SPDX-License-Identifier: MIT
"""ktd reads its configuration again on SIGHUP, and talks to the service manager."""

import collections
import itertools
import os
import pathlib
import select
import signal
import socket
import subprocess
import tempfile
import unittest

from peers import envelope, udp_socket
from programs import Daemon, Program, ProgramTest
from raw_client import RawClient

RELOADED = "ktd: the configuration was read again\n"


class ConfigurationTest(ProgramTest):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.folder = pathlib.Path(folder.name)
        self.file = self.folder / "ktd.plist"

    def serve(self, configuration, **options):
        self.file.write_text(configuration)
        return Daemon(self, "--config", str(self.file), **options)

    def reload(self, daemon, configuration):
        """Returns the line that the daemon writes."""
        self.file.write_text(configuration)
        daemon.send_signal(signal.SIGHUP)
        return daemon.error_line()


class KtdReload(ConfigurationTest):
    def test_changes_handlers(self):
        daemon = self.serve("{ handle = { A = /bin/cat; }; }")
        client = RawClient(self).get_token("A")
        self.assertEqual(self.reload(daemon, "{ handle = { B = /bin/cat; }; }"), RELOADED)
        self.assertIn("no such kind", client.ask("A", handshake=3))
        self.assertEqual(client.ask("B", "a = b; ", handshake=5), "{ a = b; }")

    def test_changes_files_and_types(self):
        for name in ["a.txt", "b.h"]:
            (self.folder / name).touch()
        daemon = self.serve("{}")
        client = RawClient(self).get_token()
        self.assertIn("serves no files", client.ask("Files", handshake=3))
        self.assertEqual(self.reload(daemon, f'{{ files = "{self.folder}"; types = h; }}'),
                         RELOADED)
        self.assertIn("Files = ( b.h );", client.ask("Files", handshake=5))
        self.assertEqual(self.reload(daemon, f'{{ files = "{self.folder}"; types = txt; }}'),
                         RELOADED)
        self.assertIn("Files = ( a.txt );", client.ask("Files", handshake=7))

    def test_leaves_request_in_work_its_configuration(self):
        fifo = self.folder / "gate"
        os.mkfifo(fifo)
        daemon = self.serve(f"{{ handle = {{ A = ( /bin/cat, {fifo} ); }}; }}")
        client = RawClient(self).get_token("A")
        client.send("A", handshake=3)
        with open(fifo, "w") as gate:
            self.assertEqual(self.reload(daemon, "{ handle = { A = /bin/cat; }; }"), RELOADED)
            self.assertEqual(client.ask("A", "a = b; ", handshake=5), "{ a = b; }")
            gate.write("old")
        self.assertEqual(client.receive(), "{ Output = old; }")

    def test_keeps_ports_and_signature(self):
        daemon = self.serve("{ ports = 9000; handle = { A = /bin/cat; }; }")
        for change in ["ports = 9001", "signature = Other", "ports = 9000; unique = YES",
                       "ports = 9000; workers = 5"]:
            line = self.reload(daemon, f"{{ {change}; }}")
            self.assertRegex(line, "^ktd: the configuration stays as it was: .*(port|signature|"
                                   "unique|worker)")
            self.assertIn("A = ", RawClient(self, 9000).ask("Kinds"))

    def test_keeps_configuration_if_file_is_wrong_or_gone(self):
        daemon = self.serve("{ handle = { A = /bin/cat; }; }")
        self.assertRegex(self.reload(daemon, "{ handle = "),
                         "^ktd: the configuration stays as it was: .*line 1")
        self.assertIn("unknown key", self.reload(daemon, "{ handel = {}; }"))
        self.file.unlink()
        daemon.send_signal(signal.SIGHUP)
        self.assertRegex(daemon.error_line(), "^ktd: the configuration stays as it was: .*No such")
        self.assertIn("A = ", RawClient(self).ask("Kinds"))

    def test_under_load_of_200_clients_loses_no_request(self):
        daemon = self.serve("{ handle = { A = /bin/cat; }; }")
        clients = [RawClient(self, address=f"127.0.1.{number}").get_token("A")
                   for number in range(1, 201)]
        handshakes = itertools.count(1, 2)
        kinds = {client: "A" if number % 20 == 0 else "Echo"
                 for number, client in enumerate(clients)}
        # Half of them ask at any time: more requests may not fit into the server's socket.
        asking, resting = set(clients[:100]), collections.deque(clients[100:])
        for client in asking:
            client.send(kinds[client], "a = b; ", next(handshakes))
        for count in range(20):
            self.assertEqual(
                self.reload(daemon, f"{{ handle = {{ A = /bin/cat; B{count} = /bin/cat; }}; }}"),
                RELOADED)
            for client in select.select(asking, [], [])[0]:
                self.assertIn(" a = b; }", client.receive())
                asking.remove(client)
                resting.append(client)
                following = resting.popleft()
                following.send(kinds[following], "a = b; ", next(handshakes))
                asking.add(following)
        for client in asking:
            self.assertIn(" a = b; }", client.receive())
        self.assertIn("B19 = ", RawClient(self).ask("Kinds"))

    def test_follows_start_that_signal_interrupts(self):
        self.file.write_text("{ unique = YES; }")
        silent = udp_socket(self, 4798)
        daemon = Program(self, os.environ["KTD"], "--config", str(self.file),
                         errors=subprocess.PIPE)
        silent.recv(65536)  # it looks for other servers
        self.assertEqual(self.reload(daemon, "{ unique = YES; handle = { A = /bin/cat; }; }"),
                         RELOADED)
        self.assertEqual(daemon.line(), 'ktd: serving "KtUDP" on port 4711\n')
        self.assertIn("A = ", RawClient(self, 4711).ask("Kinds"))

    def test_is_reported_whatever_clients_do(self):
        daemon = self.serve("{}")
        client = udp_socket(self)
        for _ in range(11):
            client.sendto(envelope("text", 1), ("127.0.0.1", daemon.port))
        RawClient(self).ask("Echo")
        for _ in range(10):
            self.assertIn("a request failed", daemon.error_line())
        self.assertEqual(self.reload(daemon, "{}"), RELOADED)

    def test_is_end_without_file(self):
        self.assertEqual(Daemon(self).end(signal.SIGHUP), (0, "", ""))


class KtdServiceManager(ConfigurationTest):
    def setUp(self):
        super().setUp()
        path = str(self.folder / "notify")
        self.manager = socket.socket(socket.AF_UNIX, socket.SOCK_DGRAM)
        self.addCleanup(self.manager.close)
        self.manager.bind(path)
        self.environment = {"NOTIFY_SOCKET": path}

    def state(self):
        """Returns the variables of the next message."""
        text = self.manager.recv(4096).decode()
        return dict(line.split("=", 1) for line in text.splitlines())

    def await_state(self, key):
        while key not in (state := self.state()):
            pass
        return state

    def test_hears_that_server_is_ready_and_stops(self):
        daemon = self.serve("{}", environment=self.environment)
        self.assertEqual(self.state()["READY"], "1")
        daemon.send_signal(signal.SIGTERM)
        self.assertEqual(self.state()["STOPPING"], "1")
        self.assertEqual(daemon.wait()[0], 0)

    def test_hears_of_reload_and_its_end(self):
        daemon = self.serve("{}", environment=self.environment)
        self.state()
        self.reload(daemon, "{}")
        state = self.state()
        self.assertEqual(state["RELOADING"], "1")
        self.assertRegex(state["MONOTONIC_USEC"], r"^\d+$")
        self.assertEqual(self.state()["READY"], "1")

    def test_hears_of_end_of_refused_reload_too(self):
        daemon = self.serve("{}", environment=self.environment)
        self.state()
        self.reload(daemon, "{ signature = Other; }")
        self.assertEqual(self.state()["RELOADING"], "1")
        self.assertEqual(self.state()["READY"], "1")

    def test_gets_signs_of_life(self):
        self.serve("{}", environment={**self.environment, "WATCHDOG_USEC": "200000"})
        for _ in range(3):
            self.await_state("WATCHDOG")

    def test_gets_no_signs_of_life_unasked(self):
        daemon = self.serve("{}", environment=self.environment)
        self.state()
        for _ in range(3):
            RawClient(self).ask("Echo")
        daemon.send_signal(signal.SIGTERM)
        self.assertNotIn("WATCHDOG", self.state())

    def test_does_not_hear_of_reload_after_stop(self):
        fifo = self.folder / "gate"
        os.mkfifo(fifo)
        daemon = self.serve(f"{{ handle = {{ A = ( /bin/cat, {fifo} ); }}; }}",
                            environment=self.environment)
        client = RawClient(self).get_token("A")
        client.send("A", handshake=3)
        with open(fifo, "w"):
            daemon.send_signal(signal.SIGTERM)
            self.await_state("STOPPING")
            daemon.send_signal(signal.SIGHUP)
            client.receive()
        self.assertEqual(daemon.wait(), (0, "", ""))
        self.manager.setblocking(False)
        self.assertRaises(BlockingIOError, self.manager.recv, 1)

    def test_does_not_hear_of_server_that_cannot_start(self):
        self.file.write_text("{ signature = ( a ); }")
        daemon = Program(self, os.environ["KTD"], "--config", str(self.file),
                         environment=self.environment)
        self.assertEqual(daemon.wait()[0], 1)
        self.manager.setblocking(False)
        self.assertRaises(BlockingIOError, self.manager.recv, 1)


if __name__ == "__main__":
    unittest.main()
