#!/usr/bin/env python3
"""lint.py [ROOT]: checks the habits of the house that no compiler checks.

- Includes go downwards (RANKS, ROOMS, INTERFACE), and neither files nor the engine's rooms
  include one another in a circle.
- In the library's folders a function has at most 40 lines, from its name to its
  last brace, and at most 3 levels of nesting: if, for, while, do, switch, a bare
  block and the body of a lambda are a level each, `else if` is none.
- Each function of quibtool.h and ipl.h has a docstring: a comment that stands
  above it with no empty line between; a comment may serve several functions if no
  empty line parts them. A heading is no docstring.
- Test programs compile the files of a folder as one (quib_unite_folders in
  tests/CMakeLists.txt): no helper of such a file has the name of a helper of another
  one, or of a header that another one includes. The compiler would see most of them
  as overloads, and choose.

Prints a line for each offence; the exit status is 1 if there was one.
"""

import pathlib
import re
import sys

MAX_LINES = 40
MAX_NESTING = 3

# A folder includes itself and folders of a lower rank, but these two know
# nothing of each other, nor do the engine and its neighbour.
RANKS = {
    "tests": 4,
    "examples": 3,
    "tools": 3,
    "benchmarks": 3,
    "fuzz": 3,
    "quibtool": 2,
    "_Src": 1,
    "zxdll": 1,
    "kernels": 0,
    "platform": 0,
}
LIBRARY = ("quibtool", "_Src", "kernels", "platform", "zxdll")
# Rooms of the engine; "" are the headers that all of them share. Rooms of one
# rank may use each other in one direction.
ROOMS = {"": 0, "image": 1, "walk": 2, "pixel": 3, "size": 4, "dib": 4, "warp": 4, "colour": 4,
         "window": 4}
# Each header of programs belongs to the folder that serves it.
INTERFACE = {"quibtool.h": "quibtool", "version.h": "quibtool", "iplimage.h": "_Src",
             "platform.h": "platform", "platform": "platform"}
DOCUMENTED = ("include/quibtool/quibtool.h", "_Src/ipl.h")
SUFFIXES = {".c", ".cpp", ".h", ".inl"}


class Unreadable(Exception):
    """Source text that this reader does not understand."""


# --- Includes ---------------------------------------------------------------------


def sources(root):
    """All source files, as paths relative to the root."""
    for folder in ("include", *RANKS):
        for path in sorted((root / folder).rglob("*")):
            if path.suffix in SUFFIXES and path.is_file():
                yield path.relative_to(root)


def includes(root, source):
    """(line, the file included or None) for each include in quotes."""
    text = (root / source).read_text(encoding="utf-8")
    pattern = re.compile(r'^[ \t]*#[ \t]*include[ \t]*"([^"]+)"', re.MULTILINE)
    for match in pattern.finditer(text):
        line = text.count("\n", 0, match.start()) + 1
        for base in (root / source.parent, root, root / "include"):
            target = (base / match[1]).resolve()
            if target.is_file() and target.is_relative_to(root):
                yield line, target.relative_to(root)
                break
        else:
            yield line, None


def home(path):
    """Where a header of programs would lie in the folder that it belongs to."""
    if path.parts[:2] != ("include", "quibtool") or path.parts[2] not in INTERFACE:
        return path
    return pathlib.PurePath(INTERFACE[path.parts[2]], path.name)


def room(path):
    return path.parts[1] if len(path.parts) > 2 else ""


def goes_down(source, target):
    here, there = source.parts[0], target.parts[0]
    if here != there:
        return RANKS[here] > RANKS.get(there, 9)
    if here != "_Src" or room(source) == room(target):
        return True
    return ROOMS[room(source)] >= ROOMS[room(target)]


def circles(edges):
    """The circles in a graph, {node: nodes}, each found once, as lists of nodes."""
    found, done = [], set()

    def visit(node, trail):
        if node in trail:
            found.append(trail[trail.index(node):] + [node])
        elif node not in done:
            for following in sorted(edges.get(node, ())):
                visit(following, trail + [node])
            done.add(node)

    for node in sorted(edges):
        visit(node, [])
    return found


