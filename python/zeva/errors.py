"""What the package raises. Every exception is an Error, and also the built-in exception that people expect.

A message is one line: the class and key or the file, what was expected, what was found, and a suggestion where one is
likely: `CIFilterGaussianBlurQOR.radus: the class has no such member, did you mean radius`.
"""


class Error(Exception):
    """A failure in the host, in a module or in the use of one.

    class_name  the class of the exception that a module raised; empty for any other failure
    number      the system's error number, or the exception's; 0 for none
    """

    def __init__(self, message: str, class_name: str = "", number: int = 0) -> None:
        super().__init__(message)
        self.class_name = class_name
        self.number = number


class UnknownName(Error, AttributeError):
    """There is no class, filter or member of that name, or several have it."""


class ReadOnly(Error, AttributeError):
    """The property has no setter. It keeps its value."""


class WrongType(Error, TypeError):
    """A value, or the number of arguments, does not fit the declaration. Nothing was called."""


class Refused(Error, ValueError):
    """The host refuses: a file that is not a module, a text that is not a value."""


class Raised(Error, RuntimeError):
    """A module raised an exception, such as for a picture that cannot be read or written."""


class OutOfMemory(Error, MemoryError):
    """There is no memory for an object, a text or the pixels of a picture."""


class Forked(Error, RuntimeError):
    """This process was forked from one that had a host. Start processes with the method "spawn" instead."""


class NotFound(Error, ImportError):
    """libzeva is not in any of the places where it is looked for."""
