"""Problems with known answers that several tests solve."""

import math

import tarnix

BEST_COLUMN = 26.4995  # published optimum of the tubular column


def column():
    """The cheapest tubular column that carries 2500 kgf; lengths in cm."""
    p = tarnix.Problem()
    p.variable("diameter", 8, 2, 14)
    p.variable("wall", 0.5, 0.2, 0.8)
    p.minimize("cost")
    p.at_most("stress", 500, 500)
    p.at_least("buckling load", 2500, 2500)
    return p


def analyze_column(x):
    d, t = x["diameter"], x["wall"]
    return {"cost": 9.8 * d * t + 2 * d, "stress": 2500 / (math.pi * d * t),
            "buckling load": math.pi**3 * 0.85e6 * d * t * (d * d + t * t) / (8 * 250.0**2)}


def column_array(x):
    return list(analyze_column({"diameter": x[0], "wall": x[1]}).values())


def column_from_arrays():
    return tarnix.problem.from_arrays(
        [8, 0.5], [2, 0.2], [14, 0.8], constraint_lower=[None, 2500], constraint_upper=[500, None],
        constraint_scale=[500, 2500])
