# SPDX-License-Identifier: MIT
"""ktd: the configuration file, and the options that only say how it serves."""

import os
import re
import shutil
import tempfile
import unittest

from programs import Daemon, ProgramTest, ktd

DEFAULTS = """{
  debug = NO;
  files = ();
  handle = {};
  "handler-timeout" = 10;
  ports = ( 4798, 4711, 5600, 4822, 3493, 4926 );
  signature = KtUDP;
  types = ();
  unique = NO;
  workers = 4;
}
"""


class ConfigurationTest(ProgramTest):
    """A test with a folder of its own for a configuration file."""

    def setUp(self):
        self.root = tempfile.mkdtemp(prefix="kt-test-")
        self.addCleanup(shutil.rmtree, self.root)
        self.path = os.path.join(self.root, "ktd.plist")

    def write(self, text):
        with open(self.path, "w", encoding="utf-8") as file:
            file.write(text)
        return self.path

    def printed(self, *arguments, text=None):
        """Returns what --print-config prints with these arguments and the file's text."""
        if text is not None:
            arguments += ("--config", self.write(text))
        result = ktd("--print-config", *arguments)
        self.assertEqual((result.returncode, result.stderr), (0, ""))
        return result.stdout

    def assert_refused(self, text, problem, *arguments):
        for mode in ((), ("--print-config",)):
            result = ktd("--config", self.write(text), *arguments, *mode)
            self.assert_result(result, 1, "", f"ktd: {self.path}, {problem}\n")


class KtdPrintConfig(ConfigurationTest):
    def test_shows_defaults(self):
        self.assertEqual(self.printed(), DEFAULTS)

    def test_shows_options(self):
        self.assertEqual(
            self.printed("--handle", "Say=/bin/echo -n  hello", "--handle", "Date=/bin/date",
                         "--handler-timeout", "0.25", "--workers", "8", "--signature", "The Office",
                         "--ports", "9000", "--broadcast", "127.0.0.1", "--unique", "--debug",
                         "--files", "/", "--types", "txt,h"),
            """{
  broadcast = 127.0.0.1;
  debug = YES;
  files = ( "/" );
  handle = {
    Date = ( "/bin/date" );
    Say = ( "/bin/echo", "-n", hello );
  };
  "handler-timeout" = 0.25;
  ports = ( 9000 );
  signature = "The Office";
  types = ( txt, h );
  unique = YES;
  workers = 8;
}
""")

    def test_is_read_back_as_it_is(self):
        text = self.printed("--handle", 'Say=/bin/echo "a\\ \xe9', "--files", self.root,
                            "--types", "a", "--unique", "--signature", "\u20ac\x1b")
        self.assertEqual(self.printed(text=text), text)
        self.assert_printable(text)

    def test_shows_each_option_of_help(self):
        text = self.printed("--broadcast", "127.0.0.1")
        keys = re.findall(r'^  "?([\w-]+)"? = ', text, re.MULTILINE)
        options = re.findall(r"^  (?:-\w,)?--([\w-]+)", ktd("--help").stdout, re.MULTILINE)
        self.assertEqual(set(options) - {"help", "version", "config", "print-config"}, set(keys))

    def test_serves_nothing(self):
        daemon = Daemon(self)
        self.assertEqual(self.printed("--ports", str(daemon.port), "--unique")[:2], "{\n")

    def test_fails_if_it_cannot_print(self):
        with open("/dev/full", "w") as full:
            result = ktd("--print-config", stdout=full)
        self.assertEqual((result.returncode, result.stderr),
                         (1, "ktd: can't write to standard output: No space left on device\n"))


class KtdConfigFile(ConfigurationTest):
    def test_sets_options(self):
        path = self.write("{ signature = Office; ports = ( 9000 ); }")
        self.assertEqual(Daemon(self, "--config", path).ready_line,
                         'ktd: serving "Office" on port 9000\n')

    def test_yields_to_command_line(self):
        path = self.write("{ signature = Office; ports = ( 9000 ); }")
        self.assertEqual(Daemon(self, "--signature", "Hut", "--config", path).ready_line,
                         'ktd: serving "Hut" on port 9000\n')

    def test_may_be_empty_dictionary(self):
        self.assertEqual(self.printed(text="{}"), DEFAULTS)

    def test_is_replaced_as_whole_by_lists_of_command_line(self):
        text = f'{{ files = ( "{self.root}", /no/such ); handle = {{ A = /no/such; }}; }}'
        printed = self.printed("--files", "/", "--handle", "B=/bin/date", text=text)
        self.assertIn('\n  files = ( "/" );\n  handle = {\n    B = ( "/bin/date" );\n  };\n',
                      printed)

    def test_turns_log_on(self):
        daemon = Daemon(self, "--config", self.write("{ debug = YES; }"))
        self.assertIn("Bound to port 4798\n", daemon.end()[2])

    def test_may_come_through_pipe(self):
        result = ktd("--print-config", "--config", "/dev/stdin", input="{ workers = 9; }")
        self.assertIn("  workers = 9;\n", result.stdout)


