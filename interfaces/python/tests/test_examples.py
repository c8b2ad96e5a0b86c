"""The examples run, and end at what is published."""

import os
import re
import subprocess
import sys

import pytest

EXAMPLES = os.path.join(os.path.dirname(os.path.abspath(__file__)), "../../../examples/python")


def run(name, *arguments):
    ended = subprocess.run([sys.executable, os.path.join(EXAMPLES, name), *map(str, arguments)],
                           capture_output=True, text=True)
    assert ended.returncode == 0, ended.stderr
    return ended.stdout


def number(text, before):
    return float(re.search(re.escape(before) + r"\s+(\S+)", text).group(1))


def test_welded_beam():
    shown = run("welded_beam.py")
    assert shown.startswith("success")
    assert number(shown, "cost") == pytest.approx(1.72485, rel=1e-4)
    assert number(shown, "in the form of SciPy:") == pytest.approx(1.72485, rel=1e-4)


def test_truss():
    shown = run("ten_bar_truss.py")
    assert shown.startswith("success")
    assert number(shown, "weight") == pytest.approx(5060.85, rel=1e-4)
    assert number(shown, "with differences:") == pytest.approx(5060.85, rel=1e-3)


def test_cantilever(tmp_path):
    shown = run("cantilever.py", tmp_path / "h.jsonl")
    assert shown.startswith("success") and number(shown, "mass") == pytest.approx(17.855, rel=1e-4)
    assert run("cantilever.py", tmp_path / "h.jsonl").startswith("success")  # all from the history


def test_many_starts():
    shown = run("many_starts.py")
    rows = re.findall(r"^ +\d+ +\d+ +(-?[\d.]+) +(-?[\d.]+) +(-?[\d.]+)$", shown, re.MULTILINE)
    assert len(rows) == 6
    for height, a, b in rows[:2]:
        assert float(height) == pytest.approx(-1.0316, abs=1e-4)
        assert abs(float(a)) == pytest.approx(0.0898, abs=1e-2)
        assert float(a) * float(b) < 0


def test_the_package_explains_itself():
    doctest = pytest.importorskip("doctest")
    import tarnix

    found = doctest.testmod(tarnix.problem)
    assert found.attempted >= 6 and found.failed == 0
    for name in tarnix.__all__:
        assert name.startswith("__") or (getattr(tarnix, name).__doc__ or "").strip(), name


def test_types():
    pytest.importorskip("mypy", reason="mypy is not installed for this interpreter")
    import tarnix

    package = os.path.dirname(os.path.realpath(tarnix.problem.__file__))
    names = [os.path.join(EXAMPLES, name) for name in sorted(os.listdir(EXAMPLES))
             if name.endswith(".py")]
    ended = subprocess.run(
        [sys.executable, "-m", "mypy", "--strict", "--no-error-summary", "--cache-dir=/dev/null",
         *names], capture_output=True, text=True,
        env=dict(os.environ, MYPYPATH=os.path.dirname(package)))
    assert ended.returncode == 0, ended.stdout + ended.stderr
