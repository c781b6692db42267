"""The catalogue of filters as Python tests read it: filters/catalogue.txt."""

import pathlib
import re

CATALOGUE = pathlib.Path(__file__).resolve().parents[2] / "filters" / "catalogue.txt"


def statements(word):
    """The words after each statement that begins with the given word."""
    text = re.sub(r"#.*", "", CATALOGUE.read_text()).replace("\n ", " ")
    return [line.split()[1:] for line in text.splitlines() if line.startswith(word + " ")]


def expected(what):
    """The number of "classes", "keys", "properties" or "methods" that the catalogue's `expect` lines give."""
    return {name: int(number) for number, name in statements("expect")}[what]
