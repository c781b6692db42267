#!/usr/bin/env python3
"""Makes the filter classes of the module from the catalogue.

Usage: generate_filters.py CATALOGUE OUTPUT_FOLDER

Writes, into the output folder:
  keys.def               KEY(key, type word, bridge, C++ type) for every key, alphabetically
  CIFilter<Name>.mm      one unit per filter: its constructor, method table and class record
  catalogue.mm           all units and the list of their records, in registration order; the file that is compiled

A catalogue that cannot be right is refused with its line: "catalogue.txt:12: ...", exit status 1, nothing written.
The format stands at the head of the catalogue itself. Adding a type: a row of TYPES, and its bridge routines.
"""

import pathlib
import sys

# type word -> (bridge routines' suffix, type of the value in C++)
TYPES = {
    "CIImageQOR": ("CIImage", "ZEVAobjectStruct*"),
    "double": ("NSNumber", "double"),
    "CIVectorQOR": ("CIVector", "ZEVAobjectStruct*"),
    "CIColorQOR": ("CIColor", "ZEVAobjectStruct*"),
    "NSAffineTransformQOR": ("NSAffineTransform", "ZEVAobjectStruct*"),
    "memoryblock": ("NSData", "ZEVAmemoryBlockStruct*"),
    "CGColorSpaceQOR": ("CGColorSpace", "ZEVAobjectStruct*"),
}

MADE_BY = "// Made by tools/generate_filters.py from filters/catalogue.txt; change those instead.\n"


class Refused(Exception):
    """A catalogue that cannot be right, with the number of the line that shows it."""

    def __init__(self, line, reason):
        super().__init__(reason)
        self.line = line


def statements(text):
    """Yields (line number, words) for each statement, continuation lines joined, comments dropped."""
    number, words = 0, []
    for current, line in enumerate(text.splitlines(), 1):
        content = line.split("#", 1)[0]
        if not content.strip():
            continue
        if content[0].isspace():
            if not words:
                raise Refused(current, "a continuation line with nothing to continue")
            words += content.split()
            continue
        if words:
            yield number, words
        number, words = current, content.split()
    if words:
        yield number, words


class Catalogue:
    """What the file says: types of keys, and the filters with their keys in order."""

    def __init__(self, text):
        self.types = {}  # key -> type word
        self.filters = {}  # name -> keys in declaration order
        self._lines = {}  # key or filter -> the line that declares it
        self._expected = {}  # what -> (line, number)
        handlers = {"keys": self._keys, "filter": self._filter, "expect": self._expect}
        last = 0
        for line, (kind, *words) in statements(text):
            if kind not in handlers:
                raise Refused(line, f"unknown statement '{kind}': {', '.join(handlers)} are known")
            if len(words) < 2:
                raise Refused(line, f"'{kind}' needs at least two words after it")
            handlers[kind](line, *words)
            last = line
        self._check_whole(last)

    def _keys(self, line, type_word, *keys):
        if type_word not in TYPES:
            raise Refused(line, f"unknown type word '{type_word}': {', '.join(TYPES)} are known")
        for key in keys:
            if not key.isidentifier():
                raise Refused(line, f"'{key}' cannot be a key: it is no identifier")
            if key in self.types:
                other = self.types[key]
                reason = "is listed twice" if other == type_word else f"has two types, {other} and {type_word}"
                raise Refused(line, f"key '{key}' {reason}; first listed in line {self._lines[key]}")
            self.types[key] = type_word
            self._lines[key] = line

    def _filter(self, line, name, *keys):
        if not f"CI{name}".isidentifier():
            raise Refused(line, f"'{name}' cannot be a filter: it is no identifier")
        if name in self.filters:
            raise Refused(line, f"filter '{name}' is listed twice; first in line {self._lines[name]}")
        if self.filters and (before := next(reversed(self.filters))).lower() > name.lower():
            raise Refused(line, f"filter '{name}' stands after '{before}': the order is alphabetical, case ignored")
        for position, key in enumerate(keys):
            if key not in self.types:
                raise Refused(line, f"filter '{name}' has the unknown key '{key}': no 'keys' line before lists it")
            if key in keys[:position]:
                raise Refused(line, f"filter '{name}' has the key '{key}' twice")
        self.filters[name] = keys
        self._lines[name] = line

    def _expect(self, line, number, what):
        if not number.isdecimal():
            raise Refused(line, f"'{number}' is no count")
        if what in self._expected:
            raise Refused(line, f"'{what}' is expected twice; first in line {self._expected[what][0]}")
        self._expected[what] = (line, int(number))

    def _check_whole(self, last):
        used = {key for keys in self.filters.values() for key in keys}
        for key in self.types:
            if key not in used:
                raise Refused(self._lines[key], f"key '{key}' is used by no filter")
        properties = sum(map(len, self.filters.values()))
        counts = {
            "classes": len(self.filters),
            "keys": len(self.types),
            "properties": properties,
            "methods": 2 * properties + len(self.filters),
        }
        for what, (line, number) in self._expected.items():
            if what not in counts:
                raise Refused(line, f"unknown count '{what}': {', '.join(counts)} are known")
            if counts[what] != number:
                raise Refused(line, f"{number} {what} are expected, but the catalogue comes to {counts[what]}")
        for what in counts:
            if what not in self._expected:
                raise Refused(last, f"no line says how many {what} to expect")


