"""Tests of the commands that plan, sweep and compare: studies_test.py PROGRAM EXAMPLES [group]."""
import csv
import fcntl
import io
import itertools
import json
import signal
import subprocess
import time
import unittest

from cli_test import ENVIRONMENT, EXAMPLES, PROGRAM, Case, tarnix, values

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

    def result(self, *words, code=0):
        """Of a code that is None any status will do."""
        run = tarnix(*words, "--json", "--quiet")
        if code is not None:
            self.assertEqual(run.returncode, code, run.stderr + run.stdout)
        return json.loads(run.stdout)

    def starts(self):
        path = self.dir / "starts"
        return path.read_text().splitlines() if path.exists() else []

    def call(self, *words, code=0):
        run = tarnix(*words, "--quiet")
        if code is not None:
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
        # What ends the runs holds the history until they are gone.
        for history in self.dir.rglob("*.history.jsonl"):
            with open(history) as file:
                fcntl.flock(file, fcntl.LOCK_EX)


# Of runs that are under way at the same time all but the last take another's design.
MEET = """n=$(wc -l < starts)
if [ $n -gt FIRST ] && [ $n -le LAST ]; then
  echo "$1 $2" > last; sleep 0.4; set -- $(cat last) "$3"
fi
"""


def disturbed(first, last):
    meet = MEET.replace("FIRST", str(first)).replace("LAST", str(last))
    # Differences at the optimum of the other problem give the same for both variables.
    return SIMULATOR.replace("awk 'BEGIN", meet + "awk 'BEGIN").replace("a + b", "a + 2 * b")


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

    def testRunsThatDisturbEachOther(self):
        """Such a table is none, whoever makes it; what is repeated alone is in the history."""
        self.write("in.csv", "a,b\n" + "".join(f"{k},{k / 2}\n" for k in range(4)))
        for words in (("doe", "--plan", "latin", "-n", 8), ("probe",),
                      ("table", "--designs", self.dir / "in.csv")):
            first = 5 if words[0] == "probe" else 0  # the start alone, and twice side by side
            self.write("simulator.sh", disturbed(first, first + 8))
            run = tarnix(*words, self.file, "-j2", "-q", "--fresh")
            self.assertEqual(run.returncode, 1, run.stdout)
            self.assertIn("runs side by side disturb each other", run.stdout + run.stderr)
            before = len(self.starts())
            if words[0] != "probe":
                self.assertEqual(tarnix(*words, self.file).returncode, 1)
                self.assertLessEqual(len(self.starts()), before + 1)  # does it differ from itself?
            (self.dir / "starts").unlink()
        run = tarnix(*words, self.file, "-q", "--fresh")
        self.assertEqual(run.returncode, 0, run.stdout)

    def testLimitsAreThoseOfASolve(self):
        self.write("two.toml", PROBLEM.replace('minimize = "f"', 'minimize = "log(f - 3)"')
                   + "[options]\nmax_evaluations = 2\nmax_seconds = 1e-3\n")
        out = self.call("doe", self.file, "-j2")  # of values that are not finite
        self.assertIn("5 runs of the command", out)
        self.assertIn("side by side, repeated alone: they agree", out)

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


