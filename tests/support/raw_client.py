# SPDX-License-Identifier: MIT
"""A client of ktd without kt: it sends what it is told, when it is told."""

import re
import select
import socket

from peers import envelope


class RawClient:
    """A socket that asks a ktd on this machine; `address` is its own, in 127.0.0.0/8."""

    def __init__(self, test, port=4798, address="127.0.0.1"):
        self._server = ("127.0.0.1", port)
        self._socket = socket.socket(socket.AF_INET, socket.SOCK_DGRAM)
        test.addCleanup(self._socket.close)
        self._socket.bind((address, 0))
        self._token = ""

    def fileno(self):
        return self._socket.fileno()

    def send(self, kind, entries="", handshake=1):
        """Sends a request; `entries` is property-list text: "a = b; ". The token comes with it."""
        self._socket.sendto(
            envelope(f"{{ KtUDPKeyword = {kind}; {entries}{self._token}}}", handshake),
            self._server)

    def receive(self):
        """Waits for an answer; returns its data packet."""
        return packet_of(self._socket.recv(65536))

    def is_silent(self):
        """Returns whether no answer has arrived."""
        return not select.select([self._socket], [], [], 0)[0]

    def ask(self, kind, entries="", handshake=1):
        self.send(kind, entries, handshake)
        return self.receive()

    def get_token(self, kind="Files"):
        """Lets the server give this client its token."""
        answer = self.ask(kind)
        self._token = f"Token = {re.search('<[0-9a-f]{32}>', answer).group()}; "
        return self


def packet_of(datagram):
    """Returns the text of a message's data packet."""
    return re.fullmatch(r"\{ _DataPacket = (.*); _Handshake = .*; _Signature = .*; \}\0",
                        datagram.decode()).group(1)
