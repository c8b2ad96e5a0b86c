"""The form of scipy.optimize.minimize, without SciPy and as a method of it."""

import subprocess
import sys

import numpy as np
import pytest

import tarnix


def rosen(x, a=1, b=100):
    return (a - x[0])**2 + b * (x[1] - x[0]**2)**2


def rosen_jac(x, a=1, b=100):
    return np.array([-2 * (a - x[0]) - 4 * b * x[0] * (x[1] - x[0]**2), 2 * b * (x[1] - x[0]**2)])


# The minimum of Rosenbrock's function in the unit circle, computed to ten digits by bisection of
# the angle at which its derivative along the circle vanishes.
CIRCLE = [0.7864151542, 0.6176983126]
DISC = {"type": "ineq", "fun": lambda x: 1 - x @ x, "jac": lambda x: -2 * x}


@pytest.mark.parametrize("jac", [None, rosen_jac, "2-point", "3-point", "cs", True])
@pytest.mark.parametrize("method", ["automatic", "sqp", "grg"])
def test_rosenbrock(method, jac):
    fun = (lambda x: (rosen(x), rosen_jac(x))) if jac is True else rosen
    r = tarnix.minimize(fun, [-1.2, 1], method=method, jac=jac, bounds=[(-2, 2)] * 2,
                        constraints=DISC)
    assert r.success and r.status == 0, r.message
    assert r.x == pytest.approx(CIRCLE, abs=2e-3)
    assert r.maxcv < 1e-6 and r.constr[0] == pytest.approx(0, abs=1e-6)
    assert r.multipliers[0] == pytest.approx(0.1215, abs=2e-3) and r.fun == rosen(r.x)
    assert r.nfev == r.result.evaluations and (r.njev > 0) == (callable(jac) or jac in (True, "cs"))


def test_constraints_of_every_kind_are_the_same():
    optimize = pytest.importorskip("scipy.optimize")
    lines = np.array([[1.0, 1], [1, -1]])
    kinds = [
        [{"type": "ineq", "fun": lambda x: 1 - x[0] - x[1]},
         {"type": "eq", "fun": lambda x, c: x[0] - x[1] - c, "args": (0.5,)}],
        [{"type": "ineq", "fun": lambda x: 1 - lines[:1] @ x, "jac": lambda x: -lines[:1]},
         {"type": "EQ", "fun": lambda x: np.array([lines[1] @ x - 0.5])}],
        optimize.LinearConstraint(lines, [-np.inf, 0.5], [1, 0.5]),
        optimize.NonlinearConstraint(lambda x: lines @ x, [-np.inf, 0.5], [1, 0.5]),
        (optimize.NonlinearConstraint(lambda x: lines @ x, [-np.inf, 0.5], [1, 0.5],
                                      jac=lambda x: lines),
         optimize.LinearConstraint([1, 0], -np.inf, np.inf)),
    ]
    bounds = optimize.Bounds([-3, -3], [3, 3])
    for constraints in kinds:  # (x-2)^2 + (y-2)^2 on x - y = 1/2 under x + y <= 1: (3/4, 1/4)
        for solve in (tarnix.minimize, optimize.minimize):
            hook = {} if solve is tarnix.minimize else {"method": tarnix.scipy}
            r = solve(lambda x: ((x - 2)**2).sum(), [0, 0], bounds=bounds, constraints=constraints,
                      **hook)
            assert r.success and r.x == pytest.approx([0.75, 0.25], abs=1e-5)
            assert isinstance(r, optimize.OptimizeResult)


def test_the_hook_takes_what_scipy_hands_over():
    optimize = pytest.importorskip("scipy.optimize")
    seen = []
    r = optimize.minimize(rosen, [-1.2, 1], args=(2, 50), jac=rosen_jac, method=tarnix.scipy,
                          tol=1e-8, callback=seen.append, options={"maxiter": 300})
    assert r.success and r.x == pytest.approx([2, 4], abs=1e-3) and len(seen) > 3
    r = optimize.minimize(lambda x: (rosen(x), rosen_jac(x)), [-1.2, 1], jac=True,
                          method=tarnix.scipy, options={"method": "grg"}, bounds=[(-5, 5)] * 2)
    assert r.result.method == "GRG" and r.fun < 1e-3


