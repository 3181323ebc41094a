#!/usr/bin/env python3
"""mutate.py [options]: does a test fail when a line of the library is broken?

Takes small changes to the library's sources (mutants: a comparison turned, a
constant off by one, a call dropped), one at a time, and runs the tests that can
see the file: those of its room first, then the rest of its program, then the
programs above. A mutant that no test minds has survived, which means that a test
is missing or that the change changes nothing.

The sources stay as they are: a changed copy is compiled and linked in front of the
library into a test program, in the build directory of the preset `mutate`, which
has the kernels at the base level alone. A change that does not reach the object
code is no mutant.

    mutate.py                    goes on where it stopped, up to 300 mutants
    mutate.py --count 500        as many as that; the first 300 are the same
    mutate.py --only _Src/dib    of those, only in files that begin like this
    mutate.py --survivors        once more those that survived, after tests were added
    mutate.py --survivors --sanitizers
                                 and with AddressSanitizer and UndefinedBehaviorSanitizer,
                                 which mind what touches memory that nothing else looks at
    mutate.py --report           only tells what is known

Results stay in build/mutate/mutants/results.jsonl. What changes nothing is listed, with
the reason, in scripts/equivalent_mutants.txt, and is left out.
"""

import argparse
import concurrent.futures
import dataclasses
import functools
import json
import os
import pathlib
import random
import re
import resource
import shlex
import shutil
import subprocess
import sys

import lint
import tidy

ROOT = pathlib.Path(__file__).resolve().parent.parent
BUILD = ROOT / "build/mutate"
WORK = BUILD / "mutants"
RESULTS = WORK / "results.jsonl"
EQUIVALENTS = ROOT / "scripts/equivalent_mutants.txt"

# The test programs that can see a folder, and the folder whose tests they hold.
PROGRAMS = {
    "kernels": ("quib_kernel_tests", "quib_engine_tests", "quib_surface_tests"),
    "_Src": ("quib_engine_tests", "quib_surface_tests"),
    "quibtool": ("quib_surface_tests",),
    "zxdll": ("quib_zxdll_tests", "quib_surface_tests"),
    "platform": ("quib_platform_tests", "quib_surface_tests", "quib_engine_tests"),
}
# A header that every kernel includes is looked at by tests of its own, which are
# compiled from these.
PROXIES = {"kernels/vector.h": [f"tests/kernels/vector_{name}.cpp"
                                for name in ("plain", "base")]}
# What looks for the levels that this build leaves out.
LEFT_OUT = "*KernelLevels.*:ChooseKernels.*"
MAX_UNITS = 12  # a header that more files include is left out
MEMORY = 16 << 30
FILE_SIZE = 2 << 30


# --- What can be changed ----------------------------------------------------------


@dataclasses.dataclass(frozen=True)
class Mutant:
    path: str
    line: int
    before: str  # the whole line
    after: str
    nth: int = 0  # of the same changes to the same text in the file

    @property
    def key(self):
        return (self.path, self.before.strip(), self.after.strip(), self.nth)

    @property
    def change(self):
        return (self.path, self.before.strip(), self.after.strip())


SWAPS = {
    "<": ("<=",), "<=": ("<",), ">": (">=",), ">=": (">",), "==": ("!=",), "!=": ("==",),
    "+": ("-",), "-": ("+",), "*": ("+",), "/": ("*",), "%": ("/",),
    "&&": ("||",), "||": ("&&",), "&": ("|",), "|": ("&",), "^": ("|",),
    "<<": (">>",), ">>": ("<<",),
    "+=": ("-=",), "-=": ("+=",), "|=": ("&=",), "&=": ("|=",), "^=": ("|=",),
}
# The layout leaves a space on both sides of a binary operator, and of nothing else.
OPERATOR = re.compile(r"(?<= )(" + "|".join(sorted(map(re.escape, SWAPS), key=len, reverse=True)) +
                      r")(?= |$)")
NUMBER = re.compile(r"(?<![\w.'])(0x[0-9a-fA-F]+|\d+)(?=[uUlL]*(?![\w.']))")
WORDS = {"true": "false", "false": "true", "std::min": "std::max", "std::max": "std::min",
         "++": "--", "--": "++"}
