"""Histories: the same file as the program's, resumed to the same bits, drawn and tabulated."""

import json
import os
import re
import signal
import subprocess
import sys

import numpy as np
import pytest

import tarnix
from beams import analyze_column, column, column_array, column_from_arrays

PROGRAM = os.environ.get("TARNIX_PROGRAM")  # set by CTest where the program is built
needs_program = pytest.mark.skipif(not PROGRAM, reason="the program is not built")


class Interrupted(Exception):
    pass


def interrupted(after):
    calls = []

    def analysis(x):
        if len(calls) == after:
            raise Interrupted
        calls.append(x)
        return column_array(x)

    return analysis


def whole(x):
    """The same values by another text would be another analysis."""
    return column_array(x)


@pytest.mark.parametrize("after", [0, 1, 2, 7, 20])
def test_a_resumed_solve_ends_at_the_same_bits(tmp_path, after):
    path = tmp_path / "column.jsonl"
    calls = []

    def analysis(x):
        if len(calls) == stop_at:
            raise Interrupted
        calls.append(x)
        return column_array(x)

    stop_at = after
    with pytest.raises(Interrupted):
        column_from_arrays().solve(analysis, history=path)
    with open(path, "ab") as file:
        file.write(b'{"x":[1.0,0.')  # a kill in the middle of a write
    if after:
        with pytest.raises(tarnix.HistoryError, match="resume=True"):
            column_from_arrays().solve(analysis, history=path)
    stop_at = -1
    resumed = column_from_arrays().solve(analysis, history=path, resume=True)
    alone = column_from_arrays().solve(whole)
    _, first = np.unique(alone.designs, axis=0, return_index=True)
    first.sort()
    assert len(calls) == len(first)  # none was repeated
    assert resumed.function_values.tobytes() == alone.function_values.tobytes()
    read = tarnix.load(path)
    assert read.function_values.tobytes() == alone.function_values[first].tobytes()
    assert read.designs.tobytes() == alone.designs[first].tobytes()
    assert read.end["replayed"] == after and read.end["success"]
    assert read.description.__dict__ == alone.description.__dict__
    assert column_from_arrays().solve(analysis, history=path).success  # the old one is put aside
    assert len(tarnix.load(tmp_path / "column.1.jsonl").designs) == len(read.designs)


def test_a_killed_process_loses_nothing_that_was_finished(tmp_path):
    path = tmp_path / "killed.jsonl"
    code = ("import os, signal, sys; from beams import *; n = []\n"
            "def analysis(x):\n"
            "    n.append(1)\n"
            "    if len(n) == 10: os.kill(os.getpid(), signal.SIGKILL)\n"
            "    return column_array(x)\n"
            "column_from_arrays().solve(analysis, history=sys.argv[1])")
    ended = subprocess.run([sys.executable, "-c", code, path], cwd=os.path.dirname(__file__))
    assert ended.returncode == -signal.SIGKILL and len(tarnix.load(path).designs) == 9
    # The text of the analysis was on a command line and is not known, so that another one may
    # go on.
    header = json.loads(path.read_text().splitlines()[0])
    assert set(header["parts"]) == {"variables", "functions"}


def test_what_does_not_fit_is_refused(tmp_path):
    path = tmp_path / "h.jsonl"
    with pytest.raises(Interrupted):
        column_from_arrays().solve(interrupted(9), history=path)
    lines = path.read_text().splitlines(keepends=True)
    with pytest.raises(tarnix.HistoryError, match="Changed: analysis"):
        column_from_arrays().solve(whole, history=path, resume=True)
    with pytest.raises(tarnix.HistoryError, match="Changed: analysis, functions, variables"):
        column().solve(analyze_column, history=path, resume=True)
    other = tmp_path / "damaged.jsonl"
    other.write_text("".join(lines[:3]) + lines[3].replace("1", "2") + "".join(lines[4:]))
    with pytest.raises(tarnix.HistoryError, match=r"damaged.jsonl:4: damaged"):
        tarnix.load(other)
    other.write_text("my notes\n")
    for call in (lambda: tarnix.load(other), lambda: column().solve(whole, history=other)):
        with pytest.raises(tarnix.HistoryError):
            call()
    assert other.read_text() == "my notes\n" and path.read_text() == "".join(lines)
    with pytest.raises(tarnix.InvalidProblem):
        column().solve(whole, history=tmp_path / "new.jsonl", max_iterations=0)
    assert not (tmp_path / "new.jsonl").exists()


