"""Tests of the program: cli_test.py PROGRAM EXAMPLES [unittest arguments]."""
import collections
import html.parser
import json
import math
import os
import pathlib
import pty
import random
import re
import shutil
import signal
import subprocess
import sys
import tempfile
import time
import unittest

PROGRAM, EXAMPLES = sys.argv.pop(1), pathlib.Path(sys.argv.pop(1))
ENVIRONMENT = dict(os.environ, PATH=os.path.dirname(sys.executable) + ":" + os.environ["PATH"])


def tarnix(*words, **options):
    return subprocess.run(
        [PROGRAM, *map(str, words)],
        capture_output=True,
        text=True,
        timeout=300,
        env=ENVIRONMENT,
        **options,
    )


def lines_with(word, path):
    return [json.loads(line) for line in path.read_text().splitlines() if f'"{word}":' in line]


def designs(history):
    """Of finished evaluations; a torn last line is none, nor is the run that verifies the last."""
    text = history.read_text() if history.exists() else ""
    return [
        tuple(json.loads(line)["x"])
        for line in text.split("\n")[:-1]
        if '"x":' in line and '"verifies"' not in line
    ]


class Case(unittest.TestCase):
    def setUp(self):
        self.scratch = tempfile.TemporaryDirectory()
        self.dir = pathlib.Path(self.scratch.name)
        self.addCleanup(self.scratch.cleanup)

    def write(self, name, text, mode=0o644):
        path = self.dir / name
        path.write_text(text)
        path.chmod(mode)
        return path

    def result(self, *words, code=0):
        run = tarnix(*words, "--json", "--quiet")
        self.assertEqual(run.returncode, code, run.stderr + run.stdout)
        return json.loads(run.stdout)


def values(result, kind="variables"):
    return {entry["name"]: entry["value"] for entry in result[kind]}


# Six variables with a fixed one, active bounds, an equality and an inequality. The script notes
# every start; from the one on that the file "hold" names it waits to be killed.
SIMULATOR = r"""#!/bin/sh
cd "$(dirname "$0")" && echo "$*" >> starts
[ ! -e hold ] || [ $(wc -l < starts) -lt $(cat hold) ] || exec sleep 1000
awk 'BEGIN { for (i = 1; i <= 6; ++i) { x[i] = ARGV[i] + 0
    f += (x[i] - i)^2 * (1 + 0.3 * i) + 0.1 * sin(x[i] * i) }
  printf "f = %.17g\ng = %.17g\nh = %.17g\n", f, x[1] * x[2] + x[3] - 7,
         x[4] + x[5] + x[6] * x[1] - 9 }' "$@"
"""
PROBLEM = """
[variables]
x1 = { start = 1.1, lower = 0.3, upper = 1.7 }
x2 = { start = 2, lower = 0.1, upper = 5.3 }
x3 = { start = 2, lower = 0.1, upper = 2.3 }
x4 = { value = 3.3 }
x5 = { start = 2, lower = 0.1, upper = 3.3 }
x6 = { start = 2, lower = 0.7, upper = 7 }
[command]
run = ["sh", "{{dir}}/simulator.sh", "{{x1}}", "{{x2}}", "{{x3}}", "{{x4}}", "{{x5}}", "{{x6}}"]
[results]
f = { key = "f" }
g = { key = "g" }
h = { key = "h" }
[objective]
minimize = "f"
[constraints]
ineq = { value = "g", max = 0 }
eq = { value = "h", equal = 0 }
"""
ONE = """[variables]
x = { start = 1, lower = 0, upper = 4 }
[command]
run = RUN
EXTRA
[results]
f = { key = "f" }
[objective]
minimize = "(f - 2)^2"
"""


class Examples(Case):
    def solve(self, name, *words):
        result = self.result("solve", "-o", self.dir, EXAMPLES / name, *words)
        self.assertTrue(result["success"] and result["feasible"], result)
        return result

    def testKnownOptima(self):
        beam = self.solve("welded_beam.toml")
        self.assertAlmostEqual(beam["objective"]["value"], 1.724852, delta=1e-3)
        channel = self.solve("channel.toml")
        self.assertAlmostEqual(channel["objective"]["value"], 3 * math.sqrt(3), delta=1e-3)
        self.assertAlmostEqual(values(channel)["slope"], 60, delta=0.5)
        beam = self.solve("cantilever/cantilever.toml", "-j2")
        share = [k ** (1 / 6) for k in (61, 37, 19, 7, 1)]
        tip = (4 * 2000 / 210000 * 200**3 / 5 * sum(s * s for s in share)) ** 0.25
        for side, s in zip(values(beam).values(), share):
            self.assertAlmostEqual(side, tip * s, delta=0.02 * tip * s)
        self.assertAlmostEqual(
            beam["objective"]["value"],
            7.85e-6 * 200 * sum((tip * s) ** 2 for s in share),
            delta=0.01,
        )
        truss = self.solve("truss/truss.toml", "-j2")
        self.assertAlmostEqual(truss["objective"]["value"], 5060.85, delta=3)
        self.assertEqual(sum(v.get("at") == "lower" for v in truss["variables"]), 3)

        class Tags(html.parser.HTMLParser):
            def handle_starttag(self, tag, attributes):
                count[tag] += 1

        for name in ("welded_beam", "truss/truss"):
            run = tarnix("report", "-o", self.dir, EXAMPLES / (name + ".toml"))
            self.assertEqual(run.returncode, 0, run.stderr)
            page = (self.dir / (os.path.basename(name) + ".report.html")).read_text()
            count = collections.Counter()
            Tags().feed(page)
            free = 4 if name == "welded_beam" else 10
            self.assertEqual(count["svg"], 2 + free + (7 if name == "welded_beam" else 14))
            self.assertNotRegex(page, "https?://|<script|<link|<img|nan|inf\\b")
            self.assertIn("Active limits", page)

    def testStarters(self):
        file = self.dir / "new.toml"
        self.assertEqual(tarnix("init", file).returncode, 0)
        shown = tarnix("check", file)
        self.assertRegex(shown.stdout, r"yield +198\.944")
        self.assertAlmostEqual(
            self.result("solve", file)["objective"]["value"], 26.4995, delta=1e-3
        )
        again = tarnix("init", file)
        self.assertEqual(again.returncode, 4, again.stderr)
        command = self.dir / "command.toml"
        self.assertEqual(tarnix("init", "--command", command).returncode, 0)
        self.assertAlmostEqual(
            self.result("solve", "-j2", command)["objective"]["value"], 4.0825, delta=1e-3
        )
        shown = json.loads(tarnix("check", "--json", command).stdout)  # nothing is run
        self.assertEqual((shown["valid"], "objective" in shown), (True, False))
        self.assertEqual(set(values(shown)), {"width", "height"})
        self.write("input.template", "w {{width:%8.3f}} h {{height}}\n")
        self.write(
            "simulator.awk",
            '{ print "mass = " $2 * $4; '
            'printf "largest stress  %.17g MPa\\n", 1e6 / $2 / $4^2 > "output.txt" }',
        )
        shown = tarnix("check", "--run", command)
        self.assertIn("     1 | w   20.000 h 30\n", shown.stdout)
        self.assertRegex(shown.stdout, r"mass +600 +key 'mass' in standard output\n +stress +55\.5")
        self.assertRegex(shown.stdout, r"the run took \S+ s")
        json_check = json.loads(tarnix("check", "--run", "--json", command).stdout)
        self.assertEqual((json_check["valid"], values(json_check, "results")["mass"]), (True, 600))
        changed = self.dir / "changed.toml"
        tarnix(
            "init",
            changed,
            "--set",
            "diameter.upper=9",
            "--set",
            "load=2000",
            "--set",
            "yield.scale=400",
            "--set",
            "options.max_seconds=5",
            "--set",
            "title=A \"short\" one",
        )
        edited = (
            file.read_text()
            .replace("upper = 14", "upper = 9")
            .replace("load     = 2500", "load     = 2000")
        )
        edited = edited.replace('kgf/cm^2" }', 'kgf/cm^2", scale = 400 }').replace(
            "[options]\n", "[options]\nmax_seconds = 5\n"
        )
        self.assertEqual(
            changed.read_text(), edited.replace('"Tubular column"', "'A \"short\" one'")
        )
        self.assertRegex(shown.stdout, r"objective +600 +kg")

    def testOutput(self):
        column = EXAMPLES / "column.toml"
        alone, more = (
            self.result("solve", "-o", self.dir, "--set", f"options.effort={effort}", column)
            for effort in (0, 4)
        )
        self.assertEqual(more["stages"][: len(alone["stages"])], alone["stages"])
        self.assertLess(alone["evaluations"], more["evaluations"])
        run = tarnix("solve", "-o", self.dir, EXAMPLES / "welded_beam.toml")
        self.assertRegex(run.stdout, r"\bcost +1\.724\d+ +\$ +minimized")
        self.assertRegex(run.stdout, r"bar stress +\d+(\.\d+)? +psi +<= 30000, active")
        self.assertRegex(
            run.stderr, r"(?m)^\d\d:\d\d:\d\d  SQP 2  evaluations \d+  cost .*  violation .* s$"
        )
        run = tarnix("solve", "-q", "-o", self.dir, EXAMPLES / "welded_beam.toml")
        self.assertEqual(run.stderr, "")
        readme = pathlib.Path(__file__).parents[1].joinpath("README.md").read_text()
        shown = readme.split("<!-- output of tarnix solve -q examples/welded_beam.toml -->\n```\n")[
            1
        ]
        seconds = r"\d+\.\d s$"
        self.assertEqual(re.sub(seconds, "S", run.stdout, flags=re.M),
                         re.sub(seconds, "S", shown.split("```")[0], flags=re.M))
        main, terminal = pty.openpty()
        subprocess.run(
            [PROGRAM, "solve", "-o", self.dir, EXAMPLES / "cantilever/cantilever.toml"],
            stderr=terminal,
            stdout=subprocess.DEVNULL,
            check=True,
            env=ENVIRONMENT,
        )
        shown = os.read(main, 100000).decode()
        self.assertNotIn(" 0.0 s a run", shown)
        self.assertRegex(shown, r"^(\r\x1b\[K\w[^\n]*evaluations \d+[^\n]*)+\r\x1b\[K$")


