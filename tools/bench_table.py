"""Formats the results of the benchmarks: the cost of the module's calls, and the engine beside other libraries.

A result is the median of its repetitions. Figures that are too large are marked: beside the best rival, beside those of
the page as it is committed, and beside the limits for filters.
"""

import dataclasses
import pathlib
import platform
import re
import statistics

COPY = "12 MP/copy/memory"
LIBRARY_COPY = "12 MP/copy/memcpy"

# A figure this much larger than another is marked.
NOISE = 1.05

# The most that a filter may take: copies at its defaults and at a demanding setting, milliseconds for a preview, and
# the time at 32 bits over that at 64 bits.
DEFAULT, DEMANDING, PREVIEW = "12 MP at default", "12 MP demanding", "preview"
MOST_COPIES = {DEFAULT: 8, DEMANDING: 16}
MOST_OF_PREVIEW = {"x86_64": 10, "i386": 14}
MOST_OF_WIDTHS = 1.5

# The last part of a benchmark's name. Every other name is that of a library.
ENGINE = "engine"
COMPILER = "Halide"


@dataclasses.dataclass
class Results:
    """What a preset's benchmarks measured, by name, in the order of registration."""
    times: dict  # in nanoseconds
    notes: dict = dataclasses.field(default_factory=dict)
    memory: dict = dataclasses.field(default_factory=dict)  # peaks in bytes


def results(run):
    """The medians of a run (Google Benchmark's JSON)."""
    units = {"ns": 1, "us": 1e3, "ms": 1e6, "s": 1e9}
    times, notes, memory = {}, {}, {}
    # Interleaved runs are reported in the order in which they ended.
    for result in sorted(run["benchmarks"], key=lambda result: result["family_index"]):
        if result.get("run_type") != "iteration" or result.get("error_occurred"):
            continue
        name = re.sub(r"/(iterations:.*|real_time$)", "", result["run_name"])
        times.setdefault(name, []).append(result["real_time"] * units[result["time_unit"]])
        if result.get("label"):
            notes[name] = result["label"]
        if "peak_bytes" in result:
            memory[name] = max(result["peak_bytes"], memory.get(name, 0))
    return Results({name: statistics.median(all_times) for name, all_times in times.items()}, notes, memory)


def failures(run):
    """One line for each benchmark that was not timed, such as a library whose result differs from the engine's."""
    return sorted({f"not timed: {result['run_name'].removesuffix('/real_time')}: {result['error_message']}"
                   for result in run["benchmarks"] if result.get("error_occurred")})


def table(head, rows):
    """Lines with the first column aligned left and the others right, each as wide as its longest cell."""
    widths = [max(len(row[column]) for row in [head, *rows]) for column in range(len(head))]
    return ["  ".join(cell.ljust(width) if column == 0 else cell.rjust(width)
                      for column, (cell, width) in enumerate(zip(row, widths))).rstrip() for row in [head, *rows]]


def machine():
    """The processor and the system."""
    model = re.search(r"model name\s*: (.*)", pathlib.Path("/proc/cpuinfo").read_text())
    return f"{model[1] if model else platform.processor()}, {platform.system()} {platform.release()}"


def replaced_block(page, number, lines):
    """The text of a page with other lines in the code block of a number, from 0."""
    parts = page.split("```")
    parts[2 * number + 1] = "\n".join(["", *lines, ""])
    return "```".join(parts)


def replaced_section(page, name, lines):
    """The text of a page with other lines between the comments that mark a section."""
    begin, end = f"<!-- {name} begin -->", f"<!-- {name} end -->"
    before, rest = page.split(begin)
    return "\n".join([before + begin, *lines, end]) + rest.split(end)[1]


def number(value):
    """A number with three significant digits."""
    return f"{value:.2f}" if value < 10 else f"{value:.1f}" if value < 100 else f"{value:.0f}"


def cell(value):
    """A number, or a dash for None."""
    return "-" if value is None else number(value)


def committed(page):
    """The figures of a page's tables: {(title without parentheses, operation): {column: number}}."""
    figures, title, head = {}, None, None
    for above, line in zip(["", *page.splitlines()], page.splitlines()):
        cells = re.split(r"  +", line)
        if cells[0] in ("operation", "filter"):
            title, head = re.sub(r" \(.*", "", above), cells
        elif not line or line.startswith("```"):
            head = None
        elif head is not None:
            figures[title, cells[0]] = {column: float(each) for column, each in zip(head, cells)
                                        if re.fullmatch(r"[\d.]+", each)}
    return figures


