#!/usr/bin/env python3
"""Measures what the README compares, and writes its table.

    comparison.py [--build build/release] [--page README.md]

Runs tarnix_compare, scipy_compare.py and tarnix_qp_compare, whatever of these there is. With --page
the text between <!-- comparison --> and <!-- end of comparison --> is replaced, if nothing is
missing. The times of the quadratic subproblem need a machine without other work.
"""
import argparse
import datetime
import os
import pathlib
import platform
import re
import shutil
import statistics
import subprocess
import sys
import textwrap

ROOT = pathlib.Path(__file__).resolve().parent.parent
NAMES = {"automatic": "tarnix, `automatic`", "sqp": "tarnix, SQP", "grg": "tarnix, GRG",
         "slsqp": "NLopt {}, SLSQP", "ipopt": "Ipopt {}, limited memory"}


def output(*command, **environment):
    if not shutil.which(command[0]):
        return ""
    return subprocess.run(command, check=True, stdout=subprocess.PIPE, text=True,
                          env=dict(os.environ, **environment)).stdout


def solver_rows(build):
    solvers = ",".join(NAMES)
    text = output(f"{build}/bench/tarnix_compare", "--solvers", solvers)
    for name, version, solves, loose, false, median in re.findall(
            r"^(\w+) +([\d.]+) +(\d+) +(\d+) +\d+ +\d+ +(\d+) +([\d.]+) +\d+", text, re.M):
        yield NAMES[name].format(version), int(solves), int(loose), false, float(median)


def scipy_rows(build):
    package = f"{build}/interfaces/python"
    library = f"{package}/libtarnix_problems_shared.so"
    if not os.path.exists(library):
        return
    text = output("/usr/bin/python3", str(ROOT / "bench/scipy_compare.py"), "--wide", "--solvers",
                  "SLSQP", "--library", library, PYTHONPATH=package)
    version = re.search(r"SciPy ([\d.]+)", text)[1]
    solves = re.match(r"(\d+) problems", text)[1]
    row = re.search(r"^SLSQP +(\d+) +\d+ +\d+ +\d+ +([\d.]+)", text, re.M)
    yield f"SciPy {version}, SLSQP", int(solves), int(row[1]), "not judged", float(row[2])


def qp_lines(build):
    text = output(f"{build}/bench/tarnix_qp_compare", "30")
    ratios = {}
    for n, dense, compact in re.findall(
            r"^ *(\d+) +\d+% +\d+ +\S+ +\S+ +([\d.]+) +\S+ +([\d.]+)", text, re.M):
        ratios.setdefault(int(n), []).append(min(1 / float(dense), 1 / float(compact)))
    if ratios:
        parts = [f"{statistics.median(values):.0f} times (n = {n})"
                 for n, values in sorted(ratios.items()) if n in (10, 50, 100)]
        yield ("The quadratic subproblem alone, against the Goldfarb-Idnani code of R's `quadprog` "
               "in the faster of its two forms, is about "
               f"{', '.join(parts[:-1])} and {parts[-1]} as fast.")


def processor():
    text = pathlib.Path("/proc/cpuinfo").read_text()
    found = re.search(r"^model name\s*: (.*)$", text, re.M)
    return re.sub(r" +", " ", found[1]) if found else platform.machine()


def compiler(build):
    text = pathlib.Path(f"{build}/CMakeCache.txt").read_text()
    path = re.search(r"^CMAKE_CXX_COMPILER:\w+=(.*)$", text, re.M)[1]
    return output(path, "--version").split("\n")[0]


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("--build", default="build/release")
    parser.add_argument("--page")
    options = parser.parse_args()
    rows = [*solver_rows(options.build), *scipy_rows(options.build)]
    if not rows:
        sys.exit("comparison.py: build tarnix_compare first")
    lines = ["| | solved | false claims of success | evaluations, median |", "|---|---|---|---|"]
    lines += [f"| {name} | {loose} of {solves} | {false} | {median:g} |"
              for name, solves, loose, false, median in sorted(rows, key=lambda row: -row[2])]
    lines += ["", *(textwrap.fill(line, 100) for line in qp_lines(options.build)),
              f"{compiler(options.build)}, {processor()}, {datetime.date.today()}."]
    text = "\n".join(lines) + "\n"
    print(text)
    missing = [what for what, part in (("NLopt", "NLopt"), ("Ipopt", "Ipopt"),
                                       ("quadprog", "quadprog"),
                                       ("target tarnix_problems_shared, or SciPy", "SciPy"))
               if part not in text]
    if options.page and missing:
        sys.exit(f"comparison.py: {options.page} is not written, missing: {', '.join(missing)}")
    if options.page:
        page = pathlib.Path(options.page)
        new, count = re.subn(r"(<!-- comparison -->\n\n).*?(\n<!-- end of comparison -->)",
                             lambda match: match[1] + text + match[2], page.read_text(),
                             flags=re.S)
        if count != 1:
            sys.exit(f"comparison.py: {page} has no place for it")
        page.write_text(new)


if __name__ == "__main__":
    main()
