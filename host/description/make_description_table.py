"""Writes the texts of filters/descriptions.json as a C++ table, kDescriptions (description_table.h).

    make_description_table.py DESCRIPTIONS OUTPUT

The generator of the filter classes checks the file, so this program does not check it again.
"""

import json
import pathlib
import sys

source, output = map(pathlib.Path, sys.argv[1:])
texts = json.loads(source.read_text(encoding="utf-8"))


def row(filter_name, key, entry):
    fields = (filter_name, key, entry.get("unit", ""), entry.get("description", ""))
    return "    {" + ", ".join(json.dumps(field, ensure_ascii=False) for field in fields) + "},\n"


rows = [row("", key, entry) for key, entry in texts["keys"].items()]
for name, entry in texts["filters"].items():
    rows.append(row(name, "", entry))
    rows += [row(name, key, own) for key, own in entry.get("keys", {}).items()]

output.write_text(
    f"// Made by {pathlib.Path(__file__).name} from {source.name}.\n\n"
    '#include "host/description/description_table.h"\n\n'
    "const DescriptionRow kDescriptionRows[] = {\n"
    "    // filter, key, unit, description\n" + "".join(rows) + "};\n\n"
    "const std::span<const DescriptionRow> kDescriptions(kDescriptionRows);\n",
    encoding="utf-8",
)