def check_includes(root):
    files, rooms = {}, {}
    for source in sources(root):
        if home(source).parts[0] == "include":
            yield f"{source}:1: belongs to no folder (INTERFACE in lint.py)"
            continue
        if source.parts[0] == "_Src" and room(source) not in ROOMS:
            yield f"{source}:1: the engine has no room '{room(source)}' (ROOMS in lint.py)"
            continue
        for line, target in includes(root, source):
            if target is None:
                # Tests may include what the build makes for them.
                if home(source).parts[0] in LIBRARY:
                    yield f"{source}:{line}: includes a file that is not there"
                continue
            if target.parts[:1] == ("_Src",) and room(target) not in ROOMS:
                continue  # told of where the file itself is looked at
            if not goes_down(home(source), home(target)):
                yield f"{source}:{line}: includes upwards: {target}"
            files.setdefault(source.as_posix(), set()).add(target.as_posix())
            if source.parts[0] == target.parts[0] == "_Src" and room(source) != room(target):
                rooms.setdefault(room(source), set()).add(room(target))
    for circle in circles(files):
        yield f"{circle[0]}:1: files include each other: {' -> '.join(circle)}"
    for circle in circles(rooms):
        yield f"_Src:1: rooms include each other: {' -> '.join(circle)}"


# --- Functions --------------------------------------------------------------------

TOKEN = re.compile(r"""
    (?P<skip>\s+|//[^\n]*|/\*.*?\*/|^[ \t]*\#(?:[^\n\\]|\\.)*)
  | R"(?P<delimiter>[^(\s]*)\(.*?\)(?P=delimiter)"
  | "(?:[^"\\\n]|\\.)*" | '(?:[^'\\\n]|\\.)*'
  | (?:\d|\.\d)(?:[\w.']|(?<=[eEpP])[+-])*
  | \w+ | :: | -> | \S
""", re.VERBOSE | re.DOTALL | re.MULTILINE)
CLOSERS = {"(": ")", "[": "]", "{": "}"}
CONTROL = {"if", "for", "while", "do", "switch", "else"}
WORD = re.compile(r"\w")


class Tokens:
    """Words and marks of a file with their lines; no comments, no directives."""

    def __init__(self, text):
        self.words, self.lines = [], []
        line = 1
        for match in TOKEN.finditer(text):
            if not match["skip"]:
                self.words.append(match[0])
                self.lines.append(line)
            line += match[0].count("\n")
        self.partner = {}
        self._match_brackets()

    def _match_brackets(self):
        open_ones = []
        for i, word in enumerate(self.words):
            if word in CLOSERS:
                open_ones.append(i)
            elif word in CLOSERS.values():
                if not open_ones or CLOSERS[self.words[open_ones[-1]]] != word:
                    raise Unreadable(f"line {self.lines[i]}: '{word}' closes nothing")
                self.partner[open_ones.pop()] = i
        if open_ones:
            raise Unreadable(f"line {self.lines[open_ones[-1]]}: a bracket is never closed")

    def at(self, i):
        return self.words[i] if 0 <= i < len(self.words) else ""


def begin_of_signature(tokens, start):
    """Past the `template<...>` and `requires` lines' angle brackets, if any."""
    while tokens.at(start) == "template":
        depth, start = 0, start + 1
        while True:
            depth += {"<": 1, ">": -1}.get(tokens.at(start), 0)
            start += 1
            if depth == 0 or start >= len(tokens.words):
                break
    return start


def outer_words(tokens, start, end):
    """(index, word) of a statement's words outside of brackets."""
    i = start
    while i < end:
        yield i, tokens.words[i]
        i = tokens.partner.get(i, i) + 1


def kind_of_brace(tokens, start, brace):
    """What the statement from `start` opens with its brace outside of functions."""
    head = list(outer_words(tokens, begin_of_signature(tokens, start), brace))
    words = [word for _, word in head]
    if words[:1] == ["namespace"] or words[:2] == ["inline", "namespace"]:
        return "scope"
    if words[:1] == ["extern"] and len(words) == 2:
        return "scope"  # extern "C"
    if "=" in words and "operator" not in words:
        return "value"
    if "(" in words:
        # a(1), b{2} after the colon of a constructor
        after_list = ":" in words[words.index("("):]
        return "value" if after_list and WORD.match(words[-1]) else "function"
    if {"class", "struct", "union"} & set(words):
        return "scope"
    return "value"  # enum, or a variable's


def functions(tokens, start, end):
    """(first word, opening brace) of the functions among the words of a scope."""
    i = statement = start
    while i < end:
        word = tokens.words[i]
        if word == "{":
            kind = kind_of_brace(tokens, statement, i)
            if kind == "scope":
                yield from functions(tokens, i + 1, tokens.partner[i])
            elif kind == "function":
                yield begin_of_signature(tokens, statement), i
            i = tokens.partner[i] + 1
            if kind != "value":
                statement = i
        elif word in "([":
            i = tokens.partner[i] + 1
        else:
            i += 1
            if word == ";" or (word == ":" and i - 2 == statement):  # public:
                statement = i


