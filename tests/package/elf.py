"""What the tests need to know of an ELF file, as readelf prints it."""

import re
import subprocess


def is_elf(path):
    with path.open("rb") as file:
        return file.read(4) == b"\x7fELF"


def loader(path):
    """The dynamic loader that a program names; None for a library."""
    found = re.search(r"program interpreter: (.*)\]", readelf("--program-headers", path))
    return found and found[1]


def search_paths(path):
    """The folders in which the file looks for libraries before the system's."""
    return re.findall(r"Library r(?:un)?path: \[(.*)\]", readelf("--dynamic", path))


def needed(path):
    """The libraries that the file loads."""
    return re.findall(r"Shared library: \[(.*)\]", readelf("--dynamic", path))


def readelf(option, path):
    return subprocess.run(["readelf", "--wide", option, path], check=True, capture_output=True, text=True).stdout
