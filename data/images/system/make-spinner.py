#!/usr/bin/env python3
"""Writes the activity spinner frames: 1.svg .. 16.svg (white, for dark content) and
_1.svg .. _16.svg (dark grey, for light content).

Each frame is a ring of 12 rounded spokes whose opacity fades behind the leading one.
Frame n is turned by 360/16 * (n - 1) degrees clockwise, so the 16 frames make one
full turn. Run it from anywhere; it writes next to itself.
"""

import math
import pathlib

SIZE = 37
CENTER = SIZE / 2
SPOKES = 12
FRAMES = 16
INNER = 8.5
OUTER = 16.0
WIDTH = 3.2
COLOURS = {"": "#ffffff", "_": "#3a3a3c"}


def spoke(angle_degrees, opacity, colour):
    a = math.radians(angle_degrees)
    # Angle 0 points straight up; angles grow clockwise on screen.
    dx, dy = math.sin(a), -math.cos(a)
    x1, y1 = CENTER + INNER * dx, CENTER + INNER * dy
    x2, y2 = CENTER + OUTER * dx, CENTER + OUTER * dy
    return (
        f'  <line x1="{x1:.3f}" y1="{y1:.3f}" x2="{x2:.3f}" y2="{y2:.3f}" '
        f'stroke="{colour}" stroke-opacity="{opacity:.3f}"/>'
    )


def frame(index, colour):
    turn = 360.0 / FRAMES * (index - 1)
    lines = [
        '<?xml version="1.0" encoding="UTF-8"?>',
        f'<svg xmlns="http://www.w3.org/2000/svg" width="{SIZE}" height="{SIZE}" '
        f'viewBox="0 0 {SIZE} {SIZE}">',
        f'<g fill="none" stroke-width="{WIDTH}" stroke-linecap="round">',
    ]
    # Draw the faintest spoke first; spoke k sits k steps behind the leading one.
    for k in reversed(range(SPOKES)):
        opacity = 1.0 - 0.82 * k / (SPOKES - 1)
        lines.append(spoke(turn - k * 360.0 / SPOKES, opacity, colour))
    lines += ["</g>", "</svg>", ""]
    return "\n".join(lines)


def main():
    here = pathlib.Path(__file__).resolve().parent
    for prefix, colour in COLOURS.items():
        for index in range(1, FRAMES + 1):
            (here / f"{prefix}{index}.svg").write_text(frame(index, colour), encoding="utf-8")


if __name__ == "__main__":
    main()
