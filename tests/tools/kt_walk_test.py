# SPDX-License-Identifier: MIT
"""kt walk: finds the files of some types in directory trees."""

import json
import os
import signal
import subprocess
import tempfile
import unittest

from programs import Program, ProgramTest, Terminal, kt


class WalkTest(ProgramTest):
    """A temporary directory tree to walk. It is in memory, as some have thousands of files."""

    def setUp(self):
        folder = tempfile.TemporaryDirectory(dir="/dev/shm" if os.path.isdir("/dev/shm") else None)
        self.addCleanup(folder.cleanup)
        self.root = folder.name

    def make(self, *paths):
        for path in paths:
            whole = os.path.join(os.fsencode(self.root), os.fsencode(path))
            os.makedirs(os.path.dirname(whole), exist_ok=True)
            with open(whole, "w"):
                pass

    def at(self, path):
        return os.path.join(self.root, path)

    def found(self, *arguments):
        """Returns the printed lines, sorted."""
        result = kt("walk", *arguments)
        self.assertEqual((result.returncode, result.stderr), (0, ""))
        return sorted(result.stdout.splitlines())


class KtWalk(WalkTest):
    def test_prints_files_of_type(self):
        self.make("a.txt", "b.TXT", "c", "d/e.txt", "x.txt/f.txt")
        self.assertEqual(self.found("--type", "txt", self.root),
                         sorted(map(self.at, ["a.txt", "d/e.txt", "x.txt", "x.txt/f.txt"])))

    def test_accepts_several_types(self):
        self.make("a.txt", "b.h", "c", "d.dat")
        self.assertEqual(self.found("--type", "txt", "--type", "h", "--type", "", self.root),
                         [self.root, self.at("a.txt"), self.at("b.h"), self.at("c")])

    def test_walks_directories_in_given_order(self):
        self.make("2/a.txt", "1/b.txt")
        result = kt("walk", "--type", "txt", self.at("2"), self.at("1"))
        self.assert_result(result, 0, f'{self.at("2/a.txt")}\n{self.at("1/b.txt")}\n')

    def test_walks_directory_in_brackets(self):
        self.make("[1]/a.txt", "[1,2]/b.txt", "1/c.txt", "2/d.txt")
        result = kt("walk", "--type", "txt", "[1]", "[1,2]", cwd=self.root)
        self.assert_result(result, 0, "[1]/a.txt\n[1,2]/b.txt\n")

    def test_leaves_out_subdirectories_if_told_to(self):
        self.make("a.txt", "d/e.txt", "x.txt/f.txt")
        self.assertEqual(self.found("--type", "txt", "--no-recursive", self.root),
                         [self.at("a.txt"), self.at("x.txt")])

    def test_accepts_file_as_starting_point(self):
        self.make("a.txt", "b.dat")
        self.assertEqual(self.found("--type", "txt", self.at("a.txt"), self.at("b.dat")),
                         [self.at("a.txt")])

    def test_takes_tilde_literally(self):
        self.make("~/a.txt")
        self.assert_result(kt("walk", "--type", "txt", "~", cwd=self.root), 0, "~/a.txt\n")

    def test_says_that_it_finds_nothing_without_types(self):
        self.make("a.txt", "b")
        self.assert_result(kt("walk", self.root), 0, "",
                           "kt walk: without --type no file is of an accepted type\n")


