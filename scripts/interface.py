#!/usr/bin/env python3
"""interface.py [HEADER]: prints what the public header declares and says, as JSON.

As a module, `read()` gives the same as records. A header is read that keeps to these
forms, which are those of quibtool.h:

- `/* ---- Title ---- */` opens a family of functions.
- The first comment introduces the header.
- A comment right above a declaration is its docstring, and that of the declarations
  which follow without an empty line.
- A comment with an empty line below it is a note: it holds for all that follows in
  its family, or, if it begins "The next three ...", for so many functions.
- In a docstring or a note a paragraph that begins with one of LABELS and a colon
  belongs to that label; the others are the text. Lines indented by four spaces more
  stand as they are, and " - " begins an item of a list.

Comments come without their marks and with their own lines and indents.
"""

import dataclasses
import json
import pathlib
import re
import sys

ROOT = pathlib.Path(__file__).resolve().parent.parent
HEADER = "include/quibtool/quibtool.h"
RECORD = ROOT / "include/quibtool/iplimage.h"  # the image record's, which has no functions
LABELS = ("Depths", "Modes", "Fails", "Ends the process", "Ownership", "Source")
NUMBERS = ("one", "two", "three", "four", "five", "six", "seven", "eight", "nine", "ten")

PIECE = re.compile(r"""
    /\*(?P<comment>.*?)\*/[ \t]*\n
  | (?P<empty>[ \t]*\n)
  | (?P<directive>[ \t]*\#(?:[^\n\\]|\\.)*\n)
  | (?P<open>extern[ ]"C"[ ]\{\n)
  | (?P<close>\}\n)
  | (?P<statement>[^;{]*(?:\{.*?\n\}[^;]*)?;)[ \t]*(?:/\*(?P<beside>.*?)\*/)?[ \t]*\n
""", re.VERBOSE | re.DOTALL)


class Unreadable(Exception):
    """A header that does not keep to the forms."""


@dataclasses.dataclass
class Comment:
    """What a comment says: its text, and {label: text}."""
    text: str
    labels: dict[str, str]


@dataclasses.dataclass
class Parameter:
    type: str  # "const double (*)[3]"
    name: str
    declaration: str  # "const double (*coeffs)[3]"


@dataclasses.dataclass
class Function:
    name: str
    family: str
    result: str
    parameters: list[Parameter]
    declaration: str  # in one line, without QUIB_API
    text: str  # of its docstring
    labels: dict[str, str]  # its own, else those of its notes
    notes: list[Comment]
    shares_with: list[str]  # other functions under the same docstring
    cplusplus: bool  # declared for C++ alone
    line: int


@dataclasses.dataclass
class Constant:
    name: str
    value: str
    family: str
    text: str


@dataclasses.dataclass
class Record:
    name: str
    family: str
    declaration: str  # all of its lines; one for each kind of target
    text: str


@dataclasses.dataclass
class Family:
    name: str
    functions: list[str]
    notes: list[Comment]


@dataclasses.dataclass
class Interface:
    introduction: str
    families: list[Family]
    functions: list[Function]
    constants: list[Constant]
    records: list[Record]


# --- Comments ---------------------------------------------------------------------


def plain_text(comment):
    """A comment's lines without the marks at their begin."""
    lines = [re.sub(r"^[ \t]*\*[ ]?", "", line) for line in comment.split("\n")]
    return "\n".join(line.rstrip() for line in lines).strip()


def understood(text):
    """The text and the labelled paragraphs of a comment."""
    pattern = rf"^({'|'.join(LABELS)}):[ \n]"
    parts = re.split(pattern, text, flags=re.MULTILINE)
    labels = {}
    for label, said in zip(parts[1::2], parts[2::2]):
        if label in labels:
            raise Unreadable(f"'{label}' is there twice: {said.strip()}")
        own, _, after = said.partition("\n\n")
        labels[label] = own.strip()
        parts[0] += "\n\n" + after
    return Comment(re.sub(r"\n{3,}", "\n\n", parts[0]).strip(), labels)


# --- Declarations -----------------------------------------------------------------


def one_line(text):
    return " ".join(re.sub(r"/\*.*?\*/", "", text, flags=re.DOTALL).split())


def parameter(declaration):
    match = (re.fullmatch(r"(.+\(\*(?:const )?)(\w+)(\).*)", declaration) or
             re.fullmatch(r"(.+?)(\w+)((?:\[\d*\])*)", declaration))
    if not match:
        raise Unreadable(f"no parameter: {declaration}")
    return Parameter((match[1].rstrip() + match[3]).strip(), match[2], declaration)


