"""Checks the bundle for 32-bit macOS field by field: what the LLVM tools read in it is what the linker was given.

Usage: bundle_test.py OBJECT FOLDER LINKER VERSION

What is expected comes from the object file, from the list of imports (host/macho/imports.h) and from the format.
"""

import pathlib
import plistlib
import re
import struct
import subprocess
import sys
import tempfile
import unittest

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parent))
import mach_o
from mach_o import objdump

OBJECT_PATH, FOLDER, LINKER, VERSION = sys.argv[1:5]
OBJECT = mach_o.ObjectFile(pathlib.Path(OBJECT_PATH).read_bytes())
BUNDLE = mach_o.Bundle(FOLDER)
del sys.argv[1:]

IMPORTS = (pathlib.Path(__file__).resolve().parents[2] / "host/macho/imports.h").read_text()
LIBRARIES = dict(re.findall(r'LIBRARY\((k\w+),\s+"([^"]+)"', IMPORTS))
BINDER = "dyld_stub_binder"
LIBRARY_OF = {name: LIBRARIES[library] for library, name in re.findall(r'IMPORT\((k\w+),\s+"(\w+)"', IMPORTS)}
LIBRARY_OF |= {
    f".objc_class_name_{name}": LIBRARIES[library] for library, name in re.findall(r'CLASS\((k\w+),\s+"(\w+)"', IMPORTS)
}
LIBRARY_OF[BINDER] = LIBRARIES["kSystem"]

# Sections of the object that have another name in the bundle, or none.
RENAMED = {"__IMPORT,__pointers": "__DATA,__nl_symbol_ptr"}
LEFT_OUT = {"__LD,__compact_unwind"}
ADDED = {"__TEXT,__symbol_stub", "__TEXT,__stub_helper", "__DATA,__la_symbol_ptr", "__DATA,__stub_cache"}
PAGE = 4096


def commands():
    """The load commands as dictionaries; a segment has its sections."""
    found, target = [], {}
    for line in objdump(BUNDLE.path, "--private-headers")[3:]:
        if line.startswith("Load command"):
            target = {"sections": []}
            found.append(target)
        elif line == "Section":
            target = {}
            found[-1]["sections"].append(target)
        else:
            key, _, value = line.strip().partition(" ")
            if key in ("current", "compatibility", "time"):
                key, _, value = line.strip().rpartition(" ")
            target[key] = value.strip()
    return found


COMMANDS = commands()
SEGMENTS = [command for command in COMMANDS if command["cmd"] == "LC_SEGMENT"]


def command(name):
    (found,) = [one for one in COMMANDS if one["cmd"] == name]
    return found


def moved(address):
    """The address in the bundle of an address in the object."""
    section = OBJECT.section_at(address)
    return BUNDLE.sections[RENAMED.get(section.name, section.name)].address + address - section.address


def kept_relocations():
    return [
        relocation
        for section in OBJECT.sections.values()
        if section.name not in LEFT_OUT
        for relocation in section.relocations
    ]


def called():
    """The functions of libraries that code calls, in the order of the object's symbols."""
    names = {r.symbol for r in kept_relocations() if r.symbol and r.is_relative}
    return [s.name for s in OBJECT.symbols if s.is_undefined and s.name in names]


def table(option):
    return [line.split() for line in objdump(BUNDLE.path, option)[1:]]


def short(library):
    """The name by which the tools print a library."""
    return library.rpartition("/")[2].split(".")[0]


