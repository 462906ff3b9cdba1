# SPDX-License-Identifier: MIT
"""Compares the toolkit's property lists with another implementation, openstep-plist.

usage: property_list_oracle.py PROPERTY_LIST_EXCHANGE

Each must read what the other writes as the same value. These known differences are not compared:
- a lone surrogate in an escape: it keeps it; we replace it, because UTF-8 cannot represent it,
- \\u in lower case: it reads a plain u,
- an octal escape above 377: it wraps the code; we reject the text,
- a missing semicolon after the last entry of a dictionary: it rejects the text; we accept it,
- numbers: both read them as strings.
"""
import json
import random
import subprocess
import sys

import openstep_plist

SEED = 20260105
COUNT = 3000


def canonical(value):
    """Returns the value in the form of property_list_exchange's JSON."""
    if isinstance(value, bytes):
        return {"data": value.hex()}
    if isinstance(value, list):
        return [canonical(element) for element in value]
    if isinstance(value, dict):
        return {"dictionary": {key: canonical(element) for key, element in value.items()}}
    return value


def random_string(source):
    alphabets = ("abcXYZ019_.", "".join(map(chr, range(128))),
                 "\u00e9\u0192\u20ac\ufb01\ufffd\U0001f600\U0010ffff")
    alphabet = source.choice(alphabets)
    return "".join(source.choice(alphabet) for _ in range(source.randrange(12)))


def random_value(source, depth):
    kind = source.randrange(5 if depth else 2)
    if kind == 0:
        return random_string(source)
    if kind == 1:
        return source.randbytes(source.randrange(9))
    count = source.randrange(5)
    if kind == 2:
        return [random_value(source, depth - 1) for _ in range(count)]
    return {random_string(source): random_value(source, depth - 1) for _ in range(count)}


def exchange(program, arguments, text=""):
    """Runs property_list_exchange and returns the lines of its output."""
    run = subprocess.run([program, *arguments], input=text, capture_output=True, check=True,
                         encoding="utf-8")
    return run.stdout.split("\n")[:-1]


def check(what, text, ours, theirs):
    """Exits with a message unless the two values of `text` are equal."""
    if ours != theirs:
        sys.exit(f"{what} (seed {SEED}): {text!r}\n  ours:   {ours!r}\n  theirs: {theirs!r}")


def check_our_texts(program):
    lines = exchange(program, ["write", str(SEED), str(COUNT)])
    assert len(lines) == 2 * COUNT
    for text, value in zip(lines[::2], lines[1::2]):
        check("written by us", text, json.loads(value), canonical(openstep_plist.loads(text)))


def check_texts(program, what, texts):
    lines = exchange(program, ["read"], "".join(text.encode().hex() + "\n" for text in texts))
    assert len(lines) == len(texts)
    for text, value in zip(texts, lines):
        check(what, text, json.loads(value), canonical(openstep_plist.loads(text)))


def check_their_texts(program):
    source = random.Random(SEED)
    texts = []
    for number in range(COUNT):
        indent = 2 if number % 2 else None
        value = random_value(source, 4)
        texts.append(openstep_plist.dumps(value, unicode_escape=number % 3 > 0, indent=indent))
    check_texts(program, "written by openstep-plist", texts)


def check_handwritten_texts(program):
    octals = [f'"\\{code:03o}"' for code in range(0o400)]
    pairs = ['"\\Ud83d\\Ude00"', '"\\UD83D\\UDE00"', '"\\Udbff\\Udfff x"']
    escapes = [f'"\\{chr(code)}"' for code in range(32, 127) if chr(code) not in "01234567Uu"]
    tokens = ["a", "12", "-5", "1.5", "$a/b:c-d_e.f", "http://x", "'x\"y'", '"it\'s"',
              '"a\\\nb"', '""',
              "<>", "<0f bd\n77>", "()", "(a,)", "{}", "/* x */ ( a /* y */, // z\n b )",
              '{ "a b" = 1; c = { d = (e); }; }', '"\u00e9\u20ac\U0001f600"', "{ a = 1; a = 2; }"]
    check_texts(program, "written by hand", octals + pairs + escapes + tokens)


def main():
    program = sys.argv[1]
    check_our_texts(program)
    check_their_texts(program)
    check_handwritten_texts(program)
    print(f"{COUNT:,} values each way read the same (seed {SEED})")


if __name__ == "__main__":
    main()
