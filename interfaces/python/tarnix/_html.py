"""A result as a notebook shows it."""

from __future__ import annotations

from html import escape
from typing import TYPE_CHECKING, Any, Dict, List, Sequence

if TYPE_CHECKING:
    from .result import Result

STYLE = ('style="border-collapse:collapse;text-align:left"', 'style="padding:1px 1em 1px 0"',
         'style="padding:1px 1em 1px 0;text-align:right;font-variant-numeric:tabular-nums"')


def _row(cells: Sequence[str]) -> str:
    return "<tr>" + "".join(f"<td {STYLE[2 if i == 1 else 1]}>{escape(cell)}</td>"
                            for i, cell in enumerate(cells)) + "</tr>"


def _limits(entry: Dict[str, Any]) -> str:
    low, high = entry.get("min"), entry.get("max")
    if low is not None and high is not None:
        return f"= {low:.6g}" if low == high else f"{low:.6g} .. {high:.6g}"
    return f"<= {high:.6g}" if high is not None else f">= {low:.6g}"


def _bounds(entry: Dict[str, Any]) -> str:
    return f"{float(entry['lower']):.6g} .. {float(entry['upper']):.6g}"


def _cost(entry: Dict[str, Any], objective: str) -> str:
    change = float(entry.get("per_percent", 0))
    return f"1 % more: {objective} {change:+.2g}" if change else ""


def page(result: Result) -> str:
    """The outcome, the design with its sensitivities, the constraints with what they cost."""
    outcome = result.to_dict()
    goal = outcome["objective"]
    state = ("solved" if result.success else "feasible, but not solved to the end"
             if result.feasible else "not solved")
    head = [f"<p><b>{escape(goal['name'])}: {state}</b> ({escape(result.reason)}); "
            f"{escape(result.method)}: {escape(result.meaning)}. {result.evaluations} evaluations, "
            f"{result.iterations} iterations, {result.seconds:.2g} s</p>",
            f"<p>{escape(result.advice)}</p>"]
    rows: List[str] = [_row([goal["name"], f"{result.objective:.6g}", goal["sense"] + "d", "", ""])]
    sensitivity = result.report.sensitivity.tolist() if result.report else []
    for i, v in enumerate(outcome["variables"]):
        at = f"at its {v['at']} bound" if v.get("at") in ("lower", "upper") else v.get("at", "")
        slope = f"1 % of its range: {sensitivity[i]:+.2g}" if sensitivity else ""
        rows.append(_row([v["name"], f"{float(v['value']):.6g}", _bounds(v), at,
                          _cost(v, goal["name"]) or slope]))
    for c in outcome["constraints"]:
        violated = not float(c["violation"]) <= result.tolerance
        state = "VIOLATED" if violated else "active" if c["active"] else ""
        rows.append(_row([c["name"], f"{float(c['value']):.6g}", _limits(c), state,
                          _cost(c, goal["name"])]))
    return "\n".join([*head, f"<table {STYLE[0]}>", *rows, "</table>"])
