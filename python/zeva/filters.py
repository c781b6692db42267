"""The filters of all loaded modules, by name: zeva.filters.GaussianBlur(image=photo, radius=8).output_image.

A name is found on first use, in any spelling: GaussianBlur, gaussian_blur or the full name of the class, which always
works. help(zeva.filters.GaussianBlur) tells keys, units, defaults and ranges.
"""

from . import _library, _objects, errors


def __getattr__(name):
    if name.startswith("__"):
        raise AttributeError(name)
    found = _objects.find(name)
    if not _library.Class.from_address(found._address).title:
        raise errors.UnknownName(f"{name}: the class is not a filter, it is zeva.{found.__name__}")
    return found


def __dir__():
    return sorted(_library.decode(each.title) for each in _objects.all_classes() if each.title)
