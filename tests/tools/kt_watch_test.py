# SPDX-License-Identifier: MIT
"""kt watch: shows every server live, on a terminal or as JSON."""

import fcntl
import json
import os
import re
import signal
import struct
import subprocess
import termios
import threading
import unittest

from peers import Peer, always, identification, server
from programs import BRIEF, DEFAULT_PORTS, PATIENT, Daemon, Program, ProgramTest, kt
from screens import TerminalProgram

SHORT = "0.05"  # an interval; a slow answer only makes the next request late
CTRL_C, CTRL_S, CTRL_Z, CTRL_BACKSLASH = "\x03", "\x13", "\x1a", "\x1c"
TOKEN = "00112233445566778899aabbccddeeff"


def silent(request):
    return []


def nothing(request):
    return [request.answer("{ }")]


class WatchTest(ProgramTest):
    def watch(self, *arguments, timeout=PATIENT, **options):
        """Starts kt watch on a terminal."""
        return TerminalProgram(self, os.environ["KT"], "watch", "--interval", SHORT,
                               "--timeout", timeout, *arguments, **options)

    def watch_json(self, *arguments, interval=SHORT, timeout=PATIENT):
        """Starts kt watch for programs."""
        return Program(self, os.environ["KT"], "watch", "--json", "--interval", interval,
                       "--timeout", timeout, *arguments, errors=subprocess.PIPE)

    def assert_gave_back(self, watch):
        self.assertTrue(watch.has_first_modes())
        self.assertFalse(watch.screen.is_alternate)
        self.assertTrue(watch.screen.has_cursor)


class KtWatchOnTerminal(WatchTest):
    def test_shows_row_for_each_server(self):
        Daemon(self)
        Daemon(self)
        watch = self.watch()
        for port in (4798, 4711):
            row = watch.await_text(rf"127\.0\.0\.1:{port} .*[▁-█]  +\d+\.\d{{3}} ms")
            self.assertRegex(row, rf"^{re.escape(os.uname().nodename)[:5]}.* 0 % ")
        lines = watch.screen.lines()
        self.assertRegex(lines[0], r"^NAME +ADDRESS +LAST \d+ +ROUND TRIP +LOSS +REQ/S$")
        self.assertEqual(len(lines), 3)

    def test_shows_requests_per_second(self):
        served = iter(range(10, 1000000, 1000))
        Peer(self, server(lambda request: [request.answer(f"{{ Served = {next(served)}; }}")]))
        row = self.watch().await_text(r":4798 .* \d+(\.\d)?$")
        self.assertGreater(float(row.split()[-1]), 0)

    def test_shows_ascii_if_locale_is_not_utf8(self):
        Daemon(self)
        for locale in ("C", "no_SUCH"):
            watch = self.watch(environment={"LC_ALL": locale})
            watch.await_text(r":4798 .*@.* ms ")
            self.assert_printable("\n".join(watch.screen.lines()))

    def test_shows_server_that_knows_no_status(self):
        Peer(self, always('{ Error = "what?"; }'))
        self.watch().await_text(r"^hut .* \d+\.\d{3} ms   0 %      -$")

    def test_shows_loss_of_silent_server(self):
        Peer(self, server(silent))
        watch = self.watch(timeout=BRIEF[0])
        watch.await_text(r"^hut .*xx +lost  100 %      -$")

    def test_keeps_server_that_dies(self):
        daemon = Daemon(self)
        watch = self.watch(timeout=BRIEF[0])
        watch.await_text(r":4798 .*[▁-█]")
        daemon.end()
        watch.await_text(r":4798 .*[▁-█].*x +lost +[1-9]\d* % +-$")

    def test_adds_server_that_comes_later(self):
        Daemon(self)
        watch = self.watch()
        watch.await_text(r":4798 ")
        Daemon(self)
        watch.await_text(r":4711 .*[▁-█]")
        self.assertRegex(watch.screen.lines()[1], ":4798 ")

    def test_says_that_no_server_answers(self):
        watch = self.watch("--signature", "\x1b[2J", width=43)
        watch.await_text(r'^No server of signature "\\033\[2J" has answer$')
        self.assertEqual(watch.screen.wrapped, [])

    def test_escapes_names(self):
        Peer(self, lambda request, _: [request.answer(identification(r"\033[2J\n"))])
        self.watch(width=120).await_text(r"^\\033\[2J\\n +127\.0\.0\.1:4798 ")

    def test_repeats_request_with_token(self):
        def part(request):
            asked = "{ Error = r; Token = <" + TOKEN + ">; }"
            return [request.answer("{ Served = 1; }" if TOKEN in request.text else asked)]
        peer = Peer(self, server(part))
        self.watch().await_text(r":4798 .* ms   0 %    0\.0$")
        statuses = [r for r in peer.requests if r.keyword == "Status"]
        self.assertEqual([TOKEN in request.text for request in statuses[:3]], [False, True, True])


