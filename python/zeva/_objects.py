"""Classes of the host as classes of Python, made from the records of the modules when they are first used.

A class has a property for each property of its record, a method for each method, and what belongs to the class itself
as static methods. They have short names (`radius`, `save_with_quality`); the names of the record (`inputRadius`) work
as well. A short name that two members of a class have raises, and lists the full names.

An object owns one reference to the host's object, and releases it when Python collects the object. Two objects are
equal when they stand for the same object of the host.
"""

import ctypes
import inspect
import json
import keyword
import threading

from . import _host, _library, errors
from ._library import CONSTRUCTOR, NUMBER, OBJECT, PROPERTY, Value

_lock = threading.RLock()
_types = {}  # address of a ZevaClass -> its class
_named = {}  # name -> class, as find_class resolves it
_extras = {}  # name of a class -> what Python adds to it


def extend(name):
    """Decorates a class whose attributes are added to the class of that name."""

    def decorate(extra):
        _extras[name] = {key: value for key, value in vars(extra).items() if key not in _NOT_ADDED}
        return extra

    return decorate


_NOT_ADDED = ("__module__", "__dict__", "__weakref__", "__doc__", "__qualname__")


def _short(text):
    """A short name that Python can read."""
    name = _library.decode(text)
    return name + "_" if keyword.iskeyword(name) else name


# ---- Values in both directions


def from_value(value):
    """The Python value of a result, which it takes over."""
    kind = value.kind
    if kind == OBJECT:
        return wrap(value.isa, value.object)
    if kind == NUMBER:
        return value.number
    if kind == _library.NIL:
        return None
    if kind == _library.BOOLEAN:
        return value.integer != 0
    if kind == _library.INTEGER:
        return value.integer
    try:
        return _library.decode(ctypes.string_at(value.text, value.size))
    finally:
        _library.release_value(ctypes.byref(value))


class Kind:
    """A declared type. `convert` turns what people write into an object of it, and is found by the type's word."""

    converters = {}

    def __init__(self, declared):
        self.kind = declared.kind
        self.word = _library.decode(declared.word or b"")

    def fill(self, value, item, subject):
        """Stores an item as an argument. Returns what must stay alive during the call."""
        convert = self.converters.get(self.word)
        if convert is not None and not isinstance(item, Object):
            item = convert(item, subject, self.word)
        if item is None:
            value.kind = _library.NIL
        elif isinstance(item, Object):
            value.kind, value.object = OBJECT, item._handle
        elif isinstance(item, bool) or type(item).__name__ == "bool_":
            value.kind, value.integer = _library.BOOLEAN, bool(item)
        elif isinstance(item, float):
            value.kind, value.number = NUMBER, item
        elif hasattr(item, "__fspath__") or isinstance(item, (str, bytes)):
            text = item.__fspath__() if hasattr(item, "__fspath__") else item
            text = _library.encode(text) if isinstance(text, str) else text
            value.kind, value.size = _library.TEXT, len(text)
            value.text = ctypes.cast(ctypes.c_char_p(text), ctypes.c_void_p)
            return text
        elif hasattr(item, "__index__"):
            number = item.__index__()
            if -(2**31) <= number < 2**31:
                value.kind, value.integer = _library.INTEGER, number
            else:
                value.kind, value.number = NUMBER, float(number)
        elif hasattr(item, "__float__") and getattr(item, "ndim", 0) == 0:
            value.kind, value.number = NUMBER, float(item)
        else:
            raise errors.WrongType(f"{subject}: expected {self.word}, got {describe(item)}")
        return item


def describe(item):
    """An item in words, for messages."""
    text = repr(item)
    return f"{type(item).__name__} {text if len(text) <= 60 else text[:57] + '...'}"


def object_from_text(word, text, subject):
    """An object of a type from what people write: "orange", "0,0,640,480", "rotate:30"."""
    value = Value()
    if _library.value_from_text(word.encode(), _library.encode(text), _library.encode(subject), ctypes.byref(value)):
        raise _library.failure(errors.WrongType)
    return from_value(value)