class Sweeps(Studies):
    """The nearest point to (1, 2) with a + b <= s lies (3 - s) / sqrt 2 away."""

    def sweep(self, *words, code=0):
        self.call("sweep", self.file, *words, code=code)
        return self.rows((self.dir / "two.sweep.csv").read_text())

    def testCurveHasTheKnownAnswers(self):
        formulas = PROBLEM[:PROBLEM.index("[command]")] + PROBLEM[PROBLEM.index("[objective]"):]
        formulas = formulas.replace('"f"', '"(a - 1)^2 + (b - 2)^2"').replace('"g"', '"a + b"')
        tables = []
        for problem, words in ((PROBLEM, ("-j1",)), (PROBLEM, ("-j3", "--fresh")), (formulas, ())):
            self.write("two.toml", problem)
            rows = self.sweep("--over", "sum.max=1.5:3.5:5", *words)
            for row in rows:
                short = max(3 - float(row["sum.max"]), 0)
                self.assertEqual(row["solved"], "1")
                self.assertAlmostEqual(float(row["objective"]), short**2 / 2, delta=2e-3)
                self.assertAlmostEqual(float(row["a"]), 1 - short / 2, delta=0.02)
                if row["sum.max"] != "3":  # where it only just touches
                    self.assertEqual("sum" in row["active"], short > 0)
            tables.append(rows)
        self.assertEqual([r["sum.max"] for r in tables[0]], ["1.5", "2", "2.5", "3", "3.5"])
        self.assertEqual(tables[0], tables[1])
        chart = (self.dir / "two.sweep.svg").read_text()
        self.assertEqual(chart.count("<circle"), 3 * 5)  # objective and two variables
        self.assertNotRegex(chart, "nan|inf\\b")

    def testRepeatsNoRunAfterAKill(self):
        self.killed("sweep", self.file, "--over", "sum.max=1.5:3:4", at=12)
        rows = self.sweep("--over", "sum.max=1.5:3:4", "-j2")
        alone = len(set(self.starts()))
        # Made twice: what the kill cut short, and the designs that are verified.
        verified = len({(r["a"], r["b"]) for r in rows}) + 4
        self.assertLessEqual(len(self.starts()), alone + 1 + verified)
        before = len(self.starts())
        self.assertEqual(self.sweep("--over", "sum.max=1.5:3:4"), rows)
        self.assertEqual(len(self.starts()), before)

    def testPointsThatFail(self):
        self.write("two.toml", PROBLEM + 'near = { value = "f", max = 10 }\n')
        rows = self.sweep("--over", "near.max=-1,1", code=1)
        self.assertEqual([r["feasible"] for r in rows], ["0", "1"])
        self.assertIn("near violated", rows[0]["active"])
        self.write("two.toml", PROBLEM.replace("sound", "fragile")
                   .replace("start = 2", "start = 4"))
        rows = self.sweep("--over", "sum.max=2,2.5", code=3)
        self.assertIn("exit status 7", rows[0]["reason"])
        self.assertEqual(rows[0]["objective"], "")
        for over, message in (("sum.max", "FROM:TO:COUNT"), ("sum.max=1:2", "FROM:TO:COUNT"),
                              ("sum.max=1:x:3", "'x' is not a number"), ("sum.max=1:2:0", "count"),
                              ("sum.max=0:1:3:log", "positive"), ("sam.max=1,2", "'sam'")):
            run = tarnix("sweep", self.file, "--over", over)
            self.assertEqual(run.returncode, 2, over)
            self.assertIn(message, run.stderr)

    def testWhatChangesRunsHasAHistoryOfItsOwn(self):
        self.write("two.toml", PROBLEM.replace("sound", "{{force}}")
                   .replace("[command]", '[quantities]\nforce = 1\n[command]'))
        rows = self.sweep("--over", "force=1,2,3", "-j2")
        self.assertEqual(len(list((self.dir / "two.sweep").glob("*.jsonl"))), 3)
        self.assertEqual(len({r["objective"] for r in rows}), 1)
        self.assertEqual({line.split()[2] for line in self.starts()}, {"1", "2", "3"})

    def testMap(self):
        out = json.loads(self.call("sweep", EXAMPLES / "welded_beam.toml", "-o", self.dir, "--json",
                                   "--over", "load=5000:7000:3",
                                   "--over", "deflection.max=0.01,0.02"))
        self.assertEqual([p["at"] for p in out["points"]],
                         [[f, d] for f in (5000, 6000, 7000) for d in (0.01, 0.02)])
        cost = [p["outcome"]["objective"]["value"] for p in out["points"]]
        self.assertAlmostEqual(cost[3], 1.72485, delta=1e-3)  # the problem as it stands
        for looser, tighter in ((1, 0), (3, 2), (5, 4)):
            self.assertLess(cost[looser], cost[tighter])
        self.assertEqual((self.dir / "welded_beam.sweep.svg").read_text().count("<rect"), 6)

    def testValuesThatAStepDoesNotMove(self):
        """A chart has its ends where the values have no digits left between its ticks."""
        self.write("two.toml", '[variables]\na = { start = 1, lower = 0, upper = 2 }\n'
                   '[quantities]\nq = 1\n[objective]\nminimize = "1e16 + q + 0 * a"\n')
        self.sweep("--over", "q=1:3:2", code=None)
        self.assertIn("</svg>", (self.dir / "two.sweep.svg").read_text())

    def testADesignThatDoesNotRepeatIsNoSuccess(self):
        """Runs side by side write one file: what each reads may be another's."""
        wait = ('echo "$1" > shared; for i in 1 2 3 4; do\n'  # for another's
                '[ "$(cat shared)" = "$1" ] || break; sleep 0.01; done\n'
                'set -- "$(cat shared)" "$2" "$3"\n')
        self.write("simulator.sh", SIMULATOR.replace("awk 'BEGIN", wait + "awk 'BEGIN"))
        rows = self.sweep("--over", "sum.max=1.5:3:4", "-j6", code=1)
        self.assertTrue({"runs side by side disturb each other", "the design does not repeat"}
                        & {r["reason"] for r in rows}, rows)

    def testRunsThatDisturbGradientsOnly(self):
        """Some in the middle take another's design; what is repeated at the ends agrees."""
        self.write("simulator.sh", disturbed(3, 8))
        for over in "sum.max=1.5:3:4", "force=1:3:3":
            self.write("two.toml", PROBLEM.replace("sound", "{{force}}")
                       .replace("[command]", '[quantities]\nforce = 1\n[command]'))
            for path in self.dir.glob("starts"):
                path.unlink()
            rows = self.sweep("--over", over, "-j3", "--fresh", code=1)
            self.assertEqual({r["reason"] for r in rows}, {"runs side by side disturb each other"})


