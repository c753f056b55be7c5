#!/usr/bin/python3
"""Prints every use of a name whose header the using file does not include itself.

    script/lib/own_includes.py [--fix] FILE...

FILEs are all sources and headers of the project; --fix adds the includes that are missing. A name counts when it stands
at the outermost level of exactly one header of the project: a class, an alias, a constant, an enumeration, a function, a
macro. A source need not repeat what its own header includes. A file that declares the name itself, also forward, needs no
header for it. What is told apart by its scope only, members and overloads in several headers, is not looked at. A header
hands another one on to its users with `// IWYU pragma: export` behind the include; headers of tests and benchmarks, the
fixtures, hand on all that they include.
"""
import re
import sys
from collections import defaultdict

DECLARATIONS = [
    re.compile(r"^(?:class|struct|union|enum(?: class| struct)?) (?:VEXORA_\w+(?:\([^)]*\))? )?(\w+)(?: final)?(?: : [^;{]*)? ?(?:\{|$)"),
    re.compile(r"^using (\w+) ="),
    re.compile(r"^(?:inline )?(?:constexpr|const) [^=({]*?\b(\w+)(?:\[\])? ?[={]"),
    re.compile(r"^(?!using |namespace |typedef |return |friend |class |struct |enum )(?:[\w:<>,&*\[\]]+ )+[&*]?(\w+)\("),
    re.compile(r"^extern const \w+ (\w+);"),
    re.compile(r"^#define (\w+)"),
]
# Names that a file declares for itself: forward, within a class or a function, as a parameter of a template.
LOCAL = [
    re.compile(r"\b(?:class|struct|enum class|enum|typename|using|auto|concept) (\w+)"),
    re.compile(r"(?m)^ +(?!return |else |throw )(?:[\w:<>,&*\[\]]+ )+[&*]?(\w+)\("),
    re.compile(r"(?m)^ +(?:static )?constexpr [^=({;]*?\b(\w+)(?:\[\])? ?[={]"),
    re.compile(r"\busing (?:::)?(?:testing|std)::(\w+);"),
]


def code(text):
    """The text without comments and literals; what stands in lines stays in its line."""
    text = re.sub(r'R"(\w*)\(.*?\)\1"', lambda raw: '""' + "\n" * raw[0].count("\n"), text, flags=re.S)
    return re.sub(r'//[^\n]*|"(?:\\.|[^"\\\n])*"|\'(?:\\.|[^\'\\\n])+\'', '""', text)


def included(text):
    return set(re.findall(r'^ *# *include "([^"]+)"', text, flags=re.M))


def handed_on(headers, texts):
    """The headers, and those that they hand on."""
    found = set(headers)
    for header in headers:
        marked = r'^#include "([^"]+)" +// IWYU pragma: export'
        pattern = r'^#include "([^"]+)"' if header.startswith(("tests/", "bench/")) else marked
        exported = re.findall(pattern, texts.get(header, ""), flags=re.M)
        found |= handed_on(exported, texts)
    return found


def may_know(file, header):
    """Whether the file is in a folder that may include the header: tests and benchmarks see everything but one another."""
    area, home = file.split("/")[0], header.split("/")[0]
    if area == home or home == "platform":
        return True
    return area in ("tests", "bench", "fuzz") and home in ("monitor", "probe")


def declared(lines, patterns):
    for line in lines:
        for pattern in patterns:
            found = pattern.match(line)
            if found:
                yield found[1]
                break


def local_names(text):
    enumerators = " ".join(re.findall(r"\benum [^{;]*\{([^}]*)\}", text))
    return {name for pattern in LOCAL for name in pattern.findall(text)} | set(re.findall(r"\w+", enumerators))


def homes_of_names(codes):
    """Name -> its header, for names that one header alone declares."""
    homes = defaultdict(set)
    for file, text in codes.items():
        if file.endswith(".h"):
            for name in declared(text.split("\n"), DECLARATIONS):
                homes[name].add(file)
    return {name: next(iter(files)) for name, files in homes.items() if len(files) == 1 and len(name) > 2}


def missing(file, text, texts, homes):
    """Line, name and header of the first use of each header that the file lacks."""
    has = included(texts[file]) | {file}
    own = re.sub(r"\.cpp$", ".h", file)
    here = local_names(text)
    if own in has and own in texts:
        has |= included(texts[own])
        here |= local_names(code(texts[own]))
    has = handed_on(has, texts)
    for fixture in has:
        if fixture.startswith(("tests/", "bench/")):
            here |= local_names(code(texts[fixture]))
    lines = text.split("\n")
    here |= set(declared(lines, DECLARATIONS))
    for number, line in enumerate(lines, 1):
        if line.lstrip().startswith("#include") or re.match(r"(INSTANTIATE_)?TEST\w*\(", line):
            continue
        for use in re.finditer(r"(?<![\w.])(?<!->)([A-Za-z_]\w*)", line):
            home = homes.get(use[1])
            if re.search(r"\b(?:[A-Z]\w*|testing|std)::$", line[: use.start()]):
                continue  # a member of a class, which has been seen; a library's
            if home and home not in has and use[1] not in here and may_know(file, home):
                has |= handed_on([home], texts)
                yield number, use[1], home


def add(file, text, headers):
    """Puts the includes before the first one of a header of ours; clang-format sorts them."""
    lines = "".join(f'#include "{header}"\n' for header in headers)
    own = f'#include "{re.sub(r".cpp$", ".h", file)}"\n'
    places = [place for place in re.finditer(r'^#include "[^"]+"\n', text, flags=re.M) if place[0] != own]
    if places:
        at = places[0].start()
    else:
        last = [place.end() for place in re.finditer(r"^(?:#include .*|#pragma once)\n", text, flags=re.M)]
        at, lines = (last[-1], "\n" + lines) if last else (0, lines + "\n")
    open(file, "w", encoding="utf-8").write(text[:at] + lines + text[at:])


def main(arguments):
    fixing = arguments[:1] == ["--fix"]
    files = arguments[1:] if fixing else arguments
    if not files:
        sys.exit(__doc__)
    texts = {file: open(file, encoding="utf-8").read() for file in files}
    codes = {file: code(text) for file, text in texts.items()}
    homes = homes_of_names(codes)
    count = 0
    for file, text in codes.items():
        found = list(missing(file, text, texts, homes))
        count += len(found)
        for line, name, home in found:
            print(f'{file}:{line}: {name} needs #include "{home}"')
        if fixing and found:
            add(file, texts[file], sorted({home for _, _, home in found}))
    return 0 if count == 0 or fixing else 1


sys.exit(main(sys.argv[1:]))
