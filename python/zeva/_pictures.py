"""What Python adds to the value classes: pictures as arrays and in notebooks, filters as methods, vectors as sequences.

Pixels do not cross by copy. An array of a picture is a read-only view of bytes that the library owns and the array
keeps alive; a picture that was made of an array keeps the array alive and reads its memory when it is rendered.
"""

import ctypes
import os
import threading

from . import _host, _library, errors
from ._objects import Key, Kind, all_classes, describe, extend, find, object_from_text, wrap

_COMPONENTS = 4
_WIDEST_SHOWN = 800  # pixels of a picture in a notebook


def _numpy():
    try:
        import numpy
    except ImportError:
        return None
    return numpy


# ---- Filters as methods


class _Application:
    """A filter as a method of a picture: its keys are the arguments, and its output image is the result."""

    def __init__(self, image, isa):
        self._image, self._class = image, isa
        self.__name__ = isa.__name__

    def __call__(self, **settings):
        made = self._class()
        if "image" not in settings:
            made.inputImage = self._image
        for name, item in settings.items():
            setattr(made, name, item)
        result = made.outputImage
        if result is None:
            keys = [key for key in vars(self._class).values() if type(key) is Key and not key.is_read_only]
            needed = [
                key.name
                for key in keys
                if key.kind.kind == _library.OBJECT and key.declared != "outputImage" and key.__get__(made) is None
            ]
            raise errors.WrongType(
                f"{self._class.__name__}: there is no output image"
                + (f", expected also {' and '.join(needed)}" if needed else "")
            )
        return result

    @property
    def __doc__(self):
        return self._class.__doc__

    def __repr__(self):
        return f"<filter {self._class.__name__} of {self._image!r}>"


def _suggestion(message):
    mark = ", did you mean "
    return mark + message.split(mark, 1)[1] if mark in message else ""


# ---- Pictures


@extend("CIImageQOR")
class Image:
    def _missing(self, name):
        try:
            isa = find(name)
        except errors.UnknownName as unknown:
            text = str(unknown)
            if "ambiguous" in text:
                raise
            member = type(self)._unknown(name, is_shared=False)
            suggestion = _suggestion(text) or _suggestion(str(member))
            raise errors.UnknownName(
                f"CIImageQOR.{name}: there is no such member and no such filter{suggestion}"
            ) from None
        if "inputImage" not in vars(isa)["_declared"] or "outputImage" not in vars(isa)["_declared"]:
            raise errors.UnknownName(
                f"CIImageQOR.{name}: {isa.__name__} does not take a picture; construct it: zeva.{isa.__name__}()"
            )
        return _Application(self, isa)

    def __dir__(self):
        filters = [_library.decode(each.short_name) for each in all_classes() if each.short_name]
        return [*object.__dir__(self), *filters]

    @property
    def size(self):
        """Width and height in pixels, as whole numbers. Raises for an infinite picture."""
        _, _, width, height = _pixels_of(self.extent)
        return width, height

    def save(self, path, quality=None, space=None, *, like=None, **options):
        """Writes the picture as a file whose suffix names its format: .png, .jpg and whatever the module writes.

        path     a text or a path; an existing file is replaced when writing succeeds
        quality  0 (smallest) to 100 (best), for formats with losses
        space    the color space of the file, by name ("displayP3") or as a CGColorSpaceQOR; sRGB without one
        like     the opened picture whose depth, color space, Exif, XMP and IPTC data the file keeps
        options  those of `zeva apply` about its output: depth=16, compression="small", lossless=True, strip="gps",
                 color_space="Display P3"

        Raises Raised for a picture that is empty or infinite, for another suffix, for a wrong option, and when the file
        cannot be written. Then nothing is written.
        """
        if like is None and not options:
            if quality is None and space is None:
                return self.Save(path)
            share = 0.9 if quality is None else quality / 100
            return self.SaveWithQuality(path, share) if space is None else self.SaveInSpace(path, share, space)
        if space is not None:
            raise TypeError("save: space does not go with like and options; use color_space")
        if quality is not None:
            options["quality"] = quality
        words = [name.replace("_", "-") + ("" if value is True else f"={value}")
                 for name, value in options.items() if value is not None and value is not False]
        return self.SaveLike(path, like, "; ".join(words))

    def pixels(self, rectangle=None):
        """The pixels as people see them: an array of height x width x 4, uint8, straight RGBA in sRGB, top row first.

        rectangle  x, y, width and height in pixels, y upward, rounded outward; the extent without one. Outside of the
                   picture, pixels are transparent.

        The array is read-only and lies over memory of the library. Without numpy it is a memoryview of that shape.
        Raises Raised for an empty or infinite rectangle, and for more than 134 million pixels.
        """
        return _array(self.Pixels, "B", rectangle if rectangle is not None else self.extent)

    def values(self, rectangle=None):
        """The pixels as filters compute them: height x width x 4, float32, linear light, premultiplied, top row first.

        Otherwise like pixels(). The renderer writes into the memory of the array: nothing is copied.
        """
        return _array(self.Values, "f", rectangle if rectangle is not None else self.extent)

    def __array__(self, dtype=None, copy=None):
        """np.asarray(picture): the array of pixels()."""
        numpy = _numpy()
        array = numpy.asarray(self.pixels())
        if dtype is not None and array.dtype != dtype:
            array = array.astype(dtype)
        return array.copy() if copy else array

    def to_pil(self):
        """The picture as a Pillow image in RGBA, over the same memory as pixels()."""
        from PIL import Image as pillow

        pixels = self.pixels()
        height, width, _ = pixels.shape
        return pillow.frombuffer("RGBA", (width, height), memoryview(pixels).cast("B"), "raw", "RGBA", 0, 1)

    def _repr_png_(self):
        """What a notebook shows: the picture as PNG, at most 800 pixels wide; nothing for an infinite or empty one."""
        try:
            width, height = self.size
        except errors.Error:
            return None
        shown = self
        scale = min(1.0, _WIDEST_SHOWN / max(width, height))
        if scale < 1:
            shown = self.lanczos_scale_transform(scale=scale) if _has_lanczos() else self
            if shown is self:
                shown = self.transform((scale, 0, 0, scale, 0, 0))
        return bytes(shown.ToPNG())

    def __repr__(self):
        x, y, width, height = self.extent
        try:
            _pixels_of(self.extent)
        except errors.Error:
            return "<CIImageQOR, empty or infinite>"
        return f"<CIImageQOR {width:g} x {height:g} at {x:g}, {y:g}>"


