"""What a solve returns."""

from __future__ import annotations

from typing import Any, Dict, List, Optional

import numpy as np

from ._answers import Array, Design
from ._course import Course
from ._errors import pythonic, shown


class Record:
    """Named values, as attributes."""

    def __init__(self, entries: Dict[str, Any]) -> None:
        self.__dict__.update(entries)

    def __repr__(self) -> str:
        return f"{type(self).__name__}({self.__dict__})"


class Point(Record):
    """A point with the values that the analysis gave there."""

    x: Array  #: all variables, fixed ones too
    values: Array  #: objective, then constraints
    violation: float  #: largest of the constraints, relative to scale; NaN where not finite
    evaluation: int  #: number of the evaluation, from 1 on


class Stage(Record):
    """One run of one method."""

    method: str
    differences: str
    difference_step: float
    tolerance: float
    start: Array
    status: int  #: of the method; 0 when a limit or a stop ended it
    reason: str
    meaning: str
    iterations: int
    evaluations: int
    end: Point
    stationary: bool
    on_invented_side: bool

    def __init__(self, entries: Dict[str, Any]) -> None:
        super().__init__(dict(entries, end=Point(entries["end"])))


class ActiveLimit(Record):
    """An active constraint or bound, and what it costs."""

    name: str
    kind: str  #: equality, lower limit, upper limit, lower bound, upper bound
    limit: float
    multiplier: float  #: change of the objective per unit by which the limit is raised
    per_percent: float  #: change when it is raised by 1 % of its size, a bound of its range


class Report(Record):
    """What one gradient pass reveals about the final point."""

    active: List[ActiveLimit]
    gradient: Array  #: of the objective, by variable; 0 for fixed ones
    sensitivity: Array  #: change of the objective per percent of the variable's range
    optimality: float  #: part of the gradient left over by the multipliers, 0 to 1
    slope: float

    def __init__(self, entries: Dict[str, Any]) -> None:
        active = [ActiveLimit(limit) for limit in entries["active"]]
        super().__init__(dict(entries, active=active))


class Conflict(Record):
    """What contradicts a feasible design, where none was found."""

    point: Point  #: least violated design
    violation: float  #: there, of the worst constraint, relative to its scale
    constraints: List[str]  #: that cannot hold together within the bounds
    minimal: bool  #: each is needed: without it the others can be met

    def __init__(self, entries: Dict[str, Any]) -> None:
        super().__init__(dict(entries, point=Point(entries["point"])))


class Description(Record):
    """Names and limits of a problem."""

    variables: List[Any]  #: (name, start, lower, upper), infinite where there is no bound
    functions: List[Any]  #: (name, relation, lower, upper, scale), the objective first
    has_objective: bool
    maximized: bool

    @property
    def variable_names(self) -> List[str]:
        return [v[0] for v in self.variables]

    @property
    def function_names(self) -> List[str]:
        return [f[0] for f in self.functions]

    def violations(self, values: Array) -> Array:
        """The largest violation of each row of values, relative to the scales; NaN where a value
        is not finite."""
        rows = np.atleast_2d(values)
        largest = np.zeros(len(rows))
        for j, (_, _, lower, upper, scale) in enumerate(self.functions):
            if j > 0:
                over = np.maximum(rows[:, j] - upper, lower - rows[:, j]) / scale
                largest = np.maximum(largest, over)
        largest[~np.isfinite(rows).all(axis=1)] = np.nan
        return largest

    def inside(self, designs: Array) -> Any:
        """Which rows of designs lie within the bounds."""
        lower = np.array([v[2] for v in self.variables])
        upper = np.array([v[3] for v in self.variables])
        return ((designs >= lower) & (designs <= upper)).all(axis=1)


