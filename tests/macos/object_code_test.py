"""Checks the files with the module's code for macOS: exports, imports, and the static data that a host reads.

Usage: object_code_test.py OBJECT FOLDER BUNDLE...     (the 32-bit object and bundle, then the 64-bit bundles)
"""

import pathlib
import subprocess
import sys
import unittest

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parents[1] / "support"))
import mach_o
from catalogue import expected, statements

BUNDLES = sys.argv[3:]
OBJECT = mach_o.ObjectFile(pathlib.Path(sys.argv[1]).read_bytes())
LINKED = mach_o.Bundle(sys.argv[2])
del sys.argv[1:]

CLASSES = ["CIFilter", "NSData", "NSDictionary", "NSException", "NSNumber"]

# name -> why the code may need it, on each processor
COMMON = {
    "_CFRetain": "Core Foundation",
    "_CGImageRetain": "Core Graphics",
    "_NSLog": "Foundation",
    "___CFConstantStringClassReference": "the class of constant strings",
    "_calloc": "C library",
    "_free": "C library",
    "_memcpy": "C library",
    "_pthread_self": "C library",
    "_snprintf": "C library",
    "_strlen": "C library",
    "_objc_msgSend": "Objective-C runtime",
    "___gxx_personality_v0": "runs cleanups when a C++ exception of other code passes",
    "__Unwind_Resume": "continues unwinding after a cleanup",
}
ONLY_32_BITS = {
    **{f".objc_class_name_{name}": "a class of Foundation or Core Image" for name in CLASSES},
    "_objc_msgSend_fpret": "Objective-C runtime: a message that returns a double",
    "__setjmp": "exception frames",
    "_objc_exception_try_enter": "exception frames",
    "_objc_exception_try_exit": "exception frames",
    "_objc_exception_extract": "exception frames",
    "_objc_exception_match": "exception frames",
    "_objc_exception_throw": "exception frames",
}
ONLY_64_BITS = {
    **{f"_OBJC_CLASS_$_{name}": "a class of Foundation or Core Image" for name in CLASSES},
    "_OBJC_EHTYPE_$_NSException": "the class that the guard catches and reports",
    "_OBJC_EHTYPE_id": "any other object, which the guard passes on",
    "_objc_exception_rethrow": "the same",
    "___objc_personality_v0": "native exceptions",
    "_objc_begin_catch": "native exceptions",
    "_objc_end_catch": "native exceptions",
    "_objc_alloc": "this runtime has a function for the message",
    "_objc_retain": "the same",
    "_objc_release": "the same",
    "dyld_stub_binder": "the loader itself; each bundle needs it",
}

RECORD_WORDS, METHOD_WORDS = 29, 6
VERSION, CLASS_NAME, SUPERCLASS_NAME, METHODS, METHOD_COUNT, FLAGS = 0, 1, 2, 9, 10, 20


FILTERS = {name: keys for name, *keys in statements("filter")}
TYPES = {key: word for word, *keys in statements("keys") for key in keys}


def declarations_of(keys):
    pairs = ((f"{key} as {TYPES[key]}", f"Attribute{key} as CIAttributeQOR") for key in keys)
    return [declaration for pair in pairs for declaration in pair] + ["Constructor"]


def records(code):
    """The addresses of the class records, in the order of registration."""
    table = next(symbol for symbol in code.symbols if "kFilterClasses" in symbol.name)
    return code.words(table.address, len(FILTERS))


class Code:
    """The same tests for each file with 32-bit code."""

    code = OBJECT
    only_here = {}


class LinkedCode(Code):
    code = LINKED
    only_here = {"dyld_stub_binder": "the loader itself, which binds the stubs"}


class SymbolsTest(Code, unittest.TestCase):
    def test_entry_point_is_the_only_export(self):
        self.assertEqual([s.name for s in self.code.symbols if s.is_exported], ["_ZEVAPluginMain"])

    def test_imports_are_exactly_the_listed_ones(self):
        imports = {symbol.name for symbol in self.code.symbols if symbol.is_undefined}
        self.assertEqual(imports, COMMON.keys() | ONLY_32_BITS.keys() | self.only_here.keys())

    def test_nothing_runs_at_load_and_no_class_is_defined(self):
        names = self.code.sections.keys()
        self.assertEqual(names & {"__DATA,__mod_init_func", "__OBJC,__class", "__OBJC,__category"}, set())


class LinkedSymbolsTest(LinkedCode, SymbolsTest):
    pass


