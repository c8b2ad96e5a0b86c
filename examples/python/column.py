#!/usr/bin/env python3
"""The cheapest tubular column that carries 2500 kgf; lengths in cm."""
from math import pi

import tarnix

column = tarnix.Problem()
column.variable("diameter", 8, 2, 14)
column.variable("wall", 0.5, 0.2, 0.8)
column.minimize("cost")
column.at_most("stress", 500, scale=500)
column.at_least("load", 2500, scale=2500)


def analysis(x: tarnix.Design) -> dict[str, float]:
    inertia = pi / 8 * x.diameter * x.wall * (x.diameter**2 + x.wall**2)
    return {"cost": 9.8 * x.diameter * x.wall + 2 * x.diameter,
            "stress": 2500 / (pi * x.diameter * x.wall),
            "load": pi**2 * 0.85e6 * inertia / 250**2}


best = column.solve(analysis)
print(f"success {best.success}, cost {best['cost']:.3f}")
print(f"diameter {best['diameter']:.3f}, wall {best['wall']:.3f}")