class Parallel(Case):
    def testSameBitsAndNothingTwice(self):
        """Any number of jobs: the same runs in the history, the same bits at the end."""
        self.write("simulator.sh", SIMULATOR)
        for method, differences, inside in [
            ("sqp", "forward", "false"),
            ("sqp", "central", "true"),
            ("grg", "forward", "false"),
            ("grg", "central", "true"),
        ]:
            with self.subTest(method=method, differences=differences, inside=inside):
                file = self.write(
                    "p.toml",
                    PROBLEM
                    + f"""[options]
                    method = "{method}"\ndifferences = "{differences}"
                    inside_bounds = {inside}\n""",
                )
                seen = []
                for jobs in (1, 3):
                    (self.dir / "starts").write_text("")
                    result = self.result("solve", "--fresh", "-j", jobs, file)
                    starts = (self.dir / "starts").read_text().splitlines()
                    # One verifies the final design, two more what ran side by side.
                    self.assertEqual(len(starts) - len(set(starts)), 1 if jobs == 1 else 3)
                    records = [
                        json.loads(line)
                        for line in (self.dir / "p.history.jsonl").read_text().splitlines()
                        if '"r":' in line and "verifies" not in line
                    ]
                    self.assertEqual(result["runs"], len(records))
                    seen.append((values(result), {r["run"]: (r["x"], r["r"]) for r in records}))
                self.assertEqual(seen[0], seen[1])
                if inside == "true":
                    x2 = [x[1] for x in designs(self.dir / "p.history.jsonl")]
                    self.assertTrue(0.1 <= min(x2) and max(x2) <= 5.3)


class Kill(Case):
    def start(self, *words):
        return subprocess.Popen(
            [PROGRAM, *map(str, words)],
            stdout=subprocess.PIPE,
            stderr=subprocess.PIPE,
            text=True,
            env=ENVIRONMENT,
        )

    def testKillAtRandomEvents(self):
        """Killed when so many runs were started, with that many jobs; no clock decides."""
        self.write("simulator.sh", SIMULATOR)
        file = self.write("p.toml", PROBLEM)
        history, starts = self.dir / "p.history.jsonl", self.dir / "starts"
        whole = self.result("solve", file)
        final = tuple(values(whole).values())
        events = random.Random(7)

        def begun():
            return len(starts.read_text().splitlines())

        for jobs in (1, 2, 3):
            for old in self.dir.glob("p.history*"):
                old.unlink()
            starts.write_text("")
            kills = lost = 0
            again = set()
            begin = ["solve"]
            while True:
                known, earlier = designs(history), begun()
                hold = earlier + jobs + events.randint(1, 6)  # gets on by one to six evaluations
                self.write("hold", str(hold))
                process = self.start(*begin, "--json", "-q", "-j", jobs, file)
                begin = ["resume"]
                while process.poll() is None and begun() < hold:
                    time.sleep(0.002)
                process.kill()
                output, errors = process.communicate()  # the guard has gone, and with it all runs
                killed = process.returncode == -signal.SIGKILL
                kills += killed
                if killed and kills % 3 == 0:
                    os.truncate(history, history.stat().st_size - events.randint(1, 30))
                    lost += 1  # at most one line, which may be the note of a directory
                new = [
                    tuple(map(float, s.split())) for s in starts.read_text().splitlines()[earlier:]
                ]
                again |= set(known) & set(new)
                if not killed:
                    self.assertEqual(process.returncode, 0, output + errors)
                    break
            self.assertGreater(kills, 3)
            # The final design, and up to two pairs of those that were side by side.
            verified = {tuple(r["x"]) for r in lines_with("verifies", history)}
            self.assertLessEqual(again, verified, "a finished run was repeated")
            self.assertLessEqual(verified - {final}, set(designs(history)))
            self.assertLessEqual(len(verified), 1 if jobs == 1 else 5)
            last = json.loads(output)
            for kind in ("variables", "constraints"):
                self.assertEqual(last[kind], whole[kind])
            self.assertEqual(last["objective"], whole["objective"])
            self.assertLessEqual(len(list((self.dir / "p.runs").iterdir())), lost)
            shutil.rmtree(self.dir / "p.runs")
            self.assertTrue((self.dir / "p.best" / "stdout.txt").exists())
            for old in self.dir.glob("p*.best"):
                shutil.rmtree(old)

    def testSignalsAndOrphans(self):
        """A simulator with a child of its own; nothing of it outlives the program."""
        mark = f"3{random.randrange(10**8)}"
        file = self.write(
            "p.toml",
            ONE.replace("EXTRA", "")
            .replace(
                "RUN",
                f'"echo f = {{{{x}}}}; [ $(ls .. | wc -l) -lt 4 ] || '
                f'{{ sleep {mark} & sleep {mark}; }}"',
            )
            .replace("[results]", 'keep = "all"\n[results]'),
        )

        def sleepers():
            found = []
            for path in pathlib.Path("/proc").glob("[0-9]*/cmdline"):
                try:
                    found += [path] if mark.encode() in path.read_bytes().split(b"\0") else []
                except OSError:
                    pass
            return len(found)

        def wait(count):
            until = time.time() + 100  # only a failing test gets there
            while sleepers() != count and time.time() < until:
                time.sleep(0.01)
            self.assertEqual(sleepers(), count)

        command = "solve"
        for number, name in (
            (signal.SIGINT, "Interrupt"),
            (signal.SIGTERM, "Terminated"),
            (signal.SIGUSR1, "User defined signal 1"),
            (signal.SIGKILL, None),
        ):
            process = self.start(command, file)
            command = "resume"
            wait(2)
            second = tarnix("solve", "--fresh", file)
            self.assertEqual(second.returncode, 4)
            self.assertIn("another solve is writing to it", second.stderr)
            process.send_signal(number)
            output, _ = process.communicate(timeout=100)
            wait(0)
            self.assertEqual(process.returncode, -9 if name is None else 128 + number)
            if name:
                self.assertIn(f"(interrupted: {name})", output)
                self.assertRegex(output, r"objective +\S+ +minimized")
            history = self.dir / "p.history.jsonl"
            self.assertEqual(history.read_text()[-1], "\n")
            self.assertEqual(len(designs(history)), 3)


