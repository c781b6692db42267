"""Formats the results of the benchmarks: the cost of the module's calls, and the engine beside other libraries.

A result is the fastest of its repetitions, because whatever else runs on the machine only adds time.
"""

import pathlib
import platform
import re

COPY = "12 MP/copy/memory"

# The last part of a benchmark's name. Every other name is that of a library.
ENGINE = "engine"
COMPILER = "Halide"


def fastest(run):
    """The shortest time of each benchmark of a run (Google Benchmark's JSON), in nanoseconds, by name, in order."""
    units = {"ns": 1, "us": 1e3, "ms": 1e6, "s": 1e9}
    times = {}
    # Interleaved runs are reported in the order in which they ended.
    for result in sorted(run["benchmarks"], key=lambda result: result["family_index"]):
        if result.get("run_type") != "iteration" or result.get("error_occurred"):
            continue
        name = re.sub(r"/(iterations:.*|real_time$)", "", result["run_name"])
        time = result["real_time"] * units[result["time_unit"]]
        times[name] = min(time, times.get(name, time))
    return times


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


def engine_table(columns, size, unit):
    """The operations of one size, in multiples of a unit.

    columns: the times of each preset; the first preset's include the other libraries.
    unit: a function that takes a preset's times and returns nanoseconds.
    The last column is the engine's time divided by the faster of the best library and the compiler.
    """
    first = next(iter(columns))
    rows = {}
    for name in columns[first]:
        where, operation, who = name.split("/", 2)
        if where == size and name != COPY:
            rows.setdefault(operation, {})[who] = columns[first][name] / unit(columns[first])
    has_rivals = any(who != ENGINE for whose in rows.values() for who in whose)
    head = ["operation", *columns, *(["best library", COMPILER, "ratio to best"] if has_rivals else [])]
    lines = []
    for operation, whose in rows.items():
        line = [operation]
        for times in columns.values():
            time = times.get(f"{size}/{operation}/{ENGINE}")
            line.append("-" if time is None else number(time / unit(times)))
        if has_rivals:
            compiler = whose.get(COMPILER)
            libraries = [(ratio, who) for who, ratio in whose.items() if who not in (ENGINE, COMPILER)]
            best = min(libraries, default=None)
            line.append("-" if best is None else f"{number(best[0])} {best[1]}")
            line.append("-" if compiler is None else number(compiler))
            target = min([ratio for ratio, _ in libraries] + ([compiler] if compiler else []), default=None)
            line.append("-" if target is None or ENGINE not in whose else f"{whose[ENGINE] / target:.2f}")
        lines.append(line)
    return table(head, lines)


def number(value):
    """A number with three significant digits."""
    return f"{value:.2f}" if value < 10 else f"{value:.1f}" if value < 100 else f"{value:.0f}"


def engine_report(columns):
    """The engine's tables: large pictures, and recipes of many steps and small pictures if they were measured."""
    copies = ", ".join(f"{times[COPY] / 1e6:.1f} ms {preset}" for preset, times in columns.items())
    lines = [f"engine, 12 megapixels, two threads, multiples of a plain copy ({copies})"]
    lines += engine_table(columns, "12 MP", lambda times: times[COPY])
    for size, head, unit in (("photo", "engine, 512 x 600, recipes of many steps, milliseconds", 1e6),
                             ("64 x 64", "engine, 64 x 64, making the filters included, microseconds", 1e3)):
        rows = engine_table(columns, size, lambda _, unit=unit: unit)
        if len(rows) > 1:
            lines += ["", head, *rows]
    return lines


def boundary_report(columns, sizes):
    """The table of the module's calls, with the sizes of its sections in bytes."""
    head = ["module, nanoseconds", *(cell for preset in columns for cell in (preset, "direct", "ratio"))]
    rows = []
    for name in sorted(next(iter(columns.values())), key=lambda name: name.split("/")[::-1]):
        kind, operation = name.split("/", 1)
        if kind == "direct":
            continue
        row = [operation]
        for times in columns.values():
            direct = times.get(f"direct/{operation}")
            row += [f"{times[name]:.0f}", *((f"{direct:.0f}", f"{times[name] / direct:.2f}") if direct else ("", ""))]
        rows.append(row)
    for section in (".text", ".rodata", ".data", ".bss"):
        bytes_of = [str(sizes[preset][section]) for preset in columns]
        rows.append([f"{section}, bytes", *(cell for count in bytes_of for cell in (count, "", ""))])
    return table(head, rows)
