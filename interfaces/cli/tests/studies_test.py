"""Tests of the commands that plan, sweep and compare: studies_test.py PROGRAM EXAMPLES [group]."""
import csv
import io
import itertools
import json
import os
import signal
import subprocess
import time
import unittest

from cli_test import ENVIRONMENT, EXAMPLES, PROGRAM, Case, tarnix

# A sum of squares by a shell, with a note of every start; it waits, or fails, where files say so.
SIMULATOR = """#!/bin/sh
cd "$(dirname "$0")" && echo "$*" >> starts
[ ! -e hold ] || [ $(wc -l < starts) -lt $(cat hold) ] || exec sleep 1000
[ ! -e slow ] || sleep $(cat slow)
awk 'BEGIN { a = ARGV[1]; b = ARGV[2]
  if (a > 3.5 && ARGV[3] == "fragile") { print "mesh" > "/dev/stderr"; exit 7 }
  printf "f = %.17g\\ng = %.17g\\n", (a - 1)^2 + (b - 2)^2, a + b }' "$@"
"""
PROBLEM = """title = "Two"
[variables]
a = { start = 2, lower = 0, upper = 4, unit = "mm" }
b = { start = 1, lower = -1, upper = 3 }
[command]
run = ["sh", "{{dir}}/simulator.sh", "{{a}}", "{{b}}", "sound"]
[results]
f = { key = "f" }
g = { key = "g" }
[objective]
minimize = "f"
[constraints]
sum = { value = "g", min = 1, max = 2.5 }
"""


