"""Reads and checks a catalogue of classes. "Many classes from a catalogue" in docs/modules.md describes the language.

Invalid input raises Refused, which names the file and the line.

To add a setting: add a row to SETTINGS, and write it in generate_classes.py.
"""

import re
from typing import NamedTuple

# The statements, and how many words each needs: at least, and at most where there is a limit. Settings are given once,
# before the first keys.
SETTINGS = {
    "kind": (1, None),
    "prefix": (1, 1),
    "suffix": (1, 1),
    "superclass": (1, 1),
    "data": (1, 1),
    "initialize": (1, 1),
    "finalize": (1, 1),
    "constructor": (1, 2),
    "include": (1, None),
    "entries": (1, None),
}
STATEMENTS = SETTINGS | {"type": (3, None), "keys": (2, None), "expect": (2, 2)}
DEFAULTS = {"prefix": [""], "suffix": [""], "entries": ["CLASS_PROPERTY"]}

# What messages call things; no kind of class can have the same name.
TAKEN = {*STATEMENTS, "setting", "key", "count"}

# A name in C++.
NAME = re.compile(r"(?:\w+::)*[^\W\d]\w*")


class Type(NamedTuple):
    bridge: str  # suffix of the bridge's routines
    value: str  # type of the value in C++
    units: tuple  # units that a key of this type may have; each has one unless this is empty


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


def amount(least, most):
    """How many words a statement needs, spelled out."""
    spelled = {1: "one word", 2: "two words", 3: "three words"}
    if most is None:
        return f"at least {spelled[least]}"
    return spelled[most] if least == most else f"{spelled[least].split()[0]} or {spelled[most]}"