WORD = re.compile(r"(?<!\w)(true|false|std::min|std::max)(?!\w)|\+\+|--")
CONDITION = re.compile(r"\b(?:if|while) \(")
STATEMENT = re.compile(r"\s+(?!return\b|delete\b|using\b|case\b|else\b|throw\b|goto\b)"
                       r"(?:[\w.:\[\]\->*]+(?:\(.*\)| [-+|&^*]?= .*)|(?:\+\+|--)[\w.\->]+);$")
# Of declarations there is nothing to change but their values.
NO_CODE = re.compile(r"\s*(?:#|static_assert|template|using|namespace|typedef|extern|case\b.*:$)")


def blanked(text):
    """The text with spaces for comments, directives and what stands in quotes."""
    pieces, end = [], 0
    for match in lint.TOKEN.finditer(text):
        word = match[0]
        pieces.append(text[end:match.start()])
        end = match.end()
        if (match["skip"] and word.strip()) or word[0] in "\"'" or word.startswith('R"'):
            word = re.sub(r"[^\n]", " ", word)
        pieces.append(word)
    return "".join(pieces) + text[end:]


def closing(line, start):
    """Where the bracket that opens at `start` closes in this line, or -1."""
    depth = 0
    for i in range(start, len(line)):
        depth += {"(": 1, ")": -1}.get(line[i], 0)
        if depth == 0:
            return i
    return -1


def replacements(code):
    """(start, end, text) of each change to a line without comments and texts."""
    for match in OPERATOR.finditer(code):
        for other in SWAPS[match[0]]:
            yield *match.span(), other
    for match in NUMBER.finditer(code):
        value = int(match[0], 0)
        form = hex if match[0].startswith("0x") else str
        yield *match.span(), form(value + 1)
        if value > 1:
            yield *match.span(), form(value - 1)
    for match in WORD.finditer(code):
        yield *match.span(), WORDS[match[0]]
    for match in CONDITION.finditer(code):
        start = match.end() - 1
        end = closing(code, start)
        if end > 0 and ";" not in code[start:end]:
            yield start, end + 1, f"(!{code[start:end + 1]})"
    if STATEMENT.match(code):
        yield len(code) - len(code.lstrip()), len(code), ";"


def mutants_of(path, text):
    """All mutants of a file, in order."""
    found, seen = [], {}
    begins_statement = True
    for number, (line, code) in enumerate(zip(text.split("\n"), blanked(text).split("\n")), 1):
        code = code.rstrip()
        if not code.strip() or NO_CODE.match(code):
            continue
        for start, end, new in replacements(code):
            if new == ";" and not begins_statement:
                continue
            # A negation holds the line's own text, with what stands in quotes.
            if new.startswith("(!("):
                new = f"(!{line[start:end]})"
            after = line[:start] + new + line[end:]
            change = (line.strip(), after.strip())
            found.append(Mutant(path, number, line, after, seen.get(change, 0)))
            seen[change] = seen.get(change, 0) + 1
        begins_statement = code[-1] in ";{}:)"
    return found


def library_files(root):
    for source in lint.sources(root):
        if source.parts[0] in lint.LIBRARY and source.suffix != ".c":
            yield source.as_posix()


def chosen(mutants, seed):
    """All mutants in the order in which they are taken: each beginning of it takes of
    each file the same share, and within the file at random."""
    files = {}
    for mutant in mutants:
        files.setdefault(mutant.path, []).append(mutant)
    keyed = []
    for path in sorted(files):
        chance = random.Random(f"{seed} {path}")
        shift = chance.random()
        chance.shuffle(files[path])
        keyed += [((place + shift) / len(files[path]), path, place, mutant)
                  for place, mutant in enumerate(files[path])]
    return [mutant for _, _, _, mutant in sorted(keyed, key=lambda entry: entry[:3])]


def read_equivalents(text):
    """{change: reason} of a list with blocks of four lines: the file, - before,
    + after, = reason; lines that begin with # and empty ones part them."""
    known, block = {}, []
    for number, line in enumerate(text.split("\n"), 1):
        if not line.strip() or line.startswith("#"):
            continue
        block.append(line.strip())
        if len(block) == 4:
            path, before, after, reason = block
            if before[0] != "-" or after[0] != "+" or reason[0] != "=" or not reason[1:].strip():
                raise ValueError(f"line {number}: a block is a file, - before, + after, = reason")
            known[path, before[1:].strip(), after[1:].strip()] = reason[1:].strip()
            block = []
    if block:
        raise ValueError("the last block is not whole")
    return known


# --- Which tests see it -----------------------------------------------------------

SUITE = re.compile(r"^(?:TYPED_)?TEST(?:_[FP])?\((\w+)", re.MULTILINE)


