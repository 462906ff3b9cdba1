# SPDX-License-Identifier: MIT
"""Servers that play a written part for a client, and the messages that they exchange."""

import re
import socket
import subprocess
import threading


# ---- Messages ----

def envelope(packet, handshake, signature="KtUDP"):
    """Returns the bytes of a message; `packet` is property-list text."""
    return (f'{{ _DataPacket = {packet}; _Handshake = {handshake}; '
            f'_Signature = "{signature}"; }}\0').encode()


def identification(name="hut", port=4798):
    """Returns the data packet that answers discovery."""
    return f'{{ KtUDPKeyword = _ServerName; _ServerName = "{name}"; _ServerPort = "{port}"; }}'


class Request:
    """A request as a peer received it."""

    def __init__(self, datagram, source):
        self.text = datagram.decode().rstrip("\0")
        self.source = source
        self.handshake = self.number("_Handshake")
        self.sequence = self.number("Sequence")
        self.keyword = re.search(r"KtUDPKeyword = (\w+)", self.text).group(1)

    def number(self, key):
        """Returns the number under a key, or None if there is none."""
        match = re.search(key + r" = (\d+)", self.text)
        return int(match.group(1)) if match else None

    def answer(self, packet):
        """Returns the bytes of a valid reply with this data packet."""
        return envelope(packet, self.handshake + 1)


# ---- Peers ----

# Datagrams of the test to its own peer.
END_MARK = b""
QUEUE_MARK = b"?"


class Peer:
    """A server that plays a part.

    `part(request, count)` returns the datagrams to answer with. `count` is the number of earlier
    requests of the same run of a client, which has a port of its own. With an `address` the peer
    hears only what is sent to that.
    """

    def __init__(self, test, part, port=4798, address=""):
        self.part = part
        self.requests = []
        self._test = test
        self._place = (address or "127.0.0.1", port)
        self._arrival = threading.Condition()
        self._queue_is_read = threading.Event()
        self._socket = udp_socket(test, port, address)
        thread = threading.Thread(target=self._play, daemon=True)
        thread.start()
        test.addCleanup(thread.join)
        test.addCleanup(lambda: udp_socket(test).sendto(END_MARK, self._place))

    def last_run(self, keyword):
        """Returns the requests with a keyword that came from the client that asked last.

        Requests that are still in the socket's queue count too.
        """
        self._queue_is_read.clear()
        udp_socket(self._test).sendto(QUEUE_MARK, self._place)
        self._queue_is_read.wait()
        client = self.requests[-1].source
        return [r for r in self.requests if (r.source, r.keyword) == (client, keyword)]

    def await_request(self, wanted):
        """Returns once there was a request for which wanted(request) is true."""
        with self._arrival:
            self._arrival.wait_for(lambda: any(map(wanted, self.requests)))

    def _play(self):
        while True:
            datagram, source = self._socket.recvfrom(65536)
            if datagram == END_MARK:
                return
            if datagram == QUEUE_MARK:
                self._queue_is_read.set()
                continue
            request = Request(datagram, source)
            count = sum(earlier.source == source for earlier in self.requests)
            answers = self.part(request, count)
            with self._arrival:
                self.requests.append(request)
                self._arrival.notify_all()
            for answer in answers:
                self._socket.sendto(answer, source)


def server(answer=lambda request: [], name="hut", port=4798):
    """Returns the part of a server that answers discovery, and by answer(request) the rest."""
    def part(request, _):
        if request.keyword == "HelloKtUDP":
            return [request.answer(identification(name, port))]
        return answer(request)
    return part


def always(packet):
    """Returns the part of a server that answers each request with the same data packet."""
    return server(lambda request: [request.answer(packet)])


# ---- The network ----

def udp_socket(test, port=0, address=""):
    """Returns a socket bound to `port` at `address`; closed with the test.

    Without an address it receives broadcasts too.
    """
    udp = socket.socket(socket.AF_INET, socket.SOCK_DGRAM)
    test.addCleanup(udp.close)
    udp.bind((address, port))
    return udp


def remove_broadcast_route(test):
    """Makes the system refuse to send to 255.255.255.255 until the test ends."""
    route = ["255.255.255.255/32", "dev", "lo", "src", "127.0.0.1"]
    subprocess.run(["ip", "route", "del", *route], check=True)
    test.addCleanup(subprocess.run, ["ip", "route", "add", *route], check=True)
