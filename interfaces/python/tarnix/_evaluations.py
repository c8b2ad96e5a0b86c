"""The evaluations of a solve that has an executor or a history."""

from __future__ import annotations

from typing import Any, Callable, Dict, List, Optional, Tuple

from ._answers import Array, Reader
from ._errors import WorkerLost, shown
from ._history import Recorder

Numbered = List[Tuple[int, Array]]


class Evaluations:
    """Answers the designs of a pass, from the history, here, or side by side by an executor."""

    def __init__(self, call: Callable[..., Any], arguments: Tuple[Any, ...], reader: Reader,
                 executor: Any, recorder: Optional[Recorder]) -> None:
        self.call = call
        self.arguments = arguments
        self.reader = reader
        self.executor = executor
        self.recorder = recorder

    def __call__(self, points: List[Array], first: int,
                 may_begin: Callable[[int], bool]) -> List[List[float]]:
        if self.executor is not None:
            return self._side_by_side(points, first, may_begin)
        answers = []
        for k, x in enumerate(points):
            if not may_begin(k):
                break
            answers.append(self._known(x) or self._take(self.call(x.copy(), *self.arguments),
                                                        first + k, x))
        return answers

    def _known(self, x: Array) -> Optional[List[float]]:
        """With a history no design is evaluated twice, in this solve or in the one before."""
        return self.recorder.known.get(x.tobytes()) if self.recorder else None

    def _take(self, answer: Any, number: int, x: Array) -> List[float]:
        values = self.reader(answer, number, x)
        if self.recorder:
            self.recorder.append(x, values)
        return values

    def _side_by_side(self, points: List[Array], first: int,
                      may_begin: Callable[[int], bool]) -> List[List[float]]:
        answers: Dict[int, List[float]] = {}
        errors: Dict[int, BaseException] = {}
        running: Dict[Any, int] = {}
        begun = 0
        try:
            for k, x in enumerate(points):
                if not may_begin(k):
                    break
                begun = k + 1
                known = self._known(x)
                if known:
                    answers[k] = known
                else:
                    running[self._submit(x, first + k)] = k
            self._collect(running, points, first, answers, errors)
        finally:  # an interrupt, or an answer that is none
            for future in running:
                future.cancel()
        if errors:
            raise self._explained(min(errors), errors, points, first)
        return [answers[k] for k in range(begun)]

    def _submit(self, x: Array, number: int) -> Any:
        try:
            return self.executor.submit(self.call, x, *self.arguments)
        except RuntimeError as error:
            raise self._lost(error, [(number, x)]) or error from error

    def _collect(self, running: Dict[Any, int], points: List[Array], first: int,
                 answers: Dict[int, List[float]], errors: Dict[int, BaseException]) -> None:
        """What comes to its end is noted at once; after an error no later one is begun."""
        from concurrent.futures import CancelledError, as_completed

        for future in as_completed(list(running)):
            k = running[future]
            try:
                answers[k] = self._take(future.result(), first + k, points[k])
            except CancelledError as error:
                if not errors or k < min(errors):  # not by us
                    errors[k] = error
            except Exception as error:
                errors[k] = error
                for other, place in running.items():
                    if place > k:
                        other.cancel()

    def _explained(self, k: int, errors: Dict[int, BaseException], points: List[Array],
                   first: int) -> BaseException:
        """The exception of the smallest number, as a loop would meet it."""
        error = errors[k]
        lost = self._lost(error, [(first + j, points[j]) for j in sorted(errors)])
        if lost is not None:
            lost.__cause__ = error
            return lost
        if "pickle" in f"{type(error).__name__} {error}".lower() and hasattr(error, "add_note"):
            error.add_note("An analysis goes to processes by pickle: define it, and what it uses, "
                           "at the top level of a module.")
        return error

    def _lost(self, error: BaseException, numbered: Numbered) -> Optional[WorkerLost]:
        from concurrent.futures import BrokenExecutor

        if not isinstance(error, BrokenExecutor) and type(error).__name__ != "KilledWorker":
            return None
        number, x = numbered[0]
        which = f"evaluation {number}"
        if len(numbered) > 1:
            which = f"one of the evaluations {number} to {numbered[-1][0]}, the first"
        text = (f"a worker of the executor died in {which} at x = "
                f"{shown(x, self.reader.variables)}: {error}")
        if self.recorder:
            text += (f". What was finished is in {self.recorder.path}; a solve with resume=True "
                     "and a new executor continues from there")
        return WorkerLost(text)
