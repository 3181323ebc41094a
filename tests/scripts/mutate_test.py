#!/usr/bin/env python3
"""What the mutation pass changes, in which order, and whom it asks about it."""

import pathlib
import sys
import tempfile
import unittest

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parents[2] / "scripts"))
import mutate  # pylint: disable=wrong-import-position


def changes(text):
    """The changed lines of a file of this text."""
    return [mutant.after.strip() for mutant in mutate.mutants_of("_Src/a.cpp", text)]


class Changes(unittest.TestCase):
    def test_comparisons_lose_or_gain_equality(self):
        self.assertEqual(changes("    return a < b;\n"), ["return a <= b;"])
        self.assertEqual(changes("    return a >= b;\n"), ["return a > b;"])
        self.assertEqual(changes("    return a == b;\n"), ["return a != b;"])

    def test_operators_are_exchanged(self):
        for old, new in (("+", "-"), ("-", "+"), ("*", "+"), ("&&", "||"), ("||", "&&"),
                         ("<<", ">>"), ("&", "|"), ("/", "*")):
            self.assertEqual(changes(f"    return a {old} b;\n"), [f"return a {new} b;"])

    def test_an_operator_at_the_end_of_a_line_is_one(self):
        self.assertEqual(changes("    return a &&\n"), ["return a ||"])

    def test_brackets_of_types_pointers_and_signs_are_no_operators(self):
        self.assertEqual(changes("    const std::vector<char*> a(b);\n    return -a;\n"), [])

    def test_constants_are_off_by_one(self):
        self.assertEqual(changes("    int a[3];\n"), ["int a[4];", "int a[2];"])
        self.assertEqual(changes("    int a[0x10u];\n"), ["int a[0x11u];", "int a[0xfu];"])
        self.assertEqual(changes("    return f(0);\n"), ["return f(1);"])

    def test_parts_of_names_and_fractions_are_no_constants(self):
        self.assertEqual(changes("    return a32 ? iplA2(b) : 1.5;\n"), [])

    def test_conditions_are_negated(self):
        self.assertEqual(changes("    if (f(a, b))\n"), ["if (!(f(a, b)))"])
        self.assertEqual(changes('    while (is("x"))\n'), ['while (!(is("x")))'])

    def test_a_condition_that_declares_or_runs_on_is_left(self):
        self.assertEqual(changes("    if (const int a = f(); a)\n"), [])
        self.assertEqual(changes("    if (f(a) ||\n        g(b))\n"), ["if (f(a) &&"])

    def test_calls_and_assignments_are_dropped(self):
        self.assertEqual(changes("{\n    f(a, b);\n    a.b->c = d;\n    ++i;\n"),
                         [";", ";", "--i;", ";"])

    def test_the_rest_of_a_statement_is_not_dropped(self):
        self.assertEqual(changes("    g(a,\n      f(b));\n"), [])
        self.assertEqual(changes("    return f(a);\n"), [])

    def test_comments_texts_and_directives_are_left(self):
        self.assertEqual(changes('#define A 3\n// a < 3\nauto s = "a < 3"; /* 3 */\n'
                                 "static_assert(a < 3);\ntemplate<int n = 3>\n"), [])

    def test_least_and_most_and_truth_are_exchanged(self):
        self.assertEqual(changes("    return std::min(a, b);\n"), ["return std::max(a, b);"])
        self.assertEqual(changes("    return true;\n"), ["return false;"])

    def test_equal_changes_are_told_apart(self):
        first, second = mutate.mutants_of("a.cpp", "    a = b < c;\n    a = b < c;\n")[::2]
        self.assertEqual((first.line, first.nth, second.line, second.nth), (1, 0, 2, 1))
        self.assertEqual(first.change, second.change)
        self.assertNotEqual(first.key, second.key)


class Choice(unittest.TestCase):
    def setUp(self):
        self.mutants = [mutate.Mutant(path, line, "a", f"b{line}")
                        for path, lines in (("a", 10), ("b", 30)) for line in range(lines)]

    def test_a_seed_gives_one_order_of_all(self):
        order = mutate.chosen(self.mutants, "1")
        self.assertEqual(order, mutate.chosen(list(reversed(self.mutants))[::-1], "1"))
        self.assertNotEqual(order, mutate.chosen(self.mutants, "2"))
        self.assertEqual(set(order), set(self.mutants))

    def test_each_beginning_takes_the_same_share_of_each_file(self):
        order = mutate.chosen(self.mutants, "1")
        for count in (8, 16, 32):
            share = sum(mutant.path == "a" for mutant in order[:count]) / count
            self.assertAlmostEqual(share, 1 / 4, delta=1.5 / count)