CAMEL = """[variables]
x = { start = 2.5, lower = -3, upper = 3 }
y = { start = -1.5, lower = -2, upper = 2 }
EXTRA
[objective]
minimize = "VALUE"
"""
CAMEL_FORMULA = "(4 - 2.1 * x^2 + x^4 / 3) * x^2 + x * y + (4 * y^2 - 4) * y^2"
CAMEL_COMMAND = """[command]
run = ["sh", "{{dir}}/camel.sh", "{{x}}", "{{y}}"]
[results]
f = { key = "f" }"""
CAMEL_SCRIPT = """cd "$(dirname "$0")" && echo "$*" >> starts
[ ! -e hold ] || [ $(wc -l < starts) -lt $(cat hold) ] || exec sleep 1000
awk 'BEGIN { x = ARGV[1]; y = ARGV[2]; printf "f = %.17g\\n",
  (4 - 2.1 * x^2 + x^4 / 3) * x^2 + x * y + (4 * y^2 - 4) * y^2 }' "$@"
"""


class Starts(Studies):
    def setUp(self):
        super().setUp()
        self.write("camel.sh", CAMEL_SCRIPT)
        self.file = self.write("camel.toml", CAMEL.replace("EXTRA", CAMEL_COMMAND)
                               .replace("VALUE", "f"))

    def testFindsTheMinimaOfTheCamel(self):
        file = self.write("formula.toml", CAMEL.replace("EXTRA", "")
                          .replace("VALUE", CAMEL_FORMULA))
        result = self.result("solve", file, "--starts", 60, "--set", "options.tolerance=1e-6")
        known = [-1.0316, -1.0316, -0.2155, -0.2155, 2.1043, 2.1043]
        found = result["minima"]["found"]
        self.assertEqual(len(found), 6)
        for minimum, value in zip(found, known):
            self.assertAlmostEqual(minimum["objective"], value, delta=1e-3)
        times = sum(minimum["times"] for minimum in found)
        self.assertEqual(times + result["minima"]["unsuccessful"], 60)
        self.assertAlmostEqual(result["minima"]["unseen"], 42 / (times - 8))
        self.assertIn(" minima from 20 starts", self.call("solve", file, "--starts", 20))
        one = self.result("solve", file)
        self.assertNotIn("minima", one)

    def testIsTheSameForAnyNumberOfJobs(self):
        def answer(*words):
            result = self.result(*words, self.file, "--starts", 5, "--seed", 3)
            return result["minima"], result["variables"], result["evaluations"]
        one = answer("solve", "-j1")
        self.assertGreater(len(one[0]["found"]), 1)
        for jobs in 2, 5:
            self.assertEqual(answer("solve", f"-j{jobs}"), one)
        (self.dir / "starts").unlink()
        self.killed("solve", self.file, "--starts", 5, "--seed", 3, "-j3", "--fresh", at=40)
        self.assertEqual(answer("resume", "-j2"), one)
        # Twice: runs that were under way at the kill, the verified design, two pairs side by side.
        self.assertLessEqual(len(self.starts()) - len(set(self.starts())), 3 + 1 + 4)

    def testBudgetIsSharedEvenly(self):
        results = [self.result("solve", self.file, "--starts", 4, f"-j{jobs}", "--set",
                               "options.max_evaluations=40", code=code)
                   for jobs, code in ((1, None), (3, None))]
        self.assertEqual(results[0]["minima"], results[1]["minima"])
        self.assertLessEqual(results[0]["evaluations"], 41)


