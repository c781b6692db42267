#!/usr/bin/env python3
"""Builds the tree twice, in two folders whose names differ in length, and compares the bytes of what comes out.

Usage: reproduce.py ABI...     (i386, x86_64)

The two builds differ in their folder, time, time zone, language, umask and number of jobs, and neither uses a compiler
cache. Compared are the Debian packages, the program, modules and libraries as they are installed, with 64 bits those of
the build folder too, and with 32 bits the object and the bundle for macOS. (With 32 bits the files of a build folder
name the sysroot by its path, so that they run there.) Work is done in build/reproducible; a second call builds only
what is missing, so remove that folder first for a new proof.

Prints a line for each kind, and what diffoscope says about the first file that differs, if it is installed. Exit status
1 if a file differs or is missing in one build.
"""

import hashlib
import os
import pathlib
import re
import shutil
import subprocess
import sys

ROOT = pathlib.Path(__file__).resolve().parents[2]
WORK = ROOT / "build/reproducible"
# The date of what packages contain; any date does, as long as it is the same.
EPOCH = os.environ.get("SOURCE_DATE_EPOCH", "1700000000")

# The folder of each build below WORK, and what differs in its environment.
BUILDS = {
    "one": {"TZ": "UTC", "LC_ALL": "C.UTF-8", "umask": 0o022},
    "another-folder/of-a-longer-name": {"TZ": "Pacific/Auckland", "LC_ALL": "C", "umask": 0o077},
}


def run(folder, environment, *command):
    settings = {name: value for name, value in environment.items() if name != "umask"} | {"SOURCE_DATE_EPOCH": EPOCH}
    launchers = {f"CMAKE_{language}_COMPILER_LAUNCHER": "" for language in ("C", "CXX", "OBJC", "OBJCXX")}
    done = subprocess.run(list(map(str, command)), cwd=folder, umask=environment["umask"], stdout=subprocess.PIPE,
                          stderr=subprocess.STDOUT, text=True,
                          env=os.environ | launchers | settings | {"CCACHE_DISABLE": "1"})
    if done.returncode != 0:
        sys.exit(f"reproduce: {' '.join(map(str, command))} failed in {folder}\n{done.stdout[-3000:]}")


def copy_sources(folder):
    """The tracked files, with the time of the copy, and a link to the sysroot."""
    names = subprocess.run(["git", "ls-files", "-z"], cwd=ROOT, check=True, capture_output=True, text=True).stdout
    for name in filter(None, names.split("\0")):
        if (ROOT / name).exists() and not (folder / name).exists():
            (folder / name).parent.mkdir(parents=True, exist_ok=True)
            shutil.copyfile(ROOT / name, folder / name)
            shutil.copymode(ROOT / name, folder / name)
    link = folder / "build/sysroot-i386"
    link.parent.mkdir(exist_ok=True)
    if (ROOT / "build/sysroot-i386").exists() and not link.exists():
        # Not a link to the folder itself: the build must not find the other one by it.
        subprocess.run(["cp", "--archive", "--link", ROOT / "build/sysroot-i386", link], check=True)


def build(abi, folder, environment):
    output = folder / "build" / abi
    macos = "ON" if abi == "i386" else "OFF"
    run(folder, environment, "cmake", "--preset", abi, "-DZEVA_TESTS=OFF", f"-DZEVA_MACOS_CODE={macos}")
    installed = re.search(r"(?m)^INSTALLED := (.*)$", (ROOT / "Makefile").read_text())[1].split()
    run(folder, environment, "nice", "cmake", "--build", output, "--target", "zeva", "zeva_filters", "zeva_companion",
        *installed,
        *(["zeva_filters_macos"] if abi == "i386" else []), "--", f"-j{1 + len(folder.name) % 2}")
    run(folder, environment | {"DESTDIR": str(output / "stage")}, "cmake", "--install", output, "--prefix", "/usr",
        "--strip")
    # As make package does it: the modes of the parts of a package follow the umask.
    run(folder, environment, "sh", "-c", 'umask 022 && exec cpack --config "$1"', "sh", output / "CPackConfig.cmake")


def compared(abi, folder):
    """The kinds of files that are compared: name -> paths relative to the folder of the tree."""
    build_folder = folder / "build" / abi
    kinds = {
        "packages": build_folder.glob("package/*.deb"),
        "installed": (path for path in (build_folder / "stage").rglob("*") if path.is_file()),
    }
    if abi == "i386":
        kinds["macOS"] = (path for path in folder.glob("build/macos-*/**/*") if path.is_file())
    else:
        kinds["built"] = (path for pattern in ("bin/zeva", "modules/*.so", "lib/*.so", "lib/libzeva_plugin.a")
                          for path in build_folder.glob(pattern))
    return {kind: {str(path.relative_to(folder)): path for path in paths} for kind, paths in kinds.items()}


def digest(path):
    return hashlib.sha256(path.read_bytes()).hexdigest()


def main(abis):
    folders = [WORK / name for name in BUILDS]
    for folder, environment in zip(folders, BUILDS.values()):
        folder.mkdir(parents=True, exist_ok=True)
        copy_sources(folder)
        for abi in abis:
            build(abi, folder, environment)
    differing = []
    for abi in abis:
        first, second = (compared(abi, folder) for folder in folders)
        for kind, files in first.items():
            assert files, f"{abi}: no {kind}"
            names = sorted(files.keys() | second[kind].keys())
            unequal = [name for name in names if name not in files or name not in second[kind]
                       or digest(files[name]) != digest(second[kind][name])]
            print(f"{abi:7} {kind:10} {len(names) - len(unequal):4} identical {len(unequal):3} different", flush=True)
            for name in unequal:
                print(f"        {name}")
            differing += [(files.get(name), second[kind].get(name)) for name in unequal]
    both = next((pair for pair in differing if all(pair)), None)
    if both and shutil.which("diffoscope"):
        print(subprocess.run(["diffoscope", "--max-report-size", "20000", *both], capture_output=True,
                             text=True).stdout[:20000])
    return 1 if differing else 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
