# SPDX-License-Identifier: MIT
"""The examples of docs/bigint.md print what it shows. The environment names them."""

import unittest

from documents import block
from programs import ProgramTest, run

DOCUMENT = "docs/bigint.md"


class IntegerExamples(ProgramTest):
    def test_print_what_document_shows(self):
        for name in ("factorial", "mersenne"):
            with self.subTest(name):
                self.assert_result(run(name.upper()), 0, block(DOCUMENT, "text", name))


if __name__ == "__main__":
    unittest.main()