class KtdConfigMistakes(ConfigurationTest):
    def test_unknown_key(self):
        self.assert_refused("{\n  unique = NO;\n    signatur = Office;\n}",
                            'line 3, column 5: unknown key "signatur". The keys are: broadcast, '
                            "debug, files, handle, handler-timeout, ports, signature, types, "
                            "unique, workers.")

    def test_repeated_key(self):
        self.assert_refused("{ workers = 1; workers = 1; }",
                            'line 1, column 16: the key "workers" is repeated')

    def test_wrong_value(self):
        self.assert_refused("{\n  ports = ( 4798,\n    47110000 );\n}",
                            'line 3, column 5: ports: "47110000" is not a port from 1 to 65535')

    def test_wrong_value_that_command_line_replaces(self):
        self.assert_refused("{ workers = many; }",
                            'line 1, column 13: workers: "many" is not a number from 1 to 64',
                            "--workers", "3")

    def test_control_characters_are_escaped(self):
        self.assert_refused('{ workers = "\\033[2J"; }',
                            'line 1, column 13: workers: "\\033[2J" is not a number from 1 to 64')

    def test_malformed_text(self):
        self.assert_refused("{\n  signature = Office\n  ports = ( 1 );\n}",
                            "line 3, column 3: expected ';' or '}', found 'p'")

    def test_missing_directory(self):
        self.assert_refused("{ files = ( /, /no/such ); }",
                            'line 1, column 16: the files of "/no/such" can\'t be served: '
                            "No such file or directory")

    def test_program_that_cannot_be_run(self):
        self.assert_refused(f'{{ handle = {{ A = ( "{self.path}" ); }}; }}',
                            f'line 1, column 18: the program "{self.path}" can\'t be run: '
                            "Permission denied")

    def test_missing_file(self):
        self.assert_result(ktd("--config", self.path), 1, "",
                           f"ktd: {self.path}: can't read it: No such file or directory\n")


class KtdHandlerOptions(ProgramTest):
    def test_refuse_wrong_kinds_and_programs(self):
        for text, problem in (
                ("Echo=/bin/echo", 'the kind "Echo" is built in'),
                ("Sealed=/bin/echo", 'the kind "Sealed" is reserved'),
                ("=/bin/echo", "the kind is empty"),
                ("A", "the program is missing"),
                ("A=echo", 'the program "echo" is not an absolute path such as /usr/bin/uptime')):
            self.assert_misuse(ktd("--handle", text), "ktd", f"--handle: {problem}")

    def test_refuse_repeated_kind(self):
        self.assert_misuse(ktd("--handle", "A=/bin/date", "--handle", "A=/bin/date"), "ktd",
                           '--handle: the kind "A" is repeated')

    def test_refuse_numbers_out_of_range(self):
        for number in ("0", "65", "x"):
            self.assert_misuse(ktd("--workers", number), "ktd",
                               f'--workers: "{number}" is not a number from 1 to 64')
        for seconds in ("0", "86401", "-1"):
            self.assert_misuse(ktd(f"--handler-timeout={seconds}"), "ktd",
                               f'--handler-timeout: "{seconds}" is not a number of seconds above '
                               "0, at most 86400")

    def test_fail_if_program_cannot_be_run(self):
        self.assert_result(ktd("--handle", "A=/no/such -x"), 1, "",
                           'ktd: the program "/no/such" can\'t be run: '
                           "No such file or directory\n")
        self.assert_result(ktd("--handle", "A=/bin"), 1, "",
                           'ktd: the program "/bin" can\'t be run: Is a directory\n')


if __name__ == "__main__":
    unittest.main()
