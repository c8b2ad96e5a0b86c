#!/usr/bin/python3
"""Solves the problem collection by scipy.optimize.minimize and by tarnix in the form of SciPy.

    cmake --build --preset release --target tarnix_python tarnix_problems_shared
    PYTHONPATH=build/release/interfaces/python bench/scipy_compare.py --help

Every solver gets the same functions, starts and bounds, no derivatives, and its default tolerance
(COBYLA tol=1e-8). COBYLA gets bounds and equalities as inequalities. Calls at a point that was just
evaluated count once. A solve that takes longer than the limit counts with its last point.

loose, tight: objective within 1e-3 (1e-6) of the best known, relative to max(1, |best|), and no
violation above 1e-3 (1e-6). false: success is claimed, and the point is infeasible by more than
1e-3, or worse than the best known by more than 1e-3 on a problem that is not known for other
minima.
"""

import argparse
import ctypes
import os
import sys
import time
import warnings

import numpy as np
import scipy
import scipy.optimize as optimize

import tarnix

OTHER_MINIMA = 128


class Problem(ctypes.Structure):
    _doubles = ctypes.POINTER(ctypes.c_double)
    _fields_ = [("name", ctypes.c_char_p), ("source", ctypes.c_char_p), ("n", ctypes.c_int),
                ("eq", ctypes.c_int), ("ineq", ctypes.c_int), ("start", _doubles),
                ("lower", _doubles), ("upper", _doubles), ("best", _doubles),
                ("f_best", ctypes.c_double), ("flags", ctypes.c_uint),
                ("evaluate", ctypes.CFUNCTYPE(None, ctypes.c_void_p, *[_doubles] * 4))]


class OutOfTime(Exception):
    pass


class Host:
    """The functions of a problem, counted."""

    def __init__(self, problem, seconds):
        self.p = problem
        self.n, self.eq, self.ineq = problem.n, problem.eq, problem.ineq
        vector = (np.ctypeslib.as_array(v, (self.n,)).copy()
                  for v in (problem.start, problem.lower, problem.upper))
        self.start, self.lower, self.upper = vector
        self.deadline = time.monotonic() + seconds
        self.count, self.at, self.values = 0, None, None

    def __call__(self, x):
        x = np.ascontiguousarray(x, dtype=float)
        if self.at is not None and np.array_equal(x, self.at):
            return self.values
        if time.monotonic() > self.deadline:
            raise OutOfTime
        self.count += 1
        self.at, self.values = x.copy(), np.empty(1 + self.eq + self.ineq)
        pointer = ctypes.POINTER(ctypes.c_double)

        def part(array, offset=0):
            return ctypes.cast(array.ctypes.data + 8 * offset, pointer)

        self.p.evaluate(None, part(x.copy()), part(self.values), part(self.values, 1),
                        part(self.values, 1 + self.eq))
        return self.values

    def objective(self, x):
        return float(self(x)[0])

    def equalities(self, x):
        return self(x)[1:1 + self.eq].copy()

    def margins(self, x):
        return -self(x)[1 + self.eq:]

    def judge(self, x):
        """Objective, and the largest violation of constraints and bounds."""
        self.deadline = np.inf
        f = self(x)
        parts = [np.abs(f[1:1 + self.eq]), f[1 + self.eq:], self.lower - x, x - self.upper, [0.0]]
        return f[0], max(np.max(part) for part in parts if len(part))


def constraints_of(host):
    found = []
    if host.eq:
        found.append({"type": "eq", "fun": host.equalities})
    if host.ineq:
        found.append({"type": "ineq", "fun": host.margins})
    return found


def by_slsqp(host):
    return optimize.minimize(host.objective, host.start, method="SLSQP",
                             bounds=optimize.Bounds(host.lower, host.upper),
                             constraints=constraints_of(host), options={"maxiter": 1000})


def by_cobyla(host):
    found = [{"type": "ineq", "fun": lambda x: x - host.lower},
             {"type": "ineq", "fun": lambda x: host.upper - x},
             {"type": "ineq", "fun": host.margins}]
    if host.eq:
        found += [{"type": "ineq", "fun": host.equalities},
                  {"type": "ineq", "fun": lambda x: -host.equalities(x)}]
    return optimize.minimize(host.objective, host.start, method="COBYLA", constraints=found,
                             tol=1e-8, options={"maxiter": 20000})


