from typing import Any, Callable, Dict, List, Optional, Sequence, Tuple

from ._answers import Array

version: str

class Stop:
    """Ends solves from any thread: ``stop.request()``."""
    def request(self) -> None: ...
    def clear(self) -> None: ...
    @property
    def requested(self) -> bool: ...

class Options:
    method: str
    differences: str
    tolerance: float
    difference_step: float
    keep_inside: bool
    move_start_inside: bool
    check_gradients: bool
    start: Sequence[float]
    max_iterations: int
    max_evaluations: Optional[int]
    max_time: Optional[float]
    effort: float
    accuracy: float
    warm: Any
    target: Optional[float]
    stop: Optional[Stop]
    starts: int
    seed: int
    report: bool
    print_level: int

class Problem:
    def variable(self, name: str, start: float, lower: float, upper: float) -> None: ...
    def objective(self, name: str, maximized: bool, scale: float) -> None: ...
    def at_most(self, name: str, limit: float, scale: float) -> None: ...
    def at_least(self, name: str, limit: float, scale: float) -> None: ...
    def between(self, name: str, lower: float, upper: float, scale: float) -> None: ...
    def equal(self, name: str, value: float, scale: float) -> None: ...
    def check(self, options: Options) -> List[Tuple[str, str]]: ...
    def describe(self) -> Dict[str, Any]: ...

def solve(
    problem: Problem, options: Options, analysis: Callable[..., Any], arguments: Tuple[Any, ...],
    batch: Optional[Callable[..., Any]], read: Optional[Callable[..., Any]],
    gradient: Optional[Callable[..., Any]], progress: Optional[Callable[..., bool]],
    trace: Optional[Callable[[str], Any]],
) -> Tuple[Dict[str, Any], Array, Array]: ...

def check(text: str) -> int: ...
def fingerprint(text: str) -> int: ...
