#!/usr/bin/env python3
"""Excerpts of files are what the files contain: excerpts_test.py PAGE...

A block behind a line <!-- from FILE --> holds successive lines of the file.
"""
import pathlib
import re
import sys

ROOT = pathlib.Path(__file__).resolve().parent.parent
BLOCK = re.compile(r"<!-- from (\S+) -->\n```\w*\n(.*?)^```$", re.M | re.S)


def main():
    wrong = 0
    for page in sys.argv[1:]:
        blocks = BLOCK.findall((ROOT / page).read_text())
        if not blocks:
            print(f"{page} has no excerpt")
            wrong += 1
        for name, text in blocks:
            if f"\n{text}" not in "\n" + (ROOT / name).read_text():
                print(f"{page}: not in {name}:\n{text}")
                wrong += 1
    return wrong > 0


if __name__ == "__main__":
    sys.exit(main())
