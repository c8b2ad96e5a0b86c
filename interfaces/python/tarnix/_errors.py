"""What goes wrong, by name."""

from __future__ import annotations

import re
from typing import Any, NamedTuple, Optional, Sequence, Tuple

import numpy as np


class Issue(NamedTuple):
    """One fault of a problem or of its options."""

    name: str  #: what it is about: a variable, a constraint, an option; may be empty
    message: str  #: whole sentence, with the name


class InvalidProblem(ValueError):
    """A problem that cannot be solved as it is described; raised before anything is evaluated.

    Attributes
    ----------
    issues : list of Issue
        Every fault, in order of declaration.
    """

    def __init__(self, issues: Sequence[Tuple[str, str]]) -> None:
        self.issues = [Issue(pythonic(name), pythonic(message)) for name, message in issues]
        super().__init__("\n".join(issue.message for issue in self.issues))

    def __reduce__(self) -> Any:
        return InvalidProblem, (self.issues,)


class BadValue(ValueError):
    """An analysis or a gradient has returned something that is no real number, or not as many.

    Attributes
    ----------
    function : str or None
        The objective or constraint that it is about, where it is about one.
    evaluation : int
        Number of the evaluation, from 1 on.
    x : numpy.ndarray
        The design.
    """

    def __init__(self, text: str, function: Optional[str], evaluation: int, x: Any,
                 names: Sequence[str] = ()) -> None:
        self.text = text
        self.function = function
        self.evaluation = evaluation
        self.x = np.array(x, dtype=float)
        self.names = tuple(names)
        super().__init__(f"evaluation {evaluation}: {text}, at x = {shown(self.x, names)}")

    def __reduce__(self) -> Any:
        return BadValue, (self.text, self.function, self.evaluation, self.x, self.names)


class WorkerLost(RuntimeError):
    """A worker of an executor has died. What was finished before is in the history."""


def pythonic(text: str) -> str:
    """A text of the layer, with the options as they are called here."""
    def snake(match: Any) -> str:
        return re.sub("[A-Z]", lambda m: "_" + m.group().lower(), match.group())

    return re.sub(r"\b(keepInside|maxIterations|maxEvaluations|maxTime|differenceStep"
                  r"|moveStartInside|checkGradients)\b", snake, text)


def shown(x: Any, names: Sequence[str], most: int = 12) -> str:
    """A design for a message: {width: 2.5, height: 1}."""
    labels = names or [str(i) for i in range(len(x))]
    parts = [f"{name}: {value:.10g}" for name, value in zip(labels, x.tolist())]
    if len(parts) > most:
        parts[most:] = [f"... {len(parts) - most} more"]
    return "{" + ", ".join(parts) + "}"
