# SPDX-License-Identifier: MIT
"""Programs that use a terminal as a screen, and what a user then sees on it."""

import codecs
import fcntl
import os
import re
import resource
import signal
import struct
import subprocess
import sys
import termios
# What a program may write: a control sequence, a line end, or a character.
TOKEN = re.compile(r"\x1b\[(\??[\d;]*)([A-Za-z])|([\r\n])|([^\x1b\r\n])")
UNFINISHED = re.compile(r"\x1b(\[[\d;?]*)?$")


class Screen:
    """What a terminal shows, by the few control sequences that the programs may use."""

    def __init__(self, width, height):
        self.is_alternate = False
        self.has_cursor = True
        self.wrapped = []  # the lines that were too long, as far as they fitted
        self._unread = ""
        self.resize(width, height)

    def resize(self, width, height):
        self.width, self.height = width, height
        self._row = self._column = 0
        self._cells = [[" "] * width for _ in range(height)]

    def lines(self):
        """Returns the lines without the spaces at their ends, and without empty ones at the end."""
        return "\n".join("".join(row).rstrip() for row in self._cells).rstrip("\n").split("\n")

    def write(self, text):
        text = self._unread + text
        unfinished = UNFINISHED.search(text)
        end = unfinished.start() if unfinished else len(text)
        text, self._unread = text[:end], text[end:]
        position = 0
        while position < len(text):
            token = TOKEN.match(text, position)
            assert token, f"not understood: {text[position:position + 20]!r}"
            position = token.end()
            self._obey(*token.groups())

    def _obey(self, numbers, command, line_end, character):
        if command:
            self._control(numbers, command)
        elif line_end == "\r":
            self._column = 0
        elif line_end == "\n":
            self._row = min(self._row + 1, self.height - 1)
        elif self._column == self.width:
            self.wrapped.append("".join(self._cells[self._row]))
        else:
            self._cells[self._row][self._column] = character
            self._column += 1

    def _control(self, numbers, command):
        if (numbers, command) in [("?1049", "h"), ("?1049", "l")]:
            self.is_alternate = command == "h"
            self.resize(self.width, self.height)
        elif numbers == "?25" and command in "hl":
            self.has_cursor = command == "h"
        elif command == "H":
            row, column = map(int, numbers.split(";"))
            self._row, self._column = min(row, self.height) - 1, column - 1
        elif (numbers, command) == ("2", "K"):
            self._cells[self._row] = [" "] * self.width
        elif (numbers, command) == ("", "J"):
            for row in self._cells[self._row:]:
                row[:] = [" "] * self.width
        else:
            raise AssertionError(f"not understood: ESC [ {numbers} {command}")


# Leads the session of a program, so that its terminal outlives it: when the leader ends, the system
# resets the modes. Tells the program's process and its status. Signal keys are not for the leader.
LEADER = """
import os, signal, subprocess, sys
channel = os.fdopen(int(sys.argv[1]), "w", buffering=1)
for number in (signal.SIGINT, signal.SIGQUIT, signal.SIGTSTP):
    signal.signal(number, lambda *_: None)
ignored = [int(number) for number in sys.argv[2].split()]
program = subprocess.Popen(
    sys.argv[3:], preexec_fn=lambda: [signal.signal(number, signal.SIG_IGN) for number in ignored])
os.closerange(0, 3)
print(program.pid, file=channel)
print(program.wait(), file=channel)
while True:
    signal.pause()
"""


class TerminalProgram:
    """A program on a terminal of its own, which also controls it: Ctrl-C works."""

    def __init__(self, test, *command, width=80, height=24, environment=None, ignored=()):
        self._terminal, end = os.openpty()
        test.addCleanup(os.close, self._terminal)
        self.screen = Screen(width, height)
        self.resize(width, height)
        self.modes = termios.tcgetattr(self._terminal)
        self._decoder = codecs.getincrementaldecoder("utf-8")()

        def begin():
            fcntl.ioctl(0, termios.TIOCSCTTY, 0)
            resource.setrlimit(resource.RLIMIT_CORE, (0, 0))

        reader, writer = os.pipe()
        self._leader = subprocess.Popen(
            [sys.executable, "-c", LEADER, str(writer), " ".join(str(int(n)) for n in ignored),
             *command],
            stdin=end, stdout=end, stderr=end, pass_fds=[writer],
            start_new_session=True, preexec_fn=begin,
            env={**os.environ, "LC_ALL": "C.UTF-8", **(environment or {})})
        os.close(writer)
        os.close(end)  # now only the program has it open
        self._news = os.fdopen(reader)
        test.addCleanup(self._news.close)
        test.addCleanup(self._leader.wait)
        test.addCleanup(self._leader.kill)  # the system then hangs up on the program
        self._pid = int(self._news.readline())

    def resize(self, width, height):
        """Gives the terminal another size, of which the program gets a signal."""
        self.screen.resize(width, height)
        fcntl.ioctl(self._terminal, termios.TIOCSWINSZ, struct.pack("HHHH", height, width, 0, 0))

    def send_signal(self, number):
        os.kill(self._pid, number)

    def press(self, keys):
        os.write(self._terminal, keys.encode())

    def await_screen(self, condition):
        """Returns the lines on the screen once condition(lines) is true."""
        while not condition(lines := self.screen.lines()):
            if not self._read():
                raise EOFError(f"the program ended; on the screen: {lines}")
        return lines

    def await_text(self, pattern):
        """Returns the first line on the screen that matches once there is one."""
        def matching(lines):
            return [line for line in lines if re.search(pattern, line)]
        return matching(self.await_screen(matching))[0]

    def status(self):
        """Waits for the program's end; returns its status. The screen is then complete."""
        while self._read():
            pass
        return int(self._news.readline())

    def has_first_modes(self):
        """Returns whether the terminal is in the modes in which the program found it."""
        return termios.tcgetattr(self._terminal) == self.modes

    def _read(self):
        """Waits for output and shows it. Returns False if there will be none any more."""
        try:
            output = os.read(self._terminal, 65536)
        except OSError:  # how Linux reports the end of a terminal
            return False
        self.screen.write(self._decoder.decode(output))
        return True