def by_trust_constr(host):
    found = []
    if host.eq:
        found.append(optimize.NonlinearConstraint(host.equalities, 0, 0))
    if host.ineq:
        found.append(optimize.NonlinearConstraint(host.margins, 0, np.inf))
    return optimize.minimize(host.objective, host.start, method="trust-constr", constraints=found,
                             bounds=optimize.Bounds(host.lower, host.upper))


def by_tarnix(**options):
    return lambda host: tarnix.minimize(
        host.objective, host.start, bounds=optimize.Bounds(host.lower, host.upper),
        constraints=constraints_of(host), **options)


SOLVERS = {
    "tarnix": by_tarnix(), "tarnix sqp": by_tarnix(method="sqp"),
    "tarnix grg": by_tarnix(method="grg"), "tarnix, tol 1e-5": by_tarnix(tol=1e-5),
    "SLSQP": by_slsqp, "COBYLA": by_cobyla, "trust-constr": by_trust_constr}


def solve(host, solver):
    try:
        with warnings.catch_warnings(), np.errstate(all="ignore"):
            warnings.simplefilter("ignore")
            r = solver(host)
        return np.asarray(r.x), bool(r.success)
    except OutOfTime:
        return host.at, False
    except (ValueError, np.linalg.LinAlgError) as error:
        print(f"{host.p.name.decode()}: {error}", file=sys.stderr)
        return host.start, False


def collection(library, wide):
    lib = ctypes.CDLL(library)
    count, at = (lib.wideProblemCount, lib.wideProblemAt) if wide else (lib.problemCount,
                                                                        lib.problemAt)
    at.restype = ctypes.POINTER(Problem)
    return [at(i).contents for i in range(count())]


def main():
    parser = argparse.ArgumentParser(description=__doc__,
                                     formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--library",
                        default="build/release/interfaces/python/libtarnix_problems_shared.so")
    parser.add_argument("--wide", action="store_true", help="236 problems in place of 94")
    parser.add_argument("--every", type=int, default=1, help="only every so manieth problem")
    parser.add_argument("--seconds", type=float, default=10, help="limit of a solve")
    parser.add_argument("--solvers", default=",".join(SOLVERS).replace(", tol", "; tol"))
    parser.add_argument("--list", action="store_true", help="a line per solve")
    options = parser.parse_args()
    problems = collection(os.path.abspath(options.library), options.wide)[::options.every]
    print(f"{len(problems)} problems; tarnix {tarnix.__version__}, SciPy {scipy.__version__}, "
          f"numpy {np.__version__}, Python {sys.version.split()[0]}")
    print(f"{'':17} loose tight claims false  median evaluations  seconds")
    for name in options.solvers.split(","):
        name = name.replace("; tol", ", tol")
        tell(name, problems, options)


def tell(name, problems, options):
    counts = {"loose": 0, "tight": 0, "claims": 0, "false": 0}
    evaluations, seconds = [], 0.0
    for p in problems:
        host = Host(p, options.seconds)
        began = time.process_time()
        x, success = solve(host, SOLVERS[name])
        seconds += time.process_time() - began
        evaluations.append(host.count)
        f, violation = host.judge(x)
        size = max(1.0, abs(p.f_best))
        loose = violation <= 1e-3 and abs(f - p.f_best) <= 1e-3 * size
        tight = violation <= 1e-6 and abs(f - p.f_best) <= 1e-6 * size
        worse = violation > 1e-3 or (f > p.f_best + 1e-3 * size and not p.flags & OTHER_MINIMA)
        counts["loose"] += loose
        counts["tight"] += tight
        counts["claims"] += success
        counts["false"] += success and (worse or not np.isfinite(violation))
        if options.list:
            print(f"  {p.name.decode():20} {'loose' if loose else '':6}{'tight' if tight else '':6}"
                  f"{'success' if success else '':8} {host.count:6} {f:.8g} {violation:.1e}")
    print(f"{name:17} {counts['loose']:5} {counts['tight']:5} {counts['claims']:6} "
          f"{counts['false']:5} {np.median(evaluations):7.1f} {sum(evaluations):11} {seconds:8.1f}",
          flush=True)


if __name__ == "__main__":
    main()
