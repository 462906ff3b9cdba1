# SPDX-License-Identifier: MIT
"""The programs kt and ktd as a user runs them, and peers that play a written part.

Everything here is to run in a private network: it broadcasts and binds the well-known ports. The
environment names the programs: KT and KTD.
"""

import os
import re
import signal
import socket
import subprocess
import threading
import unittest

PATIENCE = 120  # seconds after which something awaited will not come any more

# Time-outs of kt in milliseconds. A discovery pass and an answer that is awaited have this long on
# a busy machine; what is to time out has the brief one, in which discovery still succeeds.
PATIENT = "20000"
BRIEF = "500"

DEFAULT_PORTS = [4798, 4711, 5600, 4822, 3493, 4926]


def run(program, *arguments, environment=None, input=None, **options):
    """Runs a program to its end. What it printed is text, a character for each byte."""
    result = subprocess.run(
        [os.environ[program], *arguments],
        **{"stdout": subprocess.PIPE, "stderr": subprocess.PIPE, **options},
        input=None if input is None else input.encode(), timeout=PATIENCE,
        env={**os.environ, **(environment or {})})
    result.stdout = (result.stdout or b"").decode("latin-1")
    result.stderr = (result.stderr or b"").decode("latin-1")
    return result


def kt(command, *arguments, **options):
    """Runs a command of kt, patiently unless the arguments say otherwise."""
    if command in ("hello", "send", "ping", "eval", "files") and "--timeout" not in arguments:
        arguments += ("--timeout", PATIENT)
    return run("KT", command, *arguments, **options)


def ktd(*arguments, **options):
    """For a ktd that is not expected to serve."""
    return run("KTD", *arguments, **options)


def start_ktd(*arguments, environment=None, errors=subprocess.PIPE):
    return subprocess.Popen(
        [os.environ["KTD"], *arguments], stdout=subprocess.PIPE, stderr=errors,
        encoding="latin-1", env={**os.environ, **(environment or {})})


class Terminal:
    """A terminal for a program to write to; `descriptor` is the program's end."""

    def __init__(self, test):
        self._end, self.descriptor = os.openpty()
        test.addCleanup(os.close, self._end)

    def text(self):
        """What was written, once nobody has the program's end open any more."""
        os.close(self.descriptor)
        text = b""
        try:
            while block := os.read(self._end, 65536):
                text += block
        except OSError:  # how Linux tells of a terminal's end
            pass
        return text.decode("latin-1").replace("\r\n", "\n")


class Daemon:
    """A ktd that serves: ready when made, ended with the test."""

    def __init__(self, test, *arguments, environment=None, errors=subprocess.PIPE):
        self.process = start_ktd(*arguments, environment=environment, errors=errors)
        test.addCleanup(self.end)
        self.ready_line = self.process.stdout.readline()
        match = re.fullmatch(r'ktd: serving ".*" on port (\d+)\n', self.ready_line)
        test.assertIsNotNone(match, self.ready_line)
        self.port = int(match.group(1))

    def end(self, by=signal.SIGTERM):
        """The exit status and what was left to read of both outputs."""
        if self.process.poll() is None:
            self.process.send_signal(by)
        output, errors = self.process.communicate(timeout=PATIENCE) \
            if not self.process.stdout.closed else ("", "")
        return self.process.returncode, output, errors

    def error_line(self):
        """The next line on standard error; waits for it."""
        return self.process.stderr.readline()


def envelope(packet, handshake, signature="KtUDP"):
    """A message's bytes; `packet` is property-list text."""
    return (f'{{ _DataPacket = {packet}; _Handshake = {handshake}; '
            f'_Signature = "{signature}"; }}\0').encode()


def identification(name="hut", port=4798):
    return f'{{ KtUDPKeyword = _ServerName; _ServerName = "{name}"; _ServerPort = "{port}"; }}'


class Request:
    """A request as a peer received it."""

    def __init__(self, datagram, source):
        self.text = datagram.decode().rstrip("\0")
        self.source = source
        self.handshake = self._number("_Handshake")
        self.sequence = self._number("Sequence")
        self.keyword = re.search(r"KtUDPKeyword = (\w+)", self.text).group(1)

    def _number(self, key):
        match = re.search(key + r" = (\d+)", self.text)
        return int(match.group(1)) if match else None

    def answer(self, packet):
        return envelope(packet, self.handshake + 1)


class Peer:
    """A server that plays a part: `part(request, count)` gives the datagrams to answer with, where
    `count` says how many requests came before. A part may send from `peer.socket` itself too."""

    def __init__(self, test, part, port=4798):
        self.part = part
        self.requests = []
        self._arrival = threading.Condition()
        self.socket = udp_socket(test, port)
        thread = threading.Thread(target=self._play)
        thread.start()
        test.addCleanup(thread.join)
        test.addCleanup(lambda: udp_socket(test).sendto(b"", ("127.0.0.1", port)))

    def await_request(self, wanted):
        """Returns once there was a request for which wanted(request) holds."""
        with self._arrival:
            if not self._arrival.wait_for(lambda: any(map(wanted, self.requests)), PATIENCE):
                raise TimeoutError("the request did not come")

    def _play(self):
        while True:
            datagram, source = self.socket.recvfrom(65536)
            if not datagram:
                return
            request = Request(datagram, source)
            answers = self.part(request, len(self.requests))
            with self._arrival:
                self.requests.append(request)
                self._arrival.notify_all()
            for answer in answers:
                self.socket.sendto(answer, source)


def server(answer=lambda request: [], name="hut", port=4798):
    """The part of a server that answers discovery, and other requests with answer(request)."""
    def part(request, _):
        if request.keyword == "HelloKtUDP":
            return [request.answer(identification(name, port))]
        return answer(request)
    return part


def udp_socket(test, port=0):
    """A socket bound to `port`, where broadcasts reach it too; closed with the test."""
    udp = socket.socket(socket.AF_INET, socket.SOCK_DGRAM)
    test.addCleanup(udp.close)
    udp.settimeout(PATIENCE)
    udp.bind(("", port))
    return udp


def remove_broadcast_route(test):
    """For the length of the test the system refuses to send to 255.255.255.255."""
    route = ["255.255.255.255/32", "dev", "lo", "src", "127.0.0.1"]
    subprocess.run(["ip", "route", "del", *route], check=True)
    test.addCleanup(subprocess.run, ["ip", "route", "add", *route], check=True)


class ProgramTest(unittest.TestCase):
    maxDiff = None

    def assert_result(self, result, status, output="", errors=""):
        self.assertEqual((result.returncode, result.stdout, result.stderr),
                         (status, output, errors))

    def assert_misuse(self, result, command, problem):
        self.assert_result(result, 2, "", f'{command}: {problem}\nTry "{command} --help".\n')

    def assert_printable(self, text):
        """Nothing but printable ASCII and line feeds."""
        self.assertEqual(re.findall(r"[^ -~\n]", text), [], repr(text))