def sphere(x):
    return float(x @ x)


def cube(x):
    return float(abs(x**3).sum())


def on_the_line(x):
    return x.sum() - 1


def on_another_line(x):
    return x.sum() - 2


def test_the_form_of_scipy_has_histories_too(tmp_path):
    def solve(fun, con, **more):
        return tarnix.minimize(fun, [3.0, 0], bounds=[(-5, 5)] * 2,
                               constraints={"type": "eq", "fun": con},
                               options={"history": tmp_path / "h.jsonl", **more})

    assert solve(sphere, on_the_line, maxfev=5).status == 4
    for fun, con in ((cube, on_the_line), (sphere, on_another_line)):
        with pytest.raises(tarnix.HistoryError, match="Changed: analysis"):
            solve(fun, con, resume=True)
    r = solve(sphere, on_the_line, resume=True)
    assert r.success and r.x == pytest.approx([0.5, 0.5], abs=1e-5)


def test_two_solves_do_not_write_to_one_file(tmp_path):
    path = tmp_path / "h.jsonl"

    def analysis(x):
        with pytest.raises(tarnix.HistoryError, match="another solve"):
            column().solve(analyze_column, history=path)
        with pytest.raises(tarnix.HistoryError, match="another solve"):
            column().solve(analysis, history=path, resume=True)
        return analyze_column(x)

    assert column().solve(analysis, history=path, max_evaluations=2).evaluations == 2


def test_values_that_json_does_not_know(tmp_path):
    path = tmp_path / "h.jsonl"
    p = tarnix.problem.from_arrays([1.0], constraint_upper=[np.inf])
    answers = [np.nan, -np.inf, -0.0, 5e-324, 1 / 3]
    p.solve(lambda x: [answers[0], x[0]], history=path, max_evaluations=1)
    read = tarnix.load(path)
    assert np.isnan(read.function_values[0, 0]) and read.description.variables[0][2] == -np.inf
    for value in answers[1:]:
        p.solve(lambda x: [value, x[0]], history=path, max_evaluations=1)
        assert tarnix.load(path).function_values[0, 0].tobytes() == np.float64(value).tobytes()


def test_the_course_as_numbers_and_as_a_figure(tmp_path):
    r = column().solve(analyze_column)
    best = r.best_so_far()
    assert np.nanmin(best) == best[-1] == r.best.values[0]
    assert (r.violations()[r.point.evaluation - 1]) == pytest.approx(r.point.violation, abs=1e-15)
    pandas = pytest.importorskip("pandas")
    frame = r.to_pandas()
    assert isinstance(frame, pandas.DataFrame) and frame.index[-1] == r.evaluations
    assert frame.loc[r.point.evaluation, "wall"] == r["wall"]
    assert list(frame) == ["diameter", "wall", "cost", "stress", "buckling load", "violation"]


def test_a_figure_is_drawn():
    matplotlib = pytest.importorskip("matplotlib")
    matplotlib.use("Agg")
    from matplotlib import pyplot

    r = column().solve(analyze_column)
    figure = r.plot()
    objective, violation, variables = figure.axes
    assert objective.lines[0].get_ydata().tolist() == r.function_values[:, 0].tolist()
    assert len(variables.lines) == 2 and objective.get_ylabel() == "cost"
    pyplot.close(figure)


def test_a_notebook_shows_the_table():
    p = tarnix.problem.from_arrays([1.0, 3], 0, [2, 3], constraint_upper=[-1.0], names=["<a>", "b"])
    html = p.solve(lambda x: [x.sum(), 1 + x[0]])._repr_html_()
    assert "&lt;a&gt;" in html and "VIOLATED" in html and "<a>" not in html
    html = column().solve(analyze_column)._repr_html_()
    assert html.count("<tr>") == 5 and "1 % more: cost -0.1" in html and "active" in html


