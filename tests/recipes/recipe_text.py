"""Reads the recipes of the README and applies them to a tree.

A recipe is a section "### Add ..." below "## Recipes" whose fenced blocks say what to change. The paragraph before each
block names the file and the place, in one of these forms:

    A new file, `path`:
    In `path`, after the line containing `text`:
    In `path`, before the line containing `text`:
    In `path`, replacing the line containing `text`:
    In `path`, replacing the line that begins with `text`:
    In `path`, replacing the lines that begin with `text`:
    In `path`, replacing the last 3 lines:
    In `path`, replacing the whole file:

The form ends its paragraph and may run over several lines; other sentences may come before it. A form may end with
", with what this prints:". Its block is then a script for bash, run in the root of the tree, and its output is the text
to write. Blocks may be indented, as in a list.

Every block of a recipe needs a form. The text of "containing" must be in exactly one line of the file, and lines that
"begin with" a text must be one group. Otherwise RecipeError names the line of the README.
"""

import pathlib
import re
from typing import NamedTuple

FORMS = {
    "new": r"A new file, `(?P<file>[^`]+)`",
    "after": r"In `(?P<file>[^`]+)`, after the line containing `(?P<text>[^`]+)`",
    "before": r"In `(?P<file>[^`]+)`, before the line containing `(?P<text>[^`]+)`",
    "replace": r"In `(?P<file>[^`]+)`, replacing the line containing `(?P<text>[^`]+)`",
    "replace all": r"In `(?P<file>[^`]+)`, replacing the (line that begins|lines that begin) with `(?P<text>[^`]+)`",
    "replace last": r"In `(?P<file>[^`]+)`, replacing the last (?P<text>\d+) lines",
    "replace whole": r"In `(?P<file>[^`]+)`, replacing the whole file",
}
PRINTED = r"(?P<printed>, with what this prints)?:$"


class RecipeError(Exception):
    """A recipe that cannot be followed, with the line of the README."""


class Step(NamedTuple):
    line: int  # of the README, where the block begins
    form: str  # a key of FORMS
    file: str
    text: str  # what the form names: a part of a line, or a number of lines
    block: str  # what is written, or the script that prints it
    printed: bool


def read_recipes(readme):
    """The steps of each recipe by its title, in order. Sections without blocks are left out."""
    recipes = {}
    title, paragraph, block, inside = None, [], None, False
    for number, line in enumerate(readme.splitlines(), 1):
        fence = re.match(r"( *)```", line)
        if block is not None:
            start, indent, lines = block
            if not fence:
                lines.append(line[indent:])
                continue
            if title:
                recipes.setdefault(title, []).append(_step(start, " ".join(paragraph), lines))
            paragraph, block = [], None
        elif fence:
            block = (number, len(fence[1]), [])
        elif line.startswith("#"):
            inside = line == "## Recipes" if line.startswith("## ") else inside
            title = line[4:] if inside and line.startswith("### ") else None
            paragraph = []
        elif line.strip():
            paragraph = ([] if _starts_item(line) else paragraph) + [line.strip()]
        elif not (paragraph and paragraph[-1].endswith(":")):
            paragraph = []  # an empty line ends it, except between a form and its block
    return recipes


def _starts_item(line):
    return re.match(r" *(\d+\.|-) ", line)


def _step(line, paragraph, lines):
    for form, pattern in FORMS.items():
        found = re.search(pattern + PRINTED, paragraph)
        if found:
            groups = found.groupdict()
            text = "".join(each + "\n" for each in lines)
            return Step(line, form, groups["file"], groups.get("text", ""), text, bool(groups["printed"]))
    reason = f"the text before this block does not say where it belongs: '{paragraph[-100:]}'"
    raise RecipeError(f"README.md:{line}: {reason}")


def apply_step(root, step, run):
    """Changes one file of the tree. `run` runs a script in the tree and returns what it prints."""
    path = pathlib.Path(root) / step.file
    if step.form == "new" and path.exists():
        raise RecipeError(f"README.md:{step.line}: {step.file} exists already, expected a new file")
    if step.form != "new" and not path.is_file():
        raise RecipeError(f"README.md:{step.line}: the file {step.file} does not exist")
    written = run(step.block) if step.printed else step.block
    if not written.strip():
        raise RecipeError(f"README.md:{step.line}: the script printed nothing for {step.file}")
    before = [] if step.form == "new" else path.read_text(encoding="utf-8").splitlines(keepends=True)
    first, last = _place(before, step)
    path.parent.mkdir(parents=True, exist_ok=True)
    path.write_text("".join(before[:first]) + written + "".join(before[last:]), encoding="utf-8")


def _place(lines, step):
    """The range of lines that the step's text replaces; empty where it only inserts."""
    if step.form == "new":
        return 0, 0
    if step.form == "replace whole":
        return 0, len(lines)
    if step.form == "replace last":
        return len(lines) - int(step.text), len(lines)
    if step.form == "replace all":
        found = [number for number, line in enumerate(lines) if line.startswith(step.text)]
        if not found or found[-1] - found[0] != len(found) - 1:
            _refuse(step, f"the lines of {step.file} that begin with '{step.text}' are {len(found)}, not one group")
        return found[0], found[-1] + 1
    found = [number for number, line in enumerate(lines) if step.text in line]
    if len(found) != 1:
        _refuse(step, f"'{step.text}' is in {len(found)} lines of {step.file}, expected 1")
    after, replaces = step.form == "after", step.form == "replace"
    return found[0] + after, found[0] + (after or replaces)


def _refuse(step, reason):
    raise RecipeError(f"README.md:{step.line}: {reason}")
