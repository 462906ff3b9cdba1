#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""The examples of big integers print what the document says. The environment names the programs."""

import os
import subprocess
import unittest

from documents import block

DOCUMENT = "docs/bigint.md"


class Integers(unittest.TestCase):
    def test_examples_print_what_is_shown(self):
        for name in ("factorial", "mersenne"):
            with self.subTest(name):
                printed = subprocess.run([os.environ[name.upper()]], stdout=subprocess.PIPE,
                                         encoding="utf-8", check=True).stdout
                self.assertEqual(printed, block(DOCUMENT, "text", name))


if __name__ == "__main__":
    unittest.main()