def bruteForce():
    """Least of (x - 3.1)^2 + (y - 2.2)^2 + (z - x y / 4)^2 with z >= 2.5, of all there are."""
    best = None
    for x in (1, 2.5, 4, 7):
        for y in (k / 2 for k in range(11)):
            z = max(x * y / 4, 2.5)
            f = (x - 3.1)**2 + (y - 2.2)**2 + (z - x * y / 4)**2
            best = min(best, (f, x, y)) if best else (f, x, y)
    return best


CATALOGUE = """[variables]
x = { start = 3, values = [4, 1, 7, 2.5] }
y = { start = 2, lower = 0, upper = 5.2, step = 0.5 }
z = { start = 1, lower = 0, upper = 9 }
EXTRA
[objective]
minimize = "VALUE"
[constraints]
least = { value = "z", min = 2.5 }
[options]
tolerance = 1e-6
"""
CATALOGUE_FORMULA = "(x - 3.1)^2 + (y - 2.2)^2 + (z - x * y / 4)^2"


class Catalogue(Studies):
    def setUp(self):
        super().setUp()
        self.write("list.sh", CAMEL_SCRIPT[:CAMEL_SCRIPT.index("awk")] + """awk 'BEGIN {
  x = ARGV[1]; y = ARGV[2]; z = ARGV[3]
  printf "f = %.17g\\n", (x - 3.1)^2 + (y - 2.2)^2 + (z - x * y / 4)^2 }' "$@"
""")
        self.formula = self.write("formula.toml", CATALOGUE.replace("EXTRA", "")
                                  .replace("VALUE", CATALOGUE_FORMULA))
        self.command = self.write("list.toml", CATALOGUE.replace("VALUE", "f").replace(
            "EXTRA", CAMEL_COMMAND.replace("camel", "list").replace(
                '"{{y}}"', '"{{y}}", "{{z}}"')))

    def testPressureVesselReachesThePublishedDesign(self):
        result = self.result("solve", EXAMPLES / "pressure_vessel.toml", "-o", self.dir)
        self.assertTrue(result["success"])
        self.assertAlmostEqual(result["objective"]["value"], 6059.714, delta=0.01)
        vessel = {v["name"]: v["value"] for v in result["variables"]}
        self.assertEqual((vessel["shell"], vessel["head"]), (0.8125, 0.4375))
        self.assertTrue(result["catalogue"]["proved"])
        self.assertLess(result["catalogue"]["continuous"], 6059.7)

    def testAgreesWithAllCombinations(self):
        f, x, y = bruteForce()
        for file in self.formula, self.command:
            result = self.result("solve", file, "-j2")
            self.assertAlmostEqual(result["objective"]["value"], f, delta=1e-4)
            self.assertEqual([v["value"] for v in result["variables"][:2]], [x, y])
            self.assertTrue(result["catalogue"]["proved"])
        self.assertIn("no other combination is better", self.call("solve", self.formula))

    def testIsTheSameForAnyNumberOfJobsAndAfterAKill(self):
        one = self.result("solve", self.command)
        self.assertEqual(self.result("solve", self.command, "-j3")["variables"], one["variables"])
        (self.dir / "starts").unlink()
        self.killed("solve", self.command, "--fresh", at=40)
        self.assertEqual(self.result("resume", self.command)["variables"], one["variables"])
        self.assertLessEqual(len(self.starts()) - len(set(self.starts())), 1 + 1 + 2)

    def testBudget(self):
        """What the budget ends is the best found, and in the catalogue; resume goes on."""
        whole = self.result("solve", self.command)
        most = whole["runs"] * 3 // 4
        short = self.result("solve", self.command, "--set", f"options.max_evaluations={most}",
                            code=1)
        self.assertFalse(short["success"])
        if "objective" in short:
            self.assertIn(short["variables"][0]["value"], (1, 2.5, 4, 7))
            self.assertGreaterEqual(short["objective"]["value"], whole["objective"]["value"])
        if "catalogue" in short:
            self.assertFalse(short["catalogue"]["proved"])
            self.assertLessEqual(short["catalogue"]["bound"], whole["objective"]["value"] + 1e-6)
        text = self.call("solve", self.command, "--set", "options.max_evaluations=2", code=1)
        self.assertIn("No design that was measured has finite values inside bounds and", text)
        self.assertNotIn("best design", text)
        more = self.result("resume", self.command, "--set", "options.max_evaluations=100000")
        self.assertEqual(more["variables"], whole["variables"])

    def testMultiplesBeyondTheDigits(self):
        """Of neighbors that are one number a catalogue holds one."""
        file = self.write("far.toml", CATALOGUE.replace("EXTRA", "").replace("VALUE", "x + y + z")
                          .replace("start = 3, values = [4, 1, 7, 2.5]",
                                   "start = 1e18, lower = 1e18, upper = 1.000000000000001e18, "
                                   "step = 1"))
        result = self.result("solve", file)
        self.assertEqual(values(result)["x"], 1e18)

    def testWrongCatalogues(self):
        for old, new, message in (
                ("values = [4, 1, 7, 2.5]", "values = [4, \"x\"]", "not a list of numbers"),
                ("values = [4, 1, 7, 2.5]", "values = []", "not a list of numbers"),
                ("values = [4, 1, 7, 2.5]", "values = [4, 2], step = 1", "either"),
                ("step = 0.5", "step = -1", "'step'"),
                ("step = 0.5", "step = 1e-9", "multiples"),
                ("upper = 5.2, step = 0.5", "upper = 5.2, step = 0.5, values = [9]", "either"),
                ("lower = 0, upper = 5.2, step = 0.5", "lower = 1.2, upper = 2.8, step = 3",
                 "no value of its catalogue")):
            self.write("wrong.toml", self.formula.read_text().replace(old, new))
            run = tarnix("check", self.dir / "wrong.toml")
            self.assertEqual(run.returncode, 2, new)
            self.assertIn(message, run.stderr)