def is_slower(title, operation, figures, last):
    """Whether a figure of a row, by column, is larger than the one of the committed page."""
    known = last.get((re.sub(r" \(.*", "", title), operation), {})
    return any(value is not None and column in known and value > NOISE * known[column]
               for column, value in figures.items())


def engine_table(columns, size, unit, title="", last=None):
    """The operations of one size, in multiples of a unit.

    columns: the results of each preset; the first preset's include the other libraries.
    unit: a function that takes a preset's times and returns nanoseconds.
    last: the committed figures.
    "behind" marks the rows that are slower than the best rival, or than the last figure. The last column is the
    engine's time divided by the faster of the best library and the compiler.
    """
    first = columns[next(iter(columns))]
    rows = {}
    for name, time in first.times.items():
        where, operation, who = name.split("/", 2)
        if where == size and name not in (COPY, LIBRARY_COPY):
            rows.setdefault(operation, {})[who] = time / unit(first.times)
    has_rivals = any(who != ENGINE for whose in rows.values() for who in whose)
    head = ["operation", *columns, *(["best library", COMPILER] if has_rivals else []), "behind",
            *(["ratio to best"] if has_rivals else [])]
    lines = []
    for operation, whose in rows.items():
        name = f"{size}/{operation}/{ENGINE}"
        figures = {preset: found.times[name] / unit(found.times) if name in found.times else None
                   for preset, found in columns.items()}
        line = [operation, *map(cell, figures.values())]
        marks = ["last"] if is_slower(title, operation, figures, last or {}) else []
        compiler = whose.get(COMPILER)
        libraries = [(ratio, who) for who, ratio in whose.items() if who not in (ENGINE, COMPILER)]
        target = min([ratio for ratio, _ in libraries] + ([compiler] if compiler else []), default=None)
        ratio = None if target is None or ENGINE not in whose else whose[ENGINE] / target
        if ratio is not None and ratio > NOISE:
            marks.append("rival")
        behind = ", ".join(marks) or "-"
        if has_rivals:
            best = min(libraries, default=None)
            line += [first.notes.get(name, "-") if best is None else f"{number(best[0])} {best[1]}", cell(compiler),
                     behind, "-" if ratio is None else f"{ratio:.2f}"]
        else:
            line.append(behind)
        lines.append(line)
    return table(head, lines)


def filter_table(columns, title="", last=None):
    """Every filter: copies at its defaults and at a demanding setting, milliseconds of a preview, and what is too much.
    """
    first = columns[next(iter(columns))]
    filters = [name.split("/")[1] for name in first.times if name.startswith(f"{DEFAULT}/")]
    kinds = {DEFAULT: "default", DEMANDING: "demanding", PREVIEW: "preview"}
    lines = []
    for filter_name in filters:
        figures, marks, times = {}, set(), {}
        for kind, word in kinds.items():
            name = f"{kind}/{filter_name}/{ENGINE}"
            for preset, found in columns.items():
                time = found.times.get(name)
                unit, most = ((1e6, MOST_OF_PREVIEW[preset]) if kind == PREVIEW
                              else (found.times[COPY], MOST_COPIES[kind]))
                figures[f"{word} {preset}"] = None if time is None else time / unit
                if time is not None and time / unit > most:
                    marks.add(word)
            both = [columns[preset].times.get(name) for preset in ("x86_64", "i386") if preset in columns]
            if len(both) == 2 and None not in both and kind != PREVIEW:
                times[word] = both[1] / both[0]
        widths = max(times.values(), default=None)
        if widths is not None and widths > MOST_OF_WIDTHS:
            marks.add("i386")
        if is_slower(title, filter_name, figures, last or {}):
            marks.add("last")
        lines.append([filter_name, *map(cell, figures.values()), cell(widths), ", ".join(sorted(marks)) or "-",
                      first.notes.get(f"{DEFAULT}/{filter_name}/{ENGINE}", "-")])
    head = ["filter", *(f"{word} {preset}" for word in kinds.values() for preset in columns), "i386 by x86_64",
            "too much", "compared as"]
    return table(head, lines)


def series(columns, group, value):
    """The rows of a group "<group>/<operation>/<x>/engine": {operation and preset: {x: number}}.

    value: a function that takes a preset's results, the name and x, and returns a number or None.
    """
    lines = {}
    for preset, found in columns.items():
        for name in found.times:
            parts = name.split("/")
            if parts[0] == group:
                x = float(parts[2])
                lines.setdefault(f"{parts[1]}, {preset}", {})[x] = value(found, name, x)
    return lines


