#!/usr/bin/env python3
"""Relative links in the Markdown files of the repository lead to a file, and to a heading of it."""
import pathlib
import re
import subprocess
import sys

ROOT = pathlib.Path(__file__).resolve().parent.parent
LINK = re.compile(r"!?\[[^\]]*\]\(([^)\s]+)\)")


def anchors(path):
    """As the forges make them: lower case, blanks to hyphens, other signs dropped."""
    text = re.sub(r"^```.*?^```", "", path.read_text(), flags=re.M | re.S)
    return {re.sub(r"[^\w\- ]", "", heading.lower()).strip().replace(" ", "-")
            for heading in re.findall(r"^#+ (.*)$", text, re.M)}


def main():
    listed = subprocess.run(["git", "ls-files", "--cached", "--others", "--exclude-standard",
                             "*.md"], cwd=ROOT, check=True, stdout=subprocess.PIPE, text=True)
    links = wrong = 0
    for name in listed.stdout.split("\n"):
        path = ROOT / name
        if not path.is_file():  # the end of the list, or removed
            continue
        text = re.sub(r"^```.*?^```", "", path.read_text(), flags=re.M | re.S)
        for target in LINK.findall(text):
            if re.match(r"[a-z]+:", target):
                continue
            links += 1
            file, _, anchor = target.partition("#")
            place = (path.parent / file).resolve() if file else path
            if not place.exists():
                print(f"{name}: no {target}")
                wrong += 1
            elif anchor and anchor not in anchors(place):
                print(f"{name}: no heading {target}")
                wrong += 1
    print(f"{links} links, {wrong} wrong")
    return links < 20 or wrong > 0


if __name__ == "__main__":
    sys.exit(main())
