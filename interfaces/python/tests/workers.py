"""What workers of an executor import; as a script, the host of an MPI run."""

import os
import time

import tarnix
from beams import column_array, column_from_arrays


def slow_column(x):
    time.sleep(0.001)
    return column_array(x)


def gone_at(place, marker, x):
    """A column whose worker dies at a design, while the marker is there."""
    if os.path.exists(marker) and abs(x[1] - place) < 1e-12:
        os._exit(3)
    return column_array(x)


def many_valleys(x):
    """Four minima in -2 .. 2 squared, at all signs of about (1, 1); the best is (-1, -1)."""
    return float(((x * x - 1)**2).sum() + 0.2 * x.sum())


def valleys():
    return tarnix.problem.from_arrays([1.5, 0.5], -2, 2)


if __name__ == "__main__":
    from mpi4py.futures import MPIPoolExecutor

    with MPIPoolExecutor() as pool:
        result = column_from_arrays().solve(slow_column, executor=pool)
        table = tarnix.multistart(valleys(), many_valleys, 12, executor=pool)
    print(result.function_values.tobytes().hex(), str(table), sep="\n")
