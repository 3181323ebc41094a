#!/usr/bin/env python3
"""run_tests.py ROOT RESULTS: runs these tests with pytest and leaves RESULTS, an XML file of
the single results. Exit status 77, with the reason, where pytest or numpy is missing."""

import importlib.util
import pathlib
import sys

root, results = sys.argv[1:3]
for module, package in (("numpy", "python3-numpy"), ("pytest", "python3-pytest")):
    if importlib.util.find_spec(module) is None:
        print(f"skipped: {package} is not installed")
        sys.exit(77)
sys.dont_write_bytecode = True
sys.path.insert(0, str(pathlib.Path(root, "bindings/python")))
import pytest  # noqa: E402

sys.exit(pytest.main(["-q", "-p", "no:cacheprovider", f"--junitxml={results}",
                      str(pathlib.Path(__file__).parent)]))
