"""All minima of a function with several valleys, by whole solves from many starts on two processes.

The six-hump camel function has six minima, two of them the lowest, -1.0316 at (0.0898, -0.7126) and
(-0.0898, 0.7126).
"""

from __future__ import annotations

from concurrent.futures import ProcessPoolExecutor
from typing import Any

import numpy as np

import tarnix


def camel(x: np.ndarray[Any, np.dtype[np.float64]]) -> float:
    a, b = x.tolist()
    return float((4 - 2.1 * a**2 + a**4 / 3) * a**2 + a * b + (4 * b**2 - 4) * b**2)


def problem() -> tarnix.Problem:
    return tarnix.problem.from_arrays([0.5, 0.5], [-2, -1.1], [2, 1.1], names=["a", "b"],
                                      objective="height")


if __name__ == "__main__":  # processes import this file
    with ProcessPoolExecutor(2) as pool:
        print(tarnix.multistart(problem(), camel, starts=400, executor=pool, confidence=0.9))