def keys_file(catalogue):
    """The list of keys, for whoever defines KEY before including it."""
    rows = [
        f'KEY({key}, "{type_word}", {TYPES[type_word][0]}, {TYPES[type_word][1]})'
        for key, type_word in sorted(catalogue.types.items())
    ]
    return MADE_BY + "// KEY(key, type word, bridge, C++ type)\n" + "\n".join(rows) + "\n"


def unit_file(name, keys):
    """The unit of one filter class."""
    properties = "".join(f"    FILTER_PROPERTY({key}),\n" for key in keys)
    return (
        MADE_BY
        + f"// CI{name} as a host class.\n\n"
        + '#include "filters/filter_class.h"\n\n'
        + f"namespace CIFilter{name} {{\n\n"
        + f'static void Constructor(ZEVAobjectStruct* self) {{ ConstructFilter(self, @"CI{name}"); }}\n\n'
        + "static ZEVAmethod Methods[] = {\n"
        + properties
        + "    FILTER_CONSTRUCTOR,\n};\n\n"
        + f"}}  // namespace CIFilter{name}\n\n"
        + f"ZEVAclassDefinition CIFilter{name}Class = FILTER_CLASS(CIFilter{name});\n"
    )


def catalogue_file(names):
    """All units as one translation unit, so that each shared string and accessor exists once."""
    includes = "".join(f'#include "CIFilter{name}.mm"\n' for name in names)
    records = "".join(f"    &CIFilter{name}Class,\n" for name in names)
    return (
        MADE_BY
        + "// The filter classes, in the order in which they are registered.\n\n"
        + includes
        + '\n#include "plugin/plugin_main.h"\n\n'
        + f"static ZEVAclassDefinition* const kFilterClasses[] = {{\n{records}}};\n\n"
        + "std::span<ZEVAclassDefinition* const> ModuleClasses() { return kFilterClasses; }\n"
    )


def main(arguments):
    if len(arguments) != 2:
        print(__doc__, file=sys.stderr)
        return 2
    source, folder = map(pathlib.Path, arguments)
    try:
        catalogue = Catalogue(source.read_text())
    except Refused as refusal:
        print(f"{source}:{refusal.line}: {refusal}", file=sys.stderr)
        return 1
    files = {"keys.def": keys_file(catalogue), "catalogue.mm": catalogue_file(catalogue.filters)}
    files |= {f"CIFilter{name}.mm": unit_file(name, keys) for name, keys in catalogue.filters.items()}
    folder.mkdir(parents=True, exist_ok=True)
    for stale in set(path.name for path in folder.glob("CIFilter*.mm")) - files.keys():
        (folder / stale).unlink()
    for name, text in files.items():
        (folder / name).write_text(text)
    return 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
