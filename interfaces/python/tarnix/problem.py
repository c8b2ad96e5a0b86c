"""The description of a problem by names, and its solve."""

from __future__ import annotations

import math
import sys
from typing import Any, Callable, Dict, List, Mapping, Optional, Sequence, Tuple, Union

import numpy as np

from . import _core
from ._answers import Array, ArrayFill, Design, NamedCall, Reader, takes_two
from ._core import Stop
from ._errors import InvalidProblem, Issue
from .result import Description, Result


class Progress:
    """What a running solve passes to its callback at the start of every iteration.

    Attributes
    ----------
    stage, method, iteration, evaluations : int, str, int, int
        Number of the stage and its method; iterations completed and evaluations so far.
    best_objective, worst_violation : float
        At the best point so far; NaN when there is none.
    best : Mapping, numpy.ndarray or None
        That point.
    """

    __slots__ = ("stage", "method", "iteration", "evaluations", "best_objective",
                 "worst_violation", "best")

    def __init__(self, stage: int, method: str, iteration: int, evaluations: int,
                 best_objective: float, worst_violation: float, best: Any) -> None:
        self.stage = stage
        self.method = method
        self.iteration = iteration
        self.evaluations = evaluations
        self.best_objective = best_objective
        self.worst_violation = worst_violation
        self.best = best

    def __repr__(self) -> str:
        return (f"Progress({self.method} iteration {self.iteration}, {self.evaluations} "
                f"evaluations, best {self.best_objective:.6g})")


