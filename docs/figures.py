#!/usr/bin/env python3
"""Draws the figures of the documents.

figures.py [--check] [--truss PROGRAM | --history FILE]

Writes docs/figures/grg.svg, qp.svg and results.svg, whose numbers are computed here or taken from
docs/results.md; with --check it compares them with what is there instead. --truss solves
examples/truss with the program and draws truss.svg from its history (--history: from this one).
Every figure takes its colors from the page that shows it, light or dark.
"""
import argparse
import json
import math
import pathlib
import re
import shutil
import subprocess
import sys
import tempfile
from typing import Callable, List, Optional, Sequence, Tuple
from xml.sax.saxutils import escape

HERE = pathlib.Path(__file__).resolve().parent
BLUE, RED, GREEN = "#2f7fd1", "#d1495b", "#2e9b6b"
Point = Tuple[float, float]


class Figure:
    """An SVG picture; coordinates in pixels, y downward."""

    def __init__(self, width: int, height: int, title: str) -> None:
        # Alone, a picture follows the system; within a page, the style of the page.
        self.parts = [
            f'<svg xmlns="http://www.w3.org/2000/svg" class="figure" viewBox="0 0 {width} {height}"'
            f' width="{width}" height="{height}" role="img" font-family="sans-serif"'
            ' font-size="13">',
            f"<title>{escape(title)}</title>",
            "<style>svg.figure text { fill: var(--ink, #222); }"
            " @media (prefers-color-scheme: dark) {"
            " svg.figure:root { --ink: #d8dbe0; --faint: #4c525b; } }</style>",
        ]

    def add(self, text: str) -> None:
        self.parts.append(text)

    def line(self, points: Sequence[Point], color: str = "var(--ink, #222)", width: float = 1.5,
             dash: str = "", arrow: bool = False) -> None:
        path = "L".join(f"{x:.1f} {y:.1f}" for x, y in points)
        self.add(f'<path d="M{path}" style="stroke:{color};fill:none" stroke-width="{width:.1f}"'
                 + (f' stroke-dasharray="{dash}"' if dash else "")
                 + ' stroke-linecap="round" stroke-linejoin="round"/>')
        if arrow:
            (x, y), (u, v) = points[-1], points[-2]
            turn = math.degrees(math.atan2(y - v, x - u))
            self.add(f'<path d="M2 0L-9 5L-9 -5z" style="fill:{color}"'
                     f' transform="translate({x:.1f} {y:.1f}) rotate({turn:.1f})"/>')

    def area(self, points: Sequence[Point], color: str) -> None:
        path = "L".join(f"{x:.1f} {y:.1f}" for x, y in points)
        self.add(f'<path d="M{path}z" style="fill:{color}" fill-opacity="0.14"/>')

    def dot(self, point: Point, color: str = "var(--ink, #222)", radius: float = 4) -> None:
        self.add(f'<circle cx="{point[0]:.1f}" cy="{point[1]:.1f}" r="{radius}"'
                 f' style="fill:{color}"/>')

    def text(self, point: Point, words: str, anchor: str = "start", size: int = 13) -> None:
        self.add(f'<text x="{point[0]:.1f}" y="{point[1]:.1f}" text-anchor="{anchor}"'
                 f' font-size="{size}">{escape(words)}</text>')

    def svg(self) -> str:
        return "\n".join([*self.parts, "</svg>", ""])


def plane(left: float, bottom: float, scale: float) -> Callable[[Point], Point]:
    return lambda p: (left + scale * p[0], bottom - scale * p[1])