def room_tests(root, path):
    """The test files of a source's room: the file's own, or else its folder's."""
    folder = root / "tests" / pathlib.Path(path).parent
    if not path.startswith("_Src/"):
        own = folder / (pathlib.Path(path).stem + "_test.cpp")
        if own.is_file():
            return [own]
        if len(pathlib.Path(path).parts) < 3:
            return []
    return sorted(folder.glob("*_test.cpp"))


def suites(files):
    return sorted({name for file in files for name in SUITE.findall(file.read_text())})


def stages(root, path):
    """(program, filter) in the order in which they are asked; the first that fails ends it."""
    room = ":".join(f"{prefix}{name}{suffix}.*" for name in suites(room_tests(root, path))
                    for prefix, suffix in (("", ""), ("*/", ""), ("", "/*"), ("*/", "/*")))
    first, *others = PROGRAMS[path.split("/")[0]]
    asked = [(first, f"{room}-{LEFT_OUT}"), (first, f"*-{LEFT_OUT}:{room}")] if room else [
        (first, f"*-{LEFT_OUT}")]
    return asked + [(program, f"*-{LEFT_OUT}") for program in others]


# --- Compiling and linking --------------------------------------------------------


def plain_command(arguments):
    """A compiler's command without its launcher."""
    while pathlib.Path(arguments[0]).name in ("ccache", "sccache", "distcc"):
        arguments = arguments[1:]
    return arguments


def compile_command(arguments, source, overlay, output):
    """The command of a unit for a changed copy of it, or with headers that lie in the
    overlay: warnings are no errors, and it need not be fast."""
    command = []
    skip = False
    for argument in plain_command(arguments):
        if skip:
            skip = False
        elif argument in ("-o", "-c", "-MF", "-MT", "-MQ"):
            skip = True
        elif argument in ("-MD", "-MMD", "-Werror") or re.fullmatch(r"-O[0-9sg]?", argument):
            pass
        elif argument.endswith(".cpp") and not argument.startswith("-"):
            pass
        else:
            command.append(argument)
    command[1:1] = [f"-I{overlay}"]
    return command + ["-w", "-O1", "-c", str(source), "-o", str(output)]


def link_command(line, objects, output):
    """A program's link as ninja tells it, with objects in front of the library."""
    words = plain_command([word for word in shlex.split(line.split("&&", 1)[1].rsplit("&&", 1)[0])])
    # Objects of the program's own take the places of theirs.
    own = [file.name.removeprefix("tests_") for file in objects if file.name.startswith("tests_")]
    words = [word for word in words
             if word.partition(".dir/")[2].replace("/", "_") not in own]
    place = next(i for i, word in enumerate(words) if word.endswith(".a"))
    words[place:place] = map(str, objects)
    words[words.index("-o") + 1] = str(output)
    return words + (["-fuse-ld=lld"] if shutil.which("ld.lld") else [])


def run(command, **options):
    return subprocess.run(command, stdout=subprocess.PIPE, stderr=subprocess.STDOUT,
                          stdin=subprocess.DEVNULL, check=False, **options)


@functools.cache
def compile_entries():
    entries = {}
    for entry in json.loads((BUILD / "compile_commands.json").read_text()):
        path = pathlib.Path(entry["file"])
        if path.is_relative_to(ROOT):
            entries[path.relative_to(ROOT).as_posix()] = shlex.split(entry["command"])
    return entries


@functools.cache
def including():
    """{header: units of the library that include it, however far away}"""
    found = {}
    for unit in compile_entries():
        if unit.split("/")[0] in lint.LIBRARY:
            for path in tidy.with_headers(pathlib.Path(unit)):
                found.setdefault(path.as_posix(), []).append(unit)
    return found


def units_of(path):
    """The sources that a change to this file reaches."""
    if path in PROXIES:
        return [unit for unit in PROXIES[path] if unit in compile_entries()]
    if path in compile_entries():
        return [path]
    return including().get(path, [])


@functools.cache
def link_line(program):
    lines = subprocess.run(["ninja", "-C", BUILD, "-t", "commands", program], text=True,
                           check=True, capture_output=True).stdout.strip().split("\n")
    return next(line for line in reversed(lines) if f"-o bin/{program}" in line)


def compile_unit(unit, source, overlay, output):
    """Whether the unit, or a changed copy of it, compiles."""
    return run(compile_command(compile_entries()[unit], source, overlay, output),
               cwd=BUILD).returncode == 0


