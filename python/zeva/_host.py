"""The host of this process: made on first use, never on import.

A process that imports the package and forks before it uses a class is fine. After that, a forked child raises Forked,
because the engine's threads do not exist there.
"""

import atexit
import ctypes
import logging
import os
import threading

from . import _library, errors

_lock = threading.RLock()
_is_open = False
_receive = None
_changed = []  # called after a module was loaded


def _log(message):
    logging.getLogger("zeva").warning("%s", message)


@_library.Report
def _report(message, _):
    # An exception here cannot reach anyone; Python shows it (sys.unraisablehook) and the call goes on.
    (_receive or _log)(_library.decode(message))


def on_message(function):
    """Sets what receives messages that no caller can receive, such as of an exception in a finalizer.

    The function gets the message, one line, on the thread of the call that causes it, and must not use the package.
    An exception in it is shown and ignored. None restores the default: a warning in the log "zeva".
    """
    global _receive
    _receive = function


def open_host(version=None, modules=(), default_modules=True):
    """Opens the host with options. Without this call, the first use of the package opens it with the defaults.

    version          the host version that modules read; it decides the version of their class records: from 2013.03
                     it is 12, from 2013.0 11, from 2012.0 10, below 9
    modules          paths of modules to load after the defaults
    default_modules  whether to load the companion and the filters, and the modules that ZEVA_MODULES names

    Raises Refused when the process already has a host, or when a module cannot be loaded.
    """
    global _is_open
    with _lock:
        if _is_open:
            raise errors.Refused("host: this process already has one; open it before the first use of a class")
        options = _library.HostOptions(version or 0.0, 0 if default_modules else 1, _report, None)
        if _library.open_host(ctypes.byref(options)):
            raise _library.failure()
        _is_open = True
        for module in modules:
            load(module)


def ensure():
    """Opens the host with its defaults unless there is one."""
    if not _is_open:
        with _lock:
            if not _is_open:
                open_host()


def is_open():
    return _is_open


def load(path):
    """Loads a module: its classes appear in zeva and zeva.filters. Raises Refused for a file that is not a module."""
    ensure()
    if _library.load_module(os.fsencode(os.path.abspath(path))):
        raise _library.failure()
    for forget in _changed:
        forget()


def when_changed(forget):
    """Calls a function after each module that is loaded later."""
    _changed.append(forget)


def references():
    """The numbers of the host's objects and texts that exist, as a pair. For tests of ownership."""
    ensure()
    objects, texts = ctypes.c_int64(), ctypes.c_int64()
    if _library.count_references(ctypes.byref(objects), ctypes.byref(texts)):
        raise _library.failure()
    return objects.value, texts.value


def _end():
    # Objects that are collected while the interpreter ends are left to the end of the process.
    from . import _objects

    _objects.stop_releasing()


atexit.register(_end)
