# SPDX-License-Identifier: MIT
"""Hosts on one machine: network namespaces that share a bridge.

Each test runs in user, network, mount and process namespaces of its own, so that everything it
makes ends with it.
"""

import ctypes
import pathlib
import select
import socket
import subprocess


class Host:
    """A host on the bridge: a network namespace and a host name."""

    def __init__(self, number):
        self.name = f"host{number}"
        self.address = f"10.77.0.{number}"
        self.namespace = f"/run/netns/{self.name}"
        execute(f"ip netns add {self.name}")
        execute(f"ip link add port{number} type veth peer name eth0 netns {self.name}")
        execute(f"ip link set port{number} master bridge0 up")
        for command in ("link set lo up", "link set eth0 up",
                        f"address add {self.address}/24 broadcast 10.77.0.255 dev eth0"):
            execute(f"ip -n {self.name} {command}")

    def add_broadcast_route(self):
        """Lets this host send to 255.255.255.255."""
        execute(f"ip -n {self.name} route add 255.255.255.255/32 dev eth0")

    def inside(self, command):
        """Returns the command line that runs `command` on this host."""
        return ["nsenter", f"--net={self.namespace}", "unshare", "--uts", "sh", "-c",
                f'hostname {self.name} && exec "$@"', "sh", *command]

    def socket(self, port):
        """Returns a socket of this host, bound to every interface."""
        libc = ctypes.CDLL(None, use_errno=True)
        with open("/proc/thread-self/ns/net", "rb") as own, open(self.namespace, "rb") as other:
            if libc.setns(other.fileno(), 0) != 0:
                raise OSError(ctypes.get_errno(), "setns")
            try:
                bound = socket.socket(socket.AF_INET, socket.SOCK_DGRAM)
                bound.bind(("", port))
            finally:
                libc.setns(own.fileno(), 0)
        return bound


def execute(command):
    subprocess.run(command.split(), check=True)


def hosts_on_a_bridge(count, more_names=""):
    """Returns hosts that reach each other by address and by name.

    `more_names` are further lines of /etc/hosts.
    """
    execute("mount -t tmpfs none /run")
    execute("ip link add bridge0 type bridge")
    execute("ip link set bridge0 up")
    hosts = [Host(number) for number in range(1, count + 1)]
    lines = "".join(f"{host.address} {host.name}\n" for host in hosts)
    pathlib.Path("/run/hosts").write_text(f"127.0.0.1 localhost\n{lines}{more_names}")
    execute("mount --bind /run/hosts /etc/hosts")
    return hosts


def wait_until_linked(host, other):
    """Waits until a broadcast of one host reaches the other: a new bridge drops the first ones."""
    with host.socket(0) as sender, other.socket(7) as receiver:
        sender.setsockopt(socket.SOL_SOCKET, socket.SO_BROADCAST, 1)
        while True:
            sender.sendto(b"?", ("10.77.0.255", 7))
            if select.select([receiver], [], [], 0.05)[0]:
                return
