# SPDX-License-Identifier: MIT
"""The command line of kt: help, version, and what it refuses."""

import os
import unittest

from programs import DEFAULT_PORTS, Daemon, ProgramTest, kt, run

COMMANDS = ["hello", "send", "ping", "parse", "calc", "eval", "walk", "files",
            "watch", "kinds"]
LOCAL_COMMANDS = ["parse", "calc", "walk"]  # they use no server
SHARED_OPTIONS = ["--json", "--quiet", "--debug", "--version", "--help"]
SERVER_OPTIONS = ["--signature TEXT", "--ports N,N,...", "--server HOST[:PORT]",
                  "--broadcast ADDRESS,...", "--timeout MS", "--retries N"]


class KtHelp(ProgramTest):
    def test_names_every_command_and_gives_examples(self):
        result = kt("--help")
        self.assertEqual((result.returncode, result.stderr), (0, ""))
        for command in COMMANDS:
            self.assertRegex(result.stdout, rf"\n  {command} +\w")
            self.assertIn(f"\n  kt {command}", result.stdout)

    def test_names_every_option_of_each_command(self):
        own = {"hello": ["--all"], "send": ["KEYWORD", "[KEY=VALUE...]", "--all", "--wait SECONDS"],
               "ping": ["--count COUNT", "--interval SECONDS"], "parse": ["[FILE]"],
               "calc": ["[EXPRESSION]", "--base N"], "eval": ["[EXPRESSION]", "--base N"],
               "walk": ["--type EXT", "--no-recursive", "--first N", "--count", "--null", "DIR..."],
               "files": ["--type EXT", "--null"], "kinds": [],
               "watch": ["--count COUNT", "--interval SECONDS"]}
        for command in COMMANDS:
            result = kt(command, "--help")
            self.assertEqual((result.returncode, result.stderr), (0, ""))
            for option in SHARED_OPTIONS + own[command]:
                self.assertIn(option, result.stdout)
            local = command in LOCAL_COMMANDS
            for text in [*SERVER_OPTIONS, ", ".join(map(str, DEFAULT_PORTS))]:
                self.assertEqual(text in result.stdout, not local, (command, text))

    def test_fits_wide_terminal(self):
        for arguments in [[], *[[command] for command in COMMANDS]]:
            for line in kt(*arguments, "--help").stdout.splitlines():
                self.assertLessEqual(len(line), 100, line)


class KtServerOptions(ProgramTest):
    def test_are_unknown_to_commands_without_server(self):
        for command in LOCAL_COMMANDS:
            for option in SERVER_OPTIONS:
                name = option.split()[0]
                self.assert_misuse(run("KT", command, ".", name), f"kt {command}",
                                   f"The following argument was not expected: {name}")


class KtVersion(ProgramTest):
    def test_is_printed_by_program_and_each_command(self):
        for arguments in [[], *[[command] for command in COMMANDS]]:
            result = kt(*arguments, "--version")
            self.assertRegex(result.stdout, r"^kt \d+\.\d+\.\d+\n$")
            self.assertEqual((result.returncode, result.stderr), (0, ""))


class KtArguments(ProgramTest):
    def test_requires_command(self):
        self.assert_misuse(run("KT"), "kt", "a command is needed: " + ", ".join(COMMANDS))

    def test_refuses_unknown_command(self):
        self.assert_misuse(kt("fetch"), "kt", "The following argument was not expected: fetch")

    def test_refuses_unknown_option(self):
        self.assert_misuse(kt("hello", "--al"), "kt hello",
                           "The following argument was not expected: --al")

    def test_refuses_surplus_argument(self):
        self.assert_misuse(kt("hello", "you"), "kt hello",
                           "The following argument was not expected: you")

    def test_refuses_ports_outside_1_to_65535(self):
        for ports in ["0", "65536", "-1", "4798,", "4798,x", ""]:
            self.assert_misuse(
                kt("hello", f"--ports={ports}" if ports else "--ports=,"), "kt hello",
                f'--ports: "{ports or ","}" is not a list of ports from 1 to 65535 with commas '
                'between them')

    def test_refuses_timeout_below_1_ms(self):
        for timeout in ["0", "-5", "1.5", "1s", "2147483648"]:
            self.assert_misuse(
                kt("ping", "--timeout", timeout), "kt ping",
                f'--timeout: "{timeout}" is not a number of milliseconds from 1 up')

    def test_refuses_negative_retries(self):
        for retries in ["-1", "x"]:
            self.assert_misuse(kt("send", "Echo", f"--retries={retries}"), "kt send",
                               f'--retries: "{retries}" is not a number of resends from 0 up')

    def test_refuses_broadcast_address_that_is_not_ipv4(self):
        for address in ["localhost", "1.2.3", "::1", "1.2.3.256", "1.2.3.4,", "all,1.2.3.4"]:
            self.assert_misuse(
                kt("hello", "--broadcast", address), "kt hello",
                f'--broadcast: "{address}" is not an IPv4 address such as 192.168.1.255, several '
                "with commas between them, or all")

    def test_refuses_counts_and_intervals_out_of_range(self):
        self.assert_misuse(kt("ping", "-c", "0"), "kt ping",
                           '--count: "0" is not a number of round trips from 1 up')
        for interval in ["-1", "nan", "86401"]:
            self.assert_misuse(
                kt("ping", f"--interval={interval}"), "kt ping",
                f'--interval: "{interval}" is not a number of seconds from 0 to 86400')

    def test_escapes_control_characters_of_arguments(self):
        self.assert_misuse(
            kt("hello", "--broadcast", "\x1b[2J"), "kt hello",
            '--broadcast: "\\033[2J" is not an IPv4 address such as 192.168.1.255, several with '
            "commas between them, or all")
        self.assert_misuse(kt("hello", "\x1b[2J"), "kt hello",
                           "The following argument was not expected: \\033[2J")

    def test_requires_keyword_of_send(self):
        self.assert_misuse(kt("send"), "kt send", "KEYWORD is required")


class KtOutput(ProgramTest):
    def test_reports_closed_pipe(self):
        reader, writer = os.pipe()
        os.close(reader)
        with os.fdopen(writer) as closed:
            result = kt("parse", input="a", stdout=closed)
        self.assertEqual((result.returncode, result.stderr),
                         (1, "kt parse: can't write to standard output: Broken pipe\n"))

    def test_reports_output_that_was_never_open(self):
        Daemon(self)
        for command in [["hello"], ["send", "Status"], ["watch", "--json"]]:
            result = kt(*command, stdout=None, preexec_fn=lambda: os.close(1))
            self.assert_result(result, 1, "", f"kt {command[0]}: can't write to standard output: "
                                              "Bad file descriptor\n")

    def test_reports_full_disk(self):
        with open("/dev/full", "w") as full:
            result = kt("parse", input="a", stdout=full)
        self.assertEqual((result.returncode, result.stderr),
                         (1, "kt parse: can't write to standard output: "
                             "No space left on device\n"))

    def test_ignores_full_disk_if_quiet(self):
        with open("/dev/full", "w") as full:
            self.assertEqual(kt("parse", "--quiet", input="a", stdout=full).returncode, 0)


if __name__ == "__main__":
    unittest.main()
