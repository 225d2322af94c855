"""What NetworkManager does to the kernel's links, where there are links of those names."""

import socket
import subprocess


class Kernel:
    @staticmethod
    def _has(link):
        return any(name == link for _index, name in socket.if_nameindex())

    def _run(self, link, *arguments):
        if self._has(link):
            subprocess.run(["ip", *arguments], check=False)

    def add_address(self, link, address, gateway):
        self._run(link, "address", "replace", address + "/24", "dev", link)
        self._run(link, "route", "replace", "default", "via", gateway, "dev", link, "metric", "600")

    def remove_addresses(self, link):
        self._run(link, "-4", "address", "flush", "dev", link)