class Probe(Studies):
    def probe(self, awk, *words, code=0):
        self.write("simulator.sh", SIMULATOR[:SIMULATOR.index("awk")] + awk)
        run = tarnix("probe", self.file, "--json", "--quiet", *words)
        self.assertEqual(run.returncode, code, run.stderr + run.stdout)
        return json.loads(run.stdout)

    CLEAN = """awk 'BEGIN { a = ARGV[1]; b = ARGV[2]
      printf "f = %.17g\\ng = %.17g\\n", (a - 1)^2 + (b - 2)^2, a + b }' "$@"\n"""

    def testNoiseAndSteps(self):
        """The noise is the one that was put in, the step 2 sqrt(noise / curvature)."""
        clean = self.probe(self.CLEAN)
        self.assertTrue(clean["repeats"] and clean["repeats_side_by_side"])
        self.assertLess(clean["values"][0]["noise"], 1e-9)
        self.assertLess(clean["variables"][0]["step"], 1e-5)
        # Half ranges are 2: the curvature is 8. A sine that is far faster than the steps.
        for amplitude in 1e-3, 1e-5:
            noisy = self.probe(self.CLEAN.replace("(b - 2)^2,", "(b - 2)^2 + "
                               f"{amplitude} * sin(1e7 * a + 3e7 * b),"), "--fresh")
            noise = amplitude / 2**0.5
            self.assertTrue(0.3 < noisy["values"][0]["noise"] / noise < 3, noisy)
            step = 2 * (noise / 8)**0.5
            self.assertTrue(0.3 < noisy["variables"][0]["step"] / step < 3, noisy)
            self.assertGreaterEqual(noisy["suggested"].get("options.tolerance", 1e-4), amplitude)
        digits = self.probe(self.CLEAN.replace("f = %.17g", "f = %.5f"), "--fresh", "-j2")
        self.assertTrue(1e-6 < digits["values"][0]["noise"] < 3e-5, digits)

    def testSuggestedKeysSolve(self):
        self.probe(self.CLEAN.replace("f = %.17g", "f = %.5f"))
        text = (self.dir / "two.probe.toml").read_text()
        words = next(line for line in text.splitlines() if line.startswith("# tarnix solve"))
        run = subprocess.run([words.replace("# tarnix", PROGRAM, 1) + " --quiet --json"],
                             shell=True, capture_output=True, text=True, env=ENVIRONMENT)
        self.assertEqual(run.returncode, 0, run.stderr + run.stdout)
        self.assertAlmostEqual(json.loads(run.stdout)["objective"]["value"], 0.125, delta=5e-3)

    def testWhatDoesNotRepeatIsReported(self):
        self.probe(self.CLEAN.replace("(b - 2)^2,", "(b - 2)^2 + 1e-3 * ARGV[4],").replace(
            '"$@"', '"$@" "$(od -An -N2 -tu2 /dev/urandom)"'), code=1)
        shared = self.probe('echo $$ > shared; sleep 0.05; read p < shared\n' + self.CLEAN.replace(
            "(b - 2)^2,", "(b - 2)^2 + ARGV[4],").replace('"$@"', '"$@" $((p != $$))'), "--fresh",
            code=1)
        self.assertTrue(shared["repeats"])
        self.assertFalse(shared["repeats_side_by_side"])

    def testRunsAndTimes(self):
        self.write("slow", "0.05")
        self.write("simulator.sh", SIMULATOR)
        result = json.loads(tarnix("probe", self.file, "--json", "-j2").stdout)
        self.assertEqual(result["runs"], 3 + 2 + 2 * 2 * 5)
        history = (self.dir / "two.probe.history.jsonl").read_text()
        verified = history.count('"verifies":')
        self.assertIn(verified, (2, 3, 4))
        self.assertEqual(len(self.starts()), result["runs"] + verified)
        self.assertGreaterEqual(result["seconds"], 0.05)
        times = [e["seconds"] for e in result["estimates"]]
        self.assertGreater(times[0], times[1])
        run = tarnix("probe", EXAMPLES / "welded_beam.toml", "-o", self.dir)
        self.assertEqual(run.returncode, 2)


if __name__ == "__main__":
    unittest.main()
