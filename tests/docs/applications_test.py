# SPDX-License-Identifier: MIT
"""The servers and the client of docs/applications.md. The environment names the programs (KT, KTD)
and the examples (STOPPABLE_SERVER, DEFERRED_ANSWER, KNOWN_SERVER, EVENT_LOOP, ASIO_LOOP).
"""

import os
import subprocess
import unittest

from documents import consoles
from peers import udp_socket
from programs import Daemon, Program, ProgramTest, kt, run


class StoppableServer(ProgramTest):
    def test_serves_until_line_is_typed(self):
        server = Program(self, os.environ["STOPPABLE_SERVER"])
        self.assertEqual(server.line(), "serving on port 4798; press Enter to stop\n")
        answer = kt("send", "Hum", "a=b", "--signature", "Office")
        self.assert_result(answer, 0, "{ KtUDPKeyword = Hum; a = b; }\n")
        server.process.stdin.write(b"\n")
        server.process.stdin.flush()
        self.assertEqual(server.line(), "served 3\n")  # a discovery, its confirmation, a request
        self.assertEqual(server.wait()[0], 0)

    def test_goes_on_after_packet_that_is_no_dictionary(self):
        server = Program(self, os.environ["STOPPABLE_SERVER"], errors=subprocess.PIPE)
        server.line()
        client = udp_socket(self)
        client.sendto(b"{ _Signature = Office; _Handshake = 1; _DataPacket = text; }\0",
                      ("127.0.0.1", 4798))
        self.assertEqual(server.error_line(), "the request's data packet is not a dictionary\n")
        self.assert_result(kt("send", "Hum", "--signature", "Office"), 0,
                           "{ KtUDPKeyword = Hum; }\n")


class DeferredAnswer(ProgramTest):
    def setUp(self):
        server = Program(self, os.environ["DEFERRED_ANSWER"])
        self.assertEqual(server.line(), "serving on port 4798\n")

    def order(self, *arguments):
        return kt("send", "Order", *arguments, "--signature", "Kitchen")

    def test_comes_from_worker(self):
        self.assert_result(self.order("Dish=stew", "Minutes=50"), 0, "{ Dish = stew; }\n")

    def test_does_not_hold_up_others(self):
        client = udp_socket(self)
        for handshake, order in ((1, "Dish = stew; Minutes = 1000;"), (3, "Minutes = 0;")):
            client.sendto(f"{{ _Signature = Kitchen; _Handshake = {handshake}; _DataPacket = "
                          f"{{ KtUDPKeyword = Order; {order} }}; }}\0".encode(),
                          ("127.0.0.1", 4798))
        self.assertIn(b"{ Dish = soup; }", client.recv(65536))
        self.assertIn(b"{ Dish = stew; }", client.recv(65536))


class KnownServer(ProgramTest):
    def test_is_asked_without_broadcast(self):
        Daemon(self)
        result = run("KNOWN_SERVER", "127.0.0.1", "KtUDP", "Status")
        self.assertEqual((result.returncode, result.stderr), (0, ""))
        self.assertIn("Port = 4798;", result.stdout)

    def test_fails_at_host_without_server(self):
        result = run("KNOWN_SERVER", "127.0.0.1", "KtUDP", "Status")
        self.assert_result(result, 1, "", "no server at 127.0.0.1\n")


class OneLoop(ProgramTest):
    def test_has_server_and_client_with_poll(self):
        [shown] = [text for _, text in consoles() if text.startswith("$ event_loop\n")]
        self.assert_result(run("EVENT_LOOP"), 0, shown.removeprefix("$ event_loop\n"))

    def test_has_server_and_client_with_asio(self):
        self.assert_result(run("ASIO_LOOP"), 0, "{ KtUDPKeyword = Hum; }\n")


if __name__ == "__main__":
    unittest.main()
