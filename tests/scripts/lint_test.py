#!/usr/bin/env python3
"""The lint fails when it should, and only then: each test lints a small tree."""

import pathlib
import subprocess
import sys
import tempfile
import unittest

SCRIPTS = pathlib.Path(__file__).resolve().parents[2] / "scripts"
sys.path.insert(0, str(SCRIPTS))
import lint  # pylint: disable=wrong-import-position

GOOD = {
    "quibtool/exports.txt": "QuibGood\n",
    "include/quibtool/quibtool.h": '#include "iplimage.h"\n\n/* Is good. */\n'
                                   "QUIB_API int QuibGood(int a);\n",
    "include/quibtool/iplimage.h": "typedef struct IplImage {\n    int nSize;\n} IplImage;\n",
    "_Src/ipl.h": '#include "quibtool/iplimage.h"\n\n// Does good.\nvoid iplGood(int a);\n',
}


def function(lines):
    """A function of so many lines."""
    return "int f(int a)\n{\n" + "    a += 1;\n" * (lines - 4) + "    return a;\n}\n"


def nested(levels):
    return "void f(int a)\n{\n" + "if (a)\n" * levels + "    g();\n}\n"


class LintTest(unittest.TestCase):
    def in_tree(self, files, look):
        """What `look` finds in the good tree with these files besides."""
        with tempfile.TemporaryDirectory() as folder:
            root = pathlib.Path(folder).resolve()
            for name, text in {**GOOD, **files}.items():
                path = root / name
                path.parent.mkdir(parents=True, exist_ok=True)
                path.write_text(text, encoding="utf-8")
            return look(root)

    def passes(self, files):
        self.assertEqual(self.in_tree(files, lint.offences), [])

    def fails(self, files, *told):
        """It fails with one line for each text told, in this order."""
        lines = self.in_tree(files, lint.offences)
        self.assertEqual(len(lines), len(told), lines)
        for line, text in zip(lines, told):
            self.assertIn(text, line)


class Program(LintTest):
    def run_on(self, files):
        ended = self.in_tree(files, lambda root: subprocess.run(
            [sys.executable, SCRIPTS / "lint.py", root], stdout=subprocess.PIPE, text=True,
            check=False))
        return ended.returncode, ended.stdout

    def test_status_tells_good_from_bad(self):
        self.assertEqual(self.run_on({}), (0, ""))
        status, output = self.run_on({"kernels/a.inl": function(41)})
        self.assertEqual(status, 1)
        self.assertEqual(output, "kernels/a.inl:1: f has 41 lines (at most 40)\n")


class Includes(LintTest):
    def test_good_tree(self):
        self.passes({})

    def test_downwards(self):
        self.passes({"tests/a_test.cpp": '#include "quibtool/a.h"\n#include "made.inc"\n',
                     "quibtool/a.h": '#include "_Src/pixel/b.h"\n#include "kernels/c.h"\n',
                     "_Src/pixel/b.h": '#include "_Src/walk/d.h"\n#include <vector>\n',
                     "_Src/walk/d.h": '#include "_Src/ipl.h"\n',
                     "kernels/c.h": ""})

    def test_upwards_between_folders(self):
        for below, above in (("quibtool", "examples"), ("_Src/image", "quibtool"),
                             ("kernels", "_Src/image"), ("platform", "quibtool"),
                             ("zxdll", "quibtool"), ("quibtool", "tests"), ("kernels", "fuzz")):
            with self.subTest(below=below, above=above):
                self.fails({f"{below}/a.cpp": f'\n#include "{above}/b.h"\n', f"{above}/b.h": ""},
                           f"{below}/a.cpp:2: includes upwards: {above}/b.h")

    def test_neighbours(self):
        self.fails({"kernels/a.cpp": '#include "platform/b.h"\n', "platform/b.h": ""}, "upwards")
        self.fails({"_Src/dib/a.cpp": '#include "zxdll/b.h"\n', "zxdll/b.h": ""}, "upwards")

    def test_headers_of_programs(self):
        self.passes({"quibtool/a.cpp": '#include "quibtool/quibtool.h"\n',
                     "_Src/image/b.cpp": '#include "quibtool/iplimage.h"\n'
                                         '#include "quibtool/platform.h"\n',
                     "platform/c.cpp": '#include "quibtool/platform/d.h"\n',
                     "include/quibtool/platform.h": '#include "platform/d.h"\n',
                     "include/quibtool/platform/d.h": ""})
        self.fails({"_Src/image/a.cpp": '#include "quibtool/quibtool.h"\n'}, "upwards")
        self.fails({"kernels/a.cpp": '#include "quibtool/iplimage.h"\n'}, "upwards")
        self.fails({"include/quibtool/platform/a.h": '#include "quibtool/iplimage.h"\n'},
                   "upwards")
        self.fails({"include/quibtool/platform.h": '#include "platform/a.h"\n'}, "not there")
        self.fails({"include/quibtool/a.h": ""}, "belongs to no folder")

    def test_upwards_by_a_relative_path(self):
        self.fails({"_Src/image/a.cpp": '#include "../pixel/b.h"\n', "_Src/pixel/b.h": ""},
                   "includes upwards: _Src/pixel/b.h")

    def test_upwards_between_rooms(self):
        for below, above in (("image", "walk"), ("walk", "pixel"), ("pixel", "size"),
                             ("pixel", "window")):
            with self.subTest(below=below, above=above):
                self.fails({f"_Src/{below}/a.cpp": f'#  include "_Src/{above}/b.h"\n',
                            f"_Src/{above}/b.h": ""}, "includes upwards")

    def test_shared_header_knows_no_room(self):
        self.fails({"_Src/a.h": '#include "_Src/image/b.h"\n', "_Src/image/b.h": ""}, "upwards")

    def test_unknown_room(self):
        self.fails({"_Src/attic/a.h": ""}, "no room 'attic'")

    def test_missing_file(self):
        self.fails({"_Src/image/a.cpp": '#include "_Src/image/b.h"\n'}, "not there")

    def test_circle_of_files(self):
        self.fails({"kernels/a.h": '#include "kernels/b.h"\n',
                    "kernels/b.h": '#include "kernels/c.h"\n',
                    "kernels/c.h": '#include "kernels/a.h"\n'},
                   "kernels/a.h -> kernels/b.h -> kernels/c.h -> kernels/a.h")

    def test_circle_of_rooms(self):
        self.fails({"_Src/size/a.cpp": '#include "_Src/dib/b.h"\n', "_Src/dib/b.h": "",
                    "_Src/dib/c.cpp": '#include "_Src/size/d.h"\n', "_Src/size/d.h": ""},
                   "rooms include each other: dib -> size -> dib")


