#!/usr/bin/env python3
"""count_results.py DIRECTORY: counts the single tests of one target's run.

The directory holds ctest.xml, as ctest writes it, and the results that programs wrote
themselves: each GoogleTest program's process, quib_PROGRAM_tests.N, and those of a
language's own tests, under the name of their entry. Prints a line
with the numbers of passed, failed and skipped tests, then a line for each one
that failed or was skipped.
"""

import pathlib
import re
import sys
import xml.etree.ElementTree as ElementTree


def outcome(case):
    """passed, failed or skipped, of a test case of any writer."""
    if case.find("failure") is not None or case.find("error") is not None:
        return "failed"
    status = case.get("status")
    if status == "disabled" or case.get("result") in ("skipped", "suppressed"):
        return "skipped"
    if status == "notrun":
        # ctest says this of a test that skipped itself and of a missing program.
        message = case.find("skipped").get("message") or ""
        return "skipped" if message.startswith("SKIP_") else "failed"
    if status is None:  # of neither, but of pytest and its like
        return "passed" if case.find("skipped") is None else "skipped"
    return "passed" if status == "run" else "failed"


def reason(case):
    """Why a test was skipped, on one line, or nothing."""
    skipped = case.find("skipped")
    text = (skipped.get("message") or "") if skipped is not None else ""
    # ctest has what the test itself said in the output only.
    output = case.findtext("system-out") or ""
    said = re.search(r"(?:: Skipped\n|^skipped: )(.*)", output, re.MULTILINE)
    return " ".join((said.group(1) if said else text).split())


def program_cases(path):
    """The test cases that a program wrote down, or None."""
    try:
        root = ElementTree.parse(path).getroot()
    except (OSError, ElementTree.ParseError):
        return None
    program = re.sub(r"^quib_|_tests\.\d+$", "", path.stem)
    return [
        (f"{program}.{case.get('classname')}.{case.get('name')}", outcome(case), reason(case))
        for case in root.iter("testcase")
    ]


def all_cases(directory):
    for case in ElementTree.parse(directory / "ctest.xml").getroot().iter("testcase"):
        name, result = case.get("name"), outcome(case)
        cases = program_cases(directory / f"{name}.xml")
        if cases is not None:
            yield from cases
            # A crash or a bad exit status that no single test accounts for.
            if result == "failed" and not any(result == "failed" for _, result, _ in cases):
                yield (f"{name} (the program itself)", "failed", "")
        elif re.search(r"_tests\.\d+$", name):
            # The name of a GoogleTest program's process: it came to no end of its own.
            yield (name, "failed", "it left no results")
        else:
            yield (name, result, reason(case))


def main():
    cases = list(all_cases(pathlib.Path(sys.argv[1])))
    results = [result for _, result, _ in cases]
    print(*(results.count(kind) for kind in ("passed", "failed", "skipped")))
    for name, result, why in cases:
        if result != "passed":
            print(f"{result} {name}" + (f": {why}" if why else ""))


if __name__ == "__main__":
    main()
