# SPDX-License-Identifier: MIT
"""Programs as a user runs them, and the base class of the tests that run them.

The environment names the programs: KT, KTD, and what else the list of a folder's tests sets. Tests
that use the network run in a network of their own (tests/private-network): they broadcast and bind
the well-known ports.

What a program prints is text with one character per byte.
"""

import contextlib
import os
import re
import signal
import subprocess
import unittest

# Timeouts of kt in milliseconds. PATIENT is long enough for any answer, even on a busy machine.
# BRIEF has those for requests that get no answer; see kt_briefly.
PATIENT = "20000"
BRIEF = ("100", "1000", "10000")

DEFAULT_PORTS = [4798, 4711, 5600, 4822, 3493, 4926]
COMMANDS_WITH_TIMEOUT = ("hello", "send", "ping", "eval", "files", "kinds", "watch")


# ---- Programs that run to their end ----

def run(program, *arguments, environment=None, input=None, **options):
    """Runs the program that the environment calls `program`; returns its status and outputs."""
    result = subprocess.run(
        [os.environ[program], *arguments],
        **{"stdout": subprocess.PIPE, "stderr": subprocess.PIPE, **options},
        input=None if input is None else input.encode(),
        env={**os.environ, **(environment or {})})
    result.stdout = (result.stdout or b"").decode("latin-1")
    result.stderr = (result.stderr or b"").decode("latin-1")
    return result


def kt(command, *arguments, **options):
    """Runs a command of kt, with a long timeout unless the arguments give one."""
    if command in COMMANDS_WITH_TIMEOUT and "--timeout" not in arguments:
        arguments += ("--timeout", PATIENT)
    return run("KT", command, *arguments, **options)


def server_was_found(result):
    return "no server of signature" not in result.stderr


def kt_briefly(command, *arguments, heard=server_was_found, **options):
    """Runs a command of kt that waits until its timeout, with a short one.

    On a busy machine an answer may come too late for it. So the command is run again with a longer
    timeout as long as heard(result) says that an expected answer is missing.
    """
    for timeout in BRIEF:
        result = kt(command, *arguments, "--timeout", timeout, **options)
        if heard(result):
            break
    return result


def ktd(*arguments, **options):
    """Runs a ktd that is expected to end by itself."""
    return run("KTD", *arguments, **options)


# ---- Programs that run beside the test ----

class Program:
    """A running program; killed at the end of the test if it still runs."""

    def __init__(self, test, *command, environment=None, errors=None, stdin=subprocess.PIPE,
                 stdout=subprocess.PIPE):
        self.process = subprocess.Popen(
            command, stdin=stdin, stdout=stdout, stderr=errors,
            env={**os.environ, **(environment or {})})
        self._unread = {self.process.stdout: b"", self.process.stderr: b""}
        test.addCleanup(self._close)

    def _close(self):
        self.process.kill()
        self.process.wait()
        for stream in (self.process.stdin, self.process.stdout, self.process.stderr):
            if stream:
                with contextlib.suppress(BrokenPipeError):
                    stream.close()

    def line(self, stream=None):
        """Returns the next line of standard output or of `stream`, "" after the last one."""
        stream = stream or self.process.stdout
        text = self._unread[stream]
        while b"\n" not in text:
            block = os.read(stream.fileno(), 65536)
            if not block:
                break
            text += block
        line, end, self._unread[stream] = text.partition(b"\n")
        return (line + end).decode("latin-1")

    def error_line(self):
        """Returns the next line of standard error."""
        return self.line(self.process.stderr)

    def wait_for(self, text, stream=None):
        """Reads lines until one has `text` in it."""
        while text not in (line := self.line(stream)):
            if not line:
                raise EOFError(f"{self.process.args} ended without {text!r}")

    def close_output(self):
        """Lets the program write to a pipe that nobody reads any more."""
        self.process.stdout.close()
        self._unread[self.process.stdout] = b""

    def send_signal(self, number):
        self.process.send_signal(number)

    def wait(self):
        """Waits for the program's end; returns its status and the rest of its outputs."""
        output, errors = self.process.communicate()
        return self.process.returncode, self._rest(self.process.stdout, output), \
            self._rest(self.process.stderr, errors)

    def _rest(self, stream, read):
        return None if stream is None else (self._unread[stream] + (read or b"")).decode("latin-1")

    def end(self, by=signal.SIGTERM):
        """Ends the program with a signal; returns its status and the rest of its outputs."""
        self.send_signal(by)
        return self.wait()


class Daemon(Program):
    """A ktd that serves: ready once constructed."""

    def __init__(self, test, *arguments, environment=None, errors=subprocess.PIPE):
        super().__init__(test, os.environ["KTD"], *arguments, environment=environment,
                         errors=errors)
        self.ready_line = self.line()
        match = re.fullmatch(r'ktd: serving ".*" on port (\d+)\n', self.ready_line)
        test.assertIsNotNone(match, self.ready_line)
        self.port = int(match.group(1))
        test.addCleanup(self._end_with, test)

    def _end_with(self, test):
        """Ends the daemon if it still serves. Fails the test if a sanitizer reported an error."""
        if self.process.poll() is None:
            status, _, errors = self.end()
            test.assertEqual(status, 0, errors)


class Terminal:
    """A terminal for a program to write to; `descriptor` is the program's end."""

    def __init__(self, test):
        self._end, self.descriptor = os.openpty()
        test.addCleanup(os.close, self._end)

    def text(self):
        """Returns what was written, once no program has its end open any more."""
        os.close(self.descriptor)
        text = b""
        try:
            while block := os.read(self._end, 65536):
                text += block
        except OSError:  # how Linux reports the end of a terminal
            pass
        return text.decode("latin-1").replace("\r\n", "\n")


# ---- Tests ----

class ProgramTest(unittest.TestCase):
    """A test of programs.

    A case that takes longer than `case_limit` seconds is interrupted, so that its traceback shows
    where it hangs. The timeout of ctest is a little longer.
    """

    maxDiff = None
    case_limit = 60

    def run(self, result=None):
        signal.signal(signal.SIGALRM, self._interrupt)
        signal.alarm(self.case_limit)
        try:
            return super().run(result)
        finally:
            signal.alarm(0)

    def _interrupt(self, *_):
        raise TimeoutError(f"the case takes longer than {self.case_limit} s")

    def assert_result(self, result, status, output="", errors=""):
        self.assertEqual((result.returncode, result.stdout, result.stderr),
                         (status, output, errors))

    def assert_misuse(self, result, command, problem):
        self.assert_result(result, 2, "", f'{command}: {problem}\nTry "{command} --help".\n')

    def assert_printable(self, text):
        """Asserts that the text has only printable ASCII characters and line feeds."""
        self.assertEqual(re.findall(r"[^ -~\n]", text), [], repr(text))
