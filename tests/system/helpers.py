# SPDX-License-Identifier: MIT
"""The helper programs of this folder: servers, requesters and a relay."""

import os
import subprocess

from programs import Program, ProgramTest


class Results(dict):
    """What a helper program prints at its end: a set of values for each name."""

    def number(self, name):
        return int(self.only(name))

    def only(self, name):
        (value,) = self[name]
        return value


class Helper(Program):
    """A helper program that runs, on a host of its own if `host` is given."""

    def __init__(self, test, name, *options, host=None, debug=False):
        command = [os.environ[name.upper()], *map(str, options)]
        super().__init__(test, *(host.inside(command) if host else command),
                         environment={"KtDebugEnabled": "YES" if debug else "NO"},
                         errors=subprocess.PIPE if debug else None)

    def go(self):
        """Lets a program that waits for its standard input continue."""
        self.process.stdin.write(b"go\n")
        self.process.stdin.close()

    def results(self):
        """Reads the lines `name value` until the program ends."""
        found = Results()
        while line := self.line():
            name, _, value = line.removesuffix("\n").partition(" ")
            found.setdefault(name, set()).add(value)
        self.process.wait()
        return found


class Server(Helper):
    """A server that serves once constructed, on `port`."""

    def __init__(self, test, *options, host=None, program="server"):
        super().__init__(test, program, *options, host=host)
        answer = self.line()
        test.assertRegex(answer, r"^serving \d+\n$")
        self.port = int(answer.split()[1])


class Requester(Helper):
    """A requester whose clients are connected, or have given up, once constructed."""

    def __init__(self, test, *options, host=None, debug=False):
        super().__init__(test, "requester", *options, host=host, debug=debug)
        self.wait_for("connected")


class SystemTest(ProgramTest):
    case_limit = 240

    def setUp(self):
        # The leak sanitizer finds its threads by the process ids of this namespace. A container may
        # not let its processes mount /proc; then only the other tests look for leaks.
        mounted = subprocess.run(["mount", "-t", "proc", "none", "/proc"],
                                 stderr=subprocess.DEVNULL).returncode == 0
        if not mounted:
            os.environ["ASAN_OPTIONS"] = "detect_leaks=0"

    def assert_all_answered(self, results, count, clients=1):
        seen = {name: results.number(name) for name in ("clients", "answered", "lost", "wrong")}
        self.assertEqual(seen, {"clients": clients, "answered": count, "lost": 0, "wrong": 0})
