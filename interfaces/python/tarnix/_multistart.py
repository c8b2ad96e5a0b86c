"""Whole solves from many starts, in parallel, and what they show together."""

from __future__ import annotations

import math
from typing import Any, Callable, Dict, Generator, List, NamedTuple, Optional, Sequence, Tuple

import numpy as np

from . import _core
from ._answers import Array, Design
from ._errors import WorkerLost
from .problem import Problem
from .result import Result


class Minimum(NamedTuple):
    """A local minimum that starts led to."""

    result: Result  #: the best of the solves that ended there
    times: int  #: starts that ended there
    start: int  #: the first of them, from 1 on

    @property
    def x(self) -> Design:
        return self.result.x

    @property
    def objective(self) -> float:
        return self.result.objective


class Multistart:
    """What all starts found; `multistart` returns it. ``print`` shows the table.

    Attributes
    ----------
    best : Result
        The best solve; without any success the one that came furthest.
    minima : list of Minimum
        Ends with success, the best first. Two are one minimum when no variable differs by more than
        1 % of the distance of its bounds.
    results : list of Result
        Of every start, in their order.
    starts, unsuccessful, evaluations : int
        Solves that count, those without success, evaluations of all.
    unseen : float or None
        Expected number of minima that no start led to, after Boender and Rinnooy Kan (Bayesian
        stopping rules for multistart global optimization methods, Math. Programming 37, 1987); None
        where there are too few starts to know.
    probability : float
        That no minimum is unseen, by the same model.
    """

    best: Result
    minima: List[Minimum]
    results: List[Result]
    unsuccessful: int

    def __init__(self, results: Sequence[Result], box: Array) -> None:
        self.results = list(results)
        ranks = [_rank(r) for r in results]
        order = sorted(range(len(results)), key=ranks.__getitem__)
        self.best = results[order[0]]
        self.minima = []
        for k in order:
            if results[k].success:
                self._count(results[k], k + 1, box)
        self.unsuccessful = sum(not r.success for r in results)

    def _count(self, result: Result, start: int, box: Array) -> None:
        for i, known in enumerate(self.minima):
            if (np.abs(known.result.point.x - result.point.x) <= 0.01 * box).all():
                self.minima[i] = Minimum(known.result, known.times + 1, min(known.start, start))
                return
        self.minima.append(Minimum(result, 1, start))

    @property
    def starts(self) -> int:
        return len(self.results)

    @property
    def evaluations(self) -> int:
        return sum(r.evaluations for r in self.results)

    @property
    def unseen(self) -> Optional[float]:
        w, successes = len(self.minima), self.starts - self.unsuccessful
        return w * (w + 1) / (successes - w - 2) if successes > w + 2 else None

    @property
    def probability(self) -> float:
        w, n = len(self.minima), self.starts - self.unsuccessful
        if w == 0 or n <= w + 1:
            return 0.0
        return math.prod((n - 1 - i) / (n - 1 + i) for i in range(1, w + 1))

    def __str__(self) -> str:
        names = self.best.description.variable_names[:4]
        more = len(self.best.description.variables) - len(names)
        lines = [f"{self.starts} starts, {self.evaluations} evaluations: {len(self.minima)} minima "
                 f"from {self.starts - self.unsuccessful} solves with success"]
        if self.unseen is not None:
            lines.append(f"expected number of minima unseen: {self.unseen:.2g}; "
                         f"probability that there is none: {self.probability:.2g}")
        rows = [["times", "start", self.best.description.function_names[0], *names]]
        for minimum in self.minima:
            rows.append([str(minimum.times), str(minimum.start), f"{minimum.objective:.6g}",
                         *(f"{minimum.x[name]:.6g}" for name in names)])
        widths = [max(map(len, column)) for column in zip(*rows)]
        lines += ["  ".join(cell.rjust(width) for cell, width in zip(row, widths)) for row in rows]
        if more > 0:
            lines.append(f"and {more} more variables")
        return "\n".join(lines)

    def __repr__(self) -> str:
        return (f"<tarnix.Multistart: {len(self.minima)} minima from {self.starts} starts, best "
                f"{self.best.objective:.6g}>")


