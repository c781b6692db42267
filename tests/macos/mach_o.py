"""Reads object files and bundles of 32-bit code for macOS, as far as the tests need it.

ObjectFile reads the sections, symbols and relocations once. Words are looked up by their address in the object. Bundle
is the same for a bundle; what it has in place of relocations is read by llvm-objdump.
"""

import pathlib
import re
import struct
import subprocess
from typing import NamedTuple

MAGIC, X86, OBJECT, BUNDLE = 0xFEEDFACE, 7, 1, 8
SEGMENT, SYMBOLS = 1, 2
PRIVATE, EXTERNAL, DEBUG, KIND, IN_SECTION = 0x10, 0x01, 0xE0, 0x0E, 0x0E


class Section(NamedTuple):
    name: str
    address: int
    size: int
    data: bytes
    relocations: list


class Symbol(NamedTuple):
    name: str
    type: int
    address: int

    @property
    def is_undefined(self):
        return self.type & (DEBUG | KIND) == 0

    @property
    def is_exported(self):
        return self.type & (DEBUG | PRIVATE | EXTERNAL) == EXTERNAL and not self.is_undefined


class Relocation(NamedTuple):
    address: int  # within the object
    symbol: str  # None unless external
    is_relative: bool


class ObjectFile:
    kind = OBJECT

    def __init__(self, data):
        self.data = data
        magic, processor, _, kind, commands = struct.unpack_from("<5I", data)
        if (magic, processor, kind) != (MAGIC, X86, self.kind):
            raise ValueError(f"not a file of kind {self.kind} for x86: {magic:#x}, {processor}, {kind}")
        headers, offset = [], 28
        for _ in range(commands):
            command, size = struct.unpack_from("<2I", data, offset)
            if command == SEGMENT:
                count = struct.unpack_from("<I", data, offset + 48)[0]
                headers += [struct.unpack_from("<16s16s9I", data, offset + 56 + 68 * i) for i in range(count)]
            elif command == SYMBOLS:
                self.symbols = self._symbols(*struct.unpack_from("<4I", data, offset + 8))
            offset += size
        self.sections = {section.name: section for section in map(self._section, headers)}
        self.by_name = {symbol.name: symbol for symbol in self.symbols}
        self.relocations = {r.address: r for s in self.sections.values() for r in s.relocations}

    def _symbols(self, offset, count, strings, _):
        entries = [struct.unpack_from("<IBBHI", self.data, offset + 12 * i) for i in range(count)]
        return [Symbol(self._text(strings + name), kind, value) for name, kind, _, _, value in entries]

    def _text(self, offset):
        return self.data[offset : self.data.index(b"\0", offset)].decode()

    def _section(self, header):
        name, segment, address, size, offset, _, relocations, count, _, _, _ = header
        full = ",".join(part.rstrip(b"\0").decode() for part in (segment, name))
        raw = [struct.unpack_from("<2I", self.data, relocations + 8 * i) for i in range(count)]
        return Section(full, address, size, self.data[offset : offset + size], self._relocations(address, raw))

    def _relocations(self, base, raw):
        plain = [(first, second) for first, second in raw if not first >> 31]
        return [
            Relocation(
                base + first, self.symbols[second & 0xFFFFFF].name if second >> 27 & 1 else None, bool(second >> 24 & 1)
            )
            for first, second in plain
        ]

    def section_at(self, address):
        for section in self.sections.values():
            if section.address <= address < section.address + section.size:
                return section
        raise ValueError(f"no section at {address:#x}")

    def words(self, address, count):
        """The words in the file. A pointer within the object is an address in the object."""
        section = self.section_at(address)
        return list(struct.unpack_from(f"<{count}I", section.data, address - section.address))

    def text(self, address):
        section = self.section_at(address)
        offset = address - section.address
        return section.data[offset : section.data.index(b"\0", offset)].decode()

    def calls_in(self, symbol):
        """The names of the external functions that a function calls, in the order of the instructions."""
        begin = self.by_name[symbol].address
        text = self.sections["__TEXT,__text"]
        ends = [s.address for s in self.symbols if s.type & KIND == IN_SECTION and begin < s.address]
        end = min(ends + [text.address + text.size])
        calls = sorted((r for r in text.relocations if begin <= r.address < end and r.symbol), key=lambda r: r.address)
        return [call.symbol for call in calls if call.is_relative]


def objdump(path, *options):
    """The lines that llvm-objdump prints about a file, without the one with its name."""
    command = ["llvm-objdump", "--macho", *options, path]
    lines = subprocess.run(command, check=True, capture_output=True, text=True).stdout.splitlines()
    return [line for line in lines if line and not line.endswith(":")]


class Bundle(ObjectFile):
    kind = BUNDLE

    def __init__(self, path):
        """path: the folder."""
        self.path = pathlib.Path(path) / "Contents" / "MacOS" / pathlib.Path(path).stem
        super().__init__(self.path.read_bytes())
        # Lines of a table: segment, section, address, and more.
        self.rebased = [int(line.split()[2], 16) for line in objdump(self.path, "--rebase")[1:]]
        self.bound = [self._bind(line) for line in objdump(self.path, "--bind")[1:]]
        self.relocations = {address: Relocation(address, None, False) for address in self.rebased}
        self.relocations |= {address: Relocation(address, name, False) for address, _, name in self.bound}

    @staticmethod
    def _bind(line):
        """Address, addend, symbol."""
        columns = re.fullmatch(r"\S+ +\S+ +(0x\w+) +pointer +(-?\d+) +\S+ +(\S+)", line)
        return int(columns[1], 16), int(columns[2]), columns[3]