class Equivalents(unittest.TestCase):
    def test_a_block_is_a_file_a_change_and_a_reason(self):
        known = mutate.read_equivalents("# head\n\n_Src/a.cpp\n- a < b\n+ a <= b\n= they differ\n")
        self.assertEqual(known, {("_Src/a.cpp", "a < b", "a <= b"): "they differ"})

    def test_a_block_without_a_reason_is_refused(self):
        for text in ("a.cpp\n- a\n+ b\n", "a.cpp\n- a\n+ b\n=\n", "a.cpp\n+ a\n- b\n= c\n"):
            with self.assertRaises(ValueError):
                mutate.read_equivalents(text)

    def test_the_list_of_this_library_can_be_read(self):
        mutate.read_equivalents(mutate.EQUIVALENTS.read_text())


class Stages(unittest.TestCase):
    def stages(self, path, files):
        with tempfile.TemporaryDirectory() as folder:
            root = pathlib.Path(folder)
            for name, text in files.items():
                (root / name).parent.mkdir(parents=True, exist_ok=True)
                (root / name).write_text(text)
            return mutate.stages(root, path)

    def test_the_room_is_asked_first_and_then_the_rest(self):
        asked = self.stages("_Src/size/a.cpp", {
            "tests/_Src/size/b_test.cpp": "TEST(B, One)\nTEST_P(C, Two)\n",
            "tests/_Src/walk/d_test.cpp": "TEST(D, One)\n"})
        room = "B.*:*/B.*:B/*.*:*/B/*.*:C.*:*/C.*:C/*.*:*/C/*.*"
        left_out = mutate.LEFT_OUT
        self.assertEqual(asked, [("quib_engine_tests", f"{room}-{left_out}"),
                                 ("quib_engine_tests", f"*-{left_out}:{room}"),
                                 ("quib_surface_tests", f"*-{left_out}")])

    def test_a_file_of_the_surface_has_tests_of_its_own(self):
        asked = self.stages("quibtool/a.cpp", {"tests/quibtool/a_test.cpp": "TEST(A, One)\n",
                                               "tests/quibtool/b_test.cpp": "TEST(B, One)\n"})
        self.assertEqual([program for program, _ in asked], ["quib_surface_tests"] * 2)
        self.assertNotIn("B.", asked[0][1])

    def test_a_file_without_tests_of_its_own_is_asked_of_all(self):
        self.assertEqual(self.stages("zxdll/a.cpp", {}),
                         [(program, f"*-{mutate.LEFT_OUT}")
                          for program in ("quib_zxdll_tests", "quib_surface_tests")])


class Commands(unittest.TestCase):
    def test_a_changed_copy_is_compiled_in_the_place_of_the_source(self):
        command = mutate.compile_command(
            ["ccache", "c++", "-Ix", "-O3", "-Wall", "-Werror", "-MD", "-MT", "a.o", "-MF", "a.d",
             "-o", "a.o", "-c", "/r/a.cpp"], "/w/a.cpp", "/w/overlay", "/w/a.o")
        self.assertEqual(command, ["c++", "-I/w/overlay", "-Ix", "-Wall", "-w", "-O1", "-c",
                                   "/w/a.cpp", "-o", "/w/a.o"])

    def test_objects_stand_in_front_of_the_library(self):
        command = mutate.link_command(": && c++ -O3 t.o -o bin/t lib/a.a lib/b.so && :",
                                      [pathlib.Path("m.o")], "/w/t")
        self.assertEqual(command[:7], ["c++", "-O3", "t.o", "-o", "/w/t", "m.o", "lib/a.a"])

    def test_objects_of_the_program_stand_in_for_its_own(self):
        command = mutate.link_command(": && c++ t.dir/k/v.cpp.o t.dir/k/w.cpp.o -o bin/t a.a && :",
                                      [pathlib.Path("tests_k_v.cpp.o")], "/w/t")
        self.assertEqual(command[:6], ["c++", "t.dir/k/w.cpp.o", "-o", "/w/t",
                                       "tests_k_v.cpp.o", "a.a"])


class Report(unittest.TestCase):
    def test_it_tells_the_share_and_the_survivors(self):
        mutants = mutate.mutants_of("a.cpp", "    return a < b;\n    return c > d;\n")
        known = {mutants[0].key: ("killed", "T"), mutants[1].key: ("survived", "")}
        self.assertEqual(mutate.report(mutants, known), [
            "a.cpp:2: survived\n    - return c > d;\n    + return c >= d;", "1 killed, 1 survived",
            "50.0 per cent of 2 killed"])

    def test_the_last_result_of_a_mutant_counts(self):
        with tempfile.TemporaryDirectory() as folder:
            file = pathlib.Path(folder) / "results.jsonl"
            line = '{"key": ["a", "b", "c", 0], "line": 1, "result": "%s", "by": ""}\n'
            file.write_text(line % "survived" + line % "killed")
            self.assertEqual(mutate.read_results(file), {("a", "b", "c", 0): ("killed", "")})


if __name__ == "__main__":
    unittest.main()
