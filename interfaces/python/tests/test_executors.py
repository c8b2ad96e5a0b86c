"""Side by side: threads, processes, Dask and MPI give the bits of a solve that runs alone."""

import functools
import os
import shutil
import signal
import subprocess
import sys
import time
from concurrent.futures import ProcessPoolExecutor, ThreadPoolExecutor

import numpy as np
import pytest

import tarnix
from beams import analyze_column, column, column_array, column_from_arrays
from workers import gone_at, many_valleys, slow_column, valleys

HERE = os.path.dirname(os.path.abspath(__file__))


def same(result, other):
    return (result.function_values.tobytes() == other.function_values.tobytes()
            and result.designs.tobytes() == other.designs.tobytes()
            and result.point.x.tobytes() == other.point.x.tobytes())


@pytest.mark.parametrize("make", [lambda: ThreadPoolExecutor(1), lambda: ThreadPoolExecutor(5),
                                  lambda: ProcessPoolExecutor(1), lambda: ProcessPoolExecutor(3)])
def test_the_bits_are_those_of_a_solve_alone(make, tmp_path):
    with make() as pool:
        for options in ({}, {"method": "grg"}, {"differences": "central", "keep_inside": True}):
            alone = column_from_arrays().solve(column_array, **options)
            assert same(column_from_arrays().solve(slow_column, executor=pool, **options), alone)
        named = column().solve(analyze_column, executor=pool, history=tmp_path / "h.jsonl")
        assert same(named, column().solve(analyze_column))
        assert len(tarnix.load(tmp_path / "h.jsonl").designs) <= named.evaluations


def test_a_pass_is_submitted_as_one_batch():
    running = []
    most = []

    class Watched(ThreadPoolExecutor):
        def submit(self, function, *arguments, **named):
            running.append(1)
            most.append(len(running))
            future = super().submit(function, *arguments, **named)
            future.add_done_callback(lambda _: running.pop())
            return future

    def analysis(x):
        time.sleep(0.02)
        return float((x * x).sum())

    with Watched(4) as pool:
        tarnix.problem.from_arrays([3.0] * 12, -5, 5).solve(analysis, executor=pool,
                                                            max_evaluations=40)
    assert max(most) >= 10  # of the 12 of a forward pass, before the first had ended


def test_an_exception_of_a_worker_is_that_of_the_smallest_number():
    def fails(x):
        time.sleep(0.001 if x[0] > 8 else 0.03)
        if x[0] > 8 or x[1] > 0.5:
            raise ArithmeticError(f"{x[0] > 8}")
        return column_array(x)

    with ThreadPoolExecutor(2) as pool, pytest.raises(ArithmeticError, match="True"):
        column_from_arrays().solve(fails, executor=pool)


def test_what_does_not_pickle_is_explained():
    with ProcessPoolExecutor(1) as pool, pytest.raises(Exception) as caught:
        column_from_arrays().solve(lambda x: column_array(x), executor=pool)
    if hasattr(caught.value, "__notes__"):
        assert "top level of a module" in caught.value.__notes__[0]
    assert "pickle" in str(caught.value).lower()


def test_bad_values_are_named_here():
    with ProcessPoolExecutor(1) as pool, pytest.raises(tarnix.BadValue, match="1 value"):
        column_from_arrays().solve(np.sum, executor=pool)


def test_limits_are_kept():
    with ThreadPoolExecutor(3) as pool:
        r = column_from_arrays().solve(slow_column, executor=pool, max_evaluations=9)
    assert (r.reason, r.evaluations) == ("evaluation limit", 9)


def test_an_interrupt_does_not_wait_for_the_queue():
    interrupts = [signal.SIGINT]  # one alone: a second might come after the solve

    def analysis(x):
        if x[0] != 1:
            time.sleep(0.2)
            if interrupts:
                os.kill(os.getpid(), interrupts.pop())
        return float(x @ x)

    p = tarnix.problem.from_arrays([1.0] + [0.0] * 49, -5, 5)
    began = time.monotonic()
    with ThreadPoolExecutor(1) as pool, pytest.raises(KeyboardInterrupt):
        p.solve(analysis, executor=pool)
    assert time.monotonic() - began < 5  # 49 more would take ten seconds


def test_a_worker_that_dies_takes_nothing_with_it(tmp_path):
    alone = column_from_arrays().solve(column_array)
    marker, path = tmp_path / "marker", tmp_path / "h.jsonl"
    marker.touch()
    fatal = functools.partial(gone_at, float(alone.designs[10, 1]), str(marker))
    with ProcessPoolExecutor(2) as pool:
        with pytest.raises(tarnix.WorkerLost, match="evaluation.*resume=True"):
            column_from_arrays().solve(fatal, executor=pool, history=path)
        assert 8 <= len(tarnix.load(path).designs) <= 12
        with pytest.raises(tarnix.WorkerLost):  # the pool is of no use any more
            column_from_arrays().solve(fatal, executor=pool)
    marker.unlink()
    with ProcessPoolExecutor(2) as pool:
        resumed = column_from_arrays().solve(fatal, executor=pool, history=path, resume=True)
    assert same(resumed, alone)