# --- Generalized reduced gradients: a step along the tangent, and the way back -------------------
def grg() -> str:
    """Minimizes (x - 3)^2 + (y - 0.4)^2 on y = 2.2 - x^2 / 4; x is independent, y dependent."""
    def curve(x: float) -> float:
        return 2.2 - x * x / 4

    figure = Figure(560, 380, "A step of the reduced gradient method: along the tangent, then back"
                    " to the constraint by Newton's method on the dependent variable")
    at = plane(50, 340, 135)
    figure.line([at((0, 2.35)), at((0, 0)), at((3.6, 0))], "var(--ink, #222)", 1)
    figure.text(at((3.6, -0.18)), "independent variable", "end")
    figure.add(f'<g transform="rotate(-90 36 {at((0, 2.3))[1]:.0f})">')
    figure.text((36, at((0, 2.3))[1]), "dependent variable", "end")
    figure.add("</g>")
    for radius in (0.35, 0.75, 1.2, 1.7, 2.25):
        turns = [t / 40 * math.pi for t in range(81)]
        circle = [(3 + radius * math.cos(t), 0.4 + radius * math.sin(t)) for t in turns]
        inside = [p for p in circle if 0.02 < p[0] < 3.6 and 0.02 < p[1] < 2.35]
        for k in range(len(inside) - 1):
            if math.dist(inside[k], inside[k + 1]) < 0.3:
                figure.line([at(inside[k]), at(inside[k + 1])], "var(--faint, #c8ccd2)", 1)
    figure.line([at((x / 20, curve(x / 20))) for x in range(2, 60)], BLUE, 2.5)
    figure.text(at((2.33, 1.02)), "h(x) = 0")

    start = (0.8, curve(0.8))
    slope, step = -start[0] / 2, 1.15
    predicted = (start[0] + step, start[1] + slope * step)
    figure.line([at(start), at(predicted)], RED, 2.2, arrow=True)
    # Newton with the Jacobian of the start, dh/dy = 1 here, so it lands on the curve at once.
    end = (predicted[0], curve(predicted[0]))
    figure.line([at(predicted), at(end)], GREEN, 2.2, "5 4", arrow=True)
    for point, color in ((start, "var(--ink, #222)"), (end, "var(--ink, #222)")):
        figure.dot(at(point), color)
    figure.text((at(start)[0] - 4, at(start)[1] - 12), "base point", "middle")
    figure.text((at(predicted)[0] - 60, at(predicted)[1] - 34), "tangent step: J t = −N d")
    figure.text((at(end)[0] - 12, at(end)[1] + 24), "restored: Δ = −J⁻¹ h", "end")
    best = min((math.hypot(x / 500 - 3, curve(x / 500) - 0.4), x / 500) for x in range(1500))[1]
    figure.dot(at((best, curve(best))), BLUE, 5)
    figure.text((at((best, curve(best)))[0] + 10, at((best, curve(best)))[1] + 14), "minimum")
    return figure.svg()


# --- The dual active-set method: from the unconstrained minimum inward ---------------------------
ROWS = [((1.0, 0.35), 1.95), ((-0.25, 1.0), 1.0)]  # a'd <= b
CENTER, HESSIAN = (2.9, 2.3), ((1.0, 0.25), (0.25, 1.6))


def qp_steps() -> List[Point]:
    """Minima of the quadratic with no row, with the most violated one, with both held."""
    (a, b), (_, c) = HESSIAN
    det = a * c - b * b
    inverse = ((c / det, -b / det), (-b / det, a / det))
    points = [CENTER]
    residuals = [n[0] * CENTER[0] + n[1] * CENTER[1] - r for n, r in ROWS]
    first = residuals.index(max(residuals))
    n, r = ROWS[first]
    hn = (inverse[0][0] * n[0] + inverse[0][1] * n[1], inverse[1][0] * n[0] + inverse[1][1] * n[1])
    t = residuals[first] / (n[0] * hn[0] + n[1] * hn[1])
    points.append((CENTER[0] - t * hn[0], CENTER[1] - t * hn[1]))
    (p, q), s = ROWS[0]
    (u, v), w = ROWS[1]
    points.append(((s * v - q * w) / (p * v - q * u), (p * w - s * u) / (p * v - q * u)))
    return points


