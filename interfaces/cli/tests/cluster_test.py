"""The program with a real SLURM and with mpirun: cluster_test.py PROGRAM [unittest arguments].

The cluster is this machine alone, on the loopback address, with daemons of its own.
"""
import json
import os
import pathlib
import random
import re
import shutil
import subprocess
import sys
import tempfile
import threading
import time
import unittest

PROGRAM = sys.argv.pop(1)
PROBLEM = """[variables]
x = { start = 1, lower = 0, upper = 4 }
y = { start = 1, lower = 0, upper = 4 }
[command]
launcher = LAUNCHER
run = ["sh", "{{dir}}/sim.sh", "{{x}}", "{{y}}"]
EXTRA
[results]
f = { key = "f" }
[objective]
minimize = "f"
"""
SIMULATOR = """echo "${SLURM_JOB_ID-none} ${SLURM_PROCID-none}" >> "$(dirname "$0")/places"
[ "${OMPI_COMM_WORLD_RANK-0}" = 0 ] || exit 0
awk -v x=$1 -v y=$2 'BEGIN { printf "f = %.17g\\n", (x - 2)^2 + (y - 3)^2 + 1 }'
"""


class Case(unittest.TestCase):
    def setUp(self):
        scratch = tempfile.TemporaryDirectory()
        self.addCleanup(scratch.cleanup)
        self.dir = pathlib.Path(scratch.name)
        (self.dir / "sim.sh").write_text(SIMULATOR)

    def solve(self, launcher, environment, jobs=2, extra="", code=0):
        file = self.dir / "p.toml"
        file.write_text(PROBLEM.replace("LAUNCHER", json.dumps(launcher)).replace("EXTRA", extra))
        run = subprocess.run([PROGRAM, "solve", "--fresh", "-q", "--json", f"-j{jobs}", str(file)],
                             capture_output=True, text=True, timeout=280, env=environment)
        self.assertEqual(run.returncode, code, run.stderr + run.stdout)
        return json.loads(run.stdout)

    def check_solved(self, result):
        values = {v["name"]: v["value"] for v in result["variables"]}
        self.assertAlmostEqual(values["x"], 2, delta=1e-3)
        self.assertAlmostEqual(values["y"], 3, delta=1e-3)
        self.assertTrue(result["verification"]["same"], result)

    def all_runs(self, result):
        """Of a solve: those that it counts, and those that its history says verify it, which are
        the final design and two pairs that ran side by side, none of them twice."""
        lines = (self.dir / "p.history.jsonl").read_text().splitlines()
        verified = [r["x"] for r in map(json.loads, lines) if "verifies" in r]
        self.assertIn(len(verified), range(1, 6))
        self.assertEqual(len({tuple(x) for x in verified}), len(verified), verified)
        self.assertEqual(verified[0], [v["value"] for v in result["variables"]])
        return result["runs"] + len(verified)


class Queue(Case):
    def testAJobOnThisMachineIsWaitedFor(self):
        """A queue starts what it is given with the environment of the run, which ends before it
        and leaves something behind, which is killed."""
        os.mkfifo(self.dir / "queue")

        def serve():
            for place in (self.dir / "queue").read_text().split():
                environment = pathlib.Path(place, "environ").read_bytes().split(b"\0")
                job = "touch begun; sleep 0.5; echo f = 7 > part; mv part result"
                subprocess.run(["sh", "-c", job], cwd=place,
                               env=dict(e.split(b"=", 1) for e in environment if e))
        server = threading.Thread(target=serve, daemon=True)
        server.start()
        file = self.dir / "p.toml"
        submit = ("cat /proc/self/environ > environ; pwd > {{dir}}/queue; echo {{x}} {{y}}; "
                  "while [ ! -e begun ]; do sleep 0.01; done; setsid sleep 100 &")
        file.write_text(re.sub("run = .*", f'run = "{submit}"', PROBLEM)
                        .replace("launcher = LAUNCHER\n", "").replace("EXTRA", "result_wait = 5")
                        .replace('key = "f"', 'key = "f", file = "result"'))
        run = subprocess.run([PROGRAM, "run", str(file)], capture_output=True, text=True)
        server.join(5)
        self.assertEqual(run.returncode, 0, run.stderr + run.stdout)
        self.assertIn("7", run.stdout)


class Mpi(Case):
    @unittest.skipUnless(shutil.which("mpirun"), "mpirun is not installed")
    def testMpirun(self):
        """Two ranks per run, of which the first prints; all of them end with the program."""
        environment = dict(os.environ, OMPI_ALLOW_RUN_AS_ROOT="1",
                           OMPI_ALLOW_RUN_AS_ROOT_CONFIRM="1", OMPI_MCA_plm="isolated",
                           OMPI_MCA_rmaps_base_oversubscribe="1")
        result = self.solve(["mpirun", "-n", "2"], environment)
        self.check_solved(result)
        places = (self.dir / "places").read_text().splitlines()
        self.assertEqual(len(places), 2 * self.all_runs(result))
        mark = f"5{random.randrange(10**8)}"
        (self.dir / "sim.sh").write_text(f"sleep {mark}")
        self.solve(["mpirun", "-n", "2"], environment, extra="timeout = 1\nkill_grace = 2", code=3)
        found = subprocess.run(["pgrep", "-f", f"sleep {mark}$"], capture_output=True)
        self.assertEqual(found.stdout, b"")


