#!/usr/bin/env python3
"""Installs, uses, upgrades and removes the Debian packages in clean systems of their own width, without a network.

Usage: package_test.py ABI...     (i386, x86_64: build/<ABI>/package has the package)

Each clean system has the base system of Debian 12, the packages that ours depends on, and Python with numpy and Pillow,
nothing else; an i386 one has no 64-bit file. There the suite of the Python package runs on the system's own Python.
In another one, which has a compiler, CMake and Python, the guide for authors of modules is followed to the letter.
The systems are kept in build/clean-root-... for the next run. Needs root for chroot: without it the tests
are skipped, by name. The last line is "N passed, N failed, N skipped".
"""

import json
import os
import pathlib
import re
import shutil
import subprocess
import sys
import tempfile
import unittest

import elf
import guide
import spdx

ROOT = pathlib.Path(__file__).resolve().parents[2]
PHOTO = "/usr/share/matplotlib/mpl-data/sample_data/grace_hopper.jpg"
PYTHON = ["python3", "python3-numpy", "python3-pil"]
# What a module is built with; in a system of its own.
COMPILER = ["cmake", "g++", "make", "python3"]
ARCHITECTURES = {"i386": "i386", "x86_64": "amd64"}


def run(*command, timeout=300):
    done = subprocess.run(list(map(str, command)), stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True,
                          timeout=timeout)
    assert done.returncode == 0, f"{' '.join(map(str, command))}\n{done.stdout[-2000:]}"
    return done.stdout


def field(package, name):
    return run("dpkg-deb", "--field", package, name).strip()


def main_suite():
    """The machine's own main suite as a line for a list of sources."""
    targets = run("apt-get", "indextargets", "--format", "$(SITE) $(CODENAME) $(COMPONENT)", "Created-By: Packages")
    return next(f"deb {site} bookworm main" for site, suite, component in map(str.split, targets.splitlines())
                if (suite, component) == ("bookworm", "main"))


def clean_root(name, architecture, dependencies):
    """The folder of a clean system with the named packages, made on first use."""
    folder = ROOT / "build" / f"clean-root-{name}"
    complete = folder / ".complete"
    wanted = ",".join(sorted(dependencies))
    if not complete.exists() or complete.read_text() != wanted:
        shutil.rmtree(folder, ignore_errors=True)
        # Documents are left out: they are a third of the files.
        # An x86_64 kernel runs i386 programs by itself, so no emulator is looked for.
        run("mmdebstrap", "--mode=root", "--variant=minbase", "--skip=check/qemu", f"--architectures={architecture}",
            f"--include={wanted}",
            "--dpkgopt=force-unsafe-io", "--dpkgopt=path-exclude=/usr/share/doc/*",
            "--dpkgopt=path-exclude=/usr/share/locale/*", "bookworm", folder, main_suite(),
            timeout=1200)
        # Excluding files is for making the system, not for the package under test.
        for options in (folder / "etc/dpkg/dpkg.cfg.d").iterdir():
            options.unlink()
        complete.write_text(wanted)
    return folder


class CleanSystem(unittest.TestCase):
    """A clean system of a width, and what tests do in it."""

    abi = None  # set by the class for each width
    kit = ""  # part of the name of the system
    tools = PYTHON  # packages besides those that ours depends on
    skipped = None  # why, if the tests cannot run on this machine

    @classmethod
    def setUpClass(cls):
        if cls.skipped:
            return
        cls.package, cls.python_package = cls.packages("zeva_*.deb"), cls.packages("python3-zeva_*_all.deb")
        dependencies = [re.sub(r" *\(.*", "", name) for name in field(cls.package, "Depends").split(", ")]
        architecture = ARCHITECTURES[cls.abi]
        clean = clean_root(cls.kit + architecture, architecture, dependencies + cls.tools)
        # A copy with hard links: dpkg replaces files, it does not write into them.
        cls.root = pathlib.Path(cls.enterClassContext(tempfile.TemporaryDirectory(dir=ROOT / "build"))) / "root"
        run("cp", "--archive", "--link", clean, cls.root)
        # dpkg's own records are written in place.
        shutil.rmtree(cls.root / "var/lib/dpkg")
        run("cp", "--archive", clean / "var/lib/dpkg", cls.root / "var/lib/dpkg")
        shutil.copy(PHOTO, cls.root / "tmp/photo.jpg")
        for folder in "python", "support":
            shutil.copytree(ROOT / "tests" / folder, cls.root / "tmp/tests" / folder)
        shutil.copytree(ROOT / "filters", cls.root / "tmp/filters")
        cls.before = cls.files()

    @classmethod
    def packages(cls, name):
        """The path of the package with a name."""
        found = list((ROOT / "build" / cls.abi / "package").glob(name))
        assert len(found) == 1, f"build/{cls.abi}/package: {len(found)} files {name}, expected 1; make package makes it"
        return found[0]

    def setUp(self):
        if self.skipped:
            self.skipTest(self.skipped)

    @classmethod
    def files(cls):
        return {str(path.relative_to(cls.root)) for path in cls.root.rglob("*")
                if not path.is_relative_to(cls.root / "var") and not path.is_relative_to(cls.root / "tmp")}

    def inside(self, *command):
        # Foundation reads /proc. The mount disappears with the command.
        return run("unshare", "--net", "--mount", "sh", "-c",
                   'root=$1; shift; mount --rbind /proc "$root/proc" && exec chroot "$root" "$@"', "sh", self.root,
                   *command)

    def install(self, package):
        shutil.copy(package, self.root / "tmp" / package.name)
        # dpkg refuses a package with a dependency that is not installed.
        self.inside("dpkg", "--install", f"/tmp/{package.name}")


