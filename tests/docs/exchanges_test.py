# SPDX-License-Identifier: MIT
"""The documents show what the programs exchange and print: sessions, datagrams, the examples, and
the peer in another language.

Needs a namespace of its own for the host name. The environment names the programs (KT, KTD) and the
examples (SERVER, CLIENT).
"""

import os
import re
import shlex
import socket
import subprocess
import sys
import unittest

from documents import block, consoles, dump, undump
from peers import Peer, udp_socket
from programs import Daemon, Program, ProgramTest, kt, run

HOST = "hut"  # the machine's name in the documents
PROTOCOL = "docs/protocol.md"


class Sessions(ProgramTest):
    """The sessions that begin with the start of a server."""

    def test_print_what_documents_show(self):
        sessions = [console for console in consoles() if console[1].startswith("$ ktd")]
        self.assertIn("README.md", [document for document, _ in sessions])
        for document, shown in sessions:
            with self.subTest(document):
                self.assertEqual(masked(self.printed(shown)), masked(shown))

    def printed(self, session):
        """Returns the session with what its commands print now."""
        printed = ""
        servers = []
        for line in re.findall(r"^\$ .+$", session, re.MULTILINE):
            name, *arguments = shlex.split(line.removeprefix("$ ").removesuffix(" &"))
            printed += line + "\n"
            if name == "kt":
                result = kt(*arguments)
                printed += result.stdout + result.stderr
            else:
                self.assertEqual((name, line[-2:]), ("ktd", " &"))
                servers.append(Daemon(self, *arguments))
                printed += servers[-1].ready_line
        for server in servers:
            server.end()
        return printed


def masked(session):
    """Returns a session without what varies: times, and how many requests a server answered."""
    return re.sub(r"(\d+\.\d{3}|(?<=Served = )\d+|(?<=Uptime = )\d+)", "#", session)


class Dumps(ProgramTest):
    """Datagrams shown byte by byte."""

    def shown(self, name):
        text = block(PROTOCOL, "dump", name)
        data = undump(text)
        self.assertEqual(text, dump(data))
        return data

    def exchanged(self, request):
        """Returns the answer of a ktd with default settings to the bytes of a request."""
        client = udp_socket(self)
        client.sendto(request, ("127.0.0.1", 4798))
        return client.recv(65536)

    def assert_shown(self, name, datagram):
        """Asserts that the datagram is the one shown, except for the value of its handshake."""
        handshake = re.search(rb"_Handshake = \d+", self.shown(name)).group()
        datagram = re.sub(rb"_Handshake = \d+", handshake, datagram)
        self.assertEqual(dump(datagram), block(PROTOCOL, "dump", name))

    def test_show_requests_of_client(self):
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

    def test_show_replies_of_server(self):
        Daemon(self)
        for request, reply in (("discovery-request", "discovery-reply"), ("request", "reply"),
                               ("request-without-packet", "bare-reply")):
            with self.subTest(request=request):
                answer = self.exchanged(self.shown(request))
                self.assertEqual(dump(answer), block(PROTOCOL, "dump", reply))


class PythonPeer(ProgramTest):
    """The program hello.py of the document."""

    def hello(self, *arguments):
        source = block(PROTOCOL, "python", "hello.py")
        return subprocess.run([sys.executable, "-", *arguments], input=source, encoding="utf-8",
                              stdout=subprocess.PIPE)

    def test_prints_reply_of_server_as_shown(self):
        Daemon(self)
        for arguments in ((), ("127.255.255.255",)):
            with self.subTest(arguments=arguments):
                self.assertEqual(self.hello(*arguments).stdout, block(PROTOCOL, "text", "hello.py"))

    def test_drops_invalid_replies(self):
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

    def test_exits_1_without_server(self):
        result = self.hello("127.0.0.1")
        self.assertEqual((result.returncode, result.stdout), (1, ""))


class Examples(ProgramTest):
    """The server and the client of the README."""

    def test_talk_to_each_other(self):
        server = Program(self, os.environ["SERVER"])
        self.assertEqual(server.line(), "serving on port 4798\n")
        self.assert_result(run("CLIENT"), 0, '{ Greeting = "Hello, Ann."; }\n')

    def test_client_fails_without_server(self):
        self.assert_result(run("CLIENT"), 1)


if __name__ == "__main__":
    socket.sethostname(HOST)
    unittest.main()