# ---- many starts ----------------------------------------------------------------------------
def test_all_minima_are_found_and_counted():
    table = tarnix.multistart(valleys(), many_valleys, 40)
    assert len(table.minima) == 4 and table.starts == 40
    corners = sorted(tuple(np.sign(m.result.point.x)) for m in table.minima)
    assert corners == [(-1, -1), (-1, 1), (1, -1), (1, 1)]
    objectives = [m.objective for m in table.minima]
    assert objectives == sorted(objectives)
    assert table.best.point.x == pytest.approx([-1.024] * 2, abs=1e-2)
    assert sum(m.times for m in table.minima) + table.unsuccessful == 40
    assert "times" in str(table) and table.unseen < 1


def test_the_answer_is_the_same_for_any_number_of_workers():
    alone = tarnix.multistart(valleys(), many_valleys, 60, seed=7, confidence=0.5)
    assert alone.starts < 60 and alone.probability >= 0.5
    shorter = tarnix.multistart(valleys(), many_valleys, alone.starts - 1, seed=7)
    assert shorter.probability < 0.5  # it stopped at the first start that it could
    for make in (lambda: ThreadPoolExecutor(3), lambda: ProcessPoolExecutor(2)):
        with make() as pool:
            other = tarnix.multistart(valleys(), many_valleys, 60, seed=7, confidence=0.5,
                                      executor=pool)
        assert str(other) == str(alone)
        assert all(same(a, b) for a, b in zip(alone.results, other.results))


def test_the_estimates_are_those_of_the_literature():
    """Summed over all numbers of minima k >= w, the posterior of Boender and Rinnooy Kan."""
    from math import lgamma

    table = tarnix.multistart(valleys(), many_valleys, 40)
    n, w = 40 - table.unsuccessful, len(table.minima)
    weights = np.array([np.exp(lgamma(k) + lgamma(k + 1) - lgamma(n + k) - lgamma(k - w + 1))
                        for k in range(w, 4000)])
    assert table.probability == pytest.approx(weights[0] / weights.sum(), rel=1e-6)
    mean = (weights * np.arange(w, 4000)).sum() / weights.sum()
    assert table.unseen == pytest.approx(mean - w, rel=1e-4)


def test_faults_of_a_multistart():
    for wrong in ({"starts": 0}, {"confidence": 2}, {"history": "h.jsonl"}, {"methods": "grg"}):
        with pytest.raises((ValueError, TypeError), match=next(iter(wrong))):
            tarnix.multistart(valleys(), many_valleys, **dict({"starts": 2}, **wrong))


# ---- other machines, played by processes of this one ----------------------------------------
@pytest.fixture
def dask(tmp_path):
    """A scheduler and two workers as processes of their own, on the loopback address."""
    distributed = pytest.importorskip("distributed")
    contact = tmp_path / "scheduler.json"

    def start(role, *options):
        return subprocess.Popen([sys.executable, "-m", f"distributed.cli.dask_{role}",
                                 "--scheduler-file", str(contact), "--no-dashboard", *options],
                                cwd=HERE, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL,
                                env=dict(os.environ, OPENBLAS_NUM_THREADS="1"))

    scheduler = start("scheduler", "--host", "127.0.0.1", "--port", "0")
    workers = [start("worker", "--nthreads", "1", "--no-nanny", "--host", "127.0.0.1")
               for _ in range(2)]
    try:
        while not contact.exists():
            assert scheduler.poll() is None
            time.sleep(0.1)
        with distributed.Client(scheduler_file=str(contact), timeout=60) as client:
            client.wait_for_workers(2, timeout=120)
            yield client, workers
    finally:
        for process in (*workers, scheduler):
            process.kill()
            process.wait()


def test_dask_and_a_worker_of_it_that_dies(dask, tmp_path):
    client, workers = dask
    alone = column_from_arrays().solve(column_array)
    pool = client.get_executor()
    assert same(column_from_arrays().solve(slow_column, executor=pool), alone)
    table = tarnix.multistart(valleys(), many_valleys, 12, executor=pool)
    assert str(table) == str(tarnix.multistart(valleys(), many_valleys, 12))
    calls = []

    def lose_one(progress):
        calls.append(progress)
        if len(calls) == 2:
            workers[0].kill()

    path = tmp_path / "h.jsonl"
    r = column_from_arrays().solve(slow_column, executor=pool, callback=lose_one, history=path)
    assert same(r, alone)  # Dask has put the work on the other one
    assert len(np.unique(alone.designs, axis=0)) == len(tarnix.load(path).designs)


def test_mpi():
    pytest.importorskip("mpi4py")
    mpiexec = shutil.which("mpiexec")
    if not mpiexec:
        pytest.skip("no mpiexec")
    environment = dict(os.environ, OMPI_ALLOW_RUN_AS_ROOT="1", OMPI_ALLOW_RUN_AS_ROOT_CONFIRM="1",
                       OMPI_MCA_rmaps_base_oversubscribe="1", OMPI_MCA_btl="self,vader,tcp",
                       OMPI_MCA_plm="isolated", OPENBLAS_NUM_THREADS="1")
    run = subprocess.run([mpiexec, "-n", "3", sys.executable, "-m", "mpi4py.futures",
                          os.path.join(HERE, "workers.py")], env=environment, capture_output=True,
                         text=True, timeout=240)
    assert run.returncode == 0, run.stderr
    bits, table = run.stdout.split("\n", 1)
    assert bits == column_from_arrays().solve(column_array).function_values.tobytes().hex()
    assert table.strip() == str(tarnix.multistart(valleys(), many_valleys, 12)).strip()
