"""Reads and checks the descriptions of classes and keys, a file of JSON. docs/modules.md describes it.

Invalid input raises Refused, which names the file and the line. A missing description or unit is reported at the
line of the class in the catalogue.
"""

import json
import re

from class_catalogue import Refused


class Descriptions:
    """The sentences and units that people see. The file holds objects and strings only."""

    def __init__(self, path):
        self._path = path
        self._text = path.read_text(encoding="utf-8")
        self._root, end = self._read(0)
        if end != len(self._text.rstrip()):
            self._refuse(self._line(end), "text after the end of the object")

    def check(self, catalogue):
        """Refuses an unknown class, key or field, a wrong unit, and a description or unit that is missing."""
        kind, kinds = catalogue.kind, catalogue.kinds
        sections = self._fields(self._root, 1, "the file", ("keys", kinds), objects=("keys", kinds))
        general = {}
        for key, (line, entry) in sections.get("keys", {}).items():
            general[key] = self._key(catalogue, key, line, entry)
        described = sections.get(kinds, {})
        for name, (line, entry) in described.items():
            owner = f"{kind} '{name}'"
            if name not in catalogue.classes:
                self._refuse(line, f"{owner} is not in the catalogue")
            own = self._fields(entry, line, owner, ("description", "keys", "unit"), objects=("keys",))
            self._sentence(own, line, owner)
            if "description" not in own:
                self._refuse(line, f"{owner} has no description")
            self._unit(own, line, owner, catalogue.class_units)
            known = {}
            for key, (key_line, key_entry) in own.get("keys", {}).items():
                if key not in catalogue.classes[name]:
                    self._refuse(key_line, f"{owner} has no key '{key}'")
                known[key] = self._key(catalogue, key, key_line, key_entry)
            self._complete(catalogue, name, general, known)
        for name in catalogue.classes:
            if name not in described:
                catalogue.refuse(name, f"{kind} '{name}' has no entry in {self._path.name}")

    def _complete(self, catalogue, name, general, own):
        """Refuses a class one of whose keys has no description, or no unit though its type has units."""
        for key in catalogue.classes[name]:
            entry = general.get(key, {}) | own.get(key, {})
            wanted = ("description", "unit") if catalogue.units(key) else ("description",)
            for field in wanted:
                if field not in entry:
                    owner = f"{catalogue.kind} '{name}'"
                    catalogue.refuse(name, f"{owner}: key '{key}' has no {field} in {self._path.name}")

    def _key(self, catalogue, key, line, entry):
        """The fields of a key's entry, checked."""
        owner = f"key '{key}'"
        if key not in catalogue.keys:
            self._refuse(line, f"{owner} is not in the catalogue")
        fields = self._fields(entry, line, owner, ("description", "unit"))
        self._sentence(fields, line, owner)
        self._unit(fields, line, owner, catalogue.units(key))
        return fields

    def _fields(self, entry, line, owner, known, objects=()):
        """The fields of an object by name, without their lines. Those that are not objects are strings."""
        if not isinstance(entry, dict):
            self._refuse(line, f"{owner} needs an object, found a string")
        fields = {}
        for name, (at, value) in entry.items():
            if name not in known:
                self._refuse(at, f"{owner} has the unknown field '{name}', expected one of {', '.join(known)}")
            if isinstance(value, dict) != (name in objects):
                self._refuse(at, f"'{name}' of {owner} needs {'a string' if isinstance(value, dict) else 'an object'}")
            fields[name] = value
        return fields

    def _sentence(self, fields, line, owner):
        if "description" in fields and not re.fullmatch(r"\S.*\.", fields["description"]):
            self._refuse(line, f"the description of {owner} is not a sentence, expected a period at its end")

    def _unit(self, fields, line, owner, units):
        if "unit" in fields and fields["unit"] not in units:
            expected = ", ".join(units) or "no unit"
            self._refuse(line, f"{owner} has the unit '{fields['unit']}', expected {expected}")

    def _read(self, at):
        """The value at a position, a string or a dictionary of (line, value), and the position after it."""
        at = self._skip(at)
        if self._text.startswith('"', at):
            try:
                return json.decoder.scanstring(self._text, at + 1)
            except json.JSONDecodeError as error:
                self._refuse(error.lineno, error.msg)
        if not self._text.startswith("{", at):
            self._refuse(self._line(at), "expected a string or an object")
        entries = {}
        separator = "{"
        while separator != "}":
            name_at = self._skip(at + 1)
            if not entries and self._text.startswith("}", name_at):
                return entries, name_at + 1
            line = self._line(name_at)
            name, at = self._read(name_at)
            if not isinstance(name, str):
                self._refuse(line, "expected the name of an entry")
            if name in entries:
                self._refuse(line, f"'{name}' is listed twice; it is first listed in line {entries[name][0]}")
            at = self._expect(self._skip(at), ":")
            value, at = self._read(at)
            entries[name] = (line, value)
            at = self._skip(at)
            separator = self._text[at : at + 1]
            if separator not in (",", "}"):
                self._refuse(self._line(at), "expected ',' or '}'")
        return entries, at + 1

    def _expect(self, at, character):
        if not self._text.startswith(character, at):
            self._refuse(self._line(at), f"expected '{character}'")
        return at + 1

    def _skip(self, at):
        """The position of the next character that is not white space."""
        return re.compile(r"\s*").match(self._text, at).end()

    def _line(self, at):
        return self._text.count("\n", 0, at) + 1

    def _refuse(self, line, reason):
        raise Refused(self._path, line, reason)
