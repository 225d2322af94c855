#!/usr/bin/env python3
"""Runs clang-tidy over the sources that are named, and not again over one that was clean and has not changed.

A source has changed when any file has that it was compiled from (system headers too), or how it is compiled, or what is
checked, or clang-tidy itself. What was clean leaves a stamp in build/tidy, named after all of that.

    tidy.py BUILD-DIRECTORY SOURCE...
"""

import concurrent.futures
import functools
import hashlib
import json
import os
import re
import subprocess
import sys
from pathlib import Path

STAMPS = Path("build/tidy")
FINDING = re.compile(r"(warning|error):")


@functools.cache
def digest(path):
    return hashlib.sha256(path.read_bytes()).hexdigest() if path.is_file() else "none"


def dependencies(build):
    """What each object was made from, as the compiler told the build."""
    listing = subprocess.run(["ninja", "-C", build, "-t", "deps"], capture_output=True, text=True, check=True).stdout
    objects = {}
    for line in listing.splitlines():
        if line.startswith(" "):
            objects[name].append(build / line.strip())
        elif line:
            name = line.split(":", 1)[0]
            objects[name] = []
    return objects


def stamps_of(build, sources):
    """The stamp of each source; none of one that the build does not know."""
    objects = dependencies(build)
    version = subprocess.run(["clang-tidy", "--version"], capture_output=True, text=True, check=True).stdout
    rules = version + Path(".clang-tidy").read_text()
    wanted = {Path(source).resolve(): source for source in sources}
    stamps = {source: None for source in sources}
    for entry in json.loads((build / "compile_commands.json").read_text()):
        source = wanted.get(Path(entry["file"]))
        output = re.search(r" -o (\S+)", entry["command"])
        made_from = objects.get(output[1]) if output else None
        if source is None or stamps[source] is not None or not made_from:
            continue
        key = hashlib.sha256((rules + entry["command"]).encode())
        for path in made_from:
            key.update(f"{path} {digest(path)}\n".encode())
        stamps[source] = STAMPS / key.hexdigest()
    return stamps


def check(build, source):
    result = subprocess.run(["clang-tidy", "--quiet", "-p", build, source], capture_output=True, text=True)
    if result.returncode != 0 and not FINDING.search(result.stdout):
        return result.stderr + result.stdout + f"{source}: error: clang-tidy ended with {result.returncode}\n"
    return result.stdout


def main():
    build, sources = Path(sys.argv[1]), sys.argv[2:]
    STAMPS.mkdir(parents=True, exist_ok=True)
    stamps = stamps_of(build, sources)
    for old in set(STAMPS.iterdir()) - set(stamps.values()):
        old.unlink()
    due = [source for source in sources if stamps[source] is None or not stamps[source].exists()]
    due.sort(key=lambda source: -os.path.getsize(source))
    print(f"{len(due)} of {len(sources)} sources are to be checked", file=sys.stderr)
    clean = True
    with concurrent.futures.ThreadPoolExecutor(os.cpu_count()) as workers:
        for source, findings in zip(due, workers.map(lambda source: check(build, source), due)):
            if findings:
                print(findings, end="", flush=True)
            if FINDING.search(findings):
                clean = False
            elif stamps[source] is not None:
                stamps[source].touch()
    return 0 if clean else 1


if __name__ == "__main__":
    sys.exit(main())