def _rank(r: Result) -> Tuple[bool, bool, bool, float]:
    """Success first, then what is feasible, then the objective, or the violation."""
    value = r.objective * (-1 if r.description.maximized else 1)
    if not r.feasible:
        value = r.point.violation
    return not r.success, not r.feasible, math.isnan(value), value


def starting_points(problem: Problem, count: int, seed: int) -> Array:
    """The declared start, then the layer's quasi-random points of the box, (count, variables).

    A solve from many starts that may evaluate once per start asks for just these."""
    options = _core.Options()
    options.starts, options.seed, options.max_evaluations = count, seed, count
    options.move_start_inside, options.report = True, False
    nothing = [math.nan] * len(problem.description.functions)
    _, points, _ = _core.solve(problem._core, options, lambda x: nothing, (), None, None, None,
                               None, None)
    points[0] = [start for _, start, _, _ in problem.description.variables]
    return points


def _box(problem: Problem, points: Array) -> Array:
    """Width of the box of every variable; where a bound is missing, that of the starts."""
    sides = np.array([[lower, upper] for _, _, lower, upper in problem.description.variables])
    reached = np.stack([points.min(axis=0), points.max(axis=0)], axis=1)
    sides = np.where(np.isfinite(sides), sides, reached)
    width: Array = sides[:, 1] - sides[:, 0]
    return width


def _solve_from(problem: Problem, analysis: Callable[..., Any], gradient: Any, start: List[float],
                options: Dict[str, Any]) -> Result:
    chosen: Dict[str, Any] = {"effort": 0, **options}  # the other starts are further ones
    return problem.solve(analysis, gradient, start=start, **chosen)


def _solves(executor: Any, jobs: List[Any]) -> Generator[Result, None, None]:
    """The results in the order of the starts; what is not asked for any more is given up."""
    if executor is None:
        for job in jobs:
            yield _solve_from(*job)
        return
    from concurrent.futures import BrokenExecutor

    futures: List[Any] = []
    try:
        for job in jobs:
            futures.append(executor.submit(_solve_from, *job))
        for k, future in enumerate(futures):
            yield future.result()
    except Exception as error:
        if isinstance(error, BrokenExecutor) or type(error).__name__ == "KilledWorker":
            raise WorkerLost(f"a worker of the executor died in one of the solves from start "
                             f"{k + 1} on: {error}") from error
        raise
    finally:
        for future in futures:
            future.cancel()


def multistart(problem: Problem, analysis: Callable[..., Any], starts: int = 64, *,
               gradient: Any = None, executor: Any = None, seed: int = 1,
               confidence: Optional[float] = None, **options: Any) -> Multistart:
    """Solves a problem from many starts and counts the minima that they lead to.

    Parameters
    ----------
    problem : Problem
        Where a bound is missing, starts lie around the declared one.
    analysis, gradient : callable
        As in `Problem.solve`.
    starts : int
        The first is the declared one, the others a quasi-random sequence in the box.
    executor : concurrent.futures.Executor, optional
        Runs whole solves side by side; problem and analysis go to processes by pickle. The answer
        is the same for any number of workers.
    seed : int
        Of the sequence: the same seed, the same starts.
    confidence : float, optional
        Stops with the first start after which no minimum is unseen with this probability, 0.95 for
        instance (see `Multistart`).
    **options
        Of `Problem.solve`; limits are those of a single solve.

    Returns
    -------
    Multistart

    Raises
    ------
    WorkerLost
        A worker of the executor died.
    Exception
        Whatever the analysis raises, of the first start that meets it.
    """
    for name in ("start", "history", "resume"):
        if name in options:
            raise TypeError(f"option {name!r} is that of a single solve")
    if starts < 1:
        raise ValueError(f"starts has to be at least 1, not {starts}")
    if confidence is not None and not 0 < confidence < 1:
        raise ValueError(f"confidence has to be between 0 and 1, not {confidence}")
    points = starting_points(problem, starts, seed)
    box = _box(problem, points)
    options.setdefault("move_start_inside", True)
    jobs = [(problem, analysis, gradient, point.tolist(), options) for point in points]
    found: List[Result] = []
    solves = _solves(executor, jobs)
    try:
        for result in solves:
            found.append(result)
            if confidence is not None and Multistart(found, box).probability >= confidence:
                break
    finally:
        solves.close()
    return Multistart(found, box)
