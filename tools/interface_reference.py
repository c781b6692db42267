#!/usr/bin/env python3
"""Writes docs/interface.md from interface/: the services, and the records and constants of each header.

Usage: interface_reference.py [--check]       (--check only compares, exit status 1 if the page is not up to date)

Everything on the page is written in interface/: the contract of a service above its row, that of a record above its
structure. What the words of a row mean comes from interface/services.h.
"""

import pathlib
import re
import sys

ROOT = pathlib.Path(__file__).resolve().parents[1]
INTERFACE = ROOT / "interface"
PAGE = ROOT / "docs" / "interface.md"

HEAD = """# The boundary between host and modules

Made from `interface/` by `tools/interface_reference.py`. [modules.md](modules.md) is the guide for authors of modules.

Nothing of the host is linked into a module. The host loads the module, calls its one exported function with a resolver,
and the module asks the resolver for each service by its name. It registers its classes by records that the host keeps.
All services are called on the host's thread.
"""

# The columns of a service, by the type of the enumerator in its row.
COLUMNS = {"Missing": "where a host lacks it", "Failure": "failure", "Ownership": "what changes hands"}
FAILURES = {"kCannotFail": "cannot fail", "kCanFail": "returns null or 0"}
# Headers in the order of reading; services.h only describes the rows.
HEADERS = [
    *("entry_point", "host_version", "record_version", "word", "handles", "class_definition", "tables"),
    *("string_data", "text_encoding"),
]


def meanings():
    """What each enumerator of a row means: the comment behind it."""
    text = (INTERFACE / "services.h").read_text()
    return dict(re.findall(r"^    (k\w+)(?: = \d+)?,\s*// (.*)$", text, re.MULTILINE)) | FAILURES


def comment(lines):
    """The text of comment lines, as one paragraph."""
    return " ".join(line.removeprefix("//").strip() for line in lines.splitlines())


def services():
    """Name, signature, contract, missing, failure and ownership of each service."""
    for block in (INTERFACE / "services.def").read_text().split("\n\n"):
        contract, found, row = re.match(r"((?://[^\n]*\n)*)(SERVICE(?:_AT_LOAD)?\()?(.*)", block, re.DOTALL).groups()
        if not found:
            continue
        name = re.match(r"\w+", row)[0]
        result, parameters = re.search(r"([\w:*]+),\s*\(([^()]*)\)", row).groups()
        missing, failure, ownership = re.findall(r"\bk[A-Z]\w+", row)[:3]
        yield name, f"{result} {name}({parameters})", comment(contract), missing, failure, ownership


def service_section():
    words = meanings()
    parts = ["## Services\n"]
    for _, signature, contract, missing, failure, ownership in services():
        parts.append(f"```cpp\n{signature};\n```\n\n{contract}\n")
        facts = [(COLUMNS["Missing"], words[missing]), (COLUMNS["Failure"], words[failure])]
        if ownership != "kNothing":
            facts.append((COLUMNS["Ownership"], words[ownership]))
        parts.append("\n".join(f"- {name}: {text}" for name, text in facts) + "\n")
    return parts


def declarations(text):
    """The parts of a header that declare something: comment and code; without includes, assertions and macros."""
    for block in re.split(r"\n\n+", text):
        lines = [line for line in block.splitlines() if not re.match(r" *(?:#|static_assert|ZEVA_ASSERT)", line)]
        code = "\n".join(lines).strip()
        if re.search(r"^(?:struct|using|inline constexpr)\b", code, re.MULTILINE):
            yield code


def header_section(name):
    text = (INTERFACE / f"{name}.h").read_text()
    essay, _, rest = text.partition("\n#pragma once\n")
    title, _, body = essay.partition("\n")
    parts = [f"## `interface/{name}.h`\n", title.split(" - ", 1)[1].capitalize() + "\n"]
    for paragraph in re.split(r"^//$", body, flags=re.MULTILINE):
        if paragraph.strip():
            parts.append(comment(re.sub(r"\n//\s{4,}", " ", paragraph.strip())) + "\n")
    parts.append("```cpp\n" + "\n\n".join(declarations(rest)) + "\n```\n")
    return parts


def page():
    parts = [HEAD, *service_section()]
    for name in HEADERS:
        parts += header_section(name)
    return "\n".join(parts)


def main(arguments):
    missing = {path.stem for path in INTERFACE.glob("*.h")} - set(HEADERS) - {"services"}
    if missing:
        names = ", ".join(sorted(missing))
        sys.exit(f"interface_reference.py: {names}: not in the list of headers; nothing was written")
    text = page()
    if arguments == ["--check"]:
        if not PAGE.exists() or PAGE.read_text() != text:
            sys.exit("docs/interface.md: not what interface/ says; tools/interface_reference.py writes it")
    elif arguments:
        sys.exit(__doc__.split("\n\n")[1])
    else:
        PAGE.write_text(text)


if __name__ == "__main__":
    main(sys.argv[1:])
