"""Constrained optimization of design problems with up to 100 variables.

Two ways in:

`minimize` takes what ``scipy.optimize.minimize`` takes, and ``method=tarnix.scipy`` there does the
same::

    tarnix.minimize(fun, x0, bounds=bounds, constraints=constraints)

`Problem` describes by names what one analysis returns at once, a simulator for instance::

    p = tarnix.Problem()
    p.variable("width", 2.0, 0.1, 10.0)
    p.minimize("mass")
    p.at_most("stress", 160)
    print(p.solve(lambda x: {"mass": 7.8 * x.width, "stress": 500 / x.width}))
"""

from . import problem
from ._answers import Design, Values
from ._core import Stop
from ._core import version as __version__
from ._errors import BadValue, InvalidProblem, Issue, WorkerLost
from ._multistart import Minimum, Multistart, multistart
from ._scipy_form import OptimizeResult, minimize, scipy
from ._history import History, HistoryError, load
from .problem import Problem, Progress
from .result import ActiveLimit, Description, Point, Report, Result, Stage

__all__ = [
    "ActiveLimit", "BadValue", "Description", "Design", "History", "HistoryError",
    "InvalidProblem", "Issue", "Minimum", "Multistart", "OptimizeResult", "Point", "Problem",
    "Progress", "Report", "Result", "Stage", "Stop", "Values", "WorkerLost", "__version__", "load",
    "minimize", "multistart", "problem", "scipy"]
