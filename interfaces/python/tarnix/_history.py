"""The file of finished evaluations, in the format of the program ``tarnix``.

One JSON object per line with exact numbers; each ends with a check of what stands before it. A line
is on its way to the disk before the solve continues.
"""

from __future__ import annotations

import json
import os
from typing import Any, Callable, Dict, List, Optional

import numpy as np

from . import _core
from ._answers import Array
from ._course import Course
from ._outcome import exact, number
from .result import Description

FORMAT = 2
CHECK = 16  # characters of ,"c":"01234567"}


class HistoryError(RuntimeError):
    """A history that cannot be read or gone on with: damaged, in use, or of another problem."""


def _check(text: str) -> str:
    return f',"c":"{_core.check(text):08x}"}}'


def _parsed(line: str) -> Any:
    if _check(line[:-CHECK]) != line[-CHECK:]:
        raise ValueError("check")
    return json.loads(line)


def _numbers(values: Any) -> List[float]:
    return [number(value) for value in values]


class History(Course):
    """A history that has been read: `tarnix.load`.

    Attributes
    ----------
    path, problem : str
        The file, and the name that the solve gave its problem.
    designs, function_values : numpy.ndarray
        The evaluations; the values of a failed one are NaN.
    failed : dict
        Reasons of failed evaluations, by their position from 0 on.
    end : dict or None
        The outcome, with the keys of ``tarnix solve --json``; None where the solve has not come to
        its end.
    description : Description
        Names and limits as far as the file has them.
    """

    def __init__(self, path: str) -> None:
        self.path = os.fspath(path)
        self.header: Dict[str, Any] = {}
        self.end: Optional[Dict[str, Any]] = None
        self.failed: Dict[int, str] = {}
        self.whole = 0  # bytes of whole lines
        records: List[Dict[str, Any]] = []
        for line_number, line in enumerate(self._lines(), 1):
            try:
                self._take(_parsed(line), line_number, records)
            except (ValueError, KeyError, TypeError, AttributeError):
                raise HistoryError(f"{self.path}:{line_number}: damaged line, or no history; "
                                   "remove it, or start over with another file") from None
        records.sort(key=lambda r: r.get("run", 0))  # as they were begun
        self._tabulate(records)
        self.problem = str(self.header.get("problem", ""))

    def _lines(self) -> List[str]:
        with open(self.path, "rb") as file:
            content = file.read()
        self.whole = content.rfind(b"\n") + 1  # a torn last line is cut
        return content[:self.whole].decode("ascii", "replace").splitlines()

    def _take(self, entry: Dict[str, Any], line_number: int, records: List[Any]) -> None:
        if line_number == 1:
            if entry["tarnix_history"] != FORMAT:
                raise ValueError("unknown version")
            self.header = entry
        elif "end" in entry:
            self.end = entry["end"]
        elif "x" in entry and not entry.get("verifies"):
            records.append(entry)
            self.end = None

    def _tabulate(self, records: List[Dict[str, Any]]) -> None:
        names = self.header.get("variables", [])
        self.description = _described(self.header, self.end, max(
            [len(r.get("f", ())) for r in records], default=1))
        told: Dict[str, Any] = self.end or self.header.get("described") or {}
        self.tolerance = float(told.get("tolerance", 1e-5))
        width = len(self.description.functions)
        self.designs = np.array([_numbers(r["x"]) for r in records]).reshape(-1, len(names))
        self.function_values = np.full((len(records), width), np.nan)
        for k, record in enumerate(records):
            if "failed" in record:
                self.failed[k] = record["failed"]
            else:
                self.function_values[k] = _numbers(record["f"])

    def __repr__(self) -> str:
        state = "not at its end" if self.end is None else self.end["reason"]
        return f"<tarnix.History of {self.problem!r}: {len(self.designs)} evaluations, {state}>"


def _described(header: Dict[str, Any], end: Optional[Dict[str, Any]], width: int) -> Description:
    """What the header says of the problem; else the end; else names alone."""
    source = header.get("described") or end or {}
    variables = [(v["name"], number(v.get("start", "nan")), number(v["lower"]), number(v["upper"]))
                 for v in source.get("variables", [])]
    if not variables:
        variables = [(name, np.nan, -np.inf, np.inf) for name in header.get("variables", [])]
    objective = source.get("objective", {"name": "objective", "sense": "minimize"})
    functions: List[Any] = [(objective["name"], "at most", -np.inf, np.inf,
                             objective.get("scale", 1.0))]
    for c in source.get("constraints", [{"name": f"c[{j}]"} for j in range(width - 1)]):
        lower, upper = number(c.get("min", "-inf")), number(c.get("max", "inf"))
        size = max((abs(side) for side in (lower, upper) if np.isfinite(side)), default=0.0)
        functions.append((c["name"], _relation(lower, upper), lower, upper,
                          c.get("scale", size or 1.0)))
    return Description({"variables": variables, "functions": functions, "has_objective": True,
                        "maximized": objective["sense"] == "maximize"})


def _relation(lower: float, upper: float) -> str:
    if lower == upper:
        return "equal"
    return "at most" if lower == -np.inf else "at least" if upper == np.inf else "between"


