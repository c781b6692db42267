"""Writes a gallery of small photos once for all tests of a file, and parses its pages.

Run a test file as: FILE ZEVA.
"""

import html.parser
import json
import pathlib
import re
import subprocess
import sys
import tempfile
import unittest

ZEVA = str(pathlib.Path(sys.argv.pop(1)).absolute())
ORIGINAL = "/usr/share/matplotlib/mpl-data/sample_data/grace_hopper.jpg"
# Makes a small square copy of it.
SMALL = """
local input, output = ...
local side = tonumber(arg[3])
local photo = CIImageQOR.Open(input)
local scale = side / photo.Extent.Width
photo:Transform(NSAffineTransformQOR.Identity():Scale(scale, scale))
    :Crop(CIVectorQOR.Rectangle(0, 0, side, side)):Save(output)
"""
VOID = {"meta", "link", "img", "input", "wbr"}


def zeva(*arguments, **options):
    return subprocess.run([ZEVA, *map(str, arguments)], capture_output=True, text=True, timeout=120, **options)


class Page(html.parser.HTMLParser):
    """The elements of a page as (tag, attributes), its programs, and the errors in the nesting of elements."""

    def __init__(self, text):
        super().__init__()
        self.elements, self.programs, self.faults, self.open = [], [], [], []
        self.feed(text)
        self.close()
        self.faults += [f"<{tag}> is not closed" for tag in self.open]

    def handle_starttag(self, tag, attributes):
        self.elements.append((tag, dict(attributes)))
        if tag not in VOID:
            self.open.append(tag)
        if tag == "pre":
            self.programs.append("")

    def handle_endtag(self, tag):
        if not self.open or self.open.pop() != tag:
            self.faults.append(f"</{tag}> closes nothing")

    def handle_data(self, data):
        if "pre" in self.open:
            self.programs[-1] += data

    def all(self, tag):
        return [attributes for name, attributes in self.elements if name == tag]


def write_photo(folder, name, side):
    """A small copy of the photo."""
    script = folder / "small.lua"
    script.write_text(SMALL)
    made = zeva("run", script, ORIGINAL, folder / name, side)
    assert made.returncode == 0, made.stderr
    return folder / name


def filters_without_image():
    """The filters that this Core Image does not render: their output is nil even with every image set."""
    names = [row["filter"] for row in json.loads(zeva("list", "--json").stdout)]
    script = ["local image = CIImageQOR.FromColor(CIColorQOR.Hex('#808080')):Crop(CIVectorQOR.Rectangle(0, 0, 9, 9))"]
    for entry in json.loads(zeva("describe", "--json", *names).stdout):
        keys = [key["name"] for key in entry["properties"] if key["type"] == "CIImageQOR"]
        images = [key for key in keys if key != "outputImage"]
        settings = " ".join(f"filter.{key} = image" for key in images)
        test = f"if not filter.outputImage then print('{entry['filter']}') end"
        script.append(f"do local filter = {entry['class']}() {settings} {test} end")
    ran = zeva("run", "-", input="\n".join(script))
    assert ran.returncode == 0, ran.stderr
    return set(ran.stdout.split())


def write_gallery(folder, photos):
    """Writes a gallery of the photos, in which only filters without an output image may fail. Returns its folder."""
    made = zeva("gallery", *photos, "-o", folder / "gallery")
    failed = re.findall(r"^zeva: (\w+), .*: the filter has no output image$", made.stderr, re.MULTILINE)
    assert len(failed) == len(made.stderr.splitlines()), made.stderr
    assert set(failed) == filters_without_image(), made.stderr
    assert made.returncode == (1 if failed else 0)
    return folder / "gallery"


def temporary_folder():
    """A folder that is removed after the tests of the file."""
    folder = tempfile.TemporaryDirectory()
    unittest.addModuleCleanup(folder.cleanup)
    return pathlib.Path(folder.name)