class Truth(Case):
    """Nothing is shown that was not measured."""

    def quadratic(self, script, run='["sh", "{{dir}}/sim.sh", "{{x}}", "{{y}}"]', extra=""):
        self.write("sim.sh", script)
        return self.write(
            "p.toml",
            f"""[variables]
x = {{ start = 3, lower = 0, upper = 5 }}
y = {{ start = 3, lower = 0, upper = 5 }}
[command]
run = {run}
{extra}
[results]
f = {{ key = "f" }}
[objective]
minimize = "f"
""",
        )

    def testPenaltiesAreNoValues(self):
        # The best design of the box lies where the command fails.
        file = self.quadratic(
            "awk -v x=$1 -v y=$2 'BEGIN { if (x < 1) exit 1; print \"f = \" x + y^2 }'",
            extra='on_failure = "penalty"',
        )
        run = tarnix("solve", "-q", "--json", file)
        self.assertIn(run.returncode, (0, 1), run.stderr)
        result = json.loads(run.stdout)
        self.assertLess(result["objective"]["value"], 12)
        self.assertGreater(result["failed"], 0)
        self.assertIn("exit status 1", result["last_failure"])
        self.assertLess(max(stage["evaluations"] for stage in result["stages"]), 1000)
        shown = tarnix("resume", file)
        self.assertRegex(shown.stdout, r"x +1\.?\d* ")
        self.assertNotRegex(shown.stdout + shown.stderr, r"1e\+06")
        # A start that fails ends the solve at once; what has failed is run again on request only.
        file = self.quadratic(
            "[ -e ${0%/*}/license ] && echo f = $1", extra='on_failure = "penalty"'
        )
        run = tarnix("solve", "--fresh", file)
        self.assertEqual(
            (run.returncode, len(designs(self.dir / "p.history.jsonl"))), (3, 1), run.stderr
        )
        self.assertIn("the start cannot be evaluated: run 000001", run.stderr)
        self.write("license", "")
        self.assertEqual(tarnix("resume", file).returncode, 3)
        self.assertEqual(tarnix("resume", "--retry-failed", file).returncode, 0)

    def testRunsThatDisturbEachOther(self):
        file = self.quadratic(
            "awk -v x=$1 -v y=$2 'BEGIN { print \"f = \" (x - 2)^2 + (y - 1)^2 + 1 }'"
        )
        whole = self.result("solve", "-j2", file)
        self.assertTrue(whole["verification"]["same"], whole)
        self.assertTrue((self.dir / "p.best/stdout.txt").exists())
        self.assertAlmostEqual(whole["objective"]["value"], 1, delta=1e-3)
        # A counter that all runs share: no run gives twice what it gave.
        drift = (
            "d=${0%/*}; echo >> $d/n; awk -v x=$1 -v n=$(wc -l < $d/n) "
            "'BEGIN { print \"f = \" (x - 2)^2 + n / 10 }'"
        )
        # The method stands still, at no stationary point: no success before the final run either.
        result = self.result("solve", "--fresh", self.quadratic(drift), code=1)
        self.assertFalse(result["success"])
        self.assertRegex(result["verification"]["text"], "result 'f' was .* in run .* and is now")
        # Whoever sees another run beside itself gives another value; who does not waits for one.
        meet = """n=0; while [ $(ls .. | wc -l) = 1 ] && [ $n -lt 200 ]
            do n=$((n + 1)); sleep 0.01; done
            awk -v x=$1 -v y=$2 -v others=$(ls .. | wc -l) \\
              'BEGIN { print "f = " (x - 2)^2 + (y - 1)^2 + others }'"""
        file = self.quadratic(meet, extra='keep = "none"')
        file.write_text(file.read_text() + "[options]\nmax_evaluations = 3\n")
        run = tarnix("solve", "-q", "--fresh", "-j2", file)
        self.assertEqual(run.returncode, 1, run.stdout)
        self.assertIn("side by side", run.stdout)

    def testRunsThatDisturbGradientsOnly(self):
        """Runs in the middle take another's design; what is repeated at the end agrees."""
        script = r"""cd "${0%/*}"; echo >> starts; n=$(wc -l < starts)
            if [ $n -gt FIRST ] && [ $n -lt LAST ]; then
              echo "$1 $2" > last; sleep 0.4; set -- $(cat last)
            fi
            awk -v x=$1 -v y=$2 'BEGIN { printf "f = %.17g\n", (x - 2)^2 + 2*(y - 1)^2 + 1 }'"""
        for method, first, last in ("automatic", 2, 8), ("sqp", 1, 4), ("grg", 1, 4):
            with self.subTest(method=method):
                (self.dir / "starts").unlink(missing_ok=True)
                file = self.quadratic(
                    script.replace("FIRST", str(first)).replace("LAST", str(last)),
                    extra='keep = "none"',
                )
                file.write_text(file.read_text() + f'[options]\nmethod = "{method}"\n')
                run = tarnix("solve", "-q", "--fresh", "-j2", file)
                self.assertEqual(run.returncode, 1, run.stdout)
                self.assertIn("runs side by side disturb each other", run.stdout)

    def testWhatHasChangedIsNamed(self):
        file = self.quadratic("echo f = $1", extra='templates = [{ from = "in.t", to = "in" }]')
        self.write("in.t", "{{x}}\n")
        file = self.write(
            "p.toml", file.read_text().replace("[results]", "files = [\"data\"]\n[results]")
        )
        self.write("data", "1")
        self.assertEqual(tarnix("solve", file).returncode, 0)
        for change, part in [
            (lambda: self.write("sim.sh", "echo f = $2"), "program 'sim.sh'"),
            (lambda: self.write("in.t", "{{y}}"), "template 'in.t'"),
            (lambda: self.write("data", "2"), "file 'data'"),
            (lambda: self.write("p.toml", file.read_text().replace('"{{x}}"', '"{{y}}"')), "run"),
        ]:
            before = {path: path.read_text() for path in self.dir.iterdir() if path.is_file()}
            change()
            run = tarnix("resume", file)
            self.assertEqual(run.returncode, 4)
            self.assertRegex(run.stderr, f"Changed: {part}\\. Put that back")
            for path, text in before.items():
                path.write_text(text)
        self.assertEqual(tarnix("resume", file).returncode, 0)
        (self.dir / "p.history.jsonl").unlink()
        run = tarnix("resume", file)
        self.assertEqual(run.returncode, 4)
        self.assertIn("no history to continue from", run.stderr)

    def testLeastViolatedDesign(self):
        """Limits that contradict each other: no measured design is violated less."""
        file = self.write(
            "q.toml",
            """[variables]
x = { start = 3, lower = 0, upper = 10 }
[objective]
minimize = "x"
[constraints]
a = { value = "x", min = 6 }
b = { value = "x", max = 4 }
c = { value = "(x - 5)^2", min = 1 }
""",
        )
        for method in ("sqp", "grg", "automatic"):
            result = self.result("solve", "--set", f"options.method={method}", file, code=1)
            least = min(
                max((6 - x) / 6, (x - 4) / 4, 1 - (x - 5) ** 2)
                for x, in designs(self.dir / "q.history.jsonl")
                if 0 <= x <= 10
            )
            self.assertAlmostEqual(result["violation"], least, delta=1e-12)
            self.assertEqual((result["success"], result["feasible"]), (False, False))

    def testStandstillIsNoSuccess(self):
        """w / (h - 1) >= 2 breaks off at h = 1: what stands still before that is no optimum."""
        for start in (1, 1.5, 3):
            file = self.write(
                "q.toml",
                f"""[variables]
w = {{ start = 3, lower = 0, upper = 10 }}
h = {{ start = {start}, lower = 0, upper = 5 }}
[objective]
minimize = "w + 3 * h"
[constraints]
r = {{ value = "w / (h - 1)", min = 2 }}
""",
            )
            run = tarnix("solve", "-q", "--json", file)
            result = json.loads(run.stdout)
            if result["success"]:  # at a stationary point: an active limit holds it
                self.assertTrue(any(c["active"] for c in result["constraints"]), result)

    def testTheFirstRunTakesTimeToo(self):
        file = self.quadratic("sleep 0.3; echo f = $1")
        file.write_text(file.read_text() + "[options]\nmax_seconds = 0.2\n")
        result = self.result("solve", file, code=1)
        self.assertEqual((result["reason"], result["runs"]), ("limit of max_seconds", 1))

    def testAdviceNamesKeysOfTheFile(self):
        text = PLAIN.replace("(x - 2)^2", "(x - 2)^4 * 1e7")
        result = self.result(
            "solve",
            self.write("q.toml", text + '[options]\nmethod = "sqp"\nmax_iterations = 2\n'),
            code=1,
        )
        self.assertIn(
            "Raise max_iterations in [options], or continue from here with "
            "'tarnix solve --start best'",
            result["advice"],
        )
        result = self.result(
            "solve",
            self.write(
                "q.toml",
                PLAIN.replace("x + y", "sqrt(x - 4) + y").replace("start = 1", "start = 4")
                + '[options]\nmethod = "sqp"\n',
            ),
            code=1,
        )
        self.assertIn("'c' was not finite", result["advice"])
        self.assertRegex(result["advice"], "inside_bounds = true|Narrow the bounds")

    def testValuesWithFewDigits(self):
        """What is given or printed with few digits moves by steps, which are no slopes of zero."""
        awk = (
            "awk -v \"x=$(head -1 in)\" -v \"y=$(tail -1 in)\" "
            "'BEGIN { printf \"f = FORMAT\\n\", 1 + (x - 2)^2 + (y - 1)^2 + x * y / 5 }'"
        )
        for given, printed in (
            ("%12.5E", "%.17g"),
            ("%8.3f", "%.17g"),
            ("", "%.5g"),
            ("%.4f", "%.6g"),
            ("%.6f", "%.17g"),
            ("", "%.3f"),
        ):
            for method in ("automatic", "sqp"):
                with self.subTest(given=given, printed=printed, method=method):
                    colon = ":" if given else ""
                    self.write("in.t", f"{{{{x{colon}{given}}}}}\n{{{{y{colon}{given}}}}}\n")
                    file = self.quadratic(
                        awk.replace("FORMAT", printed),
                        extra='templates = [{ from = "in.t", to = "in" }]',
                    )
                    text = file.read_text().replace(
                        '"sh", "{{dir}}/sim.sh", "{{x}}", "{{y}}"', '"sh", "{{dir}}/sim.sh"'
                    )
                    file.write_text(text + f'[options]\nmethod = "{method}"\n')
                    run = tarnix("solve", "-q", "--fresh", "--json", file)
                    result = json.loads(run.stdout)
                    # The least value is 1.3535; where the method says success, it is there.
                    if result["success"] or method == "automatic":
                        self.assertAlmostEqual(result["objective"]["value"], 1.35354, delta=2e-3)
                    if method == "automatic":
                        self.assertTrue(result["success"], result)
                        self.assertLess(1e-6, result["difference_step"])

    def testWhatTheCommandWritesIsNoPartOfIt(self):
        file = self.write(
            "p.toml",
            ONE.replace("RUN", json.dumps("echo {{x}} >> {{dir}}/log; echo f = {{x}}")).replace(
                "EXTRA", ""
            ),
        )
        self.assertEqual(tarnix("solve", file).returncode, 0)
        self.assertEqual(tarnix("resume", file).returncode, 0)

    def testConflictsAreNamed(self):
        file = self.write(
            "q.toml", PLAIN + 'd = { value = "q", max = 0.5 }\ne = { value = "x - y", max = 9 }\n'
        )
        result = self.result("solve", file, code=1)
        self.assertEqual(sorted(result["conflict"]["constraints"]), ["c", "d"])
        self.assertTrue(result["conflict"]["minimal"])
        self.assertFalse([c for c in result["constraints"] if "per_percent" in c])
        self.assertRegex(
            tarnix("solve", "-q", file).stdout, "'c', 'd' contradict each\\s+other within"
        )

    def testLimitsCountRuns(self):
        file = self.quadratic("echo f = $1", extra="")
        file.write_text(file.read_text() + "[options]\nmax_evaluations = 4\n")
        result = self.result("solve", "-j3", file, code=1)
        self.assertEqual(result["reason"], "limit of max_evaluations")
        self.assertEqual(len(designs(self.dir / "p.history.jsonl")), 4)
        self.assertGreaterEqual(len(lines_with("verifies", self.dir / "p.history.jsonl")), 1)


