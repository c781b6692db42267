#!/usr/bin/env python3
"""Writes the stubs of the package, zeva/__init__.pyi and zeva/filters.pyi, from the classes of the built modules.

Usage: generate_stubs.py PRINT_RECORDS FOLDER    (the program that prints the classes; the folder of the stubs)

What Python adds to a class by hand (python/zeva/_pictures.py) is declared here by hand, in ADDED. Classes of other
modules have no stubs: mypy reads them as Any through zeva.class_named.
"""

import json
import keyword
import pathlib
import subprocess
import sys

PROPERTY, METHOD, CONSTRUCTOR = range(3)

# What a property or a method returns.
RESULTS = {"double": "float", "integer": "int", "boolean": "bool", "string": "str", "memoryblock": "MemoryBlock",
           "": "None"}

# What a property or an argument takes.
ACCEPTED = {"double": "float", "integer": "int", "boolean": "bool", "string": "_Text", "memoryblock": "_DataLike",
            "CIColorQOR": "_ColorLike", "CIVectorQOR": "_VectorLike", "NSAffineTransformQOR": "_TransformLike",
            "CGColorSpaceQOR": "_ColorSpaceLike", "CIImageQOR": "_ImageLike"}

HEAD = '''# Made by python/generate_stubs.py from the classes of the built modules.
import os
from typing import IO, Any, Callable, Generic, Iterator, Optional, Sequence, Tuple, TypeVar, Union, overload

from . import errors as errors, filters as filters

_Got = TypeVar("_Got", covariant=True)
_Set = TypeVar("_Set", contravariant=True)

# A property whose setter takes more than its getter returns.
class _Key(Generic[_Got, _Set]):
    @overload
    def __get__(self, instance: None, owner: Any) -> _Key[_Got, _Set]: ...
    @overload
    def __get__(self, instance: object, owner: Any) -> _Got: ...
    def __set__(self, instance: object, value: _Set) -> None: ...

_Text = Union[str, bytes, os.PathLike[str]]
_Numbers = Sequence[float]
_ColorLike = Union[CIColorQOR, str, _Numbers]
_VectorLike = Union[CIVectorQOR, str, _Numbers]
_TransformLike = Union[NSAffineTransformQOR, str, _Numbers]
_ColorSpaceLike = Union[CGColorSpaceQOR, str]
_ImageLike = Union[CIImageQOR, str, os.PathLike[str], Any]
_DataLike = Union[MemoryBlock, bytes, bytearray, memoryview, Sequence[float], Any]

def open(source: Union[str, os.PathLike[str], bytes, bytearray, memoryview, IO[bytes]]) -> CIImageQOR: ...
def from_array(array: Any, copy: bool = ...) -> CIImageQOR: ...
def open_host(
    version: Optional[float] = ..., modules: Sequence[Union[str, os.PathLike[str]]] = ..., default_modules: bool = ...
) -> None: ...
def load(path: Union[str, os.PathLike[str]]) -> None: ...
def on_message(function: Optional[Callable[[str], object]]) -> None: ...
def references() -> Tuple[int, int]: ...
def class_named(name: str) -> Any: ...

class Object:
    def __init__(self, *arguments: Any, **settings: Any) -> None: ...
'''

# What Python adds to a class, and the short names that it replaces.
ADDED = {
    "CIImageQOR": (("save", "values", "pixels"), '''    @property
    def size(self) -> Tuple[int, int]: ...
    def save(
        self, path: _Text, quality: Optional[float] = ..., space: Optional[_ColorSpaceLike] = ..., *,
        like: Optional[_ImageLike] = ..., **options: Union[str, float, bool]
    ) -> None: ...
    def pixels(self, rectangle: Optional[_VectorLike] = ...) -> Any: ...
    def values(self, rectangle: Optional[_VectorLike] = ...) -> Any: ...
    def to_pil(self) -> Any: ...
    def __array__(self, dtype: Any = ..., copy: Optional[bool] = ...) -> Any: ...
'''),
    "CIVectorQOR": ((), '''    def __len__(self) -> int: ...
    @overload
    def __getitem__(self, index: int) -> float: ...
    @overload
    def __getitem__(self, index: slice) -> list[float]: ...
    def __iter__(self) -> Iterator[float]: ...
'''),
    "CIColorQOR": ((), '''    def __iter__(self) -> Iterator[float]: ...
'''),
    "MemoryBlock": (("bytes",), '''    def __len__(self) -> int: ...
    def __bytes__(self) -> bytes: ...
    @property
    def bytes(self) -> bytes: ...
    def view(self) -> memoryview: ...
'''),
}


