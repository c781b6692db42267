#!/usr/bin/env python3
"""Makes a 32-bit program start with the system's dynamic loader instead of the sysroot's.

Usage: use_system_loader.py PROGRAM

The build links programs against the loader of the sysroot, so that they run on the build machine. An installed program
must name the system's. The new name is shorter, so it is written over the old one and the rest is filled with zeros.
Does nothing if the name is already right. Fails with one line if the file is not a 32-bit program.
"""

import pathlib
import struct
import sys

LOADER = b"/lib/ld-linux.so.2\0"
PT_INTERP = 3


def main(path):
    data = bytearray(path.read_bytes())
    if data[:5] != b"\x7fELF\x01":
        return f"{path}: not a 32-bit ELF file; its loader stays"
    (headers,) = struct.unpack_from("<I", data, 28)
    size, count = struct.unpack_from("<HH", data, 42)
    for header in range(headers, headers + size * count, size):
        kind, offset, _, _, length = struct.unpack_from("<5I", data, header)
        if kind != PT_INTERP:
            continue
        if length < len(LOADER):
            return f"{path}: no room for the name of the system's loader; the old one stays"
        data[offset : offset + length] = LOADER.ljust(length, b"\0")
        # The kernel and the loader read the name up to the size in the header.
        struct.pack_into("<2I", data, header + 16, len(LOADER), len(LOADER))
        path.write_bytes(data)
        return 0
    return f"{path}: not a program, it names no loader; nothing was changed"


if __name__ == "__main__":
    sys.exit(main(pathlib.Path(sys.argv[1])))
