"""What the pages of the documentation hold: commands, programs, tables, links.

The convention: a fence is what its info string says. `sh` and an indented block that starts with a
program are commands; `console` shows commands after "$ " and what comes out; `python` is a program,
or with prompts a session; `c` and `cmake` are excerpts; `text` and other indented blocks are not
run. Inline code that starts with a program and goes on is a command too.
"""

import os
import re
from dataclasses import dataclass, field
from pathlib import Path

from markdown_it import MarkdownIt

PROJECT = Path(__file__).resolve().parents[2]
PAGES = ["README.md", "CONTRIBUTING.md", *sorted(f"docs/{p.name}" for p in PROJECT.glob("docs/*.md"))]
PROGRAMS = {
    "apt-get", "build/release/bench/zarngi_bench", "build/release/bench/zarngi_bench_paths",
    "build/release/cli/zarngi", "cc", "cmake", "ctest", "g++", "ldconfig", "make", "ninja", "node",
    "npm", "pip", "pkg-config", "python3", "sudo", "timeout", "zarngi", "zarngi-cohort",
}  # fmt: skip
ASSIGNMENT = re.compile(r"[A-Z_]+=\S*$")


def is_command(text):
    """Whether the text starts with a program, after assignments."""
    words = [word for word in text.split() if not ASSIGNMENT.match(word)]
    if len(words) < 2:
        return False
    place = PROJECT / words[0]
    return words[0] in PROGRAMS or (place.is_file() and os.access(place, os.X_OK))


@dataclass
class Command:
    text: str
    output: str | None = None  # None: not shown


@dataclass
class Block:
    page: str
    line: int
    kind: str  # info string, "indented" or "inline"
    text: str

    @property
    def place(self):
        return f"{self.page}:{self.line}"

    @property
    def is_session(self):
        return self.kind == "python" and ">>> " in self.text

    @property
    def commands(self):
        """The commands in the block, without comments."""
        if self.kind == "console":
            parts = re.split(r"^\$ ", self.text, flags=re.MULTILINE)
            assert not parts[0], f"{self.place}: output before the first command"
            return [Command(*part.split("\n", 1)) for part in parts[1:]]
        if self.kind == "sh" or (self.kind in ("indented", "inline") and is_command(self.text)):
            lines = self.text.replace("\\\n", " ").splitlines()
            bare = [" ".join(re.sub(r"\s#.*", "", line).split()) for line in lines]
            return [Command(line) for line in bare if line]
        return []


@dataclass
class Page:
    name: str
    text: str
    blocks: list = field(default_factory=list)
    tables: list = field(default_factory=list)  # rows of cells
    headings: list = field(default_factory=list)
    links: list = field(default_factory=list)

    @property
    def inline_code(self):
        return [block.text for block in self.blocks if block.kind == "inline"]


def _read_inline(page, line, token):
    """Code and links of a paragraph or cell; its text."""
    for child in token.children:
        if child.type == "code_inline":
            page.blocks.append(Block(page.name, line, "inline", child.content))
        elif child.type in ("link_open", "image"):
            page.links.append(child.attrs.get("href") or child.attrs.get("src"))
    return "".join(child.content for child in token.children)


def read_page(name):
    page = Page(name, (PROJECT / name).read_text(encoding="utf-8"))
    line, previous = 1, None
    for token in MarkdownIt("commonmark").enable("table").parse(page.text):
        line = token.map[0] + 1 if token.map else line
        if token.type in ("fence", "code_block"):
            kind = token.info.strip() if token.type == "fence" else "indented"
            page.blocks.append(Block(name, line, kind, token.content))
        elif token.type == "table_open":
            page.tables.append([])
        elif token.type == "tr_open":
            page.tables[-1].append([])
        elif token.type == "inline":
            text = _read_inline(page, line, token)
            if previous.type in ("th_open", "td_open"):
                page.tables[-1][-1].append(text)
            elif previous.type == "heading_open":
                page.headings.append(text)
        previous = token
    return page


def anchor(heading):
    """The name by which a heading is linked to."""
    return re.sub(r"[^\w\- ]", "", heading.lower()).replace(" ", "-")
