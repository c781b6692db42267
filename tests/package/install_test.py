#!/usr/bin/env python3
"""Installs the build into a temporary folder and checks every installed file; then builds a module against it.

Usage: install_test.py BUILD_FOLDER SOURCE_FOLDER TOOLCHAIN_FILE
"""

import json
import os
import pathlib
import shutil
import struct
import subprocess
import sys
import tempfile
import unittest

import elf
import guide
import spdx

TOOLCHAIN = pathlib.Path(sys.argv.pop())
SOURCE = pathlib.Path(sys.argv.pop())
BUILD = pathlib.Path(sys.argv.pop())
PREFIX = "opt/pictures"

FILES = """
bin/zeva
include/zeva/plugin/plugin_main.h
include/zeva/zeva/host.h
lib/cmake/zeva/GenerateClasses.cmake
lib/cmake/zeva/module_exports.map
lib/cmake/zeva/zevaConfig.cmake
lib/cmake/zeva/zevaConfigVersion.cmake
lib/cmake/zeva/zevaTargets.cmake
lib/python3/dist-packages/zeva/__init__.py
lib/python3/dist-packages/zeva/__init__.pyi
lib/python3/dist-packages/zeva/_host.py
lib/python3/dist-packages/zeva/_library.py
lib/python3/dist-packages/zeva/_objects.py
lib/python3/dist-packages/zeva/_pictures.py
lib/python3/dist-packages/zeva/errors.py
lib/python3/dist-packages/zeva/filters.py
lib/python3/dist-packages/zeva/filters.pyi
lib/python3/dist-packages/zeva/py.typed
lib/zeva/bin/zeva
lib/zeva/lib/libCoreGraphics.so
lib/zeva/lib/libCoreImage.so
lib/zeva/lib/libImageIO.so
lib/zeva/lib/libcodec_heif.so
lib/zeva/lib/libcodec_tiff.so
lib/zeva/lib/libcodec_webp.so
lib/zeva/lib/libstudio_server.so
lib/zeva/lib/libzeva.so
lib/zeva/lib/libzeva_plugin.a
lib/zeva/modules/companion.so
lib/zeva/modules/filters.so
lib/zeva/modules/probe.so
share/bash-completion/completions/zeva
share/doc/python3-zeva/copyright
share/doc/python3-zeva/python.md
share/doc/zeva/CHANGELOG.md
share/doc/zeva/README.md
share/doc/zeva/checker.md
share/doc/zeva/copyright
share/doc/zeva/interface.md
share/doc/zeva/modules.md
share/man/man1/zeva.1
share/zeva/judge_host.lua
share/zeva/recipes/cinematic.recipe
share/zeva/recipes/duotone.recipe
share/zeva/recipes/faded.recipe
share/zeva/recipes/grain.png
share/zeva/recipes/high-key.recipe
share/zeva/recipes/noir.recipe
share/zeva/recipes/sketch.recipe
share/zeva/recipes/soft-glow.recipe
share/zeva/recipes/tilt-shift.recipe
share/zeva/recipes/vignette.recipe
share/zeva/recipes/warm-film.recipe
share/zeva/tools/class_catalogue.py
share/zeva/tools/class_descriptions.py
share/zeva/tools/generate_classes.py
""".split()


def run(*command, **options):
    done = subprocess.run(list(map(str, command)), capture_output=True, text=True, timeout=600, **options)
    assert done.returncode == 0, f"{command}\n{done.stdout}{done.stderr}"
    return done.stdout


