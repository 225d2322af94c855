#!/usr/bin/env python3
"""Holds the documents to the tree: what they name exists, docs/settings.md is the catalogue that the
headers declare, and docs/architecture.md leads to each source of the daemon and the platforms. Exits 1 and
names each breach.

Usage: check_paths.py [ROOT]"""

import fnmatch
import functools
import pathlib
import re
import sys

HOME = pathlib.Path(__file__).resolve().parents[2]

# A word is taken for a path of the project when it begins with one of these. build/ is made, not kept.
FLOORS = r"src|include|platform|apps|tests|bench|docs|packaging|\.ci"
PATH = re.compile(rf"(?<![\w./~$-])(?:\./)?((?:{FLOORS})/[\w./*+-]*)")
# A bare file name in backticks, such as `NotiProxy.cpp`, must be somewhere.
FILE_NAME = re.compile(r"\*?[\w.-]+\.(?:cpp|h|py|md|sh)")
LINK = re.compile(r"(?<!!)\[[^\]]*\]\(([^)\s]+)\)|!\[[^\]]*\]\(([^)\s]+)\)")
VERB = re.compile(r"\./dev ([a-z]+)")
# A test as ctest names it, without what a parameter adds: `unit.CableEvents.PulledShowsDetached`.
TEST = re.compile(r"(unit|contract|integration|scenario)\.((?<=scenario\.)[a-z0-9-]+|\w+(?=\.))(?:\.(\w+))?")
TEST_DEFINITION = re.compile(r"\bTEST(?:_F|_P)?\(\s*(\w+),\s*(\w+)\s*\)")


def documents(root):
    found = [*root.glob("*.md"), *(root / "docs").rglob("*.md")]
    return sorted(path.relative_to(root) for path in found)


def anchors_of(text):
    headings = re.findall(r"^#+ (.*)$", text, re.M)
    return {re.sub(r"[^\w\- ]", "", heading.lower()).replace(" ", "-") for heading in headings}


def exists(root, path):
    path = path.rstrip(".")
    if "*" in path:
        return any(root.glob(path))
    return (root / path).exists()


def code_in(line, fenced):
    return [line] if fenced else re.findall(r"`([^`]+)`", line)


def breaches_of(root, document, text):
    verbs = set(re.findall(r"^verb_(\w+)\(\)", read(root, "dev"), re.M))
    tests = tests_of(root)
    fenced = False
    for number, line in enumerate(text.splitlines(), 1):
        place = f"{document}:{number}"
        if line.lstrip().startswith("```"):
            fenced = not fenced
            continue
        for code in code_in(line, fenced):
            for path in PATH.findall(code):
                if not exists(root, path):
                    yield f"{place}: there is no {path}"
            if not fenced and FILE_NAME.fullmatch(code) and not any(tracked(root, code)):
                yield f"{place}: there is no file named {code}"
            test = TEST.fullmatch(code)
            if test and not fenced and test.groups() not in tests:
                yield f"{place}: there is no test {code}"
            for verb in VERB.findall(code):
                if verb not in verbs:
                    yield f"{place}: ./dev has no verb {verb}"
        if not fenced:
            for target in filter(None, (a or b for a, b in LINK.findall(re.sub(r"`[^`]*`", "", line)))):
                yield from broken_link(root, document, text, place, target)


@functools.cache
def tests_of(root):
    """the names of all tests, as TEST takes them apart"""
    found = {("scenario", path.stem, None) for path in (root / "tests/scenario").glob("*.scenario")}
    for floor in ("unit", "contract", "integration"):
        for path in (root / "tests" / floor).rglob("*Test.cpp"):
            found |= {(floor, suite, name) for suite, name in TEST_DEFINITION.findall(path.read_text())}
    return found


def tracked(root, name):
    for floor in FLOORS.replace("\\", "").split("|"):
        yield from (root / floor).rglob(name)
    yield from root.glob(name)


def broken_link(root, document, text, place, target):
    if re.match(r"[a-z]+:", target):
        return
    path, _, anchor = target.partition("#")
    linked = (root / document).parent / path
    if path and not linked.exists():
        yield f"{place}: the link {target} leads nowhere"
    elif anchor and anchor not in anchors_of(linked.read_text() if path else text):
        yield f"{place}: the link {target} names no heading"


def read(root, path):
    file = root / path
    return file.read_text() if file.exists() else ""


def declared_keys(header):
    """name -> type, from the constants and the catalogue of vconf_keys.h"""
    names = dict(re.findall(r'constexpr char (k\w+)\[\] = "([^"]+)";', header))
    types = dict(re.findall(r"\{(k\w+), Type::k(\w+)", header))
    return {name: types.get(constant, "of no type").lower() for constant, name in names.items()}


def declared_facts(header):
    """name -> type, from the feature keys of system_info.h and the comments above them"""
    prefix = "com.velanor/featureconf/"
    found = re.findall(r'/// (\w+);[^\n]*\n#define FEATURE_\w+ SYSTEM_INFO_FEATURE_PREFIX "([^"]+)"', header)
    return {prefix + name: kind for kind, name in found}


