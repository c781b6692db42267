"""The module as a file: what it exports, what it links to, and that its strings stand in it once.

Usage: module_file_test.py FILTERS_MODULE
"""

import pathlib
import re
import subprocess
import sys
import unittest

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parents[1] / "support"))
from catalogue import expected, statements

MODULE = pathlib.Path(sys.argv.pop(1))

# library -> why the module may need it
ALLOWED = {
    "libc.so.6": "the C library",
    "libgcc_s.so.1": "the C compiler's unwinder, for foreign exceptions that pass through",
    "libobjc.so.4": "the Objective-C runtime",
    "libgnustep-base.so.1.28": "Foundation",
    "libexception_frames.so": "the 32-bit runtime's exception frames",
    "libCoreGraphics.so": "a platform framework",
    "libCoreImage.so": "a platform framework",
}


def output(*command):
    return subprocess.run(command, check=True, capture_output=True, text=True).stdout


class ModuleFileTest(unittest.TestCase):
    def test_exports_the_entry_point_and_nothing_else(self):
        symbols = output("llvm-nm", "--dynamic", "--defined-only", "--format=just-symbols", MODULE).split()
        self.assertEqual(symbols, ["ZEVAPluginMain"])

    def test_needs_nothing_but_the_c_library_and_the_platform(self):
        needed = re.findall(r"NEEDED.*\[(.*)\]", output("llvm-readelf", "--dynamic-table", MODULE))
        self.assertTrue(needed)
        self.assertEqual([name for name in needed if name not in ALLOWED], [])

    def test_sets_nothing_up_in_code_but_the_runtime_s_own_tables(self):
        """Records, tables and service slots must be there as linked, before any code runs."""
        symbols = output("llvm-nm", MODULE)
        self.assertEqual(re.findall(r"_GLOBAL__sub_I_\S+|__cxx_global_var_init\S*", symbols), [])

    def test_each_declaration_key_and_filter_name_stands_in_it_once(self):
        data = MODULE.read_bytes()
        types = {key: words[0] for words in statements("keys") for key in words[1:]}
        strings = ["Constructor", *types, *(f"CI{words[0]}" for words in statements("filter"))]
        strings += [f"{key} as {word}" for key, word in types.items()]
        strings += [f"Attribute{key} as CIAttributeQOR" for key in types]
        self.assertEqual(len(strings), 1 + 3 * expected("keys") + expected("classes"))
        counts = {text: data.count(b"\0" + text.encode() + b"\0") for text in strings}
        self.assertEqual({text: count for text, count in counts.items() if count != 1}, {})


if __name__ == "__main__":
    unittest.main()
