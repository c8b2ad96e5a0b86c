"""The form of ``scipy.optimize.minimize``: its bounds, constraints, callbacks and result."""

from __future__ import annotations

import math
import sys
import warnings
from typing import Any, Callable, Dict, List, Optional, Sequence, Tuple, Union

import numpy as np

from ._answers import Array, kind
from ._errors import BadValue
from .problem import Problem, Progress, limit
from .result import Result

# Of OptimizeResult.status; 0 is success.
STATUS = {"iteration limit": 1, "no feasible point": 2, "breakdown": 3, "evaluation limit": 4,
          "time limit": 5, "unbounded": 7, "finished": 8, "stopped": 99}


class OptimizeResult(Dict[str, Any]):
    """The result of `minimize` where SciPy has not been imported: a dict with attributes."""

    def __getattr__(self, name: str) -> Any:
        try:
            return self[name]
        except KeyError:
            raise AttributeError(name) from None

    def __setattr__(self, name: str, value: Any) -> None:
        self[name] = value

    def __delattr__(self, name: str) -> None:
        del self[name]

    def __dir__(self) -> List[str]:
        return list(self)

    def __repr__(self) -> str:
        width = max(map(len, self), default=0)
        return "\n".join(f"{key:>{width}}: {value!r}" for key, value in self.items())


def _result_type() -> Any:
    scipy_optimize = sys.modules.get("scipy.optimize")
    return scipy_optimize.OptimizeResult if scipy_optimize else OptimizeResult


# ---- constraints ----------------------------------------------------------------------------
class Rows:
    """A constraint of any of SciPy's kinds: lower <= function(x) <= upper."""

    def __init__(self, name: str, function: Callable[[Array], Any], jac: Any, lower: Any,
                 upper: Any) -> None:
        self.name = name
        self.function = function
        self.jac = jac  # a callable, a constant array, or None
        self.lower, self.upper = lower, upper
        self.size = 0

    def measure(self, x: Array) -> None:
        """Finds the number of rows, as SciPy does, by the values at the start."""
        values = self.at(x, 0)
        self.size = values.size
        try:
            self.lower, self.upper = (np.broadcast_to(np.asarray(side, dtype=float), self.size)
                                      for side in (self.lower, self.upper))
        except ValueError:
            raise ValueError(f"{self.name} has {self.size} values at the start, its limits have "
                             f"{np.size(self.lower)} and {np.size(self.upper)}") from None

    def names(self) -> List[str]:
        return [self.name] if self.size == 1 else [f"{self.name}[{j}]" for j in range(self.size)]

    def at(self, x: Array, number: int) -> Array:
        answer = self.function(x.copy())
        try:
            values = np.atleast_1d(answer)
        except ValueError:
            values = np.array([None])
        if values.dtype.kind not in "fiub" or values.ndim > 1 and 1 not in values.shape:
            raise BadValue(f"{self.name} is {kind(answer)}, not real numbers", self.name, number, x)
        if self.size and values.size != self.size:
            raise BadValue(f"{self.name} has {values.size} values, it had {self.size} at the start",
                           self.name, number, x)
        flat: Array = values.ravel().astype(float, copy=False)
        return flat

    def gradient(self, x: Array) -> Sequence[Any]:
        if self.jac is None:
            return [None] * self.size
        rows = self.jac(x.copy()) if callable(self.jac) else self.jac
        if hasattr(rows, "toarray"):
            rows = rows.toarray()
        return list(np.reshape(rows, (self.size, -1)))


def _old_style(con: Dict[str, Any], number: int) -> Rows:
    name = f"constraints[{number}]"
    for key in ("type", "fun"):
        if key not in con:
            raise ValueError(f"{name} has no {key!r}")
    relation = con["type"].lower() if isinstance(con["type"], str) else con["type"]
    if relation not in ("eq", "ineq"):
        raise ValueError(f"{name} has the type {con['type']!r}, which is neither 'eq' nor 'ineq'")
    args = tuple(con.get("args", ()))
    jac = con.get("jac")
    return Rows(name, _With(con["fun"], args), _With(jac, args) if callable(jac) else None,
                0.0, 0.0 if relation == "eq" else math.inf)


class _With:
    """A function of x with further arguments, which pickles where the function does."""

    def __init__(self, function: Callable[..., Any], args: Tuple[Any, ...]) -> None:
        self.function, self.args = function, args

    def __call__(self, x: Array) -> Any:
        return self.function(x, *self.args)