# ---- Members


class Key:
    """A property of the objects of a class."""

    def __init__(self, owner, member, address):
        self.owner, self.address = owner, address
        self.name, self.declared = _short(member.short_name), _library.decode(member.name)
        self.kind = Kind(member.result)
        self.is_read_only = bool(member.is_read_only)
        self.subject = f"{owner}.{self.declared}"

    def __get__(self, instance, owner=None):
        if instance is None:
            return self
        return self.read(instance._handle)

    def __set__(self, instance, item):
        self.setter()(instance._handle, item)

    def read(self, handle):
        value = Value()
        if _library.get(handle, self.address, ctypes.byref(value)):
            raise _library.failure()
        return from_value(value)

    def write(self, handle, item):
        value = Value()
        kept = None if self.is_read_only else self.kind.fill(value, item, self.subject)
        if _library.set_value(handle, self.address, ctypes.byref(value)):
            raise _library.failure(errors.ReadOnly if self.is_read_only else errors.WrongType)
        del kept

    def setter(self):
        """A function of handle and value that writes the property, the fastest for its type."""
        if self.kind.kind != NUMBER or self.is_read_only:
            return self.write
        call, address, write = _library.set_number, self.address, self.write

        def set_number(handle, item):
            kind = item.__class__
            if kind is float or kind is int:
                if call(handle, address, item):
                    raise _library.failure(errors.WrongType)
            else:
                write(handle, item)

        return set_number

    @property
    def __doc__(self):
        return f"{self.declared} as {self.kind.word}" + (", read-only" if self.is_read_only else "")

    def __repr__(self):
        return f"<property {self.owner}.{self.name}: {self.__doc__}>"


class SharedKey(Key):
    """A property of a class itself."""

    def __get__(self, instance, owner=None):
        return self.read(None)


def _method(owner, member, address):
    """The function of a method. A method of objects takes the object first."""
    name, declared = _short(member.short_name), _library.decode(member.name)
    kinds = [Kind(member.parameters[i].type) for i in range(member.parameter_count)]
    names = [_short(member.parameters[i].short_name) for i in range(member.parameter_count)]
    is_shared, result_word = bool(member.is_shared), _library.decode(member.result.word or b"")
    subject = f"{owner}.{declared}"

    def call(handle, arguments, keywords):
        if keywords:
            arguments = _arranged(subject, names, arguments, keywords)
        values = (Value * max(1, len(arguments)))()
        kept = []
        for i, item in enumerate(arguments):
            kind = kinds[i] if i < len(kinds) else _ANY
            kept.append(kind.fill(values[i], item, f"{subject}: {names[i] if i < len(names) else 'argument'}"))
        result = Value()
        if _library.call(handle, address, values, len(arguments), ctypes.byref(result)):
            raise _library.failure(errors.WrongType)
        return from_value(result)

    if is_shared:

        def function(*arguments, **keywords):
            return call(None, arguments, keywords)
    else:

        def function(self, *arguments, **keywords):
            return call(self._handle, arguments, keywords)

    listed = [inspect.Parameter(each, inspect.Parameter.POSITIONAL_OR_KEYWORD) for each in names]
    receiver = [] if is_shared else [inspect.Parameter("self", inspect.Parameter.POSITIONAL_ONLY)]
    function.__name__ = name
    function.__qualname__ = f"{owner}.{name}"
    function.__signature__ = inspect.Signature(receiver + listed)
    text = ", ".join(f"{each} as {kind.word}" for each, kind in zip(names, kinds))
    function.__doc__ = f"{declared}({text})" + (f" as {result_word}" if result_word else "")
    return staticmethod(function) if is_shared else function