def function(statement):
    """The parts of a function's declaration."""
    line = one_line(statement).rstrip("; ").replace("QUIB_API ", "")
    line = re.sub(r'^extern "C(?:\+\+)?" ', "", line)
    match = re.fullmatch(r"([\w ]+?[ *])(\w+)\((.*)\)", line)
    if not match:
        raise Unreadable(f"no function: {line}")
    declared = re.split(r",\s*(?![^()]*\))", match[3])
    return (match[2], match[1].strip(), line,
            [parameter(one) for one in declared if one not in ("", "void")])


class Reader:
    """Goes over a header's pieces and keeps what holds for the next one."""

    def __init__(self, text):
        self.text = text
        self.interface = Interface("", [], [], [], [])
        self.family = ""
        self.doc = None  # the comment above, until an empty line
        self.declared = False  # whether something stands under it
        self.documented = []  # functions under it
        self.notes = []  # (comment, functions left or None)
        self.inside_cplusplus = False

    def line(self, at):
        return self.text.count("\n", 0, at) + 1

    def run(self):
        at = 0
        while at < len(self.text):
            match = PIECE.match(self.text, at)
            if not match:
                raise Unreadable(f"line {self.line(at)} cannot be read")
            getattr(self, "read_" + self.kind(match))(match)
            at = match.end()
        for family in self.interface.families:
            family.functions = [each.name for each in self.interface.functions
                                if each.family == family.name]
        return self.interface

    @staticmethod
    def kind(match):
        return next(name for name in ("comment", "empty", "directive", "open", "close",
                                      "statement") if match[name] is not None)

    def read_comment(self, match):
        title = re.fullmatch(r"\s*-{2,} (.+?) -+\s*", match["comment"])
        if title:
            self.family = title[1]
            self.interface.families.append(Family(title[1], [], []))
            self.doc, self.notes = None, []
            return
        said = plain_text(match["comment"])
        self.doc, self.declared, self.documented = said, False, []
        if not self.interface.introduction:
            self.interface.introduction, self.doc = said, None

    def read_empty(self, _match):
        if self.doc and not self.declared and self.family:
            note = understood(self.doc)
            words = re.match(r"The next (\w+)", self.doc)
            count = NUMBERS.index(words[1]) + 1 if words and words[1] in NUMBERS else None
            self.notes.append([note, count])
            self.interface.families[-1].notes.append(note)
        self.doc = None

    def read_directive(self, match):
        words = match["directive"].split()
        if words[0] == "#ifdef" and words[1] == "__cplusplus":
            self.inside_cplusplus = True
        elif words[0] in ("#endif", "#else"):
            self.inside_cplusplus = False
        define = re.match(r"\s*#\s*define (\w+)[ \t]+([^\n]*?)[ \t]*(?:/\*(.*?)\*/)?[ \t]*\n",
                          match["directive"], re.DOTALL)
        if define and define[1] != "QUIB_API":
            said = plain_text(define[3]) if define[3] else self.doc or ""
            self.interface.constants.append(Constant(define[1], define[2], self.family, said))
            self.declared = True

    def read_open(self, _match):
        self.doc, self.inside_cplusplus = None, False

    read_close = read_open

    def read_statement(self, match):
        statement = match["statement"]
        if "(" not in re.sub(r"\{.*\}", "", statement, flags=re.DOTALL):
            self.add_record(statement)
            return
        if not statement.startswith("typedef"):
            self.add_function(statement, self.line(match.start()))

    def add_record(self, statement):
        name = re.search(r"(\w+)\s*;$", statement)[1]
        known = [each for each in self.interface.records if each.name == name]
        if known:  # of another target
            known[0].declaration += "\n" + statement.strip()
        else:
            self.interface.records.append(
                Record(name, self.family, statement.strip(), self.doc or ""))
        self.declared = True

    def add_function(self, statement, line):
        name, result, declaration, parameters = function(statement)
        if not self.doc:
            raise Unreadable(f"line {line}: {name} has no docstring")
        own = understood(self.doc)
        notes = [note for note, left in self.notes if left is None or left > 0]
        labels = {}
        for comment in [*notes, own]:
            labels.update(comment.labels)
        made = Function(name, self.family, result, parameters, declaration, own.text, labels,
                        notes, [], self.inside_cplusplus or 'extern "C++"' in statement, line)
        made.shares_with = [other.name for other in self.documented]
        for other in self.documented:
            other.shares_with.append(name)
        self.declared = True
        self.documented.append(made)
        self.interface.functions.append(made)
        for note in self.notes:
            note[1] = None if note[1] is None else note[1] - 1


def read(header=ROOT / HEADER):
    """The Interface that a header declares."""
    return Reader(pathlib.Path(header).read_text(encoding="utf-8")).run()


def main():
    interface = read(*sys.argv[1:2])
    print(json.dumps(dataclasses.asdict(interface), indent=2, ensure_ascii=False))


if __name__ == "__main__":
    main()