def qp() -> str:
    figure = Figure(560, 380, "Steps of the dual method: from the unconstrained minimum, each step"
                    " adds the row that is violated most")
    at = plane(50, 340, 105)
    points = qp_steps()
    feasible = [(0.0, 0.0), (1.95, 0.0), points[2], (0.0, 1.0)]
    figure.area([at(p) for p in feasible], BLUE)
    figure.line([at((0, 3.1)), at((0, 0)), at((4.6, 0))], "var(--ink, #222)", 1)
    (a, b), (_, c) = HESSIAN
    for level in (0.25, 0.8, 1.6, 2.6):
        ring = []
        for k in range(73):
            u, v = math.cos(k / 36 * math.pi), math.sin(k / 36 * math.pi)
            size = math.sqrt(level / (a * u * u / 2 + b * u * v + c * v * v / 2))
            ring.append((CENTER[0] + size * u, CENTER[1] + size * v))
        for k in range(72):
            if all(0.03 < p[0] < 4.6 and 0.03 < p[1] < 3.15 for p in ring[k:k + 2]):
                figure.line([at(p) for p in ring[k:k + 2]], "var(--faint, #c8ccd2)", 1)
    figure.line([at((1.95, 0)), at((1.95 - 0.35 * 3, 3.0))], BLUE, 2)
    figure.line([at((0, 1.0)), at((4.2, 1.0 + 0.25 * 4.2))], BLUE, 2)
    figure.text((at((0.9, 3.0))[0] + 6, at((0.9, 3.0))[1] + 4), "row 1")
    figure.text((at((4.2, 2.05))[0] + 4, at((4.2, 2.05))[1] + 2), "row 2")
    figure.text(at((0.35, 0.45)), "feasible")
    for k in range(2):
        figure.line([at(points[k]), at(points[k + 1])], RED, 2.2, arrow=True)
    names = ["start: unconstrained minimum", "row 1 added", "row 2 added: solution"]
    anchors = ["middle", "end", "start"]
    shifts = [(30, -12), (-10, -8), (12, 20)]
    for point, name, (dx, dy), anchor in zip(points, names, shifts, anchors):
        figure.dot(at(point))
        figure.text((at(point)[0] + dx, at(point)[1] + dy), name, anchor)
    return figure.svg()


# --- The design problems, by both methods ---------------------------------------------------------
def results() -> str:
    rows = re.findall(r"^(\w+) +\d+ +\d+ +\d+ +\S+  (?:\w+ ?\w*) +\S+ +\S+ +\S+ +\d+ +(\d+)"
                      r"  (?:\w+ ?\w*) +\S+ +\S+ +\S+ +\d+ +(\d+)$",
                      (HERE / "results.md").read_text(), re.M)
    if not rows:
        sys.exit("figures.py: no rows in docs/results.md")
    most = max(int(row[2]) for row in rows)
    height = 60 + 24 * len(rows)
    figure = Figure(700, height, "Evaluations that each design problem takes, by SQP and by GRG")

    def x(count: float) -> float:
        return 160 + 500 * count / most

    for tick in range(0, most + 1, 50):
        figure.line([(x(tick), 34), (x(tick), height - 14)], "var(--faint, #c8ccd2)", 1)
        figure.text((x(tick), 28), str(tick), "middle", 11)
    figure.text((150, 14), "evaluations", "end", 12)
    figure.dot((x(0) + 60, 10), BLUE)
    figure.text((x(0) + 70, 14), "SQP", size=12)
    figure.dot((x(0) + 130, 10), RED)
    figure.text((x(0) + 140, 14), "GRG", size=12)
    for k, (name, sqp, by_grg) in enumerate(rows):
        y = 48 + 24 * k
        figure.text((150, y + 4), name, "end", 12)
        figure.line([(x(0), y - 4), (x(int(sqp)), y - 4)], BLUE, 6)
        figure.line([(x(0), y + 5), (x(int(by_grg)), y + 5)], RED, 6)
    return figure.svg()


# --- The truss before and after -------------------------------------------------------------------
NODES = {"A": (360, 360), "B": (360, 0), "C": (720, 360), "D": (720, 0), "E": (0, 360),
         "F": (0, 0)}
BARS = ["EA", "AC", "FB", "BD", "AB", "CD", "EB", "FA", "AD", "BC"]
MOST_STRESS, MOST_SAG = 25.0, 2.0


