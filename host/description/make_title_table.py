"""Writes the titles of the built filters as a C++ table, kBuiltTitles (title_table.h).

    make_title_table.py CATALOGUE ATTRIBUTES_JSON OUTPUT

The filters and their order come from the catalogue, the titles and categories from the attributes of Core Image.
"""

import json
import pathlib
import sys

sys.path.insert(0, str(pathlib.Path(__file__).parents[2] / "tools"))
from class_catalogue import Catalogue

path, attributes, output = map(pathlib.Path, sys.argv[1:])
known = json.loads(attributes.read_text(encoding="utf-8"))
rows = ""
catalogue = Catalogue(path)
for name in catalogue.classes:
    entry = known.get("CI" + name)
    if entry is None:
        sys.exit(f"{path}: filter '{name}' has no entry CI{name} in {attributes.name}")
    title = (catalogue.class_name(name), name, entry["displayName"], entry["categories"][0].removeprefix("CICategory"))
    rows += "    {" + ", ".join(map(json.dumps, title)) + "},\n"

output.write_text(
    f"""// Made by {pathlib.Path(__file__).name} from {path.name} and {attributes.name}.

#include "host/description/title_table.h"

const BuiltTitle kBuiltTitleRows[] = {{
    // class, name, display name, category
{rows}}};

const std::span<const BuiltTitle> kBuiltTitles(kBuiltTitleRows);
""",
    encoding="utf-8",
)