class KtWatchSize(WatchTest):
    def test_never_wraps(self):
        Daemon(self)
        Peer(self, server(nothing, name="n" * 60, port=4711), port=4711)
        for width in (1, 20, 80, 200):
            watch = self.watch(width=width, height=24)
            watch.await_screen(lambda lines: len(lines) == 3)
            watch.await_screen(lambda lines: width < 20 or " ms" in lines[1])
            watch.press("q")
            watch.status()
            self.assertEqual(watch.screen.wrapped, [], width)

    def test_uses_whole_width_up_to_last_60(self):
        Daemon(self)
        self.watch(width=80).await_text(" REQ/S$")
        self.watch(width=200).await_text(" LAST 60 ")

    def test_follows_size_of_terminal(self):
        Daemon(self)
        watch = self.watch(width=200)
        watch.await_text(r" LAST 60 .* REQ/S$")
        watch.resize(20, 24)
        watch.await_text(r"^NAME +ROUND TRIP$")
        watch.resize(200, 24)
        watch.await_text(r" LAST 60 .* REQ/S$")

    def test_counts_servers_that_do_not_fit(self):
        for port in DEFAULT_PORTS:
            Peer(self, server(nothing, name=f"hut{port}", port=port), port=port)
        watch = self.watch(height=5)
        lines = watch.await_screen(lambda lines: "... and 3 more" in lines)
        self.assertEqual(len(lines), 5)
        watch.resize(80, 7)
        watch.await_screen(lambda lines: len(lines) == 7 and "hut" in lines[6])


class KtWatchEnd(WatchTest):
    def start(self, **options):
        Daemon(self)
        watch = self.watch(**options)
        watch.await_text(r":4798 .*[▁-█]")
        self.assertTrue(watch.screen.is_alternate)
        self.assertFalse(watch.screen.has_cursor)
        self.assertFalse(watch.has_first_modes())
        return watch

    def assert_ended(self, watch, status=0):
        self.assertEqual(watch.status(), status)
        self.assert_gave_back(watch)

    def test_gives_terminal_back_on_q(self):
        watch = self.start()
        watch.press("xyq")
        self.assert_ended(watch)
        self.assertEqual(watch.screen.lines(), [""])

    def test_gives_terminal_back_on_ctrl_c(self):
        watch = self.start()
        watch.press(CTRL_C)
        self.assert_ended(watch)

    def test_gives_terminal_back_on_sigterm(self):
        watch = self.start()
        watch.send_signal(signal.SIGTERM)
        self.assert_ended(watch)

    def test_gives_terminal_back_and_dies_of_other_signals(self):
        watch = self.start()
        watch.press(CTRL_BACKSLASH)
        self.assert_ended(watch, -signal.SIGQUIT)
        watch = self.watch()
        watch.await_text(r":4798 ")
        watch.send_signal(signal.SIGHUP)
        self.assert_ended(watch, -signal.SIGHUP)

    def test_gives_terminal_back_before_error(self):
        watch = self.watch("--count", "1")
        watch.await_text("^Tried the ports")
        self.assertEqual(watch.status(), 1)
        self.assert_gave_back(watch)
        self.assertRegex(watch.screen.lines()[0], "^kt watch: no server of signature ")

    def test_gives_terminal_back_while_its_output_is_stopped(self):
        watch = self.start()
        watch.press(CTRL_S)
        watch.send_signal(signal.SIGTERM)
        self.assert_ended(watch)

    def test_comes_while_terminal_takes_nothing(self):
        asked = threading.Semaphore(0)

        def answer(request):
            asked.release()
            return nothing(request)

        for port in DEFAULT_PORTS:
            Peer(self, server(answer, port=port), port)
        other_end, terminal = os.openpty()  # nobody reads
        self.addCleanup(os.close, other_end)
        self.addCleanup(os.close, terminal)
        fcntl.ioctl(terminal, termios.TIOCSWINSZ, struct.pack("HHHH", 24, 100, 0, 0))
        watch = Program(self, os.environ["KT"], "watch", "--interval", "0.01", "--timeout", PATIENT,
                        stdin=terminal, stdout=terminal, errors=subprocess.PIPE)
        for _ in range(1000):  # requests, each followed by a screen of some 600 bytes
            asked.acquire()
        watch.send_signal(signal.SIGTERM)
        self.assertEqual(watch.process.wait(), 0)

    def test_does_not_come_by_ignored_signal(self):
        watch = self.start(ignored=[signal.SIGHUP])
        watch.send_signal(signal.SIGHUP)
        watch.resize(200, 24)
        watch.await_text(" LAST 60 ")
        watch.press("q")
        self.assert_ended(watch)


