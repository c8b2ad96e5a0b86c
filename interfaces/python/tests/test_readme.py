"""The README's first program prints what it says."""

import contextlib
import io
import os
import re

README = os.path.join(os.path.dirname(os.path.abspath(__file__)), "../README.md")


def test_the_first_program():
    with open(README, encoding="utf-8") as file:
        text = file.read()
    program = re.search(r"```python\n(.*?)```", text, re.DOTALL).group(1)
    expected = re.search(r"<!-- output -->\n```\n(.*?)```", text, re.DOTALL).group(1)
    shown = io.StringIO()
    with contextlib.redirect_stdout(shown):
        exec(compile(program, "README.md", "exec"), {})
    assert shown.getvalue() == expected
