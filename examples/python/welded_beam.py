"""The cheapest beam that carries a load off a wall: a bar, welded on by two fillets.

A published design problem (Ragsdell and Phillips, 1976, in a later form); the best known cost is
1.72485. First by names, then in the form of scipy.optimize.minimize.
"""

from __future__ import annotations

import math
from typing import Any, Dict

import numpy as np

import tarnix

Array = np.ndarray[Any, np.dtype[np.float64]]
LOAD, REACH, YOUNG, SHEAR = 6000.0, 14.0, 30e6, 12e6  # lb, in, psi, psi


def analyze(x: tarnix.Design) -> Dict[str, float]:
    """Cost in dollars, stresses in psi, deflection in inches, buckling load in pounds."""
    h, length, t, b = x.weld_height, x.weld_length, x.width, x.thickness
    radius = math.sqrt(length**2 / 4 + ((h + t) / 2)**2)
    polar = 2 * math.sqrt(2) * h * length * (length**2 / 12 + ((h + t) / 2)**2)
    direct = LOAD / (math.sqrt(2) * h * length)
    torsion = LOAD * (REACH + length / 2) * radius / polar
    slender = 1 - t / (2 * REACH) * math.sqrt(YOUNG / (4 * SHEAR))
    return {
        "cost": 1.10471 * h**2 * length + 0.04811 * t * b * (REACH + length),
        "weld stress": math.sqrt(direct**2 + direct * torsion * length / radius + torsion**2),
        "bar stress": 6 * LOAD * REACH / (b * t**2),
        "weld on bar": h - b,
        "deflection": 4 * LOAD * REACH**3 / (YOUNG * t**3 * b),
        "buckling": 4.013 * YOUNG * t * b**3 / 6 / REACH**2 * slender,
    }


def beam() -> tarnix.Problem:
    p = tarnix.Problem()
    p.variable("weld_height", 0.4, 0.125, 2)
    p.variable("weld_length", 6, 0.1, 10)
    p.variable("width", 8, 0.1, 10)
    p.variable("thickness", 0.5, 0.1, 2)
    p.minimize("cost")
    p.at_most("weld stress", 13600, 13600)  # limit, typical size
    p.at_most("bar stress", 30000, 30000)
    p.at_most("weld on bar", 0)
    p.at_most("deflection", 0.25, 0.25)
    p.at_least("buckling", 6000, 6000)
    return p


def scipy_form() -> float:
    """The same without names; constraints are >= 0 there, and of the order of 1."""
    problem = beam()
    names = problem.description.variable_names

    def values(x: Array) -> Dict[str, float]:
        return analyze(tarnix.Design(x, {name: i for i, name in enumerate(names)}))

    def margins(x: Array) -> Array:
        v = values(x)
        return np.array([1 - v["weld stress"] / 13600, 1 - v["bar stress"] / 30000,
                         -v["weld on bar"], 1 - v["deflection"] / 0.25,
                         v["buckling"] / 6000 - 1])

    r = tarnix.minimize(lambda x: values(x)["cost"], [0.4, 6, 8, 0.5],
                        bounds=[(0.125, 2), (0.1, 10), (0.1, 10), (0.1, 2)],
                        constraints={"type": "ineq", "fun": margins})
    return float(r.fun)


if __name__ == "__main__":
    result = beam().solve(analyze)
    print(result)
    print(f"in the form of SciPy: {scipy_form():.5f}")
