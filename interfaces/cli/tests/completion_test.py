"""Completion in real shells: completion_test.py PROGRAM COMPLETION_DIRECTORY.

In bash the function is called as the shell calls it; in zsh keys are typed into a terminal. A shell
that is not installed is skipped with a line.
"""
import os
import pathlib
import pty
import select
import shutil
import subprocess
import sys
import tempfile
import time

PROGRAM, SCRIPTS = sys.argv[1], pathlib.Path(sys.argv[2]).resolve()
# What is typed, and some of what is offered; the last one may not be.
CASES = [("tarnix so", {"solve"}, "sweep"),
         ("tarnix ", {"init", "check", "solve", "probe", "--help"}, "beam.toml"),
         ("tarnix solve --j", {"--jobs", "--json"}, "--quiet"),
         ("tarnix doe --pl", {"--plan"}, "--jobs"),
         ("tarnix solve --start ", {"best", "start", "beam.history.jsonl"}, "beam.toml"),
         ("tarnix doe --plan ", {"one-at-a-time", "corners", "latin"}, "beam.toml"),
         ("tarnix check ", {"beam.toml", "deep"}, "notes.txt")]


def directory():
    scratch = tempfile.TemporaryDirectory()
    place = pathlib.Path(scratch.name)
    for name in ("beam.toml", "beam.history.jsonl", "notes.txt"):
        (place / name).write_text("")
    (place / "deep").mkdir()
    (place / "bin").mkdir()
    (place / "bin" / "tarnix").symlink_to(pathlib.Path(PROGRAM).resolve())
    environment = dict(os.environ, PATH=f"{place}/bin:{os.environ['PATH']}", TERM="vt100",
                       ZDOTDIR=str(place), HOME=str(place))
    return scratch, place, environment


def in_bash(line, place, environment):
    words = line.split(" ")
    script = f"""source {SCRIPTS}/tarnix.bash
        COMP_WORDS=({" ".join(f"'{w}'" for w in words)}); COMP_CWORD={len(words) - 1}
        complete -p tarnix >&2 || exit 1
        $(complete -p tarnix | sed 's/.*-F \\([^ ]*\\).*/\\1/')
        printf '%s\\n' "${{COMPREPLY[@]}}\""""
    run = subprocess.run(["bash", "--norc", "-c", script], cwd=place, env=environment, text=True,
                         capture_output=True, timeout=60)
    assert run.returncode == 0 and "complete -F" in run.stderr, run.stderr
    return run.stdout.split()


def typed(main, keys, until):
    """What the terminal shows after keys, when it has shown a text or been quiet for long."""
    os.write(main, keys.encode())
    shown, last = "", time.monotonic()
    while time.monotonic() - last < 20:
        if select.select([main], [], [], 0.2)[0]:
            shown += os.read(main, 65536).decode(errors="replace")
        if all(text in shown for text in until):
            break
    return shown


def in_zsh(line, place, environment, offered):
    """All that is shown when the list is asked for."""
    (place / ".zshrc").write_text(f"PS1='ready> '; fpath=({SCRIPTS} $fpath)\n"
                                  "autoload -Uz compinit && compinit -u -D\n"
                                  "LISTMAX=1000; setopt no_beep; bindkey '^T' list-choices\n")
    main, terminal = pty.openpty()
    shell = subprocess.Popen(["zsh", "-i"], cwd=place, env=environment, stdin=terminal,
                             stdout=terminal, stderr=terminal, start_new_session=True)
    os.close(terminal)
    try:
        typed(main, "", ["ready> "])
        return typed(main, line + "\x14", offered)
    finally:
        shell.kill()
        shell.wait()
        os.close(main)


def main():
    faults = []
    scratch, place, environment = directory()
    with scratch:
        for line, offered, absent in CASES:
            found = in_bash(line, place, environment)
            if not offered <= set(found) or absent in found:
                faults.append(f"bash: '{line}' offers {found}")
        if not shutil.which("zsh"):
            print("completion: skipping zsh, missing: zsh")
            return faults
        for line, offered, absent in CASES[1:]:  # a single one is put in at once
            if len(offered) == 1:
                continue
            shown = in_zsh(line, place, environment, offered)
            if not all(word in shown for word in offered) or absent in shown:
                faults.append(f"zsh: '{line}' shows {shown!r}")
    return faults


if __name__ == "__main__":
    wrong = main()
    print("\n".join(wrong))
    sys.exit(bool(wrong))