class Signals(Case):
    def one(self, run, extra=""):
        return self.write("p.toml", ONE.replace("RUN", json.dumps(run)).replace("EXTRA", extra))

    def begin(self, *words, **options):
        return subprocess.Popen(
            [PROGRAM, *map(str, words)],
            stdout=subprocess.PIPE,
            stderr=subprocess.PIPE,
            text=True,
            env=ENVIRONMENT,
            **options,
        )

    def wait_for(self, path, process):
        while not path.exists() and process.poll() is None:
            time.sleep(0.005)
        self.assertIsNone(process.poll(), "ended before")

    def testIgnoredSignalsStayIgnored(self):
        """As under nohup: the signal passes, and the solve comes to its end."""

        def ignore():
            signal.signal(signal.SIGHUP, signal.SIG_IGN)

        file = self.one(
            "d={{dir}}; touch $d/begun; while [ ! -e $d/go ]; do sleep 0.01; done; echo f = {{x}}"
        )
        process = self.begin("solve", "-q", file, preexec_fn=ignore)
        self.wait_for(self.dir / "begun", process)
        process.send_signal(signal.SIGHUP)
        self.write("go", "")
        output, errors = process.communicate(timeout=200)
        self.assertEqual(process.returncode, 0, errors)

    def testTheWholeTreeEndsAfterItsGrace(self):
        """A rank with a session of its own, and one that saves its state when asked to end."""
        mark = f"4{random.randrange(10**8)}"
        script = (
            f"d={{{{dir}}}}; trap 'echo saved > $d/saved; exit 1' TERM; setsid sleep {mark} & "
            f"(setsid sleep {mark} &); touch $d/begun; echo f = {{{{x}}}}; "
            "while :; do sleep 0.01; done"
        )

        def sleepers():
            return subprocess.run(["pgrep", "-f", f"sleep {mark}$"], capture_output=True).stdout

        for number in (signal.SIGTERM, signal.SIGKILL):
            for old in ("saved", "begun"):
                (self.dir / old).unlink(missing_ok=True)
            process = self.begin("solve", "--fresh", self.one(script))
            self.wait_for(self.dir / "begun", process)
            process.send_signal(number)
            process.communicate(timeout=200)
            until = time.time() + 100
            while sleepers() and time.time() < until:
                time.sleep(0.01)
            self.assertEqual(sleepers(), b"")
            self.assertEqual((self.dir / "saved").exists(), number == signal.SIGTERM)
        # At a run's own end too what it has left behind goes, with no environment to know it by.
        for leave in ("setsid", "env -i setsid", "env -i setsid env -i setsid"):
            for jobs in (1, 2):
                file = self.one(f"{leave} sleep {mark} & echo f = {{{{x}}}}")
                self.assertEqual(tarnix("solve", "--fresh", "-j", jobs, file).returncode, 0)
                self.assertEqual(sleepers(), b"", leave)

    def testClosedAndFullStreams(self):
        file = self.one("echo f = {{x}}")
        run = subprocess.run(
            [PROGRAM, "solve", file],
            stdout=subprocess.PIPE,
            env=ENVIRONMENT,
            preexec_fn=lambda: os.close(2),
        )
        self.assertEqual(run.returncode, 0)
        reader, writer = os.pipe()
        os.close(reader)  # as with "tarnix solve 2>&1 | head -1"
        run = subprocess.run(
            [PROGRAM, "solve", file], stdout=subprocess.PIPE, stderr=writer, env=ENVIRONMENT
        )
        os.close(writer)
        self.assertEqual(run.returncode, 0)
        with open("/dev/full", "w") as full:
            run = subprocess.run(
                [PROGRAM, "solve", "-q", file], stdout=full, stderr=subprocess.PIPE, env=ENVIRONMENT
            )
        self.assertEqual(run.returncode, 4)
        self.assertIn(b"standard output cannot be written", run.stderr)


class Attack(Case):
    """What a hostile file, simulator or neighbor may try."""

    def one(self, run, extra=""):
        return self.write("p.toml", ONE.replace("RUN", json.dumps(run)).replace("EXTRA", extra))

    def testOnlyOwnDirectoriesAreRemoved(self):
        file = self.one("echo f = {{x}}", 'keep = "all"')
        mine = self.dir / "p.runs" / "000001"
        mine.mkdir(parents=True)
        (mine / "thesis").write_text("a year of work")
        (self.dir / "p.runs" / "20240101").mkdir()
        (self.dir / "p.best").mkdir()
        (self.dir / "p.best" / "photo").write_text("x")
        self.assertEqual(tarnix("solve", file).returncode, 0)
        self.assertEqual(tarnix("resume", file).returncode, 0)
        self.assertEqual(tarnix("solve", file).returncode, 0)
        self.assertEqual(len(list(self.dir.glob("p*.runs/000001/thesis"))), 1)
        self.assertEqual(len(list(self.dir.glob("p*.runs/20240101"))), 1)
        self.assertEqual(len(list(self.dir.glob("p*.best/photo"))), 1)

    def testEndlessOutput(self):
        file = self.one("yes {{x}}", "output_limit = 1\nkill_grace = 1")
        run = tarnix("solve", file)
        self.assertEqual(run.returncode, 3)
        self.assertIn("it wrote more than output_limit allows, 1 MB", run.stderr)

    def testEndlessFilesAndDeepJson(self):
        file = self.one("cat /dev/zero > out; # {{x}}", "output_limit = 1\nkill_grace = 0")
        file.write_text(file.read_text().replace('key = "f"', 'key = "f", file = "out"'))
        self.assertIn("more than output_limit allows, 1 MB", tarnix("run", file).stderr)
        self.write("deep", "[" * 1000000 + "]" * 1000000)
        file = self.one("cat {{dir}}/deep; # {{x}}")
        file.write_text(file.read_text().replace('key = "f"', 'json = "/0"'))
        run = tarnix("run", file)
        self.assertEqual(run.returncode, 3, run.stderr)
        self.assertIn("is not a number", run.stderr)

    def testRunsInALinkedPlaceStayThere(self):
        disk = self.dir / "disk"
        disk.mkdir()
        (self.dir / "p.runs").symlink_to(disk)
        for command in ("solve", "solve", "doe"):
            self.assertEqual(tarnix(command, "--fresh", self.one("echo f = {{x}}")).returncode, 0)
            self.assertTrue((self.dir / "p.runs").is_symlink())

    def testScriptsThatDoNotStart(self):
        for text, hint in (
            ("echo f = $1\n", "a script begins with a line such as #!/bin/sh"),
            ("#!/no/such\n", "names a program that is not there: #!/no/such"),
            ("#!/bin/sh\r\necho\r\n", "dos2unix"),
        ):
            self.write("sim", text, 0o755)
            self.assertIn(hint, tarnix("run", self.one(["./sim", "{{x}}"])).stderr)

    def testDirectoryNamesRunNothing(self):
        place = self.dir / "d; touch X #"
        place.mkdir()
        (place / "sim.sh").write_text("echo f = $1")
        for run in (
            "sh {{dir}}/sim.sh {{x}}",
            'sh "{{dir}}/sim.sh" {{x}}',
            "sh '{{dir}}/sim.sh' {{x}}",
        ):
            file = place / "p.toml"
            file.write_text(ONE.replace("RUN", json.dumps(run)).replace("EXTRA", 'keep = "all"'))
            ended = tarnix("solve", "--fresh", file)
            self.assertEqual(ended.returncode, 0, ended.stderr)
        self.assertEqual(list(self.dir.rglob("X")), [])

    def testNothingEscapesToTheTerminal(self):
        file = self.write(
            "p.toml",
            """title = "\\u001b]0;owned\\u0007 \\u009b31m \\u202egnp"
[variables]
x = { start = 1, lower = 0, upper = 4, unit = "\\u001b[2J" }
[objective]
minimize = "(x - 2)^2"
name = "\\u001b[31mcost"
""",
        )
        for words in (["check"], ["solve"], ["solve", "--json"], ["report"]):
            run = tarnix(*words, file)
            self.assertEqual(run.returncode, 0, run.stderr)
            self.assertNotRegex(run.stdout + run.stderr, "[\x00-\x08\x0b-\x1f\x7f-\x9f\u202e]")
        for text in ('"\\u001b[2J" = 1', 'minimize = "\x9b"'):
            run = tarnix("check", self.write("q.toml", text))
            self.assertNotRegex(run.stderr, "[\x00-\x08\x0b-\x1f\x7f-\x9f\u202e]")

    def testHugeFiles(self):
        run = tarnix("check", self.write("p.toml", ".".join("a" * 50000) + " = 1\n"))
        self.assertEqual(run.returncode, 2, run.stderr[:200])
        self.assertIn("p.toml:1: syntax: a key of too many parts", run.stderr)
        run = tarnix("check", self.write("p.toml", PLAIN.replace("x + y", "x + " * 250000 + "yy")))
        self.assertEqual(run.returncode, 2)
        self.assertLess(len(run.stderr), 1000)
        self.assertIn("p.toml:5: quantity 'q': ", run.stderr)

    def testPathsAreComparedAsPaths(self):
        self.write("in.t", "{{x}}")
        for names in (["a", "./a"], ["b/c", "b//c"], ["b", "b/c"], ["./stdout.txt"], ["."], ["a/"]):
            templates = ", ".join(f'{{ from = "in.t", to = "{name}" }}' for name in names)
            run = tarnix("check", self.one("echo f = 1", f"templates = [{templates}]"))
            self.assertEqual(run.returncode, 2, names)
            self.assertRegex(run.stderr, "cannot both be files|names no file")