SLURM = ["munged", "slurmctld", "slurmd", "srun", "sbatch", "scontrol", "squeue"]


def slurm_missing():
    path = os.environ["PATH"] + ":/usr/sbin:/sbin"
    missing = [name for name in SLURM if not shutil.which(name, path=path)]
    if missing:
        return f"{missing[0]} is not installed"
    return None if os.geteuid() == 0 else "starting SLURM takes root"


class Slurm(Case):
    """Every run is a job of the queue."""

    def start(self, *words):
        log = open(self.dir / (words[0] + ".out"), "w")
        self.addCleanup(log.close)
        process = subprocess.Popen(words, stdout=log, stderr=log, env=self.environment)

        def end():
            process.terminate()
            try:
                process.wait(10)
            except subprocess.TimeoutExpired:
                process.kill()
                process.wait()
        self.addCleanup(end)

    def logs(self):
        return "".join(f"{p}:\n{p.read_text()[-1500:]}\n" for p in self.dir.glob("*.out"))

    def setUp(self):
        missing = slurm_missing()
        if missing:
            self.skipTest(missing)
        super().setUp()
        place = self.dir
        (place / "key").write_bytes(os.urandom(1024))
        (place / "key").chmod(0o400)
        for name in ("state", "spool", "munge"):
            (place / name).mkdir(mode=0o755)
        place.chmod(0o755)
        self.environment = dict(os.environ, SLURM_CONF=str(place / "slurm.conf"),
                                PATH=os.environ["PATH"] + ":/usr/sbin:/sbin")
        port = random.randrange(20000, 30000)
        (place / "slurm.conf").write_text(f"""ClusterName=test
SlurmctldHost=localhost(127.0.0.1)
SlurmctldPort={port}
SlurmdPort={port + 1}
AuthType=auth/munge
AuthInfo=socket={place}/munge/socket
SlurmUser=root
SlurmdUser=root
StateSaveLocation={place}/state
SlurmdSpoolDir={place}/spool
SlurmctldPidFile={place}/slurmctld.pid
SlurmdPidFile={place}/slurmd.pid
ProctrackType=proctrack/linuxproc
TaskPlugin=task/none
MpiDefault=none
SchedulerParameters=sched_interval=1
SlurmdParameters=config_overrides
NodeName=localhost NodeAddr=127.0.0.1 CPUs=16 State=UNKNOWN
PartitionName=all Nodes=ALL Default=YES MaxTime=INFINITE State=UP
""")
        self.start("munged", "--foreground", "--force", f"--socket={place}/munge/socket",
                   f"--key-file={place}/key", f"--pid-file={place}/munge/pid",
                   f"--log-file={place}/munge/log", f"--seed-file={place}/munge/seed")
        self.wait(lambda: (place / "munge/socket").exists())
        self.start("slurmctld", "-D")
        self.start("slurmd", "-D", "-N", "localhost")
        self.wait(lambda: "idle" in self.output("sinfo", "-h", "-o", "%T"))

    def output(self, *words):
        return subprocess.run(words, capture_output=True, text=True, env=self.environment).stdout

    def wait(self, ready):
        until = time.time() + 60
        while not ready() and time.time() < until:
            time.sleep(0.1)
        self.assertTrue(ready(), self.logs())

    def testEveryRunIsAJob(self):
        result = self.solve(["srun", "-n1", "--quiet"], self.environment, jobs=8)
        self.check_solved(result)
        places = [line.split() for line in (self.dir / "places").read_text().splitlines()]
        self.assertEqual(len({job for job, _ in places}), self.all_runs(result))
        self.assertEqual({task for _, task in places}, {"0"})

        # What sbatch hands over comes to its end on its own; its files are waited for.
        launcher = ["sbatch", "--parsable", "--output=result.part",
                    "--wrap=sh {{dir}}/sim.sh {{x}} {{y}} && mv result.part result"]
        file = self.dir / "p.toml"
        file.write_text(re.sub("run = .*", "run = " + json.dumps(launcher), PROBLEM)
                        .replace("launcher = LAUNCHER\n", "").replace("EXTRA", "result_wait = 60")
                        .replace('key = "f"', 'key = "f", file = "result"'))
        run = subprocess.run([PROGRAM, "solve", "--fresh", "-q", "--json", "-j4", str(file)],
                             capture_output=True, text=True, timeout=280, env=self.environment)
        self.assertEqual(run.returncode, 0, run.stderr + run.stdout)
        self.check_solved(json.loads(run.stdout))

        # What takes too long is taken out of the queue.
        (self.dir / "sim.sh").write_text("sleep 300")
        result = self.solve(["srun", "-n1", "--quiet"], self.environment, code=3,
                            extra="timeout = 2\nkill_grace = 5")
        self.wait(lambda: not self.output("squeue", "-h"))


if __name__ == "__main__":
    unittest.main()
