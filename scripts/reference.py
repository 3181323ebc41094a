#!/usr/bin/env python3
"""reference.py PICTURES OUTPUT: writes the reference, a page for each function.

The text is the public header's (interface.py), the snippets are the lines between
"shown" and "end" in examples/reference/, and PICTURES is the folder that quib_reference
has filled by running those. docs/reference/ holds the templates, the style and the
search, which needs no server.
"""

import argparse
import html
import json
import pathlib
import re
import shutil
import sys
import textwrap

import jinja2
import pygments
import pygments.formatters
import pygments.lexers

import interface

ROOT = interface.ROOT
THEME = ROOT / "docs/reference"
EXAMPLES = ROOT / "examples/reference"
# What a page tells of its function, in this order, with the labels of the header.
FACTS = ("Depths", "Modes", "Fails", "Ownership", "Source")


class Incomplete(Exception):
    """Something that a page needs is missing."""


def slug(title):
    return re.sub(r"[^a-z0-9]+", "-", title.lower()).strip("-")


def first_sentence(text):
    """Of a docstring's first paragraph, as one line."""
    paragraph = " ".join(text.split("\n\n")[0].split())
    return re.split(r"(?<=[.:]) (?=[A-Z0-9(])", paragraph)[0].rstrip(":")


# --- Text to HTML -------------------------------------------------------------------


class Writer:
    """Turns the header's text into HTML, with links to what it names."""

    def __init__(self, header, record):
        self.functions = {each.name for each in header.functions}
        self.links = {name: f"{name}.html" for name in self.functions}
        for each in [*header.constants, *record.constants]:
            self.links[each.name] = f"types.html#{each.name}"
        for each in [*header.records, *record.records]:
            self.links[each.name] = f"types.html#{each.name}"
        self.formatter = pygments.formatters.HtmlFormatter(nowrap=True)
        self.lexer = pygments.lexers.CLexer()

    def linked(self, escaped, here=""):
        """Names in a piece of HTML without tags become links."""
        def link(match):
            name = match[0]
            if name not in self.links or name == here:
                return f"<code>{name}</code>" if "_" in name or name == here else name
            return f'<a href="{self.links[name]}"><code>{name}</code></a>'
        return re.sub(r"\b\w*[A-Z]\w*[A-Z_a-z0-9]\w*\b", link, escaped)

    def inline(self, text, here="", parameters=()):
        """One paragraph's text."""
        escaped = html.escape(" ".join(text.split()), quote=False)
        escaped = re.sub(r"`([^`]+)`", r"\1", escaped)
        out = self.linked(escaped, here)
        # Of a parameter whose name is a word of the language only *name is sure.
        forms = [re.escape(star + name) for name in parameters for star in ("*", "")
                 if star or re.search("[A-Z]", name) or name in ("src", "dst", "hdc")]
        if forms:
            out = re.sub(rf"(?<![\w>*])({'|'.join(forms)})(?![\w<])", r"<code>\1</code>", out)
        return out

    def blocks(self, text, here="", parameters=()):
        """Paragraphs, lists and blocks that stand as they are."""
        out = []
        for block in re.split(r"\n{2,}", text):
            lines = block.split("\n")
            while lines:
                out.append(self.block(lines, here, parameters))
        return "\n".join(out)

    def block(self, lines, here, parameters):
        """Takes what belongs together off the lines and gives its HTML."""
        if lines[0].startswith("    "):
            count = next((i for i, line in enumerate(lines) if not line.startswith("    ")),
                         len(lines))
            taken, lines[:count] = lines[:count], []
            return f"<pre class=\"table\">{html.escape(textwrap.dedent(chr(10).join(taken)))}</pre>"
        if lines[0].startswith(" - "):
            items = []
            while lines and lines[0].startswith((" - ", "   ")):
                line = lines.pop(0)
                if line.startswith(" - "):
                    items.append(line[3:])
                else:
                    items[-1] += " " + line
            told = "".join(f"<li>{self.inline(item, here, parameters)}</li>" for item in items)
            return f"<ul>{told}</ul>"
        count = next((i for i, line in enumerate(lines) if line.startswith(("    ", " - "))),
                     len(lines))
        taken, lines[:count] = lines[:count], []
        return f"<p>{self.inline(' '.join(taken), here, parameters)}</p>"

    def linked_signature(self, text):
        """A declaration with its types linked."""
        return re.sub(r'<span class="n">(\w+)</span>',
                      lambda match: f'<a href="{self.links[match[1]]}">{match[1]}</a>'
                      if match[1] in self.links and match[1] not in self.functions else match[0],
                      self.code(text))

    def code(self, text):
        return pygments.highlight(text, self.lexer, self.formatter)


