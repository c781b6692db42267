#!/usr/bin/env python3
"""Measures how fast the studio follows the mouse: in the server, and from an input event to painted pixels.

Usage: speed.py ZEVA [--write] [--repeat N]

Every filter is shown on a photo 1024 pixels wide, at its default settings, and one of its numbers is moved. The page
measures from its input event to the frame after the pixels are on the canvas. --write replaces the table in
docs/speed.md.
"""

import argparse
import json
import pathlib
import re
import statistics
import subprocess
import sys
import tempfile
import time

arguments = argparse.ArgumentParser()
arguments.add_argument("zeva")
arguments.add_argument("--write", action="store_true")
arguments.add_argument("--repeat", type=int, default=15)
options = arguments.parse_args()
sys.argv = [sys.argv[0], options.zeva]
from studio_process import PHOTO, ZEVA, Studio, view
from web_driver import Browser

ROOT = pathlib.Path(__file__).parent.parent.parent
BEGIN, END = "<!-- studio begin -->", "<!-- studio end -->"
SIDE = 1024
# Adds a filter, changes it again and again, and returns the times from the change to the painted frame.
MEASURE = """
const [name, repeat, done] = arguments;
const modules = ["/catalogue.js", "/cards.js", "/history.js"].map((each) => import(each));
Promise.all(modules).then(async ([catalogue, cards, history]) => {
  const stage = document.getElementById("stage");
  const filter = catalogue.filters.find((each) => each.filter === name);
  const painted = () => Number(stage.dataset.painted ?? 0);
  const frame = () => new Promise((resolve) => requestAnimationFrame(resolve));
  const settle = async () => {
    let last = -1;
    for (let quiet = 0; quiet < 12;) { quiet = painted() === last ? quiet + 1 : 0; last = painted(); await frame(); }
  };
  cards.addCard(filter);
  await settle();
  const card = cards.chosenCard();
  const times = [];
  for (let i = 0; i < repeat; i++) {
    const before = painted();
    const start = performance.now();
    // A value of its own each time, so that nothing is the same as before.
    const key = filter.keys.find((each) => each.type === "double");
    if (key) cards.setKey(card.name, key, String(Number(key.default ?? 0) * (1 + (i % 7) * 1e-4) + (i % 7) * 1e-5));
    else history.change({ ...history.current() });
    const end = start + 3000;
    while (painted() === before && performance.now() < end) await new Promise((resolve) => setTimeout(resolve, 0));
    await frame();
    times.push(performance.now() - start);
    await frame();
  }
  cards.removeCard(card.name);
  await settle();
  done(times);
});
"""


def write_photo(folder):
    script = folder / "large.lua"
    script.write_text('local i, o = ...\nCIImageQOR.Open(i):Resized(%d, %d, "stretch"):Save(o)\n' % (SIDE, SIDE))
    subprocess.run([ZEVA, "run", script, PHOTO, folder / "photo.jpg"], check=True)
    return folder / "photo.jpg"


def percentile(times, part):
    return sorted(times)[min(len(times) - 1, int(len(times) * part))]


def main():
    with tempfile.TemporaryDirectory() as name:
        folder = pathlib.Path(name)
        studio = Studio(write_photo(folder)).enter()
        live = studio.live()
        filters = [each["filter"] for each in json.loads(studio.get("/catalogue.json").body)["filters"]]
        server = []
        for filter in filters:
            for _ in range(options.repeat):
                start = time.perf_counter()
                answer = live.call("render", photo="1", keepSize=True, view=view(SIDE, SIDE),
                                   cards=[{"name": "c1", "filter": filter, "settings": {}}])[0]
                if "milliseconds" in answer:
                    server.append((filter, answer["milliseconds"], 1000 * (time.perf_counter() - start)))
        live.close()
        browser = Browser(SIDE + 360, SIDE + 200)
        rows = {}
        try:
            browser.open(studio.new_link())
            while browser.run("return document.documentElement.dataset.ready") != "yes":
                time.sleep(0.1)
            browser.run("document.getElementById('actual').click()")
            for filter in filters:
                sent = {"script": MEASURE, "args": [filter, options.repeat]}
                rows[filter] = browser._send("POST", "/execute/async", sent)
        finally:
            browser.close()
            studio.end()
    fast = [name for name, times in rows.items() if statistics.median(times) <= 34 and percentile(times, 0.95) <= 67]
    slow = sorted(rows, key=lambda name: -statistics.median(rows[name]))[:8]
    rendered = statistics.median(milliseconds for _, milliseconds, _ in server)
    sent = statistics.median(milliseconds for _, _, milliseconds in server)
    painted = statistics.median(statistics.median(times) for times in rows.values())
    lines = [f"state received to pixels rendered, median of all filters:  {rendered:5.1f} ms",
             f"state sent to pixels received over the socket, median:      {sent:5.1f} ms",
             f"input event to painted pixels, median:                      {painted:5.1f} ms",
             f"median up to 34 ms and 95th percentile up to 67 ms:         {len(fast)} of {len(rows)} filters", "",
             f"{'slowest filters':28}  median ms  95 % ms"]
    lines += [f"{name:28}  {statistics.median(rows[name]):9.1f}  {percentile(rows[name], 0.95):7.1f}" for name in slow]
    table = "\n".join(lines)
    print(table)
    if options.write:
        page = ROOT / "docs/speed.md"
        text = re.sub(f"{BEGIN}.*?{END}", lambda _: f"{BEGIN}\n```\n{table}\n```\n{END}", page.read_text(), flags=re.S)
        page.write_text(text)


main()