def _rows(constraints: Any) -> List[Rows]:
    if isinstance(constraints, dict) or hasattr(constraints, "lb"):
        constraints = [constraints]
    found = []
    for number, con in enumerate(constraints or ()):
        name = f"constraints[{number}]"
        if isinstance(con, dict):
            found.append(_old_style(con, number))
        elif hasattr(con, "A") and hasattr(con, "lb"):  # LinearConstraint
            matrix = con.A.toarray() if hasattr(con.A, "toarray") else con.A
            matrix = np.atleast_2d(np.asarray(matrix, dtype=float))
            found.append(Rows(name, matrix.dot, matrix, con.lb, con.ub))
        elif hasattr(con, "fun") and hasattr(con, "lb"):  # NonlinearConstraint
            jac = con.jac if callable(con.jac) else None
            found.append(Rows(name, con.fun, jac, con.lb, con.ub))
        else:
            raise TypeError(f"{name} is {kind(con)}: neither a dict nor a LinearConstraint or "
                            "NonlinearConstraint")
    return found


def _bounds(bounds: Any, n: int) -> Tuple[Array, Array]:
    if bounds is None:
        return np.full(n, -math.inf), np.full(n, math.inf)
    if hasattr(bounds, "lb"):
        sides = [np.broadcast_to(np.asarray(s, dtype=float), n) for s in (bounds.lb, bounds.ub)]
        return sides[0], sides[1]
    pairs = list(bounds)
    if len(pairs) != n:
        raise ValueError(f"{len(pairs)} bounds are given, x0 has {n} values")
    for pair in pairs:
        if not hasattr(pair, "__len__") or len(pair) != 2:
            raise ValueError(f"bounds are pairs (lower, upper), not {pair!r}")
    lower = [-math.inf if low is None else float(np.asarray(low).item()) for low, _ in pairs]
    upper = [math.inf if high is None else float(np.asarray(high).item()) for _, high in pairs]
    return np.array(lower), np.array(upper)


# ---- functions ------------------------------------------------------------------------------
class Functions:
    """Objective and constraints as one analysis."""

    def __init__(self, fun: Callable[..., Any], args: Tuple[Any, ...], jac: Any,
                 rows: List[Rows]) -> None:
        self.fun, self.args, self.jac, self.rows = fun, args, jac, rows
        self.calls = self.gradients = 0
        self.memo: Tuple[bytes, Any] = (b"", None)  # of jac=True

    @property
    def written(self) -> List[Any]:
        """The functions of the user, whose text a history remembers."""
        return [self.fun, *(getattr(row.function, "function", row.function) for row in self.rows)]

    @property
    def knows_gradients(self) -> bool:
        return self.jac is True or callable(self.jac) or any(r.jac is not None for r in self.rows)

    def objective(self, x: Array) -> Any:
        answer = self.fun(x.copy() if self.rows else x, *self.args)
        if self.jac is not True:
            return answer
        if not isinstance(answer, (tuple, list)) or len(answer) != 2:
            raise BadValue(f"with jac=True fun has to return (value, gradient), not {kind(answer)}",
                           "fun", self.calls, x)
        self.memo = (x.tobytes(), answer[1])
        return answer[0]

    def analysis(self, x: Array) -> List[Any]:
        self.calls += 1
        values = [self.objective(x)]
        for row in self.rows:
            values.extend(row.at(x, self.calls).tolist())
        return values

    def gradient(self, x: Array) -> List[Any]:
        row = None
        if self.jac is True:
            if self.memo[0] != x.tobytes():
                self.objective(x)
            row = self.memo[1]
        elif callable(self.jac):
            row = self.jac(x.copy(), *self.args)
        self.gradients += row is not None
        rows = [row]
        for constraint in self.rows:
            rows.extend(constraint.gradient(x))
        return rows

    def complex_step(self, x: Array) -> Array:
        """The gradient for jac='cs', by steps along the imaginary axis."""
        step = 1e-30
        return np.array([np.imag(self.fun(x + 1j * step * e, *self.args)) / step
                         for e in np.eye(x.size)])


