# SPDX-License-Identifier: MIT
"""The documents as the checks see them: fenced blocks, links, and dumps of datagrams."""

import re
from pathlib import Path

ROOT = Path(__file__).resolve().parents[2]
DOCUMENTS = sorted(ROOT.glob("*.md")) + sorted((ROOT / "docs").glob("*.md"))


class Block:
    """A fenced block: `language` and `name` are the words behind the opening fence."""

    def __init__(self, language, name, text):
        self.language = language
        self.name = name
        self.text = text


def blocks(document):
    """The fenced blocks of a document, a path below the root, in their order."""
    text = (ROOT / document).read_text(encoding="utf-8")
    found = re.findall(r"^```(\w+)(?: ([^\n]+))?\n(.*?)^```$", text, re.DOTALL | re.MULTILINE)
    return [Block(*parts) for parts in found]


def block(document, language, name=""):
    """The one block of this language and name."""
    [only] = [b for b in blocks(document) if (b.language, b.name) == (language, name)]
    return only.text


def without_code(document):
    """A document's text without its fenced blocks."""
    return re.sub(r"^```.*?^```$", "", document.read_text(encoding="utf-8"),
                  flags=re.DOTALL | re.MULTILINE)


def dump(data):
    """Bytes as the documents show them: offset, sixteen bytes, the same as ASCII."""
    lines = []
    for offset in range(0, len(data), 16):
        row = data[offset:offset + 16]
        halves = "  ".join(half.hex(" ") for half in (row[:8], row[8:]) if half)
        ascii_text = "".join(chr(byte) if 0x20 <= byte < 0x7f else "." for byte in row)
        lines.append(f"{offset:04x}  {halves:<48}  |{ascii_text}|\n")
    return "".join(lines)


def undump(text):
    """The bytes that a dump shows."""
    return b"".join(bytes.fromhex(line[6:54]) for line in text.splitlines())