class Result(Course):
    """What a solve returns: the point, the truth about it, how it came about, what its limits cost.

    ``print(result)`` shows a table of all this, a notebook draws it, ``result["stress"]`` is the
    value of that variable, objective or constraint. Results pickle.

    Attributes
    ----------
    success : bool
        The point is feasible, and a method came to its own end there or the target was reached.
    feasible : bool
        All values are finite, the point lies in the box, and no constraint is violated by more than
        the tolerance; judged by the values alone.
    x : Design
        The final design: a mapping by names, ``x.array`` as an array.
    values : dict
        Objective and constraints there, by name.
    objective : float
        Value of the objective there.
    reason, method, status, meaning : str, str, int, str
        Why the solve ended; the method that gave the point, its status and what that means.
    advice : str
        What happened and what to try, one paragraph.
    point, best : Point, Point or None
        The final point with its values; the best feasible one of all evaluations.
    stages : list of Stage
        The runs of the methods.
    report : Report or None
        Active limits with their multipliers, and sensitivities.
    conflict : Conflict or None
        Constraints that cannot hold together, where no feasible design was found.
    noise, difference_step : float, float
        Noise of the values relative to their size, 0 where none was found, and the step of the
        differences in units of half the ranges.
    iterations, evaluations, seconds : int, int, float
        Over all stages; calls of the analysis; wall clock.
    search_lower, search_upper : numpy.ndarray
        Box of the last stage; where a bound is missing, sides that were chosen around the point.
    designs, function_values : numpy.ndarray
        All evaluations in their order, (evaluations, variables) and (evaluations, functions).
    description : Description
        Names and limits of the problem.
    tolerance : float
        Violation that counts as none: that of the solve, or what noise leaves of it.
    """

    success: bool
    feasible: bool
    reason: str
    method: str
    status: int
    meaning: str
    advice: str
    point: Point
    best: Optional[Point]
    stages: List[Stage]
    report: Optional[Report]
    conflict: Optional[Conflict]
    noise: float
    difference_step: float
    warm: Dict[str, Any]
    iterations: int
    evaluations: int
    seconds: float
    search_lower: Array
    search_upper: Array
    designs: Array
    function_values: Array
    description: Description
    tolerance: float

    def __init__(self, entries: Dict[str, Any], designs: Array, values: Array,
                 description: Description) -> None:
        self.__dict__.update(entries)
        self.__dict__["summary_text"] = pythonic(self.__dict__.pop("summary"))
        self.point = Point(entries["point"])
        self.best = Point(entries["best"]) if entries["best"] else None
        self.stages = [Stage(stage) for stage in entries["stages"]]
        self.report = Report(entries["report"]) if entries["report"] else None
        self.conflict = Conflict(entries["conflict"]) if entries["conflict"] else None
        self.designs, self.function_values = designs, values
        self.description = description
        self.advice = pythonic(self.advice)
        self._tell_not_finite()

    def _tell_not_finite(self) -> None:
        bad = ~np.isfinite(self.function_values).all(axis=1)
        if bad.any():
            first = int(np.argmax(bad))
            where = shown(self.designs[first], self.description.variable_names)
            text = f"Evaluation {first + 1} was at {where}."
            self.advice += " " + text
            self.__dict__["summary_text"] += text + "\n"

    @property
    def x(self) -> Design:
        names = self.description.variable_names
        return Design(self.point.x, {name: i for i, name in enumerate(names)})

    @property
    def values(self) -> Dict[str, float]:
        return dict(zip(self.description.function_names, self.point.values.tolist()))

    @property
    def objective(self) -> float:
        return float(self.point.values[0])

    def __getitem__(self, name: str) -> float:
        values = self.values
        return values[name] if name in values else self.x[name]

    def summary(self) -> str:
        """A readable table: outcome, design, constraints, what active limits cost."""
        return str(self.__dict__["summary_text"])

    def to_dict(self) -> Dict[str, Any]:
        """Plain values for JSON, with the keys of ``tarnix solve --json``."""
        from ._outcome import outcome_of

        return outcome_of(self, self.description.function_names[0])

    def _repr_html_(self) -> str:
        """The table that a notebook shows."""
        from ._html import page

        return page(self)

    def __str__(self) -> str:
        return self.summary().rstrip("\n")

    def __repr__(self) -> str:
        name = self.description.function_names[0]
        return (f"<tarnix.Result: {'success' if self.success else 'no success'}, {self.reason}, "
                f"{name} = {self.objective:.6g}, {self.evaluations} evaluations>")