class Problem:
    """Variables, objective and constraints by name.

    Declarations return the name, so that ``d = p.variable("diameter", 8, 2, 14)`` may be used as
    ``x[d]`` in the analysis. Faults are found by `check` and `solve`, not by the declarations.

    Parameters
    ----------
    arrays : bool, optional
        The analysis gets a numpy array of all variables and returns the values in the order of
        declaration, the objective first; without names in between it is the fastest form.

    Examples
    --------
    >>> import tarnix
    >>> p = tarnix.Problem()
    >>> _ = p.variable("width", 2.0, 0.1, 10.0)
    >>> _ = p.minimize("mass")
    >>> _ = p.at_most("stress", 160)
    >>> r = p.solve(lambda x: {"mass": 7.8 * x.width, "stress": 500 / x.width})
    >>> round(r["width"], 4)
    3.125
    """

    def __init__(self, arrays: bool = False) -> None:
        self._core = _core.Problem()
        self._arrays = arrays

    def __getstate__(self) -> Any:
        return self._core.describe(), self._arrays

    def __setstate__(self, state: Any) -> None:
        described, arrays = state
        Problem.__init__(self, arrays)
        for entry in described["variables"]:
            self._core.variable(*entry)
        if described["has_objective"]:
            name, _, _, _, scale = described["functions"][0]
            self._core.objective(name, described["maximized"], scale)
        for name, relation, lower, upper, scale in described["functions"][1:]:
            if relation == "at most":
                self._core.at_most(name, upper, scale)
            elif relation == "at least":
                self._core.at_least(name, lower, scale)
            else:
                self._core.between(name, lower, upper, scale)

    # ---- declarations -----------------------------------------------------------------------
    def variable(self, name: str, start: float, lower: Optional[float] = None,
                 upper: Optional[float] = None) -> str:
        """Declares a variable.

        Parameters
        ----------
        name : str
            Unique over the whole problem.
        start : float
            Where a solve begins, in the unit of the variable.
        lower, upper : float, optional
            Bounds, the scale of the variable as well; None or infinite for a missing one. Equal
            bounds fix it.
        """
        self._core.variable(name, _number(start, name), _number(lower, name, -math.inf),
                            _number(upper, name, math.inf))
        return name

    def variables(self, prefix: str, starts: Sequence[float],
                  lower: Union[None, float, Sequence[float]] = None,
                  upper: Union[None, float, Sequence[float]] = None) -> List[str]:
        """Declares variables ``prefix[0]``, ``prefix[1]``, ...; a single bound is that of all."""
        lows, highs = (_spread(side, missing, len(starts), prefix)
                       for side, missing in ((lower, -math.inf), (upper, math.inf)))
        return [self.variable(f"{prefix}[{i}]", *entry)
                for i, entry in enumerate(zip(starts, lows, highs))]

    def minimize(self, name: str, scale: float = 1) -> str:
        """The objective; ``scale`` is its typical magnitude, tolerances are relative to it."""
        self._core.objective(name, False, _number(scale, name))
        return name

    def maximize(self, name: str, scale: float = 1) -> str:
        """The objective, to be made as large as possible."""
        self._core.objective(name, True, _number(scale, name))
        return name

    def at_most(self, name: str, limit: float, scale: float = 1) -> str:
        """A constraint ``name <= limit``, in the unit in which the analysis returns it."""
        self._core.at_most(name, _number(limit, name), _number(scale, name))
        return name

    def at_least(self, name: str, limit: float, scale: float = 1) -> str:
        """A constraint ``name >= limit``."""
        self._core.at_least(name, _number(limit, name), _number(scale, name))
        return name

    def between(self, name: str, lower: float, upper: float, scale: float = 1) -> str:
        """A constraint ``lower <= name <= upper``; equal limits make an equality."""
        self._core.between(name, _number(lower, name), _number(upper, name),
                           _number(scale, name))
        return name

    def equal(self, name: str, value: float, scale: float = 1) -> str:
        """A constraint ``name == value``."""
        self._core.equal(name, _number(value, name), _number(scale, name))
        return name

    @property
    def description(self) -> Description:
        """Names and limits as they are declared now."""
        return Description(self._core.describe())

    def __repr__(self) -> str:
        d = self.description
        objective = d.function_names[0] if d.has_objective else "nothing yet"
        return (f"<tarnix.Problem: {'maximize' if d.maximized else 'minimize'} {objective}, "
                f"{len(d.variables)} variables, {len(d.functions) - 1} constraints>")

    def check(self, **options: Any) -> List[Issue]:
        """Every fault that `solve` would raise; empty for a valid problem."""
        return InvalidProblem(self._core.check(_options(options))).issues

    # ---- solve ------------------------------------------------------------------------------
    def solve(self, analysis: Callable[..., Any],
              gradient: Union[None, bool, Callable[..., Any]] = None, *,
              method: str = "automatic", tolerance: float = 1e-5, differences: str = "forward",
              difference_step: float = 0, keep_inside: bool = False,
              move_start_inside: bool = False, check_gradients: bool = False,
              start: Union[None, Sequence[float], Mapping[str, float]] = None,
              max_iterations: int = 200, max_evaluations: Optional[int] = None,
              max_time: Optional[float] = None, target: Optional[float] = None, effort: float = 4,
              accuracy: float = 0, warm: Optional[Result] = None,
              stop: Optional[Stop] = None, callback: Optional[Callable[[Progress], Any]] = None,
              report: bool = True, print_level: int = 0,
              trace: Optional[Callable[[str], Any]] = None, executor: Any = None,
              history: Any = None, resume: bool = False) -> Result:
        """Solves the problem.

        Parameters
        ----------
        analysis : callable
            Called once per evaluation. ``analysis(x)`` gets the design as a `Design`, a mapping
            with attributes (or, with ``Problem(arrays=True)``, a numpy array of shape (variables,))
            and returns a mapping of all values by name, or a sequence in the order of declaration,
            the objective first. ``analysis(x, values)``, with two arguments, fills `values`
            instead. Values are in the units of the limits; NaN says that a design has none.
        gradient : callable or True, optional
            ``gradient(x)`` returns derivatives: ``{"mass": {"width": 7.8}}``, rows by variables,
            or an array of shape (functions, variables). What is missing, or NaN, is found by
            differences. True: the analysis returns ``(values, gradients)``.
        method : {"automatic", "sqp", "grg"}
            `automatic` begins with SQP, then uses GRG and finer differences while that pays.
        tolerance : float
            Violation at which a constraint still counts as satisfied, and decrease of the objective
            that is not worth another iteration, relative to their scales.
        differences : {"forward", "central"}
            One or two evaluations per variable and gradient.
        difference_step : float
            In units of half the distance between a variable's bounds; 0 chooses it by the noise of
            the values.
        keep_inside : bool
            No difference steps beyond the bounds.
        move_start_inside : bool
            Moves a start outside the box to its nearest point, instead of refusing it.
        check_gradients : bool
            Compares the gradient with central differences at the start.
        start : sequence or mapping, optional
            In place of the declared one.
        effort : float
            How much the automatic method may spend on further starts; 0: none, as suits
            evaluations that take minutes. At most 32 (n + 1) evaluations, or 0.75 of those beyond
            85 that it had taken before, times this.
        accuracy : float
            Relative accuracy of the values, where it is known: their noise is then not estimated.
        warm : Result, optional
            Of a similar problem, such as one whose limit was a little different: the automatic
            method starts from that end, its multipliers and derivatives, instead of from `start`.
        max_iterations, max_evaluations, max_time, target : optional
            Limits: iterations of every stage, calls of the analysis, seconds of wall clock, an
            objective that is good enough.
        stop : Stop, optional
            Ends the solve from another thread.
        callback : callable, optional
            Gets a `Progress` every iteration; StopIteration ends the solve with what was reached.
        report : bool
            Multipliers and sensitivities at the end, one gradient pass.
        print_level : int
            Trace of the methods, 0 to 3, to `trace`, by default ``sys.stdout.write``.
        executor : concurrent.futures.Executor, optional
            Evaluates the designs of a gradient pass side by side, on threads, processes or other
            machines; the solve is the same to the last bit for any number of workers. Processes
            get the analysis by pickle. One call counts as begun when it is submitted.
        history : str or os.PathLike, optional
            File that gets a line per finished evaluation, which ``tarnix report`` draws and `load`
            reads. That of an earlier solve is renamed.
        resume : bool
            Continues the history where there is one: no evaluation in it is repeated, and the
            solve ends at the same bits as one that was never interrupted.

        Returns
        -------
        Result

        Raises
        ------
        InvalidProblem
            Before anything is evaluated, with every fault of the problem and the options.
        BadValue
            The analysis returned something that is no real number.
        WorkerLost
            A worker of the executor died.
        HistoryError
            The history is damaged, in use, unfinished without `resume`, or of another problem.
        Exception
            Whatever the analysis raises, as it was; KeyboardInterrupt ends the solve at once.
        """
        return self._solve(
            analysis, None, gradient, method=method, tolerance=tolerance, differences=differences,
            difference_step=difference_step, keep_inside=keep_inside,
            move_start_inside=move_start_inside, check_gradients=check_gradients, start=start,
            max_iterations=max_iterations, max_evaluations=max_evaluations, max_time=max_time,
            target=target, effort=effort, accuracy=accuracy, warm=warm, stop=stop,
            callback=callback, report=report, print_level=print_level, trace=trace,
            executor=executor, history=history, resume=resume)

    def _solve(self, analysis: Callable[..., Any], arguments: Optional[Tuple[Any, ...]],
               gradient: Any, *,
               callback: Optional[Callable[[Progress], Any]] = None,
               trace: Optional[Callable[[str], Any]] = None, start: Any = None,
               executor: Any = None, history: Any = None, resume: bool = False,
               warm: Optional[Result] = None, **given: Any) -> Result:
        """The same; an analysis with further arguments, or none, is called as it is."""
        if not (warm is None or isinstance(warm, Result)):
            raise TypeError(f"option 'warm' must be a Result, not {warm!r}")
        options = _options(dict(given, start=self._start(start),
                                warm=None if warm is None else warm.warm))
        if not callable(analysis):
            raise TypeError(f"the analysis is no function: {analysis!r}")
        if options.print_level > 0 and trace is None:
            trace = sys.stdout.write
        described = self.description
        reader = Reader(described.variable_names, described.function_names, gradient is True)
        call: Callable[..., Any] = analysis
        if arguments is None:
            call = self._call(analysis, described)
        job = _Job(self._core, options, call, arguments or (), reader,
                   self._gradient(gradient, reader, call), self._progress(callback, described),
                   trace)
        if executor is None and history is None:
            return job.run(described)
        return job.run_recorded(described, analysis, executor, history, resume)

    def _index(self, described: Description) -> Dict[str, int]:
        return {name: i for i, name in enumerate(described.variable_names)}

    def _call(self, analysis: Callable[..., Any], d: Description) -> Callable[..., Any]:
        fills = takes_two(analysis)
        if self._arrays and not fills:
            return analysis
        if self._arrays:
            return ArrayFill(analysis, len(d.functions))
        return NamedCall(analysis, self._index(d), d.function_names if fills else None)

    def _gradient(self, gradient: Union[None, bool, Callable[..., Any]], reader: Reader,
                  call: Callable[[Array], Any]) -> Optional[Callable[[Array, int], Array]]:
        if gradient is None or gradient is False:
            return None
        if gradient is True:
            def joint(x: Array, number: int) -> Array:
                if x.tobytes() not in reader.gradients:
                    reader(call(x), number, x)
                return reader.gradient(reader.gradients[x.tobytes()], number, x)
            return joint
        if not callable(gradient):
            raise TypeError(f"the gradient is no function: {gradient!r}")
        index = {name: i for i, name in enumerate(reader.variables)}
        ask: Callable[..., Any] = gradient
        if not self._arrays:
            ask = NamedCall(gradient, index)
        return lambda x, number: reader.gradient(ask(x), number, x)

    def _progress(self, callback: Optional[Callable[[Progress], Any]],
                  d: Description) -> Optional[Callable[..., bool]]:
        if callback is None:
            return None
        watch = callback

        def tell(*entries: Any) -> bool:
            progress = Progress(*entries)
            if progress.best is not None and not self._arrays:
                progress.best = Design(progress.best, self._index(d))
            try:
                watch(progress)
            except StopIteration:
                return True
            return False

        return tell

    def _start(self, start: Union[None, Sequence[float], Mapping[str, float]]) -> List[float]:
        if start is None:
            return []
        if isinstance(start, Mapping):
            declared = {name: at for name, at, _, _ in self.description.variables}
            unknown = [name for name in start if name not in declared]
            if unknown:
                raise InvalidProblem([("start", f"option 'start' has {unknown[0]!r}, which is no "
                                                "variable")])
            return [_number(start.get(name, at), name) for name, at in declared.items()]
        return [_number(value, "start") for value in start]


