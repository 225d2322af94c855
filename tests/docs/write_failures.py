#!/usr/bin/env python3
"""Writes the table of docs/failures.md anew, from what the tests see. Read the difference before you keep it:
the page is a promise, and the tests only hold it.

Needs root, as the tests do. Usage: write_failures.py [TEST-PROGRAM]"""

import concurrent.futures
import pathlib
import re
import subprocess
import sys

HOME = pathlib.Path(__file__).resolve().parents[2]
PAGE = HOME / "docs/failures.md"
PROGRAM = HOME / "build/release/tests/unit/unit-EveryFailureTest"
WHENS = ("AtStart", "AllEvening", "Once")


def cell_of(program, test):
    command = [program, f"--gtest_filter=*/{test}"]
    text = subprocess.run(command, capture_output=True, text=True, errors="replace", check=False).stdout
    found = re.search(r"^cell: (.*)$", text, re.M)
    return found.group(1) if found else "(it does not end)"


def main():
    program = pathlib.Path(sys.argv[1]) if len(sys.argv) > 1 else PROGRAM
    listed = subprocess.run([program, "--gtest_list_tests"], capture_output=True, text=True, check=True).stdout
    tests = re.findall(r"^  IsLivedThrough\w+/(\w+)", listed, re.M)
    with concurrent.futures.ThreadPoolExecutor(2) as pool:
        cells = dict(zip(tests, pool.map(lambda test: cell_of(program, test), tests)))
    functions = list(dict.fromkeys(re.sub("(AtStart|AllEvening|Once)$", "", test) for test in tests))
    rows = [f"| `{name}` | {' | '.join(cells[name + when] for when in WHENS)} |\n" for name in functions]
    lines = PAGE.read_text().splitlines(keepends=True)
    rest = [line for line in lines if not line.startswith("| `")]
    head = next(i for i, line in enumerate(rest) if line.startswith("|---"))
    PAGE.write_text("".join([*rest[: head + 1], *rows, *rest[head + 1 :]]))


if __name__ == "__main__":
    main()