def _header(path: str, d: Description, tolerance: float, parts: Dict[str, str]) -> Dict[str, Any]:
    objective = {"name": d.function_names[0], "sense": "maximize" if d.maximized else "minimize",
                 "scale": d.functions[0][4]}
    variables = [{"name": name, "start": start, "lower": exact(lower), "upper": exact(upper)}
                 for name, start, lower, upper in d.variables]
    constraints = []
    for name, _, lower, upper, scale in d.functions[1:]:
        limits = {"min": lower, "max": upper}
        constraints.append({"name": name, "scale": scale,
                            **{k: side for k, side in limits.items() if np.isfinite(side)}})
    return {"tarnix_history": FORMAT, "problem": os.path.basename(path),
            "variables": d.variable_names, "parts": parts,
            "described": {"variables": variables, "objective": objective,
                          "constraints": constraints, "tolerance": tolerance}}


def fingerprint(d: Description, analysis: Callable[..., Any]) -> Dict[str, str]:
    """What the recorded values depend on: names, and the text of the analysis where there is one;
    comments and layout do not count."""
    parts = {"variables": "\0".join(d.variable_names), "functions": "\0".join(d.function_names)}
    written = getattr(getattr(analysis, "__self__", None), "written", [analysis])
    texts = [text for text in map(_text, written) if text]
    if texts:
        parts["analysis"] = "\0".join(texts)
    return {part: f"{_core.fingerprint(text):016x}" for part, text in parts.items()}


def _text(function: Any) -> str:
    """The syntax of a function; empty for a built-in, a line of a prompt, a lambda in a call."""
    import ast
    import inspect
    import textwrap

    target = getattr(function, "func", function)  # of functools.partial
    try:
        return ast.dump(ast.parse(textwrap.dedent(inspect.getsource(target))))
    except (OSError, TypeError, SyntaxError, ValueError):
        return ""


class Recorder:
    """Writes the history of a running solve."""

    def __init__(self, path: Any, resume: bool, d: Description, tolerance: float,
                 parts: Dict[str, str]) -> None:
        self.path = os.fspath(path)
        self.known: Dict[bytes, List[float]] = {}
        self._file = self._open()
        try:
            earlier = self._earlier(resume, parts)
            os.ftruncate(self._file, earlier.whole if earlier else 0)
            if earlier is None:
                self._write(_header(self.path, d, tolerance, parts))
        except BaseException:
            self.close()
            raise
        self.replayed = len(self.known)

    def _open(self) -> int:
        flags = os.O_WRONLY | os.O_CREAT | os.O_APPEND | getattr(os, "O_CLOEXEC", 0)
        file = os.open(self.path, flags, 0o666)
        try:
            import fcntl

            fcntl.flock(file, fcntl.LOCK_EX | fcntl.LOCK_NB)
        except ImportError:  # Windows
            pass
        except BlockingIOError:
            os.close(file)
            raise HistoryError(f"{self.path}: another solve is writing to it") from None
        return file

    def _earlier(self, resume: bool, parts: Dict[str, str]) -> Optional[History]:
        if os.path.getsize(self.path) == 0:
            return None
        earlier = History(self.path)
        if earlier.whole == 0:
            raise HistoryError(f"{self.path}: is no history, and is left as it is")
        if not resume and earlier.end is None and len(earlier.designs):
            raise HistoryError(f"{self.path}: an earlier solve did not come to its end; "
                               "resume=True continues it, or remove the file")
        if not resume:
            self._put_aside()
            return None
        then = earlier.header.get("parts", {})
        changed = sorted(part for part in {*then, *parts} if then.get(part) != parts.get(part))
        if changed:
            raise HistoryError(f"{self.path}: the values in it belong to another state of the "
                               f"problem. Changed: {', '.join(changed)}. Put that back, or begin "
                               "over with another file")
        for k, (x, values) in enumerate(zip(earlier.designs, earlier.function_values)):
            if k not in earlier.failed:
                self.known[x.tobytes()] = values.tolist()
        return earlier

    def _put_aside(self) -> None:
        stem, extension = os.path.splitext(self.path)
        place = 1
        while os.path.lexists(f"{stem}.{place}{extension}"):
            place += 1
        os.rename(self.path, f"{stem}.{place}{extension}")
        os.close(self._file)
        self._file = self._open()

    def _write(self, entry: Dict[str, Any]) -> None:
        line = json.dumps(entry, separators=(",", ":"))[:-1]
        data = (line + _check(line) + "\n").encode("ascii")
        while data:  # one call, but for a full disk
            data = data[os.write(self._file, data):]

    def append(self, x: Array, values: List[float]) -> None:
        self._write({"x": [exact(v) for v in x.tolist()], "f": [exact(v) for v in values]})
        self.known[x.tobytes()] = values

    def finish(self, outcome: Dict[str, Any]) -> None:
        self._write({"end": outcome})
        os.fsync(self._file)

    def close(self) -> None:
        os.close(self._file)


def load(path: Any) -> History:
    """Reads a history, of this package or of the program.

    Parameters
    ----------
    path : str or os.PathLike
        A file ``NAME.history.jsonl`` of the program, or what ``history=`` has written.

    Returns
    -------
    History

    Raises
    ------
    HistoryError
        A line is damaged, or the file is no history. A torn last line, of a solve that was killed,
        is passed over.
    OSError
        The file cannot be read.
    """
    return History(path)
