#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Reads the machine code of disabled_path_probe.cpp: is a KtDebug call that is switched off one
load, one compare and one branch?

usage: check_disabled_path.py OBJDUMP OBJECT...

The code is followed from each function's first instruction to its return, no branch taken. On the
way there must be exactly one use of `debug`, one byte compared with zero and one conditional
branch, the branch behind the compare; no other jump, no call, and no store. (32-bit code that may
be loaded anywhere finds its own address with a call that is none: those are let through.)
"""
import re
import subprocess
import sys

PROBES = ["probeText", "probeNumbers", "probeObjects"]
COMPARE = re.compile(r"cmpb\s+\$0x0,|test[bl]?\s+%(\w+),%\1$")
BRANCH = re.compile(r"j(?!mp)\w+\s")
STORE = re.compile(r"mov\w*\s+[$%][^,]+,.*(\(|^0x)")
OWN_ADDRESS = re.compile(r"__x86\.get_pc_thunk")


def way_through(objdump, path, function):
    """The instructions up to the return, as pairs of text and the symbol that it refers to."""
    lines = subprocess.run([objdump, "-dr", "--no-show-raw-insn", path], check=True,
                           capture_output=True, text=True).stdout.splitlines()
    way = []
    inside = False
    for line in lines:
        if re.fullmatch(rf"[0-9a-f]+ <{function}>:", line):
            inside = True
        elif inside and (relocation := re.match(r"\s+[0-9a-f]+: R_\w+\s+(\S+)", line)):
            way[-1][1] = relocation.group(1)
        elif inside and (instruction := re.match(r"\s+([0-9a-f]+):\t(.*?)\s*(#.*)?$", line)):
            if way and way[-1][0].startswith("ret"):
                return way
            way.append([instruction.group(2), "", int(instruction.group(1), 16)])
    return way


def is_own_address(way, index):
    """Whether the call finds the code's own address: a thunk's, or one to the next instruction."""
    text, symbol, _ = way[index]
    target = re.match(r"call\w*\s+([0-9a-f]+)", text)
    is_next = target and index + 1 < len(way) and int(target.group(1), 16) == way[index + 1][2]
    return OWN_ADDRESS.search(symbol) or (is_next and not symbol)


def faults(way):
    """What is wrong with the way through one function, one sentence each."""
    def where(wanted):
        return [index for index, (text, _, _) in enumerate(way) if wanted(text)]

    uses = [index for index, (_, symbol, _) in enumerate(way)
            if re.match(r"debug\b", symbol)]
    compares = where(COMPARE.match)
    branches = where(BRANCH.match)
    found = []
    if not way or not way[-1][0].startswith("ret"):
        found.append("no return was found")
    if len(uses) != 1:
        found.append(f"`debug` is used {len(uses)} times")
    if len(compares) != 1:
        found.append(f"{len(compares)} bytes are compared")
    if len(branches) != 1:
        found.append(f"there are {len(branches)} conditional branches")
    if not uses or not compares or not branches or not uses[0] <= compares[0] < branches[0]:
        found.append("it is not use, compare, branch in this order")
    if where(lambda text: text.startswith("jmp")):
        found.append("there is a jump")
    if [index for index in where(lambda text: text.startswith("call"))
            if not is_own_address(way, index)]:
        found.append("there is a call")
    if where(STORE.match):
        found.append("there is a store")
    return found


def main():
    objdump, *paths = sys.argv[1:]
    failed = False
    for path in paths:
        for function in PROBES:
            way = way_through(objdump, path, function)
            for fault in faults(way):
                failed = True
                print(f"{path}: {function}: {fault}", file=sys.stderr)
            print(f"{path}: {function}:")
            for text, symbol, _ in way:
                print(f"    {text}  {symbol}".rstrip())
    return 1 if failed or not paths else 0


if __name__ == "__main__":
    sys.exit(main())
