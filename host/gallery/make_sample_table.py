"""Writes gallery.json as C++ tables (sample_table.h).

    make_sample_table.py GALLERY_JSON OUTPUT

Refuses unknown fields and a name that is listed twice.
"""

import json
import pathlib
import sys


def unique(pairs):
    """An object; refuses a name that it lists twice."""
    names = [name for name, _ in pairs]
    for name in names:
        if names.count(name) > 1:
            sys.exit(f"{source.name}: '{name}' is listed twice in one object")
    return dict(pairs)


def fields(owner, entry, known):
    """The fields of an entry; refuses the ones that are not known."""
    for name in entry:
        if name not in known:
            sys.exit(f"{source.name}: {owner} has the unknown field '{name}', expected one of {', '.join(known)}")
    return entry


def literals(*texts):
    return ", ".join(json.dumps(text, ensure_ascii=False) for text in texts)


source, output = map(pathlib.Path, sys.argv[1:])
gallery = json.loads(source.read_text(encoding="utf-8"), object_pairs_hook=unique)
fields("the file", gallery, ("times", "helpers", "filters"))

helpers = ""
for helper in gallery["helpers"]:
    fields(f"helper '{helper['name']}'", helper, ("name", "lua", "picture", "about"))
    lua = "".join(line + "\n" for line in helper["lua"])
    helpers += f"    {{{literals(helper['name'], lua, helper.get('picture', ''), helper.get('about', ''))}}},\n"

assignments, settings, count = "", "", 0
for name, entry in gallery["filters"].items():
    fields(f"filter '{name}'", entry, ("settings", "result"))
    for caption, values in entry["settings"].items():
        assignments += "".join(f"    {{{literals(*pair)}}},\n" for pair in values.items())
        end = count + len(values)
        settings += f"    {{{literals(name, caption, entry.get('result', ''))}, {count}, {end}}},\n"
        count = end

output.write_text(
    f"""// Made by {pathlib.Path(__file__).name} from {source.name}.

#include "host/gallery/sample_table.h"

const char* const kTimeTexts[] = {{{literals(*gallery['times'])}}};

const HelperRow kHelperRows[] = {{
    // names, lines, picture, about
{helpers}}};

const AssignmentRow kAssignmentRows[] = {{
    // key, value
{assignments}}};

const SettingRow kSettingRows[] = {{
    // filter, caption, result, first and last assignment
{settings}}};

const std::span<const char* const> kTransitionTimes(kTimeTexts);
const std::span<const HelperRow> kHelpers(kHelperRows);
const std::span<const AssignmentRow> kAssignments(kAssignmentRows);
const std::span<const SettingRow> kSettings(kSettingRows);
""",
    encoding="utf-8",
)