class Functions(LintTest):
    def test_lines(self):
        for name in ("quibtool/a.cpp", "_Src/image/a.h", "kernels/a.inl", "platform/a.c",
                     "zxdll/a.cpp"):
            with self.subTest(name=name):
                self.passes({name: function(40)})
                self.fails({name: function(41)}, f"{name}:1: f has 41 lines (at most 40)")

    def test_tests_may_be_long(self):
        self.passes({"tests/a_test.cpp": function(60), "examples/a.c": nested(5)})

    def test_wherever_a_function_may_stand(self):
        long = function(41)
        for name, text in (
                ("in namespaces", "namespace\n{\nnamespace a::b\n{\n%s}\n}\n"),
                ("in C", 'extern "C" {\n%s}\n'),
                ("in a struct", "struct S final : Base<int> {\nint m = 3;\npublic:\n%s};\n"),
                ("a template", "template<class T, int n = (3)>\n%s"),
                ("after values", "static const int t[] = {1, 2};\nint u{3};\nenum E : int { A };\n%s"),
                ("after a macro", "#define BEGIN(x) { \\\n    (\n%s"),
                ("after quotes", "const char* q = \"}{\"; const char r = '{'; // {\n/* { */\n%s"),
                ("after digits", "const int n = 1'000'000; // it's\n%s"),
                ("after a raw string", 'auto q = R"x({" )")x";\n%s')):
            with self.subTest(name):
                self.passes({"kernels/a.inl": text % function(40)})
                self.fails({"kernels/a.inl": text % long}, "f has 41 lines")

    def test_constructor_and_operator(self):
        body = "{\n" + "\n" * 39 + "}\n"
        self.fails({"_Src/image/a.h": f"struct S {{\nS(int a) : m{{a}}, n(a)\n{body}int m, n;\n}};\n"},
                   "S has 42 lines")
        self.fails({"_Src/image/a.h": f"bool operator==(S a, S b)\n{body}"}, "has 42 lines")
        self.fails({"_Src/image/a.cpp": f"struct R* A::b(int c)\n{body}"}, "A::b has 42 lines")

    def test_nesting(self):
        self.passes({"_Src/image/a.cpp": nested(3)})
        self.fails({"_Src/image/a.cpp": nested(4)}, "a.cpp:6: f is nested 4 levels deep")

    def test_levels(self):
        inner = "if (a) { while (b) { %s } }"
        for text, levels in (("for (;;) { if (x) y(); }", 4),
                             ("do { if (x) y(); } while (z);", 4),
                             ("switch (x) { case 1: if (y) z(); }", 4),
                             ("{ { x(); } }", 4),
                             ("sort(a, [&](int x) -> int { if (x) y(); });", 4),
                             ("return [] { { x(); } };", 4),
                             ("MACRO for (;;) if (x) y();", 4),
                             ("if constexpr (n) { } else { if (x) y(); }", 4),
                             ("if (x) { } else if (y) { } else if (z) { }", 3),
                             ("const S s{a[1], {2}}; int t[] = {{1}, {2}};", 2),
                             ("a = b[c] ? S{d} : e;", 2),
                             ("struct T { int u; }; for (T t : v) w(t);", 3)):
            with self.subTest(text):
                source = {"_Src/image/a.cpp": "void f()\n{\n" + inner % text + "\n}\n"}
                if levels > 3:
                    self.fails(source, f"nested {levels} levels deep")
                else:
                    self.passes(source)

    def test_unreadable(self):
        self.fails({"kernels/a.cpp": "void f() {\n"}, "cannot be read")