def test_the_outcome_is_json_with_the_keys_of_the_program():
    outcome = column().solve(analyze_column).to_dict()
    assert json.loads(json.dumps(outcome)) == outcome
    assert outcome["constraints"][1]["min"] == 2500 and "max" not in outcome["constraints"][1]
    assert outcome["difference_step"] > 0 and not {"noise", "conflict"} & outcome.keys()
    p = tarnix.problem.from_arrays([1.0], 0, 2, constraint_upper=[-1.0], constraint_names=["a"])
    conflict = p.solve(lambda x: [x[0], x[0]]).to_dict()["conflict"]
    assert conflict == {"violation": 1.0, "constraints": ["a"], "minimal": True}


@needs_program
def test_the_program_draws_a_history_of_python(tmp_path):
    path = tmp_path / "column.jsonl"
    with pytest.raises(Interrupted):
        column_from_arrays().solve(interrupted(9), history=path)
    page = tmp_path / "column.report.html"
    subprocess.run([PROGRAM, "report", path], check=True)
    assert "9 evaluations" in page.read_text() and "not come to its end" in page.read_text()
    column().solve(analyze_column, history=tmp_path / "names.jsonl")
    subprocess.run([PROGRAM, "report", tmp_path / "names.jsonl"], check=True)
    shown = (tmp_path / "names.report.html").read_text()
    for words in ("Solved", "buckling load", "26.4994", "diameter", "2 .. 14", "&gt;= 2500"):
        assert words in shown
    free = tarnix.problem.from_arrays([4.0])  # without bounds: the chart has the range reached
    free.solve(lambda x: (x[0] + 250)**2, history=tmp_path / "free.jsonl")
    subprocess.run([PROGRAM, "report", tmp_path / "free.jsonl"], check=True)
    charts = re.findall("<svg.*?</svg>", (tmp_path / "free.report.html").read_text(), re.DOTALL)
    assert charts and not any("inf" in chart or "nan" in chart for chart in charts)
    refused = subprocess.run([PROGRAM, "solve", path], capture_output=True, text=True)
    assert refused.returncode == 2


PROBLEM = """
[variables]
diameter = { start = 8, lower = 2, upper = 14 }
wall = { start = 0.5, lower = 0.2, upper = 0.8 }
[objective]
minimize = "9.8 * diameter * wall + 2 * diameter"
name = "cost"
[constraints]
stress = { value = "2500 / (pi * diameter * wall)", max = 500 }
"""


@needs_program
def test_a_history_of_the_program_is_read(tmp_path):
    (tmp_path / "column.toml").write_text(PROBLEM)
    subprocess.run([PROGRAM, "solve", "-q", "column.toml"], cwd=tmp_path, check=True)
    read = tarnix.load(tmp_path / "column.history.jsonl")
    assert read.end["success"] and read.problem == "column.toml"
    assert read.description.function_names == ["cost", "stress"]
    for x, (cost, stress) in zip(read.designs, read.function_values):
        assert cost == pytest.approx(9.8 * x[0] * x[1] + 2 * x[0], rel=1e-14)
        assert stress == pytest.approx(column_array(x)[1], rel=1e-14)
    assert np.nanmin(read.best_so_far()) == pytest.approx(read.end["objective"]["value"], rel=1e-3)


@needs_program
def test_failed_runs_of_a_command_are_read(tmp_path):
    (tmp_path / "p.toml").write_text("""
[variables]
x = { start = 3, lower = 0, upper = 4 }
[objective]
minimize = "y"
[command]
run = "test {{x:%.0f}} -eq 3 && echo y = {{x}}"
on_failure = "penalty"
[results]
y = { key = "y" }
""")
    subprocess.run([PROGRAM, "solve", "-q", "p.toml"], cwd=tmp_path)
    read = tarnix.load(tmp_path / "p.history.jsonl")
    assert read.failed and np.isnan(read.function_values[list(read.failed)]).all()
    good = np.setdiff1d(np.arange(len(read.designs)), list(read.failed))
    assert read.function_values[good, 0] == pytest.approx(read.designs[good, 0])