class WideBundlesTest(unittest.TestCase):
    def test_bundles_have_the_same_exports_and_imports_with_native_exceptions(self):
        self.assertEqual(len(BUNDLES), 2)
        for bundle in BUNDLES:
            lines = subprocess.run(["llvm-nm", "--extern-only", bundle], check=True, capture_output=True, text=True)
            symbols = [line.split()[-2:] for line in lines.stdout.splitlines()]
            self.assertEqual([name for kind, name in symbols if kind != "U"], ["_ZEVAPluginMain"])
            imports = {name for kind, name in symbols if kind == "U"}
            self.assertEqual(imports, COMMON.keys() | ONLY_64_BITS.keys(), bundle)


class CallsTest(unittest.TestCase):
    def test_guard_uses_the_exception_frames_of_the_runtime(self):
        (guard,) = [symbol.name for symbol in OBJECT.symbols if symbol.name.startswith("__Z10RunGuarded")]
        frames = {name for name, reason in ONLY_32_BITS.items() if reason == "exception frames"}
        self.assertEqual(set(OBJECT.calls_in(guard)) & ONLY_32_BITS.keys(), frames)
        self.assertEqual(OBJECT.calls_in(guard)[:2], ["_objc_exception_try_enter", "__setjmp"])

    def test_only_one_message_returns_a_double(self):
        calls = [r.symbol for r in OBJECT.sections["__TEXT,__text"].relocations if r.symbol]
        self.assertEqual(calls.count("_objc_msgSend_fpret"), 1)
        self.assertIn("_objc_msgSend", calls)


class ConstantStringsTest(Code, unittest.TestCase):
    def test_are_exactly_the_filters_the_keys_and_the_log_format(self):
        section = self.code.sections["__DATA,__cfstring"]
        self.assertEqual(section.size, 16 * (expected("classes") + expected("keys") + 1))
        texts = []
        for address in range(section.address, section.address + section.size, 16):
            isa, flags, text, length = self.code.words(address, 4)
            self.assertEqual(self.code.relocations[address].symbol, "___CFConstantStringClassReference")
            self.assertEqual((isa, flags, length), (0, 0x7C8, len(self.code.text(text))))
            texts.append(self.code.text(text))
        wanted = [f"CI{name}" for name in FILTERS] + list(TYPES) + ["A %@: %@, Info: %@\n"]
        self.assertEqual(sorted(texts), sorted(wanted))


class LinkedConstantStringsTest(LinkedCode, ConstantStringsTest):
    pass


class RecordsTest(Code, unittest.TestCase):
    def test_are_in_the_order_of_registration_with_29_words_each(self):
        self.assertEqual(len(FILTERS), expected("classes"))
        for address, (name, keys) in zip(records(self.code), FILTERS.items(), strict=True):
            self.assertEqual(self.code.by_name[f"_CIFilter{name}Class"].address, address)
            words = self.code.words(address, RECORD_WORDS)
            self.assertEqual(self.code.text(words[CLASS_NAME]), f"CIFilter{name}QOR")
            self.assertEqual(self.code.text(words[SUPERCLASS_NAME]), "CIFilterQOR")
            self.assertEqual((words[VERSION], words[METHOD_COUNT], words[FLAGS]), (12, 2 * len(keys) + 1, 4))
            used = {VERSION, CLASS_NAME, SUPERCLASS_NAME, METHODS, METHOD_COUNT, FLAGS}
            self.assertEqual([words[i] for i in range(RECORD_WORDS) if i not in used], [0] * (RECORD_WORDS - len(used)))
            moved = {i for i in range(RECORD_WORDS) if address + 4 * i in self.code.relocations}
            self.assertEqual(moved, {CLASS_NAME, SUPERCLASS_NAME, METHODS})

    def test_hold_every_method_with_shared_declarations(self):
        entries, places = 0, {}
        for address, keys in zip(records(self.code), FILTERS.values(), strict=True):
            words = self.code.words(address, RECORD_WORDS)
            for i, declaration in enumerate(declarations_of(keys)):
                entry = words[METHODS] + 4 * METHOD_WORDS * i
                function, setter, text, flags, *rest = self.code.words(entry, METHOD_WORDS)
                self.assertEqual(self.code.text(text), declaration)
                self.assertEqual((flags, rest), (4, [0, 0]))
                self.assertEqual(self.code.section_at(function).name, "__TEXT,__text")
                is_property = i % 2 == 0 and declaration != "Constructor"
                self.assertEqual(setter != 0, is_property, declaration)
                places.setdefault(declaration, set()).add(text)
                entries += 1
        self.assertEqual(entries, expected("methods"))
        self.assertEqual(len(places), 2 * expected("keys") + 1)
        self.assertEqual({declaration for declaration, found in places.items() if len(found) != 1}, set())
        counts = {text: self.code.data.count(b"\0" + text.encode() + b"\0") for text in places}
        self.assertEqual({text: count for text, count in counts.items() if count != 1}, {})


class LinkedRecordsTest(LinkedCode, RecordsTest):
    pass


if __name__ == "__main__":
    unittest.main()
