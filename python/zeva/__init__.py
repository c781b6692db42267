"""Core Image filters and every class of every loaded module, in Python.

    import zeva
    photo = zeva.open("photo.jpg")
    soft = photo.gaussian_blur(radius=8).color_controls(saturation=0)
    soft.crop(photo.extent).save("out.jpg", quality=80)

A picture is a recipe: its pixels are computed when it is saved, shown or read as an array. Names are the host's in
lower case without "input": `radius` for inputRadius. Classes have their own names here: zeva.CIColorQOR; zeva.filters
has the filters by short names.

Threads: any. Calls of several threads happen one after the other, and release the interpreter lock.
Forks:   the host is made on first use. A process that was forked from one with a host raises zeva.errors.Forked.
"""

from . import _library, _objects, errors, filters
from ._host import load, on_message, open_host, references
from ._objects import Object
from ._objects import find as class_named
from ._pictures import from_array, open

__all__ = [
    "Object",
    "class_named",
    "errors",
    "filters",
    "from_array",
    "load",
    "on_message",
    "open",
    "open_host",
    "references",
]


def __getattr__(name):
    if name.startswith("_"):
        raise AttributeError(f"module zeva has no attribute {name}")
    return _objects.find(name)


def __dir__():
    from . import _host

    names = [_library.decode(each.name) for each in _objects.all_classes()] if _host.is_open() else []
    return sorted([*__all__, *names])
