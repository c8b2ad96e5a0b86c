"""Makes the comments of the C headers readable for doxygen: header_filter.py HEADER.

A comment that begins a line documents what follows it, one behind a member that member. What is
laid out by hand (formulas, tables of arguments: lines indented in the comment) is kept as it is.
"""
import pathlib
import re
import sys


def documented(match):
    indent, body = match.groups()
    lines = [re.sub(r"^\s*\* ?", "", line) for line in body.split("\n")]
    lines[0] = lines[0].strip()
    if lines[0].startswith("---"):  # a heading between groups of routines
        return match[0]
    out, fixed = [], False
    for line in lines:
        if line.strip() and line.startswith("  ") != fixed:
            out.append("\\endverbatim" if fixed else "\\verbatim")
            fixed = not fixed
        out.append(line)
    if fixed:
        out.append("\\endverbatim")
    text = "\n".join(out)
    return f"{indent}/** {text}\n*/"


source = pathlib.Path(sys.argv[1]).read_text()
source = re.sub(r"\A/\* ", "/* \\\\file\n * ", source)
source = re.sub(r"^( *)/\* (.*?)\s*\*/", documented, source, flags=re.M | re.S)
source = re.sub(r"(?<=[;,\d]) ( *)/\* ", r" \1/**< ", source)
sys.stdout.write(source)
