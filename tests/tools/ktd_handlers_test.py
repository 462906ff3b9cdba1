# SPDX-License-Identifier: MIT
"""ktd and the programs that answer for it."""

import os
import pathlib
import resource
import select
import signal
import tempfile
import time
import unittest

from programs import Daemon, ProgramTest, kt
from raw_client import RawClient

STOPPING = "{ Error = stopping; }"
BUSY = "{ Error = busy; }"


class HandlerTest(ProgramTest):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.folder = pathlib.Path(folder.name)

    def script(self, name, text):
        """Returns the path of a shell script."""
        path = self.folder / name
        path.write_text(f"#!/bin/sh\n{text}\n")
        path.chmod(0o755)
        return path

    def gate(self):
        """Returns a script that waits until its gate is opened, and prints what comes through."""
        self.fifo = self.folder / "gate"
        os.mkfifo(self.fifo)
        return self.script("wait", f"exec cat {self.fifo}")

    def await_begin(self):
        """Waits until a program waits at the gate; returns what opens it."""
        return open(self.fifo, "w")


class KtdHandlers(HandlerTest):
    def test_get_request_and_give_answer(self):
        Daemon(self, "--handle", "Cat=/bin/cat")
        self.assert_result(kt("send", "Cat", "a=b", "list=(1, <00ff>)"), 0,
                           "{ a = b; list = ( 1, <00ff> ); }\n")

    def test_fail_if_files_may_have_no_bytes(self):
        daemon = Daemon(self, "--handle", "Cat=/bin/cat")
        resource.prlimit(daemon.process.pid, resource.RLIMIT_FSIZE, (0, resource.RLIM_INFINITY))
        client = RawClient(self).get_token()
        self.assertIn("can't be started: File too large.", client.ask("Cat", handshake=3))
        self.assertEqual(RawClient(self).ask("Echo", "a = b; "), "{ a = b; }")

    def test_get_values_of_every_kind_unchanged(self):
        Daemon(self, "--handle", "Cat=/bin/cat")
        text = ('{ "" = ""; "\\000" = <>; a = ( b, { c = <00ff>; }, "\\U00fc\\Ud83d\\Ude00" ); '
                'd = { "\\"" = ( ( {} ) ); }; }')
        client = RawClient(self).get_token()
        self.assertEqual(client.ask("Cat", text[2:-1], handshake=3), text)

    def test_get_no_token(self):
        Daemon(self, "--handle", f"Keys={self.script('keys', 'grep -c Token; true')}")
        self.assert_result(kt("send", "Keys"), 0, "{ Output = 0; }\n")

    def test_run_once_for_each_request_whatever_is_sent_again(self):
        runs = self.folder / "runs"
        Daemon(self, "--handle", f"Count={self.script('count', f'echo >>{runs}; cat')}")
        client = RawClient(self).get_token()
        for handshake in range(1, 41, 2):
            for _ in range(5):
                client.send("Count", "a = b; ", handshake)
            self.assertEqual(client.receive(), "{ a = b; }")
            client.send("Count", "a = b; ", handshake)
            self.assertEqual(client.receive(), "{ a = b; }", "the remembered answer")
        self.assertEqual(len(runs.read_text()), 20)

    def test_do_not_run_for_sender_without_token(self):
        ran = self.folder / "ran"
        Daemon(self, "--handle", f"Touch=/usr/bin/touch {ran}")
        client, other = RawClient(self), RawClient(self)
        self.assertRegex(client.ask("Touch"), 'Error = "Repeat the request with this Token."')
        other.get_token()
        client._token = other._token
        self.assertRegex(client.ask("Touch", handshake=3), 'Error = "Repeat the request')
        self.assertFalse(ran.exists())
        self.assertEqual(client.get_token().ask("Touch", handshake=5), '{ Output = ""; }')
        self.assertTrue(ran.exists())

    def test_keep_no_other_request_waiting(self):
        Daemon(self, "--handle", f"Wait={self.gate()}")
        client = RawClient(self).get_token()
        client.send("Wait")
        with self.await_begin() as gate:
            self.assertEqual(RawClient(self).ask("Echo", "a = b; "), "{ a = b; }")
            self.assertIn("Working = 1;", RawClient(self).ask("Status"))
            gate.write("through")
        self.assertEqual(client.receive(), "{ Output = through; }")

    def test_answer_thousand_requests_at_once(self):
        runs = self.folder / "runs"
        Daemon(self, "--handle", f"Count={self.script('count', f'echo >>{runs}')}")
        clients = [RawClient(self, address=f"127.0.{number % 10}.{number // 10 + 1}").get_token()
                   for number in range(1000)]
        open_clients = set(clients)
        busy = 0
        while open_clients:
            for client in open_clients:
                client.send("Count")  # the same bytes as before, if it was sent before
            while ready := select.select(open_clients, [], [], 0.5)[0]:
                for client in ready:
                    answer = client.receive()
                    if answer == BUSY:
                        busy += 1
                    else:
                        self.assertEqual(answer, '{ Output = ""; }')
                        open_clients.discard(client)
                if not open_clients:
                    break
        self.assertEqual(len(runs.read_text()), 1000)
        self.assertIn(f"Busy = {busy};", RawClient(self).ask("Status"))

    def test_are_busy_beyond_half_of_queue_for_one_address(self):
        Daemon(self, "--workers", "1", "--handle", f"Wait={self.gate()}")
        client = RawClient(self).get_token()
        client.send("Wait")
        with self.await_begin():
            answers = []
            for count in range(257):
                client.send("Wait", handshake=2 * count + 3)
                RawClient(self).ask("Echo")  # the server has taken it by now
            self.assertEqual(client.receive(), BUSY)
            self.assertTrue(client.is_silent())
            self.assertIn("Busy = 1;", RawClient(self).ask("Status"))
            self.assertIn("Queued = 256;", RawClient(self).ask("Status"))


