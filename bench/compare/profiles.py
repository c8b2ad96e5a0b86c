#!/usr/bin/env python3
"""Draws performance profiles (Dolan and More 2002) from the CSV files of tarnix_compare.

    profiles.py [--solved loose|tight] [--cost evaluations|seconds] [--title TEXT] FILE.csv...

The picture, an SVG, goes to the standard output.
A point (t, p) on a solver's line: on the share p of all solves it reached the best known value with
at most t times the cost of the cheapest solver that did. Solves that no solver managed count below
every line. The files may hold different solvers; each must have the same problems and starts.
"""
import argparse
import csv
import math
import sys
from xml.sax.saxutils import escape

COLORS = ["#0b5fa5", "#d1495b", "#2e8b57", "#8a5a00", "#6a3d9a", "#444444", "#00838f", "#c2185b"]
DASHES = ["", "", "", "7 3", "7 3", "2 3", "2 3", "9 3 2 3"]
WIDTH, HEIGHT, LEFT, RIGHT, TOP, BOTTOM = 760, 460, 64, 170, 44, 52


def costs(files, solved, cost):
    """{solver: {(problem, start): cost, infinite where it was not solved}}"""
    table = {}
    for name in files:
        with open(name, newline="") as stream:
            for row in csv.DictReader(stream):
                value = max(float(row[cost]), 1e-9) if row[solved] == "1" else math.inf
                table.setdefault(row["solver"], {})[row["problem"], row["start"]] = value
    if not table:
        sys.exit("profiles.py: no solves in " + ", ".join(files))
    first = next(iter(table.values()))
    for solver, row in table.items():
        if row.keys() != first.keys():
            sys.exit(f"profiles.py: {solver} has other problems or starts than the rest")
    return table


def ratios(table):
    """{solver: sorted ratios to the cheapest}, and the number of solves"""
    solves = next(iter(table.values())).keys()
    best = {s: min(row[s] for row in table.values()) for s in solves}
    return {
        solver: sorted(row[s] / best[s] for s in solves if math.isfinite(row[s]))
        for solver, row in table.items()
    }, len(solves)


def path(values, total, x, y, most):
    """A staircase through (ratio, share)."""
    done, parts = 0, [f"M{x(1):.1f} {y(0):.1f}"]
    for value in values:
        if value > most:
            break
        parts.append(f"H{x(value):.1f}")
        done += 1
        parts.append(f"V{y(done / total):.1f}")
    return " ".join(parts) + f" H{x(most):.1f}"


def draw(lines, total, title, cost, most=100.0):
    right, bottom = WIDTH - RIGHT, HEIGHT - BOTTOM

    def x(ratio):
        return LEFT + (right - LEFT) * math.log(ratio) / math.log(most)

    def y(share):
        return bottom - (bottom - TOP) * share

    def text(across, down, words, *style):
        return f'<text x="{across}" y="{down}"{"".join(style)}>{escape(words)}</text>'
    middle, end = ' text-anchor="middle"', ' text-anchor="end"'
    out = [
        f'<svg xmlns="http://www.w3.org/2000/svg" viewBox="0 0 {WIDTH} {HEIGHT}" width="{WIDTH}" '
        f'height="{HEIGHT}" font-family="sans-serif" font-size="13" fill="#222">',
        f'<rect width="{WIDTH}" height="{HEIGHT}" fill="white"/>',
        text(LEFT, 24, title, ' font-size="15"'),
    ]
    for tenth in range(0, 11, 2):
        height = y(tenth / 10)
        out.append(f'<path d="M{LEFT} {height:.1f}H{right}" stroke="#ddd"/>')
        out.append(text(LEFT - 8, f"{height + 4:.1f}", f"{tenth * 10} %", end))
    for ratio in (1, 2, 5, 10, 20, 50, 100):
        out.append(f'<path d="M{x(ratio):.1f} {TOP}V{bottom}" stroke="#eee"/>')
        out.append(text(f"{x(ratio):.1f}", bottom + 18, str(ratio), middle))
    out.append(text((LEFT + right) / 2, HEIGHT - 12,
                    f"{cost}, as a multiple of the cheapest solver's", middle))
    within = {s: sum(v <= most for v in values) for s, values in lines.items()}
    order = sorted(lines, key=lambda s: -within[s])
    for k, solver in enumerate(lines):
        style = f'stroke="{COLORS[k % 8]}" stroke-width="2" stroke-dasharray="{DASHES[k % 8]}"'
        out.append(f'<path d="{path(lines[solver], total, x, y, most)}" fill="none" {style}/>')
        place = TOP + 12 + 22 * order.index(solver)
        out.append(f'<path d="M{right + 12} {place - 4}h26" {style}/>')
        out.append(text(right + 44, place, f"{solver} {len(lines[solver])}"))
    out.append("</svg>")
    return "\n".join(out) + "\n"


def main():
    parser = argparse.ArgumentParser(description=__doc__.split("\n")[0])
    parser.add_argument("--solved", choices=("loose", "tight"), default="loose")
    parser.add_argument("--cost", choices=("evaluations", "seconds"), default="evaluations")
    parser.add_argument("--title")
    parser.add_argument("files", nargs="+", metavar="FILE.csv")
    given = parser.parse_args()
    lines, total = ratios(costs(given.files, given.solved, given.cost))
    title = given.title or f"{total} solves, solved {given.solved}ly"
    sys.stdout.write(draw(lines, total, title, given.cost))


if __name__ == "__main__":
    main()
