"""libzeva as ctypes sees it: finding the file, the structures of zeva/host.h, its functions, and failures.

Every call releases the interpreter lock. That is required, not only fast: the library calls back while it holds a lock
of its own, so no thread may wait for that lock with the interpreter's.

The library is loaded when this module is imported; its host is made later, on first use (_host.py).
"""

import ctypes
import os
import pathlib
import sys

from . import errors

DONE, REFUSED, RAISED, OUT_OF_MEMORY, FORKED = range(5)
NIL, NUMBER, INTEGER, BOOLEAN, TEXT, OBJECT = range(6)
PROPERTY, METHOD, CONSTRUCTOR = range(3)

_WIDTH = "x86_64" if sys.maxsize > 2**32 else "i386"


class Type(ctypes.Structure):
    _fields_ = [("kind", ctypes.c_int32), ("word", ctypes.c_char_p), ("class_name", ctypes.c_char_p)]


class Parameter(ctypes.Structure):
    _fields_ = [("name", ctypes.c_char_p), ("short_name", ctypes.c_char_p), ("type", Type)]


class Member(ctypes.Structure):
    _fields_ = [
        ("isa", ctypes.c_void_p),
        ("name", ctypes.c_char_p),
        ("short_name", ctypes.c_char_p),
        ("kind", ctypes.c_int32),
        ("is_shared", ctypes.c_int32),
        ("is_read_only", ctypes.c_int32),
        ("parameter_count", ctypes.c_int32),
        ("parameters", ctypes.POINTER(Parameter)),
        ("result", Type),
    ]


class Class(ctypes.Structure):
    _fields_ = [
        ("name", ctypes.c_char_p),
        ("short_name", ctypes.c_char_p),
        ("title", ctypes.c_char_p),
        ("superclass", ctypes.c_void_p),
        ("record_version", ctypes.c_int32),
        ("member_count", ctypes.c_int32),
        ("members", ctypes.POINTER(ctypes.c_void_p)),
    ]


class _As(ctypes.Union):
    _fields_ = [
        ("number", ctypes.c_double),
        ("integer", ctypes.c_int32),
        ("text", ctypes.c_void_p),
        ("object", ctypes.c_void_p),
    ]


class Value(ctypes.Structure):
    _anonymous_ = ("as_",)
    _fields_ = [
        ("kind", ctypes.c_int32),
        ("size", ctypes.c_int32),
        ("as_", _As),
        ("isa", ctypes.c_void_p),
        ("owner", ctypes.c_void_p),
    ]


class Failure(ctypes.Structure):
    _fields_ = [
        ("status", ctypes.c_int32),
        ("number", ctypes.c_int32),
        ("class_name", ctypes.c_char_p),
        ("message", ctypes.c_char_p),
    ]


Report = ctypes.CFUNCTYPE(None, ctypes.c_char_p, ctypes.c_void_p)
Forget = ctypes.CFUNCTYPE(None, ctypes.c_void_p)


class HostOptions(ctypes.Structure):
    _fields_ = [
        ("version", ctypes.c_double),
        ("has_no_modules", ctypes.c_int32),
        ("report", Report),
        ("report_context", ctypes.c_void_p),
    ]


def _places():
    """Where the library may be, the first place first."""
    chosen = os.environ.get("ZEVA_LIBRARY")
    if chosen:
        return [pathlib.Path(chosen)]
    package = pathlib.Path(__file__).resolve().parent
    folders = [package / "lib"]  # a wheel
    if len(package.parents) > 2:
        folders.append(package.parents[2] / "zeva" / "lib")  # installed: PREFIX/lib/python3/dist-packages/zeva
    if len(package.parents) > 1:
        folders.append(package.parents[1] / "build" / _WIDTH / "lib")  # a source tree
    folders += [pathlib.Path("/usr/local/lib/zeva/lib"), pathlib.Path("/usr/lib/zeva/lib")]
    return [folder / "libzeva.so" for folder in folders]


def _load():
    places = _places()
    path = next((place for place in places if place.is_file()), None)
    if path is None:
        raise errors.NotFound(
            "libzeva.so: found at none of " + ", ".join(map(str, places)) + "; ZEVA_LIBRARY can name the file"
        )
    # 32 bits: these functions replace those of the Objective-C runtime, so they must be found before it.
    frames = path.parent / "libexception_frames.so"
    try:
        if frames.is_file():
            ctypes.CDLL(str(frames), mode=ctypes.RTLD_GLOBAL)
        return ctypes.CDLL(str(path)), path
    except OSError as error:
        raise errors.NotFound(f"{path}: {error}; this Python needs the libraries of {_WIDTH}") from None


_file, path = _load()

_pointer, _text, _int = ctypes.c_void_p, ctypes.c_char_p, ctypes.c_int32
_out = ctypes.c_void_p  # of a byref(...), which needs no conversion


def _function(name, *arguments, result=ctypes.c_int32):
    function = getattr(_file, name)
    function.argtypes = arguments
    function.restype = result
    return function


open_host = _function("ZevaOpenHost", _out)
load_module = _function("ZevaLoadModule", _text)
last_error = _function("ZevaLastError", result=ctypes.POINTER(Failure))
count_references = _function("ZevaCountReferences", _out, _out)
next_class = _function("ZevaNextClass", _pointer, result=_pointer)
find_class = _function("ZevaFindClass", _text, _out)
find_member = _function("ZevaFindMember", _pointer, _text, _int, _out)
describe_class = _function("ZevaDescribeClass", _pointer, _out)
construct = _function("ZevaConstruct", _pointer, _out, _int, _out)
get = _function("ZevaGet", _pointer, _pointer, _out)
set_value = _function("ZevaSet", _pointer, _pointer, _out)
set_number = _function("ZevaSetNumber", _pointer, _pointer, ctypes.c_double)
call = _function("ZevaCall", _pointer, _pointer, _out, _int, _out)
release = _function("ZevaRelease", _pointer, result=None)
release_value = _function("ZevaReleaseValue", _out, result=None)
value_from_text = _function("ZevaValueFromText", _text, _text, _text, _out)
new_block = _function("ZevaNewBlock", _pointer, ctypes.c_int64, Forget, _pointer, _out)
block_bytes = _function("ZevaBlockBytes", _pointer, _out, _out)

_SPAWN = '; in Python: multiprocessing.set_start_method("spawn"), or get_context("spawn")'


def failure(refused=errors.Refused):
    """The exception for the failed call that this thread has just made. `refused` is its class if the host refuses."""
    error = last_error().contents
    message = decode(error.message)
    if error.status == RAISED:
        return errors.Raised(message, decode(error.class_name), error.number)
    if error.status == OUT_OF_MEMORY:
        return errors.OutOfMemory(message)
    if error.status == FORKED:
        return errors.Forked(message + _SPAWN)
    return refused(message, number=error.number)


def decode(text):
    """Text of the host. Names of files are bytes, and survive the way back."""
    return text.decode("utf-8", "surrogateescape")


def encode(text):
    return text.encode("utf-8", "surrogateescape")
