"""Writes the rows of docs/fidelity.md as a C++ table (fidelity_table.h).

    make_fidelity_table.py PAGE OUTPUT

Refuses a page without rows, and a row that has not one cell for each column.
"""

import json
import pathlib
import sys

COLUMNS = 7  # the picture and the fields of a row

page, output = map(pathlib.Path, sys.argv[1:])
rows = ""
for line in page.read_text(encoding="utf-8").splitlines():
    if not line.startswith("| !["):
        continue
    cells = [cell.strip() for cell in line.strip("|").split("|")]
    if len(cells) != COLUMNS:
        sys.exit(f"{page.name}: '{line}' has {len(cells)} cells, expected {COLUMNS}; no table was written")
    rows += "    {" + ", ".join(json.dumps(cell, ensure_ascii=False) for cell in cells[1:]) + "},\n"
if not rows:
    sys.exit(f"{page.name}: no rows; no table was written")

output.write_text(
    f"""// Made by {pathlib.Path(__file__).name} from {page.name}.

#include "host/gallery/fidelity_table.h"

const FidelityRow kFidelityRows[] = {{
{rows}}};
const std::span<const FidelityRow> kFidelity(kFidelityRows);
""",
    encoding="utf-8",
)
