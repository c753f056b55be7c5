#!/usr/bin/python3
"""Prints every declaration of the headers named that its documentation comment (///) does not explain.

    script/lib/comments.py HEADER...

Looked at are macros and whatever is not private: types, fields, enumerators, constants, aliases, functions. Left out are
destructors, parameters, friends, and what is deleted or defaulted. A function must also tell about its threads and
failures ("Threads:", "Fails:"): itself, in the comment of its class, or in a comment of its file that begins with
"Holds for every call below" and speaks for all of them.
"""
import re
import sys

from clang.cindex import AccessSpecifier, Config, CursorKind, Index

Config.set_library_file("libclang-14.so.1")

FUNCTIONS = {CursorKind.FUNCTION_DECL, CursorKind.FUNCTION_TEMPLATE, CursorKind.CXX_METHOD, CursorKind.CONSTRUCTOR}
CLASSES = {CursorKind.CLASS_DECL, CursorKind.STRUCT_DECL, CursorKind.CLASS_TEMPLATE, CursorKind.ENUM_DECL}
VALUES = {CursorKind.FIELD_DECL, CursorKind.ENUM_CONSTANT_DECL, CursorKind.VAR_DECL}
ALIASES = {CursorKind.TYPE_ALIAS_DECL, CursorKind.TYPEDEF_DECL}
SCOPES = CLASSES | {CursorKind.NAMESPACE, CursorKind.LINKAGE_SPEC, CursorKind.UNEXPOSED_DECL}
LABELS = ("Threads:", "Fails:")


def is_looked_at(cursor):
    if cursor.kind not in FUNCTIONS | CLASSES | VALUES | ALIASES or cursor.access_specifier == AccessSpecifier.PRIVATE:
        return False
    return [token.spelling for token in cursor.get_tokens()][-2:] not in (["=", "delete"], ["=", "default"])


def declarations(scope, headers):
    for cursor in scope.get_children():
        if cursor.location.file is None or cursor.location.file.name not in headers:
            continue
        if is_looked_at(cursor):
            yield cursor
        if cursor.kind in SCOPES:
            yield from declarations(cursor, headers)


def complaint(cursor, shared):
    comment = cursor.raw_comment or ""
    if not comment.startswith("///"):
        return "is not explained"
    if cursor.kind in FUNCTIONS:
        comment += shared + (cursor.semantic_parent.raw_comment or "")
        missing = [label for label in LABELS if label not in comment]
        if missing:
            return "lacks " + " and ".join(missing)
    return ""


def macros(lines):
    """The macros of a file, with whether there is a comment in the line before or behind them."""
    for number, line in enumerate(lines, 1):
        found = re.match(r"#\s*define\s+(\w+)", line)
        if found:
            yield number, found[1], "///" in line or (number > 1 and lines[number - 2].startswith("///"))


def main(headers):
    if not headers:
        sys.exit(__doc__)
    texts = {header: open(header, encoding="utf-8").read() for header in headers}
    shared = {header: "".join(re.findall(r"(?m)^// Holds for every call below.*\n(?:^//.*\n)*", text))
              for header, text in texts.items()}
    all_headers = "".join(f'#include "{header}"\n' for header in headers)
    unit = Index.create().parse("all.cpp", ["-std=c++17", "-I."], unsaved_files=[("all.cpp", all_headers)])
    for diagnostic in unit.diagnostics:
        if diagnostic.severity >= diagnostic.Error:
            sys.exit(str(diagnostic))
    found = []
    for header, text in texts.items():
        for line, name, is_explained in macros(text.split("\n")):
            found.append((header, line, name, "" if is_explained else "is not explained"))
    named = {f"./{header}": header for header in headers} | {header: header for header in headers}
    for cursor in declarations(unit.cursor, named):
        header = named[cursor.location.file.name]
        found.append((header, cursor.location.line, cursor.spelling, complaint(cursor, shared[header])))
    wrong = sorted(one for one in found if one[3])
    for header, line, name, what in wrong:
        print(f"{header}:{line}: {name} {what}")
    print(f"{len(found) - len(wrong)} of {len(found)} declarations are explained")
    return 1 if wrong else 0


sys.exit(main(sys.argv[1:]))