class KtWalkOutput(WalkTest):
    hostile = b"\x1b[2J\n\xff\\.txt"

    def test_prints_bytes_of_names_unchanged(self):
        self.make(self.hostile)
        result = kt("walk", "--type", "txt", self.root)
        self.assert_result(result, 0, self.at(self.hostile.decode("latin-1")) + "\n")

    def test_ends_paths_with_nul_if_told_to(self):
        self.make(self.hostile, "b.txt")
        result = kt("walk", "--type", "txt", "--null", self.root)
        self.assertEqual(sorted(result.stdout.split("\0")),
                         ["", self.at(self.hostile.decode("latin-1")), self.at("b.txt")])

    def test_escapes_names_on_terminal(self):
        self.make(self.hostile)
        terminal = Terminal(self)
        kt("walk", "--type", "txt", self.root, stdout=terminal.descriptor)
        text = terminal.text()
        self.assert_printable(text)
        self.assertEqual(text, self.at("\\033[2J\\n\\Ufffd\\.txt") + "\n")

    def test_prints_json(self):
        self.make("\u00e4\n.txt")
        result = kt("walk", "--type", "txt", "--json", self.root)
        self.assert_printable(result.stdout)
        self.assertEqual(json.loads(result.stdout), {"path": self.at("\u00e4\n.txt")})

    def test_prints_name_that_is_not_utf8_as_json_data(self):
        self.make(b"\xff.txt")
        found = json.loads(kt("walk", "--type", "txt", "--json", self.root).stdout)
        self.assertEqual(bytes.fromhex(found["path"]["data"]),
                         os.fsencode(self.root) + b"/\xff.txt")

    def test_prints_count_if_told_to(self):
        self.make("a.txt", "d/b.txt", "c.dat")
        self.assert_result(kt("walk", "--type", "txt", "--count", self.root), 0, "2\n")
        self.assert_result(kt("walk", "--type", "txt", "--count", "--json", self.root), 0,
                           '{"count":2}\n')
        self.assert_result(kt("walk", "--type", "h", "--count", self.root), 0, "0\n")

    def test_ends_after_first_files_if_told_to(self):
        self.make("1.txt/a.txt", "1.txt/b.txt", "2.txt/c.txt")
        roots = [self.at("1.txt"), self.at("2.txt")]
        everything = kt("walk", "--type", "txt", *roots).stdout.splitlines(keepends=True)
        for count in range(1, 6):
            result = kt("walk", "--type", "txt", "--first", str(count), *roots)
            self.assert_result(result, 0, "".join(everything[:count]))
        self.assert_result(kt("walk", "--type", "txt", "--first", "2", "--count", *roots), 0,
                           "2\n")

    def test_prints_nothing_if_quiet(self):
        self.make("a.txt")
        self.assert_result(kt("walk", "--type", "txt", "--quiet", self.root), 0)
        self.assert_result(kt("walk", "--type", "txt", "-q", "--count", "--json", self.root), 0)

    def test_reports_full_disk(self):
        self.make("a.txt")
        with open("/dev/full", "w") as full:
            result = kt("walk", "--type", "txt", self.root, stdout=full)
        self.assertEqual((result.returncode, result.stderr),
                         (1, "kt walk: can't write to standard output: "
                             "No space left on device\n"))


class KtWalkPipe(WalkTest):
    def endless_walk(self):
        """Starts a walk over nested cycles of links, which practically never ends."""
        self.make("a.txt")
        for name in ("1", "2", "3"):
            os.symlink(".", self.at(name))
        return Program(self, os.environ["KT"], "walk", "--type", "txt", self.root,
                       errors=subprocess.PIPE)

    def test_receives_files_while_walk_goes_on(self):
        walk = self.endless_walk()
        self.assertTrue(walk.line().endswith("a.txt\n"))
        self.assertIsNone(walk.process.poll())

    def test_ends_walk_silently_if_reader_closes_it(self):
        walk = self.endless_walk()
        walk.line()
        walk.close_output()
        status, _, errors = walk.wait()
        self.assertEqual((status, errors), (-signal.SIGPIPE, ""))


class KtWalkErrors(WalkTest):
    def test_reports_missing_starting_points_and_walks_others(self):
        self.make("d/a.txt", "plain")
        os.symlink("nowhere", self.at("dangling.txt"))
        result = kt("walk", "--type", "txt", self.at("missing.txt"), self.at("d"),
                    self.at("dangling.txt"), self.at("plain/"))
        self.assert_result(
            result, 1, self.at("d/a.txt") + "\n",
            f'kt walk: "{self.at("missing.txt")}": No such file or directory\n'
            f'kt walk: "{self.at("dangling.txt")}": No such file or directory\n'
            f'kt walk: "{self.at("plain/")}": Not a directory\n')

    def test_escapes_name_of_missing_starting_point(self):
        result = kt("walk", "--type", "txt", "\x1b[2J")
        self.assert_result(result, 1, "",
                           'kt walk: "\\033[2J": No such file or directory\n')


class KtWalkArguments(WalkTest):
    def test_refuses_wrong_options(self):
        self.assert_misuse(kt("walk", "--type", "txt"), "kt walk", "DIR is required")
        for number in ["0", "-1", "x", "2147483648"]:
            self.assert_misuse(
                kt("walk", f"--first={number}", self.root), "kt walk",
                f'--first: "{number}" is not a number of files from 1 up')
        self.assert_misuse(kt("walk", "--null", "--json", self.root), "kt walk",
                           "--null excludes --json")
        self.assert_misuse(kt("walk", "--type", ".h", self.root), "kt walk",
                           '--type: ".h" is not an extension: it has a dot')
        self.assert_misuse(kt("walk", "--type", "a/h", self.root), "kt walk",
                           '--type: "a/h" is not an extension: it has a slash')


if __name__ == "__main__":
    unittest.main()