def _has_lanczos():
    try:
        return "scale" in find("lanczos_scale_transform")._setters
    except errors.UnknownName:
        return False


def _pixels_of(rectangle):
    """x, y, width and height of a rectangle rounded outward to whole pixels, as Python's integers."""
    import math

    x, y, width, height = rectangle
    # An infinite extent has sides near the largest float.
    if not (0 < width < 2**31 and 0 < height < 2**31):
        size = f"{width:g} x {height:g}"
        raise errors.Raised(f"CIImageQOR: {size} pixels cannot be read, the picture is empty or infinite")
    left, bottom = math.floor(x), math.floor(y)
    return left, bottom, math.ceil(x + width) - left, math.ceil(y + height) - bottom


def _array(read, form, rectangle):
    """The block that a member returns for a rectangle, as an array."""
    left, bottom, width, height = _pixels_of(rectangle)
    view = memoryview(_bytes_of(read((left, bottom, width, height)))).cast("B").toreadonly()
    numpy = _numpy()
    if numpy is None:
        return view.cast(form, (height, width, _COMPONENTS))
    kind = numpy.uint8 if form == "B" else numpy.float32
    return numpy.frombuffer(view, kind).reshape(height, width, _COMPONENTS)


def _bytes_of(block):
    """The bytes of a MemoryBlock as an array of ctypes that keeps the block."""
    start, size = ctypes.c_void_p(), ctypes.c_int32()
    if _library.block_bytes(block._handle, ctypes.byref(start), ctypes.byref(size)):
        raise _library.failure()
    if size.value == 0:
        return (ctypes.c_ubyte * 0)()
    lent = (ctypes.c_ubyte * size.value).from_address(start.value)
    lent.block = block
    return lent


# ---- Arrays as pictures

_lent = {}  # number -> what owns the bytes of a block
_lent_lock = threading.Lock()
_next_lent = 0


@_library.Forget
def _forget(number):
    _lent.pop(number, None)


def _block(data, address, size):
    """A MemoryBlock over the bytes of an object, which it keeps alive."""
    global _next_lent
    with _lent_lock:
        _next_lent += 1
        number = _next_lent
    _lent[number] = data
    block = ctypes.c_void_p()
    if _library.new_block(address, size, _forget, number, ctypes.byref(block)):
        del _lent[number]
        raise _library.failure(errors.WrongType)
    return _wrap_block(block.value)


def _wrap_block(handle):
    return wrap(find("MemoryBlock")._address, handle)


def from_array(array, copy=False):
    """A picture of an array, top row first; the lower left corner is at 0, 0.

    array  uint8: straight RGBA in sRGB, height x width x 4. float32: linear light, premultiplied, height x width x 4.
           With numpy also height x width x 3 (opaque), height x width (gray) and float64. Also a Pillow image.
    copy   False: the picture reads the memory of an array in one of the first two forms when it is rendered, and keeps
           the array alive; do not change the array meanwhile. Other forms are always converted into a new array.

    Raises WrongType for another shape or type.
    """
    _host.ensure()
    data, width, height, form = _rgba(array)
    if copy and data is array:
        data = bytearray(memoryview(data).cast("B")) if _numpy() is None else data.copy()
    numpy = _numpy()
    if numpy is not None and isinstance(data, numpy.ndarray):
        address = data.__array_interface__["data"][0]
        size = data.nbytes
    else:
        view = memoryview(data)
        size = view.nbytes
        if view.readonly:
            # Without numpy there is no address of read-only memory, other than that of bytes.
            data = bytes(view.cast("B"))
            address = ctypes.cast(ctypes.c_char_p(data), ctypes.c_void_p).value
        else:
            data = (ctypes.c_ubyte * size).from_buffer(view.cast("B"))
            address = ctypes.addressof(data)
    make = find("CIImageQOR").FromPixels if form == "B" else find("CIImageQOR").FromValues
    return make(_block(data, address, size), width, height)


