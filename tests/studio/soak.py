#!/usr/bin/env python3
"""Uses a studio at random and watches the memory of its processes.

Usage: soak.py ZEVA [--seconds N] [--seed N]

After a warm-up of a tenth of the time, no process may grow by more than 64 MB.
"""

import argparse
import json
import pathlib
import random
import sys
import time

arguments = argparse.ArgumentParser()
arguments.add_argument("zeva")
arguments.add_argument("--seconds", type=float, default=600)
arguments.add_argument("--seed", type=int, default=1)
options = arguments.parse_args()
sys.argv = [sys.argv[0], options.zeva]
from studio_process import PHOTO, Studio, card, view

MOST_GROWTH = 64 << 20


def memory(process):
    """The resident memory of a process."""
    return int(pathlib.Path(f"/proc/{process}/statm").read_text().split()[1]) * 4096


def random_card(filters, name):
    filter = random.choice(filters)
    settings = {}
    for key in filter["properties"]:
        if key["type"] == "double" and random.random() < 0.5:
            low, high = key.get("sliderMin", 0), min(key.get("sliderMax", 1), 300)
            settings[key["name"]] = str(random.uniform(min(low, high), max(low, high)))
        if key["type"] == "CIImageQOR" and key["name"] not in ("inputImage", "outputImage"):
            settings[key["name"]] = "$input"
    return card(name, filter["filter"], **settings)


def main():
    random.seed(options.seed)
    print(f"seed {options.seed}")
    studio = Studio(PHOTO).enter()
    live = studio.live()
    filters = json.loads(studio.get("/catalogue.json").body)["filters"]
    start, first, count, last = time.monotonic(), {}, 0, 0
    while time.monotonic() < start + options.seconds:
        cards = [random_card(filters, f"c{i}") for i in range(random.randint(0, 4))]
        width = random.choice((64, 256, 512))
        live.call("render", photo="1", cards=cards, keepSize=random.random() < 0.7, view=view(width, width))
        if random.random() < 0.1:
            texts = live.call("copy", photo="1", cards=cards, keepSize=True)[0]
            live.call("paste", text=texts.get("recipe", "x"))
        if random.random() < 0.02:
            saved = live.call("save", photo="1", cards=[], keepSize=True, format="jpg", options={}, name="x")[0]
            studio.get(saved["download"])
        count += 1
        passed = time.monotonic() - start
        now = {process: memory(process) for process in [studio.process.pid, *studio.workers()]}
        if passed > options.seconds / 10 and not first:
            first = now
        if passed > last + 30:
            last = passed
            print(f"{passed:5.0f} s  {count:6} pictures  " + "  ".join(f"{size >> 20} MB" for size in now.values()),
                flush=True)
    growth = {process: now[process] - size for process, size in first.items() if process in now}
    studio.end()
    print(f"{count} pictures; growth " + ", ".join(f"{size / (1 << 20):.1f} MB" for size in growth.values()))
    return 0 if first.keys() == now.keys() and all(size < MOST_GROWTH for size in growth.values()) else 1


sys.exit(main())
