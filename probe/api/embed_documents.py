#!/usr/bin/env python3
"""Writes a C++ source that holds the description of the HTTP interface: embed_documents.py DOCS OUTPUT

The description is kept as YAML, for people; programs get it as JSON.
"""

import json
import pathlib
import sys

import yaml

docs, output = map(pathlib.Path, sys.argv[1:])


def literal(text):
    # In pieces: compilers limit the length of one.
    pieces = [text[at : at + 8000] for at in range(0, len(text), 8000)]
    return "\n".join(f'R"_doc_({piece})_doc_"' for piece in pieces)


documents = {"openapi.json": json.dumps(yaml.safe_load((docs / "openapi.yaml").read_text("utf-8")), ensure_ascii=False)}
for schema in sorted((docs / "schemas").glob("*.json")):
    documents["schemas/" + schema.name] = schema.read_text("utf-8")

lines = ['#include "probe/api/documents.h"', "", "namespace probe {", ""]
lines += ["const std::map<std::string, std::string, std::less<>>& Documents() {"]
lines += ["  static const std::map<std::string, std::string, std::less<>> documents{"]
lines += [f'      {{"{name}", {literal(text)}}},' for name, text in documents.items()]
lines += ["  };", "  return documents;", "}", "", "}  // namespace probe", ""]
output.write_text("\n".join(lines), "utf-8")