class _Job:
    """A solve with its callables."""

    def __init__(self, core: _core.Problem, options: _core.Options, call: Callable[..., Any],
                 arguments: Tuple[Any, ...], reader: Reader, gradient: Any, progress: Any,
                 trace: Any) -> None:
        self.core, self.options, self.call, self.arguments = core, options, call, arguments
        self.reader, self.gradient, self.progress, self.trace = reader, gradient, progress, trace

    def run(self, described: Description, batch: Any = None) -> Result:
        entries, designs, values = _core.solve(
            self.core, self.options, self.call, self.arguments, batch, self.reader, self.gradient,
            self.progress, self.trace)
        return Result(entries, designs, values, described)

    def run_recorded(self, described: Description, analysis: Any, executor: Any, history: Any,
                     resume: bool) -> Result:
        from ._evaluations import Evaluations
        from ._history import Recorder, fingerprint
        from ._outcome import outcome_of

        issues = self.core.check(self.options)  # before a file is made
        if issues:
            raise InvalidProblem(issues)
        recorder = None
        if history is not None:
            recorder = Recorder(history, resume, described, self.options.tolerance,
                                fingerprint(described, analysis))
        try:
            result = self.run(described, Evaluations(self.call, self.arguments, self.reader,
                                                     executor, recorder))
            if recorder:
                recorder.finish(outcome_of(result, str(history), replayed=recorder.replayed))
        finally:
            if recorder:
                recorder.close()
        return result