class KtdStop(HandlerTest):
    def test_lets_request_in_work_end(self):
        daemon = Daemon(self, "--handle", f"Wait={self.gate()}")
        client = RawClient(self).get_token()
        client.send("Wait")
        with self.await_begin() as gate:
            daemon.send_signal(signal.SIGTERM)
            while (answer := RawClient(self).ask("Echo", "a = b; ")) != STOPPING:
                self.assertEqual(answer, "{ a = b; }")
            gate.write("done")
        self.assertEqual(client.receive(), "{ Output = done; }")
        self.assertEqual(daemon.wait(), (0, "", ""))

    def test_answers_waiting_requests_at_once(self):
        daemon = Daemon(self, "--workers", "1", "--handle", f"Wait={self.gate()}")
        client, waiting = RawClient(self).get_token(), RawClient(self).get_token()
        client.send("Wait")
        with self.await_begin():
            waiting.send("Wait")
            self.assertIn("Queued = 1;", RawClient(self).ask("Status"))
            daemon.send_signal(signal.SIGTERM)
            self.assertEqual(waiting.receive(), STOPPING)
            self.assertTrue(client.is_silent())
        self.assertEqual(client.receive(), '{ Output = ""; }')
        self.assertEqual(daemon.wait(), (0, "", ""))

    def test_answers_all_requests_that_arrived_before(self):
        daemon = Daemon(self)
        client = RawClient(self)
        daemon.send_signal(signal.SIGSTOP)
        for count in range(200):
            client.send("Echo", "a = b; ", handshake=2 * count + 1)
        daemon.send_signal(signal.SIGTERM)
        daemon.send_signal(signal.SIGCONT)
        answers = {client.receive() for _ in range(200)}
        self.assertLessEqual(answers, {STOPPING, "{ a = b; }"})
        self.assertEqual(daemon.wait(), (0, "", ""))

    def test_ends_request_that_takes_longer_than_two_seconds(self):
        daemon = Daemon(self, "--handle", f"Wait={self.gate()}")
        client = RawClient(self).get_token()
        client.send("Wait")
        with self.await_begin():
            begin = time.monotonic()
            daemon.send_signal(signal.SIGTERM)
            self.assertEqual(client.receive(), STOPPING)
            self.assertGreaterEqual(time.monotonic() - begin, 2)
            self.assertEqual(daemon.wait(), (0, "", ""))

    def test_second_signal_ends_everything_at_once(self):
        for by in (signal.SIGTERM, signal.SIGINT):
            daemon = Daemon(self, "--handle", "Sleep=/usr/bin/tail -f /dev/null")
            client = RawClient(self).get_token()
            client.send("Sleep")
            while "Working = 1;" not in RawClient(self).ask("Status"):
                pass
            daemon.send_signal(signal.SIGTERM)
            while RawClient(self).ask("Echo") != STOPPING:
                pass
            daemon.send_signal(by)
            self.assertEqual(client.receive(), STOPPING)
            self.assertEqual(daemon.wait(), (0, "", ""))

    def test_has_status_0_however_many_signals_come(self):
        for _ in range(40):
            daemon = Daemon(self)
            while daemon.process.poll() is None:
                for _ in range(100):
                    os.kill(daemon.process.pid, signal.SIGTERM)
            self.assertEqual(daemon.wait(), (0, "", ""))

    def test_leaves_no_process_behind(self):
        pids = self.folder / "pids"
        script = self.script("many", f"tail -f /dev/null & echo $! $$ >{pids}; wait")
        daemon = Daemon(self, "--handle", f"Many={script}")
        client = RawClient(self).get_token()
        client.send("Many")
        while not pids.exists() or len(pids.read_text().split()) < 2:
            RawClient(self).ask("Echo")
        daemon.send_signal(signal.SIGTERM)
        self.assertEqual(daemon.wait(), (0, "", ""))
        for pid in pids.read_text().split():
            self.assertFalse(os.path.exists(f"/proc/{pid}"))

    def test_comes_while_200_clients_ask(self):
        daemon = Daemon(self, "--handle", "Cat=/bin/cat")
        clients = [RawClient(self, address=f"127.0.1.{number}").get_token()
                   for number in range(1, 201)]
        for number, client in enumerate(clients):
            client.send("Cat" if number % 4 == 0 else "Echo", "a = b; ")
            if number == 100:
                RawClient(self).ask("Echo")  # the server's socket has room again
        daemon.send_signal(signal.SIGTERM)
        for client in clients:
            self.assertRegex(client.receive(), f"^({STOPPING}|{{ .*a = b; }})$")
        self.assertEqual(daemon.wait(), (0, "", ""))


if __name__ == "__main__":
    unittest.main()
