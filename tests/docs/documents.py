# SPDX-License-Identifier: MIT
"""The documents as the checks see them: fenced blocks, text without code, dumps of datagrams."""

import re
from pathlib import Path

ROOT = Path(__file__).resolve().parents[2]
DOCUMENTS = sorted(ROOT.glob("*.md")) + sorted((ROOT / "docs").glob("*.md"))


class Block:
    """A fenced block: `language` and `name` are the words after the opening fence."""

    def __init__(self, language, name, text):
        self.language = language
        self.name = name
        self.text = text


def blocks(document):
    """Returns the fenced blocks of a document, a path below the root, in their order."""
    text = (ROOT / document).read_text(encoding="utf-8")
    found = re.findall(r"^```(\w+)(?: ([^\n]+))?\n(.*?)^```$", text, re.DOTALL | re.MULTILINE)
    return [Block(*parts) for parts in found]


def block(document, language, name=""):
    """Returns the text of the only block with this language and name."""
    [only] = [b for b in blocks(document) if (b.language, b.name) == (language, name)]
    return only.text


def consoles():
    """Returns (document name, text) of every block of commands with their output."""
    return [(document.name, block.text) for document in DOCUMENTS for block in blocks(document)
            if block.language == "console"]


def without_code(document):
    """Returns the text of a document without its fenced blocks."""
    return re.sub(r"^```.*?^```$", "", document.read_text(encoding="utf-8"),
                  flags=re.DOTALL | re.MULTILINE)


def dump(data):
    """Returns bytes as the documents show them: offset, sixteen bytes, the same as ASCII."""
    lines = []
    for offset in range(0, len(data), 16):
        row = data[offset:offset + 16]
        halves = "  ".join(half.hex(" ") for half in (row[:8], row[8:]) if half)
        ascii_text = "".join(chr(byte) if 0x20 <= byte < 0x7f else "." for byte in row)
        lines.append(f"{offset:04x}  {halves:<48}  |{ascii_text}|\n")
    return "".join(lines)


def undump(text):
    """Returns the bytes that a dump shows."""
    return b"".join(bytes.fromhex(line[6:54]) for line in text.splitlines())
