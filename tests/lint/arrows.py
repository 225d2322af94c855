#!/usr/bin/env python3
"""Holds the include arrows: which floor of the project may include what. Exits 1 and names each breach."""

import pathlib
import re
import sys

ROOT = pathlib.Path(__file__).resolve().parents[2]

# Where a quoted include of a floor may be found, besides the file's own directory.
FLOORS = {
    "src": ["include", "platform/include"],
    "include": ["include", "platform/include"],
    "platform/include": ["platform/include"],
    "platform/common": ["platform/include", "platform/common"],
    "platform/linux": ["platform/include", "platform/common", "platform/linux"],
    "platform/virtual": ["platform/include", "platform/common", "platform/virtual"],
    "apps": ["platform/include", "platform/common", "platform/virtual"],
}

# What the daemon itself may take from outside: the C++ library, GLib, jsoncpp, Boost.Filesystem, POSIX.
POSIX = """dirent.h fcntl.h ftw.h malloc.h signal.h spawn.h sys/stat.h sys/types.h sys/wait.h time.h
unistd.h""".split()
DAEMON_LIBRARIES = re.compile(r"^(glib(-unix|-object)?\.h|json/[a-z_]+\.h|boost/(filesystem|system)[a-z_/]*\.hpp)$")


def floor_of(path):
    matches = [floor for floor in FLOORS if path.is_relative_to(floor)]
    return max(matches, key=len) if matches else None


def allowed_in_daemon(header):
    is_cxx_header = re.fullmatch(r"[a-z_]+", header) is not None
    return is_cxx_header or header in POSIX or DAEMON_LIBRARIES.match(header)


def breaches_of(path, text, exists=lambda p: (ROOT / p).exists()):
    floor = floor_of(path)
    if floor is None:
        return
    for number, line in enumerate(text.splitlines(), 1):
        match = re.match(r'\s*#\s*include\s+(["<])([^">]+)[">]', line)
        if not match:
            continue
        kind, header = match.groups()
        if kind == '"':
            places = FLOORS[floor] + ([str(path.parent)] if floor not in ("src", "include") else [])
            if not any(exists(f"{place}/{header}") for place in places):
                yield f"{path}:{number}: {floor}/ may not include \"{header}\""
        elif floor in ("src", "include", "platform/include") and not allowed_in_daemon(header):
            yield f"{path}:{number}: {floor}/ may not include <{header}>"


def self_test():
    """A check that cannot fail is none."""
    present = {"include/Log.h", "platform/include/vconf.h", "platform/common/SettingsFile.h"}.__contains__
    cases = [
        ("src/A.cpp", '#include "Log.h"\n#include "vconf.h"\n#include <glib.h>\n#include <vector>', 0),
        ("src/A.cpp", '#include "SettingsFile.h"', 1),
        ("src/A.cpp", "#include <linux/netlink.h>", 1),
        ("include/A.h", "#include <sys/inotify.h>", 1),
        ("platform/linux/A.cpp", '#include "Log.h"', 1),
        ("platform/common/A.cpp", '#include "SettingsFile.h"\n#include <sys/inotify.h>', 0),
        ("tests/A.cpp", '#include "anything.h"', 0),
    ]
    for path, text, expected in cases:
        found = list(breaches_of(pathlib.PurePath(path), text, present))
        assert len(found) == expected, (path, text, found)


def main():
    self_test()
    found = []
    for path in sorted(ROOT.rglob("*")):
        relative = path.relative_to(ROOT)
        if path.suffix in (".h", ".c", ".cpp") and relative.parts[0] != "build":
            found += breaches_of(relative, path.read_text())
    print("\n".join(found) if found else "the include arrows hold")
    return 1 if found else 0


if __name__ == "__main__":
    sys.exit(main())
