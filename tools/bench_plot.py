"""Draws lines over a logarithmic axis as SVG."""

import html
import math

WIDTH, HEIGHT = 760, 320
LEFT, RIGHT, TOP, BOTTOM = 56, 250, 36, 44  # around the plot; names of lines stand on the right
COLORS = ("#1b6ca8", "#c8553d", "#3a7d44", "#7a4ea3", "#b8860b", "#4a4a4a")


def most_of_axis(largest):
    """The end of an axis from 0: 1, 2 or 5 times a power of ten."""
    if largest <= 0:
        return 1
    power = 10 ** math.floor(math.log10(largest))
    return next(step * power for step in (1, 2, 5, 10) if step * power >= largest * (1 - 1e-9))


def plot(title, x_title, y_title, lines):
    """The text of an SVG file.

    lines: {name: {x: y}}. The part of a name after its last comma chooses between solid and dashed, the rest the color.
    """
    places = sorted({x for line in lines.values() for x in line})
    values = [y for line in lines.values() for y in line.values() if y is not None]
    top = most_of_axis(max(values, default=0))
    span = math.log(places[-1] / places[0]) or 1

    def across(x):
        return LEFT + math.log(x / places[0]) / span * (WIDTH - LEFT - RIGHT)

    def up(y):
        return HEIGHT - BOTTOM - y / top * (HEIGHT - TOP - BOTTOM)

    def text(x, y, words, anchor="start"):
        return f'<text x="{x:.1f}" y="{y:.1f}" text-anchor="{anchor}">{html.escape(words)}</text>'

    parts = [f'<svg xmlns="http://www.w3.org/2000/svg" viewBox="0 0 {WIDTH} {HEIGHT}" font-family="sans-serif" '
             'font-size="12">',
             f'<rect width="{WIDTH}" height="{HEIGHT}" fill="white"/>',
             text(LEFT, 20, f"{title}, {y_title}")]
    for step in range(5):
        y = top * step / 4
        parts += [f'<path d="M{LEFT} {up(y):.1f}H{WIDTH - RIGHT}" stroke="#ddd"/>',
                  text(LEFT - 6, up(y) + 4, f"{y:g}", "end")]
    parts += [text(across(x), HEIGHT - BOTTOM + 18, f"{x:g}", "middle") for x in places]
    parts.append(text((LEFT + WIDTH - RIGHT) / 2, HEIGHT - 8, x_title, "middle"))
    operations = list(dict.fromkeys(name.rpartition(", ")[0] for name in lines))
    kinds = list(dict.fromkeys(name.rpartition(", ")[2] for name in lines))
    for row, (name, line) in enumerate(lines.items()):
        operation, _, kind = name.rpartition(", ")
        color = COLORS[operations.index(operation) % len(COLORS)]
        dashes = f' stroke-dasharray="{4 * kinds.index(kind)} 3"' if kinds.index(kind) else ""
        points = " ".join(f"{across(x):.1f},{up(y):.1f}" for x, y in sorted(line.items()) if y is not None)
        height = TOP + 8 + 18 * row
        parts += [f'<polyline points="{points}" fill="none" stroke="{color}" stroke-width="2"{dashes}/>',
                  f'<path d="M{WIDTH - RIGHT + 10} {height}h24" stroke="{color}" stroke-width="2"{dashes}/>',
                  text(WIDTH - RIGHT + 40, height + 4, name)]
    return "\n".join([*parts, "</svg>", ""])
