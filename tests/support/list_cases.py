# SPDX-License-Identifier: MIT
"""Prints the cases of test files, one "FILE CLASS.METHOD" per line, without running them."""

import pathlib
import sys
import unittest


def cases(suite):
    for test in suite:
        if isinstance(test, unittest.TestSuite):
            yield from cases(test)
        else:
            yield test


for file in sys.argv[1:]:
    sys.path.insert(0, str(pathlib.Path(file).parent))
    module = __import__(pathlib.Path(file).stem)
    for case in cases(unittest.defaultTestLoader.loadTestsFromModule(module)):
        print(file, case.id().partition(".")[2])
