"""How a solve ended, with the keys of the program's ``--json`` and of the end of a history."""

from __future__ import annotations

import math
from typing import TYPE_CHECKING, Any, Dict, List, Union

if TYPE_CHECKING:
    from .result import Result


def exact(value: float) -> Union[float, str]:
    """JSON knows no infinities; they and NaN are texts there."""
    return value if math.isfinite(value) else str(value)


def number(value: Any) -> float:
    """The number that `exact` has written."""
    if isinstance(value, str) and value not in ("nan", "inf", "-inf"):
        raise ValueError(f"{value!r} is not a number")
    return float(value)


def _variables(result: Result) -> List[Dict[str, Any]]:
    entries = []
    for (name, _, lower, upper), value in zip(result.description.variables,
                                              result.point.x.tolist()):
        entry = {"name": name, "value": exact(value), "unit": "", "lower": exact(lower),
                 "upper": exact(upper)}
        if lower == upper:
            entry["at"] = "fixed"
        elif value in (lower, upper):
            entry["at"] = "lower" if value == lower else "upper"
        entries.append(entry)
    return entries


def _constraints(result: Result) -> List[Dict[str, Any]]:
    entries = []
    functions = zip(result.description.functions[1:], result.point.values[1:].tolist())
    for (name, relation, lower, upper, scale), value in functions:
        room = min((value - lower) / scale, (upper - value) / scale)
        limits = {"min": lower, "max": upper}
        near = -result.tolerance <= room <= 10 * result.tolerance
        entries.append({
            "name": name, "value": exact(value), "unit": "",
            **{key: limit for key, limit in limits.items() if math.isfinite(limit)},
            "violation": exact(max(0.0, -room)), "active": relation == "equal" or near})
    return entries


def outcome_of(result: Result, problem: str, **counts: int) -> Dict[str, Any]:
    """The outcome of a solve as plain values: texts, numbers, lists and dicts."""
    entries = _variables(result) + _constraints(result)
    multipliers = {limit.name: limit for limit in result.report.active} if result.report else {}
    for entry in entries:
        limit = multipliers.get(entry["name"])
        if limit is not None and limit.multiplier != 0:
            entry["multiplier"] = exact(limit.multiplier)
            entry["per_percent"] = exact(limit.per_percent)
    n = len(result.description.variables)
    stages = [{"method": s.method, "differences": s.differences, "status": s.status,
               "meaning": s.meaning, "iterations": s.iterations, "evaluations": s.evaluations}
              for s in result.stages]
    found: Dict[str, Any] = {}
    if result.noise > 0:
        found["noise"] = result.noise
    found["difference_step"] = result.difference_step
    if result.conflict:
        found["conflict"] = {"violation": exact(result.conflict.violation),
                             "constraints": result.conflict.constraints,
                             "minimal": result.conflict.minimal}
    return {
        "version": 1, "problem": problem, "success": result.success, "feasible": result.feasible,
        "reason": result.reason,
        "objective": {"name": result.description.function_names[0],
                      "sense": "maximize" if result.description.maximized else "minimize",
                      "value": exact(result.objective), "unit": ""},
        "violation": exact(result.point.violation), "variables": entries[:n],
        "constraints": entries[n:], "method": result.method, "status": result.status,
        "meaning": result.meaning, "advice": result.advice, "iterations": result.iterations,
        "stages": stages, "tolerance": result.tolerance, **found,
        "evaluations": result.evaluations, **counts, "seconds": result.seconds}