def _rgba(array):
    """An array in one of the two forms that cross without a copy, with its width, height and form."""
    if hasattr(array, "convert") and hasattr(array, "tobytes") and hasattr(array, "size"):  # a Pillow image
        width, height = array.size
        return array.convert("RGBA").tobytes(), width, height, "B"
    numpy = _numpy()
    if numpy is not None:
        array = numpy.asarray(array)
        if array.dtype == numpy.uint8:
            form, opaque = "B", 255
        elif array.dtype.kind == "f":
            form, opaque = "f", 1.0
            array = array.astype(numpy.float32, copy=False)
        else:
            raise errors.WrongType(f"from_array: expected uint8 or float32, got {array.dtype}")
        if array.ndim == 2:
            array = numpy.repeat(array[:, :, None], 3, axis=2)
        if array.ndim == 3 and array.shape[2] == 3:
            array = numpy.concatenate([array, numpy.full((*array.shape[:2], 1), opaque, array.dtype)], axis=2)
        if array.ndim != 3 or array.shape[2] != _COMPONENTS or 0 in array.shape:
            raise errors.WrongType(f"from_array: expected height x width x 4, 3 or none, got the shape {array.shape}")
        return numpy.ascontiguousarray(array), array.shape[1], array.shape[0], form
    try:
        view = memoryview(array)
    except TypeError:
        raise errors.WrongType(f"from_array: expected an array of pixels, got {describe(array)}") from None
    is_known = view.ndim == 3 and view.shape[2] == _COMPONENTS and view.format in ("B", "f") and view.c_contiguous
    if not is_known:
        raise errors.WrongType(
            f"from_array: expected height x width x 4 of uint8 or float32, got {view.shape} of {view.format!r}; "
            "numpy is needed for other forms"
        )
    return array, view.shape[1], view.shape[0], view.format


def open(source):  # noqa: A001 - people expect zeva.open
    """Opens a picture: a path, the bytes of a file, or a file object. It is turned upright by its orientation.

    Raises Raised for a file that is missing, damaged or of another format.
    """
    image = find("CIImageQOR")
    if hasattr(source, "read"):
        source = source.read()
    if isinstance(source, (bytes, bytearray, memoryview)):
        return image.FromData(bytes(source))
    return image.Open(os.fspath(source))


# ---- Vectors and blocks


@extend("CIVectorQOR")
class Vector:
    def __len__(self):
        return self.Count

    def __getitem__(self, index):
        numbers = [self.ValueAt(i) for i in range(self.Count)]
        return numbers[index]

    def __iter__(self):
        return iter([self.ValueAt(i) for i in range(self.Count)])

    def __array__(self, dtype=None, copy=None):
        return _numpy().array(list(self), dtype)


@extend("MemoryBlock")
class Block:
    def __len__(self):
        return self.Size

    def __bytes__(self):
        return bytes(_bytes_of(self))

    @property
    def bytes(self):
        """A copy of the bytes."""
        return bytes(_bytes_of(self))

    def view(self):
        """The bytes without a copy: a read-only memoryview that keeps the block."""
        return memoryview(_bytes_of(self)).cast("B").toreadonly()

    def __array__(self, dtype=None, copy=None):
        array = _numpy().frombuffer(self.view(), "uint8")
        return array if dtype is None else array.astype(dtype)


@extend("CIColorQOR")
class Color:
    def __iter__(self):
        return iter((self.Red, self.Green, self.Blue, self.Alpha))


# ---- What people write for an object


def _numbers(item):
    """The numbers of a sequence as text; None for anything else."""
    if isinstance(item, (str, bytes)) or not hasattr(item, "__iter__"):
        return None
    try:
        return ",".join(repr(float(each)) for each in item)
    except (TypeError, ValueError):
        return None


def _written(item, subject, word):
    text = item if isinstance(item, str) else _numbers(item)
    return item if text is None else object_from_text(word, text, subject)


def _picture(item, subject, word):
    if isinstance(item, str) or hasattr(item, "__fspath__"):
        return open(item)
    is_array = hasattr(item, "__array_interface__") or hasattr(item, "__array__")
    return from_array(item) if is_array else item


def _data(item, subject, word):
    if isinstance(item, str):
        return object_from_text(word, item, subject)
    if isinstance(item, (list, tuple)):
        import array

        item = array.array("f", item)
    try:
        data = memoryview(item).tobytes()
    except TypeError:
        return item
    block = ctypes.c_void_p()
    if _library.new_block(data, len(data), _library.Forget(), None, ctypes.byref(block)):
        raise _library.failure(errors.WrongType)
    return _wrap_block(block.value)


for _word in ("CIVectorQOR", "CIColorQOR", "NSAffineTransformQOR", "CGColorSpaceQOR"):
    Kind.converters[_word] = _written
Kind.converters["CIImageQOR"] = _picture
Kind.converters["memoryblock"] = _data