def _callback(callback: Any) -> Optional[Callable[[Progress], None]]:
    """The three forms of SciPy: (intermediate_result), (xk), and (xk, state) of trust-constr."""
    if callback is None:
        return None
    import inspect

    try:
        parameters = inspect.signature(callback).parameters
        required = sum(p.default is p.empty and p.kind in (p.POSITIONAL_ONLY,
                                                           p.POSITIONAL_OR_KEYWORD)
                       for p in parameters.values())
    except (TypeError, ValueError):
        parameters, required = {}, 1  # type: ignore[assignment]
    whole = list(parameters) == ["intermediate_result"]

    def tell(progress: Progress) -> None:
        if progress.best is None:
            return
        x = np.array(progress.best)
        state = _result_type()(x=x, fun=progress.best_objective, nit=progress.iteration,
                               nfev=progress.evaluations, maxcv=progress.worst_violation)
        if whole:
            stop = callback(intermediate_result=state)
        else:
            stop = callback(x, state) if required >= 2 else callback(x)
        if stop is True and required >= 2:
            raise StopIteration

    return tell


# ---- options --------------------------------------------------------------------------------
RENAMED = {"maxiter": "max_iterations", "maxfev": "max_evaluations", "maxfun": "max_evaluations",
           "ftol": "tolerance", "tol": "tolerance"}
KNOWN = {"tolerance", "differences", "difference_step", "keep_inside", "check_gradients",
         "max_iterations", "max_evaluations", "max_time", "target", "stop", "report",
         "print_level", "trace", "executor", "history", "resume"}


def _options(tol: Optional[float], options: Optional[Dict[str, Any]], jac: Any) -> Dict[str, Any]:
    chosen: Dict[str, Any] = {"tolerance": 1e-8, "difference_step": 1e-6,
                              "keep_inside": True, "move_start_inside": True}
    if jac == "3-point":
        chosen["differences"] = "central"
    if tol is not None:
        chosen["tolerance"] = tol
    unknown = []
    for name, value in (options or {}).items():
        name = RENAMED.get(name, name)
        if name not in KNOWN:
            unknown.append(name)
        elif value is not None:
            chosen[name] = value
    if unknown:
        warnings.warn(f"options that tarnix does not know, and ignores: {', '.join(unknown)}",
                      RuntimeWarning, stacklevel=3)
    return chosen


# ---- the form -------------------------------------------------------------------------------
def minimize(fun: Callable[..., Any], x0: Any, args: Any = (), method: str = "automatic",
             jac: Union[None, bool, str, Callable[..., Any]] = None, bounds: Any = None,
             constraints: Any = (), tol: Optional[float] = None,
             callback: Optional[Callable[..., Any]] = None,
             options: Optional[Dict[str, Any]] = None, *, hess: Any = None,
             hessp: Any = None) -> Any:
    """Minimizes a function of several variables, in the form of ``scipy.optimize.minimize``.

    Parameters
    ----------
    fun : callable
        ``fun(x, *args) -> float`` with x of shape (n,), n at most 100.
    x0 : array_like, shape (n,)
        Start. It is moved into the bounds where it lies outside.
    args : tuple
        Further arguments of `fun` and `jac`.
    method : {"automatic", "sqp", "grg"}
    jac : callable, True, "2-point", "3-point" or "cs", optional
        ``jac(x, *args) -> (n,)``; True: `fun` returns ``(value, gradient)``. Without it gradients
        are found by differences, for "3-point" by central ones.
    bounds : sequence of pairs or scipy.optimize.Bounds, optional
        None or infinite for a missing one. Finite bounds are the scale of a variable.
    constraints : dict, LinearConstraint, NonlinearConstraint, or a list of them
        In a dict ``{"type": "ineq", "fun": g}`` means ``g(x) >= 0``. Functions may be vector
        valued; their ``jac`` is used where it is a callable.
    tol : float, optional
        Largest violation of a constraint, and decrease of `fun` that is not worth another
        iteration; 1e-8 by default.
    callback : callable, optional
        ``callback(intermediate_result)``, ``callback(xk)`` or ``callback(xk, state)``, at the start
        of every iteration with the best point so far; StopIteration ends the solve.
    options : dict, optional
        ``maxiter``, ``maxfev``, ``ftol``, ``disp``, and those of `Problem.solve`, among them
        ``executor`` and ``history``.

    Returns
    -------
    OptimizeResult
        With ``x, fun, success, status, message, nit, nfev, njev``; ``maxcv``, the largest violation
        of a constraint; ``constr``, the values of every constraint; ``jac``, the gradient of `fun`
        (None where the solve was cut short); ``multipliers``, for every constraint the change of
        `fun` per unit by which its limit is raised, ``bound_multipliers`` likewise; and ``result``,
        the `Result`.

    Raises
    ------
    BadValue
        A function returned something that is no real number.
    InvalidProblem
        Bounds, constraints or options contradict each other.
    """
    if hess is not None or hessp is not None:
        warnings.warn("tarnix does not use second derivatives (hess, hessp)", RuntimeWarning,
                      stacklevel=2)
    options = dict(options or {})
    disp = options.pop("disp", False)
    chosen = _options(tol, options, jac)
    start = np.atleast_1d(np.asarray(x0))
    if start.ndim != 1 or start.dtype.kind not in "fiub":
        raise ValueError(f"x0 is {kind(x0)}: it takes real numbers in one dimension")
    start = start.astype(float)
    lower, upper = _bounds(bounds, start.size)
    rows = _rows(constraints)
    inside = np.clip(start, lower, upper)
    for row in rows:
        row.measure(inside)
    functions = Functions(fun, args if isinstance(args, tuple) else (args,), jac, rows)
    if isinstance(jac, str) and jac == "cs":
        functions.jac = lambda x, *_: functions.complex_step(x)
    problem = _problem(start, lower, upper, rows)
    result = _solve(problem, functions, method, _callback(callback), chosen)
    optimized = _optimized(result, functions)
    if disp:
        print(optimized.message, f"f = {optimized.fun:.6g}, {result.iterations} iterations, "
              f"{result.evaluations} evaluations", sep="\n    ")
    return optimized


