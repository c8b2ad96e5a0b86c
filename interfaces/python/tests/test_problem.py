"""Problems by name and by arrays: forms of the analysis, gradients, limits, results."""

import math
import pickle

import numpy as np
import pytest

import tarnix
from beams import BEST_COLUMN, analyze_column, column, column_array, column_from_arrays


def fill(x, values):
    answer = analyze_column(x)
    values.cost = answer["cost"]
    values["stress"] = answer["stress"]
    values[2] = answer["buckling load"]


def fill_array(x, values):
    values[:] = column_array(x)


class Host:
    def analyze(self, x):
        return analyze_column({"diameter": x.diameter, "wall": x[1]})


def test_every_form_of_the_analysis_gives_the_same_bits():
    named = [column().solve(form) for form in (
        analyze_column, fill, Host().analyze, lambda x: list(analyze_column(x).values()),
        lambda x: dict(analyze_column(x), extra="ignored"))]
    arrays = [column_from_arrays().solve(form) for form in (
        column_array, fill_array, lambda x: tuple(column_array(x)),
        lambda x: np.array(column_array(x)), lambda x: np.array(column_array(x))[:, None],
        lambda x: np.array([[v, 0.0] for v in column_array(x)])[:, 0],  # a view with strides
        lambda x: [np.float64(v) for v in column_array(x)])]
    first = named[0]
    assert first.success and first.objective == pytest.approx(BEST_COLUMN, rel=1e-4)
    for other in named[1:] + arrays:
        assert other.point.x.tobytes() == first.point.x.tobytes()
        assert other.evaluations == first.evaluations
        assert other.function_values.tobytes() == first.function_values.tobytes()


def test_the_result_tells_the_truth_by_name():
    r = column().solve(analyze_column)
    assert r["cost"] == r.values["cost"] == r.objective == analyze_column(r.x)["cost"]
    assert list(r.x) == ["diameter", "wall"] and r.x.wall == r.x[1] == r["wall"]
    assert {limit.name for limit in r.report.active} == {"stress", "buckling load"}
    assert len(r.designs) == len(r.function_values) == r.evaluations
    assert "buckling load" in str(r) and "1 % more" in str(r)
    for row, values in zip(r.designs, r.function_values):
        assert values.tolist() == column_array(row)
    again = pickle.loads(pickle.dumps(r))
    assert str(again) == str(r) and again.x == r.x and again.stages[0].end.x.tolist()


def test_problems_pickle_with_everything_declared():
    p = tarnix.Problem()
    p.variables("t", [1, 2], 0, [None, 3])
    p.maximize("m", 7)
    for declare in (p.at_most, p.at_least, p.equal):
        declare(declare.__name__, 1.5, 2)
    p.between("between", 1, 2)
    again = pickle.loads(pickle.dumps(p))
    assert again.description.__dict__ == p.description.__dict__
    assert repr(again) == "<tarnix.Problem: maximize m, 2 variables, 4 constraints>"


def known_gradient(x):
    return {"cost": {"diameter": 9.8 * x.wall + 2, "wall": 9.8 * x.diameter},
            "stress": [-2500 / (math.pi * x.diameter**2 * x.wall),
                       -2500 / (math.pi * x.diameter * x.wall**2)]}


@pytest.mark.parametrize("gradient, analysis", [
    (known_gradient, analyze_column),
    (True, lambda x: (analyze_column(x), known_gradient(x))),
    (lambda x: np.array([[9.8 * x.wall + 2, 9.8 * x.diameter], [math.nan] * 2, [math.nan] * 2]),
     analyze_column)])
def test_gradients_in_every_form(gradient, analysis):
    plain = column().solve(analyze_column)
    r = column().solve(analysis, gradient, check_gradients=True)
    assert r.success and r.objective == pytest.approx(plain.objective, rel=1e-6)


def test_all_derivatives_take_no_differences():
    p = tarnix.problem.from_arrays([2.0, 2.0], -5, 5, constraint_upper=[1])
    r = p.solve(lambda x: [(x[0] - 3)**2 + (x[1] - 1)**2, x.sum()],
                lambda x: [[2 * (x[0] - 3), 2 * (x[1] - 1)], [1, 1]], effort=0)
    assert r.point.x == pytest.approx([1.5, -0.5], abs=1e-4)
    assert r.evaluations <= r.iterations * 2 + 2


def test_a_wrong_gradient_is_named():
    with pytest.raises(tarnix.InvalidProblem) as caught:
        column().solve(analyze_column, lambda x: {"cost": [1, 1]}, check_gradients=True)
    assert all("cost" in issue.message for issue in caught.value.issues)


def test_faults_are_named_before_anything_is_evaluated():
    p = tarnix.Problem()
    p.variable("a", 5, 0, 1)
    p.variable("a", math.nan, 2, 1)
    p.at_most("g", math.inf)
    names = [issue.name for issue in p.check(max_iterations=0)]
    assert {"a", "g", "max_iterations"} <= set(names)
    with pytest.raises(tarnix.InvalidProblem) as caught:
        p.solve(lambda x: pytest.fail("evaluated"), max_iterations=0)
    assert [issue.name for issue in caught.value.issues] == names
    assert pickle.loads(pickle.dumps(caught.value)).issues == caught.value.issues
    for wrong in ({"method": "newton"}, {"tolerance": "small"}, {"start": {"b": 1}}):
        with pytest.raises((ValueError, TypeError), match=next(iter(wrong))):
            p.solve(analyze_column, **wrong)
    with pytest.raises(TypeError, match="'width'"):
        p.variable("width", "wide")