class KtWatchStop(WatchTest):
    def test_gives_terminal_back_on_ctrl_z_and_takes_it_again(self):
        Daemon(self)
        shell = TerminalProgram(
            self, "bash", "-c", 'set -m; "$KT" watch --interval 0.05; echo stopped; read; fg; '
            "echo ended")
        shell.await_text(r":4798 .*[▁-█]")
        shell.press(CTRL_Z)
        shell.await_text("^stopped$")
        self.assert_gave_back(shell)
        shell.press("\n")
        shell.await_text(r":4798 .*[▁-█]")
        self.assertTrue(shell.screen.is_alternate)
        self.assertFalse(shell.has_first_modes())
        shell.press("q")
        shell.await_text("^ended$")
        self.assertEqual(shell.status(), 0)
        self.assert_gave_back(shell)

    def test_leaves_terminal_alone_in_background(self):
        Daemon(self)
        shell = TerminalProgram(
            self, "bash", "-c", 'set -m; "$KT" watch --count 20 --interval 0.05 & '
            "wait $!; echo ended")
        shell.await_text("^ended$")
        self.assertEqual(shell.status(), 0)
        self.assertNotIn("4798", "\n".join(shell.screen.lines()))
        self.assert_gave_back(shell)


class KtWatchJson(WatchTest):
    def test_prints_line_for_each_request(self):
        Daemon(self)
        watch = self.watch_json()
        first, second = json.loads(watch.line()), json.loads(watch.line())
        self.assertEqual(list(first), ["time", "name", "address", "port", "roundTripMs", "lost",
                                       "requestsPerSecond"])
        self.assertEqual((first["address"], first["port"], first["lost"]), ("127.0.0.1", 4798, 0))
        self.assertGreater(first["roundTripMs"], 0)
        self.assertIsNone(first["requestsPerSecond"])
        self.assertGreater(second["requestsPerSecond"], 0)
        self.assertGreater(second["time"], first["time"])

    def test_counts_lost_requests_of_last_60(self):
        answered = 3

        def part(request):
            nonlocal answered
            answered -= 1
            return [request.answer("{ Served = 1; }")] if answered >= 0 else []
        Peer(self, server(part))
        watch = self.watch_json(interval="0.01", timeout="10")
        lines = [json.loads(watch.line()) for _ in range(70)]
        # On a busy machine an answer may come too late as well.
        for number, line in enumerate(lines, 1):
            lost = [earlier["roundTripMs"] is None for earlier in lines[:number]]
            self.assertEqual(line["lost"], sum(lost[-60:]))
            if line["roundTripMs"] is None:
                self.assertIsNone(line["requestsPerSecond"])
        self.assertEqual(lines[-1]["lost"], 60)

    def test_sends_each_request_once_unless_told_otherwise(self):
        peer = Peer(self, server(silent))
        watch = self.watch_json(timeout=BRIEF[0])
        watch.line()
        watch.end()
        handshakes = [r.handshake for r in peer.requests if r.keyword == "Status"]
        self.assertEqual(len(handshakes), len(set(handshakes)))
        watch = self.watch_json("--retries", "1", timeout=BRIEF[0])
        watch.line()
        watch.end()
        handshakes = [r.handshake for r in peer.last_run("Status")]
        self.assertEqual(handshakes[0], handshakes[1])

    def test_escapes_names(self):
        Peer(self, lambda request, _: [request.answer(identification(r"\033[2J\n"))])
        line = self.watch_json().line()
        self.assert_printable(line)
        self.assertEqual(json.loads(line)["name"], "\x1b[2J\n")

    def test_ends_on_signals(self):
        Daemon(self)
        for number in (signal.SIGINT, signal.SIGTERM):
            watch = self.watch_json()
            watch.line()
            status, _, errors = watch.end(number)
            self.assertEqual((status, errors), (0, ""))

    def test_ends_on_closed_pipe(self):
        Daemon(self)
        watch = self.watch_json()
        watch.line()
        watch.close_output()
        self.assertEqual(watch.wait(), (0, "", ""))

    def test_ends_on_closed_pipe_without_server(self):
        watch = self.watch_json()
        watch.close_output()
        self.assertEqual(watch.wait(), (0, "", ""))

    def test_ends_on_signal_while_nobody_reads(self):
        # Two lines are more than the pipe takes.
        peer = Peer(self, server(nothing, name="n" * 2500))
        watch = self.watch_json()
        fcntl.fcntl(watch.process.stdout, fcntl.F_SETPIPE_SZ, 4096)
        peer.await_request(lambda _: [r.keyword for r in peer.requests].count("Status") == 2)
        self.assertEqual(watch.end()[0], 0)

    def test_ends_after_rounds(self):
        Daemon(self)
        for interval in ("0.1", "1", "10"):  # on a busy machine the server may answer late
            result = kt("watch", "--json", "-c", "2", "-i", interval)
            if result.stdout:
                break
        self.assertEqual((result.returncode, result.stderr), (0, ""))
        self.assertIn(result.stdout.count("\n"), (1, 2))

    def test_awaits_last_request_of_all_rounds(self):
        Peer(self, server(silent))
        # Discovery answers before the only round is over, unless the machine is busy.
        for interval in ("0.1", "1", "10"):
            result = kt("watch", "--json", "-c", "1", "-i", interval, "--timeout", "200")
            if result.returncode == 0:
                break
        self.assertEqual((result.returncode, result.stderr), (0, ""))
        self.assertIsNone(json.loads(result.stdout.splitlines()[0])["roundTripMs"])

    def test_fails_if_no_server_answers_in_all_rounds(self):
        result = kt("watch", "--json", "-c", "1", "-i", "0.01")
        self.assertEqual((result.returncode, result.stdout), (1, ""))
        self.assertRegex(result.stderr, r'^kt watch: no server of signature "KtUDP" answered at ')


class KtWatchUsage(WatchTest):
    def test_refuses_output_that_is_not_a_terminal(self):
        self.assert_misuse(kt("watch"), "kt watch",
                           "standard output is not a terminal; --json prints for a program to read")

    def test_refuses_counts_and_intervals_out_of_range(self):
        self.assert_misuse(kt("watch", "-c", "0"), "kt watch",
                           '--count: "0" is not a number of rounds from 1 up')
        for interval in ("0", "0.001", "-1", "86401"):
            self.assert_misuse(
                kt("watch", f"--interval={interval}"), "kt watch",
                f'--interval: "{interval}" is not a number of seconds from 0.01 to 86400')

    def test_prints_nothing_if_quiet(self):
        Daemon(self)
        for interval in ("0.1", "1", "10"):
            result = kt("watch", "--quiet", "-c", "1", "-i", interval)
            if result.returncode == 0:
                break
        self.assert_result(result, 0)


if __name__ == "__main__":
    unittest.main()
