#!/usr/bin/env python3
"""Writes what the statuses mean wherever it is written, from include/tarnix/statuses.h.

statuses.py [--write]: compares tarnix.h, tarnix(3) and the page of statuses with the table, and
says where they differ; with --write it puts the right text in.
"""
import difflib
import pathlib
import re
import sys
import textwrap

ROOT = pathlib.Path(__file__).resolve().parent.parent
TABLE = ROOT / "include/tarnix/statuses.h"
ROW = re.compile(r"X\((\d+), (VRK_\w+), ((?:\"[^\"]*\"[,\s]*)+)\)")


def read_table():
    """{"SQP": [(status, name, word, meaning, when, remedy), ...], "GRG": ..., "COMMON": ...}"""
    text = TABLE.read_text().replace("\\\n", "\n")
    table = {}
    for name, body in re.findall(r"#define TARNIX_(\w+)_STATUSES\(X\)(.*?)\n\n", text, re.S):
        table[name] = []
        for status, constant, texts in ROW.findall(body):
            joined = re.sub(r"\"\s+\"", "", texts)
            fields = re.findall(r"\"([^\"]*)\"", joined)
            assert len(fields) == 4 and len(fields[0]) <= 11, (constant, fields)
            table[name].append((int(status), constant, *fields))
        assert len(table[name]) == body.count("  X("), f"a row of {name} cannot be read"
    return table


def header_rows(rows):
    """The enumerators of a method, each below its comment."""
    entries = []
    for status, name, _, _, when, remedy in rows:
        comment = textwrap.fill(f"{when} {remedy} */", 98, initial_indent="  /* ",
                                subsequent_indent="   * ", break_long_words=False,
                                break_on_hyphens=False)
        entries.append(f"{comment}\n  {name} = {status}")
    return ",\n".join(entries) + "\n"


def manual_rows(rows):
    """The tagged paragraphs of a method, a sentence a line at least."""
    lines = []
    for status, name, _, _, when, remedy in rows:
        lines += [".TP", f".B {status} {name}"]
        for sentence in re.split(r"(?<=[.:;]) (?=[A-Zx])", f"{when} {remedy}"):
            lines += textwrap.wrap(sentence, 79, break_on_hyphens=False)
    return re.sub(r"(?<!\\)-(?=\d|convTol)", r"\\-", "\n".join(lines)) + "\n"


def page_rows(rows):
    """A table of the page, its columns as wide as their text."""
    def marked(text):
        text = re.sub(r"(\bVRK_\w+(?:\(\d\))?|\bmaxIter\b|-?\bconvTol\b)", r"`\1`", text)
        return re.sub(r"(?<![\w`])([xfn])(?![\w`])", r"`\1`", text)
    lines = ["| Status | Name | What has happened | What to do |", "|---|---|---|---|"]
    for status, name, _, _, when, remedy in rows:
        lines.append(f"| {status} | `{name}` | {marked(when)} | {marked(remedy)} |")
    return "\n".join(lines) + "\n"


def places(table):
    """(file, pattern with the text to be replaced between two groups, text)"""
    for method, routine in (("SQP", "VRK_sqp"), ("GRG", "VRK_grg")):
        yield ("include/tarnix/tarnix.h",
               rf"(/\* What {routine} returns\.[^/]*\*/\nenum {{\n)(.*?)(}};\n)",
               header_rows(table[method]))
    for method in ("SQP", "GRG", "COMMON"):
        yield ("packaging/tarnix.3.in",
               rf"(\.\\\" statuses {method}\n)(.*?)(\.\\\" end of statuses\n)",
               manual_rows(table[method]))
        yield ("docs/reference/statuses.md",
               rf"(<!-- statuses {method} -->\n)(.*?)(<!-- end of statuses -->\n)",
               f"\n{page_rows(table[method])}\n")


def main():
    table = read_table()
    wrong = 0
    for name, pattern, text in places(table):
        path = ROOT / name
        old = path.read_text()
        new, count = re.subn(pattern, lambda match: match[1] + text + match[3], old, flags=re.S)
        if count != 1:
            print(f"{name}: no place for {pattern}")
            wrong = 1
        elif new != old and "--write" in sys.argv[1:]:
            path.write_text(new)
        elif new != old:
            wrong = 1
            sys.stdout.writelines(difflib.unified_diff(
                old.splitlines(True), new.splitlines(True), name, "include/tarnix/statuses.h"))
    if wrong:
        print("run scripts/statuses.py --write")
    return wrong


if __name__ == "__main__":
    sys.exit(main())