def name_of(short):
    return short + "_" if keyword.iskeyword(short) else short


def result(word):
    return RESULTS.get(word, word)


def accepted(word):
    return ACCEPTED.get(word, word)


def key_lines(member):
    name, word = name_of(member["shortName"]), member["type"]
    if member["readOnly"]:
        return ["    @property", f"    def {name}(self) -> {result(word)}: ..."]
    return [f"    {name}: _Key[{result(word)}, {accepted(word)}]"]


def method_lines(member):
    parameters = [f"{name_of(each['name'])}: {accepted(each['type'])}" for each in member["parameters"]]
    if not member["shared"]:
        parameters.insert(0, "self")
    lines = ["    @staticmethod"] if member["shared"] else []
    return [*lines, f"    def {name_of(member['shortName'])}({', '.join(parameters)}) -> {result(member['type'])}: ..."]


def settings(members):
    return [f"{name_of(each['shortName'])}: {accepted(each['type'])} = ..." for each in members if is_key(each)]


def is_key(member):
    return member["kind"] == PROPERTY and not member["readOnly"] and not member["shared"] and \
        member["name"] != "outputImage"


def filter_method(record):
    """A filter as a method of an image."""
    keys = ", ".join(settings(record["members"]))
    return f"    def {record['shortName']}(self, *, {keys}) -> CIImageQOR: ..."


def class_lines(record, filters):
    hidden, added = ADDED.get(record["name"], ((), ""))
    lines = [f"class {record['name']}({record['superclass'] or 'Object'}):"]
    counts = {}
    for member in record["members"]:
        counts[member["shortName"]] = counts.get(member["shortName"], 0) + (member["kind"] != CONSTRUCTOR)
    if record["title"]:
        lines.append(f"    def __init__(self, *, {', '.join(settings(record['members']))}) -> None: ...")
    for member in record["members"]:
        if member["kind"] == CONSTRUCTOR or member["shortName"] in hidden or counts[member["shortName"]] > 1:
            continue
        lines += key_lines(member) if member["kind"] == PROPERTY else method_lines(member)
    lines += added.splitlines()
    if record["name"] == "CIImageQOR":
        taken = {member["shortName"] for member in record["members"]}
        for each in filters:
            names = {member["name"] for member in each["members"]}
            if each["shortName"] not in taken and {"inputImage", "outputImage"} <= names:
                lines.append(filter_method(each))
    return lines if len(lines) > 1 else [lines[0] + " ..."]


def main(program, folder):
    records = json.loads(subprocess.run([program], check=True, capture_output=True, text=True).stdout)
    filters = [record for record in records if record["title"]]
    # Annotations may name a class that is declared later; bases may not.
    ordered, done = [], set()
    while len(ordered) < len(records):
        for record in records:
            if record["name"] not in done and (not record["superclass"] or record["superclass"] in done):
                ordered.append(record)
                done.add(record["name"])
    text = HEAD
    for record in ordered:
        text += "\n" + "\n".join(class_lines(record, filters)) + "\n"
    folder = pathlib.Path(folder)
    folder.mkdir(parents=True, exist_ok=True)
    (folder / "__init__.pyi").write_text(text)
    lines = ["# Made by python/generate_stubs.py from the classes of the built modules."]
    lines += [f"from . import {each['name']} as {each['name']}" for each in filters]
    lines += [""] + [f"{each['title']} = {each['name']}" for each in filters]
    (folder / "filters.pyi").write_text("\n".join(lines) + "\n")


if __name__ == "__main__":
    main(*sys.argv[1:])
