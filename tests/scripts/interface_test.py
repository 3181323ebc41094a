#!/usr/bin/env python3
"""What scripts/interface.py reads of the public header, and of small ones."""

import json
import pathlib
import subprocess
import sys
import tempfile
import unittest

ROOT = pathlib.Path(__file__).resolve().parents[2]
sys.path.insert(0, str(ROOT / "scripts"))
import interface  # pylint: disable=wrong-import-position

SMALL = """\
/* A small header.
 *
 * Plain C. */
#define QUIB_API
#define QUIB_OK 0
#define QUIB_BAD 0x80u /* is bad */

/* Two numbers. */
typedef struct Pair {
    int a; /* the first */
    int b;
} Pair;

/* ---- Makers -------------------------------------------------------------- */

/* Holds for all makers.
 *
 * Depths: 8, 24. */

/* The next two are pure.
 *
 * Source: A. Nonymous, 1900. */

/* Makes one. QUIB_BAD for
 * a bad one.
 *
 * Ends the process: a width below 1
 * and others.
 * Fails: QUIB_BAD.
 *
 *     a table
 *
 * Goes on. */
QUIB_API int Make(int32_t width, const double (*quad)[2], Pair** out);

/* Both. */
QUIB_API int MakeA(void);
QUIB_API int MakeB(Pair* const* pairs,
                   struct Other* other);

/* Alone.
 *
 * Depths: 1. */
QUIB_API int MakeC(Pair pair);

/* ---- Others --------------------------------------------------------------- */

#ifdef __cplusplus
/* In C++. */
extern "C++" QUIB_API int Late(const double (*const quad)[2]);
#endif
"""


def read(text):
    with tempfile.TemporaryDirectory() as folder:
        header = pathlib.Path(folder) / "small.h"
        header.write_text(text, encoding="utf-8")
        return interface.read(header)


class SmallHeader(unittest.TestCase):
    def setUp(self):
        self.interface = read(SMALL)
        self.functions = {each.name: each for each in self.interface.functions}

    def test_families_and_introduction(self):
        self.assertEqual(self.interface.introduction, "A small header.\n\nPlain C.")
        self.assertEqual([(each.name, each.functions) for each in self.interface.families],
                         [("Makers", ["Make", "MakeA", "MakeB", "MakeC"]), ("Others", ["Late"])])

    def test_declaration(self):
        make = self.functions["Make"]
        self.assertEqual(make.result, "int")
        self.assertEqual(make.declaration,
                         "int Make(int32_t width, const double (*quad)[2], Pair** out)")
        self.assertEqual([(each.type, each.name) for each in make.parameters],
                         [("int32_t", "width"), ("const double (*)[2]", "quad"),
                          ("Pair**", "out")])
        self.assertEqual(SMALL.split("\n")[make.line - 1].split("(")[0], "QUIB_API int Make")

    def test_other_parameters(self):
        self.assertEqual(self.functions["MakeA"].parameters, [])
        self.assertEqual([(each.type, each.name) for each in self.functions["MakeB"].parameters],
                         [("Pair* const*", "pairs"), ("struct Other*", "other")])
        late = self.functions["Late"]
        self.assertEqual(late.parameters[0].type, "const double (*const)[2]")
        self.assertTrue(late.cplusplus)
        self.assertFalse(self.functions["Make"].cplusplus)

    def test_text_and_labels(self):
        make = self.functions["Make"]
        self.assertEqual(make.text,
                         "Makes one. QUIB_BAD for\na bad one.\n\n    a table\n\nGoes on.")
        self.assertEqual(make.labels["Ends the process"], "a width below 1\nand others.")
        self.assertEqual(make.labels["Fails"], "QUIB_BAD.")

    def test_notes_hold_as_far_as_they_say(self):
        sources = {name: each.labels.get("Source") for name, each in self.functions.items()}
        self.assertEqual(sources, {"Make": "A. Nonymous, 1900.", "MakeA": "A. Nonymous, 1900.",
                                   "MakeB": None, "MakeC": None, "Late": None})
        depths = {name: each.labels.get("Depths") for name, each in self.functions.items()}
        self.assertEqual(depths, {"Make": "8, 24.", "MakeA": "8, 24.", "MakeB": "8, 24.",
                                  "MakeC": "1.", "Late": None})
        self.assertEqual(len(self.functions["Make"].notes), 2)

    def test_docstring_for_two(self):
        self.assertEqual(self.functions["MakeA"].text, "Both.")
        self.assertEqual(self.functions["MakeB"].text, "Both.")
        self.assertEqual(self.functions["MakeA"].shares_with, ["MakeB"])
        self.assertEqual(self.functions["MakeB"].shares_with, ["MakeA"])
        self.assertEqual(self.functions["MakeC"].shares_with, [])

    def test_constants_and_records(self):
        self.assertEqual([(each.name, each.value, each.text) for each in self.interface.constants],
                         [("QUIB_OK", "0", ""), ("QUIB_BAD", "0x80u", "is bad")])
        self.assertEqual([(each.name, each.text) for each in self.interface.records],
                         [("Pair", "Two numbers.")])
        self.assertIn("int a; /* the first */", self.interface.records[0].declaration)

    def test_refusals(self):
        for text, told in (("int Make(int a);\n", "Make has no docstring"),
                           ("/* Is. */\nint Make(\n", "line 2 cannot be read"),
                           ("/* A. */\n\n/* Is.\n *\n * Fails: A.\n * Fails: B. */\nint Make(int a);\n",
                            "'Fails' is there twice")):
            with self.assertRaisesRegex(interface.Unreadable, told):
                read(text)


