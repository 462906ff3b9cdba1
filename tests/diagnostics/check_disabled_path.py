#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Checks that a disabled KtDebug call costs one load, one comparison and one branch, by reading the
machine code of disabled_path_probe.cpp.

usage: check_disabled_path.py OBJDUMP OBJECT...

Follows the code of each function from its first instruction to its return, with no branch taken.
This path must contain exactly one use of `debug`, one comparison of a byte with zero and, after it,
one conditional branch. It must contain no other jump, no call and no store. Position-independent
32-bit code finds its own address with a call that is not a function call; such calls are allowed.
"""
import re
import subprocess
import sys

PROBES = ["probeText", "probeNumbers", "probeObjects"]
COMPARISON = re.compile(r"cmpb\s+\$0x0,|test[bl]?\s+%(\w+),%\1$")
BRANCH = re.compile(r"j(?!mp)\w+\s")
STORE = re.compile(r"mov\w*\s+[$%][^,]+,.*(\(|^0x)")
OWN_ADDRESS = re.compile(r"__x86\.get_pc_thunk")


def path_through(objdump, object_file, function):
    """Returns the instructions up to the return, each as [text, symbol it refers to, address]."""
    lines = subprocess.run([objdump, "-dr", "--no-show-raw-insn", object_file], check=True,
                           capture_output=True, text=True).stdout.splitlines()
    path = []
    inside = False
    for line in lines:
        if re.fullmatch(rf"[0-9a-f]+ <{function}>:", line):
            inside = True
        elif inside and (relocation := re.match(r"\s+[0-9a-f]+: R_\w+\s+(\S+)", line)):
            path[-1][1] = relocation.group(1)
        elif inside and (instruction := re.match(r"\s+([0-9a-f]+):\t(.*?)\s*(#.*)?$", line)):
            if path and path[-1][0].startswith("ret"):
                return path
            path.append([instruction.group(2), "", int(instruction.group(1), 16)])
    return path


def finds_own_address(path, index):
    """Returns whether a call finds the code's own address: a thunk, or the next instruction."""
    text, symbol, _ = path[index]
    target = re.match(r"call\w*\s+([0-9a-f]+)", text)
    is_next = target and index + 1 < len(path) and int(target.group(1), 16) == path[index + 1][2]
    return OWN_ADDRESS.search(symbol) or (is_next and not symbol)


def faults(path):
    """Returns one sentence for each rule that the path breaks."""
    def positions(wanted):
        return [index for index, (text, _, _) in enumerate(path) if wanted(text)]

    uses = [index for index, (_, symbol, _) in enumerate(path) if re.match(r"debug\b", symbol)]
    comparisons = positions(COMPARISON.match)
    branches = positions(BRANCH.match)
    calls = [index for index in positions(lambda text: text.startswith("call"))
             if not finds_own_address(path, index)]
    in_order = (uses and comparisons and branches
                and uses[0] <= comparisons[0] < branches[0])
    rules = [
        (path and path[-1][0].startswith("ret"), "has no return"),
        (len(uses) == 1, f"uses `debug` {len(uses)} times instead of once"),
        (len(comparisons) == 1, f"compares {len(comparisons)} bytes instead of one"),
        (len(branches) == 1, f"has {len(branches)} conditional branches instead of one"),
        (in_order, "does not use, compare and branch in this order"),
        (not positions(lambda text: text.startswith("jmp")), "contains a jump"),
        (not calls, "contains a call"),
        (not positions(STORE.match), "contains a store"),
    ]
    return [sentence for holds, sentence in rules if not holds]


def main():
    objdump, *object_files = sys.argv[1:]
    failed = False
    for object_file in object_files:
        for function in PROBES:
            path = path_through(objdump, object_file, function)
            for fault in faults(path):
                failed = True
                print(f"{object_file}: {function} {fault}", file=sys.stderr)
            print(f"{object_file}: {function}:")
            for text, symbol, _ in path:
                print(f"    {text}  {symbol}".rstrip())
    return 1 if failed or not object_files else 0


if __name__ == "__main__":
    sys.exit(main())
