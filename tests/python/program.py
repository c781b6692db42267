"""Runs programs in processes of their own, for tests of what happens to a process."""

import os
import subprocess
import sys

# A photo of 512 x 600 pixels.
PHOTO = os.environ.get("ZEVA_PHOTO", "/usr/share/matplotlib/mpl-data/sample_data/grace_hopper.jpg")


def run(code, *arguments, environment=None, status=0):
    """Runs a program and returns what it prints, errors included."""
    done = subprocess.run([sys.executable, "-B", "-c", code, *arguments], stdout=subprocess.PIPE,
                          stderr=subprocess.STDOUT, text=True, timeout=600, env=environment)
    assert done.returncode == status, f"status {done.returncode}\n{done.stdout}"
    return done.stdout
