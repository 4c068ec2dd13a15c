"""Makes HTML of the documentation: documentation.py OUTPUT MANUAL PAGE.md...

MANUAL is a page for man, which mandoc converts; links between the pages go to what is made here, and links to
what is not become their text.
"""

import html
import re
import shutil
import subprocess
import sys
from pathlib import Path

from markdown_it import MarkdownIt

FRAME = """<!DOCTYPE html>
<html lang="en">
<head>
<meta charset="utf-8">
<meta name="viewport" content="width=device-width, initial-scale=1">
<title>{title}</title>
<style>
body {{ font: 16px/1.5 system-ui, sans-serif; max-width: 56rem; margin: 2rem auto; padding: 0 1rem; color: #1b1f24; background: #fff }}
pre, code {{ font: 14px/1.4 Consolas, monospace; background: #f3f5f7 }} pre {{ padding: .7rem; overflow-x: auto }}
table {{ border-collapse: collapse; display: block; overflow-x: auto }} th, td {{ border: 1px solid #d0d7de; padding: .25rem .6rem; text-align: left; vertical-align: top }}
img {{ max-width: 100% }} nav {{ font-size: 14px }}
</style>
</head>
<body>
<nav><a href="index.html">Documentation of ZarnGI</a></nav>
{body}
</body>
</html>
"""


def anchor(heading):
    """The name by which the pages link to a heading."""
    return re.sub(r"[^\w\- ]", "", heading.lower()).replace(" ", "-")


def moved(target, made):
    """Where a link leads among the pages that are made; None: nowhere."""
    path, mark, place = target.partition("#")
    if path == "":
        return target
    if path.startswith(("http:", "https:")):
        return target
    name = {"man/zarngi.1": "manual"}.get(path, path.removesuffix(".md"))
    return f"{name}.html{mark}{place}" if name in made else None


def relinked(tokens, made):
    """The tokens of a paragraph with their links moved; those that lead nowhere are dropped."""
    kept, open_links = [], []
    for token in tokens:
        if token.type == "link_open":
            target = moved(token.attrs["href"], made)
            open_links.append(target)
            if target is not None:
                token.attrs["href"] = target
                kept.append(token)
        elif token.type != "link_close" or open_links.pop() is not None:
            kept.append(token)
    return kept


def page_of(path, made, output):
    """A page as HTML, with its title; its images are copied."""
    parser = MarkdownIt("commonmark").enable("table")
    tokens = parser.parse(path.read_text(encoding="utf-8"))
    title = path.stem
    for before, token in zip(tokens, tokens[1:]):
        if token.type != "inline":
            continue
        if before.type == "heading_open":
            text = "".join(child.content for child in token.children)
            before.attrs["id"] = anchor(text)
            title = text if before.tag == "h1" else title
        for child in token.children:
            if child.type == "image":
                source = child.attrs["src"]
                (output / source).parent.mkdir(exist_ok=True)
                shutil.copyfile(path.parent / source, output / source)
        token.children = relinked(token.children, made)
    return title, parser.renderer.render(tokens, parser.options, {})


def main(output, manual, *pages):
    output = Path(output)
    shutil.rmtree(output, ignore_errors=True)
    output.mkdir(parents=True)
    paths = [Path(page) for page in pages]
    made = {path.stem for path in paths} | {"manual"}
    titles = {"manual": "The command-line program: manual"}
    text = subprocess.run(["mandoc", "-T", "html", "-O", "fragment", manual], check=True, capture_output=True).stdout
    bodies = {"manual": text.decode("utf-8")}
    for path in paths:
        titles[path.stem], bodies[path.stem] = page_of(path, made, output)
    links = (f'<li><a href="{name}.html">{html.escape(titles[name])}</a></li>' for name in bodies)
    titles["index"] = "Documentation of ZarnGI"
    bodies["index"] = f"<h1>{titles['index']}</h1>\n<ul>\n" + "\n".join(links) + "\n</ul>"
    for name, body in bodies.items():
        filled = FRAME.format(title=html.escape(titles[name]), body=body)
        (output / f"{name}.html").write_text(filled, encoding="utf-8", newline="\n")


main(*sys.argv[1:])