@functools.cache
def unchanged_object(unit):
    """The unit's object as it is, compiled like a mutant's."""
    output = WORK / "unchanged" / (unit.replace("/", "_") + ".o")
    output.parent.mkdir(parents=True, exist_ok=True)
    temporary = output.with_suffix(f".{random.random()}")
    if not compile_unit(unit, ROOT / unit, WORK / "none", temporary):
        raise RuntimeError(f"{unit} does not compile")
    os.replace(temporary, output)
    return output


def changed_objects(mutant, folder):
    """The objects that the mutant changes; None if one does not compile."""
    text = (ROOT / mutant.path).read_text().split("\n")
    text[mutant.line - 1] = mutant.after
    copy = folder / "overlay" / mutant.path
    copy.parent.mkdir(parents=True)
    copy.write_text("\n".join(text))
    objects = []
    for unit in units_of(mutant.path):
        output = folder / (unit.replace("/", "_") + ".o")
        source = copy if unit == mutant.path else ROOT / unit
        if not compile_unit(unit, source, folder / "overlay", output):
            return None
        if output.read_bytes() != unchanged_object(unit).read_bytes():
            objects.append(output)
    return objects


def with_neighbours(path, objects):
    """The platform's objects see each other's hidden names, so they come together."""
    if not path.startswith("platform/"):
        return objects
    changed = {file.name for file in objects}
    others = [unchanged_object(unit) for unit in compile_entries()
              if unit.startswith("platform/")]
    return objects + [file for file in others if file.name not in changed]


# --- Running ----------------------------------------------------------------------


def limits(seconds):
    def set_them():
        resource.setrlimit(resource.RLIMIT_CPU, (seconds, seconds + 5))
        resource.setrlimit(resource.RLIMIT_AS, (MEMORY, MEMORY))
        resource.setrlimit(resource.RLIMIT_FSIZE, (FILE_SIZE, FILE_SIZE))
        resource.setrlimit(resource.RLIMIT_CORE, (0, 0))
    return set_them


def run_tests(program, pattern, folder, seconds):
    """Why the tests failed, or None."""
    environment = {**os.environ, "TMPDIR": str(folder)}
    command = [str(program), "--gtest_fail_fast", "--gtest_brief=1", f"--gtest_filter={pattern}"]
    try:
        ended = run(command, cwd=folder, env=environment, preexec_fn=limits(seconds),
                    timeout=20 * seconds)
    except subprocess.TimeoutExpired:
        return "no end"
    if ended.returncode == 0:
        return None
    failed = re.search(rb"\[  FAILED  \] ([\w/]+\.[\w/]+)", ended.stdout)
    return failed[1].decode() if failed else f"{program.name} ended with {ended.returncode}"


def use_sanitizers():
    """From now on the build is the sanitizers' one, which reserves all addresses."""
    global BUILD, WORK, MEMORY  # pylint: disable=global-statement
    BUILD = ROOT / "build/mutate-sanitizers"
    WORK = BUILD / "mutants"
    MEMORY = resource.RLIM_INFINITY


@functools.cache
def seconds_of(program):
    """The limit for a program with a mutant, from the processor time without one."""
    folder = WORK / "unchanged" / "run"
    folder.mkdir(parents=True, exist_ok=True)
    before = resource.getrusage(resource.RUSAGE_CHILDREN)
    failed = run_tests(BUILD / "bin" / program, f"*-{LEFT_OUT}", folder, 1000)
    after = resource.getrusage(resource.RUSAGE_CHILDREN)
    if failed:
        raise RuntimeError(f"{program} fails without a mutant: {failed}")
    return int(20 + 3 * (after.ru_utime + after.ru_stime - before.ru_utime - before.ru_stime))


def verdict(mutant, folder):
    """(result, what showed it)"""
    objects = changed_objects(mutant, folder)
    if objects is None:
        return "does not compile", ""
    if not objects:
        return "same code", ""
    objects = with_neighbours(mutant.path, objects)
    linked = {}
    for program, pattern in stages(ROOT, mutant.path):
        if program not in linked:
            linked[program] = folder / program
            ended = run(link_command(link_line(program), objects, linked[program]), cwd=BUILD)
            if ended.returncode:
                return "does not link", ended.stdout.decode()[-400:]
        failed = run_tests(linked[program], pattern, folder, seconds_of(program))
        if failed:
            return "killed", failed
    return "survived", ""