class PublicHeader(unittest.TestCase):
    def setUp(self):
        self.interface = interface.read()
        self.functions = {each.name: each for each in self.interface.functions}

    def test_declares_what_is_exported(self):
        exported = (ROOT / "quibtool/exports.txt").read_text(encoding="utf-8").split()
        self.assertEqual(len(self.interface.functions), 79)
        self.assertEqual(sorted(self.functions), sorted(exported))
        self.assertEqual(sorted(name for family in self.interface.families
                                for name in family.functions), sorted(exported))

    def test_all_say_something(self):
        for each in self.interface.functions:
            self.assertLessEqual({"Ends the process", "Fails"}, set(each.labels), each.name)
            if any("IplImage" in told.type for told in each.parameters):
                self.assertIn("Depths", each.labels, each.name)
            self.assertEqual(each.result, "QuibStatus", each.name)
            self.assertTrue(each.text, each.name)
            self.assertTrue(each.parameters, each.name)

    def test_cplusplus(self):
        self.assertEqual([name for name, each in self.functions.items() if each.cplusplus],
                         ["QUIBWarpPerspectiveQ_", "QuibColorConversion"])

    def test_one_in_full(self):
        resize = self.functions["QuibResize"]
        self.assertEqual(resize.family, "Size")
        self.assertEqual(resize.declaration,
                         "QuibStatus QuibResize(IplImage* src, IplImage* dst, int32_t mode)")
        self.assertTrue(resize.text.startswith("Fits src into the size of dst"))

    def test_statuses(self):
        values = {each.name: each.value for each in self.interface.constants}
        self.assertEqual(values["QUIB_BAD_ARGUMENT"], "((QuibStatus)0x80000005u)")
        self.assertEqual(values["STRETCH_PAIRS_NEAREST"], "0x7000")

    def test_program_prints_the_same(self):
        told = json.loads(subprocess.run([sys.executable, ROOT / "scripts/interface.py"],
                                         stdout=subprocess.PIPE, check=True).stdout)
        self.assertEqual([each["name"] for each in told["functions"]],
                         [each.name for each in self.interface.functions])
        self.assertEqual(told["functions"][0]["parameters"][0],
                         {"type": "int32_t", "name": "width", "declaration": "int32_t width"})


if __name__ == "__main__":
    unittest.main()