def rows_of(text):
    """(line, name, type) of each table row that begins with a name in backticks and a type"""
    for number, line in enumerate(text.splitlines(), 1):
        row = re.match(r"\| `([^`]+)` \| (\w+) \|", line)
        if row:
            yield number, row.group(1), row.group(2)


def catalogue_breaches(place, text, declared):
    described = set()
    for number, name, kind in rows_of(text):
        if name not in declared:
            yield f"{place}:{number}: {name} is not declared"
        elif kind != declared[name]:
            yield f"{place}:{number}: {name} is {declared[name]} and not {kind}"
        if name in described:
            yield f"{place}:{number}: {name} is described twice"
        described.add(name)
    for name in declared:
        if name not in described:
            yield f"{place}: {name} ({declared[name]}) is missing"


def sources_without_a_row(text, sources):
    """Those that no table under "Where is what" names, by itself or with a pattern."""
    section = text.partition("\n## Where is what\n")[2].partition("\n## ")[0]
    rows = [line for line in section.splitlines() if line.startswith("|")]
    named = [path for row in rows for path in PATH.findall(row)]
    return [source for source in sources if not any(fnmatch.fnmatch(source, path) for path in named)]


def self_test():
    """A check that cannot fail is none."""
    declared = declared_keys(
        'inline constexpr char kA[] = "db/a";\ninline constexpr char kB[] = "db/b";\n'
        '{kA, Type::kInt, "x"},\n    {kB, Type::kString,\n "y"}'
    )
    assert declared == {"db/a": "int", "db/b": "string"}, declared
    facts = declared_facts('/// bool; a\n#define FEATURE_A SYSTEM_INFO_FEATURE_PREFIX "a.b"\n')
    assert facts == {"com.velanor/featureconf/a.b": "bool"}, facts
    good = "| `db/a` | int | x |\n| `db/b` | string | y |\n"
    catalogue = [
        (good, 0),
        ("| `db/a` | int | x |\n", 1),
        (good.replace("int", "bool"), 1),
        (good + "| `db/c` | int | z |\n", 1),
        (good + good, 2),
    ]
    for text, count in catalogue:
        found = list(catalogue_breaches("t.md", text, declared))
        assert len(found) == count, (text, found)
    prose = [
        ("`tests/docs/check_paths.py` `tests/docs/*.py` `check_paths.py` `/usr/src/x` `build/release/x`", 0),
        ("a [link](tests/docs/check_paths.py) and [another](https://example.org/src/x)", 0),
        ("`src/NoSuchFile.cpp`", 1),
        ("`tests/docs/*.rs`", 1),
        ("`NoSuchFile.cpp`", 1),
        ("```\ntests/no-such-directory/\n```", 1),
        ("[link](docs/no-such-page.md)", 1),
        ("# A heading\n[here](#a-heading) [nowhere](#no-heading)", 1),
        ("`./dev nosuchverb`", 1),
        ("`unit.Lifecycle.RunsNoCommandOfTheServiceTool` `scenario.evening`", 0),
        ("`unit.Lifecycle.FliesToTheMoon`", 1),
        ("`scenario.no-such-evening`", 1),
    ]
    for text, count in prose:
        found = list(breaches_of(HOME, pathlib.Path("t.md"), text))
        assert len(found) == count, (text, found)
    rows = "\n## Where is what\n\nsrc/c.cpp\n### x\n| a | `src/a.cpp`, `src/b*.cpp` |\n## y\n| `src/c.cpp` |\n"
    assert sources_without_a_row(rows, ["src/a.cpp", "src/b1.cpp", "src/c.cpp"]) == ["src/c.cpp"]


def main():
    self_test()
    root = pathlib.Path(sys.argv[1]).resolve() if len(sys.argv) > 1 else HOME
    breaches = []
    pages = documents(root)
    for document in pages:
        breaches += breaches_of(root, document, read(root, document))
    declared = declared_keys(read(root, "platform/include/vconf_keys.h"))
    facts = declared_facts(read(root, "platform/include/system_info.h"))
    if not pages or not declared or not facts:
        breaches.append("no documents or no declared keys were found")
    breaches += catalogue_breaches("docs/settings.md", read(root, "docs/settings.md"), declared | facts)
    sources = sorted(
        path.relative_to(root).as_posix() for floor in ("src", "platform") for path in (root / floor).rglob("*.cpp")
    )
    for source in sources_without_a_row(read(root, "docs/architecture.md"), sources):
        breaches.append(f"docs/architecture.md: no row under \"Where is what\" leads to {source}")
    print("\n".join(breaches) or f"{len(pages)} documents, {len(declared)} keys, {len(facts)} features: as declared")
    return 1 if breaches else 0


if __name__ == "__main__":
    sys.exit(main())