def from_arrays(start: Sequence[float], lower: Any = None, upper: Any = None, *,
                constraint_lower: Any = None, constraint_upper: Any = None,
                names: Optional[Sequence[str]] = None,
                constraint_names: Optional[Sequence[str]] = None, objective: str = "objective",
                maximize: bool = False, scale: float = 1, constraint_scale: Any = 1) -> Problem:
    """A problem whose analysis takes an array and returns one.

    Parameters
    ----------
    start : sequence of float, shape (n,)
    lower, upper : float or sequence, optional
        Bounds, None or infinite for missing ones.
    constraint_lower, constraint_upper : float or sequence of shape (m,), optional
        Limits of the constraints. Equal ones make an equality; where both are infinite the value is
        there without a limit.
    names, constraint_names : sequence of str, optional
        By default ``x[0]``, ``x[1]``, ... and ``c[0]``, ``c[1]``, ...
    objective, maximize, scale : str, bool, float
        Name, sense and typical magnitude of the objective.
    constraint_scale : float or sequence
        Typical magnitudes of the constraints.

    Returns
    -------
    Problem
        Its analysis is ``analysis(x) -> [objective, constraint 0, ...]``.
    """
    n = len(start)
    problem = Problem(arrays=True)
    labels = list(names) if names is not None else [f"x[{i}]" for i in range(n)]
    _same(len(labels), n, "names")
    for entry in zip(labels, start, _spread(lower, -math.inf, n, "lower"),
                     _spread(upper, math.inf, n, "upper")):
        problem.variable(*entry)
    (problem.maximize if maximize else problem.minimize)(objective, scale)
    sides = [side for side in (constraint_lower, constraint_upper) if side is not None]
    sizes = [np.size(side) for side in sides if np.ndim(side) > 0]
    m = max([*sizes, len(constraint_names or ()), 1]) if sides else 0
    labels = list(constraint_names) if constraint_names is not None else [
        f"c[{j}]" for j in range(m)]
    _same(len(labels), m, "constraint_names")
    for name, low, high, size in zip(labels, _spread(constraint_lower, -math.inf, m, "lower"),
                                     _spread(constraint_upper, math.inf, m, "upper"),
                                     _spread(constraint_scale, 1, m, "scale")):
        limit(problem, name, low, high, size)
    return problem


