"""Writes attributes.json as a C++ table (filter_attributes.h).

    make_attribute_table.py ATTRIBUTES_JSON OUTPUT

The table refers to texts and numbers by index, so it has no pointer that the loader must relocate.
Refuses unknown fields, values of unknown types, and a name that is listed twice.
"""

import json
import pathlib
import sys

FIELDS = ["displayName", "availableMac", "categories", "keys"]


def refuse(problem):
    sys.exit(f"{source.name}: {problem}")


def unique(pairs):
    """An object; refuses a name that it lists twice."""
    names = [name for name, _ in pairs]
    for name in names:
        if names.count(name) > 1:
            refuse(f"'{name}' is listed twice in one object")
    return dict(pairs)


class Table:
    def __init__(self):
        self.texts, self.numbers, self.categories, self.attributes, self.keys, self.filters = {}, [], [], [], [], []

    def text(self, text):
        """The index of a text."""
        return self.texts.setdefault(text, len(self.texts))

    def add_attribute(self, owner, name, value):
        if isinstance(value, str):
            kind, at, count = "kText", self.text(value), 1
        else:
            values = value if isinstance(value, list) else [value]
            if not all(type(number) in (int, float) for number in values):
                refuse(f"{owner}: '{name}' is neither a text nor a number nor a list of numbers")
            kind, at, count = "kList" if isinstance(value, list) else "kNumber", len(self.numbers), len(values)
            self.numbers += map(float, values)
        self.attributes.append(f"{self.text(name)}, {at}, {count}, AttributeValueKind::{kind}")

    def add_key(self, owner, name, attributes):
        if "CIAttributeClass" not in attributes:
            refuse(f"{owner}: '{name}' has no CIAttributeClass")
        begin = len(self.attributes)
        for attribute, value in attributes.items():
            self.add_attribute(f"{owner}.{name}", attribute, value)
        class_name = self.text(attributes["CIAttributeClass"])
        self.keys.append(f"{self.text(name)}, {class_name}, {begin}, {len(self.attributes)}")

    def add_filter(self, name, entry):
        if list(entry) != FIELDS:
            refuse(f"{name} has the fields {', '.join(entry)}, expected {', '.join(FIELDS)}")
        categories = len(self.categories)
        self.categories += [self.text(category) for category in entry["categories"]]
        keys = len(self.keys)
        for key in sorted(entry["keys"]):
            self.add_key(name, key, entry["keys"][key])
        titles = f"{self.text(name)}, {self.text(entry['displayName'])}, {self.text(entry['availableMac'])}"
        self.filters.append(f"{titles}, {categories}, {len(self.categories)}, {keys}, {len(self.keys)}")


def rows(entries):
    return "".join(f"    {{{entry}}},\n" for entry in entries)


def wrapped(values):
    """Values with commas, on lines of limited length."""
    lines = [""]
    for value in map(str, values):
        if len(lines[-1]) + len(value) > 110:
            lines.append("")
        lines[-1] += value + ", "
    return "".join(f"    {line.rstrip()}\n" for line in lines)


source, output = map(pathlib.Path, sys.argv[1:])
table = Table()
for filter_name, filter_entry in sorted(json.loads(source.read_text(), object_pairs_hook=unique).items()):
    table.add_filter(filter_name, filter_entry)

offsets, pool = [], ""
for text in table.texts:
    offsets.append(len(pool.encode()))
    pool += text + "\0"
literals = "".join("    " + json.dumps(text, ensure_ascii=False)[:-1] + '\\0"\n' for text in table.texts)

output.write_text(
    f"""// Made by {pathlib.Path(__file__).name} from {source.name}.

#include "CoreImage/filter_attributes.h"

const unsigned kAttributeTextCount = {len(offsets)};

const char kAttributeTextPool[] =
{literals};

const unsigned short kAttributeTextOffsets[] = {{
{wrapped(offsets)}}};

const double kAttributeNumbers[] = {{
{wrapped(repr(number) for number in table.numbers)}}};

const unsigned short kFilterCategories[] = {{
{wrapped(table.categories)}}};

const AttributeRow kAttributeRows[] = {{
    // name, position, count, kind
{rows(table.attributes)}}};

const FilterKeyRow kFilterKeyRows[] = {{
    // name, class, begin and end of the attributes
{rows(table.keys)}}};

const FilterDescriptionRow kFilterRows[] = {{
    // name, display name, available on the Mac since, begin and end of the categories, begin and end of the keys
{rows(table.filters)}}};

const unsigned kFilterRowCount = {len(table.filters)};
""",
    encoding="utf-8",
)
