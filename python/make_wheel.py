#!/usr/bin/env python3
"""Makes a wheel of the package with the libraries and modules of a build.

Usage: make_wheel.py BUILD_FOLDER OUTPUT_FOLDER     (run by the Python whose setuptools and wheel are used)

Nothing is downloaded. The libraries need what the Debian package depends on: GNUstep, libpng and the others. Prints the
path of the wheel.
"""

import os
import pathlib
import re
import shutil
import subprocess
import sys
import tempfile

SOURCE = pathlib.Path(__file__).resolve().parent


def main(build, output):
    build, output = pathlib.Path(build).resolve(), pathlib.Path(output).resolve()
    version = re.search(r"CMAKE_PROJECT_VERSION:STATIC=(.*)", (build / "CMakeCache.txt").read_text()).group(1)
    with tempfile.TemporaryDirectory() as folder:
        stage, package = pathlib.Path(folder, "stage"), pathlib.Path(folder, "wheel")
        subprocess.run(["cmake", "--install", build, "--prefix", "/zeva", "--strip"], check=True,
                       stdout=subprocess.DEVNULL, env=os.environ | {"DESTDIR": str(stage)})
        installed = stage / "zeva/lib"
        shutil.copytree(installed / "python3/dist-packages/zeva", package / "zeva")
        for kind in "lib", "modules":
            shutil.copytree(installed / "zeva" / kind, package / "zeva" / kind, ignore=shutil.ignore_patterns("*.a"))
        shutil.copy(SOURCE / "setup.py", package)
        # The fifth byte of an ELF file is its width.
        is_64_bit = (package / "zeva/lib/libzeva.so").read_bytes()[4] == 2
        settings = {"ZEVA_VERSION": version, "ZEVA_PLATFORM": "linux_x86_64" if is_64_bit else "linux_i686"}
        done = subprocess.run([sys.executable, "setup.py", "--quiet", "bdist_wheel", "--dist-dir", output], cwd=package,
                              env=os.environ | settings, capture_output=True, text=True)
        if done.returncode != 0:
            sys.exit(f"{sys.argv[0]}: {done.stderr}; no wheel was made")
    print(next(output.glob(f"zeva-{version}-*.whl")))


if __name__ == "__main__":
    main(*sys.argv[1:])
