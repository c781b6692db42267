#!/usr/bin/env python3
"""Makes the wheel, installs it into a clean virtual environment, and uses it there without numpy and Pillow.

Usage: wheel_test.py BUILD_FOLDER SOURCE_FOLDER ENVIRONMENT

The environment stays for the other tests of the package. It sees the packages of the system; this test hides numpy and
Pillow.
"""

import pathlib
import shutil
import subprocess
import sys
import unittest

ENVIRONMENT = pathlib.Path(sys.argv.pop())
SOURCE = pathlib.Path(sys.argv.pop())
BUILD = pathlib.Path(sys.argv.pop())
PHOTO = "/usr/share/matplotlib/mpl-data/sample_data/grace_hopper.jpg"


def run(*command):
    done = subprocess.run(list(map(str, command)), capture_output=True, text=True, timeout=600)
    assert done.returncode == 0, f"{command}\n{done.stdout}{done.stderr}"
    return done.stdout


class WheelTest(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        shutil.rmtree(ENVIRONMENT, ignore_errors=True)
        shutil.rmtree(BUILD / "wheel", ignore_errors=True)
        cls.wheel = run(sys.executable, "-B", SOURCE / "python/make_wheel.py", BUILD, BUILD / "wheel").strip()
        run(sys.executable, "-m", "venv", "--system-site-packages", ENVIRONMENT)
        run(ENVIRONMENT / "bin/python", "-m", "pip", "install", "--no-index", "--no-deps",
            "--disable-pip-version-check", cls.wheel)
        (cls.packages,) = ENVIRONMENT.glob("lib/python3*/site-packages")

    def test_the_wheel_holds_libraries_for_any_python(self):
        self.assertRegex(self.wheel, r"zeva-[0-9.]+-py3-none-linux_x86_64\.whl$")
        for name in "lib/libzeva.so", "modules/companion.so", "modules/filters.so", "__init__.pyi", "py.typed":
            self.assertTrue((self.packages / "zeva" / name).is_file(), name)

    def test_the_package_works_without_numpy_and_pillow(self):
        program = f"""
import sys
sys.path.insert(0, {str(self.packages)!r})
sys.modules["numpy"] = sys.modules["PIL"] = None
import zeva
photo = zeva.open({PHOTO!r})
view = photo.crop((0, 0, 2, 3)).pixels()
assert (view.shape, view.format, view.readonly) == ((3, 2, 4), "B", True), view
assert photo.crop((0, 0, 2, 3)).values().format == "f"
again = zeva.from_array(view)
assert again.pixels().tolist() == view.tolist()
assert again.to_png().size > 60
try:
    zeva.from_array([1])
except zeva.errors.WrongType as error:
    assert "expected an array of pixels, got list [1]" in str(error), error
print(zeva._library.path)
"""
        printed = run(ENVIRONMENT / "bin/python", "-I", "-c", program)
        self.assertEqual(str(self.packages / "zeva/lib/libzeva.so"), printed.strip())

    def test_the_import_opens_no_host(self):
        program = "import zeva, zeva._host; print(zeva._host.is_open(), zeva.open_host.__module__)"
        self.assertEqual("False zeva._host\n", run(ENVIRONMENT / "bin/python", "-I", "-c", program))

    def test_a_missing_library_names_the_places(self):
        done = subprocess.run([ENVIRONMENT / "bin/python", "-c", "import zeva"], capture_output=True, text=True,
                              env={"ZEVA_LIBRARY": "/nowhere/libzeva.so"})
        self.assertIn("libzeva.so: found at none of /nowhere/libzeva.so; ZEVA_LIBRARY can name the file", done.stderr)
        library = BUILD / "nothing.so"
        library.write_bytes(b"not a library")
        done = subprocess.run([ENVIRONMENT / "bin/python", "-c", "import zeva"], capture_output=True, text=True,
                              env={"ZEVA_LIBRARY": str(library)})
        self.assertRegex(done.stderr, "nothing.so: .*; this Python needs the libraries of x86_64")


if __name__ == "__main__":
    unittest.main()
