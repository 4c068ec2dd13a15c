"""Draws search.svg, the picture of the search: python3 docs/images/search.py

Left: a section through the lattice around a reference voxel, in shells, over the evaluation grid.
Right: one line of it, with the ellipses of equal gamma around the reference dose.
"""

import math
from pathlib import Path

DTA = 60  # pixels
STEP = DTA / 5
CENTRE = (230, 210)
SHELLS = ("#1b6ca8", "#4aa3c7", "#a5cfe0")
REACH = 3 * DTA
ORIGIN, AXIS = (500, 390), (360, 360)  # of the right-hand picture
REFERENCE = (665, 240)


def element(name, text=None, **attributes):
    told = " ".join(f'{key.replace("_", "-")}="{value}"' for key, value in attributes.items())
    return f"<{name} {told}/>" if text is None else f"<{name} {told}>{text}</{name}>"


def label(x, y, text, **attributes):
    return element("text", text, x=x, y=y, **attributes)


def grid():
    """The evaluation's voxels, 2.5 steps wide and not centred on the reference voxel."""
    width = 2.5 * STEP
    lines = [25 + i * width for i in range(int(410 / width) + 1)]
    path = " ".join(f"M{v:g} 5V415M20 {v - 20:g}H440" for v in lines)
    return element("path", d=path, stroke="#d8d8d8", fill="none")


def lattice():
    n = round(REACH / STEP)
    for i in range(-n, n + 1):
        for j in range(-n, n + 1):
            radius = math.hypot(i, j) * STEP
            if radius <= REACH:
                shell = SHELLS[max(math.ceil(radius / DTA - 1e-9) - 1, 0)]
                x, y = CENTRE[0] + i * STEP, CENTRE[1] + j * STEP
                yield element("circle", cx=f"{x:g}", cy=f"{y:g}", r=2.4, fill=shell)


def shells():
    for k, colour in enumerate(SHELLS, 1):
        yield element("circle", cx=CENTRE[0], cy=CENTRE[1], r=k * DTA, fill="none", stroke=colour)
        yield label(CENTRE[0] + 4, CENTRE[1] - k * DTA - 4, "DTA" if k == 1 else f"{k} DTA")
    yield element("circle", cx=CENTRE[0], cy=CENTRE[1], r=5, fill="#c0392b")


def profile(x):
    """Height of the evaluation dose, pixels."""
    return 190 - 105 * math.tanh((x - 765) / 60)


def least_gamma():
    """The lattice point of the line with the least gamma."""
    offsets = [i * STEP for i in range(-round(REACH / STEP), round(REACH / STEP) + 1)]

    def square(offset):
        dose = ORIGIN[1] - profile(REFERENCE[0] + offset) - REFERENCE[1]
        return (offset / DTA) ** 2 + (dose / (DTA * 0.7)) ** 2

    best = min(offsets, key=square)
    return best, math.sqrt(square(best)), offsets


def line_picture():
    (x0, y0), (width, height) = ORIGIN, AXIS
    yield element("path", d=f"M{x0} {y0 - height}V{y0}H{x0 + width}", stroke="#333", fill="none")
    yield label(x0 + width - 60, y0 + 18, "position")
    yield label(x0 + 8, y0 - height + 10, "dose")
    xs = range(x0 + 5, x0 + width, 5)
    curve = "M" + " ".join(f"{x} {y0 - profile(x):.1f}" for x in xs)
    yield element("path", d=curve, stroke="#e08a1e", stroke_width=2, fill="none")
    yield label(x0 + 10, y0 - profile(x0) - 10, "evaluation", fill="#b86d10")
    best, gamma, offsets = least_gamma()
    for radius, colour in ((1, SHELLS[0]), (gamma, "#c0392b")):
        yield element("ellipse", cx=REFERENCE[0], cy=REFERENCE[1], rx=f"{radius * DTA:.1f}",
                      ry=f"{radius * DTA * 0.7:.1f}", fill="none", stroke=colour)  # fmt: skip
    for offset in offsets:
        x = REFERENCE[0] + offset
        if x0 < x < x0 + width:
            yield element("circle", cx=f"{x:g}", cy=f"{y0 - profile(x):.1f}", r=2.4,
                          fill=SHELLS[min(int(abs(offset) / DTA - 1e-9), 2)])  # fmt: skip
    x = REFERENCE[0] + best
    yield element("path", d=f"M{REFERENCE[0]} {REFERENCE[1]}L{x:g} {y0 - profile(x):.1f}",
                  stroke="#c0392b", stroke_width=2)  # fmt: skip
    yield element("circle", cx=REFERENCE[0], cy=REFERENCE[1], r=5, fill="#c0392b")
    for below, text, colour in ((22, "reference", "#c0392b"), (58, "gamma = 1", SHELLS[0])):
        yield label(*REFERENCE, text, dy=below, fill=colour, text_anchor="middle")
    yield label(x + 12, y0 - profile(x) + 4, f"least gamma, {gamma:.2f}", fill="#c0392b")


def drawing():
    parts = [grid(), *lattice(), *shells(), *line_picture()]
    head = '<svg xmlns="http://www.w3.org/2000/svg" viewBox="0 0 930 420" font-size="14" ' \
           'font-family="sans-serif">'
    background = element("rect", width=930, height=420, fill="#ffffff")
    return "\n".join([head, background, *parts, "</svg>\n"])


if __name__ == "__main__":
    Path(__file__).with_name("search.svg").write_text(drawing(), encoding="utf-8")