def _arranged(subject, names, arguments, keywords):
    """Positional arguments, followed by keywords in the order of the declaration."""
    rest = names[len(arguments) :]
    wrong = [each for each in keywords if each not in rest]
    missing = [each for each in rest if each not in keywords]
    if wrong or missing:
        raise errors.WrongType(
            f"{subject}: it takes ({', '.join(names)}), got "
            + (f"the argument {wrong[0]}" if wrong else f"no {missing[0]}")
        )
    return [*arguments, *(keywords[each] for each in rest)]


_ANY = Kind(_library.Type(_library.NIL, b"", b""))


# ---- Classes


class Meta(type):
    """The class of the host's classes: their description, and what belongs to a class itself."""

    @property
    def __doc__(cls):
        return cls._description() if "_address" in vars(cls) else vars(cls).get("_text")

    def __getattr__(cls, name):
        if not name.startswith("_"):
            for base in cls.__mro__:
                found = vars(base).get("_declared", {}).get(name)
                if found is not None:
                    return found.__get__(None, cls)
            if "_address" in vars(cls):
                raise cls._unknown(name, is_shared=True)
        raise AttributeError(f"{cls.__name__} has no attribute {name}")

    def __setattr__(cls, name, item):
        for base in cls.__mro__:
            key = vars(base).get(name) or vars(base).get("_declared", {}).get(name)
            if isinstance(key, SharedKey):
                return key.write(None, item)
        if name.startswith("__"):
            return super().__setattr__(name, item)
        raise cls._unknown(name, is_shared=True)

    def _unknown(cls, name, is_shared):
        """The exception for a name that no member has, or several have."""
        found = ctypes.c_void_p()
        if _library.find_member(cls._address, _library.encode(name), is_shared, ctypes.byref(found)):
            return _library.failure(errors.UnknownName)
        return errors.UnknownName(f"{cls.__name__}.{name}: the name cannot be set")

    def _facts(cls):
        """What the host knows about the class, as from JSON."""
        value = Value()
        if _library.describe_class(cls._address, ctypes.byref(value)):
            raise _library.failure()
        return json.loads(from_value(value))

    def _description(cls):
        facts = cls._facts()
        filters = "displayName" in facts
        first = f"{facts['displayName']}: {facts['description']}" if filters else f"The class {cls.__name__}."
        lines = [first, ""]
        if filters:
            lines += [f"A filter of the category {facts['category']}. Each key can be given to the class: "
                      f"zeva.filters.{facts['filter']}(key=value).", ""]
        shorts = {key.declared: key.name for base in cls.__mro__ for key in vars(base).values() if isinstance(key, Key)}
        for each in facts["properties"]:
            more = facts["facts"][each["name"]]
            short = shorts.get(each["name"], each["name"])
            lines.append(f"{short}: {each['type']}" + (f", {more}" if more else ""))
            if each.get("description"):
                lines.append("    " + each["description"])
        return "\n".join(lines).rstrip()


class Object(metaclass=Meta):
    _text = "An object of a class of the host."
    __slots__ = ("_handle", "__weakref__")

    def __init__(self, *arguments, **settings):
        cls = type(self)
        address = vars(cls).get("_address")
        if address is None:
            raise errors.WrongType(f"{cls.__name__}: only classes of the host make objects")
        values = (Value * max(1, len(arguments)))()
        kinds = cls._constructors.get(len(arguments), ())
        kept = [
            (kinds[i] if kinds else _ANY).fill(values[i], item, cls.__name__) for i, item in enumerate(arguments)
        ]
        handle = ctypes.c_void_p()
        if _library.construct(address, values, len(arguments), ctypes.byref(handle)):
            raise _library.failure(errors.WrongType)
        del kept
        _set_handle(self, handle.value)
        for name, item in settings.items():
            setattr(self, name, item)

    def __del__(self, _stopped=[]):
        # A list that the function owns: the names of the module may be gone when the interpreter ends.
        if not _stopped:
            try:
                handle = self._handle
            except AttributeError:
                return  # the constructor has raised
            _release(handle)

    def __setattr__(self, name, item):
        try:
            write = self._setters[name]
        except KeyError:
            raise type(self)._unknown(name, is_shared=False) from None
        write(self._handle, item)

    def __getattr__(self, name):
        cls = type(self)
        if name.startswith("_"):
            raise AttributeError(f"{cls.__name__} has no attribute {name}")
        for base in cls.__mro__:
            found = vars(base).get("_declared", {}).get(name)
            if found is not None:
                return found.__get__(self, cls)
        return cls._missing(self, name)

    def _missing(self, name):
        """What an attribute that is not a member means."""
        raise type(self)._unknown(name, is_shared=False)

    def __eq__(self, other):
        return self._handle == other._handle if isinstance(other, Object) else NotImplemented

    def __hash__(self):
        return hash(self._handle)

    def __reduce_ex__(self, protocol):
        raise TypeError(f"{type(self).__name__}: an object of the host cannot be pickled or copied; save its values")

    def __repr__(self):
        text = self.text if isinstance(getattr(type(self), "text", None), Key) else f"at {self._handle:#x}"
        return f"<{type(self).__name__} {text}>"