class Docstrings(LintTest):
    def test_groups(self):
        self.passes({"_Src/ipl.h": "// Adds or subtracts.\nvoid iplAdd(int a);\n"
                                   "void iplSub(int a,\n            int b);\n"
                                   "// Multiplies them.\nvoid iplMul();\n"})

    def test_none(self):
        self.fails({"_Src/ipl.h": "void iplAdd(int a);\n"}, "ipl.h:1: iplAdd has no docstring")

    def test_empty_line_parts(self):
        self.fails({"_Src/ipl.h": "// Adds them up.\nvoid iplAdd();\n\nint iplSub();\n"},
                   "ipl.h:4: iplSub has no docstring")
        self.fails({"_Src/ipl.h": "// Adds them up.\n\nvoid iplAdd();\n"}, "iplAdd")

    def test_heading_is_none(self):
        self.fails({"_Src/ipl.h": "// --- Adding and more ---\nvoid iplAdd();\n"}, "iplAdd")
        self.fails({"include/quibtool/quibtool.h": "/* ---- Good things ---- */\n"
                                                   "QUIB_API int QuibGood(int a);\n"}, "QuibGood")

    def test_comment_beside_is_none(self):
        self.fails({"_Src/ipl.h": "extern int state; // of the engine\nvoid iplAdd();\n"}, "iplAdd")

    def test_inside_c_linkage(self):
        text = 'extern "C" {\n\nQUIB_API int QuibGood(int a);\n\n}\n'
        self.fails({"include/quibtool/quibtool.h": text}, "QuibGood has no docstring")

    def test_what_is_no_function(self):
        self.passes({"_Src/ipl.h": "struct S {\n    int (*a)(int b);\n};\n"
                                   "using F = int (*)(int a);\nenum E : int {\n    A = (1),\n};\n"
                                   "typedef int (*G)(int);\n#define M(x) f(x)\n"})

    def test_exported_and_not_declared(self):
        self.fails({"quibtool/exports.txt": "QuibGood\nQuibGone\n"}, "QuibGone is exported")


class Helpers(LintTest):
    LISTING = """
quib_test(quib_some_tests 2
  room/a_test.cpp
  room/b_test.cpp
  other/c_test.cpp
)
"""

    def united(self, **texts):
        """The tree with these files of tests in it."""
        files = {"tests/CMakeLists.txt": self.LISTING}
        for name in ("room/a_test.cpp", "room/b_test.cpp", "other/c_test.cpp"):
            files[f"tests/{name}"] = texts.get(pathlib.PurePath(name).name[0], "")
        return files

    def test_a_name_a_folder(self):
        self.passes(self.united(a="int twice(int a)\n{\n}\nstruct One {\n};\n",
                                b="int thrice(int a)\n{\n}\n", c="int twice(long a)\n{\n}\n"))

    def test_functions(self):
        self.fails(self.united(a="int twice(int a)\n{\n}\n",
                               b="template<class T>\nvoid twice(T a, int b)\n{\n}\n"),
                   "tests/room/b_test.cpp:1: twice is a helper of tests/room/a_test.cpp too")

    def test_types_and_values(self):
        self.fails(self.united(a="struct Size {\n};\nconstexpr int sizes[] = {1};\n",
                               b="class Size\n{\n};\nconst long sizes[2] = {2};\n"),
                   "Size is a helper", "sizes is a helper")

    def test_headers(self):
        header = {"tests/support/draw.h": "inline int draw(int a)\n{\n}\n"}
        own = "int draw(long a)\n{\n}\n"
        included = '#include "tests/support/draw.h"\n'
        self.passes({**header, **self.united(a=own)})
        self.passes({**header, **self.united(a=included + own, b=included)})
        self.fails({**header, **self.united(a=included, b=own)},
                   "tests/room/b_test.cpp:1: draw is a helper of tests/support/draw.h too")


if __name__ == "__main__":
    unittest.main()
