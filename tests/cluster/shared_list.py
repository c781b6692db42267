"""A list of pictures that several machines share: made, done on one machine, and compared with what a cluster made."""

import collections
import hashlib
import json
import pathlib
import re
import subprocess
import sys

sys.path.insert(0, str(pathlib.Path(__file__).parent.parent / "support"))
import picture

SKIPPED = 77


def skip(reason):
    print(f"skipped: {reason}")
    sys.exit(SKIPPED)


def fail(text):
    print(f"cluster: {text}", file=sys.stderr)
    sys.exit(1)


def page(source):
    """docs/cluster.md, whose scripts are run."""
    return (source / "docs/cluster.md").read_text()


class SharedList:
    """The folder that the machines share, with the pictures and their list."""

    def __init__(self, folder, zeva, count, width):
        self.folder = folder
        self.zeva = zeva
        self.names = [f"in/{number:04}.png" for number in range(count)]
        (folder / "in").mkdir()
        height = width * 3 // 4
        for number, name in enumerate(self.names):
            lines = [
                bytes(n for x in range(width) for n in ((x + number) % 256, 60 * y, number % 256)) for y in range(4)
            ]
            (folder / name).write_bytes(picture.encode_bytes(width, 3, [lines[y % 4] for y in range(height)]))
        (folder / "list").write_text("".join(name + "\n" for name in self.names))

    def run_alone(self, script):
        """Runs the script's command on this machine alone, without its shard, into the folder "single"."""
        command = re.search(r"zeva (apply .*?)(?<!\\)\n", script, re.S)[1].replace("\\\n", " ")
        command = re.sub(r"--(shard|report) \S+", "", command).replace("-o out", "-o single --report single.jsonl")
        command = re.sub(r'--jobs "\S+"', "--jobs 1", command)
        subprocess.run(
            ["bash", "-c", f"'{self.zeva}' {command}"], cwd=self.folder, check=True, stdout=subprocess.DEVNULL
        )

    def noted(self):
        """The number of pictures that the reports have now."""
        return sum(report.read_bytes().count(b"\n") for report in self.folder.glob("report-*.jsonl"))

    def outputs(self, folder):
        return {path.name: hashlib.sha256(path.read_bytes()).hexdigest() for path in (self.folder / folder).iterdir()}

    def rows(self, shards):
        """What the shards made of the list: rows of a label, a value and whether it is right."""
        reports = sorted(self.folder.glob("report-*.jsonl"))
        merged = subprocess.run(
            [self.zeva, "report", *reports, "--files-from", "list"], cwd=self.folder, capture_output=True, text=True
        )
        if merged.returncode != 0:
            logs = "".join(path.read_text() for path in self.folder.glob("*.out"))
            fail(f"the reports are not complete:\n{merged.stderr}{logs}")
        names = [json.loads(line)["input"] for line in merged.stdout.splitlines()]
        notes = collections.Counter(
            json.loads(line)["input"] for report in reports for line in report.read_text().splitlines()
        )
        out, single = self.outputs("out"), self.outputs("single")
        differing = len(set(out.items()) ^ set(single.items()))
        return [
            ("outputs that differ from those of one machine", differing, differing == 0),
            ("pictures in the merged report, each once", len(names), names == self.names),
            ("pictures noted twice", sum(number > 1 for number in notes.values()), max(notes.values()) == 1),
            ("reports", len(reports), len(reports) == shards),
        ]


def judge(rows):
    """Prints the rows, and fails if one is wrong."""
    for label, value, is_right in rows:
        print(f"{label:57} {value!s:>10}  {'' if is_right == '' else 'yes' if is_right else 'NO'}")
    if any(is_right is False for _, _, is_right in rows):
        fail("the rows with NO are wrong")
