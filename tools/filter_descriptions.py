"""Reads and checks the descriptions of filters and keys, filters/descriptions.json.

Invalid input raises Refused, which names the file and the line. A missing description or unit is reported at the
filter's line in the catalogue.
"""

import json
import re

from filter_catalogue import Refused


class Descriptions:
    """The sentences and units that people see, as filters/descriptions.json gives them.

    The file holds objects and strings only:
      keys      by key: its "description", and its "unit" where its type has units
      filters   by filter: its "description"; "keys": entries that win over the general ones for this filter; and the
                "unit" "pixels" if its result consists of single pixels, or depends on those that touch

    A unit says how a value changes when the picture is scaled: "pixels", "position" and "rectangle" scale with it,
    "1/pixels" scales inversely, a "transform" scales in its translation; "angle" (in radians) and "none" stay.
    """

    def __init__(self, path):
        self._path = path
        self._text = path.read_text(encoding="utf-8")
        self._root, end = self._read(0)
        if end != len(self._text.rstrip()):
            self._refuse(self._line(end), "text after the end of the object")

    def check(self, catalogue):
        """Refuses an unknown filter, key or field, a wrong unit, and a description or unit that is missing."""
        sections = self._fields(self._root, 1, "the file", ("keys", "filters"))
        general = {}
        for key, (line, entry) in sections.get("keys", {}).items():
            general[key] = self._key(catalogue, key, line, entry)
        filters = sections.get("filters", {})
        for name, (line, entry) in filters.items():
            if name not in catalogue.filters:
                self._refuse(line, f"filter '{name}' is not in the catalogue")
            own = self._fields(entry, line, f"filter '{name}'", ("description", "keys", "unit"))
            self._sentence(own, line, f"filter '{name}'")
            if own.get("unit", "pixels") != "pixels":
                self._refuse(line, f"filter '{name}' has the unit '{own['unit']}', expected pixels or no unit")
            known = {}
            for key, (key_line, key_entry) in own.get("keys", {}).items():
                if key not in catalogue.filters[name]:
                    self._refuse(key_line, f"filter '{name}' has no key '{key}'")
                known[key] = self._key(catalogue, key, key_line, key_entry)
            self._complete(catalogue, name, general, known)
        for name in catalogue.filters:
            if name not in filters:
                catalogue.refuse(name, f"filter '{name}' has no entry in {self._path.name}")

    def _complete(self, catalogue, name, general, own):
        """Refuses a filter one of whose keys has no description, or no unit though its type has units."""
        for key in catalogue.filters[name]:
            entry = general.get(key, {}) | own.get(key, {})
            wanted = ("description", "unit") if catalogue.units(key) else ("description",)
            for field in wanted:
                if field not in entry:
                    catalogue.refuse(name, f"filter '{name}': key '{key}' has no {field} in {self._path.name}")

    def _key(self, catalogue, key, line, entry):
        """The fields of a key's entry, checked."""
        if key not in catalogue.types:
            self._refuse(line, f"key '{key}' is not in the catalogue")
        fields = self._fields(entry, line, f"key '{key}'", ("description", "unit"))
        self._sentence(fields, line, f"key '{key}'")
        units = catalogue.units(key)
        if "unit" in fields and fields["unit"] not in units:
            expected = ", ".join(units) or "no unit"
            self._refuse(line, f"key '{key}' has the unit '{fields['unit']}', expected {expected}")
        return fields

    def _fields(self, entry, line, owner, known):
        """The fields of an object by name, without their lines: "keys" and "filters" are objects, others strings."""
        if not isinstance(entry, dict):
            self._refuse(line, f"{owner} needs an object, found a string")
        fields = {}
        for name, (at, value) in entry.items():
            if name not in known:
                self._refuse(at, f"{owner} has the unknown field '{name}', expected one of {', '.join(known)}")
            if isinstance(value, dict) != (name in ("keys", "filters")):
                self._refuse(at, f"'{name}' of {owner} needs {'a string' if isinstance(value, dict) else 'an object'}")
            fields[name] = value
        return fields

    def _sentence(self, fields, line, owner):
        if "description" in fields and not re.fullmatch(r"\S.*\.", fields["description"]):
            self._refuse(line, f"the description of {owner} is not a sentence, expected a period at its end")
        if "description" not in fields and owner.startswith("filter"):
            self._refuse(line, f"{owner} has no description")

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
