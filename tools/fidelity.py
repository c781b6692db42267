#!/usr/bin/env python3
"""Writes docs/fidelity.md: for each filter, what its renders are checked against and by how much they differ.

Usage: tools/fidelity.py PRESET PHOTO    measures, makes the pictures from the photo, and writes the page
       tools/fidelity.py --check         whether the page follows from its lists and the numbers that it shows

The filters come from filters/catalogue.txt, what is known of each from tests/golden/certainty.json, the numbers from
the golden tests. Without reference renders there are no numbers, and the page is not written.

Failure: one line "fidelity: what is wrong; consequence", exit status 1.
"""

import json
import pathlib
import re
import subprocess
import sys
import tempfile

ROOT = pathlib.Path(__file__).resolve().parents[1]
PAGE = ROOT / "docs" / "fidelity.md"
PICTURES = ROOT / "docs" / "images" / "fidelity"
TESTS = (
    "GoldenTest.EveryCaseIsWithinItsBound",
    "GoldenLawTest.EdgeWorkIsWhiteAndNineTenthsAgreeAwayFromEdges",
    "GoldenLawTest.CrystallizeHasAsManyCellsWithAsSoftAndRaggedBorders",
)
# The filters of a case that is named after the first of them.
ALSO = {"ExposureAdjust": "ColorControls"}
CHECKED = {"render": "render", "fit": "number", "documentation": "documentation only"}
HEAD = """\
# How close the filters are to the platform's

What each filter is checked against, and how much it differs: the root of the mean squared difference of all pixels and
channels, in levels of 8 bits. `make fidelity` writes this page.

- **render**: a golden test compares with a picture that the platform rendered; the bound is the most that passes. A
  dash for the bound says that the law is compared, not the pixels. References that were compressed are compared after
  the same compression, which leaves one to seven levels.
- **number**: the formula was fitted to a render that the tests do not have; the number is what the fit left.
- **documentation only**: no render is known. Property tests hold what the documentation says.

| picture | filter | checked against | differs by | bound | platform | how certain |
| --- | --- | --- | --- | --- | --- | --- |
"""


def fail(text):
    sys.exit(f"fidelity: {text}")


def filters():
    """The names of all filters, in the order of the catalogue."""
    lines = (ROOT / "filters" / "catalogue.txt").read_text().splitlines()
    return [line.split()[1] for line in lines if line.startswith("filter ")]


def certainty():
    return json.loads((ROOT / "tests" / "golden" / "certainty.json").read_text())


def numbers_in(output):
    """The difference and the bound of each filter that the golden tests print; of several cases, the largest."""
    numbers = {}
    for name, rms, bound in re.findall(r"^(?:\S+/)?CI(\w+)-\d+ +([\d.]+) +([\d.]+) ", output, re.M):
        if name not in numbers or float(rms) > float(numbers[name][0]):
            numbers[name] = (f"{float(rms):.2f}", f"{float(bound):.3g}")
    for name, rms in re.findall(r"^CI(\w+)-\d+ +rms ([\d.]+)", output, re.M):
        numbers.setdefault(name, (f"{float(rms):.2f}", "-"))
    return numbers


def measured(preset):
    program = ROOT / "build" / preset / "bin" / "system_test"
    runs = [subprocess.run([program, f"--gtest_filter={test}"], capture_output=True, text=True) for test in TESTS]
    if any(run.returncode != 0 for run in runs):
        fail("the golden tests fail; the page was not written")
    return numbers_in("".join(run.stdout for run in runs))


def page(known, numbers):
    """The text of the page."""
    rows = []
    for name, fact in known.items():
        difference, bound = fact.get("fit", "-"), "-"
        if fact["checked"] == "render":
            difference, bound = numbers[ALSO.get(name, name)]
        rows.append(f"| ![{name}](images/fidelity/{name}.jpg) | {name} | {CHECKED[fact['checked']]} | {difference} | "
                    f"{bound} | {fact['platform'] or '-'} | {fact['certainty']} |")
    return HEAD + "\n".join(rows) + "\n"


def numbers_on(text):
    """The numbers that a page shows."""
    rows = re.findall(r"^\| !\[(\w+)\]\S+ \| \w+ \| render \| ([\d.]+) \| ([\d.-]+) \|", text, re.M)
    return {name: (difference, bound) for name, difference, bound in rows}


def make_pictures(preset, photo):
    """Shrinks a picture of each filter that the gallery makes: of its first setting, in the middle of a transition."""
    zeva = ROOT / "build" / preset / "bin" / "zeva"
    PICTURES.mkdir(parents=True, exist_ok=True)
    with tempfile.TemporaryDirectory() as folder:
        subprocess.run([zeva, "gallery", photo, "-o", folder], check=True, stdout=subprocess.DEVNULL)
        shrink_pictures(zeva, pathlib.Path(folder))


def shrink_pictures(zeva, gallery):
    for name in filters():
        found = sorted(gallery.glob(f"pictures/*/{name}-1[.-]*"))
        if not found:
            fail(f"the gallery has no picture of {name}; the page was not written")
        subprocess.run([zeva, "apply", "AffineTransform", "inputTransform=scale:0.2", found[len(found) // 2], "-o",
                        PICTURES / f"{name}.jpg"], check=True, stdout=subprocess.DEVNULL)


def check():
    known = certainty()
    # A filter that was just added is not in the list until something is known of it.
    if list(known) != [name for name in filters() if name in known]:
        fail("tests/golden/certainty.json lists what is not in the catalogue, or in another order")
    text = PAGE.read_text()
    missing = known.keys() - {path.stem for path in PICTURES.glob("*.jpg")}
    if missing:
        fail(f"docs/images/fidelity lacks {', '.join(sorted(missing))}; make fidelity makes them")
    shown = numbers_on(text)
    for name, fact in known.items():
        if fact["checked"] == "render" and name not in shown:
            fail(f"{PAGE.name} has no number for {name}; make fidelity writes it again")
    for name, (difference, bound) in shown.items():
        if bound != "-" and float(difference) > float(bound) + 0.005:
            fail(f"{PAGE.name} shows {difference} for {name}, more than its bound of {bound}")
    if page(known, shown) != text:
        fail(f"{PAGE.name} does not follow from tests/golden/certainty.json; make fidelity writes it again")


def main():
    if sys.argv[1:] == ["--check"]:
        check()
    elif len(sys.argv) == 3:
        numbers = measured(sys.argv[1])
        if not numbers:
            fail("there are no reference renders; the page was not written")
        make_pictures(sys.argv[1], sys.argv[2])
        PAGE.write_text(page(certainty(), numbers))
    else:
        sys.exit(__doc__)


if __name__ == "__main__":
    main()