def test_limits_target_stop_and_callback():
    assert column().solve(analyze_column, max_evaluations=5).reason == "evaluation limit"
    assert column().solve(analyze_column, max_time=1e-9).reason == "time limit"
    reached = column().solve(analyze_column, target=30)
    assert reached.reason == "target reached" and reached.success and reached["cost"] <= 30
    stop = tarnix.Stop()
    stop.request()
    assert column().solve(analyze_column, stop=stop).reason == "stopped"

    seen = []

    def watch(progress):
        seen.append(progress)
        if progress.iteration == 3:
            raise StopIteration

    r = column().solve(analyze_column, callback=watch)
    assert r.reason == "stopped" and [p.iteration for p in seen] == [1, 2, 3]
    assert seen[-1].best.diameter == seen[-1].best["diameter"] and seen[-1].method == "SQP"


def test_start_and_bounds():
    started = column().solve(analyze_column, start={"wall": 0.3}, max_evaluations=1)
    assert started.designs[0] == pytest.approx([8, 0.3])
    with pytest.raises(tarnix.InvalidProblem, match="outside its bounds"):
        column().solve(analyze_column, start=[100, 0.3])
    r = column().solve(analyze_column, keep_inside=True, start=[100, 0.3], move_start_inside=True)
    assert r.success and r.description.inside(r.designs).all()
    free = tarnix.problem.from_arrays([4.0]).solve(lambda x: (x[0] + 250)**2)
    assert free.success and free.point.x == pytest.approx([-250], rel=1e-4)


def test_a_maximum_and_a_range():
    p = tarnix.Problem()
    p.variable("x", 1, 0, 10)
    p.maximize("area")
    p.between("length", 2, 6)
    r = p.solve(lambda x: {"area": x.x * 3, "length": 2 * x.x})
    assert r["area"] == pytest.approx(9) and r.report.active[0].kind == "upper limit"
    assert r.report.active[0].multiplier == pytest.approx(1.5, rel=1e-4)


def test_the_trace_goes_where_python_prints(capsys):
    column().solve(analyze_column, print_level=2, method="sqp")
    shown = capsys.readouterr().out
    pieces = []
    column().solve(analyze_column, print_level=2, method="sqp", trace=pieces.append)
    assert len(shown.splitlines()) > 5 and "".join(pieces) == shown


def test_a_similar_problem_starts_warm():
    def limited(load):
        p = tarnix.Problem()
        p.variable("diameter", 8, 2, 14)
        p.variable("wall", 0.5, 0.2, 0.8)
        p.minimize("cost")
        p.at_most("stress", 500)
        p.at_least("buckling load", load)
        return p

    first = limited(2500).solve(analyze_column)
    cold = limited(2525).solve(analyze_column)
    warm = limited(2525).solve(analyze_column, warm=pickle.loads(pickle.dumps(first)))
    assert warm.success and warm.objective == pytest.approx(cold.objective, rel=1e-5)
    assert warm.evaluations <= cold.evaluations / 2
    with pytest.raises(TypeError, match="must be a Result"):
        column().solve(analyze_column, warm=first.x)
    other = tarnix.Problem()
    other.variable("x", 1, 0, 2)
    other.minimize("f")
    with pytest.raises(tarnix.InvalidProblem, match="warm"):
        other.solve(lambda x: [x.x], warm=first)


def test_contradicting_constraints_are_named():
    p = tarnix.problem.from_arrays(
        [1, 1], 0, 2, constraint_lower=[3, None, None], constraint_upper=[None, 1, 9],
        constraint_names=["a", "b", "c"])
    r = p.solve(lambda x: [x[0], x[0] + x[1], x[0] + x[1], x[0]])
    assert not r.feasible and sorted(r.conflict.constraints) == ["a", "b"] and r.conflict.minimal
    assert r.conflict.violation == pytest.approx(1, rel=1e-3)  # 3 - s and s - 1 are equal at s = 2
    assert column().solve(analyze_column).conflict is None


def test_noise_is_found_and_accuracy_replaces_the_search():
    def rough(x):
        jitter = math.sin(1e9 * float(np.sum(np.asarray(x) * [1.37, 2.91]))) * 1e-5
        return [(float(np.sum((np.asarray(x) - 0.3) ** 2)) + 1) * (1 + jitter)]

    p = tarnix.problem.from_arrays([0.9, 0.1], 0, 1)
    found = p.solve(rough)
    assert 1e-6 < found.noise < 1e-4 and found.difference_step > 1e-3
    known = p.solve(rough, accuracy=1e-5)
    assert known.noise == 1e-5
    for r in (found, known):
        assert r.point.x == pytest.approx([0.3, 0.3], abs=0.05)