def solve_truss(program: str) -> str:
    with tempfile.TemporaryDirectory() as directory:
        copy = shutil.copytree(HERE.parent / "examples/truss", f"{directory}/truss")
        subprocess.run([program, "solve", "--quiet", "--jobs", "2", f"{copy}/truss.toml"],
                       check=True, stdout=subprocess.DEVNULL)
        return pathlib.Path(copy, "truss.history.jsonl").read_text()


def draw_truss(figure: Figure, left: float, areas: Sequence[float], title: str) -> None:
    at = plane(left, 196, 0.29)
    for name, area in zip(BARS, areas):
        ends = [at(NODES[node]) for node in name]
        gone = area < 0.2  # at its lower bound
        figure.line(ends, "var(--faint, #c8ccd2)" if gone else BLUE, 1.2 if gone else area / 2.6,
                    "3 4" if gone else "")
    for name, place in NODES.items():
        figure.dot(at(place), "var(--ink, #222)", 5 if name in "EF" else 3)
    for name in "BD":
        x, y = at(NODES[name])
        figure.line([(x, y + 6), (x, y + 28)], RED, 2, arrow=True)
    figure.text((left + 104, 40), title, "middle", 15)


def truss(history: str) -> str:
    designs: List[Tuple[List[float], List[float]]] = []
    problem_end = None
    for entry in map(json.loads, history.splitlines()):
        if "f" in entry:
            designs.append((entry["x"], entry["f"]))
        problem_end = entry.get("end", problem_end)
    if not problem_end or not problem_end["success"]:
        sys.exit("figures.py: the history has no solved end")
    start, end = designs[0], [v["value"] for v in problem_end["variables"]]
    weight = problem_end["objective"]["value"]
    figure = Figure(800, 250, f"Ten-bar truss: {start[1][0]:.0f} lb at the start, {weight:.0f} lb"
                    " when solved")
    violations = [max(max(abs(s) for s in f[1:11]) / MOST_STRESS, max(f[11:15]) / MOST_SAG) - 1
                  for _, f in designs]
    draw_truss(figure, 30, start[0], f"start: {start[1][0]:.0f} lb, {100 * violations[0]:.0f} %"
               " over a limit")
    draw_truss(figure, 570, end, f"solved: {weight:.0f} lb, within all limits")
    x = (lambda k: 295 + 220 * k / (len(designs) - 1))
    figure.line([(295, 60), (295, 196), (515, 196)], "var(--ink, #222)", 1)
    for values, most, color, name, row in (
            ([f[0] for _, f in designs], 9000.0, BLUE, "weight", 0),
            ([max(0.0, v) for v in violations], 1.0, RED, "largest violation", 1)):
        y = (lambda value, most=most: 196 - 130 * min(value / most, 1.0))
        figure.line([(x(k), y(value)) for k, value in enumerate(values)], color, 1.8)
        figure.dot((330, 30 + 17 * row), color)
        figure.text((340, 34 + 17 * row), name, size=12)
    figure.text((405, 216), f"{len(designs)} evaluations", "middle", 12)
    figure.text((400, 242), "stress at most 25 ksi, sag at most 2 in; dashed: bars at their lower"
                " bound", "middle", 12)
    return figure.svg()


def main() -> int:
    parser = argparse.ArgumentParser(description="Draws the figures of the documents.")
    parser.add_argument("--check", action="store_true")
    parser.add_argument("--truss", metavar="PROGRAM")
    parser.add_argument("--history", metavar="FILE")
    options = parser.parse_args()
    drawn = {"grg": grg(), "qp": qp(), "results": results()}
    history: Optional[str] = None
    if options.truss:
        history = solve_truss(options.truss)
    elif options.history:
        history = pathlib.Path(options.history).read_text()
    if history:
        drawn["truss"] = truss(history)
    wrong = 0
    for name, svg in drawn.items():
        path = HERE / "figures" / f"{name}.svg"
        if not options.check:
            path.write_text(svg)
        elif not path.exists() or path.read_text() != svg:
            print(f"{path} is not what docs/figures.py draws")
            wrong = 1
    return wrong


if __name__ == "__main__":
    sys.exit(main())
