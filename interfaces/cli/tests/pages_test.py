"""The pages of the program show what it prints: pages_test.py PROGRAM EXAMPLES [--write] PAGE...

A page is replayed from top to bottom in a directory of its own that holds a copy of the examples.
A block fenced with ```console holds commands, "$ " before each, and what they print; a line
"exit status N" stands behind one that ends with another status than 0. A block whose info string
names a file, as in ```toml beam.toml, is written to that file. What is different every time is
masked: seconds, times of day, versions and the directory. --write puts the real output in.
"""
import difflib
import os
import pathlib
import re
import shutil
import subprocess
import sys
import tempfile

FENCE = re.compile(r"^```(\S+)(?: (\S+))?\n(.*?)^```$", re.M | re.S)
MASKS = [(r"\d{4}-\d\d-\d\d[T ]\d\d:\d\d:\d\d", "DATE"), (r"\b\d\d:\d\d:\d\d\b", "TIME"),
         (r"\b\d+(\.\d+)?(e-?\d+)? (s|ms)\b", r"# \3"), (r'("seconds": )[\d.e-]+', r"\1#"),
         (r"\d+\.\d+\.\d+", "VERSION"), (r" +(?=# s\b)", " ")]


def masked(text, directory):
    text = text.replace(str(directory), "/home/me/design")
    for pattern, by in MASKS:
        text = re.sub(pattern, by, text)
    return text


class Page:
    def __init__(self, program, examples):
        self.scratch = tempfile.TemporaryDirectory()
        self.directory = pathlib.Path(self.scratch.name).resolve() / "design"
        shutil.copytree(examples, self.directory)
        commands = pathlib.Path(self.scratch.name).resolve() / "bin"
        commands.mkdir()
        (commands / "tarnix").symlink_to(pathlib.Path(program).resolve())
        python = os.path.dirname(sys.executable)
        self.environment = dict(os.environ, COLUMNS="80", TERM="dumb", LC_ALL="C.UTF-8",
                                PATH=os.pathsep.join([str(commands), python, os.environ["PATH"]]))

    def printed(self, command):
        run = subprocess.run(["bash", "-c", command], cwd=self.directory, env=self.environment,
                             stdin=subprocess.DEVNULL, stdout=subprocess.PIPE,
                             stderr=subprocess.STDOUT, text=True, timeout=300)
        status = f"exit status {run.returncode}\n" if run.returncode else ""
        return run.stdout.replace(str(self.directory), "/home/me/design") + status

    def replay(self, match):
        """The block as it should be."""
        kind, name, content = match.groups()
        if kind != "console":
            if name:
                (self.directory / name).parent.mkdir(parents=True, exist_ok=True)
                (self.directory / name).write_text(content)
            return match.group(0)
        commands = re.findall(r"^\$ (.*(?:\\\n.*)*)", content, re.M)
        shown = "".join(f"$ {command}\n{self.printed(command)}" for command in commands)
        return f"```console\n{shown}```"


def main():
    program, examples, *pages = sys.argv[1:]
    write = "--write" in pages
    wrong = 0
    for name in pages:
        if name == "--write":
            continue
        path = pathlib.Path(name)
        page, text = Page(program, examples), path.read_text()

        def renewed(match):
            real = page.replay(match)
            same = masked(real, page.directory) == masked(match.group(0), page.directory)
            return match.group(0) if same else real  # what is only measured anew stays
        real = FENCE.sub(renewed, text)
        if write:
            path.write_text(real)
        elif real != text:
            wrong += 1
            sys.stdout.writelines(difflib.unified_diff(
                text.splitlines(True), real.splitlines(True), name, "what the program prints"))
    return wrong > 0


if __name__ == "__main__":
    sys.exit(main())
