#!/usr/bin/env python3
"""receiver.py FILE: writes down the frames that come (see send_frames), one a line."""

import socket
import sys

with open(sys.argv[1], "wb", buffering=0) as heard:
    port = socket.socket(socket.AF_INET, socket.SOCK_DGRAM)
    port.setsockopt(socket.SOL_SOCKET, socket.SO_RCVBUF, 1 << 20)
    port.bind(("", 9999))
    while True:
        heard.write(port.recv(100))