class InstallTest(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.folder = pathlib.Path(cls.enterClassContext(tempfile.TemporaryDirectory()))
        run("cmake", "--install", BUILD, "--prefix", f"/{PREFIX}", "--strip",
            env=os.environ | {"DESTDIR": str(cls.folder / "stage")})
        cls.root = cls.folder / "stage" / PREFIX
        cls.files = [path for path in cls.root.rglob("*") if path.is_file() and not path.is_symlink()]
        cls.binaries = [path for path in cls.files if elf.is_elf(path)]
        cls.is_32_bit = cls.binaries[0].read_bytes()[4] == 1

    def test_installs_below_the_prefix_only(self):
        self.assertEqual([], [path for path in (self.folder / "stage").rglob("*")
                              if not path.is_dir() and not path.is_relative_to(self.root)])

    def test_installs_every_file_of_the_table(self):
        self.assertEqual([], [name for name in FILES if not (self.root / name).exists()])
        # Headers apart, there are no others.
        others = {str(path.relative_to(self.root)) for path in self.files} - set(FILES)
        only_32_bit = {"lib/zeva/lib/libexception_frames.so", "lib/zeva/lib/libmacos_platform.so"}
        expected = only_32_bit if self.is_32_bit else set()
        self.assertEqual(expected, {name for name in others if not name.startswith("include/zeva/")
                                    and not name.startswith("lib/cmake/zeva/zevaTargets-")})

    def test_the_list_of_contents_has_every_file_with_its_digest(self):
        path = self.root / "share/doc/zeva/contents.spdx.json"
        self.addCleanup(path.unlink)
        written = []
        for _ in range(2):
            run(sys.executable, "-B", SOURCE / "cmake/write_spdx.py", self.root, "zeva", "1.0", SOURCE / "LICENSE",
                path, "--needs", "libc6 (>= 2.36), libffi8", "--recommends", "libwebp7 (>= 1.2)",
                env=os.environ | {"SOURCE_DATE_EPOCH": "1700000000"})
            written.append(path.read_bytes())
        self.assertEqual(*written)
        spdx.check(self, path, self.root)
        document = json.loads(written[0])
        self.assertEqual("2023-11-14T22:13:20Z", document["creationInfo"]["created"])
        self.assertEqual(["libc6", "libffi8", "libwebp7"], [package["name"] for package in document["packages"][1:]])
        self.assertEqual("version >= 2.36", document["packages"][1]["comment"])

    def test_files_contain_no_path_of_the_build(self):
        for path in self.files:
            text = path.read_bytes()
            for folder in (SOURCE, BUILD, pathlib.Path(os.path.realpath(SOURCE / "build" / "sysroot-i386"))):
                self.assertFalse(os.fsencode(folder) + b"/" in text, f"{path} contains {folder}/")

    def test_binaries_look_for_libraries_beside_themselves_only(self):
        for path in self.binaries:
            self.assertLessEqual(set(elf.search_paths(path)), {"$ORIGIN/../lib"}, path)

    def test_built_binaries_do_not_look_for_libraries_in_the_current_folder(self):
        if self.is_32_bit:
            self.skipTest("those do, behind the folders of the sysroot")
        for path in self.binaries:
            built = BUILD / path.relative_to(self.root / "lib/zeva")
            for folders in elf.search_paths(built):
                self.assertNotIn("", folders.split(":"), built)

    def test_the_program_names_the_loader_of_the_system(self):
        expected = "/lib/ld-linux.so.2" if self.is_32_bit else "/lib64/ld-linux-x86-64.so.2"
        self.assertEqual(expected, elf.loader(self.root / "lib/zeva/bin/zeva"))

    def test_the_package_depends_on_what_the_binaries_load(self):
        own = {path.name for path in self.binaries}
        loaded = {name for path in self.binaries for name in elf.needed(path)} - own
        # The loader is part of the C library.
        loaded = {name for name in loaded if not name.startswith("ld-linux")}
        self.assertEqual(set((BUILD / "loaded_libraries.txt").read_text().split()), loaded)

    def test_an_installed_64_bit_program_runs(self):
        if self.is_32_bit:
            self.skipTest("the system has no 32-bit loader; make package-test runs the program")
        self.assertIn("GaussianBlur", run(self.root / "bin" / "zeva", "list"))
        self.assertIn("noir.recipe", run(self.root / "bin" / "zeva", "recipe", "--list"))
        self.assertIn("grain.png", run(self.root / "bin" / "zeva", "recipe", "noir.recipe"))

    def test_a_module_builds_against_the_installed_package_and_loads(self):
        folder = self.folder / "module"
        run("cmake", "-G", "Ninja", "-S", SOURCE / "tests/package/module", "-B", folder,
            f"-DCMAKE_TOOLCHAIN_FILE={TOOLCHAIN}", f"-Dzeva_DIR={self.root / 'lib/cmake/zeva'}",
            "-DCMAKE_CXX_STANDARD=20")
        run("cmake", "--build", folder)
        script = self.folder / "cups.lua"
        script.write_text("print(Teapot.Cups())\n")
        self.assertEqual("6\n", run(BUILD / "bin" / "zeva", "run", "--module", folder / "teapot.so", script))

    def test_the_guide_for_modules_leads_to_a_checked_module(self):
        if self.is_32_bit:
            self.skipTest("the system has no 32-bit loader; make package-test follows the guide")
        folder = self.folder / "guide"
        folder.mkdir()
        environment = os.environ | {"PATH": f"{self.root / 'bin'}:{os.environ['PATH']}",
                                    "CMAKE_PREFIX_PATH": str(self.root)}
        for number, (commands, expected) in enumerate(guide.steps(SOURCE / "docs/modules.md")):
            with self.subTest(number):
                self.assertEqual(expected, run("sh", "-e", "-c", commands, cwd=folder, env=environment))

    def test_the_package_refuses_another_major_version(self):
        text = (SOURCE / "tests/package/module/CMakeLists.txt").read_text()
        folder = self.folder / "other"
        shutil.copytree(SOURCE / "tests/package/module", folder)
        (folder / "CMakeLists.txt").write_text(text.replace("zeva 1.0 REQUIRED", "zeva 2.0 REQUIRED"))
        done = subprocess.run(["cmake", "-G", "Ninja", "-S", folder, "-B", folder / "build",
                               f"-DCMAKE_TOOLCHAIN_FILE={TOOLCHAIN}", f"-Dzeva_DIR={self.root / 'lib/cmake/zeva'}"],
                              capture_output=True, text=True)
        self.assertNotEqual(0, done.returncode)
        self.assertIn("requested version \"2.0\"", done.stderr)

    def test_generating_classes_refuses_wrong_words_and_a_missing_python(self):
        script = self.folder / "generate.cmake"
        for words, message in [
            ("", "no python3, expected 3.9 or later; without it, classes cannot be generated from list.txt"),
            ("more", "'more' does not fit, expected [OBJCXX] [DESCRIPTIONS FILE] behind the catalogue"),
            ("OBJCXX DESCRIPTIONS",
             "'OBJCXX DESCRIPTIONS' does not fit, expected [OBJCXX] [DESCRIPTIONS FILE] behind the catalogue"),
        ]:
            script.write_text(f'include("{self.root}/lib/cmake/zeva/GenerateClasses.cmake")\n'
                              f"zeva_generate_classes(parts list.txt {words})\n")
            done = subprocess.run(["cmake", "-DCMAKE_DISABLE_FIND_PACKAGE_Python3=ON", "-P", script],
                                  capture_output=True, text=True)
            self.assertNotEqual(0, done.returncode)
            self.assertIn(f"zeva_generate_classes: {message}", " ".join(done.stderr.split()))


class SystemLoaderTest(unittest.TestCase):
    def setUp(self):
        self.file = pathlib.Path(self.enterContext(tempfile.TemporaryDirectory())) / "program"

    def change(self):
        return subprocess.run([sys.executable, SOURCE / "cmake/use_system_loader.py", self.file], capture_output=True,
                              text=True)

    def program(self, name):
        header = struct.pack("<4sB11xHHIIIIIHHHHHH", b"\x7fELF", 1, 3, 3, 1, 0, 52, 0, 0, 52, 32, 1, 0, 0, 0)
        self.file.write_bytes(header + struct.pack("<8I", 3, 84, 84, 84, len(name), len(name), 4, 1) + name)

    def test_a_second_change_alters_nothing(self):
        self.program(b"/somewhere/else/lib/ld-linux.so.2\0")
        self.assertEqual(0, self.change().returncode)
        self.assertIn("/lib/ld-linux.so.2", self.file.read_bytes()[84:].decode())
        changed = self.file.read_bytes()
        self.assertEqual(0, self.change().returncode)
        self.assertEqual(changed, self.file.read_bytes())

    def test_refuses_what_is_not_a_32_bit_program(self):
        self.file.write_bytes(b"\x7fELF\x02" + bytes(60))
        self.assertIn("not a 32-bit ELF file", self.change().stderr)
        self.program(b"/ld\0")
        self.assertIn("no room", self.change().stderr)
        self.assertEqual(b"/ld\0", self.file.read_bytes()[84:])


if __name__ == "__main__":
    unittest.main()
