"""From what a user's function returns to numbers, and the views through which it sees a design."""

from __future__ import annotations

from collections.abc import Mapping, MutableMapping
from typing import TYPE_CHECKING, Any, Callable, Dict, Iterator, List, Optional, Sequence, Union

import numpy as np

from ._errors import BadValue

if TYPE_CHECKING:
    from typing_extensions import TypeAlias

Array: TypeAlias = "np.ndarray[Any, np.dtype[np.float64]]"


class Design(Mapping):  # type: ignore[type-arg]
    """A design: a mapping from the names of the variables to their values, read only.

    ``x["width"]``, ``x.width`` and ``x[0]`` are the same value, a float in the unit of the problem;
    ``x.array`` is all of them, a numpy array that belongs to this design alone.
    """

    __slots__ = ("array", "_index")
    array: Array
    _index: Dict[str, int]

    def __init__(self, array: Array, index: Dict[str, int]) -> None:
        self.array = array
        self._index = index

    def __getitem__(self, key: Union[str, int]) -> float:
        try:
            place = self._index[key] if isinstance(key, str) else key
        except KeyError:
            raise KeyError(
                f"no variable is called {key!r}{meant(str(key), self._index)}") from None
        return float(self.array[place])

    def __getattr__(self, name: str) -> float:
        try:
            return float(self.array[self._index[name]])
        except KeyError:
            raise AttributeError(f"no variable is called {name!r}{meant(name, self._index)}",
                                 name=name, obj=self) from None

    def __iter__(self) -> Iterator[str]:
        return iter(self._index)

    def __len__(self) -> int:
        return len(self._index)

    def __dir__(self) -> List[str]:
        return [*super().__dir__(), *self._index]

    def __repr__(self) -> str:
        return f"Design({dict(self)})"

    def __reduce__(self) -> Any:
        return Design, (self.array, self._index)


class Values(MutableMapping):  # type: ignore[type-arg]
    """The values of a design, to be filled: ``values["stress"] = 3`` or ``values.stress = 3``."""

    __slots__ = ("_names", "_given")
    _names: Sequence[str]
    _given: Dict[str, Any]

    def __init__(self, names: Sequence[str]) -> None:
        object.__setattr__(self, "_names", names)
        object.__setattr__(self, "_given", {})

    def __setitem__(self, key: Union[str, int], value: Any) -> None:
        if isinstance(key, int):
            key = self._names[key]
        elif key not in self._names:
            raise KeyError(
                f"no objective or constraint is called {key!r}{meant(key, self._names)}")
        self._given[key] = value

    def __setattr__(self, name: str, value: Any) -> None:
        self[name] = value

    def __getitem__(self, key: str) -> Any:
        return self._given[key]

    def __delitem__(self, key: str) -> None:
        del self._given[key]

    def __iter__(self) -> Iterator[str]:
        return iter(self._given)

    def __len__(self) -> int:
        return len(self._given)

    def __reduce__(self) -> Any:
        return _filled, (self._names, self._given)


def _filled(names: Sequence[str], given: Dict[str, Any]) -> Values:
    values = Values(names)
    values.update(given)
    return values


def meant(name: str, known: Any) -> str:
    """', did you mean ...?' where something similar is known."""
    import difflib

    close = difflib.get_close_matches(name, list(known), 1)
    return f"; did you mean {close[0]!r}?" if close else f"; there are {', '.join(known)}"


def takes_two(function: Callable[..., Any]) -> bool:
    """Whether a function has a second argument that has to be given: the values to fill."""
    code = getattr(getattr(function, "__func__", function), "__code__", None)
    if code is not None and not hasattr(function, "__wrapped__"):  # the usual case
        count = code.co_argcount - len(getattr(function, "__defaults__", None) or ())
        return bool(count - hasattr(function, "__self__") == 2)
    import inspect

    try:
        parameters = inspect.signature(function).parameters.values()
    except (TypeError, ValueError):
        return False
    return sum(p.default is p.empty and p.kind in (p.POSITIONAL_ONLY, p.POSITIONAL_OR_KEYWORD)
               for p in parameters) == 2


class NamedCall:
    """Calls an analysis that sees a design by names; goes to workers as it is."""

    def __init__(self, function: Callable[..., Any], index: Dict[str, int],
                 fill: Optional[Sequence[str]] = None) -> None:
        self.function = function
        self.index = index
        self.fill = fill

    def __call__(self, x: Array) -> Any:
        if self.fill is None:
            return self.function(Design(x, self.index))
        values = Values(self.fill)
        self.function(Design(x, self.index), values)
        return values


class ArrayFill:
    """Calls an analysis that fills an array of values."""

    def __init__(self, function: Callable[..., Any], size: int) -> None:
        self.function = function
        self.size = size

    def __call__(self, x: Array) -> Any:
        values = np.full(self.size, np.nan)
        self.function(x, values)
        return values


