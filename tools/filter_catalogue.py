"""Reads and checks the catalogue of filters, filters/catalogue.txt. The format is described at the head of that file.

Invalid input raises Refused, which names the file and the line.

To add a value type: add a row to TYPES, and its routines to bridge/.
"""

from typing import NamedTuple


class Type(NamedTuple):
    bridge: str  # suffix of the bridge routines
    value: str  # type of the value in C++
    units: tuple = ()  # units that a key of this type may have; each has one unless this is empty


TYPES = {
    "CIImageQOR": Type("CIImage", "ZEVAobjectStruct*"),
    "double": Type("NSNumber", "double", ("pixels", "1/pixels", "angle", "none")),
    "CIVectorQOR": Type("CIVector", "ZEVAobjectStruct*", ("pixels", "position", "rectangle", "none")),
    "CIColorQOR": Type("CIColor", "ZEVAobjectStruct*"),
    "NSAffineTransformQOR": Type("NSAffineTransform", "ZEVAobjectStruct*", ("transform",)),
    "memoryblock": Type("NSData", "ZEVAmemoryBlockStruct*"),
    "CGColorSpaceQOR": Type("CGColorSpace", "ZEVAobjectStruct*"),
}


class Refused(Exception):
    """Invalid input, with the file and the line where it is wrong."""

    def __init__(self, path, line, reason):
        super().__init__(f"{path}:{line}: {reason}")


def statements(path):
    """Yields (line number, words) for each statement. Joins continuation lines and drops comments."""
    number, words = 0, []
    for current, line in enumerate(path.read_text(encoding="utf-8").splitlines(), 1):
        content = line.split("#", 1)[0]
        if not content.strip():
            continue
        if content[0].isspace():
            if not words:
                raise Refused(path, current, "this line continues a statement, but there is none before it")
            words += content.split()
            continue
        if words:
            yield number, words
        number, words = current, content.split()
    if words:
        yield number, words


class Catalogue:
    """The catalogue: the types of keys, and the filters with their keys in order."""

    def __init__(self, path):
        self._path = path
        self.types = {}  # key -> type word
        self.filters = {}  # name -> keys in declaration order
        self._lines = {}  # key or filter -> the line that declares it
        self._expected = {}  # what -> (line, number)
        handlers = {"keys": self._keys, "filter": self._filter, "expect": self._expect}
        last = 0
        for line, (kind, *words) in statements(path):
            if kind not in handlers:
                self._refuse(line, f"unknown statement '{kind}', expected one of {', '.join(handlers)}")
            if len(words) < 2:
                self._refuse(line, f"'{kind}' needs at least two words after it")
            handlers[kind](line, *words)
            last = line
        self._check_whole(last)

    def _keys(self, line, type_word, *keys):
        if type_word not in TYPES:
            self._refuse(line, f"unknown type word '{type_word}', expected one of {', '.join(TYPES)}")
        for key in keys:
            if not key.isidentifier():
                self._refuse(line, f"key '{key}' is not an identifier")
            if key in self.types:
                other = self.types[key]
                reason = "is listed twice" if other == type_word else f"has two types, {other} and {type_word}"
                self._refuse(line, f"key '{key}' {reason}; it is first listed in line {self._lines[key]}")
            self.types[key] = type_word
            self._lines[key] = line

    def _filter(self, line, name, *keys):
        if not f"CI{name}".isidentifier():
            self._refuse(line, f"filter '{name}' is not an identifier")
        if name in self.filters:
            self._refuse(line, f"filter '{name}' is listed twice; it is first listed in line {self._lines[name]}")
        if self.filters and (before := next(reversed(self.filters))).lower() > name.lower():
            self._refuse(line, f"filter '{name}' is listed after '{before}', expected alphabetical order without case")
        for position, key in enumerate(keys):
            if key not in self.types:
                self._refuse(line, f"filter '{name}' has the unknown key '{key}'; no 'keys' line above lists it")
            if key in keys[:position]:
                self._refuse(line, f"filter '{name}' has the key '{key}' twice")
        self.filters[name] = keys
        self._lines[name] = line

    def _expect(self, line, number, what):
        if not number.isdecimal():
            self._refuse(line, f"'{number}' is not a count")
        if what in self._expected:
            self._refuse(line, f"'{what}' is expected twice; it is first expected in line {self._expected[what][0]}")
        self._expected[what] = (line, int(number))

    def _check_whole(self, last):
        used = {key for keys in self.filters.values() for key in keys}
        for key in self.types:
            if key not in used:
                self._refuse(self._lines[key], f"key '{key}' is not used by any filter")
        properties = sum(map(len, self.filters.values()))
        counts = {
            "classes": len(self.filters),
            "keys": len(self.types),
            "properties": properties,
            "methods": 2 * properties + len(self.filters),
        }
        for what, (line, number) in self._expected.items():
            if what not in counts:
                self._refuse(line, f"unknown count '{what}', expected one of {', '.join(counts)}")
            if counts[what] != number:
                self._refuse(line, f"{number} {what} are expected, but the catalogue has {counts[what]}")
        for what in counts:
            if what not in self._expected:
                self._refuse(last, f"no line gives the expected number of {what}")

    def units(self, key):
        """The units that a key may have; empty when its type has none."""
        return TYPES[self.types[key]].units

    def refuse(self, name, reason):
        """Refuses what belongs to a filter, at the filter's line."""
        self._refuse(self._lines[name], reason)

    def _refuse(self, line, reason):
        raise Refused(self._path, line, reason)