def try_mutant(mutant, number):
    folder = WORK / "work" / str(number)
    shutil.rmtree(folder, ignore_errors=True)
    folder.mkdir(parents=True)
    try:
        return verdict(mutant, folder)
    finally:
        shutil.rmtree(folder, ignore_errors=True)


def build():
    programs = sorted({program for names in PROGRAMS.values() for program in names})
    subprocess.run(["cmake", "--preset", BUILD.name], cwd=ROOT, check=True,
                   stdout=subprocess.DEVNULL)
    subprocess.run(["ninja", "-C", BUILD, *programs], check=True, stdout=subprocess.DEVNULL)
    shutil.rmtree(WORK / "unchanged", ignore_errors=True)
    for program in programs:
        seconds_of(program)


def run_all(waiting, jobs, record):
    with concurrent.futures.ThreadPoolExecutor(jobs) as pool:
        running = {pool.submit(try_mutant, mutant, number): mutant
                   for number, mutant in enumerate(waiting)}
        try:
            for done in concurrent.futures.as_completed(running):
                record(running[done], *done.result())
        except KeyboardInterrupt:
            pool.shutdown(wait=False, cancel_futures=True)
            raise


# --- Results ----------------------------------------------------------------------


def read_results(file):
    """{key: (result, what showed it)}; of several the last counts."""
    known = {}
    if file.is_file():
        for line in file.read_text().splitlines():
            entry = json.loads(line)
            known[tuple(entry["key"])] = (entry["result"], entry["by"])
    return known


def report(mutants, known):
    """Lines that tell of these mutants what is known of them."""
    counts = {}
    lines = []
    for mutant in sorted(mutants, key=lambda each: (each.path, each.line)):
        result = known.get(mutant.key, ("not tried", ""))[0]
        counts[result] = counts.get(result, 0) + 1
        if result == "survived":
            lines.append(f"{mutant.path}:{mutant.line}: survived\n"
                         f"    - {mutant.before.strip()}\n    + {mutant.after.strip()}")
    killed, survived = counts.get("killed", 0), counts.get("survived", 0)
    lines.append(", ".join(f"{count} {result}" for result, count in sorted(counts.items())))
    if killed + survived:
        lines.append(f"{100 * killed / (killed + survived):.1f} per cent of "
                     f"{killed + survived} killed")
    return lines


def parse_arguments():
    parser = argparse.ArgumentParser(description=__doc__,
                                     formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--count", type=int, default=300)
    parser.add_argument("--seed", default="1")
    parser.add_argument("--only", default="", metavar="PATH")
    parser.add_argument("--jobs", type=int, default=1)
    parser.add_argument("--survivors", action="store_true")
    parser.add_argument("--sanitizers", action="store_true")
    parser.add_argument("--report", action="store_true")
    return parser.parse_args()


def main():
    options = parse_arguments()
    every = [mutant for path in library_files(ROOT)
             for mutant in mutants_of(path, (ROOT / path).read_text())]
    equivalents = read_equivalents(EQUIVALENTS.read_text())
    absent = set(equivalents) - {mutant.change for mutant in every}
    for change in sorted(absent):
        print("no longer there:", *change, sep="\n    ")
    mutants = [mutant for mutant in chosen(every, options.seed)[:options.count]
               if mutant.change not in equivalents and mutant.path.startswith(options.only)]
    known = read_results(RESULTS)
    if not options.report:
        os.nice(15)
        if options.sanitizers:
            use_sanitizers()
        RESULTS.parent.mkdir(parents=True, exist_ok=True)
        build()
        mutants = [mutant for mutant in mutants
                   if mutant.path in compile_entries() or len(units_of(mutant.path)) <= MAX_UNITS]
        again = ("survived",) if options.survivors else ()
        waiting = [mutant for mutant in mutants
                   if (mutant.key in known) == options.survivors and
                   (not options.survivors or known[mutant.key][0] in again)]
        with RESULTS.open("a") as file:
            def record(mutant, result, shown_by):
                known[mutant.key] = (result, shown_by)
                file.write(json.dumps({"key": mutant.key, "line": mutant.line, "result": result,
                                       "by": shown_by}) + "\n")
                file.flush()
                print(f"{mutant.path}:{mutant.line}: {result} {shown_by}", flush=True)
            run_all(waiting, options.jobs, record)
    print(*report(mutants, known), sep="\n")
    return 0


if __name__ == "__main__":
    sys.exit(main())
