"""How a solve behaves beside the rest of a Python program."""

import math
import os
import signal
import threading
import time
import traceback

import numpy as np
import pytest

import tarnix
from beams import analyze_column, column, column_array, column_from_arrays


class Broken(Exception):
    pass


def failing(after):
    calls = []

    def analysis(x):
        calls.append(x)
        if len(calls) == after:
            raise Broken("the simulator has no license")
        return analyze_column(x)

    return analysis


@pytest.mark.parametrize("after", [1, 2, 9])
def test_an_exception_arrives_as_it_was(after):
    analysis = failing(after)
    with pytest.raises(Broken, match="no license") as caught:
        column().solve(analysis)
    assert "analysis" in [frame.name for frame in traceback.extract_tb(caught.value.__traceback__)]
    assert column().solve(analyze_column).success


@pytest.mark.parametrize("where", ["gradient", "callback", "trace"])
def test_an_exception_of_the_other_callables(where):
    def fail(*_):
        raise Broken(where)

    with pytest.raises(Broken, match=where):
        column().solve(analyze_column, **{where: fail}, print_level=2 if where == "trace" else 0)
    assert column().solve(analyze_column).success


def test_an_interrupt_ends_the_solve_at_once():
    calls = []

    def analysis(x):
        calls.append(1)
        if len(calls) == 5:
            os.kill(os.getpid(), signal.SIGINT)
        return analyze_column(x)

    with pytest.raises(KeyboardInterrupt):
        column().solve(analysis)
    assert len(calls) == 5
    assert column().solve(analyze_column).success


def test_an_interrupt_is_noticed_between_calls_of_c_functions():
    timer = threading.Timer(0.3, os.kill, (os.getpid(), signal.SIGINT))
    wandering = tarnix.problem.from_arrays([0.0], -1, 1, objective="constant")
    timer.start()
    with pytest.raises(KeyboardInterrupt):
        while True:  # no bytecode runs between the evaluations of a solve
            wandering.solve(math.fsum)
    timer.join()


def test_solves_in_threads_are_those_that_run_alone():
    alone = [column().solve(analyze_column, method=m) for m in ("sqp", "grg", "automatic")]
    results = {}
    barrier = threading.Barrier(3)

    def work(k, method):
        barrier.wait()
        for _ in range(20):
            results[k] = column().solve(analyze_column, method=method)

    threads = [threading.Thread(target=work, args=(k, m))
               for k, m in enumerate(("sqp", "grg", "automatic"))]
    for t in threads:
        t.start()
    for t in threads:
        t.join()
    for k, expected in enumerate(alone):
        assert results[k].function_values.tobytes() == expected.function_values.tobytes()


def test_the_lock_is_free_outside_callables():
    """A callable that waits for another thread, which has to get the lock of the interpreter."""
    ticks = []
    done = threading.Event()

    def tick():
        while not done.is_set():
            ticks.append(1)
            time.sleep(0.001)

    thread = threading.Thread(target=tick)
    thread.start()
    # Without values the QPs of 60 variables are most of the work.
    rng = np.random.default_rng(1)
    A = rng.random((60, 60))
    p = tarnix.problem.from_arrays([0.5] * 60, 0, 1, constraint_upper=[1.0] * 60)
    p.solve(lambda x: np.concatenate([[-x.sum()], A @ x - 10]),
            lambda x: np.vstack([-np.ones(60), A]))
    done.set()
    thread.join()
    assert ticks


def test_a_solve_within_the_analysis_of_another():
    inner = tarnix.problem.from_arrays([0.0], -10, 10)
    outer = tarnix.problem.from_arrays([1.0], -5, 5)

    def analysis(x):
        found = inner.solve(lambda y: (y[0] - x[0])**2 + y[0]**2)  # y = x / 2, x^2 / 2
        return found.objective + (x[0] - 3)**2

    assert outer.solve(analysis).point.x == pytest.approx([2], abs=1e-3)


def test_arrays_are_not_used_again():
    kept = []

    def analysis(x):
        kept.append(x)
        answer = column_array(x)
        x[:] = -1  # and the solve does not look at what a host does to its own
        return answer

    r = column_from_arrays().solve(analysis)
    assert r.success and all((x == -1).all() for x in kept)
    assert len({x.ctypes.data for x in kept}) == len(kept)


@pytest.mark.parametrize("value, words", [
    (None, "None"), (1j, "complex"), ("12", "str"), (True, "bool"),
    (np.array([1.0, 2.0]), r"\(2,\)"),
    (np.complex128(1), "complex"), (10**400, "integer"), ([3.0], "list"), (object(), "object")])
def test_a_value_that_is_no_number_is_named(value, words):
    calls = []

    def analysis(x):
        calls.append(x)
        answer = analyze_column(x)
        if x.wall != 0.5:
            answer["stress"] = value
        return answer

    with pytest.raises(tarnix.BadValue, match=words) as caught:
        column().solve(analysis)
    error = caught.value
    assert (error.function, error.evaluation) == ("stress", len(calls)) and len(calls) > 1
    assert "wall: " in str(error) and f"evaluation {len(calls)}:" in str(error)
    assert error.x[1] != 0.5


@pytest.mark.parametrize("answer, words", [
    (None, "None"), ([1.0, 2.0], "2 values"), (np.ones((3, 3)), r"\(3, 3\)"), (7, "1 value"),
    (([1.0] * 3, np.ones((3, 2))), "gradient=True"), (np.ones(3) * 1j, "complex"),
    ({"cost": 1, "stres": 2, "buckling load": 3}, "'stress'"), (np.array(["a"] * 3), "str")])
def test_an_answer_of_another_shape_is_named(answer, words):
    with pytest.raises(tarnix.BadValue, match=words):
        column().solve(lambda x: answer)


@pytest.mark.parametrize("gradient, words", [
    ({"stres": [1, 2]}, "did you mean 'stress'"), ({"stress": {"wal": 1}}, "did you mean 'wall'"),
    ({"stress": [1, 2, 3]}, "3 entries"), ({"stress": [1j, 2]}, "not real"), (7, "7"),
    ([[1, 2]], "1 functions")])
def test_a_gradient_of_another_shape_is_named(gradient, words):
    with pytest.raises(tarnix.BadValue, match=words):
        column().solve(analyze_column, lambda x: gradient)


def test_values_that_are_not_finite_are_told():
    def analysis(x):
        answer = analyze_column(x)
        if x.wall < 0.3:
            answer["stress"] = math.nan
        return answer

    r = column().solve(analysis)
    assert "'stress' was not finite" in r.advice and "evaluation" in r.advice
    first = next(k for k, values in enumerate(r.function_values) if not np.isfinite(values).all())
    assert f"Evaluation {first + 1} was at {{diameter: {r.designs[first][0]:.10g}" in r.advice


def test_misspelled_names_are_helped():
    with pytest.raises(AttributeError, match="did you mean 'wall'"):
        column().solve(lambda x: x.wal)
    with pytest.raises(KeyError, match="did you mean 'diameter'"):
        column().solve(lambda x: x["diametr"])

    def fill(x, values):
        values.stres = 1

    with pytest.raises(KeyError, match="did you mean 'stress'"):
        column().solve(fill)
