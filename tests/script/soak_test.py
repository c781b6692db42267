#!/usr/bin/env python3
"""A hundred thousand objects made and dropped by a script leave the process as large as it was.

Usage: soak_test.py PATH_OF_ZEVA
"""

import pathlib
import subprocess
import sys

ALLOWED = 2048  # kilobytes; a byte and a half lost with every object would show

script = pathlib.Path(__file__).with_name("soak.lua")
result = subprocess.run([sys.argv[1], "run", script], capture_output=True, text=True, timeout=300)
if result.returncode != 0:
    sys.exit(f"the script failed: {result.stderr[-2000:]}")
made, before, after = map(float, result.stdout.split())
print(f"{made:.0f} objects, {before:.0f} KB after a tenth of them, {after:.0f} KB at the end")
if made < 100000 or after - before > ALLOWED:
    sys.exit(f"the process grew by {after - before:.0f} KB, {ALLOWED} are allowed")