def _problem(start: Array, lower: Array, upper: Array, rows: List[Rows]) -> Problem:
    problem = Problem(arrays=True)
    for i, entry in enumerate(zip(start.tolist(), lower.tolist(), upper.tolist())):
        problem.variable(f"x[{i}]", *entry)
    problem.minimize("fun")
    for row in rows:
        for name, low, high in zip(row.names(), row.lower.tolist(), row.upper.tolist()):
            limit(problem, name, low, high)
    return problem


def _solve(problem: Problem, functions: Functions, method: str,
           callback: Optional[Callable[[Progress], None]], options: Dict[str, Any]) -> Result:
    plain = not functions.rows and functions.jac is not True
    analysis: Callable[..., Any] = functions.analysis
    if plain:
        analysis = functions.fun
    return problem._solve(analysis, functions.args if plain else (),
                          functions.gradient if functions.knows_gradients else None,
                          method=method, callback=callback, **options)


def _optimized(result: Result, functions: Functions) -> Any:
    values = result.point.values
    constr, multipliers, violation, at = [], [], 0.0, 1
    by_name: Dict[str, float] = {}
    if result.report:
        by_name = {limit.name: limit.multiplier for limit in result.report.active}
    for row in functions.rows:
        here = values[at:at + row.size]
        at += row.size
        constr.append(here)
        over = np.maximum(row.lower - here, here - row.upper)
        violation = max(violation, float(over.max(initial=0.0)))
        multipliers.append(np.array([by_name.get(name, 0.0) for name in row.names()]))
    message = f"{result.reason}; {result.method}: {result.meaning}"
    if not result.success:
        message += ". " + result.advice
    return _result_type()(
        x=result.point.x.copy(), fun=result.objective, success=result.success,
        status=0 if result.success else STATUS.get(result.reason, 8), message=message,
        nit=result.iterations, nfev=result.evaluations, njev=functions.gradients, maxcv=violation,
        constr=constr, jac=result.report.gradient if result.report else None,
        multipliers=multipliers,
        bound_multipliers=np.array([by_name.get(name, 0.0)
                                    for name in result.description.variable_names]),
        result=result)


def scipy(fun: Callable[..., Any], x0: Any, args: Any = (), jac: Any = None, hess: Any = None,
          hessp: Any = None, bounds: Any = None, constraints: Any = (), callback: Any = None,
          tol: Optional[float] = None, method: str = "automatic", **options: Any) -> Any:
    """tarnix as a method of SciPy: ``scipy.optimize.minimize(..., method=tarnix.scipy)``.

    Takes what `minimize` takes and returns the same; ``options={"method": "grg"}`` chooses one.
    """
    return minimize(fun, x0, args, method, jac, bounds, constraints, tol, callback, options,
                    hess=hess, hessp=hessp)