class Catalogue:
    """The catalogue: its settings, the types of values, the keys, and the classes with their keys in order.

    The constructor refuses everything that is wrong except the counts, which check_counts() compares.
    """

    def __init__(self, path):
        self.path = path
        self.types = {}  # type word -> Type
        self.keys = {}  # key -> type word
        self.classes = {}  # name -> keys in declaration order
        self._settings = {}  # setting -> its words
        self._last = 0  # the last statement's line
        self._lines = {}  # statement and subject -> the line that has it
        self._expected = {}  # what -> number
        handlers = {"type": self._type, "keys": self._keys, "expect": self._expect}
        for line, (statement, *words) in statements(path):
            self._check_statement(line, statement, words)
            if statement in SETTINGS:
                self._set(line, statement, words)
            else:
                handlers.get(statement, self._class)(line, *words)
            self._last = line
        for setting in ("kind", "include"):
            if setting not in self._settings:
                self._refuse(self._last, f"no line gives the '{setting}'")
        if not self.classes:
            self._refuse(self._last, f"no line lists a {self.kind}")
        used = {key for keys in self.classes.values() for key in keys}
        for key in self.keys:
            if key not in used:
                self._refuse(self._lines["key", key], f"key '{key}' is not used by any {self.kind}")

    @property
    def kind(self):
        """The word for one of the classes; None before it is set."""
        return self.setting("kind")[0]

    @property
    def kinds(self):
        """The word for several of them."""
        return self.kind + ("es" if self.kind.endswith("s") else "s")

    @property
    def class_units(self):
        """The units that a class may have."""
        return self._settings["kind"][1:]

    def setting(self, name):
        """The words of a setting; None is the only word of one that is not given and has no default."""
        return self._settings.get(name, DEFAULTS.get(name, [None]))

    def unit(self, name):
        """The name of a class without the suffix, under which its unit is written."""
        return self.setting("prefix")[0] + name

    def class_name(self, name):
        """The name that the host knows a class by."""
        return self.unit(name) + self.setting("suffix")[0]

    def _check_statement(self, line, statement, words):
        """Refuses an unknown statement and a wrong number of words."""
        known = list(STATEMENTS) + ([self.kind] if self.kind else [])
        if statement not in known:
            self._refuse(line, f"unknown statement '{statement}', expected one of {', '.join(known)}")
        least, most = STATEMENTS.get(statement, (2, None))
        if not least <= len(words) <= (most or len(words)):
            self._refuse(line, f"'{statement}' needs {amount(least, most)} after it")

    def _set(self, line, setting, words):
        self._declare(line, "setting", setting)
        if self.keys:
            self._refuse(line, f"setting '{setting}' stands after the first keys, expected before them")
        # Units and headers may be called anything.
        for word in {"kind": words[:1], "include": []}.get(setting, words):
            if not NAME.fullmatch(word):
                self._refuse(line, f"'{word}' of '{setting}' is not a name")
        if setting == "kind" and words[0] in TAKEN:
            self._refuse(line, f"kind '{words[0]}' has another meaning in a catalogue")
        self._settings[setting] = words

    def _type(self, line, word, bridge, value, *units):
        self._declare(line, "type", word)
        for name in (word, bridge):
            if not name.isidentifier():
                self._refuse(line, f"'{name}' of type '{word}' is not an identifier")
        self.types[word] = Type(bridge, value, units)

    def _keys(self, line, type_word, *keys):
        if type_word not in self.types:
            self._refuse(line, f"unknown type word '{type_word}', expected one of {', '.join(self.types)}")
        for key in keys:
            if not key.isidentifier():
                self._refuse(line, f"key '{key}' is not an identifier")
            if key in self.keys and (other := self.keys[key]) != type_word:
                first = f"it is first listed in line {self._lines['key', key]}"
                self._refuse(line, f"key '{key}' has two types, {other} and {type_word}; {first}")
            self._declare(line, "key", key)
            self.keys[key] = type_word

    def _class(self, line, name, *keys):
        if not self.class_name(name).isidentifier():
            self._refuse(line, f"{self.kind} '{name}' is not an identifier")
        self._declare(line, self.kind, name)
        if self.classes and (before := next(reversed(self.classes))).lower() > name.lower():
            order = f"listed after '{before}', expected alphabetical order without case"
            self._refuse(line, f"{self.kind} '{name}' is {order}")
        for position, key in enumerate(keys):
            if key not in self.keys:
                reason = f"has the unknown key '{key}'; no 'keys' line above lists it"
                self._refuse(line, f"{self.kind} '{name}' {reason}")
            if key in keys[:position]:
                self._refuse(line, f"{self.kind} '{name}' has the key '{key}' twice")
        self.classes[name] = keys

    def _expect(self, line, number, what):
        if not number.isdecimal():
            self._refuse(line, f"'{number}' is not a count")
        self._declare(line, "count", what)
        self._expected[what] = int(number)

    def _declare(self, line, kind, name):
        """Refuses what is given a second time."""
        if (kind, name) in self._lines:
            first = f"it is first listed in line {self._lines[kind, name]}"
            self._refuse(line, f"{kind} '{name}' is listed twice; {first}")
        self._lines[kind, name] = line

    def counts(self):
        """What the whole comes to, by the words of the `expect` lines."""
        properties = sum(map(len, self.classes.values()))
        constructors = len(self.classes) if "constructor" in self._settings else 0
        return {
            "classes": len(self.classes),
            "keys": len(self.keys),
            "properties": properties,
            "methods": len(self.setting("entries")) * properties + constructors,
        }

    def check_counts(self):
        """Refuses an `expect` line that is wrong or unknown, and one that is missing where there are others."""
        counts = self.counts()
        for what, number in self._expected.items():
            line = self._lines["count", what]
            if what not in counts:
                self._refuse(line, f"unknown count '{what}', expected one of {', '.join(counts)}")
            if counts[what] != number:
                self._refuse(line, f"{number} {what} are expected, but the catalogue has {counts[what]}")
        for what in counts if self._expected else ():
            if what not in self._expected:
                self._refuse(self._last, f"no line gives the expected number of {what}")

    def units(self, key):
        """The units that a key may have; empty when its type has none."""
        return self.types[self.keys[key]].units

    def refuse(self, name, reason):
        """Refuses what belongs to a class, at the line of the class."""
        self._refuse(self._lines[self.kind, name], reason)

    def _refuse(self, line, reason):
        raise Refused(self.path, line, reason)