class OutOfMemory(Case):
    """Failing allocations, one at a time, end in a message, but for those libraries swallow."""

    def sample(self, file, step):
        hook = os.environ.get("TARNIX_FAILING_NEW")
        if not hook:
            self.skipTest("no hook for allocations in this build")

        def run(**more):
            for old in self.dir.glob("*.history*"):
                old.unlink()
            return subprocess.run(
                [PROGRAM, "solve", "-q", "-o", self.dir, file],
                text=True,
                capture_output=True,
                timeout=100,
                env=dict(ENVIRONMENT, LD_PRELOAD=hook, **more),
            )

        def table(text):
            return re.sub(r"[\d.]+ s\n|.* storage exceeded.*\n", "", text)

        whole = run(TARNIX_COUNT_TO=str(self.dir / "count"))
        codes = collections.Counter()
        for at in range(2, int((self.dir / "count").read_text()), step):
            ended = run(TARNIX_FAIL_AT=str(at))
            code = ended.returncode
            codes[code] += 1
            if code == 5:
                self.assertIn("error: out of memory", ended.stderr)
            elif code == whole.returncode:
                self.assertEqual(table(ended.stdout), table(whole.stdout), at)
            else:
                self.assertRegex(ended.stderr, "^error: ", at)
        count = sum(codes.values())
        self.assertGreater(count, 40)
        self.assertGreater(codes[5], 0.9 * count, codes)

    def testExpressions(self):
        self.sample(EXAMPLES / "welded_beam.toml", 97)

    def testCommand(self):
        text = ONE.replace("RUN", json.dumps("echo f = {{x}}")).replace(
            "EXTRA", 'timeout = 50\nfiles = ["d"]'
        )
        self.write("d", "")
        self.sample(self.write("p.toml", text + "[options]\nmax_evaluations = 2\n"), 41)


class Failures(Case):
    def one(self, run, extra=""):
        return self.write("p.toml", ONE.replace("RUN", json.dumps(run)).replace("EXTRA", extra))

    def testNoPriceFromPenalties(self):
        """Of a limit that has one, found by differences where the runs fail or do not."""
        for away, known in ((0.01, False), (0.3, True)):
            run = (f"awk 'BEGIN {{ d = {{{{y}}}} - 1; if (d < -{away} || d > {away}) exit 1; "
                   "printf \"f = %.17g\", {{x}} }'")
            file = self.one(run, 'on_failure = "penalty"\npenalty = 1e-3')
            file.write_text(
                file.read_text().replace("start = 1", "start = 3").replace("(f - 2)^2", "-f")
                .replace("[command]", "y = { start = 1, lower = 0, upper = 4 }\n[command]")
                + '\n[constraints]\nc = { value = "x", max = 3 }\n'
                + "[options]\ndifference_step = 0.1\n")
            result = self.result("solve", "--fresh", file, code=0 if known else 1)
            [limit] = result["constraints"]
            self.assertTrue(limit["active"], result)
            self.assertEqual("multiplier" in limit, known, result)

    def testPolicies(self):
        # Fails at the first attempt of every design.
        flaky = "f={{dir}}/tried_{{x}}; [ -e $f ] || { touch $f; exit 1; }; echo f = {{x}}"
        result = self.result("solve", self.one(flaky, 'on_failure = "retry"'))
        self.assertAlmostEqual(values(result)["x"], 2, delta=0.05)
        self.assertEqual(result["runs"], 2 * len(designs(self.dir / "p.history.jsonl")))
        # Beyond 3 there are no values: the penalty keeps the search away. It makes a cliff, at
        # which a method stalls: no stationary point, no success.
        partial = "awk 'BEGIN { x = {{x}}; if (x > 3) exit 1; print \"f = \" x - 1.2 }'"
        file = self.one(partial, 'on_failure = "penalty"\npenalty = 100')
        result = self.result("solve", file, code=1)
        self.assertLess(values(result)["x"], 3.3)
        # A failure that stops: the user removes the cause, the solve continues where it was.
        license = self.write("license", "")
        self.write(
            "sim.sh",
            '#!/bin/sh\ncd ${0%/*}; [ -e license ] || [ $(ls p.runs | wc -l) -lt 3 ] '
            '|| exit 9\necho f = $1',
            0o755,
        )
        file = self.one(["./sim.sh", "{{x}}"], 'keep = "all"')
        license.unlink()
        # The step of the difference lies beyond the bound: better, and yet no design.
        file.write_text(
            file.read_text().replace("start = 1", "start = 4").replace("(f - 2)^2", "-f")
        )
        run = tarnix("solve", "--fresh", file)
        self.assertEqual(run.returncode, 3)
        self.assertRegex(
            run.stderr, r"error: run 000003: the command ended with exit status 9; see .*000003\n"
        )
        self.assertRegex(run.stdout, "an evaluation failed[^$]*Below the best design so far")
        self.assertRegex(run.stdout, r"x +4 +in 0 .. 4, at its upper bound")
        license.touch()
        self.assertEqual(self.result("resume", file)["replayed"], 2)
        again = self.result("resume", file)
        self.assertEqual((again["runs"], again["success"]), (0, True))

    def testRuns(self):
        """Whatever goes wrong with a run or a file ends in its message, and nothing is lost."""
        for run, extra, code, message in [
            (
                "exit 3; # {{x}}",
                "",
                3,
                "run 000001: the command ended with exit status 3; see .*000001",
            ),
            (
                "echo at {{x}} >&2; echo mesh is bad >&2; exit 1",
                "",
                3,
                "exit status 1; see .*p.runs/000001/stderr.txt, which ends with\n"
                "    \\| at 1\n    \\| mesh is bad",
            ),
            (
                "echo mesh is bad {{x}} >&2; exit 1",
                'keep = "none"',
                3,
                "exit status 1; its standard error, which ends with\n    \\| mesh is bad 1",
            ),
            ("kill -SEGV $$; # {{x}}", "", 3, r"killed by signal 11 \(Segmentation fault\)"),
            ("sleep 60; # {{x}}", "timeout = 0.2", 3, "ended after its timeout of 0.2 s"),
            ("exit 1; # {{x}}", 'on_failure = "retry"\nretries = 3', 3, r"\(attempt 4\)"),
            (": {{x}}", "", 3, "standard output is empty: no result 'f'"),
            ("echo g = {{x}}", "", 3, "no line 'f = ...' in standard output"),
            ("echo f = garbage {{x}}", "", 3, "'garbage 1' in standard output is not a number"),
            ("echo f = 1,5 {{x}}", "", 3, "'1,5 1' in standard output has a decimal comma"),
            ("echo f = nan {{x}}", "", 3, "result 'f' is not finite: 'nan 1'"),
            ("printf 'f = \\377\\033[2J' {{x}}", "", 3, r"'\?\?\[2J' in standard output"),
        ]:
            with self.subTest(message=message):
                ended = tarnix("solve", "--fresh", self.one(run, extra), cwd=self.dir)
                self.assertEqual(ended.returncode, code, ended.stderr)
                self.assertRegex(ended.stderr, message)
                self.assertEqual(len(lines_with("failed", self.dir / "p.history.jsonl")), 1)
        file = self.write(
            "p.toml",
            ONE.replace("RUN", '["true", "{{x}}"]')
            .replace("EXTRA", "")
            .replace('key = "f"', 'key = "f", file = "out.txt"'),
        )
        self.assertRegex(tarnix("solve", file).stderr, "no file 'out.txt' was written")
        file = self.one("head -c 3000000 /dev/zero | tr '\\0' x; # {{x}}")  # one line
        file.write_text(file.read_text().replace('key = "f"', "regex = '(.*)y'"))
        self.assertRegex(tarnix("solve", file).stderr, r"regex '\(\.\*\)y' matches nothing in")

        file = self.one("echo f = {{x}}")
        history = self.dir / "p.history.jsonl"
        self.assertRegex(tarnix("solve", "-o", file, file).stderr, "p.toml: cannot be made")
        tarnix("solve", file)
        good = history.read_text()
        for text, words, message in [
            (good.split('{"end"')[0], ["solve"], "an earlier solve did not come to its end"),
            (good.replace('"f":', '"f" ', 1), ["resume"], "p.history.jsonl:4: damaged line"),
            (good.replace('"x":[', '"x":[7,', 1), ["resume"], "p.history.jsonl:4: damaged line"),
            (good.replace('"s":0.', '"s":1.', 1), ["report"], "p.history.jsonl:4: damaged line"),
            (good.replace("{", "", 1), ["resume"], "p.history.jsonl:1: damaged line"),
        ]:
            history.write_text(text)
            ended = tarnix(*words, file)
            self.assertEqual(ended.returncode, 4, message)
            self.assertRegex(ended.stderr, message)
            self.assertEqual(history.read_text(), text)
        history.write_text(good)
        self.assertEqual(tarnix("solve", file).returncode, 0)
        self.assertIn(good, [old.read_text() for old in self.dir.glob("p.history.*.jsonl")])


