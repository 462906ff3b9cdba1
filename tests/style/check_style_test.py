#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Tests scripts/check-style: a small tree that keeps every rule, then one violation at a time."""
import subprocess
import sys
import tempfile
import unittest
from pathlib import Path

SCRIPT = Path(__file__).resolve().parents[2] / "scripts" / "check-style"

HEADER = """// SPDX-License-Identifier: MIT

// A thing; it lives as long as its owner, on one thread.
#ifndef KT_UDP_THING_H
#define KT_UDP_THING_H

#include <sys/socket.h>

#include "kt/foundation/Other.h"

int thing(int count);

#endif
"""
SOURCE = """// SPDX-License-Identifier: MIT
#include "kt/udp/Thing.h"

int thing(int count) {
  (void)close(count);  // nothing was written, so nothing can be lost
  return count;
}
"""
LIST = "# SPDX-License-Identifier: MIT\nkt_library(udp HEADERS Thing.h SOURCES Thing.cpp)\n"


class CheckStyle(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.root = Path(folder.name)
        subprocess.run(["git", "init", "--quiet", self.root], check=True)
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

    def assert_violation(self, place, words):
        status, output = self.run_check()
        self.assertEqual(status, 1, output)
        [line] = output.splitlines()
        self.assertTrue(line.startswith(place + ": "), output)
        self.assertIn(words, line)

    def test_accepts_tree_without_violations(self):
        self.assertEqual(self.run_check(), (0, "style: no violations\n"))

    def test_finds_long_line(self):
        self.write("docs/page.md", "# Page\n" + "x" * 121 + "\n")
        self.assert_violation("docs/page.md:2", "121 characters")

    def test_accepts_long_row_of_table(self):
        self.write("docs/page.md", "| " + "x" * 150 + " |\n")
        self.assertEqual(self.run_check()[0], 0)

    def test_accepts_long_printed_answer(self):
        self.write("docs/page.md", "{ a = " + "x" * 150 + "; }\n")
        self.assertEqual(self.run_check()[0], 0)

    def test_finds_leftover_marker(self):
        self.write("docs/page.md", "Something.\nTO" "DO more\n")
        self.assert_violation("docs/page.md:2", "leftover marker")

    def test_finds_old_word(self):
        self.write("docs/page.md", "Something.\nAll but " "for one.\n")
        self.assert_violation("docs/page.md:2", 'write "except"')

    def test_finds_source_without_licence(self):
        self.write("kt/udp/Thing.cpp", SOURCE.split("\n", 1)[1])
        self.assert_violation("kt/udp/Thing.cpp:1", "SPDX-License-Identifier")

    def test_finds_script_without_licence(self):
        self.write("scripts/run", "#!/bin/bash\necho\n")
        self.assert_violation("scripts/run:1", "SPDX-License-Identifier")

    def test_finds_wrong_include_guard(self):
        self.write("kt/udp/Thing.h", HEADER.replace("KT_UDP_THING_H", "THING_H"))
        self.assert_violation("kt/udp/Thing.h:1", "KT_UDP_THING_H")

    def test_finds_include_against_arrows(self):
        self.write("kt/udp/Thing.h", HEADER.replace("kt/foundation/", "kt/walker/"))
        self.assert_violation("kt/udp/Thing.h:9",
                              "kt/udp may include only diagnostics, foundation, udp")

    def test_finds_include_not_from_root(self):
        self.write("kt/udp/Thing.cpp", SOURCE.replace("kt/udp/", ""))
        self.assert_violation("kt/udp/Thing.cpp:2", '"kt/.../Thing.h"')

    def test_finds_third_party_include(self):
        self.write("kt/udp/Thing.h", HEADER.replace("sys/socket.h", "third/party.h"))
        self.assert_violation("kt/udp/Thing.h:7", "standard library")

    def test_finds_dropped_result_without_reason(self):
        reason = "  // nothing was written, so nothing can be lost"
        self.write("kt/udp/Thing.cpp", SOURCE.replace(reason, ""))
        self.assert_violation("kt/udp/Thing.cpp:5", "why the result does not matter")

    def test_finds_sleep_in_test(self):
        licence = "# SPDX-License-Identifier: MIT\n"
        self.write("tests/udp/wait", f"#!/bin/sh\n{licence}# no sleep\nslee" "p 1\n")
        self.assert_violation("tests/udp/wait:4", "wait for the event")

    def test_finds_source_that_no_list_names(self):
        self.write("kt/udp/Forgotten.cpp", "// SPDX-License-Identifier: MIT\nint forgotten();\n")
        self.assert_violation("kt/udp/Forgotten.cpp:1", "no CMakeLists.txt names this file")


if __name__ == "__main__":
    unittest.main()
