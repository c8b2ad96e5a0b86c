#!/usr/bin/env python3
"""The run that docs/results.md shows is what the host prints: results_test.py PROGRAM PAGE.

Last digits of tiny differences depend on the C library: those columns are not compared, and an
objective counts as the same within 1e-5.
"""
import pathlib
import re
import subprocess
import sys

ROW = re.compile(r"^(\w+) +(\d+) +(\d+) +(\d+) +(\S+)((?:  \w+ ?\S* +\S+ +\S+ +\S+ +\d+ +\d+){2})$",
                 re.M)


def rows(text):
    table = {}
    for name, *counts, best, methods in ROW.findall(text):
        ends = re.findall(r"  (\w+ ?\S*?) +(\S+) +\S+ +\S+ +(\d+) +(\d+)", methods)
        table[name] = [*counts, best, [(word, its, evals) for word, _, its, evals in ends],
                       [float(found) for _, found, _, _ in ends]]
    return table


def main():
    program, page = sys.argv[1:]
    real = rows(subprocess.run([program], check=True, stdout=subprocess.PIPE, text=True).stdout)
    shown = rows(pathlib.Path(page).read_text())
    wrong = 0
    for name in sorted({*real, *shown}):
        a, b = shown.get(name), real.get(name)
        same = a and b and a[:-1] == b[:-1] and all(
            abs(x - y) <= 1e-5 * abs(y) for x, y in zip(a[-1], b[-1]))
        if not same:
            print(f"{name}: shown {a}, printed {b}")
            wrong = 1
    return wrong or len(real) < 18


if __name__ == "__main__":
    sys.exit(main())
