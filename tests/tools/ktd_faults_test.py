# SPDX-License-Identifier: MIT
"""ktd and invalid requests: it reports them, serves on, and starts no loop."""

import contextlib
import os
import re
import socket
import struct
import unittest

from peers import envelope, identification, udp_socket
from programs import Daemon, ProgramTest

FAULT = "ktd: a request failed: the request's data packet is not a dictionary\n"
A, B = 4798, 4711


def request(packet):
    return envelope(packet, 1001)


class FaultTest(ProgramTest):
    def setUp(self):
        self.daemon = Daemon(self)
        self.client = udp_socket(self)

    def send(self, datagram):
        self.client.sendto(datagram, ("127.0.0.1", self.daemon.port))

    def assert_serving(self):
        self.send(request("{ KtUDPKeyword = Echo; a = b; }"))
        self.assertIn(b"_DataPacket = { a = b; }; ", self.client.recv(65536))


class KtdFaults(FaultTest):
    def test_are_reported_while_serving_continues(self):
        for packet in ["( a )", "text", "<00>"]:
            self.send(request(packet))
            self.assertEqual(self.daemon.error_line(), FAULT)
            self.assert_serving()

    def test_flood_is_reported_in_ten_lines_and_count(self):
        count = 1000
        for _ in range(count // 100):
            for _ in range(100):
                self.send(request("text"))
            self.assert_serving()  # the socket's queue is empty again
        printed = left_out = 0
        lines = []
        while printed + left_out < count:
            lines.append(self.daemon.error_line())
            match = re.fullmatch(r"ktd: errors left out: (\d+)\n", lines[-1])
            if match:
                left_out += int(match.group(1))
            else:
                self.assertEqual(lines[-1], FAULT)
                printed += 1
        self.assertEqual(lines[:10], [FAULT] * 10)
        self.assertRegex(lines[10], "left out")
        self.assertEqual(printed + left_out, count)

    def test_leave_server_running_if_nobody_reads_reports(self):
        reading, writing = os.pipe()
        self.addCleanup(os.close, reading)
        self.addCleanup(os.close, writing)
        os.set_blocking(writing, False)
        with contextlib.suppress(BlockingIOError):
            while True:
                os.write(writing, b"-" * 4096)
        os.set_blocking(writing, True)
        self.daemon.end()
        self.daemon = Daemon(self, errors=writing)
        self.send(request("text"))
        self.assert_serving()
        os.read(reading, 65536)
        while b"errors left out: 1\n" not in os.read(reading, 65536):
            pass

    def test_are_reported_again_after_flood(self):
        for _ in range(11):
            self.send(request("text"))
        lines = [self.daemon.error_line() for _ in range(11)]
        self.assertEqual(lines, [FAULT] * 10 + ["ktd: errors left out: 1\n"])
        self.send(request("text"))
        self.assertEqual(self.daemon.error_line(), FAULT)


class KtdKeywords(FaultTest):
    def test_are_removed_from_every_answer(self):
        packets = ["{ KtUDPKeyword = Echo; a = b; }", "{ KtUDPKeyword = Status; }",
                   "{ KtUDPKeyword = Fetch; }", "{ KtUDPKeyword = ( Echo ); }",
                   "{ KtUDPKeyword = Echo; a = { KtUDPKeyword = b; }; }", identification()]
        for packet in packets:
            self.send(request(packet))
            answer = self.client.recv(65536).decode()
            self.assertNotRegex(answer, r"_DataPacket = \{[^{]*KtUDPKeyword", packet)


def forged(datagram, source, target):
    """Returns an IP packet with a datagram from one port of 127.0.0.1 to another."""
    udp = struct.pack("!HHHH", source, target, 8 + len(datagram), 0) + datagram
    address = socket.inet_aton("127.0.0.1")
    header = struct.pack("!BBHHHBBH4s4s", 0x45, 0, 20 + len(udp), 0, 0, 64, socket.IPPROTO_UDP, 0,
                         address, address)
    return header + udp


class KtdForgedSource(ProgramTest):
    """Two servers with one signature, and a request that seems to come from one of them."""

    def setUp(self):
        Daemon(self, "--ports", str(A))
        Daemon(self, "--ports", str(B))
        self.sniffer = socket.socket(socket.AF_PACKET, socket.SOCK_DGRAM, socket.htons(0x0800))
        self.addCleanup(self.sniffer.close)
        self.sniffer.setblocking(False)
        self.client = udp_socket(self)

    def send_forged(self, datagram):
        with socket.socket(socket.AF_INET, socket.SOCK_RAW, socket.IPPROTO_RAW) as raw:
            raw.sendto(forged(datagram, B, A), ("127.0.0.1", 0))

    def await_rounds(self, count):
        """Lets each server handle `count` rounds of datagrams that the other one sent it.

        It answers this request only after them.
        """
        for _ in range(count):
            for port in (A, B):
                self.client.sendto(request("{ KtUDPKeyword = Echo; }"), ("127.0.0.1", port))
                self.client.recv(65536)

    def datagrams_between(self):
        """Returns how many datagrams the two servers sent each other."""
        count = 0
        while True:
            try:
                packet, link = self.sniffer.recvfrom(65536)
            except BlockingIOError:
                return count
            if link[2] != socket.PACKET_HOST:
                continue  # the same datagram as it is sent; loopback shows both
            header = (packet[0] & 15) * 4
            source, target = struct.unpack("!HH", packet[header:header + 4])
            count += {source, target} == {A, B}

    def assert_at_most_three_follow(self, packet):
        self.send_forged(request(packet))
        self.await_rounds(10)
        self.assertLessEqual(self.datagrams_between(), 1 + 3, packet)

    def test_discovery_causes_at_most_three_datagrams(self):
        self.assert_at_most_three_follow("{ KtUDPKeyword = HelloKtUDP; }")

    def test_other_requests_cause_at_most_three_datagrams(self):
        for packet in ["{ KtUDPKeyword = Echo; a = b; }", "{ KtUDPKeyword = Status; }",
                       "{ KtUDPKeyword = Fetch; }", "{}", identification()]:
            self.assert_at_most_three_follow(packet)

    def test_count_includes_datagrams_between_servers(self):
        self.send_forged(request("{ KtUDPKeyword = HelloKtUDP; }"))
        self.await_rounds(10)
        self.assertGreaterEqual(self.datagrams_between(), 1 + 1)


if __name__ == "__main__":
    unittest.main()