PLAIN = """[variables]
x = { start = 1, lower = 0, upper = 4 }
y = { start = 1, lower = 0, upper = 4 }
[quantities]
q = "x + y"
[objective]
minimize = "(x - 2)^2 + y^2"
[constraints]
c = { value = "q", min = 1 }
"""
WITH = """[command]
run = ["echo", "f = {{x}}"]
[results]
f = { key = "f" }
"""
# What is replaced in PLAIN by what, and the message; what is to be kept is \g<0>.
WRONG = [
    (r"\[variables\]", "[variables", r"1: syntax: "),
    (r"y =", "x =", r"3: syntax: .*redefine"),
    (
        r"\[constraints\]",
        "[constrains]",
        r"8: problem: unknown key 'constrains'; did you mean 'constraints'\?",
    ),
    (r"\[variables\]\n.*\n.*\n", "", r": problem: no table \[variables\]"),
    (r", upper = 4", "", r"2: variable 'x': no 'upper'"),
    (r"upper = 4", "uper = 4", r"2: variable 'x': unknown key 'uper'; did you mean 'upper'\?"),
    (r"lower = 0", "lower = 5", r"2: variable 'x': lower bound 5 lies above the upper bound 4"),
    (r"start = 1", "start = 9", r"2: variable 'x': start 9 lies outside the bounds 0 to 4"),
    (r"upper = 4", "upper = inf", r"2: variable 'x': 'upper' is not finite"),
    (r"start = 1", 'start = "1"', r"2: variable 'x': 'start' is not a number"),
    (
        r"start = 1",
        "value = 1, \\g<0>",
        r"2: variable 'x': 'value' fixes the variable; leave out 'start'",
    ),
    (r"y = {", '"2y" = {', r"3: variable '2y': a name has letters, digits and _ only"),
    (r"q =", "x =", r"5: quantity 'x': the name is taken by the variable in line 2"),
    (r"y = {", "min = {", r"3: variable 'min': the name belongs to a built-in function"),
    (r"x \+ y", "x + yy", r"5: quantity 'q': unknown name 'yy' in \"x \+ yy\"; did you mean 'y'\?"),
    (r"x \+ y", "x + (y", r"5: quantity 'q': Missing parenthesis in \"x \+ \(y\""),
    (r"x \+ y", "x = y", r"5: quantity 'q': '=' would assign"),
    (r"x \+ y", "x, y", r"5: quantity 'q': .* holds 2 expressions"),
    (r"x \+ y", 'r"\nr = "q', r"5: quantity 'q': depends on itself: 'q' -> 'r' -> 'q'"),
    (r"minimize", "minimze", r"6: objective: give either 'minimize' or 'maximize'"),
    (r"minimize", 'maximize = "x"\n\\g<0>', r"6: objective: give either"),
    (r", min = 1", "", r"9: constraint 'c': no limit: give 'min', 'max' or 'equal'"),
    (r"min = 1", "min = 1, max = 0", r"9: constraint 'c': 'min' 1 lies above 'max' 0"),
    (r"min = 1", "max = 1, equal = 1", r"9: constraint 'c': 'equal' excludes 'min'"),
    (r"c = {", "x = {", r"9: constraint 'x': the name is taken by the variable"),
    (
        r"\Z",
        '[options]\nmethod = "newton"',
        r"11: options: 'method' is 'newton', but may be automatic, sqp or grg",
    ),
    (r"\Z", "[options]\ntolerance = -1", r"11: options: 'tolerance' is not above zero"),
    (r"\Z", "[options]\neffort = -1", r"11: options: 'effort' is below zero"),
    (
        r"\Z",
        "[options]\nmax_iterations = 2.5",
        r"11: options: 'max_iterations' is not a whole number",
    ),
    (
        r"y = .*\n",
        "".join(f"v{i} = {{ start = 0, lower = 0, upper = 1 }}\n" for i in range(100))
        + "y = { value = 1 }\n",
        r": .*101 free variables.*100",
    ),
    (r"\Z", WITH.split("[results]")[0], r"10: problem: \[command\] without \[results\]"),
    (
        r"\Z",
        "[results]" + WITH.split("[results]")[1],
        r"10: problem: \[results\] without \[command\]",
    ),
    (r"\Z", WITH.replace("run", "rum"), r"10: command: no 'run': the command to start is missing"),
    (
        r"\Z",
        WITH.replace('"echo"', '"no_such_program"'),
        r"11: command: program 'no_such_program' is not in PATH",
    ),
    (r"\Z", WITH.replace('"echo"', '"./sim"'), r"11: command: no file './sim' in "),
    (r"\Z", WITH.replace('"echo"', '"./p.toml"'), r"11: command: './p.toml' may not be executed"),
    (r"\Z", WITH.replace("{{x}}", "{{z}}"), r"11: command: unknown name 'z' in {{ }}"),
    (r"\Z", WITH.replace("{{x}}", "{{x:%d}}"), r"11: command: format '%d' of 'x' is not like"),
    (r"\Z", WITH.replace("{{x}}", "1"), r"11: command: neither an argument nor a template"),
    (
        r"\Z",
        WITH.replace("[results]", 'templates = [{ from = "none.in", to = "in" }]\n[results]'),
        r"12: command: no file 'none.in' in ",
    ),
    (
        r"\Z",
        WITH.replace("[results]", 'templates = [{ from = "t.in", to = "../in" }]\n[results]'),
        r"12: command: '../in' names no file in the run directory\n"
        r".*t.in:2: unknown name 'lenght' in {{ }}",
    ),
    (
        r"\Z",
        WITH.replace('key = "f"', "regex = 'f = (.*'"),
        r"13: result 'f': regex 'f = \(\.\*': ",
    ),
    (
        r"\Z",
        WITH.replace('key = "f"', "regex = 'f = .*'"),
        r"13: result 'f': the regex has no group",
    ),
]


class WrongProblems(Case):
    def testEveryFaultIsNamed(self):
        self.write("t.in", "first\n{{lenght}}\n")
        self.assertGreaterEqual(len(WRONG), 30)
        self.assertEqual(tarnix("solve", "-q", self.write("p.toml", PLAIN)).returncode, 0)
        kept = (self.dir / "p.history.jsonl").read_text()
        for pattern, by, message in WRONG:
            with self.subTest(message=message):
                file = self.write("p.toml", re.sub(pattern, by, PLAIN, count=1))
                for command in ("check", "solve"):
                    run = tarnix(command, file)
                    self.assertEqual((run.returncode, run.stdout), (2, ""), run.stderr)
                    self.assertRegex(run.stderr, r"p\.toml:?" + message)
        self.assertEqual((self.dir / "p.history.jsonl").read_text(), kept)
        file = self.write(
            "p.toml", PLAIN.replace('q = "x + y"', 'q = "r + s"\nr = "s * x"\ns = "2 * y"')
        )
        self.assertRegex(tarnix("check", file).stdout, r"c +4 +>= 1  with  q")
        # Several at once, in the order of lines.
        file = self.write(
            "p.toml", PLAIN.replace("upper = 4", "uper = 4").replace("q = ", "q = 1 #")
        )
        self.assertEqual(
            [int(n) for n in re.findall(r"p\.toml:(\d+)", tarnix("check", file).stderr)], [2, 3]
        )
        for words, message in [
            (["check", self.dir / "none.toml"], "none.toml: no such file"),
            (["check", self.dir], "cannot be read"),
            (["solve"], "FILE is required"),
            (["solve", file, "-j0"], "--jobs"),
            (["sovle", file], "no command 'sovle'; did you mean 'solve'?"),
            ([], "First steps:"),
        ]:
            run = tarnix(*words)
            self.assertEqual(run.returncode, 2)
            self.assertIn(message, run.stdout + run.stderr)
        self.assertNotIn("First steps", tarnix("check", "--help").stdout)

    def testWhatWasMeant(self):
        """One mistake, one line, which says what may have been meant; nothing weaker is one."""
        for pattern, by, code, message in [
            ("lower = 0", "lower = 0,1", 2, "2: syntax: .*decimal point"),
            ('"x \\+ y"', "x + y", 2, "5: syntax: .*an expression is written in quotes"),
            ("x \\+ y", "sqr(x)", 2, "no function 'sqr'; did you mean 'sqrt'"),
            ("x \\+ y", "x**2", 2, "a power is written \\^"),
            ("x \\+ y", "3 x", 2, "a product is written with \\*"),
            ("y = {.*", "y = 3", 2, "3: variable 'y': not a table: write y = { value"),
            (
                "min = 1",
                "lower = 1",
                2,
                "9: constraint 'c': unknown key 'lower'; did you mean 'min'",
            ),
            ("\\A", 'title = "\udce9"\n', 2, "1: syntax: .*UTF-8"),
            (
                "\\Z",
                WITH.replace('key = "f"', 'regex = "(\\\\\\\\d)"').replace("\\\\", "\\"),
                2,
                "13: syntax: .*single quotes",
            ),
            (
                "x \\+ y",
                "log(x - 3) + y",
                2,
                "9: constraint 'c': it is not finite at the start: nan",
            ),
            ('value = "q"', 'value = "x"', 0, "warning: .*5: quantity 'q': nothing uses it"),
            (
                'value = "q"',
                'value = "q >= 1"',
                0,
                "warning: .*9: constraint 'c': a comparison is 0 or 1",
            ),
            ('"\\(x - 2.*"', '"3"', 0, "warning: .*objective: it is constant"),
            (
                "\\Z",
                WITH.replace("{{x}}", "{{x:%.1f}}") + "[options]\ndifference_step = 1e-4\n",
                0,
                "variable 'x': a difference step of 0.0002 does not",
            ),
            (
                "\\Z",
                WITH.replace("{{x}}", "{{x:%.1f}}"),
                0,
                "variable 'x': the command is given it in steps of 0.1; write more digits",
            ),
            (
                "lower = 0, upper = 4",
                "lower = 1, upper = 1.0000000000001",
                0,
                "variable 'x': the command is given it in",
            ),
            ("x \\+ y", "x y", 2, "a product is written with \\*"),
            ("x \\+ y", "(x)(y)", 2, "a product is written with \\*"),
            (
                '"x \\+ y"\n.*\n.*',
                '"2 * 3"\n[objective]\nminimize = "q + 1"',
                0,
                "warning: .*objective: it is constant",
            ),
            ("start = 1", "start = 1.", 2, "2: syntax: .*digits on both sides: 0.5, 1.0"),
        ]:
            with self.subTest(message=message):
                file = self.dir / "p.toml"
                file.write_bytes(
                    re.sub(pattern, by, PLAIN, count=1).encode(errors="surrogateescape")
                )
                run = tarnix("check", file)
                self.assertEqual(run.returncode, code, run.stderr)
                self.assertRegex(run.stderr, message)
                lines = run.stderr.splitlines()
                self.assertTrue(all(re.match("error: |warning: ", line) for line in lines), lines)
                self.assertEqual(sum(line.startswith("error") for line in lines), code == 2)