class HeaderTest(unittest.TestCase):
    def test_is_a_two_level_bundle_for_x86_without_undefined_symbols(self):
        line = objdump(BUNDLE.path, "--private-header")[-1].split()
        self.assertEqual(line[:5], ["MH_MAGIC", "I386", "ALL", "0x00", "BUNDLE"])
        self.assertEqual(line[5:7], [str(len(COMMANDS)), str(sum(int(one["cmdsize"]) for one in COMMANDS))])
        self.assertEqual(line[7:], ["NOUNDEFS", "DYLDLINK", "TWOLEVEL"])

    def test_commands_are_those_that_loaders_of_10_6_know(self):
        kinds = [one["cmd"] for one in COMMANDS]
        self.assertEqual(
            kinds[:9],
            ["LC_SEGMENT"] * 4
            + ["LC_DYLD_INFO_ONLY", "LC_SYMTAB", "LC_DYSYMTAB", "LC_UUID", "LC_VERSION_MIN_MACOSX"],
        )
        self.assertEqual(set(kinds[9:]), {"LC_LOAD_DYLIB"})
        oldest = command("LC_VERSION_MIN_MACOSX")
        self.assertEqual((oldest["version"], oldest["sdk"]), ("10.6", "10.6"))

    def test_loads_the_libraries_of_all_imports_by_their_installed_names(self):
        loaded = [one for one in COMMANDS if one["cmd"] == "LC_LOAD_DYLIB"]
        names = [one["name"].split(" (offset")[0] for one in loaded]
        used = {LIBRARY_OF[s.name] for s in OBJECT.symbols if s.is_undefined} | {LIBRARY_OF[BINDER]}
        self.assertEqual(names, [name for name in LIBRARIES.values() if name in used])
        versions = {short(n): (one["compatibility version"], one["current version"]) for n, one in zip(names, loaded)}
        self.assertEqual(versions["libSystem"], ("1.0.0", "125.0.0"))
        self.assertEqual(versions["libstdc++"], ("7.0.0", "7.9.0"))
        self.assertEqual(versions["Foundation"], ("300.0.0", "751.0.0"))
        self.assertEqual(versions["QuartzCore"], ("1.2.0", "1.6.0"))


class SegmentsTest(unittest.TestCase):
    def test_are_whole_pages_without_gaps_and_with_one_kind_of_access(self):
        rights = [(one["segname"], one["initprot"], one["maxprot"]) for one in SEGMENTS]
        self.assertEqual(
            rights,
            [
                ("__TEXT", "r-x", "rwx"),
                ("__DATA", "rw-", "rwx"),
                ("__OBJC", "rw-", "rwx"),
                ("__LINKEDIT", "r--", "rwx"),
            ],
        )
        address = offset = 0
        for segment in SEGMENTS:
            begin, size = int(segment["vmaddr"], 16), int(segment["vmsize"], 16)
            self.assertEqual((begin, int(segment["fileoff"])), (address, offset), segment["segname"])
            self.assertEqual(size % PAGE, 0)
            self.assertLessEqual(int(segment["filesize"]), size)
            address, offset = begin + size, offset + int(segment["filesize"])
        self.assertEqual(offset, len(BUNDLE.data))

    def test_hold_the_sections_of_the_object_and_the_stubs(self):
        kept = {RENAMED.get(name, name) for name in OBJECT.sections if name not in LEFT_OUT}
        self.assertEqual(set(BUNDLE.sections), kept | ADDED)
        for segment in SEGMENTS:
            end = int(segment["vmaddr"], 16)
            for section in segment["sections"]:
                self.assertEqual(section["segname"], segment["segname"])
                begin = int(section["addr"], 16)
                self.assertGreaterEqual(begin, end)
                end = begin + int(section["size"], 16)
                in_file = int(section["offset"])
                if section["type"] != "S_ZEROFILL":
                    self.assertEqual(begin - int(segment["vmaddr"], 16), in_file - int(segment["fileoff"]))
                self.assertEqual((section["reloff"], section["nreloc"]), ("0", "0"))
            self.assertLessEqual(end, int(segment["vmaddr"], 16) + int(segment["vmsize"], 16))

    def test_sections_keep_kind_attributes_size_and_alignment(self):
        def header(line):
            return {key: line.get(key) for key in ("type", "attributes", "size")}

        objects, target = {}, None
        for line in objdump(OBJECT_PATH, "--private-headers"):
            key, _, value = line.strip().partition(" ")
            if line == "Section":
                target = {}
            elif target is not None:
                target[key] = value.strip()
                if key == "attributes":
                    objects[f"{target['segname']},{target['sectname']}"] = target
        linked = {f"{s['segname']},{s['sectname']}": s for one in SEGMENTS for s in one["sections"]}
        same = objects.keys() - LEFT_OUT - RENAMED.keys()
        self.assertEqual({name: header(linked[name]) for name in same}, {name: header(objects[name]) for name in same})
        for name in same:
            alignment = int(re.search(r"\((\d+)\)", objects[name]["align"])[1])
            self.assertEqual(int(linked[name]["addr"], 16) % alignment, 0, name)
        self.assertEqual(linked["__DATA,__nl_symbol_ptr"]["type"], "S_NON_LAZY_SYMBOL_POINTERS")
        self.assertEqual(linked["__DATA,__la_symbol_ptr"]["type"], "S_LAZY_SYMBOL_POINTERS")
        self.assertEqual(linked["__TEXT,__symbol_stub"]["type"], "S_SYMBOL_STUBS")
        self.assertEqual(linked["__TEXT,__symbol_stub"]["reserved2"].split()[0], "12")

    def test_sections_without_addresses_have_the_bytes_of_the_object(self):
        plain = [s for s in OBJECT.sections.values() if not s.relocations and s.data and s.name not in RENAMED]
        self.assertIn("__TEXT,__cstring", [section.name for section in plain])
        for section in plain:
            if section.name in ("__DATA,__bss", "__DATA,__common", "__TEXT,__eh_frame"):
                continue
            self.assertEqual(BUNDLE.sections[section.name].data, section.data, section.name)


