#!/usr/bin/env python3
"""qmp_relay.py QMP LINE LOG: lets the machine in QEMU plug and pull its own hardware.

Joins QEMU's control socket QMP to LINE, the socket of one of the machine's serial lines. Each line that the machine
writes is a command; the answer is written back as a line. LOG gets both, and what QEMU tells unasked."""

import json
import socket
import sys
import time


def connect(path):
    for _ in range(200):
        try:
            line = socket.socket(socket.AF_UNIX)
            line.connect(path)
            return line
        except OSError:
            time.sleep(0.05)
    sys.exit(f"qmp_relay: nobody listens on {path}")


def main():
    qmp_path, line_path, log_path = sys.argv[1:]
    qmp = connect(qmp_path).makefile("rw", encoding="utf8")
    log = open(log_path, "w", buffering=1, encoding="utf8")

    def ask(command):
        qmp.write(json.dumps(command) + "\n")
        qmp.flush()
        for answer in qmp:
            if "event" not in json.loads(answer):
                return answer.strip()
            log.write("event " + answer)
        sys.exit(0)

    qmp.readline()  # the greeting
    ask({"execute": "qmp_capabilities"})
    line = connect(line_path).makefile("rwb")
    for words in line:
        try:
            command = json.loads(words)
        except ValueError:
            log.write(f"not a command: {words}\n")
            continue
        answer = ask(command)
        log.write(f"{json.dumps(command)} -> {answer}\n")
        line.write(answer.encode() + b"\n")
        line.flush()


if __name__ == "__main__":
    main()
