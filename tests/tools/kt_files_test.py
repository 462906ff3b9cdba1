# SPDX-License-Identifier: MIT
"""kt files and ktd --files: lists the files that a server serves, page by page."""

import json
import os
import signal
import subprocess
import unittest

from kt_walk_test import WalkTest
from peers import Peer, always, server
from programs import PATIENT, Daemon, Program, ProgramTest, Terminal, kt, ktd


def page(files, total, next=None, root="/srv"):
    following = f"Next = {next}; " if next is not None else ""
    return f'{{ Files = ( {", ".join(files)} ); {following}Root = "{root}"; Total = {total}; }}'


class KtFiles(WalkTest):
    def test_prints_files_that_walk_on_server_finds(self):
        self.make("a.txt", "d/b.txt", "c.h", "d/e")
        Daemon(self, "--files", self.root)
        for types in (["txt"], ["txt", "h"], ["none"]):
            options = [word for extension in types for word in ("--type", extension)]
            walked = kt("walk", *options, self.root)
            self.assert_result(kt("files", *options), 0, walked.stdout)

    def test_prints_files_of_servers_types_by_default(self):
        self.make("a.txt", "b.h", "c.dat")
        Daemon(self, "--files", self.root, "--types", "txt,h")
        self.assertEqual(sorted(kt("files").stdout.splitlines()),
                         [self.at("a.txt"), self.at("b.h")])
        self.assert_result(kt("files", "--type", "dat", "--type", "h"), 0, self.at("b.h") + "\n")

    def test_prints_files_of_several_roots(self):
        self.make("1/a.txt", "2/b.txt", "3/c.txt")
        Daemon(self, "--files", self.at("1"), self.at("2/"), "--types", "txt")
        self.assert_result(kt("files"), 0, f'{self.at("1/a.txt")}\n{self.at("2/b.txt")}\n')

    def test_prints_5000_long_names_from_many_pages(self):
        self.make(*(f"d{number % 7}/{number:0240}.txt" for number in range(5000)))
        Daemon(self, "--files", self.root)
        result = kt("files", "--type", "txt")
        walked = kt("walk", "--type", "txt", self.root)
        self.assertEqual(result.stdout.count("\n"), 5000)
        self.assertTrue(result.stdout == walked.stdout)

    def test_prints_names_that_are_not_utf8_unchanged(self):
        self.make(b"\xff\n.txt")
        Daemon(self, "--files", self.root)
        self.assert_result(kt("files", "--type", "txt"), 0, self.at("\xff\n.txt\n"))
        self.assert_result(kt("files", "--type", "txt", "--null"), 0, self.at("\xff\n.txt\0"))
        found = json.loads(kt("files", "--type", "txt", "--json").stdout)
        self.assertEqual(found, {"root": self.root, "path": {"data": "ff0a2e747874"}})

    def test_accepts_type_that_is_not_utf8(self):
        self.make(b"a.\xff")
        Daemon(self, "--files", self.root)
        self.assert_result(kt("files", "--type", b"\xff"), 0, self.at("a.\xff\n"))

    def test_says_that_no_type_is_given(self):
        self.make("a.txt", "b")
        Daemon(self, "--files", self.root)
        self.assert_result(kt("files"), 0, "", "kt files: no file is of a type that the server "
                                               "names; give --type\n")

    def test_prints_nothing_if_quiet(self):
        self.make("a.txt")
        Daemon(self, "--files", self.root)
        self.assert_result(kt("files", "--type", "txt", "--quiet"), 0)

    def test_answer_names_invalid_entry_of_request(self):
        self.make("a.txt")
        Daemon(self, "--files", self.root, "--types", "txt")
        self.assert_result(kt("send", "Files", "Offset=-1"), 0,
                           '{ Error = "Offset is not a number from 0 up."; }\n')
        self.assert_result(kt("send", "Files", "Count=(1)"), 0,
                           '{ Error = "Count is not a number from 0 up."; }\n')
        self.assert_result(kt("send", "Files", "Types={a = b;}"), 0,
                           '{ Error = "Types is not an array of strings."; }\n')
        self.assert_result(kt("send", "Files"), 0,
                           f'{{ Files = ( a.txt ); Root = "{self.root}"; Total = 1; }}\n')


class KtdFilesArguments(WalkTest):
    def test_refuses_path_that_cannot_be_listed(self):
        self.make("plain")
        for path, reason in [("missing", "No such file or directory"),
                             ("plain", "Not a directory")]:
            self.assert_result(ktd("--files", self.at(path)), 1, "",
                               f'ktd: the files of "{self.at(path)}" can\'t be served: {reason}\n')

    def test_refuses_types_without_files(self):
        self.assert_misuse(ktd("--types", "txt"), "ktd", "--types requires --files")

    def test_refuses_type_that_is_not_an_extension(self):
        self.assert_misuse(ktd("--files", self.root, "--types", "txt,.h"), "ktd",
                           '--types: ".h" is not an extension: it has a dot')
        self.assert_misuse(kt("files", "--type", ".h"), "kt files",
                           '--type: ".h" is not an extension: it has a dot')


