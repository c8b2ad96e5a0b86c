"""What evaluations show over their course: a table of pandas, a figure of matplotlib."""

from __future__ import annotations

from typing import TYPE_CHECKING, Any

import numpy as np

from ._answers import Array

if TYPE_CHECKING:
    from .result import Description


class Course:
    """Evaluations in their order, with what is known of their problem."""

    designs: Array
    function_values: Array
    description: Description
    tolerance: float

    def violations(self) -> Array:
        """Largest violation of every evaluation, relative to the scales; NaN: not finite."""
        return self.description.violations(self.function_values)

    def best_so_far(self) -> Array:
        """Objective of the best feasible design up to every evaluation; NaN before the first."""
        objective = self.function_values[:, 0] * (-1 if self.description.maximized else 1)
        feasible = (self.violations() <= self.tolerance) & self.description.inside(self.designs)
        best: Array = np.fmin.accumulate(np.where(feasible, objective, np.nan))
        return -best if self.description.maximized else best

    def to_pandas(self) -> Any:
        """The evaluations as a DataFrame: a row each, variables, functions and violation by name.

        Raises
        ------
        ImportError
            Where pandas is not installed.
        """
        import pandas  # type: ignore[import]

        columns = self.description.variable_names + self.description.function_names
        frame = pandas.DataFrame(np.hstack([self.designs, self.function_values]), columns=columns,
                                 index=pandas.RangeIndex(1, len(self.designs) + 1,
                                                         name="evaluation"))
        frame["violation"] = self.violations()
        return frame

    def plot(self, figure: Any = None) -> Any:
        """Draws objective, violation and variables over the evaluations.

        Parameters
        ----------
        figure : matplotlib.figure.Figure, optional
            By default a new one of pyplot.

        Returns
        -------
        matplotlib.figure.Figure

        Raises
        ------
        ImportError
            Where matplotlib is not installed.
        """
        if figure is None:
            from matplotlib import pyplot  # type: ignore[import]

            figure = pyplot.figure(figsize=(8, 9), constrained_layout=True)
        number = np.arange(1, len(self.designs) + 1)
        objective, violation, variables = figure.subplots(
            3, 1, sharex=True, gridspec_kw={"height_ratios": [3, 2, 3]})
        objective.plot(number, self.function_values[:, 0], ".", color="0.7", label="evaluations")
        objective.step(number, self.best_so_far(), where="post", label="best feasible so far")
        objective.set_ylabel(self.description.function_names[0])
        objective.legend()
        floor = self.tolerance / 100  # all below is drawn there
        violation.semilogy(number, np.maximum(self.violations(), floor), ".", color="0.5")
        violation.axhline(self.tolerance, linestyle="--", linewidth=1, color="0.3")
        violation.set_ylabel("largest violation")
        lower, upper = self._box()
        for i, name in enumerate(self.description.variable_names):
            if upper[i] > lower[i]:
                share = (self.designs[:, i] - lower[i]) / (upper[i] - lower[i])
                variables.plot(number, share, linewidth=1, label=name)
        variables.set_ylabel("variables, lower to upper bound")
        variables.set_xlabel("evaluation")
        if len(self.description.variables) <= 12:
            variables.legend(fontsize="small", ncol=3)
        return figure

    def _box(self) -> Any:
        """Bounds of the variables; where one is missing, what the evaluations reached."""
        sides = np.array([v[2:4] for v in self.description.variables]).T
        if len(self.designs) == 0:
            return np.where(np.isfinite(sides), sides, 0.0)
        reached = np.array([self.designs.min(axis=0), self.designs.max(axis=0)])
        return np.where(np.isfinite(sides), sides, reached)