def test_callbacks_in_every_form():
    def solve(callback):
        return tarnix.minimize(rosen, [-1.2, 1], bounds=[(-2, 2)] * 2, callback=callback)

    seen = []
    solve(lambda x: seen.append(x.copy()))
    assert len(seen) > 3 and all(len(x) == 2 for x in seen)

    def whole(intermediate_result):
        assert intermediate_result.fun == pytest.approx(rosen(intermediate_result.x))
        if intermediate_result.nit == 2:
            raise StopIteration

    r = solve(whole)
    assert not r.success and r.status == 99 and r.result.reason == "stopped"
    r = solve(lambda x, state: state.nit == 4)
    assert r.status == 99 and r.nit >= 4


@pytest.mark.parametrize("wrong, error, words", [
    (dict(constraints={"type": "ineq"}), ValueError, "no 'fun'"),
    (dict(constraints={"fun": abs}), ValueError, "no 'type'"),
    (dict(constraints={"type": "less", "fun": abs}), ValueError, "neither 'eq' nor 'ineq'"),
    (dict(constraints=[7]), TypeError, "neither a dict"),
    (dict(bounds=[(0, 1)]), ValueError, "1 bounds"),
    (dict(bounds=[(1, 0), (0, 1)]), tarnix.InvalidProblem, "crossed"),
    (dict(bounds=[1, 2]), ValueError, "pairs"),
    (dict(x0=[[1, 2]]), ValueError, "one dimension"),
    (dict(x0=[1j, 2]), ValueError, "real"),
    (dict(method="newton"), ValueError, "newton"),
    (dict(fun=lambda x: 1j), tarnix.BadValue, "'fun' is 1j"),
    (dict(fun=lambda x: None), tarnix.BadValue, "None"),
    (dict(fun=lambda x: x), tarnix.BadValue, "2 values"),
    (dict(constraints={"type": "eq", "fun": lambda x: None}), tarnix.BadValue, r"constraints\[0\]"),
    (dict(jac=lambda x: [1.0]), tarnix.BadValue, "1 entries"),
])
def test_faults_are_named(wrong, error, words):
    arguments = dict(dict(fun=rosen, x0=[0, 0]), **wrong)
    with pytest.raises(error, match=words):
        tarnix.minimize(**arguments)


def test_a_constraint_that_changes_its_size_is_named():
    def growing(x, sizes=[]):
        sizes.append(1)
        return np.ones(2 if len(sizes) < 5 else 3)

    with pytest.raises(tarnix.BadValue, match="3 values, it had 2"):
        tarnix.minimize(rosen, [0, 0], constraints={"type": "ineq", "fun": growing})


def test_unknown_options_are_told():
    with pytest.warns(RuntimeWarning, match="iprint"):
        tarnix.minimize(rosen, [0, 0], options={"iprint": 3, "maxiter": 5})


def test_scipy_is_not_imported():
    code = ("import sys, tarnix; r = tarnix.minimize(lambda x: x[0]**2, [1.0]); assert r.success;"
            "assert r.x is r['x'] and 'multipliers' in repr(r); import pickle;"
            "assert type(pickle.loads(pickle.dumps(r))) is tarnix.OptimizeResult;"
            "print([m for m in ('scipy', 'matplotlib', 'pandas', 'inspect', 'concurrent.futures')"
            " if m in sys.modules])")
    shown = subprocess.run([sys.executable, "-c", code], check=True, capture_output=True, text=True)
    assert shown.stdout.strip() in ("[]", "['inspect']"), shown.stdout