_set_handle = Object._handle.__set__
_release = _library.release
_stopped = Object.__del__.__defaults__[0]


def stop_releasing():
    """From here on, objects are left to the end of the process."""
    _stopped.append(True)


def wrap(isa, handle):
    """The object of a handle, whose reference it takes over."""
    cls = _types.get(isa) or type_of(isa)
    instance = cls.__new__(cls)
    _set_handle(instance, handle)
    return instance


def type_of(address):
    """The class of a ZevaClass."""
    with _lock:
        return _types.get(address) or _make(address)


def _make(address):
    facts = _library.Class.from_address(address)
    name = _library.decode(facts.name)
    base = type_of(facts.superclass) if facts.superclass else Object
    namespace = {"__slots__": (), "_address": address, "_constructors": {}}
    found, declared = {}, {}
    for i in range(facts.member_count):
        at = facts.members[i]
        member = _library.Member.from_address(at)
        if member.kind == CONSTRUCTOR:
            kinds = [Kind(member.parameters[k].type) for k in range(member.parameter_count)]
            namespace["_constructors"][member.parameter_count] = kinds
            continue
        if member.kind == PROPERTY:
            made = (SharedKey if member.is_shared else Key)(name, member, at)
        else:
            made = _method(name, member, at)
        found.setdefault(_short(member.short_name), []).append(made)
        declared.setdefault(_library.decode(member.name), made)
    namespace.update({short: made[0] for short, made in found.items() if len(made) == 1})
    namespace["_declared"] = declared
    namespace["_setters"] = dict(getattr(base, "_setters", {}))
    for table in (declared, namespace):
        namespace["_setters"].update(
            {key: made.setter() for key, made in list(table.items()) if type(made) is Key}
        )
    for short, made in found.items():
        if len(made) > 1:
            namespace["_setters"].pop(short, None)
    namespace.update(_extras.get(name, {}))
    namespace["__module__"] = "zeva"
    cls = Meta(name, (base,), namespace)
    if facts.superclass or not base.__dict__.get("_address"):
        _types[address] = cls
    return cls


def find(name):
    """The class of a name: its own, or of a filter's class also "GaussianBlur" or "gaussian_blur".

    Raises UnknownName for a name that no class has, or several have.
    """
    cls = _named.get(name)
    if cls is None:
        _host.ensure()
        found = ctypes.c_void_p()
        if _library.find_class(_library.encode(name), ctypes.byref(found)):
            raise _library.failure(errors.UnknownName)
        cls = _named[name] = type_of(found.value)
    return cls


def all_classes():
    """The facts of all classes, in the order of their registration."""
    _host.ensure()
    address = _library.next_class(None)
    while address:
        yield _library.Class.from_address(address)
        address = _library.next_class(address)


# A module can make a name ambiguous.
_host.when_changed(_named.clear)
