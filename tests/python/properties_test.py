#!/usr/bin/env python3
"""Every property of every filter in the records is set and read back from Python, for each record version."""

import pathlib
import sys
import unittest

import program

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parents[1] / "support"))

# Values whose halves are exact in single precision, by type word, with what is read back.
SAMPLES = """
import sys, zeva
from zeva._objects import Key

version = float(sys.argv[1]) or None
zeva.open_host(version=version)
picture = zeva.from_array(memoryview(bytearray([200, 100, 50, 255] * 4)).cast("B", (2, 2, 4)))
cube = [channel / 8 for channel in range(8)] * 4
samples = {
    "double": (0.375, lambda got: got == 0.375),
    "CIVectorQOR": ((0.5, 2, 3, 0.25), lambda got: list(got) == [0.5, 2, 3, 0.25]),
    "CIColorQOR": ((0.25, 0.5, 0.75, 1), lambda got: list(got) == [0.25, 0.5, 0.75, 1]),
    "NSAffineTransformQOR": ((2, 0.5, 0, 4, 8, 16),
                             lambda got: [got.a, got.b, got.c, got.d, got.tx, got.ty] == [2, 0.5, 0, 4, 8, 16]),
    "CIImageQOR": (picture, lambda got: bytes(got.Pixels((0, 0, 2, 2))) == bytes([200, 100, 50, 255] * 4)),
    "memoryblock": (cube, lambda got: got.view().cast("f").tolist() == cube),
    "CGColorSpaceQOR": ("displayP3", lambda got: "DisplayP3" in got.name),
}
count, versions = 0, set()
for title in dir(zeva.filters):
    isa = getattr(zeva.filters, title)
    versions.add(zeva._library.Class.from_address(isa._address).record_version)
    keys = [key for key in vars(isa).values() if type(key) is Key and key.kind.word != "CIAttributeQOR"]
    made = isa()
    for key in keys:
        count += 1
        if key.declared == "outputImage":
            continue
        item, is_same = samples[key.kind.word]
        if key.declared == "inputCubeDimension":
            item, is_same = 2, lambda got: got == 2
        setattr(made, key.name, item)
        got = getattr(made, key.name)
        assert is_same(got), f"{title}.{key.name}: {item!r} became {got!r}"
        setattr(made, key.declared, got)
        assert is_same(getattr(made, key.declared)), f"{title}.{key.declared}: read back differs"
    image = made.output_image
    assert image is not None and type(image) is zeva.CIImageQOR, f"{title}: no output image"
print(count, sorted(versions))
del made, image, got, picture, samples, item, is_same
import gc
gc.collect()
assert zeva.references() == (0, 0), zeva.references()
"""


class PropertiesTest(unittest.TestCase):
    def expect(self, host_version, record_version):
        import catalogue

        properties = catalogue.expected("properties")
        printed = program.run(SAMPLES, str(host_version))
        self.assertEqual(f"{properties} [{record_version}]", printed.splitlines()[-1] if printed else printed)

    def test_round_trip_with_records_of_version_12(self):
        self.expect(0, 12)

    def test_round_trip_with_records_of_version_11(self):
        self.expect(2013.0, 11)

    def test_round_trip_with_records_of_version_10(self):
        self.expect(2012.0, 10)

    def test_round_trip_with_records_of_version_9(self):
        self.expect(2011.0, 9)


if __name__ == "__main__":
    unittest.main()
