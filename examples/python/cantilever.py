"""The lightest stepped cantilever, analyzed by a program that is started once per evaluation.

Threads start two of them side by side, and every finished evaluation is in the history, from which
the solve continues after any interruption. By hand: side i is proportional to the sixth root
of 61, 37, 19, 7, 1; the mass is 17.855 kg.
"""

from __future__ import annotations

import re
import subprocess
import sys
from concurrent.futures import ThreadPoolExecutor
from pathlib import Path
from typing import Dict

import tarnix

SIMULATOR = Path(__file__).resolve().parents[1] / "cantilever" / "cantilever.sh"
RESULT = re.compile(r"^(mass|sag of the tip|largest stress) +(\S+)", re.MULTILINE)


def simulate(x: tarnix.Design) -> Dict[str, float]:
    """Mass in kg, sag in mm, stress in MPa. A run that fails raises, and ends the solve."""
    sides = [repr(float(side)) for side in x.array]
    run = subprocess.run(["sh", SIMULATOR, *sides], check=True, capture_output=True, text=True,
                         timeout=60)
    return {name: float(value) for name, value in RESULT.findall(run.stdout)}


def cantilever() -> tarnix.Problem:
    p = tarnix.Problem()
    p.variables("side", [50] * 5, 20, 100)  # mm, from the wall to the tip
    p.minimize("mass", 10)
    p.at_most("sag of the tip", 5, 5)
    p.at_most("largest stress", 160, 160)
    return p


if __name__ == "__main__":
    history = sys.argv[1] if len(sys.argv) > 1 else "cantilever.jsonl"
    with ThreadPoolExecutor(2) as pool:
        print(cantilever().solve(simulate, executor=pool, history=history, resume=True))
    print(tarnix.load(history))