def name_of(tokens, start, brace):
    for i, word in outer_words(tokens, start, brace):
        if word == "(":
            first = i - 1
            while first > start and (WORD.match(tokens.words[first]) and
                                     tokens.words[first - 1] in ("::", "operator")):
                first -= 2 if tokens.words[first - 1] == "::" else 1
            return "".join(tokens.words[first:i])
    return "?"


class Nesting:
    """The deepest level of nesting in a function's body."""

    def __init__(self, tokens, brace):
        self.tokens = tokens
        self.deepest, self.line = 0, tokens.lines[brace]
        self.block(brace, 0)

    def enter(self, depth, i):
        if depth > self.deepest:
            self.deepest, self.line = depth, self.tokens.lines[i]

    def block(self, brace, depth):
        i, end = brace + 1, self.tokens.partner[brace]
        while i < end:
            i = self.statement(i, end, depth)
        return end + 1

    def body(self, i, end, depth):
        """What a control statement governs; its braces are no level of their own."""
        if self.tokens.at(i) == "{":
            return self.block(i, depth)
        return self.statement(i, end, depth)

    def statement(self, i, end, depth):
        word = self.tokens.words[i]
        if word == "{":
            self.enter(depth + 1, i)
            return self.block(i, depth + 1)
        if word in CONTROL:
            return self.control(i, end, depth)
        return self.expression(i, end, depth)

    def control(self, i, end, depth):
        tokens, word = self.tokens, self.tokens.words[i]
        if word == "else" and tokens.at(i + 1) == "if":
            return self.control(i + 1, end, depth)
        self.enter(depth + 1, i)
        if word in ("else", "do"):
            i = self.body(i + 1, end, depth + 1)
            if word == "do":
                i = self.expression(i + 1, end, depth)  # the while (...);
            return i
        while tokens.at(i) != "(":
            i += 1  # constexpr
        self.lambdas(i + 1, tokens.partner[i], depth)
        return self.body(tokens.partner[i] + 1, end, depth + 1)

    def expression(self, i, end, depth):
        """To the semicolon, or the colon of a label; a macro may stand before a loop."""
        tokens, start = self.tokens, i
        label = tokens.words[i] in ("case", "default")
        while i < end:
            word = tokens.words[i]
            if word == ";" or (label and word == ":"):
                i += 1
                break
            if word in CONTROL and i > start:
                break
            i = tokens.partner.get(i, i) + 1
        self.lambdas(start, min(i, end), depth)
        return i

    def lambdas(self, i, end, depth):
        tokens = self.tokens
        while i < end:
            if tokens.words[i] == "[" and tokens.at(i + 1) != "[" and not self.is_index(i):
                brace = tokens.partner[i] + 1
                while brace < end and tokens.words[brace] not in "{;,":
                    brace = tokens.partner.get(brace, brace) + 1
                if brace < end and tokens.words[brace] == "{":
                    self.enter(depth + 1, brace)
                    i = self.block(brace, depth + 1)
                    continue
            i += 1

    def is_index(self, i):
        before = self.tokens.at(i - 1)
        return before in (")", "]", "[") or (WORD.match(before) and before != "return")


def check_functions(root):
    for source in sources(root):
        if home(source).parts[0] not in LIBRARY:
            continue
        try:
            tokens = Tokens((root / source).read_text(encoding="utf-8"))
        except Unreadable as problem:
            yield f"{source}:1: cannot be read: {problem}"
            continue
        for start, brace in functions(tokens, 0, len(tokens.words)):
            first = tokens.lines[start]
            lines = tokens.lines[tokens.partner[brace]] - first + 1
            name = name_of(tokens, start, brace)
            if lines > MAX_LINES:
                yield f"{source}:{first}: {name} has {lines} lines (at most {MAX_LINES})"
            nesting = Nesting(tokens, brace)
            if nesting.deepest > MAX_NESTING:
                yield (f"{source}:{nesting.line}: {name} is nested {nesting.deepest} levels deep "
                       f"(at most {MAX_NESTING})")


# --- Docstrings -------------------------------------------------------------------


def is_docstring(comment):
    """Whether a comment says something; a heading has dashes around a few words."""
    told = re.sub(r"/\*|\*/|//", " ", comment).strip()
    return re.match(r"-{2,}", told) is None and len(re.findall(r"\w{2,}", told)) >= 2


