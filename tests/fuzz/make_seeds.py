#!/usr/bin/env python3
"""Makes the inputs that fuzzing begins with: FOLDER/TARGET/NAME for each program of the table in CMakeLists.txt.

Usage: make_seeds.py BUILD_FOLDER FOLDER

Pictures are written by our own encoders, object files by the compiler, and bundles by our own linker; the texts are
those of the tree and a few short ones. The same tree gives the same seeds.
"""

import pathlib
import re
import struct
import subprocess
import sys
import tempfile

SOURCE = pathlib.Path(__file__).resolve().parents[2]
COMPILER = ["clang++", "-target", "i386-apple-macosx10.6", "-std=c++20", "-O1", "-fno-stack-protector", "-nostdlibinc",
            "-nostdinc++", "-fvisibility=hidden", "-isystem", str(SOURCE / "platform/macos/include"), f"-I{SOURCE}"]
CUBES = {
    "two": "TITLE \"two\"\nLUT_3D_SIZE 2\nDOMAIN_MIN 0 0 0\nDOMAIN_MAX 1 1 1\n" + "0.5 0.25 1\n" * 8,
    "comments": "\ufeff# a table\r\nLUT_3D_SIZE 3\r\n" + "1e-3 .5 +0.75\r\n" * 27,
    "line": "LUT_1D_SIZE 4\n0 0 0\n",
    "range": "LUT_3D_INPUT_RANGE 0 1\nLUT_3D_SIZE 2\n" + "0 0 0\n" * 7,
}
RECIPES = {
    "names": "zeva-recipe 1\n# a title\nradius = 8\npicture mask = mask.png\nGaussianBlur radius=$radius -> $soft\n"
             "BlendWithMask image=$input background=$soft mask=$mask\n--quality 90 --resize 50%\n",
    "quotes": "zeva-recipe 1\r\nname = \"a \\\"b\\\" \\$c\"\r\nCrop rectangle=\"0 0 $name 1\\\\2\" # the end",
}
LINKS = {
    "blur": "#zeva1=GaussianBlur%20inputRadius%3D8%0A",
    "names": "x#zeva1=radius%20%3D%208%0Apicture%20mask%20%3D%20%22%22%0A"
             "GaussianBlur%20radius%3D%24radius%20-%3E%20%24s%0A",
}
DECLARATIONS = ["inputRadius as double", "Constructor", "Constructor(path as string)",
                "Save(path as string, a as integer)", "Crop(rectangle as CIVectorQOR) as CIImageQOR",
                "Data(x as memoryblock, y as boolean) as memoryblock"]


def exif(order):
    """A block with an orientation and a maker, details and a location."""
    def table(*entries):
        packed = (struct.pack(order + "HHII", *entry) for entry in entries)
        return struct.pack(order + "H", len(entries)) + b"".join(packed) + bytes(4)

    first = table((0x010F, 2, 6, 62), (0x0112, 4, 1, 6), (0x8769, 4, 1, 68), (0x8825, 4, 1, 98))
    details = table((0x829A, 5, 1, 116), (0xA002, 4, 1, 19))
    header = {"<": b"II", ">": b"MM"}[order] + struct.pack(order + "HI", 42, 8)
    numbers = struct.pack(order + "2I", 1, 250)
    return header + first + b"maker\0" + details + table((2, 5, 1, 116)) + numbers


def run(*command, **options):
    subprocess.run(list(map(str, command)), check=True, **options)


def write(folder, files):
    folder.mkdir(parents=True, exist_ok=True)
    for name, text in files.items():
        (folder / name).write_bytes(text if isinstance(text, bytes) else text.encode())


def pictures(build, folder):
    with tempfile.TemporaryDirectory() as work:
        run(build / "bin/fuzz_pictures", work)
        for path in pathlib.Path(work).iterdir():
            target = path.name.partition("-")[0].replace("heic", "heif")
            write(folder / target, {path.name: path.read_bytes()})


def objects(build, folder):
    for target in "object", "bundle":
        (folder / target).mkdir(parents=True, exist_ok=True)
    for source in "bare_module.cpp", "tiny_module.mm":
        made = folder / "object" / source
        run(*COMPILER, "-c", SOURCE / "tests/macos" / source, "-o", made)
        run(build / "bin/fuzz_linker", made, folder / "bundle" / source)


def main(build, folder):
    build, folder = pathlib.Path(build).resolve(), pathlib.Path(folder)
    pictures(build, folder)
    objects(build, folder)
    # The first byte says whether the location is dropped.
    write(folder / "exif", {f"{order}{first}": bytes([first]) + exif(order) for order in "<>" for first in (0, 1)})
    write(folder / "cube", CUBES)
    shared = {path.name: path.read_bytes() for path in (SOURCE / "share/recipes").glob("*.recipe")}
    write(folder / "recipe", RECIPES | shared)
    write(folder / "link", LINKS)
    catalogue = re.findall(r"(?m)^ *(\w+ as \w+)$", (SOURCE / "filters/catalogue.txt").read_text())
    write(folder / "declaration", dict(enumerate_names(DECLARATIONS + sorted(set(catalogue))[:10])))
    # A record is read from the end of its input for numbers and from the beginning for texts; any bytes make some.
    write(folder / "records", {str(i): bytes((i * 37 + j * j * 11) % 256 for j in range(200)) for i in range(8)})


def enumerate_names(texts):
    return ((f"{number:02}", text) for number, text in enumerate(texts))


if __name__ == "__main__":
    main(*sys.argv[1:])