class Keys(Case):
    """What [command] and [results] may say, each by what it does."""

    def one(self, run, extra="", result='key = "f"'):
        return self.write(
            "p.toml",
            ONE.replace("RUN", json.dumps(run))
            .replace("EXTRA", extra)
            .replace('key = "f"', result),
        )

    def at(self, x, *words, code=0):
        run = tarnix("run", "--at", f"x={x}", *words, self.dir / "p.toml")
        self.assertEqual(run.returncode, code, run.stderr)
        found = re.search(r" f +(\S+) +result", run.stdout)
        return float(found[1]) if found else run.stderr

    def testWhatARunGets(self):
        (self.dir / "mesh").mkdir()
        (self.dir / "mesh/a.inp").write_text("7")
        for name in ("s1.dat", "s2.dat"):
            self.write(name, name[1])
        cat = "echo f = $(cat mesh/a.inp s1.dat s2.dat | tr -d '\\n'); # {{x}}"
        for how in ("files", "links"):
            self.one(cat, f'{how} = ["mesh", "s*.dat"]')
            self.assertEqual(self.at(1), 712)
            kept = max((self.dir / "p.runs/single").iterdir())
            self.assertEqual((kept / "mesh").is_symlink(), how == "links")
        self.one("echo f = $N; # {{x}}", 'env = { N = "{{x:%.2f}}5" }')
        self.assertEqual(self.at(1.5), 1.505)
        self.one(["sh", "-c", "echo f = $PATH"], 'env = { PATH = "{{x}}" }')
        self.assertEqual(self.at(2.5), 2.5)
        self.one("echo f = {{x}}; exit 3", "accept_status = [0, 3]")
        self.assertEqual(self.at(2), 2)
        self.one("echo f = {{x}}; exit 4", "accept_status = [0, 3]")
        self.assertIn("exit status 4", self.at(2, code=3))
        for extra, message in [
            ('files = ["none*"]', "nothing is called 'none\\*'"),
            ('files = ["mesh", "mesh/"]', "cannot both be files"),
            ('env = { "A=B" = 1 }', "is no name of a variable"),
            ('accept_status = [300]', "whole numbers from 0 to 255"),
            ('scratch = "nowhere"', "is no directory"),
            ('retry_wait = 1', "'retry_wait' needs 'retries'"),
            ('launcher = ["no_such_program"]', "is not in PATH"),
            ('launcher = ["./none.sh"]', "no file './none.sh'"),
            ('files = ["{{x}}.dat"]', "'{{x}}.dat': in the name of a file only {{dir}} is filled"),
            ('files = ["$NO_SUCH_NAME/a"]', "the environment holds no \\$NO_SUCH_NAME"),
            ('scratch = "$NO_SUCH_NAME"', "the environment holds no \\$NO_SUCH_NAME"),
        ]:
            run = tarnix("check", self.one("echo f = {{x}}", extra))
            self.assertEqual(run.returncode, 2, extra)
            self.assertRegex(run.stderr, message)

    def testScratch(self):
        """Runs work in another place; what is kept comes home, and nothing stays there."""
        scratch = self.dir / "fast"
        scratch.mkdir()
        file = self.one(
            "d={{dir}}; pwd >> $d/places; [ ! -e $d/bad ] || exit 1; echo f = {{x}}",
            'scratch = "fast"',
        )
        self.assertEqual(tarnix("solve", "-j2", file).returncode, 0)
        places = set(self.dir.joinpath("places").read_text().split())
        self.assertTrue(
            all(p.startswith(str(scratch.resolve()) + "/tarnix-") for p in places), places
        )
        self.assertEqual((self.dir / "p.best/stdout.txt").read_text()[:4], "f = ")
        self.assertEqual(list(scratch.iterdir()), [])
        self.write("bad", "")
        run = tarnix("solve", file)
        self.assertRegex(run.stderr, "see .*p.runs/000001")
        self.assertTrue((self.dir / "p.runs/000001/stdout.txt").exists())

    def testSlots(self):
        """Runs side by side have different slots, below the number of jobs."""
        script = (
            "d={{dir}}/slot{{slot}}; mkdir $d || exit 1; sleep 0.02; rmdir $d; "
            "echo {{slot}} >> {{dir}}/seen; echo f = {{x}}"
        )
        self.write(
            "p.toml",
            PROBLEM.replace(
                '["sh", "{{dir}}/simulator.sh", "{{x1}}", "{{x2}}", "{{x3}}", '
                '"{{x4}}", "{{x5}}", "{{x6}}"]',
                json.dumps(
                    script.replace("{{x}}", "$(({{x1:%.0f}}))")
                    + "; echo g = {{x2}}; echo h = {{x3}}"
                ),
            )
            + "[options]\nmax_evaluations = 20\n",
        )
        run = tarnix("solve", "-j3", self.dir / "p.toml")
        self.assertEqual(run.returncode, 1, run.stderr)
        self.assertEqual(set((self.dir / "seen").read_text().split()), {"0", "1", "2"})

    def testRetryWait(self):
        file = self.one(
            "date +%s.%N >> {{dir}}/times; [ $(wc -l < {{dir}}/times) -gt 1 ] || exit 1; "
            "echo f = {{x}}",
            'on_failure = "retry"\nretry_wait = 0.4',
        )
        self.assertEqual(tarnix("solve", file).returncode, 0)
        first, second = map(float, (self.dir / "times").read_text().split()[:2])
        self.assertGreaterEqual(second - first, 0.4)

    def testResultsThatComeLate(self):
        """As on a shared disk: the command is through before its file is there."""
        late = ["sh", "-c", "echo $PWD {{x}} > {{dir}}/wanted"]
        file = self.one(late, "result_wait = 20", 'key = "f", file = "out"')
        writer = subprocess.Popen(
            [
                "sh",
                "-c",
                "while [ ! -e wanted ]; do sleep 0.01; done; read d x < wanted;"
                'sleep 0.2; echo "f = $x" > $d/new; mv $d/new $d/out',
            ],
            cwd=self.dir,
        )
        self.assertEqual(self.at(2.5), 2.5)
        writer.wait()
        file.write_text(file.read_text().replace("20", "0.1"))
        self.assertIn(
            "no file 'out' was written, which holds result 'f', 0.1 s after", self.at(1, code=3)
        )

    def testOwnSteps(self):
        """A variable with a step of its own is moved by that, all others by the option."""
        text = PLAIN.replace("y = { start = 1", "y = { difference_step = 0.01, start = 1")
        for differences, moves in (("forward", {0.02}), ("central", {0.02, -0.02})):
            file = self.write(
                "p.toml", text + f'[options]\nmethod = "sqp"\ndifferences = "{differences}"\n'
            )
            result = self.result("solve", file)
            self.assertAlmostEqual(values(result)["x"], 2, delta=1e-3)
            first = designs(self.dir / "p.history.jsonl")[:6]
            start = first[0]
            moved = {round(x[1] - start[1], 9) for x in first if x[0] == start[0]} - {0}
            self.assertEqual(moved, moves)
            other = {round(abs(x[0] - start[0]), 9) for x in first if x[1] == start[1]} - {0}
            self.assertEqual(min(other), 0.0002)
        inside = self.write(
            "p.toml", text.replace("start = 1", "start = 4") + "[options]\ninside_bounds = true\n"
        )
        self.assertEqual(tarnix("solve", inside).returncode, 0)
        self.assertLessEqual(max(max(x) for x in designs(self.dir / "p.history.jsonl")), 4)

    def testManyJobs(self):
        """Far more jobs than cores: all points of a pass run at once."""
        self.write(
            "meet.sh",
            """cd "$(dirname "$0")"; run=$1; shift; touch at$run; n=0
            [ $run = 000001 ] || while [ $(ls | grep -c '^at') -lt 41 ] && [ $n -lt 600 ]
              do n=$((n + 1)); sleep 0.1; done
            [ $n -lt 600 ] && awk 'BEGIN { for (i = 1; i < ARGC; ++i) f += ARGV[i]
              print "f = " f }' "$@" """,
        )
        names = [f"x{i}" for i in range(40)]
        file = self.write(
            "p.toml",
            "[variables]\n"
            + "".join(f"{n} = {{ start = 1, lower = 0, upper = 4 }}\n" for n in names)
            + "[command]\nrun = "
            + json.dumps(["sh", "{{dir}}/meet.sh", "{{run}}"] + [f"{{{{{n}}}}}" for n in names])
            + '\n[results]\nf = { key = "f" }\n[objective]\nminimize = "f"\n'
            "[options]\ndifference_step = 1e-4\nmax_evaluations = 41\n",
        )
        run = tarnix("solve", "-q", "-j64", file)
        self.assertEqual(run.returncode, 1, run.stderr)
        self.assertEqual(len(designs(self.dir / "p.history.jsonl")), 41)

    def testScriptsThatAreNotFound(self):
        self.write("sim.sh", "echo f = $1", 0o755)
        for run, message in [
            ("sh sim.sh {{x}}", "'sim.sh' is not in the directory of a run; write {{dir}}/sim.sh"),
            ("./sim.sh {{x}}", "'./sim.sh' is not in the directory .* write {{dir}}/sim.sh"),
            (["python3", "none.py", "{{x}}"], "'none.py' .*nor is there one next to"),
        ]:
            shown = tarnix("check", self.one(run))
            self.assertEqual(shown.returncode, 0)
            self.assertRegex(shown.stderr, "warning: .*p.toml:4: command: " + message)
        for run, extra in [
            ("sh {{dir}}/sim.sh {{x}}", ""),
            ("sh sim.sh {{x}}", 'files = ["sim.sh"]'),
            (["./sim.sh", "{{x}}"], ""),
        ]:
            self.assertEqual(tarnix("check", self.one(run, extra)).stderr, "")
        for pick, words in [('"last"', ""), ('"first"', ", the first"), ('"max"', ", the largest"),
                            ('"min"', ", the least"), ('"sum"', ", the sum"), ("3", ", number 3")]:
            shown = tarnix("check", self.one("echo {{x}}", "", f'key = "f", pick = {pick}')).stdout
            self.assertRegex(shown, f" f +key 'f'{words} in standard output")

    def testNamesOfFiles(self):
        """However a file next to the problem file, or elsewhere, may be named without a shell."""
        (self.dir / "my mesh").mkdir()
        self.write("my mesh/a.inp", "7\n")
        self.write("in.t", "{{x}}\n")
        sim = self.write(
            "sim.sh", '#!/bin/sh\n[ "$(cat a.inp)$(cat in)" = "7$1" ] && echo f = $1\n', 0o755
        )
        absolute = str(self.dir)
        ENVIRONMENT["HERE"] = absolute
        home, ENVIRONMENT["HOME"] = ENVIRONMENT.get("HOME", "/"), absolute
        self.addCleanup(ENVIRONMENT.update, HOME=home)
        inside = ["{{dir}}", "{{ dir }}", ".", absolute, f"../{self.dir.name}"]
        for place in [*inside, "~", "$HERE", "${HERE}"]:
            supplies = (
                f'files = ["{place}/my mesh/*"]\n'
                f'templates = [{{ from = "{place}/in.t", to = "in" }}]'
            )
            for launcher in ("", f'\nlauncher = ["{place}/wrap.sh", "{{{{slot}}}}"]'):
                with self.subTest(place=place, launcher=launcher):
                    if launcher:
                        self.write("wrap.sh", '#!/bin/sh\nshift\nexec "$@"\n', 0o755)
                    self.one([place + "/sim.sh", "{{x}}"], supplies + launcher)
                    self.assertEqual(self.at(3), 3)
                    file = self.dir / "p.toml"
                    self.assertEqual(tarnix("check", file).stderr, "")
                    if place not in inside:
                        continue
                    # What it names is a part of the problem, behind a launcher too.
                    self.assertEqual(tarnix("solve", "--fresh", file).returncode, 0)
                    text = sim.read_text()
                    sim.write_text(text + "# changed\n")
                    self.assertRegex(
                        tarnix("resume", file).stderr, "Changed: program '(../.*/)?sim.sh'"
                    )
                    sim.write_text(text)

    def testWhatNoShellReads(self):
        self.write("sim.sh", "#!/bin/sh\necho f = $1", 0o644)
        for run, extra, code, message in [
            (["sh", "~/sim.sh", "{{x}}"], "", 0, "given as it is, no shell replaces ~"),
            (["sh", "$HOME/sim.sh", "{{x}}"], "", 0, r"no shell replaces \$HOME in it; a"),
            ("echo f = {{x}}", 'env = { PATH = "/x:$PATH" }', 0, r"replaces \$PATH in it"),
            (["sh {{dir}}/sim.sh {{x}}"], "", 2, "no file .*; a list holds one word per"),
            (["sh sim.sh"], "", 2, "program 'sh sim.sh' is not in PATH; a list holds one word"),
            (["{{dir}}/sim.sh", "{{x}}"], "", 2, "may not be executed: chmod"),
            (["{{x}}/sim.sh"], "", 2, "'{{x}}/sim.sh': in the name of a file only {{dir}}"),
            (["{{dir}}/", "{{x}}"], "", 2, "'{{dir}}/' is not a file"),
        ]:
            with self.subTest(run=run):
                shown = tarnix("check", self.one(run, extra))
                self.assertEqual(shown.returncode, code, shown.stderr)
                self.assertRegex(shown.stderr, "p.toml:[45]: command: .*" + message)
        for run in (["sh", "-c", "echo f = $HOME {{x}}"], ["awk", "BEGIN { print $1 }", "{{x}}"]):
            self.assertEqual(tarnix("check", self.one(run)).stderr, "")
        shown = tarnix("check", self.one("echo {{x}}", result='key = "f", file = "{{dir}}/out"'))
        self.assertRegex(shown.stderr, "'{{dir}}/out' is the name of a file in")


