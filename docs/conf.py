"""Sphinx builds the documents with this: cmake --build build/release --target docs."""
import importlib.util
import os
import pathlib
import re
import sys

from pygments.lexers.special import TextLexer
from sphinx.util.nodes import make_refnode

ROOT = pathlib.Path(__file__).resolve().parent.parent

project = "tarnix"
author = "tarnix developers"
release = version = re.findall(r"project\(tarnix VERSION ([\d.]+)",
                               (ROOT / "CMakeLists.txt").read_text())[0]
copyright = "tarnix developers"

extensions = ["breathe", "myst_parser", "sphinx.ext.autodoc", "sphinx.ext.napoleon"]
exclude_patterns = ["README.md"]
myst_heading_anchors = 3
suppress_warnings = ["myst.header"]  # pages that are included begin below their first heading
nitpicky = True

# --- The C and C++ headers, read by doxygen ----------------------------------------------------
breathe_projects = {"tarnix": os.environ.get("TARNIX_DOXYGEN_XML", "")}
breathe_default_project = "tarnix"
breathe_domain_by_extension = {"h": "c", "hpp": "cpp"}
breathe_show_include = False
# Types of the standard libraries, and names of the interface that stand for themselves.
nitpick_ignore_regex = [
    (r"c:identifier", r".*"),
    (r"cpp:identifier", r"(std|detail|tarnix)(::.*)?|.*_t|.*Fn|F|Enum|R|Self|Arguments|unlimited"),
    (r"py:.*", r"(?!tarnix\.).*"),
]
c_id_attributes = cpp_id_attributes = ["VRK_API", "TARNIX_INLINE"]

# --- The Python package: its own sources, without the compiled module --------------------------
sys.path.insert(0, str(ROOT / "interfaces/python"))
autodoc_mock_imports = ["tarnix._core"]
autodoc_typehints = "none"
autodoc_member_order = "bysource"
napoleon_google_docstring = False
napoleon_use_rtype = False
napoleon_use_ivar = True
napoleon_use_param = False

# --- HTML: furo has a dark side and folds on narrow screens; without it, alabaster -------------
FURO = importlib.util.find_spec("furo")
html_theme = "furo" if FURO else "alabaster"
html_title = f"tarnix {release}"
html_static_path = ["_static"]
html_css_files = ["tarnix.css"]
html_copy_source = False
html_show_sphinx = False
highlight_language = "none"


def dark_colors(style):
    """Debian 12's furo has dark colors but does not follow the reader's preference with them."""
    if "prefers-color-scheme" in style:
        return {}
    dark = re.search(r'body\[data-theme="dark"\] {([^}]*--[^}]*)}', style)
    return dict(re.findall(r"--([\w-]+): ([^;]+);", dark[1])) if dark else {}


if FURO:
    STYLES = pathlib.Path(FURO.origin or "").parent / "theme/furo/static/styles/furo.css"
    html_theme_options = {"dark_css_variables": dark_colors(STYLES.read_text())}

# --- Manual pages, from the same pages ----------------------------------------------------------
man_pages = [
    ("methods", "tarnix-methods", "the two methods of tarnix as implemented", author, 7),
    ("reference/statuses", "tarnix-statuses", "what the solve calls of tarnix return", author, 7),
    ("reference/problem_file", "tarnix-problem", "problem files of the program tarnix", author, 5),
]
man_show_urls = True


def inline_figures(app, page, template, context, doctree):
    """Puts our own figures into the page itself, so that they take its colors, dark ones too."""
    def drawn(match):
        file = pathlib.Path(__file__).parent / "figures" / match[1]
        return file.read_text() if file.exists() else match[0]

    if "body" in context:
        context["body"] = re.sub(r'<img [^>]*src="[^"]*_images/(\w+\.svg)"[^>]*/>', drawn,
                                 context["body"])


# Pages that show documents of other folders: links to those lead here.
PAGES = {"interfaces/ampl/README.md": "start/nl", "interfaces/cli/README.md": "program/index",
         "interfaces/cpp/README.md": "reference/cpp",
         "interfaces/fortran/README.md": "reference/fortran",
         "interfaces/octave/README.md": "start/octave",
         "interfaces/python/README.md": "reference/python", "bench/README.md": "benchmarks",
         "CHANGELOG.md": "changelog", "CONTRIBUTING.md": "contributing"}


def other_folders(app, env, node, content):
    file, _, _ = node.get("reftarget", "").partition("#")
    for name, page in PAGES.items():
        if node.get("reftype") == "any" and re.fullmatch(rf"(\.\./)*{name}", file):
            return make_refnode(app.builder, node.get("refdoc", env.docname), page, "", content)
    return None


def setup(app):
    app.add_lexer("csv", TextLexer)
    app.connect("html-page-context", inline_figures)
    app.connect("missing-reference", other_folders)