class PackageTest(CleanSystem):
    def use(self):
        (self.root / "tmp/small.png").unlink(missing_ok=True)
        self.inside("/usr/bin/zeva", "apply", "GaussianBlur", "inputRadius=5", "/tmp/photo.jpg", "-o", "/tmp/small.png")
        self.assertEqual(b"\x89PNG", (self.root / "tmp/small.png").read_bytes()[:4])
        return self.inside("/usr/bin/zeva", "list")

    def newer(self):
        """The same package with a higher version."""
        folder = self.root.parent / "newer"
        run("dpkg-deb", "--raw-extract", self.package, folder)
        control = folder / "DEBIAN/control"
        control.write_text(re.sub(r"(?m)^Version: (.*)$", r"Version: \1+next", control.read_text()))
        run("dpkg-deb", "--build", "-Znone", folder, folder.with_suffix(".deb"))
        return folder.with_suffix(".deb")

    def test_installs_runs_upgrades_and_leaves_nothing(self):
        self.install(self.package)
        self.assertEqual(run(ROOT / "build" / self.abi / "bin/zeva", "list"), self.use())
        self.install(self.newer())
        self.assertIn("+next", self.inside("dpkg-query", "-W", "-f=${Version}", "zeva"))
        self.use()
        self.inside("dpkg", "--purge", "zeva")
        self.assertEqual(self.before, self.files())

    def test_packages_list_their_contents(self):
        for package in self.package, self.python_package:
            name = field(package, "Package")
            with self.subTest(name), tempfile.TemporaryDirectory() as folder:
                run("dpkg-deb", "--extract", package, folder)
                path = pathlib.Path(folder) / f"usr/share/doc/{name}/contents.spdx.json"
                spdx.check(self, path, pathlib.Path(folder))
                needed = {each["name"] for each in json.loads(path.read_text())["packages"][1:]}
                relations = field(package, "Depends") + ", " + field(package, "Recommends")
                self.assertEqual({each.split()[0] for each in relations.split(", ") if each}, needed)

    def test_the_python_package_runs_on_the_system_of_this_width(self):
        """Its whole suite: with 32 bits, too, an exception of the platform becomes one of Python."""
        self.install(self.package)
        self.install(self.python_package)
        module = ROOT / "build" / self.abi / "tests/library/spellings_module.so"
        variables = ["ZEVA_PHOTO=/tmp/photo.jpg", "ZEVA_FILTERS=/usr/lib/zeva/modules"]
        if module.exists():  # built with the tests
            shutil.copy(module, self.root / "tmp")
            variables.append("ZEVA_SPELLINGS_MODULE=/tmp/spellings_module.so")
        for suite in "errors", "ownership", "pictures", "process", "properties":
            self.inside("env", *variables, "/usr/bin/python3", "-B", f"/tmp/tests/python/{suite}_test.py")
        self.inside("dpkg", "--purge", "python3-zeva", "zeva")
        self.assertEqual(self.before, self.files())

    def test_the_system_has_only_this_width(self):
        expected = {"i386": b"\x01", "x86_64": b"\x02"}[self.abi]
        for folder in ("usr/bin", "usr/lib"):
            for path in (self.root / folder).rglob("*"):
                if path.is_file() and not path.is_symlink() and elf.is_elf(path):
                    self.assertEqual(expected, path.read_bytes()[4:5], path)


class GuideTest(CleanSystem):
    kit = "kit-"
    tools = COMPILER

    def test_the_guide_for_modules_leads_to_a_checked_module(self):
        self.install(self.package)
        folder = "/tmp/guide"
        self.inside("mkdir", folder)
        for number, (commands, expected) in enumerate(guide.steps(ROOT / "docs/modules.md")):
            with self.subTest(number):
                self.assertEqual(expected, self.inside("sh", "-e", "-c", f"cd {folder}\n{commands}"))


def obstacle():
    """Why the tests cannot run on this machine; None if they can."""
    if os.geteuid() != 0 or shutil.which("mmdebstrap") is None:
        return "needs root and mmdebstrap"
    if subprocess.run(["unshare", "--net", "--mount", "chroot", "/", "true"], capture_output=True).returncode != 0:
        return "chroot without a network does not work here"
    return None


def main(abis):
    suite = unittest.TestSuite()
    CleanSystem.skipped = obstacle()
    for abi in abis:
        for test in PackageTest, GuideTest:
            case = type(f"{test.__name__}_{abi}", (test,), {"abi": abi})
            suite.addTests(unittest.defaultTestLoader.loadTestsFromTestCase(case))
    result = unittest.TextTestRunner(verbosity=2).run(suite)
    failed, skipped = len(result.failures) + len(result.errors), len(result.skipped)
    # testsRun does not count a class whose setup failed, so the difference may be negative.
    print(f"{max(0, result.testsRun - failed - skipped)} passed, {failed} failed, {skipped} skipped")
    return 1 if failed else 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
