# SPDX-License-Identifier: MIT
"""What the tests of this folder share: the helper programs, and hosts in network namespaces.

Each test runs in user, network, mount and process namespaces of its own (CMakeLists.txt has the
command), so that whatever it makes goes with it, however it ends.
"""

import contextlib
import ctypes
import os
import pathlib
import select
import socket
import subprocess
import time
import unittest

PROGRAMS = pathlib.Path(os.environ["KT_SYSTEM_PROGRAMS"])
SANITIZED = os.environ.get("KT_SANITIZED") == "1"
LONGEST_WAIT = 60  # seconds; nothing is expected to take so long

# The leak sanitizer looks its own threads up by the process id of this namespace. Where a container
# does not let its processes mount /proc, leaks are left to the other tests.
if subprocess.run(["mount", "-t", "proc", "none", "/proc"], stderr=subprocess.DEVNULL).returncode:
    os.environ["ASAN_OPTIONS"] = "detect_leaks=0"


class Program:
    """A helper program that runs; ended, whatever it does, at the end of its `with` block."""

    def __init__(self, name, *options, host=None, debug=False):
        environment = dict(os.environ, KtDebugEnabled="YES" if debug else "NO")
        command = [str(PROGRAMS / f"system_{name}"), *map(str, options)]
        self.process = subprocess.Popen(
            host.inside(command) if host else command, env=environment, stdin=subprocess.PIPE,
            stdout=subprocess.PIPE, stderr=subprocess.PIPE if debug else None)
        self._pending = {}

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self.process.kill()
        self.process.wait()
        for stream in (self.process.stdin, self.process.stdout, self.process.stderr):
            if stream:
                with contextlib.suppress(BrokenPipeError):
                    stream.close()

    def line(self, stream=None, silence=LONGEST_WAIT):
        """The next line of standard output, or of `stream`; None at its end."""
        stream = stream or self.process.stdout
        pending = self._pending.get(stream, b"")
        while b"\n" not in pending:
            if not select.select([stream], [], [], silence)[0]:
                raise TimeoutError(f"no line from {self.process.args}")
            part = os.read(stream.fileno(), 65536)
            if not part:
                return None
            pending += part
        line, _, self._pending[stream] = pending.partition(b"\n")
        return line.decode()

    def wait_for(self, text, stream=None, times=1):
        """Reads on until `text` has been seen in so many lines."""
        while times:
            line = self.line(stream)
            if line is None:
                raise EOFError(f"{self.process.args} ended without {text!r}")
            times -= text in line

    def go(self):
        """Lets a program go on, or end, that waits for its standard input."""
        self.process.stdin.write(b"go\n")
        self.process.stdin.close()

    def results(self, silence=LONGEST_WAIT):
        """The lines `name value` to the end of standard output, none more than `silence` seconds
        behind the one before; a set of values for each name."""
        found = {}
        while (line := self.line(silence=silence)) is not None:
            name, _, value = line.partition(" ")
            found.setdefault(name, set()).add(value)
        self.process.wait(LONGEST_WAIT)
        return Results(found)


class Results(dict):
    """Sets of values by name."""

    def number(self, name):
        (value,) = self[name]
        return int(value)

    def only(self, name):
        (value,) = self[name]
        return value


def serving(*options, host=None):
    """A server, once it serves; with `port`, which it has bound."""
    server = Program("server", *options, host=host)
    answer = server.line()
    if answer is None or not answer.startswith("serving "):
        with server:
            raise AssertionError(f"the server said {answer!r}")
    server.port = int(answer.split()[1])
    return server


def requester(*options, host=None, debug=False):
    return Program("requester", *options, host=host, debug=debug)


class SystemTest(unittest.TestCase):
    def assert_all_answered(self, results, count, clients=1):
        seen = {name: results.number(name) for name in ("clients", "answered", "lost", "wrong")}
        self.assertEqual(seen, {"clients": clients, "answered": count, "lost": 0, "wrong": 0})


class Host:
    """A host on the bridge: a network namespace and a host name."""

    def __init__(self, number):
        self.name = f"host{number}"
        self.address = f"10.77.0.{number}"
        self.namespace = f"/run/netns/{self.name}"
        run(f"ip netns add {self.name}")
        run(f"ip link add port{number} type veth peer name eth0 netns {self.name}")
        run(f"ip link set port{number} master bridge0 up")
        for command in ("link set lo up", "link set eth0 up",
                        f"address add {self.address}/24 broadcast 10.77.0.255 dev eth0"):
            run(f"ip -n {self.name} {command}")

    def reach_everyone(self):
        """Makes 255.255.255.255 an address that this host can send to."""
        run(f"ip -n {self.name} route add 255.255.255.255/32 dev eth0")

    def inside(self, command):
        return ["nsenter", f"--net={self.namespace}", "unshare", "--uts", "sh", "-c",
                f'hostname {self.name} && exec "$@"', "sh", *command]

    def socket(self, port):
        """A socket of this host's, bound to every interface."""
        libc = ctypes.CDLL(None, use_errno=True)
        with open("/proc/thread-self/ns/net", "rb") as own, open(self.namespace, "rb") as other:
            if libc.setns(other.fileno(), 0) != 0:
                raise OSError(ctypes.get_errno(), "setns")
            try:
                bound = socket.socket(socket.AF_INET, socket.SOCK_DGRAM)
                bound.bind(("", port))
            finally:
                libc.setns(own.fileno(), 0)
        return bound


def run(command):
    subprocess.run(command.split(), check=True)


def hosts_on_a_bridge(count, more_names=""):
    """Hosts that reach one another by address and by name; `more_names` are lines of /etc/hosts."""
    run("mount -t tmpfs none /run")
    run("ip link add bridge0 type bridge")
    run("ip link set bridge0 up")
    hosts = [Host(number) for number in range(1, count + 1)]
    lines = "".join(f"{host.address} {host.name}\n" for host in hosts)
    pathlib.Path("/run/hosts").write_text(f"127.0.0.1 localhost\n{lines}{more_names}")
    run("mount --bind /run/hosts /etc/hosts")
    return hosts


def wait_until_linked(host, other):
    """Waits until a broadcast of one host's reaches the other: a bridge takes a while to begin."""
    with host.socket(0) as sender, other.socket(7) as receiver:
        sender.setsockopt(socket.SOL_SOCKET, socket.SO_BROADCAST, 1)
        deadline = time.monotonic() + LONGEST_WAIT
        while time.monotonic() < deadline:
            sender.sendto(b"?", ("10.77.0.255", 7))
            if select.select([receiver], [], [], 0.05)[0]:
                return
    raise TimeoutError("the hosts don't reach one another")