class AddressesTest(unittest.TestCase):
    def test_every_pointer_within_the_bundle_is_rebased_and_points_where_it_did(self):
        local = [r for r in kept_relocations() if r.symbol is None and not r.is_relative]
        lazy = BUNDLE.sections["__DATA,__la_symbol_ptr"]
        pointers = {moved(r.address) for r in local}
        self.assertEqual(len(pointers), len(local))
        pointers |= set(range(lazy.address, lazy.address + lazy.size, 4))
        self.assertEqual(sorted(BUNDLE.rebased), sorted(pointers))
        for relocation in local:
            (before,) = OBJECT.words(relocation.address, 1)
            (after,) = BUNDLE.words(moved(relocation.address), 1)
            self.assertEqual(after, moved(before))

    def test_every_pointer_to_a_symbol_is_bound_to_its_library(self):
        bound = [r for r in kept_relocations() if r.symbol and not r.is_relative]
        expected = {(moved(r.address), 0, r.symbol) for r in bound}
        pointers = BUNDLE.sections["__DATA,__nl_symbol_ptr"].address
        expected |= {(pointers, 0, "___gxx_personality_v0"), (pointers + 4, 0, BINDER)}
        self.assertEqual(set(BUNDLE.bound), expected)
        self.assertEqual(len(BUNDLE.bound), len(expected))
        libraries = {row[-1]: row[-2] for row in table("--bind")}
        self.assertEqual(libraries, {name: short(LIBRARY_OF[name]) for name in libraries})

    def test_stubs_are_bound_lazily_in_the_order_of_their_pointers(self):
        lazy = BUNDLE.sections["__DATA,__la_symbol_ptr"]
        expected = [
            ["__DATA", "__la_symbol_ptr", f"0x{lazy.address + 4 * i:08X}", short(LIBRARY_OF[name]), name]
            for i, name in enumerate(called())
        ]
        self.assertEqual(table("--lazy-bind"), expected)

    def test_indirect_symbols_name_the_function_of_each_stub_and_pointer(self):
        names = [line.split()[-1] for line in objdump(BUNDLE.path, "--indirect-symbols") if line.startswith("0x")]
        self.assertEqual(names, called() + ["___gxx_personality_v0", BINDER] + called())

    def test_calls_reach_the_stub_of_their_function_or_their_function(self):
        stubs = BUNDLE.sections["__TEXT,__symbol_stub"].address
        place = {name: stubs + 12 * i for i, name in enumerate(called())}
        calls = [r for r in OBJECT.sections["__TEXT,__text"].relocations if r.is_relative]
        self.assertGreater(len(calls), 500)
        for call in calls:
            (before,) = OBJECT.words(call.address, 1)
            (distance,) = BUNDLE.words(moved(call.address), 1)
            target = (moved(call.address) + 4 + distance) & 0xFFFFFFFF
            if call.symbol in place:
                self.assertEqual(target, place[call.symbol])
            elif call.symbol:
                self.assertEqual(target, moved(OBJECT.by_name[call.symbol].address))
            else:
                self.assertEqual(target, moved((call.address + 4 + before) & 0xFFFFFFFF))

    def test_frame_descriptions_describe_the_same_functions(self):
        def functions(code):
            section = code.sections["__TEXT,__eh_frame"]
            offset = 0
            while offset < section.size:
                length, distance, begin, size = struct.unpack_from("<4I", section.data, offset)
                if distance:
                    yield (section.address + offset + 8 + begin) & 0xFFFFFFFF, size
                offset += 4 + length

        before = [(moved(begin), size) for begin, size in functions(OBJECT)]
        self.assertEqual(list(functions(BUNDLE)), before)
        self.assertGreater(len(before), 300)