def declared_functions(text):
    """(line, name, whether it has a docstring) of a header's functions."""
    # What stands in braces declares no function: members, bodies.
    pattern = re.compile(r"""
        (?P<comment>(?:^[ \t]*//[^\n]*\n)+|^[ \t]*/\*.*?\*/[ \t]*$)
      | (?P<empty>^[ \t]*\n)
      | ^[ \t]*\#(?:[^\n\\]|\\.)*
      | ^extern[ ]"C"[ ]\{$
      | ^(?P<statement>[^\s/}](?:[^;{]|\{[^}]*\})*;)
    """, re.VERBOSE | re.DOTALL | re.MULTILINE)
    documented = False
    for match in pattern.finditer(text):
        if match["comment"]:
            documented = is_docstring(match["comment"]) or documented
        elif match["empty"]:
            documented = False
        elif match["statement"]:
            name = re.match(r"[^(={]*?(\w+)\s*\(", match["statement"])
            if name and not match["statement"].startswith(("using", "typedef", "struct", "enum")):
                yield text.count("\n", 0, match.start()) + 1, name[1], documented


def check_docstrings(root):
    for header in DOCUMENTED:
        if not (root / header).is_file():
            yield f"{header}:1: is not there"
            continue
        text = (root / header).read_text(encoding="utf-8")
        declared = set()
        for line, name, documented in declared_functions(text):
            declared.add(name)
            if not documented:
                yield f"{header}:{line}: {name} has no docstring"
        if header == "include/quibtool/quibtool.h":
            exported = (root / "quibtool/exports.txt").read_text(encoding="utf-8").split()
            for name in exported:
                if name not in declared:
                    yield f"{header}:1: {name} is exported and not declared"


# --- Helpers of tests ----------------------------------------------------------------

# A definition at the left margin: a type, or what its name and ( or { or = tell.
TYPE = re.compile(r"(?:struct|class|enum(?: class)?) (\w+)")
OTHER = re.compile(r"[^=(]*?\b(\w+)(?:\[\w*\])?(?: = |\{|\()")
NO_HELPER = ("template", "using ", "namespace", "TEST", "INSTANTIATE", "EXPECT", "ASSERT")


def helpers(text):
    """The names of the types, functions and values that a file of tests defines."""
    for line in text.split("\n"):
        if re.match(r"\w", line) and not line.startswith(NO_HELPER):
            match = TYPE.match(line) or OTHER.match(line)
            if match:
                yield match[1]


def united_folders(root):
    """{folder: its files} for what the test programs compile as one."""
    tests = root / "tests"
    listing = tests / "CMakeLists.txt"
    text = listing.read_text(encoding="utf-8") if listing.is_file() else ""
    folders = {}
    for match in re.finditer(r"^quib_test\((\w+) \d+\s+([^)]*)\)", text, re.MULTILINE):
        for source in match[2].split():
            path = pathlib.PurePath("tests", source)
            folders.setdefault((match[1], path.parent), []).append(path)
    return folders


def headers_of_tests(root, source):
    """The headers that a file of tests includes, however far away, but the library's."""
    known, waiting = set(), [source]
    while waiting:
        for _, target in includes(root, waiting.pop()):
            if target and target not in known and home(target).parts[0] in RANKS \
                    and home(target).parts[0] not in LIBRARY:
                known.add(target)
                waiting.append(target)
    return known


def check_helpers(root):
    for files in united_folders(root).values():
        owners = {}
        headers = {file: headers_of_tests(root, file) for file in files if (root / file).is_file()}
        for file in sorted(set().union(*headers.values())):
            for name in helpers((root / file).read_text(encoding="utf-8")):
                owners.setdefault(name, file)
        for file in headers:
            for name in sorted(set(helpers((root / file).read_text(encoding="utf-8")))):
                owner = owners.setdefault(name, file)
                if owner != file and owner not in headers[file]:
                    yield f"{file}:1: {name} is a helper of {owner} too, which is compiled with it"


def offences(root):
    """A line for each offence in the tree."""
    return [offence for check in (check_includes, check_functions, check_docstrings,
                                 check_helpers)
            for offence in check(root)]


def main():
    here = pathlib.Path(__file__).resolve().parent.parent
    root = pathlib.Path(sys.argv[1]).resolve() if len(sys.argv) > 1 else here
    found = offences(root)
    for offence in found:
        print(offence)
    return 1 if found else 0


if __name__ == "__main__":
    sys.exit(main())
