#!/usr/bin/env python3
"""run_tests.py ROOT LIBRARY SCRATCH RESULTS: compares the C# declarations with the C header,
compiles the assembly, its sample and its tests, and runs both on the LIBRARY under Mono.
Leaves RESULTS, an XML file of the single results. Exit status 77, with the reason, where Mono
is missing."""

import os
import pathlib
import re
import shutil
import subprocess
import sys
from xml.sax.saxutils import escape

# What each type of the header is here; the others have the same name.
TYPES = {
    "int32_t": "int", "uint32_t": "uint", "bool": "[MarshalAs(UnmanagedType.I1)] bool",
    "char*": "byte*", "int32_t*": "int*", "int32_t**": "int**", "int8_t*": "sbyte*",
    "int8_t**": "sbyte**", "OwnConvKernel*": "void*", "OwnConvKernel**": "void**",
    "struct IDirectDrawSurface*": "void*", "struct IDirectDrawSurface7*": "void*",
    "double(*)[2]": "double*", "double(*)[3]": "double*",
}
DECLARATION = re.compile(
    r"\[DllImport\(Library, CallingConvention = CallingConvention\.Cdecl"
    r"(?:,\s*EntryPoint = \"([^\"]+)\")?\)\]\s*(?:public|private) static extern int (\w+)\((.*?)\);",
    re.DOTALL)


def plain(kind):
    """A C type without const and blanks."""
    kind = re.sub(r"\bconst\b", "", kind)
    return re.sub(r"\s*([*\[\]()])\s*", r"\1", kind).strip()


def declared(source):
    """The declarations: name, exported name and types of arguments."""
    for entry, name, arguments in DECLARATION.findall(source):
        types = [" ".join(argument.split()).rsplit(" ", 1)[0] for argument in arguments.split(",")]
        yield name, entry or name, types


def problems_of_declarations(root):
    """How the declarations differ from the header, a line each."""
    sys.path.insert(0, str(root / "scripts"))
    sys.dont_write_bytecode = True
    import interface
    found = {name: (entry, types) for name, entry, types in
             declared((root / "bindings/csharp/QuibTool/Native.cs").read_text(encoding="utf-8"))}
    lines = (root / "quibtool/decorated.txt").read_text(encoding="utf-8").splitlines()
    decorated = {line.split()[0]: line.split()[1:] for line in lines
                 if line and not line.startswith("#")}
    wanted = {}
    for function in interface.read().functions:
        types = [TYPES.get(plain(p.type), plain(p.type)) for p in function.parameters]
        if function.name in decorated:
            for suffix, entry in zip(("Elsewhere", "32", "64"), decorated[function.name]):
                wanted[function.name + suffix] = (entry, types)
        else:
            wanted[function.name] = (function.name, types)
    for name in sorted(set(found) | set(wanted)):
        if found.get(name) != wanted.get(name):
            yield f"{name}: {found.get(name)}, the header has {wanted.get(name)}"


def build(root, scratch):
    """The assembly, its sample and the tests."""
    source, tests = root / "bindings/csharp", root / "tests/bindings/csharp"
    common = ["mcs", "-unsafe", "-langversion:latest", "-warnaserror"]
    assembly = scratch / "QuibTool.Net.dll"
    # With -doc, a public member without its documentation is a warning.
    subprocess.run([*common, "-target:library", f"-out:{assembly}",
                    f"-doc:{assembly.with_suffix('.xml')}",
                    *sorted((source / "QuibTool").glob("*.cs"))], check=True)
    shutil.copy(source / "QuibTool.Net.dll.config", scratch)
    for name, files in (("Sample", [source / "Sample.cs"]), ("Tests", sorted(tests.glob("*.cs")))):
        subprocess.run([*common, f"-r:{assembly}", "-r:System.Core.dll",
                        f"-out:{scratch / name}.exe", *files], check=True)


def problems_of_sample(root, scratch, environment):
    """What is wrong with the sample, a line each."""
    for picture, status in (("examples/images/cat.bmp", 0), ("README.md", 1)):
        done = subprocess.run(["mono", scratch / "Sample.exe", root / picture, scratch],
                              env=environment, capture_output=True, text=True, check=False)
        if done.returncode != status or (status == 1 and "README.md" not in done.stderr):
            yield f"{picture}: status {done.returncode}, {done.stdout} {done.stderr}"
    if not (scratch / "sample.ppm").read_bytes().startswith(b"P6\n451 300\n255\n"):
        yield "no such picture"


def problems_of_memory(scratch, environment):
    """What is wrong where memory runs out."""
    done = subprocess.run(["mono", scratch / "Tests.exe", "memory"], env=environment,
                          capture_output=True, text=True, check=False)
    if done.returncode or done.stdout != "15 refused, 0 not, 100\n":
        yield f"status {done.returncode}: {done.stdout} {done.stderr}"


def result(name, problems):
    """The single result of a check, as XML."""
    failure = f"<failure>{escape(problems)}</failure>" if problems else ""
    return f'<testcase classname="Build" name="{name}">{failure}</testcase>'


def main():
    root, library, scratch, results = map(pathlib.Path, sys.argv[1:5])
    for program, package in (("mcs", "mono-mcs"), ("mono", "mono-runtime")):
        if not shutil.which(program):
            print(f"skipped: {package} is not installed")
            sys.exit(77)
    shutil.rmtree(scratch, ignore_errors=True)
    scratch.mkdir(parents=True)
    build(root, scratch)
    environment = {**os.environ, "LD_LIBRARY_PATH": str(library.parent)}
    checks = {"declarations": "\n".join(problems_of_declarations(root)),
              "sample": "\n".join(problems_of_sample(root, scratch, environment)),
              "memory": "\n".join(problems_of_memory(scratch, environment))}
    results.unlink(missing_ok=True)
    done = subprocess.run(["mono", scratch / "Tests.exe", root, scratch, results],
                          env=environment, check=False)
    if not results.exists():
        sys.exit(f"status {done.returncode} in {(scratch / 'running').read_text(encoding='utf-8')}")
    text = results.read_text(encoding="utf-8")
    own = "".join(result(name, problems) for name, problems in checks.items())
    results.write_text(text.replace("</testsuite>", own + "</testsuite>"), encoding="utf-8")
    print("\n".join(checks.values()).strip())
    sys.exit(1 if done.returncode or any(checks.values()) else 0)


if __name__ == "__main__":
    main()
