"""The lightest ten-bar truss within stress and sag limits, with a solver of its own in numpy.

A published problem (Venkayya, 1971), of which the best known weight is 5060.85 lb. The analysis
also gives its derivatives, from the same flexibility, so that a gradient takes no differences.
"""

from __future__ import annotations

from typing import Any, Tuple

import numpy as np

import tarnix

Array = np.ndarray[Any, np.dtype[np.float64]]

NODES = np.array([[720, 360], [720, 0], [360, 360], [360, 0], [0, 360], [0, 0]], dtype=float)  # in
BARS = np.array([[4, 2], [2, 0], [5, 3], [3, 1], [2, 3], [0, 1], [4, 3], [5, 2], [2, 1], [3, 0]])
FREE = 4  # nodes 0 .. 3 move, 4 and 5 are held
YOUNG, DENSITY = 1e7, 0.1  # psi, lb/in^3
STRESS, SAG = 25000.0, 2.0  # psi, in
LOADS = np.zeros(2 * FREE)
LOADS[[3, 7]] = -100000  # lb, at the lower nodes

SPANS = NODES[BARS[:, 1]] - NODES[BARS[:, 0]]
LENGTHS = np.hypot(*SPANS.T)
# Stretch of every bar by the moves of the nodes.
STRETCH = np.zeros((len(BARS), 2 * len(NODES)))
for bar, ((a, b), direction) in enumerate(zip(BARS, SPANS / LENGTHS[:, None])):
    STRETCH[bar, 2 * a:2 * a + 2], STRETCH[bar, 2 * b:2 * b + 2] = -direction, direction
STRETCH = STRETCH[:, :2 * FREE]


def analyze(areas: Array) -> Tuple[Array, Array]:
    """Weight in lb, ten stresses in psi and four sags in inches; and their derivatives by the
    areas, (15, 10)."""
    stiffness = (STRETCH.T * (YOUNG * areas / LENGTHS)) @ STRETCH
    flexibility = np.linalg.inv(stiffness)
    moves = flexibility @ LOADS
    stretch = STRETCH @ moves
    values = np.concatenate([[DENSITY * areas @ LENGTHS], YOUNG * stretch / LENGTHS,
                             -moves[1::2]])
    moves_by_area = -flexibility @ (STRETCH.T * (YOUNG / LENGTHS * stretch))
    gradients = np.vstack([DENSITY * LENGTHS,
                           (YOUNG / LENGTHS)[:, None] * (STRETCH @ moves_by_area),
                           -moves_by_area[1::2]])
    return values, gradients


def truss() -> tarnix.Problem:
    count = len(BARS)
    return tarnix.problem.from_arrays(
        [15.0] * count, 0.1, 35, names=[f"area {i + 1}" for i in range(count)], objective="weight",
        scale=1000, constraint_lower=[-STRESS] * count + [-SAG] * FREE,
        constraint_upper=[STRESS] * count + [SAG] * FREE,
        constraint_scale=[STRESS] * count + [SAG] * FREE,
        constraint_names=[f"stress {i + 1}" for i in range(count)]
        + [f"sag {i + 1}" for i in range(FREE)])


if __name__ == "__main__":
    with_gradients = truss().solve(analyze, gradient=True, check_gradients=True)
    print(with_gradients)
    by_differences = truss().solve(lambda x: analyze(x)[0])
    print(f"{with_gradients.evaluations} evaluations with gradients, "
          f"{by_differences.evaluations} with differences: {by_differences.objective:.2f} lb")