class Studies(Case):
    def setUp(self):
        super().setUp()
        self.write("simulator.sh", SIMULATOR)
        self.file = self.write("two.toml", PROBLEM)

    def starts(self):
        path = self.dir / "starts"
        return path.read_text().splitlines() if path.exists() else []

    def call(self, *words, code=0):
        run = tarnix(*words, "--quiet")
        self.assertEqual(run.returncode, code, run.stderr + run.stdout)
        return run.stdout

    def rows(self, text):
        return list(csv.DictReader(io.StringIO(text)))

    def killed(self, *words, at):
        """Starts a command whose simulator waits from that start on, and kills it with all."""
        self.write("hold", str(at))
        process = subprocess.Popen([PROGRAM, *map(str, words), "--quiet"], env=ENVIRONMENT,
                                   stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
        while len(self.starts()) < at:
            self.assertIsNone(process.poll())
            time.sleep(0.01)
        process.send_signal(signal.SIGKILL)
        process.wait()
        (self.dir / "hold").unlink()


class Designs(Studies):
    def testPlans(self):
        """Every plan covers the box as it says, with values that follow from the design."""
        for plan, count in ("one-at-a-time", 5), ("corners", 5), ("latin", 12), ("sobol", 16):
            self.call("doe", self.file, "--plan", plan, "--count",
                      2 if plan == "one-at-a-time" else count, "-j2")
            rows = self.rows((self.dir / "two.doe.csv").read_text())
            self.assertEqual(len(rows), count, plan)
            points = [(float(r["a"]), float(r["b"])) for r in rows]
            for (a, b), row in zip(points, rows):
                self.assertAlmostEqual(float(row["objective"]), (a - 1)**2 + (b - 2)**2, 12)
                self.assertEqual(row["feasible"], str(int(1 <= a + b <= 2.5)))
            if plan == "one-at-a-time":
                self.assertEqual(points, [(2, 1), (0, 1), (4, 1), (2, -1), (2, 3)])
            elif plan == "corners":
                self.assertEqual(set(points[1:]), set(itertools.product((0, 4), (-1, 3))))
            else:  # one point in every stripe of every axis
                for stripes in ([int(a / 4 * count) for a, _ in points],
                                [int((b + 1) / 4 * count) for _, b in points]):
                    self.assertEqual(sorted(stripes), list(range(count)))
            if plan == "sobol":  # and in every cell of 4 by 4
                cells = {(int(a), int(b + 1)) for a, b in points}
                self.assertEqual(len(cells), 16)

    def testSeedsAndJobs(self):
        tables = set()
        for words in ("-j1",), ("-j3", "--fresh"), ("--fresh", "--set", "a.unit=cm"):
            self.call("doe", self.file, "--plan", "latin", "-n", 6, *words)
            tables.add(tuple(row["a"] + row["objective"] for row in
                             self.rows((self.dir / "two.doe.csv").read_text())))
        self.assertEqual(len(tables), 1)
        self.call("doe", self.file, "--plan", "latin", "-n", 6, "--seed", 2)
        self.assertNotIn(self.rows((self.dir / "two.doe.csv").read_text())[0]["a"],
                         str(tables))

    def testGoesOnAfterAKill(self):
        self.killed("doe", self.file, "--plan", "latin", "-n", 8, at=5)
        self.call("doe", self.file, "--plan", "latin", "-n", 8)
        # The run that was cut short is the only one made twice.
        self.assertEqual(len(self.starts()), 9)
        self.assertEqual(len(set(self.starts())), 8)
        out = self.call("doe", self.file, "--plan", "latin", "-n", 8)
        self.assertIn("8 from the history", out)
        self.assertEqual(len(self.starts()), 9)
        self.write("simulator.sh", SIMULATOR + "# other\n")
        run = tarnix("doe", self.file)
        self.assertEqual(run.returncode, 4)
        self.assertIn("tarnix doe --fresh", run.stderr)

    def testFailedRuns(self):
        """A failed run leaves its line empty and is not the end of the others."""
        self.write("two.toml", PROBLEM.replace("sound", "fragile"))
        out = self.call("doe", self.file, code=3)
        self.assertIn("FAILED", out)
        rows = self.rows((self.dir / "two.doe.csv").read_text())
        failed = [row for row in rows if row["failed"]]
        self.assertEqual([row["a"] for row in failed], ["4"])
        self.assertIn("exit status 7", failed[0]["failed"])
        self.assertEqual(failed[0]["objective"] + failed[0]["feasible"], "")
        self.call("doe", self.file, code=3)
        self.assertEqual(len(self.starts()), 5)
        self.call("doe", self.file, "--retry-failed", code=3)
        self.assertEqual(len(self.starts()), 6)

    def testTable(self):
        self.call("solve", self.file)
        rows = self.rows(self.call("table", self.file))
        records = [json.loads(line) for line in
                   (self.dir / "two.history.jsonl").read_text().splitlines() if '"x":' in line]
        records = [r for r in records if "verifies" not in r]
        self.assertEqual([[float(r["a"]), float(r["b"])] for r in rows], [r["x"] for r in records])
        # Its own table read again gives the same values, from new runs.
        self.call("table", self.file, "--to", self.dir / "all.csv")
        again = self.rows(self.call("table", self.file, "--designs", self.dir / "all.csv", "-j2"))
        self.assertEqual([r["objective"] for r in again], [r["objective"] for r in rows])
        self.write("in.csv", "b;note\n2.5;x\n\n0;\"y;z\"\n")
        rows = self.rows(self.call("table", self.file, "--designs", self.dir / "in.csv"))
        self.assertEqual([(r["a"], r["b"], r["sum"]) for r in rows],
                         [("2", "2.5", "4.5"), ("2", "0", "2")])
        for content, message in (("q\n1\n", "no column has the name"), ("a\n1,2\n", "2 cells"),
                                 ("a\n1.5x\n", "'1.5x' is not a number"), ("a\n", "no designs")):
            self.write("in.csv", content)
            run = tarnix("table", self.file, "--designs", self.dir / "in.csv")
            self.assertEqual(run.returncode, 2)
            self.assertIn(message, run.stderr)

    def testFormulas(self):
        file = EXAMPLES / "welded_beam.toml"
        out = json.loads(self.call("doe", file, "--json", "-o", self.dir, "--plan", "latin"))
        self.assertEqual((out["version"], len(out["designs"])), (1, 40))
        cost = out["effects"][0]
        self.assertEqual(cost["function"], "cost")
        self.assertGreater(cost["correlations"]["h"], 0.3)
        self.call("solve", file, "-o", self.dir)
        rows = self.rows(self.call("table", file, "-o", self.dir))
        self.assertAlmostEqual(min(float(r["cost"]) for r in rows if r["feasible"] == "1"),
                               1.72485, 3)


if __name__ == "__main__":
    unittest.main()