class KtFilesErrors(WalkTest):
    def test_refuses_request_too_large_for_datagram(self):
        Daemon(self)
        result = kt("files", "--type", "x" * 70_000)
        self.assertEqual((result.returncode, result.stdout), (1, ""))
        self.assertIn("a datagram carries at most 65,507", result.stderr)

    def test_reports_server_without_files(self):
        Daemon(self)
        self.assert_result(kt("files"), 1, "", "kt files: the server answers with an error: "
                                               "This server serves no files.\n")

    def test_refuses_null_with_json(self):
        self.assert_misuse(kt("files", "--null", "--json"), "kt files", "--null excludes --json")


class KtFilesPages(ProgramTest):
    """kt files and a server that answers with several pages."""

    def two_pages(self, request):
        if "Offset = 0;" in request.text:
            return [request.answer(page(["a.txt"], 2, next=1))]
        return [request.answer(page(["b.txt"], 2))]

    def test_shows_progress_on_terminal_and_clears_it(self):
        Peer(self, server(self.two_pages))
        terminal = Terminal(self)
        result = kt("files", stderr=terminal.descriptor)
        self.assertEqual(result.stdout, "/srv/a.txt\n/srv/b.txt\n")
        clear = "\r\x1b[K"
        self.assertEqual(terminal.text(), f"{clear}\r1 of 2 files{clear}{clear}")

    def test_hides_progress_in_file_or_if_quiet(self):
        Peer(self, server(self.two_pages))
        self.assert_result(kt("files"), 0, "/srv/a.txt\n/srv/b.txt\n")
        terminal = Terminal(self)
        kt("files", "--quiet", stderr=terminal.descriptor)
        self.assertEqual(terminal.text(), "")

    def test_ends_silently_if_reader_closes_pipe(self):
        def endless(request):
            following = request.number("Offset") + 1
            return [request.answer(page(["a.txt"] * 1000, 2**31 - 1, following))]
        Peer(self, server(endless))
        files = Program(self, os.environ["KT"], "files", "--timeout", PATIENT,
                        errors=subprocess.PIPE)
        files.line()
        files.close_output()
        status, _, errors = files.wait()
        self.assertEqual((status, errors), (-signal.SIGPIPE, ""))

    def test_reports_that_files_changed_meanwhile(self):
        totals = iter([3, 3, 2])
        pages = {0: (["a.txt"], 1), 1: (["b.txt"], 2), 2: ([], None)}

        def answer(request):
            files, following = pages[request.number("Offset")]
            return [request.answer(page(files, next(totals), following))]

        Peer(self, server(answer))
        self.assert_result(kt("files"), 0, "/srv/a.txt\n/srv/b.txt\n",
                           "kt files: the server's files changed meanwhile: some may be missing "
                           "or appear twice\n")


class KtFilesHostileServer(ProgramTest):
    def setUp(self):
        self.peer = Peer(self, server())

    def test_refuses_page_that_does_not_advance(self):
        for following in ["0", '"-1"', "x", "()"]:
            with self.subTest(following):
                self.check_refused(page(["a"], 5, following),
                                   "the next page is not after this one")

    def test_refuses_answer_of_another_kind(self):
        for packet, problem in [
                ("{}", "it has no Root"),
                ("{ Root = a; }", "it has no Total"),
                ("{ Root = a; Total = 1; }", "it has no Files"),
                ("{ Root = a; Total = 1; Files = a; }", "its Files are not an array"),
                ("{ Root = (); Total = 1; Files = (); }", "a path is neither a string nor data"),
                (page(["()"], 1), "a path is neither a string nor data")]:
            with self.subTest(packet):
                self.check_refused(packet, problem)

    def check_refused(self, packet, problem):
        self.peer.part = always(packet)
        result = kt("files")
        self.assert_result(result, 1, "", "kt files: the server's answer does not fit the request: "
                                          f"{problem}\n")

    def test_escapes_paths_on_terminal(self):
        self.peer.part = always(page([r'"\033[2J\n.txt"'], 1))
        terminal = Terminal(self)
        kt("files", stdout=terminal.descriptor)
        self.assertEqual(terminal.text(), "/srv/\\033[2J\\n.txt\n")

    def test_escapes_error(self):
        self.peer.part = always(r'{ Error = "\033[2J"; }')
        self.assert_result(kt("files"), 1, "",
                           "kt files: the server answers with an error: \\033[2J\n")


if __name__ == "__main__":
    unittest.main()