def nanoseconds_of_pixel(found, name, megapixels):
    """The time of a row of "growth"."""
    return found.times[name] / (megapixels * 1e6)


def milliseconds_of_step(found, name, steps):
    """The time of a row of "chain"."""
    return found.times[name] / steps / 1e6


def megabytes(found, name, _):
    """The peak memory of a row."""
    return found.memory[name] / 1e6 if name in found.memory else None


# The plots and tables of growth: file, group of rows, title, what x and y are, and the number.
GROWTH = (
    ("growth", "growth", "time of a pixel", "megapixels", "nanoseconds", nanoseconds_of_pixel),
    ("growth_memory", "growth", "peak memory beyond picture and result", "megapixels", "MB", megabytes),
    ("chain", "chain", "time of a step in a chain, 1 megapixel", "steps", "milliseconds", milliseconds_of_step),
    ("chain_memory", "chain", "peak memory of a chain, 1 megapixel", "steps", "MB", megabytes),
)


def growth_report(columns):
    """The tables of growth; empty if it was not measured. The last column of the first shows how flat a line is."""
    lines = []
    for _, group, title, x_title, unit, value in GROWTH:
        rows = series(columns, group, value)
        if not rows:
            continue
        places = sorted({x for row in rows.values() for x in row})
        is_flat = value is nanoseconds_of_pixel
        head = ["operation", *(f"{x:g}" for x in places), *(["most by least from 1"] if is_flat else [])]
        body = []
        for name, row in rows.items():
            flat = [row[x] for x in places if x >= 1 and x in row]
            body.append([name, *(cell(row.get(x)) for x in places),
                         *([number(max(flat) / min(flat)) if flat else "-"] if is_flat else [])])
        lines += ["", f"{title}, {unit}, by {x_title}", *table(head, body)]
    threads = series(columns, "threads", lambda found, name, _: found.times[name] / 1e6)
    if threads:
        body = [[name, cell(row.get(1)), cell(row.get(2)),
                 number(row[1] / row[2]) if {1, 2} <= row.keys() else "-"] for name, row in threads.items()]
        lines += ["", "one thread and two, 12 megapixels, milliseconds",
                  *table(["operation", "one", "two", "speed-up"], body)]
    return lines


def engine_report(columns, last=None):
    """The engine's tables: large pictures, every filter, and recipes of many steps and small pictures if measured."""
    copies = ", ".join(f"{found.times[COPY] / 1e6:.1f} ms {preset}" for preset, found in columns.items())
    library = ", ".join(f"{found.times[LIBRARY_COPY] / found.times[COPY]:.2f} {preset}"
                        for preset, found in columns.items() if LIBRARY_COPY in found.times)
    title = "engine, 12 megapixels, two threads, multiples of a copy past the caches"
    lines = [f"{title} ({copies}{'; memcpy takes ' if library else ''}{library})"]
    lines += engine_table(columns, "12 MP", lambda times: times[COPY], title, last)
    title = "every filter, 12 megapixels in copies, previews to sRGB bytes in milliseconds"
    rows = filter_table(columns, title, last)
    if len(rows) > 1:
        lines += ["", title, *rows]
    for size, title, unit in (("photo", "engine, 512 x 600, recipes of many steps, milliseconds", 1e6),
                              ("64 x 64", "engine, 64 x 64, making the filters included, microseconds", 1e3),
                              ("64 x 64, rendering alone", "engine, 64 x 64, rendering alone, microseconds", 1e3)):
        rows = engine_table(columns, size, lambda _, unit=unit: unit, title, last)
        if len(rows) > 1:
            lines += ["", title, *rows]
    return lines + growth_report(columns)


def boundary_report(columns, sizes):
    """The table of the module's calls, with the sizes of its sections in bytes."""
    head = ["module, nanoseconds", *(text for preset in columns for text in (preset, "direct", "ratio"))]
    rows = []
    for name in sorted(next(iter(columns.values())).times, key=lambda name: name.split("/")[::-1]):
        kind, operation = name.split("/", 1)
        if kind == "direct":
            continue
        row = [operation]
        for found in columns.values():
            times = found.times
            direct = times.get(f"direct/{operation}")
            row += [f"{times[name]:.0f}", *((f"{direct:.0f}", f"{times[name] / direct:.2f}") if direct else ("", ""))]
        rows.append(row)
    for section in (".text", ".rodata", ".data", ".bss"):
        bytes_of = [str(sizes[preset][section]) for preset in columns]
        rows.append([f"{section}, bytes", *(text for count in bytes_of for text in (count, "", ""))])
    return table(head, rows)