# --- Snippets ------------------------------------------------------------------------


def snippets(folder=EXAMPLES):
    """{function: the lines that its page shows}."""
    found = {}
    pattern = re.compile(r"^EXAMPLE\((\w+)\)\n\{\n(.*?)^\}$", re.DOTALL | re.MULTILINE)
    for source in sorted(folder.glob("*.c*")):
        for name, body in pattern.findall(source.read_text(encoding="utf-8")):
            shown = re.search(r"^ */\* shown \*/\n(.*?)^ */\* end \*/$", body,
                              re.DOTALL | re.MULTILINE)
            if not shown:
                raise Incomplete(f"{source.name}: the example of {name} shows no lines")
            found[name] = textwrap.dedent(shown[1]).rstrip()
    return found


def definition_of_try():
    text = (EXAMPLES / "gallery.h").read_text(encoding="utf-8")
    lines = re.search(r"#define TRY\(.*?while \(0\)", text, re.DOTALL)[0].split("\n")
    return "\n".join(re.sub(r"\s*\\$", " \\\\", line) for line in lines)


def version():
    """The library's, as its header tells it."""
    text = (ROOT / "include/quibtool/version.h").read_text(encoding="utf-8")
    return ".".join(re.findall(r"VERSION_(?:MAJOR|MINOR|PATCH) (\d+)$", text, re.MULTILINE))


# --- Pages ---------------------------------------------------------------------------


def signature(function):
    """A declaration as one would lay it out, a parameter a line if it is long."""
    if len(function.declaration) <= 78:
        return function.declaration + ";"
    inside = ",\n    ".join(each.declaration for each in function.parameters)
    return f"{function.result} {function.name}(\n    {inside});"


def named(note, functions):
    """A note's text with the functions that it holds for in the place of their number."""
    names = [each.name for each in functions if note in each.notes]
    listed = " and ".join(filter(None, [", ".join(names[:-1]), names[-1]]))
    return re.sub(r"^(The next \w+|Both)\b", listed, note.text)


class Reference:
    """Everything that the pages are made of."""

    def __init__(self, pictures):
        self.header = interface.read()
        self.record = interface.read(interface.RECORD)
        self.writer = Writer(self.header, self.record)
        self.snippets = snippets()
        self.shown = json.loads((pictures / "pictures.json").read_text(encoding="utf-8"))
        self.statuses = [each for each in self.header.constants if each.name.startswith("QUIB_")
                         and "QuibStatus" in each.value]
        self.version = version()

    def page_of(self, function):
        """What a function's page says."""
        for what, known in (("example", self.snippets), ("picture", self.shown)):
            if function.name not in known:
                raise Incomplete(f"{function.name} has no {what}")
        if "Ends the process" not in function.labels:
            raise Incomplete(f"quibtool.h:{function.line}: {function.name} does not say when it "
                             "ends the process")
        write, names = self.writer, [each.name for each in function.parameters]
        shown = self.shown[function.name]
        fails = function.labels.get("Fails", "")
        ends = function.labels["Ends the process"]
        return {
            "name": function.name,
            "family": function.family,
            "family_page": f"family-{slug(function.family)}.html",
            "lead": first_sentence(function.text),
            "lead_html": write.inline(first_sentence(function.text), function.name, names),
            "cplusplus": function.cplusplus,
            "signature": write.linked_signature(signature(function)),
            "text": write.blocks(function.text, function.name, names),
            "notes": [write.blocks(named(note, self.header.functions), function.name, names)
                      for note in function.notes if note.text],
            "shares_with": function.shares_with,
            "ends": write.inline(ends, function.name, names),
            "never_ends": ends.startswith("never"),
            "facts": [(label, write.inline(function.labels[label], function.name, names))
                      for label in FACTS if label in function.labels],
            "statuses": [each for each in self.statuses
                         if re.search(rf"\b{each.name}\b", fails)],
            "snippet": write.code(self.snippets[function.name]),
            "told": shown["facts"],
            "before": [each for each in shown["pictures"] if each["role"] == "before"],
            "after": [each for each in shown["pictures"] if each["role"] == "after"],
            "variations": [each for each in shown["pictures"] if each["role"] == "variation"],
            "depths": write.inline(function.labels.get("Depths", "").rstrip(".")),
            "modes": write.inline(function.labels.get("Modes", "").rstrip(".")),
        }

    def search_entries(self, pages):
        """[name, page, family, text] for each function, family and constant."""
        functions = {each.name: each for each in self.header.functions}
        for page in pages:
            told = functions[page["name"]]
            words = " ".join([told.text, *told.labels.values(),
                              *(each.name for each in told.parameters)])
            yield [page["name"], page["name"] + ".html", page["lead"], " ".join(words.split())]
        for family in self.header.families:
            yield [family.name, f"family-{slug(family.name)}.html",
                   f"Family of {len(family.functions)} functions", ""]
        for each in [*self.header.constants, *self.record.constants]:
            yield [each.name, f"types.html#{each.name}", " ".join(each.text.split()) or each.value,
                   ""]
        for each in [*self.header.records, *self.record.records]:
            yield [each.name, f"types.html#{each.name}", first_sentence(each.text), ""]