class SymbolsTest(unittest.TestCase):
    def test_only_the_entry_point_is_exported(self):
        address = moved(OBJECT.by_name["_ZEVAPluginMain"].address)
        lines = [line.split() for line in objdump(BUNDLE.path, "--exports-trie")]
        self.assertEqual(lines, [[f"0x{address:08X}", "_ZEVAPluginMain"]])

    def test_are_those_of_the_object_at_their_new_addresses(self):
        def kept(symbol):
            is_temporary = symbol.name.startswith("l_") or symbol.name.startswith("L")
            return symbol.type & mach_o.KIND == mach_o.IN_SECTION and not is_temporary

        linked = sorted((s.name, s.address) for s in BUNDLE.symbols if kept(s))
        self.assertEqual(linked, sorted((s.name, moved(s.address)) for s in OBJECT.symbols if kept(s)))

    def test_come_in_the_groups_that_the_loader_is_told(self):
        dynamic = {key: int(value) for key, value in command("LC_DYSYMTAB").items() if str(value).isdigit()}
        groups = [[], [], []]
        for symbol in BUNDLE.symbols:
            groups[2 if symbol.is_undefined else 1 if symbol.is_exported else 0].append(symbol.name)
        self.assertEqual([s.name for s in BUNDLE.symbols], sum(groups, []))
        counts = [dynamic["nlocalsym"], dynamic["nextdefsym"], dynamic["nundefsym"]]
        self.assertEqual(counts, [len(group) for group in groups])
        begins = [dynamic["ilocalsym"], dynamic["iextdefsym"], dynamic["iundefsym"]]
        self.assertEqual(begins, [0, counts[0], counts[0] + counts[1]])
        self.assertEqual(groups[2], sorted(groups[2]))
        self.assertEqual((dynamic["nextrel"], dynamic["nlocrel"]), (0, 0))


class FolderTest(unittest.TestCase):
    def test_properties_name_the_executable_and_this_project(self):
        properties = plistlib.loads((pathlib.Path(FOLDER) / "Contents" / "Info.plist").read_bytes())
        self.assertEqual(
            properties,
            {
                "CFBundleInfoDictionaryVersion": "6.0",
                "CFBundleIdentifier": "zeva.filters",
                "CFBundleName": "filters",
                "CFBundleExecutable": "filters",
                "CFBundlePackageType": "BNDL",
                "CFBundleShortVersionString": VERSION,
                "CFBundleVersion": VERSION,
                "LSMinimumSystemVersion": "10.6",
            },
        )
        files = sorted(str(p.relative_to(FOLDER)) for p in pathlib.Path(FOLDER).rglob("*") if p.is_file())
        self.assertEqual(files, ["Contents/Info.plist", "Contents/MacOS/filters"])

    def test_nothing_tells_where_it_was_built(self):
        root = str(pathlib.Path(__file__).resolve().parents[2]).encode()
        for file in [pathlib.Path(OBJECT_PATH), *(p for p in pathlib.Path(FOLDER).rglob("*") if p.is_file())]:
            self.assertNotIn(root, file.read_bytes(), file)

    def test_linking_again_in_other_folders_gives_the_same_bytes(self):
        for _ in range(2):
            with tempfile.TemporaryDirectory() as folder:
                copy, output = pathlib.Path(folder) / "copy.o", pathlib.Path(folder) / "linked"
                copy.write_bytes(OBJECT.data)
                subprocess.run([LINKER, copy, output], check=True)
                self.assertEqual(output.read_bytes(), BUNDLE.data)


class CommandTest(unittest.TestCase):
    def link(self, *arguments):
        return subprocess.run([LINKER, *arguments], capture_output=True, text=True)

    def test_refuses_with_one_line_and_writes_nothing(self):
        with tempfile.TemporaryDirectory() as folder:
            output = pathlib.Path(folder) / "linked"
            result = self.link(BUNDLE.path, output)
            self.assertEqual(
                (result.returncode, result.stderr),
                (1, f"link_bundle: {BUNDLE.path}: header: the file is a bundle, so it is linked already; "
                    "nothing is written\n"),
            )
            result = self.link(f"{folder}/none.o", output)
            self.assertEqual(
                (result.returncode, result.stderr),
                (1, f"link_bundle: {folder}/none.o: it cannot be read; nothing is written\n"),
            )
            self.assertFalse(output.exists())
            result = self.link(OBJECT_PATH, f"{folder}/none/linked")
            self.assertEqual(
                (result.returncode, result.stderr), (1, f"link_bundle: {folder}/none/linked: it cannot be written\n")
            )
        self.assertEqual(self.link().returncode, 2)


if __name__ == "__main__":
    unittest.main()
