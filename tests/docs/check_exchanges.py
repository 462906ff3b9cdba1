#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Exchanges in the documents are those of the programs: what kt and ktd print, what datagrams are
made of, the examples, the peer in another language.

Runs in a private network and in a name space of its own for host names. The environment names the
programs (KT, KTD) and the examples (SERVER, CLIENT).
"""

import os
import re
import shlex
import socket
import subprocess
import sys
import unittest

from documents import block, dump, undump
from programs import PATIENCE, Daemon, Peer, ProgramTest, kt, run, udp_socket

HOST = "hut"  # the machine's name in the documents
PROTOCOL = "docs/protocol.md"


def start(test, command):
    """Starts a server that says on its first line that it is ready. That line."""
    process = subprocess.Popen(command, stdout=subprocess.PIPE, encoding="utf-8")
    test.addCleanup(process.stdout.close)
    test.addCleanup(process.wait)
    test.addCleanup(process.terminate)
    return process.stdout.readline()


class Readme(ProgramTest):
    """The picture of an exchange, but for the times."""

    def test_shows_what_the_programs_print(self):
        shown = block("README.md", "console")
        self.assertEqual(masked(self.printed(shown)), masked(shown))

    def printed(self, session):
        programs = {"kt": os.environ["KT"], "ktd": os.environ["KTD"]}
        printed = ""
        for line in re.findall(r"^\$ .+$", session, re.MULTILINE):
            name, *arguments = shlex.split(line.removeprefix("$ ").removesuffix(" &"))
            command = [programs[name], *arguments]
            printed += line + "\n"
            if line.endswith(" &"):
                printed += start(self, command)
            else:
                printed += subprocess.run(command, stdout=subprocess.PIPE, encoding="utf-8",
                                          timeout=PATIENCE, check=True).stdout
        return printed


def masked(session):
    """A session without what differs from run to run: times, and how often clients asked again."""
    return re.sub(r"(\d+\.\d{3}|(?<=Served = )\d+|(?<=Uptime = )\d+)", "#", session)


class Dumps(ProgramTest):
    """Datagrams shown byte by byte."""

    def shown(self, name):
        text = block(PROTOCOL, "dump", name)
        data = undump(text)
        self.assertEqual(text, dump(data))
        return data

    def exchanged(self, request):
        """What a ktd with default settings answers to the bytes of a request."""
        client = udp_socket(self)
        client.sendto(request, ("127.0.0.1", 4798))
        return client.recv(65536)

    def assert_shown(self, name, datagram):
        """The datagram is the one shown, whatever its handshake value."""
        handshake = re.search(rb"_Handshake = \d+", self.shown(name)).group()
        datagram = re.sub(rb"_Handshake = \d+", handshake, datagram)
        self.assertEqual(dump(datagram), block(PROTOCOL, "dump", name))

    def test_requests_are_what_the_client_sends(self):
        def part(request, _):
            handshake = str(request.handshake + 1).encode()
            name = "discovery-reply" if request.keyword == "HelloKtUDP" else "reply"
            return [re.sub(rb"(?<=_Handshake = )\d+", handshake, self.shown(name))]
        peer = Peer(self, part)
        result = kt("send", "Echo", "name=value", "--ports", "4798")
        self.assert_result(result, 0, "{ name = value; }\n")
        discovery, _, request = peer.requests
        self.assert_shown("discovery-request", discovery.text.encode() + b"\0")
        self.assert_shown("request", request.text.encode() + b"\0")

    def test_replies_are_what_the_server_sends(self):
        Daemon(self)
        for request, reply in (("discovery-request", "discovery-reply"), ("request", "reply"),
                               ("request-without-packet", "bare-reply")):
            with self.subTest(request=request):
                answer = self.exchanged(self.shown(request))
                self.assertEqual(dump(answer), block(PROTOCOL, "dump", reply))


class PythonPeer(ProgramTest):
    """The peer that the document has in another language."""

    def hello(self, *arguments):
        source = block(PROTOCOL, "python", "hello.py")
        return subprocess.run([sys.executable, "-", *arguments], input=source, encoding="utf-8",
                              stdout=subprocess.PIPE, timeout=PATIENCE)

    def test_prints_the_reply_of_a_server_as_shown(self):
        Daemon(self)
        for arguments in ((), ("127.255.255.255",)):
            with self.subTest(arguments=arguments):
                self.assertEqual(self.hello(*arguments).stdout, block(PROTOCOL, "text", "hello.py"))

    def test_drops_what_is_no_reply(self):
        def part(request, _):
            right = request.answer("{ KtUDPKeyword = _ServerName; _ServerName = "
                                   r'"\"\\n\\ \Ud83d\Ude00 \001"; list = ( 1, <0fbd> ); }')
            return [b"", b"{", b"()", b"{}\0", b"(" * 5000,
                    right.replace(b'"KtUDP"', b'"Other"'),
                    request.text.encode(), right]
        Peer(self, part)
        self.assertEqual(self.hello("127.0.0.1").stdout,
                         r"""{'KtUDPKeyword': '_ServerName', '_ServerName': '"\\n\\ 😀 \x01', """
                         r"""'list': ['1', b'\x0f\xbd']} from 127.0.0.1:4798""" + "\n")

    def test_says_so_when_nobody_answers(self):
        result = self.hello("127.0.0.1")
        self.assertEqual((result.returncode, result.stdout), (1, ""))


class Examples(ProgramTest):
    """The server and the client of the README."""

    def test_talk_to_each_other(self):
        self.assertEqual(start(self, [os.environ["SERVER"]]), "serving on port 4798\n")
        self.assert_result(run("CLIENT"), 0, '{ Greeting = "Hello, Ann."; }\n')

    def test_the_client_fails_without_the_server(self):
        self.assert_result(run("CLIENT"), 1)


if __name__ == "__main__":
    socket.sethostname(HOST)
    unittest.main()