def write_pages(reference, output):
    environment = jinja2.Environment(loader=jinja2.FileSystemLoader(THEME), autoescape=True,
                                     trim_blocks=True, lstrip_blocks=True,
                                     undefined=jinja2.StrictUndefined)
    write = reference.writer
    pages = [reference.page_of(each) for each in reference.header.functions]
    by_name = {page["name"]: page for page in pages}
    families = [{"name": family.name, "page": f"family-{slug(family.name)}.html",
                 "notes": [write.blocks(named(note, reference.header.functions))
                           for note in family.notes if note.text],
                 "pages": [by_name[name] for name in family.functions]}
                for family in reference.header.families if family.functions]
    shared = {"families": families, "version": reference.version}

    def put(template, name, **values):
        text = environment.get_template(template).render(**shared, **values)
        (output / name).write_text(text, encoding="utf-8")

    for position, page in enumerate(pages):
        put("function.html.j2", page["name"] + ".html", page=page, here=page["name"],
            previous=pages[position - 1] if position else None,
            following=pages[position + 1] if position + 1 < len(pages) else None)
    for family in families:
        put("family.html.j2", family["page"], family=family, here=family["name"])
    put("types.html.j2", "types.html", here="types", statuses=reference.statuses,
        constants=[each for each in [*reference.header.constants, *reference.record.constants]
                   if each not in reference.statuses],
        records=[{"name": each.name, "text": write.blocks(each.text),
                  "declaration": write.code(each.declaration)}
                 for each in [*reference.header.records, *reference.record.records]])
    put("index.html.j2", "index.html", here="index",
        pages=sorted(pages, key=lambda each: each["name"].lower()),
        introduction=write.blocks(reference.header.introduction),
        definition=write.code(definition_of_try()))
    entries = json.dumps(list(reference.search_entries(pages)), ensure_ascii=False)
    (output / "search-index.js").write_text(f"const SEARCH_INDEX = {entries};\n", encoding="utf-8")


def build(pictures, output):
    reference = Reference(pictures)
    shutil.rmtree(output, ignore_errors=True)
    output.mkdir(parents=True)
    write_pages(reference, output)
    shutil.copytree(pictures, output / "pictures",
                    ignore=shutil.ignore_patterns("pictures.json"))
    for name in ("style.css", "search.js"):
        shutil.copy(THEME / name, output / name)
    return len(reference.header.functions)


def main():
    parser = argparse.ArgumentParser(description="Writes the reference.")
    parser.add_argument("pictures", type=pathlib.Path, help="what quib_reference has written")
    parser.add_argument("output", type=pathlib.Path)
    wanted = parser.parse_args()
    try:
        count = build(wanted.pictures, wanted.output)
    except (Incomplete, interface.Unreadable) as problem:
        sys.exit(f"reference: {problem}")
    print(f"{count} functions, {sum(1 for _ in wanted.output.glob('*.html'))} pages")


if __name__ == "__main__":
    main()
