#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Tests of scripts/check-style: a small tree that keeps every rule, then one breach at a time."""
import subprocess
import sys
import tempfile
import unittest
from pathlib import Path

SCRIPT = Path(__file__).resolve().parents[2] / "scripts" / "check-style"

HEADER = """// A thing; it lives as long as its owner, on one thread.
#ifndef KT_UDP_THING_H
#define KT_UDP_THING_H

#include <sys/socket.h>

#include "kt/foundation/Other.h"

#ifdef __cplusplus
extern "C" {
#endif
int thing(int count);
#ifdef __cplusplus
}
#endif
#endif
"""
SOURCE = """#include "kt/udp/Thing.h"

namespace {
struct Pair {
  Pair() : first_{1}, second_(2) {}
  int first_, second_;
};
}  // namespace

int thing(int count) {
  (void)count;  // kept for its callers
  return '"' + 1'000 + sizeof(Pair) + sizeof(R"(flag { TO)");
}
"""
LIST = "kt_library(udp HEADERS Thing.h SOURCES Thing.cpp)\n"


class CheckStyle(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.root = Path(folder.name)
        self.write("kt/udp/Thing.h", HEADER)
        self.write("kt/udp/Thing.cpp", SOURCE)
        self.write("kt/udp/CMakeLists.txt", LIST)

    def write(self, name, text):
        path = self.root / name
        path.parent.mkdir(parents=True, exist_ok=True)
        path.write_text(text)

    def run_check(self):
        done = subprocess.run([sys.executable, SCRIPT, self.root], capture_output=True, text=True)
        return done.returncode, done.stdout + done.stderr

    def assert_breach(self, place, words):
        status, output = self.run_check()
        self.assertEqual(status, 1, output)
        said = [line for line in output.splitlines() if line.startswith(place + ": ")]
        self.assertEqual(len(said), 1, output)
        self.assertIn(words, said[0])
        self.assertEqual(len(output.splitlines()), 2, output)  # that breach, and the lengths

    def test_a_tree_without_breaches_passes(self):
        status, output = self.run_check()
        self.assertEqual((status, output.splitlines()), (0, [
            "2 functions: median 1 lines, nine in ten within 4, longest 4 (kt/udp/Thing.cpp:10)",
            "style: nothing to mend"]))

    def test_a_long_line(self):
        self.write("kt/udp/Thing.cpp", SOURCE + "// " + "x" * 98 + "\n")
        self.assert_breach("kt/udp/Thing.cpp:14", "101 characters")

    def test_a_table_row_may_be_long(self):
        self.write("docs/page.md", "| " + "x" * 150 + " |\n")
        self.assertEqual(self.run_check()[0], 0)

    def test_a_leftover_marker(self):
        self.write("docs/page.md", "Something.\nTO" "DO more\n")
        self.assert_breach("docs/page.md:2", "leftover marker")

    def test_a_file_that_is_too_long(self):
        self.write("kt/udp/Thing.cpp", SOURCE + "int x;\n" * 488)
        self.assert_breach("kt/udp/Thing.cpp:500", "501 lines")

    def test_a_long_file_with_a_reason(self):
        reason = "// In one file because its halves share a table.\n"
        self.write("kt/udp/Thing.cpp", reason + SOURCE + "int x;\n" * 488)
        self.assertEqual(self.run_check()[0], 0)

    def test_a_function_that_is_too_long(self):
        self.write("kt/udp/Thing.cpp", SOURCE + "\nint\nlong_one() {\n" + "  x();\n" * 68 + "}\n")
        self.assert_breach("kt/udp/Thing.cpp:15", "71 lines")

    def test_a_method_counts_with_its_member_initializers(self):
        method = "class C {\n public:\n  C()\n      : a_{1},\n        b_{2} {\n"
        self.write("kt/udp/Thing.cpp", SOURCE + method + "    x();\n" * 67 + "  }\n};\n")
        self.assert_breach("kt/udp/Thing.cpp:16", "71 lines")

    def test_a_list_that_is_too_long(self):
        self.write("kt/udp/CMakeLists.txt", LIST + "# more\n" * 30)
        self.assert_breach("kt/udp/CMakeLists.txt:30", "31 lines")

    def test_an_include_against_the_arrows(self):
        self.write("kt/udp/Thing.h", HEADER.replace("kt/foundation/", "kt/walker/"))
        self.assert_breach("kt/udp/Thing.h:7", "udp may include only diagnostics, foundation, udp")

    def test_an_include_that_is_not_from_the_root(self):
        self.write("kt/udp/Thing.cpp", SOURCE.replace("kt/udp/", ""))
        self.assert_breach("kt/udp/Thing.cpp:1", '"kt/.../Thing.h"')

    def test_a_third_party_include(self):
        self.write("kt/udp/Thing.h", HEADER.replace("sys/socket.h", "third/party.h"))
        self.assert_breach("kt/udp/Thing.h:5", "standard library")

    def test_a_system_conditional(self):
        self.write("kt/udp/Thing.cpp", SOURCE + "#if defined(__linux__)\n#endif\n")
        self.assert_breach("kt/udp/Thing.cpp:14", "a conditional")

    def test_a_system_conditional_in_its_place(self):
        self.write("kt/udp/Socket.cpp", "#ifdef __linux__\n#endif\n")
        self.write("kt/udp/CMakeLists.txt", LIST + "# Socket.cpp\n")
        self.assertEqual(self.run_check()[0], 0)

    def test_a_header_without_an_opening_paragraph(self):
        self.write("kt/udp/Thing.h", "\n" + HEADER.split("\n", 1)[1])
        self.assert_breach("kt/udp/Thing.h:1", "open with a paragraph")

    def test_a_banned_name(self):
        self.write("kt/udp/Thing.cpp", SOURCE + "int " + "len;\n")
        self.assert_breach("kt/udp/Thing.cpp:14", 'the name "len"')

    def test_a_result_dropped_without_a_reason(self):
        self.write("kt/udp/Thing.cpp", SOURCE.replace("  // kept for its callers", ""))
        self.assert_breach("kt/udp/Thing.cpp:11", "a dropped result")

    def test_a_sleep_in_a_test(self):
        self.write("tests/udp/wait.sh", "# sleep is not used\nslee" "p 1\n")
        self.assert_breach("tests/udp/wait.sh:2", "wait for the event")

    def test_a_source_that_no_list_names(self):
        self.write("kt/udp/Forgotten.cpp", "int forgotten();\n")
        self.assert_breach("kt/udp/Forgotten.cpp:1", "no CMakeLists.txt names this file")


if __name__ == "__main__":
    unittest.main()
