"""What scripts/coverage.py makes of counters and of the list of unreachable lines."""

import pathlib
import sys
import unittest

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parents[2] / "scripts"))
import coverage  # noqa: E402

SOURCE = """int f(int x)
{
    if (x)
        return 1;

    if (!x)
        return 1;
    return 2;
}
"""
LINES = {"a.cpp": {1: 4, 3: 4, 4: 0, 6: 4, 7: 4, 8: 0}}


def check(text):
    return coverage.check_list(coverage.read_blocks(text), LINES, lambda _: SOURCE)


class CoverageTest(unittest.TestCase):
    def test_a_line_is_found_by_the_lines_around_it(self):
        listed, faults = check("# A word.\n\na.cpp\n  if (x)\n> return 1;\nNobody calls it so.\n")
        self.assertEqual(listed, {("a.cpp", 4)})
        self.assertEqual(faults, [])

    def test_blank_lines_of_the_source_do_not_count(self):
        listed, faults = check("a.cpp\n> return 1;\n  if (!x)\nWhy.\n")
        self.assertEqual((listed, faults), ({("a.cpp", 4)}, []))

    def test_a_line_that_stands_twice_is_refused(self):
        self.assertEqual(check("a.cpp\n> return 1;\nWhy.\n"),
                         (set(), ["a.cpp: return 1;: stands there 2 times"]))

    def test_a_line_that_is_gone_is_refused(self):
        self.assertEqual(check("a.cpp\n> return 3;\nWhy.\n"),
                         (set(), ["a.cpp: return 3;: stands there 0 times"]))

    def test_a_line_that_was_run_is_refused(self):
        self.assertEqual(check("a.cpp\n  if (!x)\n> return 1;\nWhy.\n"),
                         (set(), ["a.cpp:7: return 1;: was run, or is no code"]))

    def test_a_line_without_code_is_refused(self):
        self.assertEqual(check("a.cpp\n> {\nWhy.\n"),
                         (set(), ["a.cpp:2: {: was run, or is no code"]))

    def test_a_reason_has_to_be_given(self):
        self.assertEqual(check("a.cpp\n> return 2;\n"),
                         (set(), ["a.cpp: return 2;: without a line, or a reason"]))

    def test_what_is_not_listed_and_was_not_run_is_missed(self):
        self.assertEqual(coverage.missed(LINES, {("a.cpp", 4)}), [("a.cpp", 8)])


if __name__ == "__main__":
    unittest.main()