class Reader:
    """Makes numbers of what an analysis and a gradient return, or says what is wrong with it."""

    def __init__(self, variables: Sequence[str], functions: Sequence[str],
                 joint: bool = False) -> None:
        self.variables = tuple(variables)
        self.functions = tuple(functions)
        self.index = {name: j for j, name in enumerate(self.functions)}
        self.joint = joint
        self.gradients: Dict[bytes, Any] = {}  # of the last designs, where values bring them

    def refuse(self, text: str, function: Optional[str], number: int, x: Array) -> BadValue:
        return BadValue(text, function, number, x, self.variables)

    # ---- values -----------------------------------------------------------------------------
    def __call__(self, answer: Any, number: int, x: Array) -> List[float]:
        if self.joint:
            answer = self._split(answer, number, x)
        if isinstance(answer, Mapping):
            missing = [name for name in self.functions if name not in answer]
            if missing:
                raise self.refuse(f"no value of {missing[0]!r} was returned; there are "
                                  f"{', '.join(map(repr, answer)) or 'none'}",
                                  missing[0], number, x)
            answer = [answer[name] for name in self.functions]
        elif isinstance(answer, np.ndarray):
            answer = self._flat(answer, number, x)
        elif hasattr(answer, "__len__") and not isinstance(answer, (str, bytes)):
            answer = list(answer)
        else:
            answer = [answer]
        if len(answer) != len(self.functions):
            raise self._wrong_count(answer, number, x)
        return [self.number(value, name, number, x)
                for value, name in zip(answer, self.functions)]

    def _wrong_count(self, answer: Any, number: int, x: Array) -> BadValue:
        hint = ""
        if len(answer) == 1 and answer[0] is None:
            return self.refuse("the analysis returned None", self.functions[0], number, x)
        if len(answer) == 2 and not self.joint:
            hint = "; gradient=True says that it returns (values, gradients)"
        names = ", ".join(map(repr, self.functions[:8]))
        return self.refuse(f"{len(answer)} value{'s' * (len(answer) != 1)} returned, the problem "
                           f"has {len(self.functions)} functions ({names}){hint}",
                           None, number, x)

    def _flat(self, answer: Array, number: int, x: Array) -> Any:
        if answer.size > 1 and sum(length > 1 for length in answer.shape) > 1:
            raise self.refuse(f"an array of shape {answer.shape} was returned, one of shape "
                              f"({len(self.functions)},) is needed", None, number, x)
        return answer.ravel().tolist()

    def _split(self, answer: Any, number: int, x: Array) -> Any:
        if not isinstance(answer, (tuple, list)) or len(answer) != 2:
            raise self.refuse("with gradient=True the analysis has to return "
                              f"(values, gradients), not {kind(answer)}", None, number, x)
        values, gradients = answer
        self.gradients[x.tobytes()] = gradients
        while len(self.gradients) > 256:
            del self.gradients[next(iter(self.gradients))]
        return values

    def number(self, value: Any, name: str, number: int, x: Array) -> float:
        """The value as a float; raises BadValue for what is none."""
        if isinstance(value, (float, int)) and not isinstance(value, bool):
            try:
                return float(value)
            except OverflowError:
                raise self.refuse(f"{name!r} is an integer beyond every float", name, number,
                                  x) from None
        if isinstance(value, np.ndarray) and value.size != 1:
            raise self.refuse(f"{name!r} is an array of shape {value.shape}, not a number",
                              name, number, x)
        if isinstance(value, np.ndarray):
            return self.number(value.reshape(-1)[0], name, number, x)
        plain = not isinstance(value, (complex, np.complexfloating, str, bytes, bool, np.bool_))
        if plain and hasattr(value, "__float__"):
            try:
                return float(value)
            except (TypeError, ValueError, OverflowError):
                pass
        raise self.refuse(f"{name!r} is {kind(value)}, not a real number", name, number, x)

    # ---- gradients --------------------------------------------------------------------------
    def gradient(self, answer: Any, number: int, x: Array) -> Array:
        """Derivatives (functions, variables); not a number where there is none."""
        rows = np.full((len(self.functions), len(self.variables)), np.nan)
        if answer is None:
            return rows
        if isinstance(answer, Mapping):
            for name, row in answer.items():
                if name not in self.index:
                    raise self.refuse(f"a gradient of {name!r} was returned, which is no objective "
                                      f"or constraint{meant(str(name), self.index)}",
                                      None, number, x)
                rows[self.index[name]] = self._row(row, name, number, x)
            return rows
        if len(self.functions) == 1 and not (hasattr(answer, "__len__") and len(answer) == 1
                                             and np.ndim(answer[0]) == 1):
            answer = [answer]
        if not hasattr(answer, "__len__"):
            raise self.refuse(f"the gradients are {kind(answer)}", None, number, x)
        if len(answer) != len(self.functions):
            raise self.refuse(f"gradients of {len(answer)} functions were returned, the problem "
                              f"has {len(self.functions)}", None, number, x)
        for row, name, values in zip(rows, self.functions, answer):
            row[:] = self._row(values, name, number, x)
        return rows

    def _row(self, row: Any, name: str, number: int, x: Array) -> Array:
        if row is None:
            return np.full(len(self.variables), np.nan)
        if isinstance(row, Mapping):
            unknown = [v for v in row if v not in self.variables]
            if unknown:
                raise self.refuse(f"the gradient of {name!r} has {unknown[0]!r}, which is no "
                                  f"variable{meant(str(unknown[0]), self.variables)}",
                                  name, number, x)
            row = [row.get(v, np.nan) for v in self.variables]
        if hasattr(row, "toarray"):  # sparse
            row = row.toarray()
        try:
            values = np.asarray(row)
            if values.dtype.kind not in "fiu":
                raise TypeError
        except (TypeError, ValueError):
            raise self.refuse(f"the gradient of {name!r} is {kind(row)}, not real numbers", name,
                              number, x) from None
        if values.size != len(self.variables):
            raise self.refuse(f"the gradient of {name!r} has {values.size} entries, the problem "
                              f"has {len(self.variables)} variables", name, number, x)
        return values.reshape(-1).astype(float)


def kind(value: Any) -> str:
    """What a value is, for a message."""
    if value is None:
        return "None"
    if isinstance(value, np.ndarray):
        return f"an array of shape {value.shape} and type {value.dtype}"
    text = repr(value)
    return f"{text if len(text) < 60 else text[:57] + '...'} ({type(value).__name__})"