class DaysWork(Case):
    def testChangesOfTheCommandLine(self):
        """Each change does what the same words in the file do."""
        for changes, edit in [
            (
                ["c.min=3", "x.upper=1.5"],
                lambda t: t.replace("min = 1", "min = 3").replace("upper = 4", "upper = 1.5", 1),
            ),
            (["x=3"], lambda t: t.replace("start = 1", "start = 3", 1)),
            (["q=x + 2 * y"], lambda t: t.replace("x + y", "x + 2 * y")),
            (
                ["options.method=grg", "objective.scale=2"],
                lambda t: t.replace("[constraints]", 'scale = 2\n[constraints]')
                + '[options]\nmethod = "grg"\n',
            ),
        ]:
            words = [word for change in changes for word in ("--set", change)]
            one = self.result("solve", self.write("a.toml", PLAIN), *words)
            two = self.result("solve", self.write("b.toml", edit(PLAIN)))
            for key in ("objective", "variables", "constraints", "method", "evaluations"):
                self.assertEqual(one[key], two[key], changes)
        for change, message in [
            ("z=1", "no variable, quantity"),
            ("option.method=grg", "'option'; did you mean 'options'?"),
            ("x", "write NAME=VALUE"),
            ("x.uper=1", "unknown key 'uper'"),
            ("x=9", "lies outside the bounds"),
        ]:
            run = tarnix("check", "--set", change, self.write("a.toml", PLAIN))
            self.assertEqual(run.returncode, 2)
            self.assertIn(message, run.stderr)

    def testChangesStayWithTheHistory(self):
        """What a solve was told is in its history: resume and report go on with it."""
        file = self.write("a.toml", PLAIN)
        whole = self.result("solve", "--set", "c.min=3", file)
        again = tarnix("resume", "-q", "--json", file)
        self.assertIn("As the history was started: --set c.min=3\n", again.stderr)
        for key in ("objective", "variables", "constraints"):
            self.assertEqual(json.loads(again.stdout)[key], whole[key])
        other = self.result("resume", "--set", "c.min=2", file)
        self.assertEqual(other["constraints"][0]["min"], 2)
        began = lines_with("began", self.dir / "a.history.jsonl")
        self.assertEqual([b["began"].get("set") for b in began], [["c.min=3"]] * 2 + [["c.min=2"]])
        self.assertIn("tarnix solve --set c.min=3", began[0]["began"]["command"])
        self.assertEqual(tarnix("report", file).returncode, 0)
        self.assertIn("c.min=2", (self.dir / "a.report.html").read_text())

    def testStartAndRun(self):
        file = self.write(
            "p.toml", ONE.replace("RUN", '["echo", "f = {{x}}"]').replace("EXTRA", "")
        )
        best = values(self.result("solve", file))["x"]
        again = self.result("solve", "--start", "best", file)
        self.assertAlmostEqual(designs(self.dir / "p.history.jsonl")[0][0], best, delta=1e-3)
        old = next(self.dir.glob("p.history.1.jsonl"))
        shown = tarnix("run", "--at", "best", file).stdout
        self.assertAlmostEqual(float(re.search(r"x +(\S+)", shown)[1]), 2, delta=1e-3)
        self.assertEqual(tarnix("check", "--start", old, file).returncode, 0)
        run = tarnix("run", "--at", "x=3.5", file)
        self.assertEqual(run.returncode, 0, run.stderr)
        self.assertRegex(run.stdout, r"f +3\.5 +result\n +objective +2\.25")
        kept = pathlib.Path(re.search(r" s in (.*)", run.stdout)[1])
        self.assertEqual((kept / "stdout.txt").read_text(), "f = 3.5\n")
        self.assertEqual(tarnix("run", "--at", "x=9", file).returncode, 2)
        self.assertRegex(tarnix("run", "--at", " x = 3.5 ", file).stdout, r"f +3\.5 +result")
        self.assertIn("'bset' is neither start, best", tarnix("run", "--at", "bset", file).stderr)
        failing = self.write("q.toml", file.read_text().replace(
            '["echo", "f = {{x}}"]', '"echo f={{x}}; echo no license >&2; exit 7"'))
        self.assertRegex(
            tarnix("run", failing).stderr,
            r"status 7; see \S*q.runs/single/000001/stderr.txt, which ends with\n +\| no license",
        )
        self.assertTrue(again["success"])
        # With another command the values are others; where the solve ended is a start still.
        changed = self.write("p.toml", file.read_text().replace('"f = {{x}}"', '"f =  {{x}}"'))
        self.assertEqual(tarnix("resume", changed).returncode, 4)
        for where in ("best", old):
            shown = tarnix("check", "--start", where, changed, "--set", "x.upper=1.75")
            self.assertRegex(shown.stdout, r"x +1\.75 +in 0 \.\. 1\.75")
        other = changed.read_text().replace("x = {", "y = {").replace("{{x}}", "{{y}}")
        self.assertEqual(
            tarnix("check", "--start", old, self.write("p.toml", other)).returncode, 4
        )

    def testRunsOfTheStartAgree(self):
        file = self.write("p.toml", ONE.replace("RUN", '"echo f = {{x}}"').replace("EXTRA", ""))
        run = tarnix("check", "--run", "-j2", file)
        self.assertEqual(run.returncode, 0, run.stderr)
        file = self.write(
            "p.toml", ONE.replace("RUN", '"echo f = {{run}}; # {{x}}"').replace("EXTRA", "")
        )
        run = tarnix("check", "--run", "-j2", file)
        self.assertEqual(run.returncode, 1)
        self.assertIn("the same design gave result 'f'", run.stderr)


if __name__ == "__main__":
    unittest.main()
