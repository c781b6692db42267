"""The commands of a page, to be run in their order, each with the output that the page shows behind it."""

import re

BLOCK = re.compile(r"^```(sh|text)\n(.*?)^```$", re.MULTILINE | re.DOTALL)


def steps(page):
    """Pairs of commands and expected output. Variables that a step exports stay set for the following ones."""
    found, exports = [], ""
    for kind, text in BLOCK.findall(page.read_text()):
        if kind == "sh":
            found.append([exports + text, ""])
            exports += "".join(re.findall(r"^export .*\n", text, re.MULTILINE))
        else:
            found[-1][1] = text
    assert len(found) > 3, f"{page}: {len(found)} steps"
    return found
