#!/usr/bin/env python3
"""internet.py PORTAL MODES: the name service and the web, in the router's namespace. Files in MODES say how they are:
dns: works, is silent, or knows no name; http: works, is broken, hangs, or leads to PORTAL."""

import pathlib
import socket
import struct
import sys
import threading
import time

PORTAL, MODES = sys.argv[1], pathlib.Path(sys.argv[2])
ADDRESS = "192.168.77.1"
PAGE = b"you are online\n"


def mode(service):
    try:
        return (MODES / service).read_text().strip()
    except OSError:
        return "works"


def reply_to(question):
    """Every name has the router's address, and no other kind of record."""
    end = 12
    while question[end]:
        end += question[end] + 1
    end += 5
    (kind,) = struct.unpack(">H", question[end - 4:end - 2])
    if mode("dns") == "unknown":
        return question[:2] + b"\x81\x83\0\1\0\0\0\0\0\0" + question[12:end]
    if kind != 1:
        return question[:2] + b"\x81\x80\0\1\0\0\0\0\0\0" + question[12:end]
    answer = b"\xc0\x0c\0\1\0\1\0\0\0\1\0\4" + socket.inet_aton(ADDRESS)
    return question[:2] + b"\x81\x80\0\1\0\1\0\0\0\0" + question[12:end] + answer


def names():
    port = socket.socket(socket.AF_INET, socket.SOCK_DGRAM)
    port.bind((ADDRESS, 53))
    while True:
        question, asker = port.recvfrom(2000)
        print("asked", question[12:].split(b"\0")[0], "dns", mode("dns"), flush=True)
        if mode("dns") != "silent":
            port.sendto(reply_to(question), asker)


def serve(line):
    with line:
        request = line.recv(4000)
        print("asked", request.split(b"\r")[0], "http", mode("http"), flush=True)
        if mode("http") == "hangs":
            time.sleep(60)
            return
        head, body = {
            "works": ("200 OK", PAGE),
            "broken": ("500 Broken", b""),
            "portal": (f"302 Found\r\nLocation: {PORTAL}", b""),
        }[mode("http")]
        line.sendall(f"HTTP/1.1 {head}\r\nContent-Length: {len(body)}\r\nConnection: close\r\n\r\n".encode() + body)


def web():
    port = socket.create_server((ADDRESS, 80), backlog=20)
    while True:
        line, _ = port.accept()
        threading.Thread(target=serve, args=(line,), daemon=True).start()


threading.Thread(target=names, daemon=True).start()
web()