def limit(problem: Problem, name: str, low: float, high: float, scale: float = 1) -> None:
    """A constraint with either limit, or both."""
    if math.isinf(low) and low < 0:
        # No limit at all is one that nothing reaches.
        problem.at_most(name, sys.float_info.max if high == math.inf else high, scale)
    elif math.isinf(high) and high > 0:
        problem.at_least(name, low, scale)
    else:
        problem.between(name, low, high, scale)


def _number(value: Any, name: str, missing: Optional[float] = None) -> float:
    if value is None and missing is not None:
        return missing
    try:
        if isinstance(value, (str, bytes)):
            raise TypeError
        return float(value)
    except (TypeError, ValueError):
        raise TypeError(f"{name!r}: {value!r} is not a number") from None


def _spread(values: Any, missing: float, count: int, what: str) -> List[float]:
    if values is None:
        return [missing] * count
    if np.ndim(values) == 0:
        return [_number(values, what)] * count
    _same(len(values), count, what)
    return [_number(value, what, missing) for value in values]


def _same(found: int, wanted: int, what: str) -> None:
    if found != wanted:
        raise InvalidProblem([(what, f"{what!r} has {found} entries, {wanted} are needed")])


def _options(given: Dict[str, Any]) -> _core.Options:
    options = _core.Options()
    for name, value in given.items():
        try:
            setattr(options, name, value)
        except TypeError:
            raise TypeError(f"option {name!r} cannot be {value!r}") from None
        except ValueError as error:
            raise ValueError(f"option {name!r}: {error}") from None
        except AttributeError:
            raise TypeError(f"no option is called {name!r}") from None
    return options
